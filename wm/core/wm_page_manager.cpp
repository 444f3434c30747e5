// The page manager: areas, the frame, action codes, page history and the repaint. The keyboard
// focus walk is in wm_focus.cpp and the transition effects in wm_transition.cpp.
//
// [SECTION] Page entries
// [SECTION] Areas
// [SECTION] Life
// [SECTION] The frame
// [SECTION] Action codes
// [SECTION] Pages and history
// [SECTION] Entering pages
// [SECTION] Objects and tear-down
// [SECTION] Repaint

#include "wm/core/wm_page_manager.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>

#include "base/debug_stream.h"
#include "base/error_report.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_page_tool_manager.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Page entries
// ---------------------------------------------------------------------------------------------

namespace {
INT_U32 last_page_stamp = 0;
} // namespace

INT_U32 page_id_stamp()
{
    INT_U32 now = static_cast<INT_U32>(time(nullptr));
    last_page_stamp = now > last_page_stamp ? now : last_page_stamp + 1;
    return last_page_stamp;
}

bool PAGE_ENTRY::equals(const PAGE_ENTRY& other) const
{
    if (build != other.build || free_data != other.free_data || tick != other.tick || same_page != other.same_page
        || leave != other.leave || store != other.store || id != other.id)
        return false;
    return same_page ? same_page(data, other.data) : data == other.data;
}

