// The font table, the markup walker, measuring and the block layout. Sizes are never compared
// with numbers from one FreeType version: widths are compared with other widths, and the layout
// tests use the monospaced font, whose advance is one number for every character.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "fake_home.h"
#include "io/folder.h"
#include "graphics/font.h"
#include "test_support.h"

namespace {

const std::string font_folder_path = ORLU_SOURCE_DIR "/samples/fonts";

const FOLDER* samples_folder()
{
    static FOLDER folder;
    folder.set_raw(font_folder_path.c_str());
    return &folder;
}

const FOLDER* folder_at(const std::string& path)
{
    static FOLDER folder;
    folder.set_raw(path.c_str());
    return &folder;
}
const std::vector<std::string> console_only = { "PATH=/nonexistent", "DISPLAY=" };

constexpr INT_S16 SANS = 10;     // the default font
constexpr INT_S16 MONO = 18;
constexpr INT_S16 SIZE = 20;

class FONT_TEST : public ::testing::Test {
protected:
    void SetUp() override
    {
        disable_font_autoload();
        start_font_system();
        ASSERT_EQ(load_font("BabelSans.ttf", nullptr, SANS, samples_folder()), SANS);
        ASSERT_EQ(load_font("zxspectr.ttf", nullptr, MONO, samples_folder()), MONO);
        m_advance = measure_text(MONO, SIZE, SIZE, "a", -1, false);
        ASSERT_GT(m_advance, 0);
    }
    void TearDown() override { stop_font_system(); }

    INT_S32 width(const char* text) const { return measure_text(SANS, SIZE, SIZE, text, -1, false); }

    // The text of one laid-out line, markup included, as draw_text would walk it.
    static std::string line_text(const char* text, const TEXT_LINE& line)
    {
        TEXT_CURSOR cursor(text, line.flags & LINE_STARTS_WIDE);
        cursor.seek(line.start, line.flags & LINE_STARTS_WIDE);
        std::string result;
        for (INT_S32 i = 0; line.count < 0 || i < line.count; i++) {
            if (cursor.next_character() != TOKEN_CHARACTER)
                break;
            result += cursor.code() < 256 ? static_cast<char>(cursor.code()) : '?';
        }
        return result;
    }

    // Lays out text in a box `columns` monospaced characters wide and `rows` lines high.
    std::vector<std::string> layout(const char* text, INT_S32 columns, INT_S32 rows, TEXT_LAYOUT* result = nullptr)
    {
        TEXT_LAYOUT storage;
        TEXT_LAYOUT* target = result ? result : &storage;
        EXPECT_TRUE(layout_text_box(target, MONO, SIZE, SIZE, text, columns * m_advance, rows));
        std::vector<std::string> lines;
        for (INT_S16 i = 0; i < target->line_count; i++)
            lines.push_back(line_text(text, target->lines[i]));
        return lines;
    }

    INT_S32 m_advance { 0 };
};

using LINES = std::vector<std::string>;

} // namespace

// ---------------------------------------------------------------------------------------------
// Font table
// ---------------------------------------------------------------------------------------------

TEST_F(FONT_TEST, built_in_rows_accept_only_their_own_file)
{
    EXPECT_EQ(load_font("BabelSans.ttf", nullptr, 5, samples_folder()), -1);
    EXPECT_FALSE(font_is_loaded(5));
    EXPECT_EQ(load_font("Achafsex.ttf", "Five", 5, samples_folder()), 5);
    EXPECT_STREQ(font_record(5)->display_name, "Five");
    EXPECT_EQ(font_record(5)->grey_levels, 255);

    // Every row of the table names a file that the sample's font set carries: a misspelt name
    // would leave that font out of every data set.
    for (INT_S16 row = 0; row < BUILT_IN_FONT_COUNT; ++row) {
        ASSERT_NE(font_file_name(row), nullptr) << row;
        EXPECT_TRUE(samples_folder()->exists(font_file_name(row))) << font_file_name(row);
        EXPECT_NE(font_display_name(row), nullptr) << row;
    }
    EXPECT_EQ(font_file_name(BUILT_IN_FONT_COUNT), nullptr);
    EXPECT_EQ(font_display_name(-1), nullptr);
}

