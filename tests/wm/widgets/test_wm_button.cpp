// WM_BUTTON through the headless screen. The tests are named after the cells of the press and
// drag machines in wm_button.h: <state>_<what happens>_<outcome>.

#include "widget_screen.h"

#include <string>
#include <vector>

#include "host/headless/headless_display.h"
#include "host/input.h"
#include "wm/core/wm_action.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_script.h"

namespace {

// What the callbacks saw.
struct LOG {
    std::vector<std::string> events;
    INT_S32 answer { 0 };
};

INT_S32 record(WM_SCREEN_OBJECT* object, PTR_INT_CAST data1, PTR_INT_CAST data2)
{
    LOG* log = reinterpret_cast<LOG*>(data1);
    WM_BUTTON* button = static_cast<WM_BUTTON*>(object);
    std::string name = data2 ? reinterpret_cast<const char*>(data2) : "click";
    log->events.push_back(name + (button->fired_on_release ? ":release" : ":other"));
    return log->answer;
}

const COLOUR TEXT = COLOUR::from_argb(0xFF000000u);
const COLOUR FACE = COLOUR::from_argb(0xFFC0C0C0u);
const COLOUR HELD = COLOUR::from_argb(0xFF8080FFu);

// A plain button from (100, 100) to (199, 139).
WM_BUTTON* plain_button(LOG* log, INT_U8 trigger, const char* name = nullptr, const char* title = "Press")
{
    return new WM_BUTTON(100, 100, 199, 139, title, TEXT, FACE, HELD, 0, 10, 14, 14, -1, -1, -1, -1, -1, -1,
        trigger, record, reinterpret_cast<PTR_INT_CAST>(log), reinterpret_cast<PTR_INT_CAST>(name));
}

class BUTTON_MACHINE : public WIDGET_SCREEN {
protected:
    // Puts the button on the page and brings the pointer over it, one frame later.
    WM_BUTTON* hovered(WM_BUTTON* button)
    {
        add(button);
        move(150, 120);
        frame();
        return button;
    }

    LOG log;
};

} // namespace

// --- Press machine ---------------------------------------------------------------------------------

TEST_F(BUTTON_MACHINE, idle_pointer_enters_hovered_and_leaves_idle)
{
    WM_BUTTON* button = hovered(plain_button(&log, TRIGGER_RELEASE));
    EXPECT_EQ(button->was_over, 1);
    move(300, 300);
    frame();
    EXPECT_EQ(button->was_over, 0);
    EXPECT_TRUE(log.events.empty());
}

TEST_F(BUTTON_MACHINE, hovered_primary_down_sends_press_and_looks_down)
{
    WM_BUTTON* button = hovered(plain_button(&log, TRIGGER_PRESS));
    press();
    EXPECT_EQ(frame(), WM_ACTION_KEEP_FOCUS);
    ASSERT_EQ(log.events.size(), 1u);
    EXPECT_EQ(log.events[0], "click:other");
    EXPECT_EQ(button->looks_down, 1);
    EXPECT_TRUE(button->has_focus());
    release();
    frame();
    EXPECT_EQ(log.events.size(), 1u);
    EXPECT_EQ(button->looks_down, 0);
}

TEST_F(BUTTON_MACHINE, pressed_primary_up_on_it_sends_one_release)
{
    WM_BUTTON* button = hovered(plain_button(&log, TRIGGER_RELEASE));
    press();
    frame();
    EXPECT_TRUE(log.events.empty());
    release();
    frame();
    frame();
    ASSERT_EQ(log.events.size(), 1u);
    EXPECT_EQ(log.events[0], "click:release");
    EXPECT_EQ(button->looks_down, 0);
    EXPECT_EQ(button->press_started, 0);
}

TEST_F(BUTTON_MACHINE, pressed_pointer_leaves_then_primary_up_off_it_sends_nothing_and_the_face_comes_up)
{
    WM_BUTTON* button = hovered(plain_button(&log, TRIGGER_RELEASE));
    press();
    frame();
    move(300, 300);
    frame();
    // Pressed off: a push button keeps its pressed face while the primary button is held.
    EXPECT_EQ(button->looks_down, 1);
    EXPECT_EQ(button->press_started, 1);
    release();
    frame();
    EXPECT_TRUE(log.events.empty());
    EXPECT_EQ(button->looks_down, 0);
    EXPECT_EQ(button->press_started, 0);
}

TEST_F(BUTTON_MACHINE, pressed_off_primary_up_sends_outside_only_with_trigger_8)
{
    hovered(plain_button(&log, TRIGGER_RELEASE | TRIGGER_OUTSIDE));
    press();
    frame();
    move(300, 300);
    frame();
    release();
    frame();
    ASSERT_EQ(log.events.size(), 1u);
    EXPECT_EQ(log.events[0], "click:other");
}

