// Colour value: text forms, model conversions and the per-pixel arithmetic.

#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "graphics/colour.h"
#include "base/debug_stream.h"

namespace {

COLOUR parsed(const char* text, COLOUR start = COLOUR(0x12345678u))
{
    COLOUR c = start;
    colour_from_string(c, text);
    return c;
}

COLOUR rgba(INT_U8 r, INT_U8 g, INT_U8 b, INT_U8 a) { return COLOUR::from_channels(r, g, b, a); }

} // namespace

TEST(COLOUR, layout_is_r_g_b_a_in_memory_and_constants_are_argb)
{
    COLOUR red = COLOUR_RED;
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(&red);
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0x00);
    EXPECT_EQ(bytes[2], 0x00);
    EXPECT_EQ(bytes[3], 0xFF);
    EXPECT_EQ(colour_swap(0xAA112233u), 0xAA332211u);
    EXPECT_EQ(colour_swap(colour_swap(0x01020304u)), 0x01020304u);
}

TEST(COLOUR, text_forms_and_unknown_notations)
{
    struct CASE {
        const char* text;
        COLOUR expected;
    } cases[] = {
        { "#FF0000", COLOUR(0xFF0000FFu) },
        { "#ff0000", COLOUR(0xFF0000FFu) },
        { "#80FF0000", COLOUR(0x800000FFu) },
        { "#AHSL FF000000", COLOUR(0xFF000000u) },
        { "#ahsl FF000080", COLOUR(0xFF808080u) },
        { "%ahsl 100,0,0,0", COLOUR(0xFF000000u) },
        // Percent: v * 255 / 100, truncated.
        { "%50,100,0,0", rgba(255, 0, 0, 127) },
        { "&255,0,128,0", rgba(0, 128, 0, 255) },
        // The low 8 bits only: 300 wraps to 44.
        { "&255,300,0,0", rgba(44, 0, 0, 255) },
        { "@1,1,0,0.5", rgba(255, 0, 127, 255) },
        // CMYK by the wrapping formula: (1 + 1) * 255 = 510 keeps its low byte, 254.
        { "%ACMYK 100,0,0,0,0", COLOUR(0xFFFFFFFFu) },
        { "%ACMYK 100,100,100,100,0", COLOUR(0xFF000000u) },
        { "%ACMYK 100,0,0,0,100", rgba(254, 254, 254, 255) },
        // An unknown notation leaves the destination.
        { "red", COLOUR(0x12345678u) },
        { "", COLOUR(0x12345678u) },
    };
    for (const CASE& c : cases)
        EXPECT_EQ(parsed(c.text).value, c.expected.value) << c.text;
    COLOUR c(7);
    colour_from_string(c, nullptr);
    EXPECT_EQ(c.value, 7u);
}

TEST(COLOUR, to_string_writes_argb)
{
    char buffer[16];
    colour_to_string(COLOUR_RED, buffer);
    EXPECT_STREQ(buffer, "#FFFF0000");
    colour_to_string(rgba(1, 2, 3, 4), buffer);
    EXPECT_STREQ(buffer, "#04010203");
    EXPECT_EQ(parsed(buffer), rgba(1, 2, 3, 4));
}

TEST(COLOUR, hsl_of_primaries_and_the_mirrored_hue)
{
    double a, h, s, l;
    colour_to_hsl(COLOUR_RED, a, h, s, l);
    EXPECT_DOUBLE_EQ(h, 0);
    EXPECT_DOUBLE_EQ(s, 1);
    EXPECT_DOUBLE_EQ(l, 0.5);
    EXPECT_DOUBLE_EQ(a, 1);
    colour_to_hsl(COLOUR_BLUE, a, h, s, l);
    EXPECT_DOUBLE_EQ(h, 4.0 / 6);
    // Magenta gives a negative hue, which is lifted by one.
    colour_to_hsl(COLOUR_MAGENTA, a, h, s, l);
    EXPECT_NEAR(h, 5.0 / 6, 1e-12);
    COLOUR back;
    colour_from_hsl(back, 1, 4.0 / 6, 1, 0.5);
    EXPECT_EQ(back, COLOUR_BLUE);
}

TEST(COLOUR, cmyk_of_a_colour)
{
    double a, c, m, y, k;
    colour_to_cmyk(rgba(255, 0, 51, 255), a, c, m, y, k);
    EXPECT_DOUBLE_EQ(k, 0);
    EXPECT_DOUBLE_EQ(c, 0);
    EXPECT_DOUBLE_EQ(m, 1);
    EXPECT_NEAR(y, 0.8, 1e-12);
}

TEST(COLOUR, contrast_threshold_is_384)
{
    COLOUR out;
    contrast_colour(out, rgba(128, 128, 128, 9));
    EXPECT_EQ(out.value, 0xFF000000u);
    contrast_colour(out, rgba(127, 128, 128, 9));
    EXPECT_EQ(out.value, 0xFFFFFFFFu);
}

TEST(COLOUR, shift_lightness_reflects_at_the_range_end)
{
    // (255, 204, 204) has lightness 0.9: +0.3 would leave the range, so it goes to 0.6.
    COLOUR out = rgba(0, 0, 0, 0x40);
    shift_lightness(out, rgba(255, 204, 204, 255), 0.3);
    double a, h, s, l;
    colour_to_hsl(out, a, h, s, l);
    EXPECT_NEAR(l, 0.6, 1.0 / 255);
    EXPECT_EQ(out.alpha(), 0x40); // the destination's alpha
    shift_lightness(out, rgba(255, 204, 204, 255), -0.3);
    colour_to_hsl(out, a, h, s, l);
    EXPECT_NEAR(l, 0.6, 1.0 / 255);
}

