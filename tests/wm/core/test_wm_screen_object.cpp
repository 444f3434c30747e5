// WM_SCREEN_OBJECT: the tree and its order, showing and hiding, moving and sizing, hit tests, z
// levels, overlays and their input, the secondary callback and its keyboard form, the dirty
// rectangles the changes record, and the hooks.

#include "toolkit_fixture.h"

#include "test_support.h"

#include "wm/core/wm_action.h"
#include "wm/core/wm_manager.h"

namespace {

class SCREEN_OBJECT : public TOOLKIT_TEST {};

// Records where the secondary callback found the pointer capture and focus.
struct RIGHT_RECORD {
    INT_S32 calls { 0 };
    WM_SCREEN_OBJECT* captured { nullptr };
    WM_SCREEN_OBJECT* focus { nullptr };
};

INT_S32 right_call(WM_SCREEN_OBJECT*, PTR_INT_CAST data1, PTR_INT_CAST)
{
    RIGHT_RECORD* record = reinterpret_cast<RIGHT_RECORD*>(data1);
    ++record->calls;
    record->captured = wm_toolkit.captured_object;
    record->focus = wm_toolkit.focus_object;
    return 0;
}

WM_DIRTY_RECT only_dirty_rect()
{
    EXPECT_EQ(wm_toolkit.dirty_rects.count, 1);
    return wm_toolkit.dirty_rects.rects[0];
}

} // namespace

// --- Tree order and hit tests ------------------------------------------------------------------

TEST_F(SCREEN_OBJECT, children_paint_head_first_so_the_last_added_lies_on_top)
{
    WM_MANAGER root(0, 0, 320, 240);
    root.add_child(new PROBE("a", 10, 10, 50, 50, COLOUR::from_argb(0xFFFF0000u)), false);
    root.add_child(new PROBE("b", 30, 30, 50, 50, COLOUR::from_argb(0xFF0000FFu)), false);
    root.mark_dirty();
    repaint_roots({ &root });
    EXPECT_EQ(log_names("paint"), (std::vector<std::string> { "a", "b" }));
    EXPECT_EQ(pixel(40, 40), COLOUR::from_argb(0xFF0000FFu).value) << "b on top";
    EXPECT_EQ(pixel(15, 15), COLOUR::from_argb(0xFFFF0000u).value) << "a where b does not cover it";
    EXPECT_EQ(static_cast<PROBE*>(root.get_child(0))->name, "a");
    EXPECT_EQ(static_cast<PROBE*>(root.get_child(1))->name, "b");
    EXPECT_EQ(root.get_child(2), nullptr);
    EXPECT_EQ(root.get_child(-1), nullptr);
}

TEST_F(SCREEN_OBJECT, hit_tests_answer_the_later_of_two_children_and_the_own_rectangle_ends_before_its_far_edges)
{
    WM_MANAGER root(0, 0, 320, 240);
    PROBE* a = new PROBE("a", 10, 10, 50, 50);
    PROBE* b = new PROBE("b", 30, 30, 50, 50);
    root.add_child(a, false);
    root.add_child(b, false);
    root.add_child(new PROBE("far", 400, 300, 10, 10), false);
    EXPECT_EQ(root.object_at(40, 40), b);
    EXPECT_EQ(root.object_at(15, 15), a);
    EXPECT_EQ(root.object_at(200, 200), &root);
    EXPECT_EQ(root.object_at(400, 10), nullptr);
    // A child outside its parent still counts for is_over.
    EXPECT_TRUE(root.is_over(405, 305));
    EXPECT_FALSE(root.is_over_self(405, 305));
    b->hide(false, false);
    EXPECT_EQ(root.object_at(40, 40), a) << "a hidden child is not hit";

    PROBE object("o", 10, 20, 30, 40);
    EXPECT_TRUE(object.is_over_self(10, 20));
    EXPECT_TRUE(object.is_over_self(39, 59));
    EXPECT_FALSE(object.is_over_self(40, 30));
    EXPECT_FALSE(object.is_over_self(20, 60));
    EXPECT_FALSE(object.is_over_self(9, 30));
    object.hide(false, false);
    EXPECT_FALSE(object.is_over_self(15, 25));
}

