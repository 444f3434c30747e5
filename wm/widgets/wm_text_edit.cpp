#include "wm/widgets/wm_text_edit.h"

#include <cstdio>
#include <cstring>

#include "graphics/image.h"
#include "wm/core/wm_draw.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_style.h"
#include "wm/core/wm_style_set.h"
#include "wm/widgets/wm_face.h"

namespace {

constexpr INT_U32 KEY_LEFT_ARROW = 65361;
constexpr INT_U32 KEY_RIGHT_ARROW = 65363;
constexpr INT_U32 KEY_HOME = 65360;
constexpr INT_U32 KEY_END = 65367;
constexpr char CHARACTER_BACKSPACE = 8;
constexpr char CHARACTER_DELETE = 127;

} // namespace

WM_TEXT_EDIT::WM_TEXT_EDIT(INT_S16 x_, INT_S16 y_, INT_S16 width_, INT_S16 height_, const WM_STYLE_SET* style,
    const char* text_, INT_S32 max_length_, WM_CALLBACK left_callback_, PTR_INT_CAST left_data1_,
    PTR_INT_CAST left_data2_)
    : WM_SCREEN_OBJECT(true, left_callback_, left_data1_, left_data2_)
{
    type_flags |= WM_TYPE_TEXT_EDIT;
    x = x_;
    y = y_;
    width = static_cast<INT_U16>(width_ < 1 ? 1 : width_);
    height = static_cast<INT_U16>(height_ < 1 ? 1 : height_);
    max_length = max_length_ < 1 ? 1 : max_length_ > TEXT_EDIT_MAX_LENGTH ? TEXT_EDIT_MAX_LENGTH : max_length_;
    focusable = 1;
    border_sides = BORDER_ALL | BORDER_INVERTED;
    shading_type = 4;
    if (style) {
        text_colour = style->fg_colour;
        background_colour = style->bg_colour;
        cursor_colour = style->fg_colour;
        font_id = style->font_id;
        font_x_sz = style->font_x_sz;
        font_y_sz = style->font_y_sz;
        shading_type = static_cast<INT_U8>(style->shading_type);
        border_sides = style_border_sides(style) ? style_border_sides(style) | BORDER_INVERTED : 0;
        if (style->cell_left_gap >= 0)
            left_gap = style->cell_left_gap;
        if (style->cell_right_gap >= 0)
            right_gap = style->cell_right_gap;
        if (style->cell_top_gap >= 0)
            top_gap = style->cell_top_gap;
        if (style->cell_bottom_gap >= 0)
            bottom_gap = style->cell_bottom_gap;
        password = (style->ext_flags & ssef_te_password) != 0;
    }
    set_text(text_);
    changed = 0;
    notify_created();
}

void WM_TEXT_EDIT::set_text(const char* new_text)
{
    text = new_text ? new_text : "";
    if (text.length() > max_length) {
        ORLU_STRING cut(text, 0, max_length - 1);
        text = cut;
    }
    cursor = text.length();
    first_shown = 0;
    keep_cursor_in_sight();
    changed = 1;
    mark_dirty();
}

void WM_TEXT_EDIT::set_rejected(const char* characters)
{
    snprintf(rejected, sizeof rejected, "%s", characters ? characters : "");
}

void WM_TEXT_EDIT::set_cursor(INT_S32 position)
{
    if (position < 0)
        position = 0;
    if (position > text.length())
        position = text.length();
    cursor = position;
    keep_cursor_in_sight();
    mark_dirty();
}

void WM_TEXT_EDIT::take_focus()
{
    bool had = has_focus();
    WM_SCREEN_OBJECT::take_focus();
    if (!had && has_focus()) {
        // What was typed before the box had the focus was meant for somebody else.
        while (ORLU_EVENT_CLIENT::read_char())
            ;
        if (wm_last_key() != KEY_TAB)
            wm_take_last_key();
    }
}

bool WM_TEXT_EDIT::insert_character(char character)
{
    if (static_cast<INT_U8>(character) < 32 || character == CHARACTER_DELETE)
        return false;
    if (rejected[0] && strchr(rejected, character))
        return false;
    if (text.length() >= max_length)
        return false;
    char piece[2] = { character, 0 };
    text.insert(piece, cursor);
    ++cursor;
    return true;
}

void WM_TEXT_EDIT::erase(INT_S32 position)
{
    if (position < 0 || position >= text.length())
        return;
    text.remove_range(position, position);
    if (cursor > position)
        --cursor;
}

const char* WM_TEXT_EDIT::shown_text(char* buffer, size_t size) const
{
    if (!password)
        return text.c_str();
    size_t length = static_cast<size_t>(text.length());
    if (length >= size)
        length = size - 1;
    memset(buffer, '*', length);
    buffer[length] = 0;
    return buffer;
}

