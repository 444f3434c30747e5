// The page manager: the toolkit's frame. The screen is divided into areas, each a WM_MANAGER
// holding the widgets of the page shown in it, each with a history of pages. Once a frame the
// application calls `update`; the page manager drives `animate` and `update` over all objects,
// acts on the action codes that come back (page changes with their transitions, rebuilds,
// quitting), mends the keyboard focus and repaints the dirty rectangles.
//
// A page is a record of functions (PAGE_ENTRY), so that it can be free functions or, through
// WM_PAGE_BASE, an object. Pages are entered in two steps: set_page (or back, forward, a history
// index) makes one pending, and a page action code returned by anybody (or process_all) enters
// it: the old page's objects are destroyed, the new page's `build` makes its objects with the
// area hidden, and the page appears at the next repaint, through the transition the code asks
// for.
//
// There is exactly one page manager; a second one is a fatal error.
//
// [SECTION] Pages
// [SECTION] Areas
// [SECTION] WM_PAGE_MANAGER
#pragma once

#include "base/orlu_types.h"
#include "graphics/image.h"
#include "wm/core/wm_manager.h"

class DEBUG_STREAM;
class WM_PAGE_MANAGER;
class WM_PAGE_TOOL_MANAGER;

// ---------------------------------------------------------------------------------------------
// [SECTION] Pages
// ---------------------------------------------------------------------------------------------

// Every page function gets the page's data word, so that one function can serve many pages.
typedef void (*PAGE_BUILD)(WM_PAGE_MANAGER* manager, PTR_INT_CAST data);
typedef void (*PAGE_FREE)(PTR_INT_CAST* data);
typedef INT_S32 (*PAGE_TICK)(PTR_INT_CAST data);
typedef bool (*PAGE_SAME)(PTR_INT_CAST data_a, PTR_INT_CAST data_b);
typedef void (*PAGE_LEAVE)(PTR_INT_CAST data);

struct PAGE_ENTRY {
    PAGE_BUILD build { nullptr };     // null marks an empty entry
    PAGE_FREE free_data { nullptr };  // releases `data` when the entry leaves the history
    PAGE_TICK tick { nullptr };       // on each timer tick while current; may be null
    PAGE_SAME same_page { nullptr };  // null: the data words are compared
    PAGE_LEAVE leave { nullptr };     // before the page's objects are destroyed; may be null
    PTR_INT_CAST data { 0 };
    INT_U8 store { 0 };               // stays in the history when another page follows
    INT_U32 id { 0 };                 // back and forward skip neighbours of the same id

    // All functions, store and id agree, and same_page (or the plain comparison) accepts the
    // data words.
    [[nodiscard]] bool equals(const PAGE_ENTRY& other) const;
    // Empties the entry (without freeing its data) and gives it a fresh unique id.
    void clear();
};

// A unique id for a cleared entry: the time in seconds, or the last one plus one when the clock
// has not moved on.
INT_U32 page_id_stamp();

// ---------------------------------------------------------------------------------------------
// [SECTION] Areas
// ---------------------------------------------------------------------------------------------

constexpr INT_S32 PAGE_HISTORY_SIZE = 20;

class PAGE_AREA : public WM_MANAGER {
public:
    PAGE_AREA(INT_S32 x, INT_S32 y, INT_S32 width, INT_S32 height);

    [[nodiscard]] PAGE_ENTRY& current_entry() { return history[current]; }

    PAGE_ENTRY history[PAGE_HISTORY_SIZE] {}; // oldest first
    PAGE_ENTRY pending {};                    // asked for, not yet entered
    INT_S32 current { 0 };
    INT_S32 count { 1 };                      // entry 0 is empty until a page is set
    INT_S32 pending_index { -1 };             // history index asked for by back, forward, go-to
    INT_U8 reset_pending { 0 };
    INT_U8 refresh_pending { 0 };             // rebuild the current page at the next processing
    INT_U8 rebuild_pending { 0 };             // rebuild the current page in the next frame
    // Made with a size of 0: the area keeps the display's size when the display changes.
    INT_U8 follows_display { 0 };
};

