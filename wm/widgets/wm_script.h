// WM_SCRIPT: a static text label ("script" in the printer's sense). It draws a background the
// way a button without state does (skin image, fading or plain fill, border) and its text inside
// the gaps: one line, or wrapped with "ssf_wrap_text" or at line feeds. The text may carry the
// colour markup of font.h (byte 2 sections); a line feed breaks the line.
//
// A label can serve as the hint of another object (`owner`): it then updates its owner first.
// It flashes in step with every other blinking widget when `flash_mode` is 8.
#pragma once

#include "base/orlu_string.h"
#include "graphics/colour.h"
#include "wm/core/wm_screen_object.h"

class TILED_IMAGE;
class WM_STYLE_SET;

typedef void (*WM_OVER_CALLBACK)(WM_SCREEN_OBJECT* object, bool over, PTR_INT_CAST data1, PTR_INT_CAST data2);

// A size of -1 measures the text on that side; -5 by -3 measures a text of several lines, as
// hints do.
constexpr INT_S16 SCRIPT_MEASURE = -1;
constexpr INT_S16 SCRIPT_MEASURE_LINES_WIDTH = -5;
constexpr INT_S16 SCRIPT_MEASURE_LINES_HEIGHT = -3;

// flash_mode that makes a widget flash.
constexpr INT_S32 FLASH_MODE_ON = 8;

class WM_SCRIPT : public WM_SCREEN_OBJECT {
public:
    // A label in the style's colours, font, gaps, flags and images. A null text is empty; a null
    // style takes the built-in defaults.
    WM_SCRIPT(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* text, const WM_STYLE_SET* style,
        WM_CALLBACK left_callback = nullptr, PTR_INT_CAST left_data1 = 0, PTR_INT_CAST left_data2 = 0);
    // A label in plain colours: no border unless `border_sides` says so; font 255 and sizes of -1
    // take the target's.
    WM_SCRIPT(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const char* text, const COLOUR& fg,
        const COLOUR& bg, INT_U8 font, INT_S16 font_x, INT_S16 font_y, INT_U32 face_flags,
        WM_CALLBACK left_callback = nullptr, PTR_INT_CAST left_data1 = 0, PTR_INT_CAST left_data2 = 0);
    ~WM_SCRIPT() override;

    // Marks the label dirty, replaces the text, and with `resize` widens the label to the text's
    // width plus 1 when it has to; it never narrows it.
    virtual void set_text(const char* new_text, bool resize);
    [[nodiscard]] const char* get_text() const { return text.c_str(); }
    void set_flash_text(const char* new_text);
    void set_flash(INT_U8 mask, bool on);

    // The size a label of this text would take in this style (see the constructors); either
    // output may be null.
    static void get_size_for(const char* text, const WM_STYLE_SET* style, INT_S16* width_out, INT_S16* height_out);

    INT_S32 update() override;
    INT_S32 animate(bool overlays) override;
    bool is_over(INT_S32 px, INT_S32 py) override;
    bool can_take_focus() override { return false; }
    void paint() override;

    // --- Fields ------------------------------------------------------------------------------
    ORLU_STRING text;
    ORLU_STRING flash_text;
    INT_S32 flash_mode { 0 };
    INT_U8 flash_on { 0 };
    INT_U8 flash_mask { 32 };
    COLOUR fg_colour { COLOUR_WHITE };
    COLOUR bg_colour {};
    COLOUR fading_colour {};
    COLOUR disabled_text_colour {};
    COLOUR flashing_colour {};
    COLOUR flashing_text_colour {};
    COLOUR underline_colour {};
    INT_U8 font_id { 255 };
    INT_S16 font_x_sz { -1 };
    INT_S16 font_y_sz { -1 };
    INT_S16 left_gap { -1 };
    INT_S16 right_gap { -1 };
    INT_S16 top_gap { -1 };
    INT_S16 bottom_gap { -1 };
    INT_S16 x_spacing { -1 };
    INT_S16 y_spacing { -1 };
    INT_U32 face_flags { 0 };
    WM_SCREEN_OBJECT* owner { nullptr };
    WM_OVER_CALLBACK over_callback { nullptr };
    PTR_INT_CAST over_data1 { 0 };
    PTR_INT_CAST over_data2 { 0 };
    INT_U8 was_over { 0 };
    TILED_IMAGE* face { nullptr };          // owned
    TILED_IMAGE* face_flashing { nullptr }; // owned

protected:
    // The text being shown; a typing label shows part of its text.
    [[nodiscard]] virtual const char* shown_text() const;

private:
    void take_style(const WM_STYLE_SET& style, INT_S16 width, INT_S16 height);
    void measure(INT_S16 width, INT_S16 height, bool left_set, bool right_set, bool top_set, bool bottom_set);
    void resolve_gaps();
};
