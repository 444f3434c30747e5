#include "wm/dialogs/wm_confirm.h"

#include <new>

#include "base/error_report.h"
#include "graphics/font.h"
#include "graphics/image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_manager.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_face.h"
#include "wm/widgets/wm_script.h"

namespace {

constexpr INT_U32 ESCAPE_KEY = 65307;
// Room around the message and between the buttons of the row.
constexpr INT_S32 CONFIRM_SPACING = 10;

INT_S32 gap_or(INT_S16 gap, INT_S32 fallback)
{
    return gap < 0 ? fallback : gap;
}

INT_S32 font_height(const WM_STYLE_SET& style)
{
    return style.font_y_sz == -1 ? wm_measuring_target()->default_font_height : style.font_y_sz;
}

INT_S32 font_width(const WM_STYLE_SET& style)
{
    return style.font_x_sz == -1 ? wm_measuring_target()->default_font_width : style.font_x_sz;
}

INT_S16 font_of(const WM_STYLE_SET& style)
{
    return style.font_id == DEFAULT_FONT ? wm_measuring_target()->default_font : style.font_id;
}

// The message's height in a box `box_width` wide, wrapped as the label will wrap it.
INT_S32 wrapped_height(const WM_STYLE_SET& style, const char* text, INT_S32 box_width)
{
    if (!text || !text[0])
        return font_height(style);
    TEXT_LAYOUT* layout = new (std::nothrow) TEXT_LAYOUT;
    INT_S32 lines = 1;
    if (layout && layout_text_box(layout, font_of(style), static_cast<INT_S16>(font_width(style)),
                      static_cast<INT_S16>(font_height(style)), text, box_width, MAX_TEXT_LINES))
        lines = layout->line_count;
    delete layout;
    return lines * font_height(style);
}

struct CONFIRM_MEASURE {
    INT_S32 width { 0 };
    INT_S32 height { 0 };
    INT_S32 button_width { 0 };
    INT_S32 button_height { 0 };
};

INT_S32 count_buttons(const CONFIRM_BUTTON* buttons, INT_S32 count)
{
    INT_S32 used = 0;
    for (INT_S32 i = 0; buttons && i < count && i < CONFIRM_MAX_BUTTONS; ++i)
        used += buttons[i].text != nullptr;
    return used;
}

CONFIRM_MEASURE measure(const char* title, const char* message, const CONFIRM_BUTTON* buttons, INT_S32 count,
    const WM_STYLE_SET& frame, const WM_STYLE_SET& title_style, const WM_STYLE_SET& button_style,
    const WM_STYLE_SET& text_style)
{
    CONFIRM_MEASURE m;
    // The buttons: the widest label (with its icon) plus the button's two gaps.
    INT_S32 widest = 0;
    INT_S32 used = 0;
    INT_S32 icon_height = 0;
    for (INT_S32 i = 0; buttons && i < count && i < CONFIRM_MAX_BUTTONS; ++i) {
        if (!buttons[i].text)
            continue;
        ++used;
        INT_S32 w = WM_BUTTON::width_for(buttons[i].text, &button_style);
        if (buttons[i].icon && buttons[i].icon->has_pixels()) {
            w += buttons[i].icon->width + gap_or(button_style.x_spacing, 1);
            if (buttons[i].icon->height > icon_height)
                icon_height = buttons[i].icon->height;
        }
        if (w > widest)
            widest = w;
    }
    if (used == 0) {
        used = 1;
        widest = WM_BUTTON::width_for("Close", &button_style);
    }
    m.button_width = widest;
    INT_S32 text_rows = font_height(button_style);
    if (icon_height > text_rows)
        text_rows = icon_height;
    m.button_height = text_rows + gap_or(button_style.cell_top_gap, 2) + gap_or(button_style.cell_bottom_gap, 2) + 1;

    INT_S32 border_w = gap_or(frame.border_left_gap, 2) + gap_or(frame.border_right_gap, 2)
        + gap_or(frame.cell_left_gap, 0) + gap_or(frame.cell_right_gap, 0);
    INT_S32 row_w = used * widest + (used + 1) * CONFIRM_SPACING;
    INT_S32 text_w = 0;
    measure_face_text(wm_measuring_target(), message, text_style.font_id, text_style.font_x_sz, text_style.font_y_sz,
        &text_w, nullptr);
    INT_S32 text_margin = gap_or(text_style.cell_left_gap, 2) + gap_or(text_style.cell_right_gap, 2) + 1;
    INT_S32 title_w = 0;
    if (title)
        measure_face_text(wm_measuring_target(), title, title_style.font_id, title_style.font_x_sz,
            title_style.font_y_sz, &title_w, nullptr);
    title_w += gap_or(title_style.cell_left_gap, 2) + gap_or(title_style.cell_right_gap, 2) + 1;

    INT_S32 inner = text_w + text_margin + 2 * CONFIRM_SPACING;
    if (row_w > inner)
        inner = row_w;
    if (title_w > inner)
        inner = title_w;
    // A long message wraps rather than leaving the screen.
    INT_S32 screen = wm_display_width(0);
    INT_S32 limit = screen > 0 ? screen * 3 / 4 - border_w : 600;
    if (limit < row_w)
        limit = row_w;
    if (inner > limit)
        inner = limit;
    m.width = inner + border_w;

    INT_S32 box = inner - 2 * CONFIRM_SPACING - text_margin;
    INT_S32 text_h = wrapped_height(text_style, message, box > 0 ? box : 1) + gap_or(text_style.cell_top_gap, 2)
        + gap_or(text_style.cell_bottom_gap, 2) + 1;
    INT_S32 title_h = title ? font_height(title_style) + gap_or(title_style.cell_top_gap, 2)
            + gap_or(title_style.cell_bottom_gap, 2) + 1
                            : 0;
    m.height = gap_or(frame.border_top_gap, 2) + title_h + gap_or(frame.cell_bottom_gap, 2)
        + gap_or(frame.cell_top_gap, 0) + CONFIRM_SPACING + text_h + CONFIRM_SPACING + m.button_height
        + CONFIRM_SPACING + gap_or(frame.cell_bottom_gap, 2) + gap_or(frame.border_bottom_gap, 2);
    return m;
}

const WM_STYLE_SET& or_default(const WM_STYLE_SET* style, INT_S32 which)
{
    return style ? *style : *dialog_default_style(which);
}

INT_S16 fitted(INT_S16 asked, INT_S32 fit)
{
    if (asked > 0)
        return asked;
    return static_cast<INT_S16>(fit > 32767 ? 32767 : fit);
}

// The message's look: the given text style, or the frame's colours and font, wrapped.
void message_style(WM_STYLE_SET* out, const WM_STYLE_SET* text_style, const WM_STYLE_SET& frame)
{
    if (text_style && out->assign(*text_style))
        return;
    out->fg_colour = frame.fg_colour;
    out->bg_colour = COLOUR_INVISIBLE;
    out->font_id = frame.font_id;
    out->font_x_sz = frame.font_x_sz;
    out->font_y_sz = frame.font_y_sz;
    out->flags = ssf_wrap_text;
    out->shading_type = 0;
}

} // namespace

