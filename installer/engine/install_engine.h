// The file installation engine: one small piece of work per call, so that the wizard's frame
// loop keeps the window alive while files are extracted. A run goes through four stages:
//
//   counter      stage       what one step does
//   0            rest        opens the run: system paths, package, install root, log header
//   1 .. T-1     files       the file with index counter - 1 (T is file_count + 1)
//   T            shortcuts   every shortcut of the install type
//   T+1          closing     the log's last line, the reporter's finished()
//   above T+1    done        nothing, until the page changes or reset()
//
// The engine is an object its caller owns: the unattended run drives it to the end in a loop,
// the wizard one step per frame. Between its opening and its closing step a run holds two pieces
// of global state, the base path of the path variables ("$APP" is the install root) and the
// pump's idle wait; a run that is abandoned (reset, the page left, the object destroyed) gives
// both back.
//
// Files and the log are written through DESTINATION_FOLDER (file_placer.h): below the folder of
// their path variable no link is followed, and each file appears whole or not at all. A file of
// the install type that the data set does not hold (a record never packed) counts as failed, so
// that a run which did not install every file never reports success.
//
// A run may place its files on writer threads (set_writers; file_writers.h): a file step then
// reads the member and hands a small file to a writer, and each file is reported (status line,
// log line, file_done, file_failed, the error count) a few steps later, in the files' order and
// with the same texts. Every file is reported before the shortcuts, and before reset(),
// interrupt() or the destructor return, to the reporter of the last step, which must outlive
// them. Without writers each file step reports its own file.
#pragma once

#include "base/orlu_types.h"
#include "installer/engine/file_placer.h"
#include "installer/engine/file_writers.h"
#include "io/folder.h"

class DATABASE;
struct FILE_RECORD;

// What a file's turn came to.
enum INSTALL_RESULT : INT_S32 {
    INSTALL_INSTALLED = 0,
    INSTALL_SKIPPED = 1,
    INSTALL_FAILED = 2,
};

// How the engine speaks to the person at the machine: the wizard's install dialog, or the
// console of an unattended run.
class INSTALL_REPORTER {
public:
    virtual ~INSTALL_REPORTER() = default;

    // True while a question is open; the run waits for the answer.
    [[nodiscard]] virtual bool question_open() const { return false; }
    // The progress line: a percentage and a text (a path beginning with "/" or a language text).
    virtual void set_install_status(INT_S32 percent, const char* text) = 0;
    // The install folder or the log folder cannot be made.
    virtual void path_error() = 0;
    // The same with the folder that was asked for and the system's reason (strerror); the engine
    // calls this one, which tells path_error unless a reporter says more.
    virtual void folder_error(const char* folder, const char* reason)
    {
        (void)folder;
        (void)reason;
        path_error();
    }
    // The log cannot be created at `path`; the run goes on without it if the user agrees.
    virtual void log_error(const char* path) = 0;
    // A file could not be installed at `path`.
    virtual void file_error(const char* path) = 0;
    // The same with the reason: the folder's, the package's or the system's. The engine calls
    // this one, which tells file_error unless a reporter says more.
    virtual void file_failed(const char* path, const char* reason)
    {
        (void)reason;
        file_error(path);
    }
    // Every file's outcome, with its full destination path.
    virtual void file_done(const char* path, INSTALL_RESULT result) { (void)path; (void)result; }
    // A shortcut or menu entry named `name` could not be made, for `reason`. The run goes on; the
    // failure is in the log and in the run's error count.
    virtual void shortcut_error(const char* name, const char* reason)
    {
        (void)name;
        (void)reason;
    }
    // The installation data cannot be used (the package does not open, or the install type has
    // more files than a run can count). Told once; the run then rests until it is reset.
    virtual void data_error(const char* text) { (void)text; }
    // The end of the run: the wizard changes its buttons.
    virtual void finished(INT_S32 error_count) = 0;
};

// The most files one install type may have: every file a data set can name (its counts are 16-bit).
constexpr INT_S32 INSTALL_ENGINE_MAX_FILES = 0x7FFF;

class INSTALL_ENGINE {
public:
    INSTALL_ENGINE() = default;
    // Gives back the global state of a run that was not closed.
    ~INSTALL_ENGINE();
    INSTALL_ENGINE(const INSTALL_ENGINE&) = delete;
    INSTALL_ENGINE& operator=(const INSTALL_ENGINE&) = delete;

