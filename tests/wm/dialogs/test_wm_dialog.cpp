// WM_DIALOG through the headless screen: each opening and closing effect at the start, middle
// and end of its time, the drag with its translucency, closing and the keyboard focus. Named
// after the cells of the machine in wm_dialog.h.

#include "widget_screen.h"

#include "host/input.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_manager.h"
#include "wm/dialogs/wm_dialog.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_script.h"

namespace {

const COLOUR FRAME_COLOUR = COLOUR::from_argb(0xFFD0C0B0u);

// A plain dialog 200 by 100 at (220, 190) with the given effect.
WM_DIALOG* make_dialog(INT_U32 flags, INT_U32 open_delay = 300, INT_U32 display_delay = 1000)
{
    WM_DIALOG_EFFECT effect;
    effect.flags = flags;
    effect.open_delay = open_delay;
    effect.display_delay = display_delay;
    effect.dragging_alpha = 192;
    return new WM_DIALOG(220, 190, 200, 100, "Title", FRAME_COLOUR, COLOUR_INVISIBLE, COLOUR_WHITE, COLOUR_NAVY,
        COLOUR_BLACK, COLOUR_LIGHT_GREY, COLOUR_LIGHT_GREY, COLOUR_INVISIBLE, true, &effect);
}

// A point of the dialog's frame below the title, as a fraction of its size.
INT_S32 inside_x(const WM_DIALOG* dialog)
{
    return dialog->x + 100;
}

INT_S32 inside_y(const WM_DIALOG* dialog)
{
    return dialog->y + 80;
}

// The colour of FRAME_COLOUR laid over the page at `alpha`, as a blit does it.
COLOUR blended(INT_U8 alpha)
{
    COLOUR result = PAGE_COLOUR;
    blend_colour_alpha(result, FRAME_COLOUR, alpha);
    return result;
}

bool near(COLOUR a, COLOUR b, INT_S32 tolerance = 2)
{
    return abs(a.red() - b.red()) <= tolerance && abs(a.green() - b.green()) <= tolerance
        && abs(a.blue() - b.blue()) <= tolerance;
}

// A plain button 80 by 30 at (x, y).
WM_BUTTON* button_at(INT_S16 x, INT_S16 y, const char* title, INT_U8 trigger = TRIGGER_RELEASE,
    WM_CALLBACK callback = nullptr, PTR_INT_CAST data = 0)
{
    return new WM_BUTTON(x, y, static_cast<INT_S16>(x + 79), static_cast<INT_S16>(y + 29), title, COLOUR_BLACK,
        COLOUR_LIGHT_GREY, COLOUR_GREY, 0, 10, 14, 14, -1, -1, -1, -1, -1, -1, trigger, callback, data, 0);
}

class DIALOG : public WIDGET_SCREEN {};

INT_S32 answer_33(WM_SCREEN_OBJECT*, PTR_INT_CAST, PTR_INT_CAST)
{
    return WM_ACTION_REBUILD_AREA_CLEAR_2;
}

} // namespace

// --- Shown, before the first paint ------------------------------------------------------------------

TEST_F(DIALOG, shown_never_painted_never_starts_its_effect_and_alpha_0_counts_as_drawn)
{
    WM_DIALOG* dialog = make_dialog(0x47C);
    EXPECT_EQ(dialog->get_y(), 190);
    for (INT_S32 i = 0; i < 10; ++i) {
        advance(100);
        dialog->animate(false);
    }
    EXPECT_EQ(dialog->alpha, 0);
    EXPECT_EQ(dialog->target_alpha, 0);
    EXPECT_EQ(dialog->x, 220);
    EXPECT_EQ(dialog->y, 190);
    delete dialog;

    // Shown with a fade in: drawn at alpha 0, without painting.
    WM_DIALOG* fading = make_dialog(DIALOG_FADE_IN);
    add_overlay(fading);
    frame();
    EXPECT_EQ(fading->drawn, 1);
    EXPECT_EQ(fading->alpha, 0);
    EXPECT_EQ(fading->target_alpha, 255);
    EXPECT_TRUE(all_of(220, 190, 419, 289, PAGE_COLOUR));
}

// --- Opening ----------------------------------------------------------------------------------------

