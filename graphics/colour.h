// The framework's 32-bit colour value and the per-pixel arithmetic that drawing code calls.
//
// A COLOUR is one word: red in bits 0-7, green 8-15, blue 16-23, alpha 24-31, so the bytes in
// memory on the little-endian target are R, G, B, A. People, constants and files write the
// opposite order, 0xAARRGGBB; colour_swap turns one into the other. Alpha 0 means "not set";
// an alpha of COLOUR_OPAQUE_LIMIT or above counts as opaque in every blend.
//
// [SECTION] The value
// [SECTION] Constants
// [SECTION] Text, HSL and CMYK
// [SECTION] Per-pixel arithmetic (inline: filter loops call these once per pixel)
#pragma once

#include "base/orlu_types.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] The value
// ---------------------------------------------------------------------------------------------

constexpr INT_U32 colour_swap(INT_U32 value)
{
    return (value & 0xFF00FF00u) | ((value >> 16) & 0xFFu) | ((value & 0xFFu) << 16);
}

struct COLOUR {
    INT_U32 value { 0 };

    constexpr COLOUR() = default;
    constexpr explicit COLOUR(INT_U32 raw) : value(raw) {}
    // From 0xAARRGGBB, the order of constants and text.
    static constexpr COLOUR from_argb(INT_U32 argb) { return COLOUR(colour_swap(argb)); }
    static constexpr COLOUR from_channels(INT_U8 r, INT_U8 g, INT_U8 b, INT_U8 a)
    {
        return COLOUR(INT_U32(r) | (INT_U32(g) << 8) | (INT_U32(b) << 16) | (INT_U32(a) << 24));
    }

    [[nodiscard]] constexpr INT_U8 red() const { return INT_U8(value); }
    [[nodiscard]] constexpr INT_U8 green() const { return INT_U8(value >> 8); }
    [[nodiscard]] constexpr INT_U8 blue() const { return INT_U8(value >> 16); }
    [[nodiscard]] constexpr INT_U8 alpha() const { return INT_U8(value >> 24); }
    [[nodiscard]] constexpr INT_U32 argb() const { return colour_swap(value); }

    void set_alpha(INT_U8 a) { value = (value & 0x00FFFFFFu) | (INT_U32(a) << 24); }

    constexpr bool operator==(const COLOUR& other) const { return value == other.value; }
    constexpr bool operator!=(const COLOUR& other) const { return value != other.value; }
};
static_assert(sizeof(COLOUR) == 4, "a COLOUR is exactly one pixel word");

// ---------------------------------------------------------------------------------------------
// [SECTION] Constants
// ---------------------------------------------------------------------------------------------

constexpr INT_U8 COLOUR_OPAQUE_LIMIT = 250;
constexpr COLOUR COLOUR_INVISIBLE {};

constexpr COLOUR COLOUR_ORANGE = COLOUR::from_argb(0xFFFF8000u);
constexpr COLOUR COLOUR_SKY = COLOUR::from_argb(0xFF0066CCu);
constexpr COLOUR COLOUR_WHITE = COLOUR::from_argb(0xFFFFFFFFu);
constexpr COLOUR COLOUR_MAGENTA = COLOUR::from_argb(0xFFFF00FFu);
constexpr COLOUR COLOUR_BLUE = COLOUR::from_argb(0xFF0000FFu);
constexpr COLOUR COLOUR_CYAN = COLOUR::from_argb(0xFF00FFFFu);
constexpr COLOUR COLOUR_GREEN = COLOUR::from_argb(0xFF00FF00u);
constexpr COLOUR COLOUR_YELLOW = COLOUR::from_argb(0xFFFFFF00u);
constexpr COLOUR COLOUR_RED = COLOUR::from_argb(0xFFFF0000u);
constexpr COLOUR COLOUR_LIGHT_GREY = COLOUR::from_argb(0xFFC0C0C0u);
constexpr COLOUR COLOUR_PURPLE = COLOUR::from_argb(0xFF800080u);
constexpr COLOUR COLOUR_NAVY = COLOUR::from_argb(0xFF000080u);
constexpr COLOUR COLOUR_TEAL = COLOUR::from_argb(0xFF008080u);
constexpr COLOUR COLOUR_DARK_GREEN = COLOUR::from_argb(0xFF008000u);
constexpr COLOUR COLOUR_OLIVE = COLOUR::from_argb(0xFF808000u);
constexpr COLOUR COLOUR_MAROON = COLOUR::from_argb(0xFF800000u);
constexpr COLOUR COLOUR_GREY = COLOUR::from_argb(0xFF808080u);
constexpr COLOUR COLOUR_BLACK = COLOUR::from_argb(0xFF000000u);
constexpr COLOUR COLOUR_DEEP_VIOLET = COLOUR::from_argb(0xFF240A5Du);

