// The built-in looks of the toolkit's widgets when a caller gives no style set: the dialog frame,
// its title, its buttons and the hints of buttons. They are made on first use and belong to the
// toolkit; an application's info (or a skin) overwrites them with its own through assign.
#pragma once

#include "base/orlu_types.h"

class WM_STYLE_SET;

enum WIDGET_STYLE : INT_S32 {
    WIDGET_STYLE_DIALOG = 0, // a frame of shading type 4 without round corners
    WIDGET_STYLE_TITLE,      // shading type 4
    WIDGET_STYLE_BUTTON,     // shading type 4, round corners, 5 more in each cell gap
    WIDGET_STYLE_HINT,       // a small pale label
    WIDGET_STYLE_COUNT
};

// Never null for 0 to WIDGET_STYLE_COUNT - 1; null outside.
[[nodiscard]] WM_STYLE_SET* widget_default_style(INT_S32 which);