TEST_F(FONT_TEST, free_slots_are_taken_from_23_on_and_reused_and_long_names_are_cut)
{
    std::string path = font_folder_path + "/BabelSans.ttf";
    TEMP_FOLDER folder;
    ASSERT_TRUE(write_file(folder.file("extra.ttf"), read_file(path)));

    EXPECT_EQ(load_font("extra.ttf", nullptr, -1, folder_at(folder.path())), 23);
    EXPECT_EQ(load_font("extra.ttf", "Second", 255, folder_at(folder.path())), 24);
    EXPECT_EQ(font_table_length(), 25);
    EXPECT_STREQ(font_record(23)->display_name, "extra.ttf");
    EXPECT_STREQ(font_record(24)->display_name, "Second");

    unload_font(23);
    EXPECT_FALSE(font_is_loaded(23));
    EXPECT_EQ(load_font("extra.ttf", nullptr, -1, folder_at(folder.path())), 23);
    // A slot that holds a face is not loaded over.
    EXPECT_EQ(load_font("extra.ttf", nullptr, 24, folder_at(folder.path())), -1);
    EXPECT_EQ(load_font("extra.ttf", nullptr, 40, folder_at(folder.path())), 40);
    EXPECT_EQ(font_table_length(), 41);
    EXPECT_FALSE(font_is_loaded(39));
    EXPECT_EQ(font_record(41), nullptr);

    // Long display names are cut to 127 characters.
    std::string name(300, 'n');
    EXPECT_EQ(load_font("Achafont.ttf", name.c_str(), 3, samples_folder()), 3);
    EXPECT_EQ(std::string(font_record(3)->display_name), name.substr(0, 127));
}

TEST_F(FONT_TEST, a_missing_file_leaves_the_slot_free_and_text_measures_by_bytes)
{
    EXPECT_EQ(load_font("absent.ttf", nullptr, 30, samples_folder()), -1);
    TEMP_FOLDER empty;
    EXPECT_EQ(load_font("BabelSans.ttf", nullptr, SANS, folder_at(empty.path())), -1);
    EXPECT_FALSE(font_is_loaded(30));
    EXPECT_EQ(font_record(30), nullptr);
    EXPECT_EQ(measure_text(30, SIZE, SIZE, "abc\x01,0041\x01", -1, false), 10);
    EXPECT_EQ(measure_text(SANS, 0, SIZE, "abcd", -1, false), 4);
    EXPECT_EQ(measure_text(SANS, SIZE, -1, "abcd", -1, false), 4);
    EXPECT_EQ(find_glyph(30, 'a', SIZE, SIZE, nullptr), nullptr);
}

TEST_F(FONT_TEST, a_file_that_is_no_font_is_fatal_0x22)
{
    TEMP_FOLDER folder;
    ASSERT_TRUE(write_file(folder.file("broken.ttf"), "this is not a font file"));
    std::string path = folder.path();
    RUN_RESULT run = run_in_child([&] { load_font("broken.ttf", nullptr, -1, folder_at(path)); }, console_only);
    EXPECT_EQ(run.status, 255);
    EXPECT_NE(run.output.find("ERROR: 0022:\nUnable to load font from disk"), std::string::npos) << run.output;
}

TEST_F(FONT_TEST, a_truncated_font_fails_cleanly_when_loaded_or_when_drawn)
{
    // Half a font file: FreeType may refuse the face or, with the tables it reads lazily, the
    // glyph. Either way the report is one of the font system's and the process ends by it.
    TEMP_FOLDER folder;
    std::string bytes = read_file(font_folder_path + "/BabelSans.ttf");
    ASSERT_TRUE(write_file(folder.file("half.ttf"), bytes.substr(0, bytes.size() / 2)));
    std::string path = folder.path();
    RUN_RESULT run = run_in_child(
        [&] {
            INT_S16 number = load_font("half.ttf", nullptr, -1, folder_at(path));
            for (int code = 32; code < 256; code++)
                find_glyph(number, static_cast<INT_U32>(code), SIZE, SIZE, nullptr);
        },
        console_only);
    bool refused_face = run.output.find("ERROR: 0022:") != std::string::npos;
    bool refused_glyph = run.output.find("ERROR: 0025:") != std::string::npos;
    if (refused_face || refused_glyph)
        EXPECT_EQ(run.status, 255) << run.output;
    else
        EXPECT_EQ(run.status, 0) << run.output;
}

