// WM_TICKER and WM_VIDIPRINTER against the injected clock.

#include "widget_screen.h"

#include <cstring>

#include "wm/widgets/wm_ticker.h"
#include "wm/widgets/wm_vidiprinter.h"

namespace {

const COLOUR INK = COLOUR::from_argb(0xFFFFFFFFu);

struct PASSES {
    INT_S32 count { 0 };
};

void count_pass(WM_SCREEN_OBJECT*, PTR_INT_CAST data)
{
    ++reinterpret_cast<PASSES*>(data)->count;
}

// A strip 200 wide; a text crosses it in 1000 ms per strip width.
WM_TICKER* make_ticker()
{
    return new WM_TICKER(100, 100, 200, 30, INK, 10, 16, 16, 1000);
}

class TICKER : public WIDGET_SCREEN {};

} // namespace

TEST_F(TICKER, add_line_splits_at_line_breaks_and_max_lines_drops_the_oldest_spent_line_first)
{
    WM_TICKER* ticker = make_ticker();
    add(ticker);
    EXPECT_EQ(ticker->add_line("one\ntwo\nthree", 0, INK, 0), 2);
    ASSERT_EQ(ticker->line_count(), 3);
    EXPECT_STREQ(ticker->line(1)->text, "two");
    // Carriage returns split too, and empty pieces count.
    EXPECT_EQ(ticker->add_line("a\r\nb", 0, INK, 0), 5);
    EXPECT_STREQ(ticker->line(4)->text, "");

    // With a limit, the oldest spent line goes first, and with none spent, the first.
    WM_TICKER* limited = make_ticker();
    limited->max_lines = 2;
    add(limited);
    limited->add_line("keep", 0, INK, 5);
    limited->add_line("spent", 0, INK, 0);
    limited->add_line("new", 0, INK, 5);
    ASSERT_EQ(limited->line_count(), 2);
    EXPECT_STREQ(limited->line(0)->text, "keep");
    EXPECT_STREQ(limited->line(1)->text, "new");
    limited->add_line("newer", 0, INK, 5);
    EXPECT_STREQ(limited->line(0)->text, "new");
}

TEST_F(TICKER, a_text_runs_from_the_right_edge_to_beyond_the_left_in_its_time)
{
    WM_TICKER* ticker = make_ticker();
    add(ticker);
    ticker->add_line("News", 0, INK, -1);
    frame();
    INT_S32 text_w = screen()->text_width(10, 16, 16, "News");
    ASSERT_EQ(ticker->text_width, text_w);
    // duration = speed * (width + text width) / width
    EXPECT_EQ(ticker->duration, 1000u * (200 + text_w) / 200);
    EXPECT_EQ(ticker->x_offset, 300);
    advance(ticker->duration / 2);
    frame();
    EXPECT_EQ(ticker->x_offset, 300 - (ticker->duration / 2) * (200 + text_w) / ticker->duration);
    // Nothing is drawn outside the strip, wherever the text stands.
    EXPECT_TRUE(all_of(0, 100, 99, 129, PAGE_COLOUR));
    EXPECT_TRUE(all_of(300, 100, 639, 129, PAGE_COLOUR));
    EXPECT_GT(count_not(100, 100, 299, 129, PAGE_COLOUR), 10);
}

TEST_F(TICKER, a_line_with_repeats_0_shows_once_and_goes_and_a_negative_one_never_goes)
{
    PASSES passes;
    WM_TICKER* ticker = make_ticker();
    ticker->end_callback = count_pass;
    ticker->end_data = reinterpret_cast<PTR_INT_CAST>(&passes);
    add(ticker);
    ticker->add_line("Once", 0, INK, 0);
    ticker->add_line("Always", 0, INK, -1);
    ticker->add_line("Twice", 0, INK, 1);
    frame();
    // Run three passes.
    for (INT_S32 i = 0; i < 600 && passes.count < 3; ++i) {
        advance(50);
        frame();
    }
    ASSERT_EQ(passes.count, 3);
    ASSERT_EQ(ticker->line_count(), 1);
    EXPECT_STREQ(ticker->line(0)->text, "Always");
}

