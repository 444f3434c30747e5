// The file installation engine: one small piece of work per call, so that the wizard's frame
// loop keeps the window alive while files are extracted. A run goes through four stages:
// opening (folders and the log header), one file per call, the shortcuts, and closing.
#pragma once

#include "base/orlu_types.h"

class DATABASE;

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
    // The log cannot be created at `path`; the run goes on without it if the user agrees.
    virtual void log_error(const char* path) = 0;
    // A file could not be installed at `path`.
    virtual void file_error(const char* path) = 0;
    // Every file's outcome, with its full destination path.
    virtual void file_done(const char* path, INSTALL_RESULT result) { (void)path; (void)result; }
    // The end of the run: the wizard changes its buttons.
    virtual void finished(INT_S32 error_count) = 0;
};

// Works the next piece of the installation of the database's current install type. Does
// nothing unless the current page is the installing page; leaving that page resets the run.
void install_step(DATABASE* database, INSTALL_REPORTER* reporter);

// Where the run stands: 0 at rest, 1 to file_count + 1 while working, above that when done.
[[nodiscard]] INT_S16 install_step_counter();
[[nodiscard]] INT_S16 install_step_total();
[[nodiscard]] INT_U8 install_error_count();
// Puts the machine back to rest (a new run starts over).
void reset_install_steps();

// The text shown for a destination: "%s%s%s" of the destination folder's text, "/" unless it
// ends in one, and the name; a text that begins with "$" is shown from its first "/" on.
void install_status_text(const char* destination, const char* name, char* out, size_t size);
