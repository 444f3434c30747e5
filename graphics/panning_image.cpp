// PANNING_IMAGE: a view drifting over a larger picture.
#include "graphics/panning_image.h"

#include <new>

#include "io/folder.h"
#include "host/host.h"

bool PANNING_IMAGE::open(INT_S16 x, INT_S16 y, INT_S16 view_width, INT_S16 view_height, const FOLDER& folder,
    const char* name, INT_S32 period, INT_S16 image_width, INT_S16 image_height, IMAGE_CACHE* cache)
{
    close();
    m_x = x;
    m_y = y;
    m_view_width = view_width;
    m_view_height = view_height;
    m_period = period < 0 ? 0 : period;
    // Twice the view by default, cut to what a side can hold.
    auto twice = [](INT_S16 side) { return static_cast<INT_S16>(side > 16383 ? 32767 : side * 2); };
    m_image_width = image_width > 0 ? image_width : twice(view_width);
    m_image_height = image_height > 0 ? image_height : twice(view_height);
    m_cache = cache;

    if (cache) {
        m_image = cache->get(folder, name, m_image_width, m_image_height, 0);
    } else {
        m_image = new (std::nothrow) IMAGE;
        if (m_image && !m_image->load(folder, name, m_image_width, m_image_height)) {
            delete m_image;
            m_image = nullptr;
        }
    }
    restart(milliseconds_now());
    return m_image != nullptr;
}

void PANNING_IMAGE::restart(INT_U32 now)
{
    m_start_time = now;
    m_offset_x = 0;
    m_offset_y = static_cast<INT_S16>((m_image_height - m_view_height) / 2);
}

bool PANNING_IMAGE::update() { return update(milliseconds_now()); }

bool PANNING_IMAGE::update(INT_U32 now)
{
    if (m_period <= 0)
        return false;
    INT_U32 period = static_cast<INT_U32>(m_period);
    // The clock is unsigned and wraps; a time before the journey began starts a new one too.
    if (now < m_start_time || now - m_start_time > period)
        m_start_time = now;

    INT_S64 range_x = m_image_width - m_view_width;
    INT_S64 range_y = m_image_height - m_view_height;
    INT_S64 half = period / 2;
    if (half < 1)
        half = 1;
    INT_S64 elapsed = now - m_start_time;
    INT_S64 new_x;
    INT_S64 new_y;
    if (elapsed <= half) {
        new_x = range_x * elapsed / half;
        new_y = range_y / 2 + elapsed * range_y / half;
        if (new_y > range_y)
            new_y = 2 * range_y - new_y;
    } else {
        INT_S64 remaining = static_cast<INT_S64>(m_start_time) + period - now;
        new_x = range_x * remaining / half;
        new_y = remaining * range_y / half - range_y / 2;
        if (new_y < 0)
            new_y = -new_y;
    }
    bool moved = new_x != m_offset_x || new_y != m_offset_y;
    m_offset_x = static_cast<INT_S16>(new_x);
    m_offset_y = static_cast<INT_S16>(new_y);
    return moved;
}

void PANNING_IMAGE::draw(IMAGE* target) const
{
    if (!m_image)
        return;
    m_image->draw_part(m_x, m_y, m_offset_x, m_offset_y, m_view_width, m_view_height, target, BLIT_ALPHA);
}

void PANNING_IMAGE::close()
{
    if (!m_image)
        return;
    if (m_cache)
        m_cache->release(m_image);
    else
        delete m_image;
    m_image = nullptr;
}
