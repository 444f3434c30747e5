#include "wm/dialogs/wm_progress_bar_dialog.h"

#include <new>

#include "base/error_report.h"
#include "base/parameter.h"
#include "graphics/image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_manager.h"
#include "wm/widgets/wm_animation.h"
#include "wm/widgets/wm_face.h"
#include "wm/widgets/wm_progress_bar.h"
#include "wm/widgets/wm_script.h"

namespace {

constexpr INT_S32 SPACING = 10;

INT_S32 bar_height(const WM_STYLE_SET* bar_style)
{
    INT_S32 font = wm_measuring_target()->default_font_height;
    INT_S32 gaps = 8;
    if (bar_style) {
        if (bar_style->font_y_sz > 0)
            font = bar_style->font_y_sz;
        gaps = (bar_style->cell_top_gap > 0 ? bar_style->cell_top_gap : 2)
            + (bar_style->cell_bottom_gap > 0 ? bar_style->cell_bottom_gap : 2) + 4;
    }
    return font + gaps;
}

INT_S16 fit_height(INT_S16 asked, const char* status, const WM_STYLE_SET* bar_style, bool two_bars)
{
    if (asked > 0)
        return asked;
    INT_S32 rows = bar_height(bar_style) * (two_bars ? 2 : 1) + (two_bars ? SPACING : 0);
    if (status)
        rows += wm_measuring_target()->default_font_height + SPACING;
    // Frame, title and the space around the rows.
    return static_cast<INT_S16>(rows + 3 * SPACING + 40);
}

} // namespace

WM_PROGRESS_BAR_DIALOG::WM_PROGRESS_BAR_DIALOG(const char* title_, const char* status, PARAMETER* bar_parameter,
    const COLOUR& colour_, bool show_now, const WM_STYLE_SET* bar_style, bool text_in_bar, INT_S16 x_, INT_S16 y_,
    INT_S16 width_, INT_S16 height_, bool two_bars, const WM_STYLE_SET* style_, const WM_STYLE_SET* title_style_,
    const WM_STYLE_SET* text_style)
    : WM_DIALOG(x_, y_, width_ > 0 ? width_ : PROGRESS_DIALOG_WIDTH, fit_height(height_, status, bar_style, two_bars),
        title_, style_, title_style_, nullptr, nullptr)
    , show_two_bars(two_bars)
    , parameter(bar_parameter)
{
    type_flags |= WM_TYPE_PROGRESS_BAR_DIALOG;
    INT_S32 cw = contents->width;
    INT_S32 ch = contents->height;
    INT_S32 bh = bar_height(bar_style);
    INT_S32 bars_h = bh * (two_bars ? 2 : 1) + (two_bars ? SPACING : 0);
    INT_S32 free_h = ch - bars_h;
    INT_S32 bar_y = free_h > 0 ? free_h / 2 : 0;
    INT_S32 bw = cw - 2 * SPACING > 1 ? cw - 2 * SPACING : 1;

    if (status) {
        // The status line stands at a third of the free height, the bars below it.
        INT_S32 line_h = wm_measuring_target()->default_font_height + 4;
        if (text_style && text_style->font_y_sz > 0)
            line_h = text_style->font_y_sz + 4;
        INT_S32 status_y = free_h / 3 - line_h / 2;
        if (status_y < 0)
            status_y = 0;
        if (text_style)
            status_object = new (std::nothrow) WM_SCRIPT(SPACING, static_cast<INT_S16>(status_y),
                static_cast<INT_S16>(bw), static_cast<INT_S16>(line_h), status, text_style);
        else
            status_object = new (std::nothrow) WM_SCRIPT(SPACING, static_cast<INT_S16>(status_y),
                static_cast<INT_S16>(bw), static_cast<INT_S16>(line_h), status, style.fg_colour, COLOUR_INVISIBLE,
                style.font_id, style.font_x_sz, style.font_y_sz, FACE_LEFT_JUSTIFY);
        if (!status_object)
            fatal_error(0x67, nullptr);
        add_child(status_object, true);
        if (bar_y < status_y + line_h + SPACING / 2)
            bar_y = status_y + line_h + SPACING / 2;
    }

    INT_S32 total = 100;
    INT_S32 value = 0;
    if (parameter && parameter->is_set()) {
        total = parameter->as_int(&parameter->maximum);
        value = parameter->as_int(&parameter->value);
    }
    for (INT_S32 i = 0; i < (two_bars ? 2 : 1); ++i) {
        // Relative placement inside the contents; the bar checks its own rectangle once placed.
        WM_PROGRESS_BAR* made;
        INT_S16 left = static_cast<INT_S16>(contents->x + SPACING);
        INT_S16 top = static_cast<INT_S16>(contents->y + bar_y + i * (bh + SPACING));
        if (left < 0 || top < 0) {
            left = left < 0 ? 0 : left;
            top = top < 0 ? 0 : top;
        }
        if (bar_style)
            made = new (std::nothrow) WM_PROGRESS_BAR(left, top, static_cast<INT_S16>(bw), static_cast<INT_S16>(bh),
                text_in_bar ? nullptr : "", total, bar_style);
        else
            made = new (std::nothrow) WM_PROGRESS_BAR(left, top, static_cast<INT_S16>(bw), static_cast<INT_S16>(bh),
                text_in_bar ? nullptr : "", total, style.bg_colour, colour_, style.fg_colour, 0);
        if (!made)
            fatal_error(0x67, nullptr);
        if (!bar_style && colour_.alpha())
            made->full_colour = colour_;
        made->value = i == 0 ? value : 0;
        add_child(made, false);
        if (i == 0)
            first_bar = made;
        else
            other_bar = made;
    }
    if (show_now)
        paint_now();
}

