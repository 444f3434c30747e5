// PARAMETER: typed, bounded values and their text and stream forms.
//
// [SECTION] Helpers: real to integer as the processor truncates, owned text
// [SECTION] Life
// [SECTION] Reading a slot
// [SECTION] Text forms
// [SECTION] Setting a slot
// [SECTION] Clamp and copy
// [SECTION] Stream form
#include "base/parameter.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

// =============================================================================================
// [SECTION] Helpers: real to integer as the processor truncates, owned text
// =============================================================================================

namespace {

// A real that does not fit a signed 64-bit integer (or NaN) converts to the "integer
// indefinite" value 0x8000000000000000, as the processor's truncating conversion gives it; the
// language leaves that case undefined, so it is spelt out here.
INT_S64 real_to_s64(FLOAT_64 number)
{
    if (!(number > -9223372036854775808.0 && number < 9223372036854775808.0))
        return INT64_MIN;
    return static_cast<INT_S64>(number);
}

// The same for 32 bits: out of range gives 0x80000000.
INT_S32 real_to_s32(FLOAT_64 number)
{
    if (!(number > -2147483649.0 && number < 2147483648.0))
        return INT32_MIN;
    return static_cast<INT_S32>(number);
}

// Unsigned 32 bits by way of the 64-bit conversion, keeping its low half.
INT_U32 real_to_u32(FLOAT_64 number)
{
    return static_cast<INT_U32>(static_cast<INT_U64>(real_to_s64(number)));
}

char* copy_text(const char* text)
{
    if (!text)
        text = "";
    size_t length = strlen(text);
    char* copy = new (std::nothrow) char[length + 1];
    if (!copy)
        return nullptr;
    memcpy(copy, text, length + 1);
    return copy;
}

} // namespace

// =============================================================================================
// [SECTION] Life
// =============================================================================================

PARAMETER::PARAMETER() = default;

PARAMETER::PARAMETER(const char* text)
{
    type = STRING_TYPE;
    value.text = copy_text(text);
}

PARAMETER::PARAMETER(PARAMETER_TYPE code)
{
    type = code;
    clear(&value);
    clear(&minimum);
    clear(&maximum);
}

PARAMETER::~PARAMETER()
{
    free_texts();
}

void PARAMETER::free_texts()
{
    if (type != STRING_TYPE)
        return;
    delete[] value.text;
    delete[] minimum.text;
    delete[] maximum.text;
    value.text = minimum.text = maximum.text = nullptr;
}

void PARAMETER::reset()
{
    free_texts();
    type = UNSET_TYPE;
    value.raw = minimum.raw = maximum.raw = 0;
}

INT_S32 PARAMETER::text_length() const
{
    if (type != STRING_TYPE || !value.text)
        return 0;
    return static_cast<INT_S32>(strlen(value.text));
}

void PARAMETER::set_text(PARAMETER_VALUE* slot, const char* text)
{
    char* copy = copy_text(text);
    delete[] slot->text;
    slot->text = copy;
}

// =============================================================================================
// [SECTION] Reading a slot
// =============================================================================================

INT_S32 PARAMETER::as_int(const PARAMETER_VALUE* slot) const
{
    switch (type) {
    case INT_S8_TYPE: return slot->s8;
    case INT_U8_TYPE: return slot->u8;
    case INT_S16_TYPE: return slot->s16;
    case INT_U16_TYPE: return slot->u16;
    case INT_S32_TYPE: return slot->s32;
    case INT_U32_TYPE: return static_cast<INT_S32>(slot->u32);
    case FLOAT_32_TYPE: return real_to_s32(slot->f32);
    case FLOAT_64_TYPE: return real_to_s32(slot->f64);
    case STRING_TYPE: {
        int number = 0;
        if (!slot->text || sscanf(slot->text, "%d", &number) != 1)
            return 0;
        return number;
    }
    case POINTER_TYPE: return static_cast<INT_S32>(reinterpret_cast<PTR_INT_CAST>(slot->pointer));
    default: return 0;
    }
}

