// Fuzz target for the PARAMETER stream reader. The first byte chooses the byte order; the rest is
// the stream. A stream that reads must write back and read again to the same bytes, and every
// conversion of every slot must stay inside its buffer.
#include "base/parameter.h"

#include "memory_device.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    MEMORY_DEVICE device(data + 1, size - 1);
    device.swap_bytes = data[0] & 1;
    PARAMETER parameter;
    if (!parameter.get_from_data_device(&device))
        return 0;

    const PARAMETER_VALUE* slots[] = { &parameter.value, &parameter.minimum, &parameter.maximum };
    char text[16];
    for (const PARAMETER_VALUE* slot : slots) {
        parameter.to_text(slot, text, sizeof text);
        (void)parameter.as_int(slot);
        (void)parameter.as_uint(slot);
        (void)parameter.as_real(slot);
        (void)parameter.as_pointer(slot);
    }
    (void)parameter.text_length();

    MEMORY_DEVICE first;
    first.swap_bytes = device.swap_bytes;
    if (!parameter.put_to_data_device(&first))
        __builtin_trap();
    first.rewind();
    PARAMETER again;
    if (!again.get_from_data_device(&first))
        __builtin_trap();
    MEMORY_DEVICE second;
    second.swap_bytes = device.swap_bytes;
    if (!again.put_to_data_device(&second) || second.bytes() != first.bytes())
        __builtin_trap();

    PARAMETER copy;
    copy.copy_from(again);
    if (copy.type != again.type)
        __builtin_trap();
    if (copy.type != STRING_TYPE && copy.type != POINTER_TYPE) {
        copy.set_real(&copy.value, parameter.as_real(&parameter.maximum));
        copy.from_text(&copy.minimum, text);
        copy.clamp();
    }
    return 0;
}
