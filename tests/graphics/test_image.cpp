// IMAGE: size, clip and dirty rectangles, fills, block transfer and filters.

#include <gtest/gtest.h>

#include "graphics/image.h"

namespace {

COLOUR rgba(INT_U8 r, INT_U8 g, INT_U8 b, INT_U8 a) { return COLOUR::from_channels(r, g, b, a); }

void expect_dirty(const IMAGE& image, INT_S16 left, INT_S16 top, INT_S16 right, INT_S16 bottom)
{
    EXPECT_EQ(image.dirty_left, left);
    EXPECT_EQ(image.dirty_top, top);
    EXPECT_EQ(image.dirty_right, right);
    EXPECT_EQ(image.dirty_bottom, bottom);
}

// Every pixel of the image equals expected inside the box and outside otherwise.
void expect_box(const IMAGE& image, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, COLOUR inside, COLOUR outside)
{
    for (INT_S32 y = 0; y < image.height; ++y)
        for (INT_S32 x = 0; x < image.width; ++x) {
            bool in = x >= x1 && x <= x2 && y >= y1 && y <= y2;
            ASSERT_EQ(image.at(x, y), in ? inside : outside) << "at " << x << "," << y;
        }
}

} // namespace

TEST(IMAGE, new_image_is_transparent_black_with_even_stride)
{
    IMAGE image(100, 100);
    ASSERT_TRUE(image.has_pixels());
    expect_box(image, 0, 0, -1, -1, COLOUR_INVISIBLE, COLOUR_INVISIBLE);
    EXPECT_EQ(image.clip_left, 0);
    EXPECT_EQ(image.clip_bottom, 99);
    IMAGE odd(101, 3);
    EXPECT_EQ(odd.stride, 102);
    IMAGE exact;
    exact.row_alignment = 1;
    exact.set_size(101, 3);
    EXPECT_EQ(exact.stride, 101);
    exact.row_alignment = 16;
    exact.set_size(17, 3);
    EXPECT_EQ(exact.stride, 32);
}

TEST(IMAGE, empty_image_has_valid_empty_clip)
{
    IMAGE image;
    EXPECT_FALSE(image.has_pixels());
    EXPECT_EQ(image.width, 0);
    EXPECT_EQ(image.stride, 0);
    EXPECT_TRUE(image.clip_valid);
    EXPECT_EQ(image.clip_left, -1);
    image.fill_box(0, 0, 5, 5, COLOUR_RED, false); // nothing to draw on, and no fault
    image.fill(COLOUR_RED);
    EXPECT_FALSE(image.is_dirty());
}

TEST(IMAGE, set_size_to_the_same_size_keeps_pixels_and_resets_clip)
{
    IMAGE image(4, 4);
    image.fill(COLOUR_RED);
    image.set_clip(1, 1, 2, 2);
    image.clear_dirty();
    image.set_size(4, 4);
    EXPECT_EQ(image.at(3, 3), COLOUR_RED);
    EXPECT_EQ(image.clip_right, 3);
    expect_dirty(image, 0, 0, 3, 3);
    image.set_size(5, 4);
    EXPECT_EQ(image.at(3, 3), COLOUR_INVISIBLE);
    image.locked = 1;
    image.set_size(8, 8);
    EXPECT_EQ(image.width, 5);
}

TEST(IMAGE, clip_bounds_are_ordered_clamped_and_nested)
{
    IMAGE image(10, 10);
    image.set_clip(20, 8, -5, 2);
    EXPECT_EQ(image.clip_left, 0);
    EXPECT_EQ(image.clip_right, 9);
    EXPECT_EQ(image.clip_top, 2);
    EXPECT_EQ(image.clip_bottom, 8);
    image.intersect_clip(5, 0, 7, 4);
    EXPECT_EQ(image.clip_left, 5);
    EXPECT_EQ(image.clip_right, 7);
    EXPECT_EQ(image.clip_top, 2);
    EXPECT_EQ(image.clip_bottom, 4);
}

TEST(IMAGE, empty_clip_stops_drawing_until_set_clip)
{
    IMAGE image(10, 10), source(3, 3);
    source.fill(COLOUR_RED);
    image.set_clip(0, 0, 4, 4);
    image.intersect_clip(6, 6, 9, 9);
    EXPECT_TRUE(image.clip_is_empty());
    // A rectangle wholly off the image is not clamped onto its edge either.
    IMAGE other(10, 10);
    other.intersect_clip(-20, -20, -10, -10);
    EXPECT_TRUE(other.clip_is_empty());

    image.clear_dirty();
    image.fill_box(0, 0, 9, 9, COLOUR_RED, false);
    IMAGE::blit(&image, &source, 0, 0, 0, 0, 3, 3, BLIT_COPY);
    expect_box(image, 0, 0, -1, -1, COLOUR_RED, COLOUR_INVISIBLE);
    EXPECT_FALSE(image.is_dirty());

    image.set_clip(0, 0, 9, 9);
    image.fill_box(0, 0, 1, 1, COLOUR_RED, false);
    EXPECT_EQ(image.at(1, 1), COLOUR_RED);
}