TEST_F(SCREEN_OBJECT, add_child_relative_moves_the_child_and_passes_the_z_level)
{
    WM_MANAGER root(100, 50, 200, 100);
    root.set_z_level(2);
    PROBE* child = new PROBE("c", 5, 6, 10, 10);
    PROBE* grandchild = new PROBE("g", 0, 0, 5, 5);
    child->add_child(grandchild, false);
    root.add_child(child, true);
    EXPECT_EQ(child->x, 105);
    EXPECT_EQ(child->y, 56);
    EXPECT_EQ(grandchild->x, 100) << "children move by the same delta";
    EXPECT_EQ(grandchild->y, 50);
    EXPECT_EQ(child->z_level, 2);
    EXPECT_EQ(grandchild->z_level, 2);

    root.remove_child(child, false, true);
    EXPECT_EQ(child->x, 5);
    EXPECT_EQ(child->y, 6);
    EXPECT_EQ(child->z_level, 0) << "a detached object of an area is reset to 0";
    EXPECT_FALSE(child->visible) << "removing hides";
    delete child;
}

TEST_F(SCREEN_OBJECT, remove_child_and_the_destructor_delete_owned_children_and_only_hide_the_others)
{
    PROBE kept("kept", 0, 0, 10, 10);
    kept.not_owned = 1;
    PROBE stranger("stranger", 0, 0, 10, 10);
    {
        WM_MANAGER root(0, 0, 100, 100);
        PROBE* owned = new PROBE("owned", 0, 0, 10, 10);
        root.add_child(owned, false);
        root.add_child(&kept, false);
        root.remove_child(&stranger, true, false);
        root.remove_child(nullptr, true, false);
        EXPECT_EQ(root.child_count(), 2);
        root.remove_child(owned, true, false);
        EXPECT_EQ(log_count("delete:owned"), 1);
        root.remove_child(&kept, true, false);
        EXPECT_EQ(log_count("delete:kept"), 0);
        EXPECT_EQ(root.child_count(), 0);
        EXPECT_FALSE(kept.visible);

        // The destructor deletes tail first.
        kept.show(false);
        root.add_child(new PROBE("first", 0, 0, 10, 10), false);
        root.add_child(&kept, false);
        root.add_child(new PROBE("last", 0, 0, 10, 10), false);
        probe_log.clear();
    }
    EXPECT_EQ(log_names("delete"), (std::vector<std::string> { "last", "first" }));
    EXPECT_FALSE(kept.visible);
}

// --- Showing and hiding --------------------------------------------------------------------------

TEST_F(SCREEN_OBJECT, show_with_children_reveals_them_tail_first_and_show_alone_leaves_them)
{
    WM_MANAGER root(0, 0, 100, 100, false);
    PROBE* a = new PROBE("a", 0, 0, 10, 10);
    PROBE* b = new PROBE("b", 20, 0, 10, 10);
    root.add_child(a, false);
    root.add_child(b, false);
    a->hide(false, false);
    b->hide(false, false);

    root.show(false);
    EXPECT_TRUE(root.visible);
    EXPECT_FALSE(a->visible);
    EXPECT_FALSE(b->visible);
    EXPECT_EQ(log_count("show:"), 0);

    root.show(true);
    EXPECT_EQ(log_names("show"), (std::vector<std::string> { "b", "a" }));
    EXPECT_TRUE(a->visible && a->draw_pending);
    EXPECT_TRUE(b->visible && b->draw_pending);
}

TEST_F(SCREEN_OBJECT, hiding_marks_the_rectangle_once_and_a_hidden_object_only_loses_its_flags)
{
    PROBE object("o", 10, 20, 30, 40);
    wm_toolkit.dirty_rects.clear();
    object.hide(false, false);
    WM_DIRTY_RECT r = only_dirty_rect();
    EXPECT_EQ(r.x1, 10);
    EXPECT_EQ(r.y1, 20);
    EXPECT_EQ(r.x2, 39);
    EXPECT_EQ(r.y2, 59);
    wm_toolkit.dirty_rects.clear();
    object.draw_pending = 1;
    object.drawn = 1;
    object.hide(false, false);
    EXPECT_EQ(object.draw_pending, 0);
    EXPECT_EQ(object.drawn, 0);
    EXPECT_EQ(wm_toolkit.dirty_rects.count, 0);
}

