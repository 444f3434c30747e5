// WM_PROGRESS_BAR: a value out of a total, across or up, with colour fills or skin images, the
// percentage or a title inside, and images that may scroll as an animation. Progress is mostly
// shown from inside blocking work, so the bar can paint itself at once and keep the window alive.
//
// The value is shown as it is told, but the fill never leaves its track: below 0 the bar shows
// its cap, above the total it is full.
#pragma once

#include <cstddef>

#include "base/orlu_types.h"
#include "graphics/colour.h"
#include "wm/core/wm_screen_object.h"

class TILED_IMAGE;
class WM_STYLE_SET;

// --- Arithmetic of the bar, apart from the screen -------------------------------------------

// Pixels of a track `length` long that the fill covers: length * value / total + 1, a total of 0
// counting as full. A fill no longer than two borders is raised to that plus 1, so a bar that has
// barely begun still shows a cap; and it never leaves the track, whatever the value: a value
// below 0 shows the cap, one above the total a full bar.
INT_S32 progress_fill_length(INT_S32 length, INT_S32 value, INT_S32 total, INT_S32 thickness);

// "%ld%%" of value * 100 / total, "100%" for a total of 0. The value is shown as it is, so an
// overshoot reads as such ("150%").
const char* progress_percentage_text(INT_S32 value, INT_S32 total, char* buffer, size_t size);
// The figure shown for the rest of the bar, (10000 - 100 * value) / total: it agrees with
// 100 minus the percentage only for a total of 100, which is how skins have always shown it.
const char* progress_alt_percentage_text(INT_S32 value, INT_S32 total, char* buffer, size_t size);

// One axis of the image scrolling: `elapsed` milliseconds at `rate` milliseconds a pixel (the
// sign is the direction) moved `scroll` on, wrapped into 0..size-1. A size below 1 or a rate of
// 0 leaves it.
INT_S16 progress_scroll_step(INT_S16 scroll, INT_S32 size, INT_S16 rate, INT_U32 elapsed);

// --- The widget ---------------------------------------------------------------------------------

// Bits of WM_PROGRESS_BAR::flags.
enum PROGRESS_FLAG : INT_U8 {
    PROGRESS_NO_BORDER = 0x1,
    PROGRESS_KEEP_IMAGE_SIZE = 0x2,
    PROGRESS_ONLY_BAR = 0x4,
    PROGRESS_VERTICAL = 0x8,    // the fill grows from the bottom
    PROGRESS_NO_SHADING = 0x10,
    PROGRESS_TEXT_ON_BAR = 0x20, // the text rides on the end of the fill
};

class WM_PROGRESS_BAR : public WM_SCREEN_OBJECT {
public:
    // Plain colours. A vertical bar keeps no title. A rectangle with a negative corner, or one
    // that does not lie on its display, is fatal 0x110.
    WM_PROGRESS_BAR(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* title, INT_S32 total,
        const COLOUR& empty_colour, const COLOUR& full_colour, const COLOUR& text_colour, INT_U8 flags,
        INT_U8 font_id = 255, INT_S16 font_x_sz = -1, INT_S16 font_y_sz = -1, INT_S16 left_gap = -1,
        INT_S16 right_gap = -1, INT_S16 top_gap = -1, INT_S16 bottom_gap = -1);
    // From a style set: the track is `bg_colour`, the fill `active_colour`, the text `fg_colour`
    // (over the fill `active_text_colour`); the faces "<name>_bg", "<name>_empty" (or the base
    // picture) and "<name>_full" (or "<name>_bar").
    WM_PROGRESS_BAR(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* title, INT_S32 total,
        const WM_STYLE_SET* style);
    ~WM_PROGRESS_BAR() override;

    // Store and mark the bar dirty.
    void set_value(INT_S32 new_value);
    void set_total(INT_S32 new_total);
    [[nodiscard]] INT_S32 get_value() const { return value; }
    [[nodiscard]] INT_S32 get_total() const { return total; }
    // Replaces the title (null shows the percentage). With `immediate` the bar is painted and
    // shown on the display before this returns, for callers inside blocking work.
    void set_title(const char* text, bool immediate);
    void set_alt_title(const char* text);
    // From inside blocking work: an animation step, and once a second the event pump, so that
    // the window stays alive.
    void refresh();
    void set_rates(INT_S16 x_rate, INT_S16 y_rate, INT_U16 update_rate);
    bool set_images(const char* folder, const char* name, const WM_STYLE_SET* style);
    [[nodiscard]] bool has_images() const { return face_empty && face_full; }
    void clear_images();
    // The animation step: moves the scrolling pictures by the time passed.
    void animation_step();

    INT_S32 animate(bool overlays) override;
    bool can_take_focus() override { return false; }
    void paint() override;

    // --- Fields, in the record's order ----------------------------------------------------------
    char* title { nullptr };     // owned; null shows the percentage
    char* alt_title { nullptr }; // owned
    INT_S32 total { 100 };
    INT_S32 value { 0 };
    COLOUR empty_colour {};
    COLOUR full_colour {};
    COLOUR text_colour { COLOUR_WHITE };
    COLOUR alt_text_colour {};
    COLOUR border_colour {};
    INT_U8 font_id { 255 };
    INT_S16 font_x_sz { -1 };
    INT_S16 font_y_sz { -1 };
    INT_S16 left_gap { -1 };
    INT_S16 right_gap { -1 };
    INT_S16 top_gap { -1 };
    INT_S16 bottom_gap { -1 };
    INT_U8 flags { 0 };
    INT_U32 last_x_step { 0 };
    INT_U32 last_y_step { 0 };
    INT_S16 x_rate { 0 };
    INT_S16 y_rate { 0 };
    INT_U16 update_rate { 300 };
    INT_S32 shading { 6 };
    TILED_IMAGE* face_bg { nullptr };
    TILED_IMAGE* face_empty { nullptr };
    TILED_IMAGE* face_full { nullptr };
    TILED_IMAGE* face_alt { nullptr };
    INT_S16 scroll_x { 0 };
    INT_S16 scroll_y { 0 };
    INT_U8 scrolled { 0 };
    // "ssef_pb_draw_alt_percentage": the rest's percentage beside the first.
    INT_U8 draw_alt_percentage { 0 };

private:
    // What both constructors begin with: the kind, the rectangle and its checks.
    void place(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_);
    void check_rectangle();
    void take_title(const char* text);
    void paint_part(IMAGE* target, TILED_IMAGE* face, const COLOUR& fill, INT_S32 x1, INT_S32 y1, INT_S32 x2,
        INT_S32 y2, INT_U16 sides, bool scroll);
    [[nodiscard]] INT_S32 scroll_size(bool across) const;

    INT_U32 last_pump_second { 0 };
};
