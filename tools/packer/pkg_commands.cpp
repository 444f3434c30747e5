// "packer pkg ...": looking inside packages and changing them by hand.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/error_report.h"
#include "io/package.h"
#include "packer_common.h"

namespace {

// Finished installers use blocks of 1024 bytes, so that is the default here too.
constexpr INT_S32 DEFAULT_BLOCK_SIZE = 1024;

struct LISTING {
    INT_U32 members { 0 };
    INT_U64 bytes { 0 };
};

void print_member(const char* name, INT_U64 size, void* context)
{
    LISTING* listing = static_cast<LISTING*>(context);
    printf("%12llu  %s\n", static_cast<unsigned long long>(size), name);
    ++listing->members;
    listing->bytes += size;
}

int pkg_list(const char* path)
{
    FOLDER folder;
    char name[256];
    if (!packer_locate(path, &folder, name, sizeof name))
        return PACKER_FAILED;
    PACKAGE package(folder, name, false, 0, true, true);
    if (!package.is_open())
        return packer_error("cannot open package '%s': %s", path, last_error_text());
    LISTING listing;
    bool whole = package.list_members(print_member, &listing);
    printf("%u member%s, %llu bytes, block size %u\n", listing.members, listing.members == 1 ? "" : "s",
        static_cast<unsigned long long>(listing.bytes), package.block_size());
    if (!whole)
        return packer_error("the package '%s' is damaged: %s", path, last_error_text());
    return PACKER_OK;
}

int pkg_extract(const char* path, const char* member, const char* out_path)
{
    FOLDER folder, out_folder;
    char name[256], out_name[256];
    if (!packer_locate(path, &folder, name, sizeof name) || !packer_locate(out_path, &out_folder, out_name, sizeof out_name))
        return PACKER_FAILED;
    PACKAGE package(folder, name, false, 0, true, true);
    if (!package.is_open())
        return packer_error("cannot open package '%s': %s", path, last_error_text());
    if (!package.extract_file(out_folder, out_name, member))
        return packer_error("cannot extract '%s' from '%s': %s", member, path, last_error_text());
    return PACKER_OK;
}

int pkg_add(const char* path, const char* file_path, const char* member)
{
    FOLDER folder, file_folder;
    char name[256], file_name[256];
    if (!packer_locate(path, &folder, name, sizeof name) || !packer_locate(file_path, &file_folder, file_name, sizeof file_name))
        return PACKER_FAILED;
    if (!file_folder.exists(file_name))
        return packer_error("cannot read '%s'", file_path);
    PACKAGE package(folder, name, true, DEFAULT_BLOCK_SIZE, true, false);
    if (!package.is_open())
        return packer_error("cannot open package '%s': %s", path, last_error_text());
    if (!package.add_file(file_folder, file_name, member ? member : file_name))
        return packer_error("cannot add '%s' to '%s': %s", file_path, path, last_error_text());
    return PACKER_OK;
}

int pkg_create(const char* path, const char* block_text)
{
    INT_S32 block_size = DEFAULT_BLOCK_SIZE;
    if (block_text) {
        char* end = nullptr;
        long value = strtol(block_text, &end, 10);
        if (!end || *end || value < 1 || value > static_cast<long>(PACKAGE_MAX_BLOCK_SIZE))
            return packer_error("block size must be a number from 1 to %u, not '%s'", PACKAGE_MAX_BLOCK_SIZE, block_text);
        block_size = static_cast<INT_S32>(value);
    }
    FOLDER folder;
    char name[256];
    if (!packer_locate(path, &folder, name, sizeof name))
        return PACKER_FAILED;
    if (folder.exists(name))
        return packer_error("'%s' exists already; remove it first", path);
    PACKAGE package(folder, name, true, block_size, false, false);
    if (!package.is_open())
        return packer_error("cannot create package '%s': %s", path, last_error_text());
    return PACKER_OK;
}

} // namespace

void print_pkg_help()
{
    printf("Usage: packer pkg COMMAND ARGUMENTS\n\n"
           "Look inside a package or change it by hand.\n\n"
           "  packer pkg list FILE                  list the members with their sizes\n"
           "  packer pkg extract FILE MEMBER OUT    write one member to the file OUT\n"
           "  packer pkg add FILE PATH [MEMBER]     add the file PATH as MEMBER (default: its name),\n"
           "                                        replacing a member of that name; the package\n"
           "                                        is created when it is missing\n"
           "  packer pkg create FILE [BLOCK_SIZE]   make a new empty package (block size 1024)\n");
}

int run_pkg_command(int argc, char** argv)
{
    // argv[0] is "pkg".
    if (argc < 2 || strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
        print_pkg_help();
        return argc < 2 ? PACKER_USAGE : PACKER_OK;
    }
    const char* command = argv[1];
    if (strcmp(command, "list") == 0 && argc == 3)
        return pkg_list(argv[2]);
    if (strcmp(command, "extract") == 0 && argc == 5)
        return pkg_extract(argv[2], argv[3], argv[4]);
    if (strcmp(command, "add") == 0 && (argc == 4 || argc == 5))
        return pkg_add(argv[2], argv[3], argc == 5 ? argv[4] : nullptr);
    if (strcmp(command, "create") == 0 && (argc == 3 || argc == 4))
        return pkg_create(argv[2], argc == 4 ? argv[3] : nullptr);
    packer_error("unknown or incomplete command: pkg %s (see packer pkg --help)", command);
    return PACKER_USAGE;
}