INT_S32 WM_TEXT_EDIT::width_of(const char* shown, INT_S32 from, INT_S32 to) const
{
    if (to <= from)
        return 0;
    const IMAGE* target = wm_measuring_target();
    INT_S16 fx = font_x_sz == -1 ? target->default_font_width : font_x_sz;
    INT_S16 fy = font_y_sz == -1 ? target->default_font_height : font_y_sz;
    return target->text_width(font_id, fx, fy, shown + from, to - from);
}

void WM_TEXT_EDIT::keep_cursor_in_sight()
{
    char stars[TEXT_EDIT_MAX_LENGTH + 1];
    const char* shown = shown_text(stars, sizeof stars);
    INT_S32 room = width - left_gap - right_gap - 2;
    if (first_shown > cursor)
        first_shown = cursor;
    while (first_shown < cursor && width_of(shown, first_shown, cursor) > room)
        ++first_shown;
}

INT_S32 WM_TEXT_EDIT::position_at(INT_S32 px)
{
    char stars[TEXT_EDIT_MAX_LENGTH + 1];
    const char* shown = shown_text(stars, sizeof stars);
    INT_S32 start = x + left_gap;
    for (INT_S32 i = first_shown; i < text.length(); ++i) {
        INT_S32 before = width_of(shown, first_shown, i);
        INT_S32 after = width_of(shown, first_shown, i + 1);
        if (px < start + (before + after) / 2)
            return i;
    }
    return text.length();
}

INT_S32 WM_TEXT_EDIT::update()
{
    INT_S32 code = WM_SCREEN_OBJECT::update();
    if (code || !visible)
        return code;
    INT_S32 px = wm_pointer_x();
    INT_S32 py = wm_pointer_y();
    bool left = (wm_button_mask() & BUTTON_PRIMARY) != 0;
    if (left && !left_was_down && is_over_self(px, py)) {
        take_focus();
        set_cursor(position_at(px));
    }
    left_was_down = left;
    if (!has_focus())
        return 0;

    bool edited = false;
    bool accept = false;
    for (INT_U8 typed = ORLU_EVENT_CLIENT::read_char(); typed; typed = ORLU_EVENT_CLIENT::read_char()) {
        char character = static_cast<char>(typed);
        if (character == '\n' || character == '\r') {
            accept = true;
        } else if (character == CHARACTER_BACKSPACE) {
            if (cursor > 0) {
                erase(cursor - 1);
                edited = true;
            }
        } else if (character == CHARACTER_DELETE) {
            erase(cursor);
            edited = true;
        } else {
            edited |= insert_character(character);
        }
    }
    INT_U32 key = wm_last_key();
    INT_S32 moved_to = -1;
    if (key == KEY_LEFT_ARROW)
        moved_to = cursor - 1;
    else if (key == KEY_RIGHT_ARROW)
        moved_to = cursor + 1;
    else if (key == KEY_HOME)
        moved_to = 0;
    else if (key == KEY_END)
        moved_to = text.length();
    if (moved_to != -1) {
        wm_take_last_key();
        set_cursor(moved_to);
    }
    if (edited) {
        changed = 1;
        keep_cursor_in_sight();
        mark_dirty();
    }
    if (accept && left_callback)
        return left_callback(this, left_data1, left_data2);
    return 0;
}

void WM_TEXT_EDIT::paint()
{
    IMAGE* target = wm_toolkit.draw_target;
    if (!target || width < 1 || height < 1)
        return;
    INT_S16 x2 = clamp_s16(x + width - 1);
    INT_S16 y2 = clamp_s16(y + height - 1);
    if (background_colour.alpha())
        target->fill_box(x, y, x2, y2, background_colour, true);
    if (border_sides)
        draw_shaded_box(x, y, x2, y2, border_sides, COLOUR_INVISIBLE, shading_type, -1);

    WM_CLIP_KEEPER kept(target);
    target->intersect_clip(
        clamp_s16(x + left_gap), clamp_s16(y + top_gap), clamp_s16(x2 - right_gap), clamp_s16(y2 - bottom_gap));
    char stars[TEXT_EDIT_MAX_LENGTH + 1];
    const char* shown = shown_text(stars, sizeof stars);
    INT_S16 fx = font_x_sz == -1 ? target->default_font_width : font_x_sz;
    INT_S16 fy = font_y_sz == -1 ? target->default_font_height : font_y_sz;
    INT_S32 text_y = y + (static_cast<INT_S32>(height) - fy) / 2;
    target->draw_text(clamp_s16(x + left_gap), clamp_s16(text_y), text_colour, COLOUR_INVISIBLE, COLOUR_INVISIBLE,
        font_id, fx, fy, shown + first_shown);
    if (has_focus()) {
        INT_S32 cursor_x = x + left_gap + width_of(shown, first_shown, cursor);
        target->fill_box(clamp_s16(cursor_x), clamp_s16(text_y), clamp_s16(cursor_x), clamp_s16(text_y + fy - 1),
            cursor_colour, true);
    }
}
