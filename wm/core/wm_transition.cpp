// Page transitions: the frames of each effect and the page manager's loops around them.
//
// [SECTION] Progress
// [SECTION] Frames
// [SECTION] The page manager's effects

#include "wm/core/wm_transition.h"

#include <cstdlib>

#include "graphics/colour.h"
#include "graphics/image.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_page_manager.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Progress
// ---------------------------------------------------------------------------------------------

INT_U32 fade_progress(INT_U32 now, INT_U32 start, INT_U32 time)
{
    if (start > now)
        start = now;
    if (time == 0)
        return 255;
    INT_U64 progress = static_cast<INT_U64>(now - start) * 255 / time;
    return progress > 255 ? 255 : static_cast<INT_U32>(progress);
}

INT_U32 capped_elapsed(INT_U32 now, INT_U32 start, INT_U32 time)
{
    if (start > now)
        return 0;
    INT_U32 elapsed = now - start;
    return elapsed > time ? time : elapsed;
}

INT_S32 slide_offset(INT_U32 elapsed, INT_U32 time, INT_S32 direction, INT_S32 width, INT_S32 height)
{
    if (time == 0)
        return direction == SLIDE_UP || direction == SLIDE_DOWN ? height : width;
    if (elapsed > time)
        elapsed = time;
    INT_S64 size = direction == SLIDE_UP || direction == SLIDE_DOWN ? height : width;
    return static_cast<INT_S32>(static_cast<INT_S64>(elapsed) * size / static_cast<INT_S64>(time));
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Frames
// ---------------------------------------------------------------------------------------------

namespace {

// The part of a picture at (x, y) that lies inside the target's clip, in target coordinates.
struct SPAN {
    INT_S32 left, top, right, bottom; // inclusive, in the target
    bool empty;
};

SPAN visible_span(const IMAGE* target, const IMAGE& picture, INT_S32 x, INT_S32 y)
{
    SPAN span { x, y, x + picture.width - 1, y + picture.height - 1, true };
    if (!target || !target->has_pixels() || !picture.has_pixels() || target->clip_is_empty())
        return span;
    if (span.left < target->clip_left)
        span.left = target->clip_left;
    if (span.top < target->clip_top)
        span.top = target->clip_top;
    if (span.right > target->clip_right)
        span.right = target->clip_right;
    if (span.bottom > target->clip_bottom)
        span.bottom = target->clip_bottom;
    span.empty = span.right < span.left || span.bottom < span.top;
    return span;
}

// a * s + (255 - a) * d over 255, per channel, exact at both ends.
inline INT_U32 mix_channel(INT_U32 s, INT_U32 d, INT_U32 a)
{
    return div255(s * a + d * (255 - a));
}

inline INT_U32 mix_pixel(INT_U32 s, INT_U32 d, INT_U32 a)
{
    INT_U32 r = mix_channel(s & 0xFF, d & 0xFF, a);
    INT_U32 g = mix_channel((s >> 8) & 0xFF, (d >> 8) & 0xFF, a);
    INT_U32 b = mix_channel((s >> 16) & 0xFF, (d >> 16) & 0xFF, a);
    return r | (g << 8) | (b << 16) | 0xFF000000u;
}

void mark_span(IMAGE* target, const SPAN& span)
{
    target->mark_dirty(static_cast<INT_S16>(span.left), static_cast<INT_S16>(span.top),
        static_cast<INT_S16>(span.right), static_cast<INT_S16>(span.bottom));
}

} // namespace

void draw_fade_frame(IMAGE* target, const IMAGE& snapshot, INT_S32 x, INT_S32 y, INT_U32 alpha)
{
    SPAN span = visible_span(target, snapshot, x, y);
    if (span.empty)
        return;
    if (alpha > 255)
        alpha = 255;
    // A table per frame: the channel's value times alpha over 255 for every channel value.
    INT_U8 scaled[256];
    for (INT_U32 v = 0; v < 256; ++v)
        scaled[v] = static_cast<INT_U8>(mix_channel(v, 0, alpha));
    for (INT_S32 row = span.top; row <= span.bottom; ++row) {
        const COLOUR* source = snapshot.row(row - y) + (span.left - x);
        COLOUR* out = target->row(row) + span.left;
        for (INT_S32 column = span.left; column <= span.right; ++column, ++source, ++out) {
            INT_U32 s = source->value;
            out->value = INT_U32(scaled[s & 0xFF]) | (INT_U32(scaled[(s >> 8) & 0xFF]) << 8)
                | (INT_U32(scaled[(s >> 16) & 0xFF]) << 16) | 0xFF000000u;
        }
    }
    mark_span(target, span);
}

void draw_crossfade_frame(IMAGE* target, const IMAGE& old_picture, const IMAGE& new_picture, INT_S32 x, INT_S32 y,
    INT_U32 alpha)
{
    SPAN span = visible_span(target, new_picture, x, y);
    if (span.empty || old_picture.width != new_picture.width || old_picture.height != new_picture.height)
        return;
    if (alpha > 255)
        alpha = 255;
    for (INT_S32 row = span.top; row <= span.bottom; ++row) {
        const COLOUR* from = old_picture.row(row - y) + (span.left - x);
        const COLOUR* to = new_picture.row(row - y) + (span.left - x);
        COLOUR* out = target->row(row) + span.left;
        for (INT_S32 column = span.left; column <= span.right; ++column, ++from, ++to, ++out)
            out->value = mix_pixel(to->value, from->value, alpha);
    }
    mark_span(target, span);
}

void draw_grey_frame(IMAGE* target, const IMAGE& snapshot, INT_S32 x, INT_S32 y, INT_U32 elapsed, INT_U32 time,
    bool to_grey, bool luminance)
{
    SPAN span = visible_span(target, snapshot, x, y);
    if (span.empty)
        return;
    if (time == 0) {
        elapsed = 1;
        time = 1;
    }
    if (elapsed > time)
        elapsed = time;
    // The way from a channel to its grey, d * elapsed / time truncated as the integers do it,
    // for every difference d from -255 to 255; one division per difference, not per pixel.
    INT_S16 step[511];
    for (INT_S32 d = -255; d <= 255; ++d)
        step[d + 255] = static_cast<INT_S16>(static_cast<INT_S64>(d) * elapsed / time);
    for (INT_S32 row = span.top; row <= span.bottom; ++row) {
        const COLOUR* source = snapshot.row(row - y) + (span.left - x);
        COLOUR* out = target->row(row) + span.left;
        for (INT_S32 column = span.left; column <= span.right; ++column, ++source, ++out) {
            INT_S32 r = source->red(), g = source->green(), b = source->blue();
            INT_S32 grey = luminance ? (30 * r + 59 * g + 11 * b) / 100 : (r + g + b) / 3;
            INT_S32 channel[3] = { r, g, b };
            INT_U32 value = 0xFF000000u;
            for (int c = 0; c < 3; ++c) {
                INT_S32 from = to_grey ? channel[c] : grey;
                INT_S32 goal = to_grey ? grey : channel[c];
                value |= static_cast<INT_U32>(from + step[goal - from + 255]) << (8 * c);
            }
            out->value = value;
        }
    }
    mark_span(target, span);
}

void draw_slide_frame(IMAGE* target, const IMAGE& old_picture, const IMAGE& new_picture, INT_S32 x, INT_S32 y,
    INT_S32 direction, INT_S32 mode, INT_S32 offset)
{
    if (!target)
        return;
    INT_S32 width = new_picture.width, height = new_picture.height;
    // Where each picture stands: the new one starts a whole side away and arrives at (x, y).
    INT_S32 old_dx = 0, old_dy = 0, new_dx = 0, new_dy = 0;
    switch (direction) {
    case SLIDE_LEFT:
        old_dx = -offset;
        new_dx = width - offset;
        break;
    case SLIDE_RIGHT:
        old_dx = offset;
        new_dx = offset - width;
        break;
    case SLIDE_UP:
        old_dy = -offset;
        new_dy = height - offset;
        break;
    default:
        old_dy = offset;
        new_dy = offset - height;
        break;
    }
    if (mode == SLIDE_COVER)
        old_dx = old_dy = 0;
    if (mode == SLIDE_REVEAL)
        new_dx = new_dy = 0;
    auto put = [&](const IMAGE& picture, INT_S32 dx, INT_S32 dy) {
        IMAGE::blit(target, &picture, 0, 0, static_cast<INT_S16>(x + dx), static_cast<INT_S16>(y + dy),
            picture.width, picture.height, BLIT_COPY);
    };
    // The one that stands goes first; in a push neither covers the other.
    if (mode == SLIDE_REVEAL) {
        put(new_picture, new_dx, new_dy);
        put(old_picture, old_dx, old_dy);
    } else {
        put(old_picture, old_dx, old_dy);
        put(new_picture, new_dx, new_dy);
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The page manager's effects
// ---------------------------------------------------------------------------------------------

namespace {

// The effect rectangle of a transition, in the target.
struct EFFECT_AREA {
    INT_S32 x, y, width, height;
    INT_S32 grab_x, grab_y; // where the pictures are copied from
};

EFFECT_AREA effect_area(const WM_PAGE_MANAGER& manager, const IMAGE* target)
{
    if (!manager.effect_rect_set)
        return { 0, 0, target->width, target->height, 0, 0 };
    EFFECT_AREA area {};
    area.x = manager.effect_x1;
    area.y = manager.effect_y1;
    area.width = manager.effect_x2 + 1 - manager.effect_x1;
    area.height = manager.effect_y2 + 1 - manager.effect_y1;
    // The pictures have always been taken from (x1, x1): the left edge for both axes. Effects
    // that were tuned against it would shift if this changed, so it stays.
    area.grab_x = manager.effect_x1;
    area.grab_y = manager.effect_x1;
    return area;
}

// A copy of the effect rectangle of the target, made opaque.
bool snapshot_of(IMAGE* target, const EFFECT_AREA& area, IMAGE* picture)
{
    if (area.width < 1 || area.height < 1)
        return false;
    picture->set_size(static_cast<INT_S16>(area.width), static_cast<INT_S16>(area.height));
    picture->set_clip(0, 0, static_cast<INT_S16>(area.width - 1), static_cast<INT_S16>(area.height - 1));
    IMAGE::blit(picture, target, static_cast<INT_S16>(area.grab_x), static_cast<INT_S16>(area.grab_y), 0, 0,
        static_cast<INT_S16>(area.width), static_cast<INT_S16>(area.height), BLIT_COPY);
    picture->set_alpha(255, false, false);
    return true;
}

// The draw target's clip narrowed to the effect's area for one frame, and put back after.
class EFFECT_CLIP {
public:
    EFFECT_CLIP(IMAGE* target, const EFFECT_AREA& area) : m_kept(target)
    {
        target->set_clip(static_cast<INT_S16>(area.x), static_cast<INT_S16>(area.y),
            static_cast<INT_S16>(area.x + area.width - 1), static_cast<INT_S16>(area.y + area.height - 1));
    }

private:
    WM_CLIP_KEEPER m_kept;
};

} // namespace

void WM_PAGE_MANAGER::change_page(INT_S32 code, INT_S32 area)
{
    IMAGE* target = wm_toolkit.draw_target;
    transition_frames = 0;
    // No picture to work on, no time to spend, or no effect asked for: the page comes at once.
    if (code == WM_ACTION_PAGE || transition_time == 0 || !target || !target->has_pixels()) {
        process_all(area);
        return;
    }
    EFFECT_AREA region = effect_area(*this, target);
    if (region.width < 1 || region.height < 1) {
        process_all(area);
        return;
    }
    if (pointer_shapes_in_use && busy_pointer_in_use)
        wm_set_pointer_shape(6, false);

    bool luminance = !fast_greyscale;
    IMAGE old_picture, new_picture;

    // One timed loop: frame(now, start) drawn inside the effect's area and presented, until the
    // time is up; the last frame is the one at the full time (a fade at 255, a slide home).
    auto run_frames = [&](INT_U32 time, auto&& frame) {
        INT_U32 start = wm_now();
        for (;;) {
            INT_U32 now = wm_now();
            if (start > now)
                start = now;
            {
                EFFECT_CLIP clip(target, region);
                frame(now, start);
            }
            wm_present();
            ++transition_frames;
            if (now - start >= time)
                break;
        }
    };
    auto run_fade = [&](const IMAGE& picture, INT_U32 time, bool in) {
        run_frames(time, [&](INT_U32 now, INT_U32 start) {
            INT_U32 progress = fade_progress(now, start, time);
            draw_fade_frame(target, picture, region.x, region.y, in ? progress : 255 - progress);
        });
    };
    auto run_grey = [&](const IMAGE& picture, INT_U32 time, bool to_grey) {
        run_frames(time, [&](INT_U32 now, INT_U32 start) {
            INT_U32 elapsed = capped_elapsed(now, start, time);
            draw_grey_frame(target, picture, region.x, region.y, elapsed, time, to_grey, luminance);
        });
    };

    switch (code) {
    case WM_ACTION_PAGE_CROSSFADE: {
        snapshot_of(target, region, &old_picture);
        process_all(area);
        snapshot_of(target, region, &new_picture);
        run_frames(transition_time, [&](INT_U32 now, INT_U32 start) {
            INT_U32 progress = fade_progress(now, start, transition_time);
            draw_crossfade_frame(target, old_picture, new_picture, region.x, region.y, progress);
        });
        break;
    }
    case WM_ACTION_PAGE_FADE_IN:
        process_all(area);
        snapshot_of(target, region, &new_picture);
        run_fade(new_picture, transition_time, true);
        break;
    case WM_ACTION_PAGE_FROM_GREY:
        process_all(area);
        snapshot_of(target, region, &new_picture);
        run_grey(new_picture, transition_time, false);
        break;
    case WM_ACTION_PAGE_FADE_OUT_IN:
    case WM_ACTION_PAGE_GREY_OUT_IN: {
        // Each half gets half the time; a time of 1 leaves halves of 0, which come at once.
        INT_U32 whole = transition_time;
        INT_U32 half = whole / 2;
        snapshot_of(target, region, &old_picture);
        if (half > 0) {
            if (code == WM_ACTION_PAGE_FADE_OUT_IN)
                run_fade(old_picture, half, false);
            else
                run_grey(old_picture, half, true);
        }
        process_all(area);
        snapshot_of(target, region, &new_picture);
        if (half > 0) {
            if (code == WM_ACTION_PAGE_FADE_OUT_IN)
                run_fade(new_picture, half, true);
            else
                run_grey(new_picture, half, false);
        }
        break;
    }
    case WM_ACTION_PAGE_FADE_OUT:
        snapshot_of(target, region, &old_picture);
        run_fade(old_picture, transition_time, false);
        process_all(area);
        break;
    case WM_ACTION_PAGE_GREY_OUT:
        snapshot_of(target, region, &old_picture);
        run_grey(old_picture, transition_time, true);
        process_all(area);
        break;
    default: {
        // The slides: cover, reveal and push, five directions each.
        INT_S32 base = code >= WM_ACTION_PAGE_PUSH ? WM_ACTION_PAGE_PUSH
            : code >= WM_ACTION_PAGE_REVEAL        ? WM_ACTION_PAGE_REVEAL
                                                   : WM_ACTION_PAGE_COVER;
        INT_S32 mode = base == WM_ACTION_PAGE_PUSH ? SLIDE_PUSH : base == WM_ACTION_PAGE_REVEAL ? SLIDE_REVEAL : SLIDE_COVER;
        INT_S32 direction = code - base;
        if (direction == SLIDE_RANDOM)
            direction = 1 + rand() % 4;
        snapshot_of(target, region, &old_picture);
        process_all(area);
        snapshot_of(target, region, &new_picture);
        run_frames(transition_time, [&](INT_U32 now, INT_U32 start) {
            INT_U32 elapsed = capped_elapsed(now, start, transition_time);
            draw_slide_frame(target, old_picture, new_picture, region.x, region.y, direction, mode,
                slide_offset(elapsed, transition_time, direction, region.width, region.height));
        });
        break;
    }
    }
    if (pointer_shapes_in_use && busy_pointer_in_use)
        wm_set_pointer_shape(last_pointer_shape >= 0 ? last_pointer_shape : 0, false);
}
