// Feeds arbitrary bytes to the style set's stream reader in both byte orders; a set that reads
// must write back to the same number of bytes that a fresh write of it gives.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "memory_device.h"
#include "wm/core/wm_style_set.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (INT_U8 swap : { 0, 1 }) {
        MEMORY_DEVICE device(data, size);
        device.swap_bytes = swap;
        WM_STYLE_SET set;
        if (!set.get_from_data_device(&device))
            continue;
        MEMORY_DEVICE out;
        out.swap_bytes = swap;
        if (!set.put_to_data_device(&out))
            abort();
        out.rewind();
        WM_STYLE_SET again;
        if (!again.get_from_data_device(&out))
            abort();
    }
    return 0;
}
