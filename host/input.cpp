// The input state, its translation from window events, the clock and ORLU_EVENT_CLIENT.

#include "host/input.h"

#include <sys/times.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

#include "host/display.h"
#include "host/host.h"

INT_S16 pointer_x = -1;
INT_S16 pointer_y = -1;
INT_U32 button_mask = 0;
INT_S32 wheel_count = 0;
INT_S32 last_input_time = 0;
INT_U32 last_key = 0;
INT_U8* char_buffer = nullptr;
INT_S32 char_buffer_size = 0;
INT_S32 char_count_index = -1;
INT_U8 last_char = 0;
INT_U8 double_clicked = 0;
INT_U32 double_click_time = 1000;
INT_U32 press_time = 0;
INT_U32 press_interval = 0;
INT_U32 release_time = 0;
INT_U32 release_interval = 0;
INT_U32 any_button_time = 0;
INT_U32 any_button_interval = 0;
INT_U8 key_map[32] = {};
INT_U8 pointer_visible = 1;
char* clipboard_text = nullptr;
INT_U8 screen_updated = 0;
INT_U8 window_has_focus = 0;

namespace {

MILLISECOND_CLOCK clock_override = nullptr;
// The double click compares milliseconds; the press stamps above are whole seconds.
INT_U32 last_primary_press_ms = 0;
bool primary_pressed_before = false;
INT_S32 window_width = 0;
INT_S32 window_height = 0;

INT_U32 seconds_now() { return static_cast<INT_U32>(time(nullptr)); }

void stamp_input_time() { last_input_time = static_cast<INT_S32>(time(nullptr)); }

bool inside_window(INT_S32 x, INT_S32 y)
{
    return x >= 0 && y >= 0 && x < window_width && y < window_height;
}

} // namespace

void reset_input_state()
{
    pointer_x = -1;
    pointer_y = -1;
    button_mask = 0;
    wheel_count = 0;
    last_input_time = 0;
    last_key = 0;
    free(char_buffer);
    char_buffer = nullptr;
    char_buffer_size = 0;
    char_count_index = -1;
    last_char = 0;
    double_clicked = 0;
    double_click_time = 1000;
    press_time = press_interval = release_time = release_interval = 0;
    any_button_time = any_button_interval = 0;
    memset(key_map, 0, sizeof key_map);
    pointer_visible = 1;
    free(clipboard_text);
    clipboard_text = nullptr;
    screen_updated = 0;
    window_has_focus = 0;
    last_primary_press_ms = 0;
    primary_pressed_before = false;
}

// ---------------------------------------------------------------------------------------------
// The pump and the clock
// ---------------------------------------------------------------------------------------------

namespace {
// What this pump has delivered so far, for input_button_event_waits.
bool buttons_changed_in_pump = false;
bool moved_with_button_held = false;
} // namespace

bool input_button_event_waits(INT_S32 x_button)
{
    if (x_button < 1 || x_button > 3)
        return false;
    return buttons_changed_in_pump || moved_with_button_held;
}

bool input_motion_event_waits()
{
    return buttons_changed_in_pump;
}

void pump_events()
{
    buttons_changed_in_pump = false;
    moved_with_button_held = false;
    // The framework's posted-message queue would be served here; nothing in this program posts
    // to it, so there is none.
    const DISPLAY_BACK_END* back_end = display_back_end();
    if (back_end && back_end->window_is_open())
        back_end->pump();
    screen_updated = 0;
}

void host_pump_events() { pump_events(); }

void set_millisecond_clock(MILLISECOND_CLOCK clock) { clock_override = clock; }

INT_U32 milliseconds_now()
{
    if (clock_override)
        return clock_override();
    struct tms buffer;
    clock_t ticks = times(&buffer);
    long per_second = sysconf(_SC_CLK_TCK);
    if (per_second <= 0)
        per_second = 100;
    return static_cast<INT_U32>(static_cast<INT_U64>(ticks) * 1000u / static_cast<INT_U64>(per_second));
}

