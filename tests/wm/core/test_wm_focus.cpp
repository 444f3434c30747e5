// The keyboard focus: Tab and Shift+Tab through the objects in their visible order, Control+Tab
// between areas, the focus kept inside an open overlay, repair when the focus object goes, the
// focus mark on screen, and a page worked by keyboard alone.

#include <deque>

#include "page_fixture.h"
#include "wm/core/wm_action.h"

namespace {

class FOCUS : public TOOLKIT_TEST {
protected:
    void SetUp() override
    {
        TOOLKIT_TEST::SetUp();
        make_manager(2);
        manager->transition_time = 0;
    }

    // A focusable probe on area `area` at (x, y).
    PROBE* focusable(INT_S32 area, const char* name, INT_S32 x, INT_S32 y)
    {
        PROBE* probe = new PROBE(name, x, y, 40, 20, COLOUR::from_argb(0xFF404040u), true);
        manager->areas[area]->add_child(probe, false);
        return probe;
    }

    // The modifiers are held through the frame that sees the Tab.
    void press_tab(bool shift, bool control)
    {
        if (shift)
            headless_press_key(KEY_SHIFT_LEFT, 0);
        if (control)
            headless_press_key(KEY_CONTROL_LEFT, 0);
        headless_type_key(KEY_TAB, '\t');
        frame();
        if (control)
            headless_release_key(KEY_CONTROL_LEFT);
        if (shift)
            headless_release_key(KEY_SHIFT_LEFT);
    }

    std::string focus_name() const
    {
        return wm_toolkit.focus_object ? static_cast<PROBE*>(wm_toolkit.focus_object)->name : "";
    }

    std::deque<TEST_PAGE> pages_;
};

} // namespace

TEST_F(FOCUS, the_first_frame_focuses_the_first_object_and_tab_goes_through_the_order_both_ways)
{
    focusable(0, "a", 10, 10);
    manager->areas[0]->add_child(new PROBE("plain", 10, 40, 40, 20), false);
    PROBE* hidden = focusable(0, "hidden", 10, 70);
    hidden->hide(false, false);
    PROBE* parent = focusable(0, "b", 10, 100);
    parent->add_child(new PROBE("b.child", 12, 102, 10, 10, COLOUR(), true), false);
    focusable(1, "c", 200, 10);
    frame();
    ASSERT_EQ(focus_name(), "a");
    std::vector<std::string> order;
    for (int i = 0; i < 4; ++i) {
        press_tab(false, false);
        order.push_back(focus_name());
    }
    EXPECT_EQ(order, (std::vector<std::string> { "b", "b.child", "c", "a" }));
    EXPECT_EQ(last_key, 0u) << "the Tab is taken by the focus";
    // Shift+Tab goes backwards and wraps to the last.
    order.clear();
    for (int i = 0; i < 4; ++i) {
        press_tab(true, false);
        order.push_back(focus_name());
    }
    EXPECT_EQ(order, (std::vector<std::string> { "c", "b.child", "b", "a" }));
}

TEST_F(FOCUS, control_tab_moves_to_the_first_object_of_the_next_area_and_back)
{
    focusable(0, "a1", 10, 10);
    focusable(0, "a2", 10, 40);
    focusable(1, "b1", 200, 10);
    focusable(1, "b2", 200, 40);
    frame();
    press_tab(false, false);
    ASSERT_EQ(focus_name(), "a2");
    press_tab(false, true);
    EXPECT_EQ(focus_name(), "b1");
    press_tab(false, true);
    EXPECT_EQ(focus_name(), "a1") << "cyclic";
    press_tab(true, true);
    EXPECT_EQ(focus_name(), "b1");
}

TEST_F(FOCUS, with_an_overlay_open_the_focus_goes_into_it_and_stays_there)
{
    focusable(0, "page", 10, 10);
    frame();
    ASSERT_EQ(focus_name(), "page");
    PROBE* dialog = new PROBE("dialog", 100, 100, 120, 80);
    dialog->add_child(new PROBE("yes", 110, 150, 40, 20, COLOUR(), true), false);
    dialog->add_child(new PROBE("no", 160, 150, 40, 20, COLOUR(), true), false);
    manager->areas[0]->add_overlay(dialog, false);
    frame();
    EXPECT_EQ(focus_name(), "yes") << "the page's object was not reached: the focus moved on";
    press_tab(false, false);
    EXPECT_EQ(focus_name(), "no");
    press_tab(false, false);
    EXPECT_EQ(focus_name(), "yes");
    press_tab(false, true);
    EXPECT_EQ(focus_name(), "yes") << "no area steps while an overlay is open";
}

