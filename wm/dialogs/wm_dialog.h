// WM_DIALOG: a framed window with a title and an inner area, `contents`, that holds everything
// added to it. It normally sits on the overlay list and is then modal. It opens, closes and is
// dragged with the effects of its WM_DIALOG_EFFECT: a slide from a screen edge, a fade by its
// alpha, and translucency while it is dragged. Contents and frame fade as one picture.
//
// The dialog's machine. Down the side the state, across what happens; in each cell the next
// state and what changes (alpha goes to its target over the effect's time, or jumps when the
// effect's flag for that change is clear; see wm_dialog_effect.h):
//
//   state     | first paint        | its time ends       | down on the title   | primary up     | close()
//             |                    |                     |  or a free part     |                |
//   ----------+--------------------+---------------------+---------------------+----------------+-----------------
//   shown     | opening: alpha to  |                     |                     |                | (nothing to
//   (alpha 0) |  255, slide in     |                     |                     |                |  close yet)
//   opening   |                    | open                | dragged             |                | closing
//   open      |                    |                     | dragged: alpha to   |                | closing: alpha
//             |                    |                     |  dragging_alpha     |                |  to 0, slide out
//   dragged   |                    | (stays translucent) |                     | open: alpha    | closing
//             |                    |                     |                     |  back to 255   |
//   closing   |                    | hidden; code 4 when |                     |                | (nothing: it
//             |                    |  it is to be deleted|                     |                |  closes once)
//
// While it is dragged the dialog follows the pointer and stays where it is dropped. While it is
// on top it keeps the keyboard focus inside itself.
#pragma once

#include "graphics/image.h"
#include "wm/core/wm_screen_object.h"
#include "wm/core/wm_style_set.h"
#include "wm/dialogs/wm_dialog_effect.h"

class TILED_IMAGE;
class WM_MANAGER;
class WM_SCRIPT;

// --- Settings of the run, from the application info ---------------------------------------------

// Dialogs made from now on can be dragged.
extern bool dialogs_draggable;
// A drag moves the dialog itself (true) or a white outline that it jumps to when let go.
extern bool dialog_solid_drag;
// The screen behind an overlay dialog is darkened by half, or turned grey.
extern bool dialog_darken_behind;
extern bool dialog_grey_behind;
// Where dialogs made at -1, -1 are centred; the whole screen while `set` is clear.
struct DIALOG_RECTANGLE {
    INT_U8 set { 0 };
    INT_S16 x1 { 0 };
    INT_S16 y1 { 0 };
    INT_S16 x2 { 0 };
    INT_S16 y2 { 0 };
};
extern DIALOG_RECTANGLE dialog_rectangle;

// The three style sets that dialogs take when they are given none: frame, title and buttons.
enum DIALOG_STYLE : INT_S32 { DIALOG_STYLE_FRAME = 0, DIALOG_STYLE_TITLE = 1, DIALOG_STYLE_BUTTON = 2 };
// The application's toolkit styles once it has supplied them, else the built-in looks
// (widget_look).
WM_STYLE_SET* dialog_default_style(INT_S32 which);

class WM_DIALOG : public WM_SCREEN_OBJECT {
public:
    // Copies of the style sets are taken (null: the defaults above). An x or y of -1 centres the
    // dialog on the screen, or in dialog_rectangle when that is set. A null effect takes
    // dialog_effect_default. A null title makes no title line. A size below 1 is fatal 0x64.
    WM_DIALOG(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* title, const WM_STYLE_SET* style,
        const WM_STYLE_SET* title_style, const WM_STYLE_SET* button_style, const WM_DIALOG_EFFECT* effect);
    // Plain colours: frame background and its fading, the title's text and background, the
    // buttons' text and background and their pressed colour.
    WM_DIALOG(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* title, const COLOUR& background,
        const COLOUR& fading, const COLOUR& title_text, const COLOUR& title_background, const COLOUR& button_text,
        const COLOUR& button_background, const COLOUR& button_highlight, const COLOUR& border, bool visible,
        const WM_DIALOG_EFFECT* effect);
    ~WM_DIALOG() override;

    // --- Appended operations -----------------------------------------------------------------
    [[nodiscard]] virtual bool is_over_title(INT_S32 px, INT_S32 py);
    virtual void set_title(const char* text);
    [[nodiscard]] virtual const char* get_title();

