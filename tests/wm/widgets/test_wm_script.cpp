// Labels: WM_SCRIPT with its markup, measuring and clipping; WM_TYPING_SCRIPT against the clock;
// WM_IMAGE and WM_ANIMATION.

#include "widget_screen.h"

#include <string>

#include "host/headless/headless_display.h"
#include "wm/widgets/wm_animation.h"
#include "wm/widgets/wm_image.h"
#include "wm/widgets/wm_script.h"
#include "wm/widgets/wm_typing_script.h"

namespace {

const COLOUR INK = COLOUR::from_argb(0xFFFFFFFFu);
const COLOUR PAPER = COLOUR::from_argb(0xFF000000u);

WM_SCRIPT* label(INT_S16 x, INT_S16 y, INT_S16 w, INT_S16 h, const char* text, INT_U32 flags = 0)
{
    return new WM_SCRIPT(x, y, w, h, text, INK, PAPER, 10, 16, 16, flags);
}

// Pixels of the rectangle whose red channel clearly outweighs the others.
INT_S32 reddish(const IMAGE* image, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2)
{
    INT_S32 count = 0;
    for (INT_S32 y = y1; y <= y2; ++y)
        for (INT_S32 x = x1; x <= x2; ++x) {
            COLOUR c = image->at(x, y);
            count += c.red() > 120 && c.green() < 60 && c.blue() < 60;
        }
    return count;
}

// Rows of the rectangle with any pixel not the colour.
INT_S32 inked_rows(const IMAGE* image, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2,
    COLOUR ground, INT_S32* first, INT_S32* last)
{
    INT_S32 rows = 0;
    *first = -1;
    *last = -1;
    for (INT_S32 y = y1; y <= y2; ++y) {
        bool inked = false;
        for (INT_S32 x = x1; x <= x2 && !inked; ++x)
            inked = image->at(x, y) != ground;
        if (inked) {
            ++rows;
            if (*first == -1)
                *first = y;
            *last = y;
        }
    }
    return rows;
}

class SCRIPT : public WIDGET_SCREEN {};

INT_S32 count_call(WM_SCREEN_OBJECT*, PTR_INT_CAST data1, PTR_INT_CAST)
{
    ++*reinterpret_cast<INT_S32*>(data1);
    return 0;
}

} // namespace

TEST_F(SCRIPT, a_colour_section_paints_what_follows_in_its_colour_until_an_empty_one)
{
    // "Plain" in white, then a red section for "Red".
    add(label(100, 100, 300, 30, "Plain \002255,255,0,0\002Red", 0x1));
    add(label(100, 200, 300, 30, "\002255,255,0,0\002Red\002\002White", 0x1));
    frame();
    INT_S32 plain_width = screen()->text_width(10, 16, 16, "Plain ");
    INT_S32 split = 100 + 2 + plain_width; // the left gap is the border's width, 2 by default
    EXPECT_EQ(reddish(screen(), 100, 100, split - 2, 129), 0);
    EXPECT_GT(reddish(screen(), split, 100, 399, 129), 20);
    INT_S32 red_width = screen()->text_width(10, 16, 16, "Red");
    EXPECT_GT(reddish(screen(), 100, 200, 100 + red_width, 229), 20);
    EXPECT_EQ(reddish(screen(), 104 + red_width, 200, 399, 229), 0);
}

TEST_F(SCRIPT, a_line_feed_breaks_the_line_and_wrap_text_breaks_a_long_one_inside_the_label)
{
    add(label(100, 100, 300, 60, "First\nSecond"));
    add(label(100, 200, 300, 60, "First Second"));
    add(label(420, 100, 120, 100, "Words that cannot fit on one line of this label", 0x400000));
    frame();
    INT_S32 first = 0, last = 0;
    inked_rows(screen(), 100, 100, 399, 159, PAPER, &first, &last);
    INT_S32 two_lines = last - first;
    inked_rows(screen(), 100, 200, 399, 259, PAPER, &first, &last);
    INT_S32 one_line = last - first;
    EXPECT_GE(two_lines, one_line + 12);
    EXPECT_GT(inked_rows(screen(), 420, 100, 539, 199, PAPER, &first, &last), 30);
    EXPECT_TRUE(all_of(540, 90, 639, 210, PAGE_COLOUR));
}