TEST_F(FONT_TEST, glyphs_are_cached_per_size_and_wide_ones_are_not)
{
    GLYPH_RECORD* a = find_glyph(SANS, 'A', SIZE - 1, SIZE, nullptr);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a, font_record(SANS)->glyphs['A']);
    EXPECT_EQ(a->pixel_width, SIZE - 1);
    EXPECT_EQ(a->pixel_height, SIZE);
    EXPECT_GT(a->rows, 0);
    EXPECT_GE(a->pitch, a->width);
    EXPECT_LT(a->face_descender, 0);
    EXPECT_GT(a->face_height, 0);
    INT_S16 small_advance = a->advance;

    EXPECT_EQ(find_glyph(SANS, 'A', 60, 60, nullptr), a);
    EXPECT_EQ(a->pixel_height, 60);
    EXPECT_GT(a->advance, small_advance);

    GLYPH_RECORD temporary;
    GLYPH_RECORD* euro = find_glyph(SANS, 0x20AC, SIZE, SIZE, &temporary);
    EXPECT_EQ(euro, &temporary);
    EXPECT_NE(temporary.bitmap, nullptr);
    release_glyph(&temporary);
    EXPECT_EQ(temporary.bitmap, nullptr);
    EXPECT_EQ(find_glyph(SANS, 0x20AC, SIZE, SIZE, nullptr), nullptr);

    // A space has no pixels but still a bitmap of one byte.
    GLYPH_RECORD* space = find_glyph(SANS, ' ', SIZE, SIZE, nullptr);
    EXPECT_EQ(space->rows, 0);
    EXPECT_NE(space->bitmap, nullptr);
    EXPECT_GT(space->advance, 0);
}

TEST_F(FONT_TEST, stop_unloads_everything_and_start_comes_back)
{
    stop_font_system();
    EXPECT_FALSE(font_system_started());
    EXPECT_FALSE(font_is_loaded(SANS));
    EXPECT_EQ(font_table_length(), 0);
    EXPECT_EQ(load_font("BabelSans.ttf", nullptr, SANS, samples_folder()), -1);
    start_font_system();
    EXPECT_EQ(load_font("BabelSans.ttf", nullptr, SANS, samples_folder()), SANS);
}

