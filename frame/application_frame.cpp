// The frame of every program built on the framework. The application's main hands over its
// record and three callbacks; the frame prepares the process, runs the main loop and takes
// everything down again.

#include <cstdio>
#include <cstring>

#include "frame/application_frame.h"
#include "io/data_file.h"
#include "io/debug_stream_files.h"
#include "base/debug_stream.h"
#include "graphics/font.h"
#include "frame/framework_options.h"
#include "frame/screen.h"
#include "host/host.h"
#include "io/stamp.h"
#include "host/system_info.h"

namespace {

// Fills own_folder_path and own_file_name from the link to the running executable, so that a
// renamed program or one started through a link still finds what lies beside its real file.
void find_own_location()
{
    char target[ORLU_MAX_PATH];
    if (!host_executable_path(target, sizeof target)) {
        snprintf(own_folder_path, sizeof own_folder_path, "%s", home_directory());
        snprintf(own_file_name, sizeof own_file_name, "ORLU Application");
        return;
    }
    char* slash = strrchr(target, '/');
    if (!slash) {
        own_folder_path[0] = 0;
        snprintf(own_file_name, sizeof own_file_name, "%s", target);
        return;
    }
    *slash = 0;
    snprintf(own_folder_path, sizeof own_folder_path, "%s", slash == target ? "/" : target);
    snprintf(own_file_name, sizeof own_file_name, "%s", slash + 1);
}

// The executable stays open for the whole run: the application reads its appended data through
// it. A failure leaves the handle null, which its users test.
void open_own_file()
{
    FOLDER folder;
    if (folder.set_raw(own_folder_path))
        own_file = folder.open_data_file(own_file_name, FILE_READ, 0, false);
}

// The frame's copy of the stamp; a file without one keeps the unstamped record.
void read_own_stamp()
{
    own_stamp = unstamped_record();
    if (own_file && !read_stamp(own_file, &own_stamp))
        own_stamp = unstamped_record();
    if (own_file)
        (void)own_file->seek(0, false);
}

const APPLICATION* running_application = nullptr;

} // namespace

const APPLICATION_RECORD* running_application_record()
{
    return running_application ? running_application->record : nullptr;
}

void set_application(const APPLICATION* application)
{
    running_application = application;
}

int run_application_frame(int argc, char** argv, char** envp, const APPLICATION& application)
{
    // Before anything can report, so that warnings and debug lines reach this host's console
    // and boxes.
    host_attach_reports();
    running_application = &application;
    host_note_program_argument(argc > 0 ? argv[0] : nullptr);
    find_own_location();
    load_pending_debug_settings();
    open_own_file();
    read_own_stamp();
    environment = envp;
    arguments = argv;
    install_signal_handlers();
    start_font_system();

    int app_argc = 0;
    char** app_argv = nullptr;
    filter_arguments(argc, argv, &app_argc, &app_argv);

    application.start(static_cast<INT_S16>(app_argc), app_argv);

    // The first update runs before the first pump, and the quit flag is looked at between an
    // update and the next pump, so a request that arrives during an update lets it finish.
    bool running = application.update();
    while (running) {
        handle_pending_signals();
        if (quit_requested)
            break;
        pump_events();
        running = application.update();
    }

    application.shutdown();
    close_window(0);
    stop_font_system();
    host_end_of_run();
    filter_arguments(0, nullptr, nullptr, nullptr);
    FOLDER::close_data_file(&own_file);

    running_application = nullptr;
    return 0;
}
