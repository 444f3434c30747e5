// The looks of the toolkit's widgets when a caller gives no style set: the dialog frame, its
// title, its buttons and the hints of buttons. The application's toolkit styles (wm_look.h) stand
// once it has supplied them; before, the built-in looks here, made on first use and belonging to
// the toolkit.
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

// The look a widget of kind `which` takes when its caller gives no style set: the application's
// toolkit style of that kind once the application has supplied its toolkit styles
// (toolkit_hints_present), else the built-in one. Null outside 0 to WIDGET_STYLE_COUNT - 1.
[[nodiscard]] WM_STYLE_SET* widget_look(INT_S32 which);
