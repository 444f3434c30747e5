#include "wm/widgets/wm_progress_bar.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/error_report.h"
#include "graphics/image.h"
#include "graphics/tiled_image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_style_set.h"
#include "wm/widgets/wm_face.h"

INT_S32 progress_fill_length(INT_S32 length, INT_S32 value, INT_S32 total, INT_S32 thickness)
{
    if (length < 1)
        return 0;
    INT_S64 filled = total == 0 ? length : static_cast<INT_S64>(length) * value / total + 1;
    INT_S64 cap = 2 * static_cast<INT_S64>(thickness);
    if (filled <= cap)
        filled = cap + 1;
    if (filled > length)
        filled = length;
    if (filled < 0)
        filled = 0;
    return static_cast<INT_S32>(filled);
}

const char* progress_percentage_text(INT_S32 value, INT_S32 total, char* buffer, size_t size)
{
    if (!buffer || size == 0)
        return "";
    if (total == 0)
        snprintf(buffer, size, "100%%");
    else
        snprintf(buffer, size, "%lld%%", static_cast<long long>(static_cast<INT_S64>(value) * 100 / total));
    return buffer;
}

const char* progress_alt_percentage_text(INT_S32 value, INT_S32 total, char* buffer, size_t size)
{
    if (!buffer || size == 0)
        return "";
    if (total == 0)
        snprintf(buffer, size, "100%%");
    else
        snprintf(buffer, size, "%lld%%", static_cast<long long>((10000 - 100 * static_cast<INT_S64>(value)) / total));
    return buffer;
}

INT_S16 progress_scroll_step(INT_S16 scroll, INT_S32 size, INT_S16 rate, INT_U32 elapsed)
{
    if (size < 1 || rate == 0)
        return scroll;
    INT_S32 distance = static_cast<INT_S32>((elapsed / static_cast<INT_U32>(abs(rate))) % static_cast<INT_U32>(size));
    if (rate < 0)
        distance = -distance;
    INT_S32 moved = scroll + distance;
    if (moved >= size)
        moved -= size;
    if (moved < 0)
        moved += size;
    return static_cast<INT_S16>(moved);
}

// ---------------------------------------------------------------------------------------------
// The widget
// ---------------------------------------------------------------------------------------------

namespace {

char* copy_title(const char* text)
{
    if (!text)
        return nullptr;
    size_t length = strlen(text);
    char* copy = new (std::nothrow) char[length + 1];
    if (!copy)
        fatal_error(0x111, nullptr);
    memcpy(copy, text, length + 1);
    return copy;
}

INT_S32 face_size(const TILED_IMAGE* face, bool across)
{
    if (!face || !face->mid)
        return 0;
    return across ? face->mid->width : face->mid->height;
}

} // namespace

void WM_PROGRESS_BAR::place(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_)
{
    type_flags |= WM_TYPE_PROGRESS_BAR;
    x = x_;
    y = y_;
    width = static_cast<INT_U16>(width_ < 0 ? 0 : width_);
    height = static_cast<INT_U16>(height_ < 0 ? 0 : height_);
    if (width_ < 1 || height_ < 1)
        fatal_error(0x110, nullptr);
    check_rectangle();
}

WM_PROGRESS_BAR::WM_PROGRESS_BAR(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* title_,
    INT_S32 total_, const COLOUR& empty_colour_, const COLOUR& full_colour_, const COLOUR& text_colour_,
    INT_U8 flags_, INT_U8 font_id_, INT_S16 font_x_sz_, INT_S16 font_y_sz_, INT_S16 left_gap_, INT_S16 right_gap_,
    INT_S16 top_gap_, INT_S16 bottom_gap_)
    : WM_SCREEN_OBJECT(true)
{
    place(x_, y_, width_, height_);
    flags = flags_;
    take_title(flags & PROGRESS_VERTICAL ? nullptr : title_);
    total = total_;
    empty_colour = empty_colour_;
    full_colour = full_colour_;
    text_colour = text_colour_;
    contrast_colour(alt_text_colour, full_colour_);
    border_colour = empty_colour_;
    font_id = font_id_;
    font_x_sz = font_x_sz_;
    font_y_sz = font_y_sz_;
    left_gap = left_gap_;
    right_gap = right_gap_;
    top_gap = top_gap_;
    bottom_gap = bottom_gap_;
    shading_type = static_cast<INT_U8>(shading);
    notify_created();
}

