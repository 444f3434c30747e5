// The desktop outside our window: desktop shortcuts, menu entries, opening a page or a file in
// the user's programs, and speech. Programs are started with argument vectors, never through a
// shell, so a title or path holding quotes, blanks or `$(...)` is used as it stands.
#pragma once

#include "base/orlu_types.h"

enum SHORTCUT_KIND : INT_U8 {
    SHORTCUT_PROGRAM = 1,
    SHORTCUT_WEB_PAGE = 2,
    SHORTCUT_FILE = 3,
};

// Writes "<home>/Desktop/<safe title>.desktop", mode 0755. Answers false when it cannot be
// written (no Desktop folder, for one).
bool add_desktop_shortcut(INT_U8 kind, const char* target, const char* arguments, const char* title,
    const char* target_folder, const char* icon_file, const char* icon_folder);
bool remove_desktop_shortcut(const char* title);

// Writes the menu file ("/usr/lib/menu/<id>.desktop", or "<home>/.menu/<id>.desktop" when that is
// not writable), and registers the entry with xdg-desktop-menu when it is installed; then runs
// update-menus. Answers false when no menu file could be written.
// The arguments come in the order of add_desktop_shortcut, with the menu path behind the title.
bool add_menu_entry(INT_U8 kind, const char* target, const char* arguments, const char* title,
    const char* menu_path, const char* target_folder, const char* icon_file, const char* icon_folder);
void remove_menu_entry(const char* title, const char* menu_path);

// The command that opens a page, in a shared 2048-byte buffer (for showing or logging).
const char* open_in_browser_command(const char* url, bool background);
// Starts the browser on the page in the background. False when nothing could be started.
bool open_in_browser(const char* url);
// Opens a file with the desktop's file handler, in the background.
bool open_file(const char* folder, const char* name);

bool say(const char* text);
bool speech_is_running();
void stop_speech();

// Names made from titles: every character that is not alphanumeric becomes "_".
void desktop_file_name(const char* title, char* out, size_t size);
// "local.<menu path>_<title>", with every character from the seventh on that is not
// alphanumeric replaced by "_".
void menu_identifier(const char* menu_path, const char* title, char* out, size_t size);

// Where the desktop tools live. Tests point these at fakes; null keeps the current value.
struct DESKTOP_TOOLS {
    const char* system_menu_folder;  // "/usr/lib/menu"
    const char* xdg_desktop_menu;    // "/usr/bin/xdg-desktop-menu"
    const char* update_menus;        // "/usr/bin/update-menus"
};
void set_desktop_tools(const DESKTOP_TOOLS& tools);