TEST_F(TICKER, a_separator_runs_all_lines_as_one_text_and_each_pass_ends_after_it)
{
    PASSES passes;
    WM_TICKER* ticker = make_ticker();
    ticker->end_callback = count_pass;
    ticker->end_data = reinterpret_cast<PTR_INT_CAST>(&passes);
    add(ticker);
    ticker->add_line("First", 0, INK, -1);
    ticker->add_line("Second", 0, INK, -1);
    ticker->set_separator(" - ");
    frame();
    EXPECT_STREQ(ticker->current_text(), "First - Second");
    INT_S32 joined_w = screen()->text_width(10, 16, 16, "First - Second");
    EXPECT_EQ(ticker->text_width, joined_w);
    INT_U32 one_pass = ticker->duration;
    advance(one_pass - 1);
    frame();
    EXPECT_EQ(passes.count, 0);
    advance(1);
    frame();
    EXPECT_EQ(passes.count, 1);
    EXPECT_STREQ(ticker->current_text(), "First - Second");
}

TEST_F(TICKER, pausing_for_any_time_leaves_the_text_where_it_was)
{
    WM_TICKER* ticker = make_ticker();
    add(ticker);
    ticker->add_line("Pause me", 0, INK, -1);
    frame();
    advance(300);
    frame();
    INT_S16 where = ticker->x_offset;
    ticker->set_paused(true);
    frames(20, 1000);
    EXPECT_EQ(ticker->x_offset, where);
    ticker->set_paused(false);
    frame();
    EXPECT_EQ(ticker->x_offset, where);
    advance(100);
    frame();
    EXPECT_LT(ticker->x_offset, where);
}

TEST_F(TICKER, centred_lines_stand_in_the_middle_for_their_time)
{
    WM_TICKER* ticker = make_ticker();
    ticker->centred = 1;
    add(ticker);
    ticker->add_line("Mid", 0, INK, -1);
    frame();
    INT_S32 text_w = screen()->text_width(10, 16, 16, "Mid");
    EXPECT_EQ(ticker->x_offset, 100 + (200 - text_w) / 2);
    advance(200);
    frame();
    EXPECT_EQ(ticker->x_offset, 100 + (200 - text_w) / 2);
}

TEST_F(TICKER, vidiprinter_types_a_character_per_speed_then_holds_the_line)
{
    WM_VIDIPRINTER* printer = new WM_VIDIPRINTER(100, 100, 200, 30, INK, 10, 16, 16, 100, 500);
    add(printer);
    printer->add_line("Type", 0, INK, -1);
    printer->add_line("Next", 0, INK, -1);
    frame();
    EXPECT_STREQ(printer->current_text(), "Type");
    EXPECT_EQ(printer->hidden_index, 0);
    EXPECT_EQ(printer->x_offset, 100);
    advance(250);
    frame();
    EXPECT_EQ(printer->hidden_index, 2);
    advance(150);
    frame();
    EXPECT_EQ(printer->hidden_index, -1);
    // Held for 500 ms after the 400 ms of typing, then the next line.
    advance(499);
    frame();
    EXPECT_STREQ(printer->current_text(), "Type");
    advance(1);
    frame();
    EXPECT_STREQ(printer->current_text(), "Next");
    EXPECT_EQ(printer->hidden_index, 0);
    // The texts themselves are never cut.
    EXPECT_STREQ(printer->line(0)->text, "Type");
}

TEST_F(TICKER, vidiprinter_moves_a_line_wider_than_the_strip_left_as_it_grows)
{
    WM_VIDIPRINTER* printer = new WM_VIDIPRINTER(100, 100, 60, 30, INK, 10, 16, 16, 10, 100);
    add(printer);
    const char* text = "A line far wider than sixty pixels";
    printer->add_line(text, 0, INK, -1);
    frame();
    advance(10 * static_cast<INT_U32>(strlen(text)));
    frame();
    INT_S32 full = screen()->text_width(10, 16, 16, text);
    EXPECT_EQ(printer->x_offset, 100 - (full - 60));
    EXPECT_TRUE(all_of(0, 100, 99, 129, PAGE_COLOUR));
    EXPECT_TRUE(all_of(160, 100, 639, 129, PAGE_COLOUR));
}
