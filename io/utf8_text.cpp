// UTF-8 into ORLU_STRING text with wide-character runs, for anything that reads UTF-8. The
// conversion itself is utf8_convert beside the XML reader; this file keeps the string forms apart
// so that the reader does not need the string class.
#include "base/orlu_string.h"
#include "io/xml_parser.h"

#include <cstring>
#include <new>

bool utf8_to_string(const char* bytes, INT_S32 size, ORLU_STRING* string)
{
    if (!string)
        return false;
    if (!bytes) {
        string->clear();
        return true;
    }
    if (size < 0)
        size = static_cast<INT_S32>(strnlen(bytes, 0x1FFFFFFF));
    if (size > 0x1FFFFFFF) {
        string->clear();
        return false;
    }
    INT_S32 room = utf8_buffer_size(size);
    char* converted = new (std::nothrow) char[static_cast<size_t>(room)];
    if (!converted) {
        string->clear();
        return false;
    }
    utf8_convert(bytes, size, converted, room);
    string->assign(converted);
    delete[] converted;
    return true;
}

const char* utf8_to_text(const char* bytes, INT_S32 size)
{
    static ORLU_STRING shared;
    // The shared form counts in signed 16-bit positions.
    if (size < 0 && bytes)
        size = static_cast<INT_S32>(strnlen(bytes, 0x7FFF));
    if (size > 0x7FFF)
        size = 0x7FFF;
    if (!utf8_to_string(bytes, size, &shared))
        shared.clear();
    return shared.c_str();
}