INT_U32 PARAMETER::as_uint(const PARAMETER_VALUE* slot) const
{
    switch (type) {
    case INT_S8_TYPE: return static_cast<INT_U32>(static_cast<INT_S32>(slot->s8));
    case INT_U8_TYPE: return slot->u8;
    case INT_S16_TYPE: return static_cast<INT_U32>(static_cast<INT_S32>(slot->s16));
    case INT_U16_TYPE: return slot->u16;
    case INT_S32_TYPE: return static_cast<INT_U32>(slot->s32);
    case INT_U32_TYPE: return slot->u32;
    case FLOAT_32_TYPE: return real_to_u32(slot->f32);
    case FLOAT_64_TYPE: return real_to_u32(slot->f64);
    case STRING_TYPE: {
        unsigned number = 0;
        if (!slot->text || sscanf(slot->text, "%u", &number) != 1)
            return 0;
        return number;
    }
    case POINTER_TYPE: return static_cast<INT_U32>(reinterpret_cast<uintptr_t>(slot->pointer));
    default: return 0;
    }
}

FLOAT_64 PARAMETER::as_real(const PARAMETER_VALUE* slot) const
{
    switch (type) {
    case INT_S8_TYPE: return slot->s8;
    case INT_U8_TYPE: return slot->u8;
    case INT_S16_TYPE: return slot->s16;
    case INT_U16_TYPE: return slot->u16;
    case INT_S32_TYPE: return slot->s32;
    case INT_U32_TYPE: return slot->u32;
    case FLOAT_32_TYPE: return slot->f32;
    case FLOAT_64_TYPE: return slot->f64;
    case STRING_TYPE: {
        double number = 0;
        if (!slot->text || sscanf(slot->text, "%lf", &number) != 1)
            return 0;
        return number;
    }
    case POINTER_TYPE: return static_cast<FLOAT_64>(reinterpret_cast<PTR_INT_CAST>(slot->pointer));
    default: return 0;
    }
}

PTR_INT_CAST PARAMETER::as_pointer(const PARAMETER_VALUE* slot) const
{
    switch (type) {
    case INT_S8_TYPE: return slot->s8;
    case INT_U8_TYPE: return slot->u8;
    case INT_S16_TYPE: return slot->s16;
    case INT_U16_TYPE: return slot->u16;
    case INT_S32_TYPE: return slot->s32;
    case INT_U32_TYPE: return static_cast<PTR_INT_CAST>(slot->u32);
    case FLOAT_32_TYPE: return static_cast<PTR_INT_CAST>(real_to_s64(slot->f32));
    case FLOAT_64_TYPE: return static_cast<PTR_INT_CAST>(real_to_s64(slot->f64));
    case STRING_TYPE: {
        void* pointer = nullptr;
        if (!slot->text || sscanf(slot->text, "%p", &pointer) != 1)
            return 0;
        return reinterpret_cast<PTR_INT_CAST>(pointer);
    }
    case POINTER_TYPE: return reinterpret_cast<PTR_INT_CAST>(slot->pointer);
    default: return 0;
    }
}

// =============================================================================================
// [SECTION] Text forms
// =============================================================================================

void PARAMETER::to_text(const PARAMETER_VALUE* slot, char* buffer, INT_S32 size) const
{
    if (!buffer || size < 1 || !is_set())
        return;
    size_t room = static_cast<size_t>(size);
    switch (type) {
    case INT_S8_TYPE: snprintf(buffer, room, "%hd", static_cast<short>(slot->s8)); break;
    case INT_U8_TYPE: snprintf(buffer, room, "%hu", static_cast<unsigned short>(slot->u8)); break;
    case INT_S16_TYPE: snprintf(buffer, room, "%hd", slot->s16); break;
    case INT_U16_TYPE: snprintf(buffer, room, "%hu", slot->u16); break;
    case INT_S32_TYPE: snprintf(buffer, room, "%d", slot->s32); break;
    case INT_U32_TYPE: snprintf(buffer, room, "%u", slot->u32); break;
    case FLOAT_32_TYPE: snprintf(buffer, room, "%.2f", static_cast<double>(slot->f32)); break;
    case FLOAT_64_TYPE: snprintf(buffer, room, "%.2lf", slot->f64); break;
    case STRING_TYPE: snprintf(buffer, room, "%s", slot->text ? slot->text : ""); break;
    case POINTER_TYPE: snprintf(buffer, room, "%p", slot->pointer); break;
    }
    buffer[size - 1] = 0;
}

