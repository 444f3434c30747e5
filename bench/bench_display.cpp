// The display's costs: presenting a full-HD frame, sitting idle, and the time to the first
// splash frame of a large installer.
//
//   1. Conversion of a 1920x1080 frame to the server's 32-bit layout (and to 16 bits), against a
//      memcpy of the same bytes. Goal: at most 1.5 times the memcpy.
//   2. Conversion plus XPutImage to a private Xvfb, as frames per second, with the share of a
//      frame that the conversion takes.
//   3. Idle: a window open and nothing changing, the frame's loop (pump, swap) for 10 seconds.
//      Goal: under 1% of a core, and no picture sent.
//   4. Start-up: the time from exec to the first splash frame on the screen, for an installer of
//      512 MiB, against the time to its wizard window (which includes the unpacking) and against
//      the exec of the same program that only prints its version. Goal: under 150 ms.
//
//   bench_display [megabytes]      (default 512, the size of the installer of part 4)

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "frame/screen.h"
#include "host/display.h"
#include "host/host.h"
#include "host/input.h"
#include "host/linux/pixel_format.h"
#include "host/linux/x11_display.h"
#include "host/linux/x11_library.h"

namespace {

using CLOCK = std::chrono::steady_clock;

double seconds_since(CLOCK::time_point start) { return std::chrono::duration<double>(CLOCK::now() - start).count(); }

// ---------------------------------------------------------------------------------------------
// A private Xvfb
// ---------------------------------------------------------------------------------------------

struct XVFB {
    pid_t pid { -1 };
    std::string display;

