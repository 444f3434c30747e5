// The installer's command line.

#include "installer/engine/installer_options.h"

#include <cstdio>
#include <cstring>
#include <strings.h>

#include "frame/application_frame.h"
#include "base/debug_stream.h"
#include "frame/framework_options.h"
#include "base/format.h"
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
    host_print("\t-k which\t- Shortcuts to make: all, none, desktop or menu (default: all)\n");
    host_print("\t-g language\t- Language, by number from 1 or by name (default: the installer's own)\n");
    host_print("\t-y\t\t- I accept the licence (needed when the installer has one; see -r)\n");
    host_print("\t-q\t\t- Quiet: print errors only\n\n");
    host_print("Without installing:\n");
    host_print("\t-c\t\t- Check the installer's integrity (exit status 0: whole, 2: damaged)\n");
    host_print("\t-l\t\t- List the install types and their files with sizes and destinations\n");
    host_print("\t-e folder\t- Extract the files of an install type (-t) into a folder; no log, no shortcuts\n");
    host_print("\t-r\t\t- Show the licence (in the language of -g)\n\n");
    host_print("-i, -u, -k and -y go with -a only; -t with -a, -e or -l; -g with -a, -l or -r; -q with -a or -e.\n"
               "The wizard asks for these itself.\n\n");
}

const char* const INSTALLER_OPTION_LETTERS = "havs:x:p:d:i:t:u:k:g:yqcle:r";

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

bool option_file_path(const char* argument, char* out, size_t size)
{
    if (format_text(out, size, "%s%s", argument[0] == '$' ? "" : "$HERE/", argument))
        return true;
    out[0] = 0;
    return false;
}

namespace {

[[noreturn]] void usage_and_exit(const char* program)
{
    print_installer_usage(program);
    exit_with_error(nullptr);
}

// The option that asks for `mode`, for messages.
char mode_letter(INSTALLER_MODE mode)
{
    switch (mode) {
    case MODE_UNATTENDED: return 'a';
    case MODE_CHECK: return 'c';
    case MODE_LIST: return 'l';
    case MODE_EXTRACT: return 'e';
    case MODE_LICENCE: return 'r';
    case MODE_WIZARD: break;
    }
    return '?';
}

void set_mode(INSTALLER_OPTIONS* options, INSTALLER_MODE mode, const char* program)
{
    if (options->mode != MODE_WIZARD && options->mode != mode) {
        host_printf("-%c and -%c cannot be given together\n\n", mode_letter(options->mode), mode_letter(mode));
        usage_and_exit(program);
    }
    options->mode = mode;
    options->automatic = mode == MODE_UNATTENDED;
}

// The run's options and the modes in which they mean something. The wizard asks for all of
// them itself, so none of them is taken without a mode.
struct MODE_RULE {
    char letter;
    INT_U32 modes; // bit (1 << mode)
    const char* with;
};

constexpr INT_U32 bit(INSTALLER_MODE mode) { return 1u << mode; }

const MODE_RULE mode_rules[] = {
    { 'i', bit(MODE_UNATTENDED), "-a" },
    { 'u', bit(MODE_UNATTENDED), "-a" },
    { 'k', bit(MODE_UNATTENDED), "-a" },
    { 'y', bit(MODE_UNATTENDED), "-a" },
    { 't', bit(MODE_UNATTENDED) | bit(MODE_EXTRACT) | bit(MODE_LIST), "-a, -e or -l" },
    { 'g', bit(MODE_UNATTENDED) | bit(MODE_LIST) | bit(MODE_LICENCE), "-a, -l or -r" },
    { 'q', bit(MODE_UNATTENDED) | bit(MODE_EXTRACT), "-a or -e" },
};

void check_mode_rules(const INSTALLER_OPTIONS& options, const char* given, const char* program)
{
    for (const MODE_RULE& rule : mode_rules) {
        if (!strchr(given, rule.letter) || (rule.modes & bit(options.mode)))
            continue;
        host_printf("-%c goes with %s\n\n", rule.letter, rule.with);
        usage_and_exit(program);
    }
}

} // namespace

