// Converting frames to the server's layout. The loops are kept tight per depth with the shifts
// in locals, and the usual 32-bit layout (red at bit 16, blue at bit 0) has a loop of its own
// that the compiler turns into vector code: it is a swap of two bytes.

#include "host/linux/pixel_format.h"

#include <cstring>

// The row loops are built once for processors with AVX2 and once for any x86-64; the loader picks
// the one the machine runs. Other architectures get the plain build, and so do the sanitizer
// builds, whose run-times are not ready yet when the loader picks.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) \
    && !defined(__SANITIZE_THREAD__)
#define ORLU_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define ORLU_VECTOR_CLONES
#endif

namespace {

bool mask_shape(INT_U32 mask, INT_S32* shift, INT_S32* ones)
{
    if (mask == 0)
        return false;
    INT_S32 s = __builtin_ctz(mask);
    INT_U32 rest = mask >> s;
    INT_S32 n = 0;
    while (rest & 1u) {
        ++n;
        rest >>= 1;
    }
    *shift = s;
    *ones = n;
    return true;
}

ORLU_VECTOR_CLONES void convert_row_32(const INT_U32* in, INT_U32* out, INT_S32 width, INT_S32 rs, INT_S32 gs, INT_S32 bs)
{
    for (INT_S32 x = 0; x < width; ++x) {
        INT_U32 p = in[x];
        out[x] = ((p & 0xFFu) << rs) | (((p >> 8) & 0xFFu) << gs) | (((p >> 16) & 0xFFu) << bs) | 0xFF000000u;
    }
}

// Red to bit 16, green stays, blue to bit 0: the common layout of 24 and 32-bit servers.
ORLU_VECTOR_CLONES void convert_row_32_swap(const INT_U32* in, INT_U32* out, INT_S32 width)
{
    for (INT_S32 x = 0; x < width; ++x) {
        INT_U32 p = in[x];
        out[x] = ((p & 0xFFu) << 16) | (p & 0xFF00u) | ((p >> 16) & 0xFFu) | 0xFF000000u;
    }
}

ORLU_VECTOR_CLONES void convert_row_16(const INT_U32* in, INT_U16* out, INT_S32 width, const PIXEL_FORMAT& f)
{
    const INT_S32 rs = f.red_shift, gs = f.green_shift, bs = f.blue_shift;
    const INT_S32 rl = f.red_loss, gl = f.green_loss, bl = f.blue_loss;
    for (INT_S32 x = 0; x < width; ++x) {
        INT_U32 p = in[x];
        out[x] = static_cast<INT_U16>((((p & 0xFFu) >> rl) << rs) | ((((p >> 8) & 0xFFu) >> gl) << gs)
            | ((((p >> 16) & 0xFFu) >> bl) << bs));
    }
}

} // namespace

bool pixel_format_from_masks(INT_S32 bits_per_pixel, INT_U32 red_mask, INT_U32 green_mask, INT_U32 blue_mask,
    PIXEL_FORMAT* format)
{
    if (bits_per_pixel != 16 && bits_per_pixel != 32)
        return false;
    PIXEL_FORMAT f;
    f.bits_per_pixel = bits_per_pixel;
    INT_S32 red_ones = 0, green_ones = 0, blue_ones = 0;
    if (!mask_shape(red_mask, &f.red_shift, &red_ones) || !mask_shape(green_mask, &f.green_shift, &green_ones)
        || !mask_shape(blue_mask, &f.blue_shift, &blue_ones))
        return false;
    if (bits_per_pixel == 16) {
        f.red_loss = red_ones < 8 ? 8 - red_ones : 0;
        f.green_loss = green_ones < 8 ? 8 - green_ones : 0;
        f.blue_loss = blue_ones < 8 ? 8 - blue_ones : 0;
    }
    *format = f;
    return true;
}

void convert_frame(const DISPLAY_PIXELS& frame, const PIXEL_FORMAT& format, INT_U8* out, INT_S32 out_pitch)
{
    const INT_U32* in = frame.pixels;
    if (format.bits_per_pixel == 16) {
        for (INT_S32 y = 0; y < frame.height; ++y, in += frame.stride, out += out_pitch)
            convert_row_16(in, reinterpret_cast<INT_U16*>(out), frame.width, format);
        return;
    }
    const bool swap = format.red_shift == 16 && format.green_shift == 8 && format.blue_shift == 0;
    for (INT_S32 y = 0; y < frame.height; ++y, in += frame.stride, out += out_pitch) {
        if (swap)
            convert_row_32_swap(in, reinterpret_cast<INT_U32*>(out), frame.width);
        else
            convert_row_32(in, reinterpret_cast<INT_U32*>(out), frame.width, format.red_shift, format.green_shift,
                format.blue_shift);
    }
}
