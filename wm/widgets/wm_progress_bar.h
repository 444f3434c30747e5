// WM_PROGRESS_BAR: a value out of a total, across or up, with colour fills or skin images, the
// percentage or a title inside, and images that may scroll as an animation.
#pragma once

#include <cstddef>

#include "base/orlu_types.h"

// --- Arithmetic of the bar, apart from the screen -------------------------------------------

// Pixels of a track `length` long that the fill covers: length * value / total + 1, a total of 0
// counting as full. A fill no longer than two borders is raised to that plus 1, so a bar that has
// barely begun still shows a cap; and it never leaves the track, whatever the value: a value
// below 0 shows the cap, one above the total a full bar.
INT_S32 progress_fill_length(INT_S32 length, INT_S32 value, INT_S32 total, INT_S32 thickness);

// "%ld%%" of value * 100 / total, "100%" for a total of 0. The value is shown as it is, so an
// overshoot reads as such ("150%").
const char* progress_percentage_text(INT_S32 value, INT_S32 total, char* buffer, size_t size);
// The figure shown for the rest of the bar, (10000 - 100 * value) / total: it agrees with
// 100 minus the percentage only for a total of 100, which is how skins have always shown it.
const char* progress_alt_percentage_text(INT_S32 value, INT_S32 total, char* buffer, size_t size);

// One axis of the image scrolling: `elapsed` milliseconds at `rate` milliseconds a pixel (the
// sign is the direction) moved `scroll` on, wrapped into 0..size-1. A size below 1 or a rate of
// 0 leaves it.
INT_S16 progress_scroll_step(INT_S16 scroll, INT_S32 size, INT_S16 rate, INT_U32 elapsed);
