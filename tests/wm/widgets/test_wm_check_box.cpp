// WM_CHECK_BOX: two buttons that act as one. Named after the cells of its table.

#include "widget_screen.h"

#include "host/input.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_check_box.h"

namespace {

struct TOGGLES {
    INT_S32 calls { 0 };
    WM_SCREEN_OBJECT* sender { nullptr };
    bool state { false };
};

INT_S32 toggled(WM_SCREEN_OBJECT* object, PTR_INT_CAST data1, PTR_INT_CAST)
{
    TOGGLES* log = reinterpret_cast<TOGGLES*>(data1);
    ++log->calls;
    log->sender = object;
    log->state = static_cast<WM_CHECK_BOX*>(object)->is_checked();
    return 0;
}

const COLOUR TEXT = COLOUR::from_argb(0xFF000000u);
const COLOUR FACE = COLOUR::from_argb(0xFFE0E0E0u);

WM_CHECK_BOX* make_box(TOGGLES* log, INT_S16 y, bool checked = false)
{
    return new WM_CHECK_BOX(100, y, 299, static_cast<INT_S16>(y + 23), "Desktop shortcut", TEXT, FACE, FACE, 10, 14,
        14, checked, toggled, reinterpret_cast<PTR_INT_CAST>(log), 0);
}

class CHECK_BOX : public WIDGET_SCREEN {};

} // namespace

TEST_F(CHECK_BOX, the_box_is_square_the_label_beside_it_and_both_answer_as_the_check_box)
{
    TOGGLES log;
    WM_CHECK_BOX* box = make_box(&log, 100);
    add(box);
    EXPECT_EQ(box->box->width, box->box->height);
    EXPECT_EQ(box->box->height, 22);
    EXPECT_EQ(box->label->x, 100 + 24 + box->gap);
    EXPECT_EQ(box->label->x + box->label->width, 300);
    EXPECT_EQ(page->object_at(110, 110), box);
    EXPECT_EQ(page->object_at(250, 110), box);
    EXPECT_EQ(manager->object_at(250, 110), box);
}

TEST_F(CHECK_BOX, a_click_on_the_box_or_the_label_toggles_calls_back_and_takes_the_focus)
{
    TOGGLES log;
    WM_CHECK_BOX* box = make_box(&log, 100);
    add(box);
    click(110, 110);
    EXPECT_EQ(log.calls, 1);
    EXPECT_EQ(log.sender, box);
    EXPECT_TRUE(log.state);
    EXPECT_STREQ(box->box->get_title(), "X");
    EXPECT_EQ(wm_toolkit.focus_object, box);
    // The next click comes some frames later, as a person's would.
    frames(3, 50);
    click(250, 110);
    EXPECT_EQ(log.calls, 2);
    EXPECT_FALSE(log.state);
    EXPECT_FALSE(box->is_checked());
    EXPECT_STREQ(box->box->get_title(), " ");

    // Set by the program: the state changes without a call.
    box->set_checked(true);
    frame();
    EXPECT_TRUE(box->is_checked());
    EXPECT_STREQ(box->box->get_title(), "X");
    EXPECT_EQ(log.calls, 2);

    box->set_enabled(false);
    click(110, 110);
    click(250, 110);
    EXPECT_EQ(log.calls, 2);
    EXPECT_FALSE(box->can_take_focus());
}

TEST_F(CHECK_BOX, two_check_boxes_are_two_focus_stops_and_return_toggles_the_focused_one)
{
    TOGGLES first_log;
    TOGGLES second_log;
    WM_CHECK_BOX* first = make_box(&first_log, 100);
    WM_CHECK_BOX* second = make_box(&second_log, 140);
    add(first);
    add(second);
    for (WM_CHECK_BOX* expected : { first, second, first }) {
        ASSERT_TRUE(manager->focus_next());
        EXPECT_EQ(wm_toolkit.focus_object, expected);
    }
    type_key(KEY_RETURN);
    EXPECT_EQ(first_log.calls, 1);
    EXPECT_TRUE(first->is_checked());
    EXPECT_EQ(second_log.calls, 0);
}
