// The X11 libraries, loaded when the display is first needed.
//
// Nothing links Xlib, Xpm, XF86VidMode or GL: a program that installs without a window must run
// on a machine that has none of them. The first use loads each by its soname with dlopen and
// looks every function up once; a library that is missing, or lacks one of the functions, is
// not used at all. Xlib is required for a window; the others are optional (no icon, no video
// mode switch, no GLX visual).
//
// Only host/linux includes this header (and the system's X11 headers). Calls go through the
// tables: `x11.XOpenDisplay(nullptr)`.
#pragma once

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/xf86vmode.h>
#include <X11/xpm.h>
#include <GL/glx.h>

#include "base/orlu_types.h"

// The functions of libX11.so.6 the display uses: the name, the result, the arguments.
#define ORLU_X11_FUNCTIONS(F)                                                                        \
    F(XOpenDisplay, Display*, (const char*))                                                         \
    F(XCloseDisplay, int, (Display*))                                                                \
    F(XInternAtom, Atom, (Display*, const char*, Bool))                                              \
    F(XDefaultScreen, int, (Display*))                                                               \
    F(XDefaultDepth, int, (Display*, int))                                                           \
    F(XDefaultVisual, Visual*, (Display*, int))                                                      \
    F(XDefaultRootWindow, Window, (Display*))                                                        \
    F(XMatchVisualInfo, Status, (Display*, int, int, int, XVisualInfo*))                             \
    F(XGetWindowAttributes, Status, (Display*, Window, XWindowAttributes*))                          \
    F(XCreateWindow, Window,                                                                         \
        (Display*, Window, int, int, unsigned int, unsigned int, unsigned int, int, unsigned int,    \
            Visual*, unsigned long, XSetWindowAttributes*))                                          \
    F(XCreateSimpleWindow, Window,                                                                   \
        (Display*, Window, int, int, unsigned int, unsigned int, unsigned int, unsigned long,        \
            unsigned long))                                                                          \
    F(XCreateColormap, Colormap, (Display*, Window, Visual*, int))                                   \
    F(XFreeColormap, int, (Display*, Colormap))                                                      \
    F(XChangeWindowAttributes, int, (Display*, Window, unsigned long, XSetWindowAttributes*))        \
    F(XMapWindow, int, (Display*, Window))                                                           \
    F(XUnmapWindow, int, (Display*, Window))                                                         \
    F(XMoveResizeWindow, int, (Display*, Window, int, int, unsigned int, unsigned int))              \
    F(XDestroyWindow, int, (Display*, Window))                                                       \
    F(XRaiseWindow, int, (Display*, Window))                                                         \
    F(XAllocSizeHints, XSizeHints*, (void))                                                          \
    F(XSetWMNormalHints, void, (Display*, Window, XSizeHints*))                                      \
    F(XAllocWMHints, XWMHints*, (void))                                                              \
    F(XSetWMHints, int, (Display*, Window, XWMHints*))                                               \
    F(XStoreName, int, (Display*, Window, const char*))                                              \
    F(XSetIconName, int, (Display*, Window, const char*))                                            \
    F(XSetWMProtocols, Status, (Display*, Window, Atom*, int))                                       \
    F(XSetTransientForHint, int, (Display*, Window, Window))                                         \
    F(XSelectInput, int, (Display*, Window, long))                                                   \
    F(XChangeProperty, int,                                                                          \
        (Display*, Window, Atom, Atom, int, int, const unsigned char*, int))                         \
    F(XDeleteProperty, int, (Display*, Window, Atom))                                                \
    F(XGetWindowProperty, int,                                                                       \
        (Display*, Window, Atom, long, long, Bool, Atom, Atom*, int*, unsigned long*,                \
            unsigned long*, unsigned char**))                                                        \
    F(XSendEvent, Status, (Display*, Window, Bool, long, XEvent*))                                   \
    F(XCreateGC, GC, (Display*, Drawable, unsigned long, XGCValues*))                                \
    F(XFreeGC, int, (Display*, GC))                                                                  \
    F(XCreateImage, XImage*,                                                                         \
        (Display*, Visual*, unsigned int, int, int, char*, unsigned int, unsigned int, int, int))    \
    F(XPutImage, int,                                                                                \
        (Display*, Drawable, GC, XImage*, int, int, int, int, unsigned int, unsigned int))           \
    F(XWarpPointer, int,                                                                             \
        (Display*, Window, Window, int, int, unsigned int, unsigned int, int, int))                  \
    F(XGrabKeyboard, int, (Display*, Window, Bool, int, int, Time))                                  \
    F(XGrabPointer, int,                                                                             \
        (Display*, Window, Bool, unsigned int, int, int, Window, Cursor, Time))                      \
    F(XUngrabKeyboard, int, (Display*, Time))                                                        \
    F(XUngrabPointer, int, (Display*, Time))                                                         \
    F(XCreateFontCursor, Cursor, (Display*, unsigned int))                                           \
    F(XCreateBitmapFromData, Pixmap, (Display*, Drawable, const char*, unsigned int, unsigned int))  \
    F(XCreatePixmapCursor, Cursor,                                                                   \
        (Display*, Pixmap, Pixmap, XColor*, XColor*, unsigned int, unsigned int))                    \
    F(XDefineCursor, int, (Display*, Window, Cursor))                                                \
    F(XUndefineCursor, int, (Display*, Window))                                                      \
    F(XFreeCursor, int, (Display*, Cursor))                                                          \
    F(XFreePixmap, int, (Display*, Pixmap))                                                          \
    F(XFlush, int, (Display*))                                                                       \
    F(XSync, int, (Display*, Bool))                                                                  \
    F(XFree, int, (void*))                                                                           \
    F(XPending, int, (Display*))                                                                     \
    F(XCheckIfEvent, Bool, (Display*, XEvent*, Bool (*)(Display*, XEvent*, XPointer), XPointer))     \
    F(XCheckTypedWindowEvent, Bool, (Display*, Window, int, XEvent*))                                \
    F(XPutBackEvent, int, (Display*, XEvent*))                                                       \
    F(XConnectionNumber, int, (Display*))                                                            \
    F(XQueryKeymap, int, (Display*, char*))                                                          \
    F(XLookupString, int, (XKeyEvent*, char*, int, KeySym*, XComposeStatus*))                        \
    F(XKeysymToKeycode, KeyCode, (Display*, KeySym))                                                 \
    F(XKeycodeToKeysym, KeySym, (Display*, KeyCode, int))                                            \
    F(XKeysymToString, char*, (KeySym))                                                              \
    F(XConvertCase, void, (KeySym, KeySym*, KeySym*))                                                \
    F(XSetSelectionOwner, int, (Display*, Atom, Window, Time))                                       \
    F(XGetSelectionOwner, Window, (Display*, Atom))                                                  \
    F(XConvertSelection, int, (Display*, Atom, Atom, Atom, Window, Time))                            \
    F(XSetErrorHandler, XErrorHandler, (XErrorHandler))                                              \
    F(XParseColor, Status, (Display*, Colormap, const char*, XColor*))                               \
    F(XDefaultColormap, Colormap, (Display*, int))                                                   \
    F(XGetImage, XImage*,                                                                            \
        (Display*, Drawable, int, int, unsigned int, unsigned int, unsigned long, int))