TEST_F(BUTTON_MACHINE, pressed_off_pointer_comes_back_and_release_on_it_sends_release)
{
    WM_BUTTON* button = hovered(plain_button(&log, TRIGGER_RELEASE));
    press();
    frame();
    move(300, 300);
    frame();
    move(160, 125);
    frame();
    release();
    frame();
    ASSERT_EQ(log.events.size(), 1u);
    EXPECT_EQ(log.events[0], "click:release");
    (void)button;
}

TEST_F(BUTTON_MACHINE, idle_primary_down_begun_off_it_then_released_on_it_sends_nothing)
{
    add(plain_button(&log, TRIGGER_PRESS | TRIGGER_RELEASE));
    move(300, 300);
    press();
    frame();
    move(150, 120);
    frame();
    release();
    frame();
    EXPECT_TRUE(log.events.empty());
}

TEST_F(BUTTON_MACHINE, pressed_wait_passes_repeats_after_300_then_every_30_ms_only_while_on_it)
{
    hovered(plain_button(&log, TRIGGER_REPEAT));
    press();
    frame();
    EXPECT_EQ(log.events.size(), 0u);
    advance(299);
    frame();
    EXPECT_EQ(log.events.size(), 0u);
    advance(1);
    frame();
    EXPECT_EQ(log.events.size(), 1u);
    advance(29);
    frame();
    EXPECT_EQ(log.events.size(), 1u);
    advance(1);
    frame();
    EXPECT_EQ(log.events.size(), 2u);
    advance(30);
    frame();
    EXPECT_EQ(log.events.size(), 3u);
    // Off the button nothing repeats, however long it is held.
    move(300, 300);
    frame();
    frames(10, 30);
    EXPECT_EQ(log.events.size(), 3u);
    // Back on it, the repeats go on.
    move(150, 120);
    advance(30);
    frame();
    EXPECT_EQ(log.events.size(), 4u);
}

TEST_F(BUTTON_MACHINE, repeating_primary_up_sends_no_release)
{
    hovered(plain_button(&log, TRIGGER_RELEASE | TRIGGER_REPEAT));
    press();
    frame();
    advance(300);
    frame();
    ASSERT_EQ(log.events.size(), 1u);
    release();
    frame();
    EXPECT_EQ(log.events.size(), 1u);
    EXPECT_EQ(log.events[0], "click:other");
}

TEST_F(BUTTON_MACHINE, callback_answer_is_the_frame_code_and_silence_keeps_the_focus)
{
    add(plain_button(&log, TRIGGER_RELEASE));
    log.answer = 77;
    EXPECT_EQ(click(150, 120), 77);
    log.answer = 0;
    EXPECT_EQ(click(150, 120), WM_ACTION_KEEP_FOCUS);
}

// --- Keyboard ------------------------------------------------------------------------------------

TEST_F(BUTTON_MACHINE, return_on_the_focused_button_fires_at_release_with_trigger_2)
{
    WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE);
    add(button);
    button->take_focus();
    key_down(KEY_RETURN);
    frame();
    EXPECT_TRUE(log.events.empty());
    EXPECT_EQ(button->looks_down, 1);
    key_up(KEY_RETURN);
    frame();
    ASSERT_EQ(log.events.size(), 1u);
    EXPECT_EQ(log.events[0], "click:release");
}

TEST_F(BUTTON_MACHINE, return_on_the_focused_button_fires_at_press_with_trigger_1)
{
    WM_BUTTON* button = plain_button(&log, TRIGGER_PRESS);
    add(button);
    button->take_focus();
    key_down(KEY_RETURN);
    frame();
    EXPECT_EQ(log.events.size(), 1u);
    key_up(KEY_RETURN);
    frame();
    EXPECT_EQ(log.events.size(), 1u);
}

TEST_F(BUTTON_MACHINE, return_on_an_unfocused_button_does_nothing)
{
    WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE, "unfocused");
    WM_BUTTON* focused = new WM_BUTTON(300, 100, 399, 139, "Other", TEXT, FACE, HELD, 0, 10, 14, 14, -1, -1, -1, -1,
        -1, -1, TRIGGER_RELEASE, record, reinterpret_cast<PTR_INT_CAST>(&log),
        reinterpret_cast<PTR_INT_CAST>("focused"));
    add(button);
    add(focused);
    focused->take_focus();
    type_key(KEY_RETURN);
    ASSERT_EQ(log.events.size(), 1u);
    EXPECT_EQ(log.events[0], "focused:release");
    EXPECT_FALSE(button->has_focus());
}

