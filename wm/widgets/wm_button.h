// WM_BUTTON: the workhorse of the toolkit. A push button, a toggle (`active`), a drag source, a
// label (a button without a click), a hint owner, and the base of menus and check boxes. It
// polls the pointer and the keys in `update`, runs the press machine below, and paints from
// skin images or, without them, from colours and a shaded border.
//
// The press machine. Down the side the state at the start of a frame, across what the frame
// brings; in each cell the next state and the event it sends. An event fires `left_callback`
// when `trigger` has its bit: press 1, release 2, repeat 4, release outside 8.
//
//   state        | pointer enters | pointer leaves | primary down    | primary up          | held, wait passes
//   -------------+----------------+----------------+-----------------+---------------------+------------------
//   idle         | hovered        |                | (begun off it:  |                     |
//                |                |                |  nothing)       |                     |
//   hovered      |                | idle           | pressed / press |                     |
//   pressed      |                | pressed off    |                 | hovered / release   | repeating /
//                |                |                |                 |                     |  repeat (300 ms)
//   pressed off  | pressed        |                |                 | idle / outside      | (no repeat off
//                |                |                |                 |  (face comes up)    |  the button)
//   repeating    |                | pressed off    |                 | hovered (no release)| repeating /
//                |                |                |                 |                     |  repeat (30 ms)
//
// The keyboard drives the same machine: the activate key (Return) on the focused button or on a
// default button, and the button's shortcut key with any focus, count as "pointer over, primary
// down" while held and "pointer over, primary up" in the frame after they rise. Disabling a
// button puts it back to idle with its face up.
//
// The face follows the machine by `click_mode`: 0 (push) looks down from press to release,
// wherever the pointer is; 1 ("ssef_auto_depress") looks down exactly while the pointer is over
// it; 2 ("ssef_auto_actiavte") is pressed by the pointer alone: entering is "primary down",
// leaving "primary up", and a real click does nothing.
//
// The drag machine runs beside it for a drag source (drag_callback set). Events go to the
// callback when `drag_events` has their bit:
//
//   state        | primary (or secondary) down on it | pointer moves while held      | every button up
//   -------------+-----------------------------------+-------------------------------+-------------------------------
//   resting      | armed (start point noted)         |                               |
//   armed        |                                   | dragging / 1 (start): the     | resting / 2 (click: no drop)
//                |                                   |  button goes on the overlays  |
//   dragging     |                                   | dragging (picture follows)    | resting / 4 (dropped on
//                |                                   |                               |  another object) or 8 (itself)
//
// Whatever the drag ends with, its release is no click as well.
#pragma once

#include "graphics/colour.h"
#include "wm/core/wm_screen_object.h"

class IMAGE;
class TILED_IMAGE;
class WM_SCRIPT;
class WM_STYLE_SET;
class WM_BUTTON;

// Bits of WM_BUTTON::trigger.
enum BUTTON_TRIGGER : INT_U8 {
    TRIGGER_PRESS = 1,
    TRIGGER_RELEASE = 2,
    TRIGGER_REPEAT = 4,
    TRIGGER_OUTSIDE = 8,
};

// Events of the drag machine.
enum BUTTON_DRAG_EVENT : INT_U32 {
    DRAG_START = 1,
    DRAG_CLICK = 2,   // released where it began
    DRAG_DROP = 4,    // released over another object
    DRAG_RETURN = 8,  // released over the button itself
};

// Pointer shapes the button asks for.
enum BUTTON_POINTER : INT_S8 {
    POINTER_HAND = 1,
    POINTER_HELD = 2,
    POINTER_DRAGGABLE = 3,
    POINTER_DRAGGING = 4,
};

// The waits of a repeating button, in milliseconds.
constexpr INT_U32 BUTTON_REPEAT_DELAY = 300;
constexpr INT_U32 BUTTON_REPEAT_INTERVAL = 30;

typedef INT_U8 (*WM_ACTIVE_CALLBACK)(WM_BUTTON* button, PTR_INT_CAST data);
typedef void (*WM_BUTTON_OVER_CALLBACK)(WM_BUTTON* button, bool over, PTR_INT_CAST data1, PTR_INT_CAST data2);
typedef INT_S32 (*WM_DRAG_CALLBACK)(WM_BUTTON* button, WM_SCREEN_OBJECT* target, INT_S16 x, INT_S16 y,
    INT_U32 event, PTR_INT_CAST data1, PTR_INT_CAST data2);

