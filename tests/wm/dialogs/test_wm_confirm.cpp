// The dialogs built on WM_DIALOG: WM_CONFIRM's answers by pointer and keyboard, WM_ABOUT,
// WM_PROGRESS_BAR_DIALOG painting from inside blocking work, WM_TEXT_EDIT_DIALOG asking for a
// folder's name.

#include "widget_screen.h"

#include <string>

#include "base/orlu_string.h"
#include "base/parameter.h"
#include "host/headless/headless_display.h"
#include "host/input.h"
#include "io/folder.h"
#include "test_support.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_manager.h"
#include "wm/dialogs/wm_about.h"
#include "wm/dialogs/wm_confirm.h"
#include "wm/dialogs/wm_progress_bar_dialog.h"
#include "wm/dialogs/wm_text_edit_dialog.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_script.h"
#include "wm/widgets/wm_image.h"
#include "wm/widgets/wm_progress_bar.h"
#include "wm/widgets/wm_text_edit.h"

namespace {

struct ANSWERS {
    INT_S32 yes { 0 };
    INT_S32 no { 0 };
};

INT_S32 said_yes(WM_SCREEN_OBJECT* object, PTR_INT_CAST data1, PTR_INT_CAST)
{
    if (!static_cast<WM_BUTTON*>(object)->fired_on_release)
        return 0;
    ++reinterpret_cast<ANSWERS*>(data1)->yes;
    return WM_ACTION_QUIT;
}

WM_CONFIRM* quit_question(ANSWERS* answers)
{
    CONFIRM_BUTTON buttons[2];
    buttons[0].text = "Yes";
    buttons[0].callback = said_yes;
    buttons[0].data1 = reinterpret_cast<PTR_INT_CAST>(answers);
    buttons[1].text = "No";
    WM_DIALOG_EFFECT quick;
    quick.flags = 0;
    return new WM_CONFIRM(-1, -1, -1, -1, "Quit", "Do you really want to quit?", buttons, 2, true, nullptr, nullptr,
        nullptr, nullptr, &quick);
}

class CONFIRM : public WIDGET_SCREEN {};

} // namespace

TEST_F(CONFIRM, measures_itself_with_the_message_above_a_row_of_even_buttons)
{
    ANSWERS answers;
    WM_CONFIRM* confirm = quit_question(&answers);
    add_overlay(confirm);
    frames(2);
    ASSERT_EQ(confirm->button_total(), 2);
    WM_BUTTON* yes = confirm->button(0);
    WM_BUTTON* no = confirm->button(1);
    EXPECT_EQ(yes->width, no->width);
    EXPECT_EQ(yes->y, no->y);
    EXPECT_GT(yes->y, confirm->message_object()->y + confirm->message_object()->height - 1);
    // Even spacing: the same gap left of the first, between, and right of the last.
    INT_S32 left_gap = yes->x - confirm->contents->x;
    INT_S32 middle = no->x - (yes->x + yes->width);
    INT_S32 right_gap = confirm->contents->x + confirm->contents->width - (no->x + no->width);
    EXPECT_EQ(left_gap, middle);
    EXPECT_LE(abs(right_gap - middle), 2);
    // Centred on the screen, wide enough for the message.
    EXPECT_EQ(confirm->x, (SCREEN_WIDTH - confirm->width) / 2);
    EXPECT_GE(confirm->width, screen()->text_width(255, -1, -1, "Do you really want to quit?"));
    EXPECT_EQ(yes->trigger, TRIGGER_RELEASE);
}

