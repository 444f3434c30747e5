#include "x_server.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "host/linux/x11_library.h"
#include "test_support.h"

namespace {

long long now_ms()
{
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<long long>(t.tv_sec) * 1000 + t.tv_nsec / 1000000;
}

void stop_child(pid_t pid)
{
    if (pid <= 0)
        return;
    kill(pid, SIGTERM);
    int status = 0;
    // A server that ignores SIGTERM for two seconds is killed.
    if (!wait_until([&] { return waitpid(pid, &status, WNOHANG) == pid; }, 2000)) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
    }
}

} // namespace

bool wait_until(const std::function<bool()>& condition, int timeout_ms)
{
    long long end = now_ms() + timeout_ms;
    for (;;) {
        if (condition())
            return true;
        if (now_ms() >= end)
            return false;
        usleep(20000);
    }
}

XVFB_SERVER::XVFB_SERVER(const std::string& screen, const std::vector<std::string>& extra)
{
    int fds[2];
    if (pipe(fds) != 0)
        return;
    pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        int null_fd = open("/dev/null", O_RDWR);
        dup2(null_fd, STDIN_FILENO);
        dup2(null_fd, STDOUT_FILENO);
        dup2(null_fd, STDERR_FILENO);
        std::string fd_text = std::to_string(fds[1]);
        std::vector<std::string> args = { "Xvfb", "-displayfd", fd_text, "-screen", "0", screen, "-nolisten", "tcp",
            "-noreset" };
        args.insert(args.end(), extra.begin(), extra.end());
        std::vector<char*> argv;
        for (std::string& a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        execvp("Xvfb", argv.data());
        _exit(127);
    }
    close(fds[1]);
    if (pid < 0) {
        close(fds[0]);
        return;
    }
    m_pid = pid;
    // The server writes its display number once it accepts connections.
    std::string number;
    long long end = now_ms() + 10000;
    while (now_ms() < end) {
        pollfd p { fds[0], POLLIN, 0 };
        int ready = poll(&p, 1, 100);
        if (ready < 0 && errno != EINTR)
            break;
        if (ready <= 0)
            continue;
        char c;
        ssize_t got = read(fds[0], &c, 1);
        if (got <= 0)
            break;
        if (c == '\n')
            break;
        number += c;
    }
    close(fds[0]);
    if (number.empty()) {
        stop_child(m_pid);
        m_pid = -1;
        return;
    }
    m_display = ":" + number;
}

XVFB_SERVER::~XVFB_SERVER() { stop_child(m_pid); }

void XVFB_SERVER::use() const { setenv("DISPLAY", m_display.c_str(), 1); }

BACKGROUND_PROGRAM::BACKGROUND_PROGRAM(const std::string& program, const std::vector<std::string>& arguments,
    const std::vector<std::string>& environment, const std::string& output_folder)
{
    m_out_path = output_folder + "/program.out";
    m_err_path = output_folder + "/program.err";
    fflush(stdout);
    fflush(stderr);
    pid_t pid = fork();
    if (pid == 0) {
        int in = open("/dev/null", O_RDONLY);
        int out = open(m_out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = open(m_err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(in, STDIN_FILENO);
        dup2(out, STDOUT_FILENO);
        dup2(err, STDERR_FILENO);
        for (const std::string& entry : environment)
            putenv(strdup(entry.c_str()));
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(program.c_str()));
        for (const std::string& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    m_pid = pid;
}

BACKGROUND_PROGRAM::~BACKGROUND_PROGRAM() { kill_now(); }

bool BACKGROUND_PROGRAM::finished(int* status)
{
    if (!m_done && m_pid > 0) {
        int raw = 0;
        if (waitpid(m_pid, &raw, WNOHANG) == m_pid) {
            m_done = true;
            m_status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        }
    }
    if (m_done && status)
        *status = m_status;
    return m_done;
}

bool BACKGROUND_PROGRAM::wait_end(int timeout_ms, int* status)
{
    return wait_until([&] { return finished(status); }, timeout_ms);
}

void BACKGROUND_PROGRAM::kill_now()
{
    if (m_done || m_pid <= 0)
        return;
    kill(m_pid, SIGKILL);
    int raw = 0;
    waitpid(m_pid, &raw, 0);
    m_done = true;
    m_status = -1;
}

std::string BACKGROUND_PROGRAM::output() const { return read_file(m_out_path); }
std::string BACKGROUND_PROGRAM::errors() const { return read_file(m_err_path); }

std::string xdotool(const XVFB_SERVER& server, const std::vector<std::string>& arguments, int* status)
{
    RUN_RESULT result = run_program("/usr/bin/xdotool", arguments, { server.display_entry() });
    if (status)
        *status = result.status;
    std::string text = result.output;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    return text;
}

std::string wait_for_window(const XVFB_SERVER& server, const std::string& title, int timeout_ms)
{
    std::string found;
    wait_until(
        [&] {
            int status = 0;
            std::string ids = xdotool(server, { "search", "--name", "^" + title + "$" }, &status);
            if (status != 0 || ids.empty())
                return false;
            found = ids.substr(0, ids.find('\n'));
            return true;
        },
        timeout_ms);
    return found;
}

bool send_close_request(const XVFB_SERVER& server, unsigned long window)
{
    if (!load_x11())
        return false;
    Display* display = x11.XOpenDisplay(server.display().c_str());
    if (!display)
        return false;
    XEvent event {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = x11.XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(x11.XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    x11.XSendEvent(display, window, False, NoEventMask, &event);
    x11.XSync(display, False);
    x11.XCloseDisplay(display);
    return true;
}
