// The pair-of-lines settings format in both modes.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "io/config_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "test_support.h"

namespace {

class CONFIG : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(folder.set_raw(temp.path().c_str())); }

    std::string contents(const char* name) { return read_file(temp.file(name)); }
    void write(const char* name, const std::string& text) { ASSERT_TRUE(write_file(temp.file(name), text)); }

    TEMP_FOLDER temp;
    FOLDER folder;
};

void collect(const char* id, const char* value, void* context)
{
    static_cast<std::vector<std::string>*>(context)->push_back(std::string(id) + "=" + value);
}

} // namespace

TEST_F(CONFIG, reads_values_past_comments_and_blank_lines_in_both_modes)
{
    write("app.cfg", "# settings\n\nwidth\n\t640\n  title\n   My App  \n#not a comment here\nempty\n\ncolour\n#FF00AA\n");
    for (bool cached : { false, true }) {
        CONFIG_FILE config;
        config.open("app.cfg", cached);
        char value[CONFIG_VALUE_SIZE];
        ASSERT_TRUE(config.read_text(folder, "width", value)) << cached;
        EXPECT_STREQ(value, "640");
        // Leading blanks go; blanks inside and behind belong to the text.
        ASSERT_TRUE(config.read_text(folder, "title", value));
        EXPECT_STREQ(value, "My App  ");
        ASSERT_TRUE(config.read_text(folder, "empty", value));
        EXPECT_STREQ(value, "");
        // A value line is never a comment.
        ASSERT_TRUE(config.read_text(folder, "colour", value));
        EXPECT_STREQ(value, "#FF00AA");
        INT_S32 number = 0;
        ASSERT_TRUE(config.read_int(folder, "colour", &number, true));
        EXPECT_EQ(number, 0) << "the # stops a hexadecimal parse, leaving the target";
    }
}

TEST_F(CONFIG, numbers_parse_or_leave_the_target_alone)
{
    write("n.cfg", "dec\n-42\nhex\nFF00AA\nreal\n2.5\nword\nabc\n");
    CONFIG_FILE config;
    config.open("n.cfg", false);
    INT_S32 number = 7;
    EXPECT_TRUE(config.read_int(folder, "dec", &number, false));
    EXPECT_EQ(number, -42);
    EXPECT_TRUE(config.read_int(folder, "hex", &number, true));
    EXPECT_EQ(number, 0xFF00AA);
    FLOAT_64 real = 0;
    EXPECT_TRUE(config.read_real(folder, "real", &real));
    EXPECT_DOUBLE_EQ(real, 2.5);
    number = 7;
    EXPECT_TRUE(config.read_int(folder, "word", &number, false));
    EXPECT_EQ(number, 7);
}

TEST_F(CONFIG, failures_set_their_codes)
{
    write("bad.cfg", "first\n1\ndangling");
    for (bool cached : { false, true }) {
        CONFIG_FILE config;
        config.open("bad.cfg", cached);
        char value[CONFIG_VALUE_SIZE];
        EXPECT_FALSE(config.read_text(folder, "", value));
        EXPECT_EQ(last_error_code(), ERROR_CONFIG_BAD_ID);
        EXPECT_FALSE(config.read_text(folder, nullptr, value));
        EXPECT_EQ(last_error_code(), ERROR_CONFIG_BAD_ID);
        // Reaching the identifier without a value line is a broken file.
        EXPECT_FALSE(config.read_text(folder, "missing", value));
        EXPECT_EQ(last_error_code(), ERROR_CONFIG_UNEXPECTED_END);
    }
    CONFIG_FILE good;
    write("good.cfg", "a\n1\n");
    good.open("good.cfg", false);
    char value[CONFIG_VALUE_SIZE];
    EXPECT_FALSE(good.read_text(folder, "b", value));
    EXPECT_EQ(last_error_code(), ERROR_CONFIG_ENTRY_NOT_FOUND);
    EXPECT_STREQ(last_error_text(), "Warning: The requested entry was not found in the config file (b).");

    CONFIG_FILE none;
    none.open("none.cfg", false);
    EXPECT_FALSE(none.read_text(folder, "a", value));
    EXPECT_EQ(last_error_code(), ERROR_CONFIG_OPEN);
    EXPECT_STREQ(last_error_text(), "Error: Error trying to open the config file none.cfg.");
    none.read_all(folder, nullptr, nullptr);
    EXPECT_EQ(last_error_code(), ERROR_CONFIG_NO_CALLBACK);
}

