// IMAGE: the one raster class. A block of COLOUR pixels in ordinary memory with a clip rectangle
// and a dirty rectangle, and the software drawing library that the whole interface is painted
// with. BACK_BUFFER is the display-sized image that widgets draw into.
//
// Coordinates are signed 16 bits and rectangles are inclusive on all sides; corners may come in
// any order. A clip or dirty bound of 0xFFFF (-1) means empty / nothing recorded.
//
// [SECTION] Modes and flags
// [SECTION] IMAGE
// [SECTION] BACK_BUFFER
#pragma once

#include "graphics/colour.h"
#include "base/data_device.h"
#include "base/orlu_types.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Modes and flags
// ---------------------------------------------------------------------------------------------

// Transfer modes of blit; any value that is not one of the last three counts as BLIT_ALPHA.
enum BLIT_MODE : INT_U8 {
    BLIT_ALPHA = 0,         // source-over, the destination keeps its alpha
    BLIT_COPY = 1,          // all 32 bits
    BLIT_MASK_SET = 2,      // destination alpha = 255 where the source has any alpha, else 0
    BLIT_MASK_MULTIPLY = 3, // destination alpha = destination alpha * source alpha / 255
};

// Fills of draw_rounded_box.
enum SHADE_TYPE : INT_U8 {
    SHADE_SOLID = 0,      // one colour, blended
    SHADE_HORIZONTAL = 1, // left-to-right gradient, written opaque
    SHADE_VERTICAL = 2,   // top-to-bottom gradient, written opaque
    SHADE_DARKEN = 3,     // every pixel darkened by a percentage
};

// Corner bits of draw_rounded_box and draw_rounded_outline.
enum CORNER_MASK : INT_U8 {
    CORNER_TOP_LEFT = 1,
    CORNER_TOP_RIGHT = 2,
    CORNER_BOTTOM_LEFT = 4,
    CORNER_BOTTOM_RIGHT = 8,
    CORNER_ALL = 15,
};

// Edge bits of draw_box_outline.
enum EDGE_MASK : INT_U8 {
    EDGE_LEFT = 1,
    EDGE_RIGHT = 2,
    EDGE_TOP = 4,
    EDGE_BOTTOM = 8,
    EDGE_ALL = 15,
};

// Circle kinds of draw_circle.
enum CIRCLE_TYPE : INT_U8 {
    CIRCLE_OUTLINE = 0,
    CIRCLE_FILLED = 1,
    CIRCLE_DARKEN = 2,
};

// Greyscale by (R + G + B) / 3 instead of weighted luminance. False, and nothing changes it.
extern bool fast_greyscale;
// Every caller of scale passes the negation of this as use_filter. True, so scaling runs the
// nearest-neighbour step; the bilinear filter stays reachable for applications that clear it.
extern bool fast_image_scaling;

class BACK_BUFFER;
class FOLDER;
class IMAGE_CACHE_ENTRY;
class TEXT_FILE;

// The screen image that a null target or source stands for. The display layer registers it when
// it opens the window and clears it when it closes; null when there is none.
BACK_BUFFER* graphics_back_buffer();
void set_graphics_back_buffer(BACK_BUFFER* image);

// ---------------------------------------------------------------------------------------------
// [SECTION] IMAGE
// ---------------------------------------------------------------------------------------------

class IMAGE : public DATA_DEVICE_CLIENT {
public:
    // Empty image: no pixels, a valid but empty clip.
    IMAGE();
    // Fully transparent black image of the size. Allocation failure is fatal 0x0020.
    IMAGE(INT_S16 width, INT_S16 height);
    ~IMAGE() override;
    IMAGE(const IMAGE&) = delete;
    IMAGE& operator=(const IMAGE&) = delete;

    // --- Size ---------------------------------------------------------------------------------
    // Resizes to width by height, all pixels 0. The same size keeps the pixels (and only resets
    // the clip and marks all dirty); a side below 1 empties the image. Does nothing when locked.
    // Allocation failure is fatal 0x0020.
    void set_size(INT_S16 new_width, INT_S16 new_height);
    // Resamples to the size; 0xFFFF keeps a side. Nearest neighbour, or the two-pass bilinear
    // filter with use_filter. keep_aspect fits the picture inside the box; max_width and
    // max_height cap it. Does nothing when locked.
    void scale(INT_S16 new_width, INT_S16 new_height, bool use_filter);
    [[nodiscard]] bool has_pixels() const { return pixels != nullptr; }
    // Address of pixel (x, y); no check.
    [[nodiscard]] COLOUR* row(INT_S32 y) const { return pixels + static_cast<ptrdiff_t>(y) * stride; }
    [[nodiscard]] COLOUR& at(INT_S32 x, INT_S32 y) const { return row(y)[x]; }

