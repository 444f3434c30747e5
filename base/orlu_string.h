// ORLU_STRING: the framework's 8-bit heap string. It never throws and never shrinks; every
// allocation is at least `min_capacity` bytes (50 unless changed), so the many short strings of
// the toolkit need one allocation in their lifetime. Text is Latin-1 for case and folding and
// UTF-8 where fonts and XML hand it over; a null text reads as the empty string.
#pragma once

#include "base/data_device.h"
#include "base/orlu_types.h"

class ORLU_STRING : public DATA_DEVICE_CLIENT {
public:
    ORLU_STRING();
    ORLU_STRING(const char* text);
    ORLU_STRING(const ORLU_STRING& other);
    ORLU_STRING(const char* text, const ORLU_STRING& tail);       // text followed by tail
    ORLU_STRING(const ORLU_STRING& source, INT_S32 start, INT_S32 end); // substring, end inclusive
    ~ORLU_STRING() override;

    ORLU_STRING& operator=(const ORLU_STRING& other);
    ORLU_STRING& operator=(const char* text);

    // The class-wide default for new strings' min_capacity.
    static INT_S32 default_min_capacity;
    // Longest text get_from_data_device accepts; a longer declared length fails like a negative
    // one, so a damaged file cannot ask for an unbounded allocation.
    static constexpr INT_S32 max_stream_length = 64 * 1024 * 1024;

    // --- assign and append. A failed allocation in an assignment clears the string; in an append
    //     it keeps the old text.
    void assign(const char* text);
    void assign(INT_S16 value);
    void assign(INT_S32 value);
    void append(const char* text);
    void append(INT_S16 value);
    void append(INT_S32 value);

    // --- query
    [[nodiscard]] const char* text() const { return m_text; }
    [[nodiscard]] const char* c_str() const { return m_text ? m_text : ""; }
    [[nodiscard]] INT_S32 length() const;
    [[nodiscard]] bool is_empty() const { return !m_text || !m_text[0]; }
    [[nodiscard]] INT_S32 capacity() const { return m_capacity; }
    [[nodiscard]] INT_S32 min_capacity() const { return m_min_capacity; }
    void set_min_capacity(INT_S32 size) { m_min_capacity = size; }
    [[nodiscard]] INT_S32 find(const char* needle, INT_S32 from, bool case_sensitive) const;
    [[nodiscard]] INT_S32 find_last(const char* needle, INT_S32 from, bool case_sensitive) const;
    [[nodiscard]] ORLU_STRING substring(INT_S32 start, INT_S32 end) const;
    [[nodiscard]] INT_S32 parse_int(INT_S32 start, INT_S32 end) const;

    // --- edit
    bool remove_range(INT_S32 start, INT_S32 end);
    void insert(const char* text, INT_S32 position);
    bool replace_next(const char* old_text, const char* new_text, INT_S32* position);
    // Makes the buffer at least `size` bytes (and min_capacity), keeping the text; a string that
    // held no text holds the empty text afterwards. False on a negative size or a failed
    // allocation, with the string unchanged.
    bool reserve(INT_S32 size);
    void clear();
    void trim_left();
    void trim_right();
    void to_safe_name(bool keep_spaces);
    void capitalise(bool after_hyphens);
    void to_upper();

    // --- transform
    void encode_entities(bool high_too);
    void decode_entities();
    void encode_url(bool strict);
    void decode_url();
    void fold_to_ascii();
    // Standard alphabet with "=" padding. encode answers the encoded size and writes nothing when
    // the buffer is null or not larger than that size. decode answers -1 on bad input, else the
    // decoded size, writing nothing when the buffer is null or too small.
    INT_S32 encode_base64(const void* bytes, INT_S32 size);
    [[nodiscard]] INT_S32 decode_base64(void* buffer, INT_S32 size) const;

    // --- clipboard (through the host). Without a display there is no clipboard: both answer
    //     false and leave the string as it was.
    bool to_clipboard() const;
    bool from_clipboard();

    // --- stream form: a 4-byte length in the device's byte order, then the bytes, no terminator.
    [[nodiscard]] bool get_from_data_device(DATA_DEVICE* device) override;
    [[nodiscard]] bool put_to_data_device(DATA_DEVICE* device) const override;

private:
    bool grow_to(INT_S32 needed);
    void adopt(char* buffer, INT_S32 size);
    [[nodiscard]] INT_S32 fresh_size(INT_S32 length) const;

    char* m_text { nullptr };
    INT_S32 m_capacity { 0 };
    INT_S32 m_min_capacity { 50 };
};

// Base-10 conversions; a null text gives the default.
INT_S32 string_to_int(const char* text, INT_S32 fallback);
INT_U32 string_to_uint(const char* text, INT_U32 fallback);
FLOAT_64 string_to_double(const char* text, FLOAT_64 fallback);

// Latin-1 to ASCII folding of one byte ("AE" for 198, "?" for an unknown high byte). A caller's
// buffer must hold 4 bytes (the longest folding is "YSS"). Without a buffer the result lies in a
// shared one, overwritten by the next call.
const char* fold_char(INT_U8 byte, char* buffer);
// Folds text into buffer, stopping when the length reaches size - 3.
void fold_to_buffer(const char* text, char* buffer, INT_S32 size);
// -1, 0 or 1 through fold_char; null and empty compare equal and below any other text.
INT_S32 compare_folded(const char* a, const char* b, bool ignore_case);
void upper_in_place(char* text);
