// A private X server for the tests that need a real one, and programs that run beside the test.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// Xvfb on a display number it finds free itself (-displayfd), so that tests running side by side
// never take the same one. Killed by its pid at the end of the scope.
class XVFB_SERVER {
public:
    // `screen` as Xvfb's -screen 0 takes it ("1024x768x24"); `extra` are further arguments
    // ("-extension", "GLX").
    explicit XVFB_SERVER(const std::string& screen = "1024x768x24", const std::vector<std::string>& extra = {});
    ~XVFB_SERVER();
    XVFB_SERVER(const XVFB_SERVER&) = delete;
    XVFB_SERVER& operator=(const XVFB_SERVER&) = delete;

    [[nodiscard]] bool running() const { return m_pid > 0 && !m_display.empty(); }
    // ":93"
    [[nodiscard]] const std::string& display() const { return m_display; }
    // "DISPLAY=:93", for a child's environment.
    [[nodiscard]] std::string display_entry() const { return "DISPLAY=" + m_display; }
    // Sets DISPLAY of this process to the server.
    void use() const;

private:
    pid_t m_pid { -1 };
    std::string m_display;
};

// Polls `condition` every 20 milliseconds until it holds or `timeout_ms` passed.
bool wait_until(const std::function<bool()>& condition, int timeout_ms);

// A program started beside the test, its output going to files.
class BACKGROUND_PROGRAM {
public:
    BACKGROUND_PROGRAM(const std::string& program, const std::vector<std::string>& arguments,
        const std::vector<std::string>& environment, const std::string& output_folder);
    ~BACKGROUND_PROGRAM(); // kills it if it still runs
    BACKGROUND_PROGRAM(const BACKGROUND_PROGRAM&) = delete;
    BACKGROUND_PROGRAM& operator=(const BACKGROUND_PROGRAM&) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }
    // True once it ended; its status (0 to 255, -1 when killed by a signal) is in `status`.
    bool finished(int* status = nullptr);
    // Polls for the end; false when it still runs after timeout_ms.
    bool wait_end(int timeout_ms, int* status);
    void kill_now();
    [[nodiscard]] std::string output() const;
    [[nodiscard]] std::string errors() const;

private:
    pid_t m_pid { -1 };
    bool m_done { false };
    int m_status { -1 };
    std::string m_out_path;
    std::string m_err_path;
};

// Runs xdotool with the arguments on the display; answers its output with the last line feed
// taken off, and its status in `status` when not null.
std::string xdotool(const XVFB_SERVER& server, const std::vector<std::string>& arguments, int* status = nullptr);
// Polls `xdotool search --name` for a window whose name is exactly `title`; "" when none showed.
std::string wait_for_window(const XVFB_SERVER& server, const std::string& title, int timeout_ms);

// Asks the window to close as a window manager's close button does: a WM_DELETE_WINDOW client
// message (xdotool's windowclose destroys the window instead). False when the server cannot be
// reached.
bool send_close_request(const XVFB_SERVER& server, unsigned long window);