    // --- Clip and dirty rectangle ----------------------------------------------------------------
    // Replaces the clip; each bound is clamped into the image.
    void set_clip(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2);
    // Narrows the clip to its overlap with the rectangle; no overlap leaves it empty.
    void intersect_clip(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2);
    [[nodiscard]] bool clip_is_empty() const
    {
        return !clip_valid || clip_left == -1 || clip_right == -1 || clip_top == -1 || clip_bottom == -1;
    }
    // Widens the dirty rectangle by the rectangle, clamped into the image.
    void mark_dirty(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2);
    void clear_dirty() { dirty_left = dirty_right = dirty_top = dirty_bottom = -1; }
    [[nodiscard]] bool is_dirty() const { return dirty_left != -1; }

    // --- Drawing ------------------------------------------------------------------------------
    // Everything below draws inside the clip only and marks what it touches dirty. Colours with
    // alpha 0 given to draw_line, draw_box_outline and draw_xor_box are fatal 0x0003.
    void fill(const COLOUR& colour);
    void clear(const COLOUR& colour, bool ignore_clip);
    void fill_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour, bool blend);
    // percent above 100 counts as 100; below 1 does nothing.
    void darken_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, INT_S32 percent);
    // colour_a on the first row (column), colour_b on the last; interpolated over the rectangle
    // as passed, so a clipped gradient keeps its colours in place.
    void gradient_box_vertical(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour_a,
        const COLOUR& colour_b, bool blend);
    void gradient_box_horizontal(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour_a,
        const COLOUR& colour_b, bool blend);
    void draw_line(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour, INT_S16 thickness, bool blend);
    void draw_box_outline(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour, INT_S16 thickness,
        INT_U8 edges, bool blend);
    // Exclusive-or frame for rubber bands; drawing it twice restores the colours.
    void draw_xor_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour);
    // radius -1 means default_corner_radius; a radius below 1 draws nothing.
    void draw_rounded_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, INT_S16 radius, INT_U8 corners,
        const COLOUR& colour_a, const COLOUR& colour_b, INT_U8 shade, INT_S8 percent);
    void draw_rounded_outline(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour,
        INT_S16 radius, INT_U8 corners);
    // A circle rasterised at three times the resolution; antialias blends the edge by coverage.
    // Not reentrant (one scratch grid); a circle too large for the grid is not drawn.
    void draw_circle(INT_S16 cx, INT_S16 cy, INT_S16 radius, const COLOUR& colour, INT_S8 percent, INT_U8 type,
        INT_S16 width, bool antialias);
    [[nodiscard]] static INT_S16 default_corner_radius(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2);

    // --- Block transfer ----------------------------------------------------------------------
    // Copies a width by height block of source at (src_x, src_y) to destination at (dest_x,
    // dest_y), clipped by the destination's clip and the source's edges. Returns quietly on
    // anything it cannot do (no pixels, empty clip, nothing left after clipping).
    static void blit(IMAGE* destination, const IMAGE* source, INT_S16 src_x, INT_S16 src_y, INT_S16 dest_x,
        INT_S16 dest_y, INT_S16 width, INT_S16 height, INT_U8 mode);
    // For these three a null image means the back buffer; none, or this image itself, does nothing.
    void draw(INT_S16 x, INT_S16 y, IMAGE* target, INT_U8 mode) const;
    void draw_part(INT_S16 x, INT_S16 y, INT_S16 src_x, INT_S16 src_y, INT_S16 part_width, INT_S16 part_height,
        IMAGE* target, INT_U8 mode) const;
    // Fills this image from source, starting at source position (x, y).
    void grab(INT_S16 x, INT_S16 y, const IMAGE* source, INT_U8 mode);

    // --- Filters, each on the part inside the clip --------------------------------------------
    void fill_below_alpha(const COLOUR& colour, INT_U8 threshold);
    void replace_colour(const COLOUR& from, const COLOUR& to, bool ignore_alpha);
    void set_alpha(INT_U8 alpha, bool multiply, bool keep_transparent);
    void recolour(const COLOUR& colour_r, const COLOUR& colour_g, const COLOUR& colour_b, bool keep_alpha);
    void tint(const COLOUR& colour);
    void greyscale();

    // --- Text (graphics/image_text.cpp; fonts, markup and TEXT_ flags in graphics/font.h) -----------
    // Font 255 means default_font; a width or height of 0xFFFF (-1) means default_font_width or
    // default_font_height. count is in characters, -1 for all; wide_start begins in wide mode.
    // An unloaded font, a size below 1 or an empty clip draws nothing.
    //
    // Width in pixels of the first count characters; for an unusable font, the text's length in
    // bytes.
    [[nodiscard]] INT_S32 text_width(INT_U8 font, INT_S16 font_width, INT_S16 font_height, const char* text,
        INT_S32 count = -1, bool wide_start = false) const;
    // One line in a cell of font_height rows whose top left is (x, y). Any colour may be
    // invisible; an invisible background or underline is not drawn. flags: TEXT_SHADOW,
    // TEXT_INSET, TEXT_CHISELED (the lowest bit set wins) and TEXT_REFLECT.
    void draw_text(INT_S16 x, INT_S16 y, const COLOUR& colour, const COLOUR& background, const COLOUR& underline,
        INT_U8 font, INT_S16 font_width, INT_S16 font_height, const char* text, INT_U8 flags = 0,
        INT_S32 count = -1, bool wide_start = false);
    // draw_text with flags 0 of a printf-style text, formatted into a 5120-byte buffer. Without an
    // underline it is invisible; without a font the image's default font and size are used.
    void draw_text_format(INT_S16 x, INT_S16 y, const COLOUR& colour, const COLOUR& background,
        const COLOUR& underline, INT_U8 font, INT_S16 font_width, INT_S16 font_height, const char* format, ...)
        __attribute__((format(printf, 10, 11)));
    void draw_text_format(INT_S16 x, INT_S16 y, const COLOUR& colour, const COLOUR& background, INT_U8 font,
        INT_S16 font_width, INT_S16 font_height, const char* format, ...) __attribute__((format(printf, 9, 10)));
    void draw_text_format(INT_S16 x, INT_S16 y, const COLOUR& colour, const COLOUR& background,
        const char* format, ...) __attribute__((format(printf, 6, 7)));
    // Word-wrapped block inside the box: line feeds, breaks at blanks and behind "-", a hyphen in
    // a word that is too long, "..." when the text does not fit. TEXT_TOP / TEXT_BOTTOM and
    // TEXT_LEFT / TEXT_RIGHT place the lines, centred without them; the effect flags apply to
    // every line. A box lower than one line still shows one.
    void draw_text_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour,
        const COLOUR& background, const COLOUR& underline, INT_U8 font, INT_S16 font_width, INT_S16 line_height,
        const char* text, INT_U8 flags);

    // --- Stream form -------------------------------------------------------------------------
    // "orlurawimg", version 1, width and height as INT_U16, then the pixels row by row as
    // 0xAARRGGBB words, all in the device's byte order. A read answers false, with the last-error
    // slot set, for a wrong magic or version, a side above 32767, more pixels than the device
    // holds or than an image may have, and a short read; the image is unchanged unless the
    // failure came after the pixels were allocated.
    [[nodiscard]] bool get_from_data_device(DATA_DEVICE* device) override;
    [[nodiscard]] bool put_to_data_device(DATA_DEVICE* device) const override;

    // --- Files --------------------------------------------------------------------------------
    // Readers answer false with the last-error slot set when the file is missing, is not of the
    // format, is damaged or truncated, or declares a picture beyond the limits of image_files.h;
    // the image then holds whatever the reader had sized it to. Writers answer false, with the
    // slot set, when the device refuses bytes.

    // Finds the picture `name` in the folder: by its own extension (png, pcx, jpg, raw), then
    // with each of ".png", ".jpg", ".pcx" and ".raw" appended, then by content whatever it is
    // called; a reader that fails hands on to the next candidate. Scales the result to width by
    // height (-1 keeps a side). False when nothing is found or nothing found decodes.
    [[nodiscard]] bool load(const FOLDER& folder, const char* name, INT_S16 new_width = -1, INT_S16 new_height = -1);
    // The raw form in a file that carries its own byte-order byte.
    [[nodiscard]] bool load_raw(const FOLDER& folder, const char* name);
    // Palette and grey pictures are expanded to RGB.
    [[nodiscard]] bool load_png(DATA_DEVICE* device);
    [[nodiscard]] bool load_png(const FOLDER& folder, const char* name);
    // Resampled while reading to width by height (nearest neighbour); a side below 1 keeps the
    // file's. Every pixel is opaque.
    [[nodiscard]] bool load_jpeg(DATA_DEVICE* device, INT_S16 new_width, INT_S16 new_height);
    [[nodiscard]] bool load_jpeg(const FOLDER& folder, const char* name, INT_S16 new_width, INT_S16 new_height);
    // 8-bit PCX with its 256-colour palette; the palette colour (139, 154, 37) is transparent.
    [[nodiscard]] bool load_pcx(DATA_DEVICE* device);
    [[nodiscard]] bool load_pcx(const FOLDER& folder, const char* name);
    // A compiled-in image array of `size` bytes: version, width and height big-endian, then
    // blue, green, red, alpha per pixel. False for null, or an array shorter than it declares.
    [[nodiscard]] bool load_array(const INT_U8* array, size_t size);
    // 8-bit RGBA with the author and web address as text entries. False for an empty image.
    [[nodiscard]] bool save_png(DATA_DEVICE* device) const;
    // Quality 0 to 100 (otherwise false). An empty image writes nothing and answers true.
    [[nodiscard]] bool save_jpeg(DATA_DEVICE* device, INT_S32 quality, bool progressive) const;
    // Up to 255 colours (later new colours become the first); alpha is lost. False when empty.
    [[nodiscard]] bool save_pcx(DATA_DEVICE* device) const;
    // The image as source text of a compiled-in image array named `array_name`.
    [[nodiscard]] bool save_source(TEXT_FILE* file, const char* array_name) const;

    // --- Fields ------------------------------------------------------------------------------
    // Public like the rest of the framework's records: the display, the fonts and the cache work
    // on them directly. Change sizes only through set_size and scale.
    INT_S16 x_origin { 0 }; // always 0; coordinates still subtract it
    INT_S16 y_origin { 0 };
    INT_S16 height { 0 };
    INT_S16 width { 0 };
    INT_S16 stride { 0 };
    INT_S16 extra_rows { 0 };
    // 2 or more: rows are a multiple of it; 1: exactly the width; 0 or less: an even number.
    INT_S16 row_alignment { 0 };
    COLOUR* pixels { nullptr };
    INT_U8 locked { 0 };
    INT_S16 clip_left { -1 };
    INT_S16 clip_right { -1 };
    INT_S16 clip_top { -1 };
    INT_S16 clip_bottom { -1 };
    INT_U8 clip_valid { 0 };
    INT_U8 keep_aspect { 0 };
    INT_S8 default_font { 10 };
    INT_S16 default_font_width { 22 };
    INT_S16 default_font_height { 22 };
    INT_S16 dirty_left { -1 };
    INT_S16 dirty_right { -1 };
    INT_S16 dirty_top { -1 };
    INT_S16 dirty_bottom { -1 };
    INT_S16 max_width { 0 };
    INT_S16 max_height { 0 };
    IMAGE_CACHE_ENTRY* cache_entry { nullptr };

