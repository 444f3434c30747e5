#include "wm/dialogs/wm_about.h"

#include <new>

#include "base/error_report.h"
#include "base/orlu_string.h"
#include "io/folder.h"
#include "io/text_file.h"
#include "wm/core/wm_manager.h"
#include "wm/dialogs/wm_confirm.h"
#include "wm/widgets/wm_button.h"
#include "wm/widgets/wm_image.h"
#include "wm/widgets/wm_script.h"

namespace {

constexpr INT_U32 ESCAPE_KEY = 65307;
constexpr INT_S32 ABOUT_SPACING = 8;

INT_S16 or_default(INT_S16 asked, INT_S16 fallback)
{
    return asked > 0 ? asked : fallback;
}

} // namespace

bool WM_ABOUT::load_credits(const FOLDER& folder, const char* name, ORLU_STRING* out)
{
    if (!out)
        return false;
    out->clear();
    TEXT_FILE* file = folder.open_text_file(name ? name : "credits", FILE_READ, false);
    if (!file)
        return false;
    ORLU_STRING line;
    bool first = true;
    while (file->read_line(line) || !line.is_empty()) {
        if (out->length() + line.length() + 1 > ABOUT_MAX_CREDITS)
            break;
        if (!first)
            out->append("\n");
        out->append(line.c_str());
        first = false;
        line.clear();
    }
    FOLDER::close_text_file(&file);
    return true;
}

WM_ABOUT::WM_ABOUT(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const char* title_,
    const char* button_text, const IMAGE* button_icon, const IMAGE* logo, const char* credits,
    const WM_STYLE_SET* style_, const WM_STYLE_SET* title_style_, const WM_STYLE_SET* button_style_,
    const WM_STYLE_SET* text_style, const WM_DIALOG_EFFECT* effect_)
    : WM_DIALOG(x_, y_, or_default(width_, ABOUT_DEFAULT_WIDTH), or_default(height_, ABOUT_DEFAULT_HEIGHT),
        title_ ? title_ : "About", style_, title_style_, button_style_, effect_)
{
    type_flags |= WM_TYPE_ABOUT;
    INT_S32 cw = contents->width;
    INT_S32 ch = contents->height;

    // The button at the bottom, centred.
    const char* label = button_text ? button_text : "Close";
    INT_S32 bw = WM_BUTTON::width_for(label, &button_style);
    if (button_icon && button_icon->has_pixels())
        bw += button_icon->width + (button_style.x_spacing > 0 ? button_style.x_spacing : 1);
    button = new (std::nothrow) WM_BUTTON(0, 0, -1, -1, &button_style, label, nullptr, WM_CONFIRM::standard_answer, 0,
        0, TRIGGER_PRESS | TRIGGER_RELEASE);
    if (!button)
        fatal_error(0x66, nullptr);
    if (button_icon)
        button->set_icon(button_icon);
    INT_S32 bh = button->height;
    if (button_icon && button_icon->height + 4 > bh)
        bh = button_icon->height + 4;
    button->set_size(bw, bh, false);
    button->set_position((cw - bw) / 2, ch - ABOUT_SPACING - bh);
    button->set_shortcut_key(ESCAPE_KEY);

    // The logo at the top, centred; the credits fill what is between.
    INT_S32 top = ABOUT_SPACING;
    if (logo && logo->has_pixels()) {
        logo_picture = new (std::nothrow) WM_IMAGE(static_cast<INT_S16>((cw - logo->width) / 2), static_cast<INT_S16>(top),
            logo->width, logo->height);
        if (!logo_picture)
            fatal_error(0x67, nullptr);
        logo_picture->set_picture(logo);
        add_child(logo_picture, true);
        top += logo->height + ABOUT_SPACING;
    }
    WM_STYLE_SET look;
    if (!text_style || !look.assign(*text_style)) {
        look.fg_colour = style.fg_colour;
        look.bg_colour = COLOUR_INVISIBLE;
        look.font_id = style.font_id;
        look.font_x_sz = style.font_x_sz;
        look.font_y_sz = style.font_y_sz;
        look.shading_type = 0;
    }
    look.flags |= ssf_wrap_text | ssf_top_align_text;
    INT_S32 text_h = ch - ABOUT_SPACING - bh - ABOUT_SPACING - top;
    credits_text = new (std::nothrow) WM_SCRIPT(ABOUT_SPACING, static_cast<INT_S16>(top),
        static_cast<INT_S16>(cw - 2 * ABOUT_SPACING > 1 ? cw - 2 * ABOUT_SPACING : 1),
        static_cast<INT_S16>(text_h > 1 ? text_h : 1), credits, &look);
    if (!credits_text)
        fatal_error(0x67, nullptr);
    add_child(credits_text, true);
    add_child(button, true);
}
