// TEXT_FILE: line-based text in UTF-8, Latin-1 or UTF-16 (either byte order).
//
// Encodings. A file that starts with the mark FF FE is UTF-16 little-endian ("wide"), FE FF
// UTF-16 big-endian ("wide" and "swapped"). Any other file is read as UTF-8 until the first
// invalid sequence; from there on the rest of the file is taken byte by byte (Latin-1). A UTF-8
// mark at the start is skipped.
//
// Wide characters in 8-bit text. Text travels through the framework in ORLU_STRING and plain char
// buffers. A character above 255 is held between two bytes of value 1: the byte 1, then for each
// character "," and four upper-case hexadecimal digits, then a closing byte 1. Consecutive wide
// characters share one pair of markers: "A\x01,4E2D,6587\x01B". Characters above 0xFFFF are held
// as their two UTF-16 surrogates. read_line produces this form and write_string consumes it.
//
// Lines end at CR, LF or CR LF (the LF right after a CR is dropped, also across two calls).
//
// Files are made by FOLDER::open_text_file and closed with FOLDER::close_text_file.
#pragma once

#include <cstdio>

#include "io/folder.h"
#include "base/orlu_string.h"
#include "base/orlu_types.h"

// The marker byte around wide characters in 8-bit text.
constexpr char WIDE_TEXT_MARKER = 1;

class TEXT_FILE {
public:
    TEXT_FILE();
    ~TEXT_FILE();
    TEXT_FILE(const TEXT_FILE&) = delete;
    TEXT_FILE& operator=(const TEXT_FILE&) = delete;

    // FILE_WRITE: a new file; with `wide` UTF-16 little-endian with its mark.
    // FILE_READ: the encoding is taken from the file, `wide` is ignored.
    // FILE_UPDATE: appends; a UTF-16 file must be little-endian, an empty file gets the mark
    // when `wide` is asked. False when the file cannot be opened or is big-endian UTF-16 in
    // update mode.
    [[nodiscard]] bool open(const FOLDER& folder, const char* name, INT_S32 mode, bool wide);
    // False when bytes written could not all reach the file.
    bool close();

    // --- Reading ----------------------------------------------------------------------------

    // The next line, at most line_size() - 1 bytes (a longer line is cut there and the rest is
    // the next line). False at the end of the file when the last line is empty; `line` is then
    // empty.
    bool read_line(ORLU_STRING& line);
    // The same into the caller's buffer of `size` bytes (terminator included). Without
    // `stop_at_line_end` every line end becomes "\n" and reading goes on until the buffer is full
    // or the file ends, so a whole file can be read as one text. False when nothing was read.
    bool read_line_into(char* buffer, INT_S32 size, bool stop_at_line_end);
    // The next character as a code point; false at the end of the file.
    bool read_char(INT_S32* out);
    // The next character as a code point, -1 at the end of the file.
    INT_S32 read_code_point();

    // --- Writing (false when the file refuses the bytes) ------------------------------------

    // One raw byte; in a wide file one 16-bit unit of that value.
    bool write_char(INT_U8 byte);
    // One character: UTF-8 while decoding is on (a value above 0x10FFFF goes as its low 7 bits),
    // a raw byte when it is off (Latin-1), UTF-16 in a wide file.
    bool write_code_point(INT_S32 value);
    // 8-bit text with wide characters in marker form. In a wide file "\n" becomes CR LF.
    bool write_string(const char* text);
    // printf into the line buffer (at most line_size() - 1 characters), then write_string.
    bool write_format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // --- State ------------------------------------------------------------------------------

    [[nodiscard]] bool is_open() const { return m_stream != nullptr; }
    [[nodiscard]] INT_S32 mode() const { return m_mode; }
    [[nodiscard]] bool is_wide() const { return m_wide; }
    [[nodiscard]] bool is_swapped() const { return m_swapped; }
    // True while a non-wide file is still taken as UTF-8.
    [[nodiscard]] bool decodes_utf8() const { return m_decode_utf8; }
    void set_decode_utf8(bool decode) { m_decode_utf8 = decode; }
    // The line size callers hand to read_line_into (256; the config reader uses 1024).
    [[nodiscard]] INT_S16 line_limit() const { return m_line_limit; }
    void set_line_limit(INT_S16 limit) { m_line_limit = limit; }
    [[nodiscard]] INT_S16 line_size() const { return m_line_size; }
    [[nodiscard]] const FOLDER& folder() const { return m_folder; }
    [[nodiscard]] const char* name() const { return m_name.c_str(); }

private:
    INT_S32 next_byte();
    void push_back(INT_S32 byte);
    INT_S32 read_unit();
    bool read_text(char* buffer, INT_S32 size, bool stop_at_line_end);
    bool put_byte(INT_S32 byte);
    bool put_unit(INT_U32 unit);
    bool put_wide(INT_S32 value);
    bool emit(INT_S32 value);
    bool ensure_line_buffer();

    INT_S16 m_line_limit { 256 };
    INT_S16 m_line_size { 1024 };
    char* m_line_buffer { nullptr };
    INT_S32 m_mode { FILE_READ };
    FILE* m_stream { nullptr };
    INT_S32 m_last_break { 0 };
    INT_S32 m_pushback[3] { -1, -1, -1 };
    INT_U8 m_wide { 0 };
    INT_U8 m_swapped { 0 };
    INT_U8 m_decode_utf8 { 1 };
    FOLDER m_folder;
    ORLU_STRING m_name;

    // A character read but not taken because the line was full; delivered first next time.
    INT_S32 m_pending { -1 };
    // Whether the next character read is the first of the file (for the UTF-8 mark).
    INT_U8 m_at_start { 1 };
    // A high surrogate waiting for its partner in write_string towards a UTF-8 file.
    INT_S32 m_high_surrogate { -1 };
};
