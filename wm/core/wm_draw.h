// Small drawing helpers every face painter needs: keeping the draw target's clip across a
// narrowed paint, bringing a coordinate into the 16-bit range the images draw with, and an image
// to measure texts against before anything is drawn.
#pragma once

#include "base/orlu_types.h"
#include "graphics/image.h"

// The clip of an image as it stands, put back exactly (empty or not) on leaving the scope.
class WM_CLIP_KEEPER {
public:
    explicit WM_CLIP_KEEPER(IMAGE* image)
        : target(image)
        , left(image->clip_left)
        , right(image->clip_right)
        , top(image->clip_top)
        , bottom(image->clip_bottom)
        , valid(image->clip_valid)
    {
    }
    ~WM_CLIP_KEEPER() { restore(); }
    WM_CLIP_KEEPER(const WM_CLIP_KEEPER&) = delete;
    WM_CLIP_KEEPER& operator=(const WM_CLIP_KEEPER&) = delete;

    // Puts the kept clip back now (and again on leaving the scope).
    void restore() const
    {
        target->clip_left = left;
        target->clip_right = right;
        target->clip_top = top;
        target->clip_bottom = bottom;
        target->clip_valid = valid;
    }

private:
    IMAGE* target;
    INT_S16 left, right, top, bottom;
    INT_U8 valid;
};

// A coordinate held to the range of INT_S16: far off-screen stays far off-screen instead of
// wrapping round onto it.
inline INT_S16 clamp_s16(INT_S64 value)
{
    if (value > 32767)
        return 32767;
    if (value < -32768)
        return -32768;
    return static_cast<INT_S16>(value);
}

// The draw target, or before there is one an empty image with the default font settings, so that
// widgets made before the display can still measure their texts.
[[nodiscard]] const IMAGE* wm_measuring_target();