TEST_F(DIALOG, with_0x47C_it_slides_in_from_above_the_display_in_300_ms_and_out_the_same_way)
{
    WM_DIALOG* dialog = make_dialog(0x47C);
    add_overlay(dialog);
    frame();
    // Start: the first paint sent it to its start point above the display; no fade in, so the
    // alpha is whole at once.
    EXPECT_EQ(dialog->alpha, 255);
    EXPECT_EQ(dialog->x, 220);
    EXPECT_EQ(dialog->y, -100);
    EXPECT_EQ(dialog->get_y(), 190);
    frame();
    EXPECT_EQ(dialog->y, -100);
    // Middle.
    advance(150);
    frame();
    EXPECT_EQ(dialog->y, -100 + 150 * 290 / 300);
    EXPECT_TRUE(near(pixel(320, dialog->y + 80), FRAME_COLOUR));
    // End.
    advance(150);
    frame();
    EXPECT_EQ(dialog->y, 190);
    EXPECT_TRUE(dialog->is_settled());
    frame();
    EXPECT_TRUE(near(pixel(inside_x(dialog), inside_y(dialog)), FRAME_COLOUR));
    // Nothing of it is left above.
    EXPECT_TRUE(all_of(220, 0, 419, 189, PAGE_COLOUR));

    // Closed, it slides out the same way and is deleted when asked.
    dialog->close(true);
    frame();
    EXPECT_EQ(dialog->y, 190);
    advance(150);
    frame();
    EXPECT_EQ(dialog->y, 190 + 150 * (-100 - 190) / 300);
    EXPECT_EQ(dialog->get_y(), 190);
    advance(150);
    frames(2);
    EXPECT_EQ(WM_SCREEN_OBJECT::overlay_count(), 0);
    EXPECT_FALSE(WM_SCREEN_OBJECT::is_overlay(dialog));
    EXPECT_TRUE(all_of(220, 0, 419, 479, PAGE_COLOUR));
}

TEST_F(DIALOG, with_fades_it_rises_from_0_to_255_over_open_delay_and_falls_to_0_when_closed)
{
    WM_DIALOG* dialog = make_dialog(DIALOG_FADE_IN | DIALOG_FADE_OUT);
    add_overlay(dialog);
    frame();
    frame();
    EXPECT_EQ(dialog->alpha, 0);
    EXPECT_TRUE(all_of(220, 190, 419, 289, PAGE_COLOUR));
    advance(150);
    frame();
    EXPECT_EQ(dialog->alpha, 127);
    EXPECT_TRUE(near(pixel(320, 270), blended(127)));
    advance(150);
    frame();
    EXPECT_EQ(dialog->alpha, 255);
    frame();
    EXPECT_TRUE(near(pixel(320, 270), FRAME_COLOUR));

    // Closed, it falls to 0 and hides.
    dialog->close(false);
    frame();
    EXPECT_EQ(dialog->alpha, 255);
    advance(150);
    frame();
    EXPECT_EQ(dialog->alpha, 128);
    EXPECT_TRUE(near(pixel(320, 270), blended(128)));
    advance(150);
    frames(2);
    EXPECT_EQ(dialog->alpha, 0);
    EXPECT_FALSE(dialog->visible);
    // Not to be destroyed: it stays on the list, hidden, at its resting place.
    EXPECT_TRUE(WM_SCREEN_OBJECT::is_overlay(dialog));
    EXPECT_EQ(dialog->x, 220);
    EXPECT_TRUE(all_of(220, 190, 419, 289, PAGE_COLOUR));
}

namespace {

struct SLIDE_CASE {
    INT_U32 flags;
    INT_S32 start_x;
    INT_S32 start_y;
};

} // namespace

// Each direction against each edge: where the slide starts, and that it is half-way at half
// its time and home at the end. The area is the whole screen here.
TEST_F(DIALOG, first_paint_slides_in_from_each_side_of_display_area_and_own_size)
{
    const SLIDE_CASE cases[] = {
        { DIALOG_SLIDE_IN | DIALOG_FROM_LEFT | DIALOG_DISPLAY_EDGES, -200, 190 },
        { DIALOG_SLIDE_IN | DIALOG_FROM_RIGHT | DIALOG_DISPLAY_EDGES, 640, 190 },
        { DIALOG_SLIDE_IN | DIALOG_FROM_BOTTOM | DIALOG_DISPLAY_EDGES, 220, 480 },
        { DIALOG_SLIDE_IN | DIALOG_FROM_TOP | DIALOG_FROM_LEFT | DIALOG_DISPLAY_EDGES, -200, -100 },
        { DIALOG_SLIDE_IN | DIALOG_FROM_LEFT | DIALOG_AREA_EDGES, 0 - 200, 190 },
        { DIALOG_SLIDE_IN | DIALOG_FROM_BOTTOM | DIALOG_AREA_EDGES, 220, 0 + 480 },
        { DIALOG_SLIDE_IN | DIALOG_FROM_LEFT, 220 - 200, 190 },
        { DIALOG_SLIDE_IN | DIALOG_FROM_RIGHT | DIALOG_FROM_BOTTOM, 220 + 200, 190 + 100 },
    };
    for (const SLIDE_CASE& c : cases) {
        SCOPED_TRACE(c.flags);
        WM_DIALOG* dialog = make_dialog(c.flags, 400);
        add_overlay(dialog);
        frame();
        EXPECT_EQ(dialog->x, c.start_x);
        EXPECT_EQ(dialog->y, c.start_y);
        advance(200);
        frame();
        EXPECT_EQ(dialog->x, c.start_x + (220 - c.start_x) / 2);
        EXPECT_EQ(dialog->y, c.start_y + (190 - c.start_y) / 2);
        advance(200);
        frame();
        EXPECT_EQ(dialog->x, 220);
        EXPECT_EQ(dialog->y, 190);
        page->remove_overlay(dialog, true, false);
        frame();
    }
}

