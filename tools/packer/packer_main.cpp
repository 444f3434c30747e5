// The publisher's packer: builds finished installers and looks inside packages.

#include <cstdio>
#include <cstring>

namespace {

void print_help()
{
    printf("Usage: packer COMMAND [ARGUMENTS]\n\n"
           "Commands:\n"
           "  --help    show this text\n");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
        print_help();
        return argc < 2 ? 2 : 0;
    }
    fprintf(stderr, "packer: unknown command '%s' (see packer --help)\n", argv[1]);
    return 2;
}
