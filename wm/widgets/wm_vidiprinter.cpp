#include "wm/widgets/wm_vidiprinter.h"

#include "graphics/font.h"
#include "graphics/image.h"

namespace {

INT_S32 character_count(const char* text)
{
    if (!text)
        return 0;
    TEXT_CURSOR cursor(text, false);
    INT_S32 count = 0;
    while (cursor.next_character() != TOKEN_END)
        ++count;
    return count;
}

} // namespace

WM_VIDIPRINTER::WM_VIDIPRINTER(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const COLOUR& colour_,
    INT_U8 font_id_, INT_S16 font_x_sz_, INT_S16 font_y_sz_, INT_U32 speed_, INT_U16 hold_time_,
    WM_CALLBACK left_callback_, PTR_INT_CAST left_data1_, PTR_INT_CAST left_data2_)
    : WM_TICKER(x_, y_, width_, height_, colour_, font_id_, font_x_sz_, font_y_sz_, speed_, left_callback_,
        left_data1_, left_data2_)
    , hold_time(hold_time_)
{
    type_flags |= WM_TYPE_VIDIPRINTER;
}

void WM_VIDIPRINTER::begin_text(INT_U32 t)
{
    const char* text = current_text();
    length = character_count(text);
    text_width = static_cast<INT_S16>(measure(text));
    start_time = t;
    duration = speed * static_cast<INT_U32>(length);
    hidden_index = length ? 0 : -1;
    shown_characters = hidden_index;
    running = 1;
}

void WM_VIDIPRINTER::place_text(INT_U32 t)
{
    const char* text = current_text();
    if (!text)
        return;
    INT_S32 shown = duration ? static_cast<INT_S32>(static_cast<INT_U64>(t - start_time) * length / duration) : length;
    if (shown > length)
        shown = length;
    INT_S32 hidden = shown < length ? shown : -1;
    INT_S32 visible_width = measure_text_part(text, shown);
    INT_S32 offset_x = centred ? x + (static_cast<INT_S32>(width) - text_width) / 2 : x;
    if (visible_width > width)
        offset_x = x - (visible_width - width);
    if (hidden != hidden_index || offset_x != x_offset) {
        hidden_index = hidden;
        shown_characters = hidden;
        x_offset = static_cast<INT_S16>(offset_x);
        show(false);
    }
}
