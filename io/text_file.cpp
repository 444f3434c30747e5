// TEXT_FILE: opening with byte-order marks, decoding UTF-8, Latin-1 and UTF-16, lines with the
// wide-character form, and writing back in the file's own encoding.
//
// [SECTION] Opening and closing
// [SECTION] Decoding
// [SECTION] Lines
// [SECTION] Writing

#include "io/text_file.h"

#include <cstdarg>
#include <cstring>
#include <new>

namespace {

bool is_high_surrogate(INT_S32 value) { return value >= 0xD800 && value <= 0xDBFF; }
bool is_low_surrogate(INT_S32 value) { return value >= 0xDC00 && value <= 0xDFFF; }

INT_S32 hex_digit(INT_U8 c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Opening and closing
// ---------------------------------------------------------------------------------------------

TEXT_FILE::TEXT_FILE() = default;

TEXT_FILE::~TEXT_FILE()
{
    close();
    delete[] m_line_buffer;
}

bool TEXT_FILE::open(const FOLDER& folder, const char* name, INT_S32 mode, bool wide)
{
    if (m_stream || !name || !name[0] || mode < FILE_READ || mode > FILE_UPDATE)
        return false;
    m_folder = folder;
    m_name.assign(name);
    m_mode = mode;
    m_wide = 0;
    m_swapped = 0;

    if (mode == FILE_WRITE) {
        if (!wide) {
            m_stream = folder.open_stream(name, "w");
            return m_stream != nullptr;
        }
        m_stream = folder.open_stream(name, "wb");
        if (!m_stream)
            return false;
        m_wide = 1;
        return put_unit(0xFEFF);
    }

    m_stream = folder.open_stream(name, mode == FILE_READ ? "rb" : "r+b");
    if (!m_stream)
        return false;
    INT_U8 mark[2] = { 0, 0 };
    size_t got = fread(mark, 1, 2, m_stream);
    bool little = got == 2 && mark[0] == 0xFF && mark[1] == 0xFE;
    bool big = got == 2 && mark[0] == 0xFE && mark[1] == 0xFF;

    if (mode == FILE_READ) {
        if (little || big) {
            m_wide = 1;
            m_swapped = big;
            return true;
        }
        // Not UTF-16: start again from the first byte, where a UTF-8 mark may lie.
        fclose(m_stream);
        m_stream = folder.open_stream(name, "r");
        return m_stream != nullptr;
    }

    // Update: text is appended in the file's own encoding.
    if (big) {
        close();
        return false;
    }
    if (little) {
        m_wide = 1;
        return fseek(m_stream, 0, SEEK_END) == 0;
    }
    if (got == 0 && wide) {
        m_wide = 1;
        return fseek(m_stream, 0, SEEK_SET) == 0 && put_unit(0xFEFF);
    }
    fclose(m_stream);
    m_stream = folder.open_stream(name, "a+");
    return m_stream != nullptr;
}

bool TEXT_FILE::close()
{
    bool ok = !m_stream || fclose(m_stream) == 0;
    m_stream = nullptr;
    return ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Decoding
// ---------------------------------------------------------------------------------------------

INT_S32 TEXT_FILE::next_byte()
{
    if (m_pushback[0] >= 0) {
        INT_S32 byte = m_pushback[0];
        m_pushback[0] = m_pushback[1];
        m_pushback[1] = m_pushback[2];
        m_pushback[2] = -1;
        return byte;
    }
    if (!m_stream)
        return -1;
    int c = fgetc(m_stream);
    return c == EOF ? -1 : c;
}

void TEXT_FILE::push_back(INT_S32 byte)
{
    // Bytes are given back only right after they were taken, so there is always room.
    for (INT_S32& slot : m_pushback) {
        if (slot < 0) {
            slot = byte;
            return;
        }
    }
}

INT_S32 TEXT_FILE::read_unit()
{
    INT_S32 first = next_byte();
    if (first < 0)
        return -1;
    INT_S32 second = next_byte();
    if (second < 0)
        return -1;
    return m_swapped ? (first << 8 | second) : (second << 8 | first);
}

INT_S32 TEXT_FILE::read_code_point()
{
    if (m_pending >= 0) {
        INT_S32 value = m_pending;
        m_pending = -1;
        return value;
    }
    if (m_wide) {
        INT_S32 unit = read_unit();
        if (!is_high_surrogate(unit))
            return unit;
        INT_S32 first = next_byte();
        INT_S32 second = first >= 0 ? next_byte() : -1;
        // At the end of the file there is no second unit to combine (and no shifting of -1).
        INT_S32 low = second < 0 ? -1 : m_swapped ? (first << 8 | second) : (second << 8 | first);
        if (second >= 0 && is_low_surrogate(low))
            return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        // A lone high surrogate passes as it stands; the bytes behind it are read again.
        if (first >= 0)
            push_back(first);
        if (second >= 0)
            push_back(second);
        return unit;
    }

    INT_S32 lead = next_byte();
    if (lead < 0)
        return -1;
    bool first_of_file = m_at_start;
    m_at_start = 0;
    if (!m_decode_utf8 || lead < 0x80)
        return lead;

    INT_S32 more;
    INT_S32 value;
    INT_S32 smallest;
    if (lead >= 0xC2 && lead <= 0xDF) {
        more = 1;
        value = lead & 0x1F;
        smallest = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        more = 2;
        value = lead & 0x0F;
        smallest = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        more = 3;
        value = lead & 0x07;
        smallest = 0x10000;
    } else {
        // A byte that starts no sequence: this is not UTF-8.
        m_decode_utf8 = 0;
        return lead;
    }

    INT_S32 taken[3];
    INT_S32 count = 0;
    bool valid = true;
    for (INT_S32 i = 0; i < more; ++i) {
        INT_S32 next = next_byte();
        if (next < 0) {
            valid = false;
            break;
        }
        taken[count++] = next;
        if ((next & 0xC0) != 0x80) {
            valid = false;
            break;
        }
        value = value << 6 | (next & 0x3F);
    }
    if (valid && (value < smallest || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)))
        valid = false;
    if (!valid) {
        // From here on the file is taken byte by byte; what was read behind the lead comes
        // again in the order it came.
        for (INT_S32 i = 0; i < count; ++i)
            push_back(taken[i]);
        m_decode_utf8 = 0;
        return lead;
    }
    if (first_of_file && value == 0xFEFF)
        return read_code_point();
    return value;
}

bool TEXT_FILE::read_char(INT_S32* out)
{
    INT_S32 value = read_code_point();
    if (value < 0 || !out)
        return false;
    *out = value;
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Lines
// ---------------------------------------------------------------------------------------------

bool TEXT_FILE::ensure_line_buffer()
{
    if (!m_line_buffer)
        m_line_buffer = new (std::nothrow) char[m_line_size];
    return m_line_buffer != nullptr;
}

bool TEXT_FILE::read_text(char* buffer, INT_S32 size, bool stop_at_line_end)
{
    if (!buffer || size < 1)
        return false;
    INT_S32 limit = size - 1;
    INT_S32 length = 0;
    bool in_wide = false;
    bool line_ended = false;

    for (;;) {
        INT_S32 c = read_code_point();
        if (c < 0)
            break;
        if (c == '\n' && m_last_break == '\r') {
            m_last_break = 0;
            continue;
        }
        if (c == '\r' || c == '\n') {
            m_last_break = c;
            if (stop_at_line_end) {
                line_ended = true;
                break;
            }
            if (in_wide) {
                buffer[length++] = WIDE_TEXT_MARKER;
                in_wide = false;
            }
            if (length + 1 > limit) {
                m_pending = c;
                m_last_break = 0;
                break;
            }
            buffer[length++] = '\n';
            continue;
        }
        m_last_break = 0;
        if (c == 0)
            continue;

        if (c > 255) {
            INT_S32 units[2] = { c, 0 };
            INT_S32 unit_count = 1;
            if (c > 0xFFFF) {
                units[0] = 0xD800 + ((c - 0x10000) >> 10);
                units[1] = 0xDC00 + ((c - 0x10000) & 0x3FF);
                unit_count = 2;
            }
            // Room for the opening marker, the units and the closing marker.
            if (length + (in_wide ? 0 : 1) + 5 * unit_count + 1 > limit) {
                m_pending = c;
                break;
            }
            if (!in_wide) {
                buffer[length++] = WIDE_TEXT_MARKER;
                in_wide = true;
            }
            for (INT_S32 i = 0; i < unit_count; ++i) {
                snprintf(buffer + length, 6, ",%04X", static_cast<unsigned>(units[i]));
                length += 5;
            }
            continue;
        }

        if (length + (in_wide ? 1 : 0) + 1 > limit) {
            m_pending = c;
            break;
        }
        if (in_wide) {
            buffer[length++] = WIDE_TEXT_MARKER;
            in_wide = false;
        }
        buffer[length++] = static_cast<char>(c);
    }

    if (in_wide)
        buffer[length++] = WIDE_TEXT_MARKER;
    buffer[length] = 0;
    return length > 0 || line_ended || m_pending >= 0;
}

bool TEXT_FILE::read_line(ORLU_STRING& line)
{
    if (!ensure_line_buffer()) {
        line.clear();
        return false;
    }
    bool ok = read_text(m_line_buffer, m_line_size, true);
    line.assign(m_line_buffer);
    return ok;
}

bool TEXT_FILE::read_line_into(char* buffer, INT_S32 size, bool stop_at_line_end)
{
    return read_text(buffer, size, stop_at_line_end);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Writing
// ---------------------------------------------------------------------------------------------

bool TEXT_FILE::put_byte(INT_S32 byte)
{
    return m_stream && fputc(byte & 0xFF, m_stream) != EOF;
}

bool TEXT_FILE::put_unit(INT_U32 unit)
{
    INT_S32 low = static_cast<INT_S32>(unit & 0xFF);
    INT_S32 high = static_cast<INT_S32>((unit >> 8) & 0xFF);
    return m_swapped ? put_byte(high) && put_byte(low) : put_byte(low) && put_byte(high);
}

bool TEXT_FILE::put_wide(INT_S32 value)
{
    if (value > 0xFFFF && value <= 0x10FFFF) {
        INT_S32 offset = value - 0x10000;
        return put_unit(static_cast<INT_U32>(0xD800 + (offset >> 10)))
            && put_unit(static_cast<INT_U32>(0xDC00 + (offset & 0x3FF)));
    }
    return put_unit(static_cast<INT_U32>(value) & 0xFFFF);
}

bool TEXT_FILE::write_char(INT_U8 byte)
{
    m_pushback[0] = m_pushback[1] = m_pushback[2] = -1;
    return m_wide ? put_unit(byte) : put_byte(byte);
}

bool TEXT_FILE::write_code_point(INT_S32 value)
{
    m_pushback[0] = m_pushback[1] = m_pushback[2] = -1;
    if (m_wide)
        return put_wide(value);
    if (!m_decode_utf8)
        return put_byte(value);
    INT_U32 v = static_cast<INT_U32>(value);
    if (v < 0x80)
        return put_byte(static_cast<INT_S32>(v));
    if (v < 0x800)
        return put_byte(0xC0 | static_cast<INT_S32>(v >> 6)) && put_byte(0x80 | static_cast<INT_S32>(v & 0x3F));
    if (v < 0x10000)
        return put_byte(0xE0 | static_cast<INT_S32>(v >> 12)) && put_byte(0x80 | static_cast<INT_S32>((v >> 6) & 0x3F))
            && put_byte(0x80 | static_cast<INT_S32>(v & 0x3F));
    if (v <= 0x10FFFF)
        return put_byte(0xF0 | static_cast<INT_S32>(v >> 18)) && put_byte(0x80 | static_cast<INT_S32>((v >> 12) & 0x3F))
            && put_byte(0x80 | static_cast<INT_S32>((v >> 6) & 0x3F)) && put_byte(0x80 | static_cast<INT_S32>(v & 0x3F));
    return put_byte(static_cast<INT_S32>(v & 0x7F));
}

// One character of write_string. A wide file takes UTF-16 units as they come, with "\n" as CR LF;
// towards an 8-bit file a surrogate pair is joined into its code point first.
bool TEXT_FILE::emit(INT_S32 value)
{
    if (m_wide) {
        if (value == '\n')
            return put_unit(0x0D) && put_unit(0x0A);
        return put_unit(static_cast<INT_U32>(value));
    }
    if (m_high_surrogate >= 0) {
        INT_S32 high = m_high_surrogate;
        m_high_surrogate = -1;
        if (is_low_surrogate(value))
            return write_code_point(0x10000 + ((high - 0xD800) << 10) + (value - 0xDC00));
        if (!write_code_point(high))
            return false;
    }
    if (is_high_surrogate(value)) {
        m_high_surrogate = value;
        return true;
    }
    return write_code_point(value);
}

bool TEXT_FILE::write_string(const char* text)
{
    if (!m_stream || !text)
        return false;
    bool ok = true;
    bool wide_run = false;
    INT_S32 value = 0;
    INT_S32 digits = 0;
    for (const char* p = text; *p; ++p) {
        INT_U8 c = static_cast<INT_U8>(*p);
        if (c == WIDE_TEXT_MARKER) {
            wide_run = !wide_run;
            value = 0;
            digits = 0;
            continue;
        }
        if (!wide_run) {
            ok = emit(c) && ok;
            continue;
        }
        // Inside a run: four hexadecimal digits make a character; "," and anything else between
        // them is skipped.
        INT_S32 digit = hex_digit(c);
        if (digit < 0)
            continue;
        value = value << 4 | digit;
        if (++digits == 4) {
            ok = emit(value) && ok;
            value = 0;
            digits = 0;
        }
    }
    if (m_high_surrogate >= 0) {
        ok = write_code_point(m_high_surrogate) && ok;
        m_high_surrogate = -1;
    }
    return ok;
}

bool TEXT_FILE::write_format(const char* format, ...)
{
    if (!format || !ensure_line_buffer())
        return false;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(m_line_buffer, static_cast<size_t>(m_line_size), format, arguments);
    va_end(arguments);
    return write_string(m_line_buffer);
}
