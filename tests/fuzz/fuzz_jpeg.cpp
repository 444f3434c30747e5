// Fuzz target for the JPEG reader. The first two bytes choose the size to resample to while
// reading (0 keeps the file's side), so the nearest-neighbour paths run too; the rest is the file.
// A picture that reads must be opaque and must write back as a JPEG that reads again.
#include "graphics/image.h"
#include "graphics/image_files.h"

#include "memory_device.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    set_image_pixel_limit(4 * 1024 * 1024);
    INT_S16 width = static_cast<INT_S16>(data[0] % 48);
    INT_S16 height = static_cast<INT_S16>(data[1] % 48);
    MEMORY_DEVICE device(data + 2, size - 2);
    IMAGE image;
    if (!image.load_jpeg(&device, width, height))
        return 0;
    if ((width > 0 && image.width != width) || (height > 0 && image.height != height))
        __builtin_trap();
    for (INT_S32 y = 0; y < image.height; ++y)
        for (INT_S32 x = 0; x < image.width; ++x)
            if (image.at(x, y).alpha() != 255)
                __builtin_trap();

    MEMORY_DEVICE copy;
    if (!image.save_jpeg(&copy, 75, (data[0] & 0x80) != 0))
        __builtin_trap();
    copy.rewind();
    IMAGE again;
    if (!again.load_jpeg(&copy, -1, -1) || again.width != image.width || again.height != image.height)
        __builtin_trap();
    return 0;
}
