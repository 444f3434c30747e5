// The packer's reading of a program's needs: real programs checked against binutils, made-up
// ones of every class and byte order, and damaged ones that must not lead it astray.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"
#include "tools/packer/elf_needs.h"

namespace {

// --- A small ELF file made to measure -------------------------------------------------------

struct ELF_PARTS {
    bool wide { true };
    bool big_endian { false };
    std::vector<std::string> libraries { "libm.so.6", "libc.so.6" };
    // Version names needed, by library.
    std::vector<std::pair<std::string, std::vector<std::string>>> versions {
        { "libm.so.6", { "GLIBC_2.29", "GLIBC_2.2.5" } },
        { "libc.so.6", { "GLIBC_2.3", "GLIBC_PRIVATE", "GLIBC_2.17", "GLIBC_2.3.4" } },
    };
    std::string interpreter { "/lib/ld-test.so.1" };
    std::vector<INT_U8> build_id { 0xde, 0xad, 0xbe, 0xef, 0x01 };
    bool debug_info { false };
};

class ELF_WRITER {
public:
    explicit ELF_WRITER(bool big_endian) : m_big_endian(big_endian) { }

    void put(std::vector<INT_U8>* out, INT_U64 value, int width) const
    {
        for (int i = 0; i < width; ++i) {
            int shift = m_big_endian ? 8 * (width - 1 - i) : 8 * i;
            out->push_back(static_cast<INT_U8>(value >> shift));
        }
    }
    void set(std::vector<INT_U8>* out, size_t at, INT_U64 value, int width) const
    {
        std::vector<INT_U8> bytes;
        put(&bytes, value, width);
        memcpy(out->data() + at, bytes.data(), bytes.size());
    }

private:
    bool m_big_endian;
};

// Adds `text` to a string table and answers its offset.
INT_U32 add_text(std::string* table, const std::string& text)
{
    INT_U32 at = static_cast<INT_U32>(table->size());
    table->append(text);
    table->push_back(0);
    return at;
}

// Answers the file; `section_offsets`, when given, receives where each section's bytes start
// (1 .interp, 2 .dynstr, 3 .dynamic, 4 .gnu.version_r, 5 the build id note).
std::vector<INT_U8> make_elf(const ELF_PARTS& parts, std::vector<size_t>* section_offsets = nullptr)
{
    ELF_WRITER w(parts.big_endian);
    const int word = parts.wide ? 8 : 4;
    const size_t header_size = parts.wide ? 64 : 52;
    const size_t program_entry = parts.wide ? 56 : 32;
    const size_t section_entry = parts.wide ? 64 : 40;

    std::string names(1, '\0'), dynstr(1, '\0');
    std::vector<INT_U8> dynamic, needs, note;
    for (const std::string& library : parts.libraries) {
        w.put(&dynamic, 1, word);
        w.put(&dynamic, add_text(&dynstr, library), word);
    }
    w.put(&dynamic, 0, word);
    w.put(&dynamic, 0, word);
    for (size_t f = 0; f < parts.versions.size(); ++f) {
        const auto& file = parts.versions[f];
        bool last_file = f + 1 == parts.versions.size();
        w.put(&needs, 1, 2);
        w.put(&needs, file.second.size(), 2);
        w.put(&needs, add_text(&dynstr, file.first), 4);
        w.put(&needs, 16, 4);
        w.put(&needs, last_file ? 0 : 16 + 16 * file.second.size(), 4);
        for (size_t v = 0; v < file.second.size(); ++v) {
            w.put(&needs, 0x0d696910, 4);
            w.put(&needs, 0, 2);
            w.put(&needs, 2 + v, 2);
            w.put(&needs, add_text(&dynstr, file.second[v]), 4);
            w.put(&needs, v + 1 == file.second.size() ? 0 : 16, 4);
        }
    }
    if (!parts.build_id.empty()) {
        w.put(&note, 4, 4);
        w.put(&note, parts.build_id.size(), 4);
        w.put(&note, 3, 4);
        note.insert(note.end(), { 'G', 'N', 'U', 0 });
        note.insert(note.end(), parts.build_id.begin(), parts.build_id.end());
        while (note.size() % 4)
            note.push_back(0);
    }
    std::vector<INT_U8> interp(parts.interpreter.begin(), parts.interpreter.end());
    interp.push_back(0);

    struct SECTION_PLAN {
        std::string name;
        INT_U32 type;
        std::vector<INT_U8> bytes;
        INT_U32 link;
    };
    std::vector<SECTION_PLAN> sections = {
        { "", 0, {}, 0 },
        { ".interp", 1, interp, 0 },
        { ".dynstr", 3, std::vector<INT_U8>(dynstr.begin(), dynstr.end()), 0 },
        { ".dynamic", 6, dynamic, 2 },
        { ".gnu.version_r", 0x6FFFFFFE, needs, 2 },
        { ".note.gnu.build-id", 7, note, 0 },
    };
    if (parts.debug_info)
        sections.push_back({ ".debug_info", 1, { 1, 2, 3, 4 }, 0 });
    std::vector<INT_U32> name_offsets;
    for (const SECTION_PLAN& section : sections)
        name_offsets.push_back(add_text(&names, section.name));
    sections.push_back({ ".shstrtab", 3, std::vector<INT_U8>(names.begin(), names.end()), 0 });
    name_offsets.push_back(add_text(&names, ".shstrtab"));
    sections.back().bytes.assign(names.begin(), names.end());

    // Layout: header, one program header, the sections' bytes, the section headers.
    std::vector<INT_U8> file(header_size + program_entry, 0);
    std::vector<size_t> offsets;
    for (const SECTION_PLAN& section : sections) {
        while (file.size() % 8)
            file.push_back(0);
        offsets.push_back(file.size());
        file.insert(file.end(), section.bytes.begin(), section.bytes.end());
    }
    while (file.size() % 8)
        file.push_back(0);
    size_t section_table = file.size();
    for (size_t i = 0; i < sections.size(); ++i) {
        std::vector<INT_U8> entry;
        w.put(&entry, name_offsets[i], 4);
        w.put(&entry, sections[i].type, 4);
        w.put(&entry, 0, word);                        // flags
        w.put(&entry, 0, word);                        // address
        w.put(&entry, offsets[i], word);
        w.put(&entry, sections[i].bytes.size(), word);
        w.put(&entry, sections[i].link, 4);
        w.put(&entry, 0, 4);                           // info
        w.put(&entry, 1, word);                        // alignment
        w.put(&entry, 0, word);                        // entry size
        EXPECT_EQ(entry.size(), section_entry);
        file.insert(file.end(), entry.begin(), entry.end());
    }

    memcpy(file.data(), "\x7F" "ELF", 4);
    file[4] = parts.wide ? 2 : 1;
    file[5] = parts.big_endian ? 2 : 1;
    file[6] = 1;
    w.set(&file, 16, 3, 2); // a position-independent executable
    size_t fields = parts.wide ? 54 : 42;
    w.set(&file, parts.wide ? 32 : 28, header_size, word);
    w.set(&file, parts.wide ? 40 : 32, section_table, word);
    w.set(&file, fields, program_entry, 2);
    w.set(&file, fields + 2, 1, 2);
    w.set(&file, fields + 4, section_entry, 2);
    w.set(&file, fields + 6, sections.size(), 2);
    w.set(&file, fields + 8, sections.size() - 1, 2);
    // The one program header: PT_INTERP.
    size_t program = header_size;
    w.set(&file, program, 3, 4);
    if (parts.wide) {
        w.set(&file, program + 8, offsets[1], 8);
        w.set(&file, program + 32, interp.size(), 8);
    } else {
        w.set(&file, program + 4, offsets[1], 4);
        w.set(&file, program + 16, interp.size(), 4);
    }
    if (section_offsets)
        *section_offsets = offsets;
    return file;
}

ELF_NEEDS read_needs(const std::vector<INT_U8>& bytes, bool* ok = nullptr)
{
    ELF_NEEDS needs;
    bool read = read_elf_needs(bytes.data(), bytes.size(), &needs);
    if (ok)
        *ok = read;
    return needs;
}

std::string joined(const std::vector<std::string>& list)
{
    std::string out;
    for (const std::string& item : list)
        out += (out.empty() ? "" : " ") + item;
    return out;
}

std::vector<std::string> words_after(const std::string& text, const std::string& marker)
{
    std::vector<std::string> found;
    for (size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at + 1)) {
        size_t start = at + marker.size();
        size_t end = text.find_first_of("] \n)", start);
        found.push_back(text.substr(start, end - start));
    }
    return found;
}

} // namespace

