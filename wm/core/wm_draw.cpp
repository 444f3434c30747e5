#include "wm/core/wm_draw.h"

#include "wm/core/wm_screen_object.h"

const IMAGE* wm_measuring_target()
{
    if (wm_toolkit.draw_target)
        return wm_toolkit.draw_target;
    static const IMAGE defaults;
    return &defaults;
}