WM_PROGRESS_BAR::WM_PROGRESS_BAR(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* title_,
    INT_S32 total_, const WM_STYLE_SET* style)
    : WM_SCREEN_OBJECT(true)
{
    place(x_, y_, width_, height_);
    total = total_;
    static const WM_STYLE_SET defaults;
    const WM_STYLE_SET& set = style ? *style : defaults;
    if (!(set.flags & ssf_draw_border))
        flags |= PROGRESS_NO_BORDER;
    if (set.flags & ssf_dont_resize_image)
        flags |= PROGRESS_KEEP_IMAGE_SIZE;
    if (set.ext_flags & ssef_pb_only_draw_bar)
        flags |= PROGRESS_ONLY_BAR;
    if (set.ext_flags & ssef_pb_vertical)
        flags |= PROGRESS_VERTICAL;
    if (set.ext_flags & ssef_pb_no_shading)
        flags |= PROGRESS_NO_SHADING;
    if (set.ext_flags & ssef_pb_position_text_on_bar)
        flags |= PROGRESS_TEXT_ON_BAR;
    draw_alt_percentage = (set.ext_flags & ssef_pb_draw_alt_percentage) != 0;
    take_title(flags & PROGRESS_VERTICAL ? nullptr : title_);

    empty_colour = set.bg_colour;
    full_colour = set.active_colour.alpha() ? set.active_colour
        : set.highlight_colour.alpha()      ? set.highlight_colour
                                            : set.fg_colour;
    text_colour = set.fg_colour;
    if (set.active_text_colour.alpha())
        alt_text_colour = set.active_text_colour;
    else if (set.highlight_text_colour.alpha())
        alt_text_colour = set.highlight_text_colour;
    else
        contrast_colour(alt_text_colour, full_colour);
    border_colour = set.shading_base_colour.alpha() ? set.shading_base_colour : set.bg_colour;
    if (set.shading_base_colour.alpha())
        colour = set.shading_base_colour;
    font_id = set.font_id;
    font_x_sz = set.font_x_sz;
    font_y_sz = set.font_y_sz;
    left_gap = set.cell_left_gap;
    right_gap = set.cell_right_gap;
    top_gap = set.cell_top_gap;
    bottom_gap = set.cell_bottom_gap;
    shading = set.shading_type == 1 ? 6 : set.shading_type;
    shading_type = static_cast<INT_U8>(shading);
    visible = set.visible;
    draw_pending = set.visible;

    if (set.image_filename && set.image_filename[0]) {
        if (set.images_loaded) {
            face_bg = copy_skin_image(set.images[STYLE_IMAGE_BG]);
            face_empty = copy_skin_image(set.images[STYLE_IMAGE_EMPTY]);
            if (!face_empty)
                face_empty = copy_skin_image(set.images[STYLE_IMAGE_BASE]);
            face_full = copy_skin_image(set.images[STYLE_IMAGE_FULL]);
            if (!face_full)
                face_full = copy_skin_image(set.images[STYLE_IMAGE_BAR]);
            face_alt = copy_skin_image(set.images[STYLE_IMAGE_ALTERNATE]);
        } else {
            char folder[ORLU_MAX_PATH];
            if (style_image_folder(set, folder, sizeof folder))
                set_images(folder, set.image_filename, nullptr);
        }
    }
    notify_created();
}

WM_PROGRESS_BAR::~WM_PROGRESS_BAR()
{
    delete[] title;
    delete[] alt_title;
    clear_images();
}

void WM_PROGRESS_BAR::check_rectangle()
{
    if (x < 0 || y < 0)
        fatal_error(0x110, nullptr);
    INT_S32 display = wm_display_at(x, y);
    if (!wm_display_exists(display))
        return;
    if (x + width > wm_display_width(display) || y + height > wm_display_height(display))
        fatal_error(0x110, nullptr);
}

void WM_PROGRESS_BAR::take_title(const char* text)
{
    char* copy = copy_title(text);
    delete[] title;
    title = copy;
}

void WM_PROGRESS_BAR::set_value(INT_S32 new_value)
{
    value = new_value;
    mark_dirty();
}

void WM_PROGRESS_BAR::set_total(INT_S32 new_total)
{
    total = new_total;
    mark_dirty();
}

void WM_PROGRESS_BAR::set_alt_title(const char* text)
{
    char* copy = copy_title(text);
    delete[] alt_title;
    alt_title = copy;
    if (visible)
        mark_dirty();
}

void WM_PROGRESS_BAR::set_title(const char* text, bool immediate)
{
    if (!(flags & PROGRESS_VERTICAL))
        take_title(text);
    if (!immediate) {
        if (visible)
            mark_dirty();
        return;
    }
    redraw_now();
    wm_present();
    refresh();
}

void WM_PROGRESS_BAR::refresh()
{
    if (x_rate || y_rate)
        animation_step();
    INT_U32 second = wm_now() / 1000;
    if (second != last_pump_second) {
        last_pump_second = second;
        pump_events();
    }
}

void WM_PROGRESS_BAR::set_rates(INT_S16 x_rate_, INT_S16 y_rate_, INT_U16 update_rate_)
{
    x_rate = x_rate_;
    y_rate = y_rate_;
    update_rate = update_rate_;
}

