// WM_SCREEN_OBJECT: the base of every widget. A rectangle on a display with a list of children,
// the virtual operations that every widget shares (in this order; classes append theirs behind
// them), and two mouse callbacks. Beside it stands the toolkit's single-instance state: the
// keyboard focus, the captured object, the overlay list of modal objects, the dirty rectangles
// and the flash phase.
//
// The toolkit is retained and polled. Nothing is delivered to a widget: once a frame each object
// is asked to `animate` and to `update`, and in `update` it reads the pointer and keys itself.
// What it wants done it returns as an action code (wm_action.h). Drawing is separate: changes
// only record dirty rectangles, and the page manager repaints what touches them at the end of
// the frame, calling `paint` with the clip set to one dirty rectangle at a time.
//
// Writing a widget:
//  - derive, OR your WM_TYPE_ bit into `type_flags`, call notify_created() at the end of the
//    constructor;
//  - override `paint` to draw the face from fields only, inside the clip;
//  - override `update` to read input; call WM_SCREEN_OBJECT::update (or note_focus_serviced)
//    so that the page manager knows a focused widget is still there;
//  - never delete yourself or a sibling in `update`: return an action code.
//
// [SECTION] Types, callbacks and type bits
// [SECTION] Toolkit state
// [SECTION] WM_SCREEN_OBJECT
#pragma once

#include "base/containers.h"
#include "base/orlu_types.h"
#include "graphics/colour.h"
#include "wm/core/wm_dirty_list.h"

class IMAGE;
class TILED_IMAGE;
class WM_PAGE_MANAGER;
class WM_SCREEN_OBJECT;

// ---------------------------------------------------------------------------------------------
// [SECTION] Types, callbacks and type bits
// ---------------------------------------------------------------------------------------------

// A mouse callback: the object and its two data words; answers an action code.
typedef INT_S32 (*WM_CALLBACK)(WM_SCREEN_OBJECT* object, PTR_INT_CAST data1, PTR_INT_CAST data2);
// Called when the object gains or loses the focus.
typedef void (*WM_FOCUS_CALLBACK)(WM_SCREEN_OBJECT* object, PTR_INT_CAST data);
// The application's hooks on creation and destruction of any object.
typedef void (*WM_OBJECT_HOOK)(WM_SCREEN_OBJECT* object, PTR_INT_CAST data);

// One bit of `type_flags` per widget class: a test for a kind of widget is made on these.
enum WM_TYPE : INT_U64 {
    WM_TYPE_MANAGER = 0x1,
    WM_TYPE_BUTTON = 0x2,
    WM_TYPE_MENU = 0x4,
    WM_TYPE_IMAGE = 0x8,
    WM_TYPE_SCRIPT = 0x10,
    WM_TYPE_DIALOG = 0x20,
    WM_TYPE_ABOUT = 0x40,
    WM_TYPE_SCROLLBAR = 0x80,
    WM_TYPE_NUMPAD = 0x100,
    WM_TYPE_FILE_SELECT = 0x200,
    WM_TYPE_COLOUR_SELECT = 0x400,
    WM_TYPE_GRID = 0x1000,
    WM_TYPE_LIST_BOX = 0x2000,
    WM_TYPE_CONFIRM = 0x4000,
    WM_TYPE_TEXT_EDIT = 0x8000,
    WM_TYPE_TEXT_WIN = 0x10000,
    WM_TYPE_PROGRESS_BAR = 0x20000,
    WM_TYPE_PROGRESS_BAR_DIALOG = 0x40000,
    WM_TYPE_ANIMATION = 0x80000,
    WM_TYPE_TICKER = 0x100000,
    WM_TYPE_VIDIPRINTER = 0x200000,
    WM_TYPE_FLOATING_MENU = 0x400000,
    WM_TYPE_KEYBOARD = 0x800000,
    WM_TYPE_KEYBOARD_DIALOG = 0x1000000,
    WM_TYPE_RANGE_SELECTOR = 0x2000000,
    WM_TYPE_TEXT_EDIT_DIALOG = 0x4000000,
    WM_TYPE_CHECK_BOX = 0x8000000,
};

// The `sides` mask of draw_shaded_box.
enum WM_BORDER_SIDE : INT_U16 {
    BORDER_TOP = 0x1,
    BORDER_BOTTOM = 0x2,
    BORDER_LEFT = 0x4,
    BORDER_RIGHT = 0x8,
    BORDER_ALL = 0xF,
    BORDER_ROUND_TOP_LEFT = 0x10,
    BORDER_ROUND_TOP_RIGHT = 0x20,
    BORDER_ROUND_BOTTOM_LEFT = 0x40,
    BORDER_ROUND_BOTTOM_RIGHT = 0x80,
    BORDER_ROUND_ALL = 0xF0,
    BORDER_INVERTED = 0x8000, // light and dark swap: a pressed look
};

