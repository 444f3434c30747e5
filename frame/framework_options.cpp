// The framework's command line: the --orlu options, "orlu_args.txt", the reports they print, and
// the single-letter option scanner.
//
// [SECTION] Reports
// [SECTION] Argument filter
// [SECTION] Option scanner

#include "frame/framework_options.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <strings.h>

#include "frame/application_frame.h"
#include "base/debug_stream.h"
#include "base/error_report.h"
#include "host/host.h"
#include "host/system_info.h"

#ifndef ORLU_BUILD_DATE
#define ORLU_BUILD_DATE __DATE__
#define ORLU_BUILD_TIME __TIME__
#endif

// ---------------------------------------------------------------------------------------------
// [SECTION] Reports
// ---------------------------------------------------------------------------------------------

namespace {

// Reports made with no application running (tools and tests that use the frame's parts alone)
// show an empty record rather than failing.
const APPLICATION_RECORD& the_record()
{
    static APPLICATION_RECORD empty_record {};
    empty_record.app_name = "";
    const APPLICATION_RECORD* record = running_application_record();
    return record ? *record : empty_record;
}

const char* yes_no(bool value) { return value ? "Yes" : "No"; }
const char* enabled(bool value) { return value ? "Enabled" : "Disabled"; }
const char* supported(bool value) { return value ? "Supported" : "Unsupported"; }

void print_usage(const char* program)
{
    host_printf("usage: %s [--orlu | --orlu-listdebug | --orlu-showdebug=x | --orlu-varsz | --orlu-varsz-continue | --orlu-info | --orlu-info-continue ]\n\n", program ? program : "");
    host_print("  --orlu                  - show usage and exit\n");
    host_print("  --orlu-listdebug        - list debug channels\n");
    host_print("  --orlu-showdebug=x      - show debug channel x (where x is channel number or \"all\")\n");
    host_print("  --orlu-varsz            - show default var sizes and exit\n");
    host_print("  --orlu-varsz-continue   - show default var sizes and continue\n");
    host_print("  --orlu-info             - show system info and exit\n");
    host_print("  --orlu-info-continue    - show system info and continue\n");
    host_print("  --orlu-version          - show version info and exit\n");
    host_print("  --orlu-version-continue - show version info and continue\n");
    host_print("\n");
    host_print("NOTE: Command line args can be specified one per line in the file orlu_args.txt located next to the application file.\n\n");
}

void list_debug_channels()
{
    host_print("ID   Name\n");
    host_print("--------------------\n\n");
    for (INT_S16 i = 0; i < debug_stream_count(); ++i)
        host_printf("%2d   %s\n", i, debug_stream_at(i)->name());
    host_print("\n");
}

// Answers false when the channel does not exist and the run must end.
bool show_debug_channel(const char* which)
{
    if (strcasecmp(which, "all") == 0) {
        host_printf("Enabling all %d debug channels\n", debug_stream_count());
        for (INT_S16 i = 0; i < debug_stream_count(); ++i) {
            DEBUG_STREAM* stream = debug_stream_at(i);
            stream->set_flags(stream->flags() | DEBUG_TO_CONSOLE);
        }
        return true;
    }
    short number = 0;
    sscanf(which, "%hd", &number);
    host_printf("Enabling debug channel %d\n", number);
    if (number < 0 || number >= debug_stream_count()) {
        host_printf("ERROR: Stream %d was not found\n\n", number);
        return false;
    }
    DEBUG_STREAM* stream = debug_stream_at(number);
    stream->set_flags(stream->flags() | DEBUG_TO_CONSOLE);
    return true;
}

void print_size(const char* name, size_t bytes)
{
    host_printf("%s = %d bytes (%d bits)\n", name, static_cast<int>(bytes), static_cast<int>(bytes * 8));
}

} // namespace

void print_variable_sizes()
{
    host_print("Standard Varible Sizes\n");
    host_print("--------------------\n\n");
    print_size("INT_S8", sizeof(INT_S8));
    print_size("INT_U8", sizeof(INT_U8));
    print_size("INT_S16", sizeof(INT_S16));
    print_size("INT_U16", sizeof(INT_U16));
    print_size("INT_S32", sizeof(INT_S32));
    print_size("INT_U32", sizeof(INT_U32));
    print_size("INT_S64", sizeof(INT_S64));
    print_size("INT_U64", sizeof(INT_U64));
    print_size("FLOAT_32", sizeof(FLOAT_32));
    print_size("FLOAT_64", sizeof(FLOAT_64));
    print_size("PTR_INT_CAST", sizeof(PTR_INT_CAST));
    print_size("PTR", sizeof(PTR));
    print_size("size_t", sizeof(size_t));
    host_print("\n");
}

void print_version()
{
    const APPLICATION_RECORD& app = the_record();
    host_printf("%s (%d bit) %s %s\n", app.app_name, app.app_bits,
        ORLU_BUILD_DATE, ORLU_BUILD_TIME);
    host_print("\n");
}

