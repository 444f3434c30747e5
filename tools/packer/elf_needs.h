// What an ELF program asks of the machine that runs it, read from its bytes: the shared
// libraries it names, its loader, and the newest C library symbol version among the versions
// it binds to. "packer info" shows these for the run-time in front of an installer, so that a
// publisher sees which systems the installer can start on.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "base/orlu_types.h"

struct ELF_NEEDS {
    std::vector<std::string> libraries;      // DT_NEEDED entries, in the program's order
    std::string interpreter;                 // the loader named by PT_INTERP, empty when none
    std::string newest_c_library;            // e.g. "GLIBC_2.34"; empty when no GLIBC_ version is needed
    std::vector<std::string> other_c_library; // GLIBC_ names that are not release numbers (GLIBC_PRIVATE)
    std::string build_id;                    // the GNU build id in hexadecimal, empty when none
    bool has_debug_info { false };           // a .debug_info section is present
    INT_U32 sections { 0 };                  // section headers read
};

// Reads the ELF image `bytes` (32 or 64 bits, either byte order). Every offset, size and count
// is checked against `size`; a damaged or hostile file gives false or a partial answer, never a
// read outside the bytes. False when the bytes are not an ELF file at all.
[[nodiscard]] bool read_elf_needs(const INT_U8* bytes, size_t size, ELF_NEEDS* out);

// Orders two "GLIBC_x.y[.z]" names by release: negative, zero or positive like strcmp. A name
// that is not a release number sorts below every release.
int compare_c_library_versions(const char* a, const char* b);
