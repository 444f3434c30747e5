// The dirty rectangle list: containment, merging within the margin, the 128-entry limit and the
// other merge modes.

#include <gtest/gtest.h>

#include <vector>

#include "wm/core/wm_dirty_list.h"

namespace {

WM_DIRTY_RECT rect(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2)
{
    WM_DIRTY_RECT r;
    r.x1 = x1;
    r.y1 = y1;
    r.x2 = x2;
    r.y2 = y2;
    return r;
}

const WM_DIRTY_RECT display = rect(0, 0, 1919, 1079);

void expect_rect(const WM_DIRTY_RECT& r, INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2)
{
    EXPECT_EQ(r.x1, x1);
    EXPECT_EQ(r.y1, y1);
    EXPECT_EQ(r.x2, x2);
    EXPECT_EQ(r.y2, y2);
}

} // namespace

TEST(WM_DIRTY_LIST, each_mode_keeps_merges_or_drops_what_is_added)
{
    struct CASE {
        const char* what;
        INT_U8 mode;
        std::vector<WM_DIRTY_RECT> added;
        std::vector<WM_DIRTY_RECT> kept;
    } cases[] = {
        { "inside another: dropped", DIRTY_MERGE_NEARBY, { rect(10, 10, 100, 100), rect(20, 20, 30, 30) },
            { rect(10, 10, 100, 100) } },
        { "inverted: ignored", DIRTY_MERGE_NEARBY, { rect(50, 10, 40, 20), rect(10, 50, 20, 40) }, {} },
        // 31 pixels of gap to the right (columns 10 to 40): the right edge plus the margin reaches
        // the new left edge, and the rectangles are near on every side.
        { "within the margin: merged", DIRTY_MERGE_NEARBY, { rect(0, 0, 9, 9), rect(41, 0, 50, 9) },
            { rect(0, 0, 50, 9) } },
        { "beyond the margin: apart", DIRTY_MERGE_NEARBY,
            { rect(0, 0, 9, 9), rect(42, 0, 50, 9), rect(0, 42, 9, 50) },
            { rect(0, 0, 9, 9), rect(42, 0, 50, 9), rect(0, 42, 9, 50) } },
        { "near on one side only: apart", DIRTY_MERGE_NEARBY, { rect(0, 0, 9, 9), rect(5, 500, 15, 510) },
            { rect(0, 0, 9, 9), rect(5, 500, 15, 510) } },
        // Near the first; the union (0..60) is then near the second as well.
        { "a merge scans again", DIRTY_MERGE_NEARBY, { rect(0, 0, 9, 9), rect(90, 0, 99, 9), rect(40, 0, 60, 9) },
            { rect(0, 0, 99, 9) } },
        { "bounding", DIRTY_MERGE_BOUNDING, { rect(0, 0, 9, 9), rect(500, 500, 509, 509) },
            { rect(0, 0, 509, 509) } },
        { "none: not even containment", DIRTY_MERGE_NONE, { rect(0, 0, 9, 9), rect(2, 2, 5, 5) },
            { rect(0, 0, 9, 9), rect(2, 2, 5, 5) } },
        { "any side: near on one comparison", DIRTY_MERGE_ANY_SIDE, { rect(0, 0, 9, 9), rect(5, 500, 15, 510) },
            { rect(0, 0, 15, 510) } },
        { "display", DIRTY_MERGE_DISPLAY, { rect(5, 5, 6, 6) }, { rect(0, 0, 1919, 1079) } },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.what);
        WM_DIRTY_LIST list;
        list.merge_mode = c.mode;
        for (const WM_DIRTY_RECT& r : c.added)
            list.add(r, display);
        ASSERT_EQ(list.count, static_cast<INT_S32>(c.kept.size()));
        for (size_t i = 0; i < c.kept.size(); ++i)
            expect_rect(list.rects[i], c.kept[i].x1, c.kept[i].y1, c.kept[i].x2, c.kept[i].y2);
    }
}

TEST(WM_DIRTY_LIST, the_129th_rectangle_that_cannot_merge_grows_entry_0)
{
    WM_DIRTY_LIST list;
    // A grid of 128 small rectangles 100 pixels apart: none near another.
    for (INT_S16 i = 0; i < 128; ++i) {
        INT_S16 x = static_cast<INT_S16>((i % 16) * 100);
        INT_S16 y = static_cast<INT_S16>((i / 16) * 100);
        list.add(rect(x, y, static_cast<INT_S16>(x + 4), static_cast<INT_S16>(y + 4)), display);
    }
    ASSERT_EQ(list.count, 128);
    expect_rect(list.rects[0], 0, 0, 4, 4);
    list.add(rect(1800, 1000, 1810, 1010), display);
    EXPECT_EQ(list.count, 128);
    expect_rect(list.rects[0], 0, 0, 1810, 1010);
    // The others are as they were.
    expect_rect(list.rects[127], 1500, 700, 1504, 704);
}
