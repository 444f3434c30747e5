// The display door: the chosen back end, the window's size and the handlers of the frame.

#include "host/display.h"

#include <cstdarg>
#include <cstdio>

#include "host/host.h"
#include "host/input.h"

namespace {

const DISPLAY_BACK_END* back_end = nullptr;
char failure_text[256] = "";
INT_S32 window_width = 0;
INT_S32 window_height = 0;
EXPOSE_HANDLER expose_handler = nullptr;
CLOSE_HANDLER close_handler = nullptr;
HOST_TRACE_SINK trace_sink = nullptr;
const char* const* icon_lines = nullptr;

} // namespace

void use_display_back_end(const DISPLAY_BACK_END* chosen)
{
    if (back_end == chosen)
        return;
    host_close_display();
    back_end = chosen;
    failure_text[0] = 0;
}

const DISPLAY_BACK_END* display_back_end() { return back_end; }

const char* display_failure_text() { return failure_text; }

void set_display_failure_text(const char* text)
{
    snprintf(failure_text, sizeof failure_text, "%s", text ? text : "");
}

bool host_connect_display()
{
    if (!back_end) {
        set_display_failure_text("no display back end was chosen");
        return false;
    }
    return back_end->connect();
}

INT_S32 host_open_window(const WINDOW_REQUEST& request, INT_S32* width, INT_S32* height)
{
    if (!back_end) {
        set_display_failure_text("no display back end was chosen");
        return DISPLAY_NO_SERVER;
    }
    INT_S32 w = 0;
    INT_S32 h = 0;
    INT_S32 status = back_end->open_window(request, &w, &h);
    if (status != DISPLAY_OK)
        return status;
    window_width = w;
    window_height = h;
    input_set_window_size(w, h);
    if (width)
        *width = w;
    if (height)
        *height = h;
    return DISPLAY_OK;
}

void host_close_window()
{
    if (back_end)
        back_end->close_window();
    window_width = 0;
    window_height = 0;
    input_set_window_size(0, 0);
}

bool host_window_is_open() { return back_end && back_end->window_is_open(); }
INT_S32 host_window_width() { return host_window_is_open() ? window_width : 0; }
INT_S32 host_window_height() { return host_window_is_open() ? window_height : 0; }

void host_set_window_title(const char* title)
{
    if (back_end)
        back_end->set_window_title(title);
}

bool host_present(const DISPLAY_PIXELS& frame, bool changed)
{
    if (!back_end || !back_end->window_is_open() || !frame.pixels)
        return false;
    if (!back_end->present(frame, changed))
        return false;
    screen_updated = 1;
    return true;
}

void host_close_display()
{
    if (!back_end)
        return;
    back_end->disconnect();
    window_width = 0;
    window_height = 0;
    input_set_window_size(0, 0);
}

INT_U16 desktop_width() { return back_end ? back_end->desktop_width() : 0; }
INT_U16 desktop_height() { return back_end ? back_end->desktop_height() : 0; }

INT_U16 display_at(INT_S16 x, INT_S16 y)
{
    if (x < 0 || y < 0)
        return 0;
    INT_U16 high = static_cast<INT_U16>((x >> 12) & 7);
    INT_U16 low = static_cast<INT_U16>((y >> 12) & 7);
    return static_cast<INT_U16>((high << 3) | low);
}

void set_expose_handler(EXPOSE_HANDLER handler) { expose_handler = handler; }

void host_window_exposed(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2)
{
    if (expose_handler)
        expose_handler(x1, y1, x2, y2);
}

void set_close_handler(CLOSE_HANDLER handler) { close_handler = handler; }

void host_window_close_requested()
{
    if (close_handler)
        close_handler();
}

bool set_pointer_shape(INT_U8 shape, bool test_only)
{
    return back_end && back_end->set_pointer_shape(shape, test_only);
}

bool show_pointer(bool visible)
{
    return back_end && back_end->show_pointer(visible);
}

bool open_gl() { return back_end && back_end->open_gl(); }

void close_gl()
{
    if (back_end)
        back_end->close_gl();
}

bool gl_is_active() { return back_end && back_end->gl_is_active(); }

void set_gl_frame_pending()
{
    if (back_end)
        back_end->set_gl_frame_pending();
}

bool window_geometry(const WINDOW_REQUEST& request, INT_S32 desk_width, INT_S32 desk_height, bool mode_switched,
    WINDOW_GEOMETRY* geometry)
{
    WINDOW_GEOMETRY g;
    INT_S32 width = request.width == WINDOW_DEFAULT ? desk_width : request.width;
    INT_S32 height = request.height == WINDOW_DEFAULT ? desk_height : request.height;
    if (request.min_width != WINDOW_DEFAULT && width < request.min_width)
        width = request.min_width;
    if (request.max_width != WINDOW_DEFAULT && width > request.max_width)
        width = request.max_width;
    if (request.min_height != WINDOW_DEFAULT && height < request.min_height)
        height = request.min_height;
    if (request.max_height != WINDOW_DEFAULT && height > request.max_height)
        height = request.max_height;

    g.decorated = !request.no_decorations && !request.full_screen;
    if (g.decorated) {
        g.border_left = 5;
        g.border_right = 5;
        g.border_top = 25;
    }
    if (mode_switched) {
        g.x = 0;
        g.y = 0;
    } else {
        // The window manager's frame is an estimate; keeping the window inside the desktop less
        // that estimate keeps the title bar on the screen.
        if (width > desk_width - 2 * g.border_left)
            width = desk_width - 2 * g.border_left;
        if (height > desk_height - g.border_left - g.border_top)
            height = desk_height - g.border_left - g.border_top;
        g.x = request.x == WINDOW_DEFAULT ? (desk_width - 2 * g.border_left - width) / 2 : request.x;
        g.y = request.y == WINDOW_DEFAULT ? (desk_height - g.border_left - height - g.border_top) / 2 : request.y;
    }
    g.width = width;
    g.height = height;
    if (geometry)
        *geometry = g;
    if (width < 1 || height < 1)
        return false;
    if (request.min_width != WINDOW_DEFAULT && width < request.min_width)
        return false;
    if (request.min_height != WINDOW_DEFAULT && height < request.min_height)
        return false;
    return true;
}

void set_host_trace_sink(HOST_TRACE_SINK sink) { trace_sink = sink; }

void host_trace(const char* format, ...)
{
    if (!trace_sink)
        return;
    char line[512];
    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    trace_sink(line);
}

void set_window_icon(const char* const* xpm_lines) { icon_lines = xpm_lines; }
const char* const* window_icon() { return icon_lines; }
