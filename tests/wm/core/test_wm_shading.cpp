// Borders and arrows: the line table of each shading type, where the light and dark colours come
// from, the pressed form, the sides mask, thickness, and the arrow fan or image.

#include "toolkit_fixture.h"

#include <vector>

#include "graphics/image.h"

namespace {

class SHADING : public TOOLKIT_TEST {
protected:
    void SetUp() override
    {
        TOOLKIT_TEST::SetUp();
        back_buffer_of(0)->clear(COLOUR::from_argb(0xFF000000u), true);
        wm_toolkit.theme_base_colour = COLOUR();
        wm_toolkit.theme_light_colour = COLOUR();
        wm_toolkit.theme_dark_colour = COLOUR();
        wm_toolkit.theme_mid_colour = COLOUR();
        wm_toolkit.theme_outline_colour = COLOUR();
        wm_toolkit.theme_shading_type = 6;
    }

    static INT_U32 value(INT_U32 argb) { return COLOUR::from_argb(argb).value; }

    // The box from (10, 10) to (29, 29).
    void box(INT_U16 sides, INT_S32 type, COLOUR argument = COLOUR())
    {
        object.draw_shaded_box(10, 10, 29, 29, sides, argument, type, -1);
    }

    PROBE object { "o", 10, 10, 20, 20 };
};

} // namespace

TEST_F(SHADING, each_type_draws_its_lines_in_light_and_dark_on_the_sides_asked_for)
{
    const INT_U32 white = value(0xFFFFFFFFu), grey = value(0xFF808080u), black = value(0xFF000000u);
    const INT_U32 green = value(0xFF00FF00u), red = value(0xFFFF0000u);
    struct PIXEL_AT {
        INT_S32 x, y;
        INT_U32 value;
    };
    struct CASE {
        const char* what;
        INT_U16 sides;
        INT_S32 type;
        INT_U32 theme_mid, theme_outline;
        std::vector<PIXEL_AT> pixels;
    } cases[] = {
        // Two light lines on top and left, two dark ones opposite; the inside is not filled, and
        // the right line runs the whole height.
        { "default type 6", BORDER_ALL, 1, 0, 0,
            { { 15, 10, white }, { 15, 11, white }, { 15, 12, black }, { 10, 15, white }, { 11, 15, white },
                { 15, 29, grey }, { 15, 28, grey }, { 29, 15, grey }, { 29, 10, grey }, { 9, 9, black } } },
        { "pressed swaps light and dark", BORDER_ALL | BORDER_INVERTED, 6, 0, 0,
            { { 15, 10, grey }, { 15, 29, white } } },
        { "only the top", BORDER_TOP, 4, 0, 0,
            { { 15, 10, white }, { 10, 15, black }, { 15, 29, black }, { 29, 15, black } } },
        { "type 2", BORDER_ALL, 2, 0xFF00FF00u, 0,
            { { 15, 10, grey }, { 15, 11, green }, { 15, 12, white }, { 15, 29, white }, { 15, 27, grey } } },
        // The outermost lines keep their colours; the inner ones turn.
        { "type 2 pressed", BORDER_ALL | BORDER_INVERTED, 2, 0xFF00FF00u, 0,
            { { 15, 10, grey }, { 15, 12, grey }, { 15, 29, white }, { 15, 27, white } } },
        { "outline without a theme outline", BORDER_ALL, 3, 0, 0, { { 15, 10, black } } },
        { "outline type 9", BORDER_ALL, 9, 0, 0xFFFF0000u,
            { { 15, 10, red }, { 15, 13, white }, { 15, 14, black }, { 15, 29, red }, { 15, 26, grey } } },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.what);
        back_buffer_of(0)->clear(COLOUR::from_argb(0xFF000000u), true);
        wm_toolkit.theme_mid_colour = c.theme_mid ? COLOUR::from_argb(c.theme_mid) : COLOUR();
        wm_toolkit.theme_outline_colour = c.theme_outline ? COLOUR::from_argb(c.theme_outline) : COLOUR();
        box(c.sides, c.type);
        for (const PIXEL_AT& at : c.pixels)
            EXPECT_EQ(pixel(at.x, at.y), at.value) << "at " << at.x << "," << at.y;
    }
    EXPECT_EQ(object.shading_thickness(1), 2);
}

