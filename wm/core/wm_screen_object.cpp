// WM_SCREEN_OBJECT: the tree, the overlays, the input and time walks, hit tests, focus, dirty
// rectangles and the draw walk. Borders, arrows and the focus mark are in wm_shading.cpp.
//
// [SECTION] Toolkit state
// [SECTION] Life
// [SECTION] Showing and hiding
// [SECTION] Update and animate
// [SECTION] Hit tests
// [SECTION] Position, size, tree
// [SECTION] Overlays
// [SECTION] Focus and state
// [SECTION] Dirty rectangles
// [SECTION] Drawing

#include "wm/core/wm_screen_object.h"

#include <cstring>
#include <optional>

#include "base/error_report.h"
#include "graphics/image.h"
#include "graphics/tiled_image.h"
#include "host/host.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_page_manager.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Toolkit state
// ---------------------------------------------------------------------------------------------

// Constant-initialised (every member has a constant default), so that objects built by other
// static initialisers find it ready whatever order the linker chose.
WM_TOOLKIT wm_toolkit;

void reset_toolkit_state()
{
    wm_toolkit.focus_object = nullptr;
    wm_toolkit.focus_seen = 0;
    wm_toolkit.captured_object = nullptr;
    wm_toolkit.overlay_list.clear();
    wm_toolkit.overlays_enabled = 1;
    wm_toolkit.dirty_rects.clear();
    wm_toolkit.current_dirty_rect = -1;
    wm_toolkit.flash_phase = 0;
    wm_toolkit.flash_phase_due = 1;
    wm_toolkit.draw_target = nullptr;
    wm_toolkit.clip_saved = 0;
}

void fatal_error_invalid_size()
{
    fatal_error(0x60, nullptr);
}

WM_SCREEN_OBJECT* list_object(const LLIST_NODE* node)
{
    WM_SCREEN_OBJECT* object = nullptr;
    if (node && node->data)
        memcpy(&object, node->data, sizeof object);
    return object;
}

void list_append(PTRLLIST& list, void* pointer)
{
    // insert() puts the node in front of the cursor; run the cursor off the end first.
    if (list.cursor()) {
        list.cursor_to_tail();
        list.next();
    }
    list.insert(pointer);
}

