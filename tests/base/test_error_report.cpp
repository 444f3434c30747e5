// Fatal errors, warnings and the last-error slot.

#include <gtest/gtest.h>

#include <string>

#include "base/error_report.h"
#include "test_support.h"

namespace {

// A PATH with no message program on it, so that reports fall back to the console.
const std::vector<std::string> console_only = { "PATH=/nonexistent", "DISPLAY=" };

} // namespace

TEST(LAST_ERROR, texts_put_the_detail_in_safely_and_keep_their_wording)
{
    EXPECT_STREQ(error_text(4112, "a.png"), "Error: File a.png not found in package.");
    EXPECT_STREQ(error_text(256, "title"), "Warning: The requested entry was not found in the config file (title).");
    EXPECT_STREQ(error_text(9999, "x"), "Unknown Error Code");
    // The per cent signs of a text or a detail are plain text, never a format.
    EXPECT_STREQ(error_text(4096, "%s%n"), "Error: Colour darkening percentage was over 100% or less than -100% which makes no sense.");
    EXPECT_STREQ(error_text(4108, "%s%s%n"), "Error: Can not open file %s%s%n as it was not found.");
    EXPECT_STREQ(error_text(4108, nullptr), "Error: Can not open file  as it was not found.");
}

TEST(LAST_ERROR, slot_keeps_code_and_at_most_1023_characters)
{
    EXPECT_FALSE(set_last_error(4105, "file.bin"));
    EXPECT_EQ(last_error_code(), 4105);
    EXPECT_STREQ(last_error_text(), "Error: file.bin does not appear to be a package file.");

    std::string long_detail(5000, 'x');
    set_last_error(4103, long_detail.c_str());
    EXPECT_EQ(std::string(last_error_detail()).size(), 1023u);
    // The formatted text is cut by its 1024-character buffer.
    EXPECT_EQ(std::string(last_error_text()).size(), 1023u);

    set_last_error(4111, nullptr);
    EXPECT_STREQ(last_error_detail(), "");
}

TEST(ERROR_REPORT, table_rows_format_code_message_extra_and_question)
{
    EXPECT_STREQ(fatal_error_text(0x0042, "--foo"),
        "ERROR: 0042:\nUnrecognised command line option: --foo\n\nDo you require more information?");
    // That row does not take the caller's extra text.
    EXPECT_STREQ(fatal_error_text(0x000B, "ignored"),
        "ERROR: 000B:\nUnable to allocate dynamic memory for TCP/IP layer \n\nDo you require more information?");
    // No more-info text: no question.
    EXPECT_STREQ(fatal_error_text(0x0021, nullptr), "ERROR: 0021:\nUnable to startup the font system ");
    EXPECT_STREQ(fatal_error_text(0x7777, "x"), "ERROR: Undefined error encountered");
    EXPECT_STREQ(warning_text(0x0001, "debug.txt"), "WARNING: 0001:\nUnable to create debug file debug.txt");
    EXPECT_STREQ(warning_text(0x0010, nullptr),
        "WARNING: 0010:\nToo many colour for a 256 Palette \n\nDo you require more information?");
    EXPECT_STREQ(warning_text(0x0099, nullptr), "WARNING: Undefined warning encountered");
}

TEST(ERROR_REPORT, fatal_error_shows_the_report_and_ends_the_process_with_status_255)
{
    RUN_RESULT run = run_in_child([] { fatal_error(0x0042, "--foo"); }, console_only);
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.output,
        "\n*\n*\tError\n*\n*\tERROR: 0042:\nUnrecognised command line option: --foo\n\nDo you require more information?\n*\n*  Press Return\n*"
        "\nError, unable to continue...\n\nApplication was unable to continue\n\n");
}

TEST(ERROR_REPORT, warning_shows_and_returns)
{
    RUN_RESULT run = run_in_child(
        [] {
            warning(0x0003, "ALSA");
            printf("returned\n");
        },
        console_only);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "\n*\n*\tWarning\n*\n*\tWARNING: 0003:\nSound layer was unable to start ALSA\n*\n*  Press Return\n*returned\n");
}

TEST(ERROR_REPORT, debug_to_file_truncates_the_default_file_once_and_appends_after)
{
    TEMP_FOLDER folder;
    ASSERT_TRUE(write_file(folder.file("debug.txt"), "old content\n"));
    RUN_RESULT run = run_in_child(
        [&] {
            if (chdir(folder.path().c_str()) != 0)
                _exit(3);
            debug_to_file("code/package", 12, "first", nullptr);
            debug_to_file(nullptr, 0, "second", nullptr);
            debug_to_file(nullptr, 0, "elsewhere", (folder.path() + "/other.txt").c_str());
        },
        console_only);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(read_file(folder.file("debug.txt")), "Debug - File: code/package Line 12: = first\nsecond\n");
    EXPECT_EQ(read_file(folder.file("other.txt")), "elsewhere\n");
}

TEST(ERROR_REPORT, debug_to_file_that_cannot_be_created_warns_with_the_name)
{
    RUN_RESULT run = run_in_child([] { debug_to_file(nullptr, 0, "x", "/nonexistent/folder/log.txt"); }, console_only);
    EXPECT_NE(run.output.find("WARNING: 0002:\nUnable to open debug file /nonexistent/folder/log.txt"), std::string::npos);
}
