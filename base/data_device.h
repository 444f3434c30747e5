// Byte streams and the interface of everything that reads and writes itself on one.
//
// A device knows whether its data has the opposite byte order to the machine (`swap_bytes`);
// every client swaps each multi-byte field by itself, through the helpers below, so one format
// reads the same on either byte order.
#pragma once

#include "base/orlu_types.h"

class DATA_DEVICE {
public:
    virtual ~DATA_DEVICE() = default;

    // Logical position; on a file with an order marker, position 0 is file offset 1.
    virtual INT_U32 tell() = 0;
    // Answers true on success.
    virtual bool seek(INT_U32 offset, bool from_end) = 0;
    // Answer the number of bytes moved.
    virtual INT_S32 read(void* buffer, INT_S32 size) = 0;
    virtual INT_S32 write(const void* buffer, INT_S32 size) = 0;

    // Set by a client after a short read or write, reset by the next good one.
    INT_U8 failed { 0 };
    INT_U8 swap_bytes { 0 };
};

class DATA_DEVICE_CLIENT {
public:
    virtual ~DATA_DEVICE_CLIENT() = default;
    [[nodiscard]] virtual bool get_from_data_device(DATA_DEVICE* device) = 0;
    [[nodiscard]] virtual bool put_to_data_device(DATA_DEVICE* device) const = 0;
};

// ---------------------------------------------------------------------------------------------
// Field helpers: exact-size reads and writes in the device's byte order. Each answers false on a
// short transfer and keeps the device's `failed` flag in step.
// ---------------------------------------------------------------------------------------------

inline INT_U16 swap16(INT_U16 v) { return static_cast<INT_U16>((v >> 8) | (v << 8)); }
inline INT_U32 swap32(INT_U32 v) { return __builtin_bswap32(v); }
inline INT_U64 swap64(INT_U64 v) { return __builtin_bswap64(v); }

inline bool device_read_bytes(DATA_DEVICE* device, void* buffer, INT_S32 size)
{
    bool ok = device->read(buffer, size) == size;
    device->failed = !ok;
    return ok;
}

inline bool device_write_bytes(DATA_DEVICE* device, const void* buffer, INT_S32 size)
{
    bool ok = device->write(buffer, size) == size;
    device->failed = !ok;
    return ok;
}

template <typename T>
inline bool device_read(DATA_DEVICE* device, T* value)
{
    static_assert(sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8, "scalar fields only");
    if (!device_read_bytes(device, value, sizeof(T)))
        return false;
    if (device->swap_bytes && sizeof(T) > 1) {
        unsigned char* bytes = reinterpret_cast<unsigned char*>(value);
        for (size_t i = 0; i < sizeof(T) / 2; ++i) {
            unsigned char held = bytes[i];
            bytes[i] = bytes[sizeof(T) - 1 - i];
            bytes[sizeof(T) - 1 - i] = held;
        }
    }
    return true;
}

template <typename T>
inline bool device_write(DATA_DEVICE* device, T value)
{
    static_assert(sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8, "scalar fields only");
    if (device->swap_bytes && sizeof(T) > 1) {
        unsigned char* bytes = reinterpret_cast<unsigned char*>(&value);
        for (size_t i = 0; i < sizeof(T) / 2; ++i) {
            unsigned char held = bytes[i];
            bytes[i] = bytes[sizeof(T) - 1 - i];
            bytes[sizeof(T) - 1 - i] = held;
        }
    }
    return device_write_bytes(device, &value, sizeof(T));
}
