// The X display connection of the host layer. The window itself is opened by the display code;
// until a window is open these have nothing to release.

#include "host/linux/host_internal.h"

void host_close_display() {}
void host_close_input_devices() {}
void host_release_grabs() {}

#include "host/host.h"

namespace {
INT_S32 idle_milliseconds = 50;
} // namespace

void set_idle_wait(INT_S32 milliseconds) { idle_milliseconds = milliseconds < 0 ? 0 : milliseconds; }
INT_S32 idle_wait() { return idle_milliseconds; }

void host_pump_events() {}

void host_end_of_run()
{
    host_close_display();
    host_close_input_devices();
}
