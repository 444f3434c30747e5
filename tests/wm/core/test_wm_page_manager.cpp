// The page manager: entering pages, the history of 20, back and forward, the action codes, the
// input and tick passes with overlays, the display size, WM_PAGE_BASE and the history dump.

#include <cstring>
#include <deque>

#include "page_fixture.h"
#include "test_support.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_page_base.h"
#include "wm/core/wm_page_tool_manager.h"

namespace {

class PAGE_MANAGER : public TOOLKIT_TEST {
protected:
    void SetUp() override
    {
        TOOLKIT_TEST::SetUp();
        make_manager(1);
        // Page changes come at once here; the transitions have their own tests.
        manager->transition_time = 0;
    }

    // Sets a page and enters it at once.
    void enter(TEST_PAGE& page, bool store, INT_U32 id, INT_S32 area = 0)
    {
        set_test_page(manager, area, page, store, id);
        manager->process_all(area);
    }

    PAGE_AREA* area0() { return manager->areas[0]; }

    // Pages live as long as the fixture: the page manager frees them at tear-down.
    TEST_PAGE& new_page(const std::string& name)
    {
        pages_.emplace_back();
        pages_.back().name = name;
        return pages_.back();
    }

    // A new page, set and entered at once.
    TEST_PAGE& entered(const std::string& name, bool store, INT_U32 id, INT_S32 area = 0)
    {
        TEST_PAGE& page = new_page(name);
        enter(page, store, id, area);
        return page;
    }

    std::deque<TEST_PAGE> pages_;
};

} // namespace

// --- Entering pages ------------------------------------------------------------------------------

TEST_F(PAGE_MANAGER, the_first_page_of_an_area_comes_with_code_10_or_12_and_no_input_that_frame)
{
    TEST_PAGE& page = new_page("p");
    set_test_page(manager, 0, page, true, 1);
    EXPECT_EQ(page.builds, 0) << "set_page only makes it pending";
    EXPECT_EQ(frame(), WM_ACTION_PAGE);
    EXPECT_EQ(page.builds, 1);
    EXPECT_EQ(log_count("update:"), 0) << "the input pass is off in that frame";
    EXPECT_EQ(area0()->count, 1);
    EXPECT_EQ(area0()->current, 0);
    EXPECT_EQ(area0()->current_entry().id, 1u);
    EXPECT_EQ(frame(), 0);
    EXPECT_EQ(log_count("update:p0"), 1);
    // The page was painted at the end of the frame that entered it.
    EXPECT_EQ(pixel(15, 15), COLOUR::from_argb(0xFF336699u).value);

    delete manager;
    make_manager(2);
    manager->transition_time = 0;
    manager->fade_first_page = 1;
    set_test_page(manager, 1, new_page("faded"), true, 1);
    EXPECT_EQ(frame(), WM_ACTION_PAGE_FADE_IN);
}

TEST_F(PAGE_MANAGER, set_page_ignores_a_null_build_and_a_newer_pending_page_drops_the_older_one)
{
    TEST_PAGE& first = new_page("first");
    TEST_PAGE& second = new_page("second");
    manager->set_page(0, nullptr, nullptr, page_data(first), nullptr, true, 1, nullptr);
    manager->set_page(3, test_page_build, nullptr, page_data(first), nullptr, true, 1, nullptr);
    EXPECT_EQ(area0()->pending.build, nullptr) << "no build, or no such area: nothing pending";
    set_test_page(manager, 0, first, true, 1);
    set_test_page(manager, 0, second, true, 2);
    EXPECT_EQ(first.frees, 1);
    manager->process_all(0);
    EXPECT_EQ(first.builds, 0);
    EXPECT_EQ(second.builds, 1);
}

