// The widget side of style sets.

#include "wm/core/wm_style.h"

#include "graphics/font.h"
#include "graphics/image.h"
#include "graphics/tiled_image.h"
#include "wm/core/wm_screen_object.h"
#include "wm/core/wm_style_set.h"

namespace {

struct FLAG_MAP {
    INT_U32 style_bit;
    INT_U32 face_bit;
};

const FLAG_MAP flag_map[] = {
    { ssf_left_justify_text, FACE_LEFT_JUSTIFY },
    { ssf_right_justify_text, FACE_RIGHT_JUSTIFY },
    { ssf_top_align_text, FACE_TOP_ALIGN },
    { ssf_bottom_align_text, FACE_BOTTOM_ALIGN },
    { ssf_darkened_background, FACE_DARKENED_BACKGROUND },
    { ssf_indent_border, FACE_FIXED_BORDER },
    { ssf_outstanding_border, FACE_FIXED_BORDER },
    { ssf_hfading, FACE_HFADING },
    { ssf_vfading, FACE_VFADING },
    { ssf_use_text_colour_for_outline, FACE_TEXT_COLOUR_OUTLINE },
    { ssf_shadow_text, FACE_SHADOW_TEXT },
    { ssf_inset_text, FACE_INSET_TEXT },
    { ssf_chiseled_text, FACE_CHISELED_TEXT },
    { ssf_icon_left, FACE_ICON_LEFT },
    { ssf_icon_right, FACE_ICON_RIGHT },
    { ssf_icon_top, FACE_ICON_TOP },
    { ssf_icon_bottom, FACE_ICON_BOTTOM },
    { ssf_icon_attach_to_text, FACE_ICON_ATTACH_TO_TEXT },
    { ssf_wrap_text, FACE_WRAP_TEXT },
    { ssf_dont_resize_image, FACE_DONT_RESIZE_IMAGE },
    { ssf_reflect_text, FACE_REFLECT_TEXT },
};

const FLAG_MAP ext_flag_map[] = {
    { ssef_left_arrow, FACE_LEFT_ARROW },
    { ssef_right_arrow, FACE_RIGHT_ARROW },
    { ssef_up_arrow, FACE_UP_ARROW },
    { ssef_down_arrow, FACE_DOWN_ARROW },
    { ssef_invert_vfading_on_press, FACE_INVERT_VFADING_ON_PRESS },
    { ssef_dont_mask_click, FACE_DONT_MASK_CLICK },
};

} // namespace

INT_U32 face_flags_from_style(const WM_STYLE_SET& style)
{
    INT_U32 face = 0;
    for (const FLAG_MAP& entry : flag_map) {
        if (style.flags & entry.style_bit)
            face |= entry.face_bit;
    }
    for (const FLAG_MAP& entry : ext_flag_map) {
        if (style.ext_flags & entry.style_bit)
            face |= entry.face_bit;
    }
    return face;
}

INT_U8 face_text_flags(INT_U32 face_flags)
{
    INT_U8 flags = 0;
    if (face_flags & FACE_LEFT_JUSTIFY)
        flags |= TEXT_LEFT;
    if (face_flags & FACE_RIGHT_JUSTIFY)
        flags |= TEXT_RIGHT;
    if (face_flags & FACE_TOP_ALIGN)
        flags |= TEXT_TOP;
    if (face_flags & FACE_BOTTOM_ALIGN)
        flags |= TEXT_BOTTOM;
    if (face_flags & FACE_SHADOW_TEXT)
        flags |= TEXT_SHADOW;
    if (face_flags & FACE_INSET_TEXT)
        flags |= TEXT_INSET;
    if (face_flags & FACE_CHISELED_TEXT)
        flags |= TEXT_CHISELED;
    if (face_flags & FACE_REFLECT_TEXT)
        flags |= TEXT_REFLECT;
    return flags;
}

WM_STYLE_FONT style_font(const WM_STYLE_SET* style)
{
    WM_STYLE_FONT result;
    const IMAGE* target = wm_toolkit.draw_target;
    INT_U8 default_font = target ? static_cast<INT_U8>(target->default_font) : 10;
    INT_S16 default_width = target ? target->default_font_width : 22;
    INT_S16 default_height = target ? target->default_font_height : 22;
    result.font = style && style->font_id != 255 ? style->font_id : default_font;
    result.width = style && style->font_x_sz > 0 ? style->font_x_sz : default_width;
    result.height = style && style->font_y_sz > 0 ? style->font_y_sz : default_height;
    return result;
}

