// The X11 back end against a private Xvfb: windows, pictures at each depth, input by xdotool,
// the clipboard seen from another client, and the error handler.

#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <X11/keysym.h>

#include <atomic>
#include <functional>
#include <memory>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "host/display.h"
#include "host/host.h"
#include "host/input.h"
#include "host/linux/x11_display.h"
#include "host/linux/x11_library.h"
#include "test_support.h"
#include "x_server.h"

namespace {

constexpr int WAIT_MS = 5000;

// ---------------------------------------------------------------------------------------------
// Helpers
// ---------------------------------------------------------------------------------------------

// A second client of the server, as another program on the desktop would be.
class OTHER_CLIENT {
public:
    OTHER_CLIENT(const XVFB_SERVER& server)
    {
        if (load_x11())
            display = x11.XOpenDisplay(server.display().c_str());
    }
    ~OTHER_CLIENT()
    {
        if (display)
            x11.XCloseDisplay(display);
    }
    Display* display { nullptr };
};

// The server's pixel at (x, y) of the window, read by another client.
bool read_pixel(const OTHER_CLIENT& other, unsigned long window, int x, int y, unsigned long* pixel)
{
    XImage* image = x11.XGetImage(other.display, window, x, y, 1, 1, ~0UL, ZPixmap);
    if (!image)
        return false;
    *pixel = image->f.get_pixel(image, 0, 0);
    image->f.destroy_image(image);
    return true;
}

// Pumps until the condition holds, as the frame's loop would.
bool pump_until(const std::function<bool()>& condition)
{
    return wait_until(
        [&] {
            pump_events();
            return condition();
        },
        WAIT_MS);
}

constexpr INT_U32 rgba(INT_U32 r, INT_U32 g, INT_U32 b) { return r | (g << 8) | (b << 16) | 0xFF000000u; }

class X11_DISPLAY : public ::testing::Test {
protected:
    void start(const std::string& screen = "1024x768x24", const std::vector<std::string>& extra = {})
    {
        server = std::make_unique<XVFB_SERVER>(screen, extra);
        ASSERT_TRUE(server->running()) << "Xvfb did not start";
        server->use();
        reset_input_state();
        use_display_back_end(x11_display_back_end());
    }
    void TearDown() override
    {
        host_close_display();
        use_display_back_end(nullptr);
        set_close_handler(nullptr);
        set_millisecond_clock(nullptr);
        reset_input_state();
        server.reset();
    }
    INT_S32 open(INT_U16 width, INT_U16 height, const char* title = "X11 Display Test")
    {
        WINDOW_REQUEST request;
        request.title = title;
        request.width = width;
        request.height = height;
        INT_S32 w = 0;
        INT_S32 h = 0;
        return host_open_window(request, &w, &h);
    }
    std::string window_id() const { return std::to_string(x11_window_id()); }
    // A server and a 200 by 100 window under this title, mapped.
    void start_with_window(const char* title)
    {
        start();
        ASSERT_EQ(open(200, 100, title), DISPLAY_OK) << display_failure_text();
        ASSERT_EQ(wait_for_window(*server, title, WAIT_MS), window_id());
    }
    std::unique_ptr<XVFB_SERVER> server;
};

// ---------------------------------------------------------------------------------------------
// Windows
// ---------------------------------------------------------------------------------------------

TEST_F(X11_DISPLAY, a_window_opens_on_a_server_without_video_modes)
{
    start();
    ASSERT_EQ(open(320, 200), DISPLAY_OK) << display_failure_text();
    EXPECT_FALSE(x11_has_video_modes()) << "Xvfb has no XF86VidMode";
    EXPECT_EQ(desktop_width(), 1024);
    EXPECT_EQ(desktop_height(), 768);
    EXPECT_EQ(host_window_width(), 320);
    EXPECT_EQ(wait_for_window(*server, "X11 Display Test", WAIT_MS), window_id());
    std::string geometry = xdotool(*server, { "getwindowgeometry", window_id() });
    EXPECT_NE(geometry.find("Geometry: 320x200"), std::string::npos) << geometry;
}

TEST_F(X11_DISPLAY, full_screen_without_video_modes_covers_the_desktop_and_grabs_nothing)
{
    start("800x600x24");
    WINDOW_REQUEST request;
    request.title = "Full";
    request.full_screen = 1;
    INT_S32 w = 0;
    INT_S32 h = 0;
    ASSERT_EQ(host_open_window(request, &w, &h), DISPLAY_OK);
    EXPECT_EQ(w, 800);
    EXPECT_EQ(h, 600);
    EXPECT_FALSE(x11_input_grabbed());
    EXPECT_FALSE(display_back_end()->mode_switched());
    unsigned long first = x11_window_id();

    // Back to a window: always a new one.
    request.full_screen = 0;
    request.width = 300;
    request.height = 200;
    ASSERT_EQ(host_open_window(request, &w, &h), DISPLAY_OK);
    EXPECT_NE(x11_window_id(), first);
    EXPECT_EQ(w, 300);
}

TEST_F(X11_DISPLAY, a_request_larger_than_the_desktop_shrinks_and_a_minimum_above_it_fails)
{
    start("600x400x24");
    WINDOW_REQUEST request;
    request.width = 800;
    request.height = 600;
    INT_S32 w = 0;
    INT_S32 h = 0;
    ASSERT_EQ(host_open_window(request, &w, &h), DISPLAY_OK);
    EXPECT_EQ(w, 590);
    EXPECT_EQ(h, 370);
    host_close_window();
    request.min_width = 640;
    EXPECT_EQ(host_open_window(request, &w, &h), DISPLAY_REFUSED);
    EXPECT_FALSE(host_window_is_open());
}

TEST_F(X11_DISPLAY, the_window_icon_carries_the_colours_of_its_xpm)
{
    static const char* const icon[] = { "3 1 3 1", "  c None", "r c #FF0000", "g c #00FF80", "rg " };
    start();
    set_window_icon(icon);
    ASSERT_EQ(open(100, 50, "Icon"), DISPLAY_OK);
    set_window_icon(nullptr);
    OTHER_CLIENT other(*server);
    ASSERT_NE(other.display, nullptr);
    Atom type = 0;
    int format = 0;
    unsigned long items = 0;
    unsigned long left = 0;
    unsigned char* data = nullptr;
    ASSERT_EQ(x11.XGetWindowProperty(other.display, x11_window_id(), XA_WM_HINTS, 0, 9, False, XA_WM_HINTS, &type,
                  &format, &items, &left, &data),
        Success);
    ASSERT_NE(data, nullptr);
    ASSERT_GE(items, 8u);
    const long* hints = reinterpret_cast<const long*>(data);
    EXPECT_TRUE(hints[0] & IconPixmapHint);
    EXPECT_TRUE(hints[0] & IconMaskHint) << "the None colour makes a mask";
    Pixmap pixmap = static_cast<Pixmap>(hints[3]);
    x11.XFree(data);
    XImage* image = x11.XGetImage(other.display, pixmap, 0, 0, 2, 1, ~0UL, ZPixmap);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->f.get_pixel(image, 0, 0) & 0xFFFFFF, 0xFF0000u);
    EXPECT_EQ(image->f.get_pixel(image, 1, 0) & 0xFFFFFF, 0x00FF80u);
    image->f.destroy_image(image);
}

