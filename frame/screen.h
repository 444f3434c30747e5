// The screen: the one window and its BACK_BUFFER, the display-sized image that everything is
// drawn into. The host's display door (host/display.h) shows the buffer's pixels; this layer owns
// the image, keeps it the window's size and sends it only when something in it changed.
//
// Display numbers: 0 is the one display; 0xFFFF means all of them, which is the same here. Any
// other number has no window and no image.
#pragma once

#include "base/orlu_types.h"
#include "graphics/image.h"
#include "host/display.h"
#include "host/input.h"

constexpr INT_U16 ALL_DISPLAYS = 0xFFFF;

// Makes or changes the window and sizes the BACK_BUFFER to it (cleared to opaque black when the
// size changed). False when the request cannot be met or no display can be had (the reason is
// in display_failure_text); the three fatal cases of the display (no root window or no window,
// no conversion image, a colour depth other than 16 or 32 bits per pixel) end the program with
// their codes 0x0000, 0x0010 and 0x0012. Display numbers other than 0 answer false.
[[nodiscard]] bool open_window(const WINDOW_REQUEST& request, INT_U16 display);
// 0 or 0xFFFF closes the window if one is open, and empties the BACK_BUFFER.
void close_window(INT_U16 display);
void set_window_title(const char* title, INT_U16 display);
// Shows the BACK_BUFFER if anything in it changed since the last time (its dirty rectangle is
// the changed-or-not flag), whole; then the dirty rectangle is cleared. 0 and 0xFFFF only.
void swap_screens(INT_U16 display);

// The BACK_BUFFER of display 0 (or 0xFFFF), null for others. It is locked: only the window code
// changes its size. The graphics layer's null target (graphics_back_buffer) is this image.
[[nodiscard]] BACK_BUFFER* back_buffer_of(INT_U16 display);
// True for display 0 while a window is open.
[[nodiscard]] bool display_exists(INT_U16 display);
// The size of the BACK_BUFFER; 0 for other displays.
[[nodiscard]] INT_S16 display_width(INT_U16 display);
[[nodiscard]] INT_S16 display_height(INT_U16 display);
