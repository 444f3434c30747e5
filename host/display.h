// The display door of the host layer: one window, one picture, the pointer's shape.
//
// The host sees no images of ours. The frame layer (frame/screen.h) owns the BACK_BUFFER and
// hands its pixels through here as a plain block; the back end converts them to the server's
// format and shows them. Which back end runs is chosen by the program (the installer picks the
// X11 one of host/linux/x11_display.h) or by a test (host/headless/headless_display.h); the
// toolkit never names one.
//
// [SECTION] Window request and pixel block
// [SECTION] Back ends
// [SECTION] Window and picture
// [SECTION] Pointer
// [SECTION] The OpenGL route
#pragma once

#include "base/orlu_types.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Window request and pixel block
// ---------------------------------------------------------------------------------------------

constexpr INT_U16 WINDOW_DEFAULT = 0xFFFF;

// What the caller asks of open_window. 0xFFFF in a size takes the desktop's; in a limit it means
// none; in a position it centres the window on the desktop.
struct WINDOW_REQUEST {
    const char* title { nullptr }; // null: the default title
    INT_U16 width { WINDOW_DEFAULT };
    INT_U16 height { WINDOW_DEFAULT };
    INT_U8 full_screen { 0 };      // override-redirect, and a video mode switch when one fits
    INT_U16 min_width { WINDOW_DEFAULT };
    INT_U16 max_width { WINDOW_DEFAULT };
    INT_U16 min_height { WINDOW_DEFAULT };
    INT_U16 max_height { WINDOW_DEFAULT };
    INT_U8 no_decorations { 0 };   // ask the window manager for a bare window
    INT_U16 x { WINDOW_DEFAULT };
    INT_U16 y { WINDOW_DEFAULT };
};

// The picture to show: `height` rows of `width` pixels, rows `stride` pixels apart. Each pixel is
// one COLOUR word: red in bits 0 to 7, green 8 to 15, blue 16 to 23, alpha 24 to 31.
struct DISPLAY_PIXELS {
    const INT_U32* pixels { nullptr };
    INT_S32 width { 0 };
    INT_S32 height { 0 };
    INT_S32 stride { 0 };
};

// Answers of host_open_window. The three fatal ones are the codes of the error table that the
// frame raises for them.
enum DISPLAY_STATUS : INT_S32 {
    DISPLAY_OK = 1,
    DISPLAY_REFUSED = 2,         // the request cannot be met (desktop too small, no such display)
    DISPLAY_NO_SERVER = 3,       // no display to connect to: display_failure_text says why
    DISPLAY_NO_LIBRARY = 4,      // a library the display needs cannot be loaded: the text names it
    DISPLAY_FATAL_WINDOW = 0x1000,     // fatal 0x0000: root window unreadable, no window made
    DISPLAY_FATAL_SWAP_IMAGE = 0x1010, // fatal 0x0010: the conversion image cannot be made
    DISPLAY_FATAL_DEPTH = 0x1012,      // fatal 0x0012: bits per pixel neither 16 nor 32
};

