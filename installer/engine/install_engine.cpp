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
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/error_report.h"
#include "base/format.h"
#include "installer/engine/database.h"
#include "host/desktop.h"
#include "io/folder.h"
#include "host/host.h"
#include "host/host_files.h"
#include "host/host_threads.h"
#include "io/package.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] State
// ---------------------------------------------------------------------------------------------

namespace {

const char* const LOG_NAME = "install_log.txt";

// The system's reason for a failed folder or file, or what refused its text when no system call
// failed (errno 0).
const char* reason_of(int error)
{
    return error ? strerror(error) : "the path is refused (\"..\", an unknown variable or the file system root)";
}

} // namespace

INT_S32 install_writer_count()
{
    // Two writers beside the main thread were the fastest on two processors; on one processor
    // they would only take turns with the main thread.
    INT_S32 processors = host_processor_count();
    return processors < 2 ? 0 : 2;
}

INSTALL_ENGINE::~INSTALL_ENGINE()
{
    finish_files();
    release_globals();
    close_log();
    forget_file_folder();
}

// Every file read is placed and reported, and the writers end.
void INSTALL_ENGINE::finish_files()
{
    report_all(m_reporter);
    m_writers.stop();
}

void INSTALL_ENGINE::reset()
{
    finish_files();
    release_globals();
    close_log();
    m_log_folder.close();
    forget_file_folder();
    m_counter = 0;
    m_total = 0;
    m_stopped = false;
    m_data_failed = false;
}

// A wrapped count would read as "completed without any errors" after the 256th failure.
void INSTALL_ENGINE::count_error()
{
    if (m_error_count < 255)
        ++m_error_count;
}

// The data cannot be used: told once, and the run rests until it is reset.
void INSTALL_ENGINE::fail_data(INSTALL_REPORTER* reporter, const char* text)
{
    m_data_failed = true;
    m_counter = 0;
    release_globals();
    reporter->data_error(text);
}

