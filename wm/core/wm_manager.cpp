// WM_MANAGER: a container that clips its contents to itself.

#include "wm/core/wm_manager.h"

#include "graphics/image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"

WM_MANAGER::WM_MANAGER(INT_S32 x_in, INT_S32 y_in, INT_S32 width_in, INT_S32 height_in, bool visible_in)
    : WM_SCREEN_OBJECT(visible_in)
{
    if (width_in < 0 || height_in < 0)
        fatal_error_invalid_size();
    x = static_cast<INT_S16>(x_in);
    y = static_cast<INT_S16>(y_in);
    width = static_cast<INT_U16>(width_in);
    height = static_cast<INT_U16>(height_in);
    type_flags |= WM_TYPE_MANAGER;
    notify_created();
}

void WM_MANAGER::take_display_size()
{
    if (width != 0 && height != 0)
        return;
    INT_S32 display = wm_display_at(x < 0 ? 0 : x, y < 0 ? 0 : y);
    if (width == 0)
        width = static_cast<INT_U16>(wm_display_width(display));
    if (height == 0)
        height = static_cast<INT_U16>(wm_display_height(display));
}

void WM_MANAGER::set_size(INT_S32 new_width, INT_S32 new_height, bool with_children)
{
    INT_S32 display = wm_display_at(x < 0 ? 0 : x, y < 0 ? 0 : y);
    if (new_width == 0)
        new_width = wm_display_width(display);
    if (new_height == 0)
        new_height = wm_display_height(display);
    WM_SCREEN_OBJECT::set_size(new_width, new_height, with_children);
}

bool WM_MANAGER::can_take_focus()
{
    return false;
}

INT_S32 WM_MANAGER::get_width()
{
    take_display_size();
    return width;
}

INT_S32 WM_MANAGER::get_height()
{
    take_display_size();
    return height;
}

void WM_MANAGER::draw()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || !is_repaint_running() || !visible) {
        WM_SCREEN_OBJECT::draw();
        return;
    }
    take_display_size();
    WM_CLIP_KEEPER kept(target);
    // Nothing inside an area paints beyond it.
    target->intersect_clip(x, y, static_cast<INT_S16>(x + width - 1), static_cast<INT_S16>(y + height - 1));
    WM_SCREEN_OBJECT::draw();
}

void WM_MANAGER::paint()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || colour.alpha() == 0)
        return;
    target->fill_box(x, y, static_cast<INT_S16>(x + width - 1), static_cast<INT_S16>(y + height - 1), colour, true);
}
