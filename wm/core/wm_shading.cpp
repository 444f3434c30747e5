// Borders, arrows and the focus mark of screen objects.
//
// A border is made of one-pixel lines, from the outside in. For the top and left sides:
//
//   type  width  lines                         bottom and right
//   0      0     -                             -
//   2      3     dark, mid, light              light, mid, dark
//   3      1     outline                       outline
//   4      1     light                         dark
//   5      2     outline, light                outline, dark
//   6      2     light, light                  dark, dark
//   7      3     outline, light, light         outline, dark, dark
//   8      3     light x3                      dark x3
//   9      4     outline, light x3             outline, dark x3
//
// The inverted (pressed) form swaps light and dark everywhere except the outermost line of
// type 2, which stays dark on top and left and light on bottom and right.

#include "graphics/image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_screen_object.h"

namespace {

enum LINE : INT_U8 { LINE_NONE, LINE_LIGHT, LINE_DARK, LINE_MID, LINE_OUTLINE, LINE_FIXED_DARK, LINE_FIXED_LIGHT };

struct SHADING_ROW {
    INT_S32 width;
    LINE top_left[4];
    LINE bottom_right[4];
};

const SHADING_ROW* shading_row(INT_S32 type)
{
    static const SHADING_ROW rows[10] = {
        { 0, {}, {} },
        { 0, {}, {} },
        { 3, { LINE_FIXED_DARK, LINE_MID, LINE_LIGHT }, { LINE_FIXED_LIGHT, LINE_MID, LINE_DARK } },
        { 1, { LINE_OUTLINE }, { LINE_OUTLINE } },
        { 1, { LINE_LIGHT }, { LINE_DARK } },
        { 2, { LINE_OUTLINE, LINE_LIGHT }, { LINE_OUTLINE, LINE_DARK } },
        { 2, { LINE_LIGHT, LINE_LIGHT }, { LINE_DARK, LINE_DARK } },
        { 3, { LINE_OUTLINE, LINE_LIGHT, LINE_LIGHT }, { LINE_OUTLINE, LINE_DARK, LINE_DARK } },
        { 3, { LINE_LIGHT, LINE_LIGHT, LINE_LIGHT }, { LINE_DARK, LINE_DARK, LINE_DARK } },
        { 4, { LINE_OUTLINE, LINE_LIGHT, LINE_LIGHT, LINE_LIGHT }, { LINE_OUTLINE, LINE_DARK, LINE_DARK, LINE_DARK } },
    };
    return type >= 0 && type <= 9 ? &rows[type] : &rows[0];
}

COLOUR scaled(const COLOUR& colour, INT_U32 percent)
{
    auto channel = [percent](INT_U32 value) {
        INT_U32 result = value * percent / 100;
        return static_cast<INT_U8>(result > 255 ? 255 : result);
    };
    return COLOUR::from_channels(channel(colour.red()), channel(colour.green()), channel(colour.blue()), colour.alpha());
}

// The shade of a border: from the object's own colour; else the theme's shade; else the colour
// given to the call; else the theme's base; else grey and white.
COLOUR shade_of(const COLOUR& own, const COLOUR& argument, bool light)
{
    const INT_U32 percent = light ? 130 : 70;
    if (own.alpha() != 0)
        return scaled(own, percent);
    const COLOUR& theme = light ? wm_toolkit.theme_light_colour : wm_toolkit.theme_dark_colour;
    if (theme.alpha() != 0)
        return theme;
    if (argument.alpha() != 0)
        return scaled(argument, percent);
    if (wm_toolkit.theme_base_colour.alpha() != 0)
        return scaled(wm_toolkit.theme_base_colour, percent);
    return light ? COLOUR::from_argb(0xFFFFFFFFu) : COLOUR::from_argb(0xFF808080u);
}

void hline(IMAGE* target, INT_S32 x1, INT_S32 x2, INT_S32 y, const COLOUR& colour)
{
    if (colour.alpha() == 0 || x2 < x1)
        return;
    target->fill_box(static_cast<INT_S16>(x1), static_cast<INT_S16>(y), static_cast<INT_S16>(x2),
        static_cast<INT_S16>(y), colour, true);
}

void vline(IMAGE* target, INT_S32 x, INT_S32 y1, INT_S32 y2, const COLOUR& colour)
{
    if (colour.alpha() == 0 || y2 < y1)
        return;
    target->fill_box(static_cast<INT_S16>(x), static_cast<INT_S16>(y1), static_cast<INT_S16>(x),
        static_cast<INT_S16>(y2), colour, true);
}

} // namespace

