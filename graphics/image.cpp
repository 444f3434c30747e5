// IMAGE: pixel storage, clip and dirty rectangles, fills, block transfer, filters and the stream
// form. The shape primitives live in image_draw.cpp and scaling in image_scale.cpp.
//
// [SECTION] Pixel storage and flags
// [SECTION] Row kernels
// [SECTION] Construction and size
// [SECTION] Clip and dirty rectangle
// [SECTION] Fills
// [SECTION] Block transfer
// [SECTION] Filters
// [SECTION] Stream form

#include "graphics/image.h"

#include <cstring>
#include <new>

#include "base/error_report.h"
#include "graphics/image_kernels.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Pixel storage and flags
// ---------------------------------------------------------------------------------------------

bool fast_greyscale = false;
bool fast_image_scaling = true;

namespace {

BACK_BUFFER* registered_back_buffer = nullptr;

// The pixel block carries its element count in the word just before the first pixel, and the
// address of the allocation in front of that. Pixels start on a cache line, which keeps row
// copies and the vector kernels on aligned memory.
constexpr size_t PIXEL_ALIGNMENT = 64;
constexpr size_t PIXEL_HEADER_BYTES = 16;

COLOUR* allocate_pixels(INT_U64 count)
{
    INT_U64 bytes = count * sizeof(COLOUR) + PIXEL_ALIGNMENT + PIXEL_HEADER_BYTES;
    if (count > 0xFFFFFFFFull || bytes > SIZE_MAX / 2)
        return nullptr;
    unsigned char* block = new (std::nothrow) unsigned char[static_cast<size_t>(bytes)]();
    if (!block)
        return nullptr;
    uintptr_t start = reinterpret_cast<uintptr_t>(block) + PIXEL_HEADER_BYTES;
    unsigned char* first = block + ((start + PIXEL_ALIGNMENT - 1) / PIXEL_ALIGNMENT * PIXEL_ALIGNMENT
                                       - reinterpret_cast<uintptr_t>(block));
    INT_U32 stored_count = static_cast<INT_U32>(count);
    memcpy(first - PIXEL_HEADER_BYTES, &block, sizeof block);
    memcpy(first - sizeof stored_count, &stored_count, sizeof stored_count);
    return reinterpret_cast<COLOUR*>(first);
}

void release_pixels(COLOUR* pixels)
{
    if (!pixels)
        return;
    unsigned char* block = nullptr;
    memcpy(&block, reinterpret_cast<unsigned char*>(pixels) - PIXEL_HEADER_BYTES, sizeof block);
    delete[] block;
}

INT_S32 clamp(INT_S32 value, INT_S32 low, INT_S32 high)
{
    return value < low ? low : (value > high ? high : value);
}

void order(INT_S32& a, INT_S32& b)
{
    if (a > b) {
        INT_S32 held = a;
        a = b;
        b = held;
    }
}

// Stream images are refused above this many pixels (512 MiB) even when the device holds that
// much: a damaged or hostile file must not be able to ask for more memory than a screen needs.
constexpr INT_U64 STREAM_MAX_PIXELS = 128ull * 1024 * 1024;
const char RAW_MAGIC[10] = { 'o', 'r', 'l', 'u', 'r', 'a', 'w', 'i', 'm', 'g' };
constexpr INT_U8 RAW_VERSION = 1;

} // namespace

BACK_BUFFER* graphics_back_buffer() { return registered_back_buffer; }
void set_graphics_back_buffer(BACK_BUFFER* image) { registered_back_buffer = image; }

