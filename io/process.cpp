// The process's own facts, kept here so that every layer above the data devices can read them.

#include "io/process.h"

#include "io/stamp.h"

char own_folder_path[ORLU_MAX_PATH];
char own_file_name[ORLU_MAX_PATH];
DATA_FILE* own_file = nullptr;
STAMP_RECORD own_stamp;
char** arguments = nullptr;

bool process_has_started()
{
    return arguments != nullptr;
}