    // Starts closing: nothing when there is nothing to close or it already closes. With
    // `destroy` the dialog answers code 4 once it has closed, so its owner deletes it.
    void close(bool destroy);
    // close(false), for the dialog's own update.
    void finish_close();
    // Sends alpha toward `value` (see the effect's jump rules) and repaints.
    void set_target_alpha(INT_U8 value);
    // Sets or frees the picture painted in place of the background.
    bool set_image(const char* folder, const char* name, const WM_STYLE_SET* image_style);
    [[nodiscard]] bool can_drag_at(INT_S32 px, INT_S32 py);
    // The top of the contents below the frame: top border gap, title height, cell bottom gap.
    [[nodiscard]] INT_S32 get_contents_top() const;
    // Whether the dialog stands still at its resting place with its final alpha.
    [[nodiscard]] bool is_settled() const;
    [[nodiscard]] bool is_dragged() const { return indent_when_active != 0; }
    // close() has run and the dialog has not gone yet.
    [[nodiscard]] bool is_closing() const { return closing != 0; }
    // The area children are added to.
    [[nodiscard]] WM_MANAGER* get_contents() const { return contents; }

    // --- Overrides ---------------------------------------------------------------------------
    void hide(bool with_overlays, bool with_children) override;
    INT_S32 update() override;
    INT_S32 animate(bool overlays) override;
    void set_position(INT_S32 new_x, INT_S32 new_y) override;
    void set_size(INT_S32 new_width, INT_S32 new_height, bool with_children) override;
    void add_child(WM_SCREEN_OBJECT* child, bool relative) override;
    void remove_child(WM_SCREEN_OBJECT* child, bool destroy, bool relative) override;
    bool can_take_focus() override { return false; }
    INT_S32 get_x() override;
    INT_S32 get_y() override;
    INT_S32 get_width() override { return width; }
    INT_S32 get_height() override { return height; }
    void draw() override;
    void paint() override;

    // --- Fields, in the record's order ----------------------------------------------------------
    WM_STYLE_SET style;
    WM_STYLE_SET title_style;
    WM_STYLE_SET button_style;
    WM_SCRIPT* title_object { nullptr }; // owned child
    INT_S16 drag_offset_x { 0 };
    INT_S16 drag_offset_y { 0 };
    INT_S16 drag_x { 0 };
    INT_S16 drag_y { 0 };
    WM_MANAGER* contents { nullptr }; // owned child
    INT_U8 draggable { 1 };
    INT_U8 left_was_down { 0 };
    INT_U8 animating { 1 };
    INT_U8 keep_events { 0 };
    INT_S16 no_drag_x1 { -1 };
    INT_S16 no_drag_y1 { -1 };
    INT_S16 no_drag_x2 { -1 };
    INT_S16 no_drag_y2 { -1 };
    TILED_IMAGE* background_image { nullptr }; // owned
    WM_DIALOG_EFFECT effect;
    INT_U32 effect_time { 0 };
    INT_U32 effect_start { 0 };
    INT_U8 destroy_when_closed { 0 };
    INT_U8 skip_effect { 0 };
    INT_U8 alpha { 0 };
    INT_U8 from_alpha { 0 };
    INT_U8 target_alpha { 0 };
    IMAGE work_image;
    INT_S16 start_x { 0 };
    INT_S16 start_y { 0 };
    INT_S16 rest_x { 0 };
    INT_S16 rest_y { 0 };
    INT_U8 opening { 1 };

    // The dialog whose children are being updated: what the page tool manager's objects act on.
    static WM_DIALOG* current;

protected:
    // Puts the title and the contents in their places for the present size.
    void lay_out();
    // Where a dialog of this size stands when asked for -1.
    static void centred_position(INT_S32 width, INT_S32 height, INT_S32* out_x, INT_S32* out_y);

private:
    void construct(INT_S32 x, INT_S32 y, INT_S32 width, INT_S32 height, const char* title,
        const WM_DIALOG_EFFECT* effect);
    void resolve_gaps();
    void begin_slide(bool open);
    void slide_frame(DIALOG_SLIDE_FRAME* frame);
    [[nodiscard]] bool at_rest() const { return x == rest_x && y == rest_y; }
    [[nodiscard]] bool holds_focus();
    void focus_first_inside();
    void draw_behind(IMAGE* target);
    void xor_outline();

    INT_U8 opened { 0 };         // the first paint has started the opening
    INT_U8 closing { 0 };        // close() ran and the dialog has not yet gone
    INT_U8 effect_started { 0 }; // effect_start holds the first step's time
    INT_U32 last_step_time { 0 }; // the clock at the last step
    IMAGE scratch;               // what lies under the dialog while it is translucent
};
