// The arithmetic of dialog effects: which changes jump and which fade, how long they take, where
// they stand at the start, middle and end of their time, and where a slide begins.

#include <gtest/gtest.h>

#include <cstring>

#include "wm/core/wm_look.h"
#include "wm/dialogs/wm_dialog_effect.h"

TEST(WM_DIALOG_EFFECT, defaults_and_their_text)
{
    char text[120];
    EXPECT_STREQ(built_in_dialog_effect().describe(text, sizeof text),
        "Flags: 0x047C, Open Delay: 300, Displaying Delay 1000, Alpha 0xC0");
    EXPECT_STREQ(built_in_floating_menu_effect().describe(text, sizeof text),
        "Flags: 0x0060, Open Delay: 100, Displaying Delay 200, Alpha 0xE0");
}

TEST(WM_DIALOG_EFFECT, duration_is_display_delay_only_between_two_visible_alphas)
{
    WM_DIALOG_EFFECT effect;
    EXPECT_EQ(dialog_effect_duration(effect, 0, 255), 300u);   // opening
    EXPECT_EQ(dialog_effect_duration(effect, 255, 0), 300u);   // closing
    EXPECT_EQ(dialog_effect_duration(effect, 255, 192), 1000u); // drag starts
    EXPECT_EQ(dialog_effect_duration(effect, 192, 255), 1000u); // drag ends
}

TEST(WM_DIALOG_EFFECT, each_clear_flag_makes_its_change_jump)
{
    // Opening: fades only with DIALOG_FADE_IN.
    EXPECT_EQ(dialog_effect_first_alpha(0, 0, 255, false), 255);
    EXPECT_EQ(dialog_effect_first_alpha(DIALOG_FADE_IN, 0, 255, false), 0);
    // Closing: fades only with DIALOG_FADE_OUT.
    EXPECT_EQ(dialog_effect_first_alpha(0, 255, 0, false), 0);
    EXPECT_EQ(dialog_effect_first_alpha(DIALOG_FADE_OUT, 255, 0, false), 255);
    // Start of a drag: fades only with DIALOG_FADE_DOWN; the closing flag does not count.
    EXPECT_EQ(dialog_effect_first_alpha(DIALOG_FADE_OUT, 255, 192, false), 192);
    EXPECT_EQ(dialog_effect_first_alpha(DIALOG_FADE_DOWN, 255, 192, false), 255);
    // End of a drag: fades only with DIALOG_FADE_UP; the opening flag does not count.
    EXPECT_EQ(dialog_effect_first_alpha(DIALOG_FADE_IN, 192, 255, false), 255);
    EXPECT_EQ(dialog_effect_first_alpha(DIALOG_FADE_UP, 192, 255, false), 192);
    // Skipping jumps whatever the flags say.
    EXPECT_EQ(dialog_effect_first_alpha(0xF, 0, 255, true), 255);
    EXPECT_EQ(dialog_effect_first_alpha(0xF, 255, 0, true), 0);
}

TEST(WM_DIALOG_EFFECT, alpha_and_position_at_start_middle_and_end)
{
    EXPECT_EQ(dialog_effect_alpha(0, 255, 0, 300), 0);
    EXPECT_EQ(dialog_effect_alpha(0, 255, 150, 300), 127);
    EXPECT_EQ(dialog_effect_alpha(0, 255, 300, 300), 255);
    EXPECT_EQ(dialog_effect_alpha(0, 255, 5000, 300), 255);
    // Downward, truncating toward the start as the formula does.
    EXPECT_EQ(dialog_effect_alpha(255, 192, 500, 1000), 224);
    EXPECT_EQ(dialog_effect_alpha(255, 0, 100, 300), 170);
    // No time at all ends at once rather than dividing by it.
    EXPECT_EQ(dialog_effect_alpha(0, 255, 0, 0), 255);

    EXPECT_EQ(dialog_effect_position(-200, 100, 0, 300), -200);
    EXPECT_EQ(dialog_effect_position(-200, 100, 150, 300), -50);
    EXPECT_EQ(dialog_effect_position(-200, 100, 299, 300), 99);
    EXPECT_EQ(dialog_effect_position(-200, 100, 300, 300), 100);
    EXPECT_EQ(dialog_effect_position(100, 768, 100, 200), 434);
}

