// A small widget for the tests that takes its whole look from a style set through the toolkit's
// style helpers: face (image or colours and border), gaps and text.
#pragma once

#include <string>

#include "graphics/tiled_image.h"
#include "wm/core/wm_screen_object.h"
#include "wm/core/wm_style.h"
#include "wm/core/wm_style_set.h"

class STYLED_BOX : public WM_SCREEN_OBJECT {
public:
    STYLED_BOX(INT_S32 x_in, INT_S32 y_in, INT_S32 width_in, INT_S32 height_in, const WM_STYLE_SET* style_in,
        const char* text_in)
        : WM_SCREEN_OBJECT(true)
        , style(style_in)
        , text(text_in ? text_in : "")
    {
        x = static_cast<INT_S16>(x_in);
        y = static_cast<INT_S16>(y_in);
        width = static_cast<INT_U16>(width_in);
        height = static_cast<INT_U16>(height_in);
        apply_style(this, style);
        style_take_image(style, STYLE_IMAGE_UP, &face);
        gaps = style_border_gaps(style, this);
        notify_created();
    }

    void paint() override
    {
        paint_style_face(this, style, &face, x, y, x + width - 1, y + height - 1, pressed);
        paint_style_text(style, text.c_str(), x + gaps.left, y + gaps.top, x + width - 1 - gaps.right,
            y + height - 1 - gaps.bottom, COLOUR());
    }

    const WM_STYLE_SET* style;
    std::string text;
    TILED_IMAGE face;
    WM_STYLE_GAPS gaps;
    bool pressed { false };
};
