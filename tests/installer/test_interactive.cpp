// The interactive run, end to end under a private Xvfb: the splash and its bar while the data
// set unpacks, the wizard's window, closing it as a window manager does, the built-in splash of a
// bare program, and the one-line answer of a machine without a display.

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <X11/Xatom.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "graphics/image.h"
#include "host/linux/x11_library.h"
#include "installer/engine/data_set.h"
#include "io/data_file.h"
#include "io/folder.h"
#include "test_support.h"
#include "x_server.h"

namespace {

constexpr int WAIT_MS = 20000;
const char* const SPLASH_TITLE = "Sample Application";
const char* const WIZARD_TITLE = "Sample Application Setup";
// Where the sample's splash has its bar (samples/installer.xml).
constexpr int BAR_X = 20, BAR_Y = 120, BAR_WIDTH = 400, BAR_HEIGHT = 16;

std::string source_path(const std::string& relative) { return std::string(ORLU_SOURCE_DIR) + "/" + relative; }

// A watcher of the desktop: every window made on the root, its size, and its name when it asks
// to be shown. It is the desktop's window manager as well: a program's request to map a window
// comes to it, so the name is read while the window surely exists, and only then is the window
// mapped. (So the program also waits for its window as it must under a real window manager.)
class DESKTOP_WATCHER {
public:
    struct SEEN {
        unsigned long id;
        int width;
        int height;
        bool mapped;
        std::string name;
    };

    explicit DESKTOP_WATCHER(const XVFB_SERVER& server)
    {
        if (!load_x11())
            return;
        display = x11.XOpenDisplay(server.display().c_str());
        if (!display)
            return;
        // A window can vanish between its MapNotify and our question about its name.
        x11.XSetErrorHandler(ignore_errors);
        x11.XSelectInput(display, x11.XDefaultRootWindow(display), SubstructureNotifyMask | SubstructureRedirectMask);
        x11.XSync(display, False);
    }
    ~DESKTOP_WATCHER()
    {
        if (display)
            x11.XCloseDisplay(display);
    }

    // Takes in what happened since the last call.
    void collect()
    {
        while (display && x11.XPending(display) > 0) {
            XEvent event;
            if (!x11.XCheckIfEvent(display, &event, every_event, nullptr))
                break;
            if (event.type == CreateNotify) {
                windows.push_back({ event.xcreatewindow.window, event.xcreatewindow.width,
                    event.xcreatewindow.height, false, "" });
            } else if (event.type == MapRequest) {
                for (SEEN& seen : windows) {
                    if (seen.id != event.xmaprequest.window)
                        continue;
                    seen.mapped = true;
                    seen.name = window_name(seen.id);
                }
                x11.XMapWindow(display, event.xmaprequest.window);
                x11.XFlush(display);
            }
        }
    }

    // The pixels of a window as COLOUR words; false when it cannot be read.
    bool grab(unsigned long window, int x, int y, int width, int height, IMAGE* out)
    {
        XImage* image = x11.XGetImage(display, window, x, y, static_cast<unsigned>(width),
            static_cast<unsigned>(height), ~0UL, ZPixmap);
        if (!image)
            return false;
        out->set_size(static_cast<INT_S16>(width), static_cast<INT_S16>(height));
        for (int py = 0; py < height; ++py)
            for (int px = 0; px < width; ++px) {
                unsigned long p = image->f.get_pixel(image, px, py);
                out->at(px, py) = COLOUR::from_argb(0xFF000000u | static_cast<INT_U32>(p & 0xFFFFFF));
            }
        image->f.destroy_image(image);
        return true;
    }

    Display* display { nullptr };
    std::vector<SEEN> windows;

private:
    static int ignore_errors(Display*, XErrorEvent*) { return 0; }
    static Bool every_event(Display*, XEvent*, XPointer) { return True; }

