// Fuzz target for the raw image stream and compiled-in image arrays. The first byte chooses the
// byte order and which reader runs. Both formats are lossless: a picture that reads must write
// back and read again to the same pixels.
#include "graphics/image.h"
#include "graphics/image_files.h"

#include "memory_device.h"

#include <cstddef>
#include <cstdint>

namespace {

void expect_same(const IMAGE& a, const IMAGE& b)
{
    if (a.width != b.width || a.height != b.height)
        __builtin_trap();
    for (INT_S32 y = 0; y < a.height; ++y)
        for (INT_S32 x = 0; x < a.width; ++x)
            if (a.at(x, y) != b.at(x, y))
                __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    set_image_pixel_limit(4 * 1024 * 1024);
    IMAGE image;
    if (data[0] & 2) {
        if (!image.load_array(data + 1, size - 1))
            return 0;
        // Back through the raw stream, which carries the same pixels.
        MEMORY_DEVICE copy;
        if (!image.put_to_data_device(&copy))
            __builtin_trap();
        copy.rewind();
        IMAGE again;
        if (!again.get_from_data_device(&copy))
            __builtin_trap();
        expect_same(image, again);
        return 0;
    }

    MEMORY_DEVICE device(data + 1, size - 1);
    device.swap_bytes = data[0] & 1;
    if (!image.get_from_data_device(&device))
        return 0;
    MEMORY_DEVICE copy;
    copy.swap_bytes = device.swap_bytes;
    if (!image.put_to_data_device(&copy))
        __builtin_trap();
    copy.rewind();
    IMAGE again;
    if (!again.get_from_data_device(&copy))
        __builtin_trap();
    expect_same(image, again);
    return 0;
}
