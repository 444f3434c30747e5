// The frame rate: passes of the main loop counted per second of the clock, with the lowest,
// highest and average rates, and the text that shows them.
#pragma once

#include "base/orlu_types.h"

// Counts one frame. When the clock's second changes, the count of the second that ended is the
// rate; it is added to the total and compared with the lowest and the highest, and the average
// is the total over the seconds. A lowest below half the average forgets the lowest and the
// average, so the unsteady first seconds of a run do not stay in the figures. Answers the rate
// of the last whole second; the three figures go to the pointers that are not null.
INT_S32 frame_rate(INT_S32* lowest, INT_S32* highest, INT_S32* average);
// "%s: %dhz (Min %dhz, Max %dhz, Avg %dhz)" with the title, in a shared 256-character buffer,
// built again only when the rate changed. Counts a frame, as frame_rate does.
const char* frame_rate_text(const char* title);
// Back to no frames counted (tests).
void reset_frame_rate();