TEST_F(SCREEN_OBJECT, drawing_sets_drawn_and_clears_draw_pending_even_outside_the_rectangle)
{
    WM_MANAGER root(0, 0, 320, 240);
    PROBE* near = new PROBE("near", 0, 0, 10, 10);
    PROBE* far = new PROBE("far", 200, 200, 10, 10);
    root.add_child(near, false);
    root.add_child(far, false);
    wm_toolkit.dirty_rects.clear();
    near->mark_dirty();
    repaint_roots({ &root });
    EXPECT_EQ(near->paints, 1);
    EXPECT_EQ(far->paints, 0) << "an object that misses the rectangle is not painted";
    EXPECT_TRUE(near->drawn && !near->draw_pending);
    EXPECT_TRUE(far->drawn && !far->draw_pending);
}

// --- Moving and sizing ---------------------------------------------------------------------------

TEST_F(SCREEN_OBJECT, set_position_marks_old_and_new_places_and_moves_children_unless_nothing_changes)
{
    PROBE object("o", 0, 0, 10, 10);
    PROBE* child = new PROBE("c", 2, 3, 4, 4);
    object.add_child(child, false);
    wm_toolkit.dirty_rects.clear();
    object.set_position(0, 0);
    object.set_size(10, 10, true);
    EXPECT_EQ(wm_toolkit.dirty_rects.count, 0) << "to what they are: nothing at all";
    EXPECT_EQ(child->x, 2);
    EXPECT_EQ(child->width, 4);
    object.set_position(200, 100);
    EXPECT_EQ(child->x, 202);
    EXPECT_EQ(child->y, 103);
    // The two places are far apart: both stay in the list.
    bool old_place = false, new_place = false;
    for (INT_S32 i = 0; i < wm_toolkit.dirty_rects.count; ++i) {
        const WM_DIRTY_RECT& r = wm_toolkit.dirty_rects.rects[i];
        old_place = old_place || (r.x1 <= 0 && r.y1 <= 0 && r.x2 >= 9 && r.y2 >= 9);
        new_place = new_place || (r.x1 <= 200 && r.y1 <= 100 && r.x2 >= 209 && r.y2 >= 109);
    }
    EXPECT_TRUE(old_place);
    EXPECT_TRUE(new_place);
}

TEST_F(SCREEN_OBJECT, set_size_with_children_resizes_them_by_the_same_delta_unless_locked)
{
    PROBE object("o", 0, 0, 100, 50);
    PROBE* child = new PROBE("c", 0, 0, 40, 20);
    PROBE* locked = new PROBE("l", 0, 0, 40, 20);
    locked->size_locked = 1;
    object.add_child(child, false);
    object.add_child(locked, false);
    object.set_size(110, 45, true);
    EXPECT_EQ(object.width, 110);
    EXPECT_EQ(object.height, 45);
    EXPECT_EQ(child->width, 50);
    EXPECT_EQ(child->height, 15);
    EXPECT_EQ(locked->width, 40);
    object.set_size(10, 10, false);
    EXPECT_EQ(child->width, 50) << "without the flag the children keep their size";
}

// --- Dirty rectangles --------------------------------------------------------------------------

