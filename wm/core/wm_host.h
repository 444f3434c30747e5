// The toolkit's one door to the display and input layer. Every read of the pointer, the keys and
// the clock, and every question about displays and back buffers, goes through these few calls,
// so that the rest of the toolkit does not care which back end the application linked (the X11
// window or the in-memory display of the tests).
#pragma once

#include "base/orlu_types.h"
#include "host/input.h"

class IMAGE;

// The right Control key; the others the toolkit acts on are in host/input.h.
constexpr INT_U32 WM_KEY_CONTROL_RIGHT = 65508;

// --- Displays ------------------------------------------------------------------------------------
// The back buffer of a display, or null when it has none (no window open, or another number).
[[nodiscard]] IMAGE* wm_back_buffer(INT_S32 display);
[[nodiscard]] bool wm_display_exists(INT_S32 display);
// Size of the display's back buffer; 0 when it has none.
[[nodiscard]] INT_S32 wm_display_width(INT_S32 display);
[[nodiscard]] INT_S32 wm_display_height(INT_S32 display);
// The display under a point (coordinates above 4095 address further displays).
[[nodiscard]] INT_S32 wm_display_at(INT_S32 x, INT_S32 y);
// Makes every back buffer visible (a no-op for a buffer that has not changed).
void wm_present();
// Pointer shape 0 to 6 (255 frees them); false when the display cannot make it.
bool wm_set_pointer_shape(INT_S32 shape, bool test_only);

// --- Input -----------------------------------------------------------------------------------------
[[nodiscard]] INT_S16 wm_pointer_x();
[[nodiscard]] INT_S16 wm_pointer_y();
[[nodiscard]] INT_U32 wm_button_mask();
// Moves the pointer state that widgets read, without warping the real pointer (the simulated
// pointer of the page manager).
void wm_set_pointer_state(INT_S16 x, INT_S16 y, INT_U32 buttons);
[[nodiscard]] bool wm_key_down(INT_U32 keysym);
// The last key pressed, 0 when none; wm_take_last_key answers it and clears it.
[[nodiscard]] INT_U32 wm_last_key();
INT_U32 wm_take_last_key();
// Gives the shared typed-character buffer `size` characters unless it has that many already.
void wm_use_char_buffer(INT_S32 size);

// --- Time --------------------------------------------------------------------------------------------
[[nodiscard]] INT_U32 wm_now();
