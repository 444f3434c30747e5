// WM_TICKER: lines of text that run across a strip from right to left, one after another, each
// taking `speed` milliseconds per strip width. A line shows as many more passes as its
// `repeats` says (negative: for ever) and then goes. With a separator all lines are joined and
// run as one text, whose every pass is a pass of each line.
//
//   state    | text fully across (start_time + duration) | set_paused(true)  | set_paused(false)
//   ---------+--------------------------------------------+-------------------+---------------------
//   empty    |                                            |                   |
//   running  | next line; past the last (or joined):      | paused (nothing   |
//            |  end of pass: repeats down, the spent      |  moves)           |
//            |  lines go, end_callback                    |                   |
//   paused   |                                            |                   | running, the time
//            |                                            |                   |  paused added back
#pragma once

#include "base/containers.h"
#include "graphics/colour.h"
#include "wm/core/wm_screen_object.h"

class WM_STYLE_SET;

struct ticker_line {
    char* text { nullptr }; // owned
    PTR_INT_CAST data { 0 };
    PTR_INT_CAST colour { 0 }; // a COLOUR value; 0 takes the ticker's colour
    INT_S16 repeats { 0 };     // passes left; negative for endless
};

typedef void (*WM_TICKER_END_CALLBACK)(WM_SCREEN_OBJECT* ticker, PTR_INT_CAST data);

// Longest text one line may hold; longer texts are cut.
constexpr INT_S32 TICKER_MAX_LINE = 4096;

class WM_TICKER : public WM_SCREEN_OBJECT {
public:
    WM_TICKER(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const COLOUR& colour, INT_U8 font_id,
        INT_S16 font_x_sz, INT_S16 font_y_sz, INT_U32 speed, WM_CALLBACK left_callback = nullptr,
        PTR_INT_CAST left_data1 = 0, PTR_INT_CAST left_data2 = 0);
    // The style's fg colour and font.
    WM_TICKER(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const WM_STYLE_SET* style, INT_U32 speed,
        WM_CALLBACK left_callback = nullptr, PTR_INT_CAST left_data1 = 0, PTR_INT_CAST left_data2 = 0);
    ~WM_TICKER() override;

    // Adds a line, split at line feeds and carriage returns into several (empty pieces count).
    // With max_lines reached the oldest line with no repeats left goes, else the first. Answers
    // the index of the last line added, -1 when memory ran out (the ticker is then as it was).
    INT_S32 add_line(const char* text, PTR_INT_CAST data, COLOUR line_colour, INT_S16 repeats);
    bool remove_line(INT_S32 index);
    void clear();
    // Joins all lines with the text into one that runs as a whole; null or empty stops joining.
    void set_separator(const char* text);
    void set_paused(bool on);
    [[nodiscard]] INT_S32 line_count() const { return lines.count(); }
    [[nodiscard]] const ticker_line* line(INT_S32 index) const
    {
        return static_cast<const ticker_line*>(lines.at(index));
    }
    // The text running now: the joined text, or the current line's; null when none.
    [[nodiscard]] const char* current_text() const;

    INT_S32 update() override;
    INT_S32 animate(bool overlays) override;
    bool can_take_focus() override { return false; }
    void paint() override;

    // --- Fields, in the record's order ----------------------------------------------------------
    PTRARRAY lines;
    INT_S16 current_line { -1 };
    INT_S16 x_offset { 0 };
    INT_S16 text_width { 0 };
    INT_S16 max_lines { 0 };
    COLOUR text_colour { COLOUR_WHITE };
    INT_U8 font_id { 255 };
    INT_S16 font_x_sz { -1 };
    INT_S16 font_y_sz { -1 };
    INT_S16 gap { 0 };
    char* separator { nullptr }; // owned
    char* joined { nullptr };    // owned
    WM_TICKER_END_CALLBACK end_callback { nullptr };
    PTR_INT_CAST end_data { 0 };
    INT_U8 centred { 0 };
    INT_U8 press_started { 0 };
    INT_U8 drag_ok { 0 };
    INT_S16 click_x { -1 };
    INT_S16 click_y { -1 };
    INT_U32 speed { 5000 };
    INT_U32 start_time { 0 };
    INT_U32 duration { 0 };
    INT_U32 pause_time { 0 };
    INT_S32 click_trigger { 1 };

protected:
    // Starts the next line (or the next pass); false when there is nothing left to run.
    bool next_line();
    // Sets text_width, start_time and duration for the text now current.
    virtual void begin_text(INT_U32 now);
    // Where the text stands at `now` within its time.
    virtual void place_text(INT_U32 now);
    // How long the current line runs from start_time before the next one starts.
    [[nodiscard]] virtual INT_U32 line_time() const { return duration; }
    [[nodiscard]] INT_U32 now() const;
    void end_of_pass();
    [[nodiscard]] INT_S32 measure(const char* text) const;
    // The width of the first `count` characters (-1: all).
    [[nodiscard]] INT_S32 measure_text_part(const char* text, INT_S32 count) const;
    [[nodiscard]] COLOUR line_colour() const;
    bool rebuild_joined();

    INT_U8 running { 0 }; // a text is under way (start_time is valid)
    INT_S32 shown_characters { -1 }; // how much of the text paint draws; -1 all
    INT_U8 paused { 0 };
    INT_U8 left_was_down { 0 };
};
