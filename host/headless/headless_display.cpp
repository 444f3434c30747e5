// The headless display: frames in memory, input from a script, time from the test.

#include "host/headless/headless_display.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "host/host.h"
#include "host/input.h"

namespace {

enum EVENT_KIND : INT_U8 {
    EVENT_MOTION,
    EVENT_BUTTON,
    EVENT_KEY,
    EVENT_CLOSE,
    EVENT_EXPOSE,
    EVENT_FOCUS,
    EVENT_BOUNDARY,
};

struct EVENT {
    EVENT_KIND kind;
    bool pressed;
    INT_S32 a, b, c, d; // position, button, keysym/character or rectangle by kind
};

constexpr INT_S32 MAX_EVENTS = 4096;
constexpr INT_S32 MAX_KEYS_DOWN = 64;

struct STATE {
    bool connected { false };
    bool refuse { false };
    char refuse_reason[256] {};
    INT_U16 desktop_width { 1024 };
    INT_U16 desktop_height { 768 };
    HEADLESS_WINDOW window;
    INT_S32 keep_limit { 16 };
    HEADLESS_FRAME* frames { nullptr }; // ring of keep_limit
    INT_S32 first_frame { 0 };
    INT_S32 frame_count { 0 };
    INT_S32 presented { 0 };
    INT_S32 idle_waits { 0 };
    EVENT events[MAX_EVENTS] {};
    INT_S32 event_head { 0 };
    INT_S32 event_count { 0 };
    INT_S32 script_x { -1 };
    INT_S32 script_y { -1 };
    INT_U32 keys_down[MAX_KEYS_DOWN] {};
    INT_S32 keys_down_count { 0 };
    char* foreign_clipboard { nullptr };
    INT_U32 time { 0 };
    bool gl_active { false };
};

STATE state;

INT_U32 headless_clock() { return state.time; }

void drop_frames()
{
    if (state.frames) {
        for (INT_S32 i = 0; i < state.keep_limit; ++i)
            delete[] state.frames[i].pixels;
        delete[] state.frames;
    }
    state.frames = nullptr;
    state.first_frame = 0;
    state.frame_count = 0;
}

bool push_event(const EVENT& event)
{
    if (state.event_count >= MAX_EVENTS)
        return false;
    state.events[(state.event_head + state.event_count) % MAX_EVENTS] = event;
    ++state.event_count;
    return true;
}

void queue(EVENT_KIND kind, bool pressed, INT_S32 a, INT_S32 b = 0, INT_S32 c = 0, INT_S32 d = 0)
{
    (void)push_event(EVENT { kind, pressed, a, b, c, d });
}

void set_key_down(INT_U32 keysym, bool down)
{
    for (INT_S32 i = 0; i < state.keys_down_count; ++i) {
        if (state.keys_down[i] != keysym)
            continue;
        if (!down)
            state.keys_down[i] = state.keys_down[--state.keys_down_count];
        return;
    }
    if (down && state.keys_down_count < MAX_KEYS_DOWN)
        state.keys_down[state.keys_down_count++] = keysym;
}

// ---------------------------------------------------------------------------------------------
// The back end's entries
// ---------------------------------------------------------------------------------------------

bool connect()
{
    if (state.refuse) {
        set_display_failure_text(state.refuse_reason);
        return false;
    }
    state.connected = true;
    return true;
}

INT_S32 open_window(const WINDOW_REQUEST& request, INT_S32* width, INT_S32* height)
{
    if (!connect())
        return DISPLAY_NO_SERVER;
    WINDOW_GEOMETRY geometry;
    if (!window_geometry(request, state.desktop_width, state.desktop_height, false, &geometry))
        return DISPLAY_REFUSED;
    // A change between full screen and a window always makes a new window.
    if (state.window.open && static_cast<bool>(request.full_screen) != state.window.full_screen)
        state.window.open = false;
    if (!state.window.open) {
        ++state.window.windows_made;
        state.window.open = true;
        window_has_focus = 1;
    }
    snprintf(state.window.title, sizeof state.window.title, "%s", request.title ? request.title : "ORLU Application");
    state.window.x = geometry.x;
    state.window.y = geometry.y;
    state.window.width = geometry.width;
    state.window.height = geometry.height;
    state.window.full_screen = request.full_screen != 0;
    state.window.decorated = geometry.decorated;
    *width = geometry.width;
    *height = geometry.height;
    return DISPLAY_OK;
}

void close_window()
{
    state.window.open = false;
    state.window.pointer_shape = 0;
    state.gl_active = false;
    window_has_focus = 0;
}

bool window_is_open() { return state.window.open; }

void set_window_title(const char* title)
{
    if (state.window.open)
        snprintf(state.window.title, sizeof state.window.title, "%s", title ? title : "");
}

bool present(const DISPLAY_PIXELS& frame, bool changed)
{
    if (!changed || frame.width < 1 || frame.height < 1 || frame.stride < frame.width)
        return false;
    if (!state.frames) {
        state.frames = new (std::nothrow) HEADLESS_FRAME[state.keep_limit];
        if (!state.frames)
            return false;
    }
    size_t count = static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height);
    INT_U32* copy = new (std::nothrow) INT_U32[count];
    if (!copy)
        return false;
    for (INT_S32 y = 0; y < frame.height; ++y)
        memcpy(copy + static_cast<size_t>(y) * frame.width, frame.pixels + static_cast<size_t>(y) * frame.stride,
            static_cast<size_t>(frame.width) * sizeof(INT_U32));
    INT_S32 slot;
    if (state.frame_count < state.keep_limit) {
        slot = (state.first_frame + state.frame_count) % state.keep_limit;
        ++state.frame_count;
    } else {
        slot = state.first_frame;
        state.first_frame = (state.first_frame + 1) % state.keep_limit;
    }
    HEADLESS_FRAME& kept = state.frames[slot];
    delete[] kept.pixels;
    kept.pixels = copy;
    kept.width = frame.width;
    kept.height = frame.height;
    kept.time = state.time;
    kept.number = ++state.presented;
    return true;
}

