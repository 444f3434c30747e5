// TEXT_FILE: encodings by mark and by content, the wide-character form, line ends and writing.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "io/folder.h"
#include "base/orlu_string.h"
#include "test_support.h"
#include "io/text_file.h"

namespace {

struct TEXT_FIXTURE {
    TEMP_FOLDER temp;
    FOLDER folder;
    TEXT_FIXTURE() { EXPECT_TRUE(folder.set_raw(temp.path().c_str())); }

    std::vector<std::string> lines_of(const std::string& name, const std::string& bytes)
    {
        EXPECT_TRUE(write_file(temp.file(name), bytes));
        std::vector<std::string> lines;
        TEXT_FILE* file = folder.open_text_file(name.c_str(), FILE_READ, false);
        EXPECT_NE(file, nullptr);
        if (!file)
            return lines;
        ORLU_STRING line;
        while (file->read_line(line))
            lines.push_back(line.c_str());
        EXPECT_TRUE(line.is_empty());
        FOLDER::close_text_file(&file);
        return lines;
    }
};

using LINES = std::vector<std::string>;

} // namespace

TEST(TEXT_FILE, line_ends_cr_lf_and_crlf_are_merged)
{
    TEXT_FIXTURE f;
    EXPECT_EQ(f.lines_of("a.txt", "one\r\ntwo\nthree\rfour"), (LINES { "one", "two", "three", "four" }));
    EXPECT_EQ(f.lines_of("b.txt", "a\r\r\nb\n\nc\n"), (LINES { "a", "", "b", "", "c" }));
    EXPECT_EQ(f.lines_of("c.txt", ""), LINES {});
}

TEST(TEXT_FILE, utf8_decodes_to_latin1_bytes_and_wide_form)
{
    TEXT_FIXTURE f;
    // Mark, e acute, a CJK character and one beyond 0xFFFF.
    LINES lines = f.lines_of("u.txt", "\xEF\xBB\xBF" "caf\xC3\xA9\n\xE4\xB8\xAD\xE6\x96\x87!\n\xF0\x9F\x98\x80");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "caf\xE9");
    EXPECT_EQ(lines[1], "\x01,4E2D,6587\x01!");
    EXPECT_EQ(lines[2], "\x01,D83D,DE00\x01");
}

TEST(TEXT_FILE, latin1_falls_back_for_the_rest_of_the_file)
{
    TEXT_FIXTURE f;
    ASSERT_TRUE(write_file(f.temp.file("l.txt"), "caf\xE9 ok\n\xC3\xA9\xFC\n"));
    TEXT_FILE* file = f.folder.open_text_file("l.txt", FILE_READ, false);
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(file->decodes_utf8());
    ORLU_STRING line;
    ASSERT_TRUE(file->read_line(line));
    EXPECT_STREQ(line.c_str(), "caf\xE9 ok");
    EXPECT_FALSE(file->decodes_utf8());
    // What would be UTF-8 is now taken byte by byte.
    ASSERT_TRUE(file->read_line(line));
    EXPECT_STREQ(line.c_str(), "\xC3\xA9\xFC");
    EXPECT_FALSE(file->read_line(line));
    FOLDER::close_text_file(&file);
}

TEST(TEXT_FILE, utf16_in_both_byte_orders)
{
    TEXT_FIXTURE f;
    std::string little("\xFF\xFE" "A\0\x2D\x4E\r\0\n\0" "B\0", 12);
    std::string big("\xFE\xFF" "\0A\x4E\x2D\0\r\0\n" "\0B", 12);
    for (const std::string& bytes : { little, big }) {
        ASSERT_TRUE(write_file(f.temp.file("w.txt"), bytes));
        TEXT_FILE* file = f.folder.open_text_file("w.txt", FILE_READ, false);
        ASSERT_NE(file, nullptr);
        EXPECT_TRUE(file->is_wide());
        EXPECT_EQ(file->is_swapped(), bytes[0] == '\xFE');
        ORLU_STRING line;
        ASSERT_TRUE(file->read_line(line));
        EXPECT_STREQ(line.c_str(), "A\x01,4E2D\x01");
        ASSERT_TRUE(file->read_line(line));
        EXPECT_STREQ(line.c_str(), "B");
        EXPECT_FALSE(file->read_line(line));
        FOLDER::close_text_file(&file);
    }
}

TEST(TEXT_FILE, long_line_is_cut_at_buffer_size)
{
    TEXT_FIXTURE f;
    LINES lines = f.lines_of("long.txt", std::string(1500, 'x') + "\nend\n");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].size(), 1023u);
    EXPECT_EQ(lines[1].size(), 477u);
    EXPECT_EQ(lines[2], "end");
    // A wide character that does not fit whole goes to the next piece.
    std::string wide_tail = std::string(1020, 'y') + "\xE4\xB8\xAD";
    lines = f.lines_of("cut.txt", wide_tail);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], std::string(1020, 'y'));
    EXPECT_EQ(lines[1], "\x01,4E2D\x01");
}

