// WM_CONFIRM: a dialog that asks a question: a message and a row of one to three buttons below
// it. It measures itself to what it holds when given -1 as its size.
//
// A button's release answers: with its own callback, or, without one, by closing the dialog
// (code 2). The keyboard answers as well: the first button has the focus when the dialog opens,
// so Return takes it (Tab moves to the others), and Escape presses the second button, the "no"
// of a yes-no question, or the only one.
//
//   state   | release on a button, or Return on the focused one | Escape
//   --------+---------------------------------------------------+---------------------------------
//   asking  | closing / that button's answer                    | closing / the second button's answer
#pragma once

#include "wm/dialogs/wm_dialog.h"

class IMAGE;
class WM_BUTTON;

// One button of the row: a null text drops it.
struct CONFIRM_BUTTON {
    const char* text { nullptr };
    WM_CALLBACK callback { nullptr }; // null: the release closes the dialog
    PTR_INT_CAST data1 { 0 };
    PTR_INT_CAST data2 { 0 };
    const IMAGE* icon { nullptr };
};

constexpr INT_S32 CONFIRM_MAX_BUTTONS = 3;

class WM_CONFIRM : public WM_DIALOG {
public:
    // Style sets (null: the dialog defaults); text_style styles the message (null: the frame's
    // colours and font, wrapped). With no button text at all a single "Close" is made. A size of
    // -1 is what fits; x or y -1 centres.
    WM_CONFIRM(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* title, const char* message,
        const CONFIRM_BUTTON* buttons, INT_S32 button_count, bool visible, const WM_STYLE_SET* style,
        const WM_STYLE_SET* title_style, const WM_STYLE_SET* button_style, const WM_STYLE_SET* text_style,
        const WM_DIALOG_EFFECT* effect = nullptr);
    // Plain colours: frame, title and buttons as WM_DIALOG's plain constructor, the message in
    // the title's text colour on the frame.
    WM_CONFIRM(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* title, const char* message,
        const CONFIRM_BUTTON* buttons, INT_S32 button_count, bool visible, const COLOUR& background,
        const COLOUR& text, const COLOUR& title_text, const COLOUR& title_background, const COLOUR& button_text,
        const COLOUR& button_background, const WM_DIALOG_EFFECT* effect = nullptr);
    ~WM_CONFIRM() override = default;

    [[nodiscard]] WM_BUTTON* button(INT_S32 index) const;
    [[nodiscard]] INT_S32 button_total() const { return button_count; }
    [[nodiscard]] WM_SCRIPT* message_object() const { return message; }

    // What a button without a callback of its own does: 2 (close) for its release, 0 otherwise.
    static INT_S32 standard_answer(WM_SCREEN_OBJECT* button, PTR_INT_CAST data1, PTR_INT_CAST data2);

private:
    void build(INT_S32 width, INT_S32 height, const char* message, const CONFIRM_BUTTON* buttons, INT_S32 count,
        const WM_STYLE_SET* text_style);

    WM_SCRIPT* message { nullptr };
    WM_BUTTON* buttons_made[CONFIRM_MAX_BUTTONS] {};
    INT_S32 button_count { 0 };
};
