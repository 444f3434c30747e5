#include "wm/dialogs/wm_dialog_effect.h"

#include <cstdio>

#include "wm/core/wm_look.h"

WM_DIALOG_EFFECT built_in_dialog_effect()
{
    return WM_DIALOG_EFFECT {};
}

WM_DIALOG_EFFECT built_in_floating_menu_effect()
{
    WM_DIALOG_EFFECT effect;
    effect.flags = 0x60;
    effect.open_delay = 100;
    effect.display_delay = 200;
    effect.dragging_alpha = 224;
    return effect;
}

WM_DIALOG_EFFECT dialog_effect_default = built_in_dialog_effect();
WM_DIALOG_EFFECT floating_menu_effect_default = built_in_floating_menu_effect();

void use_toolkit_dialog_effect()
{
    TOOLKIT_DIALOG_EFFECT look = toolkit_dialog_effect();
    dialog_effect_default.flags = look.flags;
    dialog_effect_default.open_delay = look.open_delay < 0 ? 0 : static_cast<INT_U32>(look.open_delay);
    dialog_effect_default.display_delay = look.display_delay < 0 ? 0 : static_cast<INT_U32>(look.display_delay);
    dialog_effect_default.dragging_alpha = look.dragging_alpha;
}

const char* WM_DIALOG_EFFECT::describe(char* buffer, size_t size) const
{
    if (!buffer || size == 0)
        return "";
    snprintf(buffer, size, "Flags: 0x%04X, Open Delay: %d, Displaying Delay %d, Alpha 0x%02X", flags,
        static_cast<int>(open_delay), static_cast<int>(display_delay), dragging_alpha);
    return buffer;
}

INT_U32 dialog_effect_duration(const WM_DIALOG_EFFECT& effect, INT_U8 alpha, INT_U8 target)
{
    return alpha != 0 && target != 0 ? effect.display_delay : effect.open_delay;
}

INT_U8 dialog_effect_first_alpha(INT_U32 flags, INT_U8 alpha, INT_U8 target, bool skip_effect)
{
    if (skip_effect)
        return target;
    if (target > alpha) {
        if (!(flags & DIALOG_FADE_IN) && alpha == 0)
            alpha = target;
        if (!(flags & DIALOG_FADE_UP) && alpha != 0)
            alpha = target;
    } else if (target < alpha) {
        if (!(flags & DIALOG_FADE_OUT) && target == 0)
            alpha = 0;
        if (!(flags & DIALOG_FADE_DOWN) && target != 0)
            alpha = target;
    }
    return alpha;
}

INT_U8 dialog_effect_alpha(INT_U8 from, INT_U8 to, INT_U32 elapsed, INT_U32 time)
{
    if (elapsed >= time)
        return to;
    INT_S64 step = static_cast<INT_S64>(elapsed) * (static_cast<INT_S32>(to) - from) / static_cast<INT_S64>(time);
    return static_cast<INT_U8>(from + step);
}

INT_S16 dialog_effect_position(INT_S16 start, INT_S16 rest, INT_U32 elapsed, INT_U32 time)
{
    if (elapsed >= time)
        return rest;
    INT_S64 step = static_cast<INT_S64>(elapsed) * (static_cast<INT_S32>(rest) - start) / static_cast<INT_S64>(time);
    return static_cast<INT_S16>(start + step);
}

void dialog_slide_point(INT_U32 flags, INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height,
    const DIALOG_SLIDE_FRAME& frame, INT_S16* out_x, INT_S16* out_y)
{
    INT_S32 new_x = x;
    INT_S32 new_y = y;
    if (flags & DIALOG_DISPLAY_EDGES) {
        if (flags & DIALOG_FROM_LEFT)
            new_x = -width;
        else if (flags & DIALOG_FROM_RIGHT)
            new_x = frame.display_width;
        if (flags & DIALOG_FROM_TOP)
            new_y = -height;
        else if (flags & DIALOG_FROM_BOTTOM)
            new_y = frame.display_height;
    } else if (flags & DIALOG_AREA_EDGES) {
        if (flags & DIALOG_FROM_LEFT)
            new_x = frame.area_x - width;
        else if (flags & DIALOG_FROM_RIGHT)
            new_x = frame.area_x + frame.area_width;
        if (flags & DIALOG_FROM_TOP)
            new_y = frame.area_y - height;
        else if (flags & DIALOG_FROM_BOTTOM)
            new_y = frame.area_y + frame.area_height;
    } else {
        if (flags & DIALOG_FROM_LEFT)
            new_x = x - width;
        else if (flags & DIALOG_FROM_RIGHT)
            new_x = x + width;
        if (flags & DIALOG_FROM_TOP)
            new_y = y - height;
        else if (flags & DIALOG_FROM_BOTTOM)
            new_y = y + height;
    }
    if (out_x)
        *out_x = static_cast<INT_S16>(new_x);
    if (out_y)
        *out_y = static_cast<INT_S16>(new_y);
}
