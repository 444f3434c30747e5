// Image files: round trips of every format, the general loader, the built-in pictures, and the
// refusal of damaged or hostile files.

#include <gtest/gtest.h>

#include <png.h>
#include <zlib.h>

#include <cstring>
#include <string>
#include <vector>

#include "graphics/generated/builtin_images.h"
#include "io/data_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "graphics/image.h"
#include "graphics/image_files.h"
#include "memory_device.h"
#include "test_support.h"
#include "io/text_file.h"

namespace {

// A picture where every pixel differs, with a range of alphas.
void draw_pattern(IMAGE& image, INT_S16 width, INT_S16 height)
{
    image.set_size(width, height);
    for (INT_S32 y = 0; y < height; ++y)
        for (INT_S32 x = 0; x < width; ++x)
            image.at(x, y) = COLOUR::from_channels(static_cast<INT_U8>(x * 37 + y), static_cast<INT_U8>(y * 53 + 7),
                static_cast<INT_U8>(x * y + 100), static_cast<INT_U8>(255 - x * 11 - y * 3));
}

void expect_same_pixels(const IMAGE& a, const IMAGE& b)
{
    ASSERT_EQ(a.width, b.width);
    ASSERT_EQ(a.height, b.height);
    for (INT_S32 y = 0; y < a.height; ++y)
        for (INT_S32 x = 0; x < a.width; ++x)
            ASSERT_EQ(a.at(x, y).value, b.at(x, y).value) << "at " << x << "," << y;
}

FOLDER folder_of(const TEMP_FOLDER& temp)
{
    FOLDER folder;
    EXPECT_TRUE(folder.set_raw(temp.path().c_str()));
    return folder;
}

std::string bytes_of(const MEMORY_DEVICE& device)
{
    return std::string(device.bytes().begin(), device.bytes().end());
}

// A PNG chunk with its CRC.
std::string png_chunk(const char* type, const std::string& data)
{
    std::string chunk;
    INT_U32 length = static_cast<INT_U32>(data.size());
    for (int shift = 24; shift >= 0; shift -= 8)
        chunk += static_cast<char>((length >> shift) & 0xFF);
    std::string body = std::string(type, 4) + data;
    INT_U32 crc = static_cast<INT_U32>(crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size())));
    chunk += body;
    for (int shift = 24; shift >= 0; shift -= 8)
        chunk += static_cast<char>((crc >> shift) & 0xFF);
    return chunk;
}

// Signature and a header claiming width by height, RGBA, with a valid CRC and nothing after.
std::string png_header_only(INT_U32 width, INT_U32 height)
{
    std::string ihdr;
    for (INT_U32 value : { width, height })
        for (int shift = 24; shift >= 0; shift -= 8)
            ihdr += static_cast<char>((value >> shift) & 0xFF);
    ihdr += std::string("\x08\x06\x00\x00\x00", 5);
    return std::string("\x89PNG\r\n\x1a\n", 8) + png_chunk("IHDR", ihdr);
}

// A grey 8-bit PNG written by libpng itself, optionally marked sRGB, optionally with a gAMA
// chunk of `gamma` (0: none). The pixel at x, y is x * 40 + y.
std::string grey_png(INT_U32 width, INT_U32 height, bool srgb, double gamma = 0)
{
    std::string out;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &out,
        [](png_structp p, png_bytep data, size_t length) {
            static_cast<std::string*>(png_get_io_ptr(p))->append(reinterpret_cast<char*>(data), length);
        },
        nullptr);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
        PNG_FILTER_TYPE_DEFAULT);
    if (srgb)
        png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    if (gamma > 0)
        png_set_gAMA(png, info, gamma);
    png_write_info(png, info);
    std::vector<png_byte> line(width);
    for (INT_U32 y = 0; y < height; ++y) {
        for (INT_U32 x = 0; x < width; ++x)
            line[x] = static_cast<png_byte>(x * 40 + y);
        png_write_row(png, line.data());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return out;
}