BACK_BUFFER::~BACK_BUFFER()
{
    if (registered_back_buffer == this)
        registered_back_buffer = nullptr;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Row kernels
// ---------------------------------------------------------------------------------------------
// Each walks height rows of width pixels, the destination and source advancing by their own
// stride. Only the blend kernels have vector forms; the others are bound by memory anyway.

void kernel_copy_rows(COLOUR* d, ptrdiff_t d_stride, const COLOUR* s, ptrdiff_t s_stride, INT_S32 width,
    INT_S32 height)
{
    size_t bytes = static_cast<size_t>(width) * sizeof(COLOUR);
    // Only a blit of an image onto itself can overlap; everything else is a plain row copy.
    const COLOUR* s_end = s + (height - 1) * s_stride + width;
    const COLOUR* d_end = d + (height - 1) * d_stride + width;
    bool overlap = d < s_end && s < d_end;
    if (width == d_stride && width == s_stride) {
        if (overlap)
            memmove(d, s, bytes * static_cast<size_t>(height));
        else
            memcpy(d, s, bytes * static_cast<size_t>(height));
        return;
    }
    if (overlap && d > s) {
        // Bottom up, so that no source row is overwritten before it is read.
        for (INT_S32 y = height - 1; y >= 0; --y)
            memmove(d + y * d_stride, s + y * s_stride, bytes);
        return;
    }
    for (INT_S32 y = 0; y < height; ++y, d += d_stride, s += s_stride)
        memmove(d, s, bytes);
}

void kernel_fill_rows(COLOUR* d, ptrdiff_t d_stride, INT_S32 width, INT_S32 height, COLOUR colour)
{
    INT_U32 value = colour.value;
    INT_U32* first = reinterpret_cast<INT_U32*>(d);
    for (INT_S32 x = 0; x < width; ++x)
        first[x] = value;
    // Later rows copy the first: a row copy is faster than a store loop.
    size_t bytes = static_cast<size_t>(width) * sizeof(COLOUR);
    for (INT_S32 y = 1; y < height; ++y)
        memcpy(d + y * d_stride, d, bytes);
}

void kernel_mask_set_rows(COLOUR* d, ptrdiff_t d_stride, const COLOUR* s, ptrdiff_t s_stride, INT_S32 width,
    INT_S32 height)
{
    for (INT_S32 y = 0; y < height; ++y, d += d_stride, s += s_stride)
        for (INT_S32 x = 0; x < width; ++x)
            d[x].value = (d[x].value & 0x00FFFFFFu) | ((s[x].value & 0xFF000000u) ? 0xFF000000u : 0);
}

void kernel_mask_multiply_rows(COLOUR* d, ptrdiff_t d_stride, const COLOUR* s, ptrdiff_t s_stride, INT_S32 width,
    INT_S32 height)
{
    for (INT_S32 y = 0; y < height; ++y, d += d_stride, s += s_stride)
        for (INT_S32 x = 0; x < width; ++x) {
            INT_U32 a = div255((d[x].value >> 24) * (s[x].value >> 24));
            d[x].value = (d[x].value & 0x00FFFFFFu) | (a << 24);
        }
}

#if defined(__SSE2__)
#include <emmintrin.h>

namespace {

// Selects a where mask is all ones, b elsewhere.
inline __m128i select(__m128i mask, __m128i a, __m128i b)
{
    return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
}

// The scalar blend on four pixels at once, lane by lane in 16 bits: d * (255 - a) + s * a is at
// most 65025, so the sum neither overflows nor needs more than a logical shift. The alpha lane
// weighs d by 256 and s by 0, which hands back d's alpha without a separate merge.
inline __m128i blend4(__m128i d, __m128i s)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i colour_lanes = _mm_set_epi16(0, -1, -1, -1, 0, -1, -1, -1);
    const __m128i full = _mm_set_epi16(256, 255, 255, 255, 256, 255, 255, 255);
    __m128i s_lo = _mm_unpacklo_epi8(s, zero);
    __m128i s_hi = _mm_unpackhi_epi8(s, zero);
    __m128i a_lo = _mm_and_si128(_mm_shufflehi_epi16(_mm_shufflelo_epi16(s_lo, 0xFF), 0xFF), colour_lanes);
    __m128i a_hi = _mm_and_si128(_mm_shufflehi_epi16(_mm_shufflelo_epi16(s_hi, 0xFF), 0xFF), colour_lanes);
    __m128i r_lo = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(d, zero), _mm_sub_epi16(full, a_lo)),
                                      _mm_mullo_epi16(s_lo, a_lo)),
        8);
    __m128i r_hi = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(d, zero), _mm_sub_epi16(full, a_hi)),
                                      _mm_mullo_epi16(s_hi, a_hi)),
        8);
    return _mm_packus_epi16(r_lo, r_hi);
}

void blend_row_sse2(COLOUR* d, const COLOUR* s, INT_S32 width)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i limit = _mm_set1_epi32(COLOUR_OPAQUE_LIMIT - 1);
    INT_S32 x = 0;
    for (; x + 4 <= width; x += 4) {
        __m128i sv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + x));
        __m128i a32 = _mm_srli_epi32(sv, 24);
        __m128i opaque = _mm_cmpgt_epi32(a32, limit);
        if (_mm_movemask_epi8(opaque) == 0xFFFF) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x), sv);
            continue;
        }
        __m128i clear = _mm_cmpeq_epi32(a32, zero);
        if (_mm_movemask_epi8(clear) == 0xFFFF)
            continue;
        __m128i dv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(d + x));
        __m128i out = select(clear, dv, select(opaque, sv, blend4(dv, sv)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x), out);
    }
    for (; x < width; ++x)
        blend_colour(d[x], s[x]);
}

} // namespace
#endif

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

