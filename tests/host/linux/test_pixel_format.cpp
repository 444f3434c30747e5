// The server's pixel layouts worked out from their masks, and frames converted into them.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "host/linux/pixel_format.h"

namespace {

TEST(PIXEL_FORMAT_TEST, five_six_five_masks_lose_three_two_three_bits_and_shift_eleven_five_zero)
{
    PIXEL_FORMAT f;
    ASSERT_TRUE(pixel_format_from_masks(16, 0xF800, 0x07E0, 0x001F, &f));
    EXPECT_EQ(f.red_shift, 11);
    EXPECT_EQ(f.green_shift, 5);
    EXPECT_EQ(f.blue_shift, 0);
    EXPECT_EQ(f.red_loss, 3);
    EXPECT_EQ(f.green_loss, 2);
    EXPECT_EQ(f.blue_loss, 3);
}

TEST(PIXEL_FORMAT_TEST, thirty_two_bits_shift_without_loss)
{
    PIXEL_FORMAT f;
    ASSERT_TRUE(pixel_format_from_masks(32, 0xFF0000, 0x00FF00, 0x0000FF, &f));
    EXPECT_EQ(f.red_shift, 16);
    EXPECT_EQ(f.green_shift, 8);
    EXPECT_EQ(f.blue_shift, 0);
    EXPECT_EQ(f.red_loss + f.green_loss + f.blue_loss, 0);
    ASSERT_TRUE(pixel_format_from_masks(32, 0x0000FF, 0x00FF00, 0xFF0000, &f));
    EXPECT_EQ(f.red_shift, 0);
    EXPECT_EQ(f.blue_shift, 16);
}

TEST(PIXEL_FORMAT_TEST, depths_other_than_sixteen_and_thirty_two_bits_per_pixel_are_refused)
{
    PIXEL_FORMAT f;
    EXPECT_FALSE(pixel_format_from_masks(8, 0xE0, 0x1C, 0x03, &f));
    EXPECT_FALSE(pixel_format_from_masks(24, 0xFF0000, 0xFF00, 0xFF, &f));
    EXPECT_FALSE(pixel_format_from_masks(15, 0x7C00, 0x03E0, 0x001F, &f));
    EXPECT_FALSE(pixel_format_from_masks(32, 0, 0xFF00, 0xFF, &f)) << "an empty mask";
}

// Pixels as COLOUR words: red in the low byte.
constexpr INT_U32 rgba(INT_U32 r, INT_U32 g, INT_U32 b, INT_U32 a = 255) { return r | (g << 8) | (b << 16) | (a << 24); }

TEST(CONVERT_FRAME, thirty_two_bits_place_each_channel_and_make_the_pixel_opaque)
{
    const INT_U32 in[4] = { rgba(0x12, 0x34, 0x56), rgba(255, 0, 0, 0), rgba(0, 255, 0, 128), rgba(0, 0, 255) };
    DISPLAY_PIXELS frame { in, 4, 1, 4 };
    INT_U32 out[4] = {};
    PIXEL_FORMAT f;
    ASSERT_TRUE(pixel_format_from_masks(32, 0xFF0000, 0xFF00, 0xFF, &f));
    convert_frame(frame, f, reinterpret_cast<INT_U8*>(out), sizeof out);
    EXPECT_EQ(out[0], 0xFF123456u);
    EXPECT_EQ(out[1], 0xFFFF0000u);
    EXPECT_EQ(out[2], 0xFF00FF00u);
    EXPECT_EQ(out[3], 0xFF0000FFu);

    ASSERT_TRUE(pixel_format_from_masks(32, 0xFF, 0xFF00, 0xFF0000, &f)); // the other byte order
    convert_frame(frame, f, reinterpret_cast<INT_U8*>(out), sizeof out);
    EXPECT_EQ(out[0], 0xFF563412u);
    EXPECT_EQ(out[3], 0xFFFF0000u);
}

TEST(CONVERT_FRAME, sixteen_bits_drop_the_low_bits_of_each_channel)
{
    const INT_U32 in[3] = { rgba(0xFF, 0xFF, 0xFF), rgba(0x12, 0x34, 0x56), rgba(0x07, 0x03, 0x07) };
    DISPLAY_PIXELS frame { in, 3, 1, 3 };
    INT_U16 out[3] = {};
    PIXEL_FORMAT f;
    ASSERT_TRUE(pixel_format_from_masks(16, 0xF800, 0x07E0, 0x001F, &f));
    convert_frame(frame, f, reinterpret_cast<INT_U8*>(out), sizeof out);
    EXPECT_EQ(out[0], 0xFFFF);
    EXPECT_EQ(out[1], ((0x12 >> 3) << 11) | ((0x34 >> 2) << 5) | (0x56 >> 3));
    EXPECT_EQ(out[2], 0) << "values below one step of the channel vanish";
}

TEST(CONVERT_FRAME, rows_follow_the_source_stride_and_the_target_pitch)
{
    // Two rows of three pixels in rows of four; the target rows are 16 bytes apart.
    const INT_U32 in[8] = { rgba(1, 0, 0), rgba(2, 0, 0), rgba(3, 0, 0), 0xDEADBEEF,
        rgba(4, 0, 0), rgba(5, 0, 0), rgba(6, 0, 0), 0xDEADBEEF };
    DISPLAY_PIXELS frame { in, 3, 2, 4 };
    std::vector<INT_U32> out(8, 0x11111111);
    PIXEL_FORMAT f;
    ASSERT_TRUE(pixel_format_from_masks(32, 0xFF0000, 0xFF00, 0xFF, &f));
    convert_frame(frame, f, reinterpret_cast<INT_U8*>(out.data()), 16);
    EXPECT_EQ(out[0], 0xFF010000u);
    EXPECT_EQ(out[2], 0xFF030000u);
    EXPECT_EQ(out[3], 0x11111111u) << "the padding of the target row is left alone";
    EXPECT_EQ(out[4], 0xFF040000u);
    EXPECT_EQ(out[6], 0xFF060000u);
}

} // namespace
