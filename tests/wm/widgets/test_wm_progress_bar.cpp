// The progress bar: fill length, texts and image scrolling by the numbers, then the bar itself
// drawn through the headless host.

#include <gtest/gtest.h>

#include "wm/widgets/wm_progress_bar.h"

TEST(WM_PROGRESS_BAR, the_fill_follows_the_value_keeps_a_cap_and_stays_inside_the_track)
{
    struct CASE {
        INT_S32 length, value, total, thickness, filled;
    } cases[] = {
        // 200 pixels of track, borders 2 wide: the cap is 5 pixels.
        { 200, 50, 100, 2, 101 },
        { 200, 99, 100, 2, 199 },
        { 200, 100, 100, 2, 200 },
        { 200, 2, 100, 2, 5 },
        { 200, 0, 100, 2, 5 },
        { 200, 0, 100, 0, 1 },
        // A total of 0 is full.
        { 200, 0, 0, 2, 200 },
        { 200, 37, 0, 2, 200 },
        // Outside the range, without overflowing on the way.
        { 200, -50, 100, 2, 5 },
        { 200, -2000000000, 3, 2, 5 },
        { 200, 150, 100, 2, 200 },
        { 200, 2000000000, 7, 2, 200 },
        // A track shorter than the cap is filled, not overrun.
        { 3, 0, 100, 2, 3 },
        { 0, 50, 100, 2, 0 },
    };
    for (const CASE& c : cases)
        EXPECT_EQ(progress_fill_length(c.length, c.value, c.total, c.thickness), c.filled)
            << c.value << " of " << c.total << " on " << c.length << ", borders " << c.thickness;
}