TEST_F(SCREEN_OBJECT, marks_are_clipped_to_the_display_dropped_when_nothing_remains_and_nearby_ones_merge)
{
    PROBE straddling("s", 300, 230, 50, 50);
    PROBE outside("o", 400, 300, 20, 20);
    wm_toolkit.dirty_rects.clear();
    outside.mark_dirty();
    EXPECT_EQ(wm_toolkit.dirty_rects.count, 0);
    straddling.mark_dirty();
    WM_DIRTY_RECT r = only_dirty_rect();
    EXPECT_EQ(r.x2, 319);
    EXPECT_EQ(r.y2, 239);
    wm_toolkit.dirty_rects.clear();
    straddling.mark_rect_dirty(50, 50, 40, 60);
    EXPECT_EQ(wm_toolkit.dirty_rects.count, 0) << "an inverted rectangle";
    straddling.mark_all_dirty();
    r = only_dirty_rect();
    EXPECT_EQ(r.x1, 0);
    EXPECT_EQ(r.x2, 319);

    PROBE a("a", 10, 10, 10, 10);
    PROBE b("b", 45, 10, 10, 10);
    wm_toolkit.dirty_rects.clear();
    a.mark_dirty();
    b.mark_dirty();
    r = only_dirty_rect();
    EXPECT_EQ(r.x1, 10);
    EXPECT_EQ(r.x2, 54);
}

namespace {

// Changes another object while it is painted, as an animation might.
class MARKER : public PROBE {
public:
    using PROBE::PROBE;
    void paint() override
    {
        PROBE::paint();
        other->mark_dirty();
    }
    WM_SCREEN_OBJECT* other { nullptr };
};

} // namespace

TEST_F(SCREEN_OBJECT, a_mark_made_during_a_repaint_is_lost)
{
    WM_MANAGER root(0, 0, 320, 240);
    MARKER* painter = new MARKER("p", 0, 0, 10, 10);
    PROBE* elsewhere = new PROBE("e", 200, 200, 10, 10);
    painter->other = elsewhere;
    root.add_child(painter, false);
    root.add_child(elsewhere, false);
    wm_toolkit.dirty_rects.clear();
    painter->mark_dirty();
    repaint_roots({ &root });
    EXPECT_EQ(painter->paints, 1);
    EXPECT_EQ(elsewhere->paints, 0) << "the far object's change was not repainted";
    EXPECT_EQ(wm_toolkit.dirty_rects.count, 0) << "and is not waiting for the next repaint either";
    elsewhere->mark_dirty();
    EXPECT_EQ(wm_toolkit.dirty_rects.count, 1) << "outside a repaint marks count again";
}

// --- z levels and overlays -----------------------------------------------------------------------

TEST_F(SCREEN_OBJECT, z_levels_of_overlays_and_objects_that_leave_them)
{
    WM_MANAGER area(0, 0, 320, 240);
    area.set_z_level(1);
    PROBE* overlay = new PROBE("ov", 10, 10, 50, 50);
    area.add_overlay(overlay, false);
    EXPECT_EQ(overlay->z_level, -3) << "over area 1";
    EXPECT_TRUE(WM_SCREEN_OBJECT::is_overlay(overlay));

    PROBE* inner = new PROBE("inner", 12, 12, 5, 5);
    overlay->add_overlay(inner, false);
    EXPECT_EQ(inner->z_level, -3) << "an overlay's overlay keeps the owner's value";

    overlay->remove_overlay(inner, false, false);
    EXPECT_EQ(inner->z_level, 1) << "leaving an overlay over area 1: back to 1";
    EXPECT_TRUE(inner->visible) << "remove_overlay does not hide";
    delete inner;

    area.remove_overlay(overlay, true, false);
    EXPECT_FALSE(WM_SCREEN_OBJECT::is_overlay(overlay));
    EXPECT_EQ(log_count("delete:ov"), 1);
}

TEST_F(SCREEN_OBJECT, overlay_queries_look_at_visible_overlays_from_the_top)
{
    WM_MANAGER area(0, 0, 320, 240);
    area.set_z_level(0);
    PROBE* first = new PROBE("first", 0, 0, 10, 10);
    first->type_flags |= WM_TYPE_DIALOG;
    PROBE* second = new PROBE("second", 0, 0, 10, 10);
    area.add_overlay(first, false);
    area.add_overlay(second, false);
    EXPECT_EQ(WM_SCREEN_OBJECT::overlay_count(), 2);
    EXPECT_EQ(WM_SCREEN_OBJECT::top_overlay_z(), -2);
    EXPECT_EQ(WM_SCREEN_OBJECT::find_overlay(0), second);
    EXPECT_EQ(WM_SCREEN_OBJECT::find_overlay(WM_TYPE_DIALOG), first);
    EXPECT_EQ(WM_SCREEN_OBJECT::find_overlay(WM_TYPE_DIALOG | WM_TYPE_BUTTON), nullptr);
    second->hide(false, false);
    first->hide(false, false);
    EXPECT_EQ(WM_SCREEN_OBJECT::overlay_count(), 0);
    EXPECT_EQ(WM_SCREEN_OBJECT::top_overlay_z(), -1);
    area.clear_objects(true, false);
    EXPECT_EQ(wm_toolkit.overlay_list.count(), 0);
    EXPECT_EQ(log_count("delete:"), 2);
}