TEST_F(PAGE_MANAGER, a_new_page_replaces_the_old_pages_objects_and_the_same_page_is_rebuilt_in_place)
{
    TEST_PAGE& a = entered("a", true, 1);
    TEST_PAGE& b = entered("b", true, 2);
    EXPECT_EQ(a.leaves, 1);
    EXPECT_EQ(log_count("delete:a0"), 1);
    ASSERT_EQ(area0()->child_count(), 1);
    EXPECT_EQ(static_cast<PROBE*>(area0()->get_child(0))->name, "b0");
    EXPECT_TRUE(area0()->visible) << "the area is shown again after the build";

    // The same page again is rebuilt without a second entry.
    enter(b, true, 2);
    EXPECT_EQ(area0()->count, 2);
    EXPECT_EQ(b.builds, 2);
    EXPECT_EQ(b.frees, 0) << "the page's data is still in use by the entry that replaced it";
    EXPECT_TRUE(area0()->current_entry().store) << "the new entry keeps its own store";
}

// --- History -------------------------------------------------------------------------------------

TEST_F(PAGE_MANAGER, the_21st_stored_page_drops_the_oldest_and_current_stays_19)
{
    TEST_PAGE* pages[21];
    for (INT_S32 i = 0; i < 21; ++i) {
        pages[i] = &entered("p" + std::to_string(i), true, static_cast<INT_U32>(100 + i));
    }
    EXPECT_EQ(area0()->count, 20);
    EXPECT_EQ(area0()->current, 19);
    EXPECT_EQ(pages[0]->frees, 1);
    EXPECT_EQ(pages[1]->frees, 0);
    EXPECT_EQ(area0()->history[0].id, 101u);
    EXPECT_EQ(area0()->history[19].id, 120u);
}

TEST_F(PAGE_MANAGER, an_unstored_page_is_replaced_by_the_next_one_and_gone_when_one_goes_back)
{
    entered("a", true, 1);
    TEST_PAGE& b = entered("b", false, 2);
    entered("c", true, 3);
    EXPECT_EQ(area0()->count, 2);
    EXPECT_EQ(area0()->history[0].id, 1u);
    EXPECT_EQ(area0()->history[1].id, 3u);
    EXPECT_EQ(b.frees, 1);

    TEST_PAGE& d = entered("d", false, 4);
    ASSERT_TRUE(manager->can_go_back(0));
    manager->back(0);
    manager->process_all(0);
    EXPECT_EQ(area0()->count, 2);
    EXPECT_EQ(area0()->current, 1);
    EXPECT_EQ(area0()->current_entry().id, 3u);
    EXPECT_EQ(d.frees, 1);
    EXPECT_FALSE(manager->can_go_forward(0));
}

TEST_F(PAGE_MANAGER, back_and_forward_skip_entries_of_the_same_id)
{
    entered("a", true, 1);
    entered("b1", true, 2);
    entered("b2", true, 2);
    ASSERT_EQ(area0()->count, 3);
    manager->back(0);
    EXPECT_EQ(area0()->pending_index, 0) << "the entry of id 2 before is skipped";
    manager->process_all(0);
    EXPECT_EQ(area0()->current, 0);
    EXPECT_TRUE(manager->can_go_forward(0));
    manager->forward(0);
    EXPECT_EQ(area0()->pending_index, 1);

    // Back over entries of one id only does nothing.
    manager->process_all(0);
    entered("a1", true, 7);
    entered("a2", true, 7);
    manager->clear_history(0);
    entered("a3", true, 7);
    EXPECT_FALSE(manager->can_go_back(0));
    manager->back(0);
    EXPECT_EQ(area0()->pending_index, -1);
}

TEST_F(PAGE_MANAGER, going_to_the_current_index_refreshes_the_page)
{
    TEST_PAGE& a = entered("a", true, 1);
    manager->set_page_index(0, 0);
    EXPECT_EQ(area0()->pending_index, -1);
    EXPECT_TRUE(area0()->refresh_pending);
    manager->process_all(0);
    EXPECT_EQ(a.builds, 2);
    EXPECT_EQ(a.leaves, 1);
    manager->set_page_index(5, 0);
    EXPECT_EQ(area0()->pending_index, -1) << "out of range is ignored";
}

