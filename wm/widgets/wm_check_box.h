// WM_CHECK_BOX: a small composite of two buttons, a square box and a flat label beside it, that
// act as one: a press on either toggles `checked`, and the pair is one stop of the keyboard focus.
//
//   state     | press and release on box or label, or Return while focused | set_checked(v)
//   ----------+-------------------------------------------------------------+----------------
//   clear     | checked / left_callback                                     | v, no callback
//   checked   | clear / left_callback                                       | v, no callback
//
// The box shows "X" when checked and " " when not, sunk in and filled with the style's active
// colour; a box with skin images shows the checked state by its `active` faces instead.
#pragma once

#include "wm/core/wm_screen_object.h"

class WM_BUTTON;
class WM_STYLE_SET;

class WM_CHECK_BOX : public WM_SCREEN_OBJECT {
public:
    // Plain colours: text, background and the box's fill when pressed.
    WM_CHECK_BOX(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const char* title, const COLOUR& text_colour,
        const COLOUR& background_colour, const COLOUR& highlight_colour, INT_U8 font_id, INT_S16 font_x_sz,
        INT_S16 font_y_sz, bool checked, WM_CALLBACK left_callback, PTR_INT_CAST left_data1,
        PTR_INT_CAST left_data2);
    // From a style set: the box takes its images, border and fill, the label its text colours.
    WM_CHECK_BOX(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const WM_STYLE_SET* style, const char* title,
        bool checked, WM_CALLBACK left_callback, PTR_INT_CAST left_data1, PTR_INT_CAST left_data2);
    ~WM_CHECK_BOX() override;

    // Sets the state without calling the callback.
    void set_checked(bool value);
    [[nodiscard]] bool is_checked() const { return checked != 0; }
    // Enables or disables both parts.
    void set_enabled(bool flag);

    void hide(bool with_overlays, bool with_children) override;
    INT_S32 update() override;
    WM_SCREEN_OBJECT* object_at(INT_S32 px, INT_S32 py) override;
    void set_size(INT_S32 new_width, INT_S32 new_height, bool with_children) override;
    bool can_take_focus() override;
    void paint() override {}

    INT_U8 checked { 0 };
    WM_BUTTON* box { nullptr };   // owned child
    WM_BUTTON* label { nullptr }; // owned child
    INT_S16 gap { 4 };

private:
    // What both constructors begin with: the kind and the rectangle, which must not be inverted.
    void place(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2);
    // What both end with: the box and label taken as children, laid out and showing `checked_`.
    // The check box alone takes the focus.
    void join_parts(bool checked_);
    static INT_S32 pressed(WM_SCREEN_OBJECT* part, PTR_INT_CAST data1, PTR_INT_CAST data2);
    void finish(bool value);
    void show_state();
    void lay_out();
};
