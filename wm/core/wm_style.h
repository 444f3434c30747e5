// The widget side of style sets: how a widget takes its colours, font, gaps, images and flags
// from a WM_STYLE_SET, and how a styled face and text are painted. Widgets copy what they need
// at construction (a skin may be replaced behind them) and paint from their copies; these helpers
// are the one place that knows the fallbacks:
//
//   font       font_id 255 is the draw target's default font; a size of -1 its default size
//   gaps       a border gap of -1 is the border's thickness (shading_thickness of the style's
//              type); a cell gap of -1 is 0
//   borders    none without "ssf_draw_border"; else shading_flags with 0x8000 (pressed look)
//              from "ssf_indent_border"
//   colour     a visible shading_base_colour shades the border instead of the theme
//   images     the up and down faces fall back on the base image
//   text       the seven text bits of flags, plus "ssf_reflect_text"
//   face flags what a widget face keeps of a style's flags and ext_flags (FACE_FLAG)
#pragma once

#include "base/orlu_types.h"
#include "graphics/colour.h"

class IMAGE;
class TILED_IMAGE;
class WM_SCREEN_OBJECT;
class WM_STYLE_SET;

struct WM_STYLE_FONT {
    INT_U8 font { 255 };
    INT_S16 width { -1 };
    INT_S16 height { -1 };
};

struct WM_STYLE_GAPS {
    INT_S16 left { 0 };
    INT_S16 right { 0 };
    INT_S16 top { 0 };
    INT_S16 bottom { 0 };
};

// Bits of a face's drawing flags (`face_flags` of buttons and labels).
enum FACE_FLAG : INT_U32 {
    FACE_LEFT_JUSTIFY = 0x1,
    FACE_RIGHT_JUSTIFY = 0x2,
    FACE_TOP_ALIGN = 0x4,
    FACE_BOTTOM_ALIGN = 0x8,
    FACE_LEFT_ARROW = 0x10,
    FACE_RIGHT_ARROW = 0x20,
    FACE_UP_ARROW = 0x40,
    FACE_DOWN_ARROW = 0x80,
    FACE_DARKENED_BACKGROUND = 0x100,
    FACE_FIXED_BORDER = 0x200, // indent or outstanding border: pressing does not turn it
    FACE_HFADING = 0x400,
    FACE_VFADING = 0x800,
    FACE_INVERT_VFADING_ON_PRESS = 0x1000,
    FACE_TEXT_COLOUR_OUTLINE = 0x2000,
    FACE_SHADOW_TEXT = 0x4000,
    FACE_INSET_TEXT = 0x8000,
    FACE_CHISELED_TEXT = 0x10000,
    FACE_ICON_LEFT = 0x20000,
    FACE_ICON_RIGHT = 0x40000,
    FACE_ICON_TOP = 0x80000,
    FACE_ICON_BOTTOM = 0x100000,
    FACE_ICON_ATTACH_TO_TEXT = 0x200000,
    FACE_WRAP_TEXT = 0x400000,
    FACE_DONT_RESIZE_IMAGE = 0x800000,
    FACE_DONT_MASK_CLICK = 0x1000000,
    FACE_REFLECT_TEXT = 0x2000000,
};

// The face flags that a style set's `flags` and `ext_flags` give.
INT_U32 face_flags_from_style(const WM_STYLE_SET& style);
// The TEXT_FLAG bits of font.h for the face flags: alignment and rendering.
INT_U8 face_text_flags(INT_U32 face_flags);

// The style's font with the draw target's defaults for what it leaves open. A null style gives
// the defaults.
[[nodiscard]] WM_STYLE_FONT style_font(const WM_STYLE_SET* style);
// Border gaps; -1 becomes the border's thickness for `object`'s type resolution (null object:
// the style's own type, then the theme's).
[[nodiscard]] WM_STYLE_GAPS style_border_gaps(const WM_STYLE_SET* style, const WM_SCREEN_OBJECT* object);
// Cell gaps; -1 becomes 0.
[[nodiscard]] WM_STYLE_GAPS style_cell_gaps(const WM_STYLE_SET* style);
// The `sides` mask a widget of this style draws its border with.
[[nodiscard]] INT_U16 style_border_sides(const WM_STYLE_SET* style);
// The text flags for drawing (TEXT_FLAG of graphics/font.h).
[[nodiscard]] INT_U8 style_text_flags(const WM_STYLE_SET* style);

// Copies what the base object keeps of a style: visible, shading_type, the border sides, the
// border's base colour and indent_when_active. Null does nothing.
void apply_style(WM_SCREEN_OBJECT* object, const WM_STYLE_SET* style);

// Gives `into` the pieces of one image slot, sharing them (one reference each). The up and down
// faces fall back on the base image. False, with `into` emptied, when the slot (and its fallback)
// is empty or the style has no images loaded.
bool style_take_image(const WM_STYLE_SET* style, INT_S32 slot, TILED_IMAGE* into);

// The face of a styled panel or button into the draw target, inside the inclusive rectangle:
// with a face image, the image stretched over it (or centred at its own size with
// "ssf_dont_resize_image"); otherwise the background (darkened, faded across or down, or plain,
// with the round corners of shading_flags) and the border, shaded from the object's colour, the
// theme's shades or else the background colour. `pressed` gives the inverted border
// and, with "ssef_invert_vfading_on_press", the vertical fading upside down.
void paint_style_face(WM_SCREEN_OBJECT* object, const WM_STYLE_SET* style, TILED_IMAGE* face, INT_S32 x1, INT_S32 y1,
    INT_S32 x2, INT_S32 y2, bool pressed);

// One fill of a face's background inside the inclusive rectangle: by `shade` (SHADE_DARKEN by
// `percent`, SHADE_HORIZONTAL or SHADE_VERTICAL from `a` to `b`, else plain `a`), with the round
// `corners` (CORNER bits of graphics/image.h) of `radius` (-1: the target's default) when it has
// any. A fading is blended into what lies below with `blend_fading`, else written over it.
void paint_style_fill(IMAGE* target, INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, INT_U8 corners, INT_S16 radius,
    INT_U8 shade, const COLOUR& a, const COLOUR& b, INT_S8 percent, bool blend_fading);

// Text inside the inclusive rectangle, placed by the style's alignment bits (centred without
// them), wrapped with "ssf_wrap_text", in `colour` (invisible: fg_colour) with the style's
// effects and underline.
void paint_style_text(const WM_STYLE_SET* style, const char* text, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2,
    const COLOUR& colour);