TEST(IMAGE, mark_dirty_grows_a_union_clamped_to_the_image)
{
    IMAGE image(10, 10);
    image.clear_dirty();
    image.mark_dirty(3, 4, 2, 1);
    expect_dirty(image, 2, 1, 3, 4);
    image.mark_dirty(8, 2, 20, 3);
    expect_dirty(image, 2, 1, 9, 4);
}

TEST(IMAGE, fill_box_writes_blends_and_clips)
{
    IMAGE image(6, 6);
    image.fill(rgba(255, 255, 255, 255));
    image.set_clip(0, 0, 3, 3);
    image.clear_dirty();
    image.fill_box(5, 5, 2, 2, rgba(0, 0, 0, 128), true);
    // Blended over white at 128: (255 * 127) >> 8 = 126; destination alpha kept.
    expect_box(image, 2, 2, 3, 3, rgba(126, 126, 126, 255), rgba(255, 255, 255, 255));
    expect_dirty(image, 2, 2, 3, 3);
    image.fill_box(0, 0, 0, 0, rgba(1, 2, 3, 4), false);
    EXPECT_EQ(image.at(0, 0), rgba(1, 2, 3, 4));
    image.fill_box(1, 0, 1, 0, rgba(9, 9, 9, 0), true);
    EXPECT_EQ(image.at(1, 0), rgba(255, 255, 255, 255));
}

TEST(IMAGE, wide_blended_fill_matches_the_pixel_blend)
{
    // Wide enough for the vector path, with an odd tail.
    IMAGE image(37, 2);
    for (INT_S32 x = 0; x < 37; ++x) {
        image.at(x, 0) = rgba(static_cast<INT_U8>(x * 7), static_cast<INT_U8>(x * 3), static_cast<INT_U8>(255 - x), static_cast<INT_U8>(x));
        image.at(x, 1) = image.at(x, 0);
    }
    COLOUR colour = rgba(200, 30, 90, 77);
    image.fill_box(0, 0, 36, 0, colour, true);
    for (INT_S32 x = 0; x < 37; ++x) {
        COLOUR expected = image.at(x, 1);
        blend_colour(expected, colour);
        ASSERT_EQ(image.at(x, 0), expected) << x;
    }
}

TEST(IMAGE, clear_ignoring_the_clip_restores_it)
{
    IMAGE image(4, 4);
    image.set_clip(1, 1, 2, 2);
    image.clear(COLOUR_RED, false);
    EXPECT_EQ(image.at(0, 0), COLOUR_INVISIBLE);
    image.clear(COLOUR_BLUE, true);
    expect_box(image, 0, 0, 3, 3, COLOUR_BLUE, COLOUR_BLUE);
    EXPECT_EQ(image.clip_left, 1);
    EXPECT_EQ(image.clip_bottom, 2);
}

TEST(IMAGE, darken_box_scales_colour_channels)
{
    IMAGE image(2, 1);
    image.fill(rgba(200, 100, 51, 9));
    image.darken_box(0, 0, 0, 0, 50);
    image.darken_box(1, 0, 1, 0, 0);
    EXPECT_EQ(image.at(0, 0), rgba(100, 50, 25, 9));
    EXPECT_EQ(image.at(1, 0), rgba(200, 100, 51, 9));
    image.darken_box(0, 0, 1, 0, 500);
    EXPECT_EQ(image.at(1, 0), rgba(0, 0, 0, 9));
}

// --- Block transfer -------------------------------------------------------------------------