bool WM_PROGRESS_BAR::set_images(const char* folder, const char* name, const WM_STYLE_SET* style)
{
    clear_images();
    if (style && (style->flags & ssf_dont_resize_image))
        flags |= PROGRESS_KEEP_IMAGE_SIZE;
    if (!folder || !name || !name[0])
        return false;
    char file_name[ORLU_MAX_PATH];
    snprintf(file_name, sizeof file_name, "%s_bg", name);
    face_bg = load_skin_image(folder, file_name);
    snprintf(file_name, sizeof file_name, "%s_empty", name);
    face_empty = load_skin_image(folder, file_name);
    if (!face_empty)
        face_empty = load_skin_image(folder, name);
    snprintf(file_name, sizeof file_name, "%s_full", name);
    face_full = load_skin_image(folder, file_name);
    if (!face_full) {
        snprintf(file_name, sizeof file_name, "%s_bar", name);
        face_full = load_skin_image(folder, file_name);
    }
    snprintf(file_name, sizeof file_name, "%s_alt", name);
    face_alt = load_skin_image(folder, file_name);
    if (visible)
        mark_dirty();
    return has_images();
}

void WM_PROGRESS_BAR::clear_images()
{
    free_skin_image(face_bg);
    free_skin_image(face_empty);
    free_skin_image(face_full);
    free_skin_image(face_alt);
}

// Along x the pictures' heights govern the wrap, along y their widths: skins were made to it.
INT_S32 WM_PROGRESS_BAR::scroll_size(bool across) const
{
    INT_S32 size = 0;
    const TILED_IMAGE* faces[] = { face_bg, face_empty, face_full };
    for (const TILED_IMAGE* face : faces) {
        INT_S32 s = face_size(face, !across);
        if (s > size)
            size = s;
    }
    return size;
}

void WM_PROGRESS_BAR::animation_step()
{
    INT_U32 now = wm_now();
    // One axis: moves its offset by the time since its last step, once update_rate has passed.
    auto step = [&](INT_S16& scroll, INT_S32 size, INT_S16 rate, INT_U32& last_step) {
        if (size < 1 || rate == 0 || now - last_step <= update_rate)
            return;
        INT_S16 moved = progress_scroll_step(scroll, size, rate, now - last_step);
        if (moved != scroll) {
            scroll = moved;
            scrolled = 1;
        }
        show(false);
        last_step = now;
    };
    step(scroll_x, scroll_size(true), x_rate, last_x_step);
    step(scroll_y, scroll_size(false), y_rate, last_y_step);
}

INT_S32 WM_PROGRESS_BAR::animate(bool overlays)
{
    if (x_rate || y_rate)
        animation_step();
    return WM_SCREEN_OBJECT::animate(overlays);
}

// One part of the bar: its picture (tiled from the scroll offset when it scrolls and has one
// piece, else stretched or at its own size) or a fill, then its border.
void WM_PROGRESS_BAR::paint_part(IMAGE* target, TILED_IMAGE* face, const COLOUR& fill, INT_S32 x1, INT_S32 y1,
    INT_S32 x2, INT_S32 y2, INT_U16 sides, bool scroll)
{
    if (x2 < x1 || y2 < y1)
        return;
    if (face && face->is_loaded()) {
        if (scroll && face->layout() == TILED_IMAGE::LAYOUT_ONE && face->mid->width > 0 && face->mid->height > 0) {
            WM_CLIP_KEEPER keep(target);
            target->intersect_clip(clamp_s16(x1), clamp_s16(y1), clamp_s16(x2), clamp_s16(y2));
            IMAGE* piece = face->mid;
            for (INT_S32 ty = y1 - scroll_y; ty <= y2; ty += piece->height) {
                for (INT_S32 tx = x1 - scroll_x; tx <= x2; tx += piece->width)
                    piece->draw(clamp_s16(tx), clamp_s16(ty), target, BLIT_ALPHA);
            }
        } else {
            face->draw(clamp_s16(x1), clamp_s16(y1), clamp_s16(x2), clamp_s16(y2), !(flags & PROGRESS_KEEP_IMAGE_SIZE),
                target, BLIT_ALPHA, false);
        }
    } else if (fill.alpha()) {
        target->fill_box(clamp_s16(x1), clamp_s16(y1), clamp_s16(x2), clamp_s16(y2), fill, true);
    }
    if (!(flags & PROGRESS_NO_SHADING))
        draw_shaded_box(x1, y1, x2, y2, sides, COLOUR_INVISIBLE, shading, -1);
}

