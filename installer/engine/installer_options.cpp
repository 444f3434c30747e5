// The installer's command line.

#include "installer/engine/installer_options.h"

#include <cstdio>
#include <cstring>
#include <strings.h>

#include "frame/application_frame.h"
#include "base/debug_stream.h"
#include "frame/framework_options.h"
#include "host/host.h"
#include "io/folder.h"
#include "installer/engine/installer_debug.h"

namespace {

struct PLATFORM_NAME {
    const char* name;
    INT_U8 code;
};

const PLATFORM_NAME platform_names[] = {
    { "linux_i86", PLATFORM_LINUX },
    { "linux", PLATFORM_LINUX },
    { "macosx", PLATFORM_MACOSX },
    { "win32", PLATFORM_WINDOWS },
    { "windows", PLATFORM_WINDOWS },
    { "gp2x", PLATFORM_GP2X },
    { "winmob_arm", PLATFORM_WINMOB_ARM },
    { "psp", PLATFORM_PSP },
    { "nds", PLATFORM_NDS },
};

} // namespace

INT_U8 platform_code_from_name(const char* name)
{
    if (!name)
        return 0;
    for (const PLATFORM_NAME& entry : platform_names) {
        if (strcasecmp(entry.name, name) == 0)
            return entry.code;
    }
    return 0;
}

const char* platform_name(INT_U8 code)
{
    switch (code) {
    case PLATFORM_LINUX: return "linux";
    case PLATFORM_MACOSX: return "macosx";
    case PLATFORM_WINDOWS: return "windows";
    case PLATFORM_GP2X: return "gp2x";
    case PLATFORM_WINMOB_ARM: return "winmob_arm";
    case PLATFORM_PSP: return "psp";
    case PLATFORM_NDS: return "nds";
    default: return "";
    }
}

void print_installer_usage(const char* program)
{
    host_printf("Usage:\n\t%s [-h] [-a] [-v] [-s filename] [-x filename] [-p filter] [-d filename1=filename2]\n\n", program ? program : "");
    host_print("\t-h\t- Show help\n");
    host_print("\t-a\t- Automatic mode (non interactive)\n");
    host_print("\t-v\t- Be verbose\n");
    host_print("\t-s\t- Generate skin\n");
    host_print("\t-x\t- XML File\n");
    host_print("\t-p\t- Platform filter\n");
    host_print("\t-d\t- Diff files (used for patching)\n\n");
    host_print("\t-f\t- Force either 32bit or 64bit install\n\n");
    host_print("Automatic mode (-a) also takes:\n");
    host_print("\t-i folder\t- Install into this folder (default: the install type's own)\n");
    host_print("\t-t type\t\t- Install type, by number from 1 or by name (default: the first)\n");
    host_print("\t-u yes|no\t- Use system paths where the install type allows them (default: no)\n");
    host_print("\t-k which\t- Shortcuts to make: all, none, desktop or menu (default: all)\n\n");
}

const char* const INSTALLER_OPTION_LETTERS = "havs:x:p:d:i:t:u:k:";

namespace {

// "yes" and "no" (and 1 and 0); -1 for anything else.
INT_S8 yes_or_no(const char* word)
{
    if (strcasecmp(word, "yes") == 0 || strcmp(word, "1") == 0)
        return 1;
    if (strcasecmp(word, "no") == 0 || strcmp(word, "0") == 0)
        return 0;
    return -1;
}

bool set_shortcuts(const char* which, INSTALLER_OPTIONS* options)
{
    if (strcasecmp(which, "all") == 0)
        options->desktop_shortcut = options->menu_shortcut = true;
    else if (strcasecmp(which, "none") == 0)
        options->desktop_shortcut = options->menu_shortcut = false;
    else if (strcasecmp(which, "desktop") == 0)
        options->desktop_shortcut = !(options->menu_shortcut = false);
    else if (strcasecmp(which, "menu") == 0)
        options->menu_shortcut = !(options->desktop_shortcut = false);
    else
        return false;
    return true;
}

} // namespace

void option_file_path(const char* argument, char* out, size_t size)
{
    snprintf(out, size, "%s%s", argument[0] == '$' ? "" : "$HERE/", argument);
}

void parse_installer_options(int argc, char** argv, INSTALLER_OPTIONS* options,
    SKIN_GENERATOR generate_skin, PATCH_DIFFER diff_files)
{
    const char* program = argc > 0 ? argv[0] : "";
    // The installer answers a bad option with its usage text, not with an error report.
    option_report_errors = false;
    reset_option_scanner();

    for (INT_S32 option; (option = get_option(argc, argv, INSTALLER_OPTION_LETTERS)) != -1;) {
        switch (option) {
        case 'a':
            options->automatic = true;
            break;
        case 'v': {
            DEBUG_STREAM* trace = find_debug_stream("Default Path Trace");
            if (trace)
                trace->set_flags(trace->flags() | DEBUG_TO_CONSOLE);
            trace_default_paths();
            break;
        }
        case 's': {
            char path[ORLU_MAX_PATH];
            option_file_path(option_argument, path, sizeof path);
            if (generate_skin)
                generate_skin(path);
            exit_with_error(nullptr);
        }
        case 'x': {
            option_file_path(option_argument, options->data_folder, sizeof options->data_folder);
            options->data_folder_given = true;
            debug_printf(&installer_debug, "XML Path: %s\n", options->data_folder);
            const char* slash = strrchr(options->data_folder, '/');
            snprintf(options->config_file_name, sizeof options->config_file_name, "%s",
                slash ? slash + 1 : options->data_folder);
            break;
        }
        case 'p': {
            INT_U8 code = platform_code_from_name(option_argument);
            if (code)
                options->platform_code = code;
            break;
        }
        case 'i':
            snprintf(options->install_folder, sizeof options->install_folder, "%s", option_argument);
            break;
        case 't':
            snprintf(options->install_type, sizeof options->install_type, "%s", option_argument);
            break;
        case 'u':
            options->system_paths = yes_or_no(option_argument);
            if (options->system_paths < 0) {
                host_printf("-u takes yes or no, not \"%s\"\n\n", option_argument);
                print_installer_usage(program);
                exit_with_error(nullptr);
            }
            break;
        case 'k':
            if (!set_shortcuts(option_argument, options)) {
                host_printf("-k takes all, none, desktop or menu, not \"%s\"\n\n", option_argument);
                print_installer_usage(program);
                exit_with_error(nullptr);
            }
            break;
        case 'd':
            if (diff_files)
                diff_files(option_argument);
            exit_with_error(nullptr);
        case 'h':
        default:
            print_installer_usage(program);
            exit_with_error(nullptr);
        }
    }
}
