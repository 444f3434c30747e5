// WM_BUTTON. The press and drag machines are tabled in wm_button.h; update() below walks them in
// the order a frame needs: read the pointer and keys, let the base class serve the secondary
// button, then drag, hint, the shown value, hovering, press edges, the outside release, repeats,
// and last the event itself.
//
// [SECTION] Construction
// [SECTION] Setters
// [SECTION] The frame: update and animate
// [SECTION] Drag and hint
// [SECTION] Painting

#include "wm/widgets/wm_button.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "base/error_report.h"
#include "graphics/image.h"
#include "graphics/tiled_image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_page_manager.h"
#include "wm/core/wm_style.h"
#include "wm/core/wm_style_set.h"
#include "wm/widgets/wm_default_styles.h"
#include "wm/widgets/wm_face.h"
#include "wm/widgets/wm_script.h"

bool WM_BUTTON::track_anywhere_default = false;

namespace {

bool visible_colour(const COLOUR& colour)
{
    return colour.alpha() != 0;
}

char* copy_text(const char* text)
{
    if (!text)
        text = "";
    size_t length = strlen(text);
    char* copy = new (std::nothrow) char[length + 1];
    if (!copy)
        fatal_error(0x61, nullptr);
    memcpy(copy, text, length + 1);
    return copy;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Construction
// ---------------------------------------------------------------------------------------------

void WM_BUTTON::init_fields()
{
    type_flags |= WM_TYPE_BUTTON;
    track_anywhere = track_anywhere_default;
    focusable = 1;
    draws_own_focus = 0;
}

WM_BUTTON::WM_BUTTON(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const char* title_, const COLOUR& text_colour_,
    const COLOUR& background_colour_, const COLOUR& highlight_colour, INT_S32 click_mode_, INT_U8 font_id_,
    INT_S16 font_x_sz_, INT_S16 font_y_sz_, INT_S16 left_gap_, INT_S16 right_gap_, INT_S16 top_gap_,
    INT_S16 bottom_gap_, INT_S16 x_spacing_, INT_S16 y_spacing_, INT_U8 trigger_, WM_CALLBACK left_callback_,
    PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_)
    : WM_SCREEN_OBJECT(true, left_callback_, left_data1_, left_data2_)
{
    init_fields();
    title = copy_text(title_);
    text_colour = normal_text_colour = text_colour_;
    background_colour = background_colour_;
    down_colour = visible_colour(highlight_colour) ? highlight_colour : background_colour_;
    click_mode = click_mode_;
    font_id = font_id_;
    font_x_sz = font_x_sz_;
    font_y_sz = font_y_sz_;
    left_gap = left_gap_;
    right_gap = right_gap_;
    top_gap = top_gap_;
    bottom_gap = bottom_gap_;
    x_spacing = x_spacing_;
    y_spacing = y_spacing_;
    trigger = trigger_;
    border_sides = BORDER_ALL;
    resolve_gaps();
    size_to_title(x1, y1, x2, y2);
    notify_created();
}

WM_BUTTON::WM_BUTTON(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const WM_STYLE_SET* style_, const char* title_,
    const char* hint_, WM_CALLBACK left_callback_, PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_,
    INT_U8 trigger_)
    : WM_SCREEN_OBJECT(true, left_callback_, left_data1_, left_data2_)
{
    init_fields();
    const WM_STYLE_SET& style = style_ ? *style_ : *widget_look(WIDGET_STYLE_BUTTON);
    title = copy_text(title_);
    trigger = trigger_;
    shading_type = static_cast<INT_U8>(style.shading_type);
    visible = style.visible;
    draw_pending = style.visible;
    font_id = style.font_id;
    font_x_sz = style.font_x_sz;
    font_y_sz = style.font_y_sz;
    left_gap = style.cell_left_gap;
    right_gap = style.cell_right_gap;
    top_gap = style.cell_top_gap;
    bottom_gap = style.cell_bottom_gap;
    x_spacing = style.x_spacing;
    y_spacing = style.y_spacing;

    text_colour = normal_text_colour = style.fg_colour;
    background_colour = style.bg_colour;
    down_colour = visible_colour(style.active_colour) ? style.active_colour : style.bg_colour;
    fading_colour = style.fading_colour;
    highlight_text_colour = style.highlight_text_colour;
    active_text_colour = style.active_text_colour;
    over_colour = style.mouse_over_colour;
    over_text_colour = style.mouse_over_text_colour;
    flashing_colour = style.flashing_colour;
    flashing_text_colour = style.flashing_text_colour;
    disabled_colour = style.disabled_colour;
    disabled_text_colour = style.disabled_text_colour;
    underline_colour = style.underline_colour;
    if (visible_colour(style.shading_base_colour))
        colour = style.shading_base_colour;

    if (style.ext_flags & ssef_auto_depress)
        click_mode = 1;
    else if (style.ext_flags & ssef_auto_actiavte)
        click_mode = 2;
    face_flags = face_flags_from_style(style);
    border_sides = style_border_sides(&style);
    if (style.flags & ssf_disabled)
        enabled = 0;
    if (style.ext_flags & ssef_indent_when_active)
        indent_when_active = 1;
    if (style.image_filename && style.image_filename[0])
        load_faces(style);

    resolve_gaps();
    size_to_title(x1, y1, x2, y2);
    set_hint(hint_);
    notify_created();
}

WM_BUTTON::~WM_BUTTON()
{
    close_hint();
    delete hint;
    hint = nullptr;
    delete[] title;
    delete icon;
    delete icon_over;
    delete drag_image;
    free_faces();
}

void WM_BUTTON::resolve_gaps()
{
    resolve_face_gaps(shading_thickness(shading_type), left_gap, right_gap, top_gap, bottom_gap, x_spacing, y_spacing);
}

// A side that is not positive takes what the title needs; a button that ends up with no size at
// all cannot be painted or pressed, which is a caller's fault.
void WM_BUTTON::size_to_title(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2)
{
    x = x1;
    y = y1;
    INT_S32 w = x2 - x1 + 1;
    INT_S32 h = y2 - y1 + 1;
    if (w < 1 || h < 1) {
        INT_S32 text_w = 0;
        INT_S32 text_h = 0;
        measure_face_text(wm_measuring_target(), get_title(), font_id, font_x_sz, font_y_sz, &text_w, &text_h);
        if (w < 1)
            w = text_w + left_gap + right_gap + 1;
        if (h < 1)
            h = text_h + top_gap + bottom_gap + 1;
    }
    if (w < 1 || h < 1 || w > 32767 || h > 32767)
        fatal_error(0x62, nullptr);
    width = static_cast<INT_U16>(w);
    height = static_cast<INT_U16>(h);
}

INT_S16 WM_BUTTON::width_for(const char* title_, const WM_STYLE_SET* style)
{
    const WM_STYLE_SET& set = style ? *style : *widget_look(WIDGET_STYLE_BUTTON);
    INT_S32 text_w = 0;
    measure_face_text(wm_measuring_target(), title_, set.font_id, set.font_x_sz, set.font_y_sz, &text_w, nullptr);
    INT_S32 gaps = (set.cell_left_gap < 0 ? 0 : set.cell_left_gap) + (set.cell_right_gap < 0 ? 0 : set.cell_right_gap);
    return clamp_s16(text_w + gaps + 1);
}

void WM_BUTTON::free_faces()
{
    TILED_IMAGE** faces[] = { &face_up, &face_down, &face_disabled, &face_over, &face_active_up, &face_active_down,
        &face_active_disabled, &face_active_over, &face_highlighted, &face_flashing, &face_dragging };
    for (TILED_IMAGE** face : faces)
        free_skin_image(*face);
}

// The faces come from the style set's slots when it loaded them, else by name from its folder.
// A button without its own up or down face uses the base picture for it.
void WM_BUTTON::load_faces(const WM_STYLE_SET& style)
{
    free_faces();
    if (!style.images_loaded) {
        char folder[ORLU_MAX_PATH];
        if (style_image_folder(style, folder, sizeof folder))
            load_faces_by_name(folder, style.image_filename);
        return;
    }
    face_up = copy_skin_image(style.images[STYLE_IMAGE_UP]);
    face_down = copy_skin_image(style.images[STYLE_IMAGE_DOWN]);
    face_disabled = copy_skin_image(style.images[STYLE_IMAGE_DISABLED]);
    face_over = copy_skin_image(style.images[STYLE_IMAGE_OVER]);
    face_active_up = copy_skin_image(style.images[STYLE_IMAGE_ACTIVE_UP]);
    face_active_down = copy_skin_image(style.images[STYLE_IMAGE_ACTIVE_DOWN]);
    face_active_disabled = copy_skin_image(style.images[STYLE_IMAGE_ACTIVE_DISABLED]);
    face_active_over = copy_skin_image(style.images[STYLE_IMAGE_ACTIVE_OVER]);
    face_highlighted = copy_skin_image(style.images[STYLE_IMAGE_HIGHLIGHTED]);
    face_flashing = copy_skin_image(style.images[STYLE_IMAGE_FLASHING]);
    face_dragging = copy_skin_image(style.images[STYLE_IMAGE_DRAGGING]);
    if (!face_up)
        face_up = copy_skin_image(style.images[STYLE_IMAGE_BASE]);
    if (!face_down)
        face_down = copy_skin_image(style.images[STYLE_IMAGE_BASE]);
}

void WM_BUTTON::load_faces_by_name(const char* folder, const char* name)
{
    static const char* const suffixes[] = { "_up", "_down", "_disabled", "_over", "_active_up", "_active_down",
        "_active_disabled", "_active_over", "_highlighted", "_flashing", "_dragging" };
    TILED_IMAGE** faces[] = { &face_up, &face_down, &face_disabled, &face_over, &face_active_up, &face_active_down,
        &face_active_disabled, &face_active_over, &face_highlighted, &face_flashing, &face_dragging };
    char file_name[ORLU_MAX_PATH];
    for (size_t i = 0; i < sizeof suffixes / sizeof suffixes[0]; ++i) {
        snprintf(file_name, sizeof file_name, "%s%s", name, suffixes[i]);
        *faces[i] = load_skin_image(folder, file_name);
    }
    if (!face_up)
        face_up = load_skin_image(folder, name);
    if (!face_down)
        face_down = load_skin_image(folder, name);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Setters
// ---------------------------------------------------------------------------------------------

const char* WM_BUTTON::get_title() const
{
    return title ? title : "";
}

void WM_BUTTON::set_title(const char* text, bool resize)
{
    char* copy = copy_text(text);
    delete[] title;
    title = copy;
    mark_dirty();
    if (!resize)
        return;
    INT_S32 text_w = 0;
    measure_face_text(wm_measuring_target(), title, font_id, font_x_sz, font_y_sz, &text_w, nullptr);
    set_size(left_gap + right_gap + text_w + 1, height, false);
}

void WM_BUTTON::set_hint(const char* text)
{
    close_hint();
    delete hint;
    hint = nullptr;
    if (!text || !text[0])
        return;
    const WM_STYLE_SET* look = widget_look(WIDGET_STYLE_HINT);
    hint = new (std::nothrow) WM_SCRIPT(0, 0, SCRIPT_MEASURE_LINES_WIDTH, SCRIPT_MEASURE_LINES_HEIGHT, text, look);
    if (!hint)
        return;
    hint->not_owned = 1;
    hint->visible = 0;
    hint->draw_pending = 0;
    hint->owner = this;
}

bool WM_BUTTON::set_images(const char* folder, const char* name, const WM_STYLE_SET* style)
{
    free_faces();
    if (name && folder)
        load_faces_by_name(folder, name);
    if (style)
        face_flags |= face_flags_from_style(style[0]) & FACE_DONT_RESIZE_IMAGE;
    redraw();
    return has_images();
}

void WM_BUTTON::set_colours(const COLOUR& background, const COLOUR& text, const COLOUR& fading, bool resize_faces)
{
    background_colour = background;
    down_colour = background;
    text_colour = normal_text_colour = text;
    fading_colour = fading;
    if (resize_faces) {
        // A skin drawn in pure red, green and blue takes the new colours; the flashing and
        // dragging faces keep theirs.
        TILED_IMAGE* faces[] = { face_up, face_down, face_disabled, face_over, face_active_up, face_active_down,
            face_active_disabled, face_active_over, face_highlighted };
        for (TILED_IMAGE* face : faces) {
            if (face)
                face->recolour(background, fading, text, true);
        }
    }
    if (visible)
        redraw();
}

void WM_BUTTON::set_icon(const IMAGE* image)
{
    delete icon;
    icon = nullptr;
    if (image && image->has_pixels()) {
        icon = new (std::nothrow) IMAGE(image->width, image->height);
        if (icon)
            IMAGE::blit(icon, image, 0, 0, 0, 0, image->width, image->height, BLIT_COPY);
    }
    if (visible)
        redraw();
}

void WM_BUTTON::set_drag(WM_DRAG_CALLBACK callback, PTR_INT_CAST data1, PTR_INT_CAST data2, INT_U32 events)
{
    drag_callback = callback;
    drag_data1 = data1;
    drag_data2 = data2;
    drag_events = events;
    if (visible)
        redraw();
}

void WM_BUTTON::set_flash(INT_U8 mask)
{
    flash_mask = mask;
    flash_mode = mask ? FLASH_MODE_ON : 0;
    if (!mask)
        flash_on = 0;
    if (visible)
        redraw();
}

void WM_BUTTON::set_default(bool flag)
{
    is_default = flag;
    if (visible)
        redraw();
}

void WM_BUTTON::set_enabled(bool flag)
{
    if ((enabled != 0) == flag)
        return;
    enabled = flag;
    if (!flag) {
        looks_down = 0;
        press_started = 0;
        repeating = 0;
        repeat_time = 0;
        close_hint();
    }
    redraw();
}

void WM_BUTTON::set_shortcut_key(INT_U32 key_symbol)
{
    shortcut_key = key_symbol;
}

void WM_BUTTON::redraw()
{
    if (dragged && drag_x != -1) {
        INT_S32 left = drag_x + drag_offset_x;
        INT_S32 top = drag_y + drag_offset_y;
        mark_rect_dirty(left, top, left + width - 1, top + height - 1);
    }
    show(false);
}

void WM_BUTTON::hide(bool with_overlays, bool with_children)
{
    close_hint();
    WM_SCREEN_OBJECT::hide(with_overlays, with_children);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The frame: update and animate
// ---------------------------------------------------------------------------------------------

INT_S32 WM_BUTTON::update()
{
    // 1. The pointer.
    INT_S16 px = wm_pointer_x();
    INT_S16 py = wm_pointer_y();
    INT_U32 buttons = wm_button_mask();
    bool over = is_over(px, py);
    bool left = (buttons & BUTTON_PRIMARY) != 0;
    bool right = false;
    bool auto_press = false;
    if (track_anywhere)
        press_started = left && over;

    // 2. Keys stand in for the pointer: down is a press on the button, the frame after the key
    //    rose a release on it.
    bool key = wm_key_down(wm_toolkit.activate_key);
    bool shortcut = shortcut_key && wm_key_down(shortcut_key);
    bool by_key = false;
    if (has_focus() || is_default) {
        if (key) {
            over = left = true;
            by_key = true;
        } else if (key_was_down) {
            over = true;
            left = false;
            by_key = true;
        }
    }
    if (shortcut) {
        over = left = true;
        by_key = true;
    } else if (shortcut_was_down) {
        over = true;
        left = false;
        by_key = true;
    }
    if (!by_key) {
        right = (buttons & BUTTON_SECONDARY) != 0;
        auto_press = click_mode == 2;
    }
    key_was_down = key;
    shortcut_was_down = shortcut;

    // 3. A button pressed by the pointer alone ignores real clicks.
    if (auto_press && over && (buttons & BUTTON_PRIMARY))
        return 0;
    if (auto_press) {
        looks_down = over;
        left = over;
    }

    // 4. The secondary button's callback, served by the base class.
    INT_S32 code = WM_SCREEN_OBJECT::update();
    if (code)
        return code;
    if (!visible)
        return 0;

    // 5, 6. Drag and hint.
    if (drag_callback) {
        code = drag_step(over, left, right, px, py);
        if (code)
            return code;
    }
    if (hint && enabled)
        hint_step(over, px, py, buttons);

    // 7. A value shown, not owned.
    if (active_callback) {
        INT_U8 value = active_callback(this, active_data) ? 1 : 0;
        if (value != active) {
            active = value;
            redraw();
        }
    }

    // 8. A disabled button only keeps track of the buttons, so that enabling it while one is
    //    held does not read as a fresh press.
    if (!enabled) {
        left_was_down = left;
        right_was_down = right;
        return 0;
    }

    // 9. Hovering.
    if (over != (was_over != 0)) {
        was_over = over;
        if (over_callback)
            over_callback(this, over, over_data1, over_data2);
        if (face_over || face_active_over || visible_colour(over_colour) || visible_colour(over_text_colour))
            redraw();
    }

    // 10. A face that follows the pointer.
    if ((click_mode == 1 || track_anywhere) && (looks_down != 0) != over) {
        looks_down = over;
        redraw();
    }

    // 11. Press edges.
    INT_U8 events = 0;
    INT_U32 now = wm_now();
    if ((over || auto_press) && left != (left_was_down != 0)) {
        if (left) {
            press_started = 1;
            repeating = 0;
            repeat_time = now;
            take_focus();
            events |= TRIGGER_PRESS;
        } else if (press_started || track_anywhere) {
            press_started = 0;
            if (!repeating || track_anywhere)
                events |= TRIGGER_RELEASE;
            repeat_time = 0;
            repeating = 0;
        }
    }

    // 12. Let go off the button.
    if ((trigger & TRIGGER_OUTSIDE) && !over && left_was_down && !left && press_started) {
        press_started = 0;
        events |= TRIGGER_OUTSIDE;
    }

    // 13. Held on the button: repeat after 300 ms, then every 30 ms.
    if ((trigger & TRIGGER_REPEAT) && over && (left || auto_press) && (press_started || track_anywhere)) {
        INT_U32 wait = repeating ? BUTTON_REPEAT_INTERVAL : BUTTON_REPEAT_DELAY;
        if (now - repeat_time >= wait) {
            repeat_time = now;
            repeating = 1;
            events |= TRIGGER_REPEAT;
        }
    }

    // 14. The event.
    if (events) {
        if (click_mode == 0)
            looks_down = left;
        static const INT_U8 order[] = { TRIGGER_PRESS, TRIGGER_RELEASE, TRIGGER_REPEAT, TRIGGER_OUTSIDE };
        for (INT_U8 event : order) {
            if (!(events & event) || !(trigger & event) || !left_callback || code)
                continue;
            fired_on_release = event == TRIGGER_RELEASE;
            code = left_callback(this, left_data1, left_data2);
            fired_on_release = 0;
            if (!code)
                code = track_anywhere ? 0 : 1;
        }
        if (active_callback)
            active = active_callback(this, active_data) ? 1 : 0;
        if (visible)
            redraw();
    }

    // 15. The face comes up once the primary button is up.
    if (!left && looks_down && click_mode == 0) {
        looks_down = 0;
        press_started = 0;
        redraw();
    }

    // 16. Pointer shape.
    if (WM_PAGE_MANAGER* manager = wm_toolkit.page_manager) {
        INT_S8 shape = -1;
        if (dragged)
            shape = wm_set_pointer_shape(POINTER_DRAGGING, true) ? POINTER_DRAGGING : POINTER_DRAGGABLE;
        else if (over && (left || looks_down))
            shape = POINTER_HELD;
        else if (over)
            shape = drag_callback ? POINTER_DRAGGABLE : POINTER_HAND;
        if (shape != -1 && manager->pointer_shape != -1)
            manager->pointer_shape = shape;
    }

    // 17. Remember the buttons.
    left_was_down = left;
    right_was_down = right;
    if (!left)
        press_started = 0;
    return code;
}

INT_S32 WM_BUTTON::animate(bool overlays)
{
    if (flash_mode == FLASH_MODE_ON && title && title[0] && visible) {
        bool phase = (flash_mask & wm_toolkit.flash_phase) != 0;
        if (phase != (flash_on != 0)) {
            flash_on = !flash_on;
            redraw();
        }
    }
    return WM_SCREEN_OBJECT::animate(overlays);
}

bool WM_BUTTON::is_over(INT_S32 px, INT_S32 py)
{
    // Only a button with both its faces as pictures is clicked on the picture's shape.
    bool masked = face_up && face_down && !(face_flags & FACE_DONT_MASK_CLICK);
    return is_over_masked(px, py, masked ? face_up : nullptr);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Drag and hint
// ---------------------------------------------------------------------------------------------

INT_S32 WM_BUTTON::drag_step(bool over, bool left, bool right, INT_S16 px, INT_S16 py)
{
    bool rising = (left && !left_was_down) || (drag_right_too && right && !right_was_down);
    INT_U32 event = 0;
    WM_SCREEN_OBJECT* target = nullptr;
    WM_PAGE_MANAGER* manager = wm_toolkit.page_manager;

    if (drag_x == -1) {
        if (!over || !rising)
            return 0;
        dragged = 0;
        drag_x = px;
        drag_y = py;
        drag_offset_x = clamp_s16(x - px);
        drag_offset_y = clamp_s16(y - py);
        redraw();
        return 0;
    }
    if (!left && !right) {
        redraw();
        if (is_overlay(this))
            remove_overlay(this, false, false);
        target = manager ? manager->object_at(px, py) : nullptr;
        // Where the drag began: the button has not moved, the offsets tell the start.
        bool at_start = px == x - drag_offset_x && py == y - drag_offset_y;
        if (at_start)
            event = DRAG_CLICK;
        else if (target != this)
            event = DRAG_DROP;
        else
            event = DRAG_RETURN;
        // The drag answered the press: the release that ended it is no click as well.
        press_started = 0;
        drag_x = -1;
        drag_y = -1;
        dragged = 0;
    } else if (px != drag_x || py != drag_y) {
        INT_S32 old_left = drag_x + drag_offset_x;
        INT_S32 old_top = drag_y + drag_offset_y;
        mark_rect_dirty(old_left, old_top, old_left + width - 1, old_top + height - 1);
        drag_x = px;
        drag_y = py;
        if (!dragged) {
            add_overlay(this, false);
            event = DRAG_START;
            dragged = 1;
            target = manager ? manager->object_at(px, py) : nullptr;
        }
        redraw();
    }
    if (!event || !(drag_events & event))
        return 0;
    return drag_callback(this, target, px, py, event, drag_data1, drag_data2);
}

void WM_BUTTON::place_hint(INT_S16 px, INT_S16 py)
{
    if (!hint)
        return;
    INT_S32 hint_w = hint->width;
    INT_S32 hint_h = hint->height;
    INT_S32 left = px;
    INT_S32 top = py - hint_h;
    INT_S32 display = wm_display_at(x, y);
    INT_S32 screen_w = wm_display_width(display);
    INT_S32 screen_h = wm_display_height(display);
    if (screen_w > 0 && left + hint_w > screen_w)
        left = screen_w - hint_w;
    if (screen_h > 0 && top + hint_h > screen_h)
        top = screen_h - hint_h;
    if (left < 0)
        left = 0;
    if (top < 0)
        top = 0;
    hint->set_position(left, top);
}

void WM_BUTTON::close_hint()
{
    if (!hint)
        return;
    if (is_overlay(hint))
        remove_overlay(hint, false, false);
    if (hint->visible)
        hint->hide(false, false);
}

void WM_BUTTON::hint_step(bool over, INT_S16 px, INT_S16 py, INT_U32 buttons)
{
    bool showing = is_overlay(hint) && hint->visible;
    if (hint_on_press) {
        if (looks_down) {
            if (!is_overlay(hint)) {
                hint->set_position(x + (width - hint->width) / 2, y + (height - hint->height) / 2);
                hint_restore_focus = wm_toolkit.focus_object;
                add_overlay(hint, false);
                hint->show(false);
            }
        } else if (is_overlay(hint)) {
            close_hint();
            if (hint_restore_focus)
                hint_restore_focus->take_focus();
            hint_restore_focus = nullptr;
        }
        return;
    }
    INT_S32 seconds = static_cast<INT_S32>(wm_now() / 1000);
    if (px != hint_x || py != hint_y) {
        hint_x = px;
        hint_y = py;
        // While the hint shows the time stays: a neighbour that inherits it shows its own at once.
        if (!showing)
            hint_time = seconds;
        else
            place_hint(px, py);
    } else if (over && !buttons && !showing && hint_time + 1 < seconds) {
        place_hint(hint_x, hint_y);
        add_overlay(hint, false);
        hint->show(false);
        showing = true;
    }
    if (over)
        return;
    if (showing) {
        WM_PAGE_MANAGER* manager = wm_toolkit.page_manager;
        WM_SCREEN_OBJECT* next = manager ? manager->object_at(px, py) : nullptr;
        if (next && next != this && (next->type_flags & WM_TYPE_BUTTON)) {
            WM_BUTTON* neighbour = static_cast<WM_BUTTON*>(next);
            neighbour->hint_time = hint_time;
            neighbour->hint_x = px;
            neighbour->hint_y = py;
        }
    }
    close_hint();
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Painting
// ---------------------------------------------------------------------------------------------

bool WM_BUTTON::highlighted() const
{
    return was_over || has_focus() || is_default;
}

COLOUR WM_BUTTON::current_text_colour() const
{
    COLOUR ink = text_colour;
    if (active && visible_colour(active_text_colour) && !glyph[0])
        ink = active_text_colour;
    if (looks_down && visible_colour(highlight_text_colour))
        ink = highlight_text_colour;
    if (flash_on && visible_colour(flashing_text_colour))
        ink = flashing_text_colour;
    if (visible_colour(over_text_colour) && highlighted())
        ink = over_text_colour;
    if (!enabled && !draws_as_enabled) {
        if (visible_colour(disabled_text_colour)) {
            ink = disabled_text_colour;
        } else {
            // No colour for it in the skin: the normal text, half see-through, reads as greyed.
            ink.set_alpha(static_cast<INT_U8>(ink.alpha() / 2));
        }
    }
    return ink;
}

COLOUR WM_BUTTON::current_fill_colour() const
{
    COLOUR fill = background_colour;
    if (highlighted() && visible_colour(over_colour))
        fill = over_colour;
    if ((looks_down || (active && indent_when_active)) && visible_colour(down_colour))
        fill = down_colour;
    if (flash_on && visible_colour(flashing_colour))
        fill = flashing_colour;
    if (!enabled && !draws_as_enabled && visible_colour(disabled_colour))
        fill = disabled_colour;
    return fill;
}

// The first face that applies and exists, in the order: flashing, held, then by the active
// state: disabled, pressed in, pointed at (or focused, or default), resting.
TILED_IMAGE* WM_BUTTON::current_face() const
{
    bool is_enabled = enabled || draws_as_enabled;
    if (flash_on && face_flashing)
        return face_flashing;
    if (looks_down && face_highlighted)
        return face_highlighted;
    if (active) {
        if (!is_enabled && face_active_disabled)
            return face_active_disabled;
        if (pressed_in() && face_active_down)
            return face_active_down;
        if (highlighted() && face_active_over)
            return face_active_over;
        if (face_active_up)
            return face_active_up;
    }
    if (!is_enabled && face_disabled)
        return face_disabled;
    if (pressed_in() && face_down)
        return face_down;
    if (highlighted() && face_over)
        return face_over;
    return face_up;
}

void WM_BUTTON::paint()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || width < 1 || height < 1)
        return;
    INT_S16 x2 = clamp_s16(x + width - 1);
    INT_S16 y2 = clamp_s16(y + height - 1);

    // 1. Which way the border goes.
    if (!(face_flags & FACE_FIXED_BORDER)) {
        if (looks_down || (active && indent_when_active))
            border_sides |= BORDER_INVERTED;
        else
            border_sides &= static_cast<INT_U16>(~BORDER_INVERTED);
    }

    // Nothing of the face leaves the button's rectangle.
    WM_CLIP_KEEPER kept(target);
    target->intersect_clip(x, y, x2, y2);
    if (!target->clip_is_empty()) {
        COLOUR ink = current_text_colour();
        if (TILED_IMAGE* face = current_face()) {
            face->draw(x, y, x2, y2, !(face_flags & FACE_DONT_RESIZE_IMAGE), target, BLIT_ALPHA, false);
        } else {
            bool flat = looks_down && visible_colour(down_colour);
            paint_face_fill(target, x, y, x2, y2, face_flags, current_fill_colour(), fading_colour, border_sides,
                pressed_in(), flat);
            if (border_sides) {
                COLOUR outline = wm_toolkit.theme_outline_colour;
                if (face_flags & FACE_TEXT_COLOUR_OUTLINE)
                    wm_toolkit.theme_outline_colour = ink;
                draw_shaded_box(x, y, x2, y2, border_sides, COLOUR_INVISIBLE, shading_type, -1);
                wm_toolkit.theme_outline_colour = outline;
            }
        }
        paint_icon_and_text(target, ink);
        paint_arrows(target, ink);
    }
}

void WM_BUTTON::paint_icon_and_text(IMAGE* target, const COLOUR& ink)
{
    INT_S32 shift = pressed_in() ? 1 : 0;
    INT_S32 ax1 = x + left_gap + shift;
    INT_S32 ay1 = y + top_gap + shift;
    INT_S32 ax2 = x + width - 1 - right_gap + shift;
    INT_S32 ay2 = y + height - 1 - bottom_gap + shift;
    INT_U32 text_flags = face_flags;

    IMAGE* picture = highlighted() && icon_over ? icon_over : icon;
    if (picture && picture->has_pixels()) {
        INT_S32 iw = picture->width;
        INT_S32 ih = picture->height;
        INT_S32 text_w = 0;
        INT_S32 text_h = 0;
        if (title && title[0])
            measure_face_text(target, title, font_id, font_x_sz, font_y_sz, &text_w, &text_h);
        bool attach = (face_flags & FACE_ICON_ATTACH_TO_TEXT) && title && title[0];
        INT_S32 ix = 0;
        INT_S32 iy = 0;
        if (face_flags & (FACE_ICON_TOP | FACE_ICON_BOTTOM)) {
            ix = ax1 + (ax2 - ax1 + 1 - iw) / 2;
            bool top = (face_flags & FACE_ICON_TOP) != 0;
            if (attach) {
                INT_S32 block = ih + y_spacing + text_h;
                INT_S32 start = ay1 + (ay2 - ay1 + 1 - block) / 2;
                iy = top ? start : start + text_h + y_spacing;
            } else {
                iy = top ? ay1 : ay2 + 1 - ih;
            }
            if (top)
                ay1 = iy + ih + y_spacing;
            else
                ay2 = iy - y_spacing - 1;
        } else {
            // Left unless asked otherwise.
            iy = ay1 + (ay2 - ay1 + 1 - ih) / 2;
            bool right_side = (face_flags & FACE_ICON_RIGHT) != 0;
            if (attach) {
                INT_S32 block = iw + x_spacing + text_w;
                INT_S32 start = ax1 + (ax2 - ax1 + 1 - block) / 2;
                if (face_flags & FACE_LEFT_JUSTIFY)
                    start = ax1;
                else if (face_flags & FACE_RIGHT_JUSTIFY)
                    start = ax2 + 1 - block;
                ix = right_side ? start + text_w + x_spacing : start;
                text_flags = (text_flags & ~static_cast<INT_U32>(FACE_RIGHT_JUSTIFY)) | FACE_LEFT_JUSTIFY;
            } else {
                ix = right_side ? ax2 + 1 - iw : ax1;
            }
            if (right_side)
                ax2 = ix - x_spacing - 1;
            else
                ax1 = ix + iw + x_spacing;
        }
        picture->draw(clamp_s16(ix), clamp_s16(iy), target, BLIT_ALPHA);
        if (!enabled && !draws_as_enabled) {
            // Greyed: a grey copy of the icon laid over it at alpha 208.
            IMAGE grey(picture->width, picture->height);
            IMAGE::blit(&grey, picture, 0, 0, 0, 0, picture->width, picture->height, BLIT_COPY);
            grey.greyscale();
            grey.set_alpha(208, true, true);
            grey.draw(clamp_s16(ix), clamp_s16(iy), target, BLIT_ALPHA);
        }
    }

    const char* shown = glyph[0] ? glyph : title;
    if (shown && shown[0])
        paint_face_text(target, clamp_s16(ax1), clamp_s16(ay1), clamp_s16(ax2), clamp_s16(ay2), shown, ink,
            underline_colour, font_id, font_x_sz, font_y_sz, text_flags);
}

void WM_BUTTON::paint_arrows(IMAGE* target, const COLOUR& ink)
{
    (void)target;
    INT_U32 arrows = face_flags & (FACE_LEFT_ARROW | FACE_RIGHT_ARROW | FACE_UP_ARROW | FACE_DOWN_ARROW);
    if (!arrows)
        return;
    INT_S32 t = shading_thickness(shading_type);
    INT_S32 x1 = x + t;
    INT_S32 y1 = y + t;
    INT_S32 x2 = x + width - 1 - t;
    INT_S32 y2 = y + height - 1 - t;
    INT_S32 side = (x2 - x1 < y2 - y1 ? x2 - x1 : y2 - y1) + 1;
    if (side < 1)
        return;
    INT_S32 mid_x = x1 + (x2 - x1 + 1 - side) / 2;
    INT_S32 mid_y = y1 + (y2 - y1 + 1 - side) / 2;
    // Each arrow in a square at the side its name says, centred along that side.
    if (arrows & FACE_LEFT_ARROW)
        draw_arrow(x1, mid_y, x1 + side - 1, mid_y + side - 1, ink, ARROW_LEFT, -1, -1);
    if (arrows & FACE_RIGHT_ARROW)
        draw_arrow(x2 - side + 1, mid_y, x2, mid_y + side - 1, ink, ARROW_RIGHT, -1, -1);
    if (arrows & FACE_UP_ARROW)
        draw_arrow(mid_x, y1, mid_x + side - 1, y1 + side - 1, ink, ARROW_UP, -1, -1);
    if (arrows & FACE_DOWN_ARROW)
        draw_arrow(mid_x, y2 - side + 1, mid_x + side - 1, y2, ink, ARROW_DOWN, -1, -1);
}

// The picture that follows the pointer in a drag: the drag image, else the dragging face, else
// the face itself at alpha 160. It is painted for every dirty rectangle that it touches, since
// it lies wherever the pointer is, not where the button is.
void WM_BUTTON::paint_drag_picture(IMAGE* target)
{
    INT_S32 left = drag_x + drag_offset_x;
    INT_S32 top = drag_y + drag_offset_y;
    if (drag_image && drag_image->has_pixels()) {
        drag_image->draw(clamp_s16(left), clamp_s16(top), target, BLIT_ALPHA);
        return;
    }
    if (face_dragging) {
        face_dragging->draw(clamp_s16(left), clamp_s16(top), clamp_s16(left + width - 1), clamp_s16(top + height - 1),
            true, target, BLIT_ALPHA, false);
        return;
    }
    IMAGE copy(clamp_s16(width), clamp_s16(height));
    if (!copy.has_pixels())
        return;
    IMAGE::blit(&copy, target, x, y, 0, 0, clamp_s16(width), clamp_s16(height), BLIT_COPY);
    copy.set_alpha(160, false, false);
    copy.draw(clamp_s16(left), clamp_s16(top), target, BLIT_ALPHA);
}

void WM_BUTTON::draw()
{
    WM_SCREEN_OBJECT::draw();
    if (!dragged || drag_x == -1 || !visible)
        return;
    IMAGE* target = wm_toolkit.draw_target;
    INT_S32 index = wm_toolkit.current_dirty_rect;
    if (!target || index < 0 || index >= wm_toolkit.dirty_rects.count)
        return;
    const WM_DIRTY_RECT& rect = wm_toolkit.dirty_rects.rects[index];
    INT_S32 left = drag_x + drag_offset_x;
    INT_S32 top = drag_y + drag_offset_y;
    if (!rect.overlaps(left, top, left + width - 1, top + height - 1))
        return;
    WM_CLIP_KEEPER kept(target);
    target->set_clip(rect.x1, rect.y1, rect.x2, rect.y2);
    paint_drag_picture(target);
}