    std::string window_name(unsigned long window)
    {
        Atom type = 0;
        int format = 0;
        unsigned long items = 0;
        unsigned long left = 0;
        unsigned char* data = nullptr;
        std::string name;
        if (x11.XGetWindowProperty(display, window, XA_WM_NAME, 0, 256, False, AnyPropertyType, &type, &format,
                &items, &left, &data) == Success && data) {
            name.assign(reinterpret_cast<char*>(data), items);
            x11.XFree(data);
        }
        return name;
    }
};

// Pixels that differ by more than `tolerance` in any channel.
int differing_pixels(const IMAGE& a, const IMAGE& b, int tolerance, int skip_x1 = -1, int skip_y1 = -1,
    int skip_x2 = -2, int skip_y2 = -2)
{
    if (a.width != b.width || a.height != b.height)
        return a.width * a.height + 1;
    int count = 0;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x) {
            if (x >= skip_x1 && x <= skip_x2 && y >= skip_y1 && y <= skip_y2)
                continue;
            COLOUR p = a.at(x, y);
            COLOUR q = b.at(x, y);
            if (abs(p.red() - q.red()) > tolerance || abs(p.green() - q.green()) > tolerance
                || abs(p.blue() - q.blue()) > tolerance)
                ++count;
        }
    return count;
}

bool load_reference(const std::string& name, IMAGE* image)
{
    FOLDER folder;
    return folder.set_raw(source_path("tests/data").c_str()) && image->load_png(folder, name.c_str());
}

// Keeps what the test saw beside the build, for a look when a comparison fails.
void save_actual(const IMAGE& image, const std::string& name)
{
    FOLDER folder;
    if (!folder.set_raw(ORLU_BUILD_DIR))
        return;
    DATA_FILE* file = folder.open_data_file(name.c_str(), FILE_WRITE, 0, false);
    if (!file)
        return;
    (void)image.save_png(file);
    FOLDER::close_data_file(&file);
}

bool any_package_under(const std::string& folder)
{
    RUN_RESULT found = run_program("/usr/bin/find", { folder, "-name", "installer.pkg" });
    return !found.output.empty();
}

class INTERACTIVE : public ::testing::Test {
protected:
    void SetUp() override
    {
        home = temp.file("home");
        mkdir(home.c_str(), 0755);
        mkdir((home + "/tmp").c_str(), 0755);
    }

    std::vector<std::string> environment(const XVFB_SERVER* server) const
    {
        std::vector<std::string> entries = { "HOME=" + home };
        if (server)
            entries.push_back(server->display_entry());
        return entries;
    }

    // The sample, packed again with a large incompressible file added, so that its unpacking
    // lasts long enough to watch the bar move.
    std::string pack_large_sample(size_t extra_bytes)
    {
        std::string samples = temp.file("samples");
        RUN_RESULT copied = run_program("/bin/cp", { "-r", source_path("samples"), samples });
        EXPECT_EQ(copied.status, 0) << copied.errors;
        EXPECT_TRUE(write_file(samples + "/payload/data/big.bin", noise_bytes(extra_bytes, 12345)));
        std::string config = read_file(samples + "/installer.xml");
        size_t client = config.find("path=\"../build\"");
        if (client != std::string::npos)
            config.replace(client, strlen("path=\"../build\""), std::string("path=\"") + ORLU_BUILD_DIR + "\"");
        std::string marker = "<INSTALLATION name=\"full\"";
        size_t at = config.find('\n', config.find(marker));
        config.insert(at + 1,
            "\t\t<FILE platform=\"\" src_name=\"big.bin\" dest_name=\"\" src_path_from_xml=\"payload/data\" "
            "dest_path_from_inst_loc=\"$HERE/data\" system_dest_path_from_inst_loc=\"\" stamp=\"no\" "
            "switch_user=\"no\" overwrite=\"always\"/>\n");
        EXPECT_TRUE(write_file(samples + "/installer.xml", config));
        std::string output = temp.file("large-sample");
        RUN_RESULT packed = run_program(packer_path(),
            { "build", samples + "/installer.xml", "-o", output, "--client", installer_path(), "--level", "1", "--quiet" });
        EXPECT_EQ(packed.status, 0) << packed.output << packed.errors;
        return output;
    }

