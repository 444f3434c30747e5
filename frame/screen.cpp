// The screen: the window's BACK_BUFFER and the path of its pixels to the host.

#include "frame/screen.h"

#include "base/debug_stream.h"
#include "base/error_report.h"
#include "host/host.h"
#include "frame/application_frame.h"

namespace {

BACK_BUFFER& screen()
{
    // Built on first use, so that it exists whatever order the static objects were made in.
    static BACK_BUFFER buffer;
    return buffer;
}

bool is_display_zero(INT_U16 display) { return display == 0 || display == ALL_DISPLAYS; }

void mark_exposed(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2)
{
    screen().mark_dirty(static_cast<INT_S16>(x1), static_cast<INT_S16>(y1), static_cast<INT_S16>(x2),
        static_cast<INT_S16>(y2));
}

// The window manager's close button is a polite request: the application's handler decides,
// and without one the request is refused.
void close_requested()
{
    SHUTDOWN_REQUEST_HANDLER handler = shutdown_request_handler();
    quit_requested = handler ? handler(0) : 0;
}

void platform_trace(const char* text) { debug_printf(&platform_debug, "%s", text); }

void resize_screen(INT_S32 width, INT_S32 height)
{
    BACK_BUFFER& buffer = screen();
    if (buffer.width == width && buffer.height == height)
        return;
    buffer.locked = 0;
    buffer.set_size(static_cast<INT_S16>(width), static_cast<INT_S16>(height));
    buffer.locked = 1;
    buffer.clear(COLOUR::from_channels(0, 0, 0, 255), true);
}

} // namespace

bool open_window(const WINDOW_REQUEST& request, INT_U16 display)
{
    if (display != 0)
        return false;
    set_host_trace_sink(platform_trace);
    const APPLICATION_RECORD* record = running_application_record();
    if (record && !window_icon())
        set_window_icon(record->linux_icon);
    INT_S32 width = 0;
    INT_S32 height = 0;
    INT_S32 status = host_open_window(request, &width, &height);
    INT_S32 fatal = display_fatal_code(status);
    if (fatal >= 0)
        fatal_error(static_cast<INT_U32>(fatal), display_failure_text());
    if (status != DISPLAY_OK)
        return false;
    set_expose_handler(mark_exposed);
    set_close_handler(close_requested);
    resize_screen(width, height);
    set_graphics_back_buffer(&screen());
    return true;
}

void close_window(INT_U16 display)
{
    if (!is_display_zero(display))
        return;
    host_close_window();
    BACK_BUFFER& buffer = screen();
    buffer.locked = 0;
    buffer.set_size(-1, -1);
    buffer.locked = 1;
}

void set_window_title(const char* title, INT_U16 display)
{
    if (is_display_zero(display))
        host_set_window_title(title);
}

void swap_screens(INT_U16 display)
{
    if (!is_display_zero(display) || !host_window_is_open())
        return;
    BACK_BUFFER& buffer = screen();
    DISPLAY_PIXELS frame;
    frame.pixels = reinterpret_cast<const INT_U32*>(buffer.pixels);
    frame.width = buffer.width;
    frame.height = buffer.height;
    frame.stride = buffer.stride;
    if (host_present(frame, buffer.is_dirty()))
        buffer.clear_dirty();
}

BACK_BUFFER* back_buffer_of(INT_U16 display) { return is_display_zero(display) ? &screen() : nullptr; }

bool display_exists(INT_U16 display) { return display == 0 && host_window_is_open(); }

INT_S16 display_width(INT_U16 display) { return is_display_zero(display) ? screen().width : 0; }
INT_S16 display_height(INT_U16 display) { return is_display_zero(display) ? screen().height : 0; }
