// A DATA_DEVICE over a byte vector for the stream tests; it can pretend not to seek, like a pipe.
#pragma once

#include <cstring>
#include <vector>

#include "data_device.h"

class MEMORY_DEVICE : public DATA_DEVICE {
public:
    INT_U32 tell() override { return static_cast<INT_U32>(m_position); }
    bool seek(INT_U32 offset, bool from_end) override
    {
        if (!seekable)
            return false;
        size_t target = from_end ? bytes.size() + offset : offset;
        if (target > bytes.size())
            return false;
        m_position = target;
        return true;
    }
    INT_S32 read(void* buffer, INT_S32 size) override
    {
        size_t left = bytes.size() - m_position;
        size_t count = static_cast<size_t>(size) < left ? static_cast<size_t>(size) : left;
        memcpy(buffer, bytes.data() + m_position, count);
        m_position += count;
        return static_cast<INT_S32>(count);
    }
    INT_S32 write(const void* buffer, INT_S32 size) override
    {
        if (m_position + static_cast<size_t>(size) > bytes.size())
            bytes.resize(m_position + static_cast<size_t>(size));
        memcpy(bytes.data() + m_position, buffer, static_cast<size_t>(size));
        m_position += static_cast<size_t>(size);
        return size;
    }
    void rewind() { m_position = 0; }

    std::vector<unsigned char> bytes;
    bool seekable { true };

private:
    size_t m_position { 0 };
};
