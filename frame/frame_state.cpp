// Frame state shared with the application and the host layer, the way out of the process, and
// the signal handling of the main loop.

#include <csignal>

#include "frame/application_frame.h"
#include "base/debug_stream.h"
#include "host/host.h"
#include "io/stamp.h"

volatile INT_U8 quit_requested = 0;
char** environment = nullptr;

namespace {
SHUTDOWN_REQUEST_HANDLER request_handler = nullptr;
volatile sig_atomic_t terminate_quits = 0;

constexpr int handled_signals[] = { SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGPIPE, SIGTERM, SIGWINCH };

bool enforces_quit(int signal_number)
{
    return signal_number == SIGHUP || signal_number == SIGINT || signal_number == SIGQUIT
        || signal_number == SIGABRT || signal_number == SIGPIPE || (signal_number == SIGTERM && terminate_quits);
}

// Runs inside the signal handler: only the quit flag and the host's stop request may be touched
// here; the host keeps the signal pending for the main loop. The stop request reaches the long
// loops of the layers below at once, before the main loop comes round again.
void on_signal(int signal_number)
{
    if (enforces_quit(signal_number)) {
        quit_requested = 1;
        host_request_stop(signal_number);
    }
}
} // namespace

void set_terminate_quits(bool quits) { terminate_quits = quits ? 1 : 0; }

void set_shutdown_request_handler(SHUTDOWN_REQUEST_HANDLER handler) { request_handler = handler; }
SHUTDOWN_REQUEST_HANDLER shutdown_request_handler() { return request_handler; }

void exit_with_error(const char* text)
{
    host_shutdown(text);
}

void exit_with_status(INT_S32 status)
{
    host_exit(status);
}

void install_signal_handlers()
{
    host_catch_signals(handled_signals, static_cast<INT_S32>(sizeof handled_signals / sizeof handled_signals[0]), on_signal);
}

void handle_signal_now(int signal_number)
{
    debug_printf(&platform_debug, "Signal %d received...\n", signal_number);
    if (enforces_quit(signal_number)) {
        quit_requested = 1;
        if (request_handler)
            request_handler(-1);
        debug_printf(&platform_debug, "\tShutdown request enforced.\n");
        return;
    }
    if (signal_number == SIGTERM) {
        // A polite question: the application may refuse. With nobody to ask, a pending quit is
        // withdrawn as well.
        quit_requested = request_handler ? request_handler(0) : 0;
        debug_printf(&platform_debug, "\tShutdown request passed to user.\n");
        return;
    }
    if (signal_number == SIGWINCH)
        debug_printf(&platform_debug, "\tWindow resizing not supported.\n");
}

void handle_pending_signals()
{
    for (int signal_number = host_take_pending_signal(); signal_number;
         signal_number = host_take_pending_signal())
        handle_signal_now(signal_number);
}