namespace {

// Eight pixels a step on processors that have AVX2; chosen at run time, so the program still
// runs on those that do not.
__attribute__((target("avx2"))) void blend_row_avx2(COLOUR* d, const COLOUR* s, INT_S32 width)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i limit = _mm256_set1_epi32(COLOUR_OPAQUE_LIMIT - 1);
    const __m256i colour_lanes = _mm256_set_epi16(0, -1, -1, -1, 0, -1, -1, -1, 0, -1, -1, -1, 0, -1, -1, -1);
    const __m256i full
        = _mm256_set_epi16(256, 255, 255, 255, 256, 255, 255, 255, 256, 255, 255, 255, 256, 255, 255, 255);
    INT_S32 x = 0;
    for (; x + 8 <= width; x += 8) {
        __m256i sv = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + x));
        __m256i a32 = _mm256_srli_epi32(sv, 24);
        __m256i opaque = _mm256_cmpgt_epi32(a32, limit);
        if (_mm256_movemask_epi8(opaque) == -1) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + x), sv);
            continue;
        }
        __m256i clear = _mm256_cmpeq_epi32(a32, zero);
        if (_mm256_movemask_epi8(clear) == -1)
            continue;
        __m256i dv = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d + x));
        __m256i s_lo = _mm256_unpacklo_epi8(sv, zero);
        __m256i s_hi = _mm256_unpackhi_epi8(sv, zero);
        __m256i a_lo = _mm256_and_si256(_mm256_shufflehi_epi16(_mm256_shufflelo_epi16(s_lo, 0xFF), 0xFF), colour_lanes);
        __m256i a_hi = _mm256_and_si256(_mm256_shufflehi_epi16(_mm256_shufflelo_epi16(s_hi, 0xFF), 0xFF), colour_lanes);
        __m256i r_lo = _mm256_srli_epi16(
            _mm256_add_epi16(_mm256_mullo_epi16(_mm256_unpacklo_epi8(dv, zero), _mm256_sub_epi16(full, a_lo)),
                _mm256_mullo_epi16(s_lo, a_lo)),
            8);
        __m256i r_hi = _mm256_srli_epi16(
            _mm256_add_epi16(_mm256_mullo_epi16(_mm256_unpackhi_epi8(dv, zero), _mm256_sub_epi16(full, a_hi)),
                _mm256_mullo_epi16(s_hi, a_hi)),
            8);
        __m256i mixed = _mm256_packus_epi16(r_lo, r_hi);
        __m256i out = _mm256_blendv_epi8(_mm256_blendv_epi8(mixed, sv, opaque), dv, clear);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + x), out);
    }
    for (; x < width; ++x)
        blend_colour(d[x], s[x]);
}

} // namespace
#endif

namespace {

[[maybe_unused]] void blend_row_scalar(COLOUR* d, const COLOUR* s, INT_S32 width)
{
    for (INT_S32 x = 0; x < width; ++x)
        blend_colour(d[x], s[x]);
}

typedef void (*BLEND_ROW)(COLOUR* d, const COLOUR* s, INT_S32 width);

BLEND_ROW choose_blend_row()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2"))
        return blend_row_avx2;
#endif
#if defined(__SSE2__)
    return blend_row_sse2;
#else
    return blend_row_scalar;
#endif
}

} // namespace

void kernel_blend_rows(COLOUR* d, ptrdiff_t d_stride, const COLOUR* s, ptrdiff_t s_stride, INT_S32 width,
    INT_S32 height)
{
    static const BLEND_ROW blend_row = choose_blend_row();
    for (INT_S32 y = 0; y < height; ++y, d += d_stride, s += s_stride)
        blend_row(d, s, width);
}