// ---------------------------------------------------------------------------------------------
// [SECTION] WM_PAGE_MANAGER
// ---------------------------------------------------------------------------------------------

constexpr INT_S32 PAGE_MANAGER_DISPLAYS = 64;

// Closes one dialog that is open as an overlay (action code 3 and its relatives). The dialog
// module registers it; without one, such an overlay is taken off the list and deleted.
typedef void (*WM_DIALOG_CLOSER)(WM_SCREEN_OBJECT* dialog, bool destroy);

class WM_PAGE_MANAGER {
public:
    // area_count areas, numbered by z level from 0, each as large as the display; the typed
    // character buffer of the input layer gets event_buffer_size characters. Fatal 0x69 for an
    // area count below 1, 0x6A when a page manager exists, 0x6B without memory for the areas.
    WM_PAGE_MANAGER(INT_S32 area_count, INT_S32 event_buffer_size);
    // Resets and destroys all areas.
    ~WM_PAGE_MANAGER();
    WM_PAGE_MANAGER(const WM_PAGE_MANAGER&) = delete;
    WM_PAGE_MANAGER& operator=(const WM_PAGE_MANAGER&) = delete;

    // --- The frame ---------------------------------------------------------------------------------
    // One frame: animate, tick and update the objects, act on the code, mend the focus, repaint;
    // with flush also makes the back buffers visible. Answers the frame's code: 0 when quiet, -1
    // when something asked to quit, any code not acted on as it is.
    INT_S32 update(bool flush);

    // --- Pages and history (area -1 is the area being serviced) ----------------------------------
    // Makes a page pending in the area, dropping an older pending page through its free_data.
    // A page code must still be returned by somebody, or process_all called. Null build, or an
    // area out of range, is ignored.
    void set_page(INT_S32 area, PAGE_BUILD build, PAGE_FREE free_data, PTR_INT_CAST data, PAGE_TICK tick,
        bool store, INT_U32 id, PAGE_LEAVE leave);
    // Go to a history entry. The current index asks for a refresh; out of range is ignored.
    void set_page_index(INT_S32 index, INT_S32 area);
    // The nearest entry backward (forward) whose id differs from the current one's; nothing when
    // there is none.
    void back(INT_S32 area);
    void forward(INT_S32 area);
    [[nodiscard]] bool can_go_back(INT_S32 area);
    [[nodiscard]] bool can_go_forward(INT_S32 area);
    // Frees every entry but the current one, which becomes entry 0 with its store cleared.
    void clear_history(INT_S32 area);
    // Frees an entry and closes the gap; the current entry only loses its store.
    void remove_history(INT_S32 index, INT_S32 area);
    [[nodiscard]] PTR_INT_CAST get_page_data(INT_S32 index, INT_S32 area);
    // Whether any area's pending page or history entry holds this data word.
    [[nodiscard]] bool is_data_in_use(PTR_INT_CAST data) const;
    // Asks for the area to be reset at the next page processing.
    void request_reset(INT_S32 area);
    // Asks for the current page of the area to be rebuilt in the next frame.
    void request_rebuild(INT_S32 area);

    // Enter the pending pages: every area from `start`, wrapping around, then repaint.
    void process_all(INT_S32 start);
    void process_area(INT_S32 index);
    // Back to no page: leaves and clears the page, frees the history and the pending page.
    void reset_area(INT_S32 index);

    // --- Objects -------------------------------------------------------------------------------
    // The deepest object under the point, areas from the last to the first; an area itself is
    // only answered when nothing else is there.
    [[nodiscard]] WM_SCREEN_OBJECT* object_at(INT_S32 x, INT_S32 y);
    // The display layer calls this when it shuts down: releases backgrounds, leaves and clears
    // every page and deletes the overlays.
    void close_all();
    // "Current Page History" of an area, with page names from the tool manager when given.
    void dump_history(INT_S32 area, const WM_PAGE_TOOL_MANAGER* tool, DEBUG_STREAM* stream);
    // The same text into a buffer (cut to size); answers the buffer.
    const char* history_text(INT_S32 area, const WM_PAGE_TOOL_MANAGER* tool, char* buffer, size_t size);

