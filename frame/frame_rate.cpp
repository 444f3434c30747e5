// Counting frames per second of the clock.

#include "frame/frame_rate.h"

#include <cstdio>

#include "host/host.h"

namespace {

struct FRAME_RATE_STATE {
    bool started { false };
    INT_U32 second { 0 };
    INT_S32 count { 0 };
    INT_S32 rate { 0 };
    INT_S32 lowest { 0 };
    INT_S32 highest { 0 };
    INT_S64 total { 0 };
    INT_S32 seconds { 0 };
    INT_S32 shown_rate { -1 };
    char text[256] {};
};

FRAME_RATE_STATE state;

INT_S32 average() { return state.seconds ? static_cast<INT_S32>(state.total / state.seconds) : 0; }

} // namespace

void reset_frame_rate() { state = FRAME_RATE_STATE(); }

INT_S32 frame_rate(INT_S32* lowest, INT_S32* highest, INT_S32* average_out)
{
    INT_U32 second = milliseconds_now() / 1000;
    if (!state.started) {
        state.started = true;
        state.second = second;
    }
    if (second != state.second) {
        state.second = second;
        state.rate = state.count;
        state.count = 0;
        state.total += state.rate;
        ++state.seconds;
        if (state.seconds == 1 || state.rate < state.lowest)
            state.lowest = state.rate;
        if (state.rate > state.highest)
            state.highest = state.rate;
        if (state.lowest < average() / 2) {
            state.lowest = state.rate;
            state.total = state.rate;
            state.seconds = 1;
        }
    }
    ++state.count;
    if (lowest)
        *lowest = state.lowest;
    if (highest)
        *highest = state.highest;
    if (average_out)
        *average_out = average();
    return state.rate;
}

const char* frame_rate_text(const char* title)
{
    INT_S32 lowest = 0;
    INT_S32 highest = 0;
    INT_S32 mean = 0;
    INT_S32 rate = frame_rate(&lowest, &highest, &mean);
    if (rate != state.shown_rate || !state.text[0]) {
        snprintf(state.text, sizeof state.text, "%s: %dhz (Min %dhz, Max %dhz, Avg %dhz)", title ? title : "", rate,
            lowest, highest, mean);
        state.shown_rate = rate;
    }
    return state.text;
}
