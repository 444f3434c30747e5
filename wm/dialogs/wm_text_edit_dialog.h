// WM_TEXT_EDIT_DIALOG: asks for one line of text, such as the name of a new folder: a message, a
// text box with the keyboard focus, and OK and Cancel buttons. OK stays disabled while the text
// is empty. The answer goes to the callback, which reads the text with get_text() and answers an
// action code; the dialog then closes.
//
//   state   | OK released, or Return in the box (text not empty) | Cancel released, or Escape
//   --------+----------------------------------------------------+---------------------------
//   asking  | closing / callback(accepted true)                   | closing / callback(false)
#pragma once

#include "wm/dialogs/wm_dialog.h"

class WM_BUTTON;
class WM_TEXT_EDIT;
class WM_TEXT_EDIT_DIALOG;

// accepted: OK (true) or Cancel (false). The code it answers goes up as the dialog's; 0 closes
// the dialog quietly.
typedef INT_S32 (*WM_TEXT_ANSWER)(WM_TEXT_EDIT_DIALOG* dialog, bool accepted, PTR_INT_CAST data1,
    PTR_INT_CAST data2);

class WM_TEXT_EDIT_DIALOG : public WM_DIALOG {
public:
    // A width of -1 is 400, a height of -1 what fits; x, y of -1 centre it. `rejected` lists the
    // characters that may not be typed ("/" for a file name). Null button texts are "OK" and
    // "Cancel".
    WM_TEXT_EDIT_DIALOG(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* title, const char* message,
        const char* text, INT_S32 max_length, const char* rejected, const char* ok_text, const char* cancel_text,
        WM_TEXT_ANSWER answer, PTR_INT_CAST data1, PTR_INT_CAST data2, const WM_STYLE_SET* style = nullptr,
        const WM_STYLE_SET* title_style = nullptr, const WM_STYLE_SET* button_style = nullptr,
        const WM_STYLE_SET* text_style = nullptr, const WM_STYLE_SET* edit_style = nullptr);
    ~WM_TEXT_EDIT_DIALOG() override = default;

    [[nodiscard]] const char* get_text() const;
    [[nodiscard]] WM_TEXT_EDIT* edit_box() const { return edit; }
    [[nodiscard]] WM_BUTTON* ok_button() const { return ok; }
    [[nodiscard]] WM_BUTTON* cancel_button() const { return cancel; }

    INT_S32 update() override;

private:
    static INT_S32 ok_pressed(WM_SCREEN_OBJECT* object, PTR_INT_CAST data1, PTR_INT_CAST data2);
    static INT_S32 cancel_pressed(WM_SCREEN_OBJECT* object, PTR_INT_CAST data1, PTR_INT_CAST data2);
    static INT_S32 return_in_box(WM_SCREEN_OBJECT* object, PTR_INT_CAST data1, PTR_INT_CAST data2);
    INT_S32 answer_with(bool accepted);

    WM_TEXT_EDIT* edit { nullptr };
    WM_BUTTON* ok { nullptr };
    WM_BUTTON* cancel { nullptr };
    WM_SCRIPT* message { nullptr };
    WM_TEXT_ANSWER answer { nullptr };
    PTR_INT_CAST answer_data1 { 0 };
    PTR_INT_CAST answer_data2 { 0 };
    INT_U8 answered { 0 };
};
