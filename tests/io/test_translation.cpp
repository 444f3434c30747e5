#include "io/translation.h"

#include "memory_device.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// Reports errors without ending the process, so the exact texts can be checked.
class CHECKED_PARSER : public TRANSLATION_PARSER {
public:
    explicit CHECKED_PARSER(TRANSLATION_TABLE* table, char* name_target = nullptr, INT_S32 name_size = 0)
        : TRANSLATION_PARSER(table, name_target, name_size)
    {
    }
    void report_error(const char* message, const char*, INT_S32 line) override
    {
        m_failed = true;
        error = message;
        error_line = line;
    }
    std::string error;
    INT_S32 error_line { 0 };
};

struct PARSE_RESULT {
    bool ok;
    std::string error;
    INT_S32 line;
};

PARSE_RESULT parse_language(TRANSLATION_TABLE* table, const std::string& xml)
{
    CHECKED_PARSER parser(table);
    bool ok = parser.parse(xml.data(), static_cast<INT_S32>(xml.size()));
    return { ok && !parser.failed(), parser.error, parser.error_line };
}

std::string language(const std::string& body)
{
    return "<LANGUAGE name=\"Deutsch\" author=\"A. Translator\" comment=\"test\">\n" + body + "</LANGUAGE>\n";
}

void load_with_real_parser(const std::string& xml)
{
    unsetenv("DISPLAY");
    if (!freopen("/dev/null", "r", stdin))
        return;
    MEMORY_DEVICE device(xml);
    TRANSLATION_TABLE table;
    (void)load_language_from_device(&table, &device);
    exit(0);
}

} // namespace

TEST(TRANSLATION, make_key_packs_breaks_length_and_sums)
{
    // "Hello": weighted 1585 = 0x0631; odd positions e + l = 209 = 0xD1; "o" over "H".
    EXPECT_EQ(make_key(nullptr, "Hello"), 0x6F4800D100050631ull);
    // Characters count as signed: 0xE9 is -23 in both sums, and the last one fills the top byte.
    EXPECT_EQ(make_key(nullptr, "\xE9"), 0xE9E900000001FFE9ull);
    // -23 + 2 * 116 - 3 * 23 + 4 * 33 = 272; one punctuation mark.
    EXPECT_EQ(make_key(nullptr, "\xE9t\xE9!"), 0x21E9009501040110ull);
    EXPECT_EQ(make_key(nullptr, "a b"), 0x62610020010301C7ull);
    EXPECT_EQ(make_key(nullptr, ""), 0u);
    EXPECT_EQ(make_key(nullptr, nullptr), 0u);
}

TEST(TRANSLATION, translate_without_entries_gives_the_text_back)
{
    TRANSLATION_TABLE table;
    bool found = true;
    const char* text = "Install";
    EXPECT_EQ(translate_in(&table, text, &found), text);
    EXPECT_FALSE(found);
    EXPECT_STREQ(translate_in(&table, nullptr, &found), "");
    EXPECT_STREQ(translate(nullptr, nullptr), "");
    EXPECT_EQ(translate(text, nullptr), text);
}

TEST(TRANSLATION, loading_fills_a_sorted_table_that_translate_reads)
{
    const std::string xml = language(
        "<translation>\n<KEY_STRING>Install</KEY_STRING>\n<String>Installieren</String>\n</translation>\n"
        "<TRANSLATION key_id=\"-5\"><STRING>Minus f\xC3\xBC" "nf</STRING></TRANSLATION>\n"
        "<TRANSLATION><COMMENT>the &amp; button</COMMENT><KEY_LOCATION file=\"wizard.cpp\" line=\"42\"/>"
        "<KEY_STRING>Next &amp;gt;xx</KEY_STRING><STRING>Weiter \xE2\x82\xAC</STRING></TRANSLATION>\n");
    TRANSLATION_TABLE table;
    PARSE_RESULT result = parse_language(&table, xml);
    ASSERT_TRUE(result.ok) << result.error;
    ASSERT_EQ(table.count(), 3);
    EXPECT_STREQ(table.language_name, "Deutsch");
    EXPECT_STREQ(table.language_author, "A. Translator");
    EXPECT_STREQ(table.language_comment, "test");
    for (INT_S32 i = 1; i < table.count(); ++i)
        EXPECT_LT(table.entry_at(i - 1)->key, table.entry_at(i)->key);

    bool found = false;
    EXPECT_STREQ(translate_in(&table, "Install", &found), "Installieren");
    EXPECT_TRUE(found);
    // The key string is decoded once more after the reader: "&gt;" eats the two bytes behind it.
    EXPECT_STREQ(translate_in(&table, "Next >", &found), "Weiter \x01,20AC");
    EXPECT_TRUE(found);

    INT_S32 index = table.find_key(static_cast<INT_U64>(-5));
    ASSERT_GE(index, 0);
    EXPECT_STREQ(table.entry_at(index)->text, "Minus f\xFCnf");
    TRANSLATION_EXTRA* extra = table.entry_at(table.find_key(make_key(&table, "Next >")))->extra;
    ASSERT_NE(extra, nullptr);
    EXPECT_STREQ(extra->comment, "the & button");
    EXPECT_STREQ(extra->file, "wizard.cpp");
    EXPECT_EQ(extra->line, 42);
}