TEST(FONT_SYSTEM, autoload_takes_every_built_in_font_from_the_font_folder)
{
    // $FONTDATA finds "data/fonts" beside the application's folder.
    FAKE_HOME home("fonttest");
    home.make("app/data");
    ASSERT_EQ(symlink(font_folder_path.c_str(), (home.app + "/data/fonts").c_str()), 0);
    RUN_RESULT run = run_in_child([] {
        // Other tests of this program switch the loading off; the child starts as a program would.
        autoload_fonts = true;
        start_font_system();
        for (INT_S16 number = 0; number < BUILT_IN_FONT_COUNT; number++) {
            if (!font_is_loaded(number) || strcmp(font_record(number)->display_name, font_display_name(number)) != 0)
                printf("font %d missing\n", number);
        }
        printf("length %d\n", font_table_length());
        stop_font_system();
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "length 23\n");
}

// ---------------------------------------------------------------------------------------------
// Markup and measuring
// ---------------------------------------------------------------------------------------------

TEST(TEXT_CURSOR, walks_wide_groups_and_colour_sections)
{
    const char* text = "a\x01,0041,20AC0042\x01" "b\x02" "128,255,16,1\x02" "c\x03\x03" "d";
    TEXT_CURSOR cursor(text, false);
    std::vector<std::string> seen;
    for (TEXT_TOKEN token = cursor.next(); token != TOKEN_END; token = cursor.next()) {
        char item[32];
        if (token == TOKEN_CHARACTER)
            snprintf(item, sizeof item, "%X", cursor.code());
        else
            snprintf(item, sizeof item, "%s%08X", token == TOKEN_COLOUR ? "fg" : "bg",
                cursor.restores() ? 0 : cursor.colour_value());
        seen.push_back(item);
    }
    EXPECT_EQ(seen, (std::vector<std::string> { "61", "41", "20AC", "42", "62", "fg800110FF", "63", "bg00000000", "64" }));
}

TEST(TEXT_CURSOR, stops_at_broken_markup_without_reading_past_the_end)
{
    TEXT_CURSOR unclosed("x\x02" "255,1", false);
    EXPECT_EQ(unclosed.next(), TOKEN_CHARACTER);
    EXPECT_EQ(unclosed.next(), TOKEN_COLOUR);
    EXPECT_EQ(unclosed.colour_value(), 0xFF000001u);
    EXPECT_EQ(unclosed.next(), TOKEN_END);

    // Short hex groups and stray bytes in wide mode are stepped over.
    TEXT_CURSOR wide("\x01" "00zz,12", false);
    EXPECT_EQ(wide.next(), TOKEN_END);
    TEXT_CURSOR started_wide("0041", true);
    EXPECT_EQ(started_wide.next(), TOKEN_CHARACTER);
    EXPECT_EQ(started_wide.code(), 0x41u);
    EXPECT_TRUE(started_wide.wide());
}

TEST_F(FONT_TEST, markup_takes_no_width_and_wide_letters_measure_as_narrow_ones)
{
    EXPECT_EQ(width("\x01" "0041\x01"), width("A"));
    EXPECT_EQ(width("x\x01,0041,0042\x01y"), width("xABy"));
    EXPECT_EQ(width("a\x02" "0,255,0,0\x02" "b\x03" "255,0,0,0\x03\x02\x02"), width("ab"));
    EXPECT_GT(width("\x01,20AC\x01"), 0);
    EXPECT_EQ(measure_text(SANS, SIZE, SIZE, "0041", -1, true), width("A"));
    EXPECT_EQ(width(""), 0);
    EXPECT_EQ(measure_text(SANS, SIZE, SIZE, nullptr, -1, false), 0);
}

TEST_F(FONT_TEST, count_limits_characters_not_bytes)
{
    const char* text = "\x02" "255,0,0,0\x02" "a\x01,0042,0043\x01" "def";
    EXPECT_EQ(measure_text(SANS, SIZE, SIZE, text, 0, false), 0);
    EXPECT_EQ(measure_text(SANS, SIZE, SIZE, text, 3, false), width("aBC"));
    EXPECT_EQ(measure_text(SANS, SIZE, SIZE, text, 100, false), width("aBCdef"));
    // Each glyph is asked one pixel narrower than the cell.
    EXPECT_EQ(width("W"), find_glyph(SANS, 'W', SIZE - 1, SIZE, nullptr)->advance);
}

// ---------------------------------------------------------------------------------------------
// Block layout, in the monospaced font: every character is m_advance wide
// ---------------------------------------------------------------------------------------------

TEST_F(FONT_TEST, lines_break_at_line_feeds_blanks_and_dashes_and_long_words_break_with_a_hyphen_or_hard)
{
    EXPECT_EQ(layout("one\ntwo", 20, 5), (LINES { "one", "two" }));
    EXPECT_EQ(layout("\nabc", 20, 5), (LINES { "", "abc" }));
    // A blank that meets the edge breaks at the blank before it.
    EXPECT_EQ(layout("one two three", 8, 5), (LINES { "one", "two", "three" }));
    EXPECT_EQ(layout("alpha beta gamma", 13, 5), (LINES { "alpha beta", "gamma" }));
    EXPECT_EQ(layout("well-known fact", 8, 5), (LINES { "well-", "known", "fact" }));
    // Blanks at the start of a line are dropped.
    TEXT_LAYOUT result;
    EXPECT_EQ(layout("  \tab\n cd", 20, 5, &result), (LINES { "ab", "cd" }));
    EXPECT_EQ(result.lines[0].start, 3);
    EXPECT_EQ(result.lines[0].width, 2 * m_advance);
    EXPECT_EQ(result.lines[1].start, 7);

    EXPECT_EQ(layout("abcdefghijklmnop", 8, 5, &result), (LINES { "abcdef", "ghijkl", "mnop" }));
    EXPECT_EQ(result.lines[0].flags, LINE_HYPHEN);
    EXPECT_EQ(result.lines[1].flags, LINE_HYPHEN);
    EXPECT_EQ(result.lines[2].flags, 0);
    EXPECT_EQ(result.hyphen_width, m_advance);
    EXPECT_EQ(result.lines[0].width, 6 * m_advance);
    // Two columns: a letter and a hyphen never fit under the edge.
    EXPECT_EQ(layout("abcde", 2, 5), (LINES { "a", "b", "c", "d", "e" }));
    // A box narrower than one character still takes one character a line.
    ASSERT_TRUE(layout_text_box(&result, MONO, SIZE, SIZE, "xyz", 1, 5));
    EXPECT_EQ(result.line_count, 3);
    EXPECT_EQ(result.lines[2].start, 2);
    EXPECT_EQ(result.lines[2].count, 1);
}

TEST_F(FONT_TEST, the_last_line_ends_in_an_ellipsis_when_the_rest_does_not_fit)
{
    TEXT_LAYOUT result;
    EXPECT_EQ(layout("abcdefghijkl", 8, 1, &result), (LINES { "abcde" }));
    EXPECT_EQ(result.lines[0].flags, LINE_ELLIPSIS);
    EXPECT_EQ(result.lines[0].width + result.ellipsis_width, 8 * m_advance);

    // The rest fits: the last line draws everything that remains.
    EXPECT_EQ(layout("abcdef", 8, 1, &result), (LINES { "abcdef" }));
    EXPECT_EQ(result.lines[0].count, -1);
    EXPECT_EQ(result.lines[0].width, 6 * m_advance);

    EXPECT_EQ(layout("first line\nsecond line here", 12, 2, &result), (LINES { "first line", "second li" }));
    EXPECT_EQ(result.lines[1].flags, LINE_ELLIPSIS);
    // Lines beyond the limit are dropped.
    EXPECT_EQ(layout("a\nb\nc", 8, 2), (LINES { "a", "b" }));
}

TEST_F(FONT_TEST, markup_moves_with_its_character_to_the_next_line)
{
    TEXT_LAYOUT result;
    const char* coloured = "abc \x02" "255,255,0,0\x02" "def";
    EXPECT_EQ(layout(coloured, 5, 5, &result), (LINES { "abc", "def" }));
    EXPECT_EQ(coloured[result.lines[1].start], '\x02');

    const char* wide = "\x01,0041,0042,0043,0044,0045,0046\x01";
    EXPECT_EQ(layout(wide, 4, 5, &result), (LINES { "AB", "CD", "EF" }));
    EXPECT_EQ(result.lines[0].flags, LINE_HYPHEN);
    EXPECT_EQ(result.lines[1].flags, LINE_STARTS_WIDE | LINE_HYPHEN);
    EXPECT_EQ(std::string(wide + result.lines[1].start, 5), ",0043");
}

TEST_F(FONT_TEST, layout_refuses_what_cannot_be_laid_out)
{
    TEXT_LAYOUT result;
    result.line_count = 7;
    EXPECT_FALSE(layout_text_box(&result, MONO, SIZE, SIZE, "", 100, 3));
    EXPECT_EQ(result.line_count, 0);
    EXPECT_FALSE(layout_text_box(&result, MONO, SIZE, SIZE, nullptr, 100, 3));
    EXPECT_FALSE(layout_text_box(&result, 30, SIZE, SIZE, "abc", 100, 3));
    EXPECT_FALSE(layout_text_box(&result, MONO, 0, SIZE, "abc", 100, 3));
    EXPECT_FALSE(layout_text_box(&result, MONO, SIZE, SIZE, "abc", 0, 3));
    // A limit below one line still gives one line; above 256 it is cut.
    EXPECT_TRUE(layout_text_box(&result, MONO, SIZE, SIZE, "a\nb", 100, 0));
    EXPECT_EQ(result.line_count, 1);
    std::string many(600, '\n');
    EXPECT_TRUE(layout_text_box(&result, MONO, SIZE, SIZE, many.c_str(), 100, 1000));
    EXPECT_EQ(result.line_count, MAX_TEXT_LINES);
}