TEST_F(FOCUS, a_removed_focus_object_hands_the_focus_on_and_a_hidden_last_one_leaves_none)
{
    PROBE* a = focusable(0, "a", 10, 10);
    focusable(0, "b", 10, 40);
    frame();
    ASSERT_EQ(focus_name(), "a");
    manager->areas[0]->remove_child(a, true, false);
    frame();
    EXPECT_EQ(focus_name(), "b");

    // Hidden with nothing to take over: no focus, and the object hears of it.
    static INT_S32 lost = 0;
    lost = 0;
    PROBE* b = static_cast<PROBE*>(wm_toolkit.focus_object);
    b->focus_callback = [](WM_SCREEN_OBJECT* object, PTR_INT_CAST) {
        if (!object->has_focus())
            ++lost;
    };
    b->hide(false, false);
    frame();
    EXPECT_EQ(wm_toolkit.focus_object, nullptr);
    EXPECT_EQ(lost, 1);
}

TEST_F(FOCUS, the_focus_shows_as_a_dotted_frame_that_moves_with_it)
{
    PROBE* a = focusable(0, "a", 10, 10);
    PROBE* b = focusable(0, "b", 10, 40);
    frame();
    const INT_U32 face = COLOUR::from_argb(0xFF404040u).value;
    const INT_U32 black = COLOUR::from_argb(0xFF000000u).value;
    const INT_U32 white = COLOUR::from_argb(0xFFFFFFFFu).value;
    // One pixel in from the edge, alternating by position.
    EXPECT_EQ(pixel(a->x + 1, a->y + 1), black);
    EXPECT_EQ(pixel(a->x + 2, a->y + 1), white);
    EXPECT_EQ(pixel(a->x + 5, a->y + 5), face);
    EXPECT_EQ(pixel(b->x + 1, b->y + 1), face);
    press_tab(false, false);
    EXPECT_EQ(pixel(a->x + 1, a->y + 1), face) << "the old object is painted again without it";
    EXPECT_EQ(pixel(b->x + 1, b->y + 1), black);
    // A widget that shows the focus in its own face gets no frame.
    b->draws_own_focus = 1;
    b->show(false);
    frame();
    EXPECT_EQ(pixel(b->x + 1, b->y + 1), face);
}

TEST_F(FOCUS, a_page_can_be_worked_with_the_keyboard_alone)
{
    // Page one: two buttons; the second goes to page two when activated.
    static WM_PAGE_MANAGER* owner = nullptr;
    static TEST_PAGE* next = nullptr;
    owner = manager;
    pages_.emplace_back();
    next = &pages_.back();
    next->name = "second";
    next->focusable = true;

    PROBE* stay = focusable(0, "stay", 10, 10);
    PROBE* go = focusable(0, "go", 10, 40);
    stay->keyboard_clicks = go->keyboard_clicks = true;
    static INT_S32 stayed = 0;
    stayed = 0;
    stay->left_callback = [](WM_SCREEN_OBJECT*, PTR_INT_CAST, PTR_INT_CAST) {
        ++stayed;
        return static_cast<INT_S32>(WM_ACTION_KEEP_FOCUS);
    };
    go->left_callback = [](WM_SCREEN_OBJECT*, PTR_INT_CAST, PTR_INT_CAST) {
        set_test_page(owner, 0, *next, true, 2);
        return static_cast<INT_S32>(WM_ACTION_PAGE);
    };
    frame();
    ASSERT_EQ(focus_name(), "stay");

    headless_press_key(KEY_RETURN, '\r');
    frame();
    headless_release_key(KEY_RETURN);
    frame();
    EXPECT_EQ(stayed, 1) << "Return on the focused object is its click";

    press_tab(false, false);
    ASSERT_EQ(focus_name(), "go");
    headless_press_key(KEY_RETURN, '\r');
    frame();
    headless_release_key(KEY_RETURN);
    EXPECT_EQ(frame(), WM_ACTION_PAGE);
    EXPECT_EQ(next->builds, 1);
    EXPECT_EQ(focus_name(), "second0") << "the new page's first object has the focus";
    EXPECT_EQ(stayed, 1);
}

TEST_F(FOCUS, a_grid_adds_its_cells_to_the_order_through_the_registered_walk)
{
    static PROBE* cells[2] = {};
    PROBE* grid = focusable(0, "grid", 10, 10);
    grid->focusable = 0;
    grid->type_flags |= WM_TYPE_GRID;
    cells[0] = new PROBE("cell1", 10, 10, 10, 10, COLOUR(), true);
    cells[1] = new PROBE("cell2", 30, 10, 10, 10, COLOUR(), true);
    focusable(0, "after", 10, 100);
    wm_toolkit.grid_cells = [](WM_SCREEN_OBJECT*, void (*visit)(WM_SCREEN_OBJECT*, void*), void* context) {
        visit(cells[0], context);
        visit(cells[1], context);
    };
    frame();
    EXPECT_EQ(focus_name(), "cell1");
    press_tab(false, false);
    EXPECT_EQ(focus_name(), "cell2");
    press_tab(false, false);
    EXPECT_EQ(focus_name(), "after");
    wm_toolkit.grid_cells = nullptr;
    wm_toolkit.focus_object = nullptr;
    delete cells[0];
    delete cells[1];
}
