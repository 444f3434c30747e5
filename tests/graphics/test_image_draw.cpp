// IMAGE shape primitives: gradients, lines, outlines, rubber bands, rounded boxes and circles.

#include <string>

#include <gtest/gtest.h>

#include "graphics/image.h"
#include "pixel_checks.h"

namespace {

COLOUR rgba(INT_U8 r, INT_U8 g, INT_U8 b, INT_U8 a) { return COLOUR::from_channels(r, g, b, a); }

// The image as rows of '#' (equal to colour) and '.' (anything else), for shape checks.
std::string picture(const IMAGE& image, COLOUR colour)
{
    std::string out;
    for (INT_S32 y = 0; y < image.height; ++y) {
        for (INT_S32 x = 0; x < image.width; ++x)
            out += image.at(x, y) == colour ? '#' : '.';
        out += '\n';
    }
    return out;
}

} // namespace

TEST(IMAGE_DRAW, vertical_gradient_interpolates_every_channel)
{
    IMAGE image(2, 5);
    image.gradient_box_vertical(0, 0, 1, 4, rgba(0, 0, 0, 255), rgba(100, 200, 40, 55), false);
    EXPECT_EQ(image.at(0, 0), rgba(0, 0, 0, 255));
    EXPECT_EQ(image.at(1, 2), rgba(50, 100, 20, 155));
    EXPECT_EQ(image.at(0, 3), rgba(75, 150, 30, 105));
    EXPECT_EQ(image.at(1, 4), rgba(100, 200, 40, 55));
}

TEST(IMAGE_DRAW, clipped_gradient_keeps_its_colours_in_place)
{
    IMAGE whole(3, 9), lower(3, 9);
    whole.gradient_box_vertical(0, 0, 2, 8, rgba(10, 250, 3, 255), rgba(240, 0, 99, 255), false);
    lower.set_clip(0, 5, 2, 8);
    lower.gradient_box_vertical(2, 8, 0, 0, rgba(10, 250, 3, 255), rgba(240, 0, 99, 255), false);
    for (INT_S32 y = 0; y < 9; ++y)
        for (INT_S32 x = 0; x < 3; ++x)
            ASSERT_EQ(lower.at(x, y), y >= 5 ? whole.at(x, y) : COLOUR_INVISIBLE) << x << "," << y;
}

TEST(IMAGE_DRAW, horizontal_gradient_blends_with_its_own_alpha)
{
    IMAGE image(3, 2);
    image.fill(rgba(0, 0, 0, 255));
    image.gradient_box_horizontal(0, 0, 2, 1, rgba(200, 0, 0, 0), rgba(200, 0, 0, 200), true);
    EXPECT_EQ(image.at(0, 1), rgba(0, 0, 0, 255));
    EXPECT_EQ(image.at(1, 1), rgba((200 * 100) >> 8, 0, 0, 255));
    EXPECT_EQ(image.at(2, 0), rgba((200 * 200) >> 8, 0, 0, 255));
}

TEST(IMAGE_DRAW, one_pixel_lines_step_the_minor_axis)
{
    IMAGE image(5, 3);
    image.draw_line(4, 2, 0, 0, COLOUR_RED, 1, false);
    EXPECT_EQ(picture(image, COLOUR_RED), "##...\n..##.\n....#\n");
    image.clear_dirty();
    IMAGE steep(3, 5);
    steep.draw_line(0, 0, 2, 4, COLOUR_RED, 1, false);
    EXPECT_EQ(picture(steep, COLOUR_RED), "#..\n#..\n.#.\n.#.\n..#\n");
}

TEST(IMAGE_DRAW, thick_lines_and_clipped_lines)
{
    IMAGE image(5, 5);
    image.draw_line(0, 2, 4, 2, COLOUR_RED, 3, false);
    EXPECT_EQ(picture(image, COLOUR_RED), ".....\n#####\n#####\n#####\n.....\n");
    IMAGE clipped(5, 5);
    clipped.set_clip(1, 0, 3, 4);
    clipped.draw_line(0, 0, 4, 0, COLOUR_RED, 1, false);
    EXPECT_EQ(picture(clipped, COLOUR_RED), ".###.\n.....\n.....\n.....\n.....\n");
}

