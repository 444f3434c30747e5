// The list of screen rectangles that need painting again. Changes only record rectangles here;
// at the end of the frame the page manager repaints, rectangle by rectangle, everything that
// touches one. Nearby rectangles are merged so that a busy frame does not repaint the same pixels
// many times, and the list never allocates: 128 entries, and the 129th that cannot merge grows
// entry 0 instead.
#pragma once

#include "base/orlu_types.h"

// Inclusive on all sides. The field order is the list's own: top, left, right, bottom.
struct WM_DIRTY_RECT {
    INT_S16 y1 { 0 };
    INT_S16 x1 { 0 };
    INT_S16 x2 { 0 };
    INT_S16 y2 { 0 };

    [[nodiscard]] bool contains(const WM_DIRTY_RECT& other) const
    {
        return other.x1 >= x1 && other.x2 <= x2 && other.y1 >= y1 && other.y2 <= y2;
    }
    [[nodiscard]] bool overlaps(INT_S32 left, INT_S32 top, INT_S32 right, INT_S32 bottom) const
    {
        return left <= x2 && right >= x1 && top <= y2 && bottom >= y1;
    }
    void unite(const WM_DIRTY_RECT& other);
};

// How a new rectangle joins the list. Only MERGE_NEARBY is used by the toolkit; the others are
// kept as settings for applications that want less bookkeeping.
enum WM_DIRTY_MERGE_MODE : INT_U8 {
    DIRTY_MERGE_BOUNDING = 0, // one rectangle in entry 0 that bounds everything
    DIRTY_MERGE_NONE = 1,     // appended as they come
    DIRTY_MERGE_ANY_SIDE = 2, // merged with the first rectangle that is near on any one side
    DIRTY_MERGE_NEARBY = 3,   // merged with every rectangle that is near on all four sides
    DIRTY_MERGE_DISPLAY = 4,  // entry 0 becomes the whole display
};

constexpr INT_S32 DIRTY_LIST_SIZE = 128;
constexpr INT_S32 DIRTY_MERGE_MARGIN = 32;

class WM_DIRTY_LIST {
public:
    // Adds a rectangle that is already clipped to its display (whose size `display` gives, for
    // DIRTY_MERGE_DISPLAY). An inverted rectangle is ignored.
    void add(const WM_DIRTY_RECT& rect, const WM_DIRTY_RECT& display);
    void clear() { count = 0; }
    [[nodiscard]] bool is_empty() const { return count == 0; }

    WM_DIRTY_RECT rects[DIRTY_LIST_SIZE] {};
    INT_S32 count { 0 };
    INT_U8 merge_mode { DIRTY_MERGE_NEARBY };
    INT_S16 merge_margin { DIRTY_MERGE_MARGIN };

private:
    // Whether `existing` lies within the margin of `rect` on all four sides at once (all_sides)
    // or on at least one of the four comparisons.
    [[nodiscard]] bool is_near(const WM_DIRTY_RECT& existing, const WM_DIRTY_RECT& rect, bool all_sides) const;
    void take_out(INT_S32 index);
};
