// The publisher's packer: builds finished installers and looks inside packages.

#include <csignal>
#include <cstdio>
#include <cstring>

#include "host/host.h"
#include "packer_common.h"

namespace {

void print_help()
{
    printf("Usage: packer COMMAND [ARGUMENTS]\n\n"
           "Commands:\n"
           "  build CONFIG -o FILE              make a finished installer (packer build --help)\n"
           "  info FILE                         show what a finished installer or a package holds\n"
           "  pkg list|extract|add|create ...   look inside a package or change it (packer pkg --help)\n"
           "  --help                            show this text\n");
}

// Runs inside the signal handler: the loops of the packer and of the packages it writes see the
// request and give up, and the usual failure paths remove what was half made.
void on_signal(int signal_number)
{
    host_request_stop(signal_number);
}

int run_command(int argc, char** argv)
{
    if (strcmp(argv[1], "build") == 0)
        return run_build_command(argc - 1, argv + 1);
    if (strcmp(argv[1], "info") == 0)
        return run_info_command(argc - 1, argv + 1);
    if (strcmp(argv[1], "pkg") == 0)
        return run_pkg_command(argc - 1, argv + 1);
    packer_error("unknown command '%s' (see packer --help)", argv[1]);
    return PACKER_USAGE;
}

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    if (argc < 2 || strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
        print_help();
        return argc < 2 ? PACKER_USAGE : PACKER_OK;
    }
    static const int signals[] = { SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM };
    host_catch_signals(signals, static_cast<INT_S32>(sizeof signals / sizeof signals[0]), on_signal);
    int status = run_command(argc, argv);
    if (!host_stop_requested())
        return status;
    // The temporary files lie in the run's private folder, which goes at exit.
    int signal_number = host_stop_signal();
    packer_error("interrupted by %s; nothing was written", host_signal_name(signal_number));
    return 128 + signal_number;
}
