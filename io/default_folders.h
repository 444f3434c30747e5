// The default folders behind the path variables: the program's folder, the user's and the
// system's application folders, and the run's private temporary folder.
#pragma once

#include "base/orlu_types.h"

class FOLDER;

// Kinds of default folder, as default_folder_path takes them.
enum HOST_FOLDER_KIND : INT_S32 {
    HOST_APP = 0,       // folder of the running executable
    HOST_USER_APP = 1,
    HOST_USER_DATA = 2,
    HOST_USER_PREFS = 3,
    HOST_USER_SAVES = 4,
    HOST_SYS_APP = 5,
    HOST_SYS_DATA = 6,
    HOST_SYS_PREFS = 7,
    HOST_TEMP = 8,      // the run's private temporary folder
};

// Gives `folder` the default path of a kind. `name` is the application name; null means the last
// element of the executable's path, or "ORLU Application" when that cannot be read. With `create`
// a missing folder is made. False when the folder does not exist (and could not be made); the
// folder is then unchanged. Kind 0 never fails.
//
// Kind 8 answers a folder that only this user can write: a candidate that is a symbolic link, is
// owned by somebody else or is writable by group or others is never used; a fresh folder is made
// beside it instead (mode 0700). The answer is remembered for the rest of the run.
[[nodiscard]] bool default_folder_path(FOLDER* folder, INT_S32 kind, const char* name, bool create);
