// Text drawing of IMAGE: the string primitive with its glyph and reflection loops, the effects
// built from repeated passes of it, formatted text and the word-wrapped block.
//
// [SECTION] Glyph rows
// [SECTION] The string primitive
// [SECTION] One line with effects
// [SECTION] Formatted text
// [SECTION] Block layout

#include <cstdarg>
#include <cstdio>
#include <new>

#include "graphics/colour.h"
#include "graphics/font.h"
#include "graphics/image.h"

namespace {

// Fixed looks of the effects.
constexpr INT_S32 SHADOW_OFFSET = 2;
constexpr INT_S32 INSET_OFFSET = 1;
constexpr INT_S32 CHISEL_OFFSET = 1;
constexpr COLOUR SHADOW_COLOUR = COLOUR::from_argb(0x32000000u);      // black at alpha 50
constexpr COLOUR INSET_DARK_COLOUR = COLOUR::from_argb(0x64000000u);  // black at alpha 100
constexpr COLOUR INSET_LIGHT_COLOUR = COLOUR::from_argb(0x64FFFFFFu); // white at alpha 100
constexpr double CHISEL_LIGHT = 0.15;
constexpr double CHISEL_DARK = -0.1;

constexpr INT_S32 FORMAT_BUFFER_SIZE = 5120;
char format_buffer[FORMAT_BUFFER_SIZE];

INT_S16 to_s16(INT_S32 value)
{
    if (value > 32767)
        return 32767;
    if (value < -32768)
        return -32768;
    return static_cast<INT_S16>(value);
}

// Font 255 and sizes of 0xFFFF stand for the image's defaults.
struct TEXT_SETUP {
    INT_S16 font;
    INT_S16 width;
    INT_S16 height;
};

TEXT_SETUP resolve(const IMAGE& image, INT_U8 font, INT_S16 width, INT_S16 height)
{
    TEXT_SETUP setup;
    setup.font = font == DEFAULT_FONT ? static_cast<INT_U8>(image.default_font) : font;
    setup.width = width == -1 ? image.default_font_width : width;
    setup.height = height == -1 ? image.default_font_height : height;
    return setup;
}

bool usable(const TEXT_SETUP& setup)
{
    return font_is_loaded(setup.font) && setup.width > 0 && setup.height > 0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Glyph rows
// ---------------------------------------------------------------------------------------------

struct GLYPH_PAINT {
    COLOUR colour;
    double lightness;
    INT_U32 grey_levels;
};

// Draws one row of grey coverage at pixel row y from pixel column x, each value scaled by
// strength / scale (the reflection's fade; 1 / 1 for the glyph itself), inside the clip.
void paint_row(IMAGE& image, INT_S32 x, INT_S32 y, const INT_U8* coverage, INT_S32 count, const GLYPH_PAINT& paint,
    INT_U32 strength, INT_U32 scale)
{
    if (y < image.clip_top || y > image.clip_bottom)
        return;
    INT_S32 first = x < image.clip_left ? image.clip_left - x : 0;
    INT_S32 last = x + count - 1 > image.clip_right ? image.clip_right - x : count - 1;
    COLOUR* row = image.row(y);
    for (INT_S32 i = first; i <= last; i++) {
        INT_U32 grey = coverage[i];
        if (grey == 0)
            continue;
        if (strength != scale)
            grey = grey * strength / scale;
        COLOUR& pixel = row[x + i];
        if (paint.lightness == 0) {
            INT_U32 alpha = paint.colour.alpha();
            if (alpha != paint.grey_levels)
                grey = grey * alpha / paint.grey_levels;
            if (grey == 0)
                continue;
            // The coverage becomes the alpha of the text colour; the usual opaque limit holds.
            COLOUR source = paint.colour;
            source.set_alpha(static_cast<INT_U8>(grey > 255 ? 255 : grey));
            blend_colour(pixel, source);
            continue;
        }
        double alpha, hue, saturation, lightness;
        colour_to_hsl(pixel, alpha, hue, saturation, lightness);
        lightness += paint.lightness * grey / paint.grey_levels;
        lightness = lightness < 0 ? 0 : lightness > 1 ? 1 : lightness;
        INT_U8 own_alpha = pixel.alpha();
        colour_from_hsl(pixel, alpha, hue, saturation, lightness);
        pixel.set_alpha(own_alpha);
    }
}

// The glyph with its top left at (x, y) in logical coordinates, and its reflection when the gap
// is not -1. baseline is the row the glyph stands on.
void paint_glyph(IMAGE& image, const GLYPH_RECORD& glyph, INT_S32 x, INT_S32 y, INT_S32 baseline,
    INT_S32 reflection_gap, const GLYPH_PAINT& paint)
{
    INT_S32 rows = glyph.rows;
    if (rows < 1 || glyph.width < 1)
        return;
    INT_S32 bottom = y + rows - 1;
    image.mark_dirty(to_s16(x), to_s16(y), to_s16(x + glyph.width - 1), to_s16(bottom));
    INT_S32 px = x - image.x_origin;
    INT_S32 py = y - image.y_origin;
    bool inside = !(px > image.clip_right || px + glyph.width - 1 < image.clip_left || py > image.clip_bottom
        || py + rows - 1 < image.clip_top);
    if (inside) {
        for (INT_S32 r = 0; r < rows; r++)
            paint_row(image, px, py + r, glyph.bitmap + r * glyph.pitch, glyph.width, paint, 1, 1);
    }
    if (reflection_gap == -1)
        return;

    // Mirrored about the baseline: a glyph that hangs below it has its reflection start higher
    // by twice the overhang, so descenders overlap their own mirror image as on a real surface.
    INT_S32 overhang = bottom > baseline ? bottom - baseline : 0;
    INT_S32 start = bottom + reflection_gap - 2 * overhang;
    image.mark_dirty(to_s16(x), to_s16(start), to_s16(x + glyph.width - 1), to_s16(start + rows - 1));
    INT_S32 pstart = start - image.y_origin;
    if (px > image.clip_right || px + glyph.width - 1 < image.clip_left || pstart > image.clip_bottom
        || pstart + rows - 1 < image.clip_top)
        return;
    // Row r below the axis starts at a third of the glyph's strength and fades to nothing.
    for (INT_S32 r = 0; r < rows; r++) {
        const INT_U8* source = glyph.bitmap + (rows - 1 - r) * glyph.pitch;
        paint_row(image, px, pstart + r, source, glyph.width, paint, static_cast<INT_U32>(rows - r),
            static_cast<INT_U32>(3 * rows));
    }
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] The string primitive
// ---------------------------------------------------------------------------------------------

void IMAGE::draw_string(INT_S32 x, INT_S32 y, const COLOUR& colour, const COLOUR& background, const COLOUR& underline,
    double lightness, INT_S16 font, INT_S16 font_width, INT_S16 font_height, const char* text, INT_S32 count,
    bool wide_start, INT_S32 reflection_gap)
{
    FONT_RECORD* record = font_record(font);
    if (!record || !record->face)
        return;
    GLYPH_PAINT paint { colour, lightness, record->grey_levels ? record->grey_levels : 255u };
    COLOUR cell_background = background;
    TEXT_CURSOR cursor(text, wide_start);
    INT_S32 pen = x;
    bool descent_known = false;
    INT_S32 descent = 0;

    for (INT_S32 drawn = 0; count < 0 || drawn < count;) {
        if (pen - x_origin >= width)
            break;
        TEXT_TOKEN token = cursor.next();
        if (token == TOKEN_END)
            break;
        if (token == TOKEN_COLOUR) {
            paint.colour = cursor.restores() ? colour : COLOUR(cursor.colour_value());
            continue;
        }
        if (token == TOKEN_BACKGROUND) {
            cell_background = cursor.restores() ? background : COLOUR(cursor.colour_value());
            continue;
        }

        GLYPH_RECORD temporary;
        GLYPH_RECORD* glyph = find_glyph(font, cursor.code(), static_cast<INT_S16>(font_width - 1), font_height,
            &temporary);
        if (!glyph)
            break;
        if (!descent_known) {
            // Rows of the cell below the baseline, from the face's metrics: 0 or negative.
            if (glyph->face_height != 0)
                descent = font_height * glyph->face_descender / glyph->face_height;
            descent_known = true;
        }
        INT_S32 advance = glyph->advance;
        if (cell_background.alpha() && advance > 0)
            fill_box(to_s16(pen), to_s16(y), to_s16(pen + advance), to_s16(y + font_height - 1), cell_background, true);
        if (underline.alpha() && advance > 0) {
            INT_S16 line = to_s16(y + font_height + descent);
            fill_box(to_s16(pen), line, to_s16(pen + advance - 1), line, underline, true);
        }
        INT_S32 baseline = y + font_height - 1 + descent;
        paint_glyph(*this, *glyph, pen + glyph->left, baseline - glyph->top, baseline, reflection_gap, paint);
        if (glyph == &temporary)
            release_glyph(&temporary);
        pen += advance;
        drawn++;
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] One line with effects
// ---------------------------------------------------------------------------------------------

INT_S32 IMAGE::text_width(INT_U8 font, INT_S16 font_width, INT_S16 font_height, const char* text, INT_S32 count,
    bool wide_start) const
{
    TEXT_SETUP setup = resolve(*this, font, font_width, font_height);
    return measure_text(setup.font, setup.width, setup.height, text, count, wide_start);
}

void IMAGE::draw_text(INT_S16 x, INT_S16 y, const COLOUR& colour, const COLOUR& background, const COLOUR& underline,
    INT_U8 font, INT_S16 font_width, INT_S16 font_height, const char* text, INT_U8 flags, INT_S32 count,
    bool wide_start)
{
    if (clip_is_empty() || !pixels || !text)
        return;
    TEXT_SETUP setup = resolve(*this, font, font_width, font_height);
    if (!usable(setup))
        return;
    INT_S32 gap = (flags & TEXT_REFLECT) ? 1 : -1;
    auto pass = [&](INT_S32 at_x, INT_S32 at_y, const COLOUR& text_colour, const COLOUR& back, const COLOUR& under,
                    double lightness) {
        draw_string(at_x, at_y, text_colour, back, under, lightness, setup.font, setup.width, setup.height, text, count,
            wide_start, gap);
    };

    // One effect only; the lowest bit wins.
    if (flags & TEXT_SHADOW) {
        pass(x + SHADOW_OFFSET, y + SHADOW_OFFSET, SHADOW_COLOUR, background, underline, 0);
        pass(x, y, colour, COLOUR_INVISIBLE, COLOUR_INVISIBLE, 0);
        return;
    }
    if (flags & TEXT_INSET) {
        double alpha, hue, saturation, lightness;
        colour_to_hsl(colour, alpha, hue, saturation, lightness);
        // Light text is engraved by a dark edge above left, dark text by a light one below right.
        if (lightness > 0.5)
            pass(x - INSET_OFFSET, y - INSET_OFFSET, INSET_DARK_COLOUR, COLOUR_INVISIBLE, COLOUR_INVISIBLE, 0);
        else
            pass(x + INSET_OFFSET, y + INSET_OFFSET, INSET_LIGHT_COLOUR, COLOUR_INVISIBLE, COLOUR_INVISIBLE, 0);
        pass(x, y, colour, COLOUR_INVISIBLE, underline, 0);
        return;
    }
    if (flags & TEXT_CHISELED) {
        pass(x + CHISEL_OFFSET, y + CHISEL_OFFSET, colour, background, underline, CHISEL_LIGHT);
        pass(x, y, colour, COLOUR_INVISIBLE, COLOUR_INVISIBLE, CHISEL_DARK);
        return;
    }
    pass(x, y, colour, background, underline, 0);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Formatted text
// ---------------------------------------------------------------------------------------------

void IMAGE::draw_text_format(INT_S16 x, INT_S16 y, const COLOUR& colour, const COLOUR& background,
    const COLOUR& underline, INT_U8 font, INT_S16 font_width, INT_S16 font_height, const char* format, ...)
{
    if (!format)
        return;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(format_buffer, sizeof format_buffer, format, arguments);
    va_end(arguments);
    draw_text(x, y, colour, background, underline, font, font_width, font_height, format_buffer, 0, -1, false);
}

void IMAGE::draw_text_format(INT_S16 x, INT_S16 y, const COLOUR& colour, const COLOUR& background, INT_U8 font,
    INT_S16 font_width, INT_S16 font_height, const char* format, ...)
{
    if (!format)
        return;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(format_buffer, sizeof format_buffer, format, arguments);
    va_end(arguments);
    draw_text(x, y, colour, background, COLOUR_INVISIBLE, font, font_width, font_height, format_buffer, 0, -1, false);
}

void IMAGE::draw_text_format(INT_S16 x, INT_S16 y, const COLOUR& colour, const COLOUR& background,
    const char* format, ...)
{
    if (!format)
        return;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(format_buffer, sizeof format_buffer, format, arguments);
    va_end(arguments);
    draw_text(x, y, colour, background, COLOUR_INVISIBLE, static_cast<INT_U8>(default_font), default_font_width,
        default_font_height, format_buffer, 0, -1, false);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Block layout
// ---------------------------------------------------------------------------------------------

void IMAGE::draw_text_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour,
    const COLOUR& background, const COLOUR& underline, INT_U8 font, INT_S16 font_width, INT_S16 line_height,
    const char* text, INT_U8 flags)
{
    if (!text || !text[0])
        return;
    TEXT_SETUP setup = resolve(*this, font, font_width, line_height);
    if (!usable(setup))
        return;
    INT_S32 left = x1 < x2 ? x1 : x2, right = x1 < x2 ? x2 : x1;
    INT_S32 top = y1 < y2 ? y1 : y2, bottom = y1 < y2 ? y2 : y1;
    mark_dirty(to_s16(left), to_s16(top), to_s16(right), to_s16(bottom));

    INT_S32 box_width = right - left + 1;
    INT_S32 box_height = bottom - top + 1;
    INT_S32 line_limit = box_height / setup.height;
    // The layout is 4 KB; it lives on the heap so that nested widgets' painting keeps a small stack.
    TEXT_LAYOUT* layout = new (std::nothrow) TEXT_LAYOUT;
    if (!layout)
        return;
    if (!layout_text_box(layout, setup.font, setup.width, setup.height, text, box_width, line_limit)) {
        delete layout;
        return;
    }

    INT_U8 font_number = static_cast<INT_U8>(setup.font);
    INT_S32 lines = layout->line_count;
    for (INT_S32 i = 0; i < lines; i++) {
        const TEXT_LINE& line = layout->lines[i];
        INT_S32 tail = (line.flags & LINE_ELLIPSIS) ? layout->ellipsis_width
            : (line.flags & LINE_HYPHEN)            ? layout->hyphen_width
                                                    : 0;
        INT_S32 x;
        if (flags & TEXT_LEFT)
            x = left;
        else if (flags & TEXT_RIGHT)
            x = right - line.width - tail;
        else
            x = left + (box_width - line.width) / 2 - tail / 2;
        INT_S32 y;
        if (flags & TEXT_TOP)
            y = top + i * setup.height;
        else if (flags & TEXT_BOTTOM)
            y = bottom + (i - lines) * setup.height;
        else
            y = top + (box_height - lines * setup.height) / 2 + i * setup.height;

        draw_text(to_s16(x), to_s16(y), colour, background, underline, font_number, setup.width, setup.height,
            text + line.start, flags, line.count, line.flags & LINE_STARTS_WIDE);
        if (line.flags & LINE_ELLIPSIS)
            draw_text(to_s16(x + line.width), to_s16(y), colour, background, underline, font_number, setup.width,
                setup.height, "...", flags, -1, false);
        else if (line.flags & LINE_HYPHEN)
            draw_text(to_s16(x + line.width), to_s16(y), colour, background, underline, font_number, setup.width,
                setup.height, "-", flags, -1, false);
    }
    delete layout;
}
