// WM_ANIMATION: a strip of frames in one picture (each frame the picture's height divided by the
// frame count), one frame drawn at a time, centred in the rectangle.
//
//   state    | frame_delay passes (or the clock went back) | frame 1 reached with play_once
//   ---------+---------------------------------------------+--------------------------------
//   playing  | next frame, wrapping to 1 after the last    | stopped
//   stopped  |                                             |
#pragma once

#include "graphics/image.h"
#include "wm/core/wm_screen_object.h"

class WM_ANIMATION : public WM_SCREEN_OBJECT {
public:
    // A copy of the strip is kept. Fewer than one frame is fatal 0x28 ("Invalid number of sprite
    // images specified"), no strip fatal 0x29 ("Unable to allocate memory for sprite image").
    WM_ANIMATION(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const IMAGE* strip, INT_S32 frame_count,
        INT_U16 frame_delay, WM_CALLBACK left_callback = nullptr, PTR_INT_CAST left_data1 = 0,
        PTR_INT_CAST left_data2 = 0);

    void play(bool once);
    void stop() { playing = 0; }

    INT_S32 update() override;
    INT_S32 animate(bool overlays) override;
    bool can_take_focus() override { return false; }
    void paint() override;

    // --- Fields, in the record's order ----------------------------------------------------------
    IMAGE strip;
    INT_S32 frame { 1 };
    INT_S32 frame_count { 1 };
    INT_S16 frame_width { 0 };
    INT_S16 frame_height { 0 };
    INT_S16 draw_x { 0 };
    INT_S16 draw_y { 0 };
    INT_U8 left_was_down { 0 };
    INT_U8 playing { 1 };
    INT_U8 play_once { 0 };
    INT_U8 press_started { 0 };
    INT_U8 synchronous { 0 };
    INT_S16 click_x { -1 };
    INT_S16 click_y { -1 };
    INT_U16 frame_delay { 100 };
    INT_U32 last_step { 0 };
    INT_U16 shading_sides { 0 };
    INT_S32 click_trigger { 1 };
};