namespace {

WM_SCREEN_OBJECT* object_of(const LLIST_NODE* node)
{
    return list_object(node);
}

// Cuts the rectangle to a display of the size given; false when nothing of it is left, or the
// display has no size.
bool clip_to_display(INT_S32 display_width, INT_S32 display_height, INT_S32& x1, INT_S32& y1, INT_S32& x2,
    INT_S32& y2)
{
    if (display_width < 1 || display_height < 1)
        return false;
    if (x1 < 0)
        x1 = 0;
    if (y1 < 0)
        y1 = 0;
    if (x2 > display_width - 1)
        x2 = display_width - 1;
    if (y2 > display_height - 1)
        y2 = display_height - 1;
    return x2 >= x1 && y2 >= y1;
}

// z level of an object that leaves a list of `owner` and stays alive.
INT_S16 detached_z_level(const WM_SCREEN_OBJECT* owner)
{
    return owner->z_level < -1 ? static_cast<INT_S16>(-2 - owner->z_level) : 0;
}

// The same phase for everybody: bit n is the clock divided by the n-th period, odd or even.
INT_U8 flash_phase_at(INT_U32 t)
{
    static const INT_U32 periods[8] = { 50, 125, 250, 500, 1000, 2000, 4000, 8000 };
    INT_U8 phase = 0;
    for (int bit = 0; bit < 8; ++bit)
        phase |= static_cast<INT_U8>(((t / periods[bit]) & 1) << bit);
    return phase;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Life
// ---------------------------------------------------------------------------------------------

WM_SCREEN_OBJECT::WM_SCREEN_OBJECT(bool visible_in, WM_CALLBACK left_callback_in, PTR_INT_CAST left_data1_in,
    PTR_INT_CAST left_data2_in)
    : visible(visible_in ? 1 : 0)
    , draw_pending(visible_in ? 1 : 0)
    , left_callback(left_callback_in)
    , left_data1(left_data1_in)
    , left_data2(left_data2_in)
{
    if (!wm_toolkit.draw_target)
        wm_toolkit.draw_target = wm_back_buffer(0);
}

WM_SCREEN_OBJECT::~WM_SCREEN_OBJECT()
{
    if (wm_toolkit.captured_object == this)
        wm_toolkit.captured_object = nullptr;
    if (wm_toolkit.focus_object == this) {
        wm_toolkit.focus_object = nullptr;
        if (focus_callback)
            focus_callback(this, focus_data);
    }
    if (wm_toolkit.object_destroyed_hook)
        wm_toolkit.object_destroyed_hook(this, wm_toolkit.object_destroyed_data);

    LLIST_NODE* node = children.tail();
    while (node) {
        LLIST_NODE* before = node->previous;
        WM_SCREEN_OBJECT* child = object_of(node);
        wm_toolkit.overlay_list.remove(child);
        if (child->not_owned)
            child->hide(false, false);
        else
            delete child;
        node = before;
    }
    children.clear();
    // An overlay deleted by its owner directly must not stay listed behind a dangling pointer.
    wm_toolkit.overlay_list.remove(this);
    if (visible)
        mark_dirty();
}

bool WM_SCREEN_OBJECT::is_over_masked(INT_S32 px, INT_S32 py, const TILED_IMAGE* mask)
{
    if (!visible)
        return false;
    if (is_over_child(px, py))
        return true;
    if (!is_over_self(px, py))
        return false;
    if (!mask)
        return true;
    return mask->solid_at(clamp_s16(px - x), clamp_s16(py - y), clamp_s16(width), clamp_s16(height));
}

INT_S32 WM_SCREEN_OBJECT::left_click_step(INT_U8& was_down, INT_S32 trigger, INT_S16& click_x, INT_S16& click_y)
{
    INT_S32 code = 0;
    INT_S32 px = wm_pointer_x();
    INT_S32 py = wm_pointer_y();
    bool left = (wm_button_mask() & BUTTON_PRIMARY) != 0;
    if (left != (was_down != 0) && is_over_self(px, py) && left_callback) {
        bool fire = (left && trigger != 1) || (!left && trigger != 0);
        if (fire) {
            click_x = clamp_s16(px - x);
            click_y = clamp_s16(py - y);
            code = left_callback(this, left_data1, left_data2);
            click_x = -1;
            click_y = -1;
        }
    }
    was_down = left;
    return code;
}

void WM_SCREEN_OBJECT::notify_created()
{
    if (wm_toolkit.object_created_hook)
        wm_toolkit.object_created_hook(this, wm_toolkit.object_created_data);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Showing and hiding
// ---------------------------------------------------------------------------------------------

void WM_SCREEN_OBJECT::show(bool with_children)
{
    draw_pending = 1;
    visible = 1;
    mark_dirty();
    if (!with_children)
        return;
    for (LLIST_NODE* node = children.tail(); node; node = node->previous)
        object_of(node)->show(true);
}

void WM_SCREEN_OBJECT::hide(bool with_overlays, bool with_children)
{
    draw_pending = 0;
    drawn = 0;
    if (!visible)
        return;
    if (with_overlays) {
        for (LLIST_NODE* node = wm_toolkit.overlay_list.tail(); node; node = node->previous)
            object_of(node)->hide(false, false);
    }
    if (with_children) {
        for (LLIST_NODE* node = children.tail(); node; node = node->previous)
            object_of(node)->hide(false, false);
    }
    visible = 0;
    mark_dirty();
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Update and animate
// ---------------------------------------------------------------------------------------------

bool WM_SCREEN_OBJECT::in_current_area() const
{
    WM_PAGE_MANAGER* manager = wm_toolkit.page_manager;
    if (!manager || !manager->current_area_object)
        return true;
    const PAGE_AREA* area = manager->current_area_object;
    // Edges count: a rectangle that only touches the area is walked as well.
    return x <= area->x + area->width && x + width >= area->x && y <= area->y + area->height
        && y + height >= area->y;
}

bool WM_SCREEN_OBJECT::close_overlay(WM_SCREEN_OBJECT* overlay)
{
    if (!wm_toolkit.overlay_list.remove(overlay))
        return false;
    mark_dirty();
    if (overlay->not_owned)
        overlay->set_z_level(detached_z_level(this));
    else
        delete overlay;
    return true;
}

void WM_SCREEN_OBJECT::note_focus_serviced()
{
    if (wm_toolkit.focus_object == this && visible)
        wm_toolkit.focus_seen = 1;
}

bool WM_SCREEN_OBJECT::activate_key_is_down()
{
    return wm_key_down(wm_toolkit.activate_key);
}

INT_S32 WM_SCREEN_OBJECT::update()
{
    // A hidden focus object is not serviced: the frame's repair then moves the focus on.
    if (visible)
        note_focus_serviced();

    // The topmost visible overlay is modal: nothing else in the program gets input this frame.
    if (wm_toolkit.overlays_enabled && wm_toolkit.overlay_list.count() > 0) {
        WM_SCREEN_OBJECT* modal = nullptr;
        for (LLIST_NODE* node = wm_toolkit.overlay_list.tail(); node; node = node->previous) {
            if (object_of(node)->visible) {
                modal = object_of(node);
                break;
            }
        }
        if (modal) {
            if (modal->z_level >= 0)
                modal->set_z_level(static_cast<INT_S16>(-2 - z_level));
            wm_toolkit.overlays_enabled = 0;
            INT_S32 code = modal->update();
            wm_toolkit.overlays_enabled = 1;
            if (code != WM_ACTION_CLOSE_OVERLAY)
                return code;
            close_overlay(modal);
            return WM_ACTION_NONE;
        }
    }

    if (!visible)
        return WM_ACTION_NONE;

    // Hidden children are called too: each class decides what a hidden object does.
    LLIST_NODE* node = children.head();
    while (node) {
        LLIST_NODE* following = node->next;
        WM_SCREEN_OBJECT* child = object_of(node);
        if (child->z_level < 0 || child->in_current_area()) {
            INT_S32 code = child->update();
            if (code != WM_ACTION_NONE)
                return code;
        }
        node = following;
    }

    if (!right_callback)
        return WM_ACTION_NONE;

    INT_S32 px = wm_pointer_x();
    INT_S32 py = wm_pointer_y();
    bool pressed = (wm_button_mask() & BUTTON_SECONDARY) != 0;
    bool key_down = wm_key_down(wm_toolkit.activate_key);
    // Control with the activate key is the keyboard's way to the secondary button of the
    // focused object: pressed where its centre is.
    if (has_focus() && (key_down || activate_key_down)
        && (wm_key_down(KEY_CONTROL_LEFT) || wm_key_down(WM_KEY_CONTROL_RIGHT))) {
        pressed = key_down;
        px = x + width / 2;
        py = y + height / 2;
    }
    activate_key_down = key_down ? 1 : 0;

    if (pressed) {
        if (!wm_toolkit.captured_object && is_over(px, py)) {
            wm_toolkit.captured_object = this;
            take_focus();
            if (right_trigger == 0 || right_trigger == 2)
                return right_callback(this, right_data1, right_data2);
        }
        return WM_ACTION_NONE;
    }
    if (wm_toolkit.captured_object == this) {
        wm_toolkit.captured_object = nullptr;
        if (is_over(px, py) && (right_trigger == 1 || right_trigger == 2))
            return right_callback(this, right_data1, right_data2);
    }
    return WM_ACTION_NONE;
}

INT_S32 WM_SCREEN_OBJECT::animate(bool overlays)
{
    bool outermost = wm_toolkit.flash_phase_due != 0;
    if (outermost) {
        wm_toolkit.flash_phase = flash_phase_at(wm_now());
        wm_toolkit.flash_phase_due = 0;
    }

    INT_S32 result = WM_ACTION_NONE;
    if (!overlays) {
        LLIST_NODE* node = children.head();
        while (node) {
            LLIST_NODE* following = node->next;
            WM_SCREEN_OBJECT* child = object_of(node);
            if (child->z_level < 0 || child->in_current_area()) {
                INT_S32 code = child->animate(false);
                if (code != WM_ACTION_NONE) {
                    result = code;
                    break;
                }
            }
            node = following;
        }
    } else {
        // Every overlay moves on in time, visible or not; only the top one gets input.
        LLIST_NODE* node = wm_toolkit.overlay_list.head();
        while (node) {
            LLIST_NODE* following = node->next;
            WM_SCREEN_OBJECT* overlay = object_of(node);
            INT_S32 code = overlay->animate(false);
            if (code == WM_ACTION_CLOSE_OVERLAY) {
                close_overlay(overlay);
            } else if (code != WM_ACTION_NONE) {
                result = code;
                break;
            }
            node = following;
        }
    }

    if (outermost)
        wm_toolkit.flash_phase_due = 1;
    return result;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Hit tests
// ---------------------------------------------------------------------------------------------

bool WM_SCREEN_OBJECT::is_over(INT_S32 px, INT_S32 py)
{
    if (!visible)
        return false;
    return is_over_self(px, py) || is_over_child(px, py);
}

bool WM_SCREEN_OBJECT::is_over_self(INT_S32 px, INT_S32 py)
{
    if (!visible)
        return false;
    return px >= x && py >= y && px < x + width && py < y + height;
}

bool WM_SCREEN_OBJECT::is_over_child(INT_S32 px, INT_S32 py)
{
    for (LLIST_NODE* node = children.head(); node; node = node->next) {
        WM_SCREEN_OBJECT* child = object_of(node);
        if (child->visible && child->is_over(px, py))
            return true;
    }
    return false;
}

WM_SCREEN_OBJECT* WM_SCREEN_OBJECT::object_at(INT_S32 px, INT_S32 py)
{
    if (!visible || !is_over(px, py))
        return nullptr;
    WM_SCREEN_OBJECT* found = this;
    // Later children lie on top: the last hit wins.
    for (LLIST_NODE* node = children.head(); node; node = node->next) {
        WM_SCREEN_OBJECT* child = object_of(node);
        if (!child->visible)
            continue;
        WM_SCREEN_OBJECT* hit = child->object_at(px, py);
        if (hit)
            found = hit;
    }
    return found;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Position, size, tree
// ---------------------------------------------------------------------------------------------

void WM_SCREEN_OBJECT::set_position(INT_S32 new_x, INT_S32 new_y)
{
    if (new_x == x && new_y == y)
        return;
    INT_S32 dx = new_x - x, dy = new_y - y;
    for (LLIST_NODE* node = children.head(); node; node = node->next) {
        WM_SCREEN_OBJECT* child = object_of(node);
        child->set_position(child->x + dx, child->y + dy);
    }
    if (visible)
        mark_dirty();
    x = static_cast<INT_S16>(new_x);
    y = static_cast<INT_S16>(new_y);
    if (visible)
        mark_dirty();
}

void WM_SCREEN_OBJECT::set_size(INT_S32 new_width, INT_S32 new_height, bool with_children)
{
    if (size_locked)
        return;
    if (new_width < 0)
        new_width = 0;
    if (new_height < 0)
        new_height = 0;
    if (new_width == width && new_height == height)
        return;
    if (visible)
        mark_dirty();
    if (with_children) {
        INT_S32 dw = new_width - width, dh = new_height - height;
        for (LLIST_NODE* node = children.head(); node; node = node->next) {
            WM_SCREEN_OBJECT* child = object_of(node);
            child->set_size(child->width + dw, child->height + dh, true);
        }
    }
    width = static_cast<INT_U16>(new_width);
    height = static_cast<INT_U16>(new_height);
    if (visible)
        mark_dirty();
}

void WM_SCREEN_OBJECT::set_z_level(INT_S16 z)
{
    z_level = z;
    for (LLIST_NODE* node = children.head(); node; node = node->next)
        object_of(node)->set_z_level(z);
}

void WM_SCREEN_OBJECT::add_child(WM_SCREEN_OBJECT* child, bool relative)
{
    if (!child)
        return;
    list_append(children, child);
    if (relative)
        child->set_position(x + child->x, y + child->y);
    child->set_z_level(z_level);
    if (child->visible && drawn)
        child->mark_dirty();
}

void WM_SCREEN_OBJECT::remove_child(WM_SCREEN_OBJECT* child, bool destroy, bool relative)
{
    if (!child || !children.remove(child))
        return;
    child->hide(false, false);
    if (destroy && !child->not_owned) {
        delete child;
        return;
    }
    child->set_z_level(detached_z_level(this));
    if (relative)
        child->set_position(child->x - x, child->y - y);
}

WM_SCREEN_OBJECT* WM_SCREEN_OBJECT::get_child(INT_S32 index) const
{
    if (index < 0)
        return nullptr;
    for (LLIST_NODE* node = children.head(); node; node = node->next) {
        if (index-- == 0)
            return object_of(node);
    }
    return nullptr;
}

void WM_SCREEN_OBJECT::clear_objects(bool with_overlays, bool with_children)
{
    if (with_overlays) {
        // Always from the tail again: a deleted overlay takes any of its children that were
        // listed off the list as well.
        while (LLIST_NODE* node = wm_toolkit.overlay_list.tail()) {
            WM_SCREEN_OBJECT* overlay = object_of(node);
            wm_toolkit.overlay_list.remove_node(node);
            if (overlay->not_owned)
                overlay->hide(false, false);
            else
                delete overlay;
        }
    }
    if (with_children) {
        LLIST_NODE* node = children.tail();
        while (node) {
            LLIST_NODE* before = node->previous;
            WM_SCREEN_OBJECT* child = object_of(node);
            if (!with_overlays)
                wm_toolkit.overlay_list.remove(child);
            children.remove_node(node);
            if (child->not_owned)
                child->hide(false, false);
            else
                delete child;
            node = before;
        }
    }
    if (visible)
        mark_dirty();
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Overlays
// ---------------------------------------------------------------------------------------------

void WM_SCREEN_OBJECT::add_overlay(WM_SCREEN_OBJECT* object, bool relative)
{
    if (!object)
        return;
    list_append(wm_toolkit.overlay_list, object);
    if (relative)
        object->set_position(x + object->x, y + object->y);
    object->set_z_level(z_level >= 0 ? static_cast<INT_S16>(-2 - z_level) : z_level);
    if (object->visible && drawn)
        object->mark_dirty();
}

void WM_SCREEN_OBJECT::remove_overlay(WM_SCREEN_OBJECT* object, bool destroy, bool relative)
{
    if (!object || !is_overlay(object))
        return;
    mark_dirty();
    wm_toolkit.overlay_list.remove(object);
    if (destroy && !object->not_owned) {
        delete object;
        return;
    }
    object->set_z_level(detached_z_level(this));
    if (relative)
        object->set_position(object->x - x, object->y - y);
}

INT_S32 WM_SCREEN_OBJECT::overlay_count()
{
    INT_S32 count = 0;
    for (LLIST_NODE* node = wm_toolkit.overlay_list.head(); node; node = node->next) {
        if (object_of(node)->visible)
            ++count;
    }
    return count;
}

INT_S32 WM_SCREEN_OBJECT::top_overlay_z()
{
    for (LLIST_NODE* node = wm_toolkit.overlay_list.tail(); node; node = node->previous) {
        if (object_of(node)->visible)
            return object_of(node)->z_level;
    }
    return -1;
}

bool WM_SCREEN_OBJECT::is_overlay(const WM_SCREEN_OBJECT* object)
{
    for (LLIST_NODE* node = wm_toolkit.overlay_list.head(); node; node = node->next) {
        if (object_of(node) == object)
            return true;
    }
    return false;
}

WM_SCREEN_OBJECT* WM_SCREEN_OBJECT::find_overlay(INT_U64 mask)
{
    for (LLIST_NODE* node = wm_toolkit.overlay_list.tail(); node; node = node->previous) {
        WM_SCREEN_OBJECT* overlay = object_of(node);
        if (overlay->visible && (overlay->type_flags & mask) == mask)
            return overlay;
    }
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Focus and state
// ---------------------------------------------------------------------------------------------

bool WM_SCREEN_OBJECT::can_take_focus()
{
    return focusable != 0;
}

void WM_SCREEN_OBJECT::take_focus()
{
    if (!can_take_focus() || has_focus() || !visible)
        return;
    WM_SCREEN_OBJECT* previous = wm_toolkit.focus_object;
    wm_toolkit.focus_object = this;
    // Both are painted again: the old one without its focus mark, the new one with it.
    if (previous) {
        if (previous->visible)
            previous->show(false);
        if (previous->focus_callback)
            previous->focus_callback(previous, previous->focus_data);
    }
    show(false);
    if (focus_callback)
        focus_callback(this, focus_data);
    wm_toolkit.focus_seen = 1;
}

void WM_SCREEN_OBJECT::set_active(bool value)
{
    if (visible)
        show(false);
    active = value ? 1 : 0;
}

INT_S32 WM_SCREEN_OBJECT::get_x()
{
    return x;
}

INT_S32 WM_SCREEN_OBJECT::get_y()
{
    return y;
}

INT_S32 WM_SCREEN_OBJECT::get_width()
{
    return width;
}

INT_S32 WM_SCREEN_OBJECT::get_height()
{
    return height;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Dirty rectangles
// ---------------------------------------------------------------------------------------------

void WM_SCREEN_OBJECT::record_dirty(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2)
{
    // A repaint in progress is taken to cover whatever changes while it runs.
    if (wm_toolkit.current_dirty_rect != -1)
        return;
    if (x2 < x1 || y2 < y1)
        return;
    INT_S32 display = wm_display_at(x < 0 ? 0 : x, y < 0 ? 0 : y);
    INT_S32 display_width = wm_display_width(display);
    INT_S32 display_height = wm_display_height(display);
    if (!clip_to_display(display_width, display_height, x1, y1, x2, y2))
        return;
    WM_DIRTY_RECT rect;
    rect.x1 = static_cast<INT_S16>(x1);
    rect.y1 = static_cast<INT_S16>(y1);
    rect.x2 = static_cast<INT_S16>(x2);
    rect.y2 = static_cast<INT_S16>(y2);
    WM_DIRTY_RECT whole;
    whole.x2 = static_cast<INT_S16>(display_width - 1);
    whole.y2 = static_cast<INT_S16>(display_height - 1);
    wm_toolkit.dirty_rects.add(rect, whole);
}

void WM_SCREEN_OBJECT::mark_dirty()
{
    record_dirty(x, y, x + width - 1, y + height - 1);
}

void WM_SCREEN_OBJECT::mark_rect_dirty(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2)
{
    record_dirty(x1, y1, x2, y2);
}

void WM_SCREEN_OBJECT::mark_all_dirty()
{
    record_dirty(0, 0, 32767, 32767);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Drawing
// ---------------------------------------------------------------------------------------------

bool WM_SCREEN_OBJECT::is_repaint_running()
{
    return wm_toolkit.current_dirty_rect >= 0 && wm_toolkit.current_dirty_rect < wm_toolkit.dirty_rects.count;
}

bool WM_SCREEN_OBJECT::touches_dirty_rect() const
{
    if (!is_repaint_running())
        return false;
    const WM_DIRTY_RECT& rect = wm_toolkit.dirty_rects.rects[wm_toolkit.current_dirty_rect];
    return rect.overlaps(x, y, x + width - 1, y + height - 1);
}

void WM_SCREEN_OBJECT::draw()
{
    if (!is_repaint_running() || !visible)
        return;
    IMAGE* target = wm_toolkit.draw_target;
    // The outermost draw narrows the clip to the dirty rectangle and puts it back after.
    std::optional<WM_CLIP_KEEPER> saved;
    if (target && wm_toolkit.clip_saved == 0) {
        const WM_DIRTY_RECT& rect = wm_toolkit.dirty_rects.rects[wm_toolkit.current_dirty_rect];
        saved.emplace(target);
        target->intersect_clip(rect.x1, rect.y1, rect.x2, rect.y2);
        wm_toolkit.clip_saved = 1;
    }

    if (width >= 1 && height >= 1 && touches_dirty_rect()) {
        paint();
        if (has_focus() && !draws_own_focus)
            draw_focus_mark(1);
        drawn = 1;
        draw_pending = 0;
    } else if (draw_pending) {
        drawn = 1;
        draw_pending = 0;
    }

    for (LLIST_NODE* node = children.head(); node; node = node->next) {
        WM_SCREEN_OBJECT* child = object_of(node);
        // A child that is an overlay as well is drawn with the overlays, above everything.
        if (wm_toolkit.overlay_list.count() > 0 && is_overlay(child))
            continue;
        child->draw();
    }

    if (saved) {
        saved->restore();
        wm_toolkit.clip_saved = 0;
    }
}

void WM_SCREEN_OBJECT::draw_overlays()
{
    if (!is_repaint_running())
        return;
    for (LLIST_NODE* node = wm_toolkit.overlay_list.head(); node; node = node->next) {
        WM_SCREEN_OBJECT* overlay = object_of(node);
        if (overlay->z_level >= 0)
            overlay->set_z_level(static_cast<INT_S16>(-2 - z_level));
        overlay->draw();
    }
}

void WM_SCREEN_OBJECT::paint() {}

// Both repaint one rectangle at once, as the frame's repaint would, then put back the state of
// any repaint they interrupted.
namespace {

void repaint_rectangle_now(INT_S32 display, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2,
    WM_SCREEN_OBJECT* unattached)
{
    IMAGE* target = wm_toolkit.draw_target;
    INT_S32 display_width = wm_display_width(display);
    INT_S32 display_height = wm_display_height(display);
    if (!target || !clip_to_display(display_width, display_height, x1, y1, x2, y2))
        return;

    WM_DIRTY_LIST& list = wm_toolkit.dirty_rects;
    INT_S32 saved_index = wm_toolkit.current_dirty_rect;
    INT_S32 saved_count = list.count;
    WM_DIRTY_RECT saved_first = list.rects[0];
    INT_S32 saved_clip_depth = wm_toolkit.clip_saved;
    WM_CLIP_KEEPER saved_clip(target);

    list.rects[0].x1 = static_cast<INT_S16>(x1);
    list.rects[0].y1 = static_cast<INT_S16>(y1);
    list.rects[0].x2 = static_cast<INT_S16>(x2);
    list.rects[0].y2 = static_cast<INT_S16>(y2);
    if (list.count < 1)
        list.count = 1;
    wm_toolkit.current_dirty_rect = 0;
    wm_toolkit.clip_saved = 0;
    target->set_clip(static_cast<INT_S16>(x1), static_cast<INT_S16>(y1), static_cast<INT_S16>(x2),
        static_cast<INT_S16>(y2));

    WM_PAGE_MANAGER* manager = wm_toolkit.page_manager;
    if (manager) {
        manager->draw_background(display);
        for (INT_S32 i = 0; i < manager->area_count; ++i)
            manager->areas[i]->draw();
        if (manager->area_count > 0)
            manager->areas[0]->draw_overlays();
    }
    if (unattached && unattached->z_level == -1)
        unattached->draw();

    saved_clip.restore();
    wm_toolkit.clip_saved = saved_clip_depth;
    list.rects[0] = saved_first;
    list.count = saved_count;
    wm_toolkit.current_dirty_rect = saved_index;
}

} // namespace

void WM_SCREEN_OBJECT::redraw_now()
{
    repaint_rectangle_now(wm_display_at(x < 0 ? 0 : x, y < 0 ? 0 : y), x, y, x + width - 1, y + height - 1, this);
}

void WM_SCREEN_OBJECT::redraw_display(INT_S32 display)
{
    repaint_rectangle_now(display, 0, 0, 32767, 32767, nullptr);
}
