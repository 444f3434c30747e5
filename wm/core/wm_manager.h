// WM_MANAGER: the bare container. The page manager's areas are managers, and so is the inner
// part of a dialog. It paints its own `colour` when that is visible (an area with a plain
// background), clips everything inside it to its rectangle, and never takes the focus. A
// manager made with a width or height of 0 takes its display's size on first use.
#pragma once

#include "wm/core/wm_screen_object.h"

class WM_MANAGER : public WM_SCREEN_OBJECT {
public:
    WM_MANAGER(INT_S32 x, INT_S32 y, INT_S32 width, INT_S32 height, bool visible = true);
    ~WM_MANAGER() override = default;

    // A width or height of 0 means the display's size.
    void set_size(INT_S32 new_width, INT_S32 new_height, bool with_children) override;
    [[nodiscard]] bool can_take_focus() override;
    [[nodiscard]] INT_S32 get_width() override;
    [[nodiscard]] INT_S32 get_height() override;
    // The base draw, clipped to the manager's own rectangle.
    void draw() override;
    void paint() override;

private:
    // Gives a side of 0 the display's size.
    void take_display_size();
};
