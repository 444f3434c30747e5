// Fonts: the font table over FreeType, the glyph cache, the markup bytes inside strings and the
// block layout of draw_text_box. The drawing itself belongs to IMAGE (graphics/image.h); this
// header holds what can be known about text without pixels.
//
// Font numbers 0 to 22 are the built-in list, loaded from $FONTDATA at start-up; applications
// add their own from 23 on. Font 255 (as a byte) means an image's default font.
#pragma once

#include "base/orlu_types.h"

// FreeType's own handle type, declared the way FreeType declares it, so that users of the font
// table need not see FreeType's headers.
typedef struct FT_FaceRec_* FT_Face;

class FOLDER;

// ---------------------------------------------------------------------------------------------
// The font table
// ---------------------------------------------------------------------------------------------

constexpr INT_S16 BUILT_IN_FONT_COUNT = 23;
constexpr INT_S16 GLYPH_CACHE_SIZE = 256;
constexpr INT_U8 DEFAULT_FONT = 255;

// One rendering of one character. The cache holds a single size per character: asking for
// another size renders it again.
struct GLYPH_RECORD {
    INT_S16 pixel_width { 0 };
    INT_S16 pixel_height { 0 };
    INT_S16 advance { 0 };          // pen advance in whole pixels
    INT_S16 left { 0 };             // bitmap_left
    INT_S16 top { 0 };              // bitmap_top
    INT_S16 width { 0 };
    INT_S16 rows { 0 };
    INT_S16 pitch { 0 };            // bytes per bitmap row, never negative
    INT_U8* bitmap { nullptr };     // rows * pitch grey bytes, at least one byte; from malloc
    INT_S16 face_height { 0 };      // in font units
    INT_S16 face_descender { 0 };   // in font units, 0 or negative
};

struct FONT_RECORD {
    char display_name[128];
    FT_Face face;                   // null for a free slot
    INT_U8 grey_levels;             // the grey value of a fully covered pixel
    GLYPH_RECORD* glyphs[GLYPH_CACHE_SIZE];
};

// Cleared by disable_font_autoload before the frame starts the font system, the built-in fonts
// are not loaded at start.
extern bool autoload_fonts;
void disable_font_autoload();

// Once only: starts FreeType (fatal 0x21 when it cannot) and, with autoload_fonts, loads the 23
// built-in fonts from $FONTDATA. A missing file leaves its slot free.
void start_font_system();
// Unloads every font, frees the table and stops FreeType. start_font_system may follow again.
void stop_font_system();
[[nodiscard]] bool font_system_started();

// Loads a TrueType file into a slot and answers the number used, or -1.
//  - number -1 (or 255) takes the first free slot from 23 on;
//  - numbers 0 to 22 accept only the file name of that row of the built-in list;
//  - a file that does not exist or cannot be opened, and a slot that holds a face, give -1;
//  - a null folder means $FONTDATA.
// A file that exists but that FreeType cannot read is fatal 0x22; no memory for the table is
// fatal 0x23. A null display name shows the file name.
INT_S16 load_font(const char* file_name, const char* display_name, INT_S16 number, const FOLDER* folder);
// Closes the face and frees its glyphs; -1 unloads every font. A free or unknown slot is ignored.
void unload_font(INT_S16 number);
[[nodiscard]] bool font_is_loaded(INT_S16 number);
// The record of a slot within the table, or null.
[[nodiscard]] FONT_RECORD* font_record(INT_S16 number);
// Slots in the table (loaded or free).
[[nodiscard]] INT_S16 font_table_length();
// Texts of the built-in list; null outside 0 to 22.
[[nodiscard]] const char* font_display_name(INT_S16 number);
[[nodiscard]] const char* font_file_name(INT_S16 number);

// The glyph of a character at a size, rendered on first use. Codes 0 to 255 come from the
// font's cache; any other code is rendered into `temporary`, which the caller releases with
// release_glyph. Null for an unloaded font. FreeType refusing the size is fatal 0x24, refusing
// the character fatal 0x25.
GLYPH_RECORD* find_glyph(INT_S16 font, INT_U32 code, INT_S16 width, INT_S16 height, GLYPH_RECORD* temporary);
// Frees the bitmap of a temporary record.
void release_glyph(GLYPH_RECORD* record);