TEST(ELF_NEEDS, made_up_programs_of_both_classes_and_byte_orders)
{
    for (bool wide : { true, false }) {
        for (bool big_endian : { false, true }) {
            ELF_PARTS parts;
            parts.wide = wide;
            parts.big_endian = big_endian;
            bool ok = false;
            ELF_NEEDS needs = read_needs(make_elf(parts), &ok);
            SCOPED_TRACE(std::string(wide ? "64" : "32") + (big_endian ? " big" : " little"));
            ASSERT_TRUE(ok);
            EXPECT_EQ(joined(needs.libraries), "libm.so.6 libc.so.6");
            EXPECT_EQ(needs.interpreter, "/lib/ld-test.so.1");
            // 2.29 beats 2.17, 2.3.4, 2.3 and 2.2.5: numbers, not text, decide.
            EXPECT_EQ(needs.newest_c_library, "GLIBC_2.29");
            EXPECT_EQ(joined(needs.other_c_library), "GLIBC_PRIVATE");
            EXPECT_EQ(needs.build_id, "deadbeef01");
            EXPECT_FALSE(needs.has_debug_info);
            EXPECT_EQ(needs.sections, 7u);
        }
    }

    ELF_PARTS bare;
    bare.libraries.clear();
    bare.versions = { { "libfoo.so.1", { "FOO_1.0" } } };
    bare.build_id.clear();
    bare.interpreter.clear();
    bare.debug_info = true;
    ELF_NEEDS needs = read_needs(make_elf(bare));
    EXPECT_TRUE(needs.libraries.empty());
    EXPECT_EQ(needs.newest_c_library, "");
    EXPECT_TRUE(needs.other_c_library.empty());
    EXPECT_EQ(needs.build_id, "");
    EXPECT_EQ(needs.interpreter, "");
    EXPECT_TRUE(needs.has_debug_info);
}

