#include "wm/widgets/wm_ticker.h"

#include <cstring>
#include <new>

#include "graphics/image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_style_set.h"

namespace {

void delete_line(void* item)
{
    ticker_line* line = static_cast<ticker_line*>(item);
    if (!line)
        return;
    delete[] line->text;
    delete line;
}

char* copy_piece(const char* text, size_t length)
{
    if (length > TICKER_MAX_LINE)
        length = TICKER_MAX_LINE;
    char* copy = new (std::nothrow) char[length + 1];
    if (!copy)
        return nullptr;
    memcpy(copy, text, length);
    copy[length] = 0;
    return copy;
}

} // namespace

WM_TICKER::WM_TICKER(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const COLOUR& colour_,
    INT_U8 font_id_, INT_S16 font_x_sz_, INT_S16 font_y_sz_, INT_U32 speed_, WM_CALLBACK left_callback_,
    PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_)
    : WM_SCREEN_OBJECT(true, left_callback_, left_data1_, left_data2_)
    , lines(delete_line)
{
    type_flags |= WM_TYPE_TICKER;
    x = x_;
    y = y_;
    width = static_cast<INT_U16>(width_ < 1 ? 1 : width_);
    height = static_cast<INT_U16>(height_ < 1 ? 1 : height_);
    text_colour = colour_;
    font_id = font_id_;
    font_x_sz = font_x_sz_;
    font_y_sz = font_y_sz_;
    speed = speed_;
    x_offset = static_cast<INT_S16>(x + width);
    notify_created();
}

WM_TICKER::WM_TICKER(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const WM_STYLE_SET* style,
    INT_U32 speed_, WM_CALLBACK left_callback_, PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_)
    : WM_TICKER(x_, y_, width_, height_, style ? style->fg_colour : COLOUR_WHITE, style ? style->font_id : 255,
        style ? style->font_x_sz : -1, style ? style->font_y_sz : -1, speed_, left_callback_, left_data1_, left_data2_)
{
}

WM_TICKER::~WM_TICKER()
{
    lines.free_all();
    delete[] separator;
    delete[] joined;
}

INT_U32 WM_TICKER::now() const
{
    return wm_now();
}

INT_S32 WM_TICKER::measure(const char* text) const
{
    return measure_text_part(text, -1);
}

INT_S32 WM_TICKER::measure_text_part(const char* text, INT_S32 count) const
{
    if (!text)
        return 0;
    const IMAGE* target = wm_measuring_target();
    INT_S16 fx = font_x_sz == -1 ? target->default_font_width : font_x_sz;
    INT_S16 fy = font_y_sz == -1 ? target->default_font_height : font_y_sz;
    return target->text_width(font_id, fx, fy, text, count);
}

const char* WM_TICKER::current_text() const
{
    if (joined)
        return joined;
    const ticker_line* entry = line(current_line);
    return entry ? entry->text : nullptr;
}

COLOUR WM_TICKER::line_colour() const
{
    const ticker_line* entry = line(joined ? 0 : current_line);
    if (entry && entry->colour)
        return COLOUR(static_cast<INT_U32>(entry->colour));
    return text_colour;
}

bool WM_TICKER::rebuild_joined()
{
    delete[] joined;
    joined = nullptr;
    if (!separator || lines.count() == 0)
        return true;
    size_t total = 0;
    size_t gap_length = strlen(separator);
    for (INT_S32 i = 0; i < lines.count(); ++i)
        total += strlen(line(i)->text) + (i ? gap_length : 0);
    joined = new (std::nothrow) char[total + 1];
    if (!joined)
        return false;
    joined[0] = 0;
    char* end = joined;
    for (INT_S32 i = 0; i < lines.count(); ++i) {
        if (i) {
            memcpy(end, separator, gap_length);
            end += gap_length;
        }
        size_t length = strlen(line(i)->text);
        memcpy(end, line(i)->text, length);
        end += length;
    }
    *end = 0;
    return true;
}

INT_S32 WM_TICKER::add_line(const char* text, PTR_INT_CAST data, COLOUR colour_, INT_S16 repeats)
{
    if (!text)
        return -1;
    // Each piece between line feeds and carriage returns is a line of its own; they are made
    // first and added together, so that running out of memory leaves the ticker as it was.
    INT_S32 pieces = 1;
    for (const char* p = text; *p; ++p)
        pieces += *p == '\n' || *p == '\r';
    ticker_line** made = new (std::nothrow) ticker_line*[pieces];
    if (!made)
        return -1;
    INT_S32 count = 0;
    const char* start = text;
    for (;;) {
        size_t length = strcspn(start, "\r\n");
        ticker_line* entry = new (std::nothrow) ticker_line;
        char* copy = entry ? copy_piece(start, length) : nullptr;
        if (!copy) {
            delete entry;
            for (INT_S32 i = 0; i < count; ++i)
                delete_line(made[i]);
            delete[] made;
            return -1;
        }
        entry->text = copy;
        entry->data = data;
        entry->colour = static_cast<PTR_INT_CAST>(colour_.value);
        entry->repeats = repeats;
        made[count++] = entry;
        if (!start[length])
            break;
        start += length + 1;
    }

    INT_S32 index = -1;
    for (INT_S32 i = 0; i < count; ++i) {
        if (max_lines > 0 && lines.count() >= max_lines) {
            INT_S32 victim = 0;
            for (INT_S32 j = 0; j < lines.count(); ++j) {
                if (line(j)->repeats == 0) {
                    victim = j;
                    break;
                }
            }
            remove_line(victim);
        }
        if (!lines.add(made[i])) {
            for (INT_S32 j = i; j < count; ++j)
                delete_line(made[j]);
            break;
        }
        index = lines.count() - 1;
    }
    delete[] made;
    rebuild_joined();
    return index;
}

