// Feeds arbitrary bytes to the package reader as a package file: opening, listing every member
// and extracting each (to a file and read in place), with and without the cached index. Nothing may crash, hang or allocate
// without bound.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>

#include "io/folder.h"
#include "io/package.h"

namespace {

struct WALK {
    PACKAGE* package;
    FOLDER* folder;
    int extracted;
};

void extract_member(const char* name, INT_U64, void* context)
{
    WALK* walk = static_cast<WALK*>(context);
    if (walk->extracted++ >= 16)
        return;
    walk->package->extract_file(*walk->folder, "member.out", name);
    PACKAGE_MEMBER_READER reader;
    if (!reader.open(walk->package, name))
        return;
    static char buffer[3000];
    while (reader.read(buffer, sizeof buffer) > 0) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static FOLDER folder("$TEMP");
    FILE* file = folder.open_stream("fuzz.pkg", "wb");
    if (!file)
        return 0;
    fwrite(data, 1, size, file);
    fclose(file);
    for (bool cached : { false, true }) {
        PACKAGE package(folder, "fuzz.pkg", false, 0, cached, true);
        if (!package.is_open())
            continue;
        WALK walk { &package, &folder, 0 };
        package.list_members(extract_member, &walk);
        PACKAGE_DATA_FILE* member = package.open_member_data("database.bin", FILE_READ, ORDER_MARKER_IN_FILE);
        PACKAGE::close_member_data(&member);
    }
    (void)folder.delete_file("member.out");
    return 0;
}
