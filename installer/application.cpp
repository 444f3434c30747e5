// The installer's three frame callbacks: start-up and the choice of mode, one pass of the main
// loop, and shutdown.
//
// Modes: the interactive run (the wizard), the unattended install (-a), and the publisher's
// tools (-s builds a skin, -d writes a patch configuration), which end the run inside the
// option loop.

#include <cstdio>
#include <cstring>
#include <new>

#include "base/format.h"
#include "frame/application_frame.h"
#include "installer/engine/database.h"
#include "host/host.h"
#include "installer/engine/installer_debug.h"
#include "installer/engine/installer_options.h"
#include "installer/engine/installer_tools.h"
#include "installer/engine/own_data_set.h"
#include "installer/engine/patch_differ.h"
#include "installer/engine/skin.h"
#include "installer/engine/unattended.h"

namespace {

INSTALLER_OPTIONS options;
// Built at start-up rather than statically: its folders need the framework running.
DATABASE* database = nullptr;

void run_patch_differ(const char* argument)
{
    diff_data_sets(argument);
}

// -x points the data folder at the folder of the named file and keeps the file's name.
void apply_data_folder(const INSTALLER_OPTIONS& given)
{
    database->config_file_name.assign(given.config_file_name);
    if (!given.data_folder_given)
        return;
    char folder_text[ORLU_MAX_PATH];
    if (!copy_text(folder_text, given.data_folder))
        return;
    char* slash = strrchr(folder_text, '/');
    if (slash)
        *slash = 0;
    if (database->data_folder.set(folder_text))
        debug_printf(&installer_debug, "XML Path: %s\n", database->data_folder.path());
}

[[noreturn]] void no_installation_data()
{
    show_system_message("No installation data found!", "Make sure you have got all required files.");
    exit_with_error("No installation data found!");
}

[[noreturn]] void damaged_installer()
{
    const char* hint = "The file is shorter than it should be or its contents changed. Download or copy the installer again.";
    show_system_message("The installer file is damaged", hint);
    exit_with_error("The installer file is damaged");
}

} // namespace

void application_start(INT_S16 argc, char** argv)
{
    parse_installer_options(argc, argv, &options, generate_skin, run_patch_differ);
    database = new (std::nothrow) DATABASE();
    if (!database)
        exit_with_error("Out of memory");
    database->platform_code = options.platform_code;
    apply_data_folder(options);

    if (options.mode != MODE_WIZARD) {
        INT_S32 status = 1;
        switch (options.mode) {
        case MODE_UNATTENDED: status = run_unattended(database, options); break;
        case MODE_CHECK: status = run_integrity_check(); break;
        case MODE_LIST: status = run_listing(database, options); break;
        case MODE_EXTRACT: status = run_extraction(database, options); break;
        case MODE_LICENCE: status = run_show_licence(database, options); break;
        case MODE_WIZARD: break;
        }
        delete database;
        database = nullptr;
        exit_with_status(status);
    }

    switch (unpack_own_data_set(database, nullptr, nullptr, nullptr)) {
    case UNPACK_DAMAGED:
        damaged_installer();
    case UNPACK_INTERRUPTED:
        exit_with_error(nullptr);
    case UNPACK_DONE:
    case UNPACK_NO_DATA_SET:
    case UNPACK_FAILED:
        break; // a failed unpack shows as missing data below
    }
    if (!database->load_data_set("installer.pkg")) {
        delete_temporary_package();
        no_installation_data();
    }

    // The graphical wizard needs the display layer, which this build does not have yet: say so
    // plainly and point at the install that works without it.
    delete_temporary_package();
    show_system_message("No graphical wizard",
        "This installer build has no window of its own yet. Run it with -a to install without one (see -h).");
    exit_with_error("No graphical wizard in this build; run with -a.");
}

bool application_update()
{
    return false;
}

void application_shutdown()
{
    if (database)
        database->reset();
    delete database;
    database = nullptr;
    delete_temporary_package();
}

extern const APPLICATION_RECORD installer_application_record;

int main(int argc, char** argv, char** envp)
{
    static const APPLICATION installer_application = {
        &installer_application_record, application_start, application_update, application_shutdown,
    };
    return run_application_frame(argc, argv, envp, installer_application);
}
