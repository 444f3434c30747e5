// The data set appended behind the running installer: checked against its stamp, then read in
// place (DATA_SET_READER), or, when it cannot be read that way, unpacked into the temporary
// package "installer.pkg" in $TEMP (and, of a data set of several packages, the others beside it,
// "installer.pkg.1" and on).
#pragma once

#include "installer/engine/data_set.h"
#include "base/orlu_types.h"

class DATABASE;

enum UNPACK_RESULT : INT_S32 {
    UNPACK_DONE = 0,        // the database reads the data set in place, or "installer.pkg" is in $TEMP
                            // and the database's data folder points there
    UNPACK_NO_DATA_SET = 1, // the executable carries none: the package is looked for where it is
    UNPACK_DAMAGED = 2,     // the file is cut short or changed; nothing was unpacked
    UNPACK_FAILED = 3,      // the package could not be written (a full disk, no memory)
    UNPACK_INTERRUPTED = 4, // a signal ended the run
};

// Reads the running executable's stamp and the data set's header, calls `progress` with chunk 0
// (the splash can show now), checks the whole data set against the recorded length and CRC-32
// before anything is written, then hands the database a reader of the data set in place
// (use_data_set) or unpacks it, calling `progress` after each chunk. On UNPACK_DONE the
// database's `data_folder` is $TEMP and its `file_cache_sz` the data set's, and
// load_data_set("installer.pkg") reads the data, the members of every package; every other
// answer leaves no package behind.
// `splash` may be null.
[[nodiscard]] UNPACK_RESULT unpack_own_data_set(DATABASE* database, DATA_SET_SPLASH* splash,
    DATA_SET_PROGRESS progress, void* context);

// True once this run unpacked the package; delete_temporary_package removes it then, with the
// other packages unpacked beside it.
[[nodiscard]] bool package_is_temporary();
void delete_temporary_package();