// Directions of draw_arrow.
enum WM_ARROW : INT_S32 { ARROW_UP = 0, ARROW_DOWN = 1, ARROW_LEFT = 2, ARROW_RIGHT = 3 };

// Walks the cell objects of a grid, row by row over its visible rows, for the focus order. The
// grid widget registers it (wm_toolkit.grid_cells); without one a grid's cells are only reached
// as its children.
typedef void (*WM_GRID_CELL_WALK)(WM_SCREEN_OBJECT* grid, void (*visit)(WM_SCREEN_OBJECT* cell, void* context),
    void* context);

// ---------------------------------------------------------------------------------------------
// [SECTION] Toolkit state
// ---------------------------------------------------------------------------------------------

// One instance for the process, plain data. Main thread only.
struct WM_TOOLKIT {
    WM_SCREEN_OBJECT* focus_object { nullptr };
    // Set when the focus object was serviced, claimed, or a page changed; cleared at the start of
    // a frame. A focus object nobody reached in a frame has gone, and the focus moves on.
    INT_U8 focus_seen { 0 };
    // The object on which the secondary button went down.
    WM_SCREEN_OBJECT* captured_object { nullptr };
    // Modal objects drawn above all pages; the tail is the top.
    PTRLLIST overlay_list;
    // Cleared while an overlay's own update runs, so that its base update does not recurse.
    INT_U8 overlays_enabled { 1 };
    WM_DIRTY_LIST dirty_rects;
    // Index of the rectangle being repainted; -1 when no repaint runs.
    INT_S32 current_dirty_rect { -1 };
    // Bit n follows the millisecond clock divided by 50, 125, 250, ... 8000: all blinking reads it.
    INT_U8 flash_phase { 0 };
    // Cleared by the outermost animate of a walk while it runs, so that the phase is computed once.
    INT_U8 flash_phase_due { 1 };
    // The image all painting goes to; display 0's back buffer, taken by the first object made.
    IMAGE* draw_target { nullptr };
    INT_U8 theme_shading_type { 6 };
    COLOUR theme_base_colour {};
    COLOUR theme_outline_colour {};
    COLOUR theme_mid_colour {};
    COLOUR theme_light_colour {};
    COLOUR theme_dark_colour {};
    // The key that acts as a click on the focused widget.
    INT_U32 activate_key { 65293 };
    WM_PAGE_MANAGER* page_manager { nullptr };
    WM_OBJECT_HOOK object_destroyed_hook { nullptr };
    PTR_INT_CAST object_destroyed_data { 0 };
    WM_OBJECT_HOOK object_created_hook { nullptr };
    PTR_INT_CAST object_created_data { 0 };
    // The focus mark drawn over the focused object after its paint, so that a keyboard user sees
    // where the focus is: a dotted frame of these two colours. Invisible first colour: no mark.
    COLOUR focus_mark_colour { COLOUR::from_argb(0xFF000000u) };
    COLOUR focus_mark_alternate { COLOUR::from_argb(0xFFFFFFFFu) };
    WM_GRID_CELL_WALK grid_cells { nullptr };
    // The arrow images of draw_arrow, one per direction; empty unless the application fills them.
    IMAGE* arrow_images[4] {};
    // Depth of draw calls that saved the target's clip (the outermost saves and restores).
    INT_S32 clip_saved { 0 };
};

extern WM_TOOLKIT wm_toolkit;

// Puts the toolkit state back to its start: no focus, no capture, an empty overlay list (the
// overlays are not deleted) and dirty list, no draw target. For applications that tear their
// screen down and for tests.
void reset_toolkit_state();

// ---------------------------------------------------------------------------------------------
// [SECTION] WM_SCREEN_OBJECT
// ---------------------------------------------------------------------------------------------

class WM_SCREEN_OBJECT {
public:
    // Position and size 0; `visible` also sets `draw_pending`. The first object made without a
    // draw target takes display 0's back buffer as the target.
    explicit WM_SCREEN_OBJECT(bool visible = true, WM_CALLBACK left_callback = nullptr, PTR_INT_CAST left_data1 = 0,
        PTR_INT_CAST left_data2 = 0);
    // Releases the capture and the focus, calls the destroyed hook, hides not_owned children and
    // deletes the others, and marks a visible object dirty.
    virtual ~WM_SCREEN_OBJECT();
    WM_SCREEN_OBJECT(const WM_SCREEN_OBJECT&) = delete;
    WM_SCREEN_OBJECT& operator=(const WM_SCREEN_OBJECT&) = delete;

