// WM_BUTTON through the headless screen. The tests are named after the cells of the press and
// drag machines in wm_button.h: <state>_<what happens>_<outcome>.

#include "widget_screen.h"

#include <sstream>
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

// A plain button 100 by 40, from (100, 100) unless told otherwise; no log, no callback.
WM_BUTTON* plain_button(LOG* log, INT_U8 trigger, const char* name = nullptr, const char* title = "Press",
    INT_S16 x = 100, INT_S16 y = 100)
{
    return new WM_BUTTON(x, y, static_cast<INT_S16>(x + 99), static_cast<INT_S16>(y + 39), title, TEXT, FACE, HELD,
        0, 10, 14, 14, -1, -1, -1, -1, -1, -1, trigger, log ? record : nullptr, reinterpret_cast<PTR_INT_CAST>(log),
        reinterpret_cast<PTR_INT_CAST>(name));
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

    // A scripted person: "over" and "off" move the pointer onto the button and away, "down" and
    // "up" press and release the primary button, "hold" waits 300 ms; a frame follows each step.
    void step(const std::string& what)
    {
        if (what == "over")
            move(150, 120);
        else if (what == "off")
            move(300, 300);
        else if (what == "down")
            press();
        else if (what == "up")
            release();
        else if (what == "hold")
            advance(300);
        frame();
    }
    void run(const char* steps)
    {
        std::istringstream words(steps);
        for (std::string what; words >> what;)
            step(what);
    }

    LOG log;
};

} // namespace

// --- Press machine ---------------------------------------------------------------------------------

TEST_F(BUTTON_MACHINE, each_path_through_the_press_machine_sends_its_callbacks_and_ends_idle)
{
    struct CASE {
        const char* steps;
        INT_U8 trigger;
        std::vector<std::string> events;
    } cases[] = {
        { "over off", TRIGGER_RELEASE, {} },
        { "over down up", TRIGGER_PRESS, { "click:other" } },
        { "over down up", TRIGGER_RELEASE, { "click:release" } },
        // Released off the button: nothing, unless trigger 8 asks for it.
        { "over down off up", TRIGGER_RELEASE, {} },
        { "over down off up", TRIGGER_RELEASE | TRIGGER_OUTSIDE, { "click:other" } },
        { "over down off over up", TRIGGER_RELEASE, { "click:release" } },
        // A press begun off it and released on it is no click.
        { "off down over up", TRIGGER_PRESS | TRIGGER_RELEASE, {} },
        // A button that repeated sends no release.
        { "over down hold up", TRIGGER_RELEASE | TRIGGER_REPEAT, { "click:other" } },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(std::string(c.steps) + " trigger " + std::to_string(c.trigger));
        log.events.clear();
        move(0, 0);
        frame();
        WM_BUTTON* button = plain_button(&log, c.trigger);
        add(button);
        run(c.steps);
        frame();
        EXPECT_EQ(log.events, c.events);
        EXPECT_EQ(button->looks_down, 0);
        EXPECT_EQ(button->press_started, 0);
        page->clear_objects(true, true);
    }
}

TEST_F(BUTTON_MACHINE, the_face_follows_the_pointer_and_a_press_held_off_the_button_stays_down)
{
    WM_BUTTON* button = plain_button(&log, TRIGGER_PRESS);
    add(button);
    step("over");
    EXPECT_EQ(button->was_over, 1);
    press();
    EXPECT_EQ(frame(), WM_ACTION_KEEP_FOCUS);
    EXPECT_EQ(button->looks_down, 1);
    EXPECT_TRUE(button->has_focus());
    step("off");
    EXPECT_EQ(button->was_over, 0);
    // Pressed off: a push button keeps its pressed face while the primary button is held.
    EXPECT_EQ(button->looks_down, 1);
    EXPECT_EQ(button->press_started, 1);
}

