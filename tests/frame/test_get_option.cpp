// The single-letter option scanner.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/framework_options.h"
#include "test_support.h"

namespace {

struct SCAN {
    std::vector<std::string> seen;
};

SCAN scan(std::vector<std::string> words, const char* letters)
{
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    reset_option_scanner();
    option_report_errors = false;
    SCAN result;
    for (INT_S32 option; (option = get_option(static_cast<int>(words.size()), argv.data(), letters)) != -1;) {
        std::string entry(1, static_cast<char>(option));
        if (option != '?' && option_argument && option_argument[0] != '-')
            entry += "=" + std::string(option_argument);
        result.seen.push_back(entry);
    }
    return result;
}

} // namespace

TEST(GET_OPTION, reads_letters_and_values_in_order)
{
    SCAN result = scan({ "prog", "-a", "-x", "file.xml", "-v", "-p", "Linux" }, "havs:x:p:d:");
    EXPECT_EQ(result.seen, (std::vector<std::string> { "a", "x=file.xml", "v", "p=Linux" }));
}

TEST(GET_OPTION, skips_plain_words_and_stops_at_double_dash)
{
    SCAN result = scan({ "prog", "word", "-a", "other", "--", "-v" }, "av");
    EXPECT_EQ(result.seen, (std::vector<std::string> { "a" }));
}

TEST(GET_OPTION, unknown_letters_long_arguments_and_missing_values_answer_question_mark)
{
    EXPECT_EQ(scan({ "prog", "-f" }, "havs:x:p:d:").seen, (std::vector<std::string> { "?" }));
    EXPECT_EQ(scan({ "prog", "-ah" }, "havs:x:p:d:").seen, (std::vector<std::string> { "?" }));
    EXPECT_EQ(scan({ "prog", "-x" }, "havs:x:p:d:").seen, (std::vector<std::string> { "?" }));
    EXPECT_EQ(scan({ "prog", "-:" }, "x:").seen, (std::vector<std::string> { "?" }));
}

TEST(GET_OPTION, reports_fatal_errors_when_asked)
{
    std::vector<std::string> words = { "prog", "-q" };
    RUN_RESULT run = run_in_child(
        [&] {
            char* argv[] = { words[0].data(), words[1].data(), nullptr };
            reset_option_scanner();
            option_report_errors = true;
            get_option(2, argv, "ab");
        },
        { "PATH=/nonexistent", "DISPLAY=" });
    EXPECT_EQ(run.status, 255);
    EXPECT_NE(run.output.find("ERROR: 0042:\nUnrecognised command line option: -q"), std::string::npos);
}
