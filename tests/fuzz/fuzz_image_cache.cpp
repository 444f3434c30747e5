// Fuzz target for the image cache's stream form. The first byte chooses the byte order; the rest
// is the stream. A cache that reads must save the same number of entries, read that back, answer
// requests for its entries without touching a file, and survive resizing and filtering them.
#include "graphics/image_cache.h"
#include "graphics/image_files.h"

#include "memory_device.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Streams of version 1 and below carry a FOLDER in place of each path, and a folder text that
    // names an unknown variable ends the process by design; the folder's reader is not ours to
    // fuzz here, so those versions are left out.
    if (size < 2 || data[1] < 2)
        return 0;
    set_image_pixel_limit(1024 * 1024);
    MEMORY_DEVICE device(data + 1, size - 1);
    device.swap_bytes = data[0] & 1;
    IMAGE_CACHE cache;
    if (!cache.get_from_data_device(&device))
        return 0;

    MEMORY_DEVICE copy;
    copy.swap_bytes = device.swap_bytes;
    if (!cache.put_to_data_device(&copy))
        __builtin_trap();
    copy.rewind();
    IMAGE_CACHE again;
    if (!again.get_from_data_device(&copy) || again.entry_count() != cache.entry_count())
        __builtin_trap();

    INT_S32 count = cache.entry_count();
    for (INT_S32 i = 0; i < count && i < 8; ++i) {
        IMAGE_CACHE_ENTRY* entry = cache.entry_at(i);
        IMAGE* image = cache.get(entry->path, entry->name, entry->width, entry->height, CACHE_LOOK_ONLY);
        if (!image)
            continue;
        cache.resize(&image, static_cast<INT_S16>(data[0] % 17), static_cast<INT_S16>(data[0] % 13), false);
        (void)cache.greyscale(&image);
        cache.release(image);
    }
    cache.flush();
    return 0;
}