    // --- The virtual operations, in their shared order ------------------------------------------
    // Sets draw_pending and visible and marks the object dirty; with_children shows each child
    // (with the same argument) from tail to head.
    virtual void show(bool with_children);
    // Clears draw_pending and drawn. A visible object hides all overlays (with_overlays) and its
    // children (with_children), tail to head, then clears visible and marks itself dirty.
    virtual void hide(bool with_overlays, bool with_children);
    // The input step; see the source for the order of its steps.
    virtual INT_S32 update();
    // The time step: children (overlays false) or every overlay (true).
    virtual INT_S32 animate(bool overlays);
    // Whether the point is on this object or a visible child.
    [[nodiscard]] virtual bool is_over(INT_S32 px, INT_S32 py);
    // The own rectangle: includes x, y, excludes x + width, y + height.
    [[nodiscard]] virtual bool is_over_self(INT_S32 px, INT_S32 py);
    [[nodiscard]] virtual bool is_over_child(INT_S32 px, INT_S32 py);
    // The deepest visible object under the point; the topmost child wins. Null when none.
    [[nodiscard]] virtual WM_SCREEN_OBJECT* object_at(INT_S32 px, INT_S32 py);
    // Moves the object and its children by the same delta; marks old and new places dirty.
    virtual void set_position(INT_S32 new_x, INT_S32 new_y);
    // Resizes; with_children grows or shrinks every child by the same delta.
    virtual void set_size(INT_S32 new_width, INT_S32 new_height, bool with_children);
    virtual void set_z_level(INT_S16 z);
    // Attaches a child at the tail (on top). relative: the child's position is an offset from
    // this object. Null is ignored.
    virtual void add_child(WM_SCREEN_OBJECT* child, bool relative);
    // Detaches a child: hides it, then deletes it with destroy (unless not_owned), else resets
    // its z level and with relative turns its position back into an offset.
    virtual void remove_child(WM_SCREEN_OBJECT* child, bool destroy, bool relative);
    [[nodiscard]] virtual bool can_take_focus();
    virtual void take_focus();
    virtual void set_active(bool value);
    [[nodiscard]] virtual INT_S32 get_x();
    [[nodiscard]] virtual INT_S32 get_y();
    [[nodiscard]] virtual INT_S32 get_width();
    [[nodiscard]] virtual INT_S32 get_height();
    // Paints self and children into the draw target for the current dirty rectangle.
    virtual void draw();
    // Paints the overlay list, head to tail.
    virtual void draw_overlays();
    // This object's own face, nothing else. What a widget overrides.
    virtual void paint();

    // --- Dirty rectangles ----------------------------------------------------------------------
    // Records this object's rectangle, clipped to the display under it. Nothing while a repaint
    // runs (the repaint in progress covers it) or when nothing remains after clipping.
    void mark_dirty();
    // The same for a rectangle with inclusive corners; an inverted one is ignored.
    void mark_rect_dirty(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2);
    // The whole display under this object.
    void mark_all_dirty();

    // --- Tree and overlays ---------------------------------------------------------------------
    // The child at `index` from the head; null outside.
    [[nodiscard]] WM_SCREEN_OBJECT* get_child(INT_S32 index) const;
    [[nodiscard]] INT_S32 child_count() const { return children.count(); }
    void add_overlay(WM_SCREEN_OBJECT* object, bool relative);
    // Like remove_child on the overlay list; marks this object dirty first and does not hide the
    // overlay.
    void remove_overlay(WM_SCREEN_OBJECT* object, bool destroy, bool relative);
    // Number of visible overlays.
    [[nodiscard]] static INT_S32 overlay_count();
    // z level of the topmost visible overlay, -1 when none.
    [[nodiscard]] static INT_S32 top_overlay_z();
    [[nodiscard]] static bool is_overlay(const WM_SCREEN_OBJECT* object);
    // The topmost visible overlay with every bit of mask in its type_flags (0: any).
    [[nodiscard]] static WM_SCREEN_OBJECT* find_overlay(INT_U64 mask);
    // with_overlays: every overlay is hidden (not_owned) or deleted, tail to head. with_children:
    // the same for the children. A visible object ends up dirty either way.
    void clear_objects(bool with_overlays, bool with_children);

    // --- Repaint -----------------------------------------------------------------------------------
    [[nodiscard]] static bool is_repaint_running();
    // Whether this object's rectangle overlaps the dirty rectangle being repainted.
    [[nodiscard]] bool touches_dirty_rect() const;
    // Repaint this object's rectangle (or the whole display) at once, outside the frame's flush:
    // for effects that draw between frames.
    void redraw_now();
    void redraw_display(INT_S32 display);

