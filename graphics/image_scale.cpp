// IMAGE::scale: the size rules (aspect, limits) and the two resampling steps.

#include "graphics/image.h"
#include "graphics/two_pass_scale.h"

namespace {

enum FIT { FIT_NONE, FIT_BY_WIDTH, FIT_BY_HEIGHT };

// Nearest neighbour in 16.16 fixed point: every destination column takes the source column the
// accumulator points at; rows advance by the integer part of a second accumulator.
void scale_nearest(const COLOUR* source, INT_S32 source_width, INT_S32 source_stride, INT_S32 source_height,
    COLOUR* destination, INT_S32 width, INT_S32 stride, INT_S32 height)
{
    INT_U32 column_step = (static_cast<INT_U32>(source_width) << 16) / static_cast<INT_U32>(width);
    INT_U32 row_step = (static_cast<INT_U32>(source_height) << 16) / static_cast<INT_U32>(height);
    INT_U32 row_fraction = 0;
    const COLOUR* from = source;
    for (INT_S32 y = 0; y < height; ++y) {
        COLOUR* to = destination + static_cast<ptrdiff_t>(y) * stride;
        INT_U32 accumulator = 0;
        for (INT_S32 x = 0; x < width; ++x) {
            to[x] = from[accumulator >> 16];
            accumulator += column_step;
        }
        row_fraction += row_step;
        from += static_cast<ptrdiff_t>(row_fraction >> 16) * source_stride;
        row_fraction &= 0xFFFF;
    }
}

} // namespace

void IMAGE::scale(INT_S16 new_width, INT_S16 new_height, bool use_filter)
{
    if (locked)
        return;
    INT_S32 w = new_width, h = new_height;
    FIT fit = FIT_NONE;
    if (keep_aspect) {
        if (w == -1 && h == -1) {
            w = width;
            h = height;
        } else if (w == -1) {
            w = width;
            fit = FIT_BY_HEIGHT;
        } else if (h == -1) {
            h = height;
            fit = FIT_BY_WIDTH;
        } else {
            fit = static_cast<double>(width) / w > static_cast<double>(height) / h ? FIT_BY_WIDTH : FIT_BY_HEIGHT;
        }
    } else {
        if (w == -1)
            w = width;
        if (h == -1)
            h = height;
    }

    // A limit can undo the fit; starting over with the limited pair settles within two rounds.
    for (int round = 0; round < 4; ++round) {
        if (w < 0 || h < 0)
            return;
        if (max_width >= 1 && w > max_width)
            w = max_width;
        if (max_height >= 1 && h > max_height)
            h = max_height;
        if (fit == FIT_BY_WIDTH && width > 0)
            h = static_cast<INT_S32>(static_cast<INT_S64>(height) * w / width);
        else if (fit == FIT_BY_HEIGHT && height > 0)
            w = static_cast<INT_S32>(static_cast<INT_S64>(width) * h / height);
        bool over = (max_width >= 1 && w > max_width) || (max_height >= 1 && h > max_height);
        if (!over)
            break;
        if (w > 0 && h > 0)
            fit = static_cast<double>(width) / w > static_cast<double>(height) / h ? FIT_BY_WIDTH : FIT_BY_HEIGHT;
    }
    if (w > 32767 || h > 32767)
        return;

    if (w == width && h == height) {
        if (width > 0 && height > 0)
            mark_dirty(x_origin, y_origin, static_cast<INT_S16>(x_origin + width - 1),
                static_cast<INT_S16>(y_origin + height - 1));
        return;
    }

    COLOUR* old_pixels = pixels;
    INT_S32 old_width = width, old_height = height, old_stride = stride;
    INT_S16 keep_max_width = max_width, keep_max_height = max_height;
    // Detach the old block so that set_size allocates a fresh one (and still marks the old area).
    pixels = nullptr;
    set_size(static_cast<INT_S16>(w), static_cast<INT_S16>(h));
    max_width = keep_max_width;
    max_height = keep_max_height;
    if (!old_pixels || !pixels) {
        free_pixel_block(old_pixels);
        return;
    }

    if (use_filter) {
        C2PassScale<CBilinearFilter> scaler;
        scaler.scale(old_pixels, static_cast<INT_U32>(old_width), static_cast<INT_U32>(old_stride),
            static_cast<INT_U32>(old_height), pixels, static_cast<INT_U32>(width), static_cast<INT_U32>(stride),
            static_cast<INT_U32>(height));
    } else {
        scale_nearest(old_pixels, old_width, old_stride, old_height, pixels, width, stride, height);
    }
    free_pixel_block(old_pixels);
}