TEST(IMAGE_BLIT, modes_per_pixel)
{
    IMAGE source(4, 1), target(4, 1);
    source.at(0, 0) = rgba(10, 20, 30, 0);
    source.at(1, 0) = rgba(10, 20, 30, 255);
    source.at(2, 0) = rgba(200, 100, 0, 128);
    source.at(3, 0) = rgba(1, 2, 3, 51);
    COLOUR base = rgba(100, 100, 100, 200);

    target.fill(base);
    IMAGE::blit(&target, &source, 0, 0, 0, 0, 4, 1, BLIT_COPY);
    for (INT_S32 x = 0; x < 4; ++x)
        EXPECT_EQ(target.at(x, 0), source.at(x, 0));

    target.fill(base);
    IMAGE::blit(&target, &source, 0, 0, 0, 0, 4, 1, BLIT_ALPHA);
    EXPECT_EQ(target.at(0, 0), base);
    EXPECT_EQ(target.at(1, 0), rgba(10, 20, 30, 255));
    EXPECT_EQ(target.at(2, 0), rgba((100 * 127 + 200 * 128) >> 8, (100 * 127 + 100 * 128) >> 8, (100 * 127) >> 8, 200));

    target.fill(base);
    IMAGE::blit(&target, &source, 0, 0, 0, 0, 4, 1, BLIT_MASK_SET);
    EXPECT_EQ(target.at(0, 0), rgba(100, 100, 100, 0));
    EXPECT_EQ(target.at(3, 0), rgba(100, 100, 100, 255));

    target.fill(base);
    IMAGE::blit(&target, &source, 0, 0, 0, 0, 4, 1, BLIT_MASK_MULTIPLY);
    EXPECT_EQ(target.at(0, 0).alpha(), 0);
    EXPECT_EQ(target.at(1, 0).alpha(), 200);
    EXPECT_EQ(target.at(2, 0).alpha(), 200 * 128 / 255);
    EXPECT_EQ(target.at(3, 0), rgba(100, 100, 100, 200 * 51 / 255));

    // Values above the last mode blend.
    target.fill(base);
    IMAGE::blit(&target, &source, 1, 0, 0, 0, 1, 1, 9);
    EXPECT_EQ(target.at(0, 0), rgba(10, 20, 30, 255));
}

TEST(IMAGE_BLIT, vector_blend_matches_pixel_blend_on_every_alpha)
{
    IMAGE source(256, 3), target(256, 3), expected(256, 3);
    for (INT_S32 y = 0; y < 3; ++y)
        for (INT_S32 x = 0; x < 256; ++x) {
            source.at(x, y) = rgba(static_cast<INT_U8>(x * 13 + y), static_cast<INT_U8>(255 - x), static_cast<INT_U8>(x * 5), static_cast<INT_U8>(y == 1 ? 255 - x : x));
            target.at(x, y) = rgba(static_cast<INT_U8>(x * 3), static_cast<INT_U8>(x * 11 + y), static_cast<INT_U8>(77), static_cast<INT_U8>(x ^ 0x5A));
            expected.at(x, y) = target.at(x, y);
            blend_colour(expected.at(x, y), source.at(x, y));
        }
    // Row 2 starts one pixel in, so the vector steps cross odd boundaries.
    IMAGE::blit(&target, &source, 0, 0, 0, 0, 256, 2, BLIT_ALPHA);
    IMAGE::blit(&target, &source, 1, 2, 1, 2, 255, 1, BLIT_ALPHA);
    for (INT_S32 y = 0; y < 3; ++y)
        for (INT_S32 x = 0; x < 256; ++x)
            ASSERT_EQ(target.at(x, y), expected.at(x, y)) << x << "," << y;
}

TEST(IMAGE_BLIT, negative_source_position_shifts_the_destination)
{
    IMAGE source(3, 3), target(6, 6);
    source.fill(COLOUR_RED);
    target.clear_dirty();
    IMAGE::blit(&target, &source, -1, -2, 2, 2, 3, 3, BLIT_COPY);
    expect_box(target, 3, 4, 4, 4, COLOUR_RED, COLOUR_INVISIBLE);
    expect_dirty(target, 3, 4, 4, 4);
}

TEST(IMAGE_BLIT, clipped_by_destination_clip_and_source_edges)
{
    IMAGE source(4, 4), target(8, 8);
    source.fill(COLOUR_GREEN);
    target.set_clip(2, 2, 4, 5);
    IMAGE::blit(&target, &source, 0, 0, 0, 0, 10, 10, BLIT_COPY);
    expect_box(target, 2, 2, 3, 3, COLOUR_GREEN, COLOUR_INVISIBLE);

    IMAGE other(8, 8);
    other.clear_dirty();
    IMAGE::blit(&other, &source, 0, 0, 8, 0, 4, 4, BLIT_COPY);
    IMAGE::blit(&other, &source, 0, 0, -4, 0, 4, 4, BLIT_COPY);
    EXPECT_EQ(other.dirty_left, -1);
}