// The fatal error code of a fatal status, -1 for the others.
[[nodiscard]] constexpr INT_S32 display_fatal_code(INT_S32 status)
{
    return status >= 0x1000 ? status - 0x1000 : -1;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Back ends
// ---------------------------------------------------------------------------------------------

// The table every back end fills. Entries may not be null. The shared code of host/display.cpp
// and host/input.cpp calls them; nobody else does.
struct DISPLAY_BACK_END {
    const char* name;
    // Connects if there is no connection yet; false with display_failure_text set when none can
    // be had. Never opens a window.
    bool (*connect)();
    // Makes or changes the window; on DISPLAY_OK the window's size is in width and height.
    INT_S32 (*open_window)(const WINDOW_REQUEST& request, INT_S32* width, INT_S32* height);
    void (*close_window)();
    bool (*window_is_open)();
    void (*set_window_title)(const char* title);
    // Shows the picture. `changed` says whether it differs from the last one shown; a back end
    // that has nothing to redo returns false without sending anything. True when it sent it.
    bool (*present)(const DISPLAY_PIXELS& frame, bool changed);
    // The root window's size; 0 when there is no display.
    INT_U16 (*desktop_width)();
    INT_U16 (*desktop_height)();
    bool (*set_pointer_shape)(INT_U8 shape, bool test_only);
    bool (*show_pointer)(bool visible);
    void (*warp_pointer)(INT_S16 x, INT_S16 y);
    // Drains the waiting events into the input state (host/input.h) and, when nothing came and
    // the screen did not change, waits up to the idle time for the next one.
    void (*pump)();
    bool (*key_is_down)(INT_U32 keysym);
    // Fills `out` (at least 256 bytes) with the key's name, lower or upper case form; "" unknown.
    void (*key_name)(INT_U32 keysym, bool shifted, char* out, INT_S32 size);
    // clipboard_text (host/input.h) changed: offer it to other programs.
    void (*clipboard_offer)();
    // Reads text offered by another program: at most size - 1 bytes and a terminator into
    // `out` (null only measures). Answers the full length, or -1 when nothing is offered.
    INT_S32 (*clipboard_fetch)(char* out, INT_S32 size);
    bool (*open_gl)();
    void (*close_gl)();
    bool (*gl_is_active)();
    void (*set_gl_frame_pending)();
    // True while the window is full screen with a switched video mode (input then is grabbed).
    bool (*mode_switched)();
    void (*release_grabs)();
    // Closes the window and the connection; the next use connects again.
    void (*disconnect)();
};

// Chooses the back end; null chooses none, and then every call below does nothing and answers
// false or 0. A running window of the previous one is closed first.
void use_display_back_end(const DISPLAY_BACK_END* back_end);
[[nodiscard]] const DISPLAY_BACK_END* display_back_end();

// Why the last connection failed: "libX11.so.6 cannot be loaded", "DISPLAY is not set", ...
// The empty text when nothing failed. Back ends set it.
[[nodiscard]] const char* display_failure_text();
void set_display_failure_text(const char* text);

// ---------------------------------------------------------------------------------------------
// [SECTION] Window and picture
// ---------------------------------------------------------------------------------------------

// True when a display can be had; a failure leaves its reason in display_failure_text.
[[nodiscard]] bool host_connect_display();
// Makes or changes the one window. See DISPLAY_STATUS.
[[nodiscard]] INT_S32 host_open_window(const WINDOW_REQUEST& request, INT_S32* width, INT_S32* height);
void host_close_window();
[[nodiscard]] bool host_window_is_open();
[[nodiscard]] INT_S32 host_window_width();
[[nodiscard]] INT_S32 host_window_height();
// The window's icon as XPM lines ("w h colours chars", the colours, the rows); null uses the
// host's own. The frame hands over the application's. Takes effect for windows made afterwards.
void set_window_icon(const char* const* xpm_lines);
[[nodiscard]] const char* const* window_icon();
// Sets the window and icon names.
void host_set_window_title(const char* title);
// Shows the picture when it changed (or the OpenGL route has a frame pending); true when it was
// sent, and then screen_updated (host/input.h) is set.
bool host_present(const DISPLAY_PIXELS& frame, bool changed);
// Closes the window and the connection (end of the run, exit paths).
void host_close_display();

// Where a window goes and how large it is, worked out from a request and the desktop: 0xFFFF
// sizes take the desktop's, the size is clamped into the request's limits, a window that is not
// in a switched video mode is kept inside the desktop less the window manager's frame (5 left
// and right, 25 on top when decorated) and centred where the request says 0xFFFF. False when
// the result breaks a limit of the request: the desktop is too small.
struct WINDOW_GEOMETRY {
    INT_S32 x { 0 };
    INT_S32 y { 0 };
    INT_S32 width { 0 };
    INT_S32 height { 0 };
    INT_S32 border_left { 0 };
    INT_S32 border_right { 0 };
    INT_S32 border_top { 0 };
    bool decorated { false };
};
[[nodiscard]] bool window_geometry(const WINDOW_REQUEST& request, INT_S32 desktop_width, INT_S32 desktop_height,
    bool mode_switched, WINDOW_GEOMETRY* geometry);

// The root window's size, measured once; connects when needed and answers 0 on failure.
[[nodiscard]] INT_U16 desktop_width();
[[nodiscard]] INT_U16 desktop_height();

// The display under a point. Coordinates above 4095 address further displays: bits 12 to 14 of
// x give bits 3 to 5 of the number, and those of y its bits 0 to 2. Negative coordinates give 0.
[[nodiscard]] INT_U16 display_at(INT_S16 x, INT_S16 y);

// Called for each rectangle the server asks to be drawn again (inclusive corners). The frame
// marks its BACK_BUFFER dirty there.
typedef void (*EXPOSE_HANDLER)(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2);
void set_expose_handler(EXPOSE_HANDLER handler);
void host_window_exposed(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2);
// Called when the window manager asks the window to close; the frame asks the application.
typedef void (*CLOSE_HANDLER)();
void set_close_handler(CLOSE_HANDLER handler);
void host_window_close_requested();

// ---------------------------------------------------------------------------------------------
// [SECTION] Pointer
// ---------------------------------------------------------------------------------------------

// Shapes: 0 the window's default, 1 hand, 2 other hand, 3 sizing, 4 cross, 5 text, 6 watch;
// 255 frees every cursor. With test_only, only says whether the shape can be made.
bool set_pointer_shape(INT_U8 shape, bool test_only);
// Hides or shows the pointer over the window. A repeated call does nothing but answer true.
bool show_pointer(bool visible);

// ---------------------------------------------------------------------------------------------
// [SECTION] The OpenGL route
// ---------------------------------------------------------------------------------------------

// Nothing in the installer opens it; the route belongs to the display all the same.
bool open_gl();
void close_gl();
[[nodiscard]] bool gl_is_active();
void set_gl_frame_pending();