void PAGE_ENTRY::clear()
{
    *this = PAGE_ENTRY();
    id = page_id_stamp();
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Areas
// ---------------------------------------------------------------------------------------------

PAGE_AREA::PAGE_AREA(INT_S32 x_in, INT_S32 y_in, INT_S32 width_in, INT_S32 height_in)
    : WM_MANAGER(x_in, y_in, width_in, height_in, true)
{
    follows_display = width_in == 0 || height_in == 0 ? 1 : 0;
    // Sized now when a display exists, so that the first page marks and walks a real rectangle.
    (void)get_width();
    (void)get_height();
    for (PAGE_ENTRY& entry : history)
        entry.clear();
    pending.clear();
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Life
// ---------------------------------------------------------------------------------------------

WM_PAGE_MANAGER::WM_PAGE_MANAGER(INT_S32 count, INT_S32 event_buffer_size)
{
    if (count < 1)
        fatal_error(0x69, nullptr);
    if (wm_toolkit.page_manager)
        fatal_error(0x6A, nullptr);
    if (count > 32767)
        fatal_error(0x6B, nullptr);
    areas = new (std::nothrow) PAGE_AREA*[static_cast<size_t>(count)];
    if (!areas)
        fatal_error(0x6B, nullptr);
    area_count = static_cast<INT_S16>(count);
    for (INT_S32 i = 0; i < count; ++i) {
        areas[i] = new (std::nothrow) PAGE_AREA(0, 0, 0, 0);
        if (!areas[i])
            fatal_error(0x6B, nullptr);
        areas[i]->set_z_level(static_cast<INT_S16>(i));
    }
    wm_toolkit.page_manager = this;
    if (event_buffer_size > 0)
        wm_use_char_buffer(event_buffer_size);
}

WM_PAGE_MANAGER::~WM_PAGE_MANAGER()
{
    // Every area is reset before any is deleted: freeing a page asks all areas whether its data
    // is still in use.
    for (INT_S32 i = 0; i < area_count; ++i)
        reset_area(i);
    for (INT_S32 i = 0; i < area_count; ++i)
        delete areas[i];
    delete[] areas;
    areas = nullptr;
    area_count = 0;
    current_area_object = nullptr;
    if (wm_toolkit.page_manager == this)
        wm_toolkit.page_manager = nullptr;
}

PAGE_AREA* WM_PAGE_MANAGER::area_at(INT_S32 area)
{
    INT_S32 index = area_index(area);
    return index < 0 ? nullptr : areas[index];
}

INT_S32 WM_PAGE_MANAGER::area_index(INT_S32 area) const
{
    if (area == -1)
        area = current_area;
    return area >= 0 && area < area_count ? area : -1;
}

void WM_PAGE_MANAGER::make_current(INT_S32 index)
{
    current_area = static_cast<INT_S16>(index);
    current_area_object = areas[index];
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The frame
// ---------------------------------------------------------------------------------------------

INT_S32 WM_PAGE_MANAGER::update(bool flush)
{
    INT_U32 now = wm_now();
    if (display_width == 0 || display_height == 0) {
        display_width = static_cast<INT_U16>(wm_display_width(0));
        display_height = static_cast<INT_U16>(wm_display_height(0));
        // Areas made before there was a display take its size now, and the first frame on a
        // display paints all of it.
        for (INT_S32 i = 0; i < area_count; ++i) {
            (void)areas[i]->get_width();
            (void)areas[i]->get_height();
        }
        if (area_count > 0 && display_width > 0)
            areas[0]->mark_all_dirty();
    }
    wm_toolkit.focus_seen = 0;
    pointer_shape = pointer_shapes_in_use ? 0 : -1;

    bool simulated = simulated_x != -1 && simulated_y != -1;
    INT_S16 real_x = wm_pointer_x(), real_y = wm_pointer_y();
    INT_U32 real_buttons = wm_button_mask();
    if (simulated)
        wm_set_pointer_state(simulated_x, simulated_y, simulated_button);

    // Tab moves the focus; the key is taken so that it acts once.
    if (wm_last_key() == KEY_TAB) {
        wm_take_last_key();
        bool shift = wm_key_down(KEY_SHIFT_LEFT) || wm_key_down(KEY_SHIFT_RIGHT);
        bool control = wm_key_down(KEY_CONTROL_LEFT) || wm_key_down(WM_KEY_CONTROL_RIGHT);
        if (!shift && !control)
            focus_next();
        else if (!shift)
            focus_first_of_next_area();
        else if (!control)
            focus_previous();
        else
            focus_first_of_previous_area();
    }

    bool tick = tick_period == 0 || now - last_tick_time >= tick_period;
    if (tick)
        last_tick_time = now;

    // Page pass, last area first.
    INT_S32 code = WM_ACTION_NONE;
    INT_S32 code_area = -1;
    bool input = true;
    bool animating = true;
    for (INT_S32 i = area_count - 1; i >= 0; --i) {
        PAGE_AREA* area = areas[i];
        make_current(i);
        if (code == WM_ACTION_NONE && !area->current_entry().build && area->pending.build) {
            code = fade_first_page ? WM_ACTION_PAGE_FADE_IN : WM_ACTION_PAGE;
            code_area = i;
            area->show(false);
            input = false;
        }
        if (area->rebuild_pending && area->visible) {
            area->rebuild_pending = 0;
            rebuild_page(i, false, false);
            input = false;
        }
        if (code == WM_ACTION_NONE && animating) {
            INT_S32 result = area->animate(false);
            repaint();
            if (result > WM_ACTION_KEEP_FOCUS || result == WM_ACTION_QUIT) {
                code = result;
                code_area = i;
                input = false;
                animating = false;
            }
        }
    }
    if (code == WM_ACTION_NONE && area_count > 0) {
        make_current(0);
        INT_S32 result = areas[0]->animate(true);
        if (result > WM_ACTION_KEEP_FOCUS || result == WM_ACTION_QUIT) {
            code = result;
            code_area = 0;
            input = false;
        }
    }

    // Input pass. With an overlay open only its area is served, and the base update hands the
    // input to the top overlay alone: no page behind it gets input or ticks.
    if (input) {
        if (WM_SCREEN_OBJECT::overlay_count() != 0) {
            INT_S32 z = WM_SCREEN_OBJECT::top_overlay_z();
            INT_S32 index = z < -1 ? -2 - z : z;
            if (z != -1 && index >= 0 && index < area_count) {
                make_current(index);
                PAGE_AREA* area = areas[index];
                INT_S32 result = WM_ACTION_NONE;
                if (tick && area->current_entry().tick)
                    result = area->current_entry().tick(area->current_entry().data);
                if (result == WM_ACTION_NONE)
                    result = area->update();
                code = result;
                code_area = index;
            }
        } else {
            for (INT_S32 i = area_count - 1; i >= 0 && code == WM_ACTION_NONE; --i) {
                make_current(i);
                PAGE_AREA* area = areas[i];
                INT_S32 result = WM_ACTION_NONE;
                if (tick && area->visible && area->current_entry().tick)
                    result = area->current_entry().tick(area->current_entry().data);
                if (result == WM_ACTION_NONE)
                    result = area->update();
                if (result != WM_ACTION_NONE) {
                    code = result;
                    code_area = i;
                }
            }
        }
    }

    last_code_area = code_area;
    code = act_on_code(code, code_area);

    if (pointer_resizing)
        follow_display_size();

    // A focus object that nobody reached this frame is gone or hidden.
    if (code != WM_ACTION_KEEP_FOCUS && !wm_toolkit.focus_seen) {
        if (!focus_next() && wm_toolkit.focus_object) {
            WM_SCREEN_OBJECT* lost = wm_toolkit.focus_object;
            wm_toolkit.focus_object = nullptr;
            if (lost->visible)
                lost->show(false);
            if (lost->focus_callback)
                lost->focus_callback(lost, lost->focus_data);
        }
    }

    repaint();
    if (flush)
        wm_present();
    if (simulated)
        wm_set_pointer_state(real_x, real_y, real_buttons);
    if (pointer_shapes_in_use && pointer_shape >= 0 && pointer_shape <= 7 && pointer_shape != last_pointer_shape) {
        wm_set_pointer_shape(pointer_shape, false);
        last_pointer_shape = pointer_shape;
    }
    return code;
}

void WM_PAGE_MANAGER::follow_display_size()
{
    INT_S32 width_now = wm_display_width(0);
    INT_S32 height_now = wm_display_height(0);
    if (width_now < 1 || height_now < 1)
        return;
    if (width_now == display_width && height_now == display_height)
        return;
    display_width = static_cast<INT_U16>(width_now);
    display_height = static_cast<INT_U16>(height_now);
    if (area_count < 1)
        return;
    for (INT_S32 i = 0; i < area_count; ++i) {
        if (areas[i]->follows_display)
            areas[i]->set_size(width_now, height_now, false);
    }
    areas[0]->mark_all_dirty();
    for (INT_S32 i = area_count - 1; i >= 0; --i) {
        areas[i]->rebuild_pending = 0;
        make_current(i);
        rebuild_page(i, false, false);
    }
}

void WM_PAGE_MANAGER::reset_pointer()
{
    simulated_x = -1;
    simulated_y = -1;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Action codes
// ---------------------------------------------------------------------------------------------

void WM_PAGE_MANAGER::rebuild_page(INT_S32 index, bool clear_overlays, bool close_dialogs_too)
{
    PAGE_AREA* area = areas[index];
    make_current(index);
    PAGE_ENTRY& entry = area->current_entry();
    if (entry.leave)
        entry.leave(entry.data);
    area->clear_objects(clear_overlays, true);
    if (close_dialogs_too)
        close_dialogs();
    // The entry may have changed under leave; read it again.
    PAGE_ENTRY& now = area->current_entry();
    if (now.build)
        now.build(this, now.data);
    if (!wm_toolkit.focus_object)
        focus_next();
}

void WM_PAGE_MANAGER::rebuild_all(INT_S32 start, bool clear_overlays_first)
{
    for (INT_S32 n = 0; n < area_count; ++n) {
        INT_S32 index = (start + n) % area_count;
        if (!areas[index]->visible)
            continue;
        rebuild_page(index, clear_overlays_first && n == 0, false);
    }
}

void WM_PAGE_MANAGER::close_dialogs()
{
    // Closing may take an overlay off the list; walk a snapshot of the dialogs first.
    WM_SCREEN_OBJECT* dialogs[256];
    INT_S32 found = 0;
    for (LLIST_NODE* node = wm_toolkit.overlay_list.head(); node && found < 256; node = node->next) {
        WM_SCREEN_OBJECT* overlay = list_object(node);
        if (overlay->type_flags & WM_TYPE_DIALOG)
            dialogs[found++] = overlay;
    }
    for (INT_S32 i = 0; i < found; ++i) {
        if (!WM_SCREEN_OBJECT::is_overlay(dialogs[i]))
            continue;
        if (dialog_closer) {
            dialog_closer(dialogs[i], false);
        } else if (area_count > 0) {
            areas[0]->remove_overlay(dialogs[i], true, false);
        }
    }
}

INT_S32 WM_PAGE_MANAGER::act_on_code(INT_S32 code, INT_S32 area)
{
    INT_S32 index = area >= 0 && area < area_count ? area : 0;
    if (area_count < 1)
        return code;
    switch (code) {
    case WM_ACTION_CLOSE_DIALOGS:
        close_dialogs();
        return code;
    case WM_ACTION_REBUILD_AREA:
        rebuild_page(index, false, false);
        return WM_ACTION_NONE;
    case WM_ACTION_REBUILD_ALL:
        rebuild_all(index, false);
        return WM_ACTION_NONE;
    case WM_ACTION_REBUILD_AREA_CLEAR:
    case WM_ACTION_REBUILD_AREA_CLEAR_2:
        rebuild_page(index, true, false);
        return WM_ACTION_NONE;
    case WM_ACTION_REBUILD_ALL_CLEAR:
    case WM_ACTION_REBUILD_ALL_CLEAR_2:
        rebuild_all(index, true);
        return WM_ACTION_NONE;
    case WM_ACTION_CLEAR_OVERLAYS:
        areas[0]->clear_objects(true, false);
        if (!wm_toolkit.focus_object)
            focus_next();
        return WM_ACTION_NONE;
    case WM_ACTION_REBUILD_AREA_CLOSE:
        rebuild_page(index, true, true);
        return WM_ACTION_NONE;
    case WM_ACTION_REBUILD_ALL_CLOSE:
        rebuild_all(index, true);
        close_dialogs();
        return WM_ACTION_NONE;
    default:
        break;
    }
    if (is_page_action(code))
        change_page(code, index);
    return code;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Pages and history
// ---------------------------------------------------------------------------------------------

bool WM_PAGE_MANAGER::is_data_in_use(PTR_INT_CAST data) const
{
    if (data == 0)
        return false;
    for (INT_S32 i = 0; i < area_count; ++i) {
        const PAGE_AREA* area = areas[i];
        if (area->pending.build && area->pending.data == data)
            return true;
        for (INT_S32 e = 0; e < area->count && e < PAGE_HISTORY_SIZE; ++e) {
            if (area->history[e].build && area->history[e].data == data)
                return true;
        }
    }
    return false;
}

void WM_PAGE_MANAGER::free_entry(PAGE_ENTRY& entry)
{
    PAGE_ENTRY gone = entry;
    entry.clear();
    // The same page object may stand in two places (entered again while current): it is
    // released only with its last entry.
    if (gone.build && gone.free_data && !is_data_in_use(gone.data))
        gone.free_data(&gone.data);
}

void WM_PAGE_MANAGER::drop_history_entry(PAGE_AREA* area, INT_S32 index)
{
    if (index < 0 || index >= area->count)
        return;
    free_entry(area->history[index]);
    for (INT_S32 i = index; i + 1 < area->count; ++i)
        area->history[i] = area->history[i + 1];
    area->history[area->count - 1].clear();
    --area->count;
    if (area->count < 1)
        area->count = 1;
    if (area->current > index)
        --area->current;
    if (area->pending_index > index)
        --area->pending_index;
    else if (area->pending_index == index)
        area->pending_index = -1;
}

void WM_PAGE_MANAGER::set_page(INT_S32 area_number, PAGE_BUILD build, PAGE_FREE free_data, PTR_INT_CAST data,
    PAGE_TICK tick, bool store, INT_U32 id, PAGE_LEAVE leave)
{
    PAGE_AREA* area = area_at(area_number);
    if (!build || !area)
        return;
    if (area->pending.build)
        free_entry(area->pending);
    area->pending.build = build;
    area->pending.free_data = free_data;
    area->pending.data = data;
    area->pending.tick = tick;
    area->pending.store = store ? 1 : 0;
    area->pending.id = id;
    area->pending.leave = leave;
    area->pending.same_page = nullptr;
}

void WM_PAGE_MANAGER::set_page_index(INT_S32 index, INT_S32 area_number)
{
    PAGE_AREA* area = area_at(area_number);
    if (!area || index < 0 || index >= area->count)
        return;
    if (index == area->current) {
        area->refresh_pending = 1;
        return;
    }
    if (area->pending.build)
        free_entry(area->pending);
    area->pending_index = index;
}

INT_S32 WM_PAGE_MANAGER::find_other_id(PAGE_AREA* area, INT_S32 step, bool need_build)
{
    INT_U32 id = area->current_entry().id;
    for (INT_S32 i = area->current + step; i >= 0 && i < area->count; i += step) {
        if (area->history[i].id == id)
            continue;
        if (need_build && !area->history[i].build)
            return -1;
        return i;
    }
    return -1;
}

void WM_PAGE_MANAGER::back(INT_S32 area_number)
{
    PAGE_AREA* area = area_at(area_number);
    if (!area)
        return;
    INT_S32 index = find_other_id(area, -1, false);
    if (index >= 0)
        set_page_index(index, area_number);
}

void WM_PAGE_MANAGER::forward(INT_S32 area_number)
{
    PAGE_AREA* area = area_at(area_number);
    if (!area)
        return;
    INT_S32 index = find_other_id(area, 1, false);
    if (index >= 0)
        set_page_index(index, area_number);
}

bool WM_PAGE_MANAGER::can_go_back(INT_S32 area_number)
{
    PAGE_AREA* area = area_at(area_number);
    return area && find_other_id(area, -1, true) >= 0;
}

bool WM_PAGE_MANAGER::can_go_forward(INT_S32 area_number)
{
    PAGE_AREA* area = area_at(area_number);
    return area && find_other_id(area, 1, true) >= 0;
}

void WM_PAGE_MANAGER::clear_history(INT_S32 area_number)
{
    PAGE_AREA* area = area_at(area_number);
    if (!area)
        return;
    PAGE_ENTRY kept = area->current_entry();
    area->current_entry().clear();
    for (INT_S32 i = 0; i < PAGE_HISTORY_SIZE; ++i)
        free_entry(area->history[i]);
    kept.store = 0;
    area->history[0] = kept;
    area->current = 0;
    area->count = 1;
    area->pending_index = -1;
}

void WM_PAGE_MANAGER::remove_history(INT_S32 index, INT_S32 area_number)
{
    PAGE_AREA* area = area_at(area_number);
    if (!area || index < 0 || index >= area->count)
        return;
    if (index == area->current) {
        area->current_entry().store = 0;
        return;
    }
    drop_history_entry(area, index);
}

PTR_INT_CAST WM_PAGE_MANAGER::get_page_data(INT_S32 index, INT_S32 area_number)
{
    PAGE_AREA* area = area_at(area_number);
    if (!area || index < 0 || index >= area->count)
        return 0;
    return area->history[index].data;
}

void WM_PAGE_MANAGER::request_reset(INT_S32 area_number)
{
    if (PAGE_AREA* area = area_at(area_number))
        area->reset_pending = 1;
}

void WM_PAGE_MANAGER::request_rebuild(INT_S32 area_number)
{
    if (PAGE_AREA* area = area_at(area_number))
        area->rebuild_pending = 1;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Entering pages
// ---------------------------------------------------------------------------------------------

void WM_PAGE_MANAGER::process_all(INT_S32 start)
{
    if (area_count < 1)
        return;
    if (start < 0 || start >= area_count)
        start = 0;
    for (INT_S32 n = 0; n < area_count; ++n)
        process_area((start + n) % area_count);
    repaint();
}

void WM_PAGE_MANAGER::process_area(INT_S32 index)
{
    if (index < 0 || index >= area_count)
        return;
    PAGE_AREA* area = areas[index];
    INT_U8 was_visible = area->visible;
    make_current(index);

    if (area->reset_pending) {
        reset_area(index);
        return;
    }

    if (!area->pending.build && area->pending_index == -1) {
        if (!area->refresh_pending || !was_visible)
            return;
        area->refresh_pending = 0;
        rebuild_page(index, false, false);
        area->mark_dirty();
        area->visible = was_visible;
        area->draw_pending = was_visible;
        repaint();
        return;
    }

    // The old page goes with the area hidden, so that nothing of it paints again.
    area->hide(false, true);
    PAGE_ENTRY& old_entry = area->current_entry();
    if (old_entry.leave)
        old_entry.leave(old_entry.data);
    area->clear_objects(false, true);

    if (area->pending_index != -1) {
        INT_S32 target = area->pending_index;
        if (!area->current_entry().store) {
            // Only the last entry can be unstored in normal use; a cleared one in the middle
            // closes its gap.
            INT_S32 dropped = area->current;
            drop_history_entry(area, dropped);
            if (target > dropped)
                --target;
        }
        if (target >= area->count)
            target = area->count - 1;
        area->current = target;
    } else {
        PAGE_ENTRY& current = area->current_entry();
        if (current.build && current.equals(area->pending))
            current.store = 0;
        PAGE_ENTRY replaced {};
        bool replace = false;
        if (area->current_entry().store) {
            ++area->current;
            if (area->current >= PAGE_HISTORY_SIZE) {
                free_entry(area->history[0]);
                for (INT_S32 i = 0; i + 1 < PAGE_HISTORY_SIZE; ++i)
                    area->history[i] = area->history[i + 1];
                area->history[PAGE_HISTORY_SIZE - 1].clear();
                area->current = PAGE_HISTORY_SIZE - 1;
                if (area->count > PAGE_HISTORY_SIZE - 1)
                    area->count = PAGE_HISTORY_SIZE - 1;
            }
        } else {
            replaced = area->current_entry();
            replace = true;
        }
        // Everything beyond the new page is forgotten, as in a browser.
        INT_S32 old_count = area->count;
        area->history[area->current] = area->pending;
        area->count = area->current + 1;
        area->pending.clear();
        for (INT_S32 i = area->current + 1; i < old_count && i < PAGE_HISTORY_SIZE; ++i)
            free_entry(area->history[i]);
        if (replace)
            free_entry(replaced);
    }
    area->pending.clear();
    area->pending_index = -1;

    PAGE_ENTRY& entry = area->current_entry();
    if (entry.build)
        entry.build(this, entry.data);
    area->mark_dirty();
    area->visible = was_visible;
    area->draw_pending = was_visible;
    area->refresh_pending = 0;
    area->rebuild_pending = 0;
    // A new page counts as seen by the focus repair, whatever held the focus before.
    wm_toolkit.focus_seen = 1;
    if (!wm_toolkit.focus_object)
        focus_next();
}

void WM_PAGE_MANAGER::reset_area(INT_S32 index)
{
    if (index < 0 || index >= area_count)
        return;
    PAGE_AREA* area = areas[index];
    INT_U8 was_visible = area->visible;
    PAGE_ENTRY& entry = area->current_entry();
    if (entry.build && entry.leave)
        entry.leave(entry.data);
    area->clear_objects(false, true);
    area->mark_dirty();
    area->visible = was_visible;
    area->draw_pending = was_visible;
    for (PAGE_ENTRY& old : area->history)
        free_entry(old);
    free_entry(area->pending);
    area->reset_pending = 0;
    area->refresh_pending = 0;
    area->rebuild_pending = 0;
    area->current = 0;
    area->count = 1;
    area->pending_index = -1;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Objects and tear-down
// ---------------------------------------------------------------------------------------------

WM_SCREEN_OBJECT* WM_PAGE_MANAGER::object_at(INT_S32 px, INT_S32 py)
{
    WM_SCREEN_OBJECT* first_area = nullptr;
    for (INT_S32 i = area_count - 1; i >= 0; --i) {
        WM_SCREEN_OBJECT* hit = areas[i]->object_at(px, py);
        if (!hit)
            continue;
        if (hit != areas[i])
            return hit;
        if (!first_area)
            first_area = hit;
    }
    return first_area;
}

void WM_PAGE_MANAGER::close_all()
{
    if (IMAGE* target = wm_toolkit.draw_target)
        target->set_clip(0, 0, static_cast<INT_S16>(target->width - 1), static_cast<INT_S16>(target->height - 1));
    for (INT_S32 d = 0; d < PAGE_MANAGER_DISPLAYS; ++d) {
        if (background[d].has_pixels())
            background[d].set_size(0, 0);
    }
    for (INT_S32 i = 0; i < area_count; ++i) {
        PAGE_AREA* area = areas[i];
        area->hide(false, true);
        PAGE_ENTRY& entry = area->current_entry();
        if (entry.build && entry.leave)
            entry.leave(entry.data);
        area->clear_objects(false, true);
        free_entry(area->current_entry());
    }
    if (area_count > 0)
        areas[0]->clear_objects(true, false);
}

const char* WM_PAGE_MANAGER::history_text(INT_S32 area_number, const WM_PAGE_TOOL_MANAGER* tool, char* buffer,
    size_t size)
{
    if (!buffer || size == 0)
        return buffer;
    buffer[0] = 0;
    INT_S32 index = area_index(area_number);
    if (index < 0)
        return buffer;
    PAGE_AREA* area = areas[index];
    size_t used = 0;
    auto add = [&](const char* text) {
        size_t length = strlen(text);
        if (used + 1 >= size)
            return;
        if (length > size - 1 - used)
            length = size - 1 - used;
        memcpy(buffer + used, text, length);
        used += length;
        buffer[used] = 0;
    };
    add("Current Page History\n--------------------\n\n");
    for (INT_S32 i = area->count - 1; i >= 0; --i) {
        const PAGE_ENTRY& entry = area->history[i];
        char id_text[32];
        const char* name = tool ? tool->page_name(index, entry.id) : nullptr;
        if (!name) {
            snprintf(id_text, sizeof id_text, "0x%X", entry.id);
            name = id_text;
        }
        char line[512];
        snprintf(line, sizeof line, "%2d - %s%s%s\n", static_cast<int>(i), name, entry.store ? "" : " (Don't Store)",
            i == area->current ? " <- Current Page" : "");
        add(line);
    }
    add("\n");
    return buffer;
}

void WM_PAGE_MANAGER::dump_history(INT_S32 area_number, const WM_PAGE_TOOL_MANAGER* tool, DEBUG_STREAM* stream)
{
    if (!stream)
        return;
    char text[8192];
    history_text(area_number, tool, text, sizeof text);
    debug_write(stream, nullptr, 0, text, false);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Repaint
// ---------------------------------------------------------------------------------------------

void WM_PAGE_MANAGER::draw_background(INT_S32 display)
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || display < 0 || display >= PAGE_MANAGER_DISPLAYS)
        return;
    const IMAGE& picture = background[display];
    bool covers = picture.has_pixels() && picture.width >= target->width && picture.height >= target->height;
    if (background_colour.alpha() != 0 && !covers)
        target->fill(background_colour);
    if (picture.has_pixels())
        IMAGE::blit(target, &picture, 0, 0, 0, 0, picture.width, picture.height, BLIT_ALPHA);
}

void WM_PAGE_MANAGER::repaint()
{
    WM_DIRTY_LIST& list = wm_toolkit.dirty_rects;
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || !target->has_pixels()) {
        list.clear();
        return;
    }
    for (INT_S32 i = 0; i < list.count; ++i) {
        wm_toolkit.current_dirty_rect = i;
        const WM_DIRTY_RECT& rect = list.rects[i];
        target->set_clip(rect.x1, rect.y1, rect.x2, rect.y2);
        for (INT_S32 display = 0; display < PAGE_MANAGER_DISPLAYS; ++display) {
            if (wm_display_exists(display))
                draw_background(display);
        }
        for (INT_S32 a = 0; a < area_count; ++a)
            areas[a]->draw();
        if (area_count > 0)
            areas[0]->draw_overlays();
        target->set_clip(0, 0, static_cast<INT_S16>(target->width - 1), static_cast<INT_S16>(target->height - 1));
    }
    wm_toolkit.current_dirty_rect = -1;
    list.clear();
}
