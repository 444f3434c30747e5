// The framework's own command line (--orlu...) and the single-letter option scanner that
// applications use for theirs.
#pragma once

#include "base/orlu_types.h"

// Acts on every "--orlu..." argument of the command line and of "orlu_args.txt" beside the
// executable, and hands the others on in order. Options that report and exit end the process.
// A second call with a null argv at shutdown frees what the first one kept.
void filter_arguments(int argc, char** argv, int* out_argc, char*** out_argv);

// Single-letter scanner: `letters` is a string of letters, each followed by ":" when it takes a
// value. Answers the letter, '?' for an unknown letter, a missing value or an argument longer
// than two characters, and -1 at the end. Arguments that do not begin with "-" are skipped;
// one that begins with "--" ends the scan.
INT_S32 get_option(int argc, char** argv, const char* letters);
extern int option_index;           // next argument to look at; starts at 1
extern const char* option_argument; // the value of the last option, or the option itself
extern bool option_report_errors;   // fatal errors 0040, 0041, 0042 instead of quiet '?'
void reset_option_scanner();

// The system report of --orlu-info, the version line of --orlu-version and the size table of
// --orlu-varsz, printed on standard output.
void print_system_report();
void print_version();
void print_variable_sizes();