    std::string pack_sample()
    {
        std::string output = temp.file("sample-setup");
        RUN_RESULT packed = run_program(packer_path(),
            { "build", source_path("samples/installer.xml"), "-o", output, "--client", installer_path(), "--quiet" });
        EXPECT_EQ(packed.status, 0) << packed.output << packed.errors;
        return output;
    }

    // Waits for the program to map a window of this name; its id, 0 when it ended first.
    static unsigned long wait_for_mapped(DESKTOP_WATCHER& watcher, BACKGROUND_PROGRAM& program, const char* title)
    {
        unsigned long id = 0;
        wait_until(
            [&] {
                watcher.collect();
                for (const auto& seen : watcher.windows)
                    if (seen.mapped && seen.name == title)
                        id = seen.id;
                return id != 0 || program.finished();
            },
            WAIT_MS);
        return id;
    }

    // Asks the window to close as a window manager does; the program's status once it ended.
    static int close_and_wait(const XVFB_SERVER& server, DESKTOP_WATCHER& watcher, BACKGROUND_PROGRAM& program,
        unsigned long window)
    {
        EXPECT_TRUE(send_close_request(server, window));
        int status = -1;
        bool ended = wait_until(
            [&] {
                watcher.collect(); // the closing picture asks to be mapped too
                return program.finished(&status);
            },
            WAIT_MS);
        EXPECT_TRUE(ended) << "the close request did not end the program";
        return status;
    }

    TEMP_FOLDER temp;
    std::string home;
};