class WM_BUTTON : public WM_SCREEN_OBJECT {
public:
    // Plain colours. The rectangle has inclusive corners; a width or height below 1 becomes what
    // the title needs (its size plus the gaps). Gaps and spacings of -1 take the border's width.
    WM_BUTTON(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const char* title, const COLOUR& text_colour,
        const COLOUR& background_colour, const COLOUR& highlight_colour, INT_S32 click_mode, INT_U8 font_id,
        INT_S16 font_x_sz, INT_S16 font_y_sz, INT_S16 left_gap, INT_S16 right_gap, INT_S16 top_gap,
        INT_S16 bottom_gap, INT_S16 x_spacing, INT_S16 y_spacing, INT_U8 trigger, WM_CALLBACK left_callback,
        PTR_INT_CAST left_data1, PTR_INT_CAST left_data2);
    // From a style set (null: widget_look, the toolkit's button style once the application has
    // supplied one, else the built-in look): colours, border, fonts, gaps, flags and faces. A null
    // or empty hint makes none.
    WM_BUTTON(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const WM_STYLE_SET* style, const char* title,
        const char* hint, WM_CALLBACK left_callback, PTR_INT_CAST left_data1, PTR_INT_CAST left_data2,
        INT_U8 trigger);
    ~WM_BUTTON() override;

    // --- Appended operations -----------------------------------------------------------------
    // Repaints the button, and the picture of a drag in progress.
    virtual void redraw();
    virtual void set_shortcut_key(INT_U32 key_symbol);

    // --- Setters -----------------------------------------------------------------------------
    // Replaces the title and marks the button dirty; with `resize` the width becomes the gaps
    // plus the text's width plus 1.
    void set_title(const char* text, bool resize);
    [[nodiscard]] const char* get_title() const;
    // Replaces the hint; a null or empty text removes it.
    void set_hint(const char* text);
    // Replaces the faces with "<name>", "<name>_up", ... from the folder; a null name frees them.
    // True when up and down faces exist.
    bool set_images(const char* folder, const char* name, const WM_STYLE_SET* style);
    [[nodiscard]] bool has_images() const { return face_up && face_down; }
    void set_colours(const COLOUR& background, const COLOUR& text, const COLOUR& fading, bool resize_faces);
    // The icon is copied.
    void set_icon(const IMAGE* image);
    void set_drag(WM_DRAG_CALLBACK callback, PTR_INT_CAST data1, PTR_INT_CAST data2, INT_U32 events);
    // Flashing in step with flash_phase bit `mask`; 0 stops it.
    void set_flash(INT_U8 mask);
    void set_default(bool flag);
    // Enables or disables the button. Disabling repaints it and drops its pressed state, so that
    // a button disabled while held does not come back pressed.
    void set_enabled(bool flag);
    // The width a button needs for its title in the style: text width plus the two gaps.
    static INT_S16 width_for(const char* title, const WM_STYLE_SET* style);

    // --- Overrides ---------------------------------------------------------------------------
    void hide(bool with_overlays, bool with_children) override;
    INT_S32 update() override;
    INT_S32 animate(bool overlays) override;
    bool is_over(INT_S32 px, INT_S32 py) override;
    bool can_take_focus() override { return enabled && focusable; }
    void draw() override;
    void paint() override;

