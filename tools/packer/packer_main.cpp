// The publisher's packer: builds finished installers and looks inside packages.

#include <cstdio>
#include <cstring>

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

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
        print_help();
        return argc < 2 ? PACKER_USAGE : PACKER_OK;
    }
    if (strcmp(argv[1], "build") == 0)
        return run_build_command(argc - 1, argv + 1);
    if (strcmp(argv[1], "info") == 0)
        return run_info_command(argc - 1, argv + 1);
    if (strcmp(argv[1], "pkg") == 0)
        return run_pkg_command(argc - 1, argv + 1);
    packer_error("unknown command '%s' (see packer --help)", argv[1]);
    return PACKER_USAGE;
}
