// Reading an ELF program's needs: section headers for the dynamic section, the version needs
// and the build id note; program headers for the loader. Only what the file declares is read;
// nothing is mapped or run. The bytes are untrusted: every table is bounded by its section and
// by the file, every string must end inside its string table, every chain must move forward.

#include "elf_needs.h"

#include <cstring>

namespace {

constexpr INT_U32 SECTION_STRTAB = 3;
constexpr INT_U32 SECTION_DYNAMIC = 6;
constexpr INT_U32 SECTION_NOTE = 7;
constexpr INT_U32 SECTION_VERSION_NEEDS = 0x6FFFFFFE;
constexpr INT_U32 SEGMENT_INTERP = 3;
constexpr INT_U64 DYNAMIC_NULL = 0;
constexpr INT_U64 DYNAMIC_NEEDED = 1;
constexpr INT_U32 NOTE_GNU_BUILD_ID = 3;

// Nothing real comes near these; they only stop a hostile file from making the reader slow.
constexpr size_t MOST_LIBRARIES = 1024;
constexpr INT_U32 MOST_VERSION_FILES = 1024;
constexpr INT_U32 MOST_VERSIONS_PER_FILE = 1024;
constexpr size_t MOST_BUILD_ID_BYTES = 64;
constexpr size_t MOST_NAME_LENGTH = 4096;

class ELF_READER {
public:
    ELF_READER(const INT_U8* bytes, size_t size) : m_bytes(bytes), m_size(size) { }

    // The identification bytes: class and byte order. False for anything but ELF.
    bool start()
    {
        if (m_size < 52 || memcmp(m_bytes, "\x7F" "ELF", 4) != 0)
            return false;
        if (m_bytes[4] != 1 && m_bytes[4] != 2)
            return false;
        if (m_bytes[5] != 1 && m_bytes[5] != 2)
            return false;
        m_wide = m_bytes[4] == 2;
        m_big_endian = m_bytes[5] == 2;
        return !m_wide || m_size >= 64;
    }

    bool wide() const { return m_wide; }

    // True when [offset, offset + length) lies inside the file.
    bool holds(INT_U64 offset, INT_U64 length) const { return offset <= m_size && length <= m_size - offset; }

    INT_U64 number(INT_U64 offset, INT_U32 width) const
    {
        if (!holds(offset, width))
            return 0;
        INT_U64 value = 0;
        for (INT_U32 i = 0; i < width; ++i) {
            INT_U32 shift = m_big_endian ? 8 * (width - 1 - i) : 8 * i;
            value |= static_cast<INT_U64>(m_bytes[offset + i]) << shift;
        }
        return value;
    }
    INT_U64 u16(INT_U64 offset) const { return number(offset, 2); }
    INT_U64 u32(INT_U64 offset) const { return number(offset, 4); }
    // A word of the file's class: 4 bytes in a 32-bit file, 8 in a 64-bit one.
    INT_U64 word(INT_U64 offset) const { return number(offset, m_wide ? 8 : 4); }

    // The text at `offset` inside [table, table + table_size), which must end there.
    bool text(INT_U64 table, INT_U64 table_size, INT_U64 offset, std::string* out) const
    {
        if (!holds(table, table_size) || offset >= table_size)
            return false;
        const char* start = reinterpret_cast<const char*>(m_bytes + table + offset);
        size_t room = static_cast<size_t>(table_size - offset);
        if (room > MOST_NAME_LENGTH)
            room = MOST_NAME_LENGTH;
        const void* end = memchr(start, 0, room);
        if (!end)
            return false;
        out->assign(start, static_cast<const char*>(end) - start);
        return true;
    }

