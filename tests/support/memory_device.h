// MEMORY_DEVICE: a DATA_DEVICE over a byte vector, for tests and fuzz targets that need a stream
// without a file. Reads stop at the end of the bytes; writes extend them.
#pragma once

#include "base/data_device.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

class MEMORY_DEVICE : public DATA_DEVICE {
public:
    MEMORY_DEVICE() = default;
    MEMORY_DEVICE(const void* bytes, size_t size)
        : m_bytes(static_cast<const unsigned char*>(bytes), static_cast<const unsigned char*>(bytes) + size)
    {
    }
    explicit MEMORY_DEVICE(const std::string& bytes) : MEMORY_DEVICE(bytes.data(), bytes.size()) {}

    INT_U32 tell() override { return static_cast<INT_U32>(m_position); }
    bool seek(INT_U32 offset, bool from_end) override
    {
        if (!seekable)
            return false;
        size_t target = from_end ? m_bytes.size() + offset : offset;
        if (target > m_bytes.size())
            return false;
        m_position = target;
        return true;
    }
    INT_S32 read(void* buffer, INT_S32 size) override
    {
        if (size <= 0 || m_position >= m_bytes.size())
            return 0;
        size_t count = std::min(static_cast<size_t>(size), m_bytes.size() - m_position);
        memcpy(buffer, m_bytes.data() + m_position, count);
        m_position += count;
        return static_cast<INT_S32>(count);
    }
    INT_S32 write(const void* buffer, INT_S32 size) override
    {
        if (size <= 0)
            return 0;
        const unsigned char* bytes = static_cast<const unsigned char*>(buffer);
        size_t end = m_position + static_cast<size_t>(size);
        if (end > m_bytes.size())
            m_bytes.resize(end);
        std::copy(bytes, bytes + size, m_bytes.begin() + static_cast<std::ptrdiff_t>(m_position));
        m_position = end;
        return size;
    }

    const std::vector<unsigned char>& bytes() const { return m_bytes; }
    std::vector<unsigned char>& bytes() { return m_bytes; }
    // Cleared, the device refuses to seek, like a pipe.
    bool seekable { true };
    void rewind() { m_position = 0; }

private:
    std::vector<unsigned char> m_bytes;
    size_t m_position { 0 };
};
