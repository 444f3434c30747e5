// The process frame: the application record and the three callbacks that every application
// built on the framework hands to run_application_frame from its main.
#pragma once

#include "base/orlu_types.h"
#include "io/process.h"

struct APPLICATION_RECORD {
    const char* app_name;
    INT_U8 exit_message;
    const char* const* linux_icon;
    INT_S32 psp_splash_time;
    const void* psp_splash_imgs;
    INT_U8 psp_flash_leds;
    INT_U8 gp2x_joystick;
    INT_S16 gp2x_mouse_rate;
    INT_U8 gp2x_display_type;
    INT_S16 windows_icon_id;
    INT_U8 nds_console;
    INT_U8 nds_memory_chk;
    INT_U8 nds_rotated;
    INT_U8 macos_show_about;
    INT_U8 macos_show_preferences;
    INT_U8 touch_mode;
    INT_S32 touch_decision_delay;
    INT_S32 touch_drag_delay;
    INT_S32 touch_mouse_wheel_step;
    const void* touch_gesture_area;
    INT_S8 app_bits;
};

// What an application gives the frame: its record and its callbacks. The frame keeps the pointer
// for the run; the application owns the record (usually a constant of its own).
struct APPLICATION {
    const APPLICATION_RECORD* record;
    void (*start)(INT_S16 argc, char** argv);
    bool (*update)();
    void (*shutdown)();
};

// The record of the application that runs, for the framework's own reports; null before
// run_application_frame, or set_application for tests that drive the frame's parts alone.
const APPLICATION_RECORD* running_application_record();
void set_application(const APPLICATION* application);

// Frame state that others read or set.
typedef bool (*SHUTDOWN_REQUEST_HANDLER)(INT_S32 reason);

extern volatile INT_U8 quit_requested;
extern char** environment;

void set_shutdown_request_handler(SHUTDOWN_REQUEST_HANDLER handler);
SHUTDOWN_REQUEST_HANDLER shutdown_request_handler();

// Closes the window, the display and the input devices, prints
// "\nError, unable to continue...\n\n%s\n\n" when text is not null, and exits with status -1.
// With a null text it is also the way out of an early, successful end of the run.
[[noreturn]] void exit_with_error(const char* text);
// Closes down as exit_with_error does, silently, and ends the process with `status`; for the
// tools of the program whose callers read the status (the unattended install).
[[noreturn]] void exit_with_status(INT_S32 status);

// The signal side of the frame. The handler itself only records the signal; the rest (the trace
// line, the application's handler) runs from the main loop through handle_pending_signals,
// with the same outcome as if it had run in the handler.
void install_signal_handlers();
void handle_pending_signals();
void handle_signal_now(int signal_number);
// SIGTERM is a polite question to the shutdown request handler, unless this is set: then it ends
// the run as SIGINT does, for runs with nobody to ask (the unattended install).
void set_terminate_quits(bool quits);

// Runs the frame from the process entry to its end with the given application; answers the
// process status. The application's main calls it and returns what it answers.
int run_application_frame(int argc, char** argv, char** envp, const APPLICATION& application);