WM_STYLE_GAPS style_border_gaps(const WM_STYLE_SET* style, const WM_SCREEN_OBJECT* object)
{
    WM_STYLE_GAPS gaps;
    if (!style)
        return gaps;
    INT_S32 type = style->shading_type;
    if (type == 1 && object)
        type = object->shading_type;
    if (type == 1)
        type = wm_toolkit.theme_shading_type;
    INT_S16 thickness = static_cast<INT_S16>(border_thickness(type));
    gaps.left = style->border_left_gap >= 0 ? style->border_left_gap : thickness;
    gaps.right = style->border_right_gap >= 0 ? style->border_right_gap : thickness;
    gaps.top = style->border_top_gap >= 0 ? style->border_top_gap : thickness;
    gaps.bottom = style->border_bottom_gap >= 0 ? style->border_bottom_gap : thickness;
    return gaps;
}

WM_STYLE_GAPS style_cell_gaps(const WM_STYLE_SET* style)
{
    WM_STYLE_GAPS gaps;
    if (!style)
        return gaps;
    gaps.left = style->cell_left_gap >= 0 ? style->cell_left_gap : 0;
    gaps.right = style->cell_right_gap >= 0 ? style->cell_right_gap : 0;
    gaps.top = style->cell_top_gap >= 0 ? style->cell_top_gap : 0;
    gaps.bottom = style->cell_bottom_gap >= 0 ? style->cell_bottom_gap : 0;
    return gaps;
}

INT_U16 style_border_sides(const WM_STYLE_SET* style)
{
    if (!style || !(style->flags & ssf_draw_border))
        return 0;
    INT_U16 sides = static_cast<INT_U16>(style->shading_flags & ~BORDER_INVERTED);
    if (style->flags & ssf_indent_border)
        sides |= BORDER_INVERTED;
    return sides;
}

INT_U8 style_text_flags(const WM_STYLE_SET* style)
{
    if (!style)
        return 0;
    return face_text_flags(face_flags_from_style(*style));
}

void apply_style(WM_SCREEN_OBJECT* object, const WM_STYLE_SET* style)
{
    if (!object || !style)
        return;
    object->visible = style->visible ? 1 : 0;
    object->draw_pending = object->visible;
    object->shading_type = static_cast<INT_U8>(style->shading_type);
    object->border_sides = style_border_sides(style);
    if (style->shading_base_colour.alpha() != 0)
        object->colour = style->shading_base_colour;
    object->indent_when_active = (style->ext_flags & ssef_indent_when_active) ? 1 : 0;
}

bool style_take_image(const WM_STYLE_SET* style, INT_S32 slot, TILED_IMAGE* into)
{
    if (!into)
        return false;
    into->free_pieces();
    if (!style || slot < 0 || slot >= STYLE_IMAGE_COUNT)
        return false;
    const TILED_IMAGE* source = style->images[slot];
    if ((!source || !source->is_loaded()) && (slot == STYLE_IMAGE_UP || slot == STYLE_IMAGE_DOWN))
        source = style->images[STYLE_IMAGE_BASE];
    if (!source || !source->is_loaded())
        return false;
    into->copy(*source);
    return into->is_loaded();
}