TEST_F(CONFIG, long_identifiers_and_values_are_cut_to_their_fields)
{
    std::string long_id(100, 'i');
    std::string long_value(3000, 'v');
    write("long.cfg", long_id + "\n" + long_value + "\nnext\nok\n");
    CONFIG_FILE config;
    config.open("long.cfg", false);
    char value[CONFIG_VALUE_SIZE];
    EXPECT_FALSE(config.read_text(folder, long_id.c_str(), value));
    ASSERT_TRUE(config.read_text(folder, long_id.substr(0, 79).c_str(), value));
    EXPECT_EQ(std::string(value), long_value.substr(0, CONFIG_VALUE_SIZE - 1));
    // The rest of the over-long line does not turn into an entry of its own.
    ASSERT_TRUE(config.read_text(folder, "next", value));
    EXPECT_STREQ(value, "ok");
}

TEST_F(CONFIG, uncached_writes_keep_comments_order_and_replace_every_match)
{
    write("keep.cfg", "# head\nb\n\t1\n\n# middle\na\n\t2\nb\n\t3\n");
    CONFIG_FILE config;
    config.open("keep.cfg", false);
    ASSERT_TRUE(config.write_text(folder, "b", "new"));
    ASSERT_TRUE(config.write_int(folder, "c", 255, true));
    EXPECT_EQ(contents("keep.cfg"), "# head\nb\n\tnew\n\n# middle\na\n\t2\nb\n\tnew\nc\n\tFF\n");
    // Nothing is left beside it.
    std::vector<std::string> names;
    DIRECTORY_ENTRY* list = nullptr;
    INT_S32 count = 0;
    ASSERT_TRUE(folder.list_entries(false, 0, false, &list, &count, nullptr, 0, 8, 8));
    EXPECT_EQ(count, 1);
    free_directory_entries(&list, &count);
}

TEST_F(CONFIG, writing_to_a_missing_file_creates_it_with_one_entry)
{
    CONFIG_FILE config;
    config.open("new.cfg", false);
    ASSERT_TRUE(config.write_int(folder, "count", 3, false));
    EXPECT_EQ(contents("new.cfg"), "count\n\t3\n");
    ASSERT_TRUE(config.write_real(folder, "ratio", 1.23456, 2));
    EXPECT_EQ(contents("new.cfg"), "count\n\t3\nratio\n\t1.23\n");
}

TEST_F(CONFIG, cached_mode_saves_in_file_order_and_reads_in_sorted_order)
{
    write("c.cfg", "# lost in this mode\nzeta\n\t1\nalpha\n\t2\n");
    CONFIG_FILE config;
    config.open("c.cfg", true);
    ASSERT_TRUE(config.write_text(folder, "middle", "3"));
    EXPECT_EQ(contents("c.cfg"), "zeta\n\t1\nalpha\n\t2\nmiddle\n\t3\n");
    std::vector<std::string> seen;
    config.read_all(folder, collect, &seen);
    EXPECT_EQ(seen, (std::vector<std::string> { "alpha=2", "middle=3", "zeta=1" }));

    CONFIG_FILE plain;
    plain.open("c.cfg", false);
    seen.clear();
    plain.read_all(folder, collect, &seen);
    EXPECT_EQ(seen, (std::vector<std::string> { "zeta=1", "alpha=2", "middle=3" }));
}

TEST_F(CONFIG, byte_order_mark_and_line_ends_do_not_matter)
{
    write("bom.cfg", "\xEF\xBB\xBFkey\r\n\tvalue\r\nother\rx\r");
    CONFIG_FILE config;
    config.open("bom.cfg", false);
    char value[CONFIG_VALUE_SIZE];
    ASSERT_TRUE(config.read_text(folder, "key", value));
    EXPECT_STREQ(value, "value");
    ASSERT_TRUE(config.read_text(folder, "other", value));
    EXPECT_STREQ(value, "x");
}
