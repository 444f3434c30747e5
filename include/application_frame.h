// The process frame: the program's main, the application record and the three callbacks that
// every application built on the framework supplies.
#pragma once

#include "orlu_types.h"

class DATA_FILE;

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

// Supplied by the application.
extern APPLICATION_RECORD application_record;
void application_start(INT_S16 argc, char** argv);
bool application_update();
void application_shutdown();
void application_reserved_a();
void application_reserved_b();

// Frame state that others read or set.
typedef bool (*SHUTDOWN_REQUEST_HANDLER)(INT_S32 reason);

extern char own_folder_path[ORLU_MAX_PATH];
extern char own_file_name[ORLU_MAX_PATH];
extern DATA_FILE* own_file;
extern volatile INT_U8 quit_requested;
extern char** environment;
extern char** arguments;

void set_shutdown_request_handler(SHUTDOWN_REQUEST_HANDLER handler);
SHUTDOWN_REQUEST_HANDLER shutdown_request_handler();

// Closes the window, the display and the input devices, prints
// "\nError, unable to continue...\n\n%s\n\n" when text is not null, and exits with status -1.
// With a null text it is also the way out of an early, successful end of the run.
[[noreturn]] void exit_with_error(const char* text);

// The signal side of the frame. The handler itself only records the signal; the rest (the trace
// line, the application's handler) runs from the main loop through handle_pending_signals,
// with the same outcome as if it had run in the handler.
void install_signal_handlers();
void handle_pending_signals();
void handle_signal_now(int signal_number);

// Runs the frame from the process entry to its end; answers the process status.
int run_application_frame(int argc, char** argv, char** envp);

// The stamp record that the packer writes into the executable, found behind a fixed marker
// (stamp.h). The marker's 33 bytes are not zero-terminated, and `stamp_marker` points at them
// inside the program's own stamp block, so that they occur once in the program.
constexpr int STAMP_MARKER_SIZE = 33;
extern const char* const stamp_marker;
// The frame's copy of the executable's stamp record, read at start-up; the unstamped record when
// the file has none or could not be read.
struct STAMP_RECORD;
extern STAMP_RECORD own_stamp;
