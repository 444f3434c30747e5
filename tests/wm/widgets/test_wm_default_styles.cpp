// The looks widgets take when they are given no style set: the built-in ones until the
// application supplies its toolkit styles, the application's from then on.

#include "widget_screen.h"

#include "wm/core/wm_look.h"
#include "wm/dialogs/wm_dialog.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_default_styles.h"
#include "wm/widgets/wm_script.h"

namespace {

const COLOUR APP_FRAME = COLOUR::from_argb(0xFF103050u);
const COLOUR APP_TITLE = COLOUR::from_argb(0xFF602010u);
const COLOUR APP_BUTTON = COLOUR::from_argb(0xFF30A040u);

class DEFAULT_LOOK : public WIDGET_SCREEN {
protected:
    // What an application's data does: fills the four toolkit styles and says so.
    void supply_toolkit_styles()
    {
        toolkit_style(TOOLKIT_STYLE_BACKGROUND)->bg_colour = APP_FRAME;
        toolkit_style(TOOLKIT_STYLE_BACKGROUND)->shading_type = 7;
        toolkit_style(TOOLKIT_STYLE_TITLE)->bg_colour = APP_TITLE;
        toolkit_style(TOOLKIT_STYLE_BUTTON)->bg_colour = APP_BUTTON;
        toolkit_style(TOOLKIT_STYLE_BUTTON)->shading_type = 9;
        toolkit_style(TOOLKIT_STYLE_BUTTON_HINT)->shading_type = 8;
        set_toolkit_hints_present(true);
    }
    void TearDown() override
    {
        set_toolkit_hints_present(false);
        WIDGET_SCREEN::TearDown();
    }
};

} // namespace

TEST_F(DEFAULT_LOOK, a_button_without_a_style_is_built_in_grey_until_the_application_gives_its_own)
{
    WM_BUTTON* before = new WM_BUTTON(100, 100, 199, 139, nullptr, "Next", nullptr, nullptr, 0, 0, TRIGGER_RELEASE);
    add(before);
    EXPECT_EQ(before->background_colour, COLOUR_LIGHT_GREY);
    EXPECT_EQ(before->shading_type, 4);

    supply_toolkit_styles();
    WM_BUTTON* after = new WM_BUTTON(300, 100, 399, 139, nullptr, "Next", "A hint", nullptr, 0, 0, TRIGGER_RELEASE);
    add(after);
    EXPECT_EQ(after->background_colour, APP_BUTTON);
    EXPECT_EQ(after->shading_type, 9);
    ASSERT_NE(after->hint, nullptr);
    EXPECT_EQ(after->hint->shading_type, 8) << "and its hint the application's hint style";
    frame();
    EXPECT_EQ(pixel(310, 130), APP_BUTTON) << "the face is painted in the application's colour";
    EXPECT_EQ(pixel(110, 130), COLOUR_LIGHT_GREY) << "a button made before keeps its look";
}

TEST_F(DEFAULT_LOOK, a_dialog_without_styles_takes_the_application_frame_title_and_buttons)
{
    WM_DIALOG before(-1, -1, 200, 100, "Before", nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(before.style.bg_colour, COLOUR_LIGHT_GREY);
    EXPECT_EQ(before.title_style.bg_colour, COLOUR_NAVY);

    supply_toolkit_styles();
    WM_DIALOG after(-1, -1, 200, 100, "After", nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(after.style.bg_colour, APP_FRAME);
    EXPECT_EQ(after.style.shading_type, 7);
    EXPECT_EQ(after.title_style.bg_colour, APP_TITLE);
    EXPECT_EQ(after.button_style.bg_colour, APP_BUTTON);
    EXPECT_EQ(after.button_style.shading_type, 9);
}