TEST_F(BUTTON_MACHINE, pressed_wait_passes_repeats_after_300_then_every_30_ms_only_while_on_it)
{
    hovered(plain_button(&log, TRIGGER_REPEAT));
    press();
    frame();
    // Milliseconds to wait before each frame, and the repeats counted after it.
    const INT_U32 waits[][2] = { { 0, 0 }, { 299, 0 }, { 1, 1 }, { 29, 1 }, { 1, 2 }, { 30, 3 } };
    for (const auto& wait : waits) {
        advance(wait[0]);
        frame();
        EXPECT_EQ(log.events.size(), wait[1]) << "after " << wait[0];
    }
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

TEST_F(BUTTON_MACHINE, callback_answer_is_the_frame_code_and_silence_keeps_the_focus)
{
    add(plain_button(&log, TRIGGER_RELEASE));
    log.answer = 77;
    EXPECT_EQ(click(150, 120), 77);
    log.answer = 0;
    EXPECT_EQ(click(150, 120), WM_ACTION_KEEP_FOCUS);
}

// --- Keyboard ------------------------------------------------------------------------------------

TEST_F(BUTTON_MACHINE, return_on_the_focused_button_fires_at_press_or_release_by_its_trigger)
{
    WM_BUTTON* on_release = plain_button(&log, TRIGGER_RELEASE, "release");
    WM_BUTTON* on_press = plain_button(&log, TRIGGER_PRESS, "press", "Press", 300);
    add(on_release);
    add(on_press);
    on_release->take_focus();
    key_down(KEY_RETURN);
    frame();
    EXPECT_TRUE(log.events.empty());
    EXPECT_EQ(on_release->looks_down, 1);
    key_up(KEY_RETURN);
    frame();
    EXPECT_EQ(log.events, (std::vector<std::string> { "release:release" }));

    on_press->take_focus();
    key_down(KEY_RETURN);
    frame();
    EXPECT_EQ(log.events.size(), 2u);
    key_up(KEY_RETURN);
    frame();
    EXPECT_EQ(log.events, (std::vector<std::string> { "release:release", "press:other" }));
    EXPECT_FALSE(on_release->has_focus());
}

TEST_F(BUTTON_MACHINE, the_default_button_and_a_shortcut_key_fire_whatever_has_the_focus)
{
    WM_BUTTON* other = plain_button(&log, TRIGGER_RELEASE, "other");
    WM_BUTTON* fallback = plain_button(&log, TRIGGER_RELEASE, "default", "OK", 300);
    WM_BUTTON* cancel = plain_button(&log, TRIGGER_RELEASE, "shortcut", "Cancel", 400);
    fallback->set_default(true);
    cancel->set_shortcut_key(KEY_ESCAPE);
    add(fallback);
    add(other);
    add(cancel);
    other->focusable = 0;
    type_key(KEY_RETURN);
    type_key(KEY_ESCAPE);
    EXPECT_EQ(log.events, (std::vector<std::string> { "default:release", "shortcut:release" }));
}

// --- Click modes -----------------------------------------------------------------------------------

TEST_F(BUTTON_MACHINE, click_mode_2_fires_as_the_pointer_enters_and_in_mode_1_the_face_only_follows_it)
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

    // Click mode 1: the face follows the pointer, and nothing fires.
    WM_BUTTON* follow = new WM_BUTTON(300, 100, 399, 139, "Follow", TEXT, FACE, HELD, 1, 10, 14, 14, -1, -1, -1, -1,
        -1, -1, TRIGGER_RELEASE, record, reinterpret_cast<PTR_INT_CAST>(&log), 0);
    add(follow);
    move(350, 120);
    frame();
    EXPECT_EQ(follow->looks_down, 1);
    move(500, 300);
    frame();
    EXPECT_EQ(follow->looks_down, 0);
    EXPECT_EQ(log.events.size(), 2u);
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

TEST_F(BUTTON_MACHINE, a_drag_button_sends_click_start_drop_and_return_by_where_it_is_let_go)
{
    struct CASE {
        const char* steps;
        std::vector<INT_U32> events;
        bool dropped_on_target;
    } cases[] = {
        // All buttons up where it began: event 2, and no click.
        { "over down up", { DRAG_CLICK }, false },
        { "over down off drop up", { DRAG_START, DRAG_DROP }, true },
        { "over down off home up", { DRAG_START, DRAG_RETURN }, false },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.steps);
        DRAG_LOG drags;
        log.events.clear();
        WM_BUTTON* button = plain_button(&log, TRIGGER_RELEASE);
        button->set_drag(record_drag, reinterpret_cast<PTR_INT_CAST>(&drags), 0, 0xF);
        WM_BUTTON* target = plain_button(nullptr, TRIGGER_RELEASE, nullptr, "Bin", 300, 300);
        add(button);
        add(target);
        std::istringstream words(c.steps);
        for (std::string what; words >> what;) {
            if (what == "drop")
                move(350, 320);
            else if (what == "home")
                move(110, 110);
            step(what);
            if (what == "off") {
                EXPECT_EQ(button->dragged, 1);
                EXPECT_TRUE(WM_SCREEN_OBJECT::is_overlay(button));
            }
        }
        EXPECT_EQ(drags.events, c.events);
        EXPECT_EQ(drags.targets.back(), c.dropped_on_target ? target : button);
        EXPECT_EQ(button->dragged, 0);
        EXPECT_EQ(button->drag_x, -1);
        EXPECT_FALSE(WM_SCREEN_OBJECT::is_overlay(button));
        EXPECT_TRUE(log.events.empty());
        page->clear_objects(true, true);
    }
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

TEST_F(BUTTON_MACHINE, hover_repaints_only_the_button_and_sets_the_pointer_shape)
{
    WM_BUTTON* button = new WM_BUTTON(100, 100, 199, 139, nullptr, "Hover", nullptr, record,
        reinterpret_cast<PTR_INT_CAST>(&log), 0, TRIGGER_RELEASE);
    button->over_colour = COLOUR_RED;
    add(button);
    frame();
    // Something beside it that a repaint there would wipe.
    screen()->fill_box(300, 300, 310, 310, COLOUR_GREEN, false);
    manager->pointer_shapes_in_use = 1;
    move(150, 120);
    frame();
    EXPECT_TRUE(all_of(300, 300, 310, 310, COLOUR_GREEN));
    EXPECT_EQ(pixel(150, 137), COLOUR_RED);
    // The pointer is a hand over it, and held while it is pressed.
    EXPECT_EQ(manager->pointer_shape, POINTER_HAND);
    press();
    frame();
    EXPECT_EQ(manager->pointer_shape, POINTER_HELD);
    release();
    move(400, 400);
    frame();
    EXPECT_EQ(manager->pointer_shape, 0);
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
