// WM_IMAGE: one picture in a rectangle, centred and scaled to it, with a border and an optional
// click. A width or height of 0 (or 65535) takes the picture's own size. The picture can show
// the keyboard focus by a wash of `focus_colour` over it.
//
//   state    | pointer enters | pointer leaves | primary down (or Return   | primary up
//            |                |                |  while focused)           |
//   ---------+----------------+----------------+---------------------------+----------------------
//   idle     | over (repaint) |                |                           |
//   over     |                | idle (repaint) | held / click if trigger 1 | over / click if trigger 2
//   held     |                | idle           | (each frame: click with   |
//            |                |                |  fires_while_held)        |
#pragma once

#include "graphics/colour.h"
#include "graphics/image.h"
#include "wm/core/wm_screen_object.h"

class FOLDER;

// Bits of WM_IMAGE::trigger.
enum IMAGE_TRIGGER : INT_U8 {
    IMAGE_TRIGGER_PRESS = 1,
    IMAGE_TRIGGER_RELEASE = 2,
};

class WM_IMAGE : public WM_SCREEN_OBJECT {
public:
    WM_IMAGE(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, bool visible = true,
        WM_CALLBACK left_callback = nullptr, PTR_INT_CAST left_data1 = 0, PTR_INT_CAST left_data2 = 0,
        INT_U8 trigger = IMAGE_TRIGGER_RELEASE);
    ~WM_IMAGE() override = default;

    // A copy of the picture; null empties it.
    void set_picture(const IMAGE* source);
    // The picture from a file (any format the image loader reads). False when there is none.
    bool load(const FOLDER& folder, const char* name);

    INT_S32 update() override;
    void set_size(INT_S32 new_width, INT_S32 new_height, bool with_children) override;
    bool can_take_focus() override { return focusable && visible; }
    void draw() override;
    void paint() override;

    // --- Fields, in the record's order ----------------------------------------------------------
    IMAGE picture;
    INT_U8 left_was_down { 0 };
    INT_U8 fires_while_held { 0 };
    INT_S16 click_x { -1 };
    INT_S16 click_y { -1 };
    INT_U16 border_sides_image { 0 };
    INT_U8 trigger { IMAGE_TRIGGER_RELEASE };
    INT_U8 over { 0 };
    INT_U8 focusable_flag { 0 };
    INT_U8 shows_pointer { 0 };
    INT_U8 clip_children { 0 };
    COLOUR focus_colour {};
    INT_U8 key_was_down { 0 };

private:
    void fit_picture();

    INT_U8 takes_width { 0 };  // made with a width of 0: the picture's width
    INT_U8 takes_height { 0 };
};
