// The installer's three frame callbacks: start-up and the choice of mode, one pass of the main
// loop, and shutdown.
//
// Modes: the interactive run (the wizard), the unattended install (-a), and the publisher's
// tools (-s builds a skin, -d writes a patch configuration), which end the run inside the
// option loop.

#include <cstdio>
#include <cstring>
#include <new>

#include "base/error_report.h"
#include "base/format.h"
#include "frame/application_frame.h"
#include "frame/frame_rate.h"
#include "frame/screen.h"
#include "graphics/font.h"
#include "host/host.h"
#include "host/linux/x11_display.h"
#include "installer/engine/database.h"
#include "installer/engine/installer_debug.h"
#include "installer/engine/installer_options.h"
#include "installer/engine/installer_tools.h"
#include "installer/engine/own_data_set.h"
#include "installer/engine/patch_differ.h"
#include "installer/engine/skin.h"
#include "installer/engine/splash_screen.h"
#include "installer/engine/unattended.h"

namespace {

INSTALLER_OPTIONS options;
// Built at start-up rather than statically: its folders need the framework running.
DATABASE* database = nullptr;

// What the start shows while the data set is unpacked.
struct START_SCREEN {
    DATA_SET_SPLASH splash;
    SPLASH_BAR* bar { nullptr };
    bool splash_window_open { false }; // the data set's own splash
    bool builtin_window_open { false };
};
START_SCREEN* start_screen = nullptr;
WINDOW_BACKGROUND* window_background = nullptr;

void run_patch_differ(const char* argument)
{
    diff_data_sets(argument);
}

// -x points the data folder at the folder of the named file and keeps the file's name.
void apply_data_folder(const INSTALLER_OPTIONS& given)
{
    database->config_file_name.assign(given.config_file_name);
    if (!given.data_folder_given)
        return;
    char folder_text[ORLU_MAX_PATH];
    if (!copy_text(folder_text, given.data_folder))
        return;
    char* slash = strrchr(folder_text, '/');
    if (slash)
        *slash = 0;
    if (database->data_folder.set(folder_text))
        debug_printf(&installer_debug, "XML Path: %s\n", database->data_folder.path());
}

void free_start_screen()
{
    if (!start_screen)
        return;
    delete start_screen->bar;
    delete start_screen;
    start_screen = nullptr;
}

[[noreturn]] void no_installation_data()
{
    close_window(0);
    show_system_message("No installation data found!", "Make sure you have got all required files.");
    exit_with_error("No installation data found!");
}

[[noreturn]] void damaged_installer()
{
    close_window(0);
    const char* hint = "The file is shorter than it should be or its contents changed. Download or copy the installer again.";
    show_system_message("The installer file is damaged", hint);
    exit_with_error("The installer file is damaged");
}

// No window can be had: one line that says why and what works without one, nothing left behind.
[[noreturn]] void no_display()
{
    delete_temporary_package();
    free_start_screen();
    if (!x11_library_loaded())
        host_printf("Cannot open a window: %s. Run the installer with -a to install without a window.\n",
            display_failure_text());
    else
        host_printf("There is no X display (%s). Run the installer with -a to install without one.\n",
            display_failure_text());
    exit_with_error(nullptr);
}

// While the splash shows there is nothing to lose: closing the window or a polite signal ends the
// run at once. The wizard's pages bring their own question later; until then the same answer
// serves the wizard's window, whose close button ends the program.
bool always_quit(INT_S32) { return true; }

// The splash of the data set when it has one with a title, else the built-in one, and the bar.
void open_splash()
{
    START_SCREEN& screen = *start_screen;
    if (screen.splash.present && !screen.splash.title.is_empty()) {
        screen.splash_window_open = show_picture_window(screen.splash.title.c_str(), screen.splash.image,
            STANDARD_BACKGROUND_COLOUR);
        if (screen.splash_window_open)
            screen.bar = new (std::nothrow) SPLASH_BAR(screen.splash.bar_x, screen.splash.bar_y,
                screen.splash.bar_width, screen.splash.bar_height, &screen.splash.bar_style);
    }
    if (!screen.splash_window_open) {
        screen.builtin_window_open = show_builtin_splash();
        if (!screen.builtin_window_open)
            no_display();
        screen.bar = new (std::nothrow) SPLASH_BAR(PLAIN_BAR_X, PLAIN_BAR_Y, PLAIN_BAR_WIDTH, PLAIN_BAR_HEIGHT, nullptr);
    }
    set_shutdown_request_handler(always_quit);
    if (!screen.bar)
        return;
    screen.bar->set_value(0);
    screen.bar->draw(nullptr);
    swap_screens(0);
}

// After each chunk: the bar follows, and the picture goes out only when the bar moved.
void on_unpack_progress(INT_S32 chunk, INT_U64 done, INT_U64 total, void*)
{
    if (chunk == 0) {
        open_splash();
        return;
    }
    SPLASH_BAR* bar = start_screen->bar;
    if (bar && bar->set_value(unpack_percentage(done, total)))
        bar->draw(nullptr);
    swap_screens(0);
}

// The wizard's window: the splash window stays when it has the WINDOW size already; otherwise a
// new one with the installer's title, at least as large as the dialog.
void open_wizard_window()
{
    const WINDOW_SETTINGS& settings = database->window;
    bool keep = start_screen->splash_window_open && display_width(0) == settings.width
        && display_height(0) == settings.height;
    if (!keep) {
        close_window(0);
        WINDOW_REQUEST request;
        request.title = database->text(LANGUAGE_KEY::INSTALLER_TITLE);
        request.width = static_cast<INT_U16>(settings.width);
        request.height = static_cast<INT_U16>(settings.height);
        request.full_screen = settings.fullscreen;
        request.min_width = static_cast<INT_U16>(database->dialog.width);
        request.min_height = static_cast<INT_U16>(database->dialog.height);
        if (!open_window(request, 0)) {
            delete_temporary_package();
            if (!host_connect_display())
                no_display();
            fatal_error(0x0013, display_failure_text());
        }
    }
    free_start_screen();
    window_background = new (std::nothrow) WINDOW_BACKGROUND();
    if (window_background)
        window_background->paint(*database);
    set_shutdown_request_handler(always_quit);
    debug_printf(&installer_debug, "Window %dx%d open\n", display_width(0), display_height(0));
}

void run_interactive()
{
    // The display is asked for before anything is unpacked, so a machine without one learns it
    // at once and has nothing to clean up.
    use_display_back_end(x11_display_back_end());
    if (!host_connect_display())
        no_display();

    start_screen = new (std::nothrow) START_SCREEN();
    if (!start_screen)
        exit_with_error("Out of memory");
    switch (unpack_own_data_set(database, &start_screen->splash, on_unpack_progress, nullptr)) {
    case UNPACK_DAMAGED:
        damaged_installer();
    case UNPACK_INTERRUPTED:
        close_window(0);
        exit_with_error(nullptr);
    case UNPACK_NO_DATA_SET:
        // A bare program with the package beside it: the built-in splash, no bar.
        if (!start_screen->builtin_window_open && !start_screen->splash_window_open)
            start_screen->builtin_window_open = show_builtin_splash();
        break;
    case UNPACK_DONE:
    case UNPACK_FAILED:
        break; // a failed unpack shows as missing data below
    }
    if (!database->load_data_set("installer.pkg")) {
        delete_temporary_package();
        no_installation_data();
    }
    open_wizard_window();
}

} // namespace