void WM_PROGRESS_BAR::paint()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || width < 1 || height < 1)
        return;
    WM_CLIP_KEEPER keep(target);
    INT_S32 x2 = x + width - 1;
    INT_S32 y2 = y + height - 1;
    target->intersect_clip(x, y, clamp_s16(x2), clamp_s16(y2));
    if (target->clip_is_empty())
        return;

    // 1. Background and frame.
    bool bordered = !(flags & PROGRESS_NO_BORDER);
    if (face_bg) {
        face_bg->draw(
            x, y, clamp_s16(x2), clamp_s16(y2), !(flags & PROGRESS_KEEP_IMAGE_SIZE), target, BLIT_ALPHA, false);
    } else if (!(flags & PROGRESS_ONLY_BAR)) {
        if (border_colour.alpha())
            target->fill_box(x, y, clamp_s16(x2), clamp_s16(y2), border_colour, true);
        if (bordered)
            draw_shaded_box(x, y, x2, y2, BORDER_ALL, COLOUR_INVISIBLE, shading, -1);
    }

    // 2. The track inside the frame, and the fill along it.
    INT_S32 thickness = shading_thickness(shading);
    INT_S32 inset = bordered && !face_bg ? thickness : 0;
    INT_S32 tx1 = x + inset, ty1 = y + inset, tx2 = x2 - inset, ty2 = y2 - inset;
    bool vertical = (flags & PROGRESS_VERTICAL) != 0;
    INT_S32 length = vertical ? ty2 - ty1 + 1 : tx2 - tx1 + 1;
    INT_S32 cap = flags & PROGRESS_NO_SHADING ? 0 : thickness;
    INT_S32 filled = progress_fill_length(length, value, total, cap);
    INT_S32 fx1 = tx1, fy1 = ty1, fx2 = tx2, fy2 = ty2; // the full part
    INT_S32 ex1 = tx1, ey1 = ty1, ex2 = tx2, ey2 = ty2; // the empty part
    if (vertical) {
        fy1 = ty2 - filled + 1;
        ey2 = fy1 - 1;
    } else {
        fx2 = tx1 + filled - 1;
        ex1 = fx2 + 1;
    }
    bool scroll = x_rate != 0 || y_rate != 0;

    // 3, 4. The full part raised, the empty part sunk.
    paint_part(target, face_full, full_colour, fx1, fy1, fx2, fy2, BORDER_ALL, scroll);
    paint_part(target, face_empty, empty_colour, ex1, ey1, ex2, ey2, BORDER_ALL | BORDER_INVERTED, scroll);

    // 5. The text, in one colour on the track and another on the fill.
    if (vertical)
        return;
    char percentage[32];
    const char* text = title ? title : progress_percentage_text(value, total, percentage, sizeof percentage);
    INT_S16 fx = font_x_sz == -1 ? target->default_font_width : font_x_sz;
    INT_S16 fy = font_y_sz == -1 ? target->default_font_height : font_y_sz;
    INT_S32 text_w = target->text_width(font_id, fx, fy, text);
    INT_S32 lg = left_gap == -1 ? fx / 2 : left_gap;
    INT_S32 rg = right_gap == -1 ? fx / 2 : right_gap;
    INT_S32 tg = top_gap == -1 ? (height - fy) / 2 : top_gap;
    INT_S32 text_x = tx1 + lg + (tx2 - tx1 + 1 - lg - rg - text_w) / 2;
    if (flags & PROGRESS_TEXT_ON_BAR) {
        text_x = fx2 - rg - text_w;
        if (text_x < tx1 + lg)
            text_x = fx2 + 1 + lg;
    }
    INT_S32 text_y = y + tg;
    {
        WM_CLIP_KEEPER on_track(target);
        target->intersect_clip(clamp_s16(ex1), y, clamp_s16(x2), clamp_s16(y2));
        target->draw_text(clamp_s16(text_x), clamp_s16(text_y), text_colour, COLOUR_INVISIBLE, COLOUR_INVISIBLE,
            font_id, fx, fy, text);
    }
    {
        WM_CLIP_KEEPER on_fill(target);
        target->intersect_clip(x, y, clamp_s16(fx2), clamp_s16(y2));
        target->draw_text(clamp_s16(text_x), clamp_s16(text_y), alt_text_colour, COLOUR_INVISIBLE, COLOUR_INVISIBLE,
            font_id, fx, fy, text);
    }
    if (draw_alt_percentage || alt_title) {
        char rest[32];
        const char* second = alt_title ? alt_title : progress_alt_percentage_text(value, total, rest, sizeof rest);
        INT_S32 second_w = target->text_width(font_id, fx, fy, second);
        target->draw_text(clamp_s16(tx2 - rg - second_w), clamp_s16(text_y), text_colour, COLOUR_INVISIBLE,
            COLOUR_INVISIBLE, font_id, fx, fy, second);
    }
}