// ---------------------------------------------------------------------------------------------
// Markup inside strings
// ---------------------------------------------------------------------------------------------
//
// Byte 1 toggles wide mode, in which characters are groups of four hexadecimal digits, each
// optionally led by ",". Byte 2 opens a section "A,R,G,B" (decimal) that sets the text colour,
// closed by the next byte 2; an empty section restores the caller's colour. Byte 3 does the same
// for the background. Markup takes no width and is not drawn.

enum TEXT_MARKUP_BYTE : INT_U8 {
    TEXT_WIDE_TOGGLE = 1,
    TEXT_COLOUR_SECTION = 2,
    TEXT_BACKGROUND_SECTION = 3,
};

enum TEXT_TOKEN : INT_U8 {
    TOKEN_END,          // end of the text
    TOKEN_CHARACTER,    // code() holds the character
    TOKEN_COLOUR,       // colour_value() holds the new text colour, or restores() the caller's
    TOKEN_BACKGROUND,   // the same for the background
};

// Walks a string character by character, stepping over the markup. offset() is the byte
// position reached, wide() the mode there: together they are a place where a walk may resume.
class TEXT_CURSOR {
public:
    TEXT_CURSOR(const char* text, bool wide_start);

    TEXT_TOKEN next();
    // Skips colour sections and answers the next character, or TOKEN_END.
    TEXT_TOKEN next_character();
    // Resumes the walk at a place that an earlier walk of the same text reported.
    void seek(INT_S32 offset, bool wide);

    [[nodiscard]] INT_U32 code() const { return m_code; }
    // A COLOUR word: R in bits 0 to 7, G, B, then A in bits 24 to 31.
    [[nodiscard]] INT_U32 colour_value() const { return m_colour; }
    [[nodiscard]] bool restores() const { return m_restore; }
    [[nodiscard]] INT_S32 offset() const { return m_offset; }
    [[nodiscard]] bool wide() const { return m_wide; }
    [[nodiscard]] const char* text() const { return m_text; }

private:
    TEXT_TOKEN read_section(TEXT_TOKEN kind);

    const char* m_text;
    INT_S32 m_offset { 0 };
    bool m_wide;
    INT_U32 m_code { 0 };
    INT_U32 m_colour { 0 };
    bool m_restore { false };
};

// Width in pixels of the first `count` characters (-1: all) at a cell size, the sum of the
// glyph advances; each glyph is asked one pixel narrower than the cell, as drawing does. Font 255
// is not resolved here. For an unusable font (not loaded, or a size below 1) the answer is the
// length of the text in bytes.
INT_S32 measure_text(INT_S16 font, INT_S16 width, INT_S16 height, const char* text, INT_S32 count, bool wide_start);

// ---------------------------------------------------------------------------------------------
// Block layout
// ---------------------------------------------------------------------------------------------

enum TEXT_FLAG : INT_U8 {
    TEXT_SHADOW = 1,
    TEXT_INSET = 2,
    TEXT_CHISELED = 4,
    TEXT_TOP = 8,
    TEXT_BOTTOM = 16,
    TEXT_LEFT = 32,
    TEXT_RIGHT = 64,
    TEXT_REFLECT = 128,
};

enum TEXT_LINE_FLAG : INT_U8 {
    LINE_STARTS_WIDE = 1,
    LINE_HYPHEN = 2,
    LINE_ELLIPSIS = 4,
};

constexpr INT_S16 MAX_TEXT_LINES = 256;

struct TEXT_LINE {
    INT_S32 start { 0 };    // byte offset of the line in the text
    INT_S32 count { 0 };    // characters to draw; -1 draws all the rest of the text
    INT_S32 width { 0 };    // pixels, without the "-" or "..." that follows
    INT_U8 flags { 0 };     // TEXT_LINE_FLAG bits
};

struct TEXT_LAYOUT {
    TEXT_LINE lines[MAX_TEXT_LINES];
    INT_S16 line_count { 0 };
    INT_S32 ellipsis_width { 0 };   // width of "..."
    INT_S32 hyphen_width { 0 };     // width of "-", measured only when a break needed it
};

// Breaks text into the lines of a box `box_width` pixels wide that holds `line_limit` lines
// (cut to 1 to 256): line feeds, breaks behind "-" and at blanks, a hyphen inside a word when
// one fits, a hard break otherwise, and "..." on the last line when the text does not fit.
// Answers false, with no lines, for null or empty text or an unusable font, size or box.
bool layout_text_box(TEXT_LAYOUT* layout, INT_S16 font, INT_S16 width, INT_S16 line_height, const char* text,
    INT_S32 box_width, INT_S32 line_limit);
