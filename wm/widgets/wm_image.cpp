#include "wm/widgets/wm_image.h"

#include "io/folder.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_page_manager.h"

namespace {

bool takes_picture_size(INT_S32 side)
{
    return side == 0 || side == 0xFFFF || side == -1;
}

} // namespace

WM_IMAGE::WM_IMAGE(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, bool visible_,
    WM_CALLBACK left_callback_, PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_, INT_U8 trigger_)
    : WM_SCREEN_OBJECT(visible_, left_callback_, left_data1_, left_data2_)
{
    type_flags |= WM_TYPE_IMAGE;
    x = x_;
    y = y_;
    takes_width = takes_picture_size(width_);
    takes_height = takes_picture_size(height_);
    width = takes_width ? 0 : static_cast<INT_U16>(width_);
    height = takes_height ? 0 : static_cast<INT_U16>(height_);
    trigger = trigger_;
    notify_created();
}

void WM_IMAGE::set_picture(const IMAGE* source)
{
    if (!source || !source->has_pixels()) {
        picture.set_size(0, 0);
    } else {
        picture.set_size(source->width, source->height);
        IMAGE::blit(&picture, source, 0, 0, 0, 0, source->width, source->height, BLIT_COPY);
    }
    // An object that takes the picture's size takes it now, so that it can be hit and painted.
    if (takes_width || takes_height)
        set_size(takes_width ? picture.width : width, takes_height ? picture.height : height, false);
    if (visible)
        show(false);
}

bool WM_IMAGE::load(const FOLDER& folder, const char* name)
{
    IMAGE loaded;
    if (!loaded.load(folder, name))
        return false;
    set_picture(&loaded);
    return true;
}

void WM_IMAGE::set_size(INT_S32 new_width, INT_S32 new_height, bool with_children)
{
    WM_SCREEN_OBJECT::set_size(new_width, new_height, with_children);
}

// An object without a size takes the picture's; a picture of another size than the object is
// scaled to it, once, so that painting is a plain blit afterwards.
// A picture of another size than the object is scaled to it, once, so that painting is a plain
// blit afterwards.
void WM_IMAGE::fit_picture()
{
    if (!picture.has_pixels() || width < 1 || height < 1)
        return;
    if (picture.width != width || picture.height != height)
        picture.scale(clamp_s16(width), clamp_s16(height), !fast_image_scaling);
}

void WM_IMAGE::paint()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target)
        return;
    fit_picture();
    if (width < 1 || height < 1)
        return;
    if (picture.has_pixels())
        picture.draw(clamp_s16(x + (width - picture.width) / 2), clamp_s16(y + (height - picture.height) / 2), target,
            BLIT_ALPHA);
    if (border_sides_image)
        draw_shaded_box(x, y, x + width - 1, y + height - 1, border_sides_image, COLOUR_INVISIBLE, shading_type, -1);
    if ((has_focus() || over) && focus_colour.alpha())
        target->fill_box(x, y, clamp_s16(x + width - 1), clamp_s16(y + height - 1), focus_colour, true);
}

void WM_IMAGE::draw()
{
    if (!clip_children) {
        WM_SCREEN_OBJECT::draw();
        return;
    }
    IMAGE* target = wm_toolkit.draw_target;
    if (!target) {
        WM_SCREEN_OBJECT::draw();
        return;
    }
    WM_CLIP_KEEPER kept(target);
    target->intersect_clip(x, y, clamp_s16(x + width - 1), clamp_s16(y + height - 1));
    WM_SCREEN_OBJECT::draw();
}

INT_S32 WM_IMAGE::update()
{
    INT_S32 code = WM_SCREEN_OBJECT::update();
    if (code || !visible)
        return code;
    INT_S32 px = wm_pointer_x();
    INT_S32 py = wm_pointer_y();
    bool left = (wm_button_mask() & BUTTON_PRIMARY) != 0;
    bool key = wm_key_down(wm_toolkit.activate_key);
    bool is_over_now = is_over_self(px, py);
    // The activate key on the focused picture clicks its centre.
    if (has_focus() && (key || key_was_down)) {
        left = key;
        px = x + width / 2;
        py = y + height / 2;
        is_over_now = true;
    }
    key_was_down = key;

    if (is_over_now != (over != 0)) {
        over = is_over_now;
        show(false);
    }
    if (is_over_now && (left != (left_was_down != 0) || (fires_while_held && left))) {
        bool fire = (trigger == IMAGE_TRIGGER_PRESS && left) || (trigger == IMAGE_TRIGGER_RELEASE && !left);
        if (left && !left_was_down)
            take_focus();
        if (fire && left_callback) {
            click_x = clamp_s16(px - x);
            click_y = clamp_s16(py - y);
            code = left_callback(this, left_data1, left_data2);
            click_x = -1;
            click_y = -1;
        }
    }
    if (shows_pointer && is_over_now) {
        if (WM_PAGE_MANAGER* manager = wm_toolkit.page_manager) {
            if (manager->pointer_shape != -1)
                manager->pointer_shape = left ? 2 : 1;
        }
    }
    left_was_down = left;
    return code;
}
