// TILED_IMAGE: loading the pieces, painting the layouts and overlays, hit testing and filters.
//
// [SECTION] Pieces
// [SECTION] Painting
// [SECTION] Hit testing
// [SECTION] Filters

#include "graphics/tiled_image.h"

#include <cstdio>
#include <new>

bool skin_composite_cache = true;

namespace {

INT_S32 smaller(INT_S32 a, INT_S32 b) { return a < b ? a : b; }

// Edges wider than the area shrink in proportion, so a small element keeps both borders.
void share_edges(INT_S32& a, INT_S32& b, INT_S32 size)
{
    if (size >= a + b)
        return;
    if (a + b < 1) {
        a = b = 0;
        return;
    }
    INT_S32 total = a + b;
    a = a * size / total;
    b = b * size / total;
}

// The clip fields as they stand, so a narrowed clip can be put back exactly (an empty one too).
struct SAVED_CLIP {
    explicit SAVED_CLIP(IMAGE* image)
        : m_image(image)
        , m_left(image->clip_left)
        , m_right(image->clip_right)
        , m_top(image->clip_top)
        , m_bottom(image->clip_bottom)
    {
    }
    void restore()
    {
        m_image->clip_left = m_left;
        m_image->clip_right = m_right;
        m_image->clip_top = m_top;
        m_image->clip_bottom = m_bottom;
    }

private:
    IMAGE* m_image;
    INT_S16 m_left, m_right, m_top, m_bottom;
};

INT_S16 s16(INT_S32 v) { return static_cast<INT_S16>(v); }

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Pieces
// ---------------------------------------------------------------------------------------------

TILED_IMAGE::~TILED_IMAGE()
{
    free_pieces();
    delete composite;
}

void TILED_IMAGE::pieces(IMAGE** list[PIECE_COUNT])
{
    IMAGE** all[PIECE_COUNT] = { &left, &mid, &right, &top, &bottom, &top_left, &top_right, &bottom_left,
        &bottom_right, &centre_overlay, &stretch_overlay, &tile_overlay };
    for (int i = 0; i < PIECE_COUNT; ++i)
        list[i] = all[i];
}

TILED_IMAGE::LAYOUT TILED_IMAGE::layout() const
{
    if (left && mid && right && top && bottom && top_left && top_right && bottom_left && bottom_right)
        return LAYOUT_NINE;
    if (left && mid && right)
        return LAYOUT_HORIZONTAL_THREE;
    if (top && mid && bottom)
        return LAYOUT_VERTICAL_THREE;
    if (mid)
        return LAYOUT_ONE;
    return LAYOUT_NONE;
}

void TILED_IMAGE::free_pieces()
{
    IMAGE** list[PIECE_COUNT];
    pieces(list);
    for (IMAGE** piece : list) {
        if (*piece && cache)
            cache->release_image(*piece);
        *piece = nullptr;
    }
    composite_stale = 1;
}

IMAGE* TILED_IMAGE::load_piece(const char* folder, const char* format, const char* base, INT_U32 flags)
{
    char name[ORLU_MAX_PATH];
    int length = snprintf(name, sizeof name, format, base);
    if (length < 0 || length >= static_cast<int>(sizeof name))
        return nullptr;
    return cache->get(folder, name, -1, -1, flags);
}

bool TILED_IMAGE::load(const char* folder, const char* base, INT_U32 flags)
{
    free_pieces();
    if (!cache || !base)
        return false;
    centre_overlay = load_piece(folder, "%s_colay", base, flags);
    stretch_overlay = load_piece(folder, "%s_solay", base, flags);
    tile_overlay = load_piece(folder, "%s_tolay", base, flags);

    top_left = load_piece(folder, "%s_top_left", base, flags);
    if (top_left) {
        top = load_piece(folder, "%s_top_mid", base, flags);
        top_right = load_piece(folder, "%s_top_right", base, flags);
        left = load_piece(folder, "%s_mid_left", base, flags);
        mid = load_piece(folder, "%s_mid_mid", base, flags);
        right = load_piece(folder, "%s_mid_right", base, flags);
        bottom_left = load_piece(folder, "%s_bottom_left", base, flags);
        bottom = load_piece(folder, "%s_bottom_mid", base, flags);
        bottom_right = load_piece(folder, "%s_bottom_right", base, flags);
        return layout() == LAYOUT_NINE;
    }
    left = load_piece(folder, "%s_left", base, flags);
    if (left) {
        mid = load_piece(folder, "%s_mid", base, flags);
        right = load_piece(folder, "%s_right", base, flags);
        return mid && right;
    }
    top = load_piece(folder, "%s_top", base, flags);
    if (top) {
        mid = load_piece(folder, "%s_mid", base, flags);
        bottom = load_piece(folder, "%s_bottom", base, flags);
        return mid && bottom;
    }
    mid = load_piece(folder, "%s", base, flags);
    return mid != nullptr;
}

void TILED_IMAGE::copy(const TILED_IMAGE& other)
{
    if (&other == this)
        return;
    free_pieces();
    cache = other.cache;
    if (!cache)
        return;
    IMAGE** mine[PIECE_COUNT];
    IMAGE** theirs[PIECE_COUNT];
    pieces(mine);
    const_cast<TILED_IMAGE&>(other).pieces(theirs);
    for (int i = 0; i < PIECE_COUNT; ++i)
        *mine[i] = *theirs[i] ? cache->add_reference(*theirs[i]) : nullptr;
    overlay_x = other.overlay_x;
    overlay_y = other.overlay_y;
}

void TILED_IMAGE::size_piece(IMAGE** piece, INT_S32 width, INT_S32 height)
{
    if (!*piece || ((*piece)->width == width && (*piece)->height == height))
        return;
    cache->resize(piece, s16(width), s16(height), private_pieces);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Painting
// ---------------------------------------------------------------------------------------------

void TILED_IMAGE::draw(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, bool stretch, IMAGE* target, INT_U8 mode,
    bool no_composite)
{
    if (!cache || !mid)
        return;
    INT_S32 left_x = smaller(x1, x2), top_y = smaller(y1, y2);
    INT_S32 w = (x1 > x2 ? x1 - x2 : x2 - x1) + 1, h = (y1 > y2 ? y1 - y2 : y2 - y1) + 1;
    if (!target)
        target = graphics_back_buffer();
    if (!target)
        return;
    if (!skin_composite_cache || no_composite) {
        paint(target, left_x, top_y, left_x + w - 1, top_y + h - 1, stretch, mode);
        return;
    }
    // The pieces are walked only when the size changed or a filter made the picture stale.
    if (composite && composite->width == w && composite->height == h && !composite_stale) {
        composite->draw(s16(left_x), s16(top_y), target, mode);
        return;
    }
    if (!composite)
        composite = new (std::nothrow) IMAGE(s16(w), s16(h));
    else
        composite->set_size(s16(w), s16(h));
    if (!composite || !composite->has_pixels()) {
        paint(target, left_x, top_y, left_x + w - 1, top_y + h - 1, stretch, mode);
        return;
    }
    composite_stale = 0;
    composite->clear(COLOUR_INVISIBLE, true);
    paint(composite, 0, 0, w - 1, h - 1, stretch, BLIT_COPY);
    composite->draw(s16(left_x), s16(top_y), target, mode);
}

void TILED_IMAGE::apply_shape(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, bool stretch, IMAGE* target)
{
    if (!cache || !mid)
        return;
    if (!target)
        target = graphics_back_buffer();
    if (!target)
        return;
    paint(target, smaller(x1, x2), smaller(y1, y2), x1 > x2 ? x1 : x2, y1 > y2 ? y1 : y2, stretch,
        BLIT_MASK_MULTIPLY);
}

void TILED_IMAGE::paint(IMAGE* target, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, bool stretch, INT_U8 mode)
{
    switch (layout()) {
    case LAYOUT_NINE:
        paint_nine(target, x1, y1, x2, y2, mode);
        break;
    case LAYOUT_HORIZONTAL_THREE:
        paint_three(target, x1, y1, x2, y2, true, mode);
        break;
    case LAYOUT_VERTICAL_THREE:
        paint_three(target, x1, y1, x2, y2, false, mode);
        break;
    case LAYOUT_ONE: {
        INT_S32 w = x2 - x1 + 1, h = y2 - y1 + 1;
        if (stretch)
            size_piece(&mid, w, h);
        // Centred; a picture larger than the area is cut to it.
        SAVED_CLIP saved(target);
        target->intersect_clip(s16(x1), s16(y1), s16(x2), s16(y2));
        mid->draw(s16(x1 + (w - mid->width) / 2), s16(y1 + (h - mid->height) / 2), target, mode);
        saved.restore();
        break;
    }
    case LAYOUT_NONE:
        return;
    }
    if (mode == BLIT_ALPHA || mode == BLIT_COPY)
        paint_overlays(target, x1, y1, x2, y2, stretch);
}

void TILED_IMAGE::paint_nine(IMAGE* target, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, INT_U8 mode)
{
    INT_S32 w = x2 - x1 + 1, h = y2 - y1 + 1;
    INT_S32 a = left->width, b = right->width, c = top->height, d = bottom->height;
    share_edges(a, b, w);
    share_edges(c, d, h);

    // Each piece goes to its size through the store, so one resized corner serves every element
    // of the same skin.
    auto width_or = [](INT_S32 size, IMAGE* piece) { return size ? size : piece->width; };
    auto height_or = [](INT_S32 size, IMAGE* piece) { return size ? size : piece->height; };
    size_piece(&top_left, width_or(a, top_left), height_or(c, top_left));
    size_piece(&left, width_or(a, left), left->height);
    size_piece(&bottom_left, width_or(a, bottom_left), height_or(d, bottom_left));
    size_piece(&top_right, width_or(b, top_right), height_or(c, top_right));
    size_piece(&right, width_or(b, right), right->height);
    size_piece(&bottom_right, width_or(b, bottom_right), height_or(d, bottom_right));
    size_piece(&top, top->width, height_or(c, top));
    size_piece(&bottom, bottom->width, height_or(d, bottom));

    if (a && c)
        top_left->draw(s16(x1), s16(y1), target, mode);
    if (a && d)
        bottom_left->draw(s16(x1), s16(y2 - d + 1), target, mode);
    if (b && c)
        top_right->draw(s16(x2 - b + 1), s16(y1), target, mode);
    if (b && d)
        bottom_right->draw(s16(x2 - b + 1), s16(y2 - d + 1), target, mode);

    INT_S32 m = w - (a + b), n = h - (c + d);
    if (m > 0 && n > 0 && mid->width > 0 && mid->height > 0) {
        SAVED_CLIP saved(target);
        target->intersect_clip(s16(x1 + a), s16(y1 + c), s16(x2 - b), s16(y2 - d));
        for (INT_S32 y = y1 + c; y <= y2 - d; y += mid->height)
            for (INT_S32 x = x1 + a; x <= x2 - b; x += mid->width)
                mid->draw(s16(x), s16(y), target, mode);
        saved.restore();
    }
    // The bottom edge steps by the top edge's width: a skin makes the two equal.
    if (m > 0 && top->width > 0) {
        for (INT_S32 x = x1 + a; x < x1 + a + m; x += top->width) {
            INT_S32 part = smaller(top->width, x1 + a + m - x);
            top->draw_part(s16(x), s16(y1), 0, 0, s16(part), s16(c), target, mode);
            bottom->draw_part(s16(x), s16(y2 - d + 1), 0, 0, s16(part), s16(d), target, mode);
        }
    }
    if (n > 0 && left->height > 0) {
        for (INT_S32 y = y1 + c; y < y1 + c + n; y += left->height) {
            INT_S32 part = smaller(left->height, y1 + c + n - y);
            left->draw_part(s16(x1), s16(y), 0, 0, s16(a), s16(part), target, mode);
            right->draw_part(s16(x2 - b + 1), s16(y), 0, 0, s16(b), s16(part), target, mode);
        }
    }
}

void TILED_IMAGE::paint_three(IMAGE* target, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, bool horizontal,
    INT_U8 mode)
{
    INT_S32 w = x2 - x1 + 1, h = y2 - y1 + 1;
    IMAGE** first = horizontal ? &left : &top;
    IMAGE** last = horizontal ? &right : &bottom;
    INT_S32 a = horizontal ? (*first)->width : (*first)->height;
    INT_S32 b = horizontal ? (*last)->width : (*last)->height;
    INT_S32 length = horizontal ? w : h;
    share_edges(a, b, length);
    if (horizontal) {
        if (a)
            size_piece(first, a, h);
        if (b)
            size_piece(last, b, h);
        size_piece(&mid, mid->width, h);
    } else {
        if (a)
            size_piece(first, w, a);
        if (b)
            size_piece(last, w, b);
        size_piece(&mid, w, mid->height);
    }
    if (a)
        (*first)->draw(s16(x1), s16(y1), target, mode);
    if (b)
        (*last)->draw(s16(horizontal ? x2 - b + 1 : x1), s16(horizontal ? y1 : y2 - b + 1), target, mode);
    // The middle repeats between the ends, the last copy cut.
    INT_S32 step = horizontal ? mid->width : mid->height;
    if (step < 1)
        return;
    for (INT_S32 at = a; at < length - b; at += step) {
        INT_S32 part = smaller(step, length - b - at);
        if (horizontal)
            mid->draw_part(s16(x1 + at), s16(y1), 0, 0, s16(part), s16(h), target, mode);
        else
            mid->draw_part(s16(x1), s16(y1 + at), 0, 0, s16(w), s16(part), target, mode);
    }
}

void TILED_IMAGE::paint_overlays(IMAGE* target, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, bool stretch)
{
    INT_S32 w = x2 - x1 + 1, h = y2 - y1 + 1;
    if (centre_overlay)
        centre_overlay->draw(s16(x1 + (w - centre_overlay->width) / 2 + overlay_x),
            s16(y1 + (h - centre_overlay->height) / 2 + overlay_y), target, BLIT_ALPHA);
    if (stretch_overlay && stretch_overlay->has_pixels()) {
        IMAGE scaled(stretch_overlay->width, stretch_overlay->height);
        stretch_overlay->draw(0, 0, &scaled, BLIT_COPY);
        scaled.scale(s16(w - overlay_x), s16(h - overlay_y), !fast_image_scaling);
        apply_shape(0, 0, s16(w - 1), s16(h - 1), stretch, &scaled);
        scaled.draw(s16(x1), s16(y1), target, BLIT_ALPHA);
    }
    if (tile_overlay && tile_overlay->width > 0 && tile_overlay->height > 0) {
        // Holds the picture so far, so the cut overlay lands on the element and not beside it.
        IMAGE tiles(s16(w), s16(h));
        tiles.grab(s16(x1), s16(y1), target, BLIT_COPY);
        for (INT_S32 y = -overlay_y; y < h; y += tile_overlay->height)
            for (INT_S32 x = -overlay_x; x < w; x += tile_overlay->width)
                tile_overlay->draw(s16(x), s16(y), &tiles, BLIT_ALPHA);
        apply_shape(0, 0, s16(w - 1), s16(h - 1), stretch, &tiles);
        tiles.draw(s16(x1), s16(y1), target, BLIT_ALPHA);
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Hit testing
// ---------------------------------------------------------------------------------------------

namespace {

bool solid_pixel(const IMAGE* piece, INT_S32 x, INT_S32 y)
{
    if (!piece || piece->clip_is_empty())
        return false;
    if (x < piece->clip_left || x > piece->clip_right || y < piece->clip_top || y > piece->clip_bottom)
        return false;
    return piece->at(x, y).alpha() != 0;
}

} // namespace

bool TILED_IMAGE::solid_at(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height) const
{
    LAYOUT kind = layout();
    if (kind == LAYOUT_NONE)
        return false;
    if (kind == LAYOUT_ONE) {
        INT_S32 px = x - (width - mid->width) / 2;
        INT_S32 py = y - (height - mid->height) / 2;
        return solid_pixel(mid, px, py);
    }

    // Column 0 left, 1 middle, 2 right; rows likewise. Three-piece layouts have a single band
    // across their repeating direction.
    int column = 1, row = 1;
    if (kind != LAYOUT_VERTICAL_THREE) {
        if (x < left->width)
            column = 0;
        else if (x > width - right->width)
            column = 2;
    }
    if (kind != LAYOUT_HORIZONTAL_THREE) {
        if (y < top->height)
            row = 0;
        else if (y > height - bottom->height)
            row = 2;
    }
    const IMAGE* grid[3][3] = {
        { top_left, top, top_right },
        { left, mid, right },
        { bottom_left, bottom, bottom_right },
    };
    const IMAGE* piece = nullptr;
    if (kind == LAYOUT_NINE)
        piece = grid[row][column];
    else if (kind == LAYOUT_HORIZONTAL_THREE)
        piece = grid[1][column];
    else
        piece = row == 0 ? top : (row == 2 ? bottom : mid);
    if (!piece)
        return false;

    // Edges and corners are addressed from their own side; repeating directions use 0.
    INT_S32 px = 0, py = 0;
    if (column == 0)
        px = x;
    else if (column == 2)
        px = piece->width - (width - x);
    else if (kind == LAYOUT_VERTICAL_THREE)
        px = x;
    if (row == 0)
        py = y;
    else if (row == 2)
        py = piece->height - (height - y);
    else if (kind == LAYOUT_HORIZONTAL_THREE)
        py = y;
    return solid_pixel(piece, px, py);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Filters
// ---------------------------------------------------------------------------------------------

template <typename OPERATION>
void TILED_IMAGE::filter_pieces(OPERATION operation)
{
    if (!cache)
        return;
    IMAGE** list[PIECE_COUNT];
    pieces(list);
    for (IMAGE** piece : list) {
        if (!*piece)
            continue;
        cache->make_private(piece);
        if (*piece)
            operation(*piece);
    }
    composite_stale = 1;
}

void TILED_IMAGE::greyscale()
{
    filter_pieces([](IMAGE* piece) { piece->greyscale(); });
}

void TILED_IMAGE::tint(const COLOUR& colour)
{
    filter_pieces([&colour](IMAGE* piece) { piece->tint(colour); });
}

void TILED_IMAGE::recolour(const COLOUR& colour_r, const COLOUR& colour_g, const COLOUR& colour_b, bool keep_alpha)
{
    filter_pieces([&](IMAGE* piece) { piece->recolour(colour_r, colour_g, colour_b, keep_alpha); });
}

void TILED_IMAGE::replace_colour(const COLOUR& from, const COLOUR& to, bool ignore_alpha)
{
    filter_pieces([&](IMAGE* piece) { piece->replace_colour(from, to, ignore_alpha); });
}