TEST_F(SCREEN_OBJECT, only_the_later_overlay_gets_update_but_both_animate_and_draw_in_order)
{
    WM_MANAGER area(0, 0, 320, 240);
    area.set_z_level(0);
    PROBE* page_object = new PROBE("page", 0, 0, 320, 240);
    area.add_child(page_object, false);
    PROBE* lower = new PROBE("lower", 10, 10, 100, 100, COLOUR::from_argb(0xFFFF0000u));
    PROBE* upper = new PROBE("upper", 50, 50, 100, 100, COLOUR::from_argb(0xFF00FF00u));
    area.add_overlay(lower, false);
    area.add_overlay(upper, false);

    EXPECT_EQ(area.update(), 0);
    EXPECT_EQ(log_names("update"), (std::vector<std::string> { "upper" }));

    probe_log.clear();
    EXPECT_EQ(area.animate(true), 0);
    EXPECT_EQ(log_names("animate"), (std::vector<std::string> { "lower", "upper" }));

    probe_log.clear();
    wm_toolkit.dirty_rects.clear();
    area.mark_dirty();
    IMAGE* target = wm_toolkit.draw_target;
    wm_toolkit.current_dirty_rect = 0;
    target->set_clip(0, 0, 319, 239);
    area.draw();
    area.draw_overlays();
    wm_toolkit.current_dirty_rect = -1;
    wm_toolkit.dirty_rects.clear();
    EXPECT_EQ(log_names("paint"), (std::vector<std::string> { "page", "lower", "upper" }));
    EXPECT_EQ(pixel(60, 60), COLOUR::from_argb(0xFF00FF00u).value) << "the later overlay lies on top";
}

TEST_F(SCREEN_OBJECT, an_overlay_answering_4_goes_deleted_or_if_not_owned_with_its_z_level_reset)
{
    WM_MANAGER area(0, 0, 320, 240);
    area.set_z_level(0);
    PROBE* owned = new PROBE("owned", 10, 10, 50, 50);
    owned->update_code = WM_ACTION_CLOSE_OVERLAY;
    PROBE kept("kept", 10, 10, 50, 50);
    kept.not_owned = 1;
    kept.update_code = WM_ACTION_CLOSE_OVERLAY;
    area.add_overlay(&kept, false);
    area.add_overlay(owned, false);
    ASSERT_EQ(kept.z_level, -2);
    // Only the top overlay hears the input: the frame goes on with 0 each time.
    EXPECT_EQ(area.update(), 0);
    EXPECT_EQ(log_count("delete:owned"), 1);
    EXPECT_EQ(area.update(), 0);
    EXPECT_EQ(log_count("delete:kept"), 0);
    EXPECT_FALSE(WM_SCREEN_OBJECT::is_overlay(&kept));
    EXPECT_EQ(kept.z_level, 0);
    EXPECT_EQ(wm_toolkit.overlay_list.count(), 0);
}

TEST_F(SCREEN_OBJECT, an_overlay_answering_4_from_animate_goes_and_the_walk_continues_behind_it)
{
    WM_MANAGER area(0, 0, 320, 240);
    area.set_z_level(0);
    PROBE* closing = new PROBE("closing", 0, 0, 10, 10);
    closing->animate_code = WM_ACTION_CLOSE_OVERLAY;
    PROBE* next = new PROBE("next", 0, 0, 10, 10);
    next->animate_code = WM_ACTION_REBUILD_AREA;
    area.add_overlay(closing, false);
    area.add_overlay(next, false);
    EXPECT_EQ(area.animate(true), WM_ACTION_REBUILD_AREA);
    EXPECT_EQ(log_count("delete:closing"), 1);
    EXPECT_EQ(log_names("animate"), (std::vector<std::string> { "closing", "next" }));
}

