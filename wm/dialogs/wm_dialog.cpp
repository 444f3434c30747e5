// WM_DIALOG. The machine is tabled in wm_dialog.h and the effect arithmetic lives in
// wm_dialog_effect.cpp; here are the frame's steps that drive them.
//
// [SECTION] Settings and default styles
// [SECTION] Construction and layout
// [SECTION] Effects: target alpha, slides, animate
// [SECTION] Input: update, drag, focus
// [SECTION] Drawing

#include "wm/dialogs/wm_dialog.h"

#include <cstring>
#include <new>

#include "base/error_report.h"
#include "graphics/tiled_image.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_manager.h"
#include "wm/core/wm_page_manager.h"
#include "wm/widgets/wm_default_styles.h"
#include "wm/widgets/wm_face.h"
#include "wm/widgets/wm_script.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Settings and default styles
// ---------------------------------------------------------------------------------------------

bool dialogs_draggable = true;
bool dialog_solid_drag = true;
bool dialog_darken_behind = false;
bool dialog_grey_behind = false;
DIALOG_RECTANGLE dialog_rectangle;
WM_DIALOG* WM_DIALOG::current = nullptr;

namespace {

bool contains_object(WM_SCREEN_OBJECT* root, const WM_SCREEN_OBJECT* wanted)
{
    if (!root || !wanted)
        return false;
    if (root == wanted)
        return true;
    for (INT_S32 i = 0; i < root->child_count(); ++i) {
        if (contains_object(root->get_child(i), wanted))
            return true;
    }
    return false;
}

WM_SCREEN_OBJECT* first_focusable(WM_SCREEN_OBJECT* root)
{
    if (!root || !root->visible)
        return nullptr;
    if (root->can_take_focus())
        return root;
    for (INT_S32 i = 0; i < root->child_count(); ++i) {
        if (WM_SCREEN_OBJECT* found = first_focusable(root->get_child(i)))
            return found;
    }
    return nullptr;
}

// What the page manager calls to close an overlay dialog (action code 3 and its relatives).
void close_overlay_dialog(WM_SCREEN_OBJECT* object, bool destroy)
{
    if (object && (object->type_flags & WM_TYPE_DIALOG))
        static_cast<WM_DIALOG*>(object)->close(destroy);
}

} // namespace