// ---------------------------------------------------------------------------------------------
// Pictures at each depth
// ---------------------------------------------------------------------------------------------

struct SERVER_KIND {
    const char* name;
    const char* screen;
    std::vector<std::string> extra;
    INT_S32 window_depth; // 0: whatever the server's GLX offers
    INT_S32 bits_per_pixel;
};

class X11_PICTURE : public X11_DISPLAY, public ::testing::WithParamInterface<SERVER_KIND> {};

TEST_P(X11_PICTURE, the_frame_reaches_the_server_in_its_layout_and_only_when_changed)
{
    const SERVER_KIND& kind = GetParam();
    start(kind.screen, kind.extra);
    ASSERT_EQ(open(64, 32, kind.name), DISPLAY_OK) << display_failure_text();
    if (kind.window_depth) {
        EXPECT_EQ(x11_window_depth(), kind.window_depth);
    }
    EXPECT_EQ(x11_bits_per_pixel(), kind.bits_per_pixel);
    RecordProperty("window_depth", x11_window_depth());

    // Rows of 66 pixels, as the back buffer keeps them for an even stride.
    std::vector<INT_U32> pixels(66 * 32, rgba(0, 0, 0));
    pixels[0] = rgba(255, 0, 0);
    pixels[1] = rgba(0, 255, 0);
    pixels[2] = rgba(0, 0, 255);
    pixels[66 * 31 + 63] = rgba(0x12, 0x34, 0x56);
    DISPLAY_PIXELS frame { pixels.data(), 64, 32, 66 };
    INT_S32 puts_before = x11_put_image_count();
    ASSERT_TRUE(host_present(frame, true));
    EXPECT_EQ(x11_put_image_count(), puts_before + 1);
    EXPECT_FALSE(host_present(frame, false)) << "nothing changed: nothing is sent";
    EXPECT_EQ(x11_put_image_count(), puts_before + 1);

    OTHER_CLIENT other(*server);
    ASSERT_NE(other.display, nullptr);
    unsigned long expected[4];
    if (kind.bits_per_pixel == 16) {
        expected[0] = 0xF800;
        expected[1] = 0x07E0;
        expected[2] = 0x001F;
        expected[3] = ((0x12 >> 3) << 11) | ((0x34 >> 2) << 5) | (0x56 >> 3);
    } else {
        expected[0] = 0xFF0000;
        expected[1] = 0x00FF00;
        expected[2] = 0x0000FF;
        expected[3] = 0x123456;
    }
    const int xs[4] = { 0, 1, 2, 63 };
    const int ys[4] = { 0, 0, 0, 31 };
    unsigned long mask = kind.bits_per_pixel == 16 ? 0xFFFF : 0xFFFFFF;
    for (int i = 0; i < 4; ++i) {
        unsigned long pixel = 0;
        bool same = wait_until(
            [&] { return read_pixel(other, x11_window_id(), xs[i], ys[i], &pixel) && (pixel & mask) == expected[i]; },
            WAIT_MS);
        EXPECT_TRUE(same) << kind.name << " pixel " << i << ": 0x" << std::hex << pixel << " wanted 0x" << expected[i];
    }
}

