// What an end user may do with a finished installer without installing it: check that it is
// whole (-c), list what it installs (-l), extract an install type's files into a folder (-e)
// and read its licence (-r). Each answers the process status.
#pragma once

#include "base/orlu_types.h"

class DATABASE;
struct INSTALLER_OPTIONS;

// Tests the data set against the length and CRC-32 of the stamp; a data set without a check is
// unpacked and loaded instead. 0 when whole, 2 when damaged or when there is no data set.
[[nodiscard]] INT_S32 run_integrity_check();

// Every install type (or the one of -t) with the files an install on this machine writes: the
// size of each, its destination, and the sums. Names in the language of -g.
[[nodiscard]] INT_S32 run_listing(DATABASE* database, const INSTALLER_OPTIONS& options);

// Writes the files of the install type of -t into the folder of -e, each in the folder its
// destination names below the install folder ("$HERE/bin/tool" as "bin/tool"; a destination in
// another variable's folder under that variable's name, "$SYSDATA/x" as "SYSDATA/x"). No log,
// no shortcuts, no system folders. 0 when every file was written, 1 otherwise.
[[nodiscard]] INT_S32 run_extraction(DATABASE* database, const INSTALLER_OPTIONS& options);

// Prints the licence in the language of -g; 0, also when there is none (which it says).
[[nodiscard]] INT_S32 run_show_licence(DATABASE* database, const INSTALLER_OPTIONS& options);

// The path below the extraction folder for a destination text and a name, into `out`. False for
// a destination that leads above its folder ("..") or a path that does not fit.
[[nodiscard]] bool extraction_path(const char* destination, const char* name, char* out, size_t size);
