// The splash, its bar, the closing picture and the wizard window's still background.

#include "installer/engine/splash_screen.h"

#include "frame/screen.h"
#include "graphics/generated/builtin_images.h"
#include "graphics/tiled_image.h"
#include "installer/engine/database.h"
#include "wm/core/wm_style_set.h"

namespace {

const TILED_IMAGE* face(const WM_STYLE_SET* style, INT_S32 slot)
{
    if (!style)
        return nullptr;
    const TILED_IMAGE* image = style->images[slot];
    return image && image->is_loaded() ? image : nullptr;
}

void draw_face(const TILED_IMAGE* image, INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, IMAGE* target)
{
    // Drawing does not change the element; the toolkit's call is not marked const.
    const_cast<TILED_IMAGE*>(image)->draw(x1, y1, x2, y2, true, target, BLIT_ALPHA, false);
}

bool visible(const COLOUR& colour) { return colour.alpha() != 0; }

} // namespace

// ---------------------------------------------------------------------------------------------
// SPLASH_BAR
// ---------------------------------------------------------------------------------------------

SPLASH_BAR::SPLASH_BAR(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const WM_STYLE_SET* style)
    : m_x(x), m_y(y), m_width(width), m_height(height), m_style(style)
{
}

bool SPLASH_BAR::set_value(INT_S32 value)
{
    if (value < 0 || value > 100 || value == m_value)
        return false;
    INT_S16 before = filled_width();
    m_value = value;
    return filled_width() != before;
}

INT_S16 SPLASH_BAR::filled_width() const
{
    INT_S32 inner = m_width - 2;
    if (inner < 1)
        return 0;
    return static_cast<INT_S16>(inner * m_value / 100);
}

void SPLASH_BAR::draw(IMAGE* target) const
{
    if (!target)
        target = back_buffer_of(0);
    if (!target || m_width < 3 || m_height < 3)
        return;
    const INT_S16 x2 = static_cast<INT_S16>(m_x + m_width - 1);
    const INT_S16 y2 = static_cast<INT_S16>(m_y + m_height - 1);
    const INT_S16 fill_end = static_cast<INT_S16>(m_x + filled_width()); // last filled column
    // A bar that lies wholly outside the target draws nothing and leaves it clean.
    if (m_x >= target->width || m_y >= target->height || x2 < 0 || y2 < 0)
        return;

    COLOUR border = m_style ? m_style->fg_colour : PLAIN_BAR_BORDER;
    COLOUR empty = m_style ? m_style->bg_colour : PLAIN_BAR_EMPTY;
    COLOUR full = m_style ? (visible(m_style->active_colour) ? m_style->active_colour : m_style->fg_colour)
                          : PLAIN_BAR_FULL;
    bool framed = !m_style || (m_style->flags & ssf_draw_border);

    if (const TILED_IMAGE* bg = face(m_style, STYLE_IMAGE_BG))
        draw_face(bg, m_x, m_y, x2, y2, target);
    else if (framed && visible(border))
        target->draw_box_outline(m_x, m_y, x2, y2, border, 1, EDGE_ALL, true);

    // The empty part first over the whole track, then the filled part over it.
    const INT_S16 inner_x1 = static_cast<INT_S16>(m_x + 1);
    const INT_S16 inner_y1 = static_cast<INT_S16>(m_y + 1);
    const INT_S16 inner_x2 = static_cast<INT_S16>(x2 - 1);
    const INT_S16 inner_y2 = static_cast<INT_S16>(y2 - 1);
    if (const TILED_IMAGE* track = face(m_style, STYLE_IMAGE_EMPTY))
        draw_face(track, inner_x1, inner_y1, inner_x2, inner_y2, target);
    else if (visible(empty))
        target->fill_box(inner_x1, inner_y1, inner_x2, inner_y2, empty, true);
    if (fill_end < inner_x1)
        return;
    const TILED_IMAGE* fill = face(m_style, STYLE_IMAGE_FULL);
    if (!fill)
        fill = face(m_style, STYLE_IMAGE_BAR);
    if (fill)
        draw_face(fill, inner_x1, inner_y1, fill_end, inner_y2, target);
    else if (visible(full))
        target->fill_box(inner_x1, inner_y1, fill_end, inner_y2, full, true);
}

INT_S32 unpack_percentage(INT_U64 done, INT_U64 remaining)
{
    if (remaining == 0)
        return -1;
    long double share = static_cast<long double>(done) * 100.0L / static_cast<long double>(remaining);
    if (share < 0 || share > 100)
        return -1;
    return static_cast<INT_S32>(share);
}

// ---------------------------------------------------------------------------------------------
// Windows with a picture
// ---------------------------------------------------------------------------------------------

bool show_picture_window(const char* title, const IMAGE& picture, const COLOUR& background)
{
    if (!picture.has_pixels())
        return false;
    WINDOW_REQUEST request;
    request.title = title;
    request.width = static_cast<INT_U16>(picture.width);
    request.height = static_cast<INT_U16>(picture.height);
    if (!open_window(request, 0))
        return false;
    BACK_BUFFER* screen = back_buffer_of(0);
    screen->clear(background, true);
    picture.draw(0, 0, screen, BLIT_ALPHA);
    swap_screens(0);
    return true;
}

bool show_builtin_splash()
{
    IMAGE picture;
    if (!picture.load_array(builtin_splash_image, sizeof builtin_splash_image))
        return false;
    return show_picture_window(BUILTIN_SPLASH_TITLE, picture, COLOUR_BLACK);
}

bool show_closing_picture(const char* title)
{
    IMAGE picture;
    if (!picture.load_array(builtin_closing_image, sizeof builtin_closing_image))
        return false;
    return show_picture_window(title, picture, COLOUR_BLACK);
}

// ---------------------------------------------------------------------------------------------
// WINDOW_BACKGROUND
// ---------------------------------------------------------------------------------------------

void WINDOW_BACKGROUND::paint(const DATABASE& database)
{
    BACK_BUFFER* screen = back_buffer_of(0);
    if (!screen || !screen->has_pixels())
        return;
    m_image.set_size(screen->width, screen->height);
    m_image.clear(STANDARD_BACKGROUND_COLOUR, true);
    if (database.background_image.has_pixels()) {
        IMAGE stretched;
        stretched.set_size(database.background_image.width, database.background_image.height);
        IMAGE::blit(&stretched, &database.background_image, 0, 0, 0, 0, stretched.width, stretched.height, BLIT_COPY);
        stretched.scale(screen->width, screen->height, !fast_image_scaling);
        stretched.draw(0, 0, &m_image, BLIT_ALPHA);
    }
    m_image.draw(0, 0, screen, BLIT_COPY);
}

void WINDOW_BACKGROUND::restore(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2) const
{
    BACK_BUFFER* screen = back_buffer_of(0);
    if (!screen || !m_image.has_pixels())
        return;
    m_image.draw_part(x1, y1, x1, y1, static_cast<INT_S16>(x2 - x1 + 1), static_cast<INT_S16>(y2 - y1 + 1), screen,
        BLIT_COPY);
}