void kernel_blend_fill_rows(COLOUR* d, ptrdiff_t d_stride, INT_S32 width, INT_S32 height, COLOUR colour)
{
    INT_U32 a = colour.alpha();
    if (a == 0)
        return;
    if (a >= COLOUR_OPAQUE_LIMIT) {
        kernel_fill_rows(d, d_stride, width, height, colour);
        return;
    }
    // The source's share of every pixel is the same: work it out once.
    INT_U32 inverse = 255 - a;
    INT_U32 source_rb = (colour.value & 0x00FF00FFu) * a;
    INT_U32 source_g = (colour.value & 0x0000FF00u) * a;
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const __m128i inverse16 = _mm_set1_epi16(static_cast<short>(inverse));
    const __m128i source_lo
        = _mm_mullo_epi16(_mm_unpacklo_epi8(_mm_set1_epi32(static_cast<int>(colour.value)), zero), _mm_set1_epi16(static_cast<short>(a)));
    const __m128i alpha_mask = _mm_set1_epi32(static_cast<int>(0xFF000000u));
#endif
    for (INT_S32 y = 0; y < height; ++y, d += d_stride) {
        INT_S32 x = 0;
#if defined(__SSE2__)
        for (; x + 4 <= width; x += 4) {
            __m128i dv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(d + x));
            __m128i r_lo = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(dv, zero), inverse16), source_lo), 8);
            __m128i r_hi = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(dv, zero), inverse16), source_lo), 8);
            __m128i out = select(alpha_mask, dv, _mm_packus_epi16(r_lo, r_hi));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x), out);
        }
