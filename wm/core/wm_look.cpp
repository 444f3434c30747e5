// The toolkit's shared look: default style sets, dialog effect, file icons, system font and
// standard text colours.

#include "wm/core/wm_look.h"

#include "base/static_order.h"
#include "graphics/font.h"
#include "wm/core/wm_style_set.h"

namespace {

// Built with the toolkit's group, so that they are destroyed after the image cache is marked gone
// and release nothing into it.
WM_STYLE_SET toolkit_styles[TOOLKIT_STYLE_COUNT] ORLU_INIT_TOOLKIT;
bool hints_present = false;
TOOLKIT_DIALOG_EFFECT dialog_effect;
INT_U16 dialog_effect_default = 0;
IMAGE* file_icons[TOOLKIT_FILE_ICON_COUNT] {};

} // namespace

WM_TEXT_COLOURS standard_text_colours;

WM_STYLE_SET* toolkit_style(INT_S32 which)
{
    return which >= 0 && which < TOOLKIT_STYLE_COUNT ? &toolkit_styles[which] : nullptr;
}

void set_toolkit_hints_present(bool present)
{
    hints_present = present;
}

bool toolkit_hints_present()
{
    return hints_present;
}

TOOLKIT_DIALOG_EFFECT toolkit_dialog_effect()
{
    return dialog_effect;
}

void set_toolkit_dialog_effect(const TOOLKIT_DIALOG_EFFECT& effect)
{
    dialog_effect = effect;
}

void set_toolkit_dialog_effect_default(INT_U16 word)
{
    dialog_effect_default = word;
}

INT_U16 toolkit_dialog_effect_default()
{
    return dialog_effect_default;
}

void set_toolkit_file_icons(IMAGE* const* icons, INT_S32 count)
{
    for (INT_S32 i = 0; i < TOOLKIT_FILE_ICON_COUNT; ++i)
        file_icons[i] = icons && i < count ? icons[i] : nullptr;
}

IMAGE* toolkit_file_icon(INT_S32 index)
{
    return index >= 0 && index < TOOLKIT_FILE_ICON_COUNT ? file_icons[index] : nullptr;
}

bool system_font_loaded()
{
    return font_system_started() && font_is_loaded(SYSTEM_FONT);
}

bool load_system_font()
{
    if (!font_system_started())
        return false;
    if (font_is_loaded(SYSTEM_FONT))
        return true;
    const char* file_name = font_file_name(SYSTEM_FONT);
    if (!file_name || load_font(file_name, nullptr, SYSTEM_FONT, nullptr) != SYSTEM_FONT)
        return false;
    return true;
}

void set_standard_text_colours()
{
    standard_text_colours = WM_TEXT_COLOURS();
}
