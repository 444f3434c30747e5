// The sample skin's button, check box, dialog, progress bar and title style sets drawn on the
// headless screen and compared with frozen references (tests/data/skin_*.png, looked at once by
// eye). Each set is then changed in one key, in a copy, to see that the key is honoured: the
// pixels change where that key paints, and nowhere else.

#include "widget_screen.h"

#include <functional>

#include "wm/dialogs/wm_dialog.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_check_box.h"
#include "wm/widgets/wm_progress_bar.h"
#include "wm/widgets/wm_script.h"

namespace {

struct REGION {
    INT_S32 x1, y1, x2, y2;
    [[nodiscard]] bool contains(INT_S32 x, INT_S32 y) const { return x >= x1 && x <= x2 && y >= y1 && y <= y2; }
};

// Where two pictures of the same place differ: the count, and how many of those lie outside
// the region the change should stay in.
struct CHANGE {
    INT_S32 inside { 0 };
    INT_S32 outside { 0 };
};

CHANGE compare_in(const IMAGE& before, const IMAGE& after, INT_S32 origin_x, INT_S32 origin_y, REGION allowed)
{
    CHANGE change;
    for (INT_S32 y = 0; y < before.height; ++y)
        for (INT_S32 x = 0; x < before.width; ++x) {
            if (before.at(x, y) == after.at(x, y))
                continue;
            if (allowed.contains(origin_x + x, origin_y + y))
                ++change.inside;
            else
                ++change.outside;
        }
    return change;
}

constexpr INT_S32 X = 20;
constexpr INT_S32 Y = 20;

// What one kind of widget occupies from (X, Y), and how many frames it needs to settle.
struct AREA {
    INT_S32 width, height, settle;
};

class SKIN_PICTURES : public WIDGET_SCREEN {
protected:
    // Everything on the page goes, and the page is painted anew.
    void clear_page()
    {
        page->clear_objects(true, true);
        page->mark_all_dirty();
        frame();
    }

    // `draw` with `style`, let the page settle, and grab the area.
    template <typename DRAW> void picture(DRAW draw, WM_STYLE_SET* style, AREA area, IMAGE* out)
    {
        draw(style);
        frames(area.settle);
        grab(out, X, Y, area.width, area.height);
    }

    // The area drawn with the sample style, then (on a cleared page) with a copy of the sample
    // that `change` altered in one key. False when the copy cannot be made.
    template <typename DRAW, typename CHANGE_STYLE>
    [[nodiscard]] bool before_and_after(
        WM_STYLE_SET* sample, DRAW draw, CHANGE_STYLE change, AREA area, IMAGE* before, IMAGE* after)
    {
        picture(draw, sample, area, before);
        clear_page();
        if (!changed.assign(*sample))
            return false;
        change(changed);
        picture(draw, &changed, area, after);
        return true;
    }

    WM_STYLE_SET changed;
};

} // namespace

// --- Buttons ------------------------------------------------------------------------------------------

namespace {

constexpr AREA BUTTONS { 380, 36, 2 };

// Three buttons of the style: resting, pointed at, disabled.
void draw_buttons(WM_STYLE_SET* style, WM_SCREEN_OBJECT* page)
{
    WM_BUTTON* resting = new WM_BUTTON(X, Y, X + 119, Y + 35, style, "Install", nullptr, nullptr, 0, 0, TRIGGER_RELEASE);
    WM_BUTTON* over = new WM_BUTTON(X + 130, Y, X + 249, Y + 35, style, "Next", nullptr, nullptr, 0, 0, TRIGGER_RELEASE);
    WM_BUTTON* disabled
        = new WM_BUTTON(X + 260, Y, X + 379, Y + 35, style, "Back", nullptr, nullptr, 0, 0, TRIGGER_RELEASE);
    disabled->set_enabled(false);
    resting->focusable = over->focusable = 0;
    page->add_child(resting, false);
    page->add_child(over, false);
    page->add_child(disabled, false);
}

} // namespace

// --- Check boxes ------------------------------------------------------------------------------------------

namespace {

constexpr AREA CHECK_BOXES { 240, 54, 2 };

// Check boxes stand on a dialog's light face in the installer; so they do here.
void draw_check_boxes(WM_STYLE_SET* style, WM_SCREEN_OBJECT* page)
{
    wm_toolkit.page_manager->background_colour = COLOUR::from_argb(0xFFEEEEECu);
    page->mark_all_dirty();
    page->add_child(new WM_CHECK_BOX(X, Y, X + 239, Y + 23, style, "Desktop shortcut", true, nullptr, 0, 0), false);
    page->add_child(new WM_CHECK_BOX(X, Y + 30, X + 239, Y + 53, style, "Menu entry", false, nullptr, 0, 0), false);
}

} // namespace