#define ORLU_XPM_FUNCTIONS(F)                                                                        \
    F(XpmCreatePixmapFromData, int, (Display*, Drawable, char**, Pixmap*, Pixmap*, XpmAttributes*))

#define ORLU_XF86VM_FUNCTIONS(F)                                                                     \
    F(XF86VidModeQueryExtension, Bool, (Display*, int*, int*))                                       \
    F(XF86VidModeGetModeLine, Bool, (Display*, int, int*, XF86VidModeModeLine*))                     \
    F(XF86VidModeGetAllModeLines, Bool, (Display*, int, int*, XF86VidModeModeInfo***))               \
    F(XF86VidModeSwitchToMode, Bool, (Display*, int, XF86VidModeModeInfo*))                         \
    F(XF86VidModeSetViewPort, Bool, (Display*, int, int, int))                                       \
    F(XF86VidModeLockModeSwitch, Bool, (Display*, int, int))

#define ORLU_GL_FUNCTIONS(F)                                                                         \
    F(glXQueryExtension, Bool, (Display*, int*, int*))                                               \
    F(glXChooseVisual, XVisualInfo*, (Display*, int, int*))                                          \
    F(glXCreateContext, GLXContext, (Display*, XVisualInfo*, GLXContext, Bool))                      \
    F(glXMakeCurrent, Bool, (Display*, GLXDrawable, GLXContext))                                     \
    F(glXDestroyContext, void, (Display*, GLXContext))                                               \
    F(glXSwapBuffers, void, (Display*, GLXDrawable))                                                 \
    F(glDrawPixels, void, (GLsizei, GLsizei, GLenum, GLenum, const GLvoid*))                         \
    F(glPixelZoom, void, (GLfloat, GLfloat))                                                         \
    F(glRasterPos2f, void, (GLfloat, GLfloat))                                                       \
    F(glMatrixMode, void, (GLenum))                                                                  \
    F(glPushMatrix, void, (void))                                                                    \
    F(glPopMatrix, void, (void))                                                                     \
    F(glLoadIdentity, void, (void))                                                                  \
    F(glEnable, void, (GLenum))                                                                      \
    F(glBlendFunc, void, (GLenum, GLenum))                                                           \
    F(glClear, void, (GLbitfield))

