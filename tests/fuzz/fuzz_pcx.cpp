// Fuzz target for the PCX reader. The first byte chooses the byte order of the header; the rest is
// the file. A picture that reads must write back and read again at the same size.
#include "graphics/image.h"
#include "graphics/image_files.h"

#include "memory_device.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    set_image_pixel_limit(4 * 1024 * 1024);
    MEMORY_DEVICE device(data + 1, size - 1);
    device.swap_bytes = data[0] & 1;
    IMAGE image;
    if (!image.load_pcx(&device) || !image.has_pixels())
        return 0;

    MEMORY_DEVICE copy;
    copy.swap_bytes = device.swap_bytes;
    if (!image.save_pcx(&copy))
        __builtin_trap();
    copy.rewind();
    IMAGE again;
    if (!again.load_pcx(&copy) || again.width != image.width || again.height != image.height)
        __builtin_trap();
    return 0;
}