TEST_F(DIALOG, an_own_size_slide_shows_only_at_rest_and_set_position_shifts_both_points_unless_from_an_edge)
{
    WM_DIALOG* own = make_dialog(DIALOG_SLIDE_IN | DIALOG_FROM_LEFT, 400);
    add_overlay(own);
    frame();
    advance(200);
    frame();
    // Half-way from x 20 to x 220: at 120, but nothing left of its resting place shows.
    EXPECT_EQ(own->x, 120);
    EXPECT_TRUE(all_of(100, 190, 219, 289, PAGE_COLOUR));
    EXPECT_TRUE(near(pixel(300, 270), FRAME_COLOUR));
    own->set_position(250, 200);
    EXPECT_EQ(own->rest_x, 250);
    EXPECT_EQ(own->rest_y, 200);
    EXPECT_EQ(own->start_x, 20 + 30);
    EXPECT_EQ(own->x, 120 + 30);
    advance(200);
    frame();
    EXPECT_EQ(own->x, 250);
    EXPECT_EQ(own->y, 200);
    page->remove_overlay(own, true, false);

    WM_DIALOG* edge = make_dialog(DIALOG_SLIDE_IN | DIALOG_FROM_LEFT | DIALOG_DISPLAY_EDGES, 400);
    add_overlay(edge);
    frame();
    advance(200);
    frame();
    INT_S16 was = edge->x;
    edge->set_position(250, 200);
    EXPECT_EQ(edge->rest_x, 250);
    EXPECT_EQ(edge->start_x, -200);
    EXPECT_EQ(edge->x, was);
    advance(200);
    frame();
    EXPECT_EQ(edge->x, 250);
}

// --- Closing ------------------------------------------------------------------------------------------

TEST_F(DIALOG, closing_close_again_does_nothing_more)
{
    WM_DIALOG* dialog = make_dialog(DIALOG_FADE_OUT);
    add_overlay(dialog);
    frames(2);
    dialog->close(false);
    frame();
    advance(100);
    frame();
    INT_U32 started = dialog->effect_start;
    INT_U8 from = dialog->from_alpha;
    dialog->close(true);
    EXPECT_EQ(dialog->effect_start, started);
    EXPECT_EQ(dialog->from_alpha, from);
    EXPECT_EQ(dialog->destroy_when_closed, 0);

    // Without an effect it goes at once.
    page->clear_objects(true, false);
    WM_DIALOG* plain = make_dialog(0);
    add_overlay(plain);
    frames(2);
    plain->close(true);
    frames(2);
    EXPECT_EQ(WM_SCREEN_OBJECT::overlay_count(), 0);
}

TEST_F(DIALOG, open_press_outside_a_dialog_with_border_sides_closes_it_and_goes_no_further)
{
    INT_S32 clicks = 0;
    WM_BUTTON* behind = button_at(10, 10, "Behind", TRIGGER_PRESS,
        [](WM_SCREEN_OBJECT*, PTR_INT_CAST data1, PTR_INT_CAST) -> INT_S32 {
            ++*reinterpret_cast<INT_S32*>(data1);
            return 0;
        },
        reinterpret_cast<PTR_INT_CAST>(&clicks));
    add(behind);
    WM_DIALOG* dialog = make_dialog(DIALOG_FADE_OUT);
    dialog->border_sides = 1;
    add_overlay(dialog);
    frames(2);
    move(50, 25);
    press();
    EXPECT_EQ(frame(), 0);
    release();
    frame();
    EXPECT_EQ(clicks, 0);
    EXPECT_EQ(dialog->target_alpha, 0);
}

TEST_F(DIALOG, open_code_33_from_a_button_closes_it_and_rebuilds_the_area_behind_keeping_the_overlays)
{
    WM_BUTTON* behind = button_at(10, 10, "Behind");
    add(behind);
    WM_DIALOG* dialog = make_dialog(DIALOG_FADE_OUT);
    WM_BUTTON* button = button_at(10, 10, "Rebuild", TRIGGER_RELEASE, answer_33);
    dialog->add_child(button, true);
    add_overlay(dialog);
    frames(2);
    ASSERT_EQ(page->child_count(), 1);
    click(button->x + 10, button->y + 10);
    // The page was rebuilt (its one object is gone: the test page builds nothing) and the dialog
    // is closing, still on the overlay list.
    EXPECT_EQ(page->child_count(), 0);
    EXPECT_TRUE(WM_SCREEN_OBJECT::is_overlay(dialog));
    EXPECT_EQ(dialog->target_alpha, 0);
}

