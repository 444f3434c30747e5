// The installer's application record: what the frame and the system report know of the program.

#include "frame/application_frame.h"
#include "installer/installer_icon.h"

extern const APPLICATION_RECORD installer_application_record;
const APPLICATION_RECORD installer_application_record = {
    "Installer 1.14", // app_name
    0,                // exit_message
    installer_icon_xpm,
    1000,             // psp_splash_time
    nullptr,          // psp_splash_imgs
    0,                // psp_flash_leds
    1,                // gp2x_joystick
    30,               // gp2x_mouse_rate
    1,                // gp2x_display_type
    100,              // windows_icon_id
    0,                // nds_console
    0,                // nds_memory_chk
    0,                // nds_rotated
    0,                // macos_show_about
    0,                // macos_show_preferences
    2,                // touch_mode: "2 Cursor Keys + Mouse Wheel"
    200,              // touch_decision_delay
    250,              // touch_drag_delay
    6,                // touch_mouse_wheel_step
    nullptr,          // touch_gesture_area
    static_cast<INT_S8>(ORLU_APP_BITS),
};
