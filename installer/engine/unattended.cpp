// The unattended install.

#include "installer/engine/unattended.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "frame/application_frame.h"
#include "installer/engine/own_data_set.h"
#include "installer/engine/database.h"
#include "host/host.h"
#include "installer/engine/install_engine.h"
#include "installer/engine/installer_options.h"

namespace {

// The console side of the engine: one line per file, errors where they happen.
class CONSOLE_REPORTER : public INSTALL_REPORTER {
public:
    void set_install_status(INT_S32, const char*) override {}
    void path_error() override
    {
        stopped = true;
        host_print("ERROR: the install folder or the log folder cannot be made\n");
    }
    void log_error(const char* path) override
    {
        host_printf("WARNING: the log %s cannot be written; installing without it\n", path);
    }
    void file_error(const char*) override {}
    void file_done(const char* path, INSTALL_RESULT result) override
    {
        switch (result) {
        case INSTALL_INSTALLED:
            ++installed;
            host_printf("Installed %s\n", path);
            break;
        case INSTALL_SKIPPED:
            ++skipped;
            host_printf("Skipped %s\n", path);
            break;
        case INSTALL_FAILED:
            ++failed;
            host_printf("FAILED %s\n", path);
            break;
        }
    }
    void finished(INT_S32) override { done = true; }

    bool stopped { false };
    bool done { false };
    INT_S32 installed { 0 };
    INT_S32 skipped { 0 };
    INT_S32 failed { 0 };
};

void show_unpack_progress(INT_S32, INT_U64 done, INT_U64 total, void* context)
{
    INT_S32* last = static_cast<INT_S32*>(context);
    INT_S32 percent = total ? static_cast<INT_S32>(done * 100 / total) : 100;
    if (percent / 10 == *last / 10)
        return;
    *last = percent;
    host_printf("Unpacking... %d%%\n", percent);
}

void apply_options(DATABASE* database, const INSTALLER_OPTIONS& options, INT_S16 type)
{
    database->current_installation = type;
    const INSTALLATION_RECORD& installation = database->installations[type];
    if (options.install_folder[0])
        install_folder_text(options.install_folder, database->install_path, sizeof database->install_path);
    else
        snprintf(database->install_path, sizeof database->install_path, "%s", installation.default_path);
    if (options.system_paths >= 0)
        database->use_system_paths = static_cast<INT_U8>(options.system_paths);
    database->want_desktop_shortcut = options.desktop_shortcut;
    database->want_menu_shortcut = options.menu_shortcut;
}

} // namespace

INT_S16 find_install_type(const DATABASE& database, const char* wanted)
{
    if (!wanted || !wanted[0])
        return database.installation_count > 0 ? 0 : -1;
    char* end = nullptr;
    long number = strtol(wanted, &end, 10);
    if (end && !*end)
        return number >= 1 && number <= database.installation_count ? static_cast<INT_S16>(number - 1) : -1;
    for (INT_S16 i = 0; i < database.installation_count; ++i) {
        if (strcasecmp(database.installations[i].name, wanted) == 0)
            return i;
        const LANGUAGE_RECORD* language = database.language();
        if (language && strcasecmp(language->installation_name(i), wanted) == 0)
            return i;
    }
    return -1;
}

void install_folder_text(const char* given, char* out, size_t size)
{
    if (given[0] == '$') {
        snprintf(out, size, "%s", given);
        return;
    }
    if (given[0] == '/') {
        snprintf(out, size, "$ROOT1%s", given);
        return;
    }
    char here[ORLU_MAX_PATH];
    if (!host_working_folder(here, sizeof here))
        snprintf(here, sizeof here, "/");
    snprintf(out, size, "$ROOT1%s%s%s", strcmp(here, "/") == 0 ? "" : here, "/", given);
}

namespace {

// The status and the last line of a run that a signal ended: 128 and the signal's number, as a
// shell reports a program that a signal killed. The line also goes to standard error, since a
// closed pipe may be what ended the run.
INT_S32 interrupted(const char* what)
{
    int signal_number = host_stop_signal();
    const char* name = signal_number ? host_signal_name(signal_number) : "a signal";
    char line[512];
    snprintf(line, sizeof line, "Interrupted by %s %s\n", name, what);
    host_print(line);
    host_print_error(line);
    return signal_number ? 128 + signal_number : 1;
}

bool stop_requested()
{
    handle_pending_signals();
    return quit_requested || host_stop_requested();
}

} // namespace

INT_S32 run_unattended(DATABASE* database, const INSTALLER_OPTIONS& options)
{
    // Nobody is there to answer a polite question: a terminate signal ends the run like the
    // others.
    set_terminate_quits(true);
    host_print("Loading automatic pack...\n");
    INT_S32 last_percent = -10;
    switch (unpack_own_data_set(database, nullptr, show_unpack_progress, &last_percent)) {
    case UNPACK_DAMAGED:
        host_print("ERROR: The installer file is damaged\n"
                   "It is shorter than it should be or its contents changed; download or copy it again.\n");
        return 2;
    case UNPACK_FAILED:
        host_print("ERROR: the installation data cannot be unpacked (is the temporary folder full?)\n");
        delete_temporary_package();
        return 1;
    case UNPACK_INTERRUPTED:
        delete_temporary_package();
        return interrupted("while unpacking the installation data; nothing was installed");
    case UNPACK_NO_DATA_SET:
    case UNPACK_DONE:
        break;
    }
    bool damaged = false;
    if (!database->load_data_set("installer.pkg", &damaged)) {
        delete_temporary_package();
        if (stop_requested())
            return interrupted("while loading the installation data; nothing was installed");
        if (damaged) {
            host_print("ERROR: The installer file is damaged\n"
                       "Its installation data cannot be read whole; download or copy it again.\n");
            return 2;
        }
        host_print("ERROR: unable to load data\n");
        host_print("Done\n");
        return 1;
    }

    INT_S16 type = find_install_type(*database, options.install_type);
    if (type < 0) {
        host_printf("ERROR: there is no install type \"%s\"\n", options.install_type);
        delete_temporary_package();
        return 1;
    }
    apply_options(database, options, type);
    host_printf("Installing \"%s\" into %s\n", database->installations[type].name, database->install_path);

    CONSOLE_REPORTER reporter;
    INSTALL_ENGINE engine;
    database->current_page = PAGE_INSTALLING;
    bool stopped = stop_requested();
    while (!reporter.stopped && !stopped) {
        engine.step(database, &reporter);
        stopped = stop_requested();
        if (stopped)
            break;
        if (engine.at_rest()) {
            host_print("ERROR: the installation data cannot be opened\n");
            reporter.stopped = true;
            break;
        }
        if (engine.done())
            break;
    }
    // A signal that comes with the last step finds the work done: that is no interruption.
    if (stopped && engine.done())
        stopped = false;
    if (stopped) {
        int signal_number = host_stop_signal();
        engine.interrupt(signal_number ? host_signal_name(signal_number) : "a signal");
    }
    engine.reset();
    database->current_page = PAGE_START;
    delete_temporary_package();
    if (stopped) {
        char what[160];
        snprintf(what, sizeof what,
            "while installing: %d installed, %d skipped, %d failed; the rest was not installed (install_log.txt lists what was done)",
            reporter.installed, reporter.skipped, reporter.failed);
        return interrupted(what);
    }
    if (reporter.stopped)
        return 1;
    host_printf("%d installed, %d skipped, %d failed\n", reporter.installed, reporter.skipped, reporter.failed);
    host_print("Done\n");
    return reporter.failed || engine.error_count() ? 1 : 0;
}