TEST_F(SCREEN_OBJECT, a_child_answers_a_code_that_stops_the_walk)
{
    WM_MANAGER area(0, 0, 320, 240);
    PROBE* a = new PROBE("a", 0, 0, 10, 10);
    PROBE* b = new PROBE("b", 0, 0, 10, 10);
    PROBE* c = new PROBE("c", 0, 0, 10, 10);
    b->update_code = 7;
    area.add_child(a, false);
    area.add_child(b, false);
    area.add_child(c, false);
    EXPECT_EQ(area.update(), 7);
    EXPECT_EQ(log_names("update"), (std::vector<std::string> { "a", "b" }));
}

// --- The secondary button ------------------------------------------------------------------------

TEST_F(SCREEN_OBJECT, the_secondary_callback_fires_on_press_and_release_by_its_trigger)
{
    RIGHT_RECORD record;
    PROBE object("o", 100, 100, 40, 40, COLOUR(), true);
    object.right_callback = right_call;
    object.right_data1 = reinterpret_cast<PTR_INT_CAST>(&record);

    headless_move_pointer(110, 110);
    headless_press_button(3);
    pump_events();
    object.update();
    EXPECT_EQ(record.calls, 1) << "trigger 2: on press";
    EXPECT_EQ(record.captured, &object);
    EXPECT_EQ(record.focus, &object) << "a press takes the focus";
    object.update();
    EXPECT_EQ(record.calls, 1) << "once per press";

    headless_release_button(3);
    pump_events();
    object.update();
    EXPECT_EQ(record.calls, 2) << "and on release over it";
    EXPECT_EQ(wm_toolkit.captured_object, nullptr);

    object.right_trigger = 1;
    headless_press_button(3);
    pump_events();
    object.update();
    EXPECT_EQ(record.calls, 2) << "trigger 1: not on press";
    headless_move_pointer(300, 10);
    headless_release_button(3);
    pump_events();
    object.update();
    EXPECT_EQ(record.calls, 2) << "released away from it: nothing";
}

TEST_F(SCREEN_OBJECT, control_with_the_activate_key_fires_the_focused_objects_secondary_callback)
{
    RIGHT_RECORD record;
    PROBE object("o", 100, 100, 40, 40, COLOUR(), true);
    object.right_callback = right_call;
    object.right_data1 = reinterpret_cast<PTR_INT_CAST>(&record);
    object.take_focus();
    ASSERT_EQ(wm_toolkit.focus_object, &object);

    // The pointer is nowhere near and no button is down: the object's centre stands in.
    headless_move_pointer(5, 5);
    headless_press_key(KEY_CONTROL_LEFT, 0);
    headless_press_key(KEY_RETURN, '\r');
    pump_events();
    ASSERT_EQ(button_mask, 0u);
    object.update();
    EXPECT_EQ(record.calls, 1);
    EXPECT_EQ(record.captured, &object);

    headless_release_key(KEY_RETURN);
    pump_events();
    object.update();
    EXPECT_EQ(record.calls, 2) << "the release of the key is the release of the button";

    // Without Control the activate key does not reach the secondary callback.
    headless_release_key(KEY_CONTROL_LEFT);
    headless_press_key(KEY_RETURN, '\r');
    pump_events();
    object.update();
    EXPECT_EQ(record.calls, 2);
}

// --- Focus and hooks -----------------------------------------------------------------------------

namespace {
std::vector<std::string> focus_events;
// The name comes in the data word: the callback also runs from the base destructor, when the
// object is no PROBE any more.
void note_focus(WM_SCREEN_OBJECT* object, PTR_INT_CAST data)
{
    focus_events.push_back(std::string(reinterpret_cast<const char*>(data)) + (object->has_focus() ? "+" : "-"));
}

// label: a literal, which outlives the object.
void watch_focus(PROBE& probe, const char* label)
{
    probe.focus_callback = note_focus;
    probe.focus_data = reinterpret_cast<PTR_INT_CAST>(label);
}
} // namespace

