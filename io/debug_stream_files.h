// The debug streams' settings files and output files under $USERPREFS/debug.
#pragma once

#include "base/debug_stream.h"

// Lets every stream read "<name>_release.cfg" and write its output file from now on.
void attach_debug_stream_files();
// Attaches the files and reads the settings of every stream that still waits for them (the frame
// calls it first).
void load_pending_debug_settings();
