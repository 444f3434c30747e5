// Where the reports of base go: the console lines of debug streams and debug messages, the boxes
// of warnings and fatal errors, the end of the process after a fatal error, and the time stamps
// of stream lines.
//
// base sees nothing of the system it runs on, so it calls these through a table. The host hands
// over its own functions (host_attach_reports in host/host.h) before anything can report: the
// frame does it first thing, and every program without the frame (the packer, the tests, the
// benchmarks) calls it at the top of its main. Until then, or in a program that never links the
// host, the defaults use standard C only:
//  - print writes to standard error and flushes;
//  - message_box shows the title and the text on the console through print, starred as the
//    host's console fallback shows a box, and returns without waiting for the user;
//  - shutdown prints "\nError, unable to continue...\n\n<text>\n\n" through print and exits with
//    status -1;
//  - time_stamp formats the current time as "Mon, 23 Nov 2026 08:09:27 GMT".
#pragma once

#include <cstdarg>

struct REPORT_OUTPUT {
    // Console text formatted as vprintf does, flushed at once.
    void (*print)(const char* format, va_list args);
    // A box with a title and a text; returns when the user has closed it.
    void (*message_box)(const char* title, const char* text);
    // Ends the process after a fatal error, telling the user `text` when it is not null. Should
    // not return; if it does, the process exits with status -1 all the same.
    void (*shutdown)(const char* text);
    // The current time as "Mon, 23 Nov 2026 08:09:27 GMT", in a buffer the next call overwrites.
    const char* (*time_stamp)();
};

// Sends the reports to `output` from now on; null goes back to the defaults, and so does each
// null entry. The table is not copied: it must stay valid for the rest of the run. Called at
// start, before other threads run.
void set_report_output(const REPORT_OUTPUT* output);

// What base calls; each goes through the table in force.
void report_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
void report_message_box(const char* title, const char* text);
[[noreturn]] void report_shutdown(const char* text);
const char* report_time_stamp();
