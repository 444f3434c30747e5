// The file installation engine.
//
// [SECTION] State
// [SECTION] The log
// [SECTION] Opening
// [SECTION] One file
// [SECTION] Shortcuts and closing

#include "installer/engine/install_engine.h"

#include <cerrno>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/error_report.h"
#include "base/format.h"
#include "installer/engine/database.h"
#include "host/desktop.h"
#include "io/folder.h"
#include "host/host.h"
#include "host/host_files.h"
#include "io/package.h"
#include "io/text_file.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] State
// ---------------------------------------------------------------------------------------------

namespace {

const char* const LOG_NAME = "install_log.txt";

} // namespace

INSTALL_ENGINE::~INSTALL_ENGINE()
{
    release_globals();
}

void INSTALL_ENGINE::reset()
{
    release_globals();
    m_counter = 0;
    m_total = 0;
    m_stopped = false;
}

// A wrapped count would read as "completed without any errors" after the 256th failure.
void INSTALL_ENGINE::count_error()
{
    if (m_error_count < 255)
        ++m_error_count;
}

// A run that ends anywhere but in its closing step must not leave the path variables pointing
// at the install root, nor the frame loop without its sleep.
void INSTALL_ENGINE::release_globals()
{
    if (m_holds_base_path)
        clear_base_path();
    if (m_holds_idle_wait)
        set_idle_wait(50);
    m_holds_base_path = false;
    m_holds_idle_wait = false;
}

// Sets `folder` from a destination text relative to the install root: an empty text is the
// root itself.
bool INSTALL_ENGINE::set_relative(FOLDER* folder, const char* text, bool create, bool create_variable,
    bool no_fallback) const
{
    *folder = m_install_root;
    if (!text || !text[0])
        return true;
    return folder->set(text, create, &m_install_root, create_variable, no_fallback);
}

