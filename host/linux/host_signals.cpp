// Signals and the program's own location on Linux.

#include <unistd.h>

#include <csignal>
#include <cstring>

#include "host/host.h"

namespace {

// Signals received but not yet taken by the main loop, one bit each.
volatile sig_atomic_t pending_signals = 0;
void (*signal_callback)(int) = nullptr;

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
