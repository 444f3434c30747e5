// Placing files without following links, whole or not at all.
//
// [SECTION] Destination texts
// [SECTION] Writing
// [SECTION] Sweeping

#include "installer/engine/file_placer.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <strings.h>

#include "base/error_report.h"
#include "host/host.h"
#include "io/package.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Destination texts
// ---------------------------------------------------------------------------------------------

namespace {

// Appends "/" and `element` to a path, without doubling the slash of the root.
bool join(char* path, size_t size, const char* element)
{
    size_t length = strlen(path);
    const char* slash = length > 0 && path[length - 1] == '/' ? "" : "/";
    return snprintf(path + length, size - length, "%s%s", slash, element) < static_cast<int>(size - length);
}

} // namespace

bool is_plain_name(const char* name)
{
    return name && name[0] && strcmp(name, ".") && strcmp(name, "..") && !strchr(name, '/');
}

DESTINATION_FOLDER::~DESTINATION_FOLDER()
{
    close();
}

void DESTINATION_FOLDER::close()
{
    if (m_descriptor >= 0)
        host_close_descriptor(m_descriptor);
    m_descriptor = -1;
}

bool DESTINATION_FOLDER::open(const char* text, const FOLDER& here, bool create, bool create_variable,
    bool no_fallback, bool allow_file_system_root)
{
    close();
    snprintf(m_path, sizeof m_path, "%s", text ? text : "");
    if (!text)
        return false;

    // The variable: the text up to its first "/".
    char variable[256];
    const char* rest = "";
    if (!text[0]) {
        snprintf(variable, sizeof variable, "$HERE");
    } else {
        if (text[0] != '$')
            return false;
        size_t length = strcspn(text, "/");
        if (length >= sizeof variable)
            return false;
        memcpy(variable, text, length);
        variable[length] = 0;
        rest = text + length;
    }
    if (!is_known_variable(variable))
        return false;
    if (!allow_file_system_root && !strcasecmp(variable, "$ROOT1"))
        return false;

    // Every element is checked before anything is made, so a refused text makes no folder.
    for (const char* at = rest; *at;) {
        while (*at == '/')
            ++at;
        size_t length = strcspn(at, "/");
        if (length == 2 && !strncmp(at, "..", 2))
            return false;
        if (length > 255)
            return false;
        at += length;
    }

    FOLDER base;
    if (!strcasecmp(variable, "$HERE"))
        base = here;
    else if (!base.resolve_variable(variable, create_variable, no_fallback, false, &here))
        return false;
    snprintf(m_path, sizeof m_path, "%s", base.path());
    int descriptor = host_open_folder(base.path());
    for (const char* at = rest; *at;) {
        while (*at == '/')
            ++at;
        size_t length = strcspn(at, "/");
        char element[256];
        memcpy(element, at, length);
        element[length] = 0;
        at += length;
        if (!element[0] || !strcmp(element, "."))
            continue;
        if (!join(m_path, sizeof m_path, element)) {
            host_close_descriptor(descriptor);
            return false;
        }
        // The walk goes on in the path text after a failure, so that path() names the folder
        // that was meant.
        if (descriptor < 0)
            continue;
        int entered = host_enter_folder_at(descriptor, element, create);
        host_close_descriptor(descriptor);
        descriptor = entered;
    }
    if (descriptor < 0)
        return false;
    m_descriptor = descriptor;
    return true;
}

void DESTINATION_FOLDER::path_of(const char* name, char* out, size_t size) const
{
    snprintf(out, size, "%s", m_path);
    (void)join(out, size, name);
}

