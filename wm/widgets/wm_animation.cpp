#include "wm/widgets/wm_animation.h"

#include "base/error_report.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"

namespace {

} // namespace

WM_ANIMATION::WM_ANIMATION(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const IMAGE* source,
    INT_S32 frame_count_, INT_U16 frame_delay_, WM_CALLBACK left_callback_, PTR_INT_CAST left_data1_,
    PTR_INT_CAST left_data2_)
    : WM_SCREEN_OBJECT(true, left_callback_, left_data1_, left_data2_)
{
    type_flags |= WM_TYPE_ANIMATION;
    if (frame_count_ < 1)
        fatal_error(0x28, nullptr);
    if (!source || !source->has_pixels())
        fatal_error(0x29, nullptr);
    x = x_;
    y = y_;
    width = static_cast<INT_U16>(width_ < 1 ? 1 : width_);
    height = static_cast<INT_U16>(height_ < 1 ? 1 : height_);
    strip.set_size(source->width, source->height);
    IMAGE::blit(&strip, source, 0, 0, 0, 0, source->width, source->height, BLIT_COPY);
    frame_count = frame_count_;
    frame_width = strip.width;
    frame_height = clamp_s16(strip.height / frame_count);
    frame_delay = frame_delay_;
    last_step = wm_now();
    notify_created();
}

void WM_ANIMATION::play(bool once)
{
    playing = 1;
    play_once = once;
    last_step = wm_now();
}

INT_S32 WM_ANIMATION::animate(bool overlays)
{
    INT_S32 code = WM_SCREEN_OBJECT::animate(overlays);
    if (!visible || !playing)
        return code;
    INT_U32 now = wm_now();
    bool due = now - last_step >= frame_delay;
    bool clock_went_back = static_cast<INT_S32>(now - last_step) < 0;
    if (!due && !clock_went_back)
        return code;
    last_step = now;
    frame = frame >= frame_count ? 1 : frame + 1;
    if (synchronous) {
        redraw_now();
        wm_present();
    } else {
        show(false);
    }
    if (play_once && frame == 1)
        playing = 0;
    return code ? code : 1;
}

INT_S32 WM_ANIMATION::update()
{
    INT_S32 code = WM_SCREEN_OBJECT::update();
    if (code || !visible)
        return code;
    return left_click_step(left_was_down, click_trigger, click_x, click_y);
}

void WM_ANIMATION::paint()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || frame_height < 1)
        return;
    draw_x = clamp_s16(x + (static_cast<INT_S32>(width) - frame_width) / 2);
    draw_y = clamp_s16(y + (static_cast<INT_S32>(height) - frame_height) / 2);
    strip.draw_part(
        draw_x, draw_y, 0, clamp_s16((frame - 1) * frame_height), frame_width, frame_height, target, BLIT_ALPHA);
    if (shading_sides)
        draw_shaded_box(draw_x, draw_y, draw_x + frame_width - 1, draw_y + frame_height - 1, shading_sides,
            COLOUR_INVISIBLE, shading_type, -1);
}
