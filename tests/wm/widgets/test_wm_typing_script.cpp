// The typing script: how far the text has been typed at a given time.

#include <gtest/gtest.h>

#include "wm/widgets/wm_typing_script.h"

TEST(WM_TYPING_SCRIPT, one_character_per_delay_the_first_at_once)
{
    EXPECT_EQ(typing_visible_length("Hello", 0, 100, 0), 0);
    EXPECT_EQ(typing_visible_length("Hello", 1, 100, 0), 1);
    EXPECT_EQ(typing_visible_length("Hello", 100, 100, 0), 1);
    EXPECT_EQ(typing_visible_length("Hello", 101, 100, 0), 2);
    EXPECT_EQ(typing_visible_length("Hello", 401, 100, 0), 5);
    EXPECT_EQ(typing_visible_length("Hello", 100000, 100, 0), 5);
}

TEST(WM_TYPING_SCRIPT, newline_delay_zero_types_line_breaks_at_char_delay)
{
    // "ab\ncd": with newline_delay 0 the line feed costs 100 like the rest.
    EXPECT_EQ(typing_visible_length("ab\ncd", 201, 100, 0), 3);
    EXPECT_EQ(typing_visible_length("ab\ncd", 301, 100, 0), 4);
    // With its own delay of 1000 the next line waits.
    EXPECT_EQ(typing_visible_length("ab\ncd", 301, 100, 1000), 3);
    EXPECT_EQ(typing_visible_length("ab\ncd", 1200, 100, 1000), 3);
    EXPECT_EQ(typing_visible_length("ab\ncd", 1201, 100, 1000), 4);
}

TEST(WM_TYPING_SCRIPT, colour_markup_costs_nothing_and_is_never_cut)
{
    // "a" then a red section, then "bc".
    const char text[] = "a\002255,255,0,0\002bc";
    const INT_S32 b_end = static_cast<INT_S32>(sizeof "a\002255,255,0,0\002b") - 1;
    EXPECT_EQ(typing_visible_length(text, 1, 100, 0), 1);
    EXPECT_EQ(typing_visible_length(text, 101, 100, 0), b_end);
    EXPECT_EQ(typing_visible_length(text, 201, 100, 0), static_cast<INT_S32>(sizeof text) - 1);
}

TEST(WM_TYPING_SCRIPT, no_delay_shows_everything)
{
    EXPECT_EQ(typing_visible_length("Hello", 0, 0, 0), 5);
    EXPECT_EQ(typing_visible_length(nullptr, 50, 10, 0), 0);
}