TEST_F(PAGE_MANAGER, clear_history_keeps_the_current_entry_unstored_at_index_0)
{
    TEST_PAGE& a = entered("a", true, 1);
    TEST_PAGE& b = entered("b", true, 2);
    TEST_PAGE& c = entered("c", true, 3);
    manager->back(0);
    manager->process_all(0);
    ASSERT_EQ(area0()->current, 1);
    manager->clear_history(0);
    EXPECT_EQ(area0()->count, 1);
    EXPECT_EQ(area0()->current, 0);
    EXPECT_EQ(area0()->current_entry().id, 2u);
    EXPECT_FALSE(area0()->current_entry().store);
    EXPECT_EQ(a.frees, 1);
    EXPECT_EQ(c.frees, 1);
    EXPECT_EQ(b.frees, 0);
}

TEST_F(PAGE_MANAGER, remove_history_closes_the_gap_and_only_unstores_the_current_entry)
{
    TEST_PAGE& a = entered("a", true, 1);
    TEST_PAGE& b = entered("b", true, 2);
    TEST_PAGE& c = entered("c", true, 3);
    manager->remove_history(0, 0);
    EXPECT_EQ(area0()->count, 2);
    EXPECT_EQ(area0()->current, 1);
    EXPECT_EQ(area0()->history[0].id, 2u);
    EXPECT_EQ(a.frees, 1);
    manager->remove_history(1, 0);
    EXPECT_EQ(area0()->count, 2);
    EXPECT_FALSE(area0()->current_entry().store);
    EXPECT_EQ(manager->get_page_data(0, 0), page_data(b));
    EXPECT_EQ(manager->get_page_data(9, 0), 0);
    EXPECT_TRUE(manager->is_data_in_use(page_data(c)));
    EXPECT_FALSE(manager->is_data_in_use(page_data(a)));
}

TEST_F(PAGE_MANAGER, a_reset_area_forgets_its_pages)
{
    TEST_PAGE& a = entered("a", true, 1);
    TEST_PAGE& b = entered("b", true, 2);
    manager->request_reset(0);
    manager->process_all(0);
    EXPECT_EQ(area0()->count, 1);
    EXPECT_EQ(area0()->current_entry().build, nullptr);
    EXPECT_EQ(a.frees, 1);
    EXPECT_EQ(b.frees, 1);
    EXPECT_EQ(b.leaves, 1);
    EXPECT_EQ(area0()->child_count(), 0);
}

TEST_F(PAGE_MANAGER, the_history_dump_lists_entries_from_last_to_first)
{
    WM_PAGE_TOOL_MANAGER tool;
    tool.add_area("Main", 0, 0, 320, 240);
    tool.add_page(0, 2, "Licence", -1);
    entered("a", true, 1);
    entered("b", true, 2);
    entered("c", false, 0xAB);
    char text[1024];
    manager->history_text(0, &tool, text, sizeof text);
    EXPECT_STREQ(text, "Current Page History\n--------------------\n\n"
                       " 2 - 0xAB (Don't Store) <- Current Page\n"
                       " 1 - Licence\n"
                       " 0 - 0x1\n"
                       "\n");
    char small[8];
    manager->history_text(0, nullptr, small, sizeof small);
    EXPECT_STREQ(small, "Current");
}

TEST_F(PAGE_MANAGER, close_all_leaves_every_page_and_lets_the_overlays_and_backgrounds_go)
{
    TEST_PAGE& a = entered("a", true, 1);
    area0()->add_overlay(new PROBE("ov", 10, 10, 10, 10), false);
    manager->background[0].set_size(320, 240);
    manager->close_all();
    EXPECT_EQ(a.leaves, 1);
    EXPECT_EQ(a.frees, 1);
    EXPECT_EQ(area0()->child_count(), 0);
    EXPECT_FALSE(area0()->visible);
    EXPECT_EQ(log_count("delete:ov"), 1);
    EXPECT_EQ(wm_toolkit.overlay_list.count(), 0);
    EXPECT_FALSE(manager->background[0].has_pixels());
}