private:
    // set_size with a choice on allocation failure: fatal, or false with the image left empty.
    bool resize_pixels(INT_S32 new_width, INT_S32 new_height, bool fatal_on_failure);
    void free_pixels();
    static void free_pixel_block(COLOUR* block);
    // Clip test and fatal checks shared by the single-colour primitives.
    // Orders the corners, translates by the origin and clamps into the clip; false when the box
    // misses it. Fatal 0x0002 for a valid clip without pixels.
    bool clip_box(INT_S32& x1, INT_S32& y1, INT_S32& x2, INT_S32& y2);
    // mark_dirty in pixel coordinates.
    void mark_dirty_pixels(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2);
    // Runs operation on every pixel inside the clip.
    template <typename OPERATION>
    void filter_clip(OPERATION operation);
    // Clip test and fatal checks shared by the single-colour primitives: false when the clip is
    // empty; fatal 0x0003 for an invisible colour when one is required, 0x0002 without pixels.
    bool begin_primitive(const COLOUR& colour, bool colour_required);
    void plot(INT_S32 x, INT_S32 y, const COLOUR& colour, bool blend);
    void draw_line_1(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, const COLOUR& colour, bool blend);
    void draw_outline_1(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, const COLOUR& colour, INT_U8 edges,
        bool blend);
    void draw_arc(INT_S32 corner, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, INT_S32 radius,
        const COLOUR& colour);
    // One pass of text: lightness 0 draws in the text colour, any other value moves the
    // lightness of the pixels under the glyphs instead. reflection_gap -1 draws no reflection.
    void draw_string(INT_S32 x, INT_S32 y, const COLOUR& colour, const COLOUR& background, const COLOUR& underline,
        double lightness, INT_S16 font, INT_S16 font_width, INT_S16 font_height, const char* text, INT_S32 count,
        bool wide_start, INT_S32 reflection_gap);
};

// ---------------------------------------------------------------------------------------------
// [SECTION] BACK_BUFFER
// ---------------------------------------------------------------------------------------------

// The display-sized image. Owned by the display layer, which keeps it locked outside the window
// code so that nobody else resizes the screen.
class BACK_BUFFER : public IMAGE {
public:
    BACK_BUFFER() = default;
    BACK_BUFFER(INT_S16 width, INT_S16 height) : IMAGE(width, height) {}
    ~BACK_BUFFER() override;
};
