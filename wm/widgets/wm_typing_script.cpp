#include "wm/widgets/wm_typing_script.h"

#include <cstring>

#include "graphics/font.h"

INT_S32 typing_visible_length(const char* text, INT_S64 elapsed, INT_S32 char_delay, INT_S32 newline_delay)
{
    if (!text)
        return 0;
    INT_S32 length = static_cast<INT_S32>(strlen(text));
    if (char_delay < 1)
        return length;
    TEXT_CURSOR cursor(text, false);
    INT_S32 reached = 0;
    while (elapsed >= 1) {
        if (cursor.next_character() != TOKEN_END) {
            INT_S32 delay = cursor.code() == '\n' && newline_delay != 0 ? newline_delay : char_delay;
            elapsed -= delay;
            reached = cursor.offset();
            continue;
        }
        return length;
    }
    return reached;
}
