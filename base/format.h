// Formatting into fixed-size buffers with the cut made visible.
//
// snprintf cuts a text that does not fit and carries on; for a label that is harmless, but a cut
// path names another file, and a cut command line or log line says something else. These
// functions answer whether the whole text fit, so that a caller that builds a path can refuse a
// cut one instead of opening, deleting or reporting the wrong file.
#pragma once

#include <cstdarg>
#include <cstddef>

// printf into `buffer` of `size` bytes. True when the whole text fit. On a cut the buffer holds
// as much as fits, terminated, and the answer is false; a null buffer or a size of 0 answers
// false and writes nothing.
[[nodiscard]] bool format_text(char* buffer, size_t size, const char* format, ...) __attribute__((format(printf, 3, 4)));
[[nodiscard]] bool format_text_list(char* buffer, size_t size, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));

// The same for a plain copy: "%s" of `text` (null copies the empty text).
[[nodiscard]] bool copy_text(char* buffer, size_t size, const char* text);

// "%s%s%s" of folder, "/" unless the folder is empty or ends in one, and name: a path, never
// cut. False, with the buffer empty, when it does not fit.
[[nodiscard]] bool join_path_text(char* buffer, size_t size, const char* folder, const char* name);

// The same for buffers whose size the compiler knows.
template <size_t SIZE>
[[nodiscard]] bool copy_text(char (&buffer)[SIZE], const char* text)
{
    return copy_text(buffer, SIZE, text);
}
template <size_t SIZE>
[[nodiscard]] bool join_path_text(char (&buffer)[SIZE], const char* folder, const char* name)
{
    return join_path_text(buffer, SIZE, folder, name);
}