TEST(WM_DIALOG_EFFECT, slide_points_for_display_area_and_own_size)
{
    DIALOG_SLIDE_FRAME frame;
    frame.display_width = 1024;
    frame.display_height = 768;
    frame.area_x = 100;
    frame.area_y = 50;
    frame.area_width = 600;
    frame.area_height = 400;
    INT_S16 x = 0;
    INT_S16 y = 0;

    // The default: from above the display, x unchanged.
    dialog_slide_point(0x47C, 300, 200, 400, 300, frame, &x, &y);
    EXPECT_EQ(x, 300);
    EXPECT_EQ(y, -300);
    dialog_slide_point(DIALOG_DISPLAY_EDGES | DIALOG_FROM_RIGHT | DIALOG_FROM_BOTTOM, 300, 200, 400, 300, frame, &x, &y);
    EXPECT_EQ(x, 1024);
    EXPECT_EQ(y, 768);
    // Left and top are tested first when both directions of an axis are set.
    dialog_slide_point(DIALOG_DISPLAY_EDGES | DIALOG_FROM_LEFT | DIALOG_FROM_RIGHT, 300, 200, 400, 300, frame, &x, &y);
    EXPECT_EQ(x, -400);
    EXPECT_EQ(y, 200);

    dialog_slide_point(DIALOG_AREA_EDGES | DIALOG_FROM_LEFT | DIALOG_FROM_BOTTOM, 300, 200, 400, 300, frame, &x, &y);
    EXPECT_EQ(x, 100 - 400);
    EXPECT_EQ(y, 50 + 400);
    dialog_slide_point(DIALOG_AREA_EDGES | DIALOG_FROM_RIGHT | DIALOG_FROM_TOP, 300, 200, 400, 300, frame, &x, &y);
    EXPECT_EQ(x, 100 + 600);
    EXPECT_EQ(y, 50 - 300);

    // Neither edge bit: the dialog's own size.
    dialog_slide_point(DIALOG_FROM_LEFT | DIALOG_FROM_TOP, 300, 200, 400, 300, frame, &x, &y);
    EXPECT_EQ(x, -100);
    EXPECT_EQ(y, -100);
    dialog_slide_point(DIALOG_FROM_RIGHT | DIALOG_FROM_BOTTOM, 300, 200, 400, 300, frame, &x, &y);
    EXPECT_EQ(x, 700);
    EXPECT_EQ(y, 500);
    // The display wins when both edge bits are set.
    dialog_slide_point(DIALOG_DISPLAY_EDGES | DIALOG_AREA_EDGES | DIALOG_FROM_TOP, 300, 200, 400, 300, frame, &x, &y);
    EXPECT_EQ(y, -300);
}

TEST(WM_DIALOG_EFFECT, the_toolkit_look_becomes_the_default_of_dialogs)
{
    TOOLKIT_DIALOG_EFFECT look;
    look.flags = 0x33;
    look.open_delay = 250;
    look.display_delay = 900;
    look.dragging_alpha = 0xA0;
    TOOLKIT_DIALOG_EFFECT saved = toolkit_dialog_effect();
    set_toolkit_dialog_effect(look);
    use_toolkit_dialog_effect();
    EXPECT_EQ(dialog_effect_default.flags, 0x33u);
    EXPECT_EQ(dialog_effect_default.open_delay, 250u);
    EXPECT_EQ(dialog_effect_default.display_delay, 900u);
    EXPECT_EQ(dialog_effect_default.dragging_alpha, 0xA0u);
    set_toolkit_dialog_effect(saved);
    dialog_effect_default = built_in_dialog_effect();
}
