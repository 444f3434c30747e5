// The toolkit's door to the screen and the input state, over frame/screen.h and host/input.h.

#include "wm/core/wm_host.h"

#include "frame/screen.h"
#include "host/display.h"
#include "host/host.h"

IMAGE* wm_back_buffer(INT_S32 display)
{
    return display < 0 || display > 0xFFFF ? nullptr : back_buffer_of(static_cast<INT_U16>(display));
}

bool wm_display_exists(INT_S32 display)
{
    return display >= 0 && display <= 0xFFFF && display_exists(static_cast<INT_U16>(display));
}

INT_S32 wm_display_width(INT_S32 display)
{
    return display < 0 || display > 0xFFFF ? 0 : display_width(static_cast<INT_U16>(display));
}

INT_S32 wm_display_height(INT_S32 display)
{
    return display < 0 || display > 0xFFFF ? 0 : display_height(static_cast<INT_U16>(display));
}

INT_S32 wm_display_at(INT_S32 x, INT_S32 y)
{
    auto clamp16 = [](INT_S32 v) { return static_cast<INT_S16>(v < 0 ? 0 : v > 32767 ? 32767 : v); };
    return display_at(clamp16(x), clamp16(y));
}

void wm_present()
{
    swap_screens(ALL_DISPLAYS);
}

bool wm_set_pointer_shape(INT_S32 shape, bool test_only)
{
    return shape >= 0 && shape <= 255 && set_pointer_shape(static_cast<INT_U8>(shape), test_only);
}

INT_S16 wm_pointer_x()
{
    return pointer_x;
}

INT_S16 wm_pointer_y()
{
    return pointer_y;
}

INT_U32 wm_button_mask()
{
    return button_mask;
}

void wm_set_pointer_state(INT_S16 x, INT_S16 y, INT_U32 buttons)
{
    pointer_x = x;
    pointer_y = y;
    button_mask = buttons;
}

bool wm_key_down(INT_U32 keysym)
{
    return ORLU_EVENT_CLIENT::key_is_down(keysym);
}

INT_U32 wm_last_key()
{
    return last_key;
}

INT_U32 wm_take_last_key()
{
    return ORLU_EVENT_CLIENT::get_key();
}

void wm_use_char_buffer(INT_S32 size)
{
    if (size > 0 && char_buffer_size < size)
        ORLU_EVENT_CLIENT::set_char_buffer(size);
}

INT_U32 wm_now()
{
    return milliseconds_now();
}
