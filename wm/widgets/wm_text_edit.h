// WM_TEXT_EDIT: one line of text that the user types into while it has the keyboard focus.
// Typed characters go in at the cursor, BackSpace and Delete take one out, the arrow keys, Home
// and End move the cursor, and Return accepts the text (left_callback). The text scrolls so
// that the cursor stays in sight, and nothing is drawn outside the box.
//
//   state    | primary down on it      | character typed          | BackSpace, Delete  | Return
//   ---------+-------------------------+--------------------------+--------------------+----------------
//   idle     | editing (focus, cursor  |                          |                    |
//            |  at the click)          |                          |                    |
//   editing  | cursor at the click     | inserted (up to          | one character goes | left_callback
//            |                         |  max_length; a rejected  |                    |  (accept)
//            |                         |  character is dropped)   |                    |
#pragma once

#include "base/orlu_string.h"
#include "graphics/colour.h"
#include "wm/core/wm_screen_object.h"

class WM_STYLE_SET;

constexpr INT_S32 TEXT_EDIT_MAX_LENGTH = 1023;

class WM_TEXT_EDIT : public WM_SCREEN_OBJECT {
public:
    // The style's text and background colours, font, border and cell gaps;
    // "ssef_te_password" shows stars. max_length is cut to 1 .. TEXT_EDIT_MAX_LENGTH.
    WM_TEXT_EDIT(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const WM_STYLE_SET* style, const char* text,
        INT_S32 max_length, WM_CALLBACK left_callback = nullptr, PTR_INT_CAST left_data1 = 0,
        PTR_INT_CAST left_data2 = 0);
    ~WM_TEXT_EDIT() override = default;

    // Replaces the text (cut to max_length) and puts the cursor at its end.
    void set_text(const char* new_text);
    [[nodiscard]] const char* get_text() const { return text.c_str(); }
    // Characters that typing may not insert, such as "/" in a file name.
    void set_rejected(const char* characters);
    void set_cursor(INT_S32 position);
    [[nodiscard]] INT_S32 get_cursor() const { return cursor; }

    INT_S32 update() override;
    bool can_take_focus() override { return focusable && visible; }
    void take_focus() override;
    void paint() override;

    // --- Fields ---------------------------------------------------------------------------------
    ORLU_STRING text;
    INT_S32 cursor { 0 };       // byte position of the cursor
    INT_S32 first_shown { 0 };  // byte position of the first character in the box
    INT_S32 max_length { TEXT_EDIT_MAX_LENGTH };
    COLOUR text_colour { COLOUR_BLACK };
    COLOUR background_colour { COLOUR_WHITE };
    COLOUR cursor_colour { COLOUR_BLACK };
    INT_U8 font_id { 255 };
    INT_S16 font_x_sz { -1 };
    INT_S16 font_y_sz { -1 };
    INT_S16 left_gap { 3 };
    INT_S16 right_gap { 3 };
    INT_S16 top_gap { 2 };
    INT_S16 bottom_gap { 2 };
    INT_U8 password { 0 };
    INT_U8 changed { 0 };       // set by every edit; whoever reads it clears it
    char rejected[32] {};

private:
    bool insert_character(char character);
    void erase(INT_S32 position);
    void keep_cursor_in_sight();
    [[nodiscard]] INT_S32 position_at(INT_S32 px);
    // The text as painted: the text, or as many stars.
    [[nodiscard]] const char* shown_text(char* buffer, size_t size) const;
    [[nodiscard]] INT_S32 width_of(const char* shown, INT_S32 from, INT_S32 to) const;

    INT_U8 left_was_down { 0 };
};