    const INT_U8* at(INT_U64 offset) const { return m_bytes + offset; }

private:
    const INT_U8* m_bytes;
    size_t m_size;
    bool m_wide { false };
    bool m_big_endian { false };
};

struct SECTION {
    INT_U32 name { 0 };
    INT_U32 type { 0 };
    INT_U64 offset { 0 };
    INT_U64 size { 0 };
    INT_U32 link { 0 };
};

SECTION read_section(const ELF_READER& elf, INT_U64 header)
{
    SECTION section;
    section.name = static_cast<INT_U32>(elf.u32(header));
    section.type = static_cast<INT_U32>(elf.u32(header + 4));
    if (elf.wide()) {
        section.offset = elf.word(header + 24);
        section.size = elf.word(header + 32);
        section.link = static_cast<INT_U32>(elf.u32(header + 40));
    } else {
        section.offset = elf.word(header + 16);
        section.size = elf.word(header + 20);
        section.link = static_cast<INT_U32>(elf.u32(header + 24));
    }
    return section;
}

void read_needed_libraries(const ELF_READER& elf, const SECTION& dynamic, const SECTION& strings, ELF_NEEDS* out)
{
    if (!elf.holds(dynamic.offset, dynamic.size))
        return;
    INT_U64 entry_size = elf.wide() ? 16 : 8;
    for (INT_U64 at = 0; at + entry_size <= dynamic.size; at += entry_size) {
        INT_U64 tag = elf.word(dynamic.offset + at);
        if (tag == DYNAMIC_NULL)
            return;
        if (tag != DYNAMIC_NEEDED || out->libraries.size() >= MOST_LIBRARIES)
            continue;
        std::string name;
        if (elf.text(strings.offset, strings.size, elf.word(dynamic.offset + at + entry_size / 2), &name))
            out->libraries.push_back(name);
    }
}

void note_c_library_version(const std::string& name, ELF_NEEDS* out)
{
    if (name.compare(0, 6, "GLIBC_") != 0)
        return;
    if (compare_c_library_versions(name.c_str(), "GLIBC_0") < 0) {
        for (const std::string& known : out->other_c_library) {
            if (known == name)
                return;
        }
        if (out->other_c_library.size() < MOST_LIBRARIES)
            out->other_c_library.push_back(name);
        return;
    }
    if (out->newest_c_library.empty() || compare_c_library_versions(name.c_str(), out->newest_c_library.c_str()) > 0)
        out->newest_c_library = name;
}

// The version needs: a chain of records, one for each library, each with a chain of the version
// names it needs from it. Both chains go by relative offsets, which must be positive so that a
// chain cannot turn back on itself.
void read_version_needs(const ELF_READER& elf, const SECTION& needs, const SECTION& strings, ELF_NEEDS* out)
{
    if (!elf.holds(needs.offset, needs.size))
        return;
    INT_U64 record = 0;
    for (INT_U32 files = 0; files < MOST_VERSION_FILES && record + 16 <= needs.size; ++files) {
        INT_U64 base = needs.offset + record;
        INT_U64 count = elf.u16(base + 2);
        INT_U64 version = record + elf.u32(base + 8);
        for (INT_U64 n = 0; n < count && n < MOST_VERSIONS_PER_FILE && version + 16 <= needs.size; ++n) {
            INT_U64 entry = needs.offset + version;
            std::string name;
            if (elf.text(strings.offset, strings.size, elf.u32(entry + 8), &name))
                note_c_library_version(name, out);
            INT_U64 next = elf.u32(entry + 12);
            if (next == 0)
                break;
            version += next;
        }
        INT_U64 next = elf.u32(base + 12);
        if (next == 0)
            return;
        record += next;
    }
}

void read_build_id(const ELF_READER& elf, const SECTION& notes, ELF_NEEDS* out)
{
    if (!elf.holds(notes.offset, notes.size))
        return;
    INT_U64 at = 0;
    while (at + 12 <= notes.size) {
        INT_U64 base = notes.offset + at;
        INT_U64 name_size = elf.u32(base);
        INT_U64 description_size = elf.u32(base + 4);
        INT_U64 type = elf.u32(base + 8);
        INT_U64 name_room = (name_size + 3) & ~INT_U64(3);
        INT_U64 description_room = (description_size + 3) & ~INT_U64(3);
        if (name_room > notes.size - at - 12 || description_room > notes.size - at - 12 - name_room)
            return;
        const INT_U8* name = elf.at(base + 12);
        const INT_U8* description = elf.at(base + 12 + name_room);
        if (type == NOTE_GNU_BUILD_ID && name_size == 4 && memcmp(name, "GNU", 4) == 0 && description_size > 0
            && description_size <= MOST_BUILD_ID_BYTES) {
            static const char digits[] = "0123456789abcdef";
            out->build_id.clear();
            for (INT_U64 i = 0; i < description_size; ++i) {
                out->build_id += digits[description[i] >> 4];
                out->build_id += digits[description[i] & 15];
            }
            return;
        }
        at += 12 + name_room + description_room;
    }
}

void read_interpreter(const ELF_READER& elf, INT_U64 table, INT_U64 entry_size, INT_U64 count, ELF_NEEDS* out)
{
    INT_U64 wanted = elf.wide() ? 56 : 32;
    if (entry_size < wanted)
        return;
    for (INT_U64 i = 0; i < count; ++i) {
        INT_U64 header = table + i * entry_size;
        if (!elf.holds(header, wanted))
            return;
        if (elf.u32(header) != SEGMENT_INTERP)
            continue;
        INT_U64 offset = elf.wide() ? elf.word(header + 8) : elf.word(header + 4);
        INT_U64 size = elf.wide() ? elf.word(header + 32) : elf.word(header + 16);
        std::string name;
        if (elf.text(offset, size, 0, &name))
            out->interpreter = name;
        return;
    }
}

} // namespace