void PARAMETER::from_text(PARAMETER_VALUE* slot, const char* text)
{
    if (type == STRING_TYPE) {
        set_text(slot, text);
        return;
    }
    if (type == POINTER_TYPE) {
        slot->pointer = const_cast<char*>(text);
        return;
    }
    if (!text)
        return;
    short small = 0;
    unsigned short small_unsigned = 0;
    switch (type) {
    case INT_S8_TYPE:
        if (sscanf(text, "%hd", &small) == 1)
            slot->s8 = static_cast<INT_S8>(small);
        break;
    case INT_U8_TYPE:
        if (sscanf(text, "%hu", &small_unsigned) == 1)
            slot->u8 = static_cast<INT_U8>(small_unsigned);
        break;
    case INT_S16_TYPE:
        if (sscanf(text, "%hd", &small) == 1)
            slot->s16 = small;
        break;
    case INT_U16_TYPE:
        if (sscanf(text, "%hu", &small_unsigned) == 1)
            slot->u16 = small_unsigned;
        break;
    case INT_S32_TYPE: {
        int number = 0;
        if (sscanf(text, "%d", &number) == 1)
            slot->s32 = number;
        break;
    }
    case INT_U32_TYPE: {
        unsigned number = 0;
        if (sscanf(text, "%u", &number) == 1)
            slot->u32 = number;
        break;
    }
    case FLOAT_32_TYPE: {
        float number = 0;
        if (sscanf(text, "%f", &number) == 1)
            slot->f32 = number;
        break;
    }
    case FLOAT_64_TYPE: {
        double number = 0;
        if (sscanf(text, "%lf", &number) == 1)
            slot->f64 = number;
        break;
    }
    }
}

// =============================================================================================
// [SECTION] Setting a slot
// =============================================================================================

void PARAMETER::set_int(PARAMETER_VALUE* slot, INT_S32 number)
{
    char text[32];
    switch (type) {
    case INT_S8_TYPE: slot->s8 = static_cast<INT_S8>(number); break;
    case INT_U8_TYPE: slot->u8 = static_cast<INT_U8>(number); break;
    case INT_S16_TYPE: slot->s16 = static_cast<INT_S16>(number); break;
    case INT_U16_TYPE: slot->u16 = static_cast<INT_U16>(number); break;
    case INT_S32_TYPE: slot->s32 = number; break;
    case INT_U32_TYPE: slot->u32 = static_cast<INT_U32>(number); break;
    case FLOAT_32_TYPE: slot->f32 = static_cast<FLOAT_32>(number); break;
    case FLOAT_64_TYPE: slot->f64 = number; break;
    case STRING_TYPE:
        snprintf(text, sizeof text, "%d", number);
        set_text(slot, text);
        break;
    case POINTER_TYPE: slot->pointer = reinterpret_cast<void*>(static_cast<PTR_INT_CAST>(number)); break;
    }
}

void PARAMETER::set_uint(PARAMETER_VALUE* slot, INT_U32 number)
{
    char text[32];
    switch (type) {
    case INT_S8_TYPE: slot->s8 = static_cast<INT_S8>(number); break;
    case INT_U8_TYPE: slot->u8 = static_cast<INT_U8>(number); break;
    case INT_S16_TYPE: slot->s16 = static_cast<INT_S16>(number); break;
    case INT_U16_TYPE: slot->u16 = static_cast<INT_U16>(number); break;
    case INT_S32_TYPE: slot->s32 = static_cast<INT_S32>(number); break;
    case INT_U32_TYPE: slot->u32 = number; break;
    case FLOAT_32_TYPE: slot->f32 = static_cast<FLOAT_32>(number); break;
    case FLOAT_64_TYPE: slot->f64 = number; break;
    case STRING_TYPE:
        snprintf(text, sizeof text, "%u", number);
        set_text(slot, text);
        break;
    case POINTER_TYPE: slot->pointer = reinterpret_cast<void*>(static_cast<uintptr_t>(number)); break;
    }
}

