#include "wm/widgets/wm_check_box.h"

#include "base/error_report.h"
#include "wm/core/wm_style_set.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_face.h"

void WM_CHECK_BOX::place(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2)
{
    type_flags |= WM_TYPE_CHECK_BOX;
    x = x1;
    y = y1;
    if (x2 < x1 || y2 < y1)
        fatal_error(0x60, nullptr);
    width = static_cast<INT_U16>(x2 - x1 + 1);
    height = static_cast<INT_U16>(y2 - y1 + 1);
}

void WM_CHECK_BOX::join_parts(bool checked_)
{
    box->focusable = 0;
    label->focusable = 0;
    focusable = 1;
    add_child(box, false);
    add_child(label, false);
    lay_out();
    checked = checked_;
    show_state();
    notify_created();
}

WM_CHECK_BOX::WM_CHECK_BOX(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const char* title,
    const COLOUR& text_colour, const COLOUR& background_colour, const COLOUR& highlight_colour, INT_U8 font_id,
    INT_S16 font_x_sz, INT_S16 font_y_sz, bool checked_, WM_CALLBACK left_callback_, PTR_INT_CAST left_data1_,
    PTR_INT_CAST left_data2_)
    : WM_SCREEN_OBJECT(true, left_callback_, left_data1_, left_data2_)
{
    place(x1, y1, x2, y2);
    box = new WM_BUTTON(x1, y1, x1, y1, " ", text_colour, background_colour, highlight_colour, 0, font_id,
        font_x_sz, font_y_sz, -1, -1, -1, -1, -1, -1, TRIGGER_RELEASE, pressed, reinterpret_cast<PTR_INT_CAST>(this), 0);
    label = new WM_BUTTON(x1, y1, x1, y1, title, text_colour, COLOUR_INVISIBLE, COLOUR_INVISIBLE, 0, font_id,
        font_x_sz, font_y_sz, 0, 0, -1, -1, -1, -1, TRIGGER_RELEASE, pressed, reinterpret_cast<PTR_INT_CAST>(this), 0);
    label->border_sides = 0;
    label->face_flags |= FACE_LEFT_JUSTIFY;
    join_parts(checked_);
}

WM_CHECK_BOX::WM_CHECK_BOX(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const WM_STYLE_SET* style,
    const char* title, bool checked_, WM_CALLBACK left_callback_, PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_)
    : WM_SCREEN_OBJECT(true, left_callback_, left_data1_, left_data2_)
{
    place(x1, y1, x2, y2);
    box = new WM_BUTTON(x1, y1, x1 + 1, y1 + 1, style, " ", nullptr, pressed, reinterpret_cast<PTR_INT_CAST>(this), 0,
        TRIGGER_RELEASE);
    // The label is flat: the style's text colours and font on nothing.
    label = new WM_BUTTON(x1, y1, x1 + 1, y1 + 1, style, title, nullptr, pressed, reinterpret_cast<PTR_INT_CAST>(this),
        0, TRIGGER_RELEASE);
    label->set_images(nullptr, nullptr, nullptr);
    label->border_sides = 0;
    label->background_colour = COLOUR_INVISIBLE;
    label->down_colour = COLOUR_INVISIBLE;
    label->over_colour = COLOUR_INVISIBLE;
    label->fading_colour = COLOUR_INVISIBLE;
    label->face_flags &= ~static_cast<INT_U32>(FACE_DARKENED_BACKGROUND);
    label->left_gap = 0;
    if (style)
        box->face_flags = (box->face_flags & ~static_cast<INT_U32>(FACE_LEFT_JUSTIFY | FACE_RIGHT_JUSTIFY));
    visible = box->visible;
    draw_pending = visible;
    join_parts(checked_);
}

WM_CHECK_BOX::~WM_CHECK_BOX() = default;

// The box is a square as high as the object less a pixel each side; the label fills the rest.
void WM_CHECK_BOX::lay_out()
{
    INT_S32 side = height - 2;
    if (side < 1)
        side = 1;
    if (!box->size_locked) {
        box->set_position(x + 1, y + 1);
        box->set_size(side, side, false);
    }
    INT_S32 label_x = x + height + gap;
    INT_S32 label_w = x + width - label_x;
    if (label_w < 1)
        label_w = 1;
    label->set_position(label_x, y);
    label->set_size(label_w, height, false);
}

// A box with pictures shows the state by its active faces; one without by its mark, and by its
// pressed colour (the style's active colour), sunk in.
void WM_CHECK_BOX::show_state()
{
    box->set_active(checked != 0);
    if (!box->has_images()) {
        box->indent_when_active = 1;
        box->set_title(checked ? "X" : " ", false);
    }
    box->show(false);
}

void WM_CHECK_BOX::set_checked(bool value)
{
    if ((checked != 0) == value)
        return;
    checked = value;
    show_state();
}

void WM_CHECK_BOX::set_enabled(bool flag)
{
    box->set_enabled(flag);
    label->set_enabled(flag);
}

INT_S32 WM_CHECK_BOX::pressed(WM_SCREEN_OBJECT*, PTR_INT_CAST data1, PTR_INT_CAST)
{
    WM_CHECK_BOX* self = reinterpret_cast<WM_CHECK_BOX*>(data1);
    self->take_focus();
    self->checked = !self->checked;
    self->show_state();
    self->show(false);
    if (!self->left_callback)
        return 0;
    return self->left_callback(self, self->left_data1, self->left_data2);
}

// While the pair has the focus the box answers Return as a focused button would: the focus
// stop is the check box, the click is the box's.
INT_S32 WM_CHECK_BOX::update()
{
    INT_U8 was_default = box->is_default;
    box->is_default = has_focus() ? 1 : 0;
    INT_S32 code = WM_SCREEN_OBJECT::update();
    box->is_default = was_default;
    return code;
}

void WM_CHECK_BOX::hide(bool with_overlays, bool with_children)
{
    (void)with_children;
    WM_SCREEN_OBJECT::hide(with_overlays, true);
}

WM_SCREEN_OBJECT* WM_CHECK_BOX::object_at(INT_S32 px, INT_S32 py)
{
    WM_SCREEN_OBJECT* hit = WM_SCREEN_OBJECT::object_at(px, py);
    return hit ? this : nullptr;
}

void WM_CHECK_BOX::set_size(INT_S32 new_width, INT_S32 new_height, bool with_children)
{
    (void)with_children;
    if (size_locked || (new_width == width && new_height == height))
        return;
    WM_SCREEN_OBJECT::set_size(new_width, new_height, false);
    lay_out();
}

bool WM_CHECK_BOX::can_take_focus()
{
    return focusable && box->enabled && visible;
}
