#include "wm/widgets/wm_typing_script.h"

#include <cstring>

#include "graphics/font.h"
#include "wm/core/wm_host.h"

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
        if (cursor.next_character() == TOKEN_END)
            return length;
        INT_S32 delay = cursor.code() == '\n' && newline_delay != 0 ? newline_delay : char_delay;
        elapsed -= delay;
        reached = cursor.offset();
    }
    return reached;
}

WM_TYPING_SCRIPT::WM_TYPING_SCRIPT(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* text_,
    const WM_STYLE_SET* style, INT_S32 char_delay_, INT_S32 newline_delay_, WM_CALLBACK left_callback_,
    PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_)
    : WM_SCRIPT(x_, y_, width_, height_, text_, style, left_callback_, left_data1_, left_data2_)
    , char_delay(char_delay_)
    , newline_delay(newline_delay_)
{
    WM_TYPING_SCRIPT::set_text(text_, false);
}

void WM_TYPING_SCRIPT::set_text(const char* new_text, bool resize)
{
    full_text = new_text ? new_text : "";
    INT_S32 length = full_text.length();
    started = 0;
    start_time = 0;
    if (char_delay < 1 || length == 0) {
        typed_length = 0;
        WM_SCRIPT::set_text(full_text.c_str(), resize);
        shown_length = length;
        return;
    }
    typed_length = static_cast<INT_U16>(length > 65535 ? 65535 : length);
    if (resize)
        WM_SCRIPT::set_text(full_text.c_str(), true);
    show_length(0);
}

void WM_TYPING_SCRIPT::show_length(INT_S32 length)
{
    shown_length = length;
    ORLU_STRING shown(full_text, 0, length - 1);
    text = length > 0 ? shown.c_str() : "";
    show(false);
}

INT_S32 WM_TYPING_SCRIPT::finish_typing()
{
    if (!typed_length)
        return 0;
    typed_length = 0;
    show_length(full_text.length());
    if (!left_callback)
        return 0;
    return left_callback(this, left_data1, left_data2);
}

void WM_TYPING_SCRIPT::paint()
{
    if (typed_length && !started) {
        started = 1;
        start_time = wm_now();
    }
    WM_SCRIPT::paint();
}

INT_S32 WM_TYPING_SCRIPT::animate(bool overlays)
{
    INT_S32 code = 0;
    if (typed_length && started) {
        INT_U32 now = wm_now();
        if (now > start_time) {
            INT_S32 reached
                = typing_visible_length(full_text.c_str(), static_cast<INT_S64>(now - start_time), char_delay, newline_delay);
            if (reached < full_text.length()) {
                if (reached != shown_length)
                    show_length(reached);
            } else {
                code = finish_typing();
            }
        }
    }
    INT_S32 base = WM_SCRIPT::animate(overlays);
    return code ? code : base;
}

INT_S32 WM_TYPING_SCRIPT::update()
{
    bool left = (wm_button_mask() & BUTTON_PRIMARY) != 0;
    bool pressed = left && !left_was_down;
    left_was_down = left;
    if (pressed && typed_length && visible && is_over(wm_pointer_x(), wm_pointer_y())) {
        INT_S32 code = finish_typing();
        if (code)
            return code;
    }
    return WM_SCRIPT::update();
}