    // --- Fields, in the record's order ----------------------------------------------------------
    char glyph[4] {};
    char* title { nullptr }; // owned; null reads as ""
    COLOUR background_colour {};
    COLOUR down_colour {};
    COLOUR active_text_colour {};
    COLOUR text_colour { COLOUR_WHITE };
    COLOUR normal_text_colour { COLOUR_WHITE };
    COLOUR highlight_text_colour {};
    COLOUR fading_colour {};
    COLOUR over_colour {};
    COLOUR over_text_colour {};
    COLOUR flashing_colour {};
    COLOUR flashing_text_colour {};
    COLOUR disabled_colour {};
    COLOUR disabled_text_colour {};
    COLOUR underline_colour {};
    INT_U8 looks_down { 0 };
    INT_U8 left_was_down { 0 };
    INT_U8 right_was_down { 0 };
    INT_U8 press_started { 0 };
    INT_U8 track_anywhere { 0 };
    INT_U8 enabled { 1 };
    INT_U8 was_over { 0 };
    WM_ACTIVE_CALLBACK active_callback { nullptr };
    PTR_INT_CAST active_data { 0 };
    WM_BUTTON_OVER_CALLBACK over_callback { nullptr };
    PTR_INT_CAST over_data1 { 0 };
    PTR_INT_CAST over_data2 { 0 };
    INT_S32 click_mode { 0 };
    INT_U32 face_flags { 0 };
    INT_U8 font_id { 255 };
    INT_S16 font_x_sz { -1 };
    INT_S16 font_y_sz { -1 };
    WM_SCRIPT* hint { nullptr }; // owned, not_owned set in it
    INT_S32 hint_time { 0 };
    INT_S16 hint_x { -1 };
    INT_S16 hint_y { -1 };
    INT_U8 hint_on_press { 0 };
    WM_SCREEN_OBJECT* hint_restore_focus { nullptr };
    INT_S16 left_gap { -1 };
    INT_S16 right_gap { -1 };
    INT_S16 top_gap { -1 };
    INT_S16 bottom_gap { -1 };
    INT_S16 x_spacing { -1 };
    INT_S16 y_spacing { -1 };
    INT_U8 trigger { TRIGGER_RELEASE };
    INT_U8 key_was_down { 0 };
    INT_U8 fired_on_release { 0 };
    INT_U32 shortcut_key { 0 };
    INT_U8 shortcut_was_down { 0 };
    INT_U8 is_default { 0 };
    INT_U8 draws_as_enabled { 0 };
    INT_U32 repeat_time { 0 };
    INT_U8 repeating { 0 };
    INT_U8 drag_right_too { 1 };
    INT_U8 dragged { 0 };
    INT_S16 drag_x { -1 };
    INT_S16 drag_y { -1 };
    INT_S16 drag_offset_x { 0 };
    INT_S16 drag_offset_y { 0 };
    WM_DRAG_CALLBACK drag_callback { nullptr };
    PTR_INT_CAST drag_data1 { 0 };
    PTR_INT_CAST drag_data2 { 0 };
    INT_U32 drag_events { 0 };
    IMAGE* icon { nullptr };       // owned
    IMAGE* icon_over { nullptr };  // owned
    IMAGE* drag_image { nullptr }; // owned
    TILED_IMAGE* face_up { nullptr };
    TILED_IMAGE* face_down { nullptr };
    TILED_IMAGE* face_disabled { nullptr };
    TILED_IMAGE* face_over { nullptr };
    TILED_IMAGE* face_active_up { nullptr };
    TILED_IMAGE* face_active_down { nullptr };
    TILED_IMAGE* face_active_disabled { nullptr };
    TILED_IMAGE* face_active_over { nullptr };
    TILED_IMAGE* face_highlighted { nullptr };
    TILED_IMAGE* face_flashing { nullptr };
    TILED_IMAGE* face_dragging { nullptr };
    INT_U8 flash_on { 0 };
    INT_U8 flash_mask { 32 };
    INT_S32 flash_mode { 0 };
    INT_U8 auto_click_chance { 10 };

    // The global that new buttons copy into track_anywhere (touch input). False; nothing in the
    // program sets it.
    static bool track_anywhere_default;

private:
    void init_fields();
    void size_to_title(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2);
    void resolve_gaps();
    void free_faces();
    void load_faces(const WM_STYLE_SET& style);
    void load_faces_by_name(const char* folder, const char* name);
    INT_S32 drag_step(bool over, bool left, bool right, INT_S16 px, INT_S16 py);
    void hint_step(bool over, INT_S16 px, INT_S16 py, INT_U32 buttons);
    void place_hint(INT_S16 px, INT_S16 py);
    void close_hint();
    [[nodiscard]] bool pressed_in() const { return (border_sides & 0x8000) != 0; }
    [[nodiscard]] bool highlighted() const;
    [[nodiscard]] COLOUR current_text_colour() const;
    [[nodiscard]] COLOUR current_fill_colour() const;
    [[nodiscard]] TILED_IMAGE* current_face() const;
    void paint_icon_and_text(IMAGE* target, const COLOUR& ink);
    void paint_arrows(IMAGE* target, const COLOUR& ink);
    void paint_drag_picture(IMAGE* target);
};
