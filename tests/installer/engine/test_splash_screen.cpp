// The splash, its bar, the closing picture and the wizard window's background, shown on the
// headless display.

#include <gtest/gtest.h>

#include "frame/screen.h"
#include "graphics/generated/builtin_images.h"
#include "host/headless/headless_display.h"
#include "installer/engine/database.h"
#include "installer/engine/splash_screen.h"
#include "wm/core/wm_style_set.h"

namespace {

class SPLASH_SCREEN : public ::testing::Test {
protected:
    void SetUp() override { headless_reset(1024, 768); }
    void TearDown() override
    {
        close_window(0);
        headless_shutdown();
    }
};

// The picture as it looks over an opaque colour: what the window must show.
COLOUR over(const COLOUR& picture, const COLOUR& ground)
{
    IMAGE one(1, 1);
    one.at(0, 0) = ground;
    IMAGE top(1, 1);
    top.at(0, 0) = picture;
    top.draw(0, 0, &one, BLIT_ALPHA);
    return one.at(0, 0);
}

TEST_F(SPLASH_SCREEN, the_builtin_splash_is_please_wait_at_its_own_size_centred)
{
    ASSERT_TRUE(show_builtin_splash());
    EXPECT_STREQ(headless_window().title, "Please Wait");
    EXPECT_EQ(headless_window().width, 257);
    EXPECT_EQ(headless_window().height, 97);
    EXPECT_EQ(headless_window().x, (1024 - 10 - 257) / 2);
    ASSERT_EQ(headless_frames_presented(), 1);

    IMAGE picture;
    ASSERT_TRUE(picture.load_array(builtin_splash_image, sizeof builtin_splash_image));
    const HEADLESS_FRAME* frame = headless_last_frame();
    INT_S32 different = 0;
    for (INT_S32 y = 0; y < 97; ++y)
        for (INT_S32 x = 0; x < 257; ++x)
            different += frame->pixel(x, y) != over(picture.at(x, y), COLOUR_BLACK).value;
    EXPECT_EQ(different, 0);
}

TEST_F(SPLASH_SCREEN, the_plain_bar_of_a_data_set_without_splash_lies_outside_the_builtin_window)
{
    // The bar stands where a larger splash would have room for it; in the 257 by 97 window it
    // has none, and drawing it changes nothing there.
    ASSERT_TRUE(show_builtin_splash());
    SPLASH_BAR bar(PLAIN_BAR_X, PLAIN_BAR_Y, PLAIN_BAR_WIDTH, PLAIN_BAR_HEIGHT, nullptr);
    EXPECT_EQ(bar.x(), 110);
    EXPECT_EQ(bar.y(), 122);
    bar.set_value(50);
    bar.draw(nullptr);
    EXPECT_FALSE(back_buffer_of(0)->is_dirty());
    swap_screens(0);
    EXPECT_EQ(headless_frames_presented(), 1);
}

TEST_F(SPLASH_SCREEN, a_data_set_splash_shows_at_the_origin_with_its_title)
{
    IMAGE splash(40, 20);
    splash.clear(COLOUR::from_argb(0xFF336699), true);
    splash.fill_box(0, 0, 9, 9, COLOUR::from_argb(0x80FFFFFF), false); // half transparent corner
    ASSERT_TRUE(show_picture_window("Sample", splash, STANDARD_BACKGROUND_COLOUR));
    EXPECT_STREQ(headless_window().title, "Sample");
    EXPECT_EQ(display_width(0), 40);
    const HEADLESS_FRAME* frame = headless_last_frame();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->pixel(39, 19), COLOUR::from_argb(0xFF336699).value);
    EXPECT_EQ(frame->pixel(0, 0), over(COLOUR::from_argb(0x80FFFFFF), STANDARD_BACKGROUND_COLOUR).value)
        << "transparent parts show the standard colour";
}

TEST_F(SPLASH_SCREEN, the_bar_fills_by_percentage_and_only_a_visible_change_counts)
{
    SPLASH_BAR bar(0, 0, 102, 8, nullptr); // 100 pixels inside the frame
    EXPECT_EQ(bar.filled_width(), 0);
    EXPECT_TRUE(bar.set_value(37));
    EXPECT_EQ(bar.filled_width(), 37);
    EXPECT_FALSE(bar.set_value(37));
    EXPECT_FALSE(bar.set_value(101));
    EXPECT_FALSE(bar.set_value(-1));
    EXPECT_EQ(bar.value(), 37);

    SPLASH_BAR narrow(0, 0, 12, 8, nullptr); // 10 inside: 1% steps are too fine to see
    EXPECT_FALSE(narrow.set_value(5));
    EXPECT_TRUE(narrow.set_value(10));
}