TEST(ELF_NEEDS, c_library_versions_order_by_release)
{
    EXPECT_LT(compare_c_library_versions("GLIBC_2.2.5", "GLIBC_2.3"), 0);
    EXPECT_LT(compare_c_library_versions("GLIBC_2.3", "GLIBC_2.3.4"), 0);
    EXPECT_LT(compare_c_library_versions("GLIBC_2.9", "GLIBC_2.17"), 0);
    EXPECT_GT(compare_c_library_versions("GLIBC_2.35", "GLIBC_2.34"), 0);
    EXPECT_GT(compare_c_library_versions("GLIBC_3", "GLIBC_2.99"), 0);
    EXPECT_EQ(compare_c_library_versions("GLIBC_2.34", "GLIBC_2.34"), 0);
    // Names that are not releases sort below all releases, among themselves by text.
    for (const char* odd : { "GLIBC_PRIVATE", "GLIBC_ABI_DT_RELR", "GLIBC_2.", "GLIBC_2..3", "GLIBC_99999", "GCC_3.0", "" }) {
        EXPECT_LT(compare_c_library_versions(odd, "GLIBC_2.0"), 0) << odd;
        EXPECT_GT(compare_c_library_versions("GLIBC_2.0", odd), 0) << odd;
        EXPECT_EQ(compare_c_library_versions(odd, odd), 0) << odd;
    }
    EXPECT_LT(compare_c_library_versions("GLIBC_ABI_DT_RELR", "GLIBC_PRIVATE"), 0);
}

