// Page transitions: what one frame of each effect draws, and the arithmetic of its progress.
// The page manager copies the pictures it needs from the back buffer before and after entering
// the new page, then loops: read the clock, draw a frame with these, present, until the time is
// up. Keeping the frames here, apart from the loop, lets each one be checked at any moment.
//
// Snapshots are plain IMAGEs of the effect rectangle's size, drawn at (x, y) of the target; the
// target's clip limits every frame.
#pragma once

#include "base/orlu_types.h"

class IMAGE;

// Fade progress: (now - start) * 255 / time, clamped to 0..255. A start later than now counts
// as now; a time of 0 is complete at once.
[[nodiscard]] INT_U32 fade_progress(INT_U32 now, INT_U32 start, INT_U32 time);
// Elapsed time of the timed effects, capped at `time`.
[[nodiscard]] INT_U32 capped_elapsed(INT_U32 now, INT_U32 start, INT_U32 time);

// Every pixel of the snapshot over opaque black at `alpha` (0 black, 255 the snapshot itself):
// the fade-in draws it with the progress, the fade-out with 255 minus it.
void draw_fade_frame(IMAGE* target, const IMAGE& snapshot, INT_S32 x, INT_S32 y, INT_U32 alpha);
// The old snapshot, with the new one over it at `alpha`.
void draw_crossfade_frame(IMAGE* target, const IMAGE& old_picture, const IMAGE& new_picture, INT_S32 x, INT_S32 y,
    INT_U32 alpha);
// Each pixel moved `elapsed / time` of the way between itself and its grey (to_grey), or from
// its grey back to itself, per channel in integers; written opaque. luminance chooses
// (30 r + 59 g + 11 b) / 100 over (r + g + b) / 3.
void draw_grey_frame(IMAGE* target, const IMAGE& snapshot, INT_S32 x, INT_S32 y, INT_U32 elapsed, INT_U32 time,
    bool to_grey, bool luminance);
// Both pictures moved by `offset` pixels in the slide's direction (1 left, 2 right, 3 up,
// 4 down): the new one enters from the far side, the old one leaves. Mode 0 keeps the old one
// still (the new covers it), 1 keeps the new one still (the old slides off it), 2 moves both.
void draw_slide_frame(IMAGE* target, const IMAGE& old_picture, const IMAGE& new_picture, INT_S32 x, INT_S32 y,
    INT_S32 direction, INT_S32 mode, INT_S32 offset);
// The slide's offset after `elapsed` of `time`: elapsed * size / time, size being the width for
// left and right and the height for up and down.
[[nodiscard]] INT_S32 slide_offset(INT_U32 elapsed, INT_U32 time, INT_S32 direction, INT_S32 width, INT_S32 height);