#endif
        for (; x < width; ++x) {
            INT_U32 v = d[x].value;
            INT_U32 rb = (((v & 0x00FF00FFu) * inverse + source_rb) >> 8) & 0x00FF00FFu;
            INT_U32 g = (((v & 0x0000FF00u) * inverse + source_g) >> 8) & 0x0000FF00u;
            d[x].value = (v & 0xFF000000u) | rb | g;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Construction and size
// ---------------------------------------------------------------------------------------------

IMAGE::IMAGE()
{
    set_size(-1, -1);
}

IMAGE::IMAGE(INT_S16 new_width, INT_S16 new_height)
{
    set_size(new_width, new_height);
}

IMAGE::~IMAGE()
{
    free_pixels();
}

void IMAGE::free_pixel_block(COLOUR* block)
{
    release_pixels(block);
}

void IMAGE::free_pixels()
{
    release_pixels(pixels);
    pixels = nullptr;
}

void IMAGE::set_size(INT_S16 new_width, INT_S16 new_height)
{
    resize_pixels(new_width, new_height, true);
}

bool IMAGE::resize_pixels(INT_S32 new_width, INT_S32 new_height, bool fatal_on_failure)
{
    if (locked)
        return true;
    max_width = 0;
    max_height = 0;
    if (pixels && new_width == width && new_height == height) {
        mark_dirty(0, 0, static_cast<INT_S16>(width - 1), static_cast<INT_S16>(height - 1));
        set_clip(0, 0, static_cast<INT_S16>(width - 1), static_cast<INT_S16>(height - 1));
        return true;
    }
    free_pixels();
    if (new_width < 1 || new_height < 1 || new_width > 32767 || new_height > 32767) {
        width = height = stride = 0;
        clear_dirty();
        clip_left = clip_right = clip_top = clip_bottom = -1;
        clip_valid = 1;
        return true;
    }
    if (width > 0 && height > 0)
        mark_dirty(0, 0, static_cast<INT_S16>(width - 1), static_cast<INT_S16>(height - 1));

    INT_S32 new_stride = new_width;
    if (row_alignment >= 2)
        new_stride = (new_width + row_alignment - 1) / row_alignment * row_alignment;
    else if (row_alignment <= 0)
        new_stride = (new_width + 1) & ~1;
    // A stride must still fit its 16-bit field; the widest images simply go unpadded.
    if (new_stride > 32767)
        new_stride = new_width;

    INT_S32 rows = new_height + (extra_rows > 0 ? extra_rows : 0);
    pixels = allocate_pixels(static_cast<INT_U64>(rows) * static_cast<INT_U64>(new_stride));
    if (!pixels) {
        width = height = stride = 0;
        clip_left = clip_right = clip_top = clip_bottom = -1;
        clip_valid = 1;
        if (fatal_on_failure)
            fatal_error(0x0020, nullptr);
        return false;
    }
    width = static_cast<INT_S16>(new_width);
    height = static_cast<INT_S16>(new_height);
    stride = static_cast<INT_S16>(new_stride);
    set_clip(0, 0, static_cast<INT_S16>(width - 1), static_cast<INT_S16>(height - 1));
    clip_valid = 1;
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Clip and dirty rectangle
// ---------------------------------------------------------------------------------------------

void IMAGE::set_clip(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2)
{
    if (!pixels || width < 1 || height < 1) {
        clip_left = clip_right = clip_top = clip_bottom = -1;
        return;
    }
    INT_S32 left = x1 - x_origin, right = x2 - x_origin, top = y1 - y_origin, bottom = y2 - y_origin;
    order(left, right);
    order(top, bottom);
    clip_left = static_cast<INT_S16>(clamp(left, 0, width - 1));
    clip_right = static_cast<INT_S16>(clamp(right, 0, width - 1));
    clip_top = static_cast<INT_S16>(clamp(top, 0, height - 1));
    clip_bottom = static_cast<INT_S16>(clamp(bottom, 0, height - 1));
}

void IMAGE::intersect_clip(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2)
{
    if (clip_is_empty())
        return;
    INT_S32 left = x1 - x_origin, right = x2 - x_origin, top = y1 - y_origin, bottom = y2 - y_origin;
    order(left, right);
    order(top, bottom);
    // Tested before clamping: a rectangle wholly off the image must not clamp onto its edge.
    if (right < clip_left || left > clip_right || bottom < clip_top || top > clip_bottom) {
        clip_left = clip_right = clip_top = clip_bottom = -1;
        return;
    }
    clip_left = static_cast<INT_S16>(left > clip_left ? left : clip_left);
    clip_right = static_cast<INT_S16>(right < clip_right ? right : clip_right);
    clip_top = static_cast<INT_S16>(top > clip_top ? top : clip_top);
    clip_bottom = static_cast<INT_S16>(bottom < clip_bottom ? bottom : clip_bottom);
}

void IMAGE::mark_dirty(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2)
{
    if (width < 1 || height < 1)
        return;
    INT_S32 left = clamp(x1 - x_origin, 0, width - 1), right = clamp(x2 - x_origin, 0, width - 1);
    INT_S32 top = clamp(y1 - y_origin, 0, height - 1), bottom = clamp(y2 - y_origin, 0, height - 1);
    order(left, right);
    order(top, bottom);
    if (dirty_left == -1 || left < dirty_left)
        dirty_left = static_cast<INT_S16>(left);
    if (dirty_right == -1 || right > dirty_right)
        dirty_right = static_cast<INT_S16>(right);
    if (dirty_top == -1 || top < dirty_top)
        dirty_top = static_cast<INT_S16>(top);
    if (dirty_bottom == -1 || bottom > dirty_bottom)
        dirty_bottom = static_cast<INT_S16>(bottom);
}

bool IMAGE::clip_box(INT_S32& x1, INT_S32& y1, INT_S32& x2, INT_S32& y2)
{
    if (clip_is_empty())
        return false;
    if (!pixels)
        fatal_error(0x0002, nullptr);
    x1 -= x_origin;
    x2 -= x_origin;
    y1 -= y_origin;
    y2 -= y_origin;
    order(x1, x2);
    order(y1, y2);
    if (x2 < clip_left || x1 > clip_right || y2 < clip_top || y1 > clip_bottom)
        return false;
    x1 = x1 < clip_left ? clip_left : x1;
    x2 = x2 > clip_right ? clip_right : x2;
    y1 = y1 < clip_top ? clip_top : y1;
    y2 = y2 > clip_bottom ? clip_bottom : y2;
    return true;
}

void IMAGE::mark_dirty_pixels(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2)
{
    mark_dirty(static_cast<INT_S16>(x1 + x_origin), static_cast<INT_S16>(y1 + y_origin),
        static_cast<INT_S16>(x2 + x_origin), static_cast<INT_S16>(y2 + y_origin));
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Fills
// ---------------------------------------------------------------------------------------------

void IMAGE::fill(const COLOUR& colour)
{
    if (clip_is_empty())
        return;
    if (!pixels)
        fatal_error(0x0002, nullptr);
    mark_dirty_pixels(clip_left, clip_top, clip_right, clip_bottom);
    kernel_fill_rows(row(clip_top) + clip_left, stride, clip_right - clip_left + 1, clip_bottom - clip_top + 1, colour);
}

void IMAGE::clear(const COLOUR& colour, bool ignore_clip)
{
    if (!ignore_clip) {
        if (!clip_valid)
            return;
        fill(colour);
        return;
    }
    INT_S16 saved[4] = { clip_left, clip_right, clip_top, clip_bottom };
    set_clip(static_cast<INT_S16>(x_origin), static_cast<INT_S16>(y_origin), static_cast<INT_S16>(x_origin + width - 1),
        static_cast<INT_S16>(y_origin + height - 1));
    fill(colour);
    clip_left = saved[0];
    clip_right = saved[1];
    clip_top = saved[2];
    clip_bottom = saved[3];
}

void IMAGE::fill_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour, bool blend)
{
    INT_S32 left = x1, top = y1, right = x2, bottom = y2;
    if (!clip_box(left, top, right, bottom))
        return;
    if (blend && colour.alpha() == 0)
        return;
    mark_dirty_pixels(left, top, right, bottom);
    COLOUR* first = row(top) + left;
    if (blend)
        kernel_blend_fill_rows(first, stride, right - left + 1, bottom - top + 1, colour);
    else
        kernel_fill_rows(first, stride, right - left + 1, bottom - top + 1, colour);
}

void IMAGE::darken_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, INT_S32 percent)
{
    if (percent < 1)
        return;
    if (percent > 100)
        percent = 100;
    INT_S32 left = x1, top = y1, right = x2, bottom = y2;
    if (!clip_box(left, top, right, bottom))
        return;
    mark_dirty_pixels(left, top, right, bottom);
    INT_U32 factor = static_cast<INT_U32>(100 - percent);
    for (INT_S32 y = top; y <= bottom; ++y) {
        COLOUR* p = row(y);
        for (INT_S32 x = left; x <= right; ++x) {
            INT_U32 v = p[x].value;
            INT_U32 r = (v & 0xFF) * factor / 100;
            INT_U32 g = ((v >> 8) & 0xFF) * factor / 100;
            INT_U32 b = ((v >> 16) & 0xFF) * factor / 100;
            p[x].value = (v & 0xFF000000u) | r | (g << 8) | (b << 16);
        }
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Block transfer
// ---------------------------------------------------------------------------------------------

void IMAGE::blit(IMAGE* destination, const IMAGE* source, INT_S16 src_x_in, INT_S16 src_y_in, INT_S16 dest_x_in,
    INT_S16 dest_y_in, INT_S16 width_in, INT_S16 height_in, INT_U8 mode)
{
    if (!destination || !source || destination->clip_is_empty())
        return;
    if (!destination->pixels || !source->pixels || width_in < 1 || height_in < 1)
        return;
    const IMAGE& d = *destination;
    INT_S32 src_x = src_x_in, src_y = src_y_in, w = width_in, h = height_in;
    INT_S32 dest_x = dest_x_in - d.x_origin, dest_y = dest_y_in - d.y_origin;

    if (dest_x < d.clip_left) {
        INT_S32 shift = d.clip_left - dest_x;
        src_x += shift;
        dest_x += shift;
        w -= shift;
    }
    if (dest_x >= d.width)
        w = 0;
    if (dest_y < d.clip_top) {
        INT_S32 shift = d.clip_top - dest_y;
        src_y += shift;
        dest_y += shift;
        h -= shift;
    }
    if (dest_y >= d.height)
        h = 0;
    if (src_x < 0) {
        w += src_x;
        dest_x -= src_x;
        src_x = 0;
    }
    if (src_x >= source->width)
        w = 0;
    if (src_y < 0) {
        h += src_y;
        dest_y -= src_y;
        src_y = 0;
    }
    if (src_y >= source->height)
        h = 0;
    if (w < 1 || h < 1)
        return;
    if (w > source->width - src_x)
        w = source->width - src_x;
    if (h > source->height - src_y)
        h = source->height - src_y;
    if (w > d.clip_right - dest_x + 1)
        w = d.clip_right - dest_x + 1;
    if (h > d.clip_bottom - dest_y + 1)
        h = d.clip_bottom - dest_y + 1;
    if (w < 1 || h < 1)
        return;

    destination->mark_dirty_pixels(dest_x, dest_y, dest_x + w - 1, dest_y + h - 1);
    COLOUR* to = d.row(dest_y) + dest_x;
    const COLOUR* from = source->row(src_y) + src_x;
    switch (mode) {
    case BLIT_COPY:
        kernel_copy_rows(to, d.stride, from, source->stride, w, h);
        break;
    case BLIT_MASK_SET:
        kernel_mask_set_rows(to, d.stride, from, source->stride, w, h);
        break;
    case BLIT_MASK_MULTIPLY:
        kernel_mask_multiply_rows(to, d.stride, from, source->stride, w, h);
        break;
    default:
        kernel_blend_rows(to, d.stride, from, source->stride, w, h);
        break;
    }
}

void IMAGE::draw(INT_S16 x, INT_S16 y, IMAGE* target, INT_U8 mode) const
{
    if (!target)
        target = graphics_back_buffer();
    if (!target || target == this)
        return;
    blit(target, this, 0, 0, x, y, width, height, mode);
}

void IMAGE::draw_part(INT_S16 x, INT_S16 y, INT_S16 src_x, INT_S16 src_y, INT_S16 part_width, INT_S16 part_height,
    IMAGE* target, INT_U8 mode) const
{
    if (!target)
        target = graphics_back_buffer();
    if (!target || target == this)
        return;
    blit(target, this, src_x, src_y, x, y, part_width, part_height, mode);
}

void IMAGE::grab(INT_S16 x, INT_S16 y, const IMAGE* source, INT_U8 mode)
{
    if (!source)
        source = graphics_back_buffer();
    if (!source || source == this)
        return;
    blit(this, source, x, y, x_origin, y_origin, width, height, mode);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Filters
// ---------------------------------------------------------------------------------------------

template <typename OPERATION>
void IMAGE::filter_clip(OPERATION operation)
{
    if (clip_is_empty())
        return;
    if (!pixels)
        fatal_error(0x0002, nullptr);
    mark_dirty_pixels(clip_left, clip_top, clip_right, clip_bottom);
    for (INT_S32 y = clip_top; y <= clip_bottom; ++y) {
        COLOUR* p = row(y);
        for (INT_S32 x = clip_left; x <= clip_right; ++x)
            operation(p[x]);
    }
}

void IMAGE::fill_below_alpha(const COLOUR& colour, INT_U8 threshold)
{
    COLOUR with = colour;
    filter_clip([with, threshold](COLOUR& pixel) {
        if (pixel.alpha() <= threshold)
            pixel = with;
    });
}

void IMAGE::replace_colour(const COLOUR& from, const COLOUR& to, bool ignore_alpha)
{
    INT_U32 match = from.value, replacement = to.value;
    if (!ignore_alpha) {
        filter_clip([match, replacement](COLOUR& pixel) {
            if (pixel.value == match)
                pixel.value = replacement;
        });
        return;
    }
    match &= 0x00FFFFFFu;
    replacement &= 0x00FFFFFFu;
    filter_clip([match, replacement](COLOUR& pixel) {
        if ((pixel.value & 0x00FFFFFFu) == match)
            pixel.value = (pixel.value & 0xFF000000u) | replacement;
    });
}

void IMAGE::set_alpha(INT_U8 alpha, bool multiply, bool keep_transparent)
{
    INT_U32 value = alpha;
    if (multiply) {
        filter_clip([value](COLOUR& pixel) { pixel.set_alpha(static_cast<INT_U8>(pixel.alpha() * value / 255)); });
        return;
    }
    if (keep_transparent) {
        filter_clip([value](COLOUR& pixel) {
            if (pixel.alpha())
                pixel.set_alpha(static_cast<INT_U8>(value));
        });
        return;
    }
    filter_clip([value](COLOUR& pixel) { pixel.set_alpha(static_cast<INT_U8>(value)); });
}

void IMAGE::recolour(const COLOUR& colour_r, const COLOUR& colour_g, const COLOUR& colour_b, bool keep_alpha)
{
    COLOUR r = colour_r, g = colour_g, b = colour_b;
    filter_clip([r, g, b, keep_alpha](COLOUR& pixel) {
        INT_U32 old_alpha = pixel.alpha();
        blend_mask_colours(pixel, r, g, b);
        if (keep_alpha)
            pixel.set_alpha(static_cast<INT_U8>(old_alpha * pixel.alpha() / 255));
    });
}

void IMAGE::tint(const COLOUR& colour)
{
    COLOUR with = colour;
    filter_clip([with](COLOUR& pixel) { tint_colour(pixel, with); });
}

void IMAGE::greyscale()
{
    if (fast_greyscale) {
        filter_clip([](COLOUR& pixel) {
            INT_U32 grey = (INT_U32(pixel.red()) + pixel.green() + pixel.blue()) / 3;
            pixel.value = (pixel.value & 0xFF000000u) | grey | (grey << 8) | (grey << 16);
        });
        return;
    }
    filter_clip([](COLOUR& pixel) {
        INT_U32 grey = (30 * INT_U32(pixel.red()) + 59 * INT_U32(pixel.green()) + 11 * INT_U32(pixel.blue())) / 100;
        pixel.value = (pixel.value & 0xFF000000u) | grey | (grey << 8) | (grey << 16);
    });
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Stream form
// ---------------------------------------------------------------------------------------------

namespace {

// Bytes between the device's position and its end: -1 when the device cannot say (it does not
// seek), -2 when it lost its place while finding out.
INT_S64 bytes_left(DATA_DEVICE* device)
{
    INT_U32 here = device->tell();
    if (!device->seek(0, true))
        return device->seek(here, false) ? -1 : -2;
    INT_U32 end = device->tell();
    if (!device->seek(here, false))
        return -2;
    return end >= here ? static_cast<INT_S64>(end - here) : 0;
}

} // namespace

bool IMAGE::get_from_data_device(DATA_DEVICE* device)
{
    if (!device)
        return set_last_error(ERROR_READ, "raw image: no device");
    char magic[sizeof RAW_MAGIC];
    INT_U8 version = 0;
    INT_U16 file_width = 0, file_height = 0;
    if (!device_read_bytes(device, magic, sizeof magic) || !device_read(device, &version)
        || !device_read(device, &file_width) || !device_read(device, &file_height))
        return set_last_error(ERROR_READ, "raw image: header cut short");
    if (memcmp(magic, RAW_MAGIC, sizeof magic) != 0)
        return set_last_error(ERROR_READ, "raw image: not a raw image");
    if (version != RAW_VERSION)
        return set_last_error(ERROR_READ, "raw image: unknown version");
    // Sides are signed 16 bits in memory: 32768 and above would be negative there.
    if (file_width > 32767 || file_height > 32767)
        return set_last_error(ERROR_READ, "raw image: side out of range");

    INT_U64 count = static_cast<INT_U64>(file_width) * file_height;
    if (count > STREAM_MAX_PIXELS)
        return set_last_error(ERROR_READ, "raw image: too many pixels");
    if (count) {
        INT_S64 left = bytes_left(device);
        if (left == -2)
            return set_last_error(ERROR_READ, "raw image: device lost its position");
        if (left >= 0 && static_cast<INT_U64>(left) < count * 4)
            return set_last_error(ERROR_READ, "raw image: pixel data cut short");
    }
    // A locked image cannot take another size, and rows of the old size would not hold the data.
    if (locked && (file_width != static_cast<INT_U16>(width) || file_height != static_cast<INT_U16>(height)) && count)
        return set_last_error(ERROR_READ, "raw image: image is locked at another size");
    if (!resize_pixels(count ? file_width : 0, count ? file_height : 0, false))
        return set_last_error(ERROR_READ, "raw image: no memory for pixels");
    if (!count)
        return true;

    INT_S32 row_bytes = static_cast<INT_S32>(file_width) * 4;
    for (INT_S32 y = 0; y < file_height; ++y) {
        INT_U32* p = reinterpret_cast<INT_U32*>(row(y));
        if (!device_read_bytes(device, p, row_bytes))
            return set_last_error(ERROR_READ, "raw image: pixel data cut short");
        for (INT_S32 x = 0; x < file_width; ++x) {
            INT_U32 v = device->swap_bytes ? swap32(p[x]) : p[x];
            p[x] = colour_swap(v);
        }
    }
    mark_dirty_pixels(0, 0, width - 1, height - 1);
    return true;
}

bool IMAGE::put_to_data_device(DATA_DEVICE* device) const
{
    if (!device)
        return set_last_error(ERROR_WRITE, "raw image: no device");
    INT_U16 out_width = pixels ? static_cast<INT_U16>(width) : 0;
    INT_U16 out_height = pixels ? static_cast<INT_U16>(height) : 0;
    if (!device_write_bytes(device, RAW_MAGIC, sizeof RAW_MAGIC) || !device_write(device, RAW_VERSION)
        || !device_write(device, out_width) || !device_write(device, out_height))
        return set_last_error(ERROR_WRITE, "raw image header");
    if (!out_width || !out_height)
        return true;
    INT_U32* buffer = new (std::nothrow) INT_U32[out_width];
    if (!buffer)
        return set_last_error(ERROR_WRITE, "raw image: no memory for a row");
    bool ok = true;
    for (INT_S32 y = 0; y < out_height && ok; ++y) {
        const COLOUR* p = row(y);
        for (INT_S32 x = 0; x < out_width; ++x) {
            INT_U32 v = colour_swap(p[x].value);
            buffer[x] = device->swap_bytes ? swap32(v) : v;
        }
        ok = device_write_bytes(device, buffer, static_cast<INT_S32>(out_width) * 4);
    }
    delete[] buffer;
    if (!ok)
        return set_last_error(ERROR_WRITE, "raw image pixels");
    return true;
}