// --- Action codes --------------------------------------------------------------------------------

TEST_F(PAGE_MANAGER, a_quiet_frame_answers_0_and_a_quit_or_code_2_is_returned_as_it_stands)
{
    TEST_PAGE& a = entered("a", true, 1);
    EXPECT_EQ(frame(), 0);
    for (INT_S32 code : { WM_ACTION_QUIT, WM_ACTION_CLOSE_DIALOG }) {
        a.made[0]->update_code = code;
        EXPECT_EQ(frame(), code);
    }
    EXPECT_EQ(a.builds, 1);
}

TEST_F(PAGE_MANAGER, codes_from_an_overlay_close_it_clear_the_overlays_or_rebuild_by_their_rules)
{
    TEST_PAGE& a = entered("a", true, 1);
    struct CASE {
        INT_S32 code;
        bool rebuilds;
        bool overlays_survive;
    } cases[] = { { WM_ACTION_CLOSE_OVERLAY, false, false }, { WM_ACTION_CLEAR_OVERLAYS, false, false },
        { WM_ACTION_REBUILD_AREA, true, true }, { WM_ACTION_REBUILD_AREA_CLEAR, true, false },
        { WM_ACTION_REBUILD_AREA_CLEAR_2, true, false }, { WM_ACTION_REBUILD_AREA_CLOSE, true, false },
        { WM_ACTION_REBUILD_ALL_CLEAR_2, true, false }, { WM_ACTION_REBUILD_ALL_CLOSE, true, false },
        { WM_ACTION_REBUILD_ALL, true, true }, { WM_ACTION_REBUILD_ALL_CLEAR, true, false } };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.code);
        INT_S32 builds = a.builds, leaves = a.leaves;
        // A page object cannot be reached under an open overlay: the code comes from the overlay.
        PROBE* overlay = new PROBE("ov", 200, 200, 10, 10);
        overlay->update_code = c.code;
        area0()->add_overlay(overlay, false);
        probe_log.clear();
        EXPECT_EQ(frame(), 0);
        EXPECT_EQ(a.builds, builds + (c.rebuilds ? 1 : 0));
        EXPECT_EQ(a.leaves, leaves + (c.rebuilds ? 1 : 0));
        EXPECT_EQ(log_count("delete:a0"), c.rebuilds ? 1 : 0);
        EXPECT_EQ(WM_SCREEN_OBJECT::is_overlay(overlay), c.overlays_survive);
        EXPECT_EQ(log_count("delete:ov"), c.overlays_survive ? 0 : 1);
        EXPECT_EQ(area0()->count, 1) << "a rebuild is no new history entry";
        if (c.overlays_survive)
            area0()->remove_overlay(overlay, true, false);
    }
}

TEST_F(PAGE_MANAGER, code_3_closes_every_dialog_overlay_through_the_dialog_closer)
{
    entered("a", true, 1);
    static INT_S32 closed = 0;
    closed = 0;
    manager->dialog_closer = [](WM_SCREEN_OBJECT* dialog, bool destroy) {
        EXPECT_FALSE(destroy);
        ++closed;
        dialog->hide(false, false);
    };
    PROBE* dialog1 = new PROBE("d1", 10, 10, 10, 10);
    dialog1->type_flags |= WM_TYPE_DIALOG;
    PROBE* other = new PROBE("other", 10, 10, 10, 10);
    PROBE* dialog2 = new PROBE("d2", 10, 10, 10, 10);
    dialog2->type_flags |= WM_TYPE_DIALOG;
    dialog2->update_code = WM_ACTION_CLOSE_DIALOGS;
    area0()->add_overlay(dialog1, false);
    area0()->add_overlay(other, false);
    area0()->add_overlay(dialog2, false);
    EXPECT_EQ(frame(), WM_ACTION_CLOSE_DIALOGS);
    EXPECT_EQ(closed, 2);
    EXPECT_TRUE(other->visible);

    // Without a dialog module the dialogs are taken off the list and deleted.
    manager->dialog_closer = nullptr;
    dialog2->show(false);
    EXPECT_EQ(frame(), WM_ACTION_CLOSE_DIALOGS);
    EXPECT_EQ(log_count("delete:d1"), 1);
    EXPECT_EQ(log_count("delete:d2"), 1);
    EXPECT_TRUE(WM_SCREEN_OBJECT::is_overlay(other));
}