TEST_F(SHADING, an_objects_own_colour_gives_70_and_130_percent)
{
    object.colour = COLOUR::from_argb(0xFF64C8FFu); // 100, 200, 255
    box(BORDER_ALL, 4);
    EXPECT_EQ(pixel(15, 10), value(0xFF82FFFFu)) << "130 percent, capped at 255";
    EXPECT_EQ(pixel(15, 29), value(0xFF468CB2u)) << "70 percent: 70, 140, 178";
}

TEST_F(SHADING, without_an_own_colour_the_theme_then_the_argument_then_the_base_decide)
{
    wm_toolkit.theme_dark_colour = COLOUR::from_argb(0xFF010203u);
    box(BORDER_ALL, 4, COLOUR::from_argb(0xFF646464u));
    EXPECT_EQ(pixel(15, 29), value(0xFF010203u)) << "the theme's dark";
    EXPECT_EQ(pixel(15, 10), value(0xFF828282u)) << "no theme light: the argument at 130 percent";

    wm_toolkit.theme_dark_colour = COLOUR();
    wm_toolkit.theme_base_colour = COLOUR::from_argb(0xFF0A141Eu);
    box(BORDER_ALL, 4);
    EXPECT_EQ(pixel(15, 29), value(0xFF070E15u)) << "the theme's base at 70 percent";
    EXPECT_EQ(pixel(15, 10), value(0xFF0D1A27u)) << "and at 130";
}

TEST_F(SHADING, round_corners_leave_the_corner_pixel_out)
{
    object.draw_shaded_box(10, 10, 29, 29, BORDER_ALL | BORDER_ROUND_TOP_LEFT, COLOUR(), 4, 5);
    EXPECT_EQ(pixel(10, 10), value(0xFF000000u));
    EXPECT_EQ(pixel(15, 10), value(0xFFFFFFFFu));
    EXPECT_EQ(pixel(29, 10), value(0xFF808080u)) << "the other corners stay square";
}

TEST_F(SHADING, thickness_by_type_and_the_theme_for_1)
{
    const INT_S32 widths[] = { 0, 2, 3, 1, 1, 2, 2, 3, 3, 4, 0 };
    for (INT_S32 type = 0; type <= 10; ++type) {
        if (type == 1)
            continue;
        EXPECT_EQ(object.shading_thickness(type), widths[type]) << type;
    }
    object.shading_type = 9;
    EXPECT_EQ(object.shading_thickness(1), 4) << "1 takes the object's type first";
    EXPECT_EQ(border_thickness(1), 2) << "and the theme's without an object";
}

TEST_F(SHADING, an_arrow_is_a_fan_from_its_apex_and_an_image_replaces_it)
{
    const INT_U32 red = value(0xFFFF0000u), black = value(0xFF000000u);
    // 30 by 30 at (30, 30): inset 10, apex at (44, 40), base row y 49 from x 40 to 49.
    object.draw_arrow(30, 30, 59, 59, COLOUR::from_argb(0xFFFF0000u), ARROW_UP, -1, -1);
    EXPECT_EQ(pixel(44, 40), red);
    EXPECT_EQ(pixel(40, 49), red);
    EXPECT_EQ(pixel(49, 49), red);
    EXPECT_EQ(pixel(44, 45), red);
    EXPECT_EQ(pixel(40, 41), black) << "beside the apex";
    EXPECT_EQ(pixel(44, 52), black) << "below the base";

    IMAGE arrow(4, 4);
    arrow.clear(COLOUR::from_argb(0xFF00FF00u), true);
    wm_toolkit.arrow_images[ARROW_DOWN] = &arrow;
    object.draw_arrow(100, 100, 109, 109, COLOUR::from_argb(0xFFFF0000u), ARROW_DOWN, -1, -1);
    wm_toolkit.arrow_images[ARROW_DOWN] = nullptr;
    EXPECT_EQ(pixel(103, 103), value(0xFF00FF00u)) << "centred: (10 - 4) / 2 = 3";
    EXPECT_EQ(pixel(106, 106), value(0xFF00FF00u));
    EXPECT_EQ(pixel(107, 107), black);
    EXPECT_EQ(pixel(102, 102), black);
}
