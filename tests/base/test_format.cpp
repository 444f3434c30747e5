// Checked formatting: whole texts, cut texts and paths.

#include <gtest/gtest.h>

#include <string>

#include "base/format.h"

TEST(FORMAT_TEXT, a_text_that_fits_is_whole_and_a_cut_one_says_so)
{
    char buffer[8];
    EXPECT_TRUE(format_text(buffer, sizeof buffer, "%s-%d", "ab", 42));
    EXPECT_STREQ(buffer, "ab-42");
    // Seven characters and the terminator fill the buffer exactly.
    EXPECT_TRUE(format_text(buffer, sizeof buffer, "%s", "1234567"));
    EXPECT_STREQ(buffer, "1234567");
    EXPECT_FALSE(format_text(buffer, sizeof buffer, "%s", "12345678"));
    EXPECT_STREQ(buffer, "1234567");
    EXPECT_FALSE(format_text(nullptr, 4, "x"));
    EXPECT_FALSE(format_text(buffer, 0, "x"));
}

TEST(FORMAT_TEXT, copies_report_a_cut_and_stay_terminated)
{
    char buffer[4] = "zzz";
    EXPECT_TRUE(copy_text(buffer, "abc"));
    EXPECT_STREQ(buffer, "abc");
    EXPECT_FALSE(copy_text(buffer, "abcd"));
    EXPECT_STREQ(buffer, "abc");
    EXPECT_TRUE(copy_text(buffer, nullptr));
    EXPECT_STREQ(buffer, "");
}

TEST(FORMAT_TEXT, joined_paths_get_one_separator_and_are_never_cut)
{
    char path[16];
    EXPECT_TRUE(join_path_text(path, "/opt/app", "run"));
    EXPECT_STREQ(path, "/opt/app/run");
    EXPECT_TRUE(join_path_text(path, "/opt/app/", "run"));
    EXPECT_STREQ(path, "/opt/app/run");
    EXPECT_TRUE(join_path_text(path, "", "run"));
    EXPECT_STREQ(path, "run");
    // "/opt/app/longer" cut to 15 characters would name "/opt/app/longe", another file.
    EXPECT_FALSE(join_path_text(path, "/opt/app", "longer1"));
    EXPECT_STREQ(path, "");
}
