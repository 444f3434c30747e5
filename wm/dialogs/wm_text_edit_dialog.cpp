#include "wm/dialogs/wm_text_edit_dialog.h"

#include <new>

#include "base/error_report.h"
#include "graphics/image.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_manager.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_script.h"
#include "wm/widgets/wm_text_edit.h"

namespace {

constexpr INT_U32 ESCAPE_KEY = 65307;
constexpr INT_S32 SPACING = 10;
constexpr INT_S16 DEFAULT_WIDTH = 400;

INT_S32 line_height(const WM_STYLE_SET* style)
{
    if (style && style->font_y_sz > 0)
        return style->font_y_sz;
    return wm_measuring_target()->default_font_height;
}

INT_S32 button_height(const WM_STYLE_SET* style)
{
    const WM_STYLE_SET* set = style ? style : dialog_default_style(DIALOG_STYLE_BUTTON);
    return line_height(set) + (set->cell_top_gap > 0 ? set->cell_top_gap : 2)
        + (set->cell_bottom_gap > 0 ? set->cell_bottom_gap : 2) + 1;
}

INT_S16 fit_height(INT_S16 asked, const WM_STYLE_SET* text_style, const WM_STYLE_SET* edit_style,
    const WM_STYLE_SET* button_style)
{
    if (asked > 0)
        return asked;
    INT_S32 rows = line_height(text_style) + 4 + SPACING + line_height(edit_style) + 8 + SPACING
        + button_height(button_style);
    // Frame, title and the space around the rows.
    return static_cast<INT_S16>(rows + 2 * SPACING + 40);
}

} // namespace

WM_TEXT_EDIT_DIALOG::WM_TEXT_EDIT_DIALOG(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_,
    const char* title_, const char* message_, const char* text, INT_S32 max_length, const char* rejected,
    const char* ok_text, const char* cancel_text, WM_TEXT_ANSWER answer_, PTR_INT_CAST data1, PTR_INT_CAST data2,
    const WM_STYLE_SET* style_, const WM_STYLE_SET* title_style_, const WM_STYLE_SET* button_style_,
    const WM_STYLE_SET* text_style, const WM_STYLE_SET* edit_style)
    : WM_DIALOG(x_, y_, width_ > 0 ? width_ : DEFAULT_WIDTH, fit_height(height_, text_style, edit_style, button_style_),
        title_, style_, title_style_, button_style_, nullptr)
    , answer(answer_)
    , answer_data1(data1)
    , answer_data2(data2)
{
    type_flags |= WM_TYPE_TEXT_EDIT_DIALOG;
    INT_S32 cw = contents->width;
    INT_S32 ch = contents->height;
    INT_S32 inner = cw - 2 * SPACING > 1 ? cw - 2 * SPACING : 1;

    INT_S32 top = SPACING;
    INT_S32 message_h = line_height(text_style) + 4;
    if (text_style)
        message = new (std::nothrow) WM_SCRIPT(SPACING, static_cast<INT_S16>(top), static_cast<INT_S16>(inner),
            static_cast<INT_S16>(message_h), message_, text_style);
    else
        message = new (std::nothrow) WM_SCRIPT(SPACING, static_cast<INT_S16>(top), static_cast<INT_S16>(inner),
            static_cast<INT_S16>(message_h), message_, style.fg_colour, COLOUR_INVISIBLE, style.font_id,
            style.font_x_sz, style.font_y_sz, 0x1);
    if (!message)
        fatal_error(0x67, nullptr);
    add_child(message, true);
    top += message_h + SPACING / 2;

    INT_S32 edit_h = line_height(edit_style) + 8;
    edit = new (std::nothrow) WM_TEXT_EDIT(SPACING, static_cast<INT_S16>(top), static_cast<INT_S16>(inner),
        static_cast<INT_S16>(edit_h), edit_style, text, max_length, return_in_box,
        reinterpret_cast<PTR_INT_CAST>(this), 0);
    if (!edit)
        fatal_error(0x67, nullptr);
    edit->set_rejected(rejected);
    add_child(edit, true);

    const char* ok_label = ok_text ? ok_text : "OK";
    const char* cancel_label = cancel_text ? cancel_text : "Cancel";
    INT_S32 bw = WM_BUTTON::width_for(ok_label, &button_style);
    INT_S32 cancel_w = WM_BUTTON::width_for(cancel_label, &button_style);
    if (cancel_w > bw)
        bw = cancel_w;
    INT_S32 bh = button_height(&button_style);
    INT_S32 row_y = ch - SPACING - bh;
    INT_S32 gap = (cw - 2 * bw) / 3;
    ok = new (std::nothrow) WM_BUTTON(static_cast<INT_S16>(gap), static_cast<INT_S16>(row_y),
        static_cast<INT_S16>(gap + bw - 1), static_cast<INT_S16>(row_y + bh - 1), &button_style, ok_label, nullptr,
        ok_pressed, reinterpret_cast<PTR_INT_CAST>(this), 0, TRIGGER_RELEASE);
    cancel = new (std::nothrow) WM_BUTTON(static_cast<INT_S16>(2 * gap + bw), static_cast<INT_S16>(row_y),
        static_cast<INT_S16>(2 * gap + 2 * bw - 1), static_cast<INT_S16>(row_y + bh - 1), &button_style,
        cancel_label, nullptr, cancel_pressed, reinterpret_cast<PTR_INT_CAST>(this), 0, TRIGGER_RELEASE);
    if (!ok || !cancel)
        fatal_error(0x66, nullptr);
    cancel->set_shortcut_key(ESCAPE_KEY);
    add_child(ok, true);
    add_child(cancel, true);
    ok->set_enabled(edit->text.length() > 0);
}

const char* WM_TEXT_EDIT_DIALOG::get_text() const
{
    return edit->get_text();
}

INT_S32 WM_TEXT_EDIT_DIALOG::answer_with(bool accepted)
{
    if (answered)
        return 0;
    answered = 1;
    INT_S32 code = answer ? answer(this, accepted, answer_data1, answer_data2) : 0;
    finish_close();
    return code == WM_ACTION_CLOSE_DIALOG ? WM_ACTION_NONE : code;
}

INT_S32 WM_TEXT_EDIT_DIALOG::ok_pressed(WM_SCREEN_OBJECT*, PTR_INT_CAST data1, PTR_INT_CAST)
{
    return reinterpret_cast<WM_TEXT_EDIT_DIALOG*>(data1)->answer_with(true);
}

INT_S32 WM_TEXT_EDIT_DIALOG::cancel_pressed(WM_SCREEN_OBJECT*, PTR_INT_CAST data1, PTR_INT_CAST)
{
    return reinterpret_cast<WM_TEXT_EDIT_DIALOG*>(data1)->answer_with(false);
}

INT_S32 WM_TEXT_EDIT_DIALOG::return_in_box(WM_SCREEN_OBJECT*, PTR_INT_CAST data1, PTR_INT_CAST)
{
    WM_TEXT_EDIT_DIALOG* self = reinterpret_cast<WM_TEXT_EDIT_DIALOG*>(data1);
    if (self->edit->text.is_empty())
        return 0;
    return self->answer_with(true);
}

// The box has the keyboard first; OK follows whether there is a text to accept.
INT_S32 WM_TEXT_EDIT_DIALOG::update()
{
    if (visible && find_overlay(0) == this && !wm_toolkit.focus_object)
        edit->take_focus();
    INT_S32 code = WM_DIALOG::update();
    if (edit->changed) {
        edit->changed = 0;
        ok->set_enabled(edit->text.length() > 0);
    }
    return code;
}