TEST(IMAGE_DRAW, box_outline_edges_thickness_and_clipped_sides)
{
    IMAGE image(5, 4);
    image.draw_box_outline(0, 0, 4, 3, COLOUR_RED, 1, EDGE_ALL, false);
    EXPECT_EQ(picture(image, COLOUR_RED), "#####\n#...#\n#...#\n#####\n");
    IMAGE top_left(5, 4);
    top_left.draw_box_outline(0, 0, 4, 3, COLOUR_RED, 1, EDGE_TOP | EDGE_LEFT, false);
    // The top run stops short of both corners: the left side owns its corner.
    EXPECT_EQ(picture(top_left, COLOUR_RED), "####.\n#....\n#....\n#....\n");
    IMAGE cut(5, 4);
    cut.set_clip(0, 0, 2, 3);
    cut.draw_box_outline(0, 0, 4, 3, COLOUR_RED, 1, EDGE_ALL, false);
    // The right side lies outside the clip and is not drawn on the clip's border.
    EXPECT_EQ(picture(cut, COLOUR_RED), "###..\n#....\n#....\n###..\n");
    IMAGE thick(7, 7);
    thick.draw_box_outline(2, 2, 4, 4, COLOUR_RED, 2, EDGE_ALL, false);
    EXPECT_EQ(picture(thick, COLOUR_RED), ".......\n.#####.\n.#####.\n.##.##.\n.#####.\n.#####.\n.......\n");
}

TEST(IMAGE_DRAW, xor_box_twice_restores_colours)
{
    IMAGE image(6, 5);
    for (INT_S32 y = 0; y < 5; ++y)
        for (INT_S32 x = 0; x < 6; ++x)
            image.at(x, y) = rgba(static_cast<INT_U8>(x * 40), static_cast<INT_U8>(y * 50), 7, 10);
    IMAGE before(6, 5);
    IMAGE::blit(&before, &image, 0, 0, 0, 0, 6, 5, BLIT_COPY);
    COLOUR colour = rgba(0xFF, 0x0F, 0xF0, 255);
    image.draw_xor_box(1, 1, 4, 3, colour);
    // A side pixel is flipped once, a corner twice.
    EXPECT_EQ(image.at(2, 1).value, (before.at(2, 1).value ^ 0x00F00FFFu) | 0xFF000000u);
    EXPECT_EQ(image.at(1, 1), rgba(40, 50, 7, 255));
    image.draw_xor_box(4, 3, 1, 1, colour);
    for (INT_S32 y = 0; y < 5; ++y)
        for (INT_S32 x = 0; x < 6; ++x) {
            bool on_box = (x >= 1 && x <= 4 && (y == 1 || y == 3)) || (y >= 1 && y <= 3 && (x == 1 || x == 4));
            COLOUR expected = before.at(x, y);
            if (on_box)
                expected.set_alpha(255);
            ASSERT_EQ(image.at(x, y), expected) << x << "," << y;
        }
}

TEST(IMAGE_DRAW, default_corner_radius_is_a_third_of_the_shorter_side)
{
    EXPECT_EQ(IMAGE::default_corner_radius(0, 0, 29, 59), 10);
    EXPECT_EQ(IMAGE::default_corner_radius(0, 0, 59, 7), 2);
}

TEST(IMAGE_DRAW, rounded_box_with_default_radius)
{
    IMAGE image(30, 60);
    image.draw_rounded_box(0, 0, 29, 59, -1, CORNER_ALL, COLOUR_RED, COLOUR_RED, SHADE_SOLID, 0);
    // Radius 10: (1, 5) lies outside the round, (0, 10) is below the corner square.
    expect_pixels(image, { { 0, 0, COLOUR_INVISIBLE }, { 1, 5, COLOUR_INVISIBLE }, { 0, 10, COLOUR_RED },
        { 3, 3, COLOUR_RED }, { 28, 54, COLOUR_INVISIBLE }, { 29, 49, COLOUR_RED }, { 15, 30, COLOUR_RED } });
}

