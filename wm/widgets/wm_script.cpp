#include "wm/widgets/wm_script.h"

#include <cstdio>
#include <cstring>

#include "graphics/image.h"
#include "graphics/tiled_image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_style.h"
#include "wm/core/wm_style_set.h"
#include "wm/widgets/wm_face.h"

WM_SCRIPT::WM_SCRIPT(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* text_,
    const WM_STYLE_SET* style, WM_CALLBACK left_callback_, PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_)
    : WM_SCREEN_OBJECT(true, left_callback_, left_data1_, left_data2_)
    , text(text_ ? text_ : "")
{
    type_flags |= WM_TYPE_SCRIPT;
    x = x_;
    y = y_;
    static const WM_STYLE_SET defaults;
    take_style(style ? *style : defaults, width_, height_);
    notify_created();
}

WM_SCRIPT::WM_SCRIPT(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* text_, const COLOUR& fg,
    const COLOUR& bg, INT_U8 font, INT_S16 font_x, INT_S16 font_y, INT_U32 face_flags_, WM_CALLBACK left_callback_,
    PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_)
    : WM_SCREEN_OBJECT(true, left_callback_, left_data1_, left_data2_)
    , text(text_ ? text_ : "")
{
    type_flags |= WM_TYPE_SCRIPT;
    x = x_;
    y = y_;
    fg_colour = fg;
    bg_colour = bg;
    font_id = font;
    font_x_sz = font_x;
    font_y_sz = font_y;
    face_flags = face_flags_;
    border_sides = 0;
    measure(width_, height_, false, false, false, false);
    resolve_gaps();
    notify_created();
}

WM_SCRIPT::~WM_SCRIPT()
{
    free_skin_image(face);
    free_skin_image(face_flashing);
}

void WM_SCRIPT::take_style(const WM_STYLE_SET& style, INT_S16 width_, INT_S16 height_)
{
    shading_type = static_cast<INT_U8>(style.shading_type);
    visible = style.visible;
    draw_pending = style.visible;
    fg_colour = style.fg_colour;
    bg_colour = style.bg_colour;
    fading_colour = style.fading_colour;
    disabled_text_colour = style.disabled_text_colour;
    flashing_colour = style.flashing_colour;
    flashing_text_colour = style.flashing_text_colour;
    underline_colour = style.underline_colour;
    if (style.shading_base_colour.alpha())
        colour = style.shading_base_colour;
    font_id = style.font_id;
    font_x_sz = style.font_x_sz;
    font_y_sz = style.font_y_sz;
    left_gap = style.cell_left_gap;
    right_gap = style.cell_right_gap;
    top_gap = style.cell_top_gap;
    bottom_gap = style.cell_bottom_gap;
    x_spacing = style.x_spacing;
    y_spacing = style.y_spacing;
    face_flags = face_flags_from_style(style);
    border_sides = style_border_sides(&style);

    if (style.image_filename && style.image_filename[0]) {
        if (style.images_loaded) {
            face = copy_skin_image(style.images[STYLE_IMAGE_BASE]);
            if (!face)
                face = copy_skin_image(style.images[STYLE_IMAGE_UP]);
            face_flashing = copy_skin_image(style.images[STYLE_IMAGE_FLASHING]);
        } else {
            char folder[ORLU_MAX_PATH];
            char name[ORLU_MAX_PATH];
            if (style_image_folder(style, folder, sizeof folder)) {
                face = load_skin_image(folder, style.image_filename);
                if (!face) {
                    snprintf(name, sizeof name, "%s_up", style.image_filename);
                    face = load_skin_image(folder, name);
                }
                snprintf(name, sizeof name, "%s_flashing", style.image_filename);
                face_flashing = load_skin_image(folder, name);
            }
        }
    }
    measure(width_, height_, left_gap != -1, right_gap != -1, top_gap != -1, bottom_gap != -1);
    resolve_gaps();
}

// A size of -1 (or the -5 by -3 of hints) measures the text. The gaps that count are those the
// style set; where none is set, the font or the border stands in for them.
void WM_SCRIPT::measure(INT_S16 width_, INT_S16 height_, bool left_set, bool right_set, bool top_set, bool bottom_set)
{
    bool measure_width = width_ < 0;
    bool measure_height = height_ < 0;
    width = measure_width ? 0 : static_cast<INT_U16>(width_);
    height = measure_height ? 0 : static_cast<INT_U16>(height_);
    if (!measure_width && !measure_height)
        return;

    const IMAGE* target = wm_measuring_target();
    INT_S32 text_w = 0;
    INT_S32 text_h = 0;
    measure_face_text(target, text.c_str(), font_id, font_x_sz, font_y_sz, &text_w, &text_h);
    INT_S32 font_x = font_x_sz == -1 ? target->default_font_width : font_x_sz;
    INT_S32 thickness = shading_thickness(shading_type);

    if (measure_width) {
        INT_S32 gaps;
        if (left_set && right_set)
            gaps = left_gap + right_gap;
        else if (!left_set && !right_set)
            gaps = font_x;
        else
            gaps = (left_set ? left_gap : right_gap) + font_x / 2;
        width = static_cast<INT_U16>(clamp_s16(text_w + gaps + 1));
    }
    if (measure_height) {
        INT_S32 gaps;
        if (top_set && bottom_set)
            gaps = top_gap + bottom_gap;
        else if (!top_set && !bottom_set)
            gaps = 2 * thickness;
        else
            gaps = thickness + (top_set ? top_gap : bottom_gap);
        height = static_cast<INT_U16>(clamp_s16(text_h + gaps + 1));
    }
}

