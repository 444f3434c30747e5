// The parts of the display's life that the process end and the message box need: the input
// devices, the grabs of a full-screen window and the idle wait of the pump.

#include "host/display.h"
#include "host/host.h"
#include "host/linux/host_internal.h"

namespace {
INT_S32 idle_milliseconds = 50;
} // namespace

// No joystick is ever opened by this program, so there is no descriptor to close.
void host_close_input_devices() {}

void host_release_grabs()
{
    const DISPLAY_BACK_END* back_end = display_back_end();
    if (back_end && back_end->mode_switched())
        back_end->release_grabs();
}

void set_idle_wait(INT_S32 milliseconds) { idle_milliseconds = milliseconds < 0 ? 0 : milliseconds; }
INT_S32 idle_wait() { return idle_milliseconds; }

void host_end_of_run()
{
    host_close_display();
    host_close_input_devices();
}