TEST_F(SCREEN_OBJECT, take_focus_tells_both_objects_refuses_what_cannot_take_it_and_a_deleted_focus_goes)
{
    focus_events.clear();
    PROBE a("a", 0, 0, 10, 10, COLOUR(), true);
    PROBE b("b", 20, 0, 10, 10, COLOUR(), true);
    PROBE plain("plain", 40, 0, 10, 10);
    PROBE hidden("hidden", 60, 0, 10, 10, COLOUR(), true);
    hidden.hide(false, false);
    watch_focus(a, "a");
    watch_focus(b, "b");
    a.take_focus();
    b.take_focus();
    plain.take_focus();
    hidden.take_focus();
    EXPECT_EQ(wm_toolkit.focus_object, &b);
    EXPECT_EQ(focus_events, (std::vector<std::string> { "a+", "a-", "b+" }));
    EXPECT_TRUE(wm_toolkit.focus_seen);

    // Deleting the focus object clears the focus and calls the hooks.
    focus_events.clear();
    static std::vector<std::string> hooks;
    hooks.clear();
    wm_toolkit.object_created_hook = [](WM_SCREEN_OBJECT* object, PTR_INT_CAST) {
        hooks.push_back("created:" + static_cast<PROBE*>(object)->name);
    };
    wm_toolkit.object_destroyed_hook = [](WM_SCREEN_OBJECT*, PTR_INT_CAST) { hooks.push_back("destroyed"); };
    PROBE* object = new PROBE("o", 0, 0, 10, 10, COLOUR(), true);
    watch_focus(*object, "o");
    object->take_focus();
    delete object;
    wm_toolkit.object_created_hook = nullptr;
    wm_toolkit.object_destroyed_hook = nullptr;
    EXPECT_EQ(wm_toolkit.focus_object, nullptr);
    EXPECT_EQ(focus_events, (std::vector<std::string> { "b-", "o+", "o-" }));
    EXPECT_EQ(hooks, (std::vector<std::string> { "created:o", "destroyed" }));
}

TEST_F(SCREEN_OBJECT, the_flash_phase_follows_the_clock_in_eight_periods)
{
    WM_MANAGER area(0, 0, 10, 10);
    headless_set_time(0);
    area.animate(false);
    EXPECT_EQ(wm_toolkit.flash_phase, 0);
    headless_set_time(50);
    area.animate(false);
    EXPECT_EQ(wm_toolkit.flash_phase, 0x01);
    headless_set_time(125 + 250 + 500);
    area.animate(false);
    // 875: /50 = 17 odd, /125 = 7 odd, /250 = 3 odd, /500 = 1 odd.
    EXPECT_EQ(wm_toolkit.flash_phase, 0x0F);
    headless_set_time(8000);
    area.animate(false);
    // 8000: /50 = 160, /125 = 64, /250 = 32, /500 = 16, /1000 = 8, /2000 = 4, /4000 = 2 even; /8000 = 1.
    EXPECT_EQ(wm_toolkit.flash_phase, 0x80);
}

TEST_F(SCREEN_OBJECT, a_manager_of_size_0_takes_the_display_size)
{
    WM_MANAGER root(0, 0, 0, 0);
    EXPECT_EQ(root.get_width(), 320);
    EXPECT_EQ(root.get_height(), 240);
    EXPECT_FALSE(root.can_take_focus());
    root.set_size(0, 100, false);
    EXPECT_EQ(root.width, 320);
    EXPECT_EQ(root.height, 100);
}

TEST(SCREEN_OBJECT_DEATH, a_manager_of_negative_size_stops_the_program)
{
    RUN_RESULT result = run_in_child([] { WM_MANAGER root(0, 0, -5, 10); });
    EXPECT_EQ(result.status, 255);
    EXPECT_NE(result.output.find("ERROR: 0060:\nScreen object has invalid size"), std::string::npos) << result.output;
}
