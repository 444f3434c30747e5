// Fuzz target for the PNG reader. A picture that reads must write back and read again to the
// same pixels: PNG is lossless both ways for 8-bit RGBA.
#include "graphics/image.h"
#include "graphics/image_files.h"

#include "memory_device.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Small enough that a hostile header cannot make each run slow.
    set_image_pixel_limit(4 * 1024 * 1024);
    MEMORY_DEVICE device(data, size);
    IMAGE image;
    if (!image.load_png(&device) || !image.has_pixels())
        return 0;

    MEMORY_DEVICE copy;
    if (!image.save_png(&copy))
        __builtin_trap();
    copy.rewind();
    IMAGE again;
    if (!again.load_png(&copy) || again.width != image.width || again.height != image.height)
        __builtin_trap();
    for (INT_S32 y = 0; y < image.height; ++y)
        for (INT_S32 x = 0; x < image.width; ++x)
            if (image.at(x, y) != again.at(x, y))
                __builtin_trap();
    return 0;
}
