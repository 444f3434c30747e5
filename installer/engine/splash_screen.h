// The installer's first and last windows: the splash that shows while the data set is unpacked
// (the data set's own, or the built-in "Please Wait" one), the bar that follows the unpacking,
// the closing picture, and the still background of the wizard's window.
//
// Everything here draws into the BACK_BUFFER of frame/screen.h and presents it itself: the
// unpacking does not return to the frame's loop, so nothing else would.
#pragma once

#include "base/orlu_types.h"
#include "graphics/image.h"

class DATABASE;
class WM_STYLE_SET;

// The bar of a data set without a splash of its own: where it stands and its three colours.
constexpr INT_S16 PLAIN_BAR_X = 110;
constexpr INT_S16 PLAIN_BAR_Y = 122;
constexpr INT_S16 PLAIN_BAR_WIDTH = 220;
constexpr INT_S16 PLAIN_BAR_HEIGHT = 10;
constexpr COLOUR PLAIN_BAR_BORDER = COLOUR::from_argb(0xFF10042F);
constexpr COLOUR PLAIN_BAR_EMPTY = COLOUR::from_argb(0xFF241050);
constexpr COLOUR PLAIN_BAR_FULL = COLOUR::from_argb(0xFFE0E4FF);

constexpr const char* BUILTIN_SPLASH_TITLE = "Please Wait";

// The colour of a window without a background picture.
constexpr COLOUR STANDARD_BACKGROUND_COLOUR = COLOUR::from_argb(0xFF3A4A5C);

// A bar from 0 to 100 for the splash. With a style set it takes the set's faces ("%s_bg",
// "%s_empty", "%s_full", else "%s_bar" for the fill) and colours (bg_colour empty, active_colour
// full, fg_colour for the border); without one the plain colours above. It shows no text: the
// fonts come with the package that is being unpacked.
class SPLASH_BAR {
public:
    SPLASH_BAR(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const WM_STYLE_SET* style);

    // Values outside 0 to 100 are ignored. True when the bar's picture changed.
    bool set_value(INT_S32 value);
    [[nodiscard]] INT_S32 value() const { return m_value; }
    // The length of the filled part for the present value.
    [[nodiscard]] INT_S16 filled_width() const;
    // Paints the bar onto the target (null: the back buffer).
    void draw(IMAGE* target) const;

    [[nodiscard]] INT_S16 x() const { return m_x; }
    [[nodiscard]] INT_S16 y() const { return m_y; }
    [[nodiscard]] INT_S16 width() const { return m_width; }
    [[nodiscard]] INT_S16 height() const { return m_height; }

private:
    INT_S16 m_x;
    INT_S16 m_y;
    INT_S16 m_width;
    INT_S16 m_height;
    INT_S32 m_value { 0 };
    const WM_STYLE_SET* m_style;
};

// The percentage of the bar after `done` of `remaining` bytes, truncated; -1 when it falls
// outside 0 to 100 (the bar then keeps its value).
[[nodiscard]] INT_S32 unpack_percentage(INT_U64 done, INT_U64 remaining);

// Opens (or changes) the window titled `title` at the picture's size, in the middle of the
// desktop, and shows the picture at its top left over the colour. False when no window can be
// opened (display_failure_text says why).
[[nodiscard]] bool show_picture_window(const char* title, const IMAGE& picture, const COLOUR& background);
// The built-in splash: "Please Wait", 257 by 97.
[[nodiscard]] bool show_builtin_splash();
// The built-in closing picture, in a small window of its size, titled like the application.
[[nodiscard]] bool show_closing_picture(const char* title);

// The still background of the wizard's window: the data set's background picture stretched over
// the whole window, or the standard colour when it has none. Kept, so that what is drawn on top
// (the frame-rate text) can be taken off again.
class WINDOW_BACKGROUND {
public:
    // Paints the back buffer from the database's picture and keeps the result.
    void paint(const DATABASE& database);
    // Copies the kept picture back over a rectangle of the back buffer.
    void restore(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2) const;
    [[nodiscard]] const IMAGE& image() const { return m_image; }

private:
    IMAGE m_image;
};