TEST_F(SKIN_PICTURES, check_box_fg_colour_changes_the_marks_and_labels_only)
{
    IMAGE before, after;
    ASSERT_TRUE(before_and_after(sample_style("check_box/check_box.ss"),
        [&](WM_STYLE_SET* style) { draw_check_boxes(style, page); },
        [](WM_STYLE_SET& style) { style.fg_colour = COLOUR::from_argb(0xFFFF00FFu); }, CHECK_BOXES, &before, &after));
    // Nothing of the boxes' frames or of the second, empty box changes; text does.
    CHANGE in_labels = compare_in(before, after, X, Y, REGION { X + 24, Y, X + 239, Y + 53 });
    EXPECT_GT(in_labels.inside, 50);
    CHANGE in_first_box = compare_in(before, after, X, Y, REGION { X + 1 + 4, Y + 1 + 4, X + 22 - 4, Y + 22 - 4 });
    EXPECT_GT(in_first_box.inside, 5); // its "X"
    CHANGE everything = compare_in(before, after, X, Y, REGION { X, Y, X + 239, Y + 53 });
    EXPECT_EQ(everything.inside, in_labels.inside + in_first_box.inside);
}

// --- Dialog and title ---------------------------------------------------------------------------------------

namespace {

constexpr AREA DIALOG { 300, 160, 3 };

WM_DIALOG* draw_dialog(WM_STYLE_SET* frame_style, WM_STYLE_SET* title_style, WM_STYLE_SET* button_style,
    WM_SCREEN_OBJECT* page)
{
    WM_DIALOG_EFFECT none;
    none.flags = 0;
    WM_DIALOG* dialog = new WM_DIALOG(X, Y, 300, 160, "Sample Installer", frame_style, title_style, button_style, &none);
    dialog->add_child(new WM_BUTTON(160, 40, 259, 71, button_style, "Next", nullptr, nullptr, 0, 0, TRIGGER_RELEASE), true);
    page->add_overlay(dialog, false);
    return dialog;
}

} // namespace

TEST_F(SKIN_PICTURES, dialog_background_colour_changes_the_frame_and_not_the_title_or_buttons)
{
    WM_STYLE_SET* title_style = sample_style("dialog/title.ss");
    WM_STYLE_SET* button_style = sample_style("button/button.ss");
    WM_DIALOG* dialog = nullptr;
    IMAGE before, after;
    ASSERT_TRUE(before_and_after(sample_style("dialog/background.ss"),
        [&](WM_STYLE_SET* style) { dialog = draw_dialog(style, title_style, button_style, page); },
        [](WM_STYLE_SET& style) { style.bg_colour = COLOUR::from_argb(0xFF80FF80u); }, DIALOG, &before, &after));
    // The title and the button lie where they did in the first dialog: only a colour changed.
    WM_SCRIPT* title = dialog->title_object;
    REGION title_inside { title->x + 4, title->y + 4, title->x + title->width - 5, title->y + title->height - 5 };
    WM_SCREEN_OBJECT* button = dialog->contents->get_child(0);
    ASSERT_NE(button, nullptr);
    REGION button_area { button->x, button->y, button->x + button->width - 1, button->y + button->height - 1 };
    // The frame's face changes; inside the title and the button nothing does.
    CHANGE whole = compare_in(before, after, X, Y, REGION { X, Y, X + 299, Y + 159 });
    EXPECT_GT(whole.inside, 10000);
    EXPECT_EQ(compare_in(before, after, X, Y, title_inside).inside, 0);
    EXPECT_EQ(compare_in(before, after, X, Y, button_area).inside, 0);
}

namespace {

constexpr AREA TITLE { 400, 50, 2 };

void draw_title(WM_STYLE_SET* style, WM_SCREEN_OBJECT* page)
{
    page->add_child(new WM_SCRIPT(X, Y, 400, 50, "Sample Installer", style), false);
}

} // namespace

TEST_F(SKIN_PICTURES, title_fg_colour_changes_the_letters_and_leaves_their_shadow)
{
    IMAGE before, after;
    ASSERT_TRUE(before_and_after(sample_style("title/title.ss"), [&](WM_STYLE_SET* style) { draw_title(style, page); },
        [](WM_STYLE_SET& style) { style.fg_colour = COLOUR::from_argb(0xFFFFC000u); }, TITLE, &before, &after));
    // The region is the whole picture: every changed pixel counts as inside.
    INT_S32 letters = compare_in(before, after, X, Y, REGION { X, Y, X + 399, Y + 49 }).inside;
    EXPECT_GT(letters, 100);
    // The shadow is black at alpha 50 whatever the text's colour: pixels that only the shadow
    // covers stay as they were, so not every pixel that differs from the page changed.
    INT_S32 not_page = 0;
    for (INT_S32 y = 0; y < before.height; ++y)
        for (INT_S32 x = 0; x < before.width; ++x)
            not_page += before.at(x, y) != PAGE_COLOUR;
    EXPECT_LT(letters, not_page);
}

