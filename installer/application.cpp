// The installer's three frame callbacks: start-up and the choice of mode, one pass of the main
// loop, and shutdown.

#include <cstdio>

#include "application_frame.h"
#include "host.h"
#include "installer_debug.h"
#include "installer_options.h"
#include "skin.h"

namespace {

INSTALLER_OPTIONS options;

bool load_data_set()
{
    // The installation database arrives with the package reader; until then no data set loads.
    return false;
}

void run_automatic()
{
    host_print("Loading automatic pack...\n");
    if (!load_data_set()) {
        host_print("ERROR: unable to load data\n");
        host_print("Done\n");
        exit_with_error(nullptr);
    }
    host_print("Done\n");
    exit_with_error(nullptr);
}

} // namespace

void application_start(INT_S16 argc, char** argv)
{
    parse_installer_options(argc, argv, &options, generate_skin, nullptr);
    if (options.automatic)
        run_automatic();

    if (!load_data_set()) {
        show_system_message("No installation data found!", "Make sure you have got all required files.");
        exit_with_error("No installation data found!");
    }
}

bool application_update()
{
    return false;
}

void application_shutdown() {}

void application_reserved_a() {}
void application_reserved_b() {}
