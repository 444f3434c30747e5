// Console, message boxes, process end and clocks for Linux.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "base/report_output.h"
#include "host/display.h"
#include "host/host.h"
#include "host/linux/host_internal.h"

void host_print(const char* text)
{
    if (!text)
        return;
    fputs(text, stdout);
    fflush(stdout);
}

void host_print_error(const char* text)
{
    if (!text)
        return;
    fputs(text, stderr);
    fflush(stderr);
}

void host_printf(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    vfprintf(stdout, format, args);
    va_end(args);
    fflush(stdout);
}

namespace {

// Runs a program with an argument vector and waits for it. Answers its exit status, 127 when
// it could not be started, -1 when it did not exit normally.
int run_and_wait(const char* const* argv, bool quiet)
{
    fflush(stdout);
    pid_t pid = fork();
    if (pid < 0)
        return -1;
    if (pid == 0) {
        if (quiet) {
            int null_fd = open("/dev/null", O_WRONLY);
            if (null_fd >= 0) {
                dup2(null_fd, STDOUT_FILENO);
                dup2(null_fd, STDERR_FILENO);
                close(null_fd);
            }
        }
        execvp(argv[0], const_cast<char* const*>(argv));
        _exit(127);
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool file_is_readable(const char* path)
{
    return access(path, R_OK) == 0;
}

} // namespace

int host_run_program(const char* const* argv, bool quiet)
{
    return run_and_wait(argv, quiet);
}

void message_box(const char* title, const char* text)
{
    if (!title || !text)
        return;

    host_release_grabs();

    // The box's text is one argument: quotes, `$(...)` and back-quotes in it are shown, never run.
    size_t size = strlen(title) + strlen(text) + 100;
    char* body = new (std::nothrow) char[size];
    int status = 127;
    if (body) {
        snprintf(body, size, "%s:\n\n%s", title, text);
        const char* gmessage = "/usr/X11R6/bin/gmessage";
        if (file_is_readable(gmessage)) {
            const char* argv[] = { gmessage, "-center", "-buttons", "OK:2", body, nullptr };
            status = run_and_wait(argv, true);
        } else {
            const char* argv[] = { "xmessage", "-buttons", "OK:2", body, nullptr };
            status = run_and_wait(argv, true);
        }
        delete[] body;
    }
    if (status != 127 && status != 1)
        return;

    // No message program could show it: tell the terminal and wait for the user.
    host_printf("\n*\n*\t%s\n*\n*\t%s\n*\n*  Press Return\n*", title, text);
    getchar();
}

void show_system_message(const char* title, const char* text)
{
    message_box(title, text);
}

void host_shutdown(const char* text)
{
    host_close_display();
    host_close_input_devices();
    if (text)
        host_printf("\nError, unable to continue...\n\n%s\n\n", text);
    fflush(stdout);
    exit(-1);
}

void host_exit(INT_S32 status)
{
    host_close_display();
    host_close_input_devices();
    fflush(stdout);
    exit(status);
}

const char* time_stamp_now()
{
    static const char* const days[] = { "Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" };
    static const char* const months[] = { "Jan", "Feb", "Mar", "Apr", "May", "Jun",
        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec" };
    static char buffer[64];
    time_t now = time(nullptr);
    struct tm utc;
    gmtime_r(&now, &utc);
    snprintf(buffer, sizeof buffer, "%s, %02d %s %04d %02d:%02d:%02d GMT", days[utc.tm_wday],
        utc.tm_mday, months[utc.tm_mon], utc.tm_year + 1900, utc.tm_hour, utc.tm_min, utc.tm_sec);
    return buffer;
}

namespace {

void report_print(const char* format, va_list args)
{
    vfprintf(stdout, format, args);
    fflush(stdout);
}

const REPORT_OUTPUT host_report_output = {
    report_print,
    message_box,
    host_shutdown,
    time_stamp_now,
};

} // namespace

void host_attach_reports()
{
    set_report_output(&host_report_output);
}

bool host_is_terminal(INT_S32 stream)
{
    return (stream == 1 || stream == 2) && isatty(stream) == 1;
}
