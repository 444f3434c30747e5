// The widget side of style sets: fonts, gaps, border sides and text flags with their fallbacks,
// what an object keeps of a style, image slots with the up and down fallback, and the face and
// text a styled widget paints.

#include <string>

#include "styled_box.h"
#include "toolkit_fixture.h"

#include "graphics/font.h"
#include "io/folder.h"
#include "wm/core/wm_style.h"

namespace {

FOLDER sample_folder(const char* below)
{
    FOLDER folder;
    EXPECT_TRUE(folder.set_raw((std::string(ORLU_SOURCE_DIR) + "/samples/" + below).c_str()));
    return folder;
}

class STYLE : public TOOLKIT_TEST {
protected:
    void SetUp() override
    {
        TOOLKIT_TEST::SetUp();
        back_buffer_of(0)->clear(COLOUR::from_argb(0xFF000000u), true);
        wm_toolkit.theme_shading_type = 6;
    }

    static INT_U32 value(INT_U32 argb) { return COLOUR::from_argb(argb).value; }

    // A set that draws a plain face: background colour, a type 4 border on all sides.
    static void plain(WM_STYLE_SET& set)
    {
        set.bg_colour = COLOUR::from_argb(0xFF204080u);
        set.fg_colour = COLOUR::from_argb(0xFFFFFFFFu);
        set.shading_type = 4;
        set.shading_flags = BORDER_ALL;
        set.flags = ssf_draw_border | ssf_outstanding_border;
    }

    void paint_face(const WM_STYLE_SET& set, bool pressed)
    {
        PROBE object("o", 10, 10, 40, 30);
        paint_style_face(&object, &set, nullptr, 10, 10, 49, 39, pressed);
    }
};

} // namespace

TEST_F(STYLE, fonts_and_gaps_take_the_defaults_for_what_the_style_leaves_open)
{
    WM_STYLE_SET set;
    WM_STYLE_FONT font = style_font(&set);
    EXPECT_EQ(font.font, 10);
    EXPECT_EQ(font.width, 22);
    EXPECT_EQ(font.height, 22);
    set.font_id = 8;
    set.font_x_sz = 12;
    set.font_y_sz = 14;
    font = style_font(&set);
    EXPECT_EQ(font.font, 8);
    EXPECT_EQ(font.width, 12);
    EXPECT_EQ(font.height, 14);
    EXPECT_EQ(style_font(nullptr).font, 10);

    // Unset gaps become the border's thickness, or 0 for the cells.
    set.shading_type = 9;
    set.border_top_gap = 3;
    WM_STYLE_GAPS gaps = style_border_gaps(&set, nullptr);
    EXPECT_EQ(gaps.left, 4);
    EXPECT_EQ(gaps.top, 3);
    set.shading_type = 1;
    EXPECT_EQ(style_border_gaps(&set, nullptr).left, 2) << "type 1: the theme's type 6";
    PROBE object("o", 0, 0, 10, 10);
    object.shading_type = 8;
    EXPECT_EQ(style_border_gaps(&set, &object).left, 3) << "or the object's own";
    EXPECT_EQ(style_cell_gaps(&set).left, 0);
    set.cell_bottom_gap = 6;
    EXPECT_EQ(style_cell_gaps(&set).bottom, 6);
}

TEST_F(STYLE, border_sides_and_text_flags_follow_the_flags)
{
    WM_STYLE_SET set;
    set.shading_flags = 0x8000 | BORDER_TOP | BORDER_ROUND_ALL;
    set.flags = 0;
    EXPECT_EQ(style_border_sides(&set), 0) << "no ssf_draw_border: no border";
    set.flags = ssf_draw_border;
    EXPECT_EQ(style_border_sides(&set), BORDER_TOP | BORDER_ROUND_ALL) << "the top bit is the style's to set";
    set.flags |= ssf_indent_border;
    EXPECT_EQ(style_border_sides(&set), BORDER_INVERTED | BORDER_TOP | BORDER_ROUND_ALL);
    set.flags = ssf_left_justify_text | ssf_bottom_align_text | ssf_shadow_text | ssf_reflect_text;
    EXPECT_EQ(style_text_flags(&set), TEXT_LEFT | TEXT_BOTTOM | TEXT_SHADOW | TEXT_REFLECT);
}

