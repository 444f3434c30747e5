// The headless display: a back end with no X connection, for tests.
//
// It keeps each presented frame in memory, takes scripted input (pointer moves, clicks, wheel,
// keys, the window manager's close request, expose rectangles, clipboard text of "another
// program") and runs on a clock the test sets. Everything above the host runs unchanged on it:
//
//     headless_reset(800, 600);                 // chooses this back end, clock at 0
//     open_window(request, 0);                  // frame/screen.h
//     headless_click(120, 40);                  // press now, release at the pump after
//     pump_events(); update(); swap_screens(0);
//     pump_events(); update(); swap_screens(0);
//     const HEADLESS_FRAME* shown = headless_last_frame();
//
// Scripted events wait in a queue; pump_events delivers them in order up to the next frame
// boundary (headless_end_frame), so that a press and its release can be seen by different
// updates, as a person's click would be.
//
// [SECTION] Set-up
// [SECTION] The window and its frames
// [SECTION] Scripted input
// [SECTION] The clock
#pragma once

#include "base/orlu_types.h"
#include "host/display.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Set-up
// ---------------------------------------------------------------------------------------------

[[nodiscard]] const DISPLAY_BACK_END* headless_display_back_end();

// Chooses this back end and starts from nothing: no window, no frames, an empty queue, the input
// state reset, the clock at 0 and in use. The desktop has the given size.
void headless_reset(INT_U16 desktop_width = 1024, INT_U16 desktop_height = 768);
// Stops: closes the window, gives the process clock back and chooses no back end.
void headless_shutdown();
// Makes the next connection fail as a missing server would, with the given reason (null: it
// succeeds again).
void headless_refuse_connection(const char* reason);
// How many presented frames are kept, the oldest dropped first; 16 unless set (at least 1).
void headless_keep_frames(INT_S32 limit);

// ---------------------------------------------------------------------------------------------
// [SECTION] The window and its frames
// ---------------------------------------------------------------------------------------------

struct HEADLESS_WINDOW {
    bool open { false };
    char title[256] {};
    INT_S32 x { 0 };
    INT_S32 y { 0 };
    INT_S32 width { 0 };
    INT_S32 height { 0 };
    bool full_screen { false };
    bool decorated { false };
    INT_S32 windows_made { 0 }; // windows created since the reset (a changed one is not new)
    INT_U8 pointer_shape { 0 };
    bool pointer_hidden { false };
};
[[nodiscard]] const HEADLESS_WINDOW& headless_window();

// One presented picture, packed (width pixels a row), COLOUR words as the back buffer has them.
struct HEADLESS_FRAME {
    INT_S32 number { 0 };   // 1 for the first frame after the reset
    INT_U32 time { 0 };     // the clock when it was presented
    INT_S32 width { 0 };
    INT_S32 height { 0 };
    INT_U32* pixels { nullptr };

    [[nodiscard]] INT_U32 pixel(INT_S32 x, INT_S32 y) const { return pixels[static_cast<size_t>(y) * width + x]; }
};
// Frames presented since the reset, kept or not.
[[nodiscard]] INT_S32 headless_frames_presented();
// The kept frames, 0 the oldest; null outside.
[[nodiscard]] INT_S32 headless_frames_kept();
[[nodiscard]] const HEADLESS_FRAME* headless_frame(INT_S32 index);
// The newest frame, or null.
[[nodiscard]] const HEADLESS_FRAME* headless_last_frame();
// Pumps that found nothing to do and would have slept for the idle time.
[[nodiscard]] INT_S32 headless_idle_waits();

// ---------------------------------------------------------------------------------------------
// [SECTION] Scripted input
// ---------------------------------------------------------------------------------------------

// Positions are in the window's coordinates; outside the window is allowed (the pointer left).
void headless_move_pointer(INT_S32 x, INT_S32 y);
// X button numbers: 1 left, 2 middle, 3 right, 4 wheel up, 5 wheel down. At the pointer's
// last scripted position.
void headless_press_button(INT_S32 x_button);
void headless_release_button(INT_S32 x_button);
// Move, press, frame boundary, release.
void headless_click(INT_S32 x, INT_S32 y, INT_S32 x_button = 1);
// Notches: positive up, negative down.
void headless_wheel(INT_S32 notches);
// A key with its base keysym and the character it types (0 for none). The key stays down for
// key_is_down until released.
void headless_press_key(INT_U32 keysym, INT_U32 character);
void headless_release_key(INT_U32 keysym);
// Press and release.
void headless_type_key(INT_U32 keysym, INT_U32 character);
// Each byte of the text as a key of its own (keysym = the lower-case character).
void headless_type_text(const char* text);
// The window manager's close button.
void headless_request_close();
// The server asks for a rectangle to be drawn again.
void headless_expose(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2);
void headless_set_focus(bool focused);
// What another program offers on the clipboard; null offers nothing.
void headless_set_foreign_clipboard(const char* text);
// Ends the events of one pump: what follows is delivered by the next one.
void headless_end_frame();
// Events not yet delivered (frame boundaries not counted).
[[nodiscard]] INT_S32 headless_pending_events();

// ---------------------------------------------------------------------------------------------
// [SECTION] The clock
// ---------------------------------------------------------------------------------------------

// milliseconds_now answers this clock while the headless back end is in use.
void headless_set_time(INT_U32 milliseconds);
void headless_advance_time(INT_U32 milliseconds);
[[nodiscard]] INT_U32 headless_time();
