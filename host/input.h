// Input: the event pump and the state it leaves behind for widgets to poll.
//
// Widgets do not receive messages. Once per pass of the main loop pump_events drains the
// window's events into the globals below; during `update` widgets read them, directly or through
// ORLU_EVENT_CLIENT. Every back end (host/linux's X11, host/headless) feeds the same translation
// functions (input_button_event and the rest), so the state means the same thing under both.
//
// [SECTION] The state
// [SECTION] The pump and the clock
// [SECTION] What the back ends feed
// [SECTION] ORLU_EVENT_CLIENT
#pragma once

#include "base/orlu_types.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] The state
// ---------------------------------------------------------------------------------------------

// Key symbols are X11's whatever the back end.
constexpr INT_U32 KEY_RETURN = 65293;
constexpr INT_U32 KEY_TAB = 65289;
constexpr INT_U32 KEY_ESCAPE = 65307;
constexpr INT_U32 KEY_BACKSPACE = 65288;
constexpr INT_U32 KEY_LEFT = 65361;
constexpr INT_U32 KEY_UP = 65362;
constexpr INT_U32 KEY_RIGHT = 65363;
constexpr INT_U32 KEY_DOWN = 65364;
constexpr INT_U32 KEY_SHIFT_LEFT = 65505;
constexpr INT_U32 KEY_SHIFT_RIGHT = 65506;
constexpr INT_U32 KEY_CONTROL_LEFT = 65507;

// Bits of button_mask.
constexpr INT_U32 BUTTON_PRIMARY = 0x1;
constexpr INT_U32 BUTTON_SECONDARY = 0x2;
constexpr INT_U32 BUTTON_MIDDLE = 0x4;

// Position in the window; -1, -1 before any movement and while the pointer is outside.
extern INT_S16 pointer_x;
extern INT_S16 pointer_y;
extern INT_U32 button_mask;
// Wheel notches since a reader last cleared it: +1 up, -1 down.
extern INT_S32 wheel_count;
// time() of the last input of any sort.
extern INT_S32 last_input_time;
// The keysym of the last key press without modifiers; 0 when none (get_key clears it).
extern INT_U32 last_key;
// Typed characters, oldest first; char_count_index is the index of the last stored one, -1 when
// empty. No buffer (null) until set_char_buffer.
extern INT_U8* char_buffer;
extern INT_S32 char_buffer_size;
extern INT_S32 char_count_index;
extern INT_U8 last_char;
// The last primary press came within double_click_time milliseconds of the one before.
extern INT_U8 double_clicked;
extern INT_U32 double_click_time;
// time() stamps of button events and the differences to the previous ones.
extern INT_U32 press_time;
extern INT_U32 press_interval;
extern INT_U32 release_time;
extern INT_U32 release_interval;
extern INT_U32 any_button_time;
extern INT_U32 any_button_interval;
// The keyboard by key code, bit (code mod 8) of byte code / 8; filled by the X11 back end.
extern INT_U8 key_map[32];
extern INT_U8 pointer_visible;
// Text this program offers on the clipboard, or null.
extern char* clipboard_text;
// A picture was sent or the pointer moved since the last pump: the pump then does not wait.
extern INT_U8 screen_updated;
// The window has the keyboard focus (always true with a switched video mode).
extern INT_U8 window_has_focus;

// Back to the state of a program that just started: no buffer, no clipboard text, pointer at
// -1, -1, nothing pressed. For tests and for a back end that is changed.
void reset_input_state();

// ---------------------------------------------------------------------------------------------
// [SECTION] The pump and the clock
// ---------------------------------------------------------------------------------------------

// Drains the window's events into the state, waiting up to idle_wait() milliseconds when
// nothing happened and nothing was drawn; then clears screen_updated. Without a window only the
// clearing happens.
void pump_events();

// milliseconds_now (host/host.h) reads this instead of the process clock when it is set; null
// goes back to the process clock. Tests and the headless back end set it.
typedef INT_U32 (*MILLISECOND_CLOCK)();
void set_millisecond_clock(MILLISECOND_CLOCK clock);
// sleep(n / 1000) for a second or more, then usleep for the rest.
void sleep_milliseconds(INT_U32 milliseconds);

