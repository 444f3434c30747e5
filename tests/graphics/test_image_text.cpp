// Text drawing into an IMAGE. Most checks compare one drawing with another made by simpler
// calls (an effect with the pass it stands for, a box with the lines it should hold), so they do
// not depend on how one FreeType version shapes a glyph. Two stored references, compared with a
// tolerance, guard the look as a whole.

#include <gtest/gtest.h>

#include "io/data_file.h"
#include "io/folder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "graphics/colour.h"
#include "io/folder.h"
#include "graphics/font.h"
#include "graphics/image.h"
#include "test_support.h"

namespace {

const std::string font_folder_path = ORLU_SOURCE_DIR "/samples/fonts";

const FOLDER* samples_folder()
{
    static FOLDER folder;
    folder.set_raw(font_folder_path.c_str());
    return &folder;
}
const std::string reference_folder = ORLU_SOURCE_DIR "/tests/data";
constexpr INT_U8 SANS = 10;
constexpr INT_U8 MONO = 18;
constexpr INT_S16 SIZE = 20;
const COLOUR OPAQUE_BLACK = COLOUR_BLACK;

class IMAGE_TEXT : public ::testing::Test {
protected:
    void SetUp() override
    {
        disable_font_autoload();
        start_font_system();
        ASSERT_EQ(load_font("BabelSans.ttf", nullptr, SANS, samples_folder()), SANS);
        ASSERT_EQ(load_font("zxspectr.ttf", nullptr, MONO, samples_folder()), MONO);
    }
    void TearDown() override { stop_font_system(); }
};

// An opaque black canvas, so that blended text shows as grey levels.
struct CANVAS {
    IMAGE image;
    CANVAS(INT_S16 width, INT_S16 height)
        : image(width, height)
    {
        image.clear(OPAQUE_BLACK, true);
        image.clear_dirty();
    }
};

bool same_pixels(const IMAGE& a, const IMAGE& b)
{
    if (a.width != b.width || a.height != b.height)
        return false;
    for (INT_S32 y = 0; y < a.height; y++) {
        if (memcmp(a.row(y), b.row(y), static_cast<size_t>(a.width) * sizeof(COLOUR)) != 0)
            return false;
    }
    return true;
}

INT_S32 changed_pixels(const IMAGE& image, COLOUR ground)
{
    INT_S32 changed = 0;
    for (INT_S32 y = 0; y < image.height; y++)
        for (INT_S32 x = 0; x < image.width; x++)
            changed += image.at(x, y) != ground;
    return changed;
}

// Bounding box of the pixels that differ from the ground colour; false when none do.
bool ink_box(const IMAGE& image, COLOUR ground, INT_S32* left, INT_S32* top, INT_S32* right, INT_S32* bottom)
{
    *left = *top = 32767;
    *right = *bottom = -1;
    for (INT_S32 y = 0; y < image.height; y++) {
        for (INT_S32 x = 0; x < image.width; x++) {
            if (image.at(x, y) == ground)
                continue;
            *left = std::min(*left, x);
            *right = std::max(*right, x);
            *top = std::min(*top, y);
            *bottom = std::max(*bottom, y);
        }
    }
    return *right >= 0;
}

INT_U32 row_peak(const IMAGE& image, INT_S32 y)
{
    INT_U32 peak = 0;
    for (INT_S32 x = 0; x < image.width; x++)
        peak = std::max<INT_U32>(peak, image.at(x, y).red());
    return peak;
}

// Stored references are PNG files that were looked at by eye once and then frozen: the test only
// reads them, so the code under test can never write its own expectation. A reference that must
// change is made outside the test, looked at, and committed in its place.
void compare_with_reference(const IMAGE& image, const char* name)
{
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(reference_folder.c_str()));
    IMAGE stored;
    ASSERT_TRUE(stored.load_png(folder, name)) << "no reference " << reference_folder << "/" << name;
    ASSERT_EQ(stored.width, image.width);
    ASSERT_EQ(stored.height, image.height);
    // Another FreeType may hint an edge a little differently: the sum of differences must stay
    // small and few pixels may differ by much.
    INT_U64 total = 0;
    size_t far_off = 0;
    size_t bytes = static_cast<size_t>(image.width) * 4;
    for (INT_S32 y = 0; y < image.height; y++) {
        const unsigned char* got = reinterpret_cast<const unsigned char*>(image.row(y));
        const unsigned char* want = reinterpret_cast<const unsigned char*>(stored.row(y));
        for (size_t i = 0; i < bytes; i++) {
            int difference = abs(got[i] - want[i]);
            total += static_cast<INT_U64>(difference);
            far_off += difference > 96;
        }
    }
    double count = static_cast<double>(bytes) * image.height;
    EXPECT_LT(static_cast<double>(total) / count, 3.0) << name;
    EXPECT_LT(static_cast<double>(far_off) / count, 0.02) << name;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// One line
// ---------------------------------------------------------------------------------------------

TEST_F(IMAGE_TEXT, a_line_draws_inside_its_cell_and_marks_it_dirty)
{
    CANVAS canvas(120, 60);
    IMAGE& image = canvas.image;
    INT_S32 width = image.text_width(SANS, SIZE, SIZE, "Hello");
    image.draw_text(10, 15, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "Hello");

    INT_S32 left, top, right, bottom;
    ASSERT_TRUE(ink_box(image, OPAQUE_BLACK, &left, &top, &right, &bottom));
    EXPECT_GE(left, 10);
    EXPECT_LE(right, 10 + width);
    EXPECT_GE(top, 15);
    EXPECT_LE(bottom, 15 + SIZE - 1);
    EXPECT_LE(image.dirty_left, left);
    EXPECT_GE(image.dirty_right, right);
    EXPECT_LE(image.dirty_top, top);
    EXPECT_GE(image.dirty_bottom, bottom);
    // Opaque text on an opaque ground: fully covered pixels take the text colour.
    EXPECT_EQ(row_peak(image, (top + bottom) / 2), 255u);
}

TEST_F(IMAGE_TEXT, defaults_stand_in_for_font_255_and_size_0xffff)
{
    CANVAS a(200, 40), b(200, 40);
    a.image.draw_text(2, 2, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, DEFAULT_FONT, -1, -1, "Default");
    b.image.draw_text(2, 2, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, 22, 22, "Default");
    EXPECT_GT(changed_pixels(a.image, OPAQUE_BLACK), 0);
    EXPECT_TRUE(same_pixels(a.image, b.image));
    EXPECT_EQ(a.image.text_width(DEFAULT_FONT, -1, -1, "Default"), b.image.text_width(SANS, 22, 22, "Default"));
}

TEST_F(IMAGE_TEXT, nothing_is_drawn_for_an_unloaded_font_a_bad_size_or_an_empty_clip)
{
    CANVAS canvas(100, 40);
    IMAGE& image = canvas.image;
    image.draw_text(2, 2, COLOUR_WHITE, COLOUR_RED, COLOUR_RED, 40, SIZE, SIZE, "abc");
    image.draw_text(2, 2, COLOUR_WHITE, COLOUR_RED, COLOUR_RED, SANS, 0, SIZE, "abc");
    image.draw_text(2, 2, COLOUR_WHITE, COLOUR_RED, COLOUR_RED, SANS, SIZE, 0, "abc");
    image.draw_text(2, 2, COLOUR_WHITE, COLOUR_RED, COLOUR_RED, SANS, SIZE, SIZE, nullptr);
    image.intersect_clip(200, 200, 300, 300);
    image.draw_text(2, 2, COLOUR_WHITE, COLOUR_RED, COLOUR_RED, SANS, SIZE, SIZE, "abc");
    image.set_clip(0, 0, 99, 39);
    EXPECT_EQ(changed_pixels(image, OPAQUE_BLACK), 0);
    EXPECT_FALSE(image.is_dirty());
    EXPECT_EQ(image.text_width(40, SIZE, SIZE, "abc"), 3);

    IMAGE empty;
    empty.draw_text(0, 0, COLOUR_WHITE, COLOUR_RED, COLOUR_RED, SANS, SIZE, SIZE, "abc");
    empty.draw_text_box(0, 0, 10, 10, COLOUR_WHITE, COLOUR_RED, COLOUR_RED, SANS, SIZE, SIZE, "abc", 0);
}

TEST_F(IMAGE_TEXT, drawing_stays_inside_the_clip_and_stops_at_the_right_edge)
{
    CANVAS canvas(60, 40);
    IMAGE& image = canvas.image;
    image.set_clip(10, 5, 30, 25);
    std::string long_text(2000, 'W');
    image.draw_text(-15, 0, COLOUR_WHITE, COLOUR_RED, COLOUR_GREEN, SANS, SIZE, SIZE, long_text.c_str());
    for (INT_S32 y = 0; y < image.height; y++) {
        for (INT_S32 x = 0; x < image.width; x++) {
            if (x < 10 || x > 30 || y < 5 || y > 25) {
                EXPECT_EQ(image.at(x, y), OPAQUE_BLACK) << x << "," << y;
            }
        }
    }
    EXPECT_GT(changed_pixels(image, OPAQUE_BLACK), 0);
}

TEST_F(IMAGE_TEXT, count_wide_groups_and_colour_sections_draw_as_their_plain_letters)
{
    CANVAS plain(120, 40), marked(120, 40), counted(120, 40);
    plain.image.draw_text(4, 4, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "AB");
    marked.image.draw_text(4, 4, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE,
        "\x01,0041\x01\x02" "255,255,255,255\x02" "B");
    counted.image.draw_text(4, 4, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "ABCD", 0, 2);
    EXPECT_TRUE(same_pixels(plain.image, marked.image));
    EXPECT_TRUE(same_pixels(plain.image, counted.image));

    // A wide character above 255 is drawn from a one-off rendering.
    CANVAS euro(60, 40);
    euro.image.draw_text(4, 4, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "\x01,20AC\x01");
    EXPECT_GT(changed_pixels(euro.image, OPAQUE_BLACK), 0);
}

TEST_F(IMAGE_TEXT, a_colour_section_with_alpha_0_hides_text_but_moves_the_pen)
{
    CANVAS hidden(120, 40), only_b(120, 40), red(120, 40), restored(120, 40);
    INT_S32 a_width = hidden.image.text_width(SANS, SIZE, SIZE, "a");
    hidden.image.draw_text(4, 4, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE,
        "\x02" "0,0,0,0\x02" "a\x02\x02" "b");
    only_b.image.draw_text(static_cast<INT_S16>(4 + a_width), 4, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE,
        SANS, SIZE, SIZE, "b");
    EXPECT_TRUE(same_pixels(hidden.image, only_b.image));

    red.image.draw_text(4, 4, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE,
        "\x02" "255,255,0,0\x02" "ab");
    restored.image.draw_text(4, 4, COLOUR_RED, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "ab");
    EXPECT_TRUE(same_pixels(red.image, restored.image));
}

TEST_F(IMAGE_TEXT, background_fills_the_cells_and_underline_runs_below_the_baseline)
{
    CANVAS canvas(100, 50);
    IMAGE& image = canvas.image;
    INT_S32 width = image.text_width(MONO, SIZE, SIZE, "ab");
    COLOUR blue = COLOUR_BLUE;
    image.draw_text(10, 10, COLOUR_INVISIBLE, blue, COLOUR_GREEN, MONO, SIZE, SIZE, "ab");
    // The cells: rows 10 to 29, from the pen to the pen plus the advance.
    EXPECT_EQ(image.at(10, 10), blue);
    EXPECT_EQ(image.at(10 + width, 29), blue);
    EXPECT_EQ(image.at(9, 10), OPAQUE_BLACK);
    EXPECT_EQ(image.at(10, 9), OPAQUE_BLACK);
    EXPECT_EQ(image.at(11 + width, 10), OPAQUE_BLACK);
    // One underline row, inside the cell, across both characters.
    INT_S32 underline_rows = 0;
    for (INT_S32 y = 0; y < image.height; y++) {
        if (image.at(10, y) == COLOUR_GREEN) {
            underline_rows++;
            EXPECT_EQ(image.at(10 + width - 1, y), COLOUR_GREEN);
            EXPECT_GT(y, 10 + SIZE / 2);
            EXPECT_LE(y, 29);
        }
    }
    EXPECT_EQ(underline_rows, 1);
}

// ---------------------------------------------------------------------------------------------
// Effects: each is the same as the plain passes it is made of
// ---------------------------------------------------------------------------------------------

TEST_F(IMAGE_TEXT, a_shadow_is_black_at_alpha_50_two_pixels_down_and_right)
{
    COLOUR white_ground = COLOUR_WHITE;
    CANVAS shadowed(100, 40), expected(100, 40);
    shadowed.image.clear(white_ground, true);
    expected.image.clear(white_ground, true);
    // An invisible text colour leaves the shadow alone on the canvas.
    shadowed.image.draw_text(5, 5, COLOUR_INVISIBLE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "Ship",
        TEXT_SHADOW | TEXT_INSET);
    expected.image.draw_text(7, 7, COLOUR::from_argb(0x32000000u), COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE,
        SIZE, "Ship");
    EXPECT_GT(changed_pixels(expected.image, white_ground), 0);
    EXPECT_TRUE(same_pixels(shadowed.image, expected.image));
}

TEST_F(IMAGE_TEXT, inset_puts_a_dark_copy_above_light_text_and_a_light_copy_below_dark_text)
{
    COLOUR grey = COLOUR_GREY;
    CANVAS light(100, 40), light_expected(100, 40), dark(100, 40), dark_expected(100, 40);
    for (CANVAS* canvas : { &light, &light_expected, &dark, &dark_expected })
        canvas->image.clear(grey, true);
    // Lightness comes from the colour alone; alpha 0 keeps the main pass out of the picture.
    light.image.draw_text(5, 5, COLOUR::from_argb(0x00FFFFFFu), COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE,
        "Inset", TEXT_INSET | TEXT_CHISELED);
    light_expected.image.draw_text(4, 4, COLOUR::from_argb(0x64000000u), COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS,
        SIZE, SIZE, "Inset");
    dark.image.draw_text(5, 5, COLOUR::from_argb(0x00000000u), COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE,
        "Inset", TEXT_INSET);
    dark_expected.image.draw_text(6, 6, COLOUR::from_argb(0x64FFFFFFu), COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS,
        SIZE, SIZE, "Inset");
    EXPECT_GT(changed_pixels(light_expected.image, grey), 0);
    EXPECT_TRUE(same_pixels(light.image, light_expected.image));
    EXPECT_TRUE(same_pixels(dark.image, dark_expected.image));
}

TEST_F(IMAGE_TEXT, chiseled_text_lightens_and_darkens_the_ground_and_keeps_its_hue)
{
    COLOUR ground = COLOUR::from_argb(0xFF3366CCu);
    CANVAS canvas(100, 40);
    canvas.image.clear(ground, true);
    canvas.image.draw_text(5, 5, COLOUR_RED, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "Chisel",
        TEXT_CHISELED);
    double ground_alpha, ground_hue, ground_saturation, ground_lightness;
    colour_to_hsl(ground, ground_alpha, ground_hue, ground_saturation, ground_lightness);
    INT_S32 lighter = 0, darker = 0;
    for (INT_S32 y = 0; y < canvas.image.height; y++) {
        for (INT_S32 x = 0; x < canvas.image.width; x++) {
            COLOUR pixel = canvas.image.at(x, y);
            if (pixel == ground)
                continue;
            double alpha, hue, saturation, lightness;
            colour_to_hsl(pixel, alpha, hue, saturation, lightness);
            EXPECT_NEAR(hue, ground_hue, 0.02);
            EXPECT_EQ(pixel.alpha(), 255);
            lighter += lightness > ground_lightness;
            darker += lightness < ground_lightness;
        }
    }
    EXPECT_GT(lighter, 0);
    EXPECT_GT(darker, 0);
}

TEST_F(IMAGE_TEXT, a_reflection_fades_below_the_baseline_and_leaves_the_text_alone)
{
    CANVAS plain(60, 60), reflected(60, 60);
    plain.image.draw_text(5, 5, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "H");
    reflected.image.draw_text(5, 5, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "H",
        TEXT_REFLECT);
    INT_S32 left, top, right, bottom;
    ASSERT_TRUE(ink_box(plain.image, OPAQUE_BLACK, &left, &top, &right, &bottom));
    for (INT_S32 y = 0; y <= bottom; y++)
        for (INT_S32 x = 0; x < 60; x++)
            ASSERT_EQ(plain.image.at(x, y), reflected.image.at(x, y));
    // "H" stands on the baseline: its mirror starts on the next row at a third of its strength
    // and fades to nothing over the glyph's height.
    INT_S32 rows = bottom - top + 1;
    EXPECT_GT(row_peak(reflected.image, bottom + 1), 0u);
    EXPECT_LE(row_peak(reflected.image, bottom + 1), 255u / 3 + 1);
    EXPECT_LT(row_peak(reflected.image, bottom + rows), row_peak(reflected.image, bottom + 1));
    EXPECT_EQ(row_peak(reflected.image, bottom + rows + 1), 0u);
}

// ---------------------------------------------------------------------------------------------
// Formatted text and blocks
// ---------------------------------------------------------------------------------------------

TEST_F(IMAGE_TEXT, formatted_text_draws_as_the_formatted_string)
{
    CANVAS formatted(200, 40), plain(200, 40);
    formatted.image.draw_text_format(2, 2, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_RED, SANS, SIZE, SIZE, "%d%% of %s",
        42, "files");
    plain.image.draw_text(2, 2, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_RED, SANS, SIZE, SIZE, "42% of files");
    EXPECT_TRUE(same_pixels(formatted.image, plain.image));

    CANVAS two(200, 40), defaults(200, 40), expected(200, 40);
    two.image.draw_text_format(2, 2, COLOUR_WHITE, COLOUR_INVISIBLE, DEFAULT_FONT, -1, -1, "%s", "x y");
    defaults.image.draw_text_format(2, 2, COLOUR_WHITE, COLOUR_INVISIBLE, "x %c", 'y');
    expected.image.draw_text(2, 2, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, 22, 22, "x y");
    EXPECT_TRUE(same_pixels(two.image, expected.image));
    EXPECT_TRUE(same_pixels(defaults.image, expected.image));
}

TEST_F(IMAGE_TEXT, a_box_places_its_lines_by_the_flags)
{
    const char* text = "one\ntwo";
    INT_S32 one = IMAGE().text_width(SANS, SIZE, SIZE, "one");
    INT_S32 two = IMAGE().text_width(SANS, SIZE, SIZE, "two");
    struct CASE {
        INT_U8 flags;
        INT_S32 x_one, x_two, y_one;
    } cases[] = {
        { TEXT_LEFT | TEXT_TOP, 10, 10, 10 },
        { TEXT_RIGHT | TEXT_BOTTOM, 189 - one, 189 - two, 89 - 2 * SIZE },
        { 0, 10 + (180 - one) / 2, 10 + (180 - two) / 2, 10 + (80 - 2 * SIZE) / 2 },
    };
    for (const CASE& c : cases) {
        CANVAS box(200, 100), lines(200, 100);
        box.image.draw_text_box(10, 10, 189, 89, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, text,
            c.flags);
        lines.image.draw_text(static_cast<INT_S16>(c.x_one), static_cast<INT_S16>(c.y_one), COLOUR_WHITE,
            COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "one");
        lines.image.draw_text(static_cast<INT_S16>(c.x_two), static_cast<INT_S16>(c.y_one + SIZE), COLOUR_WHITE,
            COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "two");
        EXPECT_TRUE(same_pixels(box.image, lines.image)) << "flags " << int(c.flags);
        EXPECT_EQ(box.image.dirty_left, 10);
        EXPECT_EQ(box.image.dirty_bottom, 89);
    }
}

TEST_F(IMAGE_TEXT, a_box_adds_the_hyphen_and_the_ellipsis_behind_their_lines)
{
    INT_S32 advance = IMAGE().text_width(MONO, SIZE, SIZE, "a");
    INT_S16 right = static_cast<INT_S16>(8 * advance - 1);
    // Two lines of eight columns: a hyphenated first line and a cut-off second one.
    CANVAS box(200, 60), lines(200, 60);
    box.image.draw_text_box(0, 0, right, 2 * SIZE - 1, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, MONO, SIZE,
        SIZE, "abcdefghijklmnopqrstuvwxyz", TEXT_LEFT | TEXT_TOP);
    IMAGE& expected = lines.image;
    expected.draw_text(0, 0, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, MONO, SIZE, SIZE, "abcdef");
    expected.draw_text(static_cast<INT_S16>(6 * advance), 0, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, MONO,
        SIZE, SIZE, "-");
    expected.draw_text(0, SIZE, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, MONO, SIZE, SIZE, "ghijk");
    expected.draw_text(static_cast<INT_S16>(5 * advance), SIZE, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE,
        MONO, SIZE, SIZE, "...");
    EXPECT_TRUE(same_pixels(box.image, expected));
}

TEST_F(IMAGE_TEXT, a_box_lower_than_a_line_still_shows_one_line)
{
    CANVAS box(200, 40), line(200, 40);
    box.image.draw_text_box(0, 10, 199, 14, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE,
        "first\nsecond", TEXT_LEFT | TEXT_TOP);
    line.image.draw_text(0, 10, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, SIZE, SIZE, "first");
    EXPECT_GT(changed_pixels(line.image, OPAQUE_BLACK), 0);
    EXPECT_TRUE(same_pixels(box.image, line.image));

    CANVAS empty(50, 20);
    empty.image.draw_text_box(0, 0, 49, 19, COLOUR_WHITE, COLOUR_RED, COLOUR_RED, SANS, SIZE, SIZE, "", 0);
    empty.image.draw_text_box(0, 0, 49, 19, COLOUR_WHITE, COLOUR_RED, COLOUR_RED, SANS, SIZE, 0, "x", 0);
    EXPECT_FALSE(empty.image.is_dirty());
}

// ---------------------------------------------------------------------------------------------
// Stored references
// ---------------------------------------------------------------------------------------------

TEST_F(IMAGE_TEXT, effects_match_the_stored_reference)
{
    IMAGE image(240, 130);
    image.gradient_box_vertical(0, 0, 239, 129, COLOUR::from_argb(0xFF203050u), COLOUR::from_argb(0xFF8090A0u), false);
    image.draw_text(4, 2, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, 22, 22, "Plain text", 0);
    image.draw_text(4, 26, COLOUR_YELLOW, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, 22, 22, "Shadow", TEXT_SHADOW);
    image.draw_text(120, 26, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, 22, 22, "Inset", TEXT_INSET);
    image.draw_text(4, 50, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, 22, 22, "Chiseled", TEXT_CHISELED);
    image.draw_text(4, 74, COLOUR_ORANGE, COLOUR_T_NAVY, COLOUR_CYAN, MONO, 18, 18,
        "Under\x02" "255,0,255,0\x02" "lined", 0);
    image.draw_text(4, 96, COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, 20, 20, "Reflect gy", TEXT_REFLECT);
    compare_with_reference(image, "text_effects.png");
}

TEST_F(IMAGE_TEXT, a_wrapped_box_matches_the_stored_reference)
{
    IMAGE image(160, 100);
    image.clear(COLOUR_WHITE, true);
    image.draw_text_box(5, 5, 154, 94, COLOUR_BLACK, COLOUR_INVISIBLE, COLOUR_INVISIBLE, SANS, 16, 16,
        "The installer copies the files, writes its log and then creates the menu entries for "
        "everything it installed on this machine.",
        0);
    // Without the reference: nothing lies outside the box, and text lies inside it.
    INT_S32 outside = 0, dark = 0;
    for (INT_S32 y = 0; y < image.height; ++y) {
        for (INT_S32 x = 0; x < image.width; ++x) {
            bool inside = x >= 5 && x <= 154 && y >= 5 && y <= 94;
            if (!inside && image.at(x, y) != COLOUR_WHITE)
                ++outside;
            if (inside && image.at(x, y).red() < 128)
                ++dark;
        }
    }
    EXPECT_EQ(outside, 0);
    EXPECT_GT(dark, 300);
    compare_with_reference(image, "text_box.png");
}
