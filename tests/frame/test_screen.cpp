// The screen over the headless display: the BACK_BUFFER follows the window, a frame is sent only
// when something changed, exposes and the close button reach the frame.

#include <gtest/gtest.h>

#include "frame/application_frame.h"
#include "frame/screen.h"
#include "host/headless/headless_display.h"

namespace {

bool answer_yes(INT_S32) { return true; }
bool answer_no(INT_S32) { return false; }

class SCREEN : public ::testing::Test {
protected:
    void SetUp() override
    {
        headless_reset(800, 600);
        quit_requested = 0;
        set_shutdown_request_handler(nullptr);
    }
    void TearDown() override
    {
        close_window(0);
        headless_shutdown();
        quit_requested = 0;
        set_shutdown_request_handler(nullptr);
    }

    static WINDOW_REQUEST request(INT_U16 width, INT_U16 height, const char* title = "Test")
    {
        WINDOW_REQUEST r;
        r.title = title;
        r.width = width;
        r.height = height;
        return r;
    }
};

TEST_F(SCREEN, opening_sizes_the_back_buffer_black_and_locked)
{
    ASSERT_TRUE(open_window(request(320, 200), 0));
    BACK_BUFFER* buffer = back_buffer_of(0);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->width, 320);
    EXPECT_EQ(buffer->height, 200);
    EXPECT_TRUE(buffer->locked);
    EXPECT_EQ(buffer->at(0, 0).value, 0xFF000000u);
    EXPECT_EQ(buffer->at(319, 199).value, 0xFF000000u);
    EXPECT_EQ(graphics_back_buffer(), buffer);
    EXPECT_EQ(display_width(0), 320);
    EXPECT_EQ(display_height(0), 200);
    EXPECT_TRUE(display_exists(0));
    EXPECT_STREQ(headless_window().title, "Test");
    set_window_title("Second", 0);
    set_window_title("Third", 4);
    EXPECT_STREQ(headless_window().title, "Second");

    buffer->set_size(10, 10);
    EXPECT_EQ(buffer->width, 320) << "only the window code resizes the screen";
}

TEST_F(SCREEN, other_display_numbers_have_nothing)
{
    EXPECT_FALSE(open_window(request(320, 200), 1));
    ASSERT_TRUE(open_window(request(320, 200), 0));
    EXPECT_EQ(back_buffer_of(3), nullptr);
    EXPECT_EQ(back_buffer_of(ALL_DISPLAYS), back_buffer_of(0));
    EXPECT_FALSE(display_exists(1));
    EXPECT_FALSE(display_exists(ALL_DISPLAYS));
    EXPECT_EQ(display_width(2), 0);
    swap_screens(5);
    EXPECT_EQ(headless_frames_presented(), 0);
}

TEST_F(SCREEN, a_second_swap_without_drawing_sends_nothing_and_an_expose_sends_the_picture_again)
{
    ASSERT_TRUE(open_window(request(64, 48), 0));
    swap_screens(0);
    EXPECT_EQ(headless_frames_presented(), 1) << "the new buffer is dirty all over";
    swap_screens(0);
    swap_screens(ALL_DISPLAYS);
    EXPECT_EQ(headless_frames_presented(), 1);

    BACK_BUFFER* buffer = back_buffer_of(0);
    buffer->fill_box(2, 3, 4, 5, COLOUR::from_argb(0xFF102030), false);
    swap_screens(0);
    ASSERT_EQ(headless_frames_presented(), 2);
    const HEADLESS_FRAME* frame = headless_last_frame();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->width, 64);
    EXPECT_EQ(frame->height, 48);
    EXPECT_EQ(frame->pixel(3, 4), COLOUR::from_argb(0xFF102030).value);
    EXPECT_EQ(frame->pixel(5, 4), 0xFF000000u);
    EXPECT_FALSE(buffer->is_dirty());

    // An expose sends the picture again.
    headless_expose(10, 10, 20, 20);
    pump_events();
    swap_screens(0);
    EXPECT_EQ(headless_frames_presented(), 3);
}

TEST_F(SCREEN, an_odd_width_is_sent_without_the_padding_of_the_rows)
{
    ASSERT_TRUE(open_window(request(33, 5), 0));
    BACK_BUFFER* buffer = back_buffer_of(0);
    ASSERT_GT(buffer->stride, buffer->width);
    buffer->fill_box(32, 0, 32, 4, COLOUR::from_argb(0xFFFFFFFF), false);
    swap_screens(0);
    const HEADLESS_FRAME* frame = headless_last_frame();
    ASSERT_NE(frame, nullptr);
    for (INT_S32 y = 0; y < 5; ++y) {
        EXPECT_EQ(frame->pixel(32, y), 0xFFFFFFFFu);
        EXPECT_EQ(frame->pixel(0, y), 0xFF000000u);
    }
}

TEST_F(SCREEN, the_close_button_asks_the_application)
{
    ASSERT_TRUE(open_window(request(64, 48), 0));
    headless_request_close();
    pump_events();
    EXPECT_EQ(quit_requested, 0) << "without a handler the request is refused";

    set_shutdown_request_handler(answer_no);
    headless_request_close();
    pump_events();
    EXPECT_EQ(quit_requested, 0);

    set_shutdown_request_handler(answer_yes);
    headless_request_close();
    pump_events();
    EXPECT_EQ(quit_requested, 1);
}

TEST_F(SCREEN, closing_empties_the_buffer_and_a_new_size_clears_it)
{
    ASSERT_TRUE(open_window(request(64, 48), 0));
    back_buffer_of(0)->fill(COLOUR::from_argb(0xFFFF0000));
    ASSERT_TRUE(open_window(request(64, 48), 0));
    EXPECT_EQ(back_buffer_of(0)->at(0, 0), COLOUR::from_argb(0xFFFF0000)) << "the same size keeps the picture";
    ASSERT_TRUE(open_window(request(80, 48), 0));
    EXPECT_EQ(back_buffer_of(0)->at(0, 0).value, 0xFF000000u);
    EXPECT_EQ(headless_window().windows_made, 1) << "a changed size is the same window";

    close_window(0);
    EXPECT_FALSE(display_exists(0));
    EXPECT_EQ(back_buffer_of(0)->width, 0);
    EXPECT_FALSE(back_buffer_of(0)->has_pixels());
    swap_screens(0);
    EXPECT_EQ(headless_frames_presented(), 0);
}

TEST_F(SCREEN, a_refused_connection_is_a_false_answer_with_its_reason)
{
    headless_refuse_connection("DISPLAY is not set");
    EXPECT_FALSE(open_window(request(64, 48), 0));
    EXPECT_STREQ(display_failure_text(), "DISPLAY is not set");
    EXPECT_FALSE(display_exists(0));
    headless_refuse_connection(nullptr);
}

TEST_F(SCREEN, a_window_larger_than_the_desktop_shrinks_and_a_minimum_above_it_fails)
{
    WINDOW_REQUEST big = request(900, 700);
    ASSERT_TRUE(open_window(big, 0));
    EXPECT_EQ(display_width(0), 790);
    EXPECT_EQ(display_height(0), 570);
    close_window(0);
    big.min_width = 800;
    EXPECT_FALSE(open_window(big, 0));
}

} // namespace
