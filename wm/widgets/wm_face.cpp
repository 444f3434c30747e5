#include "wm/widgets/wm_face.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "graphics/font.h"
#include "graphics/image.h"
#include "graphics/image_cache_store.h"
#include "graphics/tiled_image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_style.h"
#include "wm/core/wm_style_set.h"

namespace {

INT_S16 resolved_font(const IMAGE* target, INT_U8 font)
{
    return font == DEFAULT_FONT ? target->default_font : font;
}

INT_S16 resolved_width(const IMAGE* target, INT_S16 size)
{
    return size == -1 ? target->default_font_width : size;
}

INT_S16 resolved_height(const IMAGE* target, INT_S16 size)
{
    return size == -1 ? target->default_font_height : size;
}

INT_S16 s16(INT_S32 value)
{
    return static_cast<INT_S16>(value);
}

} // namespace

TILED_IMAGE* copy_skin_image(const TILED_IMAGE* source)
{
    if (!source || !source->is_loaded())
        return nullptr;
    TILED_IMAGE* copy = new (std::nothrow) TILED_IMAGE(source->cache);
    if (copy)
        copy->copy(*source);
    return copy;
}

TILED_IMAGE* load_skin_image(const char* folder, const char* name)
{
    if (!folder || !name || !name[0])
        return nullptr;
    TILED_IMAGE* image = new (std::nothrow) TILED_IMAGE(image_cache_store());
    if (!image)
        return nullptr;
    if (!image->load(folder, name, style_set_image_mode)) {
        delete image;
        return nullptr;
    }
    return image;
}

void free_skin_image(TILED_IMAGE*& image)
{
    delete image;
    image = nullptr;
}

void resolve_face_gaps(INT_S32 thickness, INT_S16& left, INT_S16& right, INT_S16& top, INT_S16& bottom,
    INT_S16& x_spacing, INT_S16& y_spacing)
{
    INT_S16 border = static_cast<INT_S16>(thickness);
    if (left == -1)
        left = border;
    if (right == -1)
        right = border;
    if (top == -1)
        top = border;
    if (bottom == -1)
        bottom = border;
    if (x_spacing == -1)
        x_spacing = left;
    if (y_spacing == -1)
        y_spacing = top;
}

void paint_face_fill(IMAGE* target, INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, INT_U32 face_flags,
    const COLOUR& background, const COLOUR& fading, INT_U16 sides, bool inverted, bool flat)
{
    if (!target || !target->has_pixels() || x2 < x1 || y2 < y1)
        return;
    INT_U8 corners = 0;
    if (sides & 0x10)
        corners |= CORNER_TOP_LEFT;
    if (sides & 0x20)
        corners |= CORNER_TOP_RIGHT;
    if (sides & 0x40)
        corners |= CORNER_BOTTOM_LEFT;
    if (sides & 0x80)
        corners |= CORNER_BOTTOM_RIGHT;

    if (face_flags & FACE_DARKENED_BACKGROUND) {
        paint_style_fill(target, x1, y1, x2, y2, corners, -1, SHADE_DARKEN, COLOUR_BLACK, COLOUR_BLACK, 50, false);
        return;
    }
    if (background.alpha() == 0)
        return;
    bool has_fading = fading.alpha() != 0 && !flat;
    if (has_fading && (face_flags & FACE_HFADING)) {
        paint_style_fill(target, x1, y1, x2, y2, corners, -1, SHADE_HORIZONTAL, background, fading, 0, false);
    } else if (has_fading && (face_flags & FACE_VFADING)) {
        bool upside_down = inverted && (face_flags & FACE_INVERT_VFADING_ON_PRESS);
        const COLOUR& top = upside_down ? fading : background;
        const COLOUR& bottom = upside_down ? background : fading;
        paint_style_fill(target, x1, y1, x2, y2, corners, -1, SHADE_VERTICAL, top, bottom, 0, false);
    } else {
        paint_style_fill(target, x1, y1, x2, y2, corners, -1, SHADE_SOLID, background, background, 0, false);
    }
}

void measure_face_text(const IMAGE* target, const char* text, INT_U8 font, INT_S16 font_x, INT_S16 font_y,
    INT_S32* width, INT_S32* height)
{
    INT_S32 widest = 0;
    INT_S32 lines = 0;
    if (target && text && text[0]) {
        INT_S16 face = resolved_font(target, font);
        INT_S16 fx = resolved_width(target, font_x);
        INT_S16 fy = resolved_height(target, font_y);
        const char* line = text;
        for (;;) {
            const char* end = strchr(line, '\n');
            size_t length = end ? static_cast<size_t>(end - line) : strlen(line);
            char buffer[1024];
            if (length >= sizeof buffer)
                length = sizeof buffer - 1;
            memcpy(buffer, line, length);
            buffer[length] = 0;
            INT_S32 w = measure_text(face, fx, fy, buffer, -1, false);
            if (w > widest)
                widest = w;
            ++lines;
            if (!end)
                break;
            line = end + 1;
        }
        if (height)
            *height = lines * fy;
    } else if (height) {
        *height = target ? resolved_height(target, font_y) : 0;
    }
    if (width)
        *width = widest;
}

void paint_face_text(IMAGE* target, INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const char* text,
    const COLOUR& colour, const COLOUR& underline, INT_U8 font, INT_S16 font_x, INT_S16 font_y, INT_U32 face_flags)
{
    if (!target || !target->has_pixels() || !text || !text[0] || x2 < x1 || y2 < y1)
        return;
    WM_CLIP_KEEPER saved(target);
    target->intersect_clip(x1, y1, x2, y2);
    if (target->clip_is_empty())
        return;

    INT_U8 flags = face_text_flags(face_flags);
    INT_S16 fx = resolved_width(target, font_x);
    INT_S16 fy = resolved_height(target, font_y);
    if ((face_flags & FACE_WRAP_TEXT) || strchr(text, '\n')) {
        target->draw_text_box(x1, y1, x2, y2, colour, COLOUR_INVISIBLE, underline, font, fx, fy, text, flags);
        return;
    }
    INT_S32 width = target->text_width(font, fx, fy, text);
    INT_S32 box_width = x2 - x1 + 1;
    INT_S32 box_height = y2 - y1 + 1;
    INT_S32 x = x1 + (box_width - width) / 2;
    // A text wider than its box shows its beginning, whatever the alignment says.
    if ((face_flags & FACE_LEFT_JUSTIFY) || width > box_width)
        x = x1;
    else if (face_flags & FACE_RIGHT_JUSTIFY)
        x = x2 + 1 - width;
    INT_S32 y = y1 + (box_height - fy) / 2;
    if (face_flags & FACE_TOP_ALIGN)
        y = y1;
    else if (face_flags & FACE_BOTTOM_ALIGN)
        y = y2 + 1 - fy;
    INT_U8 effects = flags & (TEXT_SHADOW | TEXT_INSET | TEXT_CHISELED | TEXT_REFLECT);
    target->draw_text(s16(x), s16(y), colour, COLOUR_INVISIBLE, underline, font, fx, fy, text, effects);
}