TEST(TRANSLATION, each_fault_in_a_language_file_has_its_own_report)
{
    struct CASE {
        std::string xml;
        const char* error;
        INT_S32 line;
    };
    const std::string string_only = "<STRING>s</STRING>";
    const CASE cases[] = {
        { "<TRANSLATION/>", "Language tag not found", 1 },
        { "<LANGUAGE name=\"a\">\n<LANGUAGE name=\"b\"/></LANGUAGE>", "Two language tags found", 2 },
        { "<LANGUAGE author=\"x\"></LANGUAGE>", "Language has no name", 1 },
        { language("<TRANSLATION key_id=\"1\"><TRANSLATION/></TRANSLATION>"),
            "Translation tag found inside another translation tag", 2 },
        { language("<COMMENT/>"), "Comment tag found outside a translation tag", 2 },
        { language("<KEY_LOCATION/>"), "key_lcoation tag found outside a translation tag", 2 },
        { language("<KEY_STRING/>"), "key_string tag found outside a translation tag", 2 },
        { language(string_only), "string tag found outside a translation tag", 2 },
        { language("<TRANSLATION><STRING><COMMENT/></STRING></TRANSLATION>"), "Main tag already open", 2 },
        { language("<TRANSLATION><KEY_STRING><STRING/></KEY_STRING></TRANSLATION>"), "Main tag already open", 2 },
        { language("<TRANSLATION><COMMENT/><COMMENT/></TRANSLATION>"), "Comment already found for this translation", 2 },
        { language("<TRANSLATION><KEY_LOCATION file=\"a\"/><KEY_LOCATION file=\"b\"/></TRANSLATION>"),
            "key_location already found for this translation", 2 },
        { language("<TRANSLATION><KEY_STRING/><KEY_STRING/></TRANSLATION>"),
            "key_string already found for this translation", 2 },
        { language("<TRANSLATION><STRING>a</STRING><STRING/></TRANSLATION>"),
            "string already found for this translation", 2 },
        { language("<TRANSLATION><BOLD/></TRANSLATION>"), "Unknown tag found", 2 },
        { language("\n<TRANSLATION>" + string_only + "\n</TRANSLATION>"), "No key string or key id found", 4 },
        { language("<TRANSLATION key_id=\"1\"><KEY_STRING>Hello</KEY_STRING>" + string_only + "</TRANSLATION>"),
            "Key ID does not match key string", 2 },
        { language("<TRANSLATION key_id=\"1\"><STRING></STRING></TRANSLATION>"), "Translation entry without a string", 2 },
        { language("<TRANSLATION key_id=\"1\">" + string_only + "</TRANSLATION>\n<TRANSLATION key_id=\"1\">"
                   + string_only + "</TRANSLATION>"),
            "translation key id already in use", 3 },
        { language("<TRANSLATION key_id=\"1\"><STRING>" + std::string(70000, 'x') + "</STRING></TRANSLATION>"),
            "String too long", 2 },
        { language("<TRANSLATION key_id=\"1\"><STRING>a</STRING></TRANSLATIONX>"), "mismatched tag", 2 },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.error);
        TRANSLATION_TABLE table;
        PARSE_RESULT result = parse_language(&table, c.xml);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(result.error, c.error);
        EXPECT_EQ(result.line, c.line);
    }
}

TEST(TRANSLATION, a_written_key_id_beside_its_key_string_loses_the_high_half)
{
    // key_id holds the low half only and widens by sign, so it differs from the computed key.
    TRANSLATION_TABLE table;
    const std::string xml = language("<TRANSLATION key_id=\"" + std::to_string(static_cast<INT_S32>(make_key(nullptr, "Hello")))
        + "\"><KEY_STRING>Hello</KEY_STRING><STRING>Hallo</STRING></TRANSLATION>");
    PARSE_RESULT result = parse_language(&table, xml);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.error, "Key ID does not match key string");
}

TEST(TRANSLATION, name_only_reading_leaves_the_table_alone)
{
    TRANSLATION_TABLE table;
    char name[64];
    CHECKED_PARSER parser(&table, name, sizeof name);
    const std::string xml = language("<TRANSLATION><STRING>no key</STRING></TRANSLATION>");
    ASSERT_TRUE(parser.parse(xml.data(), static_cast<INT_S32>(xml.size())));
    EXPECT_FALSE(parser.failed());
    EXPECT_STREQ(name, "Deutsch");
    EXPECT_EQ(table.count(), 0);
    EXPECT_EQ(table.language_name, nullptr);
    EXPECT_STREQ(table.name(), "English (Built in)");
}

TEST(TRANSLATION_DEATH, an_entry_without_any_key_ends_the_process_with_its_line)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(load_with_real_parser(language("\n<TRANSLATION>\n<STRING>x</STRING>\n</TRANSLATION>")),
        testing::ExitedWithCode(255), "XML parsing error: No key string or key id found at line 5 \n\n");
}
