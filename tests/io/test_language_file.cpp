#include "io/translation.h"

#include "io/folder.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class CHECKED_PARSER : public TRANSLATION_PARSER {
public:
    using TRANSLATION_PARSER::TRANSLATION_PARSER;
    void report_error(const char* message, const char*, INT_S32) override
    {
        m_failed = true;
        error = message;
    }
    std::string error;
};

const char* const HAND_WRITTEN =
    "<LANGUAGE name=\"Fran\xC3\xA7" "ais\" author=\"T\" comment=\"c\">\n"
    "<TRANSLATION key_id=\"-5\"><COMMENT>a &lt;b&gt; &amp; c</COMMENT>"
    "<KEY_LOCATION file=\"page.cpp\" line=\"7\"/><STRING>cinq \xE2\x82\xAC</STRING></TRANSLATION>\n"
    "<TRANSLATION key_id=\"300\"><STRING>trois cents</STRING></TRANSLATION>\n"
    "</LANGUAGE>\n";

} // namespace

TEST(LANGUAGE_FILE, save_writes_the_fixed_layout_and_load_reads_it_back)
{
    TEMP_FOLDER temp;
    ASSERT_TRUE(write_file(temp.file("in.xml"), HAND_WRITTEN));
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));

    TRANSLATION_TABLE table;
    ASSERT_TRUE(load_language_into(&table, &folder, "in.xml"));
    ASSERT_EQ(table.count(), 2);
    ASSERT_TRUE(save_language(&table, &folder, "out.xml"));
    EXPECT_EQ(read_file(temp.file("out.xml")),
        "<LANGUAGE name=\"Fran\xC3\xA7" "ais\" author=\"T\" comment=\"c\">\n\n"
        "\t<TRANSLATION key_id=\"300\">\n"
        "\t\t<STRING>trois cents</STRING>\n"
        "\t</TRANSLATION>\n\n"
        "\t<TRANSLATION key_id=\"-5\">\n"
        "\t\t<COMMENT>a &lt;b&gt; &amp; c</COMMENT>\n"
        "\t\t<KEY_LOCATION file=\"page.cpp\" line=\"7\"/>\n"
        "\t\t<STRING>cinq \xE2\x82\xAC</STRING>\n"
        "\t</TRANSLATION>\n\n"
        "</LANGUAGE>\n");

    TRANSLATION_TABLE again;
    ASSERT_TRUE(load_language_into(&again, &folder, "out.xml"));
    ASSERT_EQ(again.count(), table.count());
    for (INT_S32 i = 0; i < table.count(); ++i) {
        EXPECT_EQ(again.entry_at(i)->key, table.entry_at(i)->key);
        EXPECT_STREQ(again.entry_at(i)->text, table.entry_at(i)->text);
    }
    EXPECT_STREQ(again.language_name, "Fran\xE7" "ais");
    EXPECT_STREQ(again.entry_at(again.find_key(static_cast<INT_U64>(-5)))->extra->comment, "a <b> & c");
    EXPECT_STREQ(language_name_of(&folder, "out.xml"), "Fran\xE7" "ais");
}

TEST(LANGUAGE_FILE, a_saved_key_string_entry_is_refused_on_reload_when_its_key_needs_64_bits)
{
    TEMP_FOLDER temp;
    ASSERT_TRUE(write_file(temp.file("in.xml"),
        "<LANGUAGE name=\"x\"><TRANSLATION><KEY_STRING>Hello</KEY_STRING><STRING>Hallo</STRING></TRANSLATION></LANGUAGE>"));
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    TRANSLATION_TABLE table;
    ASSERT_TRUE(load_language_into(&table, &folder, "in.xml"));
    ASSERT_TRUE(save_language(&table, &folder, "out.xml"));
    EXPECT_NE(read_file(temp.file("out.xml")).find("<TRANSLATION key_id=\"329265\">"), std::string::npos);

    TRANSLATION_TABLE again;
    CHECKED_PARSER parser(&again);
    EXPECT_FALSE(parser.parse_file(&folder, "out.xml") && !parser.failed());
    EXPECT_EQ(parser.error, "Key ID does not match key string");
}

TEST(LANGUAGE_FILE, a_missing_file_leaves_the_table_empty_and_texts_unchanged)
{
    TEMP_FOLDER temp;
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    EXPECT_FALSE(load_language(&folder, "missing.xml"));
    EXPECT_EQ(translation_table.count(), 0);
    EXPECT_STREQ(translate("Install", nullptr), "Install");
    EXPECT_EQ(language_name_of(&folder, "missing.xml"), nullptr);
}
