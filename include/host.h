// What the framework core asks of the host layer (host/linux). Nothing outside host/linux
// includes a system header for windows, processes or terminals; it calls these instead.
#pragma once

#include "orlu_types.h"

// Prints on standard output and flushes.
void host_print(const char* text);
void host_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Shows a message in a box outside any window, falling back to the console when no message
// program can run. Tools are started with an argument vector, never through a shell.
void message_box(const char* title, const char* text);
void show_system_message(const char* title, const char* text);

// Leaves any changed display mode, closes the display and the input devices, prints
// "\nError, unable to continue...\n\n%s\n\n" when text is not null, and exits with status -1.
[[noreturn]] void host_shutdown(const char* text);

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

// Splits a path as the user typed it into an absolute folder and the last name. A relative path
// is taken from the working folder. False when the folder part does not exist or the result
// would not fit ORLU_MAX_PATH.
bool host_split_user_path(const char* path, char* folder, size_t folder_size, char* name, size_t name_size);
