// Signals and the program's own location on Linux.

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
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

namespace {

// argv[0] as a real path, resolved at start; empty when it could not be.
char noted_program[PATH_MAX];

// The real path of `path` when it names an executable regular file.
bool real_program_path(const char* path, char* out, size_t size)
{
    struct stat facts;
    if (stat(path, &facts) != 0 || !S_ISREG(facts.st_mode) || access(path, X_OK) != 0)
        return false;
    char resolved[PATH_MAX];
    if (!realpath(path, resolved) || strlen(resolved) >= size)
        return false;
    memcpy(out, resolved, strlen(resolved) + 1);
    return true;
}

} // namespace

bool host_resolve_program_argument(const char* argument, const char* search_path, char* out, size_t size)
{
    if (!argument || !argument[0] || !out || size < 2)
        return false;
    if (strchr(argument, '/'))
        return real_program_path(argument, out, size);
    if (!search_path)
        return false;
    const char* entry = search_path;
    while (true) {
        const char* end = strchr(entry, ':');
        size_t length = end ? static_cast<size_t>(end - entry) : strlen(entry);
        char candidate[PATH_MAX];
        int written = length == 0 ? snprintf(candidate, sizeof candidate, "./%s", argument)
                                  : snprintf(candidate, sizeof candidate, "%.*s/%s", static_cast<int>(length), entry, argument);
        if (written > 0 && static_cast<size_t>(written) < sizeof candidate && real_program_path(candidate, out, size))
            return true;
        if (!end)
            return false;
        entry = end + 1;
    }
}

void host_note_program_argument(const char* argument)
{
    if (!host_resolve_program_argument(argument, getenv("PATH"), noted_program, sizeof noted_program))
        noted_program[0] = 0;
}

bool host_executable_path(char* out, size_t size)
{
    if (!out || size < 2)
        return false;
    ssize_t length = readlink("/proc/self/exe", out, size - 1);
    if (length > 0 && static_cast<size_t>(length) < size - 1) {
        out[length] = 0;
        return true;
    }
    size_t noted = strlen(noted_program);
    if (!noted || noted >= size)
        return false;
    memcpy(out, noted_program, noted + 1);
    return true;
}
