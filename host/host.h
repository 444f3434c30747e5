// What the framework core asks of the host layer (host/linux). Nothing outside host/linux
// includes a system header for windows, processes or terminals; it calls these instead.
#pragma once

#include "base/orlu_types.h"

// Sends the reports of base (debug streams, warnings, fatal errors: base/report_output.h) to this
// host: console text on standard output, message boxes through message_box, the fatal end
// through host_shutdown, time stamps from time_stamp_now. The frame calls it first thing; a
// program without the frame calls it at the top of its main. Calling it again does no harm.
void host_attach_reports();

// Prints on standard output and flushes.
void host_print(const char* text);
void host_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Prints on standard error and flushes.
void host_print_error(const char* text);

// Shows a message in a box outside any window, falling back to the console when no message
// program can run. Tools are started with an argument vector, never through a shell.
void message_box(const char* title, const char* text);
void show_system_message(const char* title, const char* text);

// Leaves any changed display mode, closes the display and the input devices, prints
// "\nError, unable to continue...\n\n%s\n\n" when text is not null, and exits with status -1.
[[noreturn]] void host_shutdown(const char* text);
// The same shutdown, silent, ending the process with the given status.
[[noreturn]] void host_exit(INT_S32 status);

// True when the standard stream (1 output, 2 error) is a terminal, so that tools show progress
// lines only to a person watching.
[[nodiscard]] bool host_is_terminal(INT_S32 stream);

// Milliseconds of process clock: times() scaled by the clock tick.
INT_U32 milliseconds_now();

// "%s, %02d %s %04d %02d:%02d:%02d GMT" of now, in a shared buffer.
const char* time_stamp_now();

// Drains pending window events into the input state, waiting up to the idle time when nothing
// on screen changed.
void host_pump_events();
// After the application's shutdown: closes the window and the display, frees cursors and the
// host's devices.
void host_end_of_run();

// Lines for the platform's debug stream ("ORLU Platform"). The frame hands the host a sink that
// writes to that stream when it opens its window; until then the lines are dropped.
typedef void (*HOST_TRACE_SINK)(const char* text);
void set_host_trace_sink(HOST_TRACE_SINK sink);
void host_trace(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Splits a path as the user typed it into an absolute folder and the last name. A relative path
// is taken from the working folder. False when the folder part does not exist or the result
// would not fit ORLU_MAX_PATH.
bool host_split_user_path(const char* path, char* folder, size_t folder_size, char* name, size_t name_size);

// The working folder of the process. False when it cannot be told or does not fit.
bool host_working_folder(char* out, size_t size);

// How long the event pump may sleep when nothing on screen changed: 50 milliseconds normally,
// 0 while files are being installed so that the loop does not wait between them.
void set_idle_wait(INT_S32 milliseconds);
[[nodiscard]] INT_S32 idle_wait();

// Signals. The handler the host installs for `signals` records each one as pending and calls
// `on_signal` (which may only set flags: it runs inside the handler); the main loop takes them
// one at a time, lowest first, with host_take_pending_signal, which answers 0 when none is left.
// A file that reaches the size limit is a failed write to report, not a reason to die, so SIGXFSZ
// is ignored from then on.
void host_catch_signals(const int* signals, INT_S32 count, void (*on_signal)(int signal_number));
[[nodiscard]] int host_take_pending_signal();

// A stop of the run, asked for by a signal that ends it. Every long loop (checking, unpacking,
// walking a package, extracting, packing) looks at host_stop_requested and gives up with a
// failure, so that its caller's usual clean-up runs and the run ends soon. host_request_stop may
// be called inside a signal handler; the first signal is kept.
void host_request_stop(int signal_number);
[[nodiscard]] bool host_stop_requested();
// The signal that asked for the stop, 0 when none did.
[[nodiscard]] int host_stop_signal();
void host_clear_stop();
// "SIGINT", "SIGTERM", ...; "signal N" for others (shared buffer).
const char* host_signal_name(int signal_number);

// The full path of the running executable, through the link the system keeps for it, or, where
// /proc is not mounted (a bare chroot, a stripped-down container), the program's first argument
// as host_note_program_argument found it at start. False when neither gives a path that fits.
[[nodiscard]] bool host_executable_path(char* out, size_t size);

// Called once at start with argv[0]: resolves it now, while the working folder and PATH are
// still the ones the program was started with, for host_executable_path to fall back on.
void host_note_program_argument(const char* argument);

// How a shell found the program named `argument`: a name with a slash is taken from the
// working folder, a bare name is looked for in the folders of `search_path` (":"-separated, an
// empty entry being the working folder; null: nowhere) as the first executable regular file of
// that name.
// Answers the real absolute path, links resolved. False when there is none or it does not fit.
[[nodiscard]] bool host_resolve_program_argument(const char* argument, const char* search_path, char* out, size_t size);
