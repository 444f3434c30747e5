// Where the window goes and how large it is, and the numbering of displays.

#include <gtest/gtest.h>

#include "host/display.h"

namespace {

WINDOW_REQUEST sized(INT_U16 width, INT_U16 height)
{
    WINDOW_REQUEST request;
    request.width = width;
    request.height = height;
    return request;
}

TEST(WINDOW_GEOMETRY_TEST, a_decorated_window_is_centred_inside_the_frame_estimate)
{
    WINDOW_GEOMETRY g;
    ASSERT_TRUE(window_geometry(sized(640, 480), 1024, 768, false, &g));
    EXPECT_EQ(g.width, 640);
    EXPECT_EQ(g.height, 480);
    EXPECT_TRUE(g.decorated);
    EXPECT_EQ(g.border_left, 5);
    EXPECT_EQ(g.border_top, 25);
    EXPECT_EQ(g.x, (1024 - 10 - 640) / 2);
    EXPECT_EQ(g.y, (768 - 5 - 480 - 25) / 2);
}

TEST(WINDOW_GEOMETRY_TEST, a_request_larger_than_the_desktop_shrinks_to_it_less_the_borders_but_not_below_its_minimum)
{
    WINDOW_REQUEST request = sized(800, 600);
    WINDOW_GEOMETRY g;
    ASSERT_TRUE(window_geometry(request, 600, 400, false, &g));
    EXPECT_EQ(g.width, 600 - 10);
    EXPECT_EQ(g.height, 400 - 30);
    EXPECT_EQ(g.x, 0);
    EXPECT_EQ(g.y, 0);
    request.min_width = 591; // the desktop allows 590
    EXPECT_FALSE(window_geometry(request, 600, 400, false, &g));
    request.min_width = 590;
    EXPECT_TRUE(window_geometry(request, 600, 400, false, &g));
    request.min_height = 371;
    EXPECT_FALSE(window_geometry(request, 600, 400, false, &g));
}

TEST(WINDOW_GEOMETRY_TEST, limits_clamp_the_size_and_default_sizes_take_the_desktop)
{
    WINDOW_REQUEST request = sized(100, 100);
    request.min_width = 200;
    request.max_height = 50;
    WINDOW_GEOMETRY g;
    ASSERT_TRUE(window_geometry(request, 1024, 768, false, &g));
    EXPECT_EQ(g.width, 200);
    EXPECT_EQ(g.height, 50);

    WINDOW_REQUEST whole;
    whole.no_decorations = 1;
    ASSERT_TRUE(window_geometry(whole, 1024, 768, false, &g));
    EXPECT_EQ(g.width, 1024);
    EXPECT_EQ(g.height, 768);
    EXPECT_FALSE(g.decorated);
    EXPECT_EQ(g.x, 0);
}

TEST(WINDOW_GEOMETRY_TEST, full_screen_has_no_frame_and_a_switched_mode_sits_at_the_origin)
{
    WINDOW_REQUEST request = sized(640, 480);
    request.full_screen = 1;
    request.x = 77;
    WINDOW_GEOMETRY g;
    ASSERT_TRUE(window_geometry(request, 1024, 768, false, &g));
    EXPECT_FALSE(g.decorated);
    EXPECT_EQ(g.border_top, 0);
    EXPECT_EQ(g.x, 77);
    EXPECT_EQ(g.y, (768 - 480) / 2);
    ASSERT_TRUE(window_geometry(request, 1024, 768, true, &g));
    EXPECT_EQ(g.x, 0);
    EXPECT_EQ(g.y, 0);
}

TEST(DISPLAY_AT, coordinates_above_4095_address_further_displays)
{
    EXPECT_EQ(display_at(100, 100), 0);
    EXPECT_EQ(display_at(-5, 100), 0);
    EXPECT_EQ(display_at(4096, 0), 8);
    EXPECT_EQ(display_at(0, 4096), 1);
    EXPECT_EQ(display_at(3 * 4096 + 5, 2 * 4096 + 9), (3 << 3) | 2);
}

TEST(DISPLAY_STATUS_TEST, fatal_statuses_carry_the_error_table_codes)
{
    EXPECT_EQ(display_fatal_code(DISPLAY_FATAL_WINDOW), 0x0000);
    EXPECT_EQ(display_fatal_code(DISPLAY_FATAL_SWAP_IMAGE), 0x0010);
    EXPECT_EQ(display_fatal_code(DISPLAY_FATAL_DEPTH), 0x0012);
    EXPECT_EQ(display_fatal_code(DISPLAY_REFUSED), -1);
    EXPECT_EQ(display_fatal_code(DISPLAY_OK), -1);
}

} // namespace
