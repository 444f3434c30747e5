// The dirty rectangle list: containment, merging within the margin, the 128-entry limit and the
// other merge modes.

#include <gtest/gtest.h>

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

TEST(WM_DIRTY_LIST, a_rectangle_inside_another_is_dropped)
{
    WM_DIRTY_LIST list;
    list.add(rect(10, 10, 100, 100), display);
    list.add(rect(20, 20, 30, 30), display);
    ASSERT_EQ(list.count, 1);
    expect_rect(list.rects[0], 10, 10, 100, 100);
}

TEST(WM_DIRTY_LIST, an_inverted_rectangle_is_ignored)
{
    WM_DIRTY_LIST list;
    list.add(rect(50, 10, 40, 20), display);
    list.add(rect(10, 50, 20, 40), display);
    EXPECT_EQ(list.count, 0);
}

TEST(WM_DIRTY_LIST, rectangles_within_the_margin_merge_without_touching)
{
    WM_DIRTY_LIST list;
    list.add(rect(0, 0, 9, 9), display);
    // 31 pixels of gap to the right (columns 10 to 40): the right edge plus the margin reaches
    // the new left edge, and the rectangles are near on every side.
    list.add(rect(41, 0, 50, 9), display);
    ASSERT_EQ(list.count, 1);
    expect_rect(list.rects[0], 0, 0, 50, 9);
}

TEST(WM_DIRTY_LIST, rectangles_beyond_the_margin_stay_apart)
{
    WM_DIRTY_LIST list;
    list.add(rect(0, 0, 9, 9), display);
    list.add(rect(42, 0, 50, 9), display);
    list.add(rect(0, 42, 9, 50), display);
    EXPECT_EQ(list.count, 3);
}

TEST(WM_DIRTY_LIST, near_on_one_side_only_is_not_enough)
{
    WM_DIRTY_LIST list;
    list.add(rect(0, 0, 9, 9), display);
    // Within the margin horizontally, far below.
    list.add(rect(5, 500, 15, 510), display);
    EXPECT_EQ(list.count, 2);
}

TEST(WM_DIRTY_LIST, a_merge_starts_the_scan_again_and_swallows_what_became_near)
{
    WM_DIRTY_LIST list;
    list.add(rect(0, 0, 9, 9), display);
    list.add(rect(90, 0, 99, 9), display);
    ASSERT_EQ(list.count, 2);
    // Near the first; the union (0..60) is then near the second as well.
    list.add(rect(40, 0, 60, 9), display);
    ASSERT_EQ(list.count, 1);
    expect_rect(list.rects[0], 0, 0, 99, 9);
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

TEST(WM_DIRTY_LIST, the_other_merge_modes)
{
    WM_DIRTY_LIST bounding;
    bounding.merge_mode = DIRTY_MERGE_BOUNDING;
    bounding.add(rect(0, 0, 9, 9), display);
    bounding.add(rect(500, 500, 509, 509), display);
    ASSERT_EQ(bounding.count, 1);
    expect_rect(bounding.rects[0], 0, 0, 509, 509);

    WM_DIRTY_LIST plain;
    plain.merge_mode = DIRTY_MERGE_NONE;
    plain.add(rect(0, 0, 9, 9), display);
    plain.add(rect(2, 2, 5, 5), display);
    EXPECT_EQ(plain.count, 2) << "no merging, not even containment";

    WM_DIRTY_LIST any_side;
    any_side.merge_mode = DIRTY_MERGE_ANY_SIDE;
    any_side.add(rect(0, 0, 9, 9), display);
    any_side.add(rect(5, 500, 15, 510), display);
    ASSERT_EQ(any_side.count, 1) << "near on one comparison is enough";
    expect_rect(any_side.rects[0], 0, 0, 15, 510);

    WM_DIRTY_LIST whole;
    whole.merge_mode = DIRTY_MERGE_DISPLAY;
    whole.add(rect(5, 5, 6, 6), display);
    ASSERT_EQ(whole.count, 1);
    expect_rect(whole.rects[0], 0, 0, 1919, 1079);
}
