// WM_TYPING_SCRIPT: a label that types its text out, character by character, from its first
// paint on. When the whole text shows, left_callback is called once.
//
//   state    | first paint          | time passes                    | press on the label
//   ---------+----------------------+--------------------------------+----------------------------
//   waiting  | typing (clock noted) |                                |
//   typing   |                      | more shows; all shown: done /  | done / left_callback (once)
//            |                      |  left_callback                 |
//   done     |                      |                                | (a label's press)
#pragma once

#include "base/orlu_types.h"
#include "wm/widgets/wm_script.h"

// The byte length of `text` that shows `elapsed` milliseconds after typing began: each
// character costs char_delay, a line feed newline_delay (char_delay when that is 0), and the
// walk stops once the time left falls below 1, so the first character shows at once. Colour
// sections and wide-mode switches cost nothing and are never cut in half. A char_delay below 1
// shows everything.
INT_S32 typing_visible_length(const char* text, INT_S64 elapsed, INT_S32 char_delay, INT_S32 newline_delay);

class WM_TYPING_SCRIPT : public WM_SCRIPT {
public:
    // As WM_SCRIPT, measured for the whole text; typing starts at the first paint.
    WM_TYPING_SCRIPT(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* text,
        const WM_STYLE_SET* style, INT_S32 char_delay, INT_S32 newline_delay = 0,
        WM_CALLBACK left_callback = nullptr, PTR_INT_CAST left_data1 = 0, PTR_INT_CAST left_data2 = 0);

    // Starts typing the text anew (at the next paint); with a char_delay of 0 it simply shows.
    void set_text(const char* new_text, bool resize) override;
    // Shows the rest at once and calls the callback; nothing when not typing.
    INT_S32 finish_typing();
    [[nodiscard]] bool is_typing() const { return typed_length != 0; }

    INT_S32 update() override;
    INT_S32 animate(bool overlays) override;
    void paint() override;

    // --- Fields, in the record's order ----------------------------------------------------------
    ORLU_STRING full_text;
    INT_U16 typed_length { 0 };
    INT_U32 start_time { 0 };
    INT_S32 char_delay { 50 };
    INT_S32 newline_delay { 0 };

private:
    void show_length(INT_S32 length);

    INT_U8 started { 0 };       // start_time holds the first paint's time
    INT_U8 left_was_down { 0 };
    INT_S32 shown_length { 0 };
};