TEST_F(BUTTON_MACHINE, default_button_fires_on_return_whatever_has_the_focus)
{
    WM_BUTTON* other = plain_button(&log, TRIGGER_RELEASE, "other");
    WM_BUTTON* fallback = new WM_BUTTON(300, 100, 399, 139, "OK", TEXT, FACE, HELD, 0, 10, 14, 14, -1, -1, -1, -1,
        -1, -1, TRIGGER_RELEASE, record, reinterpret_cast<PTR_INT_CAST>(&log),
        reinterpret_cast<PTR_INT_CAST>("default"));
    fallback->set_default(true);
    add(fallback);
    add(other);
    other->focusable = 0;
    type_key(KEY_RETURN);
    ASSERT_EQ(log.events.size(), 1u);
    EXPECT_EQ(log.events[0], "default:release");
}

TEST_F(BUTTON_MACHINE, shortcut_key_fires_whatever_has_the_focus)
{
    WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE);
    button->set_shortcut_key(KEY_ESCAPE);
    add(button);
    type_key(KEY_ESCAPE);
    ASSERT_EQ(log.events.size(), 1u);
    EXPECT_EQ(log.events[0], "click:release");
}

// --- Click modes -----------------------------------------------------------------------------------

TEST_F(BUTTON_MACHINE, click_mode_2_fires_as_the_pointer_enters_and_a_real_press_does_nothing)
{
    WM_BUTTON* button = new WM_BUTTON(100, 100, 199, 139, "Hover", TEXT, FACE, HELD, 2, 10, 14, 14, -1, -1, -1, -1,
        -1, -1, TRIGGER_PRESS, record, reinterpret_cast<PTR_INT_CAST>(&log), 0);
    hovered(button);
    ASSERT_EQ(log.events.size(), 1u);
    EXPECT_EQ(button->looks_down, 1);
    press();
    frame();
    release();
    frame();
    EXPECT_EQ(log.events.size(), 1u);
    move(300, 300);
    frame();
    EXPECT_EQ(button->looks_down, 0);
    move(150, 120);
    frame();
    EXPECT_EQ(log.events.size(), 2u);
}

TEST_F(BUTTON_MACHINE, click_mode_1_face_follows_the_pointer)
{
    WM_BUTTON* button = new WM_BUTTON(100, 100, 199, 139, "Follow", TEXT, FACE, HELD, 1, 10, 14, 14, -1, -1, -1, -1,
        -1, -1, TRIGGER_RELEASE, record, reinterpret_cast<PTR_INT_CAST>(&log), 0);
    hovered(button);
    EXPECT_EQ(button->looks_down, 1);
    move(300, 300);
    frame();
    EXPECT_EQ(button->looks_down, 0);
    EXPECT_TRUE(log.events.empty());
}

// --- Enabled state ---------------------------------------------------------------------------------

TEST_F(BUTTON_MACHINE, disabling_a_held_button_drops_its_pressed_state_and_it_fires_nothing)
{
    WM_BUTTON* button = hovered(plain_button(&log, TRIGGER_PRESS | TRIGGER_RELEASE));
    press();
    frame();
    ASSERT_EQ(log.events.size(), 1u);
    ASSERT_EQ(button->looks_down, 1);
    button->set_enabled(false);
    EXPECT_EQ(button->looks_down, 0);
    EXPECT_EQ(button->press_started, 0);
    frame();
    // Enabled again while still held: no new press, and the release that follows is no click.
    button->set_enabled(true);
    frame();
    release();
    frame();
    EXPECT_EQ(log.events.size(), 1u);
    EXPECT_EQ(button->looks_down, 0);
}

TEST_F(BUTTON_MACHINE, disabled_button_ignores_clicks_and_keys_and_takes_no_focus)
{
    WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE);
    button->set_enabled(false);
    add(button);
    click(150, 120);
    button->take_focus();
    EXPECT_FALSE(button->has_focus());
    type_key(KEY_RETURN);
    EXPECT_TRUE(log.events.empty());
}

// --- Drag machine ------------------------------------------------------------------------------------

namespace {

struct DRAG_LOG {
    std::vector<INT_U32> events;
    std::vector<WM_SCREEN_OBJECT*> targets;
};

INT_S32 record_drag(WM_BUTTON*, WM_SCREEN_OBJECT* target, INT_S16, INT_S16, INT_U32 event, PTR_INT_CAST data1,
    PTR_INT_CAST)
{
    DRAG_LOG* log = reinterpret_cast<DRAG_LOG*>(data1);
    log->events.push_back(event);
    log->targets.push_back(target);
    return 0;
}

} // namespace