TEST(IMAGE_BLIT, draw_part_and_grab_use_the_back_buffer_for_null)
{
    IMAGE picture(2, 2);
    picture.fill(COLOUR_RED);
    picture.draw(0, 0, nullptr, BLIT_COPY); // no back buffer: nothing happens
    BACK_BUFFER screen(4, 4);
    set_graphics_back_buffer(&screen);
    picture.draw_part(1, 1, 1, 1, 1, 1, nullptr, BLIT_COPY);
    expect_box(screen, 1, 1, 1, 1, COLOUR_RED, COLOUR_INVISIBLE);
    IMAGE copy(2, 2);
    copy.grab(0, 0, nullptr, BLIT_COPY);
    EXPECT_EQ(copy.at(1, 1), COLOUR_RED);
    EXPECT_EQ(copy.at(0, 0), COLOUR_INVISIBLE);
    picture.draw(0, 0, &picture, BLIT_COPY); // onto itself: nothing
    set_graphics_back_buffer(nullptr);
}

TEST(IMAGE_BLIT, back_buffer_unregisters_itself)
{
    {
        BACK_BUFFER screen(2, 2);
        set_graphics_back_buffer(&screen);
    }
    EXPECT_EQ(graphics_back_buffer(), nullptr);
}

// --- Filters --------------------------------------------------------------------------------

TEST(IMAGE_FILTER, greyscale_uses_weighted_luminance_inside_the_clip)
{
    IMAGE image(2, 1);
    image.fill(rgba(100, 200, 50, 66));
    image.set_clip(0, 0, 0, 0);
    image.greyscale();
    EXPECT_EQ(image.at(0, 0), rgba(153, 153, 153, 66));
    EXPECT_EQ(image.at(1, 0), rgba(100, 200, 50, 66));
    fast_greyscale = true;
    image.set_clip(1, 0, 1, 0);
    image.greyscale();
    fast_greyscale = false;
    EXPECT_EQ(image.at(1, 0), rgba(116, 116, 116, 66));
}

TEST(IMAGE_FILTER, replace_colour_with_and_without_alpha)
{
    IMAGE image(3, 1);
    image.at(0, 0) = rgba(1, 2, 3, 255);
    image.at(1, 0) = rgba(1, 2, 3, 100);
    image.at(2, 0) = rgba(1, 2, 4, 255);
    image.replace_colour(rgba(1, 2, 3, 255), rgba(9, 9, 9, 50), false);
    EXPECT_EQ(image.at(0, 0), rgba(9, 9, 9, 50));
    EXPECT_EQ(image.at(1, 0), rgba(1, 2, 3, 100));
    image.replace_colour(rgba(1, 2, 3, 0), rgba(7, 7, 7, 0), true);
    EXPECT_EQ(image.at(1, 0), rgba(7, 7, 7, 100));
    EXPECT_EQ(image.at(2, 0), rgba(1, 2, 4, 255));
}

TEST(IMAGE_FILTER, set_alpha_modes_and_fill_below_alpha)
{
    IMAGE image(3, 1);
    image.at(0, 0) = rgba(1, 1, 1, 0);
    image.at(1, 0) = rgba(2, 2, 2, 100);
    image.at(2, 0) = rgba(3, 3, 3, 255);
    image.set_alpha(128, true, false);
    EXPECT_EQ(image.at(1, 0).alpha(), 100 * 128 / 255);
    EXPECT_EQ(image.at(2, 0).alpha(), 128);
    image.set_alpha(200, false, true);
    EXPECT_EQ(image.at(0, 0).alpha(), 0);
    EXPECT_EQ(image.at(1, 0).alpha(), 200);
    image.set_alpha(7, false, false);
    EXPECT_EQ(image.at(0, 0).alpha(), 7);
    image.at(2, 0).set_alpha(8);
    image.fill_below_alpha(COLOUR_RED, 7);
    EXPECT_EQ(image.at(0, 0), COLOUR_RED);
    EXPECT_EQ(image.at(2, 0), rgba(3, 3, 3, 8));
}

TEST(IMAGE_FILTER, recolour_and_tint_per_pixel)
{
    IMAGE image(2, 1);
    image.at(0, 0) = rgba(0, 0, 200, 128);
    image.at(1, 0) = rgba(0, 0, 200, 128);
    image.set_clip(0, 0, 0, 0);
    image.recolour(COLOUR_RED, COLOUR_GREEN, COLOUR_BLUE, false);
    EXPECT_EQ(image.at(0, 0), rgba(0, 0, 255, 200));
    image.set_clip(1, 0, 1, 0);
    image.recolour(COLOUR_RED, COLOUR_GREEN, COLOUR_BLUE, true);
    EXPECT_EQ(image.at(1, 0), rgba(0, 0, 255, 128 * 200 / 255));

    IMAGE grey(1, 1);
    grey.fill(rgba(100, 100, 100, 1));
    grey.tint(rgba(50, 100, 150, 255));
    EXPECT_EQ(grey.at(0, 0), rgba(50, 100, 150, 1));
}
