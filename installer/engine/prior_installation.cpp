// The prior installation test and the saved settings.

#include "installer/engine/prior_installation.h"

#include <cstdio>
#include <cstring>

#include "io/config_file.h"
#include "installer/engine/database.h"
#include "io/folder.h"
#include "io/text_file.h"

bool has_prior_installation(DATABASE* database)
{
    // The install root is the base of the path variables while the log's folder is worked out,
    // exactly as the install itself does it.
    FOLDER application("$app");
    set_base_path(&application, database->app_string);
    FOLDER root = application;
    if (database->use_system_paths)
        (void)root.set("$SYSAPP", false, nullptr, true, true);
    else
        (void)root.set(database->install_path, false, nullptr, false);
    set_base_path(&root, database->app_string);

    bool system_case = database->patch_system_dest_path[0] && database->use_system_paths;
    const char* text = system_case ? database->patch_system_dest_path : database->patch_dest_path;
    FOLDER log_folder = root;
    if (text[0])
        (void)log_folder.set(text, false, &root, system_case, system_case);
    clear_base_path();

    TEXT_FILE* log = log_folder.exists("install_log.txt") ? log_folder.open_text_file("install_log.txt", FILE_READ, false) : nullptr;
    if (!log)
        return false;
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
        return false;

    int id = 0;
    short system_flag = 0;
    char logged_path[1025] = {};
    if (sscanf(line + 10, "%d %hd %1024c", &id, &system_flag, logged_path) < 2)
        return false;
    if (system_case)
        return system_flag != 0;
    if (system_flag)
        return false;
    // Two folders from the logged path and the chosen one: the same place or not.
    FOLDER logged, chosen;
    bool logged_ok = logged.set(logged_path, false);
    bool chosen_ok = chosen.set(database->install_path, false);
    return logged_ok && chosen_ok && logged.same_as(chosen);
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