TEST_F(BUTTON_MACHINE, armed_all_buttons_up_where_it_began_sends_click_event_2_and_no_click)
{
    DRAG_LOG drags;
    WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE);
    button->set_drag(record_drag, reinterpret_cast<PTR_INT_CAST>(&drags), 0, 0xF);
    hovered(button);
    press();
    frame();
    release();
    frame();
    ASSERT_EQ(drags.events.size(), 1u);
    EXPECT_EQ(drags.events[0], DRAG_CLICK);
    EXPECT_EQ(drags.targets[0], button);
    EXPECT_TRUE(log.events.empty());
    EXPECT_EQ(button->drag_x, -1);
}

TEST_F(BUTTON_MACHINE, armed_pointer_moves_starts_the_drag_then_a_drop_on_another_object_sends_4)
{
    DRAG_LOG drags;
    WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE);
    button->set_drag(record_drag, reinterpret_cast<PTR_INT_CAST>(&drags), 0, 0xF);
    WM_BUTTON* target = new WM_BUTTON(300, 300, 399, 339, "Bin", TEXT, FACE, HELD, 0, 10, 14, 14, -1, -1, -1, -1, -1,
        -1, TRIGGER_RELEASE, nullptr, 0, 0);
    add(button);
    add(target);
    move(150, 120);
    frame();
    press();
    frame();
    move(200, 200);
    frame();
    ASSERT_EQ(drags.events.size(), 1u);
    EXPECT_EQ(drags.events[0], DRAG_START);
    EXPECT_EQ(button->dragged, 1);
    EXPECT_TRUE(WM_SCREEN_OBJECT::is_overlay(button));
    move(350, 320);
    frame();
    release();
    frame();
    ASSERT_EQ(drags.events.size(), 2u);
    EXPECT_EQ(drags.events[1], DRAG_DROP);
    EXPECT_EQ(drags.targets[1], target);
    EXPECT_EQ(button->dragged, 0);
    EXPECT_FALSE(WM_SCREEN_OBJECT::is_overlay(button));
    EXPECT_TRUE(log.events.empty());
}

TEST_F(BUTTON_MACHINE, dragging_dropped_back_on_itself_sends_8)
{
    DRAG_LOG drags;
    WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE);
    button->set_drag(record_drag, reinterpret_cast<PTR_INT_CAST>(&drags), 0, 0xF);
    hovered(button);
    press();
    frame();
    move(300, 300);
    frame();
    move(110, 110);
    frame();
    release();
    frame();
    ASSERT_EQ(drags.events.size(), 2u);
    EXPECT_EQ(drags.events[1], DRAG_RETURN);
}

TEST_F(BUTTON_MACHINE, dragged_picture_is_painted_under_the_pointer)
{
    DRAG_LOG drags;
    WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE);
    button->set_drag(record_drag, reinterpret_cast<PTR_INT_CAST>(&drags), 0, 0xF);
    add(button);
    frame();
    ASSERT_TRUE(all_of(400, 300, 499, 339, PAGE_COLOUR));
    move(150, 120);
    frame();
    press();
    frame();
    move(450, 320);
    frame();
    // The picture follows at the pointer plus the offset of the press: (400, 300).
    EXPECT_GT(count_not(400, 300, 499, 339, PAGE_COLOUR), 2000);
    release();
    frame();
    EXPECT_TRUE(all_of(400, 300, 499, 339, PAGE_COLOUR));
}

// --- Hints ---------------------------------------------------------------------------------------------

TEST_F(BUTTON_MACHINE, hint_shows_after_the_pointer_rests_and_the_next_button_shows_its_own_at_once)
{
    WM_BUTTON* first = new WM_BUTTON(100, 100, 199, 139, nullptr, "One", "First hint", nullptr, 0, 0, TRIGGER_RELEASE);
    WM_BUTTON* second = new WM_BUTTON(200, 100, 299, 139, nullptr, "Two", "Second hint", nullptr, 0, 0, TRIGGER_RELEASE);
    add(first);
    add(second);
    ASSERT_NE(first->hint, nullptr);
    move(150, 120);
    frame();
    EXPECT_FALSE(first->hint->visible);
    frames(4, 500);
    EXPECT_TRUE(first->hint->visible);
    EXPECT_TRUE(WM_SCREEN_OBJECT::is_overlay(first->hint));
    // Across to the neighbour: its hint at once, the first one gone.
    move(250, 120);
    frame();
    frame();
    EXPECT_FALSE(first->hint->visible);
    EXPECT_TRUE(second->hint->visible);
    // Away from both: no hint.
    move(500, 400);
    frame();
    EXPECT_FALSE(second->hint->visible);
}

