// The toolkit's shared look: what every dialog and widget falls back on when it is given nothing
// of its own. The four default style sets (dialog background, title, button, button hint), the
// dialog effect the data sets carry, the file selector's icons, the system font and the standard
// text colours. An application fills them from its data (the installer's database stream reads
// and writes them); the toolkit reads them.
//
// [SECTION] Default style sets
// [SECTION] Dialog effect
// [SECTION] File icons
// [SECTION] System font and standard text colours
#pragma once

#include "base/orlu_types.h"
#include "graphics/colour.h"

class IMAGE;
class WM_STYLE_SET;

// ---------------------------------------------------------------------------------------------
// [SECTION] Default style sets
// ---------------------------------------------------------------------------------------------

// The default style sets in the order the data sets carry them.
enum TOOLKIT_STYLE : INT_S32 {
    TOOLKIT_STYLE_BACKGROUND = 0, // a dialog's frame and background
    TOOLKIT_STYLE_TITLE,          // a dialog's title line
    TOOLKIT_STYLE_BUTTON,         // buttons
    TOOLKIT_STYLE_BUTTON_HINT,    // hints and other small text
    TOOLKIT_STYLE_COUNT
};

// Never null for 0 to TOOLKIT_STYLE_COUNT - 1; null outside.
[[nodiscard]] WM_STYLE_SET* toolkit_style(INT_S32 which);
// Whether the application supplied its toolkit styles (it gives the four at once, the hints with
// them). Until it has, widgets given no style set draw in their built-in looks.
void set_toolkit_hints_present(bool present);
[[nodiscard]] bool toolkit_hints_present();

// ---------------------------------------------------------------------------------------------
// [SECTION] Dialog effect
// ---------------------------------------------------------------------------------------------

// The dialog effect as the data sets carry it, with the toolkit's defaults.
struct TOOLKIT_DIALOG_EFFECT {
    INT_U16 flags { 0x47C };
    INT_S32 open_delay { 300 };
    INT_S32 display_delay { 1000 };
    INT_U8 dragging_alpha { 192 };
};

[[nodiscard]] TOOLKIT_DIALOG_EFFECT toolkit_dialog_effect();
void set_toolkit_dialog_effect(const TOOLKIT_DIALOG_EFFECT& effect);
// The word that dialogs take their effect from when they name none.
void set_toolkit_dialog_effect_default(INT_U16 word);
[[nodiscard]] INT_U16 toolkit_dialog_effect_default();

// ---------------------------------------------------------------------------------------------
// [SECTION] File icons
// ---------------------------------------------------------------------------------------------

// The file selector's drive and file icons: ten drive kinds, then parent folder, file, folder.
// The images belong to the application; the selector only points at them.
constexpr INT_S32 TOOLKIT_FILE_ICON_COUNT = 13;
void set_toolkit_file_icons(IMAGE* const* icons, INT_S32 count);
[[nodiscard]] IMAGE* toolkit_file_icon(INT_S32 index);

// ---------------------------------------------------------------------------------------------
// [SECTION] System font and standard text colours
// ---------------------------------------------------------------------------------------------

// The font the toolkit writes with when nothing names one: number 10 of the built-in list,
// "Babel Sans". Its faces are outlines, so one load serves every size; SYSTEM_FONT_WIDTH and
// SYSTEM_FONT_HEIGHT are the cell of small texts such as the frame rate.
constexpr INT_S16 SYSTEM_FONT = 10;
constexpr INT_S16 SYSTEM_FONT_WIDTH = 16;
constexpr INT_S16 SYSTEM_FONT_HEIGHT = 16;

// Loads the system font from $FONTDATA unless it is loaded already. Without a running font
// system (before the frame starts it) nothing happens. True when the font is there afterwards.
bool load_system_font();
[[nodiscard]] bool system_font_loaded();

// The colours texts take when their style gives none: message texts, the frame rate, the quit
// confirmation's text.
struct WM_TEXT_COLOURS {
    COLOUR text { COLOUR::from_argb(0xFFFFFFFFu) };
    COLOUR background {};                               // invisible: no box behind the text
    COLOUR shadow { COLOUR::from_argb(0xFF000000u) };   // the shadow and outline effects
    COLOUR highlight { COLOUR::from_argb(0xFFFFFF00u) };
    COLOUR disabled { COLOUR::from_argb(0xFF808080u) };
};

extern WM_TEXT_COLOURS standard_text_colours;
// Back to the colours above.
void set_standard_text_colours();