INT_S32 border_thickness(INT_S32 type)
{
    if (type == 1)
        type = wm_toolkit.theme_shading_type;
    return shading_row(type)->width;
}

INT_S32 WM_SCREEN_OBJECT::shading_thickness(INT_S32 type) const
{
    if (type == 1)
        type = shading_type;
    return border_thickness(type);
}

void WM_SCREEN_OBJECT::draw_shaded_box(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, INT_U16 sides,
    const COLOUR& argument, INT_S32 type, INT_S32 corner)
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || !target->has_pixels())
        return;
    if (type == 1)
        type = shading_type;
    if (type == 1)
        type = wm_toolkit.theme_shading_type;
    const SHADING_ROW* row = shading_row(type);
    if (row->width == 0 || x2 < x1 || y2 < y1)
        return;

    bool inverted = (sides & BORDER_INVERTED) != 0;
    COLOUR light = shade_of(colour, argument, true);
    COLOUR dark = shade_of(colour, argument, false);
    if (inverted) {
        COLOUR swap = light;
        light = dark;
        dark = swap;
    }
    auto colour_of = [&](LINE line) -> COLOUR {
        switch (line) {
        case LINE_LIGHT: return light;
        case LINE_DARK: return dark;
        case LINE_MID: return wm_toolkit.theme_mid_colour;
        case LINE_OUTLINE: return wm_toolkit.theme_outline_colour;
        case LINE_FIXED_DARK: return shade_of(colour, argument, false);
        case LINE_FIXED_LIGHT: return shade_of(colour, argument, true);
        default: return COLOUR();
        }
    };

    INT_U8 round = static_cast<INT_U8>((sides >> 4) & 0xF);
    INT_S32 radius = 0;
    if (round) {
        radius = corner == -1 ? IMAGE::default_corner_radius(static_cast<INT_S16>(x1), static_cast<INT_S16>(y1),
                                    static_cast<INT_S16>(x2), static_cast<INT_S16>(y2))
                              : corner;
        if (radius < 1)
            round = 0;
    }

    for (INT_S32 i = 0; i < row->width; ++i) {
        INT_S32 left = x1 + i, top = y1 + i, right = x2 - i, bottom = y2 - i;
        if (right < left || bottom < top)
            break;
        COLOUR first = colour_of(row->top_left[i]);
        COLOUR second = colour_of(row->bottom_right[i]);
        // A rounded corner leaves the straight lines its radius short and draws an arc instead.
        INT_S32 r = round ? radius - i : 0;
        if (r < 0)
            r = 0;
        INT_S32 cut_tl = (round & CORNER_TOP_LEFT) ? r : 0, cut_tr = (round & CORNER_TOP_RIGHT) ? r : 0;
        INT_S32 cut_bl = (round & CORNER_BOTTOM_LEFT) ? r : 0, cut_br = (round & CORNER_BOTTOM_RIGHT) ? r : 0;
        if (sides & BORDER_TOP)
            hline(target, left + cut_tl, right - cut_tr, top, first);
        if (sides & BORDER_LEFT)
            vline(target, left, top + cut_tl, bottom - cut_bl, first);
        if (sides & BORDER_BOTTOM)
            hline(target, left + cut_bl, right - cut_br, bottom, second);
        if (sides & BORDER_RIGHT)
            vline(target, right, top + cut_tr, bottom - cut_br, second);
        if (r > 0) {
            // Each arc alone, through a clip narrowed to its corner.
            WM_CLIP_KEEPER kept(target);
            struct ARC {
                INT_U8 bit;
                INT_S32 ax1, ay1, ax2, ay2;
                bool upper;
            } arcs[4] = {
                { CORNER_TOP_LEFT, left, top, left + r, top + r, true },
                { CORNER_TOP_RIGHT, right - r, top, right, top + r, true },
                { CORNER_BOTTOM_LEFT, left, bottom - r, left + r, bottom, false },
                { CORNER_BOTTOM_RIGHT, right - r, bottom - r, right, bottom, false },
            };
            for (const ARC& arc : arcs) {
                if (!(round & arc.bit))
                    continue;
                const COLOUR& shade = arc.upper ? first : second;
                if (shade.alpha() == 0)
                    continue;
                target->intersect_clip(static_cast<INT_S16>(arc.ax1), static_cast<INT_S16>(arc.ay1),
                    static_cast<INT_S16>(arc.ax2), static_cast<INT_S16>(arc.ay2));
                target->draw_rounded_outline(static_cast<INT_S16>(left), static_cast<INT_S16>(top),
                    static_cast<INT_S16>(right), static_cast<INT_S16>(bottom), shade, static_cast<INT_S16>(r), arc.bit);
                kept.restore();
            }
        }
    }
}

