#include "wm/widgets/wm_default_styles.h"

#include "wm/core/wm_look.h"
#include "wm/core/wm_style_set.h"

namespace {

void make_defaults(WM_STYLE_SET* sets)
{
    WM_STYLE_SET& dialog = sets[WIDGET_STYLE_DIALOG];
    dialog.shading_type = 4;
    dialog.fg_colour = COLOUR_BLACK;
    dialog.bg_colour = COLOUR_LIGHT_GREY;
    dialog.shading_flags = 0x0F;

    WM_STYLE_SET& title = sets[WIDGET_STYLE_TITLE];
    title.shading_type = 4;
    title.fg_colour = COLOUR_WHITE;
    title.bg_colour = COLOUR_NAVY;

    WM_STYLE_SET& button = sets[WIDGET_STYLE_BUTTON];
    button.shading_type = 4;
    button.fg_colour = COLOUR_BLACK;
    button.bg_colour = COLOUR_LIGHT_GREY;
    button.shading_flags = 0xFF;
    // The cell gaps start unset (-1); 5 more than the border they stand for.
    button.cell_left_gap = 4;
    button.cell_right_gap = 4;
    button.cell_top_gap = 4;
    button.cell_bottom_gap = 4;

    WM_STYLE_SET& hint = sets[WIDGET_STYLE_HINT];
    hint.shading_type = 3;
    hint.fg_colour = COLOUR_BLACK;
    hint.bg_colour = COLOUR::from_argb(0xFFFFFFE0u);
    hint.font_x_sz = 12;
    hint.font_y_sz = 12;
    hint.cell_left_gap = hint.cell_right_gap = hint.cell_top_gap = hint.cell_bottom_gap = 3;
}

} // namespace

WM_STYLE_SET* widget_default_style(INT_S32 which)
{
    static WM_STYLE_SET sets[WIDGET_STYLE_COUNT];
    static bool made = false;
    if (!made) {
        made = true;
        make_defaults(sets);
    }
    if (which < 0 || which >= WIDGET_STYLE_COUNT)
        return nullptr;
    return &sets[which];
}

WM_STYLE_SET* widget_look(INT_S32 which)
{
    static const INT_S32 toolkit_kinds[WIDGET_STYLE_COUNT] = { TOOLKIT_STYLE_BACKGROUND, TOOLKIT_STYLE_TITLE,
        TOOLKIT_STYLE_BUTTON, TOOLKIT_STYLE_BUTTON_HINT };
    if (which < 0 || which >= WIDGET_STYLE_COUNT)
        return nullptr;
    return toolkit_hints_present() ? toolkit_style(toolkit_kinds[which]) : widget_default_style(which);
}
