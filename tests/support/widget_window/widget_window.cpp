// A window with a question, for the tests that drive widgets on a real X server: a 640x480
// window titled "Widget Window" whose page holds a WM_CONFIRM asking "Quit?" with Yes and No.
// It prints where the buttons and the title are, then runs frames until an answer comes:
//   exit status 3: Yes (the question's answer is quit)
//   exit status 4: No (the dialog closed)
//   exit status 9: nothing happened for 20 seconds; 2: no window could be opened
// While it runs it prints each change of the primary button, of the Escape key and of the
// pointer as the widgets see them ("primary down", "escape up", "pointer X Y"), so that a test
// can hold a button or a key until the program has seen it, as a person's press lasts longer
// than a frame. Before it ends it prints where the dialog stood last ("dialog X Y").

#include <cstdio>
#include <cstdlib>

#include "frame/screen.h"
#include "graphics/font.h"
#include "host/host.h"
#include "host/input.h"
#include "host/linux/x11_display.h"
#include "io/folder.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_manager.h"
#include "wm/core/wm_page_manager.h"
#include "wm/dialogs/wm_confirm.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_script.h"

namespace {

void build_empty_page(WM_PAGE_MANAGER*, PTR_INT_CAST) {}

INT_S32 answer_yes(WM_SCREEN_OBJECT* object, PTR_INT_CAST, PTR_INT_CAST)
{
    return static_cast<WM_BUTTON*>(object)->fired_on_release ? WM_ACTION_QUIT : 0;
}

} // namespace

int main()
{
    host_attach_reports();
    use_display_back_end(x11_display_back_end());
    WINDOW_REQUEST request;
    request.title = "Widget Window";
    request.width = 640;
    request.height = 480;
    if (!host_connect_display() || !open_window(request, 0)) {
        printf("no window: %s\n", display_failure_text());
        return 2;
    }
    start_font_system();
    FOLDER fonts;
    if (fonts.set_raw(ORLU_SOURCE_DIR "/samples/fonts"))
        (void)load_font("BabelSans.ttf", nullptr, 10, &fonts);

    WM_PAGE_MANAGER* manager = new WM_PAGE_MANAGER(1, 256);
    manager->background_colour = COLOUR::from_argb(0xFF204060u);
    WM_SCREEN_OBJECT* page = manager->areas[0];
    manager->set_page(0, build_empty_page, nullptr, 0, nullptr, true, 1, nullptr);
    manager->process_all(0);

    CONFIRM_BUTTON buttons[2];
    buttons[0].text = "Yes";
    buttons[0].callback = answer_yes;
    buttons[1].text = "No";
    WM_DIALOG_EFFECT effect;
    effect.flags = DIALOG_FADE_DOWN | DIALOG_FADE_UP;
    effect.display_delay = 200;
    WM_CONFIRM* confirm = new WM_CONFIRM(170, 140, 300, 160, "Quit", "Do you want to quit?", buttons, 2, true,
        nullptr, nullptr, nullptr, nullptr, &effect);
    page->add_overlay(confirm, false);
    WM_BUTTON* yes = confirm->button(0);
    WM_BUTTON* no = confirm->button(1);
    printf("yes %d %d\nno %d %d\ntitle %d %d\n", yes->x + yes->width / 2, yes->y + yes->height / 2,
        no->x + no->width / 2, no->y + no->height / 2, confirm->x + 20, confirm->title_object->y + 5);
    fflush(stdout);

    int status = 9;
    INT_U32 start = milliseconds_now();
    bool primary = false;
    bool escape = false;
    INT_S16 last_x = -1;
    INT_S16 last_y = -1;
    while (milliseconds_now() - start < 20000) {
        pump_events();
        bool primary_now = (button_mask & BUTTON_PRIMARY) != 0;
        bool escape_now = ORLU_EVENT_CLIENT::key_is_down(KEY_ESCAPE);
        if (primary_now != primary)
            printf("primary %s\n", primary_now ? "down" : "up");
        if (escape_now != escape)
            printf("escape %s\n", escape_now ? "down" : "up");
        if (pointer_x != last_x || pointer_y != last_y)
            printf("pointer %d %d\n", pointer_x, pointer_y);
        last_x = pointer_x;
        last_y = pointer_y;
        primary = primary_now;
        escape = escape_now;
        fflush(stdout);
        INT_S32 code = manager->update(true);
        if (code == WM_ACTION_QUIT) {
            status = 3;
            break;
        }
        if (!confirm->visible) {
            status = 4;
            break;
        }
        sleep_milliseconds(10);
    }
    printf("dialog %d %d\n", confirm->x, confirm->y);
    fflush(stdout);
    page->clear_objects(true, false);
    delete manager;
    close_window(0);
    stop_font_system();
    return status;
}