void PARAMETER::set_real(PARAMETER_VALUE* slot, FLOAT_64 number)
{
    // Integers take the processor's truncation to 64 bits, then the slot's width.
    INT_S64 whole = real_to_s64(number);
    char text[400];
    switch (type) {
    case INT_S8_TYPE: slot->s8 = static_cast<INT_S8>(whole); break;
    case INT_U8_TYPE: slot->u8 = static_cast<INT_U8>(whole); break;
    case INT_S16_TYPE: slot->s16 = static_cast<INT_S16>(whole); break;
    case INT_U16_TYPE: slot->u16 = static_cast<INT_U16>(whole); break;
    case INT_S32_TYPE: slot->s32 = static_cast<INT_S32>(whole); break;
    case INT_U32_TYPE: slot->u32 = static_cast<INT_U32>(whole); break;
    case FLOAT_32_TYPE: slot->f32 = static_cast<FLOAT_32>(number); break;
    case FLOAT_64_TYPE: slot->f64 = number; break;
    case STRING_TYPE:
        snprintf(text, sizeof text, "%.2lf", number);
        set_text(slot, text);
        break;
    case POINTER_TYPE: slot->pointer = reinterpret_cast<void*>(static_cast<PTR_INT_CAST>(whole)); break;
    }
}

void PARAMETER::set_pointer(PARAMETER_VALUE* slot, PTR_INT_CAST number)
{
    char text[32];
    switch (type) {
    case INT_S8_TYPE: slot->s8 = static_cast<INT_S8>(number); break;
    case INT_U8_TYPE: slot->u8 = static_cast<INT_U8>(number); break;
    case INT_S16_TYPE: slot->s16 = static_cast<INT_S16>(number); break;
    case INT_U16_TYPE: slot->u16 = static_cast<INT_U16>(number); break;
    case INT_S32_TYPE: slot->s32 = static_cast<INT_S32>(number); break;
    case INT_U32_TYPE: slot->u32 = static_cast<INT_U32>(number); break;
    case FLOAT_32_TYPE: slot->f32 = static_cast<FLOAT_32>(number); break;
    case FLOAT_64_TYPE: slot->f64 = static_cast<FLOAT_64>(number); break;
    case STRING_TYPE:
        snprintf(text, sizeof text, "%p", reinterpret_cast<void*>(number));
        set_text(slot, text);
        break;
    case POINTER_TYPE: slot->pointer = reinterpret_cast<void*>(number); break;
    }
}

void PARAMETER::clear(PARAMETER_VALUE* slot)
{
    if (type == STRING_TYPE) {
        set_text(slot, "0");
        return;
    }
    if (is_set())
        slot->raw = 0;
}

void PARAMETER::clear_from_text(PARAMETER_VALUE* slot)
{
    from_text(slot, "0");
}

// =============================================================================================
// [SECTION] Clamp and copy
// =============================================================================================

namespace {

template <typename T>
void clamp_field(T* number, T lowest, T highest)
{
    if (*number < lowest)
        *number = lowest;
    if (highest < *number)
        *number = highest;
}

} // namespace

void PARAMETER::clamp()
{
    switch (type) {
    case INT_S8_TYPE: clamp_field(&value.s8, minimum.s8, maximum.s8); break;
    case INT_U8_TYPE: clamp_field(&value.u8, minimum.u8, maximum.u8); break;
    case INT_S16_TYPE: clamp_field(&value.s16, minimum.s16, maximum.s16); break;
    case INT_U16_TYPE: clamp_field(&value.u16, minimum.u16, maximum.u16); break;
    case INT_S32_TYPE: clamp_field(&value.s32, minimum.s32, maximum.s32); break;
    case INT_U32_TYPE: clamp_field(&value.u32, minimum.u32, maximum.u32); break;
    case FLOAT_32_TYPE: clamp_field(&value.f32, minimum.f32, maximum.f32); break;
    case FLOAT_64_TYPE: clamp_field(&value.f64, minimum.f64, maximum.f64); break;
    }
}

