// Signals and the program's own location on Linux.

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>

#include "host/host.h"

namespace {

// Signals received but not yet taken by the main loop, one bit each.
volatile sig_atomic_t pending_signals = 0;
void (*signal_callback)(int) = nullptr;
// The first signal that asked the run to stop, 0 while none did.
volatile sig_atomic_t stop_signal = 0;

void record_signal(int signal_number)
{
    if (signal_callback)
        signal_callback(signal_number);
    if (signal_number > 0 && signal_number < 31)
        pending_signals = pending_signals | (1 << signal_number);
}

} // namespace

void host_catch_signals(const int* signals, INT_S32 count, void (*on_signal)(int signal_number))
{
    signal_callback = on_signal;
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = record_signal;
    sigemptyset(&action.sa_mask);
    for (INT_S32 i = 0; i < count; ++i)
        sigaction(signals[i], &action, nullptr);
    signal(SIGXFSZ, SIG_IGN);
}

void host_request_stop(int signal_number)
{
    if (!stop_signal)
        stop_signal = signal_number > 0 ? signal_number : -1;
}

bool host_stop_requested()
{
    return stop_signal != 0;
}

int host_stop_signal()
{
    return stop_signal > 0 ? stop_signal : 0;
}

void host_clear_stop()
{
    stop_signal = 0;
}

const char* host_signal_name(int signal_number)
{
    switch (signal_number) {
    case SIGHUP: return "SIGHUP";
    case SIGINT: return "SIGINT";
    case SIGQUIT: return "SIGQUIT";
    case SIGABRT: return "SIGABRT";
    case SIGPIPE: return "SIGPIPE";
    case SIGTERM: return "SIGTERM";
    default: break;
    }
    static char text[32];
    snprintf(text, sizeof text, "signal %d", signal_number);
    return text;
}

int host_take_pending_signal()
{
    if (!pending_signals)
        return 0;
    // Block delivery while the mask is rewritten, so a signal arriving now is not lost.
    sigset_t all, previous;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &previous);
    int bits = pending_signals;
    int signal_number = bits ? __builtin_ctz(static_cast<unsigned>(bits)) : 0;
    pending_signals = bits & ~(1 << signal_number);
    sigprocmask(SIG_SETMASK, &previous, nullptr);
    return signal_number;
}

bool host_executable_path(char* out, size_t size)
{
    if (!out || size < 2)
        return false;
    ssize_t length = readlink("/proc/self/exe", out, size - 1);
    if (length <= 0 || static_cast<size_t>(length) >= size - 1)
        return false;
    out[length] = 0;
    return true;
}
