// The X11 display back end: the installer's window on a desktop.
//
// Xlib and its extensions are loaded by host/linux/x11_library.h on the first connection, so
// choosing this back end costs nothing until a window or the desktop's size is asked for.
// Servers without XF86VidMode (Xvfb, XWayland, most of today's) work: full screen then simply
// covers the desktop and no video mode is ever changed.
#pragma once

#include "base/orlu_types.h"
#include "host/display.h"

[[nodiscard]] const DISPLAY_BACK_END* x11_display_back_end();
// True once Xlib was loaded; after a failed connection false means the library is missing.
[[nodiscard]] bool x11_library_loaded();

// The X error handler. A failed glXMakeCurrent (error 8 of request 0x8F, minor 5) sets
// x11_gl_failed and prints "OpenGL Context does not match!"; every other error goes to the
// handler that was installed before ours. The pointers are Display* and XErrorEvent*, so that
// callers need not see Xlib.
int x_error_handler(void* display, void* error_event);
[[nodiscard]] bool x11_gl_failed();
void x11_clear_gl_failed();
// Installs x_error_handler and keeps the previous one (done on connecting); restore gives the
// previous one back (done on disconnecting). False when Xlib cannot be loaded.
bool x11_install_error_handler();
void x11_restore_error_handler();

// What the tests look at: requests of XPutImage sent, the layout of the window's pixels, and
// whether the server has the video mode extension.
[[nodiscard]] INT_S32 x11_put_image_count();
[[nodiscard]] INT_S32 x11_window_depth();
[[nodiscard]] INT_S32 x11_bits_per_pixel();
[[nodiscard]] bool x11_has_video_modes();
[[nodiscard]] bool x11_input_grabbed();
// The X window's id, 0 without one.
[[nodiscard]] unsigned long x11_window_id();