TEST(ELF_NEEDS, real_programs_agree_with_binutils)
{
    // The run-time as built (static or not, by flavour) and the packer, a test program with all
    // its shared libraries and the run-time's own separate debug file when there is one.
    for (const std::string& program : { installer_path(), packer_path(), std::string(ORLU_BUILD_DIR) + "/tests/test_tools" }) {
        SCOPED_TRACE(program);
        std::string bytes = read_file(program);
        ASSERT_FALSE(bytes.empty());
        ELF_NEEDS needs;
        ASSERT_TRUE(read_elf_needs(reinterpret_cast<const INT_U8*>(bytes.data()), bytes.size(), &needs));

        RUN_RESULT dynamic = run_program("/usr/bin/readelf", { "-d", "-n", "-l", "-S", "-W", program });
        ASSERT_EQ(dynamic.status, 0) << dynamic.errors;
        EXPECT_EQ(joined(needs.libraries), joined(words_after(dynamic.output, "Shared library: [")));
        std::vector<std::string> interpreters = words_after(dynamic.output, "[Requesting program interpreter: ");
        EXPECT_EQ(needs.interpreter, interpreters.empty() ? "" : interpreters[0]);
        std::vector<std::string> ids = words_after(dynamic.output, "Build ID: ");
        EXPECT_EQ(needs.build_id, ids.empty() ? "" : ids[0]);
        EXPECT_EQ(needs.has_debug_info, dynamic.output.find(" .debug_info ") != std::string::npos);

        RUN_RESULT versions = run_program("/usr/bin/readelf", { "-V", "-W", program });
        ASSERT_EQ(versions.status, 0) << versions.errors;
        std::string newest;
        for (const std::string& name : words_after(versions.output, "Name: GLIBC_")) {
            std::string full = "GLIBC_" + name;
            if (compare_c_library_versions(full.c_str(), "GLIBC_0") >= 0
                && (newest.empty() || compare_c_library_versions(full.c_str(), newest.c_str()) > 0))
                newest = full;
        }
        EXPECT_FALSE(newest.empty());
        EXPECT_EQ(needs.newest_c_library, newest);
    }
}

TEST(ELF_NEEDS, damaged_programs_are_read_within_their_bytes)
{
    std::vector<INT_U8> good = make_elf(ELF_PARTS());
    ELF_NEEDS needs;
    // Not ELF at all.
    EXPECT_FALSE(read_elf_needs(nullptr, 0, &needs));
    std::vector<INT_U8> text(100, 'x');
    EXPECT_FALSE(read_elf_needs(text.data(), text.size(), &needs));
    std::vector<INT_U8> odd_class = good;
    odd_class[4] = 3;
    EXPECT_FALSE(read_elf_needs(odd_class.data(), odd_class.size(), &needs));

    // Every cut of the file: read without going past its end (the sanitizer build checks that),
    // and nothing found that the cut took away.
    for (size_t size = 0; size < good.size(); ++size) {
        std::vector<INT_U8> cut(good.begin(), good.begin() + size);
        ASSERT_EQ(read_elf_needs(cut.data(), cut.size(), &needs), size >= 64) << size;
        EXPECT_LE(needs.libraries.size(), 2u);
    }

    // The version chains go by relative offsets added up, so they only go forward: a link that
    // would point back in 32-bit arithmetic points past the section instead, and a count far
    // above the names there stops at the section's end.
    ELF_PARTS parts;
    parts.versions = { { "libc.so.6", { "GLIBC_2.1", "GLIBC_2.40" } } };
    std::vector<size_t> offsets;
    std::vector<INT_U8> looping = make_elf(parts, &offsets);
    EXPECT_EQ(read_needs(looping).newest_c_library, "GLIBC_2.40");
    ELF_WRITER w(false);
    w.set(&looping, offsets[4] + 16 + 12, 0xFFFFFFF0u, 4);
    EXPECT_EQ(read_needs(looping).newest_c_library, "GLIBC_2.1");
    std::vector<INT_U8> counted = make_elf(parts);
    w.set(&counted, offsets[4] + 2, 0xFFFF, 2);
    w.set(&counted, offsets[4] + 32 + 12, 16, 4);
    EXPECT_EQ(read_needs(counted).newest_c_library, "GLIBC_2.40");

    // Strings that run off the end of their table are not read.
    std::vector<INT_U8> unterminated = make_elf(parts);
    std::string name = "GLIBC_2.40";
    auto at = std::search(unterminated.begin(), unterminated.end(), name.begin(), name.end());
    ASSERT_NE(at, unterminated.end());
    // Fill from the name to the end of .dynstr with letters, so no zero ends the last names.
    auto end = at;
    while (*end)
        ++end;
    std::fill(at, end + 1, 'Z');
    ELF_NEEDS damaged = read_needs(unterminated);
    EXPECT_EQ(damaged.newest_c_library, "GLIBC_2.1");

    // A section table said to lie beyond the file is not read at all.
    std::vector<INT_U8> far = good;
    far[40 + 6] = 0x7F;
    bool ok = false;
    ELF_NEEDS none = read_needs(far, &ok);
    EXPECT_TRUE(ok);
    EXPECT_TRUE(none.libraries.empty());
    EXPECT_EQ(none.interpreter, "/lib/ld-test.so.1");
}