void WM_SCRIPT::resolve_gaps()
{
    resolve_face_gaps(shading_thickness(shading_type), left_gap, right_gap, top_gap, bottom_gap, x_spacing, y_spacing);
}

void WM_SCRIPT::get_size_for(const char* text_, const WM_STYLE_SET* style, INT_S16* width_out, INT_S16* height_out)
{
    WM_SCRIPT probe(0, 0, SCRIPT_MEASURE, SCRIPT_MEASURE, text_, style);
    probe.visible = 0;
    probe.draw_pending = 0;
    if (width_out)
        *width_out = static_cast<INT_S16>(probe.width);
    if (height_out)
        *height_out = static_cast<INT_S16>(probe.height);
}

void WM_SCRIPT::set_text(const char* new_text, bool resize)
{
    mark_dirty();
    text = new_text ? new_text : "";
    if (!resize)
        return;
    INT_S32 text_w = 0;
    measure_face_text(wm_measuring_target(), text.c_str(), font_id, font_x_sz, font_y_sz, &text_w, nullptr);
    if (text_w + 1 > width)
        set_size(clamp_s16(text_w + 1), static_cast<INT_S16>(height), false);
}

void WM_SCRIPT::set_flash_text(const char* new_text)
{
    flash_text = new_text ? new_text : "";
    if (flash_on)
        mark_dirty();
}

void WM_SCRIPT::set_flash(INT_U8 mask, bool on)
{
    flash_mask = mask;
    flash_mode = on ? FLASH_MODE_ON : 0;
    if (!on && flash_on) {
        flash_on = 0;
        show(false);
    }
}

const char* WM_SCRIPT::shown_text() const
{
    return text.c_str();
}

INT_S32 WM_SCRIPT::update()
{
    if (owner) {
        INT_S32 code = owner->update();
        if (code)
            return code;
    }
    if (over_callback) {
        bool over = is_over(wm_pointer_x(), wm_pointer_y());
        if (over != (was_over != 0)) {
            was_over = over;
            over_callback(this, over, over_data1, over_data2);
        }
    }
    return WM_SCREEN_OBJECT::update();
}

INT_S32 WM_SCRIPT::animate(bool overlays)
{
    if (flash_mode == FLASH_MODE_ON) {
        bool phase = (flash_mask & wm_toolkit.flash_phase) != 0;
        if (phase != (flash_on != 0)) {
            flash_on = phase;
            show(false);
        }
    }
    return WM_SCREEN_OBJECT::animate(overlays);
}

bool WM_SCRIPT::is_over(INT_S32 px, INT_S32 py)
{
    return is_over_masked(px, py, face_flags & FACE_DONT_MASK_CLICK ? nullptr : face);
}

void WM_SCRIPT::paint()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || width < 1 || height < 1)
        return;
    INT_S16 x2 = static_cast<INT_S16>(x + width - 1);
    INT_S16 y2 = static_cast<INT_S16>(y + height - 1);
    bool flashing = flash_on != 0;

    TILED_IMAGE* picture = flashing && face_flashing ? face_flashing : face;
    if (picture) {
        picture->draw(x, y, x2, y2, !(face_flags & FACE_DONT_RESIZE_IMAGE), target, BLIT_ALPHA, false);
    } else {
        COLOUR fill = flashing && flashing_colour.alpha() ? flashing_colour : bg_colour;
        paint_face_fill(target, x, y, x2, y2, face_flags, fill, fading_colour, border_sides, false, false);
    }
    if (border_sides)
        draw_shaded_box(x, y, x2, y2, border_sides, COLOUR_INVISIBLE, shading_type, -1);

    const char* shown = flashing && !flash_text.is_empty() ? flash_text.c_str() : shown_text();
    COLOUR ink = flashing && flashing_text_colour.alpha() ? flashing_text_colour : fg_colour;
    paint_face_text(target, static_cast<INT_S16>(x + left_gap), static_cast<INT_S16>(y + top_gap),
        static_cast<INT_S16>(x2 - right_gap), static_cast<INT_S16>(y2 - bottom_gap), shown, ink, underline_colour,
        font_id, font_x_sz, font_y_sz, face_flags);
}