void INSTALL_ENGINE::interrupt(const char* reason)
{
    if (m_counter <= 0 || done())
        return;
    // What the writers hold was read before the stop: it is placed and goes into the log.
    report_all(m_reporter);
    INT_S32 files_done = m_counter - 1 < m_total - 1 ? m_counter - 1 : m_total - 1;
    append_to_log("Installation interrupted by %s after %d of %d files, with %d errors.\n", reason, files_done,
        m_total - 1, m_error_count);
    reset();
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

// Every line goes to the log at once, with no buffer of ours, so that a crash leaves all that
// was written so far. The log the run made is held open from its header on: the lines go into
// that file whatever is put at its name meanwhile, and a link put there is never followed. Without
// that descriptor (the log could not be made) each line opens the log by its name and gives up
// when it is gone or a link. Paths are written as their bytes stand.
void INSTALL_ENGINE::append_to_log(const char* format, ...) const
{
    if (!m_log_folder.is_open())
        return;
    char line[ORLU_MAX_PATH * 4];
    va_list args;
    va_start(args, format);
    int length = vsnprintf(line, sizeof line, format, args);
    va_end(args);
    if (length < 0)
        return;
    size_t size = static_cast<size_t>(length) < sizeof line ? static_cast<size_t>(length) : sizeof line - 1;
    if (m_log_descriptor >= 0)
        (void)host_write_descriptor(m_log_descriptor, line, size);
    else
        (void)m_log_folder.append(LOG_NAME, line, size);
}

void INSTALL_ENGINE::close_log()
{
    if (m_log_descriptor >= 0)
        host_close_descriptor(m_log_descriptor);
    m_log_descriptor = -1;
}

// The header is written as a new file and renamed over the old log, so a link planted under the
// log's name is replaced rather than followed.
bool INSTALL_ENGINE::write_log_header(const DATABASE& database)
{
    char header[ORLU_MAX_PATH * 4];
    int length = snprintf(header, sizeof header,
        "Installed Files\n---------------\n\nLanguage: %s\nSettings: %d %d %s\n%s\n",
        database.text(LANGUAGE_KEY::LANGUAGE_TITLE), static_cast<int>(database.installation_id),
        database.use_system_paths, database.install_path, database.desktop_check_text);
    if (length < 0)
        return false;
    size_t size = static_cast<size_t>(length) < sizeof header ? static_cast<size_t>(length) : sizeof header - 1;
    return m_log_folder.place_bytes(LOG_NAME, header, size);
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
    // Destination texts are relative to the install root, which a new run may have moved.
    forget_file_folder();
    if (!database->system_info.system_folders || !installation.allow_system_paths)
        database->use_system_paths = 0;
    if (installation.file_count < 0 || installation.file_count > INSTALL_ENGINE_MAX_FILES) {
        char text[160];
        (void)format_text(text, sizeof text, "the install type has %d files; a run can count at most %d",
            installation.file_count, INSTALL_ENGINE_MAX_FILES);
        fail_data(reporter, text);
        return;
    }
    m_total = installation.file_count + 1;

    if (!database->members()) {
        PACKAGE* package = new (std::nothrow) PACKAGE(database->data_folder, "installer.pkg", false, 0, false, true);
        if (!package || !package->is_open()) {
            // Trying again every frame would change nothing and tell nobody.
            char text[ORLU_MAX_PATH + 200];
            (void)format_text(text, sizeof text, "the installation data cannot be opened: %s",
                package ? last_error_text() : "no memory");
            delete package;
            fail_data(reporter, text);
            return;
        }
        database->package = package;
    }
    m_counter = 1;
    (void)m_writers.start(m_writers_wanted);
    reporter->set_install_status(0, database->text(LANGUAGE_KEY::INSTALLING_STRING));

    // From here until the closing step, "$APP" and the variables that hang on it are the
    // install root.
    FOLDER application("$app");
    set_base_path(&application, database->app_string);
    m_holds_base_path = true;
    m_install_root = application;
    errno = 0;
    bool root_ok = database->use_system_paths
        ? m_install_root.set("$SYSAPP", false, nullptr, true, true)
        : m_install_root.set(database->install_path, true, nullptr, true);
    int root_reason = errno;
    set_base_path(&m_install_root, database->app_string);

    m_allow_file_system_root = installation.allow_system_paths != 0;
    m_swept.clear();
    bool system_log = database->log_system_dest_path[0] && database->use_system_paths;
    errno = 0;
    bool log_ok = root_ok
        && m_log_folder.open(system_log ? database->log_system_dest_path : database->log_dest_path, m_install_root,
            true, system_log, system_log, m_allow_file_system_root);
    int log_reason = errno;
    if (!root_ok || !log_ok) {
        // Which folder it was, as the user would look for it, and why.
        char folder[ORLU_MAX_PATH * 2];
        if (!root_ok)
            (void)copy_text(folder, database->use_system_paths ? m_install_root.path() : expand_text(database->install_path, nullptr));
        else
            (void)copy_text(folder, m_log_folder.path());
        m_log_folder.close();
        clear_base_path();
        m_holds_base_path = false;
        reporter->folder_error(folder, reason_of(root_ok ? log_reason : (root_reason ? root_reason : ENOENT)));
        return;
    }
    m_swept.sweep(m_log_folder);
    close_log();
    if (!write_log_header(*database)) {
        char path[ORLU_MAX_PATH * 2];
        m_log_folder.path_of(LOG_NAME, path, sizeof path);
        reporter->log_error(path);
        return;
    }
    // The log just made stays open for the run's lines.
    m_log_descriptor = host_open_append_at(m_log_folder.descriptor(), LOG_NAME);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] One file
// ---------------------------------------------------------------------------------------------

void INSTALL_ENGINE::install_file(DATABASE* database, INSTALL_REPORTER* reporter, const FILE_RECORD& file)
{
    bool system_destination = file.system_dest_path_from_inst_loc[0] && database->use_system_paths;
    const char* destination = system_destination ? file.system_dest_path_from_inst_loc : file.dest_path_from_inst_loc;
    const char* name = file.destination_name();
    DESTINATION_FOLDER& folder = m_file_folder;
    bool threaded = m_writers.writer_count() > 0;
    errno = 0;
    bool folder_ok = open_file_folder(reporter, destination);
    char reason[ORLU_MAX_PATH + 200] = "";
    if (!folder_ok)
        (void)format_text(reason, sizeof reason, "its folder cannot be made: %s", reason_of(errno));
    if (folder_ok && !is_plain_name(name)) {
        folder_ok = false;
        (void)copy_text(reason, "its name is no plain file name");
    }
    INT_S32 percent = m_counter * 100 / m_total;

    INSTALL_RESULT result = INSTALL_INSTALLED;
    HELD_MEMBER held;
    bool hold = false;
    if (folder_ok) {
        m_swept.sweep(folder);
        // A writer still holding a file of the same name places it first: the overwrite rules
        // see it, and the later record wins.
        if (threaded) {
            INT_U32 through = m_writers.pending_destination(m_file_folder_device, m_file_folder_inode, name);
            if (through)
                report_files(reporter, through, true);
        }
        // Only the other rules look at what stands at the name now.
        bool wanted = true;
        HOST_FILE_INFO info;
        bool present = file.overwrite != OVERWRITE_ALWAYS && folder.entry_info(name, &info);
        if (file.overwrite == OVERWRITE_WHEN_ABSENT)
            wanted = !present;
        else if (file.overwrite == OVERWRITE_WHEN_OLDER && present)
            wanted = static_cast<INT_S64>(database->data_time) > static_cast<INT_S64>(info.modified);
        // Every installed file becomes executable, data files too; the set-user-id bits only
        // where the record asks for them. The mode is set before the file takes its name.
        INT_U32 mode = file.switch_user ? 06755 : 0755;
        if (!wanted) {
            result = INSTALL_SKIPPED;
        } else {
            set_last_error(ERROR_NONE, nullptr);
            errno = 0;
            PLACE_RESULT placed;
            if (threaded) {
                m_writers.wait_for_room(PLACE_JOB_MOST);
                placed = folder.hold_member(database->members(), file.packed_name, name, mode, PLACE_JOB_MOST, &held);
            } else {
                placed = folder.place_member(database->members(), file.packed_name, name, mode);
            }
            if (placed == PLACE_STOPPED) {
                // Cut off by a signal: the file stays as it was, and this step is not done. The
                // files before it are told first, then its status line, as when it was begun.
                free(held.bytes);
                report_all(reporter);
                char status[ORLU_MAX_PATH * 2];
                install_status_text(destination, name, status, sizeof status);
                reporter->set_install_status(percent, status);
                m_stopped = true;
                return;
            }
            if (placed == PLACE_HELD) {
                hold = true;
            } else if (placed != PLACE_DONE) {
                result = INSTALL_FAILED;
                (void)copy_text(reason, last_error_code() != ERROR_NONE ? last_error_text() : reason_of(errno ? errno : EIO));
            }
        }
    } else {
        result = INSTALL_FAILED;
    }

    if (!hold) {
        free(held.bytes);
        held = HELD_MEMBER();
    }
    FILE_TICKET* ticket = claim_ticket(reporter);
    if (!ticket) {
        free(held.bytes);
        return;
    }
    ticket->file = &file;
    ticket->destination = destination;
    ticket->name = name;
    ticket->percent = percent;
    ticket->result = result;
    // The full path of the file; when its folder could not be made, the path it was meant for.
    folder.path_of(name, ticket->path, sizeof ticket->path);
    (void)copy_text(ticket->reason, reason);
    if (!hold) {
        FILE_WRITERS::settle(ticket);
        return;
    }
    ticket->mode = file.switch_user ? 06755 : 0755;
    ticket->bytes = held.bytes;
    ticket->size = held.size;
    ticket->held = held.capacity;
    ticket->device = m_file_folder_device;
    ticket->inode = m_file_folder_inode;
    SHARED_FOLDER* shared = shared_file_folder();
    if (shared) {
        shared->retain();
        ticket->folder = shared;
        ticket->descriptor = shared->descriptor();
        m_writers.submit(ticket);
    } else {
        // No descriptor to spare for a writer: the file is placed here.
        ticket->descriptor = folder.descriptor();
        FILE_WRITERS::write_here(ticket);
    }
}

// A ticket for the file in hand; when the ring is full, the oldest files are reported first.
FILE_TICKET* INSTALL_ENGINE::claim_ticket(INSTALL_REPORTER* reporter)
{
    FILE_TICKET* ticket = m_writers.claim();
    while (!ticket && !m_writers.empty()) {
        report_files(reporter, 1, true);
        ticket = m_writers.claim();
    }
    return ticket;
}

SHARED_FOLDER* INSTALL_ENGINE::shared_file_folder()
{
    if (!m_shared_folder)
        m_shared_folder = SHARED_FOLDER::copy_of(m_file_folder);
    return m_shared_folder;
}

// One file's outcome, as a file step without writers tells it at once.
void INSTALL_ENGINE::report(INSTALL_REPORTER* reporter, FILE_TICKET* ticket)
{
    if (!ticket->file) {
        // The record itself is missing: the install type is not whole.
        count_error();
        return;
    }
    INSTALL_RESULT result = static_cast<INSTALL_RESULT>(ticket->result);
    char reason[ORLU_MAX_PATH + 200];
    (void)copy_text(reason, ticket->reason);
    if (ticket->queued && !ticket->placed) {
        result = INSTALL_FAILED;
        (void)copy_text(reason, new_file_reason(ticket->system_error, ticket->write_failed));
    }
    char status[ORLU_MAX_PATH * 2];
    install_status_text(ticket->destination, ticket->name, status, sizeof status);
    reporter->set_install_status(ticket->percent, status);
    const char* path = ticket->path;
    switch (result) {
    case INSTALL_INSTALLED: append_to_log("Installed \"%s\"\n", path); break;
    case INSTALL_FAILED: append_to_log("\"%s\" failed to unpack (%s)\n", path, ticket->file->packed_name); break;
    case INSTALL_SKIPPED: append_to_log("Skipped \"%s\"\n", path); break;
    }
    reporter->file_done(path, result);
    if (result == INSTALL_FAILED) {
        count_error();
        reporter->file_failed(path, reason);
    }
}

// Reports up to `most` files from the oldest on. Without `wait` only those finished, and none
// while the reporter has a question open; with it, each is waited for.
void INSTALL_ENGINE::report_files(INSTALL_REPORTER* reporter, INT_U32 most, bool wait)
{
    for (INT_U32 reported = 0; reported < most; ++reported) {
        if (m_writers.empty() || (!wait && reporter->question_open()))
            return;
        FILE_TICKET* ticket = m_writers.head(wait);
        if (!ticket)
            return;
        report(reporter, ticket);
        m_writers.pop();
    }
}

void INSTALL_ENGINE::report_all(INSTALL_REPORTER* reporter)
{
    if (!m_writers.empty())
        report_files(reporter, 0xFFFFFFFFu, true);
}

// The folder of the file in hand. Files come folder by folder, so the folder of the file before
// is kept open and taken again for the same destination text: its descriptor was opened without
// following a link, and stays on that folder whatever happens to its path meanwhile.
bool INSTALL_ENGINE::open_file_folder(INSTALL_REPORTER* reporter, const char* destination)
{
    if (m_file_folder.is_open() && m_file_folder_text && strcmp(m_file_folder_text, destination) == 0)
        return true;
    forget_file_folder();
    // A folder is made where a writer may still be about to place a file of the same name:
    // that file comes first, as it does in the files' order.
    for (const char* at = destination; *at && !m_writers.empty();) {
        while (*at == '/')
            ++at;
        size_t length = strcspn(at, "/");
        if (length && m_writers.pending_name(at, length))
            report_all(reporter);
        at += length;
    }
    errno = 0; // the reason of a failure below is the folder's alone
    if (!m_file_folder.open(destination, m_install_root, true, false, false, m_allow_file_system_root))
        return false;
    m_file_folder_text = destination;
    if (!host_folder_identity(m_file_folder.descriptor(), &m_file_folder_device, &m_file_folder_inode)) {
        m_file_folder_device = 0;
        m_file_folder_inode = 0;
    }
    return true;
}

void INSTALL_ENGINE::forget_file_folder()
{
    m_file_folder.close();
    m_file_folder_text = nullptr;
    if (m_shared_folder)
        m_shared_folder->release();
    m_shared_folder = nullptr;
}

// A file of this machine's platform that the data set does not hold.
void INSTALL_ENGINE::fail_missing_file(DATABASE* database, INSTALL_REPORTER* reporter, const FILE_RECORD& file)
{
    bool system_destination = file.system_dest_path_from_inst_loc[0] && database->use_system_paths;
    const char* destination = system_destination ? file.system_dest_path_from_inst_loc : file.dest_path_from_inst_loc;
    FILE_TICKET* ticket = claim_ticket(reporter);
    if (!ticket)
        return;
    ticket->file = &file;
    ticket->destination = destination;
    ticket->name = file.destination_name();
    ticket->percent = m_counter * 100 / m_total;
    ticket->result = INSTALL_FAILED;
    DESTINATION_FOLDER folder;
    (void)folder.open(destination, m_install_root, false, false, false, m_allow_file_system_root);
    folder.path_of(ticket->name, ticket->path, sizeof ticket->path);
    (void)copy_text(ticket->reason, "the installation data does not hold it");
    FILE_WRITERS::settle(ticket);
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
    finish_files();
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
    (void)copy_text(reason, desktop_error_text()[0] ? desktop_error_text() : "the desktop refused it");
    append_to_log("Shortcut \"%s\" could not be made: %s\n", name, reason);
    count_error();
    reporter->shortcut_error(name, reason);
}

void INSTALL_ENGINE::close_run(DATABASE* database, INSTALL_REPORTER* reporter)
{
    finish_files();
    clear_base_path();
    m_holds_base_path = false;
    reporter->finished(m_error_count);
    reporter->set_install_status(100, database->text(LANGUAGE_KEY::COMPLETE));
    ++m_counter;
    if (m_error_count)
        append_to_log("Installation completed with %d errors.\n", m_error_count);
    else
        append_to_log("Installation completed without any errors.\n");
    close_log();
    m_log_folder.close();
    forget_file_folder();
    set_idle_wait(50);
    m_holds_idle_wait = false;
}

void INSTALL_ENGINE::step(DATABASE* database, INSTALL_REPORTER* reporter)
{
    m_reporter = reporter;
    if (reporter->question_open())
        return;
    if (database->current_page != PAGE_INSTALLING) {
        reset();
        return;
    }
    if (m_data_failed)
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
        m_stopped = false;
        if (file && database->matches_platform(file->platform.c_str())) {
            if (file->packed_name[0])
                install_file(database, reporter, *file);
            else
                fail_missing_file(database, reporter, *file);
        } else if (!file) {
            // The record itself is missing: counted in its turn.
            FILE_TICKET* ticket = claim_ticket(reporter);
            if (ticket)
                FILE_WRITERS::settle(ticket);
            else
                count_error();
        }
        if (!m_stopped)
            ++m_counter;
        // The files finished so far are told; after the last one, all of them, before the
        // shortcuts.
        if (m_counter == m_total)
            report_all(reporter);
        else
            report_files(reporter, 0xFFFFFFFFu, false);
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
