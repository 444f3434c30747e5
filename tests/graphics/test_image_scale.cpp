// IMAGE::scale: size rules, the nearest-neighbour step and the two-pass bilinear filter.

#include <gtest/gtest.h>

#include "graphics/image.h"
#include "graphics/two_pass_scale.h"

namespace {

COLOUR rgba(INT_U8 r, INT_U8 g, INT_U8 b, INT_U8 a) { return COLOUR::from_channels(r, g, b, a); }

void fill_columns(IMAGE& image)
{
    for (INT_S32 y = 0; y < image.height; ++y)
        for (INT_S32 x = 0; x < image.width; ++x)
            image.at(x, y) = rgba(static_cast<INT_U8>(x), static_cast<INT_U8>(y), 0, 255);
}

bool refuse_after_two(INT_U8 percent)
{
    static int calls = 0;
    (void)percent;
    return ++calls <= 2;
}

} // namespace

TEST(IMAGE_SCALE, nearest_neighbour_in_both_directions)
{
    IMAGE image(2, 3);
    fill_columns(image);
    image.scale(4, 2, false);
    // Columns step by 0.5, rows by 1.5: source rows 0 and 1.
    const INT_U8 columns[4] = { 0, 0, 1, 1 };
    for (INT_S32 y = 0; y < 2; ++y)
        for (INT_S32 x = 0; x < 4; ++x)
            EXPECT_EQ(image.at(x, y), rgba(columns[x], static_cast<INT_U8>(y), 0, 255)) << x << "," << y;

    // Halving picks every other column; -1 keeps the height.
    IMAGE line(4, 1);
    fill_columns(line);
    line.scale(2, -1, false);
    ASSERT_EQ(line.width, 2);
    ASSERT_EQ(line.height, 1);
    EXPECT_EQ(line.at(0, 0).red(), 0);
    EXPECT_EQ(line.at(1, 0).red(), 2);
}

TEST(IMAGE_SCALE, same_size_only_marks_dirty)
{
    IMAGE image(3, 3);
    image.at(1, 1) = COLOUR_RED;
    image.clear_dirty();
    image.scale(-1, -1, false);
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.at(1, 1), COLOUR_RED);
    EXPECT_EQ(image.dirty_right, 2);
    image.locked = 1;
    image.scale(6, 6, false);
    EXPECT_EQ(image.width, 3);
}

TEST(IMAGE_SCALE, keep_aspect_fits_inside_the_box_and_limits_hold)
{
    IMAGE wide(200, 100);
    wide.keep_aspect = 1;
    wide.scale(100, 100, false);
    EXPECT_EQ(wide.width, 100);
    EXPECT_EQ(wide.height, 50);
    wide.scale(-1, 25, false);
    EXPECT_EQ(wide.width, 50);
    EXPECT_EQ(wide.height, 25);

    IMAGE tall(100, 200);
    tall.keep_aspect = 1;
    tall.max_width = 0;
    tall.scale(80, 80, false);
    EXPECT_EQ(tall.width, 40);
    EXPECT_EQ(tall.height, 80);

    IMAGE limited(10, 10);
    limited.set_size(10, 10);
    limited.max_width = 6;
    limited.scale(8, 4, false);
    EXPECT_EQ(limited.width, 6);
    EXPECT_EQ(limited.height, 4);
    EXPECT_EQ(limited.max_width, 6); // put back after set_size cleared it
}

TEST(IMAGE_SCALE, bilinear_filter_truncates_at_every_step)
{
    IMAGE image(2, 1);
    image.at(0, 0) = rgba(100, 0, 0, 255);
    image.at(1, 0) = rgba(201, 0, 0, 255);
    image.scale(4, 1, true);
    ASSERT_EQ(image.width, 4);
    EXPECT_EQ(image.at(0, 0), rgba(100, 0, 0, 255));
    // Half of each neighbour, truncated after each: 50 + 100.5 -> 150, and 127 + 127.5 -> 254.
    EXPECT_EQ(image.at(1, 0), rgba(150, 0, 0, 254));
    EXPECT_EQ(image.at(2, 0), rgba(201, 0, 0, 255));
    EXPECT_EQ(image.at(3, 0), rgba(201, 0, 0, 255));
}

TEST(IMAGE_SCALE, bilinear_reduction_averages_neighbours)
{
    IMAGE image(4, 4);
    image.fill(rgba(80, 80, 80, 255));
    image.scale(2, 2, true);
    ASSERT_EQ(image.width, 2);
    for (INT_S32 y = 0; y < 2; ++y)
        for (INT_S32 x = 0; x < 2; ++x) {
            // Weights add to one; truncation may only lose a little.
            EXPECT_GE(image.at(x, y).red(), 77);
            EXPECT_LE(image.at(x, y).red(), 80);
        }
}

TEST(IMAGE_SCALE, two_pass_scaler_can_be_aborted)
{
    COLOUR source[16] = {};
    COLOUR destination[64] = {};
    C2PassScale<CBilinearFilter> scaler(refuse_after_two);
    EXPECT_EQ(scaler.scale(source, 4, 4, 4, destination, 8, 8, 8), nullptr);
    EXPECT_TRUE(scaler.aborted);
    C2PassScale<CBilinearFilter> plain;
    EXPECT_EQ(plain.scale(source, 4, 4, 4, destination, 8, 8, 8), destination);
    EXPECT_FALSE(plain.aborted);
}
