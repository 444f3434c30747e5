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

// The user's desktop folder: XDG_DESKTOP_DIR of "user-dirs.dirs" in the configuration folder
// ($XDG_CONFIG_HOME, else ".config" in the home directory), which names translated and moved
// desktops; else the variable XDG_DESKTOP_DIR; else "Desktop" in the home directory. False when
// the path does not fit. The folder is not made: a user without one has no desktop icons.
bool desktop_folder(char* out, size_t size);

// Writes "<desktop folder>/<safe title>.desktop", mode 0755. The title and paths go in through
// the entry format's escapes and the program and its arguments are quoted by the Exec rules, so
// nothing in them adds keys or changes the command. Answers false, writing nothing, for an
// unknown kind, for text with control characters that no escape covers, and when the file cannot
// be written (no desktop folder, for one); desktop_error_text then says why.
bool add_desktop_shortcut(INT_U8 kind, const char* target, const char* arguments, const char* title,
    const char* target_folder, const char* icon_file, const char* icon_folder);
bool remove_desktop_shortcut(const char* title);

// Writes the menu file ("/usr/lib/menu/<id>.desktop", or "<home>/.menu/<id>.desktop" when that is
// not writable), and registers the entry with xdg-desktop-menu when it is installed; then runs
// update-menus. The helpers get the Base Directory defaults of XDG_DATA_DIRS and XDG_CONFIG_DIRS
// when those are unset. Answers false when no menu file could be written, when the texts cannot
// be written safely, or when xdg-desktop-menu fails; desktop_error_text then says why.
// The arguments come in the order of add_desktop_shortcut, with the menu path behind the title.
bool add_menu_entry(INT_U8 kind, const char* target, const char* arguments, const char* title,
    const char* menu_path, const char* target_folder, const char* icon_file, const char* icon_folder);
// Why the last add_desktop_shortcut or add_menu_entry failed; empty after a success.
const char* desktop_error_text();
void remove_menu_entry(const char* title, const char* menu_path);

// The command that opens a page, in a shared 2048-byte buffer (for showing or logging).
const char* open_in_browser_command(const char* url, bool background);
// Starts the browser on the page in the background. False when nothing could be started.
bool open_in_browser(const char* url);
// Opens a file with the desktop's file handler, in the background.
bool open_file(const char* folder, const char* name);

// Speaks a text through the synthesiser "festival", which runs on by itself. Only the
// synthesisers this program started count for speech_is_running and are ended by stop_speech.
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