void WM_SCREEN_OBJECT::draw_arrow(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, const COLOUR& arrow_colour,
    INT_S32 direction, INT_S32 inset_x, INT_S32 inset_y)
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || !target->has_pixels() || direction < 0 || direction > 3 || x2 < x1 || y2 < y1)
        return;
    if (inset_x == -1)
        inset_x = (x2 - x1 + 1) / 3;
    if (inset_y == -1)
        inset_y = (y2 - y1 + 1) / 3;
    const IMAGE* picture = wm_toolkit.arrow_images[direction];
    if (picture && picture->has_pixels()) {
        INT_S32 px = x1 + (x2 - x1 + 1 - picture->width) / 2;
        INT_S32 py = y1 + (y2 - y1 + 1 - picture->height) / 2;
        picture->draw(static_cast<INT_S16>(px), static_cast<INT_S16>(py), target, BLIT_ALPHA);
        return;
    }
    if (arrow_colour.alpha() == 0)
        return;
    INT_S32 left = x1 + inset_x, right = x2 - inset_x, top = y1 + inset_y, bottom = y2 - inset_y;
    if (right < left || bottom < top)
        return;
    // A fan of lines from the apex to every pixel of the opposite side.
    INT_S32 apex_x, apex_y;
    switch (direction) {
    case ARROW_UP:
        apex_x = (left + right) / 2;
        apex_y = top;
        for (INT_S32 bx = left; bx <= right; ++bx)
            target->draw_line(static_cast<INT_S16>(apex_x), static_cast<INT_S16>(apex_y), static_cast<INT_S16>(bx),
                static_cast<INT_S16>(bottom), arrow_colour, 1, false);
        break;
    case ARROW_DOWN:
        apex_x = (left + right) / 2;
        apex_y = bottom;
        for (INT_S32 bx = left; bx <= right; ++bx)
            target->draw_line(static_cast<INT_S16>(apex_x), static_cast<INT_S16>(apex_y), static_cast<INT_S16>(bx),
                static_cast<INT_S16>(top), arrow_colour, 1, false);
        break;
    case ARROW_LEFT:
        apex_x = left;
        apex_y = (top + bottom) / 2;
        for (INT_S32 by = top; by <= bottom; ++by)
            target->draw_line(static_cast<INT_S16>(apex_x), static_cast<INT_S16>(apex_y), static_cast<INT_S16>(right),
                static_cast<INT_S16>(by), arrow_colour, 1, false);
        break;
    default:
        apex_x = right;
        apex_y = (top + bottom) / 2;
        for (INT_S32 by = top; by <= bottom; ++by)
            target->draw_line(static_cast<INT_S16>(apex_x), static_cast<INT_S16>(apex_y), static_cast<INT_S16>(left),
                static_cast<INT_S16>(by), arrow_colour, 1, false);
        break;
    }
}

void WM_SCREEN_OBJECT::draw_focus_mark(INT_S32 inset)
{
    IMAGE* target = wm_toolkit.draw_target;
    const COLOUR& first = wm_toolkit.focus_mark_colour;
    const COLOUR& second = wm_toolkit.focus_mark_alternate;
    if (!target || !target->has_pixels() || target->clip_is_empty() || first.alpha() == 0)
        return;
    INT_S32 left = x + inset, top = y + inset, right = x + width - 1 - inset, bottom = y + height - 1 - inset;
    if (right < left || bottom < top)
        return;
    // Alternate pixels of two colours: the frame shows on any background, light or dark.
    auto plot = [&](INT_S32 px, INT_S32 py) {
        if (px < target->clip_left || px > target->clip_right || py < target->clip_top || py > target->clip_bottom)
            return;
        const COLOUR& shade = ((px + py) & 1) ? (second.alpha() != 0 ? second : first) : first;
        blend_colour_alpha(target->at(px, py), shade, shade.alpha());
    };
    for (INT_S32 px = left; px <= right; ++px) {
        plot(px, top);
        if (bottom != top)
            plot(px, bottom);
    }
    for (INT_S32 py = top + 1; py < bottom; ++py) {
        plot(left, py);
        if (right != left)
            plot(right, py);
    }
    target->mark_dirty(static_cast<INT_S16>(left), static_cast<INT_S16>(top), static_cast<INT_S16>(right),
        static_cast<INT_S16>(bottom));
}
