// What the process knows of itself: where its executable lies, the executable kept open for the
// run, and the stamp read from it. The frame fills these in at start-up; the data layers read
// them (the stamp, the folder of the program, the appended data).
#pragma once

#include "base/orlu_types.h"

class DATA_FILE;
struct STAMP_RECORD;

extern char own_folder_path[ORLU_MAX_PATH];
extern char own_file_name[ORLU_MAX_PATH];
// The running executable, open for reading; null when it could not be opened.
extern DATA_FILE* own_file;
// The executable's stamp record; the unstamped record when the file has none.
extern STAMP_RECORD own_stamp;
// The program's arguments as the frame kept them; null until the frame has started.
extern char** arguments;

// True once the frame has kept the arguments. Folders made by static constructors before that
// must not write to debug streams that may not exist yet.
[[nodiscard]] bool process_has_started();
