// ORLU_STRING and the free text functions that share its vocabulary.
//
// [SECTION] Buffer management
// [SECTION] Construction and assignment
// [SECTION] Append
// [SECTION] Query
// [SECTION] Edit
// [SECTION] Entities and URLs
// [SECTION] Folding
// [SECTION] Base64
// [SECTION] Clipboard
// [SECTION] Stream form
// [SECTION] Free functions

#include "base/orlu_string.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>

INT_S32 ORLU_STRING::default_min_capacity = 50;

namespace {

// Numbers on their way into append: one buffer for all strings, so two appends may not format
// at the same time (nothing here is re-entrant).
char number_buffer[15];

// Single-character folding results when the caller gives no buffer.
char fold_buffer[4];

// The C library's classification, but never for a byte with the high bit set: Latin-1 letters
// are not letters, blanks or digits to these rules.
bool is_ascii_space(char c)
{
    unsigned char byte = static_cast<unsigned char>(c);
    return byte < 128 && isspace(byte);
}

bool is_ascii_alnum(char c)
{
    unsigned char byte = static_cast<unsigned char>(c);
    return byte < 128 && isalnum(byte);
}

bool is_ascii_digit(char c)
{
    return c >= '0' && c <= '9';
}

char upper_char(char c)
{
    return static_cast<char>(toupper(static_cast<unsigned char>(c)));
}

char lower_char(char c)
{
    return static_cast<char>(tolower(static_cast<unsigned char>(c)));
}

// True when `pointer` lies inside the buffer at `start`: the larger of its recorded capacity and
// its text with terminator, since a failed encode leaves the capacity below the text's size.
bool points_into(const char* pointer, const char* start, INT_S32 capacity)
{
    if (!pointer || !start)
        return false;
    INT_S32 size = static_cast<INT_S32>(strlen(start)) + 1;
    if (size < capacity)
        size = capacity;
    std::less_equal<const char*> at_or_before;
    std::less<const char*> before;
    return at_or_before(start, pointer) && before(pointer, start + size);
}

bool matches_at(const char* text, const char* needle, INT_S32 needle_length, bool case_sensitive)
{
    if (case_sensitive)
        return memcmp(text, needle, static_cast<size_t>(needle_length)) == 0;
    for (INT_S32 i = 0; i < needle_length; ++i) {
        if (lower_char(text[i]) != lower_char(needle[i]))
            return false;
    }
    return true;
}

INT_S32 text_length(const char* text)
{
    return text ? static_cast<INT_S32>(strlen(text)) : 0;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Buffer management
// ---------------------------------------------------------------------------------------------

// The one allocation rule: ask for the larger of `needed` and min_capacity, and only when the
// buffer is smaller than that. The text is kept; a new buffer starts as the empty text.
bool ORLU_STRING::grow_to(INT_S32 needed)
{
    INT_S32 size = needed > m_min_capacity ? needed : m_min_capacity;
    if (size < 1)
        size = 1;
    if (m_text && m_capacity >= size)
        return true;
    char* grown = new (std::nothrow) char[static_cast<size_t>(size)];
    if (!grown)
        return false;
    if (m_text) {
        memcpy(grown, m_text, strlen(m_text) + 1);
        delete[] m_text;
    } else {
        grown[0] = 0;
    }
    m_text = grown;
    m_capacity = size;
    return true;
}

// Hands over a freshly built buffer of `size` bytes, freeing the old one.
void ORLU_STRING::adopt(char* buffer, INT_S32 size)
{
    delete[] m_text;
    m_text = buffer;
    m_capacity = size;
}

// Size of a fresh buffer for a text of `length`: the allocation rule, and never below what the
// string already holds, since a string does not shrink.
INT_S32 ORLU_STRING::fresh_size(INT_S32 length) const
{
    INT_S32 size = length + 1;
    if (size < m_min_capacity)
        size = m_min_capacity;
    if (size < m_capacity)
        size = m_capacity;
    return size;
}

void ORLU_STRING::clear()
{
    if (m_min_capacity == 0) {
        delete[] m_text;
        m_text = nullptr;
        m_capacity = 0;
        return;
    }
    if (m_text)
        m_text[0] = 0;
}

bool ORLU_STRING::reserve(INT_S32 size)
{
    if (size < 0)
        return false;
    return grow_to(size);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Construction and assignment
// ---------------------------------------------------------------------------------------------

ORLU_STRING::ORLU_STRING()
    : m_min_capacity(default_min_capacity)
{
}

ORLU_STRING::ORLU_STRING(const char* text)
    : m_min_capacity(default_min_capacity)
{
    assign(text);
}

ORLU_STRING::ORLU_STRING(const ORLU_STRING& other)
    : DATA_DEVICE_CLIENT()
    , m_min_capacity(default_min_capacity)
{
    assign(other.m_text);
}

ORLU_STRING::ORLU_STRING(const char* text, const ORLU_STRING& tail)
    : m_min_capacity(default_min_capacity)
{
    assign(text);
    append(tail.m_text);
}

ORLU_STRING::ORLU_STRING(const ORLU_STRING& source, INT_S32 start, INT_S32 end)
    : m_min_capacity(default_min_capacity)
{
    INT_S32 length = source.length();
    if (end == -1)
        end = length - 1;
    if (start < 0 || start > end || end >= length)
        return;
    INT_S32 size = end - start + 1;
    if (!grow_to(size + 1))
        return;
    memcpy(m_text, source.m_text + start, static_cast<size_t>(size));
    m_text[size] = 0;
}

ORLU_STRING::~ORLU_STRING()
{
    delete[] m_text;
}

ORLU_STRING& ORLU_STRING::operator=(const ORLU_STRING& other)
{
    if (this != &other)
        assign(other.m_text);
    return *this;
}

ORLU_STRING& ORLU_STRING::operator=(const char* text)
{
    assign(text);
    return *this;
}

void ORLU_STRING::assign(const char* text)
{
    if (!text) {
        clear();
        return;
    }
    INT_S32 length = text_length(text);
    // The source may be a piece of this very string: remember where, the buffer may move.
    bool inside = points_into(text, m_text, m_capacity);
    INT_S32 offset = inside ? static_cast<INT_S32>(text - m_text) : 0;
    if (!grow_to(length + 1)) {
        clear();
        return;
    }
    if (inside)
        memmove(m_text, m_text + offset, static_cast<size_t>(length) + 1);
    else
        memcpy(m_text, text, static_cast<size_t>(length) + 1);
}

// Numbers are formatted straight into the string's own buffer, which is made at least 15 bytes
// long first: enough for any INT_S32 with sign and terminator.
void ORLU_STRING::assign(INT_S16 value)
{
    if (!grow_to(15)) {
        clear();
        return;
    }
    snprintf(m_text, 15, "%hd", value);
}

void ORLU_STRING::assign(INT_S32 value)
{
    if (!grow_to(15)) {
        clear();
        return;
    }
    snprintf(m_text, 15, "%d", static_cast<int>(value));
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Append
// ---------------------------------------------------------------------------------------------

void ORLU_STRING::append(const char* text)
{
    if (!text || !text[0])
        return;
    INT_S32 old_length = length();
    INT_S32 added = text_length(text);
    bool inside = points_into(text, m_text, m_capacity);
    INT_S32 offset = inside ? static_cast<INT_S32>(text - m_text) : 0;
    if (!grow_to(old_length + added + 1))
        return; // the old text stays
    const char* source = inside ? m_text + offset : text;
    memmove(m_text + old_length, source, static_cast<size_t>(added));
    m_text[old_length + added] = 0;
}

void ORLU_STRING::append(INT_S16 value)
{
    snprintf(number_buffer, sizeof(number_buffer), "%hd", value);
    append(number_buffer);
}

void ORLU_STRING::append(INT_S32 value)
{
    snprintf(number_buffer, sizeof(number_buffer), "%d", static_cast<int>(value));
    append(number_buffer);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Query
// ---------------------------------------------------------------------------------------------

INT_S32 ORLU_STRING::length() const
{
    return text_length(m_text);
}

INT_S32 ORLU_STRING::find(const char* needle, INT_S32 from, bool case_sensitive) const
{
    if (!needle || !needle[0] || !m_text || !m_text[0] || from < 0)
        return -1;
    INT_S32 length = this->length();
    if (from >= length)
        return -1;
    INT_S32 needle_length = text_length(needle);
    for (INT_S32 i = from; i + needle_length <= length; ++i) {
        if (matches_at(m_text + i, needle, needle_length, case_sensitive))
            return i;
    }
    return -1;
}

INT_S32 ORLU_STRING::find_last(const char* needle, INT_S32 from, bool case_sensitive) const
{
    if (!needle || !needle[0] || !m_text || !m_text[0])
        return -1;
    INT_S32 needle_length = text_length(needle);
    INT_S32 last = length() - needle_length;
    if (last < 0)
        return -1;
    INT_S32 start = (from >= 0 && from < last) ? from : last;
    for (INT_S32 i = start; i >= 0; --i) {
        if (matches_at(m_text + i, needle, needle_length, case_sensitive))
            return i;
    }
    return -1;
}

ORLU_STRING ORLU_STRING::substring(INT_S32 start, INT_S32 end) const
{
    return ORLU_STRING(*this, start, end);
}

INT_S32 ORLU_STRING::parse_int(INT_S32 start, INT_S32 end) const
{
    INT_S32 length = this->length();
    if (end == -1)
        end = length - 1;
    if (start < 0 || start > end || end >= length)
        return 0;
    if (!is_ascii_digit(m_text[start]))
        return 0;
    // Unsigned arithmetic, so that an over-long digit run wraps instead of overflowing.
    INT_U32 value = 0;
    for (INT_S32 i = start; i <= end && is_ascii_digit(m_text[i]); ++i)
        value = value * 10 + static_cast<INT_U32>(m_text[i] - '0');
    return static_cast<INT_S32>(value);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Edit
// ---------------------------------------------------------------------------------------------

bool ORLU_STRING::remove_range(INT_S32 start, INT_S32 end)
{
    INT_S32 length = this->length();
    if (end == -1)
        end = length - 1;
    if (start < 0 || start > end || end >= length)
        return false;
    memmove(m_text + start, m_text + end + 1, static_cast<size_t>(length - end));
    return true;
}

void ORLU_STRING::insert(const char* text, INT_S32 position)
{
    if (!text || !text[0])
        return;
    if (is_empty()) {
        assign(text);
        return;
    }
    INT_S32 length = this->length();
    if (position < 0 || position > length)
        return;
    INT_S32 added = text_length(text);
    INT_S32 size = fresh_size(length + added);
    char* rebuilt = new (std::nothrow) char[static_cast<size_t>(size)];
    if (!rebuilt)
        return;
    memcpy(rebuilt, m_text, static_cast<size_t>(position));
    memcpy(rebuilt + position, text, static_cast<size_t>(added));
    memcpy(rebuilt + position + added, m_text + position, static_cast<size_t>(length - position) + 1);
    adopt(rebuilt, size);
}

bool ORLU_STRING::replace_next(const char* old_text, const char* new_text, INT_S32* position)
{
    if (!old_text || !old_text[0] || !position || !m_text)
        return false;
    INT_S32 found = find(old_text, *position, true);
    if (found < 0)
        return false;
    if (!new_text)
        new_text = "";
    INT_S32 length = this->length();
    INT_S32 old_length = text_length(old_text);
    INT_S32 new_length = text_length(new_text);
    INT_S32 size = fresh_size(length - old_length + new_length);
    char* rebuilt = new (std::nothrow) char[static_cast<size_t>(size)];
    if (!rebuilt)
        return false;
    memcpy(rebuilt, m_text, static_cast<size_t>(found));
    memcpy(rebuilt + found, new_text, static_cast<size_t>(new_length));
    memcpy(rebuilt + found + new_length, m_text + found + old_length,
        static_cast<size_t>(length - found - old_length) + 1);
    adopt(rebuilt, size);
    *position = found + new_length;
    return true;
}

void ORLU_STRING::trim_left()
{
    if (!m_text)
        return;
    INT_S32 skip = 0;
    while (is_ascii_space(m_text[skip]))
        ++skip;
    if (skip > 0)
        memmove(m_text, m_text + skip, strlen(m_text + skip) + 1);
}

void ORLU_STRING::trim_right()
{
    if (!m_text)
        return;
    INT_S32 end = length();
    while (end > 0 && is_ascii_space(m_text[end - 1]))
        --end;
    m_text[end] = 0;
}

void ORLU_STRING::to_safe_name(bool keep_spaces)
{
    if (!m_text)
        return;
    for (char* c = m_text; *c; ++c) {
        if (is_ascii_alnum(*c) || (keep_spaces && *c == ' '))
            continue;
        *c = '_';
    }
}

// The first character is always raised. For the others the test looks one byte back, and the
// walk ends at the last but one index, so the final character is never raised by it ("a b"
// stays "A b"). Stored names depend on that.
void ORLU_STRING::capitalise(bool after_hyphens)
{
    if (!m_text || !m_text[0])
        return;
    m_text[0] = upper_char(m_text[0]);
    INT_S32 length = this->length();
    for (INT_S32 i = 1; i < length - 1; ++i) {
        char before = m_text[i - 1];
        if (is_ascii_space(before) || (after_hyphens && before == '-'))
            m_text[i] = upper_char(m_text[i]);
    }
}

void ORLU_STRING::to_upper()
{
    upper_in_place(m_text);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Entities and URLs
// ---------------------------------------------------------------------------------------------

namespace {

// The entity for one byte, or null when the byte stays as it is. `scratch` takes the numeric
// form of a high byte and must hold 8 bytes.
const char* entity_for(char c, bool high_too, char* scratch)
{
    switch (c) {
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '%':
        return "&#37;";
    default:
        break;
    }
    if (high_too && (static_cast<unsigned char>(c) & 0x80)) {
        // Written as a signed char: 0xE9 is "&#-23;". Readers of our stored texts expect it.
        snprintf(scratch, 8, "&#%d;", static_cast<int>(static_cast<signed char>(c)));
        return scratch;
    }
    return nullptr;
}

bool passes_url(char c, bool strict)
{
    if (is_ascii_alnum(c))
        return true;
    if (strict)
        return false;
    return c && strchr(" .,-:_?=#()/", c) != nullptr;
}

} // namespace

void ORLU_STRING::encode_entities(bool high_too)
{
    if (!m_text)
        return;
    char scratch[8];
    INT_S32 length = 0;
    bool changed = false;
    for (const char* c = m_text; *c; ++c) {
        const char* entity = entity_for(*c, high_too, scratch);
        if (entity) {
            changed = true;
            length += text_length(entity);
        } else {
            ++length;
        }
    }
    if (!changed)
        return;
    char* encoded = new (std::nothrow) char[static_cast<size_t>(length) + 1];
    if (!encoded) {
        // The old text stays; its capacity is only vouched for up to its length.
        m_capacity = this->length();
        return;
    }
    char* out = encoded;
    for (const char* c = m_text; *c; ++c) {
        const char* entity = entity_for(*c, high_too, scratch);
        if (!entity) {
            *out++ = *c;
            continue;
        }
        size_t size = strlen(entity);
        memcpy(out, entity, size);
        out += size;
    }
    *out = 0;
    adopt(encoded, length + 1);
}

// Reads left to right and writes over the same buffer. Two habits of this decoder are kept on
// purpose, since texts stored by the framework round-trip through them: "&lt;" and "&gt;" step
// six bytes on, dropping the two bytes behind them, and any other "&#" number is skipped up to
// its ";" while the output slot keeps whatever byte it held before.
void ORLU_STRING::decode_entities()
{
    if (!m_text)
        return;
    struct NAMED {
        const char* form;
        char byte;
        INT_S32 step;
    };
    static const NAMED named[] = {
        { "&quot;", '"', 6 },
        { "&#39;", '\'', 5 },
        { "&amp;", '&', 5 },
        { "&lt;", '<', 6 },
        { "&gt;", '>', 6 },
        { "&#37;", '%', 5 },
    };
    INT_S32 length = this->length();
    INT_S32 in = 0;
    INT_S32 out = 0;
    while (in < length) {
        if (m_text[in] != '&') {
            m_text[out++] = m_text[in++];
            continue;
        }
        bool done = false;
        for (const NAMED& entity : named) {
            INT_S32 size = text_length(entity.form);
            if (strncmp(m_text + in, entity.form, static_cast<size_t>(size)) != 0)
                continue;
            m_text[out++] = entity.byte;
            in += entity.step;
            if (in > length)
                in = length; // the step may reach past the text's end
            done = true;
            break;
        }
        if (done)
            continue;
        if (m_text[in + 1] == '#') {
            while (in < length && m_text[in] != ';')
                ++in;
            if (in < length)
                ++in;
            ++out; // the slot keeps its old byte
            continue;
        }
        m_text[out++] = m_text[in++]; // a lone "&"
    }
    m_text[out] = 0;
}

// Each escape is formatted as "%%%X" of the byte taken as a signed char and the write position
// moves on by three, whatever the formatted length. So a byte below 0x10 gives "%N" with its
// terminator as the third byte, which ends the text there, and a high byte leaves "%FF" with
// the rest of its long form overwritten. Request texts are printable ASCII, where this is exact.
void ORLU_STRING::encode_url(bool strict)
{
    if (!m_text)
        return;
    INT_S32 length = this->length();
    INT_S32 escaped = 0;
    for (INT_S32 i = 0; i < length; ++i) {
        if (!passes_url(m_text[i], strict))
            ++escaped;
    }
    if (escaped == 0)
        return;
    INT_S32 size = fresh_size(length + 2 * escaped);
    char* encoded = new (std::nothrow) char[static_cast<size_t>(size)];
    if (!encoded) {
        m_capacity = length;
        return;
    }
    char* out = encoded;
    for (INT_S32 i = 0; i < length; ++i) {
        char c = m_text[i];
        if (passes_url(c, strict)) {
            *out++ = c;
            continue;
        }
        // The long form of a high byte ("%FFFFFFE9") is cut to the three bytes that count.
        char form[16];
        snprintf(form, sizeof(form), "%%%X", static_cast<unsigned>(static_cast<int>(static_cast<signed char>(c))));
        size_t keep = strlen(form) + 1;
        if (keep > 3)
            keep = 3;
        memcpy(out, form, keep);
        out += 3;
    }
    *out = 0;
    adopt(encoded, size);
}

void ORLU_STRING::decode_url()
{
    if (!m_text)
        return;
    INT_S32 length = this->length();
    INT_S32 in = 0;
    INT_S32 out = 0;
    while (in < length) {
        if (m_text[in] != '%') {
            m_text[out++] = m_text[in++];
            continue;
        }
        // The two bytes behind the "%" are read as "%x"; at the end of the text fewer remain.
        char digits[3] = { 0, 0, 0 };
        ++in;
        for (int i = 0; i < 2 && in < length; ++i)
            digits[i] = m_text[in++];
        unsigned value = 0;
        if (sscanf(digits, "%x", &value) != 1)
            value = 0;
        m_text[out++] = static_cast<char>(value);
    }
    m_text[out] = 0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Folding
// ---------------------------------------------------------------------------------------------

void ORLU_STRING::fold_to_ascii()
{
    if (!m_text)
        return;
    INT_S32 length = this->length();
    // A byte folds to three characters at most.
    INT_S32 size = fresh_size(3 * length);
    char* folded = new (std::nothrow) char[static_cast<size_t>(size)];
    if (!folded)
        return;
    char piece[4];
    char* out = folded;
    for (INT_S32 i = 0; i < length; ++i) {
        const char* text = fold_char(static_cast<INT_U8>(m_text[i]), piece);
        size_t piece_length = strlen(text);
        memcpy(out, text, piece_length);
        out += piece_length;
    }
    *out = 0;
    adopt(folded, size);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Base64
// ---------------------------------------------------------------------------------------------

namespace {

const char base64_alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Value of one alphabet byte, -1 outside it.
int base64_value(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

} // namespace

INT_S32 ORLU_STRING::encode_base64(const void* bytes, INT_S32 size)
{
    if (size < 0)
        size = 0;
    INT_S64 encoded = (static_cast<INT_S64>(size) + 2) / 3 * 4;
    if (encoded > 0x7FFFFFFF)
        return -1;
    INT_S32 result = static_cast<INT_S32>(encoded);
    if (!m_text || m_capacity <= result || (!bytes && size > 0))
        return result;
    const unsigned char* in = static_cast<const unsigned char*>(bytes);
    char* out = m_text;
    INT_S32 i = 0;
    for (; i + 2 < size; i += 3) {
        INT_U32 group = (static_cast<INT_U32>(in[i]) << 16) | (static_cast<INT_U32>(in[i + 1]) << 8) | in[i + 2];
        *out++ = base64_alphabet[(group >> 18) & 63];
        *out++ = base64_alphabet[(group >> 12) & 63];
        *out++ = base64_alphabet[(group >> 6) & 63];
        *out++ = base64_alphabet[group & 63];
    }
    if (i < size) {
        INT_U32 group = static_cast<INT_U32>(in[i]) << 16;
        if (i + 1 < size)
            group |= static_cast<INT_U32>(in[i + 1]) << 8;
        *out++ = base64_alphabet[(group >> 18) & 63];
        *out++ = base64_alphabet[(group >> 12) & 63];
        *out++ = i + 1 < size ? base64_alphabet[(group >> 6) & 63] : '=';
        *out++ = '=';
    }
    *out = 0;
    return result;
}

INT_S32 ORLU_STRING::decode_base64(void* buffer, INT_S32 size) const
{
    INT_S32 length = this->length();
    if (length % 4 != 0)
        return -1;
    // Up to two "=" close the text; one anywhere else is outside the alphabet.
    INT_S32 padding = 0;
    if (length > 0 && m_text[length - 1] == '=') {
        padding = 1;
        if (m_text[length - 2] == '=')
            padding = 2;
    }
    for (INT_S32 i = 0; i < length - padding; ++i) {
        if (base64_value(m_text[i]) < 0)
            return -1;
    }
    INT_S32 decoded = length / 4 * 3 - padding;
    if (!buffer || size < decoded)
        return decoded;
    unsigned char* out = static_cast<unsigned char*>(buffer);
    INT_S32 written = 0;
    for (INT_S32 i = 0; i < length; i += 4) {
        INT_U32 group = 0;
        for (INT_S32 j = 0; j < 4; ++j) {
            char c = m_text[i + j];
            group = (group << 6) | static_cast<INT_U32>(c == '=' ? 0 : base64_value(c));
        }
        unsigned char three[3] = { static_cast<unsigned char>(group >> 16),
            static_cast<unsigned char>(group >> 8), static_cast<unsigned char>(group) };
        for (INT_S32 j = 0; j < 3 && written < decoded; ++j)
            out[written++] = three[j];
    }
    return decoded;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Clipboard
// ---------------------------------------------------------------------------------------------

// The clipboard belongs to the display. There is no display layer to carry a selection yet, so
// there is no clipboard: both directions answer false and leave the string alone.
bool ORLU_STRING::to_clipboard() const
{
    return false;
}

bool ORLU_STRING::from_clipboard()
{
    return false;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Stream form
// ---------------------------------------------------------------------------------------------

bool ORLU_STRING::get_from_data_device(DATA_DEVICE* device)
{
    clear();
    if (!device)
        return false;
    INT_S32 length = 0;
    if (!device_read(device, &length))
        return false;
    if (length == 0)
        return true;
    if (length < 0 || length > max_stream_length)
        return false;
    if (!grow_to(length + 1))
        return false;
    if (!device_read_bytes(device, m_text, length)) {
        clear();
        return false;
    }
    m_text[length] = 0;
    return true;
}

bool ORLU_STRING::put_to_data_device(DATA_DEVICE* device) const
{
    if (!device)
        return false;
    INT_S32 length = this->length();
    if (!device_write(device, length))
        return false;
    if (length == 0)
        return true;
    return device_write_bytes(device, m_text, length);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Free functions
// ---------------------------------------------------------------------------------------------

INT_S32 string_to_int(const char* text, INT_S32 fallback)
{
    if (!text)
        return fallback;
    return static_cast<INT_S32>(strtol(text, nullptr, 10));
}

INT_U32 string_to_uint(const char* text, INT_U32 fallback)
{
    if (!text)
        return fallback;
    return static_cast<INT_U32>(strtoul(text, nullptr, 10));
}

FLOAT_64 string_to_double(const char* text, FLOAT_64 fallback)
{
    if (!text)
        return fallback;
    return strtod(text, nullptr);
}

const char* fold_char(INT_U8 byte, char* buffer)
{
    const char* folded = nullptr;
    if (byte >= 192 && byte <= 254) {
        static const char* const table[63] = {
            "A", "A", "A", "A", "A", "A", "AE", "C", // 192-199
            "E", "E", "E", "E", "I", "I", "I", "I", // 200-207
            "D", "N", "O", "O", "O", "O", "O", "?", // 208-215
            "O", "U", "U", "U", "U", "YSS", "?", "?", // 216-223
            "a", "a", "a", "a", "a", "a", "ae", "c", // 224-231
            "e", "e", "e", "e", "i", "i", "i", "i", // 232-239
            "d", "n", "o", "o", "o", "o", "o", "?", // 240-247
            "o", "u", "u", "u", "u", "y", "p", // 248-254
        };
        folded = table[byte - 192];
    } else if (byte >= 128) {
        folded = "?";
    }
    if (folded) {
        if (!buffer)
            return folded;
        strcpy(buffer, folded);
        return buffer;
    }
    char* out = buffer ? buffer : fold_buffer;
    out[0] = static_cast<char>(byte);
    out[1] = 0;
    return out;
}

void fold_to_buffer(const char* text, char* buffer, INT_S32 size)
{
    if (!buffer || size < 1)
        return;
    buffer[0] = 0;
    if (!text)
        return;
    // Each byte adds at most three characters, so stopping at size - 3 keeps the terminator in.
    INT_S32 length = 0;
    char piece[4];
    for (const char* c = text; *c && length < size - 3; ++c) {
        const char* folded = fold_char(static_cast<INT_U8>(*c), piece);
        INT_S32 piece_length = text_length(folded);
        memcpy(buffer + length, folded, static_cast<size_t>(piece_length));
        length += piece_length;
    }
    buffer[length] = 0;
}

INT_S32 compare_folded(const char* a, const char* b, bool ignore_case)
{
    bool a_empty = !a || !a[0];
    bool b_empty = !b || !b[0];
    if (a_empty)
        return b_empty ? 0 : -1;
    if (b_empty)
        return 1;
    char a_piece[4];
    char b_piece[4];
    for (; *a && *b; ++a, ++b) {
        const char* fa = fold_char(static_cast<INT_U8>(*a), a_piece);
        const char* fb = fold_char(static_cast<INT_U8>(*b), b_piece);
        int result = 0;
        if (ignore_case) {
            for (; *fa && lower_char(*fa) == lower_char(*fb); ++fa, ++fb) {
            }
            result = static_cast<unsigned char>(lower_char(*fa)) - static_cast<unsigned char>(lower_char(*fb));
        } else {
            result = strcmp(fa, fb);
        }
        if (result != 0)
            return result < 0 ? -1 : 1;
    }
    if (*a)
        return 1;
    if (*b)
        return -1;
    return 0;
}

void upper_in_place(char* text)
{
    if (!text)
        return;
    for (; *text; ++text)
        *text = upper_char(*text);
}