TEST_F(STYLE, an_object_keeps_visibility_border_colour_and_indent_of_its_style)
{
    WM_STYLE_SET set;
    set.visible = 0;
    set.shading_type = 7;
    set.shading_base_colour = COLOUR::from_argb(0xFF112233u);
    set.ext_flags = ssef_indent_when_active;
    set.flags = ssf_draw_border;
    set.shading_flags = BORDER_ALL;
    PROBE object("o", 0, 0, 10, 10);
    apply_style(&object, &set);
    EXPECT_FALSE(object.visible);
    EXPECT_EQ(object.shading_type, 7);
    EXPECT_EQ(object.colour.argb(), 0xFF112233u);
    EXPECT_EQ(object.border_sides, BORDER_ALL);
    EXPECT_TRUE(object.indent_when_active);
}

TEST_F(STYLE, the_up_and_down_faces_fall_back_on_the_base_image)
{
    WM_STYLE_SET set;
    FOLDER skin = sample_folder("skin/button");
    ASSERT_TRUE(set.load_file(skin, "button.ss"));
    TILED_IMAGE face;
    EXPECT_TRUE(style_take_image(&set, STYLE_IMAGE_UP, &face)) << "no button_up: the base image";
    EXPECT_TRUE(face.is_loaded());
    EXPECT_TRUE(style_take_image(&set, STYLE_IMAGE_DOWN, &face)) << "button_down exists";
    EXPECT_FALSE(style_take_image(&set, STYLE_IMAGE_FLASHING, &face)) << "no fallback for the others";
    EXPECT_FALSE(face.is_loaded());
    WM_STYLE_SET bare;
    EXPECT_FALSE(style_take_image(&bare, STYLE_IMAGE_UP, &face));
}

TEST_F(STYLE, a_face_is_filled_and_bordered_as_the_flags_say)
{
    WM_STYLE_SET set;
    plain(set);
    paint_face(set, false);
    EXPECT_EQ(pixel(30, 25), value(0xFF204080u));
    EXPECT_EQ(pixel(30, 10), value(0xFF2953A6u)) << "light: the background at 130 percent";
    EXPECT_EQ(pixel(30, 39), value(0xFF162C59u)) << "dark: at 70 percent";
    paint_face(set, true);
    EXPECT_EQ(pixel(30, 10), value(0xFF162C59u)) << "pressed: the border turns";

    set.flags = ssf_draw_border | ssf_indent_border;
    paint_face(set, false);
    EXPECT_EQ(pixel(30, 10), value(0xFF162C59u)) << "an indented border is drawn pressed";

    set.flags = ssf_draw_border;
    back_buffer_of(0)->clear(COLOUR::from_argb(0xFF000000u), true);
    paint_face(set, false);
    EXPECT_EQ(pixel(30, 10), value(0xFF204080u)) << "neither outstanding nor indented: no border";
}

TEST_F(STYLE, fading_and_darkening_backgrounds)
{
    WM_STYLE_SET set;
    plain(set);
    set.flags = ssf_hfading;
    set.fading_colour = COLOUR::from_argb(0xFFFFFFFFu);
    paint_face(set, false);
    EXPECT_EQ(pixel(10, 25), value(0xFF204080u)) << "the first column is the background";
    EXPECT_EQ(pixel(49, 25), value(0xFFFFFFFFu)) << "the last the fading colour";

    set.flags = ssf_vfading | ssf_draw_border;
    set.ext_flags = ssef_invert_vfading_on_press;
    paint_face(set, true);
    EXPECT_EQ(pixel(30, 10), value(0xFFFFFFFFu)) << "pressed with the invert flag: upside down";
    EXPECT_EQ(pixel(30, 39), value(0xFF204080u));

    back_buffer_of(0)->clear(COLOUR::from_argb(0xFF808080u), true);
    set.flags = ssf_darkened_background;
    paint_face(set, false);
    EXPECT_EQ(pixel(30, 25), value(0xFF404040u)) << "darkened by half";
    EXPECT_EQ(pixel(5, 5), value(0xFF808080u));
}

