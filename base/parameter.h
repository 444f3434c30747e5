// PARAMETER: a typed value with a lower and an upper bound. Widgets bind to one and read or set
// a number without knowing how it is stored: a scroll bar moves one, a table cell shows one, a
// page description saves one.
//
// Every accessor takes the address of one of the three slots (`&p.value`, `&p.minimum`,
// `&p.maximum`), so the same code reads a value or a bound. A type code above POINTER_TYPE marks
// an unset parameter: every conversion answers 0 or does nothing.
#pragma once

#include "base/data_device.h"
#include "base/orlu_types.h"

enum PARAMETER_TYPE : INT_U32 {
    INT_S8_TYPE = 0,
    INT_U8_TYPE = 1,
    INT_S16_TYPE = 2,
    INT_U16_TYPE = 3,
    INT_S32_TYPE = 4,
    INT_U32_TYPE = 5,
    FLOAT_32_TYPE = 6,
    FLOAT_64_TYPE = 7,
    STRING_TYPE = 8,
    POINTER_TYPE = 9,
    // Any code above POINTER_TYPE; this is the one the class itself uses.
    UNSET_TYPE = 10,
};

// One slot. For STRING_TYPE `text` is owned by the parameter, each slot a separate allocation.
// `raw` comes first: an empty initialiser zeroes only a union's first member, and it must cover
// all eight bytes, or a text slot that was never set would hold stack garbage.
union PARAMETER_VALUE {
    INT_U64 raw;
    INT_S8 s8;
    INT_U8 u8;
    INT_S16 s16;
    INT_U16 u16;
    INT_S32 s32;
    INT_U32 u32;
    FLOAT_32 f32;
    FLOAT_64 f64;
    char* text;
    void* pointer;
};

// Longest text a stored STRING_TYPE slot may declare; a longer one is refused before anything
// is allocated.
constexpr INT_S32 PARAMETER_MAX_TEXT = 65536;

class PARAMETER : public DATA_DEVICE_CLIENT {
public:
    // An unset parameter.
    PARAMETER();
    // A STRING_TYPE parameter holding a copy of text (null is the empty string); the bounds are
    // null. A failed allocation leaves the value null.
    explicit PARAMETER(const char* text);
    // A numeric parameter of the given type with value, minimum and maximum all zero (texts
    // "0" for STRING_TYPE, null for POINTER_TYPE).
    explicit PARAMETER(PARAMETER_TYPE type);
    ~PARAMETER() override;
    PARAMETER(const PARAMETER&) = delete;
    PARAMETER& operator=(const PARAMETER&) = delete;

    [[nodiscard]] bool is_set() const { return type <= POINTER_TYPE; }
    // Length of `value` for STRING_TYPE, otherwise 0.
    [[nodiscard]] INT_S32 text_length() const;

    // --- reading a slot. Integers widen by their own signedness; reals truncate towards zero as
    //     the processor does (an out-of-range real gives 0x80000000 for as_int); text is scanned
    //     with "%d", "%u", "%lf" or "%p", and a null or unreadable text gives 0.
    [[nodiscard]] INT_S32 as_int(const PARAMETER_VALUE* slot) const;
    [[nodiscard]] INT_U32 as_uint(const PARAMETER_VALUE* slot) const;
    [[nodiscard]] FLOAT_64 as_real(const PARAMETER_VALUE* slot) const;
    [[nodiscard]] PTR_INT_CAST as_pointer(const PARAMETER_VALUE* slot) const;

    // Writes the slot as text: "%hd", "%hu", "%d", "%u", "%.2f", "%.2lf", the text itself or
    // "%p". The result is cut to size - 1 characters and buffer[size - 1] is always a terminator.
    // An unset parameter, a null buffer or a size below 1 writes nothing.
    void to_text(const PARAMETER_VALUE* slot, char* buffer, INT_S32 size) const;
    // Reads the slot from text by the same formats ("%f" and "%lf" for reals). STRING_TYPE
    // replaces the owned text (null gives the empty text); POINTER_TYPE takes the text pointer
    // itself. An unreadable text leaves the slot as it was.
    void from_text(PARAMETER_VALUE* slot, const char* text);

    // Store with truncation to the slot's width. On STRING_TYPE the number is written as text
    // with "%d", "%u", "%.2lf" or "%p".
    void set_int(PARAMETER_VALUE* slot, INT_S32 number);
    void set_uint(PARAMETER_VALUE* slot, INT_U32 number);
    void set_real(PARAMETER_VALUE* slot, FLOAT_64 number);
    void set_pointer(PARAMETER_VALUE* slot, PTR_INT_CAST number);

    // Zero; for text the value "0". clear_from_text goes by way of from_text.
    void clear(PARAMETER_VALUE* slot);
    void clear_from_text(PARAMETER_VALUE* slot);

    // For the numeric types: a value below minimum becomes minimum, then a value above maximum
    // becomes maximum (so with crossed bounds the maximum wins). Text, pointers and NaN stay.
    void clamp();

    // Makes this a copy of other, texts duplicated. A failed text allocation leaves that slot null.
    void copy_from(const PARAMETER& other);

    // Frees held text and makes the parameter unset.
    void reset();

    // Stream form: one byte of type, then value, minimum and maximum at the type's natural width
    // in the device's byte order; text is a 4-byte length and the bytes, 0 meaning a null text.
    // Reading answers false on a short read, a negative length or one above PARAMETER_MAX_TEXT,
    // and then leaves the parameter unset; a good read ends with clamp().
    [[nodiscard]] bool get_from_data_device(DATA_DEVICE* device) override;
    [[nodiscard]] bool put_to_data_device(DATA_DEVICE* device) const override;

    INT_U32 type { UNSET_TYPE };
    PARAMETER_VALUE value {};
    PARAMETER_VALUE minimum {};
    PARAMETER_VALUE maximum {};

private:
    void set_text(PARAMETER_VALUE* slot, const char* text);
    void free_texts();
    [[nodiscard]] bool read_slot(DATA_DEVICE* device, PARAMETER_VALUE* slot);
    [[nodiscard]] bool write_slot(DATA_DEVICE* device, const PARAMETER_VALUE* slot) const;
};