void sleep_milliseconds(INT_U32 milliseconds)
{
    if (milliseconds >= 1000)
        sleep(milliseconds / 1000);
    usleep(static_cast<useconds_t>(milliseconds % 1000) * 1000u);
}

// ---------------------------------------------------------------------------------------------
// What the back ends feed
// ---------------------------------------------------------------------------------------------

void set_last_key(INT_U32 keysym)
{
    stamp_input_time();
    last_key = keysym;
}

void push_char(INT_U32 code)
{
    stamp_input_time();
    if (code >= 256 && code <= 0xFFFFFF7Fu) {
        // Only 8-bit characters fit the buffer; the rest is shown as a question mark.
        char dropped[32];
        snprintf(dropped, sizeof dropped, "Unicode char dropped %08X", code);
        code = '?';
    }
    INT_U8 character = static_cast<INT_U8>(code & 0xFF);
    last_char = character;
    if (!char_buffer || character == 0)
        return;
    if (char_count_index >= char_buffer_size - 1)
        return; // full: the oldest characters stay
    char_buffer[++char_count_index] = character;
}

void set_button(INT_S32 number, bool pressed)
{
    stamp_input_time();
    INT_U32 now = seconds_now();
    any_button_interval = now - any_button_time;
    any_button_time = now;
    if (number == 1) {
        if (!pressed) {
            release_interval = now - release_time;
            release_time = now;
            button_mask &= ~BUTTON_PRIMARY;
            return;
        }
        INT_U32 now_ms = milliseconds_now();
        double_clicked = primary_pressed_before && now_ms - last_primary_press_ms < double_click_time;
        last_primary_press_ms = now_ms;
        primary_pressed_before = true;
        press_interval = now - press_time;
        press_time = now;
        button_mask |= BUTTON_PRIMARY;
        return;
    }
    if (number < 2 || number > 32)
        return;
    INT_U32 bit = 1u << (number - 1);
    if (pressed)
        button_mask |= bit;
    else
        button_mask &= ~bit;
}

void input_button_event(INT_S32 x_button, bool pressed, INT_S32 x, INT_S32 y)
{
    stamp_input_time();
    if (x_button >= 1 && x_button <= 3)
        buttons_changed_in_pump = true;
    if (inside_window(x, y)) {
        pointer_x = static_cast<INT_S16>(x);
        pointer_y = static_cast<INT_S16>(y);
    }
    switch (x_button) {
    case 1:
        set_button(1, pressed);
        break;
    case 2:
        set_button(3, pressed);
        break;
    case 3:
        set_button(2, pressed);
        break;
    case 4:
        if (pressed)
            ++wheel_count;
        break;
    case 5:
        if (pressed)
            --wheel_count;
        break;
    default:
        break;
    }
}

void input_motion_event(INT_S32 x, INT_S32 y)
{
    if (!inside_window(x, y)) {
        pointer_x = -1;
        pointer_y = -1;
        button_mask = 0;
        return;
    }
    stamp_input_time();
    pointer_x = static_cast<INT_S16>(x);
    pointer_y = static_cast<INT_S16>(y);
    if (button_mask & (BUTTON_PRIMARY | BUTTON_SECONDARY | BUTTON_MIDDLE))
        moved_with_button_held = true;
}

void input_key_event(INT_U32 base_keysym, INT_U32 character)
{
    push_char(character == '\r' ? '\n' : character);
    set_last_key(base_keysym);
}

void input_set_window_size(INT_S32 width, INT_S32 height)
{
    window_width = width;
    window_height = height;
}

// ---------------------------------------------------------------------------------------------
// ORLU_EVENT_CLIENT
// ---------------------------------------------------------------------------------------------

ORLU_EVENT_CLIENT::~ORLU_EVENT_CLIENT() = default;