INT_S32 WM_CONFIRM::standard_answer(WM_SCREEN_OBJECT* object, PTR_INT_CAST, PTR_INT_CAST)
{
    WM_BUTTON* pressed = static_cast<WM_BUTTON*>(object);
    return pressed->fired_on_release ? 2 : 0;
}

WM_CONFIRM::WM_CONFIRM(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* title_,
    const char* message_, const CONFIRM_BUTTON* buttons, INT_S32 count, bool visible_, const WM_STYLE_SET* style_,
    const WM_STYLE_SET* title_style_, const WM_STYLE_SET* button_style_, const WM_STYLE_SET* text_style,
    const WM_DIALOG_EFFECT* effect_)
    : WM_DIALOG(x_, y_,
        fitted(width_,
            measure(title_, message_, buttons, count, or_default(style_, 0), or_default(title_style_, 1),
                or_default(button_style_, 2), text_style ? *text_style : or_default(style_, 0))
                .width),
        fitted(height_,
            measure(title_, message_, buttons, count, or_default(style_, 0), or_default(title_style_, 1),
                or_default(button_style_, 2), text_style ? *text_style : or_default(style_, 0))
                .height),
        title_, style_, title_style_, button_style_, effect_)
{
    if (!visible_)
        hide(false, true);
    build(width, height, message_, buttons, count, text_style);
}