WM_STYLE_SET* dialog_default_style(INT_S32 which)
{
    static const INT_S32 styles[] = { WIDGET_STYLE_DIALOG, WIDGET_STYLE_TITLE, WIDGET_STYLE_BUTTON };
    if (which < 0 || which > 2)
        return nullptr;
    return widget_look(styles[which]);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Construction and layout
// ---------------------------------------------------------------------------------------------

WM_DIALOG::WM_DIALOG(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* title_,
    const WM_STYLE_SET* style_, const WM_STYLE_SET* title_style_, const WM_STYLE_SET* button_style_,
    const WM_DIALOG_EFFECT* effect_)
    : WM_SCREEN_OBJECT(true)
{
    if (!style.assign(style_ ? *style_ : *dialog_default_style(DIALOG_STYLE_FRAME))
        || !title_style.assign(title_style_ ? *title_style_ : *dialog_default_style(DIALOG_STYLE_TITLE))
        || !button_style.assign(button_style_ ? *button_style_ : *dialog_default_style(DIALOG_STYLE_BUTTON)))
        fatal_error(0x63, nullptr);
    construct(x_, y_, width_, height_, title_, effect_);
}

WM_DIALOG::WM_DIALOG(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* title_,
    const COLOUR& background, const COLOUR& fading, const COLOUR& title_text, const COLOUR& title_background,
    const COLOUR& button_text, const COLOUR& button_background, const COLOUR& button_highlight, const COLOUR& border,
    bool visible_, const WM_DIALOG_EFFECT* effect_)
    : WM_SCREEN_OBJECT(visible_)
{
    if (!style.assign(*dialog_default_style(DIALOG_STYLE_FRAME))
        || !title_style.assign(*dialog_default_style(DIALOG_STYLE_TITLE))
        || !button_style.assign(*dialog_default_style(DIALOG_STYLE_BUTTON)))
        fatal_error(0x63, nullptr);
    style.bg_colour = background;
    style.fading_colour = fading;
    if (fading.alpha())
        style.flags |= ssf_vfading;
    style.shading_base_colour = border;
    title_style.fg_colour = title_text;
    title_style.bg_colour = title_background;
    button_style.fg_colour = button_text;
    button_style.bg_colour = button_background;
    button_style.active_colour = button_highlight;
    style.visible = visible_;
    construct(x_, y_, width_, height_, title_, effect_);
}

void WM_DIALOG::construct(INT_S32 x_, INT_S32 y_, INT_S32 width_, INT_S32 height_, const char* title_,
    const WM_DIALOG_EFFECT* effect_)
{
    type_flags |= WM_TYPE_DIALOG;
    if (wm_toolkit.page_manager && !wm_toolkit.page_manager->dialog_closer)
        wm_toolkit.page_manager->dialog_closer = close_overlay_dialog;
    if (width_ < 1 || height_ < 1)
        fatal_error(0x64, nullptr);
    effect = effect_ ? *effect_ : dialog_effect_default;
    draggable = dialogs_draggable;
    shading_type = static_cast<INT_U8>(style.shading_type);
    if (style.shading_base_colour.alpha())
        colour = style.shading_base_colour;
    resolve_gaps();

    width = static_cast<INT_U16>(width_);
    height = static_cast<INT_U16>(height_);
    if (x_ == -1 || y_ == -1) {
        INT_S32 cx = 0, cy = 0;
        centred_position(width_, height_, &cx, &cy);
        if (x_ == -1)
            x_ = cx;
        if (y_ == -1)
            y_ = cy;
    }
    x = clamp_s16(x_);
    y = clamp_s16(y_);
    start_x = rest_x = x;
    start_y = rest_y = y;

    if (title_) {
        title_object = new (std::nothrow) WM_SCRIPT(x, y, 1, SCRIPT_MEASURE, title_, &title_style);
        if (!title_object)
            fatal_error(0x63, nullptr);
        WM_SCREEN_OBJECT::add_child(title_object, false);
    }
    contents = new (std::nothrow) WM_MANAGER(x, y, 1, 1, true);
    if (!contents)
        fatal_error(0x64, nullptr);
    WM_SCREEN_OBJECT::add_child(contents, false);
    lay_out();
    notify_created();
}

WM_DIALOG::~WM_DIALOG()
{
    hide(false, false);
    if (current == this)
        current = nullptr;
    delete background_image;
    background_image = nullptr;
}

// Unset gaps of the frame take the border's width; the cell gaps above and beside the contents
// default to nothing, so that the contents run to the frame.
void WM_DIALOG::resolve_gaps()
{
    INT_S16 thickness = clamp_s16(shading_thickness(style.shading_type));
    INT_S16* borders[] = { &style.border_left_gap, &style.border_right_gap, &style.border_top_gap,
        &style.border_bottom_gap, &style.cell_bottom_gap };
    for (INT_S16* gap : borders) {
        if (*gap == -1)
            *gap = thickness;
    }
    if (style.cell_top_gap == -1)
        style.cell_top_gap = 0;
    if (style.cell_left_gap == -1)
        style.cell_left_gap = 0;
    if (style.cell_right_gap == -1)
        style.cell_right_gap = 0;
}

void WM_DIALOG::centred_position(INT_S32 width_, INT_S32 height_, INT_S32* out_x, INT_S32* out_y)
{
    INT_S32 left = 0, top = 0;
    INT_S32 area_w = wm_display_width(0);
    INT_S32 area_h = wm_display_height(0);
    if (dialog_rectangle.set) {
        left = dialog_rectangle.x1;
        top = dialog_rectangle.y1;
        area_w = dialog_rectangle.x2 - dialog_rectangle.x1 + 1;
        area_h = dialog_rectangle.y2 - dialog_rectangle.y1 + 1;
    }
    *out_x = left + (area_w - width_) / 2;
    *out_y = top + (area_h - height_) / 2;
}

INT_S32 WM_DIALOG::get_contents_top() const
{
    INT_S32 title_height = title_object ? title_object->height : 0;
    return style.border_top_gap + title_height + style.cell_bottom_gap;
}

void WM_DIALOG::lay_out()
{
    INT_S32 inner_w = width - style.border_left_gap - style.border_right_gap;
    if (inner_w < 1)
        inner_w = 1;
    if (title_object) {
        title_object->WM_SCREEN_OBJECT::set_position(x + style.border_left_gap, y + style.border_top_gap);
        title_object->set_size(inner_w, title_object->height, false);
    }
    if (contents) {
        INT_S32 cx = x + style.border_left_gap + style.cell_left_gap;
        INT_S32 cy = y + get_contents_top() + style.cell_top_gap;
        INT_S32 cw = inner_w - style.cell_left_gap - style.cell_right_gap;
        INT_S32 ch = y + height - style.border_bottom_gap - style.cell_bottom_gap - cy;
        contents->WM_SCREEN_OBJECT::set_position(cx, cy);
        contents->set_size(cw < 1 ? 1 : cw, ch < 1 ? 1 : ch, false);
    }
}

bool WM_DIALOG::is_over_title(INT_S32 px, INT_S32 py)
{
    return title_object && title_object->visible && title_object->is_over_self(px, py);
}

void WM_DIALOG::set_title(const char* text)
{
    if (!title_object) {
        if (!text)
            return;
        title_object = new (std::nothrow) WM_SCRIPT(x, y, 1, SCRIPT_MEASURE, text, &title_style);
        if (!title_object)
            fatal_error(0x63, nullptr);
        WM_SCREEN_OBJECT::add_child(title_object, false);
        lay_out();
        show(false);
        return;
    }
    title_object->set_text(text, false);
}

const char* WM_DIALOG::get_title()
{
    return title_object ? title_object->get_text() : "";
}

void WM_DIALOG::add_child(WM_SCREEN_OBJECT* child, bool relative)
{
    if (contents)
        contents->add_child(child, relative);
}

void WM_DIALOG::remove_child(WM_SCREEN_OBJECT* child, bool destroy, bool relative)
{
    if (contents)
        contents->remove_child(child, destroy, relative);
}

bool WM_DIALOG::set_image(const char* folder, const char* name, const WM_STYLE_SET* image_style)
{
    (void)image_style;
    delete background_image;
    background_image = nullptr;
    if (folder && name)
        background_image = load_skin_image(folder, name);
    show(false);
    return background_image != nullptr;
}

INT_S32 WM_DIALOG::get_x()
{
    return opening ? rest_x : start_x;
}

INT_S32 WM_DIALOG::get_y()
{
    return opening ? rest_y : start_y;
}

bool WM_DIALOG::is_settled() const
{
    return alpha == target_alpha && at_rest();
}

// A move while sliding shifts the slide with it, unless the slide runs from a display's or an
// area's edge, which does not move. A move at rest moves the resting place.
void WM_DIALOG::set_position(INT_S32 new_x, INT_S32 new_y)
{
    if (new_x == -1 || new_y == -1) {
        INT_S32 cx = 0, cy = 0;
        INT_S32 left = 0, top = 0;
        centred_position(width, height, &cx, &cy);
        if (!dialog_rectangle.set) {
            left = (wm_display_width(0) - width) / 2;
            top = (wm_display_height(0) - height) / 2;
            cx = left;
            cy = top;
        }
        if (new_x == -1)
            new_x = cx;
        if (new_y == -1)
            new_y = cy;
    }
    if (at_rest()) {
        WM_SCREEN_OBJECT::set_position(new_x, new_y);
        start_x = rest_x = x;
        start_y = rest_y = y;
        return;
    }
    INT_S32 dx = new_x - get_x();
    INT_S32 dy = new_y - get_y();
    rest_x = clamp_s16(rest_x + dx);
    rest_y = clamp_s16(rest_y + dy);
    if (!(effect.flags & (DIALOG_DISPLAY_EDGES | DIALOG_AREA_EDGES))) {
        start_x = clamp_s16(start_x + dx);
        start_y = clamp_s16(start_y + dy);
        WM_SCREEN_OBJECT::set_position(x + dx, y + dy);
    }
}

void WM_DIALOG::set_size(INT_S32 new_width, INT_S32 new_height, bool with_children)
{
    (void)with_children;
    if (size_locked || (new_width == width && new_height == height) || new_width < 1 || new_height < 1)
        return;
    bool sliding = !at_rest();
    WM_SCREEN_OBJECT::set_size(new_width, new_height, false);
    lay_out();
    if (sliding) {
        DIALOG_SLIDE_FRAME frame;
        slide_frame(&frame);
        if (opening)
            dialog_slide_point(
                effect.flags, rest_x, rest_y, clamp_s16(width), clamp_s16(height), frame, &start_x, &start_y);
        else
            dialog_slide_point(
                effect.flags, start_x, start_y, clamp_s16(width), clamp_s16(height), frame, &rest_x, &rest_y);
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Effects: target alpha, slides, animate
// ---------------------------------------------------------------------------------------------

void WM_DIALOG::set_target_alpha(INT_U8 value)
{
    target_alpha = value;
    effect_start = 0;
    effect_started = 0;
    effect_time = dialog_effect_duration(effect, alpha, value);
    alpha = dialog_effect_first_alpha(effect.flags, alpha, value, skip_effect != 0);
    // A change that jumped does not fade afterwards, even while a slide runs.
    from_alpha = alpha;
    if (visible)
        show(false);
}

void WM_DIALOG::slide_frame(DIALOG_SLIDE_FRAME* frame)
{
    INT_S32 display = wm_display_at(rest_x, rest_y);
    frame->display_width = clamp_s16(wm_display_width(display));
    frame->display_height = clamp_s16(wm_display_height(display));
    if (WM_PAGE_MANAGER* manager = wm_toolkit.page_manager) {
        if (WM_SCREEN_OBJECT* area = manager->current_area_object) {
            frame->area_x = clamp_s16(area->get_x());
            frame->area_y = clamp_s16(area->get_y());
            frame->area_width = clamp_s16(area->get_width());
            frame->area_height = clamp_s16(area->get_height());
        }
    }
}

void WM_DIALOG::begin_slide(bool open)
{
    DIALOG_SLIDE_FRAME frame;
    slide_frame(&frame);
    if (open) {
        effect_start = 0;
        effect_started = 0;
        opening = 1;
        effect_time = effect.open_delay;
        dialog_slide_point(
            effect.flags, rest_x, rest_y, clamp_s16(width), clamp_s16(height), frame, &start_x, &start_y);
    } else {
        if (!(effect.flags & DIALOG_SLIDE_OUT))
            return;
        effect_start = 0;
        effect_started = 0;
        effect_time = effect.open_delay;
        start_x = x;
        start_y = y;
        dialog_slide_point(
            effect.flags, start_x, start_y, clamp_s16(width), clamp_s16(height), frame, &rest_x, &rest_y);
        opening = 0;
        // A slide out without a fade keeps the dialog whole until it has gone.
        if (alpha == 0 && target_alpha == 0)
            alpha = target_alpha = from_alpha = 255;
    }
    WM_SCREEN_OBJECT::set_position(start_x, start_y);
    if (visible)
        show(false);
}

void WM_DIALOG::close(bool destroy)
{
    if (closing || (alpha == 0 && target_alpha == 0) || (!opening && !at_rest()))
        return;
    closing = 1;
    destroy_when_closed = destroy;
    set_target_alpha(0);
    begin_slide(false);
}

void WM_DIALOG::finish_close()
{
    close(false);
}

INT_S32 WM_DIALOG::animate(bool overlays)
{
    if (!visible && !is_dragged())
        return 0;
    INT_S32 code = WM_SCREEN_OBJECT::animate(overlays);
    if (code)
        return code;

    // One step a frame: a dialog animated twice in one frame (as a child and as an overlay)
    // steps once, and every frame whose clock moved on steps again, as does a change just begun.
    INT_U32 now = wm_now();
    if (!animating && (now != last_step_time || !effect_started))
        animating = 1;
    if (animating && (alpha != target_alpha || !at_rest())) {
        if (!effect_started) {
            effect_started = 1;
            effect_start = now;
        }
        INT_U32 elapsed = now - effect_start;
        if (elapsed >= effect_time) {
            alpha = target_alpha;
            WM_SCREEN_OBJECT::set_position(rest_x, rest_y);
        } else {
            alpha = dialog_effect_alpha(from_alpha, target_alpha, elapsed, effect_time);
            INT_S32 new_x = x == rest_x ? x : dialog_effect_position(start_x, rest_x, elapsed, effect_time);
            INT_S32 new_y = y == rest_y ? y : dialog_effect_position(start_y, rest_y, elapsed, effect_time);
            WM_SCREEN_OBJECT::set_position(new_x, new_y);
        }
        show(false);
        wm_toolkit.focus_seen = 1;
        code = WM_ACTION_KEEP_FOCUS;
        animating = 0;
        last_step_time = now;
    }

    // Until it has been drawn a dialog cannot have closed: its alpha is 0 from the start.
    if (!drawn)
        return code;
    bool finished_closing = alpha == target_alpha && at_rest()
        && (alpha == 0 || ((start_x != rest_x || start_y != rest_y) && !opening));
    if (finished_closing) {
        // Back to the resting place, hidden: shown again, it opens from there.
        WM_SCREEN_OBJECT::set_position(start_x, start_y);
        rest_x = start_x;
        rest_y = start_y;
        opening = 1;
        closing = 0;
        hide(false, false);
        if (destroy_when_closed)
            return WM_ACTION_CLOSE_OVERLAY;
    }
    return code;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Input: update, drag, focus
// ---------------------------------------------------------------------------------------------

bool WM_DIALOG::can_drag_at(INT_S32 px, INT_S32 py)
{
    if (no_drag_x1 != -1 && px >= x + no_drag_x1 && px <= x + no_drag_x2 && py >= y + no_drag_y1
        && py <= y + no_drag_y2)
        return false;
    if (is_over_title(px, py))
        return true;
    if (!is_over_self(px, py))
        return false;
    if (!contents)
        return true;
    for (INT_S32 i = 0; i < contents->child_count(); ++i) {
        WM_SCREEN_OBJECT* child = contents->get_child(i);
        if (child && child->visible && child->is_over(px, py))
            return false;
    }
    return true;
}

bool WM_DIALOG::holds_focus()
{
    return contains_object(this, wm_toolkit.focus_object);
}

void WM_DIALOG::focus_first_inside()
{
    if (WM_SCREEN_OBJECT* first = first_focusable(contents))
        first->take_focus();
}

void WM_DIALOG::xor_outline()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target)
        return;
    target->draw_xor_box(drag_x, drag_y, clamp_s16(drag_x + width - 1), clamp_s16(drag_y + height - 1), COLOUR_WHITE);
}

INT_S32 WM_DIALOG::update()
{
    // 1.
    if (!visible && !is_dragged())
        return 0;
    INT_S16 px = wm_pointer_x();
    INT_S16 py = wm_pointer_y();
    bool left = (wm_button_mask() & BUTTON_PRIMARY) != 0;
    bool pressed_now = left && !left_was_down;

    // 2. A dialog that closes when pressed beside it takes that press for itself.
    if (border_sides && pressed_now && !is_over_self(px, py)) {
        left_was_down = left;
        close(false);
        return 0;
    }

    // 4. The drag ends.
    if (!left && is_dragged()) {
        indent_when_active = 0;
        set_target_alpha(255);
        if (!dialog_solid_drag) {
            xor_outline();
            set_position(drag_x, drag_y);
        }
    }
    // 5. A drag begins on the title or a free part of the frame.
    if (pressed_now && draggable && !is_dragged() && at_rest() && can_drag_at(px, py)) {
        indent_when_active = 1;
        drag_offset_x = clamp_s16(x - px);
        drag_offset_y = clamp_s16(y - py);
        drag_x = x;
        drag_y = y;
        set_target_alpha(static_cast<INT_U8>(effect.dragging_alpha));
        if (!dialog_solid_drag)
            xor_outline();
    }
    // 6. Following the pointer.
    if (is_dragged()) {
        if (dialog_solid_drag) {
            set_position(px + drag_offset_x, py + drag_offset_y);
        } else {
            xor_outline();
            drag_x = clamp_s16(px + drag_offset_x);
            drag_y = clamp_s16(py + drag_offset_y);
            xor_outline();
        }
        left_was_down = left;
        wm_toolkit.focus_seen = 1;
        return 0;
    }
    left_was_down = left;

    // 7. Nothing reaches the contents of a dialog that is going.
    if (alpha != target_alpha || !at_rest()) {
        wm_toolkit.focus_seen = 1;
        if (target_alpha == 0 || !visible)
            return 0;
    }

    // The keyboard stays inside the dialog on top.
    if (find_overlay(0) == this && !holds_focus())
        focus_first_inside();

    // 8.
    WM_DIALOG* outer = current;
    current = this;
    INT_S32 code = WM_SCREEN_OBJECT::update();
    current = outer;

    // 9.
    if (code == WM_ACTION_REBUILD_AREA_CLEAR_2 || code == WM_ACTION_CLOSE_DIALOG
        || code == WM_ACTION_REBUILD_ALL_CLEAR_2) {
        finish_close();
        if (code == WM_ACTION_REBUILD_AREA_CLEAR_2)
            return WM_ACTION_REBUILD_AREA;
        if (code == WM_ACTION_REBUILD_ALL_CLEAR_2)
            return WM_ACTION_REBUILD_ALL;
        return WM_ACTION_NONE;
    }
    if (!visible)
        finish_close();
    return code;
}

void WM_DIALOG::hide(bool with_overlays, bool with_children)
{
    if (!at_rest())
        WM_SCREEN_OBJECT::set_position(rest_x, rest_y);
    skip_effect = 0;
    alpha = target_alpha;
    opened = 0;
    bool covering = visible && (dialog_darken_behind || dialog_grey_behind)
        && !(type_flags & WM_TYPE_FLOATING_MENU);
    if (covering)
        mark_all_dirty();
    WM_SCREEN_OBJECT::hide(with_overlays, with_children);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Drawing
// ---------------------------------------------------------------------------------------------

void WM_DIALOG::draw_behind(IMAGE* target)
{
    if (!visible || !(dialog_darken_behind || dialog_grey_behind) || (type_flags & WM_TYPE_FLOATING_MENU)
        || !is_overlay(this))
        return;
    WM_CLIP_KEEPER keep(target);
    if (!drawn)
        target->set_clip(0, 0, clamp_s16(target->width - 1), clamp_s16(target->height - 1));
    if (dialog_grey_behind)
        target->greyscale();
    if (dialog_darken_behind)
        target->darken_box(0, 0, clamp_s16(target->width - 1), clamp_s16(target->height - 1), 50);
}

void WM_DIALOG::draw()
{
    IMAGE* target = wm_toolkit.draw_target;
    INT_S32 index = wm_toolkit.current_dirty_rect;
    if (!target || !visible || index < 0 || index >= wm_toolkit.dirty_rects.count)
        return;

    // 1.
    draw_behind(target);

    // 2. The clip of the effect.
    WM_CLIP_KEEPER keep(target);
    const WM_DIRTY_RECT& rect = wm_toolkit.dirty_rects.rects[index];
    target->intersect_clip(rect.x1, rect.y1, rect.x2, rect.y2);
    WM_PAGE_MANAGER* manager = wm_toolkit.page_manager;
    WM_SCREEN_OBJECT* area = manager ? manager->current_area_object : nullptr;
    if ((effect.flags & DIALOG_AREA_EDGES) && area)
        target->intersect_clip(clamp_s16(area->get_x()), clamp_s16(area->get_y()),
            clamp_s16(area->get_x() + area->get_width() - 1), clamp_s16(area->get_y() + area->get_height() - 1));
    else if (!at_rest() && !(effect.flags & DIALOG_DISPLAY_EDGES))
        target->intersect_clip(rest_x, rest_y, clamp_s16(rest_x + width - 1), clamp_s16(rest_y + height - 1));
    else
        target->intersect_clip(x, y, clamp_s16(x + width - 1), clamp_s16(y + height - 1));

    // 3. The first paint opens the dialog.
    if (!opened && touches_dirty_rect()) {
        opened = 1;
        closing = 0;
        rest_x = start_x = x;
        rest_y = start_y = y;
        opening = 1;
        set_target_alpha(255);
        if ((effect.flags & DIALOG_SLIDE_IN) && !skip_effect)
            begin_slide(true);
        skip_effect = 0;
    }

    // 4.
    if (alpha == 0 || target->clip_is_empty()) {
        drawn = 1;
        draw_pending = 0;
        return;
    }
    bool translucent = alpha < 255;
    INT_S16 gx1 = 0, gy1 = 0, gw = 0, gh = 0;
    INT_S16 dirty_left = target->dirty_left, dirty_right = target->dirty_right;
    INT_S16 dirty_top = target->dirty_top, dirty_bottom = target->dirty_bottom;
    if (translucent) {
        // Only what the clip lets through is copied: two copies of that, no more.
        gx1 = target->clip_left > x ? target->clip_left : x;
        gy1 = target->clip_top > y ? target->clip_top : y;
        INT_S32 gx2 = target->clip_right < x + width - 1 ? target->clip_right : x + width - 1;
        INT_S32 gy2 = target->clip_bottom < y + height - 1 ? target->clip_bottom : y + height - 1;
        gw = clamp_s16(gx2 - gx1 + 1);
        gh = clamp_s16(gy2 - gy1 + 1);
        if (gw < 1 || gh < 1) {
            drawn = 1;
            draw_pending = 0;
            return;
        }
        if (scratch.width < gw || scratch.height < gh)
            scratch.set_size(gw > scratch.width ? gw : scratch.width, gh > scratch.height ? gh : scratch.height);
        scratch.set_clip(0, 0, clamp_s16(gw - 1), clamp_s16(gh - 1));
        IMAGE::blit(&scratch, target, gx1, gy1, 0, 0, gw, gh, BLIT_COPY);
    }

    // 5.
    WM_SCREEN_OBJECT::draw();

    // 6. Dialog and contents fade as one picture.
    if (translucent) {
        if (work_image.width < gw || work_image.height < gh)
            work_image.set_size(gw > work_image.width ? gw : work_image.width,
                gh > work_image.height ? gh : work_image.height);
        work_image.set_clip(0, 0, clamp_s16(gw - 1), clamp_s16(gh - 1));
        IMAGE::blit(&work_image, target, gx1, gy1, 0, 0, gw, gh, BLIT_COPY);
        IMAGE::blit(target, &scratch, 0, 0, gx1, gy1, gw, gh, BLIT_COPY);
        work_image.set_alpha(alpha, false, false);
        IMAGE::blit(target, &work_image, 0, 0, gx1, gy1, gw, gh, BLIT_ALPHA);
        target->dirty_left = dirty_left;
        target->dirty_right = dirty_right;
        target->dirty_top = dirty_top;
        target->dirty_bottom = dirty_bottom;
        target->mark_dirty(gx1, gy1, clamp_s16(gx1 + gw - 1), clamp_s16(gy1 + gh - 1));
    }
}

void WM_DIALOG::paint()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || alpha == 0)
        return;
    lay_out();
    INT_S16 x2 = clamp_s16(x + width - 1);
    INT_S16 y2 = clamp_s16(y + height - 1);
    if (background_image) {
        background_image->draw(x, y, x2, y2, true, target, BLIT_ALPHA, false);
    } else {
        INT_U32 face = face_flags_from_style(style);
        paint_face_fill(target, x, y, x2, y2, face, style.bg_colour, style.fading_colour, style.shading_flags, false,
            false);
    }
    INT_U16 sides = 0;
    if (style.flags & ssf_indent_border)
        sides = static_cast<INT_U16>((style.shading_flags & 0x7FFF) | BORDER_INVERTED);
    else if (style.flags & ssf_outstanding_border)
        sides = style.shading_flags & 0x7FFF;
    if (sides) {
        COLOUR outline = wm_toolkit.theme_outline_colour;
        if (style.flags & ssf_use_text_colour_for_outline)
            wm_toolkit.theme_outline_colour = style.fg_colour;
        draw_shaded_box(x, y, x2, y2, sides, COLOUR_INVISIBLE, style.shading_type, -1);
        wm_toolkit.theme_outline_colour = outline;
    }
}
