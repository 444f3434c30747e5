// Fuzz target for the packer's reading of a program's needs ("packer info" on any file a
// publisher names). Whatever it finds must lie within the bounds the reader promises, and the
// newest C library version it reports must be one no other found version beats.
#include "tools/packer/elf_needs.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ELF_NEEDS needs;
    if (!read_elf_needs(data, size, &needs))
        return 0;
    if (needs.libraries.size() > 1024 || needs.other_c_library.size() > 1024 || needs.build_id.size() > 128
        || needs.build_id.size() % 2 != 0)
        __builtin_trap();
    for (const std::string& library : needs.libraries) {
        if (library.size() >= 4096)
            __builtin_trap();
    }
    if (!needs.newest_c_library.empty()) {
        if (compare_c_library_versions(needs.newest_c_library.c_str(), "GLIBC_0") < 0)
            __builtin_trap();
        for (const std::string& other : needs.other_c_library) {
            if (compare_c_library_versions(other.c_str(), needs.newest_c_library.c_str()) >= 0)
                __builtin_trap();
        }
    }
    return 0;
}