int compare_c_library_versions(const char* a, const char* b)
{
    // Up to four numbers of up to four digits each: enough for every release there is, and no
    // overflow for any text.
    auto parse = [](const char* name, INT_U32* parts) {
        for (int i = 0; i < 4; ++i)
            parts[i] = 0;
        if (strncmp(name, "GLIBC_", 6) != 0)
            return false;
        const char* at = name + 6;
        for (int part = 0; part < 4; ++part) {
            int digits = 0;
            while (*at >= '0' && *at <= '9' && digits < 5) {
                parts[part] = parts[part] * 10 + static_cast<INT_U32>(*at++ - '0');
                ++digits;
            }
            if (digits == 0 || digits > 4)
                return false;
            if (*at == 0)
                return true;
            if (*at++ != '.')
                return false;
        }
        return false;
    };
    INT_U32 left[4], right[4];
    bool left_release = parse(a, left);
    bool right_release = parse(b, right);
    if (left_release != right_release)
        return left_release ? 1 : -1;
    if (!left_release)
        return strcmp(a, b) < 0 ? -1 : strcmp(a, b) > 0;
    for (int i = 0; i < 4; ++i) {
        if (left[i] != right[i])
            return left[i] < right[i] ? -1 : 1;
    }
    return 0;
}

bool read_elf_needs(const INT_U8* bytes, size_t size, ELF_NEEDS* out)
{
    *out = ELF_NEEDS();
    ELF_READER elf(bytes, size);
    if (!bytes || !elf.start())
        return false;

    INT_U64 program_table = elf.wide() ? elf.word(32) : elf.word(28);
    INT_U64 section_table = elf.wide() ? elf.word(40) : elf.word(32);
    INT_U64 fields = elf.wide() ? 54 : 42;
    INT_U64 program_entry_size = elf.u16(fields);
    INT_U64 program_count = elf.u16(fields + 2);
    INT_U64 section_entry_size = elf.u16(fields + 4);
    INT_U64 section_count = elf.u16(fields + 6);
    INT_U64 names_index = elf.u16(fields + 8);
    read_interpreter(elf, program_table, program_entry_size, program_count, out);

    INT_U64 wanted = elf.wide() ? 64 : 40;
    if (section_entry_size < wanted || section_count == 0)
        return true;
    if (!elf.holds(section_table, section_count * section_entry_size))
        return true;
    auto section_at = [&](INT_U64 index) { return read_section(elf, section_table + index * section_entry_size); };
    // A section's link names the string table its names are in; it must be one.
    auto strings_of = [&](const SECTION& section, SECTION* strings) {
        if (section.link >= section_count)
            return false;
        *strings = section_at(section.link);
        return strings->type == SECTION_STRTAB;
    };
    SECTION names;
    bool named = names_index < section_count && (names = section_at(names_index)).type == SECTION_STRTAB;

    for (INT_U64 i = 0; i < section_count; ++i) {
        SECTION section = section_at(i);
        SECTION strings;
        ++out->sections;
        std::string name;
        if (named && elf.text(names.offset, names.size, section.name, &name) && name == ".debug_info")
            out->has_debug_info = true;
        switch (section.type) {
        case SECTION_DYNAMIC:
            if (strings_of(section, &strings))
                read_needed_libraries(elf, section, strings, out);
            break;
        case SECTION_VERSION_NEEDS:
            if (strings_of(section, &strings))
                read_version_needs(elf, section, strings, out);
            break;
        case SECTION_NOTE:
            if (out->build_id.empty())
                read_build_id(elf, section, out);
            break;
        default:
            break;
        }
    }
    return true;
}
