// The X11 display back end.
//
// [SECTION] State
// [SECTION] Connection and error handler
// [SECTION] Window
// [SECTION] Picture
// [SECTION] Pointer
// [SECTION] Events
// [SECTION] Keys and clipboard
// [SECTION] The OpenGL route
// [SECTION] The table

#include "host/linux/x11_display.h"

#include <sys/select.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <X11/Xatom.h>
#include <X11/cursorfont.h>

#include "host/host.h"
#include "host/input.h"
#include "host/linux/pixel_format.h"
#include "host/linux/x11_library.h"

namespace {

// ---------------------------------------------------------------------------------------------
// [SECTION] State
// ---------------------------------------------------------------------------------------------

// Events of the window as it is made, and as it listens afterwards. Leaving the window is
// listened to as well, so that a pointer that goes away without a button down is known to be
// gone and nothing under its last position stays highlighted.
constexpr long CREATE_EVENT_MASK = 0x2B804F;
constexpr long INPUT_EVENT_MASK = 0x3A804D | LeaveWindowMask;
constexpr unsigned int GRAB_POINTER_MASK = 76;
constexpr INT_S32 GRAB_ATTEMPTS = 21;
constexpr INT_S32 CLIPBOARD_POLLS = 15;

struct X_STATE {
    Display* display { nullptr };
    Atom atom_clipboard { 0 };
    Atom atom_text { 0 };
    Atom atom_compound_text { 0 };
    Atom atom_utf8_string { 0 };
    Atom atom_targets { 0 };
    Atom atom_wm_protocols { 0 };
    Atom atom_wm_delete_window { 0 };
    Atom atom_net_wm_state { 0 };
    Atom atom_net_wm_state_fullscreen { 0 };
    Atom atom_net_wm_name { 0 };
    bool video_modes { false };
    XF86VidModeModeInfo original_mode {};
    XVisualInfo* visual { nullptr };
    bool visual_from_glx { false };
    bool decorations_off { false };
    Window window { 0 };
    Colormap colormap { 0 };
    INT_S32 border_left { 0 };
    INT_S32 border_right { 0 };
    INT_S32 border_top { 0 };
    Pixmap blank_pixmap { 0 };
    Cursor blank_cursor { 0 };
    bool mode_switched { false };
    bool full_screen { false };
    bool grabbed { false };
    Pixmap icon_pixmap { 0 };
    Pixmap icon_mask { 0 };
    PIXEL_FORMAT format;
    GC gc { nullptr };
    XImage* swap_image { nullptr };
    INT_S32 window_depth { 0 };
    INT_S32 width { 0 };
    INT_S32 height { 0 };
    GLXContext gl_context { nullptr };
    bool gl_frame_pending { false };
    INT_U16 desktop_width { 0xFFFF };
    INT_U16 desktop_height { 0xFFFF };
    Cursor cursors[7] {};
    INT_U8 pointer_shape { 255 }; // 255: none set
    bool pointer_hidden { false };
    INT_S32 put_image_count { 0 };
};

X_STATE x;
volatile bool gl_failed = false;
XErrorHandler previous_error_handler = nullptr;
bool error_handler_installed = false;

// A small icon for programs that bring none: a grey box with a dark frame.
const char* const default_icon[] = {
    "16 16 3 1",
    "  c None",
    ". c #303030",
    "x c #B8B8B8",
    "                ",
    " .............. ",
    " .xxxxxxxxxxxx. ",
    " .xxxxxxxxxxxx. ",
    " .xx........xx. ",
    " .xx.xxxxxx.xx. ",
    " .xx.xxxxxx.xx. ",
    " .xx.xxxxxx.xx. ",
    " .xx.xxxxxx.xx. ",
    " .xx.xxxxxx.xx. ",
    " .xx.xxxxxx.xx. ",
    " .xx........xx. ",
    " .xxxxxxxxxxxx. ",
    " .xxxxxxxxxxxx. ",
    " .............. ",
    "                ",
};

Window root_window() { return x11.XDefaultRootWindow(x.display); }

INT_S64 monotonic_ms()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<INT_S64>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Connection and error handler
// ---------------------------------------------------------------------------------------------

int error_handler_entry(Display* display, XErrorEvent* event) { return x_error_handler(display, event); }

void intern_atoms()
{
    x.atom_clipboard = x11.XInternAtom(x.display, "CLIPBOARD", False);
    x.atom_text = x11.XInternAtom(x.display, "TEXT", False);
    x.atom_compound_text = x11.XInternAtom(x.display, "COMPOUND_TEXT", False);
    x.atom_utf8_string = x11.XInternAtom(x.display, "UTF8_STRING", False);
    x.atom_targets = x11.XInternAtom(x.display, "TARGETS", False);
    x.atom_wm_protocols = x11.XInternAtom(x.display, "WM_PROTOCOLS", False);
    x.atom_wm_delete_window = x11.XInternAtom(x.display, "WM_DELETE_WINDOW", False);
    x.atom_net_wm_state = x11.XInternAtom(x.display, "_NET_WM_STATE", False);
    x.atom_net_wm_state_fullscreen = x11.XInternAtom(x.display, "_NET_WM_STATE_FULLSCREEN", False);
    x.atom_net_wm_name = x11.XInternAtom(x.display, "_NET_WM_NAME", False);
}

// The present video mode, for the way back from full screen. Servers without the extension
// (Xvfb, XWayland) simply never switch modes.
void read_original_mode()
{
    x.video_modes = false;
    int event_base = 0;
    int error_base = 0;
    if (!load_xf86vm() || !xf86vm.XF86VidModeQueryExtension(x.display, &event_base, &error_base))
        return;
    int screen = x11.XDefaultScreen(x.display);
    int dot_clock = 0;
    XF86VidModeModeLine line {};
    if (!xf86vm.XF86VidModeGetModeLine(x.display, screen, &dot_clock, &line))
        return;
    XF86VidModeModeInfo& mode = x.original_mode;
    mode.dotclock = static_cast<unsigned int>(dot_clock);
    mode.hdisplay = line.hdisplay;
    mode.hsyncstart = line.hsyncstart;
    mode.hsyncend = line.hsyncend;
    mode.htotal = line.htotal;
    mode.hskew = line.hskew;
    mode.vdisplay = line.vdisplay;
    mode.vsyncstart = line.vsyncstart;
    mode.vsyncend = line.vsyncend;
    mode.vtotal = line.vtotal;
    mode.flags = line.flags;
    if (line.privsize > 0 && line.c_private)
        x11.XFree(line.c_private);
    x.video_modes = true;
}

bool connect()
{
    if (x.display)
        return true;
    if (!load_x11())
        return false;
    const char* name = getenv("DISPLAY");
    if (!name || !*name) {
        set_display_failure_text("DISPLAY is not set");
        return false;
    }
    x.display = x11.XOpenDisplay(nullptr);
    if (!x.display) {
        char reason[256];
        snprintf(reason, sizeof reason, "the X display \"%s\" cannot be opened", name);
        set_display_failure_text(reason);
        return false;
    }
    x11_install_error_handler();
    intern_atoms();
    read_original_mode();
    x.desktop_width = 0xFFFF;
    x.desktop_height = 0xFFFF;
    return true;
}

bool measure_desktop()
{
    XWindowAttributes root {};
    Window root_id = root_window();
    if (!root_id || !x11.XGetWindowAttributes(x.display, root_id, &root))
        return false;
    x.desktop_width = static_cast<INT_U16>(root.width);
    x.desktop_height = static_cast<INT_U16>(root.height);
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Window
// ---------------------------------------------------------------------------------------------

void free_visual()
{
    if (!x.visual)
        return;
    if (x.visual_from_glx)
        x11.XFree(x.visual);
    else
        free(x.visual);
    x.visual = nullptr;
    x.visual_from_glx = false;
}

// A GLX visual of 8 bits a channel, double-buffered, when the server has GLX; otherwise a 32-bit
// TrueColor visual; otherwise none, and the window takes the root's.
void choose_visual()
{
    if (x.visual)
        return;
    int error_base = 0;
    int event_base = 0;
    if (load_gl() && gl.glXQueryExtension(x.display, &error_base, &event_base)) {
        int attributes[] = { GLX_RGBA, GLX_RED_SIZE, 8, GLX_GREEN_SIZE, 8, GLX_BLUE_SIZE, 8, GLX_DOUBLEBUFFER, None };
        x.visual = gl.glXChooseVisual(x.display, x11.XDefaultScreen(x.display), attributes);
        if (x.visual) {
            x.visual_from_glx = true;
            return;
        }
    }
    XVisualInfo found {};
    if (!x11.XMatchVisualInfo(x.display, x11.XDefaultScreen(x.display), 32, TrueColor, &found))
        return;
    x.visual = static_cast<XVisualInfo*>(malloc(sizeof(XVisualInfo)));
    if (x.visual)
        *x.visual = found;
}

void set_names(const char* title)
{
    const char* text = title ? title : "ORLU Application";
    x11.XStoreName(x.display, x.window, text);
    x11.XSetIconName(x.display, x.window, text);
    // Window managers of today read the UTF-8 name first.
    x11.XChangeProperty(x.display, x.window, x.atom_net_wm_name, x.atom_utf8_string, 8, PropModeReplace,
        reinterpret_cast<const unsigned char*>(text), static_cast<int>(strlen(text)));
}

// The window cannot be resized by the user: its least, largest and base sizes are all its size.
void set_size_hints()
{
    XSizeHints* hints = x11.XAllocSizeHints();
    if (!hints)
        return;
    hints->flags = PMinSize | PMaxSize | PBaseSize;
    hints->min_width = hints->max_width = hints->base_width = x.width;
    hints->min_height = hints->max_height = hints->base_height = x.height;
    x11.XSetWMNormalHints(x.display, x.window, hints);
    x11.XFree(hints);
}

// A colour of the icon made into a pixel of a TrueColor visual without asking the server: an icon
// of hundreds of colours would otherwise cost a round trip each before the first frame shows.
int icon_colour(Display* display, Colormap colormap, char* name, XColor* colour, void* closure)
{
    const Visual* visual = static_cast<const Visual*>(closure);
    if (name) {
        size_t length = strlen(name);
        unsigned long value = 0;
        char* end = nullptr;
        if (name[0] == '#' && (length == 7 || length == 13))
            value = strtoul(name + 1, &end, 16);
        if (end && *end == 0 && length == 7) {
            colour->red = static_cast<unsigned short>(((value >> 16) & 0xFF) * 257);
            colour->green = static_cast<unsigned short>(((value >> 8) & 0xFF) * 257);
            colour->blue = static_cast<unsigned short>((value & 0xFF) * 257);
        } else if (!x11.XParseColor(display, colormap, name, colour)) {
            return -1;
        }
    }
    auto place = [](unsigned short channel, unsigned long mask) -> unsigned long {
        if (!mask)
            return 0;
        int shift = __builtin_ctzl(mask);
        int bits = __builtin_popcountl(mask);
        return (static_cast<unsigned long>(channel >> (16 - bits)) << shift) & mask;
    };
    colour->pixel = place(colour->red, visual->red_mask) | place(colour->green, visual->green_mask)
        | place(colour->blue, visual->blue_mask);
    colour->flags = DoRed | DoGreen | DoBlue;
    return 1;
}

void set_icon()
{
    if (!load_xpm())
        return;
    const char* const* lines = window_icon();
    if (!lines || !lines[0] || !lines[0][0])
        lines = default_icon;
    Pixmap pixmap = 0;
    Pixmap mask = 0;
    // The icon is made for the root's visual, which the window manager draws it with.
    int screen = x11.XDefaultScreen(x.display);
    Visual* visual = x11.XDefaultVisual(x.display, screen);
    XpmAttributes attributes {};
    if (visual->c_class == TrueColor) {
        attributes.valuemask = XpmAllocColor | XpmColorClosure;
        attributes.alloc_color = icon_colour;
        attributes.color_closure = visual;
    }
    if (xpm.XpmCreatePixmapFromData(x.display, x.window, const_cast<char**>(lines), &pixmap, &mask,
            attributes.valuemask ? &attributes : nullptr)
        != XpmSuccess)
        return;
    XWMHints* hints = x11.XAllocWMHints();
    if (hints) {
        hints->flags = IconPixmapHint | (mask ? IconMaskHint : 0);
        hints->icon_pixmap = pixmap;
        hints->icon_mask = mask;
        x11.XSetWMHints(x.display, x.window, hints);
        x11.XFree(hints);
    }
    x.icon_pixmap = pixmap;
    x.icon_mask = mask;
}

void make_blank_cursor()
{
    static const char zeros[8] = {};
    x.blank_pixmap = x11.XCreateBitmapFromData(x.display, x.window, zeros, 8, 8);
    XColor black {};
    x.blank_cursor = x11.XCreatePixmapCursor(x.display, x.blank_pixmap, x.blank_pixmap, &black, &black, 0, 0);
}

void send_full_screen_state(bool full_screen)
{
    XEvent event {};
    event.xclient.type = ClientMessage;
    event.xclient.window = x.window;
    event.xclient.message_type = x.atom_net_wm_state;
    event.xclient.format = 32;
    event.xclient.data.l[0] = full_screen ? 1 : 0; // _NET_WM_STATE_ADD, _NET_WM_STATE_REMOVE
    event.xclient.data.l[1] = static_cast<long>(x.atom_net_wm_state_fullscreen);
    x11.XSendEvent(x.display, root_window(), False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
}

void grab_input()
{
    x11.XFlush(x.display);
    INT_S32 attempt = 0;
    while (x11.XGrabKeyboard(x.display, x.window, True, GrabModeAsync, GrabModeAsync, CurrentTime) != GrabSuccess) {
        host_trace("Grab Keyboard failed!\n");
        if (++attempt >= GRAB_ATTEMPTS) {
            host_trace("Grab has failed too many times!\n");
            host_exit(-1);
        }
        sleep_milliseconds(10);
    }
    x11.XGrabPointer(x.display, x.window, True, GRAB_POINTER_MASK, GrabModeAsync, GrabModeAsync, x.window, None,
        CurrentTime);
    x.grabbed = true;
}

void delete_decoration_hints()
{
    static const char* const names[] = { "_MOTIF_WM_HINTS", "KWM_WIN_DECORATION", "_WIN_HINTS" };
    for (const char* name : names) {
        Atom atom = x11.XInternAtom(x.display, name, True);
        if (atom != None)
            x11.XDeleteProperty(x.display, x.window, atom);
    }
}

// Asks the window managers that know one of the three hints for a window without a frame.
void set_decoration_hints()
{
    Atom motif = x11.XInternAtom(x.display, "_MOTIF_WM_HINTS", True);
    if (motif != None) {
        long hints[5] = { 2, 0, 0, 0, 0 };
        x11.XChangeProperty(x.display, x.window, motif, motif, 32, PropModeReplace,
            reinterpret_cast<const unsigned char*>(hints), 5);
    }
    static const char* const others[] = { "KWM_WIN_DECORATION", "_WIN_HINTS" };
    for (const char* name : others) {
        Atom atom = x11.XInternAtom(x.display, name, True);
        if (atom == None)
            continue;
        long zero = 0;
        x11.XChangeProperty(x.display, x.window, atom, atom, 32, PropModeReplace,
            reinterpret_cast<const unsigned char*>(&zero), 1);
    }
    x.decorations_off = true;
}

void free_swap_image()
{
    if (x.swap_image) {
        free(x.swap_image->data);
        x.swap_image->data = nullptr;
        x11.XFree(x.swap_image);
        x.swap_image = nullptr;
    }
    if (x.gc) {
        x11.XFreeGC(x.display, x.gc);
        x.gc = nullptr;
    }
}

// The conversion image follows the window's own visual and depth: a 32-bit visual on a 24-bit
// root needs 32-bit data, or XPutImage fails with BadMatch.
INT_S32 make_swap_image()
{
    free_swap_image();
    x.gc = x11.XCreateGC(x.display, x.window, 0, nullptr);
    Visual* visual = x.visual ? x.visual->visual : x11.XDefaultVisual(x.display, x11.XDefaultScreen(x.display));
    x.swap_image = x11.XCreateImage(x.display, visual, static_cast<unsigned int>(x.window_depth), ZPixmap, 0, nullptr,
        static_cast<unsigned int>(x.width), static_cast<unsigned int>(x.height), 32, 0);
    if (!x.swap_image)
        return DISPLAY_FATAL_SWAP_IMAGE;
    size_t bytes = static_cast<size_t>(x.swap_image->bytes_per_line) * static_cast<size_t>(x.height);
    x.swap_image->data = static_cast<char*>(calloc(bytes ? bytes : 1, 1));
    if (!x.swap_image->data)
        return DISPLAY_FATAL_SWAP_IMAGE;
    if (!pixel_format_from_masks(x.swap_image->bits_per_pixel, static_cast<INT_U32>(x.swap_image->red_mask),
            static_cast<INT_U32>(x.swap_image->green_mask), static_cast<INT_U32>(x.swap_image->blue_mask), &x.format))
        return DISPLAY_FATAL_DEPTH;
    return DISPLAY_OK;
}

// Switches to the first video mode of exactly the size, when the server has the extension and
// such a mode. False when the server lists no mode at all.
bool switch_video_mode(INT_S32 width, INT_S32 height, bool* switched)
{
    *switched = false;
    if (!x.video_modes)
        return true;
    int screen = x11.XDefaultScreen(x.display);
    int count = 0;
    XF86VidModeModeInfo** modes = nullptr;
    if (!xf86vm.XF86VidModeGetAllModeLines(x.display, screen, &count, &modes) || count < 1) {
        if (modes)
            x11.XFree(modes);
        return false;
    }
    for (int i = 0; i < count; ++i) {
        if (modes[i]->hdisplay != width || modes[i]->vdisplay != height)
            continue;
        xf86vm.XF86VidModeSwitchToMode(x.display, screen, modes[i]);
        xf86vm.XF86VidModeSetViewPort(x.display, screen, 0, 0);
        xf86vm.XF86VidModeLockModeSwitch(x.display, screen, True);
        x11.XFlush(x.display);
        *switched = true;
        break;
    }
    x11.XFree(modes);
    return true;
}

void destroy_gl_context();

// A new window is drawn into only once the server shows it: under a window manager the map is
// a request that takes a moment, and a picture sent before it would be lost. The wait is
// bounded, and every other event stays queued for the pump.
void wait_until_mapped()
{
    // The real clock: a test may have stopped milliseconds_now.
    constexpr INT_S64 MAP_WAIT_MS = 1000;
    INT_S64 start = monotonic_ms();
    XEvent event;
    for (;;) {
        if (x11.XCheckTypedWindowEvent(x.display, x.window, MapNotify, &event))
            return;
        if (monotonic_ms() - start >= MAP_WAIT_MS)
            return;
        x11.XFlush(x.display);
        int fd = x11.XConnectionNumber(x.display);
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(fd, &readable);
        timeval timeout { 0, 10000 };
        (void)select(fd + 1, &readable, nullptr, nullptr, &timeout);
    }
}

void close_window()
{
    if (!x.display || !x.window)
        return;
    destroy_gl_context();
    if (x.pointer_shape != 255) {
        for (Cursor& cursor : x.cursors) {
            if (cursor)
                x11.XFreeCursor(x.display, cursor);
            cursor = 0;
        }
        x.pointer_shape = 255;
    }
    if (x.blank_cursor)
        x11.XFreeCursor(x.display, x.blank_cursor);
    if (x.blank_pixmap)
        x11.XFreePixmap(x.display, x.blank_pixmap);
    x.blank_cursor = 0;
    x.blank_pixmap = 0;
    free_swap_image();
    x11.XUngrabPointer(x.display, CurrentTime);
    x11.XUngrabKeyboard(x.display, CurrentTime);
    x.grabbed = false;
    x11.XUnmapWindow(x.display, x.window);
    if (x.decorations_off) {
        delete_decoration_hints();
        x.decorations_off = false;
    }
    x11.XDestroyWindow(x.display, x.window);
    x.window = 0;
    if (x.icon_pixmap)
        x11.XFreePixmap(x.display, x.icon_pixmap);
    if (x.icon_mask)
        x11.XFreePixmap(x.display, x.icon_mask);
    x.icon_pixmap = x.icon_mask = 0;
    if (x.colormap)
        x11.XFreeColormap(x.display, x.colormap);
    x.colormap = 0;
    if (x.mode_switched) {
        int screen = x11.XDefaultScreen(x.display);
        xf86vm.XF86VidModeLockModeSwitch(x.display, screen, False);
        xf86vm.XF86VidModeSwitchToMode(x.display, screen, &x.original_mode);
        xf86vm.XF86VidModeSetViewPort(x.display, screen, 0, 0);
        x11.XFlush(x.display);
        x.mode_switched = false;
    }
    free_visual();
    x.full_screen = false;
    x.pointer_hidden = false;
    window_has_focus = 0;
    x11.XFlush(x.display);
}

INT_S32 open_window(const WINDOW_REQUEST& request, INT_S32* width, INT_S32* height)
{
    destroy_gl_context();
    // A change between full screen and a window always makes a new window.
    if (x.window && static_cast<bool>(request.full_screen) != x.full_screen)
        close_window();
    if (!connect())
        return x11_is_loaded() ? DISPLAY_NO_SERVER : DISPLAY_NO_LIBRARY;
    choose_visual();
    if (!measure_desktop())
        return DISPLAY_FATAL_WINDOW;

    WINDOW_GEOMETRY geometry;
    bool decorated = !request.no_decorations && !request.full_screen;
    if (decorated && x.decorations_off && x.window) {
        delete_decoration_hints();
        x11.XSetTransientForHint(x.display, x.window, 0);
        x11.XUnmapWindow(x.display, x.window);
        x11.XMapWindow(x.display, x.window);
        x.decorations_off = false;
    }
    bool must_grab = false;
    if (request.full_screen && !x.mode_switched) {
        x11.XWarpPointer(x.display, None, root_window(), 0, 0, 0, 0, x.desktop_width / 2, x.desktop_height / 2);
        (void)window_geometry(request, x.desktop_width, x.desktop_height, true, &geometry);
        bool switched = false;
        if (!switch_video_mode(geometry.width, geometry.height, &switched))
            return DISPLAY_REFUSED;
        x.mode_switched = switched;
        must_grab = switched;
    }
    if (!window_geometry(request, x.desktop_width, x.desktop_height, x.mode_switched, &geometry))
        return DISPLAY_REFUSED;
    x.border_left = geometry.border_left;
    x.border_right = geometry.border_right;
    x.border_top = geometry.border_top;
    x.width = geometry.width;
    x.height = geometry.height;

    if (x.window) {
        set_size_hints();
        x11.XMoveResizeWindow(x.display, x.window, geometry.x, geometry.y, static_cast<unsigned int>(x.width),
            static_cast<unsigned int>(x.height));
        set_names(request.title);
        x11.XFlush(x.display);
    } else {
        Window root = root_window();
        if (x.visual) {
            x.colormap = x11.XCreateColormap(x.display, root, x.visual->visual, AllocNone);
            XSetWindowAttributes attributes {};
            attributes.border_pixel = 0;
            attributes.event_mask = CREATE_EVENT_MASK;
            attributes.colormap = x.colormap;
            x.window = x11.XCreateWindow(x.display, root, geometry.x, geometry.y, static_cast<unsigned int>(x.width),
                static_cast<unsigned int>(x.height), 0, x.visual->depth, InputOutput, x.visual->visual,
                CWBorderPixel | CWEventMask | CWColormap, &attributes);
            x.window_depth = x.visual->depth;
        } else {
            x.window = x11.XCreateSimpleWindow(x.display, root, geometry.x, geometry.y,
                static_cast<unsigned int>(x.width), static_cast<unsigned int>(x.height), 0, 0, 0);
            x.window_depth = x11.XDefaultDepth(x.display, x11.XDefaultScreen(x.display));
        }
        if (!x.window)
            return DISPLAY_FATAL_WINDOW;
        XSetWindowAttributes redirect {};
        redirect.override_redirect = request.full_screen ? True : False;
        x11.XChangeWindowAttributes(x.display, x.window, CWOverrideRedirect, &redirect);
        x.full_screen = request.full_screen != 0;
        set_names(request.title);
        set_icon();
        x11.XSetWMProtocols(x.display, x.window, &x.atom_wm_delete_window, 1);
        x11.XSelectInput(x.display, x.window, INPUT_EVENT_MASK);
        set_size_hints();
        x11.XMapWindow(x.display, x.window);
        x11.XMoveResizeWindow(x.display, x.window, geometry.x, geometry.y, static_cast<unsigned int>(x.width),
            static_cast<unsigned int>(x.height));
        make_blank_cursor();
        window_has_focus = 0;
        wait_until_mapped();
    }
    send_full_screen_state(request.full_screen != 0);
    if (must_grab) {
        pump_events();
        grab_input();
    }
    if (!decorated && !x.decorations_off)
        set_decoration_hints();
    INT_S32 status = make_swap_image();
    if (status != DISPLAY_OK)
        return status;
    x11.XFlush(x.display);
    *width = x.width;
    *height = x.height;
    return DISPLAY_OK;
}

bool window_is_open() { return x.display && x.window; }

void set_window_title(const char* title)
{
    if (!window_is_open())
        return;
    set_names(title);
    x11.XFlush(x.display);
}

INT_U16 desktop_width()
{
    if (!connect())
        return 0;
    if (x.desktop_width == 0xFFFF && !measure_desktop())
        return 0;
    return x.desktop_width;
}

INT_U16 desktop_height()
{
    if (!connect())
        return 0;
    if (x.desktop_height == 0xFFFF && !measure_desktop())
        return 0;
    return x.desktop_height;
}

void disconnect()
{
    if (!x.display)
        return;
    close_window();
    x11.XCloseDisplay(x.display);
    x.display = nullptr;
    x11_restore_error_handler();
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Picture
// ---------------------------------------------------------------------------------------------

bool present_gl(const DISPLAY_PIXELS& frame, bool changed)
{
    if (!x.gl_frame_pending && !changed)
        return false;
    x.gl_frame_pending = false;
    gl.glMatrixMode(GL_PROJECTION);
    gl.glPushMatrix();
    gl.glLoadIdentity();
    gl.glMatrixMode(GL_MODELVIEW);
    gl.glPushMatrix();
    gl.glLoadIdentity();
    gl.glEnable(GL_BLEND);
    gl.glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    gl.glRasterPos2f(-1, 1);
    gl.glPixelZoom(1, -1);
    // The rows are contiguous only when the stride is the width; otherwise one row at a time.
    if (frame.stride == frame.width) {
        gl.glDrawPixels(frame.width, frame.height, GL_RGBA, GL_UNSIGNED_BYTE, frame.pixels);
    } else {
        for (INT_S32 y = 0; y < frame.height; ++y) {
            gl.glRasterPos2f(-1.0f, 1.0f - 2.0f * static_cast<float>(y) / static_cast<float>(frame.height));
            gl.glDrawPixels(frame.width, 1, GL_RGBA, GL_UNSIGNED_BYTE, frame.pixels + static_cast<size_t>(y) * frame.stride);
        }
    }
    gl.glMatrixMode(GL_MODELVIEW);
    gl.glPopMatrix();
    gl.glMatrixMode(GL_PROJECTION);
    gl.glPopMatrix();
    gl.glXSwapBuffers(x.display, x.window);
    return true;
}

// Sends the whole frame, converted, whenever it changed; a partial XPutImage is never done.
bool present(const DISPLAY_PIXELS& frame, bool changed)
{
    if (!window_is_open())
        return false;
    if (x.gl_context)
        return present_gl(frame, changed);
    if (!changed || !x.swap_image)
        return false;
    DISPLAY_PIXELS part = frame;
    if (part.width > x.width)
        part.width = x.width;
    if (part.height > x.height)
        part.height = x.height;
    convert_frame(part, x.format, reinterpret_cast<INT_U8*>(x.swap_image->data), x.swap_image->bytes_per_line);
    x11.XPutImage(x.display, x.window, x.gc, x.swap_image, 0, 0, 0, 0, static_cast<unsigned int>(part.width),
        static_cast<unsigned int>(part.height));
    ++x.put_image_count;
    x11.XFlush(x.display);
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Pointer
// ---------------------------------------------------------------------------------------------

// The cursor font's glyph for each shape; 0 is the window's default.
const unsigned int cursor_glyphs[7] = { 0, XC_hand2, XC_hand1, XC_sizing, 91, XC_xterm, XC_watch };

bool set_pointer_shape(INT_U8 shape, bool test_only)
{
    if (shape == 255) {
        if (test_only)
            return true;
        if (x.display) {
            for (Cursor& cursor : x.cursors) {
                if (cursor)
                    x11.XFreeCursor(x.display, cursor);
                cursor = 0;
            }
        }
        x.pointer_shape = 255;
        return true;
    }
    if (shape > 6)
        return false;
    if (test_only)
        return true;
    if (!window_is_open())
        return false;
    x.pointer_shape = shape;
    if (x.pointer_hidden)
        return true;
    if (shape == 0) {
        x11.XUndefineCursor(x.display, x.window);
    } else {
        if (!x.cursors[shape])
            x.cursors[shape] = x11.XCreateFontCursor(x.display, cursor_glyphs[shape]);
        x11.XDefineCursor(x.display, x.window, x.cursors[shape]);
    }
    x11.XFlush(x.display);
    return true;
}

bool show_pointer(bool visible)
{
    if (!window_is_open())
        return false;
    if (visible != x.pointer_hidden)
        return true; // already so
    x.pointer_hidden = !visible;
    if (!visible) {
        x11.XDefineCursor(x.display, x.window, x.blank_cursor);
    } else {
        INT_U8 shape = x.pointer_shape == 255 ? 0 : x.pointer_shape;
        x.pointer_shape = shape;
        if (shape == 0)
            x11.XUndefineCursor(x.display, x.window);
        else
            (void)set_pointer_shape(shape, false);
    }
    x11.XFlush(x.display);
    return true;
}

void warp_pointer(INT_S16 px, INT_S16 py)
{
    if (!window_is_open())
        return;
    x11.XWarpPointer(x.display, None, x.window, 0, 0, 0, 0, px, py);
    x11.XFlush(x.display);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Events
// ---------------------------------------------------------------------------------------------

Bool accept_every_event(Display*, XEvent*, XPointer) { return True; }

void answer_selection_request(const XSelectionRequestEvent& request)
{
    XEvent reply {};
    reply.xselection.type = SelectionNotify;
    reply.xselection.display = request.display;
    reply.xselection.requestor = request.requestor;
    reply.xselection.selection = request.selection;
    reply.xselection.target = request.target;
    reply.xselection.time = request.time;
    reply.xselection.property = None;
    Atom property = request.property != None ? request.property : request.target;
    if (clipboard_text && request.selection == x.atom_clipboard) {
        if (request.target == x.atom_targets) {
            Atom targets[4] = { x.atom_text, x.atom_compound_text, x.atom_utf8_string, x.atom_targets };
            x11.XChangeProperty(x.display, request.requestor, property, XA_ATOM, 32, PropModeReplace,
                reinterpret_cast<const unsigned char*>(targets), 4);
            reply.xselection.property = property;
        } else if (request.target == x.atom_text || request.target == x.atom_compound_text
            || request.target == x.atom_utf8_string) {
            x11.XChangeProperty(x.display, request.requestor, property, request.target, 8, PropModeReplace,
                reinterpret_cast<const unsigned char*>(clipboard_text), static_cast<int>(strlen(clipboard_text) + 1));
            reply.xselection.property = property;
        }
    }
    x11.XSendEvent(x.display, request.requestor, False, 0, &reply);
}

void handle_event(XEvent& event)
{
    switch (event.type) {
    case KeyPress: {
        // Control is taken off first, so Ctrl+C types "c", not the character 3.
        XKeyEvent key = event.xkey;
        key.state &= ~static_cast<unsigned int>(ControlMask);
        char typed[2] = {};
        KeySym keysym = 0;
        x11.XLookupString(&key, typed, 1, &keysym, nullptr);
        key.state = 0;
        char plain[2] = {};
        KeySym base = 0;
        x11.XLookupString(&key, plain, 1, &base, nullptr);
        input_key_event(static_cast<INT_U32>(base), static_cast<INT_U8>(typed[0]));
        break;
    }
    case ButtonPress:
    case ButtonRelease:
        input_button_event(static_cast<INT_S32>(event.xbutton.button), event.type == ButtonPress, event.xbutton.x,
            event.xbutton.y);
        break;
    case MotionNotify:
        input_motion_event(event.xmotion.x, event.xmotion.y);
        break;
    case LeaveNotify:
        if (event.xcrossing.window == x.window && event.xcrossing.mode == NotifyNormal)
            input_motion_event(-1, -1);
        break;
    case FocusIn:
    case FocusOut:
        if (event.xfocus.window != x.window)
            break;
        window_has_focus = event.type == FocusIn ? 1 : 0;
        if (!x.mode_switched)
            break;
        if (event.type == FocusIn) {
            x11.XGrabKeyboard(x.display, x.window, True, GrabModeAsync, GrabModeAsync, CurrentTime);
            x11.XGrabPointer(x.display, x.window, True, GRAB_POINTER_MASK, GrabModeAsync, GrabModeAsync, x.window,
                None, CurrentTime);
        } else {
            x11.XUngrabPointer(x.display, CurrentTime);
            x11.XUngrabKeyboard(x.display, CurrentTime);
        }
        break;
    case Expose:
        host_window_exposed(event.xexpose.x, event.xexpose.y, event.xexpose.x + event.xexpose.width - 1,
            event.xexpose.y + event.xexpose.height - 1);
        break;
    case SelectionClear:
        if (event.xselectionclear.selection == x.atom_clipboard) {
            free(clipboard_text);
            clipboard_text = nullptr;
        }
        break;
    case SelectionRequest:
        answer_selection_request(event.xselectionrequest);
        break;
    case ClientMessage:
        if (event.xclient.message_type == x.atom_wm_protocols
            && static_cast<Atom>(event.xclient.data.l[0]) == x.atom_wm_delete_window) {
            host_window_close_requested();
            x11.XRaiseWindow(x.display, x.window);
            host_trace("Window close selected.\n");
        }
        break;
    default:
        break; // no resize handling anywhere: the window's size is fixed
    }
}

void wait_for_events(INT_S32 milliseconds)
{
    x11.XFlush(x.display);
    if (x11.XPending(x.display) > 0)
        return;
    int fd = x11.XConnectionNumber(x.display);
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    timeval timeout;
    timeout.tv_sec = milliseconds / 1000;
    timeout.tv_usec = (milliseconds % 1000) * 1000;
    (void)select(fd + 1, &readable, nullptr, nullptr, &timeout);
}

void pump()
{
    if (!window_is_open())
        return;
    XEvent event;
    while (x11.XCheckIfEvent(x.display, &event, accept_every_event, nullptr)) {
        if (event.xany.window == 0)
            continue;
        bool is_button = event.type == ButtonPress || event.type == ButtonRelease;
        bool waits = is_button ? input_button_event_waits(static_cast<INT_S32>(event.xbutton.button))
                               : event.type == MotionNotify && input_motion_event_waits();
        if (waits) {
            // The widgets get a frame to see the change before this one undoes it.
            x11.XPutBackEvent(x.display, &event);
            break;
        }
        handle_event(event);
    }
    INT_S32 wait = idle_wait();
    if (wait != 0 && !screen_updated)
        wait_for_events(wait);
    x11.XQueryKeymap(x.display, reinterpret_cast<char*>(key_map));
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Keys and clipboard
// ---------------------------------------------------------------------------------------------

bool key_is_down(INT_U32 keysym)
{
    if (!window_is_open())
        return false;
    KeyCode code = x11.XKeysymToKeycode(x.display, keysym);
    if (code == 0)
        return false;
    return (key_map[code / 8] >> (code % 8)) & 1;
}

void key_name(INT_U32 keysym, bool shifted, char* out, INT_S32 size)
{
    out[0] = 0;
    if (!connect())
        return;
    KeyCode code = x11.XKeysymToKeycode(x.display, keysym);
    KeySym base = code ? x11.XKeycodeToKeysym(x.display, code, 0) : keysym;
    if (base == NoSymbol)
        base = keysym;
    KeySym lower = 0;
    KeySym upper = 0;
    x11.XConvertCase(base, &lower, &upper);
    const char* name = x11.XKeysymToString(shifted ? upper : lower);
    if (name)
        snprintf(out, static_cast<size_t>(size), "%s", name);
}

void clipboard_offer()
{
    if (!window_is_open() || !x.atom_clipboard)
        return;
    x11.XSetSelectionOwner(x.display, x.atom_clipboard, x.window, CurrentTime);
    x11.XFlush(x.display);
}

// Asks the owner of CLIPBOARD for its text in each of the text forms in turn. An owner that
// does not answer costs up to 150 milliseconds a form.
INT_S32 clipboard_fetch(char* out, INT_S32 size)
{
    if (out && size > 0)
        out[0] = 0;
    if (!window_is_open())
        return -1;
    if (x11.XGetSelectionOwner(x.display, x.atom_clipboard) == None)
        return -1;
    Atom property = x.atom_utf8_string;
    x11.XDeleteProperty(x.display, x.window, property);
    x11.XSync(x.display, False);
    const Atom targets[4] = { x.atom_text, x.atom_compound_text, x.atom_utf8_string, XA_STRING };
    for (Atom target : targets) {
        x11.XConvertSelection(x.display, x.atom_clipboard, target, property, x.window, CurrentTime);
        x11.XFlush(x.display);
        XEvent event {};
        bool answered = false;
        for (INT_S32 poll = 0; poll < CLIPBOARD_POLLS && !answered; ++poll) {
            if (x11.XPending(x.display) > 0 && x11.XCheckTypedWindowEvent(x.display, x.window, SelectionNotify, &event)) {
                answered = true;
                break;
            }
            sleep_milliseconds(10);
        }
        if (!answered || event.xselection.property == None)
            continue;
        Atom type = 0;
        int format = 0;
        unsigned long items = 0;
        unsigned long left = 0;
        unsigned char* data = nullptr;
        if (x11.XGetWindowProperty(x.display, x.window, property, 0, 16383, True, AnyPropertyType, &type, &format,
                &items, &left, &data) != Success || !data)
            continue;
        size_t length = format == 8 ? strnlen(reinterpret_cast<const char*>(data), items) : 0;
        if (out && size > 0) {
            size_t copied = length < static_cast<size_t>(size) - 1 ? length : static_cast<size_t>(size) - 1;
            memcpy(out, data, copied);
            out[copied] = 0;
        }
        x11.XFree(data);
        return static_cast<INT_S32>(length);
    }
    return -1;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The OpenGL route
// ---------------------------------------------------------------------------------------------

void destroy_gl_context()
{
    if (!x.gl_context)
        return;
    gl.glXMakeCurrent(x.display, None, nullptr);
    gl.glXDestroyContext(x.display, x.gl_context);
    x.gl_context = nullptr;
}

bool open_gl()
{
    if (gl_failed || x.gl_context)
        return x.gl_context != nullptr;
    if (!window_is_open() || !x.visual || !load_gl())
        return false;
    int error_base = 0;
    int event_base = 0;
    if (!gl.glXQueryExtension(x.display, &error_base, &event_base))
        return false;
    x.gl_context = gl.glXCreateContext(x.display, x.visual, nullptr, True);
    if (!x.gl_context)
        x.gl_context = gl.glXCreateContext(x.display, x.visual, nullptr, False);
    if (!x.gl_context)
        return false;
    if (!gl.glXMakeCurrent(x.display, x.window, x.gl_context)) {
        destroy_gl_context();
        return false;
    }
    x11.XSync(x.display, False);
    if (gl_failed) {
        destroy_gl_context();
        return false;
    }
    gl.glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    x.gl_frame_pending = true;
    return true;
}

void close_gl() { destroy_gl_context(); }
bool gl_is_active() { return x.gl_context != nullptr; }
void set_gl_frame_pending() { x.gl_frame_pending = true; }
bool mode_switched() { return x.mode_switched; }

void release_grabs()
{
    if (!window_is_open())
        return;
    x11.XUngrabPointer(x.display, CurrentTime);
    x11.XUngrabKeyboard(x.display, CurrentTime);
    x11.XFlush(x.display);
    x.grabbed = false;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The table
// ---------------------------------------------------------------------------------------------

const DISPLAY_BACK_END x11_back_end = {
    "x11", connect, open_window, close_window, window_is_open, set_window_title, present, desktop_width,
    desktop_height, set_pointer_shape, show_pointer, warp_pointer, pump, key_is_down, key_name, clipboard_offer,
    clipboard_fetch, open_gl, close_gl, gl_is_active, set_gl_frame_pending, mode_switched, release_grabs, disconnect,
};

} // namespace

const DISPLAY_BACK_END* x11_display_back_end() { return &x11_back_end; }

int x_error_handler(void* display, void* error_event)
{
    XErrorEvent* event = static_cast<XErrorEvent*>(error_event);
    if (event && event->error_code == BadMatch && event->request_code == 0x8F && event->minor_code == 5) {
        gl_failed = true;
        host_printf("%s\n", "OpenGL Context does not match!");
        return 0;
    }
    if (previous_error_handler)
        return previous_error_handler(static_cast<Display*>(display), event);
    return 0;
}

bool x11_library_loaded() { return x11_is_loaded(); }
bool x11_gl_failed() { return gl_failed; }
void x11_clear_gl_failed() { gl_failed = false; }

bool x11_install_error_handler()
{
    if (!load_x11())
        return false;
    if (error_handler_installed)
        return true;
    previous_error_handler = x11.XSetErrorHandler(error_handler_entry);
    error_handler_installed = true;
    return true;
}

void x11_restore_error_handler()
{
    if (!error_handler_installed)
        return;
    x11.XSetErrorHandler(previous_error_handler);
    previous_error_handler = nullptr;
    error_handler_installed = false;
}

INT_S32 x11_put_image_count() { return x.put_image_count; }
INT_S32 x11_window_depth() { return x.window ? x.window_depth : 0; }
INT_S32 x11_bits_per_pixel() { return x.swap_image ? x.swap_image->bits_per_pixel : 0; }
bool x11_has_video_modes() { return x.video_modes; }
bool x11_input_grabbed() { return x.grabbed; }
unsigned long x11_window_id() { return x.window; }

void x11_sync()
{
    if (x.display)
        x11.XSync(x.display, False);
}