INSTANTIATE_TEST_SUITE_P(SERVERS, X11_PICTURE,
    ::testing::Values(
        // The 24-bit root; GLX picks the visual.
        SERVER_KIND { "root24_glx", "320x240x24", {}, 0, 32 },
        // Without GLX a 32-bit visual is chosen on the 24-bit root: the image must be 32-bit too.
        SERVER_KIND { "window32_on_root24", "320x240x24", { "-extension", "GLX" }, 32, 32 },
        // A 16-bit server with no 32-bit visual at all: 5-6-5.
        SERVER_KIND { "root16", "320x240x16", { "-extension", "GLX", "-extension", "Composite" }, 16, 16 }),
    [](const ::testing::TestParamInfo<SERVER_KIND>& info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------------------------
// Events
// ---------------------------------------------------------------------------------------------

bool close_seen = false;
void on_close() { close_seen = true; }

TEST_F(X11_DISPLAY, the_window_managers_close_reaches_the_close_handler)
{
    close_seen = false;
    set_close_handler(on_close);
    ASSERT_NO_FATAL_FAILURE(start_with_window("Close Me"));
    ASSERT_TRUE(send_close_request(*server, x11_window_id()));
    EXPECT_TRUE(pump_until([] { return close_seen; }));
    EXPECT_TRUE(host_window_is_open()) << "closing is the application's decision";
}

TEST_F(X11_DISPLAY, keys_give_base_keysyms_and_ctrl_c_types_c)
{
    ASSERT_NO_FATAL_FAILURE(start_with_window("Keys"));
    ASSERT_TRUE(ORLU_EVENT_CLIENT::set_char_buffer(16));

    xdotool(*server, { "key", "--window", window_id(), "ctrl+c" });
    ASSERT_TRUE(pump_until([] { return last_key != 0; }));
    EXPECT_EQ(last_key, static_cast<INT_U32>(XK_c));
    EXPECT_EQ(ORLU_EVENT_CLIENT::read_char(), 'c') << "Control is cleared before the character is looked up";

    last_key = 0;
    xdotool(*server, { "key", "--window", window_id(), "shift+a" });
    ASSERT_TRUE(pump_until([] { return last_key != 0; }));
    EXPECT_EQ(last_key, static_cast<INT_U32>(XK_a)) << "the keysym without modifiers";
    EXPECT_EQ(ORLU_EVENT_CLIENT::read_char(), 'A') << "the character with them";

    last_key = 0;
    xdotool(*server, { "key", "--window", window_id(), "Return" });
    ASSERT_TRUE(pump_until([] { return last_key != 0; }));
    EXPECT_EQ(last_key, KEY_RETURN);
    EXPECT_EQ(ORLU_EVENT_CLIENT::read_char(), '\n');

    EXPECT_STREQ(ORLU_EVENT_CLIENT::key_name(XK_a, true), "A");
    EXPECT_STREQ(ORLU_EVENT_CLIENT::key_name(XK_a, false), "a");
    EXPECT_STREQ(ORLU_EVENT_CLIENT::key_name(XK_Return, false), "Return");
}

TEST_F(X11_DISPLAY, a_held_key_is_down_by_the_key_map_while_the_window_has_the_focus)
{
    ASSERT_NO_FATAL_FAILURE(start_with_window("Held"));
    xdotool(*server, { "windowfocus", "--sync", window_id() });
    ASSERT_TRUE(pump_until([] { return window_has_focus != 0; }));
    xdotool(*server, { "keydown", "shift" });
    EXPECT_TRUE(pump_until([] { return ORLU_EVENT_CLIENT::key_is_down(KEY_SHIFT_LEFT); }));
    xdotool(*server, { "keyup", "shift" });
    EXPECT_TRUE(pump_until([] { return !ORLU_EVENT_CLIENT::key_is_down(KEY_SHIFT_LEFT); }));
}

INT_U32 fake_time = 0;
INT_U32 fake_clock() { return fake_time; }

TEST_F(X11_DISPLAY, pointer_buttons_wheel_and_double_clicks_from_xdotool)
{
    ASSERT_NO_FATAL_FAILURE(start_with_window("Pointer"));
    set_millisecond_clock(fake_clock);
    fake_time = 10000;

    xdotool(*server, { "mousemove", "--window", window_id(), "50", "40" });
    ASSERT_TRUE(pump_until([] { return pointer_x == 50 && pointer_y == 40; }));

    xdotool(*server, { "click", "--window", window_id(), "4", "click", "--window", window_id(), "4", "click",
                         "--window", window_id(), "5", "click", "--window", window_id(), "4" });
    EXPECT_TRUE(pump_until([] { return wheel_count == 2; })) << wheel_count;
    EXPECT_EQ(button_mask, 0u) << "the wheel sets no button bits";

    xdotool(*server, { "click", "--window", window_id(), "1" });
    ASSERT_TRUE(pump_until([] { return press_time != 0 && button_mask == 0; }));
    fake_time += 900;
    xdotool(*server, { "click", "--window", window_id(), "1" });
    EXPECT_TRUE(pump_until([] { return double_clicked != 0; })) << "900 ms apart";
    pump_until([] { return button_mask == 0; });
    fake_time += 1100;
    xdotool(*server, { "mousedown", "--window", window_id(), "1" });
    ASSERT_TRUE(pump_until([] { return button_mask == BUTTON_PRIMARY; }));
    EXPECT_FALSE(double_clicked) << "1100 ms apart";
    xdotool(*server, { "mouseup", "--window", window_id(), "1" });
    EXPECT_TRUE(pump_until([] { return button_mask == 0; }));
}

TEST_F(X11_DISPLAY, leaving_with_a_button_down_clears_the_mask_and_the_release_outside_changes_nothing)
{
    ASSERT_NO_FATAL_FAILURE(start_with_window("Leave"));
    xdotool(*server, { "mousemove", "--window", window_id(), "20", "20", "mousedown", "1" });
    ASSERT_TRUE(pump_until([] { return button_mask == BUTTON_PRIMARY; }));
    // Far outside the window, on the root.
    xdotool(*server, { "mousemove", "900", "700" });
    ASSERT_TRUE(pump_until([] { return button_mask == 0 && pointer_x == -1; }));
    xdotool(*server, { "mouseup", "1" });
    // The release must come and go without a change: pump until the queue is drained.
    for (int i = 0; i < 10; ++i)
        pump_events();
    EXPECT_EQ(button_mask, 0u);
    EXPECT_EQ(pointer_x, -1);
    EXPECT_EQ(pointer_y, -1);
}

TEST_F(X11_DISPLAY, pointer_shapes_hiding_and_warping)
{
    start();
    ASSERT_EQ(open(200, 100, "Pointer Shapes"), DISPLAY_OK);
    EXPECT_TRUE(set_pointer_shape(7, true) == false) << "no shape 7";
    EXPECT_TRUE(set_pointer_shape(6, true));
    for (INT_U8 shape = 0; shape <= 6; ++shape)
        EXPECT_TRUE(set_pointer_shape(shape, false)) << int(shape);
    ORLU_EVENT_CLIENT::hide_pointer();
    EXPECT_EQ(pointer_visible, 0);
    ORLU_EVENT_CLIENT::hide_pointer(); // a repeated call changes nothing
    EXPECT_TRUE(show_pointer(false));
    ORLU_EVENT_CLIENT::show_pointer();
    EXPECT_EQ(pointer_visible, 1);
    EXPECT_TRUE(set_pointer_shape(255, false));

    ORLU_EVENT_CLIENT::set_pointer_position(30, 40);
    EXPECT_EQ(pointer_x, 30);
    EXPECT_EQ(screen_updated, 1) << "a moved pointer keeps the next pump from sleeping";
    std::string geometry = xdotool(*server, { "getwindowgeometry", window_id() });
    size_t at = geometry.find("Position: ");
    ASSERT_NE(at, std::string::npos) << geometry;
    int wx = 0, wy = 0;
    ASSERT_EQ(sscanf(geometry.c_str() + at, "Position: %d,%d", &wx, &wy), 2);
    std::string where = xdotool(*server, { "getmouselocation" });
    int mx = 0, my = 0;
    ASSERT_EQ(sscanf(where.c_str(), "x:%d y:%d", &mx, &my), 2) << where;
    EXPECT_EQ(mx, wx + 30);
    EXPECT_EQ(my, wy + 40);
}

// ---------------------------------------------------------------------------------------------
// Clipboard, from another client
// ---------------------------------------------------------------------------------------------

// Asks the owner of CLIPBOARD for `target` from a window of `other`, pumping the application's
// events meanwhile so that it answers. Answers the property's atoms or bytes, and whether the
// answer had a property at all.
bool request_clipboard(OTHER_CLIENT& other, const char* target_name, Atom* type,
    std::vector<unsigned long>* atoms, std::string* text)
{
    Display* d = other.display;
    Window root = x11.XDefaultRootWindow(d);
    Window requestor = x11.XCreateSimpleWindow(d, root, 0, 0, 1, 1, 0, 0, 0);
    Atom clipboard = x11.XInternAtom(d, "CLIPBOARD", False);
    Atom target = x11.XInternAtom(d, target_name, False);
    Atom property = x11.XInternAtom(d, "ORLU_TEST_PROPERTY", False);
    x11.XConvertSelection(d, clipboard, target, property, requestor, CurrentTime);
    x11.XFlush(d);
    XEvent event {};
    bool answered = pump_until([&] {
        return x11.XPending(d) > 0 && x11.XCheckTypedWindowEvent(d, requestor, SelectionNotify, &event);
    });
    bool has_property = answered && event.xselection.property != None;
    if (has_property) {
        int format = 0;
        unsigned long items = 0;
        unsigned long left = 0;
        unsigned char* data = nullptr;
        x11.XGetWindowProperty(d, requestor, property, 0, 1024, True, AnyPropertyType, type, &format, &items, &left,
            &data);
        if (data && format == 32)
            atoms->assign(reinterpret_cast<unsigned long*>(data), reinterpret_cast<unsigned long*>(data) + items);
        if (data && format == 8)
            text->assign(reinterpret_cast<char*>(data), items);
        if (data)
            x11.XFree(data);
    }
    x11.XDestroyWindow(d, requestor);
    return answered && has_property;
}

TEST_F(X11_DISPLAY, the_clipboard_answers_targets_text_and_refuses_an_unknown_target)
{
    start();
    ASSERT_EQ(open(100, 50, "Clip"), DISPLAY_OK);
    ASSERT_TRUE(ORLU_EVENT_CLIENT::clipboard_write("copied text"));
    OTHER_CLIENT other(*server);
    ASSERT_NE(other.display, nullptr);
    // The offer must have reached the server before another client asks.
    ASSERT_TRUE(wait_until(
        [&] {
            return x11.XGetSelectionOwner(other.display, x11.XInternAtom(other.display, "CLIPBOARD", False))
                == x11_window_id();
        },
        WAIT_MS));

    Atom type = 0;
    std::vector<unsigned long> atoms;
    std::string text;
    ASSERT_TRUE(request_clipboard(other, "TARGETS", &type, &atoms, &text));
    EXPECT_EQ(type, XA_ATOM);
    ASSERT_EQ(atoms.size(), 4u);
    const char* names[4] = { "TEXT", "COMPOUND_TEXT", "UTF8_STRING", "TARGETS" };
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(atoms[i], x11.XInternAtom(other.display, names[i], False)) << names[i];

    ASSERT_TRUE(request_clipboard(other, "UTF8_STRING", &type, &atoms, &text));
    EXPECT_EQ(text, std::string("copied text", 12)) << "the text goes with its terminator";

    text.clear();
    EXPECT_FALSE(request_clipboard(other, "image/png", &type, &atoms, &text))
        << "an unknown target is answered with property 0";
    EXPECT_TRUE(text.empty());
}

TEST_F(X11_DISPLAY, text_of_another_program_is_read_through_the_server_and_cut_to_the_buffer)
{
    start();
    ASSERT_EQ(open(100, 50, "Paste"), DISPLAY_OK);
    OTHER_CLIENT other(*server);
    ASSERT_NE(other.display, nullptr);
    Display* d = other.display;
    Window owner = x11.XCreateSimpleWindow(d, x11.XDefaultRootWindow(d), 0, 0, 1, 1, 0, 0, 0);
    Atom clipboard = x11.XInternAtom(d, "CLIPBOARD", False);
    x11.XSetSelectionOwner(d, clipboard, owner, CurrentTime);
    x11.XSync(d, False);

    // The other program answers requests on a thread of its own while the application waits.
    std::atomic<bool> stop { false };
    std::thread serve([&] {
        while (!stop) {
            XEvent event;
            if (x11.XPending(d) == 0 || !x11.XCheckTypedWindowEvent(d, owner, SelectionRequest, &event)) {
                usleep(2000);
                continue;
            }
            const XSelectionRequestEvent& request = event.xselectionrequest;
            XEvent reply {};
            reply.xselection.type = SelectionNotify;
            reply.xselection.requestor = request.requestor;
            reply.xselection.selection = request.selection;
            reply.xselection.target = request.target;
            reply.xselection.time = request.time;
            reply.xselection.property = None;
            if (request.target == x11.XInternAtom(d, "UTF8_STRING", False)) {
                const char text[] = "pasted from outside";
                x11.XChangeProperty(d, request.requestor, request.property, request.target, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(text), static_cast<int>(sizeof text - 1));
                reply.xselection.property = request.property;
            }
            x11.XSendEvent(d, request.requestor, False, 0, &reply);
            x11.XFlush(d);
        }
    });

    char buffer[64];
    bool read_whole = ORLU_EVENT_CLIENT::clipboard_read(buffer, sizeof buffer);
    std::string whole = buffer;
    char tiny[1] = { 'x' };
    bool read_tiny = ORLU_EVENT_CLIENT::clipboard_read(tiny, 1);
    INT_S32 length = ORLU_EVENT_CLIENT::clipboard_length();
    stop = true;
    serve.join();

    EXPECT_TRUE(read_whole);
    EXPECT_EQ(whole, "pasted from outside");
    EXPECT_TRUE(read_tiny);
    EXPECT_EQ(tiny[0], 0) << "size 1 gives the empty text";
    EXPECT_EQ(length, 19);
}

// ---------------------------------------------------------------------------------------------
// Failures
// ---------------------------------------------------------------------------------------------

TEST(X11_CONNECTION, without_display_the_reason_says_so)
{
    use_display_back_end(x11_display_back_end());
    SCOPED_ENVIRONMENT environment;
    environment.set("DISPLAY", nullptr);
    EXPECT_FALSE(host_connect_display());
    EXPECT_STREQ(display_failure_text(), "DISPLAY is not set");
    WINDOW_REQUEST request;
    INT_S32 w = 0;
    INT_S32 h = 0;
    EXPECT_EQ(host_open_window(request, &w, &h), DISPLAY_NO_SERVER);
    EXPECT_EQ(desktop_width(), 0);

    environment.set("DISPLAY", ":32767"); // nobody listens there
    EXPECT_FALSE(host_connect_display());
    EXPECT_STREQ(display_failure_text(), "the X display \":32767\" cannot be opened");
    use_display_back_end(nullptr);
}

TEST(X11_LIBRARY, a_missing_library_or_function_is_named_and_nothing_is_kept)
{
    const char* names[] = { "XOpenDisplay" };
    void* pointers[1] = {};
    char failure[256] = "";
    EXPECT_FALSE(load_function_table("libOrluNoSuchLibrary.so.9", names, 1, pointers, failure, sizeof failure));
    EXPECT_STREQ(failure, "libOrluNoSuchLibrary.so.9 cannot be loaded");

    const char* missing[] = { "XOpenDisplay", "XOrluNoSuchFunction" };
    void* two[2] = {};
    EXPECT_FALSE(load_function_table(X11_LIBRARY_NAME, missing, 2, two, failure, sizeof failure));
    EXPECT_STREQ(failure, "libX11.so.6 lacks XOrluNoSuchFunction");

    EXPECT_TRUE(load_function_table(X11_LIBRARY_NAME, names, 1, pointers, failure, sizeof failure));
    EXPECT_NE(pointers[0], nullptr);
}

int previous_calls = 0;
int recording_previous(Display*, XErrorEvent*)
{
    ++previous_calls;
    return 0;
}

TEST(X11_ERROR_HANDLER, a_failed_make_current_sets_gl_failed_and_other_errors_go_to_the_previous_handler)
{
    ASSERT_TRUE(load_x11());
    XErrorHandler original = x11.XSetErrorHandler(recording_previous);
    ASSERT_TRUE(x11_install_error_handler());
    previous_calls = 0;
    x11_clear_gl_failed();

    XErrorEvent glx {};
    glx.type = 0;
    glx.error_code = BadMatch;
    glx.request_code = 0x8F;
    glx.minor_code = 5;
    RUN_RESULT printed = run_in_child([&] { x_error_handler(nullptr, &glx); });
    EXPECT_EQ(printed.output, "OpenGL Context does not match!\n");
    EXPECT_EQ(x_error_handler(nullptr, &glx), 0);
    EXPECT_TRUE(x11_gl_failed());
    EXPECT_EQ(previous_calls, 0);

    XErrorEvent other = glx;
    other.minor_code = 6; // another GLX request
    x_error_handler(nullptr, &other);
    XErrorEvent bad_window {};
    bad_window.error_code = BadWindow;
    bad_window.request_code = 12;
    x_error_handler(nullptr, &bad_window);
    EXPECT_EQ(previous_calls, 2);

    x11_restore_error_handler();
    EXPECT_EQ(x11.XSetErrorHandler(original), recording_previous) << "the previous handler is back";
    x11_clear_gl_failed();
}

} // namespace
