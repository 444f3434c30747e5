// The server's pixel layout and the conversion of a frame into it.
//
// The picture is composed as COLOUR words (red in the low byte); the server wants its own order
// and depth. The shifts move each 8-bit channel into place; for 16 bits per pixel the losses
// first drop the bits the channel has no room for (5-6-5: 3, 2, 3). Only 16 and 32 bits per
// pixel are shown; any other layout is refused.
#pragma once

#include "base/orlu_types.h"
#include "host/display.h"

struct PIXEL_FORMAT {
    INT_S32 bits_per_pixel { 0 };
    INT_S32 red_shift { 0 };
    INT_S32 green_shift { 0 };
    INT_S32 blue_shift { 0 };
    INT_S32 red_loss { 0 };
    INT_S32 green_loss { 0 };
    INT_S32 blue_loss { 0 };
};

// The shift of a mask is its count of trailing zero bits; the loss (16 bits per pixel only) is 8
// less the number of consecutive one bits from there. False for any bits_per_pixel other than 16
// or 32, and for an empty mask.
[[nodiscard]] bool pixel_format_from_masks(INT_S32 bits_per_pixel, INT_U32 red_mask, INT_U32 green_mask,
    INT_U32 blue_mask, PIXEL_FORMAT* format);

// Converts the whole frame into `out`, whose rows are `out_pitch` bytes apart. 32 bits per pixel
// set 0xFF000000 on top, so that a window with an alpha channel is opaque.
void convert_frame(const DISPLAY_PIXELS& frame, const PIXEL_FORMAT& format, INT_U8* out, INT_S32 out_pitch);