// A PCX header for width by height with the given bytes per line, in little-endian order.
std::string pcx_header(INT_U16 x_max, INT_U16 y_max, INT_U16 bytes_per_line, INT_U16 x_min = 0)
{
    std::string header(128, '\0');
    header[0] = 10;
    header[1] = 5;
    header[2] = 1;
    header[3] = 8;
    auto put = [&](size_t offset, INT_U16 value) {
        header[offset] = static_cast<char>(value & 0xFF);
        header[offset + 1] = static_cast<char>(value >> 8);
    };
    put(4, x_min);
    put(8, x_max);
    put(10, y_max);
    header[65] = 1;
    put(66, bytes_per_line);
    return header;
}

std::string pcx_palette() { return std::string(1, '\x0c') + std::string(768, '\x20'); }

class IMAGE_FILES : public ::testing::Test {
protected:
    void SetUp() override { set_last_error(ERROR_NONE, nullptr); }
};

} // namespace

// ---------------------------------------------------------------------------------------------
// Round trips
// ---------------------------------------------------------------------------------------------

TEST_F(IMAGE_FILES, png_round_trip_keeps_every_pixel_and_writes_the_author)
{
    IMAGE original;
    draw_pattern(original, 13, 9);
    MEMORY_DEVICE device;
    ASSERT_TRUE(original.save_png(&device));
    EXPECT_NE(bytes_of(device).find("Created by O.R.L.U. Ltd Platform Library"), std::string::npos);

    device.rewind();
    IMAGE loaded;
    ASSERT_TRUE(loaded.load_png(&device));
    expect_same_pixels(original, loaded);
}

TEST_F(IMAGE_FILES, grey_png_becomes_opaque_rgb_the_same_with_or_without_srgb)
{
    MEMORY_DEVICE plain(grey_png(5, 3, false));
    MEMORY_DEVICE marked(grey_png(5, 3, true));
    IMAGE a;
    IMAGE b;
    ASSERT_TRUE(a.load_png(&plain));
    ASSERT_TRUE(b.load_png(&marked));
    expect_same_pixels(a, b);
    COLOUR pixel = a.at(2, 1);
    EXPECT_EQ(pixel.red(), 81);
    EXPECT_EQ(pixel.green(), 81);
    EXPECT_EQ(pixel.blue(), 81);
    EXPECT_EQ(pixel.alpha(), 255);
}

TEST_F(IMAGE_FILES, a_gamma_chunk_is_corrected_for_a_display_of_gamma_2_2)
{
    // A linear file (gamma 1.0) on a display of 2.2: v becomes 255 * (v / 255) ^ (1 / 2.2).
    // By hand for the pixel 81 at (2, 1): 81 / 255 = 0.31765; ln = -1.14677; / 2.2 = -0.52126;
    // e to that = 0.59380; times 255 = 151.4.
    MEMORY_DEVICE linear(grey_png(5, 3, false, 1.0));
    IMAGE image;
    ASSERT_TRUE(image.load_png(&linear));
    EXPECT_NEAR(image.at(2, 1).red(), 151, 1);
    // 162 at (4, 2): 0.63529 ^ (1 / 2.2) = 0.81366, times 255 = 207.5.
    EXPECT_NEAR(image.at(4, 2).red(), 207, 1);
    EXPECT_EQ(image.at(0, 0).red(), 0);
    EXPECT_EQ(image.at(2, 1).green(), image.at(2, 1).red());

    // A file of gamma 0.25 is darkened: exponent 1 / (0.25 * 2.2) = 1.81818; for 81,
    // e^(-1.14677 * 1.81818) = 0.12436, times 255 = 31.7.
    MEMORY_DEVICE dark(grey_png(5, 3, false, 0.25));
    ASSERT_TRUE(image.load_png(&dark));
    EXPECT_NEAR(image.at(2, 1).red(), 32, 1);

    // The gamma of sRGB, written as a chunk, changes nothing.
    MEMORY_DEVICE srgb_gamma(grey_png(5, 3, false, 0.45455));
    ASSERT_TRUE(image.load_png(&srgb_gamma));
    EXPECT_EQ(image.at(2, 1).red(), 81);
}

