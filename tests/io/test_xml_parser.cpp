#include "io/xml_parser.h"

#include "base/orlu_string.h"

#include "memory_device.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

std::string convert(const std::string& bytes)
{
    std::vector<char> out(static_cast<size_t>(utf8_buffer_size(static_cast<INT_S32>(bytes.size()))));
    INT_S32 length = utf8_convert(bytes.data(), static_cast<INT_S32>(bytes.size()), out.data(), static_cast<INT_S32>(out.size()));
    return std::string(out.data(), static_cast<size_t>(length));
}

// Records every event as a line of text, and errors without ending the process.
class RECORDER : public XML_PARSER {
public:
    void start_element(const char* name, const char** attributes) override
    {
        log += std::string("<") + name;
        for (INT_S32 i = 0; attributes[i]; i += 2)
            log += std::string(" ") + attributes[i] + "=" + attributes[i + 1];
        log += ">";
    }
    void end_element(const char* name) override { log += std::string("</") + name + ">"; }
    void character_data(const char* text, INT_S32 length) override
    {
        log += std::string(text, static_cast<size_t>(length));
        ++pieces;
    }
    void report_error(const char* message, const char* context, INT_S32 line) override
    {
        error = message;
        error_context = context ? context : "";
        error_line = line;
    }

    std::string log;
    int pieces { 0 };
    std::string error;
    std::string error_context;
    INT_S32 error_line { -1 };
};

// The fatal path in a child process: no display, and a console fallback that reads end of file.
void parse_with_base_parser(const std::string& xml)
{
    unsetenv("DISPLAY");
    if (!freopen("/dev/null", "r", stdin))
        return;
    XML_PARSER parser;
    (void)parser.parse(xml.data(), static_cast<INT_S32>(xml.size()));
    exit(0);
}

} // namespace

TEST(XML_UTF8, narrow_characters_become_single_bytes)
{
    EXPECT_EQ(convert("plain"), "plain");
    EXPECT_EQ(convert("caf\xC3\xA9"), "caf\xE9");
    EXPECT_EQ(convert("\xC3\xBF"), "\xFF");
}

TEST(XML_UTF8, wide_characters_share_one_run_between_markers)
{
    // U+0100 and U+20AC in a row, then a narrow letter closes the run.
    EXPECT_EQ(convert("a\xC4\x80\xE2\x82\xAC" "b"), "a\x01,0100,20AC\x01" "b");
    // A run still open at the end stays open.
    EXPECT_EQ(convert("\xE2\x82\xAC"), "\x01,20AC");
    // Four-byte forms are taken as they come: more than four digits when above U+FFFF.
    EXPECT_EQ(convert("\xF0\x9F\x98\x80"), "\x01,1F600");
    // Two runs separated by a narrow character each get their own markers.
    EXPECT_EQ(convert("\xC4\x80x\xC4\x81"), "\x01,0100\x01x\x01,0101");
}

TEST(XML_UTF8, cut_sequences_and_small_buffers_stay_inside_bounds)
{
    EXPECT_EQ(convert("ab\xE2\x82"), "ab");
    EXPECT_EQ(convert("\xC4"), "");
    // Continuation bytes are not checked: the lead byte decides.
    EXPECT_EQ(convert("\xC4" "A"), "\x01,0101");

    // A character that does not fit whole is left out.
    char out[8];
    EXPECT_EQ(utf8_convert("ab\xE2\x82\xAC", -1, out, sizeof out), 2);
    EXPECT_STREQ(out, "ab");
    EXPECT_EQ(utf8_convert("abcdefghij", -1, out, sizeof out), 7);
    EXPECT_STREQ(out, "abcdefg");
    EXPECT_EQ(utf8_convert(nullptr, 4, out, sizeof out), 0);
    EXPECT_STREQ(out, "");
}

TEST(XML_UTF8, shared_text_and_string_forms)
{
    EXPECT_STREQ(utf8_to_text("caf\xC3\xA9 \xE2\x82\xAC", -1), "caf\xE9 \x01,20AC");
    EXPECT_STREQ(utf8_to_text(nullptr, 3), "");
    // The shared form stops at 32767 input bytes.
    std::string long_text(40000, 'a');
    EXPECT_EQ(strlen(utf8_to_text(long_text.data(), static_cast<INT_S32>(long_text.size()))), 32767u);

    ORLU_STRING string("old");
    ASSERT_TRUE(utf8_to_string("\xC4\x80", 2, &string));
    EXPECT_STREQ(string.c_str(), "\x01,0100");
}

