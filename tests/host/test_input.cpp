// The input state as the pump leaves it, fed through the headless back end: the same
// translation functions run under X11.

#include <gtest/gtest.h>

#include <cstring>

#include "host/display.h"
#include "host/headless/headless_display.h"
#include "host/host.h"
#include "host/input.h"

namespace {

class INPUT : public ::testing::Test {
protected:
    void SetUp() override
    {
        headless_reset(800, 600);
        WINDOW_REQUEST request;
        request.width = 320;
        request.height = 200;
        INT_S32 width = 0;
        INT_S32 height = 0;
        ASSERT_EQ(host_open_window(request, &width, &height), DISPLAY_OK);
    }
    void TearDown() override { headless_shutdown(); }

    ORLU_EVENT_CLIENT* client() { return &events; }

    struct CLIENT : ORLU_EVENT_CLIENT {
    } events;
};

TEST_F(INPUT, x_buttons_two_and_three_are_middle_and_secondary_and_the_wheel_sets_none)
{
    headless_move_pointer(5, 5);
    headless_press_button(1);
    pump_events();
    EXPECT_EQ(button_mask, BUTTON_PRIMARY);
    headless_press_button(3);
    pump_events();
    EXPECT_EQ(button_mask, BUTTON_PRIMARY | BUTTON_SECONDARY);
    headless_press_button(2);
    pump_events();
    EXPECT_EQ(button_mask, BUTTON_PRIMARY | BUTTON_SECONDARY | BUTTON_MIDDLE);
    headless_release_button(1);
    headless_release_button(3);
    pump_events();
    EXPECT_EQ(button_mask, BUTTON_MIDDLE);

    // The wheel counts notches and sets no button bits.
    headless_release_button(2);
    headless_wheel(3);
    headless_wheel(-1);
    pump_events();
    EXPECT_EQ(wheel_count, 2);
    EXPECT_EQ(client()->get_wheel(), 2);
    EXPECT_EQ(button_mask, 0u);
}

TEST_F(INPUT, the_pointer_starts_outside_and_a_click_is_seen_pressed_by_one_pump_and_released_by_the_next)
{
    EXPECT_EQ(pointer_x, -1);
    EXPECT_EQ(pointer_y, -1);
    headless_click(40, 30);
    pump_events();
    EXPECT_EQ(button_mask, BUTTON_PRIMARY);
    EXPECT_EQ(pointer_x, 40);
    EXPECT_EQ(pointer_y, 30);
    pump_events();
    EXPECT_EQ(button_mask, 0u);
    EXPECT_EQ(headless_pending_events(), 0);
}

TEST_F(INPUT, primary_presses_900_ms_apart_are_a_double_click_and_1100_ms_are_not)
{
    headless_set_time(5000);
    headless_click(10, 10);
    pump_events();
    pump_events();
    EXPECT_FALSE(double_clicked) << "the first press of the run has nothing before it";

    headless_advance_time(900);
    headless_click(10, 10);
    pump_events();
    EXPECT_TRUE(double_clicked);
    pump_events();

    headless_advance_time(1100);
    headless_click(10, 10);
    pump_events();
    EXPECT_FALSE(double_clicked);
}

TEST_F(INPUT, leaving_with_a_button_down_clears_the_mask_and_a_release_outside_changes_nothing)
{
    headless_move_pointer(100, 100);
    headless_press_button(1);
    pump_events();
    ASSERT_EQ(button_mask, BUTTON_PRIMARY);

    headless_move_pointer(400, 100); // right of the 320-pixel window
    pump_events();
    EXPECT_EQ(button_mask, 0u);
    EXPECT_EQ(pointer_x, -1);
    EXPECT_EQ(pointer_y, -1);

    headless_release_button(1);
    pump_events();
    EXPECT_EQ(button_mask, 0u);
    EXPECT_EQ(pointer_x, -1);
    EXPECT_EQ(pointer_y, -1);
}

TEST_F(INPUT, keys_give_the_base_keysym_and_the_typed_character)
{
    ASSERT_TRUE(client()->set_char_buffer(8));
    headless_type_key('a', 'A'); // shift+a
    headless_type_key(KEY_RETURN, '\r');
    pump_events();
    EXPECT_EQ(last_key, KEY_RETURN);
    EXPECT_EQ(client()->read_char(), 'A');
    EXPECT_EQ(client()->read_char(), '\n') << "a carriage return is kept as a line feed";
    EXPECT_EQ(client()->read_char(), 0);
    EXPECT_EQ(client()->get_key(), KEY_RETURN);
    EXPECT_EQ(client()->get_key(), 0u);
}

TEST_F(INPUT, a_full_character_buffer_keeps_its_oldest_characters)
{
    ASSERT_TRUE(client()->set_char_buffer(4));
    headless_type_text("abcdef");
    pump_events();
    EXPECT_EQ(char_count_index, 3);
    EXPECT_EQ(last_char, 'f') << "the last character is known even when it was dropped";
    EXPECT_EQ(client()->read_char(), 'a');
    EXPECT_EQ(client()->read_char(), 'b');
    EXPECT_EQ(client()->read_char(), 'c');
    EXPECT_EQ(client()->read_char(), 'd');
    EXPECT_EQ(client()->read_char(), 0);
}

TEST_F(INPUT, character_buffer_sizes)
{
    headless_type_text("x");
    pump_events();
    EXPECT_EQ(client()->read_char(), 0) << "without a buffer typed characters are lost";
    EXPECT_EQ(last_char, 'x');

    ASSERT_TRUE(client()->set_char_buffer(10));
    headless_type_text("xy");
    pump_events();
    ASSERT_TRUE(client()->set_char_buffer(10)); // the same size empties it
    EXPECT_EQ(client()->read_char(), 0);
    ASSERT_TRUE(client()->set_char_buffer(-3)); // nothing happens
    EXPECT_EQ(char_buffer_size, 10);
    ASSERT_TRUE(client()->set_char_buffer(0));
    EXPECT_EQ(char_buffer, nullptr);
}

TEST_F(INPUT, characters_beyond_eight_bits_become_question_marks)
{
    ASSERT_TRUE(client()->set_char_buffer(8));
    push_char(0x20AC);
    push_char(0xE9);
    push_char(0);
    EXPECT_EQ(client()->read_char(), '?');
    EXPECT_EQ(client()->read_char(), 0xE9);
    EXPECT_EQ(client()->read_char(), 0) << "a zero is never stored";
}

TEST_F(INPUT, key_is_down_while_held_and_only_with_the_focus)
{
    headless_press_key(KEY_SHIFT_LEFT, 0);
    pump_events();
    EXPECT_TRUE(client()->key_is_down(KEY_SHIFT_LEFT));
    headless_set_focus(false);
    pump_events();
    EXPECT_FALSE(client()->key_is_down(KEY_SHIFT_LEFT));
    headless_set_focus(true);
    headless_release_key(KEY_SHIFT_LEFT);
    pump_events();
    EXPECT_FALSE(client()->key_is_down(KEY_SHIFT_LEFT));
}

TEST_F(INPUT, own_clipboard_text_is_read_without_the_server_and_cut_to_the_buffer)
{
    ASSERT_TRUE(client()->clipboard_write("hello"));
    EXPECT_TRUE(client()->clipboard_has_text());
    EXPECT_EQ(client()->clipboard_length(), 5);
    char buffer[4] = { 'z', 'z', 'z', 'z' };
    ASSERT_TRUE(client()->clipboard_read(buffer, 1));
    EXPECT_STREQ(buffer, "") << "size 1 holds only the terminator";
    ASSERT_TRUE(client()->clipboard_read(buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "hel");
    ASSERT_TRUE(client()->clipboard_write(nullptr));
    EXPECT_FALSE(client()->clipboard_has_text());
}

TEST_F(INPUT, another_programs_clipboard_text_comes_through_the_back_end)
{
    headless_set_foreign_clipboard("from elsewhere");
    EXPECT_EQ(client()->clipboard_length(), 14);
    char buffer[64];
    ASSERT_TRUE(client()->clipboard_read(buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "from elsewhere");
    ASSERT_TRUE(client()->clipboard_read(buffer, 1));
    EXPECT_STREQ(buffer, "");
    headless_set_foreign_clipboard(nullptr);
    EXPECT_FALSE(client()->clipboard_read(buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "");
}

TEST_F(INPUT, the_clock_is_the_one_the_test_sets)
{
    headless_set_time(123456);
    EXPECT_EQ(milliseconds_now(), 123456u);
    headless_advance_time(44);
    EXPECT_EQ(milliseconds_now(), 123500u);
}

TEST_F(INPUT, an_idle_pump_would_wait_and_a_busy_one_would_not)
{
    pump_events();
    EXPECT_EQ(headless_idle_waits(), 1);
    screen_updated = 1; // something was drawn this frame
    pump_events();
    EXPECT_EQ(headless_idle_waits(), 1);
    EXPECT_EQ(screen_updated, 0) << "the pump clears the flag";
    set_idle_wait(0); // installing: never wait
    pump_events();
    EXPECT_EQ(headless_idle_waits(), 1);
    set_idle_wait(50);
}

TEST_F(INPUT, key_names_have_a_lower_and_an_upper_form)
{
    EXPECT_STREQ(client()->key_name('q', false), "q");
    EXPECT_STREQ(client()->key_name('q', true), "Q");
    EXPECT_STREQ(client()->key_name(KEY_RETURN, false), "Return");
    EXPECT_STREQ(client()->key_name(0x12345678, false), "");
}

TEST(INPUT_WITHOUT_WINDOW, the_pump_only_clears_the_screen_flag)
{
    use_display_back_end(nullptr);
    screen_updated = 1;
    pump_events();
    EXPECT_EQ(screen_updated, 0);
    EXPECT_FALSE(ORLU_EVENT_CLIENT::key_is_down(KEY_SHIFT_LEFT));
}

} // namespace

// A back end that drains many events in one pump (the X server's queue) asks before each button
// event whether the widgets have had a frame to see the change before it.
TEST_F(INPUT, a_release_behind_its_press_in_one_pump_waits_for_the_next_frame)
{
    pump_events();
    EXPECT_FALSE(input_button_event_waits(1)) << "the first button event of a pump never waits";
    input_button_event(1, true, 10, 10);
    EXPECT_TRUE(input_button_event_waits(1)) << "a tap's release must not undo its press unseen";
    EXPECT_TRUE(input_button_event_waits(3)) << "nor may another button change in the same frame";
    EXPECT_FALSE(input_button_event_waits(4)) << "wheel notches only count";
    EXPECT_TRUE(input_motion_event_waits()) << "the press must be seen where it happened";
    pump_events();
    EXPECT_FALSE(input_button_event_waits(1));
    input_button_event(1, false, 10, 10);
    EXPECT_EQ(button_mask & BUTTON_PRIMARY, 0u);
}

TEST_F(INPUT, a_release_behind_a_drag_move_in_one_pump_waits_for_the_next_frame)
{
    input_button_event(1, true, 10, 10);
    pump_events();
    input_motion_event(50, 60);
    EXPECT_TRUE(input_button_event_waits(1)) << "the drag's last position must be seen held";
    pump_events();
    input_button_event(3, true, 50, 60);
    input_button_event(3, false, 50, 60);
    pump_events();
    input_button_event(1, false, 50, 60);
    pump_events();
    input_motion_event(70, 80);
    EXPECT_FALSE(input_motion_event_waits());
    EXPECT_FALSE(input_button_event_waits(1)) << "a move with no button held changes nothing";
}