TEST_F(IMAGE_FILES, jpeg_round_trip_is_close_opaque_and_resamples_while_reading)
{
    // Left half red, right half blue: flat areas survive compression almost exactly.
    IMAGE original(32, 16);
    original.fill_box(0, 0, 15, 15, COLOUR::from_argb(0x80FF0000u), false);
    original.fill_box(16, 0, 31, 15, COLOUR::from_argb(0x400000FFu), false);
    for (bool progressive : { false, true }) {
        MEMORY_DEVICE device;
        ASSERT_TRUE(original.save_jpeg(&device, 95, progressive));
        device.rewind();
        IMAGE loaded;
        ASSERT_TRUE(loaded.load_jpeg(&device, -1, 0));
        ASSERT_EQ(loaded.width, 32);
        ASSERT_EQ(loaded.height, 16);
        EXPECT_NEAR(loaded.at(3, 3).red(), 255, 4);
        EXPECT_NEAR(loaded.at(3, 3).blue(), 0, 4);
        EXPECT_NEAR(loaded.at(28, 12).blue(), 255, 4);
        EXPECT_EQ(loaded.at(3, 3).alpha(), 255);
        EXPECT_EQ(loaded.at(28, 12).alpha(), 255);

        device.rewind();
        IMAGE small;
        ASSERT_TRUE(small.load_jpeg(&device, 8, 40));
        ASSERT_EQ(small.width, 8);
        ASSERT_EQ(small.height, 40);
        for (INT_S32 y = 0; y < 40; ++y) {
            EXPECT_NEAR(small.at(0, y).red(), 255, 4) << y;
            EXPECT_NEAR(small.at(7, y).blue(), 255, 4) << y;
            EXPECT_EQ(small.at(7, y).alpha(), 255);
        }
    }
}

TEST_F(IMAGE_FILES, jpeg_of_one_row_or_column_fills_every_row_and_column_it_is_stretched_to)
{
    IMAGE line(9, 1);
    line.fill(COLOUR_WHITE);
    IMAGE column(1, 9);
    column.fill(COLOUR_WHITE);
    for (IMAGE* source : { &line, &column }) {
        MEMORY_DEVICE device;
        ASSERT_TRUE(source->save_jpeg(&device, 90, false));
        device.rewind();
        IMAGE stretched;
        ASSERT_TRUE(stretched.load_jpeg(&device, 6, 5));
        for (INT_S32 y = 0; y < 5; ++y)
            for (INT_S32 x = 0; x < 6; ++x)
                ASSERT_GE(stretched.at(x, y).value, 0xFFF0F0F0u) << x << "," << y;
    }
}

TEST_F(IMAGE_FILES, jpeg_writer_checks_quality_and_writes_nothing_for_an_empty_image)
{
    IMAGE image(4, 4);
    MEMORY_DEVICE device;
    EXPECT_FALSE(image.save_jpeg(&device, 101, false));
    EXPECT_EQ(last_error_code(), ERROR_WRITE);
    IMAGE empty;
    EXPECT_TRUE(empty.save_jpeg(&device, 50, false));
    EXPECT_TRUE(device.bytes().empty());
}

TEST_F(IMAGE_FILES, pcx_round_trip_keeps_colours_marks_the_key_transparent_and_loses_alpha)
{
    // 300 colours: more than the palette holds, and indices with the top bits set.
    IMAGE original(30, 10);
    for (INT_S32 y = 0; y < 10; ++y)
        for (INT_S32 x = 0; x < 30; ++x)
            original.at(x, y) = COLOUR::from_channels(static_cast<INT_U8>(x), static_cast<INT_U8>(y), 7, 100);
    original.at(0, 0) = COLOUR::from_channels(139, 154, 37, 255);
    MEMORY_DEVICE device;
    ASSERT_TRUE(original.save_pcx(&device));

    IMAGE loaded;
    device.rewind();
    ASSERT_TRUE(loaded.load_pcx(&device));
    ASSERT_EQ(loaded.width, 30);
    ASSERT_EQ(loaded.height, 10);
    EXPECT_EQ(loaded.at(0, 0).value, COLOUR::from_channels(139, 154, 37, 0).value);
    // Entries 1 to 254 are the first 254 new colours in row order; later ones become entry 0.
    EXPECT_EQ(loaded.at(1, 0).value, COLOUR::from_channels(1, 0, 7, 255).value);
    EXPECT_EQ(loaded.at(14, 8).value, COLOUR::from_channels(14, 8, 7, 255).value);
    EXPECT_EQ(loaded.at(29, 9).value, COLOUR::from_channels(139, 154, 37, 0).value);
}

