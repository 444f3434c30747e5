// The stream form of IMAGE: round trips in both byte orders and refusal of damaged streams.

#include <cstring>
#include <functional>

#include <gtest/gtest.h>

#include "base/error_report.h"
#include "graphics/image.h"
#include "memory_device.h"

namespace {

COLOUR rgba(INT_U8 r, INT_U8 g, INT_U8 b, INT_U8 a) { return COLOUR::from_channels(r, g, b, a); }

// A raw stream header with the given fields, in the device's byte order.
void write_header(MEMORY_DEVICE& device, INT_U8 version, INT_U16 width, INT_U16 height)
{
    ASSERT_TRUE(device_write_bytes(&device, "orlurawimg", 10));
    ASSERT_TRUE(device_write(&device, version));
    ASSERT_TRUE(device_write(&device, width));
    ASSERT_TRUE(device_write(&device, height));
}

// The image that a failed read must leave alone.
void make_witness(IMAGE& image)
{
    image.set_size(2, 1);
    image.at(0, 0) = COLOUR_RED;
}

void expect_witness(const IMAGE& image)
{
    EXPECT_EQ(image.width, 2);
    EXPECT_EQ(image.height, 1);
    EXPECT_EQ(image.at(0, 0), COLOUR_RED);
}

} // namespace

TEST(IMAGE_STREAM, layout_is_magic_version_sizes_and_argb_words)
{
    IMAGE image(1, 1);
    image.at(0, 0) = rgba(0x11, 0x22, 0x33, 0x44);
    MEMORY_DEVICE device;
    ASSERT_TRUE(image.put_to_data_device(&device));
    const unsigned char expected[] = { 'o', 'r', 'l', 'u', 'r', 'a', 'w', 'i', 'm', 'g', 1, 1, 0, 1, 0,
        0x33, 0x22, 0x11, 0x44 };
    ASSERT_EQ(device.bytes().size(), sizeof expected);
    EXPECT_EQ(memcmp(device.bytes().data(), expected, sizeof expected), 0);

    MEMORY_DEVICE swapped;
    swapped.swap_bytes = 1;
    ASSERT_TRUE(image.put_to_data_device(&swapped));
    const unsigned char expected_swapped[] = { 'o', 'r', 'l', 'u', 'r', 'a', 'w', 'i', 'm', 'g', 1, 0, 1, 0, 1,
        0x44, 0x11, 0x22, 0x33 };
    ASSERT_EQ(swapped.bytes().size(), sizeof expected_swapped);
    EXPECT_EQ(memcmp(swapped.bytes().data(), expected_swapped, sizeof expected_swapped), 0);
}

TEST(IMAGE_STREAM, round_trip_in_both_byte_orders)
{
    IMAGE image(5, 3); // stride 6: the padding column must not reach the stream
    for (INT_S32 y = 0; y < 3; ++y)
        for (INT_S32 x = 0; x < 5; ++x)
            image.at(x, y) = rgba(static_cast<INT_U8>(x), static_cast<INT_U8>(y), static_cast<INT_U8>(x * y + 100), static_cast<INT_U8>(200 + x));
    for (INT_U8 swap : { 0, 1 }) {
        MEMORY_DEVICE device;
        device.swap_bytes = swap;
        ASSERT_TRUE(image.put_to_data_device(&device));
        EXPECT_EQ(device.bytes().size(), 15u + 5 * 3 * 4);
        device.rewind();
        IMAGE copy;
        ASSERT_TRUE(copy.get_from_data_device(&device));
        ASSERT_EQ(copy.width, 5);
        ASSERT_EQ(copy.height, 3);
        for (INT_S32 y = 0; y < 3; ++y)
            for (INT_S32 x = 0; x < 5; ++x)
                ASSERT_EQ(copy.at(x, y), image.at(x, y)) << int(swap) << " " << x << "," << y;
    }
}

TEST(IMAGE_STREAM, empty_image_reads_back_empty)
{
    IMAGE empty;
    MEMORY_DEVICE device;
    ASSERT_TRUE(empty.put_to_data_device(&device));
    EXPECT_EQ(device.bytes().size(), 15u);
    device.rewind();
    IMAGE copy(3, 3);
    ASSERT_TRUE(copy.get_from_data_device(&device));
    EXPECT_FALSE(copy.has_pixels());
    EXPECT_EQ(copy.width, 0);
}

TEST(IMAGE_STREAM, damaged_streams_are_refused_before_allocating_and_leave_the_image)
{
    struct CASE {
        const char* what;
        std::function<void(MEMORY_DEVICE&)> write;
        bool seekable;
    } cases[] = {
        { "unknown version", [](MEMORY_DEVICE& d) { write_header(d, 2, 1, 1); device_write(&d, INT_U32(0)); }, true },
        { "no magic", [](MEMORY_DEVICE& d) { d.bytes().assign(30, 'x'); }, true },
        { "header cut short", [](MEMORY_DEVICE& d) { d.bytes().assign({ 'o', 'r', 'l', 'u' }); }, true },
        { "side 32768", [](MEMORY_DEVICE& d) { write_header(d, 1, 32768, 1); }, true },
        { "side 65535", [](MEMORY_DEVICE& d) { write_header(d, 1, 65535, 1); }, true },
        // 32767 x 32767 would be 4 GiB; the stream holds eight bytes of it.
        { "4 GiB declared", [](MEMORY_DEVICE& d) { write_header(d, 1, 32767, 32767); device_write(&d, INT_U64(0)); },
            true },
        // Within the pixel limit but longer than the stream: found by the length check.
        { "longer than the stream", [](MEMORY_DEVICE& d) { write_header(d, 1, 1000, 1000); device_write(&d, INT_U32(1)); },
            true },
        { "cut short on a device that cannot seek",
            [](MEMORY_DEVICE& d) {
                write_header(d, 1, 4, 4);
                for (int i = 0; i < 5; ++i)
                    device_write(&d, INT_U32(0xFF0000FFu));
            },
            false },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.what);
        MEMORY_DEVICE device;
        c.write(device);
        device.rewind();
        device.seekable = c.seekable;
        IMAGE image;
        make_witness(image);
        set_last_error(ERROR_NONE, nullptr);
        EXPECT_FALSE(image.get_from_data_device(&device));
        EXPECT_EQ(last_error_code(), ERROR_READ);
        expect_witness(image);
    }
}

TEST(IMAGE_STREAM, locked_image_refuses_another_size)
{
    IMAGE source(3, 2);
    MEMORY_DEVICE device;
    ASSERT_TRUE(source.put_to_data_device(&device));
    device.rewind();
    IMAGE locked(2, 2);
    locked.locked = 1;
    EXPECT_FALSE(locked.get_from_data_device(&device));
    EXPECT_EQ(locked.width, 2);
}