void parse_installer_options(int argc, char** argv, INSTALLER_OPTIONS* options,
    SKIN_GENERATOR generate_skin, PATCH_DIFFER diff_files)
{
    const char* program = argc > 0 ? argv[0] : "";
    // The installer answers a bad option with its usage text, not with an error report.
    option_report_errors = false;
    reset_option_scanner();
    char given[32] = "";

    for (;;) {
        int before = option_index;
        INT_S32 option = get_option(argc, argv, INSTALLER_OPTION_LETTERS);
        // The scanner passes over words that are no options and stops at a long option ("--help",
        // "--verbose"); either would silently drop what the user asked for, so both are unknown.
        if (option == -1) {
            if (option_index < argc || before < argc)
                usage_and_exit(program);
            break;
        }
        const char* found = strchr(INSTALLER_OPTION_LETTERS, option);
        int consumed = found && option != '?' && found[1] == ':' ? 2 : 1;
        if (option_index - consumed > before)
            usage_and_exit(program);
        if (option != '?' && !strchr(given, option) && strlen(given) + 1 < sizeof given) {
            size_t length = strlen(given);
            given[length] = static_cast<char>(option);
            given[length + 1] = 0;
        }

        switch (option) {
        case 'a':
            set_mode(options, MODE_UNATTENDED, program);
            break;
        case 'c':
            set_mode(options, MODE_CHECK, program);
            break;
        case 'l':
            set_mode(options, MODE_LIST, program);
            break;
        case 'r':
            set_mode(options, MODE_LICENCE, program);
            break;
        case 'e':
            set_mode(options, MODE_EXTRACT, program);
            if (!copy_text(options->extract_folder, option_argument)) {
                host_print("-e: the folder's name is too long\n\n");
                usage_and_exit(program);
            }
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
            if (!option_file_path(option_argument, path, sizeof path))
                host_printf("The skin file's name is too long: %s\n", option_argument);
            else if (generate_skin)
                generate_skin(path);
            exit_with_error(nullptr);
        }
        case 'x': {
            if (!option_file_path(option_argument, options->data_folder, sizeof options->data_folder)) {
                host_printf("-x: the name is too long: %s\n\n", option_argument);
                usage_and_exit(program);
            }
            options->data_folder_given = true;
            debug_printf(&installer_debug, "XML Path: %s\n", options->data_folder);
            const char* slash = strrchr(options->data_folder, '/');
            (void)copy_text(options->config_file_name, slash ? slash + 1 : options->data_folder);
            break;
        }
        case 'p': {
            INT_U8 code = platform_code_from_name(option_argument);
            if (code)
                options->platform_code = code;
            break;
        }
        case 'i':
            if (!copy_text(options->install_folder, option_argument)) {
                host_print("-i: the folder's name is too long\n\n");
                usage_and_exit(program);
            }
            break;
        case 't':
            if (!copy_text(options->install_type, option_argument)) {
                host_printf("-t: there is no install type \"%s\"\n\n", option_argument);
                usage_and_exit(program);
            }
            break;
        case 'g':
            if (!copy_text(options->language, option_argument)) {
                host_printf("-g: there is no language \"%s\"\n\n", option_argument);
                usage_and_exit(program);
            }
            break;
        case 'q':
            options->quiet = true;
            break;
        case 'y':
            options->accept_licence = true;
            break;
        case 'u':
            options->system_paths = yes_or_no(option_argument);
            if (options->system_paths < 0) {
                host_printf("-u takes yes or no, not \"%s\"\n\n", option_argument);
                usage_and_exit(program);
            }
            break;
        case 'k':
            if (!set_shortcuts(option_argument, options)) {
                host_printf("-k takes all, none, desktop or menu, not \"%s\"\n\n", option_argument);
                usage_and_exit(program);
            }
            break;
        case 'd':
            if (diff_files)
                diff_files(option_argument);
            exit_with_error(nullptr);
        case 'h':
        default:
            usage_and_exit(program);
        }
    }
    check_mode_rules(*options, given, program);
}