void paint_style_face(WM_SCREEN_OBJECT* object, const WM_STYLE_SET* style, TILED_IMAGE* face, INT_S32 x1, INT_S32 y1,
    INT_S32 x2, INT_S32 y2, bool pressed)
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || !target->has_pixels() || !style || x2 < x1 || y2 < y1)
        return;
    if (face && face->is_loaded()) {
        bool stretch = !(style->flags & ssf_dont_resize_image);
        face->draw(static_cast<INT_S16>(x1), static_cast<INT_S16>(y1), static_cast<INT_S16>(x2),
            static_cast<INT_S16>(y2), stretch, target, BLIT_ALPHA, false);
        return;
    }

    INT_U8 corners = static_cast<INT_U8>((style->shading_flags >> 4) & 0xF);
    INT_S16 radius = corners ? IMAGE::default_corner_radius(static_cast<INT_S16>(x1), static_cast<INT_S16>(y1),
                                   static_cast<INT_S16>(x2), static_cast<INT_S16>(y2))
                             : 0;
    // A box too small for its corners is drawn square.
    INT_U8 round = radius > 0 ? corners : 0;
    auto box = [&](const COLOUR& a, const COLOUR& b, INT_U8 shade, INT_S8 percent) {
        paint_style_fill(target, static_cast<INT_S16>(x1), static_cast<INT_S16>(y1), static_cast<INT_S16>(x2),
            static_cast<INT_S16>(y2), round, radius, shade, a, b, percent, true);
    };

    const COLOUR& background = style->bg_colour;
    COLOUR fading = style->fading_colour.alpha() != 0 ? style->fading_colour : background;
    if (style->flags & ssf_darkened_background) {
        box(COLOUR_BLACK, COLOUR_BLACK, SHADE_DARKEN, 50);
    } else if (background.alpha() != 0) {
        if (style->flags & ssf_hfading) {
            box(background, fading, SHADE_HORIZONTAL, 0);
        } else if (style->flags & ssf_vfading) {
            bool upside_down = pressed && (style->ext_flags & ssef_invert_vfading_on_press);
            box(upside_down ? fading : background, upside_down ? background : fading, SHADE_VERTICAL, 0);
        } else {
            box(background, background, SHADE_SOLID, 0);
        }
    }

    // Only an indent or outstanding border is drawn with the face.
    if (!object || !(style->flags & ssf_draw_border) || !(style->flags & (ssf_indent_border | ssf_outstanding_border)))
        return;
    INT_U16 sides = style_border_sides(style);
    if (pressed)
        sides ^= BORDER_INVERTED;
    // With "ssf_use_text_colour_for_outline" the outline follows the text for this border only.
    COLOUR outline = wm_toolkit.theme_outline_colour;
    if (style->flags & ssf_use_text_colour_for_outline)
        wm_toolkit.theme_outline_colour = style->fg_colour;
    // The border shades the face's own colour unless the object or the theme says otherwise.
    object->draw_shaded_box(x1, y1, x2, y2, sides, style->bg_colour, style->shading_type, -1);
    wm_toolkit.theme_outline_colour = outline;
}

void paint_style_fill(IMAGE* target, INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, INT_U8 corners, INT_S16 radius,
    INT_U8 shade, const COLOUR& a, const COLOUR& b, INT_S8 percent, bool blend_fading)
{
    if (corners)
        target->draw_rounded_box(x1, y1, x2, y2, radius, corners, a, b, shade, percent);
    else if (shade == SHADE_DARKEN)
        target->darken_box(x1, y1, x2, y2, percent);
    else if (shade == SHADE_HORIZONTAL)
        target->gradient_box_horizontal(x1, y1, x2, y2, a, b, blend_fading);
    else if (shade == SHADE_VERTICAL)
        target->gradient_box_vertical(x1, y1, x2, y2, a, b, blend_fading);
    else
        target->fill_box(x1, y1, x2, y2, a, true);
}

void paint_style_text(const WM_STYLE_SET* style, const char* text, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2,
    const COLOUR& colour)
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || !target->has_pixels() || !text || !*text || x2 < x1 || y2 < y1)
        return;
    WM_STYLE_FONT font = style_font(style);
    INT_U8 flags = style_text_flags(style);
    COLOUR ink = colour.alpha() != 0 ? colour : (style ? style->fg_colour : COLOUR_WHITE);
    COLOUR underline = style ? style->underline_colour : COLOUR();
    if (style && (style->flags & ssf_wrap_text)) {
        target->draw_text_box(static_cast<INT_S16>(x1), static_cast<INT_S16>(y1), static_cast<INT_S16>(x2),
            static_cast<INT_S16>(y2), ink, COLOUR(), underline, font.font, font.width, font.height, text, flags);
        return;
    }
    INT_S32 text_width = target->text_width(font.font, font.width, font.height, text);
    INT_S32 x = x1 + (x2 - x1 + 1 - text_width) / 2;
    if (flags & TEXT_LEFT)
        x = x1;
    else if (flags & TEXT_RIGHT)
        x = x2 + 1 - text_width;
    INT_S32 y = y1 + (y2 - y1 + 1 - font.height) / 2;
    if (flags & TEXT_TOP)
        y = y1;
    else if (flags & TEXT_BOTTOM)
        y = y2 + 1 - font.height;
    INT_U8 effects = static_cast<INT_U8>(flags & (TEXT_SHADOW | TEXT_INSET | TEXT_CHISELED | TEXT_REFLECT));
    target->draw_text(static_cast<INT_S16>(x), static_cast<INT_S16>(y), ink, COLOUR(), underline, font.font,
        font.width, font.height, text, effects);
}