INT_U16 desktop_width() { return connect() ? state.desktop_width : 0; }
INT_U16 desktop_height() { return connect() ? state.desktop_height : 0; }

bool set_pointer_shape(INT_U8 shape, bool test_only)
{
    if (shape > 6 && shape != 255)
        return false;
    if (!test_only)
        state.window.pointer_shape = shape == 255 ? 0 : shape;
    return true;
}

bool show_pointer(bool visible)
{
    state.window.pointer_hidden = !visible;
    return true;
}

void warp_pointer(INT_S16 x, INT_S16 y)
{
    state.script_x = x;
    state.script_y = y;
}

void pump()
{
    bool delivered = false;
    while (state.event_count > 0) {
        EVENT event = state.events[state.event_head];
        state.event_head = (state.event_head + 1) % MAX_EVENTS;
        --state.event_count;
        if (event.kind == EVENT_BOUNDARY) {
            if (delivered)
                break;
            continue;
        }
        delivered = true;
        switch (event.kind) {
        case EVENT_MOTION:
            input_motion_event(event.a, event.b);
            break;
        case EVENT_BUTTON:
            input_button_event(event.c, event.pressed, event.a, event.b);
            break;
        case EVENT_KEY:
            set_key_down(static_cast<INT_U32>(event.a), event.pressed);
            if (event.pressed)
                input_key_event(static_cast<INT_U32>(event.a), static_cast<INT_U32>(event.b));
            break;
        case EVENT_CLOSE:
            host_window_close_requested();
            break;
        case EVENT_EXPOSE:
            host_window_exposed(event.a, event.b, event.c, event.d);
            break;
        case EVENT_FOCUS:
            window_has_focus = event.pressed ? 1 : 0;
            break;
        case EVENT_BOUNDARY:
            break;
        }
    }
    if (!delivered && idle_wait() != 0 && !screen_updated)
        ++state.idle_waits;
}

bool key_is_down(INT_U32 keysym)
{
    for (INT_S32 i = 0; i < state.keys_down_count; ++i)
        if (state.keys_down[i] == keysym)
            return true;
    return false;
}

void key_name(INT_U32 keysym, bool shifted, char* out, INT_S32 size)
{
    static const struct {
        INT_U32 keysym;
        const char* name;
    } names[] = {
        { KEY_RETURN, "Return" }, { KEY_TAB, "Tab" }, { KEY_ESCAPE, "Escape" }, { KEY_BACKSPACE, "BackSpace" },
        { KEY_LEFT, "Left" }, { KEY_UP, "Up" }, { KEY_RIGHT, "Right" }, { KEY_DOWN, "Down" },
        { KEY_SHIFT_LEFT, "Shift_L" }, { KEY_SHIFT_RIGHT, "Shift_R" }, { KEY_CONTROL_LEFT, "Control_L" },
        { 0x20, "space" },
    };
    out[0] = 0;
    for (const auto& entry : names) {
        if (entry.keysym == keysym) {
            snprintf(out, static_cast<size_t>(size), "%s", entry.name);
            return;
        }
    }
    if (keysym > 0x20 && keysym < 0x7F) {
        int c = static_cast<int>(keysym);
        c = shifted ? toupper(c) : tolower(c);
        snprintf(out, static_cast<size_t>(size), "%c", c);
    }
}

void clipboard_offer()
{
    // Another program would now see our text; the foreign offer is gone.
    free(state.foreign_clipboard);
    state.foreign_clipboard = nullptr;
}

INT_S32 clipboard_fetch(char* out, INT_S32 size)
{
    if (!state.foreign_clipboard)
        return -1;
    INT_S32 length = static_cast<INT_S32>(strlen(state.foreign_clipboard));
    if (out && size > 0) {
        INT_S32 copied = length < size - 1 ? length : size - 1;
        memcpy(out, state.foreign_clipboard, static_cast<size_t>(copied));
        out[copied] = 0;
    }
    return length;
}

bool open_gl() { return false; }
void close_gl() { state.gl_active = false; }
bool gl_is_active() { return state.gl_active; }
void set_gl_frame_pending() {}
bool mode_switched() { return false; }
void release_grabs() {}

