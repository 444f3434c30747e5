// The font table over FreeType, the glyph cache, the markup walker and the block layout.
//
// [SECTION] Built-in list and table state
// [SECTION] Start and stop
// [SECTION] Loading and unloading
// [SECTION] Glyphs
// [SECTION] Markup walker
// [SECTION] Measuring
// [SECTION] Block layout

#include "graphics/font.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/debug_stream.h"
#include "base/error_report.h"
#include "io/folder.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Built-in list and table state
// ---------------------------------------------------------------------------------------------

namespace {

struct BUILT_IN_FONT {
    const char* file_name;
    const char* display_name;
};

const BUILT_IN_FONT built_in_fonts[BUILT_IN_FONT_COUNT] = {
    { "Achafexp.ttf", "Charming Font Expanded" },
    { "Achafita.ttf", "Charming Font Italic" },
    { "Achaflft.ttf", "Charming Font Left Leaning" },
    { "Achafont.ttf", "Charming Font" },
    { "Achafout.ttf", "Charming Font Outline" },
    { "Achafsex.ttf", "Charming Font Super Extended" },
    { "AdineKirnberg-Script.ttf", "Adine Kirnberg Script" },
    { "BabelSans-BoldOblique.ttf", "Babel Sans Bold Italic" },
    { "BabelSans-Bold.ttf", "Babel Sans Bold" },
    { "BabelSans-Oblique.ttf", "Babel Sans Italic" },
    { "BabelSans.ttf", "Babel Sans" },
    { "Impressed Metal.ttf", "Impressed Metal" },
    { "WeekdaysRomanSlant.ttf", "Weekdays Roman Slant" },
    { "whipsnap.ttf", "Shipper Snapper BRK" },
    { "ZendaEmbossed.ttf", "Zenda Embossed" },
    { "zenda.ttf", "Zenda" },
    { "ZenFraxFreestyleCondensed.ttf", "Zen Frax Freestyle Condensed" },
    { "ZenFrax.ttf", "Zen Frax" },
    { "zxspectr.ttf", "ZX Spectrum" },
    { "LinLibertine_Bd-4.1.0.ttf", "Libertine Bold" },
    { "LinLibertine_BI-4.0.5.ttf", "Libertine Bold Italic" },
    { "LinLibertine_It-4.0.6.ttf", "Libertine Italic" },
    { "LinLibertine_Re-4.4.1.ttf", "Libertine Regular" },
};

FT_Library library = nullptr;
bool started = false;
FONT_RECORD* table = nullptr;
INT_S16 table_length = 0;

// The table cannot hold more slots than its INT_S16 length can count.
constexpr INT_S32 MAX_TABLE_LENGTH = 32767;

} // namespace

bool autoload_fonts = true;