bool DESTINATION_FOLDER::entry_info(const char* name, HOST_FILE_INFO* info) const
{
    return m_descriptor >= 0 && host_file_info_at(m_descriptor, name, info);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Writing
// ---------------------------------------------------------------------------------------------

bool NEW_FILE::fail()
{
    if (!write_failed && !system_error)
        system_error = errno;
    abandon();
    return false;
}

bool NEW_FILE::create(int folder)
{
    abandon();
    system_error = 0;
    write_failed = false;
    m_folder = folder;
    m_descriptor = host_create_part_file_at(folder, m_part, sizeof m_part);
    if (m_descriptor >= 0)
        return true;
    system_error = errno;
    m_part[0] = 0;
    return false;
}

bool NEW_FILE::write(const void* bytes, size_t size)
{
    if (m_descriptor < 0)
        return false;
    if (host_write_descriptor(m_descriptor, bytes, size))
        return true;
    write_failed = true;
    return fail();
}

bool NEW_FILE::finish(const char* name, INT_U32 mode)
{
    if (m_descriptor < 0)
        return false;
    if (!host_set_descriptor_mode(m_descriptor, mode))
        return fail();
    int descriptor = m_descriptor;
    m_descriptor = -1;
    if (!host_finish_descriptor(descriptor) || !host_rename_at(m_folder, m_part, name))
        return fail();
    m_part[0] = 0;
    return true;
}

void NEW_FILE::abandon()
{
    if (m_descriptor >= 0)
        (void)host_finish_descriptor(m_descriptor);
    m_descriptor = -1;
    if (m_part[0]) {
        int kept = errno;
        (void)host_delete_at(m_folder, m_part);
        errno = kept;
    }
    m_part[0] = 0;
}

const char* new_file_reason(int system_error, bool write_failed)
{
    if (write_failed)
        return error_text(ERROR_WRITE, "the new file");
    return strerror(system_error ? system_error : EIO);
}

namespace {

// Member bytes come in blocks of the package's block size; they go out in larger writes.
struct PART_WRITER {
    NEW_FILE* file;
    INT_U8* buffer;
    size_t capacity;
    size_t held;
};

bool flush_part(PART_WRITER* writer)
{
    if (writer->held && !writer->file->write(writer->buffer, writer->held))
        return set_last_error(ERROR_WRITE, "the new file");
    writer->held = 0;
    return true;
}

bool take_bytes(const void* bytes, INT_U32 size, void* context)
{
    PART_WRITER* writer = static_cast<PART_WRITER*>(context);
    if (writer->held + size > writer->capacity && !flush_part(writer))
        return false;
    if (size > writer->capacity)
        return writer->file->write(bytes, size) || set_last_error(ERROR_WRITE, "the new file");
    memcpy(writer->buffer + writer->held, bytes, size);
    writer->held += size;
    return true;
}

// The buffer of the writes of the main thread, like the member store it is filled from.
INT_U8 main_buffer[1 << 18];

// A member on its way into a buffer, or, once it outgrew it, into a file of the main thread.
struct HOLDER {
    HELD_MEMBER* held;
    size_t most;
    int folder;
    NEW_FILE* file;
    bool spilled;
    PART_WRITER writer;
};

// The file of a member too large to hold: made now, the held bytes first, then the rest in
// writes of the held buffer's size.
bool spill(HOLDER* holder)
{
    holder->spilled = true;
    HELD_MEMBER* held = holder->held;
    if (!holder->file->create(holder->folder))
        return false;
    if (held->size && !holder->file->write(held->bytes, held->size))
        return set_last_error(ERROR_WRITE, "the new file");
    bool own = held->capacity >= sizeof main_buffer;
    holder->writer = PART_WRITER { holder->file, own ? held->bytes : main_buffer, own ? held->capacity : sizeof main_buffer, 0 };
    return true;
}

bool hold_bytes(const void* bytes, INT_U32 size, void* context)
{
    HOLDER* holder = static_cast<HOLDER*>(context);
    if (holder->spilled)
        return take_bytes(bytes, size, &holder->writer);
    HELD_MEMBER* held = holder->held;
    if (size <= holder->most - held->size) {
        if (size > held->capacity - held->size) {
            size_t capacity = held->capacity ? held->capacity : 16384;
            while (capacity < held->size + size)
                capacity *= 2;
            capacity = capacity < holder->most ? capacity : holder->most;
            void* grown = realloc(held->bytes, capacity);
            if (grown) {
                held->bytes = static_cast<INT_U8*>(grown);
                held->capacity = capacity;
            }
        }
        if (size <= held->capacity - held->size) {
            memcpy(held->bytes + held->size, bytes, size);
            held->size += size;
            return true;
        }
    }
    // Too large for a writer, or no memory to hold it.
    return spill(holder) && take_bytes(bytes, size, &holder->writer);
}

INT_U32 new_file_mode()
{
    static INT_U32 mode = 0;
    if (!mode)
        mode = host_new_file_mode();
    return mode;
}

} // namespace

PLACE_RESULT DESTINATION_FOLDER::place_member(MEMBER_STORE* package, const char* member, const char* name, INT_U32 mode)
{
    if (m_descriptor < 0 || !package || !is_plain_name(name))
        return PLACE_FAILED;
    NEW_FILE file;
    bool ok = file.create(m_descriptor);
    if (ok) {
        PART_WRITER writer { &file, main_buffer, sizeof main_buffer, 0 };
        ok = package->read_member(member, take_bytes, &writer) && flush_part(&writer);
        ok = ok && file.finish(name, mode);
    }
    if (ok)
        return PLACE_DONE;
    file.abandon();
    if (file.system_error)
        errno = file.system_error;
    return host_stop_requested() ? PLACE_STOPPED : PLACE_FAILED;
}

PLACE_RESULT DESTINATION_FOLDER::hold_member(MEMBER_STORE* package, const char* member, const char* name, INT_U32 mode,
    size_t most, HELD_MEMBER* held)
{
    if (m_descriptor < 0 || !package || !is_plain_name(name))
        return PLACE_FAILED;
    held->size = 0;
    NEW_FILE file;
    HOLDER holder { held, most, m_descriptor, &file, false, PART_WRITER { &file, nullptr, 0, 0 } };
    bool ok = package->read_member(member, hold_bytes, &holder);
    if (holder.spilled) {
        ok = ok && flush_part(&holder.writer) && file.finish(name, mode);
        if (ok)
            return PLACE_DONE;
        file.abandon();
        if (file.system_error)
            errno = file.system_error;
        return host_stop_requested() ? PLACE_STOPPED : PLACE_FAILED;
    }
    if (ok)
        return PLACE_HELD;
    if (host_stop_requested())
        return PLACE_STOPPED;
    // Placed here, the file would have been made before the member was read.
    NEW_FILE probe;
    if (!probe.create(m_descriptor)) {
        (void)set_last_error(ERROR_NONE, nullptr);
        errno = probe.system_error;
    }
    return PLACE_FAILED;
}

bool DESTINATION_FOLDER::place_bytes(const char* name, const char* bytes, size_t size)
{
    if (m_descriptor < 0 || !is_plain_name(name))
        return false;
    NEW_FILE file;
    return file.create(m_descriptor) && file.write(bytes, size) && file.finish(name, new_file_mode());
}

bool DESTINATION_FOLDER::append(const char* name, const char* bytes, size_t size) const
{
    int descriptor = m_descriptor >= 0 ? host_open_append_at(m_descriptor, name) : -1;
    if (descriptor < 0)
        return false;
    bool ok = host_write_descriptor(descriptor, bytes, size);
    return host_finish_descriptor(descriptor) && ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Sweeping
// ---------------------------------------------------------------------------------------------

FOLDER_SWEEPER::~FOLDER_SWEEPER()
{
    delete[] m_keys;
}

void FOLDER_SWEEPER::clear()
{
    delete[] m_keys;
    m_keys = nullptr;
    m_slots = 0;
    m_used = 0;
}

// An open-addressed set of (device, inode) pairs, kept at most half full. Without memory it
// answers "new" every time, which costs a sweep too many, never one too few.
bool FOLDER_SWEEPER::remember(INT_U64 device, INT_U64 inode)
{
    if ((m_used + 1) * 2 > m_slots) {
        INT_U32 slots = m_slots ? m_slots * 2 : 64;
        INT_U64* keys = slots > m_slots ? new (std::nothrow) INT_U64[slots * 2]() : nullptr;
        if (!keys)
            return true;
        INT_U64* old = m_keys;
        INT_U32 old_slots = m_slots;
        m_keys = keys;
        m_slots = slots;
        m_used = 0;
        for (INT_U32 i = 0; i < old_slots; ++i) {
            if (old[i * 2] || old[i * 2 + 1])
                (void)remember(old[i * 2], old[i * 2 + 1]);
        }
        delete[] old;
    }
    INT_U64 hash = (device * 0x9E3779B97F4A7C15ull) ^ (inode * 0xC2B2AE3D27D4EB4Full);
    for (INT_U32 probe = 0; probe < m_slots; ++probe) {
        INT_U32 slot = static_cast<INT_U32>((hash + probe) & (m_slots - 1));
        INT_U64* key = m_keys + slot * 2;
        if (key[0] == device && key[1] == inode)
            return false;
        if (!key[0] && !key[1]) {
            key[0] = device;
            key[1] = inode;
            ++m_used;
            return true;
        }
    }
    return true;
}

void FOLDER_SWEEPER::sweep(const DESTINATION_FOLDER& folder)
{
    INT_U64 device = 0, inode = 0;
    if (!folder.is_open() || !host_folder_identity(folder.descriptor(), &device, &inode))
        return;
    if (remember(device, inode))
        (void)host_remove_stale_parts_at(folder.descriptor());
}