TEST_F(PAGE_MANAGER, codes_6_and_8_rebuild_every_visible_area)
{
    delete manager;
    manager = nullptr;
    make_manager(3);
    manager->transition_time = 0;
    TEST_PAGE* pages[3];
    for (INT_S32 i = 0; i < 3; ++i) {
        pages[i] = &entered("p" + std::to_string(i), true, 1, i);
    }
    manager->areas[2]->hide(false, false);
    pages[1]->made[0]->update_code = WM_ACTION_REBUILD_ALL;
    EXPECT_EQ(frame(), 0);
    EXPECT_EQ(pages[0]->builds, 2);
    EXPECT_EQ(pages[1]->builds, 2);
    EXPECT_EQ(pages[2]->builds, 1) << "a hidden area is not rebuilt";
}

TEST_F(PAGE_MANAGER, a_page_code_from_a_widget_enters_the_pending_page)
{
    TEST_PAGE& b = new_page("b");
    TEST_PAGE& a = entered("a", true, 1);
    set_test_page(manager, 0, b, true, 2);
    a.made[0]->update_code = WM_ACTION_PAGE;
    EXPECT_EQ(frame(), WM_ACTION_PAGE) << "a page code stays the frame's result";
    EXPECT_EQ(b.builds, 1);
    EXPECT_EQ(area0()->count, 2);
}

// --- Ticks, input and overlays -------------------------------------------------------------------

TEST_F(PAGE_MANAGER, with_an_overlay_open_the_pages_behind_get_no_input_or_ticks_but_animate)
{
    delete manager;
    manager = nullptr;
    make_manager(2);
    manager->transition_time = 0;
    entered("lower", true, 1, 0);
    TEST_PAGE& upper = entered("upper", true, 1, 1);
    frame();
    EXPECT_EQ(upper.ticks, 1);
    EXPECT_EQ(log_count("update:upper0"), 1);

    manager->areas[0]->add_overlay(new PROBE("ov", 100, 100, 50, 50), false);
    probe_log.clear();
    INT_S32 upper_ticks = upper.ticks;
    frame();
    EXPECT_EQ(upper.ticks, upper_ticks) << "the other area's page does not tick";
    EXPECT_EQ(log_count("update:upper0"), 0);
    EXPECT_EQ(log_count("update:lower0"), 0);
    EXPECT_EQ(log_count("update:ov"), 1);
    EXPECT_EQ(log_count("animate:upper0"), 1);
    EXPECT_EQ(log_count("animate:lower0"), 1);
    EXPECT_EQ(log_count("animate:ov"), 1);
}

TEST_F(PAGE_MANAGER, a_quit_from_inside_an_overlay_ends_the_frame_after_the_repaint)
{
    entered("a", true, 1);
    frame();
    PROBE* overlay = new PROBE("ov", 100, 100, 50, 50, COLOUR::from_argb(0xFFFF0000u));
    overlay->update_code = WM_ACTION_QUIT;
    area0()->add_overlay(overlay, false);
    overlay->mark_dirty();
    INT_S32 presented = headless_frames_presented();
    EXPECT_EQ(frame(), WM_ACTION_QUIT);
    EXPECT_EQ(wm_toolkit.dirty_rects.count, 0);
    EXPECT_EQ(headless_last_frame()->pixel(120, 120), COLOUR::from_argb(0xFFFF0000u).value);
    EXPECT_EQ(headless_frames_presented(), presented + 1);
}