    // --- Keyboard focus: Tab, Shift+Tab, Control+Tab, Shift+Control+Tab ------------------------
    // Each answers whether something took the focus.
    bool focus_next();
    bool focus_previous();
    bool focus_first_of_next_area();
    bool focus_first_of_previous_area();

    // Not a frame step: stops the simulated pointer.
    void reset_pointer();

    // --- Painting -------------------------------------------------------------------------------
    // Repaints every dirty rectangle: background, areas in order, overlays; empties the list.
    void repaint();
    // Fills with background_colour and blits the display's background under the clip.
    void draw_background(INT_S32 display);
    // Runs the transition of a page code (11 to 32) around process_all(area); code 10 is a plain
    // process_all. A transition_time of 0 means no transition: the new page appears at once.
    void change_page(INT_S32 code, INT_S32 area);

    // --- Fields, in the order of the record ------------------------------------------------------
    PAGE_AREA* current_area_object { nullptr };
    IMAGE background[PAGE_MANAGER_DISPLAYS];
    PAGE_AREA** areas { nullptr };
    INT_S16 area_count { 0 };
    INT_S16 current_area { 0 };
    INT_U8 fade_first_page { 0 };
    INT_U32 transition_time { 700 };
    INT_S16 simulated_x { -1 };
    INT_S16 simulated_y { -1 };
    INT_U8 simulated_button { 0 };
    INT_U16 display_width { 0 };
    INT_U16 display_height { 0 };
    INT_S8 pointer_shape { -1 };

    // --- Settings of the application ------------------------------------------------------------
    // Milliseconds between page ticks; 0 ticks every frame.
    INT_U32 tick_period { 0 };
    // Widgets ask for pointer shapes, and the frame sets them on the display.
    INT_U8 pointer_shapes_in_use { 0 };
    // The watch pointer shows while a page change with an effect runs.
    INT_U8 busy_pointer_in_use { 0 };
    // A change of the display's size rebuilds the pages.
    INT_U8 pointer_resizing { 1 };
    // Filled under the background image where it has none (or transparent parts): without it
    // an object that goes away would leave its last picture behind. Invisible: nothing.
    COLOUR background_colour { COLOUR::from_argb(0xFF000000u) };
    // Transitions work on this rectangle only, when set.
    INT_U8 effect_rect_set { 0 };
    INT_S16 effect_x1 { 0 };
    INT_S16 effect_y1 { 0 };
    INT_S16 effect_x2 { 0 };
    INT_S16 effect_y2 { 0 };
    WM_DIALOG_CLOSER dialog_closer { nullptr };

    // --- What the last frame and transition did (for tests and benchmarks) -------------------
    INT_S32 last_code_area { -1 };
    INT_S32 transition_frames { 0 };

private:
    [[nodiscard]] PAGE_AREA* area_at(INT_S32 area);
    [[nodiscard]] INT_S32 area_index(INT_S32 area) const;
    void make_current(INT_S32 index);
    // Frees an entry's data unless another entry still holds it, and clears the entry.
    void free_entry(PAGE_ENTRY& entry);
    // Takes entry `index` out of the area's history, closing the gap.
    void drop_history_entry(PAGE_AREA* area, INT_S32 index);
    [[nodiscard]] INT_S32 find_other_id(PAGE_AREA* area, INT_S32 step, bool need_build);
    // leave, clear_objects(clear_overlays, true), build; close_dialogs between clear and build.
    void rebuild_page(INT_S32 index, bool clear_overlays, bool close_dialogs_too);
    void rebuild_all(INT_S32 start, bool clear_overlays_first);
    void close_dialogs();
    // Acts on the frame's code; answers the frame's result.
    INT_S32 act_on_code(INT_S32 code, INT_S32 area);
    void follow_display_size();
    [[nodiscard]] bool focus_walk(bool forward);
    [[nodiscard]] bool focus_area_step(bool forward);

    INT_U32 last_tick_time { 0 };
    INT_S8 last_pointer_shape { -1 };
};