TEST(WM_PROGRESS_BAR, percentage_and_alternate_texts)
{
    char text[16];
    struct CASE {
        INT_S32 value, total;
        const char* percentage;
        const char* alternate;
    } cases[] = {
        { 1, 3, "33%", nullptr },
        { 30, 100, nullptr, "70%" },
        // Only a total of 100 makes the two add up to 100.
        { 30, 200, "15%", "35%" },
        { 37, 0, "100%", "100%" },
        // The text tells the value as it is, without overflowing on the way.
        { 150, 100, "150%", nullptr },
        { -50, 100, "-50%", nullptr },
        { 2000000000, 2000000000, "100%", nullptr },
    };
    for (const CASE& c : cases) {
        if (c.percentage) {
            EXPECT_STREQ(progress_percentage_text(c.value, c.total, text, sizeof text), c.percentage);
        }
        if (c.alternate) {
            EXPECT_STREQ(progress_alt_percentage_text(c.value, c.total, text, sizeof text), c.alternate);
        }
    }
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

// --- The bar on the screen --------------------------------------------------------------------------

#include "widget_screen.h"

#include "frame/screen.h"
#include "graphics/tiled_image.h"
#include "host/headless/headless_display.h"
#include "wm/widgets/wm_progress_bar.h"

namespace {

const COLOUR EMPTY = COLOUR::from_argb(0xFF303030u);
const COLOUR FULL = COLOUR::from_argb(0xFF20C020u);
const COLOUR LABEL = COLOUR::from_argb(0xFFFFFFFFu);

// A flat bar without border or shading: the fill is exactly the formula's length.
WM_PROGRESS_BAR* flat_bar(INT_S32 total)
{
    return new WM_PROGRESS_BAR(100, 100, 200, 20, "", total, EMPTY, FULL, LABEL,
        PROGRESS_NO_BORDER | PROGRESS_NO_SHADING);
}

// The length of the fill along the middle row.
INT_S32 filled_pixels(const WIDGET_SCREEN* screen, INT_S32 y)
{
    (void)screen;
    INT_S32 count = 0;
    for (INT_S32 x = 100; x < 300; ++x)
        count += back_buffer_of(0)->at(x, y) == FULL;
    return count;
}

class PROGRESS_BAR : public WIDGET_SCREEN {};

} // namespace

TEST_F(PROGRESS_BAR, the_fill_follows_the_value_and_stays_in_the_track_outside_the_range)
{
    WM_PROGRESS_BAR* bar = flat_bar(100);
    add(bar);
    struct {
        INT_S32 value;
        INT_S32 filled;
    } cases[] = { { 0, 1 }, { 50, 101 }, { 100, 200 }, { -30, 1 }, { 250, 200 } };
    for (const auto& c : cases) {
        bar->set_value(c.value);
        frame();
        EXPECT_EQ(filled_pixels(this, 102), c.filled) << c.value;
        EXPECT_TRUE(all_of(300, 100, 639, 119, PAGE_COLOUR)) << c.value;
        EXPECT_TRUE(all_of(0, 100, 99, 119, PAGE_COLOUR)) << c.value;
    }
}

TEST_F(PROGRESS_BAR, a_total_of_0_shows_a_full_bar_reading_100_percent)
{
    WM_PROGRESS_BAR* zero = new WM_PROGRESS_BAR(100, 100, 200, 20, nullptr, 0, EMPTY, FULL, LABEL,
        PROGRESS_NO_BORDER | PROGRESS_NO_SHADING, 10, 14, 14);
    WM_PROGRESS_BAR* hundred = new WM_PROGRESS_BAR(100, 140, 200, 20, nullptr, 100, EMPTY, FULL, LABEL,
        PROGRESS_NO_BORDER | PROGRESS_NO_SHADING, 10, 14, 14);
    hundred->set_value(100);
    add(zero);
    add(hundred);
    frame();
    IMAGE a, b;
    grab(&a, 100, 100, 200, 20);
    grab(&b, 100, 140, 200, 20);
    // Full and labelled the same as a full bar of 100 out of 100.
    EXPECT_EQ(count_differences(a, b), 0);
    EXPECT_GT(count_not(100, 100, 299, 119, FULL), 20);
}

TEST_F(PROGRESS_BAR, a_value_of_0_shows_a_cap_as_wide_as_two_borders_and_one)
{
    WM_PROGRESS_BAR* bar = new WM_PROGRESS_BAR(100, 100, 200, 20, "", 100, EMPTY, FULL, LABEL, PROGRESS_NO_BORDER);
    add(bar);
    frame();
    INT_S32 thickness = bar->shading_thickness(bar->shading);
    ASSERT_EQ(thickness, 2);
    // The fill is 5 pixels with its border of 2 each side, so its inside is the one pixel at
    // 102; the track's own sunk border follows from 105, its inside from 107.
    EXPECT_EQ(pixel(102, 110), FULL);
    EXPECT_NE(pixel(105, 110), EMPTY);
    EXPECT_EQ(pixel(107, 110), EMPTY);
}

TEST_F(PROGRESS_BAR, text_changes_colour_where_the_fill_ends)
{
    WM_PROGRESS_BAR* bar = new WM_PROGRESS_BAR(100, 100, 200, 24, "MMMMMMMMMMMM", 100, EMPTY, FULL, LABEL,
        PROGRESS_NO_BORDER | PROGRESS_NO_SHADING, 10, 16, 16);
    bar->alt_text_colour = COLOUR_RED;
    bar->set_value(50);
    add(bar);
    frame();
    INT_S32 red_left = 0, red_right = 0, white_left = 0, white_right = 0;
    for (INT_S32 y = 100; y < 124; ++y)
        for (INT_S32 x = 100; x < 300; ++x) {
            COLOUR c = pixel(x, y);
            bool red = c.red() > 200 && c.green() < 100;
            bool white = c.red() > 200 && c.green() > 200 && c.blue() > 200;
            (x < 200 ? red_left : red_right) += red;
            (x < 200 ? white_left : white_right) += white;
        }
    EXPECT_GT(red_left, 10);
    EXPECT_EQ(red_right, 0);
    EXPECT_GT(white_right, 10);
    EXPECT_EQ(white_left, 0);
}

TEST_F(PROGRESS_BAR, an_x_rate_of_minus_20_scrolls_the_picture_a_pixel_per_20_ms_to_the_left_and_wraps)
{
    WM_STYLE_SET* style = sample_style("progress_bar/progress_bar.ss");
    WM_PROGRESS_BAR* bar = new WM_PROGRESS_BAR(100, 100, 200, 20, nullptr, 100, style);
    ASSERT_TRUE(bar->has_images());
    bar->set_rates(-20, 0, 100);
    bar->set_value(60);
    add(bar);
    frame();
    INT_S32 size = bar->face_full->mid->height;
    ASSERT_GT(size, 0);
    INT_S16 start = bar->scroll_x;
    advance(101);
    frame();
    // 101 ms at 20 ms a pixel: 5 pixels to the left, wrapped into the picture.
    EXPECT_EQ(bar->scroll_x, (start - 5 + size) % size);
    EXPECT_EQ(bar->scrolled, 1);
    advance(50);
    frame();
    EXPECT_EQ(bar->scroll_x, (start - 5 + size) % size); // the update rate has not passed
}

TEST_F(PROGRESS_BAR, set_title_immediate_shows_on_the_display_before_it_returns)
{
    WM_PROGRESS_BAR* bar = flat_bar(100);
    add(bar);
    frame();
    INT_S32 before = headless_frames_presented();
    bar->set_value(75);
    bar->set_title("Unpacking", true);
    EXPECT_EQ(headless_frames_presented(), before + 1);
    const HEADLESS_FRAME* shown = headless_last_frame();
    EXPECT_EQ(COLOUR(shown->pixel(100 + 140, 102)), FULL);
    EXPECT_EQ(COLOUR(shown->pixel(100 + 160, 102)), EMPTY);
}

TEST_F(PROGRESS_BAR, a_vertical_bar_fills_from_the_bottom_and_keeps_no_title)
{
    WM_PROGRESS_BAR* bar = new WM_PROGRESS_BAR(100, 100, 20, 200, "Dropped", 100, EMPTY, FULL, LABEL,
        PROGRESS_NO_BORDER | PROGRESS_NO_SHADING | PROGRESS_VERTICAL);
    EXPECT_EQ(bar->title, nullptr);
    bar->set_value(25);
    add(bar);
    frame();
    EXPECT_EQ(pixel(110, 299), FULL);
    EXPECT_EQ(pixel(110, 100 + 200 - 51), FULL);
    EXPECT_EQ(pixel(110, 100 + 200 - 52), EMPTY);
}