    // --- Drawing helpers -------------------------------------------------------------------------
    // A border inside the inclusive rectangle; see wm_shading.cpp for the types and colours.
    // shading_type 1 takes the object's type, then the theme's. corner -1: the target's radius.
    void draw_shaded_box(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, INT_U16 sides, const COLOUR& colour,
        INT_S32 type, INT_S32 corner);
    // The border's width in pixels (1 resolves as in draw_shaded_box).
    [[nodiscard]] INT_S32 shading_thickness(INT_S32 type) const;
    // A solid triangle pointing `direction` inside the rectangle; an inset of -1 is a third of the
    // side. An arrow image of that direction is drawn centred instead, when there is one.
    void draw_arrow(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, const COLOUR& colour, INT_S32 direction,
        INT_S32 inset_x, INT_S32 inset_y);
    // The dotted focus frame, inset by `inset` pixels.
    void draw_focus_mark(INT_S32 inset);

    // --- For widgets -------------------------------------------------------------------------------
    [[nodiscard]] bool has_focus() const { return wm_toolkit.focus_object == this; }
    // What an overriding update calls when it does not call the base: tells the page manager
    // that the focused object is still there.
    void note_focus_serviced();
    // Whether the activate key is down now (as widgets poll it).
    [[nodiscard]] static bool activate_key_is_down();
    // Ends a widget's constructor: calls the application's created hook.
    void notify_created();
    // is_over for a widget whose face may be a picture with holes: over a child, or over its own
    // rectangle where `mask` (null: none) has a solid pixel, the mask stretched to the rectangle.
    [[nodiscard]] bool is_over_masked(INT_S32 px, INT_S32 py, const TILED_IMAGE* mask);
    // For widgets that are clicked on their own rectangle: a change of the primary button over it
    // calls left_callback, `trigger` 0 on the press, 1 on the release, anything else on both.
    // click_x and click_y hold the spot within the object during the call and -1 after; `was_down`
    // is the widget's memory of the button. The callback's code, 0 when none was called.
    INT_S32 left_click_step(INT_U8& was_down, INT_S32 trigger, INT_S16& click_x, INT_S16& click_y);

    // --- Fields, in the order of the record -----------------------------------------------------
    INT_S16 x { 0 };
    INT_S16 y { 0 };
    INT_U16 width { 0 };
    INT_U16 height { 0 };
    INT_U8 active { 0 };
    INT_U8 visible { 0 };
    INT_U8 draw_pending { 0 };
    INT_U8 drawn { 0 };
    INT_U8 not_owned { 0 };
    COLOUR colour {};
    PTRLLIST children;
    INT_U8 size_locked { 0 };
    INT_S16 z_level { -1 };
    INT_U64 type_flags { 0 };
    INT_U8 shading_type { 1 };
    WM_CALLBACK left_callback { nullptr };
    PTR_INT_CAST left_data1 { 0 };
    PTR_INT_CAST left_data2 { 0 };
    WM_CALLBACK right_callback { nullptr };
    PTR_INT_CAST right_data1 { 0 };
    PTR_INT_CAST right_data2 { 0 };
    INT_S32 right_trigger { 2 };
    INT_U8 activate_key_down { 0 };
    WM_FOCUS_CALLBACK focus_callback { nullptr };
    PTR_INT_CAST focus_data { 0 };
    INT_U8 focusable { 0 };
    INT_U8 indent_when_active { 0 };
    INT_U16 border_sides { 0 };
    // Set by widgets that show the focus in their own face; the base draw then adds no mark.
    INT_U8 draws_own_focus { 0 };

protected:
    // Takes an overlay's code 4: removes it from the list (still there), marks this object dirty
    // and deletes it, or resets its z level when not_owned. False when it was no longer listed.
    bool close_overlay(WM_SCREEN_OBJECT* overlay);
    // Whether the rectangle overlaps the page manager's current area (edges count); true when no
    // area is current. Children with z level 0 or above are walked only when this holds.
    [[nodiscard]] bool in_current_area() const;

private:
    void record_dirty(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2);
};

// Appends to a pointer list at its tail whatever its cursor says.
void list_append(PTRLLIST& list, void* pointer);
// The object a node of `children` or of the overlay list stands for (the node keeps a copy of
// the pointer).
[[nodiscard]] WM_SCREEN_OBJECT* list_object(const LLIST_NODE* node);

// The width in pixels of a border of the given type (1: the theme's type).
[[nodiscard]] INT_S32 border_thickness(INT_S32 type);

// Ends the program through the fatal error report: a widget was given an impossible size.
[[noreturn]] void fatal_error_invalid_size();