#define ORLU_DECLARE_FUNCTION(name, result, arguments) result(*name) arguments;

struct X11_API {
    ORLU_X11_FUNCTIONS(ORLU_DECLARE_FUNCTION)
};
struct XPM_API {
    ORLU_XPM_FUNCTIONS(ORLU_DECLARE_FUNCTION)
};
struct XF86VM_API {
    ORLU_XF86VM_FUNCTIONS(ORLU_DECLARE_FUNCTION)
};
struct GL_API {
    ORLU_GL_FUNCTIONS(ORLU_DECLARE_FUNCTION)
};

#undef ORLU_DECLARE_FUNCTION

// The sonames, in one place.
extern const char* const X11_LIBRARY_NAME;    // "libX11.so.6"
extern const char* const XPM_LIBRARY_NAME;    // "libXpm.so.4"
extern const char* const XF86VM_LIBRARY_NAME; // "libXxf86vm.so.1"
extern const char* const GL_LIBRARY_NAME;     // "libGL.so.1"

// The tables; valid only after the matching load answered true.
extern X11_API x11;
extern XPM_API xpm;
extern XF86VM_API xf86vm;
extern GL_API gl;

// Load once; later calls answer the first result. A failure of Xlib sets the display's failure
// text to "<soname> cannot be loaded" (or "... lacks <function>").
[[nodiscard]] bool load_x11();
[[nodiscard]] bool load_xpm();
[[nodiscard]] bool load_xf86vm();
[[nodiscard]] bool load_gl();
// True once the library was loaded in this process (for the tests that make sure a run without
// a window never loads it).
[[nodiscard]] bool x11_is_loaded();

// Loads `soname` and looks up `count` functions by `names` into `pointers`; false when the
// library or any of the names is missing, with the reason ("libX11.so.6 cannot be loaded",
// "libX11.so.6 lacks XOpenDisplay") in `failure`. Nothing of the library stays loaded on
// failure. Exposed so that the failure path can be tested with names that do not exist.
[[nodiscard]] bool load_function_table(const char* soname, const char* const* names, INT_S32 count, void** pointers,
    char* failure, INT_S32 failure_size);