TEST_F(IMAGE_FILES, raw_file_round_trip_and_a_later_version_leaves_the_image_alone)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_of(temp);
    IMAGE original;
    draw_pattern(original, 6, 4);
    DATA_FILE* file = folder.open_data_file("picture.raw", FILE_WRITE, ORDER_MARKER_IN_FILE, false);
    ASSERT_NE(file, nullptr);
    ASSERT_TRUE(original.put_to_data_device(file));
    FOLDER::close_data_file(&file);

    IMAGE loaded;
    ASSERT_TRUE(loaded.load_raw(folder, "picture.raw"));
    expect_same_pixels(original, loaded);

    std::string bytes = read_file(temp.file("picture.raw"));
    bytes[1 + 10] = 2;
    ASSERT_TRUE(write_file(temp.file("later.raw"), bytes));
    EXPECT_FALSE(loaded.load_raw(folder, "later.raw"));
    expect_same_pixels(original, loaded);
}

TEST_F(IMAGE_FILES, source_text_compiles_back_to_the_same_picture)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_of(temp);
    IMAGE original;
    draw_pattern(original, 3, 2);
    TEXT_FILE* text = folder.open_text_file("picture.h", FILE_WRITE, false);
    ASSERT_NE(text, nullptr);
    ASSERT_TRUE(original.save_source(text, "logo"));
    FOLDER::close_text_file(&text);

    std::string source = read_file(temp.file("picture.h"));
    ASSERT_EQ(source.rfind("static INT_U8 logo[29] =\n{\n\t0x01,0x00,0x03,0x00,0x02,\n\t", 0), 0u) << source;
    ASSERT_EQ(source.substr(source.size() - 4), "\n};\n");
    // Read the numbers back as a compiler would.
    std::vector<INT_U8> array;
    for (size_t at = source.find("0x"); at != std::string::npos; at = source.find("0x", at + 2))
        array.push_back(static_cast<INT_U8>(std::stoi(source.substr(at + 2, 2), nullptr, 16)));
    ASSERT_EQ(array.size(), 29u);
    IMAGE loaded;
    ASSERT_TRUE(loaded.load_array(array.data(), array.size()));
    expect_same_pixels(original, loaded);
}

TEST_F(IMAGE_FILES, built_in_pictures_read_at_their_sizes)
{
    IMAGE splash;
    ASSERT_TRUE(splash.load_array(builtin_splash_image, sizeof builtin_splash_image));
    EXPECT_EQ(splash.width, 257);
    EXPECT_EQ(splash.height, 97);
    EXPECT_EQ(builtin_splash_image[0], 1);
    // Rounded corners are see-through, the middle is opaque.
    EXPECT_EQ(splash.at(0, 0).alpha(), 0);
    EXPECT_EQ(splash.at(128, 48).alpha(), 255);

    IMAGE closing;
    ASSERT_TRUE(closing.load_array(builtin_closing_image, sizeof builtin_closing_image));
    EXPECT_EQ(closing.width, BUILTIN_CLOSING_WIDTH);
    EXPECT_EQ(closing.height, BUILTIN_CLOSING_HEIGHT);
}

// ---------------------------------------------------------------------------------------------
// The general loader
// ---------------------------------------------------------------------------------------------