void WM_PROGRESS_BAR_DIALOG::paint_now()
{
    // Painted from inside blocking work, there are no frames to run an opening effect in.
    if (alpha == 0 && target_alpha == 0)
        skip_effect = 1;
    if (!visible)
        show(true);
    redraw_now();
    wm_present();
    INT_U32 second = wm_now() / 1000;
    if (second != last_pump_second) {
        last_pump_second = second;
        pump_events();
    }
}

void WM_PROGRESS_BAR_DIALOG::set_value(INT_S32 value)
{
    if (parameter && parameter->is_set())
        parameter->set_int(&parameter->value, value);
    first_bar->set_value(value);
    paint_now();
}

void WM_PROGRESS_BAR_DIALOG::set_second_value(INT_S32 value)
{
    if (!other_bar)
        return;
    other_bar->set_value(value);
    paint_now();
}

void WM_PROGRESS_BAR_DIALOG::set_status(const char* text)
{
    if (status_object)
        status_object->set_text(text, false);
    paint_now();
}

void WM_PROGRESS_BAR_DIALOG::set_title(const char* text)
{
    WM_DIALOG::set_title(text);
    paint_now();
}

void WM_PROGRESS_BAR_DIALOG::set_animation(const IMAGE* strip, INT_S32 frames, INT_U16 update_rate, INT_S16 x_rate,
    INT_S16 y_rate)
{
    if (frames < 1)
        fatal_error(0x28, nullptr);
    if (!strip || !strip->has_pixels())
        fatal_error(0x29, nullptr);
    if (animation)
        remove_child(animation, true, false);
    INT_S16 frame_h = static_cast<INT_S16>(strip->height / frames);
    animation = new (std::nothrow) WM_ANIMATION(0, 0, strip->width, frame_h, strip, frames, update_rate);
    if (!animation)
        fatal_error(0x29, nullptr);
    add_child(animation, true);
    animation_x_rate = x_rate;
    animation_y_rate = y_rate;
    animation_rate = update_rate;
    animation_step_time = wm_now();
}

// The animation moves a step at its rate and wraps inside the contents.
INT_S32 WM_PROGRESS_BAR_DIALOG::animate(bool overlays)
{
    INT_S32 code = WM_DIALOG::animate(overlays);
    if (!animation || !visible || (!animation_x_rate && !animation_y_rate))
        return code;
    INT_U32 now = wm_now();
    if (now - animation_step_time < animation_rate)
        return code;
    animation_step_time = now;
    INT_S32 nx = animation->x + animation_x_rate;
    INT_S32 ny = animation->y + animation_y_rate;
    INT_S32 left = contents->x, top = contents->y;
    INT_S32 right = contents->x + contents->width, bottom = contents->y + contents->height;
    if (nx >= right)
        nx = left - animation->width + 1;
    if (nx + animation->width <= left)
        nx = right - 1;
    if (ny >= bottom)
        ny = top - animation->height + 1;
    if (ny + animation->height <= top)
        ny = bottom - 1;
    animation->set_position(nx, ny);
    return code;
}
