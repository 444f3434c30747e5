// Action codes: what `update`, `animate`, callbacks and page ticks answer. 0 lets the walk go on;
// the first other code stops it and goes up to the page manager, which acts on it at the end of
// the walks (so that nothing is deleted while a walk still stands on it).
#pragma once

#include "base/orlu_types.h"

enum WM_ACTION : INT_S32 {
    WM_ACTION_QUIT = -1,                // returned to the application, which ends its loop
    WM_ACTION_NONE = 0,
    WM_ACTION_KEEP_FOCUS = 1,           // handled; the focus is not repaired this frame
    WM_ACTION_CLOSE_DIALOG = 2,         // out of a dialog: closes it; at the frame: returned as it is
    WM_ACTION_CLOSE_DIALOGS = 3,        // every overlay dialog closes
    WM_ACTION_CLOSE_OVERLAY = 4,        // the overlay that answered it is closed
    WM_ACTION_REBUILD_AREA = 5,         // leave, clear and build the area's page; overlays stay
    WM_ACTION_REBUILD_ALL = 6,          // the same for every visible area
    WM_ACTION_REBUILD_AREA_CLEAR = 7,   // as 5, overlays go too
    WM_ACTION_REBUILD_ALL_CLEAR = 8,    // as 6, the first area clearing the overlays
    WM_ACTION_CLEAR_OVERLAYS = 9,       // every overlay goes
    WM_ACTION_PAGE = 10,                // enter the pending pages, no effect
    WM_ACTION_PAGE_CROSSFADE = 11,      // blend from the old picture to the new
    WM_ACTION_PAGE_FADE_IN = 12,        // the new page comes up from black
    WM_ACTION_PAGE_FROM_GREY = 13,      // the new page comes from its own grey to colour
    WM_ACTION_PAGE_FADE_OUT_IN = 14,    // old to black, new from black, each in half the time
    WM_ACTION_PAGE_GREY_OUT_IN = 15,    // old to grey, new from grey, each in half the time
    WM_ACTION_PAGE_FADE_OUT = 16,       // old to black, then the new page at once
    WM_ACTION_PAGE_GREY_OUT = 17,       // old to grey, then the new page at once
    WM_ACTION_PAGE_COVER = 18,          // 18 to 22: the new page slides over the old
    WM_ACTION_PAGE_REVEAL = 23,         // 23 to 27: the old page slides off the new
    WM_ACTION_PAGE_PUSH = 28,           // 28 to 32: the new page pushes the old out
    WM_ACTION_REBUILD_AREA_CLEAR_2 = 33,
    WM_ACTION_REBUILD_AREA_CLOSE = 34,
    WM_ACTION_REBUILD_ALL_CLEAR_2 = 35,
    WM_ACTION_REBUILD_ALL_CLOSE = 36,
};

// Slide directions: 0 picks one of the other four at random.
enum WM_SLIDE_DIRECTION : INT_S32 {
    SLIDE_RANDOM = 0,
    SLIDE_LEFT = 1,
    SLIDE_RIGHT = 2,
    SLIDE_UP = 3,
    SLIDE_DOWN = 4,
};

// Slide modes: which picture moves.
enum WM_SLIDE_MODE : INT_S32 {
    SLIDE_COVER = 0,  // the old picture stands, the new one moves over it
    SLIDE_REVEAL = 1, // the new picture stands, the old one moves off it
    SLIDE_PUSH = 2,   // both move
};

// Whether a code is one of the page changes (10 to 32).
constexpr bool is_page_action(INT_S32 code)
{
    return code >= WM_ACTION_PAGE && code <= WM_ACTION_PAGE_PUSH + 4;
}