TEST_F(PAGE_MANAGER, a_tick_code_is_acted_on_and_ticks_follow_the_period)
{
    TEST_PAGE& a = entered("a", true, 1);
    manager->tick_period = 100;
    headless_set_time(1000);
    frame();
    INT_S32 ticks = a.ticks;
    headless_set_time(1050);
    frame();
    EXPECT_EQ(a.ticks, ticks) << "50 ms: no tick";
    headless_set_time(1100);
    frame();
    EXPECT_EQ(a.ticks, ticks + 1);
    a.tick_code = WM_ACTION_REBUILD_AREA;
    headless_set_time(1300);
    EXPECT_EQ(frame(), 0);
    EXPECT_EQ(a.builds, 2);
}

TEST_F(PAGE_MANAGER, the_simulated_pointer_stands_in_for_the_frame_and_the_real_one_comes_back)
{
    TEST_PAGE& a = entered("a", true, 1);
    static INT_S16 seen_x = 0;
    static INT_U32 seen_buttons = 0;
    a.made[0]->left_callback = nullptr;
    a.made[0]->right_callback = [](WM_SCREEN_OBJECT*, PTR_INT_CAST, PTR_INT_CAST) {
        seen_x = pointer_x;
        seen_buttons = button_mask;
        return 0;
    };
    headless_move_pointer(300, 200);
    pump_events();
    manager->simulated_x = 15;
    manager->simulated_y = 15;
    manager->simulated_button = BUTTON_SECONDARY;
    manager->update(false);
    EXPECT_EQ(seen_x, 15);
    EXPECT_EQ(seen_buttons, BUTTON_SECONDARY);
    EXPECT_EQ(pointer_x, 300);
    EXPECT_EQ(button_mask, 0u);
    manager->reset_pointer();
    EXPECT_EQ(manager->simulated_x, -1);
}

TEST_F(PAGE_MANAGER, object_at_prefers_an_object_to_an_area)
{
    delete manager;
    manager = nullptr;
    make_manager(2);
    manager->transition_time = 0;
    TEST_PAGE& lower = entered("lower", true, 1, 0);
    // Area 1 covers the screen too, but holds nothing at that point.
    EXPECT_EQ(manager->object_at(15, 15), lower.made[0]);
    EXPECT_EQ(manager->object_at(300, 200), manager->areas[1]) << "the last area first";
}

TEST_F(PAGE_MANAGER, a_display_resize_rebuilds_every_page_and_keeps_the_histories)
{
    entered("a", true, 1);
    TEST_PAGE& b = entered("b", true, 2);
    frame();
    WINDOW_REQUEST bigger;
    bigger.width = 400;
    bigger.height = 300;
    ASSERT_TRUE(open_window(bigger, 0));
    frame();
    EXPECT_EQ(b.builds, 2);
    EXPECT_EQ(b.leaves, 1);
    EXPECT_EQ(area0()->count, 2);
    EXPECT_EQ(area0()->width, 400) << "an area made at the display's size follows it";
    EXPECT_EQ(manager->display_width, 400);
}

TEST_F(PAGE_MANAGER, a_widget_asks_for_a_pointer_shape)
{
    TEST_PAGE& a = entered("a", true, 1);
    manager->pointer_shapes_in_use = 1;
    static WM_PAGE_MANAGER* owner = nullptr;
    owner = manager;
    a.made[0]->right_callback = [](WM_SCREEN_OBJECT*, PTR_INT_CAST, PTR_INT_CAST) { return 0; };
    // A probe that asks for the hand while the pointer is over it.
    struct HAND : PROBE {
        using PROBE::PROBE;
        INT_S32 update() override
        {
            if (is_over(pointer_x, pointer_y))
                owner->pointer_shape = 1;
            return PROBE::update();
        }
    };
    area0()->add_child(new HAND("hand", 200, 100, 50, 50), false);
    headless_move_pointer(210, 110);
    frame();
    EXPECT_EQ(headless_window().pointer_shape, 1);
    headless_move_pointer(5, 230);
    frame();
    EXPECT_EQ(headless_window().pointer_shape, 0);
}