constexpr COLOUR COLOUR_T_ORANGE = COLOUR::from_argb(0xE0FF8000u);
constexpr COLOUR COLOUR_T_SKY = COLOUR::from_argb(0xE00066CCu);
constexpr COLOUR COLOUR_T_WHITE = COLOUR::from_argb(0xE0FFFFFFu);
constexpr COLOUR COLOUR_T_MAGENTA = COLOUR::from_argb(0xE0FF00FFu);
constexpr COLOUR COLOUR_T_BLUE = COLOUR::from_argb(0xE00000FFu);
constexpr COLOUR COLOUR_T_CYAN = COLOUR::from_argb(0xE000FFFFu);
constexpr COLOUR COLOUR_T_GREEN = COLOUR::from_argb(0xE000FF00u);
constexpr COLOUR COLOUR_T_YELLOW = COLOUR::from_argb(0xE0FFFF00u);
constexpr COLOUR COLOUR_T_RED = COLOUR::from_argb(0xE0FF0000u);
constexpr COLOUR COLOUR_T_LIGHT_GREY = COLOUR::from_argb(0xE0C0C0C0u);
constexpr COLOUR COLOUR_T_PURPLE = COLOUR::from_argb(0xE0800080u);
constexpr COLOUR COLOUR_T_NAVY = COLOUR::from_argb(0xE0000080u);
constexpr COLOUR COLOUR_T_TEAL = COLOUR::from_argb(0xE0008080u);
constexpr COLOUR COLOUR_T_DARK_GREEN = COLOUR::from_argb(0xE0008000u);
constexpr COLOUR COLOUR_T_OLIVE = COLOUR::from_argb(0xE0808000u);
constexpr COLOUR COLOUR_T_MAROON = COLOUR::from_argb(0xE0800000u);
constexpr COLOUR COLOUR_T_GREY = COLOUR::from_argb(0xE0808080u);
constexpr COLOUR COLOUR_T_BLACK = COLOUR::from_argb(0xE0000000u);

// ---------------------------------------------------------------------------------------------
// [SECTION] Text, HSL and CMYK
// ---------------------------------------------------------------------------------------------
// Fractions are doubles from 0 to 1. Conversions to a channel truncate and keep the low 8 bits;
// nothing rounds to nearest.

// Reads "#AARRGGBB", "#RRGGBB", "%a,r,g,b", "&a,r,g,b", "@a,r,g,b" and the "AHSL" / "ACMYK"
// forms of each notation. A null text, or one whose first character is none of # % & @, leaves
// the destination unchanged. Malformed numbers are not detected: what was not read counts 0.
void colour_from_string(COLOUR& destination, const char* text);
// Writes "#%08X" of the 0xAARRGGBB value into buffer, which must hold 10 characters.
void colour_to_string(const COLOUR& colour, char* buffer);

void colour_from_hsl(COLOUR& destination, double alpha, double hue, double saturation, double lightness);
void colour_to_hsl(const COLOUR& colour, double& alpha, double& hue, double& saturation, double& lightness);
// Not the inverse of colour_to_cmyk when black is above 0: the channels then wrap in 8 bits.
void colour_from_cmyk(COLOUR& destination, double alpha, double cyan, double magenta, double yellow, double black);
void colour_to_cmyk(const COLOUR& colour, double& alpha, double& cyan, double& magenta, double& yellow, double& black);

// Opaque white for a dark colour (R + G + B below 384), opaque black otherwise.
void contrast_colour(COLOUR& destination, const COLOUR& colour);
// Moves the lightness of colour by amount, the other way when that would leave 0..1; the
// destination keeps its own alpha.
void shift_lightness(COLOUR& destination, const COLOUR& colour, double amount);
// Answers true when the two colours are too close in hue, saturation and lightness (all below
// 0.2 apart); unless test_only, colour is then moved 0.2 in lightness away from other.
bool separate_colour(COLOUR& colour, const COLOUR& other, bool test_only);

// The report that darken_colour makes for a percentage outside -100..100.
void report_darken_percentage();

// ---------------------------------------------------------------------------------------------
// [SECTION] Per-pixel arithmetic
// ---------------------------------------------------------------------------------------------

// Exact x / 255 for 0 <= x <= 65534 (any product of two channels) without a division.
inline INT_U32 div255(INT_U32 x) { return (x + 1 + (x >> 8)) >> 8; }