// --- Progress bar ---------------------------------------------------------------------------------------

namespace {

constexpr AREA BAR { 300, 20, 2 };

void draw_bar(WM_STYLE_SET* style, WM_SCREEN_OBJECT* page)
{
    WM_PROGRESS_BAR* bar = new WM_PROGRESS_BAR(X, Y, 300, 20, nullptr, 100, style);
    bar->set_value(40);
    page->add_child(bar, false);
}

} // namespace

TEST_F(SKIN_PICTURES, each_sample_style_matches_its_reference)
{
    WM_STYLE_SET* title_style = sample_style("dialog/title.ss");
    WM_STYLE_SET* button_style = sample_style("button/button.ss");
    struct CASE {
        const char* style;
        std::function<void(WM_STYLE_SET*)> draw;
        AREA area;
        const char* reference;
    } cases[] = {
        { "button/button.ss",
            [&](WM_STYLE_SET* style) {
                draw_buttons(style, page);
                move(X + 190, Y + 18);
            },
            BUTTONS, "skin_buttons.png" },
        { "check_box/check_box.ss", [&](WM_STYLE_SET* style) { draw_check_boxes(style, page); }, CHECK_BOXES,
            "skin_check_boxes.png" },
        { "dialog/background.ss", [&](WM_STYLE_SET* style) { draw_dialog(style, title_style, button_style, page); },
            DIALOG, "skin_dialog.png" },
        { "title/title.ss", [&](WM_STYLE_SET* style) { draw_title(style, page); }, TITLE, "skin_title.png" },
        { "progress_bar/progress_bar.ss", [&](WM_STYLE_SET* style) { draw_bar(style, page); }, BAR,
            "skin_progress_bar.png" },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.reference);
        wm_toolkit.page_manager->background_colour = PAGE_COLOUR;
        move(0, 0);
        clear_page();
        IMAGE image;
        picture(c.draw, sample_style(c.style), c.area, &image);
        compare_with_reference(image, c.reference);
    }
}

TEST_F(SKIN_PICTURES, a_changed_colour_key_changes_only_what_that_key_paints)
{
    // The pointer moves by a pixel for the second drawing, so that the new button hears of it.
    INT_S32 nudge = 0;
    // The fill covers the first 40% of the track; the text colour of the track shows only beyond.
    const INT_S32 fill_end = X + 2 + (300 - 4) * 40 / 100;
    struct CASE {
        const char* what;
        const char* style;
        std::function<void(WM_STYLE_SET*)> draw;
        std::function<void(WM_STYLE_SET&)> change;
        AREA area;
        REGION allowed;
        INT_S32 at_least;
    } cases[] = {
        // Only inside the second button, inside its gaps, where its text is.
        { "mouse over text", "button/button.ss",
            [&](WM_STYLE_SET* style) {
                draw_buttons(style, page);
                move(X + 190 + nudge++, Y + 18);
            },
            [](WM_STYLE_SET& style) { style.mouse_over_text_colour = COLOUR::from_argb(0xFFFF0000u); }, BUTTONS,
            REGION { X + 130 + 4, Y + 4, X + 249 - 4, Y + 35 - 4 }, 30 },
        { "disabled text", "button/button.ss", [&](WM_STYLE_SET* style) { draw_buttons(style, page); },
            [](WM_STYLE_SET& style) { style.disabled_text_colour = COLOUR::from_argb(0xFF00FF00u); }, BUTTONS,
            REGION { X + 260 + 4, Y + 4, X + 379 - 4, Y + 35 - 4 }, 30 },
        { "active colour of the checked box", "check_box/check_box.ss",
            [&](WM_STYLE_SET* style) { draw_check_boxes(style, page); },
            [](WM_STYLE_SET& style) { style.active_colour = COLOUR::from_argb(0xFFC00000u); }, CHECK_BOXES,
            REGION { X + 1, Y + 1, X + 22, Y + 22 }, 100 },
        { "text on the track", "progress_bar/progress_bar.ss", [&](WM_STYLE_SET* style) { draw_bar(style, page); },
            [](WM_STYLE_SET& style) { style.fg_colour = COLOUR::from_argb(0xFFFF0000u); }, BAR,
            REGION { fill_end + 1, Y, X + 299, Y + 19 }, 5 },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.what);
        wm_toolkit.page_manager->background_colour = PAGE_COLOUR;
        move(0, 0);
        clear_page();
        IMAGE before, after;
        ASSERT_TRUE(before_and_after(sample_style(c.style), c.draw, c.change, c.area, &before, &after));
        CHANGE change = compare_in(before, after, X, Y, c.allowed);
        EXPECT_GT(change.inside, c.at_least);
        EXPECT_EQ(change.outside, 0);
    }
}