    // Works the next piece of the installation of the database's current install type. Does
    // nothing while the reporter has a question open, and nothing but a reset unless the
    // current page is the installing page: leaving that page puts the run back to rest.
    void step(DATABASE* database, INSTALL_REPORTER* reporter);
    // Puts the machine back to rest (a new run starts over).
    void reset();
    // The writer threads of the next run: 0 (the default) places every file on the calling
    // thread, as a frame-driven caller wants; see install_writer_count. A run whose threads
    // cannot be started places its files on the calling thread.
    void set_writers(INT_S32 count) { m_writers_wanted = count; }
    // The writers the run in hand uses.
    [[nodiscard]] INT_S32 writers() const { return m_writers.writer_count(); }
    // Ends a run that a signal interrupted (`reason`, "SIGINT" say): the log gets a last line
    // that says so, the global state goes back, and the machine rests. Nothing when no run is
    // open.
    void interrupt(const char* reason);

    // Where the run stands: 0 at rest, 1 to total() + 1 while working, above that when done.
    [[nodiscard]] INT_S32 counter() const { return m_counter; }
    // The install type's file_count plus 1, from the opening step on.
    [[nodiscard]] INT_S32 total() const { return m_total; }
    // Files and shortcuts that failed so far in this run; it stays at 255 rather than wrap.
    [[nodiscard]] INT_U8 error_count() const { return m_error_count; }
    [[nodiscard]] bool at_rest() const { return m_counter == 0; }
    [[nodiscard]] bool done() const { return m_counter > m_total + 1; }
    // True when the last file step was cut off by a stop of the run (the file is left as it
    // was; a later step tries it again).
    [[nodiscard]] bool stopped() const { return m_stopped; }
    // True once data_error was told: the run rests until it is reset or the page changes.
    [[nodiscard]] bool data_failed() const { return m_data_failed; }

private:
    void open_run(DATABASE* database, INSTALL_REPORTER* reporter);
    void install_file(DATABASE* database, INSTALL_REPORTER* reporter, const FILE_RECORD& file);
    void report(INSTALL_REPORTER* reporter, FILE_TICKET* ticket);
    void report_files(INSTALL_REPORTER* reporter, INT_U32 most, bool wait);
    void report_all(INSTALL_REPORTER* reporter);
    void finish_files();
    FILE_TICKET* claim_ticket(INSTALL_REPORTER* reporter);
    SHARED_FOLDER* shared_file_folder();
    void make_shortcuts(DATABASE* database, INSTALL_REPORTER* reporter);
    void close_run(DATABASE* database, INSTALL_REPORTER* reporter);
    void fail_missing_file(DATABASE* database, INSTALL_REPORTER* reporter, const FILE_RECORD& file);
    bool set_relative(FOLDER* folder, const char* text, bool create, bool create_variable, bool no_fallback) const;
    bool shortcut_folder(const DATABASE& database, const char* system_text, const char* text, FOLDER* folder) const;
    bool write_log_header(const DATABASE& database);
    void append_to_log(const char* format, ...) const __attribute__((format(printf, 2, 3)));
    void release_globals();
    void count_error();
    void shortcut_failed(INSTALL_REPORTER* reporter, const char* name);
    void fail_data(INSTALL_REPORTER* reporter, const char* text);
    bool open_file_folder(INSTALL_REPORTER* reporter, const char* destination);
    void close_log();
    void forget_file_folder();

    // 32 bits: an install type of 32767 files (the most a data set holds) has a total of 32768.
    INT_S32 m_counter { 0 };
    INT_S32 m_total { 0 };
    INT_U8 m_error_count { 0 };
    bool m_stopped { false };
    bool m_data_failed { false };
    bool m_allow_file_system_root { false };
    // The base path and the idle wait are ours until the closing step gives them back.
    bool m_holds_base_path { false };
    bool m_holds_idle_wait { false };
    FOLDER m_install_root;
    // Open for the run, so that every line goes into the folder the header went into.
    DESTINATION_FOLDER m_log_folder;
    int m_log_descriptor { -1 }; // the log made by this run, open for appending
    // The folder of the last file and the destination text it was opened for (a text of the
    // database's records, which outlive the run).
    DESTINATION_FOLDER m_file_folder;
    const char* m_file_folder_text { nullptr };
    // Its identity, and a copy of its descriptor that jobs keep (made at its first job).
    INT_U64 m_file_folder_device { 0 };
    INT_U64 m_file_folder_inode { 0 };
    SHARED_FOLDER* m_shared_folder { nullptr };
    FOLDER_SWEEPER m_swept;
    // The files read and not yet reported, and the threads that place them.
    FILE_WRITERS m_writers;
    INT_S32 m_writers_wanted { 0 };
    INSTALL_REPORTER* m_reporter { nullptr }; // of the last step
};

// The writer threads for an unattended install on this machine.
[[nodiscard]] INT_S32 install_writer_count();

// The text shown for a destination: "%s%s%s" of the destination folder's text, "/" unless it
// ends in one, and the name; a text that begins with "$" is shown from its first "/" on.
void install_status_text(const char* destination, const char* name, char* out, size_t size);