TEST_F(CONFIRM, asking_yes_answers_with_its_callback_and_no_closes_it_by_pointer_or_keyboard)
{
    struct CASE {
        const char* how;
        bool yes;
    } cases[] = { { "click yes", true }, { "return", true }, { "click no", false }, { "escape", false },
        { "tab return", false } };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.how);
        ANSWERS answers;
        WM_CONFIRM* confirm = quit_question(&answers);
        add_overlay(confirm);
        frames(2);
        std::string how = c.how;
        INT_S32 code = 0;
        if (how == "click yes") {
            code = click(confirm->button(0)->x + 5, confirm->button(0)->y + 5);
        } else if (how == "return") {
            code = type_key(KEY_RETURN);
        } else if (how == "click no") {
            // The answer comes with the release, not the press.
            move(confirm->button(1)->x + 5, confirm->button(1)->y + 5);
            press();
            EXPECT_EQ(frame(), 0);
            EXPECT_FALSE(confirm->is_closing());
            release();
            code = frame();
        } else if (how == "escape") {
            code = type_key(KEY_ESCAPE);
        } else {
            type_key(KEY_TAB);
            EXPECT_TRUE(confirm->button(1)->has_focus());
            code = type_key(KEY_RETURN);
        }
        frame();
        EXPECT_EQ(answers.yes, c.yes ? 1 : 0);
        if (c.yes) {
            EXPECT_EQ(code, WM_ACTION_QUIT);
            page->clear_objects(true, false);
        } else {
            EXPECT_FALSE(confirm->visible);
        }
    }
}

TEST_F(CONFIRM, without_button_texts_a_single_close_is_made)
{
    WM_CONFIRM* confirm = new WM_CONFIRM(-1, -1, -1, -1, "Note", "Done.", nullptr, 0, true, nullptr, nullptr, nullptr,
        nullptr);
    add_overlay(confirm);
    ASSERT_EQ(confirm->button_total(), 1);
    EXPECT_STREQ(confirm->button(0)->get_title(), "Close");
}

// --- About --------------------------------------------------------------------------------------------

TEST_F(CONFIRM, about_box_reads_its_credits_shows_the_logo_and_closes_on_its_button)
{
    TEMP_FOLDER temp;
    ASSERT_TRUE(write_file(temp.file("credits"), "Made by the installer team\nThanks to everybody\n"));
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
    ORLU_STRING credits;
    ASSERT_TRUE(WM_ABOUT::load_credits(folder, "credits", &credits));
    EXPECT_STREQ(credits.c_str(), "Made by the installer team\nThanks to everybody");
    EXPECT_FALSE(WM_ABOUT::load_credits(folder, "missing", &credits));
    EXPECT_STREQ(credits.c_str(), "");

    IMAGE logo(32, 32);
    logo.clear(COLOUR_MAGENTA, true);
    WM_ABOUT* about = new WM_ABOUT(-1, -1, -1, -1, nullptr, nullptr, nullptr, &logo,
        "Made by the installer team", nullptr, nullptr, nullptr, nullptr);
    add_overlay(about);
    frames(2);
    advance(400);
    frames(2);
    EXPECT_EQ(about->width, ABOUT_DEFAULT_WIDTH);
    EXPECT_EQ(about->height, ABOUT_DEFAULT_HEIGHT);
    EXPECT_STREQ(about->get_title(), "About");
    EXPECT_STREQ(about->close_button()->get_title(), "Close");
    WM_IMAGE* picture = about->logo_object();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(pixel(picture->x + 16, picture->y + 16), COLOUR_MAGENTA);
    WM_BUTTON* close = about->close_button();
    click(close->x + 5, close->y + 5);
    frames(2);
    advance(400);
    frames(3);
    EXPECT_EQ(WM_SCREEN_OBJECT::overlay_count(), 0);
}

// --- Progress bar dialog ---------------------------------------------------------------------------------

TEST_F(CONFIRM, progress_dialog_shows_each_value_on_the_display_before_it_returns)
{
    PARAMETER value(INT_S32_TYPE);
    value.set_int(&value.maximum, 200);
    WM_PROGRESS_BAR_DIALOG* dialog = new WM_PROGRESS_BAR_DIALOG("Copying", "Starting", &value, COLOUR_GREEN, false,
        nullptr, true);
    add_overlay(dialog);
    INT_S32 shown = headless_frames_presented();
    // No frame runs between these calls: each has to reach the display by itself, at its place
    // and without an effect.
    dialog->set_value(100);
    EXPECT_EQ(dialog->x, (SCREEN_WIDTH - dialog->width) / 2);
    EXPECT_EQ(dialog->alpha, 255);
    EXPECT_GT(headless_frames_presented(), shown);
    EXPECT_EQ(value.as_int(&value.value), 100);
    WM_PROGRESS_BAR* bar = dialog->bar();
    const HEADLESS_FRAME* last = headless_last_frame();
    ASSERT_NE(last, nullptr);
    // The bar is half full: green at a quarter of its length, not at three quarters.
    INT_S32 row = bar->y + bar->height / 2;
    EXPECT_EQ(COLOUR(last->pixel(bar->x + bar->width / 4, row)), COLOUR_GREEN);
    EXPECT_NE(COLOUR(last->pixel(bar->x + bar->width * 3 / 4, row)), COLOUR_GREEN);
    shown = headless_frames_presented();
    dialog->set_status("Copying file 2");
    EXPECT_GT(headless_frames_presented(), shown);
    EXPECT_STREQ(dialog->status_line()->get_text(), "Copying file 2");
    WM_PROGRESS_BAR_DIALOG* plain = new WM_PROGRESS_BAR_DIALOG("Unpacking", nullptr, nullptr, COLOUR_GREEN, false,
        nullptr, true);
    EXPECT_EQ(plain->status_line(), nullptr) << "no status text: no status line";
    delete plain;
}