TEST(XML_PARSER, handlers_see_converted_names_attributes_and_text)
{
    const std::string xml = "<root a=\"\xC3\xA9\" b=\"\xE2\x82\xAC\"><x>t\xC3\xA9xt</x><y/></root>";
    RECORDER parser;
    ASSERT_TRUE(parser.parse(xml.data(), static_cast<INT_S32>(xml.size())));
    EXPECT_EQ(parser.log, "<root a=\xE9 b=\x01,20AC><x>t\xE9xt</x><y></y></root>");
    EXPECT_TRUE(parser.error.empty());
}

TEST(XML_PARSER, attributes_past_the_nineteenth_pass_unconverted)
{
    std::string xml = "<e";
    for (int i = 0; i < 21; ++i)
        xml += " a" + std::to_string(i) + "=\"\xC3\xA9\"";
    xml += "/>";
    RECORDER parser;
    ASSERT_TRUE(parser.parse(xml.data(), static_cast<INT_S32>(xml.size())));
    EXPECT_NE(parser.log.find(" a18=\xE9 "), std::string::npos);
    EXPECT_NE(parser.log.find(" a19=\xC3\xA9 "), std::string::npos);
    EXPECT_NE(parser.log.find(" a20=\xC3\xA9>"), std::string::npos);
}

TEST(XML_PARSER, long_text_arrives_in_pieces_cut_between_characters)
{
    std::string body;
    for (int i = 0; i < 5000; ++i)
        body += "\xE2\x82\xAC"; // 15000 bytes of wide characters
    std::string xml = "<t>" + body + "</t>";
    RECORDER parser;
    ASSERT_TRUE(parser.parse(xml.data(), static_cast<INT_S32>(xml.size())));
    EXPECT_GE(parser.pieces, 4);
    // Every piece starts and ends on whole characters, so only whole ",20AC" tokens appear.
    std::string text = parser.log.substr(3, parser.log.size() - 7);
    size_t tokens = 0;
    for (size_t at = text.find(",20AC"); at != std::string::npos; at = text.find(",20AC", at + 1))
        ++tokens;
    EXPECT_EQ(tokens, 5000u);
}

TEST(XML_PARSER, device_is_read_until_it_gives_nothing)
{
    std::string xml = "<list>";
    for (int i = 0; i < 3000; ++i)
        xml += "<item n=\"" + std::to_string(i) + "\">text</item>\n";
    xml += "</list>";
    MEMORY_DEVICE device(xml);
    RECORDER parser;
    ASSERT_TRUE(parser.parse_device(&device));
    EXPECT_NE(parser.log.find("<item n=2999>text</item>"), std::string::npos);
    EXPECT_EQ(parser.current_line(), 3001);
}

TEST(XML_PARSER, errors_carry_message_context_and_line_and_stop_the_parse)
{
    const std::string xml = "<a>\n<b>\n</a>";
    RECORDER parser;
    EXPECT_FALSE(parser.parse(xml.data(), static_cast<INT_S32>(xml.size())));
    EXPECT_EQ(parser.error, "mismatched tag");
    EXPECT_EQ(parser.error_line, 3);
    EXPECT_NE(parser.error_context.find("</a>"), std::string::npos);
    EXPECT_TRUE(parser.has_stopped());
    EXPECT_FALSE(parser.parse("<c/>", 4));
}

TEST(XML_PARSER, nesting_and_attribute_counts_are_bounded)
{
    std::string deep;
    for (int i = 0; i <= XML_MAX_DEPTH; ++i)
        deep += "<d>";
    RECORDER nested;
    EXPECT_FALSE(nested.parse(deep.data(), static_cast<INT_S32>(deep.size())));
    EXPECT_EQ(nested.error, "Elements nested too deeply");

    std::string wide = "<e";
    for (int i = 0; i <= XML_MAX_ATTRIBUTES; ++i)
        wide += " a" + std::to_string(i) + "=\"1\"";
    wide += "/>";
    RECORDER many;
    EXPECT_FALSE(many.parse(wide.data(), static_cast<INT_S32>(wide.size())));
    EXPECT_EQ(many.error, "Too many attributes on one element");
    EXPECT_EQ(many.log, "");
}

TEST(XML_PARSER, error_text_is_message_line_and_context_within_1023_characters)
{
    EXPECT_STREQ(xml_error_text("mismatched tag", "</a>", 3), "mismatched tag at line 3 \n\n</a>");
    std::string context(2000, 'c');
    EXPECT_EQ(strlen(xml_error_text("m", context.c_str(), 1)), 1023u);
}

TEST(XML_PARSER_DEATH, bad_xml_ends_the_process_with_the_report)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(parse_with_base_parser("<a>\n<b></a>"), testing::ExitedWithCode(255),
        "XML parsing error: mismatched tag at line 2 \n\n");
}
