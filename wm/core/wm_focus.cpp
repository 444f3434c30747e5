// The keyboard focus order: Tab, Shift+Tab, Control+Tab and Shift+Control+Tab.
//
// One walk serves all four steps. It visits an object, then its children from head to tail (the
// order they were built in, which is the order a page reads in), then the cells of a grid row by
// row. Hidden objects are skipped, but a hidden focus object is noted, so that the focus moves on
// from where it was.

#include "wm/core/wm_page_manager.h"

namespace {

struct FOCUS_WALK {
    WM_SCREEN_OBJECT* focus { nullptr };
    WM_SCREEN_OBJECT* first { nullptr };
    WM_SCREEN_OBJECT* last { nullptr };
    WM_SCREEN_OBJECT* previous { nullptr }; // the focusable object just before the focus
    WM_SCREEN_OBJECT* next { nullptr };     // the first focusable object after it
    bool seen { false };
    // Stops once previous and next are known; a walk that needs `last` runs to the end.
    [[nodiscard]] bool done() const { return seen && previous && next; }
};

void visit(WM_SCREEN_OBJECT* object, void* context);

void visit_children(WM_SCREEN_OBJECT* object, FOCUS_WALK* walk)
{
    for (LLIST_NODE* node = object->children.head(); node && !walk->done(); node = node->next)
        visit(list_object(node), walk);
    if ((object->type_flags & WM_TYPE_GRID) && wm_toolkit.grid_cells && !walk->done())
        wm_toolkit.grid_cells(object, visit, walk);
}

void visit(WM_SCREEN_OBJECT* object, void* context)
{
    FOCUS_WALK* walk = static_cast<FOCUS_WALK*>(context);
    if (!object || walk->done())
        return;
    if (!object->visible) {
        if (object == walk->focus)
            walk->seen = true;
        return;
    }
    if (object == walk->focus) {
        walk->seen = true;
    } else if (object->can_take_focus()) {
        if (!walk->first)
            walk->first = object;
        walk->last = object;
        if (!walk->seen)
            walk->previous = object;
        else if (!walk->next)
            walk->next = object;
    }
    if (object == walk->focus && object->can_take_focus()) {
        if (!walk->first)
            walk->first = object;
        walk->last = object;
    }
    visit_children(object, walk);
}

// The topmost visible overlay, which alone is walked while it is open.
WM_SCREEN_OBJECT* top_overlay()
{
    for (LLIST_NODE* node = wm_toolkit.overlay_list.tail(); node; node = node->previous) {
        WM_SCREEN_OBJECT* overlay = list_object(node);
        if (overlay->visible)
            return overlay;
    }
    return nullptr;
}

// Gives the focus to target; true when the focus is on target afterwards.
bool give_focus(WM_SCREEN_OBJECT* target)
{
    if (!target)
        return false;
    target->take_focus();
    return wm_toolkit.focus_object == target;
}

} // namespace

bool WM_PAGE_MANAGER::focus_walk(bool forward)
{
    FOCUS_WALK walk;
    walk.focus = wm_toolkit.focus_object;
    if (WM_SCREEN_OBJECT* overlay = top_overlay()) {
        visit(overlay, &walk);
    } else {
        for (INT_S32 i = 0; i < area_count && !walk.done(); ++i)
            visit(areas[i], &walk);
    }
    WM_SCREEN_OBJECT* target = nullptr;
    if (forward)
        target = walk.next ? walk.next : walk.first;
    else
        target = walk.previous && walk.seen ? walk.previous : walk.last;
    return give_focus(target);
}

bool WM_PAGE_MANAGER::focus_next()
{
    return focus_walk(true);
}

bool WM_PAGE_MANAGER::focus_previous()
{
    return focus_walk(false);
}

bool WM_PAGE_MANAGER::focus_area_step(bool forward)
{
    if (area_count < 1 || WM_SCREEN_OBJECT::overlay_count() != 0)
        return false;
    WM_SCREEN_OBJECT* focus = wm_toolkit.focus_object;
    INT_S32 from;
    if (focus && focus->z_level >= 0 && focus->z_level < area_count)
        from = focus->z_level;
    else
        from = forward ? area_count - 1 : (area_count > 1 ? 1 : 0);
    // The next visible area that has something to focus, cyclically.
    for (INT_S32 n = 1; n <= area_count; ++n) {
        INT_S32 step = forward ? n : -n;
        INT_S32 index = ((from + step) % area_count + area_count) % area_count;
        if (!areas[index]->visible)
            continue;
        FOCUS_WALK walk;
        visit(areas[index], &walk);
        if (walk.first)
            return give_focus(walk.first);
    }
    return false;
}

bool WM_PAGE_MANAGER::focus_first_of_next_area()
{
    return focus_area_step(true);
}

bool WM_PAGE_MANAGER::focus_first_of_previous_area()
{
    return focus_area_step(false);
}
