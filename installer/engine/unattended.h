// The unattended install (-a): no window and no X connection; the data set is unpacked and
// loaded, the chosen install type installed to the end, and every file and a summary printed on
// the console. install_log.txt is written as a wizard run writes it.
#pragma once

#include "base/orlu_types.h"

class DATABASE;
struct INSTALLER_OPTIONS;

// Runs the whole install. Answers the process status: 0 when every file installed, 1 when a file
// failed or the install could not start, 2 when the installer file is damaged.
[[nodiscard]] INT_S32 run_unattended(DATABASE* database, const INSTALLER_OPTIONS& options);

// Chooses the install type from -t: a number from 1, or a name (without regard to case).
// Answers the index, or -1 when nothing matches.
[[nodiscard]] INT_S16 find_install_type(const DATABASE& database, const char* wanted);
// Turns the -i folder into the symbolic form folders are set from: "$..." stays, an absolute
// path hangs on the file system root, a relative one on the working folder.
void install_folder_text(const char* given, char* out, size_t size);