// --- Painting ------------------------------------------------------------------------------------------

TEST_F(BUTTON_MACHINE, a_title_three_times_too_long_never_paints_outside_the_button)
{
    std::string long_title = "A translation three times longer than the button allows, and more";
    WM_BUTTON* button = new WM_BUTTON(100, 100, 199, 139, long_title.c_str(), TEXT, FACE, HELD, 0, 10, 14, 14, -1,
        -1, -1, -1, -1, -1, TRIGGER_RELEASE, nullptr, 0, 0);
    add(button);
    frame();
    INT_S32 title_width = screen()->text_width(10, 14, 14, long_title.c_str());
    ASSERT_GT(title_width, 3 * 100);
    // Around the button the page is untouched.
    EXPECT_TRUE(all_of(0, 90, 99, 149, PAGE_COLOUR));
    EXPECT_TRUE(all_of(200, 90, 639, 149, PAGE_COLOUR));
    EXPECT_TRUE(all_of(100, 90, 199, 99, PAGE_COLOUR));
    EXPECT_TRUE(all_of(100, 140, 199, 149, PAGE_COLOUR));
    // Inside, the text shows.
    EXPECT_GT(count_not(100, 100, 199, 139, FACE), 100);
}

TEST_F(BUTTON_MACHINE, hover_repaints_only_the_button)
{
    WM_BUTTON* button = new WM_BUTTON(100, 100, 199, 139, nullptr, "Hover", nullptr, record,
        reinterpret_cast<PTR_INT_CAST>(&log), 0, TRIGGER_RELEASE);
    button->over_colour = COLOUR_RED;
    add(button);
    frame();
    // Something beside it that a repaint there would wipe.
    screen()->fill_box(300, 300, 310, 310, COLOUR_GREEN, false);
    move(150, 120);
    frame();
    EXPECT_TRUE(all_of(300, 300, 310, 310, COLOUR_GREEN));
    EXPECT_EQ(pixel(150, 137), COLOUR_RED);
}

TEST_F(BUTTON_MACHINE, flashing_button_follows_the_flash_phase)
{
    WM_BUTTON* button = plain_button(nullptr, TRIGGER_RELEASE);
    button->flashing_colour = COLOUR_YELLOW;
    button->set_flash(8);  // bit 3: 500 ms on, 500 ms off
    add(button);
    headless_set_time(200000);
    frame();
    bool first = button->flash_on != 0;
    advance(500);
    frame();
    EXPECT_NE(button->flash_on != 0, first);
    COLOUR lit = button->flash_on ? COLOUR_YELLOW : FACE;
    EXPECT_EQ(pixel(105, 137), lit);
}

TEST_F(BUTTON_MACHINE, pointer_shape_is_a_hand_over_and_held_when_pressed)
{
    add(plain_button(&log, TRIGGER_RELEASE));
    manager->pointer_shapes_in_use = 1;
    move(150, 120);
    frame();
    EXPECT_EQ(manager->pointer_shape, POINTER_HAND);
    press();
    frame();
    EXPECT_EQ(manager->pointer_shape, POINTER_HELD);
    release();
    move(400, 400);
    frame();
    EXPECT_EQ(manager->pointer_shape, 0);
}

// --- Click mask ----------------------------------------------------------------------------------------

#include "io/data_file.h"
#include "io/folder.h"
#include "test_support.h"
#include "wm/widgets/wm_face.h"

TEST_F(BUTTON_MACHINE, a_button_with_faces_reacts_only_on_their_solid_pixels_unless_told_not_to_mask)
{
    // A face whose left half is clear.
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    IMAGE face(40, 40);
    face.fill_box(20, 0, 39, 39, COLOUR_RED, false);
    DATA_FILE* out = folder.open_data_file("half.png", FILE_WRITE, 0, false);
    ASSERT_NE(out, nullptr);
    ASSERT_TRUE(face.save_png(out));
    FOLDER::close_data_file(&out);

    WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE);
    button->set_size(40, 40, false);
    ASSERT_TRUE(button->set_images(temp.path().c_str(), "half", nullptr));
    add(button);
    click(105, 120);
    EXPECT_TRUE(log.events.empty());
    click(130, 120);
    EXPECT_EQ(log.events.size(), 1u);
    button->face_flags |= FACE_DONT_MASK_CLICK;
    click(105, 120);
    EXPECT_EQ(log.events.size(), 2u);
}