TEST_F(SCRIPT, a_text_three_times_too_long_stays_inside_the_label)
{
    std::string text = "Ceci est une traduction beaucoup trop longue pour cette etiquette";
    add(label(100, 100, 100, 24, text.c_str()));
    frame();
    ASSERT_GT(screen()->text_width(10, 16, 16, text.c_str()), 300);
    EXPECT_TRUE(all_of(0, 100, 99, 123, PAGE_COLOUR));
    EXPECT_TRUE(all_of(200, 100, 639, 123, PAGE_COLOUR));
    EXPECT_GT(count_not(100, 100, 199, 123, PAPER), 50);
}

TEST_F(SCRIPT, a_size_of_minus_one_measures_the_text_and_set_text_only_widens)
{
    WM_SCRIPT* script = label(10, 10, -1, -1, "Measure me");
    add(script);
    INT_S32 text_w = screen()->text_width(10, 16, 16, "Measure me");
    // No gap set: the font's width stands in for both, plus 1; the height is the line plus two
    // borders plus 1.
    EXPECT_EQ(script->width, text_w + 16 + 1);
    EXPECT_EQ(script->height, 16 + 2 * 2 + 1);
    INT_U16 wide = script->width;
    script->set_text("x", true);
    EXPECT_EQ(script->width, wide);
    script->set_text("A much longer text than before", true);
    EXPECT_EQ(script->width, screen()->text_width(10, 16, 16, "A much longer text than before") + 1);

    // Several lines: the widest line and every line.
    WM_SCRIPT* lines = new WM_SCRIPT(10, 100, SCRIPT_MEASURE_LINES_WIDTH, SCRIPT_MEASURE_LINES_HEIGHT,
        "short\na much longer line\nmid", nullptr);
    add(lines);
    EXPECT_GE(lines->width, screen()->text_width(255, -1, -1, "a much longer line"));
    EXPECT_GE(lines->height, 3 * screen()->default_font_height);
}

TEST_F(SCRIPT, a_label_in_a_sample_style_takes_its_picture)
{
    WM_STYLE_SET* style = sample_style("button/button.ss");
    ASSERT_TRUE(style->images_loaded);
    WM_SCRIPT* script = new WM_SCRIPT(100, 100, 120, 40, "", style);
    add(script);
    frame();
    ASSERT_NE(script->face, nullptr);
    // The picture covers the label: the page colour shows only where the picture is clear.
    EXPECT_LT(count_not(100, 100, 219, 139, PAGE_COLOUR), 120 * 40 + 1);
    EXPECT_GT(count_not(100, 100, 219, 139, PAGE_COLOUR), 120 * 40 / 2);
}

TEST_F(SCRIPT, flashing_label_shows_its_flash_text_in_the_lit_phase)
{
    WM_SCRIPT* script = label(100, 100, 200, 30, "Normal");
    script->set_flash_text("Lit");
    script->flashing_text_colour = COLOUR_RED;
    script->set_flash(8, true);
    add(script);
    headless_set_time(200000); // 200000 / 500 is even: the phase bit is clear
    frame();
    EXPECT_EQ(script->flash_on, 0);
    EXPECT_EQ(reddish(screen(), 100, 100, 299, 129), 0);
    advance(500);
    frame();
    EXPECT_EQ(script->flash_on, 1);
    EXPECT_GT(reddish(screen(), 100, 100, 299, 129), 10);
}

// --- Typing -----------------------------------------------------------------------------------------------

TEST_F(SCRIPT, typing_starts_at_the_first_paint_and_shows_a_character_per_delay)
{
    INT_S32 calls = 0;
    WM_TYPING_SCRIPT* typing
        = new WM_TYPING_SCRIPT(100, 100, 300, 30, "Hello", nullptr, 100, 0, count_call, reinterpret_cast<PTR_INT_CAST>(&calls));
    EXPECT_STREQ(typing->get_text(), "");
    advance(1000); // before the first paint nothing runs
    add(typing);
    frame();
    EXPECT_STREQ(typing->get_text(), "");
    advance(1);
    frame();
    EXPECT_STREQ(typing->get_text(), "H");
    advance(200);
    frame();
    EXPECT_STREQ(typing->get_text(), "Hel");
    EXPECT_EQ(calls, 0);
    advance(200);
    frame();
    EXPECT_STREQ(typing->get_text(), "Hello");
    EXPECT_EQ(calls, 1);
    frames(5, 100);
    EXPECT_EQ(calls, 1);

    // Without a delay the text simply shows, before any paint.
    WM_TYPING_SCRIPT* at_once = new WM_TYPING_SCRIPT(100, 200, 300, 30, "At once", nullptr, 0);
    add(at_once);
    EXPECT_STREQ(at_once->get_text(), "At once");
    EXPECT_FALSE(at_once->is_typing());
}