// --- Text edit dialog --------------------------------------------------------------------------------------

namespace {

struct NAMED {
    INT_S32 calls { 0 };
    bool accepted { false };
    std::string text;
};

INT_S32 got_name(WM_TEXT_EDIT_DIALOG* dialog, bool accepted, PTR_INT_CAST data1, PTR_INT_CAST)
{
    NAMED* named = reinterpret_cast<NAMED*>(data1);
    ++named->calls;
    named->accepted = accepted;
    named->text = dialog->get_text();
    return 0;
}

WM_TEXT_EDIT_DIALOG* new_folder_question(NAMED* named, const char* start = "")
{
    return new WM_TEXT_EDIT_DIALOG(-1, -1, -1, -1, "New Folder", "Name of the new folder:", start, 64, "/", nullptr,
        nullptr, got_name, reinterpret_cast<PTR_INT_CAST>(named), 0);
}

} // namespace

TEST_F(CONFIRM, text_edit_typing_then_return_accepts_the_name)
{
    NAMED named;
    WM_TEXT_EDIT_DIALOG* dialog = new_folder_question(&named);
    add_overlay(dialog);
    frames(2);
    EXPECT_TRUE(dialog->edit_box()->has_focus());
    EXPECT_FALSE(dialog->ok_button()->enabled);
    headless_type_text("My/Games");
    frame();
    EXPECT_STREQ(dialog->get_text(), "MyGames");
    EXPECT_TRUE(dialog->ok_button()->enabled);
    type_key(KEY_BACKSPACE, 8);
    EXPECT_STREQ(dialog->get_text(), "MyGame");
    type_key(KEY_RETURN, '\r');
    frame();
    EXPECT_EQ(named.calls, 1);
    EXPECT_TRUE(named.accepted);
    EXPECT_EQ(named.text, "MyGame");
    EXPECT_TRUE(dialog->is_closing());
}

TEST_F(CONFIRM, text_edit_refuses_an_empty_name_and_escape_cancels)
{
    NAMED named;
    WM_TEXT_EDIT_DIALOG* dialog = new_folder_question(&named);
    add_overlay(dialog);
    frames(2);
    type_key(KEY_RETURN, '\r');
    WM_BUTTON* ok = dialog->ok_button();
    click(ok->x + 3, ok->y + 3);
    EXPECT_EQ(named.calls, 0);
    EXPECT_FALSE(dialog->is_closing());
    type_key(KEY_ESCAPE, 27);
    frame();
    EXPECT_EQ(named.calls, 1);
    EXPECT_FALSE(named.accepted);
}

TEST_F(CONFIRM, text_edit_arrows_move_the_cursor_and_typing_inserts_there)
{
    NAMED named;
    WM_TEXT_EDIT_DIALOG* dialog = new_folder_question(&named, "ac");
    add_overlay(dialog);
    frames(2);
    WM_TEXT_EDIT* edit = dialog->edit_box();
    EXPECT_EQ(edit->get_cursor(), 2);
    type_key(KEY_LEFT);
    EXPECT_EQ(edit->get_cursor(), 1);
    headless_type_text("b");
    frame();
    EXPECT_STREQ(edit->get_text(), "abc");
    type_key(65360); // Home
    EXPECT_EQ(edit->get_cursor(), 0);
    type_key(65535, 127); // Delete
    EXPECT_STREQ(edit->get_text(), "bc");
}
