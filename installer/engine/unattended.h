// The unattended install (-a): no window and no X connection; the data set is unpacked and
// loaded, the chosen install type installed to the end, and every file and a summary printed on
// the console. install_log.txt is written as a wizard run writes it.
//
// Before anything is installed the run checks what a wizard would have asked for: the install
// type and the language exist, the licence (when the data set has one) was accepted with -y, and
// a patch finds the installation it patches.
#pragma once

#include <cstddef>

#include "base/orlu_types.h"

class DATABASE;
struct INSTALLER_OPTIONS;

// Runs the whole install. Answers the process status: 0 when every file installed, 1 when a file
// failed or the install could not start, 2 when the installer file is damaged.
[[nodiscard]] INT_S32 run_unattended(DATABASE* database, const INSTALLER_OPTIONS& options);

// Unpacks the running installer's data set (or, without one, finds the package in the data
// folder) and loads it. Answers -1 when the database is loaded, else the process status after
// the reason was printed (2 for a damaged installer). With `quiet` only errors are printed.
[[nodiscard]] INT_S32 load_installer_data(DATABASE* database, bool quiet);

// Chooses the install type from -t: a number from 1, or a name (without regard to case).
// Answers the index, or -1 when nothing matches.
[[nodiscard]] INT_S16 find_install_type(const DATABASE& database, const char* wanted);
// The same for -g and the languages: a number from 1, the language's name or its title.
[[nodiscard]] INT_S16 find_language(const DATABASE& database, const char* wanted);
// Sets the database's language from -g (nothing to do for an empty text) and answers true; when
// nothing matches, prints the error with the list of languages and answers false.
[[nodiscard]] bool choose_language(DATABASE* database, const char* wanted);
// The index of the install type of -t; when nothing matches, prints the error with the list of
// install types by number and name and answers -1.
[[nodiscard]] INT_S16 choose_install_type(const DATABASE& database, const char* wanted);

// A text of the data set (Latin-1) as the console shows it (UTF-8). The result lies in one of four
// shared buffers, so that a few may stand in one message; a text too long is cut there.
const char* console_text(const char* latin1);

// Turns the -i folder into the symbolic form folders are set from: "$..." stays, an absolute
// path hangs on the file system root, a relative one on the working folder; "." elements go and
// ".." takes the element before it away, as a shell would. False, with `out` empty, when the
// text does not fit.
[[nodiscard]] bool install_folder_text(const char* given, char* out, size_t size);
