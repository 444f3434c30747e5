// The typing script: how far the text has been typed at a given time.

#include <gtest/gtest.h>

#include "wm/widgets/wm_typing_script.h"

TEST(WM_TYPING_SCRIPT, characters_come_one_per_delay_line_feeds_wait_their_own_and_markup_costs_nothing)
{
    // "a", a red section, then "bc": the section is never cut, and shows with the "b".
    const char coloured[] = "a\002255,255,0,0\002bc";
    const INT_S32 b_end = static_cast<INT_S32>(sizeof "a\002255,255,0,0\002b") - 1;
    struct CASE {
        const char* text;
        INT_S64 elapsed;
        INT_S32 char_delay, newline_delay;
        INT_S32 visible;
    } cases[] = {
        // The first character at once, then one per delay.
        { "Hello", 0, 100, 0, 0 },
        { "Hello", 1, 100, 0, 1 },
        { "Hello", 100, 100, 0, 1 },
        { "Hello", 101, 100, 0, 2 },
        { "Hello", 401, 100, 0, 5 },
        { "Hello", 100000, 100, 0, 5 },
        // A line feed costs the character delay unless it has a delay of its own.
        { "ab\ncd", 201, 100, 0, 3 },
        { "ab\ncd", 301, 100, 0, 4 },
        { "ab\ncd", 301, 100, 1000, 3 },
        { "ab\ncd", 1200, 100, 1000, 3 },
        { "ab\ncd", 1201, 100, 1000, 4 },
        { coloured, 1, 100, 0, 1 },
        { coloured, 101, 100, 0, b_end },
        { coloured, 201, 100, 0, static_cast<INT_S32>(sizeof coloured) - 1 },
        // No delay shows everything; no text shows nothing.
        { "Hello", 0, 0, 0, 5 },
        { nullptr, 50, 10, 0, 0 },
    };
    for (const CASE& c : cases)
        EXPECT_EQ(typing_visible_length(c.text, c.elapsed, c.char_delay, c.newline_delay), c.visible)
            << (c.text ? c.text : "(null)") << " at " << c.elapsed << " with delays " << c.char_delay << ", "
            << c.newline_delay;
}