void disable_font_autoload()
{
    autoload_fonts = false;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Start and stop
// ---------------------------------------------------------------------------------------------

void start_font_system()
{
    if (started)
        return;
    if (FT_Init_FreeType(&library) != 0)
        fatal_error(0x0021, nullptr);
    started = true;
    if (!autoload_fonts)
        return;
    for (INT_S16 number = 0; number < BUILT_IN_FONT_COUNT; number++)
        load_font(built_in_fonts[number].file_name, built_in_fonts[number].display_name, number, nullptr);
}

void stop_font_system()
{
    if (!started)
        return;
    unload_font(-1);
    free(table);
    table = nullptr;
    table_length = 0;
    FT_Done_FreeType(library);
    library = nullptr;
    started = false;
}

bool font_system_started()
{
    return started;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Loading and unloading
// ---------------------------------------------------------------------------------------------

namespace {

INT_S16 free_slot()
{
    if (table_length < BUILT_IN_FONT_COUNT)
        return BUILT_IN_FONT_COUNT;
    for (INT_S16 slot = BUILT_IN_FONT_COUNT; slot < table_length; slot++) {
        if (!table[slot].face)
            return slot;
    }
    return table_length;
}

void free_glyphs(FONT_RECORD* record)
{
    for (GLYPH_RECORD*& glyph : record->glyphs) {
        if (!glyph)
            continue;
        free(glyph->bitmap);
        delete glyph;
        glyph = nullptr;
    }
}

} // namespace

INT_S16 load_font(const char* file_name, const char* display_name, INT_S16 number, const FOLDER* folder)
{
    if (!folder) {
        FOLDER font_data("$FONTDATA");
        return load_font(file_name, display_name, number, &font_data);
    }
    if (!started || !file_name || !file_name[0])
        return -1;
    // The byte 255 arrives here as -1 or as 255, depending on the caller's type.
    if (number == -1 || number == DEFAULT_FONT)
        number = free_slot();
    if (number < 0)
        return -1;
    if (number < BUILT_IN_FONT_COUNT && strcmp(file_name, built_in_fonts[number].file_name) != 0)
        return -1;
    if (number >= MAX_TABLE_LENGTH)
        return -1;

    FILE* probe = folder->open_stream(file_name, "rb");
    if (!probe)
        return -1;
    fclose(probe);
    char path[ORLU_MAX_PATH];
    if (snprintf(path, sizeof path, "%s", folder->path_text(file_name)) >= static_cast<int>(sizeof path))
        return -1;

    if (number < table_length && table[number].face)
        return -1;
    if (number >= table_length) {
        size_t new_length = static_cast<size_t>(number) + 1;
        FONT_RECORD* grown = static_cast<FONT_RECORD*>(realloc(table, new_length * sizeof(FONT_RECORD)));
        if (!grown)
            fatal_error(0x0023, nullptr);
        memset(grown + table_length, 0, (new_length - table_length) * sizeof(FONT_RECORD));
        table = grown;
        table_length = static_cast<INT_S16>(new_length);
    }

    FONT_RECORD* record = &table[number];
    if (FT_New_Face(library, path, 0, &record->face) != 0) {
        record->face = nullptr;
        fatal_error(0x0022, nullptr);
    }
    record->grey_levels = 255;
    snprintf(record->display_name, sizeof record->display_name, "%s", display_name ? display_name : file_name);
    return number;
}

void unload_font(INT_S16 number)
{
    if (number == -1) {
        for (INT_S16 slot = 0; slot < table_length; slot++)
            unload_font(slot);
        return;
    }
    FONT_RECORD* record = font_record(number);
    if (!record)
        return;
    free_glyphs(record);
    if (record->face)
        FT_Done_Face(record->face);
    record->face = nullptr;
}

bool font_is_loaded(INT_S16 number)
{
    FONT_RECORD* record = font_record(number);
    return record && record->face;
}

FONT_RECORD* font_record(INT_S16 number)
{
    if (number < 0 || number >= table_length)
        return nullptr;
    return &table[number];
}

INT_S16 font_table_length()
{
    return table_length;
}

const char* font_display_name(INT_S16 number)
{
    if (number < 0 || number >= BUILT_IN_FONT_COUNT)
        return nullptr;
    return built_in_fonts[number].display_name;
}

const char* font_file_name(INT_S16 number)
{
    if (number < 0 || number >= BUILT_IN_FONT_COUNT)
        return nullptr;
    return built_in_fonts[number].file_name;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Glyphs
// ---------------------------------------------------------------------------------------------

namespace {

INT_S16 clamp_s16(long value)
{
    if (value > 32767)
        return 32767;
    if (value < -32768)
        return -32768;
    return static_cast<INT_S16>(value);
}

void prepare_glyph(GLYPH_RECORD* record, INT_U32 code, FONT_RECORD* font, INT_S16 width, INT_S16 height)
{
    if (record->bitmap && record->pixel_width == width && record->pixel_height == height)
        return;
    free(record->bitmap);
    record->bitmap = nullptr;

    FT_Face face = font->face;
    if (FT_Set_Pixel_Sizes(face, static_cast<FT_UInt>(width), static_cast<FT_UInt>(height)) != 0)
        fatal_error(0x0024, nullptr);
    FT_Error error = FT_Load_Char(face, code, FT_LOAD_RENDER);
    if (error != 0) {
        debug_printf(&image_debug, "  render for '%c' failed with code 0x%2X\n", static_cast<int>(code & 0xFF), error);
        fatal_error(0x0025, nullptr);
    }

    FT_GlyphSlot slot = face->glyph;
    const FT_Bitmap& bitmap = slot->bitmap;
    // Outline fonts render to 8-bit grey; a face with embedded one-bit strikes may render to
    // those, which are widened to the same form. Anything else cannot be drawn.
    bool mono = bitmap.pixel_mode == FT_PIXEL_MODE_MONO;
    bool usable = bitmap.rows == 0 || (bitmap.buffer && (mono || bitmap.pixel_mode == FT_PIXEL_MODE_GRAY));
    // The record's fields are 16 bits wide, so the sizes are checked before anything is copied.
    unsigned source_pitch = static_cast<unsigned>(bitmap.pitch < 0 ? -bitmap.pitch : bitmap.pitch);
    unsigned pitch = mono ? bitmap.width : source_pitch;
    if (!usable || bitmap.rows > 32767 || bitmap.width > 32767 || pitch > 32767
        || (!mono && bitmap.width > source_pitch) || (mono && (bitmap.width + 7) / 8 > source_pitch)) {
        debug_printf(&image_debug, "  render for '%c' gave an unusable bitmap\n", static_cast<int>(code & 0xFF));
        fatal_error(0x0025, nullptr);
    }
    size_t size = static_cast<size_t>(bitmap.rows) * pitch;
    INT_U8* copy = static_cast<INT_U8*>(malloc(size > 0 ? size : 1));
    if (!copy)
        fatal_error(0x0023, nullptr);
    copy[0] = 0;
    // A negative pitch means the rows run upward in memory; the copy always runs downward.
    for (unsigned row = 0; row < bitmap.rows; row++) {
        const unsigned char* source = bitmap.pitch < 0
            ? bitmap.buffer + static_cast<size_t>(bitmap.rows - 1 - row) * source_pitch
            : bitmap.buffer + static_cast<size_t>(row) * source_pitch;
        INT_U8* target = copy + static_cast<size_t>(row) * pitch;
        if (!mono) {
            memcpy(target, source, pitch);
            continue;
        }
        for (unsigned column = 0; column < bitmap.width; column++)
            target[column] = (source[column / 8] & (0x80 >> (column % 8))) ? 255 : 0;
    }

    record->pixel_width = width;
    record->pixel_height = height;
    record->advance = clamp_s16(slot->advance.x >> 6);
    record->left = clamp_s16(slot->bitmap_left);
    record->top = clamp_s16(slot->bitmap_top);
    record->width = static_cast<INT_S16>(bitmap.width);
    record->rows = static_cast<INT_S16>(bitmap.rows);
    record->pitch = static_cast<INT_S16>(pitch);
    record->bitmap = copy;
    record->face_height = clamp_s16(face->height);
    record->face_descender = clamp_s16(face->descender);
}

} // namespace

GLYPH_RECORD* find_glyph(INT_S16 font, INT_U32 code, INT_S16 width, INT_S16 height, GLYPH_RECORD* temporary)
{
    FONT_RECORD* record = font_record(font);
    if (!record || !record->face || width < 0 || height < 1)
        return nullptr;
    if (code >= GLYPH_CACHE_SIZE) {
        if (!temporary)
            return nullptr;
        *temporary = GLYPH_RECORD();
        prepare_glyph(temporary, code, record, width, height);
        return temporary;
    }
    GLYPH_RECORD*& glyph = record->glyphs[code];
    if (!glyph) {
        glyph = new (std::nothrow) GLYPH_RECORD();
        if (!glyph)
            fatal_error(0x0023, nullptr);
    }
    prepare_glyph(glyph, code, record, width, height);
    return glyph;
}

void release_glyph(GLYPH_RECORD* record)
{
    if (!record)
        return;
    free(record->bitmap);
    record->bitmap = nullptr;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Markup walker
// ---------------------------------------------------------------------------------------------

namespace {

int hex_value(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

TEXT_CURSOR::TEXT_CURSOR(const char* text, bool wide_start)
    : m_text(text ? text : "")
    , m_wide(wide_start)
{
}

void TEXT_CURSOR::seek(INT_S32 offset, bool wide)
{
    m_offset = offset;
    m_wide = wide;
}

TEXT_TOKEN TEXT_CURSOR::next()
{
    for (;;) {
        unsigned char c = static_cast<unsigned char>(m_text[m_offset]);
        if (c == 0)
            return TOKEN_END;
        if (c == TEXT_WIDE_TOGGLE) {
            m_wide = !m_wide;
            m_offset++;
            continue;
        }
        if (c == TEXT_COLOUR_SECTION)
            return read_section(TOKEN_COLOUR);
        if (c == TEXT_BACKGROUND_SECTION)
            return read_section(TOKEN_BACKGROUND);
        if (!m_wide) {
            m_code = c;
            m_offset++;
            return TOKEN_CHARACTER;
        }
        // Wide mode: ",XXXX" or "XXXX"; anything else is stepped over byte by byte.
        if (c == ',') {
            m_offset++;
            continue;
        }
        INT_U32 value = 0;
        int digits = 0;
        for (; digits < 4; digits++) {
            int digit = hex_value(m_text[m_offset + digits]);
            if (digit < 0)
                break;
            value = value * 16 + static_cast<INT_U32>(digit);
        }
        if (digits < 4) {
            m_offset++;
            continue;
        }
        m_offset += 4;
        m_code = value;
        return TOKEN_CHARACTER;
    }
}

TEXT_TOKEN TEXT_CURSOR::next_character()
{
    TEXT_TOKEN token;
    do
        token = next();
    while (token == TOKEN_COLOUR || token == TOKEN_BACKGROUND);
    return token;
}

TEXT_TOKEN TEXT_CURSOR::read_section(TEXT_TOKEN kind)
{
    char marker = m_text[m_offset];
    INT_S32 start = m_offset + 1;
    INT_S32 end = start;
    while (m_text[end] && m_text[end] != marker)
        end++;
    // An unclosed section runs to the end of the text.
    m_offset = m_text[end] ? end + 1 : end;
    m_restore = end == start;
    if (m_restore)
        return kind;

    // Only the numbers matter; a longer section is read as far as its first 63 bytes.
    char numbers[64];
    INT_S32 length = end - start;
    if (length > static_cast<INT_S32>(sizeof numbers) - 1)
        length = sizeof numbers - 1;
    memcpy(numbers, m_text + start, length);
    numbers[length] = 0;
    short a = 0, r = 0, g = 0, b = 0;
    if (sscanf(numbers, "%hd,%hd,%hd,%hd", &a, &r, &g, &b) < 1)
        a = 0;
    m_colour = (static_cast<INT_U32>(a & 0xFF) << 24) | (static_cast<INT_U32>(b & 0xFF) << 16)
        | (static_cast<INT_U32>(g & 0xFF) << 8) | static_cast<INT_U32>(r & 0xFF);
    return kind;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Measuring
// ---------------------------------------------------------------------------------------------

namespace {

// The advance of one character at a cell size; wide characters are rendered and dropped.
INT_S32 character_advance(INT_S16 font, INT_U32 code, INT_S16 width, INT_S16 height)
{
    GLYPH_RECORD temporary;
    GLYPH_RECORD* glyph = find_glyph(font, code, static_cast<INT_S16>(width - 1), height, &temporary);
    if (!glyph)
        return 0;
    INT_S32 advance = glyph->advance;
    if (glyph == &temporary)
        release_glyph(&temporary);
    return advance;
}

bool font_usable(INT_S16 font, INT_S16 width, INT_S16 height)
{
    return font_is_loaded(font) && width > 0 && height > 0;
}

} // namespace

INT_S32 measure_text(INT_S16 font, INT_S16 width, INT_S16 height, const char* text, INT_S32 count, bool wide_start)
{
    if (!text)
        return 0;
    if (!font_usable(font, width, height))
        return static_cast<INT_S32>(strlen(text));
    TEXT_CURSOR cursor(text, wide_start);
    INT_S32 total = 0;
    for (INT_S32 done = 0; count < 0 || done < count; done++) {
        if (cursor.next_character() != TOKEN_CHARACTER)
            break;
        total += character_advance(font, cursor.code(), width, height);
    }
    return total;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Block layout
// ---------------------------------------------------------------------------------------------
//
// The walk keeps the characters of the line being built, each with its advance and the place
// where it begins. That place lies in front of any markup that precedes the character, so that a
// colour section or a wide toggle travels with the character to the next line; a break walks
// back over whole characters and never splits markup.

namespace {

struct LINE_CHARACTER {
    INT_S32 start;      // offset of the markup in front of the character, or of the character
    bool start_wide;    // the mode at `start`
    INT_U32 code;
    INT_S32 advance;
};

class BOX_LAYOUT {
public:
    BOX_LAYOUT(TEXT_LAYOUT* layout, INT_S16 font, INT_S16 width, INT_S16 height, const char* text,
        INT_S32 box_width, INT_S32 line_limit, LINE_CHARACTER* characters)
        : m_layout(layout), m_font(font), m_width(width), m_height(height), m_text(text)
        , m_box_width(box_width), m_line_limit(line_limit), m_characters(characters)
    {
    }

    void run();

private:
    void begin_line(INT_S32 start, bool wide);
    void end_line(INT_S32 count, INT_S32 width, INT_U8 extra_flags);
    // Answers the index of the first character of the next line, after ending this one.
    INT_S32 break_line(INT_S32 limit_index);
    INT_S32 hyphen_width();

    TEXT_LAYOUT* m_layout;
    INT_S16 m_font;
    INT_S16 m_width;
    INT_S16 m_height;
    const char* m_text;
    INT_S32 m_box_width;
    INT_S32 m_line_limit;
    LINE_CHARACTER* m_characters;

    INT_S32 m_line_start { 0 };
    bool m_line_wide { false };
    INT_S32 m_count { 0 };
    INT_S32 m_line_width { 0 };
    bool m_hyphen_measured { false };
};

void BOX_LAYOUT::begin_line(INT_S32 start, bool wide)
{
    m_line_start = start;
    m_line_wide = wide;
    m_count = 0;
    m_line_width = 0;
}

void BOX_LAYOUT::end_line(INT_S32 count, INT_S32 width, INT_U8 extra_flags)
{
    TEXT_LINE& line = m_layout->lines[m_layout->line_count++];
    line.start = m_line_start;
    line.count = count;
    line.width = width;
    line.flags = static_cast<INT_U8>((m_line_wide ? LINE_STARTS_WIDE : 0) | extra_flags);
}

INT_S32 BOX_LAYOUT::hyphen_width()
{
    if (!m_hyphen_measured) {
        m_layout->hyphen_width = measure_text(m_font, m_width, m_height, "-", -1, false);
        m_hyphen_measured = true;
    }
    return m_layout->hyphen_width;
}

INT_S32 BOX_LAYOUT::break_line(INT_S32 limit_index)
{
    INT_S32 dash = hyphen_width();
    INT_S32 hyphen_at = -1;
    INT_S32 width = m_line_width;
    for (INT_S32 i = limit_index - 1; i >= 0; i--) {
        const LINE_CHARACTER& character = m_characters[i];
        if (character.code == '-') {
            end_line(i + 1, width, 0);
            return i + 1;
        }
        width -= character.advance;
        if (character.code == ' ' || character.code == '\t') {
            end_line(i, width, 0);
            return i + 1;
        }
        // Breaking in front of character i leaves characters 0 to i - 1 and the hyphen; an
        // empty line with a hyphen alone would never move on.
        if (hyphen_at < 0 && i > 0 && width + dash < m_box_width)
            hyphen_at = i;
    }
    if (hyphen_at >= 0) {
        INT_S32 kept = 0;
        for (INT_S32 i = 0; i < hyphen_at; i++)
            kept += m_characters[i].advance;
        end_line(hyphen_at, kept, LINE_HYPHEN);
        return hyphen_at;
    }
    // A single character wider than the box still has to go somewhere: it gets a line alone.
    if (limit_index == 0) {
        end_line(1, m_characters[0].advance, 0);
        return 1;
    }
    end_line(limit_index, m_line_width, 0);
    return limit_index;
}

void BOX_LAYOUT::run()
{
    m_layout->ellipsis_width = measure_text(m_font, m_width, m_height, "...", -1, false);
    TEXT_CURSOR cursor(m_text, false);
    begin_line(0, false);

    for (;;) {
        INT_S32 before = cursor.offset();
        bool before_wide = cursor.wide();
        if (cursor.next_character() != TOKEN_CHARACTER)
            break;
        INT_U32 code = cursor.code();

        if (code == '\n') {
            end_line(m_count, m_line_width, 0);
            if (m_layout->line_count >= m_line_limit)
                return;
            begin_line(cursor.offset(), cursor.wide());
            continue;
        }
        if (m_count == 0 && (code == ' ' || code == '\t')) {
            begin_line(cursor.offset(), cursor.wide());
            continue;
        }

        INT_S32 advance = character_advance(m_font, code, m_width, m_height);
        bool last_line = m_layout->line_count == m_line_limit - 1;
        if (last_line && m_line_width + advance + m_layout->ellipsis_width > m_box_width) {
            INT_S32 rest = measure_text(m_font, m_width, m_height, m_text + before, -1, before_wide);
            if (m_line_width + rest > m_box_width) {
                end_line(m_count, m_line_width, LINE_ELLIPSIS);
                return;
            }
            end_line(-1, m_line_width + rest, 0);
            return;
        }

        m_characters[m_count] = { m_count == 0 ? m_line_start : before, m_count == 0 ? m_line_wide : before_wide,
            code, advance };
        if (m_line_width + advance < m_box_width) {
            m_count++;
            m_line_width += advance;
            continue;
        }

        INT_S32 next = break_line(m_count);
        if (m_layout->line_count >= m_line_limit)
            return;
        // The next line starts with the character at `next`, which may be the one just met.
        bool whole_line_taken = next > m_count;
        INT_S32 resume = whole_line_taken ? cursor.offset() : m_characters[next].start;
        bool resume_wide = whole_line_taken ? cursor.wide() : m_characters[next].start_wide;
        cursor.seek(resume, resume_wide);
        begin_line(resume, resume_wide);
    }
    if (m_count > 0)
        end_line(m_count, m_line_width, 0);
}

} // namespace

bool layout_text_box(TEXT_LAYOUT* layout, INT_S16 font, INT_S16 width, INT_S16 line_height, const char* text,
    INT_S32 box_width, INT_S32 line_limit)
{
    if (!layout)
        return false;
    layout->line_count = 0;
    layout->ellipsis_width = 0;
    layout->hyphen_width = 0;
    if (!text || !text[0] || !font_usable(font, width, line_height) || box_width < 1)
        return false;
    if (line_limit < 1)
        line_limit = 1;
    if (line_limit > MAX_TEXT_LINES)
        line_limit = MAX_TEXT_LINES;

    // A line never holds more characters than the text has bytes.
    size_t length = strlen(text);
    LINE_CHARACTER* characters = new (std::nothrow) LINE_CHARACTER[length + 1];
    if (!characters)
        return false;
    BOX_LAYOUT(layout, font, width, line_height, text, box_width, line_limit, characters).run();
    delete[] characters;
    return true;
}