TEST_F(STYLE, the_outline_takes_the_text_colour_when_asked)
{
    WM_STYLE_SET set;
    plain(set);
    set.shading_type = 3;
    set.fg_colour = COLOUR::from_argb(0xFFFF0000u);
    wm_toolkit.theme_outline_colour = COLOUR::from_argb(0xFF00FF00u);
    paint_face(set, false);
    EXPECT_EQ(pixel(30, 10), value(0xFF00FF00u));
    set.flags |= ssf_use_text_colour_for_outline;
    paint_face(set, false);
    EXPECT_EQ(pixel(30, 10), value(0xFFFF0000u));
    EXPECT_EQ(wm_toolkit.theme_outline_colour, COLOUR::from_argb(0xFF00FF00u)) << "for that call only";
    wm_toolkit.theme_outline_colour = COLOUR();
}

TEST_F(STYLE, a_face_image_covers_the_rectangle)
{
    WM_STYLE_SET set;
    FOLDER skin = sample_folder("skin/button");
    ASSERT_TRUE(set.load_file(skin, "button.ss"));
    STYLED_BOX box(10, 10, 100, 30, &set, nullptr);
    paint_style_face(&box, &set, &box.face, 10, 10, 109, 39, false);
    // The picture is opaque where the button's face is: the middle is no longer black.
    EXPECT_NE(pixel(60, 25), value(0xFF000000u));
    EXPECT_EQ(pixel(5, 5), value(0xFF000000u));
}

namespace {

class STYLE_TEXT : public STYLE {
protected:
    void SetUp() override
    {
        STYLE::SetUp();
        disable_font_autoload();
        start_font_system();
        FOLDER fonts = sample_folder("fonts");
        ASSERT_EQ(load_font("BabelSans.ttf", nullptr, 10, &fonts), 10);
    }
    void TearDown() override
    {
        stop_font_system();
        STYLE::TearDown();
    }

    // The columns and rows that text pixels (not black) reach inside the box.
    void ink_bounds(INT_S32* left, INT_S32* right, INT_S32* top, INT_S32* bottom)
    {
        *left = 1000;
        *right = -1;
        *top = 1000;
        *bottom = -1;
        for (INT_S32 y = 0; y < 240; ++y) {
            for (INT_S32 x = 0; x < 320; ++x) {
                if (pixel(x, y) == value(0xFF000000u))
                    continue;
                *left = x < *left ? x : *left;
                *right = x > *right ? x : *right;
                *top = y < *top ? y : *top;
                *bottom = y > *bottom ? y : *bottom;
            }
        }
    }
};

} // namespace

TEST_F(STYLE_TEXT, text_is_placed_by_the_alignment_bits_and_centred_without_them)
{
    WM_STYLE_SET set;
    set.font_id = 10;
    set.font_x_sz = set.font_y_sz = 16;
    INT_S32 left, right, top, bottom;

    set.flags = 0;
    paint_style_text(&set, "Next", 100, 100, 199, 159, COLOUR());
    ink_bounds(&left, &right, &top, &bottom);
    ASSERT_GE(right, left);
    EXPECT_NEAR((left + right) / 2, 150, 3) << "centred across";
    EXPECT_GT(top, 100 + 10);
    EXPECT_LT(bottom, 159 - 10);

    back_buffer_of(0)->clear(COLOUR::from_argb(0xFF000000u), true);
    set.flags = ssf_left_justify_text | ssf_top_align_text;
    paint_style_text(&set, "Next", 100, 100, 199, 159, COLOUR());
    ink_bounds(&left, &right, &top, &bottom);
    EXPECT_LE(left, 102);
    EXPECT_LE(top, 104);

    back_buffer_of(0)->clear(COLOUR::from_argb(0xFF000000u), true);
    set.flags = ssf_right_justify_text | ssf_bottom_align_text;
    paint_style_text(&set, "Next", 100, 100, 199, 159, COLOUR::from_argb(0xFFFF0000u));
    ink_bounds(&left, &right, &top, &bottom);
    EXPECT_GE(right, 195);
    EXPECT_LE(right, 199);
    EXPECT_GE(bottom, 150);
    EXPECT_LE(bottom, 159);
    EXPECT_EQ(COLOUR(pixel(right, bottom)).green(), 0) << "drawn in the colour given, not fg_colour";
}