WM_CONFIRM::WM_CONFIRM(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* title_,
    const char* message_, const CONFIRM_BUTTON* buttons, INT_S32 count, bool visible_, const COLOUR& background,
    const COLOUR& text, const COLOUR& title_text, const COLOUR& title_background, const COLOUR& button_text,
    const COLOUR& button_background, const WM_DIALOG_EFFECT* effect_)
    : WM_DIALOG(x_, y_,
        fitted(width_,
            measure(title_, message_, buttons, count, or_default(nullptr, 0), or_default(nullptr, 1),
                or_default(nullptr, 2), or_default(nullptr, 0))
                .width),
        fitted(height_,
            measure(title_, message_, buttons, count, or_default(nullptr, 0), or_default(nullptr, 1),
                or_default(nullptr, 2), or_default(nullptr, 0))
                .height),
        title_, background, COLOUR_INVISIBLE, title_text, title_background, button_text, button_background,
        button_background, COLOUR_INVISIBLE, visible_, effect_)
{
    style.fg_colour = text;
    build(width, height, message_, buttons, count, nullptr);
}

void WM_CONFIRM::build(INT_S32, INT_S32, const char* message_text, const CONFIRM_BUTTON* buttons, INT_S32 count,
    const WM_STYLE_SET* text_style)
{
    type_flags |= WM_TYPE_CONFIRM;
    WM_STYLE_SET look;
    message_style(&look, text_style, style);

    CONFIRM_MEASURE m = measure(get_title()[0] ? get_title() : nullptr, message_text, buttons, count, style,
        title_style, button_style, look);
    INT_S32 cw = contents->width;
    INT_S32 ch = contents->height;
    INT_S32 bw = m.button_width;
    INT_S32 bh = m.button_height;
    INT_S32 row_y = ch - CONFIRM_SPACING - bh;
    if (row_y < 0)
        row_y = 0;

    INT_S32 text_h = row_y - 2 * CONFIRM_SPACING;
    message = new (std::nothrow) WM_SCRIPT(CONFIRM_SPACING, CONFIRM_SPACING,
        static_cast<INT_S16>(cw - 2 * CONFIRM_SPACING > 1 ? cw - 2 * CONFIRM_SPACING : 1),
        static_cast<INT_S16>(text_h > 1 ? text_h : 1), message_text, &look);
    if (!message)
        fatal_error(0x67, nullptr);
    add_child(message, true);

    CONFIRM_BUTTON fallback;
    fallback.text = "Close";
    const CONFIRM_BUTTON* list = buttons;
    INT_S32 used = count_buttons(buttons, count);
    if (used == 0) {
        list = &fallback;
        count = 1;
        used = 1;
    }
    INT_S32 spacing = (cw - used * bw) / (used + 1);
    if (spacing < 0)
        spacing = 0;
    INT_S32 bx = spacing;
    for (INT_S32 i = 0; i < count && i < CONFIRM_MAX_BUTTONS; ++i) {
        const CONFIRM_BUTTON& entry = list[i];
        if (!entry.text)
            continue;
        WM_CALLBACK callback = entry.callback ? entry.callback : standard_answer;
        WM_BUTTON* made = new (std::nothrow) WM_BUTTON(static_cast<INT_S16>(bx), static_cast<INT_S16>(row_y),
            static_cast<INT_S16>(bx + bw - 1), static_cast<INT_S16>(row_y + bh - 1), &button_style, entry.text, nullptr,
            callback, entry.data1, entry.data2, TRIGGER_RELEASE);
        if (!made)
            fatal_error(0x66, nullptr);
        if (entry.icon)
            made->set_icon(entry.icon);
        add_child(made, true);
        buttons_made[button_count++] = made;
        bx += bw + spacing;
    }
    WM_BUTTON* escape = buttons_made[button_count >= 2 ? 1 : 0];
    if (escape)
        escape->set_shortcut_key(ESCAPE_KEY);
}

WM_BUTTON* WM_CONFIRM::button(INT_S32 index) const
{
    return index >= 0 && index < button_count ? buttons_made[index] : nullptr;
}
