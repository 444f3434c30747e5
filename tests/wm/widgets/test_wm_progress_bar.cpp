// The progress bar: fill length, texts and image scrolling by the numbers, then the bar itself
// drawn through the headless host.

#include <gtest/gtest.h>

#include "wm/widgets/wm_progress_bar.h"

TEST(WM_PROGRESS_BAR, fill_length_follows_the_value)
{
    // 200 pixels of track, borders 2 wide: the cap is 5 pixels.
    EXPECT_EQ(progress_fill_length(200, 50, 100, 2), 101);
    EXPECT_EQ(progress_fill_length(200, 99, 100, 2), 199);
    EXPECT_EQ(progress_fill_length(200, 100, 100, 2), 200);
    EXPECT_EQ(progress_fill_length(200, 2, 100, 2), 5);
}

TEST(WM_PROGRESS_BAR, value_zero_still_shows_a_cap)
{
    EXPECT_EQ(progress_fill_length(200, 0, 100, 2), 5);
    EXPECT_EQ(progress_fill_length(200, 0, 100, 0), 1);
}

TEST(WM_PROGRESS_BAR, total_zero_is_full_and_reads_100_percent)
{
    char text[16];
    EXPECT_EQ(progress_fill_length(200, 0, 0, 2), 200);
    EXPECT_EQ(progress_fill_length(200, 37, 0, 2), 200);
    EXPECT_STREQ(progress_percentage_text(37, 0, text, sizeof text), "100%");
    EXPECT_STREQ(progress_alt_percentage_text(37, 0, text, sizeof text), "100%");
}

TEST(WM_PROGRESS_BAR, values_outside_the_range_stay_inside_the_track)
{
    char text[16];
    EXPECT_EQ(progress_fill_length(200, -50, 100, 2), 5);
    EXPECT_EQ(progress_fill_length(200, -2000000000, 3, 2), 5);
    EXPECT_EQ(progress_fill_length(200, 150, 100, 2), 200);
    EXPECT_EQ(progress_fill_length(200, 2000000000, 7, 2), 200);
    // The text tells the value as it is, without overflowing on the way.
    EXPECT_STREQ(progress_percentage_text(150, 100, text, sizeof text), "150%");
    EXPECT_STREQ(progress_percentage_text(-50, 100, text, sizeof text), "-50%");
    EXPECT_STREQ(progress_percentage_text(2000000000, 2000000000, text, sizeof text), "100%");
    // A track shorter than the cap is filled, not overrun.
    EXPECT_EQ(progress_fill_length(3, 0, 100, 2), 3);
    EXPECT_EQ(progress_fill_length(0, 50, 100, 2), 0);
}

TEST(WM_PROGRESS_BAR, percentage_and_alternate_texts)
{
    char text[16];
    EXPECT_STREQ(progress_percentage_text(1, 3, text, sizeof text), "33%");
    EXPECT_STREQ(progress_alt_percentage_text(30, 100, text, sizeof text), "70%");
    // Only a total of 100 makes the two add up to 100.
    EXPECT_STREQ(progress_percentage_text(30, 200, text, sizeof text), "15%");
    EXPECT_STREQ(progress_alt_percentage_text(30, 200, text, sizeof text), "35%");
}

TEST(WM_PROGRESS_BAR, negative_rate_scrolls_left_one_pixel_per_step_and_wraps)
{
    // -20 milliseconds a pixel: 300 milliseconds move 15 pixels to the left.
    EXPECT_EQ(progress_scroll_step(20, 64, -20, 300), 5);
    EXPECT_EQ(progress_scroll_step(5, 64, -20, 300), 54);
    EXPECT_EQ(progress_scroll_step(60, 64, 20, 100), 1);
    // A whole turn and more wraps by the size.
    EXPECT_EQ(progress_scroll_step(0, 64, 10, 650), 1);
    EXPECT_EQ(progress_scroll_step(7, 64, 0, 650), 7);
    EXPECT_EQ(progress_scroll_step(7, 0, 10, 650), 7);
}