TEST_F(SPLASH_SCREEN, the_plain_bar_draws_its_frame_track_and_fill)
{
    IMAGE target(120, 20);
    target.clear(COLOUR_BLACK, true);
    SPLASH_BAR bar(5, 5, 102, 10, nullptr);
    bar.set_value(50);
    bar.draw(&target);
    EXPECT_EQ(target.at(5, 5), PLAIN_BAR_BORDER);
    EXPECT_EQ(target.at(106, 14), PLAIN_BAR_BORDER);
    EXPECT_EQ(target.at(6, 6), PLAIN_BAR_FULL);
    EXPECT_EQ(target.at(55, 10), PLAIN_BAR_FULL) << "the 50th column of the track";
    EXPECT_EQ(target.at(56, 10), PLAIN_BAR_EMPTY);
    EXPECT_EQ(target.at(105, 13), PLAIN_BAR_EMPTY);
    EXPECT_EQ(target.at(4, 4), COLOUR_BLACK);
}

TEST_F(SPLASH_SCREEN, a_styled_bar_takes_its_colours_from_the_style_set)
{
    WM_STYLE_SET style;
    style.fg_colour = COLOUR::from_argb(0xFF111111);
    style.bg_colour = COLOUR::from_argb(0xFF222222);
    style.active_colour = COLOUR::from_argb(0xFF3465A4);
    IMAGE target(40, 10);
    target.clear(COLOUR_BLACK, true);
    SPLASH_BAR bar(0, 0, 22, 6, &style);
    bar.set_value(25);
    bar.draw(&target);
    EXPECT_EQ(target.at(0, 0), style.fg_colour);
    EXPECT_EQ(target.at(1, 1), style.active_colour);
    EXPECT_EQ(target.at(5, 3), style.active_colour) << "a quarter of the 20 columns inside";
    EXPECT_EQ(target.at(6, 3), style.bg_colour);

    style.flags &= ~ssf_draw_border;
    IMAGE bare(40, 10);
    bare.clear(COLOUR_BLACK, true);
    bar.draw(&bare);
    EXPECT_EQ(bare.at(0, 0), COLOUR_BLACK) << "no border without ssf_draw_border";
}

TEST_F(SPLASH_SCREEN, the_percentage_of_the_unpacking_is_truncated_and_bounded)
{
    EXPECT_EQ(unpack_percentage(0, 1000), 0);
    EXPECT_EQ(unpack_percentage(999, 1000), 99);
    EXPECT_EQ(unpack_percentage(1000, 1000), 100);
    EXPECT_EQ(unpack_percentage(1001, 1000), -1);
    EXPECT_EQ(unpack_percentage(5, 0), -1);
    EXPECT_EQ(unpack_percentage(0xFFFFFFFFFFull, 0x10000000000ull), 99);
}

TEST_F(SPLASH_SCREEN, the_closing_picture_opens_a_small_window)
{
    ASSERT_TRUE(show_closing_picture("Sample Setup"));
    EXPECT_EQ(headless_window().width, BUILTIN_CLOSING_WIDTH);
    EXPECT_EQ(headless_window().height, BUILTIN_CLOSING_HEIGHT);
    EXPECT_STREQ(headless_window().title, "Sample Setup");
    EXPECT_EQ(headless_frames_presented(), 1);
}

TEST_F(SPLASH_SCREEN, the_window_background_is_the_picture_stretched_or_the_standard_colour)
{
    WINDOW_REQUEST request;
    request.width = 64;
    request.height = 48;
    ASSERT_TRUE(open_window(request, 0));
    DATABASE database;
    WINDOW_BACKGROUND background;
    background.paint(database);
    EXPECT_EQ(back_buffer_of(0)->at(0, 0), STANDARD_BACKGROUND_COLOUR);
    EXPECT_EQ(back_buffer_of(0)->at(63, 47), STANDARD_BACKGROUND_COLOUR);

    // A 2 by 2 picture of four colours grows to four quarters.
    database.background_image.set_size(2, 2);
    database.background_image.at(0, 0) = COLOUR::from_argb(0xFFFF0000);
    database.background_image.at(1, 0) = COLOUR::from_argb(0xFF00FF00);
    database.background_image.at(0, 1) = COLOUR::from_argb(0xFF0000FF);
    database.background_image.at(1, 1) = COLOUR::from_argb(0xFFFFFFFF);
    background.paint(database);
    BACK_BUFFER* screen = back_buffer_of(0);
    EXPECT_EQ(screen->at(5, 5), COLOUR::from_argb(0xFFFF0000));
    EXPECT_EQ(screen->at(60, 5), COLOUR::from_argb(0xFF00FF00));
    EXPECT_EQ(screen->at(5, 40), COLOUR::from_argb(0xFF0000FF));
    EXPECT_EQ(screen->at(60, 40), COLOUR::from_argb(0xFFFFFFFF));

    // What is drawn on top can be taken off again.
    screen->fill_box(0, 0, 63, 3, COLOUR::from_argb(0xFF000000), false);
    background.restore(0, 0, 63, 3);
    EXPECT_EQ(screen->at(5, 1), COLOUR::from_argb(0xFFFF0000));
}

} // namespace
