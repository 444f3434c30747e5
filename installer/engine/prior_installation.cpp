// The prior installation test and the saved settings.

#include "installer/engine/prior_installation.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "base/format.h"
#include "io/config_file.h"
#include "installer/engine/database.h"
#include "io/folder.h"
#include "io/text_file.h"

namespace {

// Fills the reason of a "no"; always answers false.
bool no_because(char* why, size_t size, const char* format, ...) __attribute__((format(printf, 3, 4)));
bool no_because(char* why, size_t size, const char* format, ...)
{
    if (!why || !size)
        return false;
    va_list args;
    va_start(args, format);
    (void)format_text_list(why, size, format, args);
    va_end(args);
    return false;
}

} // namespace

bool has_prior_installation(DATABASE* database, char* why, size_t size)
{
    if (why && size)
        why[0] = 0;
    // The install root is the base of the path variables while the log's folder is worked out,
    // exactly as the install itself does it.
    FOLDER application("$app");
    set_base_path(&application, database->app_string);
    FOLDER root = application;
    bool root_ok = database->use_system_paths ? root.set("$SYSAPP", false, nullptr, true, true)
                                              : root.set(database->install_path, false, nullptr, false);
    set_base_path(&root, database->app_string);

    bool system_case = database->patch_system_dest_path[0] && database->use_system_paths;
    const char* text = system_case ? database->patch_system_dest_path : database->patch_dest_path;
    FOLDER log_folder = root;
    bool log_folder_ok = !text[0] || log_folder.set(text, false, &root, system_case, system_case);
    clear_base_path();
    if (!root_ok)
        return no_because(why, size, "the folder %s does not exist",
            database->use_system_paths ? "of the system installation" : expand_text(database->install_path, nullptr));
    char log_path[ORLU_MAX_PATH * 2];
    if (!copy_text(log_path, log_folder.path_text("install_log.txt")))
        log_path[0] = 0;
    if (!log_folder_ok)
        return no_because(why, size, "there is no log folder %s in %s", text, root.path());

    TEXT_FILE* log = log_folder.exists("install_log.txt") ? log_folder.open_text_file("install_log.txt", FILE_READ, false) : nullptr;
    if (!log)
        return no_because(why, size, "there is no install log at %s", log_path);
    log->set_decode_utf8(false);
    char line[ORLU_MAX_PATH + 64];
    bool found = false;
    while (log->read_line_into(line, sizeof line, true)) {
        if (strncmp(line, "Settings: ", 10) == 0) {
            found = true;
            break;
        }
    }
    FOLDER::close_text_file(&log);
    if (!found)
        return no_because(why, size, "the install log at %s has no settings line", log_path);

    int id = 0;
    short system_flag = 0;
    char logged_path[1025] = {};
    if (sscanf(line + 10, "%d %hd %1024c", &id, &system_flag, logged_path) < 2)
        return no_because(why, size, "the install log at %s has no settings line", log_path);
    if (system_case) {
        if (system_flag != 0)
            return true;
        return no_because(why, size, "the install log at %s is of an installation outside the system folders", log_path);
    }
    if (system_flag)
        return no_because(why, size, "the install log at %s is of an installation into the system folders", log_path);
    // Two folders from the logged path and the chosen one: the same place or not.
    FOLDER logged, chosen;
    bool logged_ok = logged.set(logged_path, false);
    bool chosen_ok = chosen.set(database->install_path, false);
    if (logged_ok && chosen_ok && logged.same_as(chosen))
        return true;
    return no_because(why, size, "the install log at %s is of an installation in %s", log_path, logged_path);
}

void load_saved_settings(char* last_path, char* last_filename)
{
    FOLDER folder;
    if (!folder.set("$USERPREFS", false))
        return;
    CONFIG_FILE config;
    config.open("settings.cfg", false);
    char value[CONFIG_VALUE_SIZE];
    if (config.read_text(folder, "last_path", value))
        snprintf(last_path, ORLU_MAX_PATH, "%s", value);
    if (config.read_text(folder, "last_filename", value))
        snprintf(last_filename, ORLU_MAX_PATH, "%s", value);
}

bool save_settings(const char* last_path, const char* last_filename)
{
    FOLDER folder;
    if (!folder.set("$USERPREFS", true, nullptr, true))
        return false;
    CONFIG_FILE config;
    config.open("settings.cfg", false);
    return config.write_text(folder, "last_path", last_path) && config.write_text(folder, "last_filename", last_filename);
}