    bool start(const char* screen, const char* extra = nullptr)
    {
        int fds[2];
        if (pipe(fds) != 0)
            return false;
        pid = fork();
        if (pid == 0) {
            close(fds[0]);
            int null_fd = open("/dev/null", O_RDWR);
            dup2(null_fd, 0);
            dup2(null_fd, 1);
            dup2(null_fd, 2);
            std::string fd_text = std::to_string(fds[1]);
            if (extra)
                execlp("Xvfb", "Xvfb", "-displayfd", fd_text.c_str(), "-screen", "0", screen, "-nolisten", "tcp",
                    "-extension", extra, static_cast<char*>(nullptr));
            else
                execlp("Xvfb", "Xvfb", "-displayfd", fd_text.c_str(), "-screen", "0", screen, "-nolisten", "tcp",
                    static_cast<char*>(nullptr));
            _exit(127);
        }
        close(fds[1]);
        std::string number;
        pollfd p { fds[0], POLLIN, 0 };
        while (poll(&p, 1, 10000) > 0) {
            char c;
            if (read(fds[0], &c, 1) != 1 || c == '\n')
                break;
            number += c;
        }
        close(fds[0]);
        if (number.empty())
            return false;
        display = ":" + number;
        setenv("DISPLAY", display.c_str(), 1);
        return true;
    }
    ~XVFB()
    {
        if (pid > 0) {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
        }
    }
};

// ---------------------------------------------------------------------------------------------
// 1. Conversion against memcpy
// ---------------------------------------------------------------------------------------------

constexpr INT_S32 WIDTH = 1920;
constexpr INT_S32 HEIGHT = 1080;

std::vector<INT_U32> test_frame()
{
    std::vector<INT_U32> pixels(static_cast<size_t>(WIDTH) * HEIGHT);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<INT_U32>(i * 2654435761u) | 0xFF000000u;
    return pixels;
}

// Best of `rounds` of `repeat` runs, in milliseconds per run.
template <typename WORK>
double best_ms(int rounds, int repeat, WORK work)
{
    double best = 1e9;
    for (int r = 0; r < rounds; ++r) {
        auto start = CLOCK::now();
        for (int i = 0; i < repeat; ++i)
            work();
        best = std::min(best, seconds_since(start) * 1000.0 / repeat);
    }
    return best;
}

void conversion()
{
    std::vector<INT_U32> pixels = test_frame();
    std::vector<INT_U32> out(pixels.size());
    DISPLAY_PIXELS frame { pixels.data(), WIDTH, HEIGHT, WIDTH };
    PIXEL_FORMAT format32;
    PIXEL_FORMAT format16;
    (void)pixel_format_from_masks(32, 0xFF0000, 0xFF00, 0xFF, &format32);
    (void)pixel_format_from_masks(16, 0xF800, 0x07E0, 0x1F, &format16);
    // The three are measured in turns, round after round, and each keeps its best round, so
    // that what else the machine does falls on all of them alike.
    volatile INT_U32 sink = 0;
    double copy = 1e9;
    double convert32 = 1e9;
    double convert16 = 1e9;
    for (int round = 0; round < 25; ++round) {
        copy = std::min(copy, best_ms(1, 10, [&] {
            memcpy(out.data(), pixels.data(), pixels.size() * 4);
            sink = sink + out[12345];
        }));
        convert32 = std::min(convert32, best_ms(1, 10, [&] {
            convert_frame(frame, format32, reinterpret_cast<INT_U8*>(out.data()), WIDTH * 4);
            sink = sink + out[12345];
        }));
        convert16 = std::min(convert16, best_ms(1, 10, [&] {
            convert_frame(frame, format16, reinterpret_cast<INT_U8*>(out.data()), WIDTH * 2);
            sink = sink + out[12345];
        }));
    }
    printf("1920x1080 frame: memcpy %.2f ms, conversion to 32 bits %.2f ms (ratio %.2f, goal 1.5), "
           "to 16 bits %.2f ms (ratio %.2f)\n",
        copy, convert32, convert32 / copy, convert16, convert16 / copy);
}

// ---------------------------------------------------------------------------------------------
// 2 and 3. Presenting and idling on Xvfb
// ---------------------------------------------------------------------------------------------

double cpu_seconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void present_and_idle()
{
    XVFB server;
    if (!server.start("1920x1080x24")) {
        printf("present: Xvfb did not start\n");
        return;
    }
    use_display_back_end(x11_display_back_end());
    WINDOW_REQUEST request;
    request.title = "bench";
    request.width = WIDTH;
    request.height = HEIGHT;
    request.no_decorations = 1;
    if (!open_window(request, 0) || display_width(0) != WIDTH) {
        printf("present: no %dx%d window (%s)\n", WIDTH, HEIGHT, display_failure_text());
        return;
    }
    BACK_BUFFER* screen = back_buffer_of(0);
    swap_screens(0);
    x11_sync();

    const int frames = 120;
    auto start = CLOCK::now();
    for (int i = 0; i < frames; ++i) {
        screen->fill_box(0, 0, 3, 3, COLOUR::from_channels(static_cast<INT_U8>(i), 0, 0, 255), false);
        swap_screens(0);
    }
    x11_sync();
    double per_frame = seconds_since(start) / frames;

    std::vector<INT_U32> pixels = test_frame();
    std::vector<INT_U32> out(pixels.size());
    DISPLAY_PIXELS frame { pixels.data(), WIDTH, HEIGHT, WIDTH };
    PIXEL_FORMAT format;
    (void)pixel_format_from_masks(32, 0xFF0000, 0xFF00, 0xFF, &format);
    double convert = best_ms(3, 20, [&] { convert_frame(frame, format, reinterpret_cast<INT_U8*>(out.data()), WIDTH * 4); });
    printf("present to Xvfb (conversion and XPutImage, 1920x1080x24): %.1f frames per second, %.2f ms a frame, "
           "conversion %.0f%% of it\n",
        1.0 / per_frame, per_frame * 1000, 100.0 * convert / (per_frame * 1000));

    // Idle: the loop of the frame with nothing to draw, once the window's first exposes have been
    // answered (the server asks for the picture again when the window first shows).
    set_idle_wait(50);
    for (int i = 0; i < 10; ++i) {
        pump_events();
        swap_screens(0);
    }
    INT_S32 puts_before = x11_put_image_count();
    double cpu_before = cpu_seconds();
    auto idle_start = CLOCK::now();
    long passes = 0;
    while (seconds_since(idle_start) < 10.0) {
        pump_events();
        swap_screens(0);
        ++passes;
    }
    double wall = seconds_since(idle_start);
    double cpu = cpu_seconds() - cpu_before;
    printf("idle for %.1f s: %.3f%% of a core (goal under 1%%), %ld passes of the loop, %d pictures sent (goal 0)\n",
        wall, 100.0 * cpu / wall, passes, x11_put_image_count() - puts_before);
    close_window(0);
    host_close_display();
    use_display_back_end(nullptr);
}

// ---------------------------------------------------------------------------------------------
// 4. Start-up of a large installer
// ---------------------------------------------------------------------------------------------

bool run_quiet(const std::vector<std::string>& words)
{
    std::vector<char*> argv;
    for (const std::string& word : words)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        int null_fd = open("/dev/null", O_WRONLY);
        dup2(null_fd, 1);
        dup2(null_fd, 2);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void write_big_file(const std::string& path, size_t size)
{
    FILE* file = fopen(path.c_str(), "wb");
    if (!file)
        return;
    std::vector<unsigned char> chunk(1 << 20);
    unsigned state = 99;
    for (size_t left = size; left > 0;) {
        size_t count = std::min(left, chunk.size());
        for (size_t i = 0; i < count; ++i) {
            state = state * 1103515245u + 12345u;
            chunk[i] = static_cast<unsigned char>(state >> 23);
        }
        fwrite(chunk.data(), 1, count, file);
        left -= count;
    }
    fclose(file);
}

// The sample installer with a large file added, stored without compression so that the file
// has the size asked for.
std::string make_large_installer(const std::string& work, size_t megabytes)
{
    std::string samples = work + "/samples";
    if (!run_quiet({ "cp", "-r", std::string(ORLU_SOURCE_DIR) + "/samples", samples }))
        return "";
    write_big_file(samples + "/payload/data/big.bin", megabytes << 20);
    std::string config_path = samples + "/installer.xml";
    FILE* in = fopen(config_path.c_str(), "rb");
    if (!in)
        return "";
    std::string config;
    char buffer[4096];
    size_t got;
    while ((got = fread(buffer, 1, sizeof buffer, in)) > 0)
        config.append(buffer, got);
    fclose(in);
    size_t client = config.find("path=\"../build\"");
    if (client != std::string::npos)
        config.replace(client, strlen("path=\"../build\""), std::string("path=\"") + ORLU_BUILD_DIR + "\"");
    size_t at = config.find('\n', config.find("<INSTALLATION name=\"full\""));
    config.insert(at + 1, "\t\t<FILE src_name=\"big.bin\" src_path_from_xml=\"payload/data\" dest_path_from_inst_loc=\"$HERE/data\"/>\n");
    FILE* out = fopen(config_path.c_str(), "wb");
    if (!out)
        return "";
    fwrite(config.data(), 1, config.size(), out);
    fclose(out);
    std::string installer = work + "/large-setup";
    if (!run_quiet({ std::string(ORLU_BUILD_DIR) + "/packer", "build", config_path, "-o", installer, "--level", "0",
            "--quiet" }))
        return "";
    return installer;
}

Bool every_event(Display*, XEvent*, XPointer) { return True; }
int ignore_errors(Display*, XErrorEvent*) { return 0; }

struct START_TIMES {
    bool ok { false };
    double window_ms { 0 };
    double splash_ms { 0 };
    double wizard_ms { 0 };
};

// Runs the installer and watches the desktop as its window manager: every map request is
// granted at once, the splash's first frame is seen by reading one pixel of it again and again.
START_TIMES time_start(const std::string& installer, const std::string& home)
{
    START_TIMES times;
    Display* d = x11.XOpenDisplay(nullptr);
    if (!d)
        return times;
    x11.XSetErrorHandler(ignore_errors);
    Window root = x11.XDefaultRootWindow(d);
    x11.XSelectInput(d, root, SubstructureRedirectMask | SubstructureNotifyMask);
    x11.XSync(d, False);

    auto start = CLOCK::now();
    pid_t pid = fork();
    if (pid == 0) {
        int null_fd = open("/dev/null", O_RDWR);
        dup2(null_fd, 0);
        dup2(null_fd, 1);
        setenv("HOME", home.c_str(), 1);
        execl(installer.c_str(), installer.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    Window splash = 0;
    Window wizard = 0;
    while (seconds_since(start) < 120 && !wizard) {
        while (x11.XPending(d) > 0) {
            XEvent event;
            if (!x11.XCheckIfEvent(d, &event, every_event, nullptr))
                break;
            if (event.type == CreateNotify && event.xcreatewindow.width == 440 && !splash) {
                splash = event.xcreatewindow.window;
                times.window_ms = seconds_since(start) * 1000;
            }
            if (event.type == CreateNotify && event.xcreatewindow.width == 640)
                wizard = event.xcreatewindow.window;
            if (event.type == MapRequest) {
                x11.XMapWindow(d, event.xmaprequest.window);
                x11.XFlush(d);
            }
        }
        if (splash && times.splash_ms == 0) {
            XImage* pixel = x11.XGetImage(d, splash, 220, 60, 1, 1, ~0UL, ZPixmap);
            if (pixel) {
                if ((pixel->f.get_pixel(pixel, 0, 0) & 0xFFFFFF) != 0)
                    times.splash_ms = seconds_since(start) * 1000;
                pixel->f.destroy_image(pixel);
            }
        }
    }
    // The wizard's window exists; it is shown once mapped, and its picture follows at once.
    while (seconds_since(start) < 120) {
        XEvent event;
        if (x11.XPending(d) > 0 && x11.XCheckIfEvent(d, &event, every_event, nullptr)) {
            if (event.type == MapRequest) {
                x11.XMapWindow(d, event.xmaprequest.window);
                x11.XFlush(d);
            }
            continue;
        }
        XImage* pixel = x11.XGetImage(d, wizard, 320, 20, 1, 1, ~0UL, ZPixmap);
        bool painted = pixel && (pixel->f.get_pixel(pixel, 0, 0) & 0xFFFFFF) != 0;
        if (pixel)
            pixel->f.destroy_image(pixel);
        if (painted) {
            times.wizard_ms = seconds_since(start) * 1000;
            break;
        }
    }
    kill(pid, SIGTERM); // a polite end: the window's handler answers yes, the package is deleted
    waitpid(pid, nullptr, 0);
    x11.XCloseDisplay(d);
    times.ok = times.splash_ms > 0 && times.wizard_ms > 0;
    return times;
}

void start_up(size_t megabytes)
{
    char pattern[] = "/tmp/bench-display-XXXXXX";
    if (!mkdtemp(pattern))
        return;
    std::string work = pattern;
    std::string home = work + "/home";
    mkdir(home.c_str(), 0755);
    mkdir((home + "/tmp").c_str(), 0755);
    std::string installer = make_large_installer(work, megabytes);
    struct stat facts {};
    if (installer.empty() || stat(installer.c_str(), &facts) != 0) {
        printf("start-up: the large installer could not be made\n");
        run_quiet({ "rm", "-rf", work });
        return;
    }
    // Once with GLX, whose visual the window takes when the server offers it, and once on a
    // server without it: the difference is the system's GL library starting.
    for (const char* without : { static_cast<const char*>(nullptr), "GLX" }) {
        XVFB server;
        if (!server.start("1024x768x24", without) || !load_x11()) {
            printf("start-up: Xvfb did not start\n");
            break;
        }
        double version_ms = 1e9;
        for (int i = 0; i < 3; ++i) {
            auto start = CLOCK::now();
            run_quiet({ installer, "--orlu-version" });
            version_ms = std::min(version_ms, seconds_since(start) * 1000);
        }
        START_TIMES best;
        for (int i = 0; i < 3; ++i) {
            START_TIMES t = time_start(installer, home);
            if (t.ok && (!best.ok || t.splash_ms < best.splash_ms))
                best = t;
        }
        if (!best.ok) {
            printf("start-up: the splash or the wizard's window was not seen\n");
            continue;
        }
        printf("start-up of a %.0f MiB installer%s: first splash frame after %.1f ms (goal under 150 ms; the "
               "window was made after %.1f ms), %.2f of the time to the wizard's window (%.0f ms); the exec of "
               "--orlu-version alone takes %.1f ms (splash %.1f times that)\n",
            facts.st_size / 1048576.0, without ? ", server without GLX" : "", best.splash_ms, best.window_ms,
            best.splash_ms / best.wizard_ms, best.wizard_ms, version_ms, best.splash_ms / version_ms);
    }
    run_quiet({ "rm", "-rf", work });
}

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    size_t megabytes = argc > 1 ? static_cast<size_t>(atol(argv[1])) : 512;
    if (megabytes < 1)
        megabytes = 512;
    conversion();
    present_and_idle();
    start_up(megabytes);
    return 0;
}