TEST(IMAGE_DRAW, rounded_box_corners_shades_and_clip)
{
    IMAGE image(7, 7);
    image.draw_rounded_box(0, 0, 6, 6, 3, CORNER_TOP_LEFT, COLOUR_RED, COLOUR_RED, SHADE_SOLID, 0);
    EXPECT_EQ(picture(image, COLOUR_RED), "...####\n.######\n.######\n#######\n#######\n#######\n#######\n");

    IMAGE shaded(5, 3);
    shaded.draw_rounded_box(0, 0, 4, 2, 1, 0, rgba(0, 0, 0, 10), rgba(200, 100, 40, 10), SHADE_HORIZONTAL, 0);
    EXPECT_EQ(shaded.at(2, 1), rgba(100, 50, 20, 255));
    shaded.draw_rounded_box(0, 0, 4, 2, 1, 0, rgba(0, 0, 0, 10), rgba(200, 100, 40, 10), SHADE_VERTICAL, 0);
    EXPECT_EQ(shaded.at(4, 1), rgba(100, 50, 20, 255));
    shaded.set_clip(0, 1, 0, 1);
    shaded.draw_rounded_box(0, 0, 4, 2, 1, 0, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SHADE_DARKEN, 50);
    EXPECT_EQ(shaded.at(0, 1), rgba(50, 25, 10, 255));
    EXPECT_EQ(shaded.at(1, 1), rgba(100, 50, 20, 255));
}

TEST(IMAGE_DRAW, rounded_outline_square_and_round_corners)
{
    IMAGE square(5, 5);
    square.draw_rounded_outline(0, 0, 4, 4, COLOUR_RED, 2, 0);
    EXPECT_EQ(picture(square, COLOUR_RED), "#####\n#...#\n#...#\n#...#\n#####\n");
    IMAGE round(7, 7);
    round.draw_rounded_outline(0, 0, 6, 6, COLOUR_RED, 2, CORNER_ALL);
    EXPECT_EQ(picture(round, COLOUR_RED), "..###..\n.#...#.\n#.....#\n#.....#\n#.....#\n.#...#.\n..###..\n");
}

TEST(IMAGE_DRAW, filled_circle_is_symmetric_and_bounded)
{
    IMAGE image(11, 11);
    image.draw_circle(5, 5, 3, COLOUR_RED, 0, CIRCLE_FILLED, 0, false);
    EXPECT_EQ(picture(image, COLOUR_RED),
        "...........\n...........\n....###....\n...#####...\n..#######..\n..#######..\n"
        "..#######..\n...#####...\n....###....\n...........\n...........\n");
}

TEST(IMAGE_DRAW, antialiased_circle_blends_by_coverage)
{
    IMAGE image(11, 11);
    image.draw_circle(5, 5, 3, rgba(255, 0, 0, 255), 0, CIRCLE_FILLED, 0, true);
    EXPECT_EQ(image.at(5, 5), rgba(255, 0, 0, 255));
    EXPECT_EQ(image.at(0, 0), COLOUR_INVISIBLE);
    // Edge pixels are partly covered: part of the red, the destination's alpha kept.
    int partial = 0;
    for (INT_S32 y = 0; y < 11; ++y)
        for (INT_S32 x = 0; x < 11; ++x) {
            COLOUR c = image.at(x, y);
            if (c.red() > 0 && c.red() < 255) {
                ++partial;
                EXPECT_EQ(c.alpha(), 0);
            }
        }
    EXPECT_GE(partial, 8);
    for (INT_S32 y = 0; y < 11; ++y)
        for (INT_S32 x = 0; x < 11; ++x) {
            ASSERT_EQ(image.at(x, y), image.at(10 - x, y)) << x << "," << y;
            ASSERT_EQ(image.at(x, y), image.at(y, x)) << x << "," << y;
        }
}

TEST(IMAGE_DRAW, circle_outline_and_darkening)
{
    IMAGE ring(13, 13);
    ring.draw_circle(6, 6, 4, COLOUR_RED, 0, CIRCLE_OUTLINE, 1, false);
    expect_pixels(ring, { { 6, 6, COLOUR_INVISIBLE }, { 6, 2, COLOUR_RED }, { 10, 6, COLOUR_RED },
        { 6, 1, COLOUR_INVISIBLE } });

    IMAGE dark(9, 9);
    dark.fill(rgba(200, 100, 50, 255));
    dark.draw_circle(4, 4, 2, COLOUR_INVISIBLE, 50, CIRCLE_DARKEN, 0, false);
    EXPECT_EQ(dark.at(4, 4), rgba(100, 50, 25, 255));
    EXPECT_EQ(dark.at(0, 0), rgba(200, 100, 50, 255));
}

TEST(IMAGE_DRAW, circle_too_large_for_the_grid_is_not_drawn)
{
    IMAGE image(4, 4);
    image.clear_dirty();
    image.draw_circle(2, 2, 1000, COLOUR_RED, 0, CIRCLE_FILLED, 0, false);
    EXPECT_EQ(image.at(2, 2), COLOUR_INVISIBLE);
    EXPECT_FALSE(image.is_dirty());
}