TEST(TEXT_FILE, read_line_into_whole_file_with_newlines)
{
    TEXT_FIXTURE f;
    ASSERT_TRUE(write_file(f.temp.file("all.txt"), "a\r\nb\rc"));
    TEXT_FILE* file = f.folder.open_text_file("all.txt", FILE_READ, false);
    ASSERT_NE(file, nullptr);
    char buffer[64];
    ASSERT_TRUE(file->read_line_into(buffer, sizeof buffer, false));
    EXPECT_STREQ(buffer, "a\nb\nc");
    EXPECT_FALSE(file->read_line_into(buffer, sizeof buffer, false));
    FOLDER::close_text_file(&file);
}

TEST(TEXT_FILE, wide_text_written_to_utf8_comes_back_as_same_bytes)
{
    TEXT_FIXTURE f;
    std::string original = "x\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80y,z";
    ASSERT_TRUE(write_file(f.temp.file("in.txt"), original + "\n"));
    TEXT_FILE* in = f.folder.open_text_file("in.txt", FILE_READ, false);
    ASSERT_NE(in, nullptr);
    ORLU_STRING line;
    ASSERT_TRUE(in->read_line(line));
    FOLDER::close_text_file(&in);

    TEXT_FILE* out = f.folder.open_text_file("out.txt", FILE_WRITE, false);
    ASSERT_NE(out, nullptr);
    EXPECT_FALSE(out->is_wide());
    ASSERT_TRUE(out->write_string(line.c_str()));
    ASSERT_TRUE(out->write_format("|%d|\n", 42));
    FOLDER::close_text_file(&out);
    EXPECT_EQ(read_file(f.temp.file("out.txt")), original + "|42|\n");
}

TEST(TEXT_FILE, wide_file_gets_mark_and_crlf)
{
    TEXT_FIXTURE f;
    TEXT_FILE* out = f.folder.open_text_file("w.txt", FILE_WRITE, true);
    ASSERT_NE(out, nullptr);
    EXPECT_TRUE(out->is_wide());
    ASSERT_TRUE(out->write_string("a\x01,00E9,4E2D\x01\n"));
    FOLDER::close_text_file(&out);
    EXPECT_EQ(read_file(f.temp.file("w.txt")), std::string("\xFF\xFE" "a\0\xE9\0\x2D\x4E\r\0\n\0", 12));

    // Update appends in the same encoding.
    out = f.folder.open_text_file("w.txt", FILE_UPDATE, false);
    ASSERT_NE(out, nullptr);
    EXPECT_TRUE(out->is_wide());
    ASSERT_TRUE(out->write_string("b"));
    FOLDER::close_text_file(&out);
    EXPECT_EQ(read_file(f.temp.file("w.txt")).size(), 14u);
}

TEST(TEXT_FILE, update_modes)
{
    TEXT_FIXTURE f;
    ASSERT_TRUE(write_file(f.temp.file("be.txt"), std::string("\xFE\xFF\0a", 4)));
    EXPECT_EQ(f.folder.open_text_file("be.txt", FILE_UPDATE, true), nullptr);

    ASSERT_TRUE(write_file(f.temp.file("plain.txt"), "one\n"));
    TEXT_FILE* file = f.folder.open_text_file("plain.txt", FILE_UPDATE, true);
    ASSERT_NE(file, nullptr);
    EXPECT_FALSE(file->is_wide());
    ASSERT_TRUE(file->write_string("two\n"));
    FOLDER::close_text_file(&file);
    EXPECT_EQ(read_file(f.temp.file("plain.txt")), "one\ntwo\n");

    file = f.folder.open_text_file("new.txt", FILE_UPDATE, true);
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(file->is_wide());
    FOLDER::close_text_file(&file);
    EXPECT_EQ(read_file(f.temp.file("new.txt")), "\xFF\xFE");
}

TEST(TEXT_FILE, code_points_by_encoding)
{
    TEXT_FIXTURE f;
    TEXT_FILE* out = f.folder.open_text_file("cp.txt", FILE_WRITE, false);
    ASSERT_NE(out, nullptr);
    ASSERT_TRUE(out->write_code_point(0x41));
    ASSERT_TRUE(out->write_code_point(0x7FF));
    ASSERT_TRUE(out->write_code_point(0xFFFF));
    ASSERT_TRUE(out->write_code_point(0x10FFFF));
    ASSERT_TRUE(out->write_code_point(0x110041));
    out->set_decode_utf8(false);
    ASSERT_TRUE(out->write_code_point(0xE9));
    ASSERT_TRUE(out->write_char(0xFF));
    FOLDER::close_text_file(&out);
    EXPECT_EQ(read_file(f.temp.file("cp.txt")), "A\xDF\xBF\xEF\xBF\xBF\xF4\x8F\xBF\xBF" "A\xE9\xFF");

    TEXT_FILE* in = f.folder.open_text_file("cp.txt", FILE_READ, false);
    ASSERT_NE(in, nullptr);
    std::vector<INT_S32> got;
    INT_S32 value;
    while (in->read_char(&value))
        got.push_back(value);
    EXPECT_EQ(got, (std::vector<INT_S32> { 0x41, 0x7FF, 0xFFFF, 0x10FFFF, 0x41, 0xE9, 0xFF }));
    EXPECT_EQ(in->read_code_point(), -1);
    FOLDER::close_text_file(&in);
}