void print_system_report()
{
    const APPLICATION_RECORD& app = the_record();
    static const char* const touch_modes[] = { "Mouse Only", "4 Cursor Keys + Mouse Wheel",
        "2 Cursor Keys + Mouse Wheel" };
    host_printf("Running a %dbit application\n\n", app.app_bits);
    host_printf("App:                     %s\n", app.app_name);
    host_printf("Build:                   %s %s\n", ORLU_BUILD_DATE, ORLU_BUILD_TIME);
    host_printf("Exit Msg:                %s\n", enabled(app.exit_message));
    host_printf("Linux Icon:              %s\n", app.linux_icon ? "Custom" : "Default");
    host_printf("PSP Splash Time:         %d\n", app.psp_splash_time);
    host_printf("PSP Splash Imgs:         %s\n", app.psp_splash_imgs ? "Present" : "Absent");
    host_printf("PSP flash_leds:          %s\n", yes_no(app.psp_flash_leds));
    host_printf("GP2X Joystick:           %d\n", app.gp2x_joystick);
    host_printf("GP2X Mouse Rate:         %d\n", app.gp2x_mouse_rate);
    host_printf("GP2X Display Type:       %d\n", app.gp2x_display_type);
    host_printf("Windows IconID:          %d\n", app.windows_icon_id);
    host_printf("NDS Console:             %s\n", yes_no(app.nds_console));
    host_printf("NDS Memory Chk:          %s\n", enabled(app.nds_memory_chk));
    host_printf("NDS Rotated:             %s\n", yes_no(app.nds_rotated));
    host_printf("MacOS Show About:        %s\n", yes_no(app.macos_show_about));
    host_printf("MacOS Show Preferences:  %s\n", yes_no(app.macos_show_preferences));
    host_printf("Touch Mode:              %s\n", app.touch_mode < 3 ? touch_modes[app.touch_mode] : "");
    host_printf("Touch Decision Delay:    %d\n", app.touch_decision_delay);
    host_printf("Touch Drag Delay:        %d\n", app.touch_drag_delay);
    host_printf("Touch Mouse Wheel Step:  %d\n", app.touch_mouse_wheel_step);
    host_printf("Touch Gesture Area Set:  %s\n", yes_no(app.touch_gesture_area));
    host_print("\n");

    SYSTEM_INFO* info = new (std::nothrow) SYSTEM_INFO();
    if (!info)
        return;
    read_system_info(info);
    host_printf("Computer Name:           %s\n", info->computer_name);
    host_printf("OS:                      %s\n", os_name(info->platform));
    host_printf("OS Version:              %s\n", os_version_name(info->word_size));
    host_printf("OS Build:                %s\n", info->os_text);
    host_printf("Desktop Icons:           %s\n", supported(info->desktop_icons));
    host_printf("Desktop Menu:            %s\n", supported(info->desktop_menu));
    host_printf("CPUs:                    %d\n", info->processor_count);
    host_printf("CPU Type:                %s\n", cpu_name(info->processor_count ? info->processor_vendor[0] : 0));
    for (int cpu = 0; cpu < info->processor_count; ++cpu)
        host_printf("CPU %d Speed:             %d\n", cpu, info->processor_mhz[cpu]);
    host_printf("Byte Order:              %s\n", byte_order_name(info->byte_order));
    host_printf("Phy Mem:                 %dMb\n", static_cast<int>(info->memory_total / 1024));
    host_printf("Virt Mem:                %dMb\n", static_cast<int>(info->swap_total / 1024));
    host_printf("Free Phy Mem:            %dMb\n", static_cast<int>(info->memory_free / 1024));
    host_printf("Free Virt Mem:           %dMb\n", static_cast<int>(info->swap_free / 1024));
    host_printf("System Folders:          %s\n", supported(info->system_folders));
    host_printf("Disks:                   %d\n", info->disk_count);
    for (int disk = 0; disk < info->disk_count; ++disk)
        host_printf("Disk %d Free:           %dMb (%s)\n", disk, static_cast<int>(info->disk_free[disk]), root_name(static_cast<INT_S16>(disk)));
    host_printf("Fullscreen:              %s\n", supported(info->fullscreen));
    host_printf("Windowed:                %s\n", supported(info->windowed));
    host_printf("Optional Window Borders: %s\n", supported(info->optional_window_borders));
    host_printf("Window Positioning       %s\n", supported(info->window_positioning));
    host_printf("Hostame:                %s\n", info->host_name);
    host_printf("IP:                     %s\n", info->ip_address);
    host_printf("Hardware Keyboard:      %s\n", supported(info->hardware_keyboard));
    host_printf("Mouse:                  %s\n", supported(info->mouse));
    host_printf("Mouse Buttons:          %d\n", info->mouse_buttons);
    host_printf("Joystick:               %s\n", supported(info->joystick));
    host_printf("Joystick1:              %s\n", info->joystick1_connected ? "Connected" : "Disconnected");
    host_printf("Multiple Windows:       %s\n", supported(info->multiple_windows));
    host_printf("Speaking Text:          %s\n", supported(info->speech_available));
    host_printf("Disable Logout:         %s\n", supported(info->disable_logout));
    host_print("\n");
    delete info;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Argument filter
// ---------------------------------------------------------------------------------------------

namespace {

// Arguments read from "orlu_args.txt", one line each, and the array handed to the application.
// Both live until the second call of the filter.
char** file_arguments = nullptr;
int file_argument_count = 0;
char** filtered_arguments = nullptr;

void free_kept_arguments()
{
    for (int i = 0; i < file_argument_count; ++i)
        free(file_arguments[i]);
    free(file_arguments);
    file_arguments = nullptr;
    file_argument_count = 0;
    free(filtered_arguments);
    filtered_arguments = nullptr;
}

void read_argument_file()
{
    char path[ORLU_MAX_PATH + 32];
    snprintf(path, sizeof path, "%s/orlu_args.txt", own_folder_path);
    FILE* file = fopen(path, "r");
    if (!file)
        return;
    char line[4096];
    while (fgets(line, sizeof line, file)) {
        size_t length = strcspn(line, "\r\n");
        line[length] = 0;
        void* grown = realloc(file_arguments, sizeof(char*) * (file_argument_count + 1));
        char* copy = strdup(line);
        if (!grown || !copy) {
            free(copy);
            if (grown)
                file_arguments = static_cast<char**>(grown);
            break;
        }
        file_arguments = static_cast<char**>(grown);
        file_arguments[file_argument_count++] = copy;
    }
    fclose(file);
}

} // namespace

void filter_arguments(int argc, char** argv, int* out_argc, char*** out_argv)
{
    free_kept_arguments();
    if (!argv)
        return;
    read_argument_file();

    filtered_arguments = static_cast<char**>(calloc(argc + file_argument_count + 1, sizeof(char*)));
    if (!filtered_arguments) {
        *out_argc = argc;
        *out_argv = argv;
        return;
    }
    const char* program = argc > 0 ? argv[0] : "";
    int kept = 0;
    for (int i = 0; i < argc + file_argument_count; ++i) {
        char* argument = i < argc ? argv[i] : file_arguments[i - argc];
        if (strncasecmp(argument, "--orlu", 6) != 0) {
            filtered_arguments[kept++] = argument;
            continue;
        }
        if (strcasecmp(argument, "--orlu") == 0) {
            print_usage(program);
            host_shutdown(nullptr);
        }
        if (strcasecmp(argument, "--orlu-listdebug") == 0) {
            list_debug_channels();
            host_shutdown(nullptr);
        } else if (strncasecmp(argument, "--orlu-showdebug=", 17) == 0) {
            if (!show_debug_channel(argument + 17))
                host_shutdown(nullptr);
        } else if (strcasecmp(argument, "--orlu-varsz") == 0) {
            print_variable_sizes();
            host_shutdown(nullptr);
        } else if (strcasecmp(argument, "--orlu-varsz-continue") == 0) {
            print_variable_sizes();
        } else if (strcasecmp(argument, "--orlu-info") == 0) {
            print_system_report();
            host_shutdown(nullptr);
        } else if (strcasecmp(argument, "--orlu-info-continue") == 0) {
            print_system_report();
        } else if (strcasecmp(argument, "--orlu-version") == 0) {
            print_version();
            host_shutdown(nullptr);
        } else if (strcasecmp(argument, "--orlu-version-continue") == 0) {
            print_version();
        } else {
            host_printf("ERROR: Command line option \"%s\" is not known\n\n", argument);
            print_usage(program);
            host_shutdown(nullptr);
        }
    }
    filtered_arguments[kept] = nullptr;
    *out_argc = kept;
    *out_argv = filtered_arguments;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Option scanner
// ---------------------------------------------------------------------------------------------

int option_index = 1;
const char* option_argument = nullptr;
bool option_report_errors = true;

void reset_option_scanner()
{
    option_index = 1;
    option_argument = nullptr;
}

INT_S32 get_option(int argc, char** argv, const char* letters)
{
    while (option_index < argc && argv[option_index][0] != '-')
        ++option_index;
    if (option_index >= argc || strncmp(argv[option_index], "--", 2) == 0)
        return -1;

    const char* argument = argv[option_index++];
    option_argument = argument;
    if (strlen(argument) != 2) {
        if (option_report_errors)
            fatal_error(0x0040, argument);
        return '?';
    }
    const char* found = argument[1] != ':' ? strchr(letters, argument[1]) : nullptr;
    if (!found) {
        if (option_report_errors)
            fatal_error(0x0042, argument);
        return '?';
    }
    if (found[1] == ':') {
        if (option_index >= argc) {
            if (option_report_errors)
                fatal_error(0x0041, argument);
            return '?';
        }
        option_argument = argv[option_index++];
    }
    return argument[1];
}