TEST_F(SCRIPT, a_click_on_a_typing_label_shows_the_rest_and_calls_back_once)
{
    INT_S32 calls = 0;
    WM_TYPING_SCRIPT* typing = new WM_TYPING_SCRIPT(100, 100, 300, 30, "A long sentence", nullptr, 100, 0,
        count_call, reinterpret_cast<PTR_INT_CAST>(&calls));
    add(typing);
    frame();
    advance(150);
    frame();
    ASSERT_TRUE(typing->is_typing());
    click(150, 110);
    EXPECT_STREQ(typing->get_text(), "A long sentence");
    EXPECT_FALSE(typing->is_typing());
    EXPECT_EQ(calls, 1);
    frames(30, 100);
    click(150, 110);
    EXPECT_EQ(calls, 1);
}

// --- Image --------------------------------------------------------------------------------------------

TEST_F(SCRIPT, image_takes_its_picture_size_or_scales_the_picture_to_its_own)
{
    IMAGE square(20, 20);
    square.clear(COLOUR_RED, true);
    WM_IMAGE* natural = new WM_IMAGE(100, 100, 0, 0);
    natural->set_picture(&square);
    WM_IMAGE* scaled = new WM_IMAGE(200, 100, 40, 30);
    scaled->set_picture(&square);
    add(natural);
    add(scaled);
    frame();
    EXPECT_EQ(natural->width, 20);
    EXPECT_EQ(natural->height, 20);
    EXPECT_TRUE(all_of(100, 100, 119, 119, COLOUR_RED));
    EXPECT_TRUE(all_of(200, 100, 239, 129, COLOUR_RED));
    EXPECT_TRUE(all_of(240, 100, 260, 129, PAGE_COLOUR));
}

TEST_F(SCRIPT, image_click_reports_the_point_inside_it)
{
    struct CLICK {
        INT_S16 x { -1 };
        INT_S16 y { -1 };
    } seen;
    IMAGE square(40, 40);
    square.clear(COLOUR_BLUE, true);
    WM_IMAGE* image = new WM_IMAGE(
        100, 100, 40, 40, true,
        [](WM_SCREEN_OBJECT* object, PTR_INT_CAST data1, PTR_INT_CAST) -> INT_S32 {
            CLICK* where = reinterpret_cast<CLICK*>(data1);
            where->x = static_cast<WM_IMAGE*>(object)->click_x;
            where->y = static_cast<WM_IMAGE*>(object)->click_y;
            return 0;
        },
        reinterpret_cast<PTR_INT_CAST>(&seen), 0, IMAGE_TRIGGER_RELEASE);
    image->set_picture(&square);
    add(image);
    click(110, 125);
    EXPECT_EQ(seen.x, 10);
    EXPECT_EQ(seen.y, 25);
    EXPECT_EQ(image->click_x, -1);
}

// --- Animation ----------------------------------------------------------------------------------------

TEST_F(SCRIPT, animation_steps_a_frame_per_delay_and_stops_at_frame_1_when_played_once)
{
    // Three frames of 10 rows: red, green, blue.
    IMAGE strip(10, 30);
    strip.fill_box(0, 0, 9, 9, COLOUR_RED, false);
    strip.fill_box(0, 10, 9, 19, COLOUR_GREEN, false);
    strip.fill_box(0, 20, 9, 29, COLOUR_BLUE, false);
    WM_ANIMATION* animation = new WM_ANIMATION(100, 100, 10, 10, &strip, 3, 100);
    add(animation);
    frame();
    EXPECT_EQ(pixel(105, 105), COLOUR_RED);
    advance(100);
    frame();
    EXPECT_EQ(animation->frame, 2);
    EXPECT_EQ(pixel(105, 105), COLOUR_GREEN);
    advance(50);
    frame();
    EXPECT_EQ(animation->frame, 2);
    advance(50);
    frame();
    EXPECT_EQ(pixel(105, 105), COLOUR_BLUE);
    animation->play(true);
    advance(100);
    frame();
    EXPECT_EQ(animation->frame, 1);
    EXPECT_EQ(animation->playing, 0);
    frames(5, 100);
    EXPECT_EQ(animation->frame, 1);
}
