// TILED_IMAGE: a skin element kept as up to nine pictures, the corners fixed and the edges and
// middle repeated, so that a button or a panel takes any size without blurring. One, three
// (horizontal or vertical) and nine pieces are understood, plus three overlays.
//
// The pieces belong to an IMAGE_STORE (the image cache) through its reference counts; the
// element only holds references. The finished picture at the last size is kept in a private
// composite, so that redrawing at an unchanged size is a single blit.
#pragma once

#include "graphics/image.h"
#include "graphics/image_store.h"
#include "base/orlu_types.h"

// Paint elements through their composite. True, and nothing changes it.
extern bool skin_composite_cache;

class TILED_IMAGE {
public:
    enum LAYOUT : INT_U8 { LAYOUT_NONE, LAYOUT_ONE, LAYOUT_HORIZONTAL_THREE, LAYOUT_VERTICAL_THREE, LAYOUT_NINE };

    // Without a store the element does nothing.
    explicit TILED_IMAGE(IMAGE_STORE* store = nullptr) : cache(store) {}
    ~TILED_IMAGE();
    TILED_IMAGE(const TILED_IMAGE&) = delete;
    TILED_IMAGE& operator=(const TILED_IMAGE&) = delete;

    // Frees the present pieces and loads "<base>_top_left" ... (nine), "<base>_left" ...
    // (horizontal three), "<base>_top" ... (vertical three) or "<base>" (one), in that order of
    // preference, plus the overlays "<base>_colay", "_solay" and "_tolay". Answers true when a
    // complete layout was found; false without a store.
    [[nodiscard]] bool load(const char* folder, const char* base, INT_U32 flags);
    // Frees the present pieces and shares the other element's, one reference each.
    void copy(const TILED_IMAGE& other);
    // Releases every piece to the store.
    void free_pieces();
    [[nodiscard]] bool is_loaded() const { return mid != nullptr; }
    [[nodiscard]] LAYOUT layout() const;

    // Paints the element over the rectangle. A null target means the back buffer. stretch scales
    // a one-piece element to the area (otherwise it is centred and cut); no_composite paints the
    // pieces directly instead of through the composite.
    void draw(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, bool stretch, IMAGE* target, INT_U8 mode,
        bool no_composite);
    // The same layout painted with BLIT_MASK_MULTIPLY: cuts target's alpha to the element's outline.
    void apply_shape(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, bool stretch, IMAGE* target);
    // True when the element, width by height, has a pixel with alpha at the point (relative to its
    // top left). Pieces are chosen by their own sizes; repeated directions use row or column 0.
    [[nodiscard]] bool solid_at(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height) const;

    // Filters on every piece, each on a private copy so other holders keep their picture. The
    // composite is redrawn at the next draw.
    void greyscale();
    void tint(const COLOUR& colour);
    void recolour(const COLOUR& colour_r, const COLOUR& colour_g, const COLOUR& colour_b, bool keep_alpha);
    void replace_colour(const COLOUR& from, const COLOUR& to, bool ignore_alpha);

    IMAGE_STORE* cache { nullptr };
    IMAGE* left { nullptr };
    IMAGE* mid { nullptr };
    IMAGE* right { nullptr };
    IMAGE* top { nullptr };
    IMAGE* bottom { nullptr };
    IMAGE* top_left { nullptr };
    IMAGE* top_right { nullptr };
    IMAGE* bottom_left { nullptr };
    IMAGE* bottom_right { nullptr };
    IMAGE* centre_overlay { nullptr };
    IMAGE* stretch_overlay { nullptr };
    IMAGE* tile_overlay { nullptr };
    IMAGE* composite { nullptr }; // owned
    INT_S16 overlay_x { 0 };
    INT_S16 overlay_y { 0 };
    INT_U8 composite_stale { 1 };
    INT_U8 private_pieces { 0 };

private:
    // Every piece pointer in filter order: left, mid, right, top, bottom, the corners, the overlays.
    static constexpr int PIECE_COUNT = 12;
    void pieces(IMAGE** list[PIECE_COUNT]);
    IMAGE* load_piece(const char* folder, const char* format, const char* base, INT_U32 flags);
    void size_piece(IMAGE** piece, INT_S32 width, INT_S32 height);
    void paint(IMAGE* target, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, bool stretch, INT_U8 mode);
    void paint_nine(IMAGE* target, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, INT_U8 mode);
    void paint_three(IMAGE* target, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, bool horizontal, INT_U8 mode);
    void paint_overlays(IMAGE* target, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, bool stretch);
    template <typename OPERATION>
    void filter_pieces(OPERATION operation);
};