TEST_F(INTERACTIVE, the_sample_shows_its_splash_with_a_moving_bar_then_the_wizard_window_and_closes_cleanly)
{
    std::string setup = pack_large_sample(64u << 20);
    XVFB_SERVER server;
    ASSERT_TRUE(server.running());
    DESKTOP_WATCHER watcher(server);
    ASSERT_NE(watcher.display, nullptr);
    BACKGROUND_PROGRAM program(setup, {}, environment(&server), temp.path());

    // The splash: its window, then the bar at several lengths while the data set unpacks.
    unsigned long splash = wait_for_mapped(watcher, program, SPLASH_TITLE);
    ASSERT_NE(splash, 0u) << "no splash window; the program said: " << program.output();
    for (const auto& seen : watcher.windows) {
        if (seen.id == splash) {
            EXPECT_EQ(seen.width, 440);
            EXPECT_EQ(seen.height, 160);
        }
    }

    // The whole splash is read again and again; the last picture read before the wizard's window
    // came is compared, and every new look of the bar is kept.
    std::vector<IMAGE*> bar_states;
    IMAGE whole_splash;
    bool splash_grabbed = false;
    bool wizard_seen = false;
    wait_until(
        [&] {
            IMAGE now;
            if (watcher.grab(splash, 0, 0, 440, 160, &now)) {
                IMAGE* bar = new IMAGE(BAR_WIDTH, BAR_HEIGHT);
                IMAGE::blit(bar, &now, BAR_X, BAR_Y, 0, 0, BAR_WIDTH, BAR_HEIGHT, BLIT_COPY);
                if (bar_states.empty() || differing_pixels(*bar, *bar_states.back(), 0) > 0)
                    bar_states.push_back(bar);
                else
                    delete bar;
                whole_splash.set_size(440, 160);
                IMAGE::blit(&whole_splash, &now, 0, 0, 0, 0, 440, 160, BLIT_COPY);
                splash_grabbed = true;
            }
            watcher.collect();
            for (const auto& seen : watcher.windows)
                wizard_seen = wizard_seen || (seen.mapped && seen.name == WIZARD_TITLE);
            return wizard_seen || program.finished();
        },
        WAIT_MS);
    ASSERT_TRUE(splash_grabbed);

    // The splash outside its bar is the reference, looked at once by eye.
    IMAGE reference;
    if (!load_reference("sample_splash.png", &reference))
        save_actual(whole_splash, "actual_sample_splash.png");
    ASSERT_TRUE(reference.has_pixels()) << "no reference tests/data/sample_splash.png";
    int off = differing_pixels(whole_splash, reference, 8, BAR_X, BAR_Y, BAR_X + BAR_WIDTH - 1, BAR_Y + BAR_HEIGHT - 1);
    if (off > 20)
        save_actual(whole_splash, "actual_sample_splash.png");
    EXPECT_LE(off, 20) << "pixels of the splash unlike the reference (build/actual_sample_splash.png)";

    // The bar grew: each look of it shows fewer columns of the light empty track than the one
    // before (looks taken before the splash was drawn at all are black and left out).
    std::vector<int> empty_columns;
    for (IMAGE* state : bar_states) {
        int empty = 0;
        int black = 0;
        for (int x = 0; x < BAR_WIDTH; ++x) {
            COLOUR p = state->at(x, BAR_HEIGHT / 2);
            empty += p.red() > 200 && p.green() > 200 && p.blue() > 200;
            black += p.red() == 0 && p.green() == 0 && p.blue() == 0;
        }
        if (black < BAR_WIDTH)
            empty_columns.push_back(empty);
        delete state;
    }
    // A look taken after the splash's picture but before its first bar shows no track at all;
    // under load the grab can fall there.
    while (empty_columns.size() > 1 && empty_columns.front() == 0)
        empty_columns.erase(empty_columns.begin());
    // The bar follows the check of the data set, which for the small sample read in place is over
    // in milliseconds: at least one look of it, and every further look shows it longer, until it
    // is full.
    ASSERT_GE(empty_columns.size(), 1u) << "the bar was never seen";
    for (size_t i = 1; i < empty_columns.size(); ++i)
        EXPECT_TRUE(empty_columns[i] < empty_columns[i - 1] || (empty_columns[i] == 0 && empty_columns[i - 1] == 0))
            << "look " << i << ": " << empty_columns[i] << " empty columns after " << empty_columns[i - 1];

    // The wizard's window: the WINDOW size, the installer's title, the background painted.
    std::string wizard = wait_for_window(server, WIZARD_TITLE, WAIT_MS);
    ASSERT_FALSE(wizard.empty()) << program.output();
    watcher.collect();
    std::string geometry = xdotool(server, { "getwindowgeometry", wizard });
    EXPECT_NE(geometry.find("Geometry: 640x480"), std::string::npos) << geometry;
    IMAGE window_picture;
    IMAGE wizard_reference;
    (void)load_reference("sample_wizard_window.png", &wizard_reference);
    bool painted = wait_until(
        [&] {
            return watcher.grab(std::stoul(wizard), 0, 0, 640, 480, &window_picture)
                && differing_pixels(window_picture, wizard_reference, 8) <= 100;
        },
        WAIT_MS);
    if (!painted)
        save_actual(window_picture, "actual_sample_wizard_window.png");
    EXPECT_TRUE(painted) << "the window is unlike the reference (build/actual_sample_wizard_window.png)";

    // Still there after a while of nothing: the window stays until it is closed.
    EXPECT_FALSE(program.finished());
    EXPECT_EQ(close_and_wait(server, watcher, program, std::stoul(wizard)), 0) << program.output();
    EXPECT_FALSE(any_package_under(home)) << "the unpacked package is left behind";
}

TEST_F(INTERACTIVE, a_bare_program_with_the_package_beside_it_shows_the_builtin_splash)
{
    // The package of the sample, beside a copy of the program that carries no data set.
    std::string setup = pack_sample();
    std::string bare_folder = temp.file("bare");
    mkdir(bare_folder.c_str(), 0755);
    FOLDER from;
    FOLDER to;
    ASSERT_TRUE(from.set_raw(temp.path().c_str()));
    ASSERT_TRUE(to.set_raw(bare_folder.c_str()));
    DATA_SET_SPLASH splash;
    DATA_SET_HEADER header;
    ASSERT_TRUE(unpack_installer(from, "sample-setup", to, "installer.pkg", &splash, &header, nullptr));
    ASSERT_EQ(run_program("/bin/cp", { installer_path(), bare_folder + "/setup" }).status, 0);

    XVFB_SERVER server;
    ASSERT_TRUE(server.running());
    DESKTOP_WATCHER watcher(server);
    ASSERT_NE(watcher.display, nullptr);
    BACKGROUND_PROGRAM program(bare_folder + "/setup", {}, environment(&server), temp.path());
    unsigned long wizard = wait_for_mapped(watcher, program, WIZARD_TITLE);
    ASSERT_NE(wizard, 0u) << program.output();

    // The first window was the built-in splash: "Please Wait", 257 by 97.
    ASSERT_GE(watcher.windows.size(), 2u);
    EXPECT_EQ(watcher.windows[0].width, 257);
    EXPECT_EQ(watcher.windows[0].height, 97);
    EXPECT_TRUE(watcher.windows[0].mapped);
    EXPECT_EQ(watcher.windows[0].name, "Please Wait");

    EXPECT_EQ(close_and_wait(server, watcher, program, wizard), 0);
    struct stat facts;
    EXPECT_EQ(stat((bare_folder + "/installer.pkg").c_str(), &facts), 0) << "a package the user brought stays";
}

