// The installer's own command line: "havs:x:p:d:".
#pragma once

#include "base/orlu_types.h"

enum PLATFORM_CODE : INT_U8 {
    PLATFORM_LINUX = 1,
    PLATFORM_MACOSX = 17,
    PLATFORM_WINDOWS = 33,
    PLATFORM_GP2X = 129,
    PLATFORM_WINMOB_ARM = 130,
    PLATFORM_PSP = 131,
    PLATFORM_NDS = 132,
};

// Platform names compared without regard to case; 0 for an unknown name.
INT_U8 platform_code_from_name(const char* name);
// The reverse table; the empty text for any other code.
const char* platform_name(INT_U8 code);

// What the run does once its options are read. Only one may be asked for.
enum INSTALLER_MODE : INT_U8 {
    MODE_WIZARD = 0,     // no mode option: the interactive run
    MODE_UNATTENDED = 1, // -a
    MODE_CHECK = 2,      // -c: test the installer's data set against its stamp, install nothing
    MODE_LIST = 3,       // -l: the install types and their files
    MODE_EXTRACT = 4,    // -e folder: an install type's files into a folder, no log, no shortcuts
    MODE_LICENCE = 5,    // -r: print the licence
};

struct INSTALLER_OPTIONS {
    INSTALLER_MODE mode { MODE_WIZARD };
    bool automatic { false }; // mode is MODE_UNATTENDED
    INT_U8 platform_code { PLATFORM_LINUX };
    // Set by -x: the resolved path of the data folder and the file name part.
    bool data_folder_given { false };
    char data_folder[ORLU_MAX_PATH] {};
    char config_file_name[ORLU_MAX_PATH] { "installer.xml" };

    // For the unattended install (-a) and the tools that share its choices.
    char install_folder[ORLU_MAX_PATH] {};  // -i: where to install; empty: the type's default
    char install_type[256] {};              // -t: a number from 1 or a name; empty: the first
    INT_S8 system_paths { 0 };              // -u yes|no; an unattended install stays out of system folders unless asked
    bool desktop_shortcut { true };         // -k all|none|desktop|menu
    bool menu_shortcut { true };
    char language[256] {};                  // -g: a number from 1 or a name; empty: the data set's default
    bool quiet { false };                   // -q: errors only
    bool accept_licence { false };          // -y: the user accepts the licence
    char extract_folder[ORLU_MAX_PATH] {};  // -e: where the files go
};

// The usage text, with the program name put into its first line.
void print_installer_usage(const char* program);

// "$HERE/" in front of a file name unless it begins with "$". False, with `out` empty, when the
// path does not fit: a cut path would name another file.
[[nodiscard]] bool option_file_path(const char* argument, char* out, size_t size);

// What the option loop asks the application to do with one option.
typedef void (*SKIN_GENERATOR)(const char* path);
typedef void (*PATCH_DIFFER)(const char* argument);

// The option letters: those of every installer, and behind them those of the unattended install
// and the tools.
extern const char* const INSTALLER_OPTION_LETTERS;

// Reads the options in order. -h, -f and anything unknown (long options, stray words, an option
// without its value) print the usage and end the run; -s and -d run their tool and end the run;
// the rest fill `options`. After the loop, two modes, or an option that means nothing in the
// chosen mode (-i without -a, for one), end the run with a message and the usage.
void parse_installer_options(int argc, char** argv, INSTALLER_OPTIONS* options,
    SKIN_GENERATOR generate_skin, PATCH_DIFFER diff_files);