void PARAMETER::copy_from(const PARAMETER& other)
{
    if (&other == this)
        return;
    reset();
    type = other.type;
    if (type != STRING_TYPE) {
        value = other.value;
        minimum = other.minimum;
        maximum = other.maximum;
        return;
    }
    value.text = other.value.text ? copy_text(other.value.text) : nullptr;
    minimum.text = other.minimum.text ? copy_text(other.minimum.text) : nullptr;
    maximum.text = other.maximum.text ? copy_text(other.maximum.text) : nullptr;
}

// =============================================================================================
// [SECTION] Stream form
// =============================================================================================

bool PARAMETER::put_to_data_device(DATA_DEVICE* device) const
{
    if (!device)
        return false;
    if (!device_write(device, static_cast<INT_U8>(type)))
        return false;
    if (!is_set())
        return true;
    return write_slot(device, &value) && write_slot(device, &minimum) && write_slot(device, &maximum);
}

bool PARAMETER::write_slot(DATA_DEVICE* device, const PARAMETER_VALUE* slot) const
{
    switch (type) {
    case INT_S8_TYPE:
    case INT_U8_TYPE: return device_write(device, slot->u8);
    case INT_S16_TYPE:
    case INT_U16_TYPE: return device_write(device, slot->u16);
    case INT_S32_TYPE:
    case INT_U32_TYPE:
    case FLOAT_32_TYPE: return device_write(device, slot->u32);
    case FLOAT_64_TYPE: return device_write(device, slot->raw);
    case STRING_TYPE: {
        size_t length = slot->text ? strlen(slot->text) : 0;
        if (length > static_cast<size_t>(PARAMETER_MAX_TEXT))
            return false;
        if (!device_write(device, static_cast<INT_S32>(length)))
            return false;
        if (length == 0)
            return true;
        return device_write_bytes(device, slot->text, static_cast<INT_S32>(length));
    }
    case POINTER_TYPE:
        // Eight bytes whatever the word size, so that files move between 32 and 64 bits.
        return device_write(device, static_cast<INT_S64>(reinterpret_cast<PTR_INT_CAST>(slot->pointer)));
    }
    return true;
}

bool PARAMETER::get_from_data_device(DATA_DEVICE* device)
{
    reset();
    if (!device)
        return false;
    INT_U8 code = 0;
    if (!device_read(device, &code))
        return false;
    type = code;
    if (!is_set())
        return true;
    if (!read_slot(device, &value) || !read_slot(device, &minimum) || !read_slot(device, &maximum)) {
        reset();
        return false;
    }
    clamp();
    return true;
}

bool PARAMETER::read_slot(DATA_DEVICE* device, PARAMETER_VALUE* slot)
{
    switch (type) {
    case INT_S8_TYPE:
    case INT_U8_TYPE: return device_read(device, &slot->u8);
    case INT_S16_TYPE:
    case INT_U16_TYPE: return device_read(device, &slot->u16);
    case INT_S32_TYPE:
    case INT_U32_TYPE:
    case FLOAT_32_TYPE: return device_read(device, &slot->u32);
    case FLOAT_64_TYPE: return device_read(device, &slot->raw);
    case STRING_TYPE: {
        INT_S32 length = 0;
        if (!device_read(device, &length))
            return false;
        if (length < 0 || length > PARAMETER_MAX_TEXT)
            return false;
        if (length == 0)
            return true;
        char* text = new (std::nothrow) char[static_cast<size_t>(length) + 1];
        if (!text)
            return false;
        if (!device_read_bytes(device, text, length)) {
            delete[] text;
            return false;
        }
        text[length] = 0;
        slot->text = text;
        return true;
    }
    case POINTER_TYPE: {
        // Written by a 32-bit program: only the low half means anything.
        INT_U64 stored = 0;
        if (!device_read(device, &stored))
            return false;
        slot->pointer = reinterpret_cast<void*>(static_cast<uintptr_t>(static_cast<INT_U32>(stored)));
        return true;
    }
    }
    return true;
}
