// Formatting into fixed-size buffers with the cut made visible.

#include "base/format.h"

#include <cstdio>
#include <cstring>

bool format_text_list(char* buffer, size_t size, const char* format, va_list args)
{
    if (!buffer || size == 0 || !format)
        return false;
    int written = vsnprintf(buffer, size, format, args);
    if (written < 0) {
        buffer[0] = 0;
        return false;
    }
    return static_cast<size_t>(written) < size;
}

bool format_text(char* buffer, size_t size, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    bool whole = format_text_list(buffer, size, format, args);
    va_end(args);
    return whole;
}

bool copy_text(char* buffer, size_t size, const char* text)
{
    if (!buffer || size == 0)
        return false;
    if (!text)
        text = "";
    size_t length = strlen(text);
    if (length >= size) {
        memcpy(buffer, text, size - 1);
        buffer[size - 1] = 0;
        return false;
    }
    memcpy(buffer, text, length + 1);
    return true;
}

bool join_path_text(char* buffer, size_t size, const char* folder, const char* name)
{
    if (!buffer || size == 0)
        return false;
    if (!folder)
        folder = "";
    if (!name)
        name = "";
    size_t length = strlen(folder);
    const char* separator = length == 0 || folder[length - 1] == '/' ? "" : "/";
    if (!format_text(buffer, size, "%s%s%s", folder, separator, name)) {
        buffer[0] = 0;
        return false;
    }
    return true;
}