bool ORLU_EVENT_CLIENT::key_is_down(INT_U32 keysym)
{
    const DISPLAY_BACK_END* back_end = display_back_end();
    if (!back_end || !back_end->window_is_open())
        return false;
    if (!back_end->mode_switched() && !window_has_focus)
        return false;
    return back_end->key_is_down(keysym);
}

INT_U32 ORLU_EVENT_CLIENT::get_key()
{
    INT_U32 key = last_key;
    last_key = 0;
    return key;
}

INT_U8 ORLU_EVENT_CLIENT::read_char()
{
    if (!char_buffer || char_count_index < 0)
        return 0;
    INT_U8 first = char_buffer[0];
    memmove(char_buffer, char_buffer + 1, static_cast<size_t>(char_count_index));
    --char_count_index;
    return first;
}

bool ORLU_EVENT_CLIENT::set_char_buffer(INT_S32 size)
{
    if (size < 0)
        return true;
    char_count_index = -1;
    if (size == char_buffer_size)
        return true;
    free(char_buffer);
    char_buffer = nullptr;
    char_buffer_size = 0;
    if (size == 0)
        return true;
    char_buffer = static_cast<INT_U8*>(calloc(static_cast<size_t>(size), 1));
    if (!char_buffer)
        return false;
    char_buffer_size = size;
    return true;
}

const char* ORLU_EVENT_CLIENT::key_name(INT_U32 keysym, bool shifted)
{
    static char name[256];
    name[0] = 0;
    const DISPLAY_BACK_END* back_end = display_back_end();
    if (back_end)
        back_end->key_name(keysym, shifted, name, sizeof name);
    return name;
}

void ORLU_EVENT_CLIENT::set_pointer_position(INT_S16 x, INT_S16 y)
{
    const DISPLAY_BACK_END* back_end = display_back_end();
    if (!back_end || !back_end->window_is_open())
        return;
    back_end->warp_pointer(x, y);
    pointer_x = x;
    pointer_y = y;
    screen_updated = 1;
    stamp_input_time();
}

void ORLU_EVENT_CLIENT::show_pointer()
{
    if (pointer_visible)
        return;
    pointer_visible = 1;
    ::show_pointer(true);
}

void ORLU_EVENT_CLIENT::hide_pointer()
{
    if (!pointer_visible)
        return;
    pointer_visible = 0;
    ::show_pointer(false);
}

bool ORLU_EVENT_CLIENT::clipboard_has_text()
{
    return clipboard_length() > 0;
}

INT_S32 ORLU_EVENT_CLIENT::clipboard_length()
{
    if (clipboard_text)
        return static_cast<INT_S32>(strlen(clipboard_text));
    const DISPLAY_BACK_END* back_end = display_back_end();
    if (!back_end || !back_end->window_is_open())
        return 0;
    INT_S32 length = back_end->clipboard_fetch(nullptr, 0);
    return length < 0 ? 0 : length;
}

bool ORLU_EVENT_CLIENT::clipboard_read(char* buffer, INT_S32 size)
{
    if (!buffer || size < 1)
        return false;
    buffer[0] = 0;
    if (clipboard_text) {
        size_t length = strlen(clipboard_text);
        size_t room = static_cast<size_t>(size) - 1;
        if (length > room)
            length = room;
        memcpy(buffer, clipboard_text, length);
        buffer[length] = 0;
        return true;
    }
    const DISPLAY_BACK_END* back_end = display_back_end();
    if (!back_end || !back_end->window_is_open())
        return false;
    return back_end->clipboard_fetch(buffer, size) >= 0;
}

bool ORLU_EVENT_CLIENT::clipboard_write(const char* text)
{
    free(clipboard_text);
    clipboard_text = nullptr;
    if (!text)
        return true;
    clipboard_text = strdup(text);
    if (!clipboard_text)
        return false;
    const DISPLAY_BACK_END* back_end = display_back_end();
    if (back_end && back_end->window_is_open())
        back_end->clipboard_offer();
    return true;
}
