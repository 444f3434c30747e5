// Frame state shared with the application and the host layer, the way out of the process, and
// the signal handling of the main loop.

#include <csignal>
#include <cstring>

#include "application_frame.h"
#include "debug_stream.h"
#include "host.h"
#include "stamp.h"

char own_folder_path[ORLU_MAX_PATH];
char own_file_name[ORLU_MAX_PATH];
DATA_FILE* own_file = nullptr;
STAMP_RECORD own_stamp;
volatile INT_U8 quit_requested = 0;
char** environment = nullptr;
char** arguments = nullptr;

namespace {
SHUTDOWN_REQUEST_HANDLER request_handler = nullptr;

// Signals received but not yet acted on, one bit each. The handler only sets bits here (and
// quit_requested for the signals that enforce a quit); everything else runs on the main loop.
volatile sig_atomic_t pending_signals = 0;

constexpr int handled_signals[] = { SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGPIPE, SIGTERM, SIGWINCH };

bool enforces_quit(int signal_number)
{
    return signal_number == SIGHUP || signal_number == SIGINT || signal_number == SIGQUIT
        || signal_number == SIGABRT || signal_number == SIGPIPE;
}

void record_signal(int signal_number)
{
    if (enforces_quit(signal_number))
        quit_requested = 1;
    if (signal_number > 0 && signal_number < 31)
        pending_signals = pending_signals | (1 << signal_number);
}
} // namespace

void set_shutdown_request_handler(SHUTDOWN_REQUEST_HANDLER handler) { request_handler = handler; }
SHUTDOWN_REQUEST_HANDLER shutdown_request_handler() { return request_handler; }

void exit_with_error(const char* text)
{
    host_shutdown(text);
}

void install_signal_handlers()
{
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = record_signal;
    sigemptyset(&action.sa_mask);
    for (int signal_number : handled_signals)
        sigaction(signal_number, &action, nullptr);
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
    while (pending_signals) {
        // Take the lowest pending signal; block delivery while the mask is rewritten.
        sigset_t all, previous;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, &previous);
        int bits = pending_signals;
        int signal_number = __builtin_ctz(static_cast<unsigned>(bits));
        pending_signals = bits & ~(1 << signal_number);
        sigprocmask(SIG_SETMASK, &previous, nullptr);
        handle_signal_now(signal_number);
    }
}