TEST(COLOUR, separate_colour_moves_only_close_colours)
{
    COLOUR near = rgba(100, 100, 100, 255);
    EXPECT_TRUE(separate_colour(near, rgba(110, 110, 110, 255), true));
    EXPECT_EQ(near, rgba(100, 100, 100, 255));
    EXPECT_TRUE(separate_colour(near, rgba(110, 110, 110, 255), false));
    double a, h, s, l;
    colour_to_hsl(near, a, h, s, l);
    EXPECT_NEAR(l, 110.0 / 255 + 0.2, 1.0 / 255);
    COLOUR far = COLOUR_RED;
    EXPECT_FALSE(separate_colour(far, COLOUR_BLUE, false));
    EXPECT_EQ(far, COLOUR_RED);
}

TEST(COLOUR_BLEND, divides_by_256_and_skips_clear_and_opaque)
{
    COLOUR pixel = rgba(255, 255, 255, 10);
    blend_colour(pixel, rgba(255, 255, 255, 128));
    EXPECT_EQ(pixel, rgba(254, 254, 254, 10));

    pixel = rgba(10, 20, 30, 40);
    blend_colour(pixel, rgba(200, 100, 0, 0));
    EXPECT_EQ(pixel, rgba(10, 20, 30, 40));
    blend_colour(pixel, rgba(200, 100, 0, 250));
    EXPECT_EQ(pixel, rgba(200, 100, 0, 250));

    pixel = rgba(10, 20, 30, 40);
    blend_colour(pixel, rgba(200, 100, 0, 249));
    // (d * 6 + s * 249) >> 8 per channel; alpha stays.
    EXPECT_EQ(pixel, rgba((10 * 6 + 200 * 249) >> 8, (20 * 6 + 100 * 249) >> 8, (30 * 6) >> 8, 40));
}

TEST(COLOUR_BLEND, tint_keeps_the_brightness_pattern)
{
    COLOUR colour = rgba(50, 100, 150, 255);
    COLOUR same = rgba(100, 100, 100, 77);
    tint_colour(same, colour);
    EXPECT_EQ(same, rgba(50, 100, 150, 77));
    COLOUR bright = rgba(200, 200, 200, 255);
    tint_colour(bright, colour);
    EXPECT_EQ(bright, rgba(50 + 205 * 100 / 155, 200, 150 + 105 * 100 / 155, 255));
}

TEST(COLOUR_BLEND, darken_scales_and_cuts)
{
    COLOUR pixel = rgba(200, 100, 50, 7);
    darken_colour(pixel, 50);
    EXPECT_EQ(pixel, rgba(100, 50, 25, 7));
    pixel = rgba(200, 100, 50, 7);
    darken_colour(pixel, -50);
    EXPECT_EQ(pixel, rgba(255, 150, 75, 7));
}

TEST(COLOUR_BLEND, darken_out_of_range_leaves_pixel_and_reports_once)
{
    INT_U16 saved = image_debug.flags();
    image_debug.set_flags(DEBUG_TO_CONSOLE);
    testing::internal::CaptureStdout();
    COLOUR pixel = rgba(200, 100, 50, 7);
    darken_colour(pixel, 101);
    std::string output = testing::internal::GetCapturedStdout();
    image_debug.set_flags(saved);
    EXPECT_EQ(pixel, rgba(200, 100, 50, 7));
    size_t first = output.find("Colour darkening percentage");
    ASSERT_NE(first, std::string::npos) << output;
    EXPECT_EQ(output.find("Colour darkening percentage", first + 1), std::string::npos);
}

TEST(COLOUR_BLEND, mask_colours_weigh_the_channels)
{
    COLOUR red_only = rgba(255, 0, 0, 3);
    blend_mask_colours(red_only, COLOUR_RED, COLOUR_GREEN, COLOUR_BLUE);
    EXPECT_EQ(red_only, COLOUR_RED);

    // Green at weight 128 over red, and the raw 128 added to the total alpha.
    COLOUR red_green = rgba(255, 128, 0, 0);
    blend_mask_colours(red_green, COLOUR_RED, COLOUR_GREEN, COLOUR_BLUE);
    EXPECT_EQ(red_green, rgba(126, 127, 0, 255));

    COLOUR half_red = rgba(100, 50, 0, 0);
    blend_mask_colours(half_red, rgba(255, 0, 0, 255), rgba(0, 255, 0, 255), COLOUR_INVISIBLE);
    EXPECT_EQ(half_red.alpha(), 100 + 50);

    COLOUR blue = rgba(0, 0, 200, 0);
    blend_mask_colours(blue, COLOUR_RED, COLOUR_GREEN, COLOUR_BLUE);
    EXPECT_EQ(blue, rgba(0, 0, 255, 200));

    COLOUR nothing = rgba(0, 0, 0, 255);
    blend_mask_colours(nothing, COLOUR_RED, COLOUR_GREEN, COLOUR_BLUE);
    EXPECT_EQ(nothing.value, 0u);
}

TEST(COLOUR_BLEND, div255_is_exact_for_products_of_two_channels)
{
    for (INT_U32 x = 0; x <= 255 * 256; ++x)
        ASSERT_EQ(div255(x), x / 255) << x;
}