void disconnect()
{
    close_window();
    state.connected = false;
}

const DISPLAY_BACK_END headless_back_end = {
    "headless", connect, open_window, close_window, window_is_open, set_window_title, present,
    desktop_width, desktop_height, set_pointer_shape, show_pointer, warp_pointer, pump, key_is_down, key_name,
    clipboard_offer, clipboard_fetch, open_gl, close_gl, gl_is_active, set_gl_frame_pending, mode_switched,
    release_grabs, disconnect,
};

} // namespace

const DISPLAY_BACK_END* headless_display_back_end() { return &headless_back_end; }

void headless_reset(INT_U16 width, INT_U16 height)
{
    use_display_back_end(nullptr);
    drop_frames();
    free(state.foreign_clipboard);
    state.foreign_clipboard = nullptr;
    INT_S32 keep = state.keep_limit;
    state.~STATE();
    new (&state) STATE();
    state.keep_limit = keep;
    state.desktop_width = width;
    state.desktop_height = height;
    reset_input_state();
    set_millisecond_clock(headless_clock);
    use_display_back_end(&headless_back_end);
}

void headless_shutdown()
{
    use_display_back_end(nullptr);
    drop_frames();
    free(state.foreign_clipboard);
    state.foreign_clipboard = nullptr;
    state.event_count = 0;
    reset_input_state();
    set_millisecond_clock(nullptr);
}

void headless_refuse_connection(const char* reason)
{
    state.refuse = reason != nullptr;
    snprintf(state.refuse_reason, sizeof state.refuse_reason, "%s", reason ? reason : "");
}

void headless_keep_frames(INT_S32 limit)
{
    drop_frames();
    state.keep_limit = limit < 1 ? 1 : limit;
}

const HEADLESS_WINDOW& headless_window() { return state.window; }
INT_S32 headless_frames_presented() { return state.presented; }
INT_S32 headless_frames_kept() { return state.frame_count; }

const HEADLESS_FRAME* headless_frame(INT_S32 index)
{
    if (index < 0 || index >= state.frame_count)
        return nullptr;
    return &state.frames[(state.first_frame + index) % state.keep_limit];
}

const HEADLESS_FRAME* headless_last_frame() { return headless_frame(state.frame_count - 1); }
INT_S32 headless_idle_waits() { return state.idle_waits; }

void headless_move_pointer(INT_S32 x, INT_S32 y)
{
    state.script_x = x;
    state.script_y = y;
    queue(EVENT_MOTION, false, x, y);
}

void headless_press_button(INT_S32 x_button) { queue(EVENT_BUTTON, true, state.script_x, state.script_y, x_button); }
void headless_release_button(INT_S32 x_button) { queue(EVENT_BUTTON, false, state.script_x, state.script_y, x_button); }

void headless_click(INT_S32 x, INT_S32 y, INT_S32 x_button)
{
    headless_move_pointer(x, y);
    headless_press_button(x_button);
    headless_end_frame();
    headless_release_button(x_button);
}

void headless_wheel(INT_S32 notches)
{
    INT_S32 button = notches > 0 ? 4 : 5;
    for (INT_S32 i = 0; i < (notches > 0 ? notches : -notches); ++i) {
        headless_press_button(button);
        headless_release_button(button);
    }
}

void headless_press_key(INT_U32 keysym, INT_U32 character)
{
    queue(EVENT_KEY, true, static_cast<INT_S32>(keysym), static_cast<INT_S32>(character));
}

void headless_release_key(INT_U32 keysym) { queue(EVENT_KEY, false, static_cast<INT_S32>(keysym)); }

void headless_type_key(INT_U32 keysym, INT_U32 character)
{
    headless_press_key(keysym, character);
    headless_release_key(keysym);
}

void headless_type_text(const char* text)
{
    for (const char* p = text ? text : ""; *p; ++p) {
        INT_U8 c = static_cast<INT_U8>(*p);
        INT_U32 keysym = c == '\n' ? KEY_RETURN : static_cast<INT_U32>(tolower(c));
        headless_type_key(keysym, c);
    }
}

void headless_request_close() { queue(EVENT_CLOSE, false, 0); }
void headless_expose(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2) { queue(EVENT_EXPOSE, false, x1, y1, x2, y2); }
void headless_set_focus(bool focused) { queue(EVENT_FOCUS, focused, 0); }

void headless_set_foreign_clipboard(const char* text)
{
    free(state.foreign_clipboard);
    state.foreign_clipboard = text ? strdup(text) : nullptr;
}

void headless_end_frame() { queue(EVENT_BOUNDARY, false, 0); }

INT_S32 headless_pending_events()
{
    INT_S32 count = 0;
    for (INT_S32 i = 0; i < state.event_count; ++i)
        if (state.events[(state.event_head + i) % MAX_EVENTS].kind != EVENT_BOUNDARY)
            ++count;
    return count;
}

void headless_set_time(INT_U32 milliseconds) { state.time = milliseconds; }
void headless_advance_time(INT_U32 milliseconds) { state.time += milliseconds; }
INT_U32 headless_time() { return state.time; }
