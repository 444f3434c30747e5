// What the faces of buttons, labels and the like share: their skin images, their gaps, and
// painting a background and a text inside a rectangle. The drawing flags they copy from a style
// set (FACE_FLAG) belong to the style side, in wm/core/wm_style.h.
//
// Text is always clipped to the rectangle it is given, however long it is: a translation three
// times longer than the English must not paint over the neighbours of its widget.
#pragma once

#include "graphics/colour.h"
#include "base/orlu_types.h"
#include "wm/core/wm_style.h" // FACE_FLAG and the face flags of a style set

class IMAGE;
class TILED_IMAGE;
class WM_STYLE_SET;

// A skin image of its own that shares the pictures of source; null for a null or empty source or
// when memory runs out.
TILED_IMAGE* copy_skin_image(const TILED_IMAGE* source);
// The skin image `name` in the folder path through the image cache; null when there is none.
TILED_IMAGE* load_skin_image(const char* folder, const char* name);
void free_skin_image(TILED_IMAGE*& image);

// The gaps of a face left at -1 take the border's thickness, and spacings left at -1 the left and
// top gaps.
void resolve_face_gaps(INT_S32 thickness, INT_S16& left, INT_S16& right, INT_S16& top, INT_S16& bottom,
    INT_S16& x_spacing, INT_S16& y_spacing);

// Fills the rectangle as a face without pictures: darkened by half with
// FACE_DARKENED_BACKGROUND; otherwise, with a visible background, a horizontal or vertical
// fading to `fading` (the vertical one upside down when `inverted` with
// FACE_INVERT_VFADING_ON_PRESS; none at all when `flat`), or a plain fill. Round corners follow
// the corner bits (0x10 to 0x80) of `sides`.
void paint_face_fill(IMAGE* target, INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, INT_U32 face_flags,
    const COLOUR& background, const COLOUR& fading, INT_U16 sides, bool inverted, bool flat);

// The text of a face inside the box (inclusive corners), placed by the alignment bits (centred
// without them), wrapped with FACE_WRAP_TEXT or when it holds line feeds, drawn with the
// rendering bits. Nothing is drawn outside the box, and the target's clip is as it was after.
// font 255 and sizes of -1 take the target's own.
void paint_face_text(IMAGE* target, INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const char* text,
    const COLOUR& colour, const COLOUR& underline, INT_U8 font, INT_S16 font_x, INT_S16 font_y, INT_U32 face_flags);

// The size a text takes in a font: the widest line and the lines times the line height. Line
// feeds break lines; markup takes no room.
void measure_face_text(const IMAGE* target, const char* text, INT_U8 font, INT_S16 font_x, INT_S16 font_y,
    INT_S32* width, INT_S32* height);