void install_status_text(const char* destination, const char* name, char* out, size_t size)
{
    size_t length = strlen(destination);
    const char* separator = length > 0 && destination[length - 1] == '/' ? "" : "/";
    char text[ORLU_MAX_PATH * 2];
    snprintf(text, sizeof text, "%s%s%s", destination, separator, name);
    const char* shown = text;
    if (text[0] == '$') {
        const char* slash = strchr(text, '/');
        shown = slash ? slash : "";
    }
    snprintf(out, size, "%s", shown);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The log
// ---------------------------------------------------------------------------------------------

// Every line opens and closes the log, so that a crash leaves all that was written so far.
// Paths are written as their bytes stand.
void INSTALL_ENGINE::append_to_log(const char* format, ...) const
{
    if (!m_have_log_folder)
        return;
    TEXT_FILE* file = m_log_folder.open_text_file(LOG_NAME, FILE_UPDATE, false);
    if (!file)
        return;
    file->set_decode_utf8(false);
    char line[ORLU_MAX_PATH * 4];
    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    file->write_string(line);
    FOLDER::close_text_file(&file);
}

bool INSTALL_ENGINE::write_log_header(const DATABASE& database) const
{
    TEXT_FILE* file = m_log_folder.open_text_file(LOG_NAME, FILE_WRITE, false);
    if (!file)
        return false;
    file->set_decode_utf8(false);
    char line[ORLU_MAX_PATH * 2];
    file->write_string("Installed Files\n---------------\n\n");
    snprintf(line, sizeof line, "Language: %s\n", database.text(LANGUAGE_KEY::LANGUAGE_TITLE));
    file->write_string(line);
    snprintf(line, sizeof line, "Settings: %d %d %s\n", static_cast<int>(database.installation_id),
        database.use_system_paths, database.install_path);
    file->write_string(line);
    snprintf(line, sizeof line, "%s\n", database.desktop_check_text);
    file->write_string(line);
    FOLDER::close_text_file(&file);
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Opening
// ---------------------------------------------------------------------------------------------

void INSTALL_ENGINE::open_run(DATABASE* database, INSTALL_REPORTER* reporter)
{
    INSTALLATION_RECORD& installation = database->installations[database->current_installation];
    set_idle_wait(0);
    m_holds_idle_wait = true;
    m_error_count = 0;
    if (!database->system_info.system_folders || !installation.allow_system_paths)
        database->use_system_paths = 0;
    if (installation.file_count < 0 || installation.file_count > INSTALL_ENGINE_MAX_FILES) {
        char text[160];
        (void)format_text(text, sizeof text, "the install type has %d files; a run can count at most %d",
            installation.file_count, INSTALL_ENGINE_MAX_FILES);
        stop(reporter, text);
        return;
    }
    m_total = static_cast<INT_S16>(installation.file_count + 1);

    if (!database->package) {
        PACKAGE* package = new (std::nothrow) PACKAGE(database->data_folder, "installer.pkg", false, 0, false, true);
        if (!package || !package->is_open()) {
            // Trying again every frame would change nothing and tell nobody.
            char text[ORLU_MAX_PATH + 200];
            (void)format_text(text, sizeof text, "the installation data cannot be opened: %s",
                package ? last_error_text() : "no memory");
            delete package;
            stop(reporter, text);
            return;
        }
        database->package = package;
    }
    m_counter = 1;
    reporter->set_install_status(0, database->text(LANGUAGE_KEY::INSTALLING_STRING));

    // From here until the closing step, "$APP" and the variables that hang on it are the
    // install root.
    FOLDER application("$app");
    set_base_path(&application, database->app_string);
    m_holds_base_path = true;
    m_install_root = application;
    bool root_ok = database->use_system_paths
        ? m_install_root.set("$SYSAPP", false, nullptr, true, true)
        : m_install_root.set(database->install_path, true, nullptr, true);
    int root_reason = errno;
    set_base_path(&m_install_root, database->app_string);

    bool system_log = database->log_system_dest_path[0] && database->use_system_paths;
    bool log_ok = set_relative(&m_log_folder, system_log ? database->log_system_dest_path : database->log_dest_path,
        true, system_log, system_log);
    int log_reason = errno;
    m_have_log_folder = log_ok;
    if (!root_ok || !log_ok) {
        // Which folder it was, as the user would look for it, and why.
        int reason = root_ok ? log_reason : root_reason;
        char folder[ORLU_MAX_PATH * 2];
        if (!root_ok)
            (void)copy_text(folder, database->use_system_paths ? m_install_root.path() : expand_text(database->install_path, nullptr));
        else
            intended_path(system_log ? database->log_system_dest_path : database->log_dest_path, nullptr, folder, sizeof folder);
        clear_base_path();
        m_holds_base_path = false;
        reporter->folder_error(folder, strerror(reason ? reason : ENOENT));
        return;
    }
    if (!write_log_header(*database)) {
        reporter->log_error(m_log_folder.path_text(LOG_NAME));
        return;
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] One file
// ---------------------------------------------------------------------------------------------

void INSTALL_ENGINE::install_file(DATABASE* database, INSTALL_REPORTER* reporter, const FILE_RECORD& file)
{
    bool system_destination = file.system_dest_path_from_inst_loc[0] && database->use_system_paths;
    const char* destination = system_destination ? file.system_dest_path_from_inst_loc : file.dest_path_from_inst_loc;
    FOLDER folder;
    bool folder_ok = set_relative(&folder, destination, true, false, false);
    int folder_reason = folder_ok ? 0 : errno;
    const char* name = file.destination_name();

    char status[ORLU_MAX_PATH * 2];
    install_status_text(destination, name, status, sizeof status);
    reporter->set_install_status(m_counter * 100 / m_total, status);

    // The full path of the file; when its folder could not be made, the path it was meant for.
    char path[ORLU_MAX_PATH * 2];
    if (folder_ok)
        (void)copy_text(path, folder.path_text(name));
    else
        intended_path(destination, name, path, sizeof path);
    char reason[ORLU_MAX_PATH + 200] = "";

    INSTALL_RESULT result = INSTALL_INSTALLED;
    if (folder_ok) {
        bool wanted = true;
        HOST_FILE_INFO info;
        bool present = host_file_info(path, &info);
        if (file.overwrite == OVERWRITE_WHEN_ABSENT)
            wanted = !present;
        else if (file.overwrite == OVERWRITE_WHEN_OLDER && present)
            wanted = static_cast<INT_S64>(database->data_time) > static_cast<INT_S64>(info.modified);
        if (!wanted)
            result = INSTALL_SKIPPED;
        else if (!database->package->extract_file(folder, name, file.packed_name)) {
            result = INSTALL_FAILED;
            (void)copy_text(reason, last_error_text());
        }
    } else {
        result = INSTALL_FAILED;
        (void)format_text(reason, sizeof reason, "its folder cannot be made: %s", strerror(folder_reason ? folder_reason : ENOENT));
    }

    switch (result) {
    case INSTALL_INSTALLED: append_to_log("Installed \"%s\"\n", path); break;
    case INSTALL_FAILED: append_to_log("\"%s\" failed to unpack (%s)\n", path, file.packed_name); break;
    case INSTALL_SKIPPED: append_to_log("Skipped \"%s\"\n", path); break;
    }
    reporter->file_done(path, result);
    if (result == INSTALL_FAILED) {
        count_error();
        reporter->file_failed(path, reason);
        return;
    }
    // Every installed file becomes executable, data files too; the set-user-id bit only where
    // the record asks for it.
    if (result == INSTALL_INSTALLED && database->matches_platform(file.platform.c_str()))
        (void)folder.set_permissions(name, file.switch_user ? 06755 : 0755);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Shortcuts and closing
// ---------------------------------------------------------------------------------------------

// The folder of a shortcut's program or icon: the system text when system paths are in use, else
// the normal one; none when both are empty or the folder cannot be set.
bool INSTALL_ENGINE::shortcut_folder(const DATABASE& database, const char* system_text, const char* text,
    FOLDER* folder) const
{
    if (system_text[0] && database.use_system_paths)
        return set_relative(folder, system_text, false, true, true);
    if (text[0])
        return set_relative(folder, text, false, false, false);
    return false;
}

void INSTALL_ENGINE::make_shortcuts(DATABASE* database, INSTALL_REPORTER* reporter)
{
    INSTALLATION_RECORD& installation = database->installations[database->current_installation];
    for (INT_S16 i = 0; i < installation.shortcut_count; ++i) {
        const SHORTCUT_RECORD& shortcut = installation.shortcuts[i];
        if (!database->matches_platform(shortcut.platform.c_str()))
            continue;
        FOLDER icon_folder, exec_folder;
        bool has_icon_folder = shortcut_folder(*database, shortcut.icon_syspath, shortcut.icon_path, &icon_folder);
        bool has_exec_folder = shortcut_folder(*database, shortcut.exec_syspath, shortcut.exec_path, &exec_folder);
        char exec_path[ORLU_MAX_PATH], icon_path[ORLU_MAX_PATH];
        snprintf(exec_path, sizeof exec_path, "%s", has_exec_folder ? exec_folder.path() : "null");
        snprintf(icon_path, sizeof icon_path, "%s", has_icon_folder ? icon_folder.path() : "null");

        if (!shortcut.menu_path[0]) {
            if (!database->want_desktop_shortcut || !database->system_info.desktop_icons)
                continue;
            reporter->set_install_status(100, database->text(LANGUAGE_KEY::INSTALLING_DESKTOP_SHORTCUT));
            bool made = add_desktop_shortcut(shortcut.type, shortcut.exec, shortcut.arguments, shortcut.name,
                has_exec_folder ? exec_path : nullptr, shortcut.icon, has_icon_folder ? icon_path : nullptr);
            append_to_log("create_desktop_shortcut( %d, \"%s\", \"%s\", \"%s\", \"%s\", \"%s\", \"%s\" );\n",
                shortcut.type, shortcut.exec, shortcut.arguments, shortcut.name, exec_path, shortcut.icon, icon_path);
            if (!made)
                shortcut_failed(reporter, shortcut.name);
            continue;
        }
        if (!database->want_menu_shortcut || !database->system_info.desktop_menu)
            continue;
        reporter->set_install_status(100, database->text(LANGUAGE_KEY::INSTALLING_MENU_SHORTCUT));
        bool made = add_menu_entry(shortcut.type, shortcut.exec, shortcut.arguments, shortcut.name, shortcut.menu_path,
            has_exec_folder ? exec_path : nullptr, shortcut.icon, has_icon_folder ? icon_path : nullptr);
        append_to_log("create_os_menu_shortcut( %d, \"%s\", \"%s\", \"%s\", \"%s\", \"%s\", \"%s\", \"%s\" );\n",
            shortcut.type, shortcut.exec, shortcut.arguments, shortcut.name, shortcut.menu_path, exec_path,
            shortcut.icon, icon_path);
        if (!made)
            shortcut_failed(reporter, shortcut.name);
    }
}

// A shortcut that was not made is an error of the run: in the log, under the line of the call,
// in the count of the closing line, and told to the reporter.
void INSTALL_ENGINE::shortcut_failed(INSTALL_REPORTER* reporter, const char* name)
{
    char reason[ORLU_MAX_PATH * 2];
    if (!copy_text(reason, desktop_error_text()[0] ? desktop_error_text() : "the desktop refused it"))
        reason[sizeof reason - 1] = 0;
    append_to_log("Shortcut \"%s\" could not be made: %s\n", name, reason);
    count_error();
    reporter->shortcut_error(name, reason);
}

void INSTALL_ENGINE::stop(INSTALL_REPORTER* reporter, const char* text)
{
    m_stopped = true;
    m_counter = 0;
    release_globals();
    reporter->data_error(text);
}

// Where a destination text leads below the install root, for messages about a folder that could
// not be made: "$HERE/x" is the root's "x"; other texts are expanded as they stand.
void INSTALL_ENGINE::intended_path(const char* destination, const char* name, char* out, size_t size) const
{
    bool here = strncmp(destination, "$HERE", 5) == 0 && (destination[5] == 0 || destination[5] == '/');
    char folder[ORLU_MAX_PATH * 2];
    if (here)
        (void)format_text(folder, sizeof folder, "%s%s", m_install_root.path(), destination + 5);
    else
        (void)copy_text(folder, destination[0] ? expand_text(destination, nullptr) : m_install_root.path());
    if (!name || !join_path_text(out, size, folder, name))
        (void)copy_text(out, size, folder);
}

void INSTALL_ENGINE::close_run(DATABASE* database, INSTALL_REPORTER* reporter)
{
    clear_base_path();
    m_holds_base_path = false;
    reporter->finished(m_error_count);
    reporter->set_install_status(100, database->text(LANGUAGE_KEY::COMPLETE));
    ++m_counter;
    if (m_error_count)
        append_to_log("Installation completed with %d errors.\n", m_error_count);
    else
        append_to_log("Installation completed without any errors.\n");
    set_idle_wait(50);
    m_holds_idle_wait = false;
}

void INSTALL_ENGINE::step(DATABASE* database, INSTALL_REPORTER* reporter)
{
    if (reporter->question_open())
        return;
    if (database->current_page != PAGE_INSTALLING) {
        reset();
        return;
    }
    if (m_stopped)
        return;
    if (database->current_installation < 0 || database->current_installation >= database->installation_count)
        return;

    if (m_counter == 0) {
        open_run(database, reporter);
        return;
    }
    const INSTALLATION_RECORD& installation = database->installations[database->current_installation];
    if (m_counter < m_total) {
        INT_S32 index = m_counter - 1;
        bool usable = installation.files && index < installation.file_count;
        const FILE_RECORD* file = usable ? &installation.files[index] : nullptr;
        if (file && file->packed_name[0] && database->matches_platform(file->platform.c_str()))
            install_file(database, reporter, *file);
        ++m_counter;
        return;
    }
    if (m_counter == m_total) {
        make_shortcuts(database, reporter);
        ++m_counter;
        return;
    }
    if (m_counter == m_total + 1)
        close_run(database, reporter);
}