TEST_F(INTERACTIVE, without_a_display_one_line_points_at_the_unattended_install)
{
    std::string setup = pack_sample();
    std::vector<std::string> env = environment(nullptr);
    env.push_back("DISPLAY=");
    RUN_RESULT result = run_program(setup, {}, env);
    EXPECT_EQ(result.status, 255);
    EXPECT_EQ(result.output,
        "There is no X display (DISPLAY is not set). Run the installer with -a to install without one.\n");
    EXPECT_FALSE(any_package_under(home));

    env.back() = "DISPLAY=:32767";
    result = run_program(setup, {}, env);
    EXPECT_EQ(result.status, 255);
    EXPECT_EQ(result.output, "There is no X display (the X display \":32767\" cannot be opened). Run the installer "
                             "with -a to install without one.\n");
    EXPECT_FALSE(any_package_under(home));
}

TEST_F(INTERACTIVE, a_bare_program_without_a_package_shows_its_splash_then_says_there_is_no_data)
{
    std::string bare_folder = temp.file("empty");
    mkdir(bare_folder.c_str(), 0755);
    ASSERT_EQ(run_program("/bin/cp", { installer_path(), bare_folder + "/setup" }).status, 0);
    XVFB_SERVER server;
    ASSERT_TRUE(server.running());
    // No message program on the PATH: the message falls back to the console.
    std::vector<std::string> env = environment(&server);
    env.push_back("PATH=" + bare_folder);
    RUN_RESULT run = run_program(bare_folder + "/setup", {}, env);
    EXPECT_EQ(run.output,
        "\n*\n*\tNo installation data found!\n*\n*\tMake sure you have got all required files.\n*\n*  Press Return\n*"
        "\nError, unable to continue...\n\nNo installation data found!\n\n");
    EXPECT_EQ(run.status, 255);
}

TEST_F(INTERACTIVE, runs_without_a_window_never_load_the_x_libraries)
{
    std::string setup = pack_sample();
    std::string target = temp.file("installed");
    const std::vector<std::vector<std::string>> runs = {
        { "-a", "-i", target },
        { "-h" },
        { "-v", "-a", "-i", target },
        { "--orlu-version" },
        { "-d", temp.file("old.pkg") + "=" + temp.file("new.pkg") },
    };
    for (const auto& arguments : runs) {
        std::vector<std::string> env = environment(nullptr);
        env.push_back("DISPLAY=:0");
        env.push_back("LD_DEBUG=libs");
        RUN_RESULT result = run_program(setup, arguments, env);
        std::string joined;
        for (const auto& a : arguments)
            joined += a + " ";
        EXPECT_NE(result.errors.find("calling init"), std::string::npos) << "LD_DEBUG did not report: " << joined;
        EXPECT_EQ(result.errors.find("libX11"), std::string::npos) << joined;
        EXPECT_EQ(result.errors.find("libGL"), std::string::npos) << joined;
        EXPECT_EQ(result.errors.find("libXpm"), std::string::npos) << joined;
        EXPECT_EQ(result.errors.find("libXxf86vm"), std::string::npos) << joined;
    }
}

} // namespace