// --- WM_PAGE_BASE --------------------------------------------------------------------------------

namespace {

struct PAGE_RECORD {
    INT_S32 builds { 0 };
    INT_S32 ticks { 0 };
    INT_S32 leaves { 0 };
    INT_S32 gone { 0 };
};

class OBJECT_PAGE : public WM_PAGE_BASE {
public:
    OBJECT_PAGE(INT_U32 page_id, PAGE_RECORD* record_in) : WM_PAGE_BASE(page_id), record(record_in) {}
    void build(WM_PAGE_MANAGER*) override
    {
        ++record->builds;
        add_object(new PROBE("object", 0, 0, get_width() / 2, get_height() / 2), false);
    }
    INT_S32 tick() override
    {
        ++record->ticks;
        return 0;
    }
    void leave() override { ++record->leaves; }
    void on_leave() override { ++record->gone; }

    PAGE_RECORD* record;
};

} // namespace

TEST_F(PAGE_MANAGER, a_page_object_is_built_ticked_left_and_deleted_with_its_entry)
{
    PAGE_RECORD first, second;
    ASSERT_TRUE((new OBJECT_PAGE(1, &first))->enter(0, manager, false, true, 1));
    EXPECT_EQ(frame(), WM_ACTION_PAGE);
    EXPECT_EQ(first.builds, 1);
    ASSERT_EQ(area0()->child_count(), 1);
    EXPECT_EQ(area0()->get_child(0)->width, 160) << "the page measures its area";
    frame();
    EXPECT_EQ(first.ticks, 1);

    ASSERT_TRUE((new OBJECT_PAGE(2, &second))->enter(0, manager, true, false, 2));
    manager->process_all(0);
    EXPECT_EQ(first.leaves, 1);
    EXPECT_EQ(first.gone, 1) << "unstored: deleted as the next page came";
    frame();
    EXPECT_EQ(second.ticks, 0) << "entered without a tick";
    // The records live on this stack: the page objects go before it does.
    delete manager;
    manager = nullptr;
    EXPECT_EQ(second.gone, 1);
}

TEST_F(PAGE_MANAGER, page_objects_of_one_id_are_the_same_page)
{
    PAGE_RECORD record;
    OBJECT_PAGE* first = new OBJECT_PAGE(4, &record);
    ASSERT_TRUE(first->enter(0, manager, true, false, 4));
    manager->process_all(0);
    OBJECT_PAGE* again = new OBJECT_PAGE(4, &record);
    ASSERT_TRUE(again->enter(0, manager, true, false, 4));
    manager->process_all(0);
    EXPECT_EQ(area0()->count, 1) << "replaced, not stacked";
    EXPECT_EQ(record.gone, 1) << "the first object went with its entry";
    OBJECT_PAGE stray(5, &record);
    EXPECT_FALSE(stray.enter(3, manager, true, false, 5)) << "no such area: the object is not taken";
    delete manager;
    manager = nullptr;
    EXPECT_EQ(record.gone, 2);
}

// --- Construction ------------------------------------------------------------------------------

TEST(PAGE_MANAGER_DEATH, an_area_count_below_1_and_a_second_manager_are_fatal)
{
    RUN_RESULT none = run_in_child([] { WM_PAGE_MANAGER manager(0, 16); });
    EXPECT_EQ(none.status, 255);
    EXPECT_NE(none.output.find("Invalid area count supplied to page manager"), std::string::npos) << none.output;

    RUN_RESULT two = run_in_child([] {
        WM_PAGE_MANAGER first(1, 16);
        WM_PAGE_MANAGER second(1, 16);
    });
    EXPECT_EQ(two.status, 255);
    EXPECT_NE(two.output.find("Two page managers declared"), std::string::npos) << two.output;
}
