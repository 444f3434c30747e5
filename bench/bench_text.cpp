// Text drawing speed: fills a 1920x1080 image with lines of text, frame after frame, and reports
// the time per glyph and glyphs per second. The yardstick, measured in the same run over the same
// glyphs, is a plain memcpy of each glyph's coverage bytes: the least any drawing must do.
//
//   bench_text [frames] [pixel size] [font folder]

#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "graphics/colour.h"
#include "host/host.h"
#include "io/folder.h"
#include "graphics/font.h"
#include "graphics/image.h"

namespace {

constexpr INT_S16 SCREEN_WIDTH = 1920;
constexpr INT_S16 SCREEN_HEIGHT = 1080;
constexpr INT_S16 FONT = 10;
constexpr INT_S32 MAX_LINE = 1024;

double seconds_now()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

const char sample[] = "The quick brown fox jumps over the lazy dog; 0123456789 (PACKAGE) installs files, "
                      "menus & shortcuts: \"done\" - 100% - ";

// One screen line: sample text repeated for as many characters as fit across the screen.
INT_S32 fill_line(char* line, INT_S32 offset, INT_S16 size)
{
    INT_S32 length = 0;
    INT_S32 width = 0;
    INT_S32 sample_length = static_cast<INT_S32>(strlen(sample));
    while (length < MAX_LINE - 1) {
        char c = sample[(offset + length) % sample_length];
        char one[2] = { c, 0 };
        INT_S32 advance = measure_text(FONT, size, size, one, -1, false);
        if (width + advance > SCREEN_WIDTH)
            break;
        line[length++] = c;
        width += advance;
    }
    line[length] = 0;
    return length;
}

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    int frames = argc > 1 ? atoi(argv[1]) : 30;
    INT_S16 size = static_cast<INT_S16>(argc > 2 ? atoi(argv[2]) : 16);
    const char* folder = argc > 3 ? argv[3] : ORLU_SOURCE_DIR "/samples/fonts";
    if (frames < 1 || size < 4 || size > 200) {
        fprintf(stderr, "usage: bench_text [frames >= 1] [pixel size 4..200] [font folder]\n");
        return 2;
    }

    disable_font_autoload();
    start_font_system();
    FOLDER font_folder;
    if (!font_folder.set_raw(folder) || load_font("BabelSans.ttf", nullptr, FONT, &font_folder) != FONT) {
        fprintf(stderr, "cannot load BabelSans.ttf from %s\n", folder);
        return 1;
    }

    static char lines[SCREEN_HEIGHT][MAX_LINE];
    INT_S32 line_count = SCREEN_HEIGHT / size;
    INT_S64 glyphs_per_frame = 0;
    for (INT_S32 i = 0; i < line_count; i++)
        glyphs_per_frame += fill_line(lines[i], i * 7, size);

    IMAGE screen(SCREEN_WIDTH, SCREEN_HEIGHT);
    screen.clear(COLOUR_NAVY, true);
    // One frame to fill the glyph cache, which the timed frames then reuse.
    for (INT_S32 i = 0; i < line_count; i++)
        screen.draw_text(0, static_cast<INT_S16>(i * size), COLOUR_WHITE, COLOUR_INVISIBLE, COLOUR_INVISIBLE, FONT, size,
            size, lines[i]);

    double start = seconds_now();
    for (int frame = 0; frame < frames; frame++) {
        COLOUR colour = (frame & 1) ? COLOUR_YELLOW : COLOUR_WHITE;
        for (INT_S32 i = 0; i < line_count; i++)
            screen.draw_text(0, static_cast<INT_S16>(i * size), colour, COLOUR_INVISIBLE, COLOUR_INVISIBLE, FONT, size,
                size, lines[i]);
    }
    double text_seconds = seconds_now() - start;

    // The yardstick: copy the coverage bytes of the very same glyphs, in the same order.
    static INT_U8 scratch[1 << 16];
    INT_U64 checksum = 0;
    FONT_RECORD* record = font_record(FONT);
    start = seconds_now();
    for (int frame = 0; frame < frames; frame++) {
        for (INT_S32 i = 0; i < line_count; i++) {
            for (const char* c = lines[i]; *c; c++) {
                const GLYPH_RECORD* glyph = record->glyphs[static_cast<unsigned char>(*c)];
                size_t bytes = static_cast<size_t>(glyph->rows) * static_cast<size_t>(glyph->pitch);
                if (bytes > sizeof scratch)
                    bytes = sizeof scratch;
                memcpy(scratch, glyph->bitmap, bytes);
                checksum += scratch[bytes / 2];
            }
        }
    }
    double copy_seconds = seconds_now() - start;

    double glyphs = static_cast<double>(glyphs_per_frame) * frames;
    double text_ns = text_seconds * 1e9 / glyphs;
    double copy_ns = copy_seconds * 1e9 / glyphs;
    printf("text drawing: %d frames of %dx%d, %lld glyphs a frame at %d pixels (%d lines)\n", frames, SCREEN_WIDTH,
        SCREEN_HEIGHT, static_cast<long long>(glyphs_per_frame), size, line_count);
    printf("  draw_text:        %9.1f ns a glyph, %12.0f glyphs a second, %7.2f ms a frame\n", text_ns,
        glyphs / text_seconds, text_seconds * 1e3 / frames);
    printf("  memcpy coverage:  %9.1f ns a glyph, %12.0f glyphs a second (checksum %llu)\n", copy_ns,
        glyphs / copy_seconds, static_cast<unsigned long long>(checksum));
    printf("  ratio draw_text / memcpy: %.1f\n", copy_ns > 0 ? text_ns / copy_ns : 0.0);

    stop_font_system();
    return 0;
}
