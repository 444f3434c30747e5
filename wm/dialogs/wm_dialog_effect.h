// WM_DIALOG_EFFECT: how a dialog opens, closes and goes translucent while it is dragged, and
// the arithmetic of those changes. The record is global (one for dialogs, one for floating
// menus), replaced by the application info; a dialog may carry its own.
//
// The formulas live here, apart from the dialog, so that they can be checked against the clock
// without a screen: a change of alpha or position runs linearly from its start to its end over
// the effect's time, and a flag that is clear makes the change jump instead.
#pragma once

#include <cstddef>

#include "base/orlu_types.h"

// Bits of WM_DIALOG_EFFECT::flags.
enum DIALOG_EFFECT_FLAG : INT_U32 {
    DIALOG_FADE_IN = 0x1,        // alpha rises from 0 over open_delay instead of jumping
    DIALOG_FADE_OUT = 0x2,       // alpha falls to 0 instead of jumping
    DIALOG_FADE_DOWN = 0x4,      // fade down to a non-zero target (the start of a drag)
    DIALOG_FADE_UP = 0x8,        // fade up from a non-zero alpha (the end of a drag)
    DIALOG_SLIDE_IN = 0x10,
    DIALOG_SLIDE_OUT = 0x20,
    DIALOG_FROM_TOP = 0x40,
    DIALOG_FROM_LEFT = 0x80,
    DIALOG_FROM_BOTTOM = 0x100,
    DIALOG_FROM_RIGHT = 0x200,
    DIALOG_DISPLAY_EDGES = 0x400, // slide from beyond the display's edge
    DIALOG_AREA_EDGES = 0x800,    // slide from beyond the current area's edge
};

struct WM_DIALOG_EFFECT {
    INT_U32 flags { 0x47C };
    INT_U32 open_delay { 300 };     // milliseconds of an opening or closing
    INT_U32 display_delay { 1000 }; // milliseconds of a change between two non-zero alphas
    INT_U32 dragging_alpha { 192 };

    // "Flags: 0x%04X, Open Delay: %d, Displaying Delay %d, Alpha 0x%02X" into buffer; answers it.
    const char* describe(char* buffer, size_t size) const;
};

// The effect of dialogs that name none, and that of floating menus. Both start at their
// built-in defaults (0x47C, 300, 1000, 192 and 0x60, 100, 200, 224).
extern WM_DIALOG_EFFECT dialog_effect_default;
extern WM_DIALOG_EFFECT floating_menu_effect_default;
WM_DIALOG_EFFECT built_in_dialog_effect();
WM_DIALOG_EFFECT built_in_floating_menu_effect();
// Makes the effect that the application's data carries (the toolkit's look, wm_look.h) the one
// of dialogs that name none.
void use_toolkit_dialog_effect();

// How long a change of alpha from `alpha` to `target` takes: display_delay between two non-zero
// values (a drag), open_delay when either end is 0 (opening, closing).
INT_U32 dialog_effect_duration(const WM_DIALOG_EFFECT& effect, INT_U8 alpha, INT_U8 target);

// The alpha that a change takes at once when it is asked for: `target` when the flag of its kind
// is clear (or skip_effect is set), otherwise `alpha` unchanged, to be faded from.
INT_U8 dialog_effect_first_alpha(INT_U32 flags, INT_U8 alpha, INT_U8 target, bool skip_effect);

// A running change, `elapsed` milliseconds into `time`: from + elapsed * (to - from) / time, and
// the end value once elapsed reaches time (a time of 0 ends at once).
INT_U8 dialog_effect_alpha(INT_U8 from, INT_U8 to, INT_U32 elapsed, INT_U32 time);
INT_S16 dialog_effect_position(INT_S16 start, INT_S16 rest, INT_U32 elapsed, INT_U32 time);

// The rectangles a slide is measured against.
struct DIALOG_SLIDE_FRAME {
    INT_S16 display_width { 0 };
    INT_S16 display_height { 0 };
    INT_S16 area_x { 0 };
    INT_S16 area_y { 0 };
    INT_S16 area_width { 0 };
    INT_S16 area_height { 0 };
};

// The off-screen point of a slide for a dialog resting at (x, y) with the given size. Left wins
// over right and top over bottom; an axis without a direction bit keeps its coordinate. The
// distance is measured to the display's edge (DIALOG_DISPLAY_EDGES), the area's
// (DIALOG_AREA_EDGES), or else the dialog's own size.
void dialog_slide_point(INT_U32 flags, INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height,
    const DIALOG_SLIDE_FRAME& frame, INT_S16* out_x, INT_S16* out_y);
