// Row kernels shared by the IMAGE sources: each walks height rows of width pixels, the
// destination and the source advancing by their own stride (in pixels). Callers have clipped.
#pragma once

#include <cstddef>

#include "graphics/colour.h"

void kernel_copy_rows(COLOUR* d, ptrdiff_t d_stride, const COLOUR* s, ptrdiff_t s_stride, INT_S32 width,
    INT_S32 height);
void kernel_fill_rows(COLOUR* d, ptrdiff_t d_stride, INT_S32 width, INT_S32 height, COLOUR colour);
// Source-over with the colour's own alpha: 0 leaves, COLOUR_OPAQUE_LIMIT and above store it whole.
void kernel_blend_fill_rows(COLOUR* d, ptrdiff_t d_stride, INT_S32 width, INT_S32 height, COLOUR colour);
void kernel_blend_rows(COLOUR* d, ptrdiff_t d_stride, const COLOUR* s, ptrdiff_t s_stride, INT_S32 width,
    INT_S32 height);
void kernel_mask_set_rows(COLOUR* d, ptrdiff_t d_stride, const COLOUR* s, ptrdiff_t s_stride, INT_S32 width,
    INT_S32 height);
void kernel_mask_multiply_rows(COLOUR* d, ptrdiff_t d_stride, const COLOUR* s, ptrdiff_t s_stride, INT_S32 width,
    INT_S32 height);
