// The dirty rectangle list and its merging.

#include "wm/core/wm_dirty_list.h"

void WM_DIRTY_RECT::unite(const WM_DIRTY_RECT& other)
{
    if (other.x1 < x1)
        x1 = other.x1;
    if (other.y1 < y1)
        y1 = other.y1;
    if (other.x2 > x2)
        x2 = other.x2;
    if (other.y2 > y2)
        y2 = other.y2;
}

bool WM_DIRTY_LIST::is_near(const WM_DIRTY_RECT& existing, const WM_DIRTY_RECT& rect, bool all_sides) const
{
    INT_S32 margin = merge_margin;
    bool left = existing.x2 + margin >= rect.x1;
    bool right = rect.x2 >= existing.x1 - margin;
    bool top = existing.y2 + margin >= rect.y1;
    bool bottom = rect.y2 >= existing.y1 - margin;
    if (all_sides)
        return left && right && top && bottom;
    return left || right || top || bottom;
}

// The last entry moves into the gap: the order of the list means nothing to the repaint.
void WM_DIRTY_LIST::take_out(INT_S32 index)
{
    rects[index] = rects[count - 1];
    --count;
}

void WM_DIRTY_LIST::add(const WM_DIRTY_RECT& rect_in, const WM_DIRTY_RECT& display)
{
    if (rect_in.x2 < rect_in.x1 || rect_in.y2 < rect_in.y1)
        return;
    WM_DIRTY_RECT rect = rect_in;

    switch (merge_mode) {
    case DIRTY_MERGE_BOUNDING:
        if (count == 0) {
            rects[0] = rect;
            count = 1;
        } else {
            rects[0].unite(rect);
        }
        return;
    case DIRTY_MERGE_DISPLAY:
        rects[0] = display;
        count = 1;
        return;
    case DIRTY_MERGE_NONE:
        if (count >= DIRTY_LIST_SIZE)
            rects[0].unite(rect);
        else
            rects[count++] = rect;
        return;
    case DIRTY_MERGE_ANY_SIDE:
        for (INT_S32 i = 0; i < count; ++i) {
            if (rects[i].contains(rect))
                return;
        }
        for (INT_S32 i = 0; i < count; ++i) {
            if (is_near(rects[i], rect, false)) {
                rects[i].unite(rect);
                return;
            }
        }
        if (count >= DIRTY_LIST_SIZE)
            rects[0].unite(rect);
        else
            rects[count++] = rect;
        return;
    default:
        break;
    }

    // Nearby merging: every merge makes the new rectangle larger, so the scan starts again until
    // nothing near is left. Each pass removes an entry, so this ends within `count` passes.
    bool merged = true;
    while (merged) {
        merged = false;
        for (INT_S32 i = 0; i < count; ++i) {
            if (rects[i].contains(rect))
                return;
        }
        for (INT_S32 i = 0; i < count; ++i) {
            if (is_near(rects[i], rect, true)) {
                rect.unite(rects[i]);
                take_out(i);
                merged = true;
                break;
            }
        }
    }
    if (count > DIRTY_LIST_SIZE - 1) {
        rects[0].unite(rect);
        return;
    }
    rects[count++] = rect;
}