bool WM_TICKER::remove_line(INT_S32 index)
{
    if (!lines.remove_ordered(index))
        return false;
    if (current_line > index || current_line >= lines.count())
        current_line = static_cast<INT_S16>(current_line - 1);
    rebuild_joined();
    return true;
}

void WM_TICKER::clear()
{
    lines.free_all();
    lines.set_deleter(delete_line);
    delete[] joined;
    joined = nullptr;
    current_line = -1;
    running = 0;
    mark_dirty();
}

void WM_TICKER::set_separator(const char* text)
{
    delete[] separator;
    separator = nullptr;
    if (text && text[0])
        separator = copy_piece(text, strlen(text));
    rebuild_joined();
    running = 0;
    current_line = -1;
}

void WM_TICKER::set_paused(bool on)
{
    if (on == (paused != 0))
        return;
    INT_U32 t = now();
    if (on) {
        paused = 1;
        pause_time = t;
        return;
    }
    paused = 0;
    start_time += t - pause_time;
    pause_time = 0;
}

// Every line has had one more showing: its repeats go down, and a line that had none left goes.
void WM_TICKER::end_of_pass()
{
    for (INT_S32 i = 0; i < lines.count();) {
        ticker_line* entry = static_cast<ticker_line*>(lines.at(i));
        if (entry->repeats < 0) {
            ++i;
            continue;
        }
        if (entry->repeats == 0) {
            lines.remove_ordered(i);
            continue;
        }
        --entry->repeats;
        ++i;
    }
    rebuild_joined();
    if (end_callback)
        end_callback(this, end_data);
}

void WM_TICKER::begin_text(INT_U32 t)
{
    text_width = clamp_s16(measure(current_text()));
    start_time = t;
    INT_U32 w = width ? width : 1;
    duration = static_cast<INT_U32>(static_cast<INT_U64>(speed) * (w + static_cast<INT_U32>(text_width)) / w);
    running = 1;
}

void WM_TICKER::place_text(INT_U32 t)
{
    INT_S16 offset;
    if (centred) {
        offset = clamp_s16(x + (static_cast<INT_S32>(width) - text_width) / 2);
    } else {
        INT_U64 travelled = duration ? static_cast<INT_U64>(t - start_time) * (width + text_width) / duration : 0;
        offset = clamp_s16(static_cast<INT_S64>(x) + width - static_cast<INT_S64>(travelled));
    }
    if (offset != x_offset) {
        x_offset = offset;
        show(false);
    }
}

bool WM_TICKER::next_line()
{
    bool shown_before = running && current_line >= 0;
    INT_S32 next = current_line + 1;
    if (shown_before && (joined || next >= lines.count())) {
        end_of_pass();
        next = 0;
    }
    if (next >= lines.count())
        next = 0;
    if (lines.count() == 0) {
        current_line = -1;
        running = 0;
        show(false);
        return false;
    }
    current_line = static_cast<INT_S16>(next);
    x_offset = static_cast<INT_S16>(x + width);
    shown_characters = -1;
    begin_text(now());
    show(false);
    return true;
}

INT_S32 WM_TICKER::animate(bool overlays)
{
    INT_S32 code = WM_SCREEN_OBJECT::animate(overlays);
    if (!visible || paused)
        return code;
    if (current_line < 0 || current_line >= lines.count()) {
        if (lines.count() == 0)
            return code;
        current_line = -1;
        running = 0;
    }
    INT_U32 t = now();
    if (running && t - start_time < line_time()) {
        place_text(t);
        return code;
    }
    if (next_line())
        place_text(now());
    return code;
}

INT_S32 WM_TICKER::update()
{
    INT_S32 code = WM_SCREEN_OBJECT::update();
    if (code || joined || !visible)
        return code;
    return left_click_step(left_was_down, click_trigger, click_x, click_y);
}

void WM_TICKER::paint()
{
    IMAGE* target = wm_toolkit.draw_target;
    const char* text = current_text();
    if (!target || !text || !text[0])
        return;
    WM_CLIP_KEEPER kept(target);
    target->intersect_clip(x, y, clamp_s16(x + width - 1), clamp_s16(y + height - 1));
    INT_S16 fx = font_x_sz == -1 ? target->default_font_width : font_x_sz;
    INT_S16 fy = font_y_sz == -1 ? target->default_font_height : font_y_sz;
    target->draw_text(x_offset, clamp_s16(y + (static_cast<INT_S32>(height) - fy) / 2), line_colour(), COLOUR_INVISIBLE,
        COLOUR_INVISIBLE, font_id, fx, fy, text, 0, shown_characters);
}
