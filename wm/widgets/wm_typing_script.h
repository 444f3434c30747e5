// WM_TYPING_SCRIPT: a label that types its text out, character by character.
#pragma once

#include "base/orlu_types.h"

// The byte length of `text` that shows `elapsed` milliseconds after typing began: each
// character costs char_delay, a line feed newline_delay (char_delay when that is 0), and the
// walk stops once the time left falls below 1, so the first character shows at once. Colour
// sections and wide-mode switches cost nothing and are never cut in half. A char_delay below 1
// shows everything.
INT_S32 typing_visible_length(const char* text, INT_S64 elapsed, INT_S32 char_delay, INT_S32 newline_delay);
