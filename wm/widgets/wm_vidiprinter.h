// WM_VIDIPRINTER: a ticker that types each line from the strip's left edge (or centred) instead
// of running it across: a character every `speed` milliseconds, then the whole line stands for
// `hold_time` before the next one starts. A line wider than the strip moves left as it grows, so
// that the newest character is always in sight.
//
//   state    | time passes                         | typed and held (duration + hold_time)
//   ---------+-------------------------------------+----------------------------------------
//   typing   | (now - start) * length / duration   | next line, as the ticker goes on
//            |  characters show                    |
#pragma once

#include "wm/widgets/wm_ticker.h"

class WM_VIDIPRINTER : public WM_TICKER {
public:
    WM_VIDIPRINTER(INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height, const COLOUR& colour, INT_U8 font_id,
        INT_S16 font_x_sz, INT_S16 font_y_sz, INT_U32 speed, INT_U16 hold_time,
        WM_CALLBACK left_callback = nullptr, PTR_INT_CAST left_data1 = 0, PTR_INT_CAST left_data2 = 0);

    // --- Fields, in the record's order ----------------------------------------------------------
    // The first character not yet typed, -1 when the whole line shows. The text itself is never
    // cut: painting draws this many characters, so markup and the lines stay whole.
    INT_S32 hidden_index { -1 };
    INT_U16 hold_time { 1000 };

protected:
    void begin_text(INT_U32 now) override;
    void place_text(INT_U32 now) override;
    // The line stands for hold_time after it was typed.
    [[nodiscard]] INT_U32 line_time() const override { return duration + hold_time; }

private:
    INT_S32 length { 0 }; // characters of the current text
};