// ---------------------------------------------------------------------------------------------
// [SECTION] What the back ends feed
// ---------------------------------------------------------------------------------------------

// Stamps last_input_time.
void set_last_key(INT_U32 keysym);
// Codes from 256 to 0xFFFFFF7F cannot be stored and become "?"; a full buffer drops new
// characters; 0 is never stored.
void push_char(INT_U32 code);
// Button numbers of the toolkit: 1 primary, 2 secondary, 3 middle, up to 32; higher ignored.
void set_button(INT_S32 number, bool pressed);

// A button event of the window in X's numbering (1 left, 2 middle, 3 right, 4 wheel up,
// 5 wheel down) at a position in the window. A position outside the window (which a grab can
// deliver) changes neither the position nor anything but the button's own bit.
void input_button_event(INT_S32 x_button, bool pressed, INT_S32 x, INT_S32 y);
// The pointer moved to a position in the window's coordinates; outside the window it has left.
void input_motion_event(INT_S32 x, INT_S32 y);
// Widgets read the buttons once a frame, so a change that a later event of the same pump undoes
// would never be seen: a quick tap arrives as a press and its release together, and a quick
// drag as a press, its moves and the release. A back end that drains many events in one pump
// asks before each button and motion event and leaves it queued for the next pump when the
// answer is true: a button (1 to 3) waits after a change of those buttons or a move with one
// held earlier in the pump; a move waits after a change of those buttons, so the press is seen
// where it happened. The first such event of a pump never waits, so the queue always moves.
[[nodiscard]] bool input_button_event_waits(INT_S32 x_button);
[[nodiscard]] bool input_motion_event_waits();
// A key press: its base keysym (no modifiers) and the one character it typed, 0 for none.
// A carriage return is stored as a line feed.
void input_key_event(INT_U32 base_keysym, INT_U32 character);
// The window's size, for the inside test; the display code sets it.
void input_set_window_size(INT_S32 width, INT_S32 height);

// ---------------------------------------------------------------------------------------------
// [SECTION] ORLU_EVENT_CLIENT
// ---------------------------------------------------------------------------------------------

// Widgets derive from it and call its members; every instance sees the same state.
class ORLU_EVENT_CLIENT {
public:
    virtual ~ORLU_EVENT_CLIENT() = 0;

    // Down by the key map. Outside full screen, false unless the window has the focus.
    [[nodiscard]] static bool key_is_down(INT_U32 keysym);
    // last_key, cleared.
    static INT_U32 get_key();
    // The oldest typed character, removed; 0 when there is none.
    static INT_U8 read_char();
    // Below 0 does nothing, the present size empties the buffer, 0 removes it. False when
    // memory runs out (the buffer is then gone).
    static bool set_char_buffer(INT_S32 size);
    [[nodiscard]] static INT_U32 get_button_mask() { return button_mask; }
    [[nodiscard]] static INT_S32 get_wheel() { return wheel_count; }
    // The key's name, lower or upper case form, in a shared 256-byte buffer; "" when unknown.
    static const char* key_name(INT_U32 keysym, bool shifted);
    // Moves the pointer inside the window and updates pointer_x, pointer_y.
    static void set_pointer_position(INT_S16 x, INT_S16 y);
    [[nodiscard]] static INT_S32 button_count() { return 3; }
    // Through the display's show_pointer; a repeated call changes nothing.
    static void show_pointer();
    static void hide_pointer();
    static void set_button(INT_S32 number, bool pressed) { ::set_button(number, pressed); }

    // Clipboard. Own text never goes through the server; other programs' text does.
    [[nodiscard]] static bool clipboard_has_text();
    [[nodiscard]] static INT_S32 clipboard_length();
    // At most size - 1 bytes and a terminator; size 1 gives "". False when there is no text
    // (the buffer then holds "").
    static bool clipboard_read(char* buffer, INT_S32 size);
    // Offers a copy of the text; null withdraws the offer. False when memory runs out.
    static bool clipboard_write(const char* text);
};
