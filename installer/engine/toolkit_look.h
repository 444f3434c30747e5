// The toolkit's share of the installation database: the four style sets that every dialog
// uses, the hints-present flag, the dialog effect, the file selector's icons and the standard
// text colours. The database reads and writes them with its stream but does not own them; this
// is the one place that knows where the toolkit keeps them.
#pragma once

#include "base/orlu_types.h"

class IMAGE;
class WM_STYLE_SET;

// The toolkit's style sets in stream order.
enum TOOLKIT_STYLE : INT_S32 {
    TOOLKIT_STYLE_BACKGROUND = 0,
    TOOLKIT_STYLE_TITLE,
    TOOLKIT_STYLE_BUTTON,
    TOOLKIT_STYLE_BUTTON_HINT,
    TOOLKIT_STYLE_COUNT
};

// The dialog effect as the stream carries it, with the toolkit's defaults.
struct TOOLKIT_DIALOG_EFFECT {
    INT_U16 flags { 0x47C };
    INT_S32 open_delay { 300 };
    INT_S32 display_delay { 1000 };
    INT_U8 dragging_alpha { 192 };
};

// Never null for 0 to TOOLKIT_STYLE_COUNT - 1; null outside.
[[nodiscard]] WM_STYLE_SET* toolkit_style(INT_S32 which);
void set_toolkit_hints_present(bool present);
[[nodiscard]] bool toolkit_hints_present();

[[nodiscard]] TOOLKIT_DIALOG_EFFECT toolkit_dialog_effect();
void set_toolkit_dialog_effect(const TOOLKIT_DIALOG_EFFECT& effect);
// The word that dialogs take their effect from when they name none.
void set_toolkit_dialog_effect_default(INT_U16 word);
[[nodiscard]] INT_U16 toolkit_dialog_effect_default();

// The file selector's drive and file icons: ten drive kinds, then parent folder, file, folder.
// The images are the database's; the selector only points at them.
void set_toolkit_file_icons(IMAGE* const* icons, INT_S32 count);
[[nodiscard]] IMAGE* toolkit_file_icon(INT_S32 index);