// --- Dragged --------------------------------------------------------------------------------------------

TEST_F(DIALOG, open_press_on_the_title_drags_it_translucent_and_it_stays_where_dropped)
{
    WM_DIALOG* dialog = make_dialog(0x47C);
    dialog->effect.flags = DIALOG_FADE_DOWN | DIALOG_FADE_UP;
    add_overlay(dialog);
    frames(2);
    ASSERT_TRUE(dialog->is_settled());
    INT_S32 title_y = dialog->title_object->y + 3;
    move(230, title_y);
    frame();
    press();
    frame();
    EXPECT_TRUE(dialog->is_dragged());
    EXPECT_EQ(dialog->target_alpha, 192);
    // Start of the fade down: still whole.
    EXPECT_EQ(dialog->alpha, 255);
    move(130, title_y + 50);
    frame();
    EXPECT_EQ(dialog->x, 120);
    EXPECT_EQ(dialog->y, 240);
    // Middle of the display delay.
    advance(500);
    frame();
    EXPECT_EQ(dialog->alpha, 255 - (255 - 192) / 2);
    advance(500);
    frame();
    frame();
    EXPECT_EQ(dialog->alpha, 192);
    EXPECT_TRUE(near(pixel(inside_x(dialog), inside_y(dialog)), blended(192)));
    // Dropped: it stays there and comes back to whole over the display delay, which starts
    // with the frame after the release.
    release();
    frame();
    EXPECT_FALSE(dialog->is_dragged());
    EXPECT_EQ(dialog->target_alpha, 255);
    frame();
    EXPECT_EQ(dialog->alpha, 192);
    advance(500);
    frame();
    EXPECT_EQ(dialog->alpha, 192 + (255 - 192) / 2);
    advance(500);
    frames(2);
    EXPECT_EQ(dialog->alpha, 255);
    EXPECT_EQ(dialog->x, 120);
    EXPECT_EQ(dialog->y, 240);
    EXPECT_EQ(dialog->get_x(), 120);
    EXPECT_TRUE(near(pixel(inside_x(dialog), inside_y(dialog)), FRAME_COLOUR));
    EXPECT_TRUE(all_of(380, 190, 419, 239, PAGE_COLOUR));
}

TEST_F(DIALOG, open_press_on_a_child_does_not_drag_and_without_fades_the_drag_alpha_jumps)
{
    WM_DIALOG* dialog = make_dialog(0);
    WM_BUTTON* button = button_at(10, 10, "Child");
    dialog->add_child(button, true);
    add_overlay(dialog);
    frames(2);
    EXPECT_FALSE(dialog->can_drag_at(button->x + 5, button->y + 5));
    EXPECT_TRUE(dialog->can_drag_at(dialog->x + 5, dialog->title_object->y + 2));
    EXPECT_FALSE(dialog->can_drag_at(dialog->x - 5, dialog->y));
    move(button->x + 5, button->y + 5);
    press();
    frame();
    move(button->x + 50, button->y + 50);
    frame();
    EXPECT_FALSE(dialog->is_dragged());
    EXPECT_EQ(dialog->x, 220);
    release();
    frame();

    // On the title, without a fade down or up, it goes translucent at once.
    move(230, dialog->title_object->y + 3);
    press();
    frame();
    EXPECT_EQ(dialog->alpha, 192);
    release();
    frame();
    EXPECT_EQ(dialog->alpha, 255);
}

// --- Keyboard -------------------------------------------------------------------------------------------

TEST_F(DIALOG, on_top_it_keeps_the_keyboard_focus_inside_itself)
{
    WM_BUTTON* behind = button_at(10, 10, "Behind");
    add(behind);
    behind->take_focus();
    ASSERT_TRUE(behind->has_focus());
    WM_DIALOG* dialog = make_dialog(0);
    WM_BUTTON* first = button_at(10, 10, "One");
    WM_BUTTON* second = button_at(100, 10, "Two");
    dialog->add_child(first, true);
    dialog->add_child(second, true);
    add_overlay(dialog);
    frames(2);
    EXPECT_TRUE(first->has_focus());
    for (INT_S32 i = 0; i < 4; ++i) {
        type_key(KEY_TAB);
        EXPECT_TRUE(first->has_focus() || second->has_focus());
    }
    EXPECT_FALSE(behind->has_focus());
}