void application_start(INT_S16 argc, char** argv)
{
    parse_installer_options(argc, argv, &options, generate_skin, run_patch_differ);
    database = new (std::nothrow) DATABASE();
    if (!database)
        exit_with_error("Out of memory");
    database->platform_code = options.platform_code;
    apply_data_folder(options);

    if (options.mode != MODE_WIZARD) {
        INT_S32 status = 1;
        switch (options.mode) {
        case MODE_UNATTENDED: status = run_unattended(database, options); break;
        case MODE_CHECK: status = run_integrity_check(); break;
        case MODE_LIST: status = run_listing(database, options); break;
        case MODE_EXTRACT: status = run_extraction(database, options); break;
        case MODE_LICENCE: status = run_show_licence(database, options); break;
        case MODE_WIZARD: break;
        }
        delete database;
        database = nullptr;
        exit_with_status(status);
    }
    run_interactive();
}

// One pass of the main loop: the page manager comes with the wizard; until then the window keeps
// its background, with the frame rate on top when the data set asks for it, and goes out only
// when something changed.
bool application_update()
{
    if (database && database->show_frame_rate && window_background) {
        BACK_BUFFER* screen = back_buffer_of(0);
        const INT_S16 font_height = 12;
        INT_S16 y = static_cast<INT_S16>(screen->height - 10 - font_height);
        window_background->restore(0, y, static_cast<INT_S16>(screen->width - 1),
            static_cast<INT_S16>(y + font_height + 2));
        screen->draw_text_format(0, y, COLOUR_WHITE, COLOUR_INVISIBLE, DEFAULT_FONT, -1, font_height, "%s",
            frame_rate_text("Frame Rate"));
    }
    swap_screens(0);
    return true;
}

void application_shutdown()
{
    bool temporary = package_is_temporary();
    bool had_window = display_exists(0);
    close_window(0);
    delete window_background;
    window_background = nullptr;
    // The user sees that the program still works while it lets go of its data.
    if (had_window)
        (void)show_closing_picture(database ? database->text(LANGUAGE_KEY::INSTALLER_TITLE) : BUILTIN_SPLASH_TITLE);
    if (database)
        database->reset();
    delete database;
    database = nullptr;
    if (temporary)
        delete_temporary_package();
    close_window(0);
}

extern const APPLICATION_RECORD installer_application_record;

int main(int argc, char** argv, char** envp)
{
    static const APPLICATION installer_application = {
        &installer_application_record, application_start, application_update, application_shutdown,
    };
    return run_application_frame(argc, argv, envp, installer_application);
}