TEST_F(IMAGE_FILES, loader_tries_extensions_in_order_then_content)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_of(temp);
    IMAGE green(4, 4);
    green.fill(COLOUR_GREEN);
    IMAGE red(6, 2);
    red.fill(COLOUR_RED);
    MEMORY_DEVICE png;
    MEMORY_DEVICE jpeg;
    ASSERT_TRUE(green.save_png(&png));
    ASSERT_TRUE(red.save_jpeg(&jpeg, 90, false));

    // Only a JPEG: found by appending ".jpg".
    ASSERT_TRUE(write_file(temp.file("logo.jpg"), bytes_of(jpeg)));
    IMAGE image;
    ASSERT_TRUE(image.load(folder, "logo"));
    EXPECT_EQ(image.width, 6);
    // Both: the PNG wins.
    ASSERT_TRUE(write_file(temp.file("logo.png"), bytes_of(png)));
    ASSERT_TRUE(image.load(folder, "logo"));
    EXPECT_EQ(image.width, 4);
    EXPECT_EQ(image.at(0, 0).value, COLOUR_GREEN.value);
    // A JPEG named .png is still found by content.
    ASSERT_TRUE(write_file(temp.file("picture.png"), bytes_of(jpeg)));
    ASSERT_TRUE(image.load(folder, "picture.png"));
    EXPECT_EQ(image.width, 6);
    // The result is scaled to the size asked.
    ASSERT_TRUE(image.load(folder, "logo", 8, 3));
    EXPECT_EQ(image.width, 8);
    EXPECT_EQ(image.height, 3);

    EXPECT_FALSE(image.load(folder, "missing"));
    EXPECT_EQ(last_error_code(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(image.load(folder, ""));
    EXPECT_FALSE(image.load(folder, nullptr));
    // A file that is none of the formats fails after every reader has tried it.
    ASSERT_TRUE(write_file(temp.file("junk.png"), std::string(2000, 'x')));
    EXPECT_FALSE(image.load(folder, "junk.png"));
    EXPECT_EQ(last_error_code(), ERROR_READ);
}

// ---------------------------------------------------------------------------------------------
// Refusals: each is a false result with the reason in the last-error slot, never a crash or a
// large allocation.
// ---------------------------------------------------------------------------------------------

TEST_F(IMAGE_FILES, png_refuses_oversized_sides_huge_products_and_truncation)
{
    IMAGE image;
    MEMORY_DEVICE wide(png_header_only(40000, 10));
    EXPECT_FALSE(image.load_png(&wide));
    EXPECT_EQ(last_error_code(), ERROR_READ);

    set_last_error(ERROR_NONE, nullptr);
    MEMORY_DEVICE huge(png_header_only(32767, 32767));
    EXPECT_FALSE(image.load_png(&huge));
    EXPECT_EQ(last_error_code(), ERROR_READ);
    EXPECT_FALSE(image.has_pixels());

    // Within the pixel budget but far more than the few bytes behind the header could inflate to.
    set_last_error(ERROR_NONE, nullptr);
    MEMORY_DEVICE claims(png_header_only(4000, 4000) + png_chunk("IDAT", "xx"));
    EXPECT_FALSE(image.load_png(&claims));
    EXPECT_NE(std::string(last_error_detail()).find("shorter"), std::string::npos);
    EXPECT_FALSE(image.has_pixels());

    IMAGE source;
    draw_pattern(source, 40, 30);
    MEMORY_DEVICE full;
    ASSERT_TRUE(source.save_png(&full));
    std::string bytes = bytes_of(full);
    for (size_t cut : { size_t(3), size_t(20), bytes.size() / 2, bytes.size() - 13 }) {
        set_last_error(ERROR_NONE, nullptr);
        MEMORY_DEVICE truncated(bytes.substr(0, cut));
        EXPECT_FALSE(image.load_png(&truncated)) << cut;
        EXPECT_EQ(last_error_code(), ERROR_READ) << cut;
    }
}

TEST_F(IMAGE_FILES, jpeg_refuses_truncation_and_garbage)
{
    IMAGE source(64, 64);
    source.gradient_box_vertical(0, 0, 63, 63, COLOUR_RED, COLOUR_BLUE, false);
    MEMORY_DEVICE full;
    ASSERT_TRUE(source.save_jpeg(&full, 80, true));
    std::string bytes = bytes_of(full);
    IMAGE image;
    for (size_t cut : { size_t(0), size_t(2), size_t(100), bytes.size() / 2, bytes.size() - 2 }) {
        set_last_error(ERROR_NONE, nullptr);
        MEMORY_DEVICE truncated(bytes.substr(0, cut));
        EXPECT_FALSE(image.load_jpeg(&truncated, -1, -1)) << cut;
        EXPECT_EQ(last_error_code(), ERROR_READ) << cut;
    }
    MEMORY_DEVICE garbage(std::string("\xff\xd8\xff\xe0") + std::string(500, '\x55'));
    EXPECT_FALSE(image.load_jpeg(&garbage, -1, -1));
}

TEST_F(IMAGE_FILES, pcx_refuses_short_files_bad_headers_and_data_that_cannot_fill_the_picture)
{
    IMAGE image;
    struct CASE {
        const char* what;
        std::string bytes;
    } cases[] = {
        { "shorter than its palette", pcx_header(9, 9, 10) + std::string(100, '\0') },
        { "no palette marker", pcx_header(9, 9, 10) + std::string(200, '\x01') + std::string(769, '\0') },
        { "wrong manufacturer", std::string(1, '\x0b') + pcx_header(9, 9, 10).substr(1) + std::string(100, '\x01') + pcx_palette() },
        { "no pixels", pcx_header(3, 9, 10, 5) + std::string(100, '\x01') + pcx_palette() },
        { "side too large", pcx_header(40000, 0, 40001) + std::string(100, '\x01') + pcx_palette() },
        { "over the pixel budget", pcx_header(30000, 30000, 30001) + std::string(10, '\x01') + pcx_palette() },
        { "huge claim, little data", pcx_header(2999, 2999, 3000) + std::string(10, '\x01') + pcx_palette() },
        { "runs out of data", pcx_header(9, 9, 10) + std::string("\xc2\x01\xc2\x01") + pcx_palette() },
    };
    for (const CASE& each : cases) {
        set_last_error(ERROR_NONE, nullptr);
        MEMORY_DEVICE device(each.bytes);
        EXPECT_FALSE(image.load_pcx(&device)) << each.what;
        EXPECT_EQ(last_error_code(), ERROR_READ) << each.what;
    }
    // The same header with enough data reads.
    MEMORY_DEVICE good(pcx_header(9, 9, 10) + std::string(100, '\x01') + pcx_palette());
    EXPECT_TRUE(image.load_pcx(&good));
    EXPECT_EQ(image.at(9, 9).value, COLOUR::from_channels(0x20, 0x20, 0x20, 255).value);
}

TEST_F(IMAGE_FILES, array_refuses_null_and_arrays_shorter_than_they_declare)
{
    IMAGE image;
    EXPECT_FALSE(image.load_array(nullptr, 0));
    const INT_U8 short_array[] = { 1, 0, 2, 0, 2, 1, 2, 3, 4 };
    EXPECT_FALSE(image.load_array(short_array, sizeof short_array));
    EXPECT_EQ(last_error_code(), ERROR_READ);
    const INT_U8 wide_array[] = { 1, 0x80, 0x00, 0, 1 };
    EXPECT_FALSE(image.load_array(wide_array, sizeof wide_array));
}

TEST_F(IMAGE_FILES, pixel_budget_bounds_every_reader)
{
    set_image_pixel_limit(100);
    IMAGE source(11, 10);
    source.fill(COLOUR_WHITE);
    MEMORY_DEVICE png;
    MEMORY_DEVICE jpeg;
    MEMORY_DEVICE pcx;
    ASSERT_TRUE(source.save_png(&png));
    ASSERT_TRUE(source.save_jpeg(&jpeg, 50, false));
    ASSERT_TRUE(source.save_pcx(&pcx));
    IMAGE image;
    png.rewind();
    jpeg.rewind();
    pcx.rewind();
    EXPECT_FALSE(image.load_png(&png));
    EXPECT_FALSE(image.load_jpeg(&jpeg, -1, -1));
    EXPECT_FALSE(image.load_pcx(&pcx));
    set_image_pixel_limit(0);
    EXPECT_EQ(image_pixel_limit(), IMAGE_DEFAULT_PIXEL_LIMIT);
    pcx.rewind();
    EXPECT_TRUE(image.load_pcx(&pcx));
}
