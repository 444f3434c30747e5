// WM_ABOUT: the "About" box: the program's logo, the credits below it and a button that closes
// the box.
//
// The credits come from the text file "credits" (or another name) of a folder; a file that is
// missing leaves the text empty, and one longer than ABOUT_MAX_CREDITS is cut there.
//
//   state   | press and release of Close, Return on it, or Escape
//   --------+-----------------------------------------------------
//   showing | closing, then deleted
#pragma once

#include "wm/dialogs/wm_dialog.h"

class FOLDER;
class IMAGE;
class ORLU_STRING;
class WM_BUTTON;
class WM_IMAGE;

constexpr INT_S16 ABOUT_DEFAULT_WIDTH = 440;
constexpr INT_S16 ABOUT_DEFAULT_HEIGHT = 320;
constexpr INT_S32 ABOUT_MAX_CREDITS = 64 * 1024;

class WM_ABOUT : public WM_DIALOG {
public:
    // A size of -1 is 440 by 320; x, y of -1 centre it. A null title is "About", a null button
    // text "Close". The logo is copied (null: none). text_style styles the credits (null: the
    // frame's colours and font, wrapped).
    WM_ABOUT(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* title, const char* button_text,
        const IMAGE* button_icon, const IMAGE* logo, const char* credits, const WM_STYLE_SET* style,
        const WM_STYLE_SET* title_style, const WM_STYLE_SET* button_style, const WM_STYLE_SET* text_style,
        const WM_DIALOG_EFFECT* effect = nullptr);
    ~WM_ABOUT() override = default;

    // Reads the text file `name` of the folder into `out`, lines joined by line feeds. False when
    // it cannot be opened (out is then empty).
    static bool load_credits(const FOLDER& folder, const char* name, ORLU_STRING* out);

    [[nodiscard]] WM_BUTTON* close_button() const { return button; }
    [[nodiscard]] WM_IMAGE* logo_object() const { return logo_picture; }
    [[nodiscard]] WM_SCRIPT* credits_object() const { return credits_text; }

private:
    WM_BUTTON* button { nullptr };
    WM_IMAGE* logo_picture { nullptr };
    WM_SCRIPT* credits_text { nullptr };
};