// Source-over of colour s at alpha a (1..249) on d; the result keeps d's alpha. Red and blue are
// mixed in one multiplication, green in another: each channel's sum stays below 65536, so the
// two lanes never carry into each other. The division is by 256, not 255, on purpose.
inline INT_U32 blend_pixel_value(INT_U32 d, INT_U32 s, INT_U32 a)
{
    INT_U32 inverse = 255 - a;
    INT_U32 rb = (((d & 0x00FF00FFu) * inverse + (s & 0x00FF00FFu) * a) >> 8) & 0x00FF00FFu;
    INT_U32 g = (((d & 0x0000FF00u) * inverse + (s & 0x0000FF00u) * a) >> 8) & 0x0000FF00u;
    return (d & 0xFF000000u) | rb | g;
}

// Blends colour over pixel with an explicit alpha instead of the colour's own: 0 leaves the
// pixel, COLOUR_OPAQUE_LIMIT and above store the colour whole (its own alpha included).
inline void blend_colour_alpha(COLOUR& pixel, const COLOUR& colour, INT_U32 alpha)
{
    if (alpha == 0)
        return;
    if (alpha >= COLOUR_OPAQUE_LIMIT) {
        pixel = colour;
        return;
    }
    pixel.value = blend_pixel_value(pixel.value, colour.value, alpha);
}

// One pixel of source-over blending at the colour's own alpha.
inline void blend_colour(COLOUR& pixel, const COLOUR& colour)
{
    blend_colour_alpha(pixel, colour, colour.alpha());
}

// Recolours the pixel to colour while keeping its brightness pattern. A caller must not tint a
// black pixel with pure black (the formula has no answer for it; the result is then black).
inline void tint_colour(COLOUR& pixel, const COLOUR& colour)
{
    INT_S32 p = (INT_S32(pixel.red()) + pixel.green() + pixel.blue()) / 3;
    INT_S32 c = (INT_S32(colour.red()) + colour.green() + colour.blue()) / 3;
    INT_S32 t[3] = { colour.red(), colour.green(), colour.blue() };
    INT_S32 out[3];
    for (int i = 0; i < 3; ++i) {
        if (p > c)
            out[i] = t[i] + (255 - t[i]) * (p - c) / (255 - c);
        else
            out[i] = c ? t[i] * p / c : 0;
    }
    pixel.value = (pixel.value & 0xFF000000u) | (INT_U32(out[0]) & 0xFF) | ((INT_U32(out[1]) & 0xFF) << 8)
        | ((INT_U32(out[2]) & 0xFF) << 16);
}

// Scales each colour channel by (100 - percent) / 100, cut to 255; a negative percent brightens.
// Outside -100..100 the pixel is left alone and the fault is reported on the image stream.
inline void darken_colour(COLOUR& pixel, INT_S8 percent)
{
    if (percent < -100 || percent > 100) {
        report_darken_percentage();
        return;
    }
    INT_U32 factor = INT_U32(100 - percent);
    INT_U32 r = pixel.red() * factor / 100;
    INT_U32 g = pixel.green() * factor / 100;
    INT_U32 b = pixel.blue() * factor / 100;
    if (r > 255)
        r = 255;
    if (g > 255)
        g = 255;
    if (b > 255)
        b = 255;
    pixel.value = (pixel.value & 0xFF000000u) | r | (g << 8) | (b << 16);
}

// Reads the pixel's red, green and blue as three mask weights and rebuilds it from the three
// colours. A skin drawn in pure red, green and blue so takes any three colours.
inline void blend_mask_colours(COLOUR& pixel, const COLOUR& colour_r, const COLOUR& colour_g, const COLOUR& colour_b)
{
    INT_U32 mr = pixel.red();
    INT_U32 mg = pixel.green();
    INT_U32 mb = pixel.blue();
    COLOUR result;
    INT_U32 total;
    if (mr && colour_r.alpha()) {
        result = colour_r;
        total = colour_r.alpha() * mr / 255;
        if (colour_g.alpha()) {
            blend_colour_alpha(result, colour_g, mg * colour_g.alpha() / 255);
            // The raw mask value, not the weighted one: layered masks add up to opaque quickly.
            total += mg;
        }
        if (colour_b.alpha()) {
            blend_colour_alpha(result, colour_b, mb * colour_b.alpha() / 255);
            total += mb;
        }
    } else if (mg && colour_g.alpha()) {
        result = colour_g;
        total = colour_g.alpha() * mg / 255;
        if (colour_b.alpha()) {
            blend_colour_alpha(result, colour_b, mb * colour_b.alpha() / 255);
            total += mb;
        }
    } else if (mb && colour_b.alpha()) {
        result = colour_b;
        total = colour_b.alpha() * mb / 255;
    } else {
        pixel = COLOUR_INVISIBLE;
        return;
    }
    if (total > 255)
        total = 255;
    pixel.value = (result.value & 0x00FFFFFFu) | (total << 24);
}
