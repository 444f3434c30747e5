// Package files: named members in chains of fixed-size blocks inside one file.
//
// [SECTION] Helpers
// [SECTION] Opening and closing
// [SECTION] Header, root and entries
// [SECTION] Blocks and chains
// [SECTION] Members in and out
// [SECTION] Members read in place
// [SECTION] Members as devices

#include "io/package.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/debug_stream.h"
#include "base/error_report.h"
#include "base/format.h"
#include "host/host.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Helpers
// ---------------------------------------------------------------------------------------------

namespace {

constexpr INT_U32 ROOT_RECORD_SIZE = 28;
// Fixed part of an entry: name_length, first_block, last_block, next_entry, reserved.
constexpr INT_U32 ENTRY_FIXED_SIZE = 20;
const char PACKAGE_MAGIC[8] = { 'O', 'R', 'L', 'U', 'P', 'K', 'G', 0 };

INT_U32 to_device(DATA_DEVICE* device, INT_U32 value) { return device->swap_bytes ? swap32(value) : value; }

void put_u32(INT_U8* at, INT_U32 value) { memcpy(at, &value, 4); }
INT_U32 get_u32(const INT_U8* at)
{
    INT_U32 value;
    memcpy(&value, at, 4);
    return value;
}

INT_U32 name_hash(const char* name)
{
    INT_U32 hash = 2166136261u;
    for (const unsigned char* at = reinterpret_cast<const unsigned char*>(name); *at; ++at)
        hash = (hash ^ *at) * 16777619u;
    return hash;
}

void delete_cached_entry(void* item)
{
    PACKAGE_ENTRY* entry = static_cast<PACKAGE_ENTRY*>(item);
    free(entry->name);
    delete entry;
}

} // namespace

bool PACKAGE::fail(INT_U16 code, const char* detail)
{
    set_last_error(code, detail);
    if (platform_debug.flags())
        debug_write(&platform_debug, "code/package", 0, last_error_text(), true);
    return false;
}

bool PACKAGE::position_fits(INT_U32 position, INT_U32 length) const
{
    INT_U64 end = static_cast<INT_U64>(position) + length;
    return position != 0 && end <= m_device->size();
}

// No chain can hold more blocks than the file has room for: a longer walk is a loop.
INT_U32 PACKAGE::most_blocks() const
{
    return m_device->size() / (m_block_size + 8) + 1;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Opening and closing
// ---------------------------------------------------------------------------------------------

PACKAGE::PACKAGE(const FOLDER& folder, const char* file_name, bool create, INT_S32 block_size,
    bool cached_index, bool read_only)
    : m_cached_index(cached_index)
    , m_read_only(read_only)
    , m_cached_entries(delete_cached_entry)
    , m_folder(folder)
{
    snprintf(m_file_name, sizeof m_file_name, "%s", file_name ? file_name : "");
    bool existed = false;
    bool ok = open_existing(&existed);
    if (ok && !existed) {
        if (!create)
            ok = fail(ERROR_FILE_NOT_FOUND, m_file_name);
        else
            ok = create_new(block_size > 0 ? static_cast<INT_U32>(block_size) : PACKAGE_DEFAULT_BLOCK_SIZE);
    }
    if (ok && m_cached_index)
        ok = load_cached_index();
    if (ok && !m_block_buffer) {
        m_block_buffer = new (std::nothrow) INT_U8[m_block_size + 8];
        if (!m_block_buffer)
            ok = fail(ERROR_PACKAGE_MEMORY, nullptr);
    }
    if (!ok)
        FOLDER::close_data_file(&m_device);
}

bool PACKAGE::open_existing(bool* existed)
{
    m_device = m_folder.open_data_file(m_file_name, FILE_READ, ORDER_MARKER_IN_FILE, false);
    *existed = m_device != nullptr;
    if (!m_device)
        return true;
    if (!m_read_only && !reopen_for_update())
        return false;
    return read_header();
}

bool PACKAGE::reopen_for_update()
{
    FOLDER::close_data_file(&m_device);
    m_device = m_folder.open_data_file(m_file_name, FILE_UPDATE, ORDER_MARKER_IN_FILE, false);
    if (!m_device)
        return fail(ERROR_PACKAGE_APPEND, m_file_name);
    return true;
}

bool PACKAGE::read_header()
{
    char magic[8];
    if (!m_device->seek(0, false) || !device_read_bytes(m_device, magic, 8))
        return fail(ERROR_READ, m_file_name);
    if (memcmp(magic, PACKAGE_MAGIC, 7) != 0)
        return fail(ERROR_NOT_A_PACKAGE, m_file_name);
    INT_S16 version = 0;
    if (!device_read(m_device, &version))
        return fail(ERROR_READ, m_file_name);
    if (version > 1)
        return fail(ERROR_PACKAGE_VERSION, m_file_name);
    m_header_position = m_device->tell();
    if (!device_read(m_device, &m_block_size) || !device_read(m_device, &m_root_position)
        || !device_read(m_device, &m_free_head) || !device_read(m_device, &m_free_tail))
        return fail(ERROR_READ, m_file_name);

    char detail[300];
    if (m_block_size == 0 || m_block_size > PACKAGE_MAX_BLOCK_SIZE) {
        snprintf(detail, sizeof detail, "%s (block size %u)", m_file_name, m_block_size);
        return fail(ERROR_READ, detail);
    }
    INT_U32 name_length = 0;
    if (!position_fits(m_root_position, ROOT_RECORD_SIZE - 4) || !m_device->seek(m_root_position, false)
        || !device_read(m_device, &name_length))
        return fail(ERROR_READ, m_file_name);
    // The root's own name is always "root"; anything else is skipped over, within bounds.
    if (name_length > PACKAGE_MAX_NAME || !position_fits(m_root_position, ROOT_RECORD_SIZE - 4 + name_length)
        || !m_device->seek(m_root_position + 4 + name_length, false))
        return fail(ERROR_READ, m_file_name);
    m_root_record_position = m_root_position;
    if (!device_read(m_device, &m_first_entry) || !device_read(m_device, &m_last_entry)
        || !device_read(m_device, &m_reserved1) || !device_read(m_device, &m_reserved2)
        || !device_read(m_device, &m_reserved3))
        return fail(ERROR_READ, m_file_name);
    return true;
}

bool PACKAGE::create_new(INT_U32 block_size)
{
    if (block_size > PACKAGE_MAX_BLOCK_SIZE)
        block_size = PACKAGE_MAX_BLOCK_SIZE;
    m_read_only = false;
    m_device = m_folder.open_data_file(m_file_name, FILE_WRITE, ORDER_MARKER_IN_FILE, false);
    if (!m_device)
        return fail(ERROR_PACKAGE_WRITE_MODE, m_file_name);
    m_block_size = block_size;
    m_free_head = m_free_tail = 0;
    m_first_entry = m_last_entry = 0;
    m_reserved1 = m_reserved2 = m_reserved3 = 0;
    INT_S16 version = 1;
    m_root_position = 0;
    if (!device_write_bytes(m_device, PACKAGE_MAGIC, 8) || !device_write(m_device, version))
        return fail(ERROR_WRITE, m_file_name);
    m_header_position = m_device->tell();
    if (!write_header())
        return false;
    m_root_position = m_device->tell();
    m_root_record_position = m_root_position;
    if (!write_header() || !write_root())
        return false;
    bool flushed = m_device->close();
    FOLDER::close_data_file(&m_device);
    if (!flushed)
        return fail(ERROR_WRITE, m_file_name);
    return reopen_for_update();
}

bool PACKAGE::close()
{
    if (!m_device) {
        free_cached_entries();
        return true;
    }
    bool ok = true;
    if (m_cached_index && !m_read_only) {
        ok = write_header() && write_root();
        for (PACKAGE_ENTRY* entry = m_first_cached; entry && ok; entry = entry->next)
            ok = write_entry(*entry);
    }
    // The last blocks may still be in the device's cache: only its close says they arrived.
    bool flushed = m_device->close();
    FOLDER::close_data_file(&m_device);
    if (!flushed && ok)
        ok = fail(ERROR_WRITE, m_file_name);
    free_cached_entries();
    return ok;
}

PACKAGE::~PACKAGE()
{
    (void)close();
    delete[] m_block_buffer;
}

void PACKAGE::free_cached_entries()
{
    m_cached_entries.free_all();
    m_first_cached = m_last_cached = nullptr;
    delete[] m_name_index;
    m_name_index = nullptr;
    m_name_index_size = 0;
    m_name_index_count = 0;
    m_name_index_broken = false;
}

// The cached entries by name, so that a package of many members is not walked for each look-up.
// A name that is there already keeps its first entry, as a walk of the list would find it. When
// memory for the table runs out the look-ups walk the list instead.
void PACKAGE::index_name(PACKAGE_ENTRY* entry)
{
    if (m_name_index_broken)
        return;
    if ((m_name_index_count + 1) * 2 > m_name_index_size) {
        INT_U32 size = m_name_index_size ? m_name_index_size * 2 : 64;
        PACKAGE_ENTRY** table = new (std::nothrow) PACKAGE_ENTRY*[size]();
        if (!table || size < m_name_index_size) {
            delete[] table;
            delete[] m_name_index;
            m_name_index = nullptr;
            m_name_index_size = m_name_index_count = 0;
            m_name_index_broken = true;
            return;
        }
        for (INT_U32 i = 0; i < m_name_index_size; ++i) {
            PACKAGE_ENTRY* held = m_name_index[i];
            if (!held)
                continue;
            INT_U32 slot = name_hash(held->name) & (size - 1);
            while (table[slot])
                slot = (slot + 1) & (size - 1);
            table[slot] = held;
        }
        delete[] m_name_index;
        m_name_index = table;
        m_name_index_size = size;
    }
    INT_U32 slot = name_hash(entry->name) & (m_name_index_size - 1);
    while (m_name_index[slot]) {
        if (strcmp(m_name_index[slot]->name, entry->name) == 0)
            return;
        slot = (slot + 1) & (m_name_index_size - 1);
    }
    m_name_index[slot] = entry;
    ++m_name_index_count;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Header, root and entries
// ---------------------------------------------------------------------------------------------

bool PACKAGE::write_header()
{
    if (!m_device->seek(m_header_position, false) || !device_write(m_device, m_block_size)
        || !device_write(m_device, m_root_position) || !device_write(m_device, m_free_head)
        || !device_write(m_device, m_free_tail))
        return fail(ERROR_WRITE, m_file_name);
    return true;
}

bool PACKAGE::write_root()
{
    INT_U32 name_length = 4;
    if (!m_device->seek(m_root_record_position, false) || !device_write(m_device, name_length)
        || !device_write_bytes(m_device, m_root_name, 4) || !device_write(m_device, m_first_entry)
        || !device_write(m_device, m_last_entry) || !device_write(m_device, m_reserved1)
        || !device_write(m_device, m_reserved2) || !device_write(m_device, m_reserved3))
        return fail(ERROR_WRITE, m_file_name);
    return true;
}

bool PACKAGE::read_entry_at(INT_U32 position, PACKAGE_ENTRY* entry, bool with_name)
{
    INT_U32 name_length = 0;
    if (!position_fits(position, ENTRY_FIXED_SIZE) || !m_device->seek(position, false)
        || !device_read(m_device, &name_length))
        return fail(ERROR_READ, m_file_name);
    if (name_length > PACKAGE_MAX_NAME || !position_fits(position, ENTRY_FIXED_SIZE + name_length)) {
        char detail[300];
        snprintf(detail, sizeof detail, "%s (entry name length %u)", m_file_name, name_length);
        return fail(ERROR_READ, detail);
    }
    entry->position = position;
    if (with_name) {
        char* name = static_cast<char*>(malloc(name_length + 1));
        if (!name)
            return fail(ERROR_PACKAGE_MEMORY, nullptr);
        if (!device_read_bytes(m_device, name, static_cast<INT_S32>(name_length))) {
            free(name);
            return fail(ERROR_READ, m_file_name);
        }
        name[name_length] = 0;
        free(entry->name);
        entry->name = name;
    } else if (!m_device->seek(position + 4 + name_length, false)) {
        return fail(ERROR_READ, m_file_name);
    }
    if (!device_read(m_device, &entry->first_block) || !device_read(m_device, &entry->last_block)
        || !device_read(m_device, &entry->next_entry) || !device_read(m_device, &entry->reserved))
        return fail(ERROR_READ, m_file_name);
    entry->end = position + ENTRY_FIXED_SIZE + name_length;
    return true;
}

// Entries are only ever appended at the end of the file, so in a sound list each one lies
// behind the one before. Holding the list to that makes every walk of it a forward pass through
// the file: it ends within the file's length, reads each byte once, and a list that turns back
// (a loop, however long) is caught at the turn.
bool PACKAGE::next_entry_follows(const PACKAGE_ENTRY& entry) const
{
    return entry.next_entry == 0 || entry.next_entry >= entry.end;
}

bool PACKAGE::write_entry(const PACKAGE_ENTRY& entry)
{
    INT_U32 name_length = static_cast<INT_U32>(strlen(entry.name));
    if (!m_device->seek(entry.position, false) || !device_write(m_device, name_length)
        || !device_write_bytes(m_device, entry.name, static_cast<INT_S32>(name_length))
        || !device_write(m_device, entry.first_block) || !device_write(m_device, entry.last_block)
        || !device_write(m_device, entry.next_entry) || !device_write(m_device, entry.reserved))
        return fail(ERROR_WRITE, m_file_name);
    return true;
}

// Rewrites only the four numbers behind the entry's name.
bool PACKAGE::update_entry(const PACKAGE_ENTRY& entry)
{
    if (m_cached_index)
        return true;
    INT_U32 name_length = static_cast<INT_U32>(strlen(entry.name));
    if (!m_device->seek(entry.position + 4 + name_length, false) || !device_write(m_device, entry.first_block)
        || !device_write(m_device, entry.last_block) || !device_write(m_device, entry.next_entry)
        || !device_write(m_device, entry.reserved))
        return fail(ERROR_WRITE, m_file_name);
    return true;
}

bool PACKAGE::load_cached_index()
{
    free_cached_entries();
    INT_U32 position = m_first_entry;
    while (position != 0) {
        if (host_stop_requested())
            return fail(ERROR_READ, "interrupted");
        PACKAGE_ENTRY* entry = new (std::nothrow) PACKAGE_ENTRY();
        if (!entry)
            return fail(ERROR_PACKAGE_MEMORY, nullptr);
        set_last_error(ERROR_NONE, nullptr);
        if (!read_entry_at(position, entry, true) || !m_cached_entries.add(entry)) {
            bool memory = last_error_code() == ERROR_NONE;
            delete_cached_entry(entry);
            return memory ? fail(ERROR_PACKAGE_MEMORY, nullptr) : false;
        }
        if (m_last_cached)
            m_last_cached->next = entry;
        else
            m_first_cached = entry;
        m_last_cached = entry;
        index_name(entry);
        if (!next_entry_follows(*entry))
            return fail(ERROR_READ, "entry list loops");
        position = entry->next_entry;
    }
    return true;
}

PACKAGE_ENTRY* PACKAGE::find_cached(const char* name) const
{
    if (m_name_index) {
        INT_U32 slot = name_hash(name) & (m_name_index_size - 1);
        for (PACKAGE_ENTRY* entry = m_name_index[slot]; entry; entry = m_name_index[slot]) {
            if (strcmp(entry->name, name) == 0)
                return entry;
            slot = (slot + 1) & (m_name_index_size - 1);
        }
        return nullptr;
    }
    for (PACKAGE_ENTRY* entry = m_first_cached; entry; entry = entry->next) {
        if (strcmp(entry->name, name) == 0)
            return entry;
    }
    return nullptr;
}

bool PACKAGE::find_entry(const char* name, PACKAGE_ENTRY* entry_out)
{
    bool found = false;
    return look_up(name, entry_out, &found) && found;
}

// Walks the entries for `name`. False (4103) when the list cannot be read to the entry or to its
// end: a damaged list says nothing about whether the member is there, and taking it for absent
// would add a second entry of the name.
bool PACKAGE::look_up(const char* name, PACKAGE_ENTRY* entry_out, bool* found)
{
    *found = false;
    if (!m_device)
        return fail(ERROR_PACKAGE_NOT_OPEN, nullptr);
    if (!name)
        return true;
    if (m_cached_index) {
        PACKAGE_ENTRY* cached = find_cached(name);
        if (cached && entry_out) {
            *entry_out = *cached;
            entry_out->name = nullptr;
            entry_out->next = nullptr;
        }
        *found = cached != nullptr;
        return true;
    }
    size_t wanted = strlen(name);
    INT_U32 position = m_first_entry;
    PACKAGE_ENTRY entry;
    char* buffer = static_cast<char*>(malloc(PACKAGE_MAX_NAME + 1));
    if (!buffer)
        return fail(ERROR_PACKAGE_MEMORY, nullptr);
    bool readable = true;
    while (position != 0) {
        // A walk cut off by a stop says nothing about the member either.
        if (host_stop_requested()) {
            readable = false;
            break;
        }
        INT_U32 name_length = 0;
        if (!position_fits(position, ENTRY_FIXED_SIZE) || !m_device->seek(position, false)
            || !device_read(m_device, &name_length) || name_length > PACKAGE_MAX_NAME
            || !position_fits(position, ENTRY_FIXED_SIZE + name_length)
            || !device_read_bytes(m_device, buffer, static_cast<INT_S32>(name_length))) {
            readable = false;
            break;
        }
        entry.position = position;
        if (!device_read(m_device, &entry.first_block) || !device_read(m_device, &entry.last_block)
            || !device_read(m_device, &entry.next_entry) || !device_read(m_device, &entry.reserved)) {
            readable = false;
            break;
        }
        if (name_length == wanted && memcmp(buffer, name, wanted) == 0) {
            *found = true;
            break;
        }
        entry.end = position + ENTRY_FIXED_SIZE + name_length;
        // Entries only ever link forward; a link back is damage, and would be a loop.
        if (!next_entry_follows(entry)) {
            readable = false;
            break;
        }
        position = entry.next_entry;
    }
    free(buffer);
    if (!readable)
        return fail(ERROR_READ, m_file_name);
    if (*found && entry_out) {
        *entry_out = entry;
        entry_out->name = nullptr;
    }
    return true;
}

bool PACKAGE::add_entry(const char* name, PACKAGE_ENTRY* entry)
{
    size_t length = strlen(name);
    if (length > PACKAGE_MAX_NAME)
        return fail(ERROR_PACK_OPEN, name);
    entry->position = m_device->size();
    entry->first_block = entry->last_block = entry->next_entry = entry->reserved = 0;
    entry->name = static_cast<char*>(malloc(length + 1));
    if (!entry->name)
        return fail(ERROR_PACKAGE_MEMORY, nullptr);
    memcpy(entry->name, name, length + 1);
    if (!write_entry(*entry))
        return false;

    if (m_cached_index) {
        PACKAGE_ENTRY* cached = new (std::nothrow) PACKAGE_ENTRY(*entry);
        if (!cached)
            return fail(ERROR_PACKAGE_MEMORY, nullptr);
        cached->name = static_cast<char*>(malloc(length + 1));
        if (!cached->name || !m_cached_entries.add(cached)) {
            free(cached->name);
            delete cached;
            return fail(ERROR_PACKAGE_MEMORY, nullptr);
        }
        memcpy(cached->name, name, length + 1);
        cached->next = nullptr;
        if (m_last_cached) {
            m_last_cached->next_entry = cached->position;
            m_last_cached->next = cached;
        }
        else
            m_first_cached = cached;
        m_last_cached = cached;
        index_name(cached);
        if (!m_first_entry)
            m_first_entry = entry->position;
        m_last_entry = entry->position;
        return true;
    }
    // The new entry is on disk before anything points at it, so the file stays consistent.
    if (m_last_entry) {
        PACKAGE_ENTRY previous;
        if (!read_entry_at(m_last_entry, &previous, true))
            return false;
        previous.next_entry = entry->position;
        bool ok = update_entry(previous);
        free(previous.name);
        if (!ok)
            return false;
    }
    m_last_entry = entry->position;
    if (!m_first_entry)
        m_first_entry = entry->position;
    return write_root();
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Blocks and chains
// ---------------------------------------------------------------------------------------------

// Reads one block into the block buffer; its payload starts at m_block_buffer + 4.
bool PACKAGE::read_block(INT_U32 position, INT_U32* next, INT_U32* used)
{
    if (!position_fits(position, m_block_size + 8)
        || !m_device->read_at(position, m_block_buffer, static_cast<INT_S32>(m_block_size + 8)))
        return fail(ERROR_READ, m_file_name);
    *next = get_u32(m_block_buffer);
    *used = get_u32(m_block_buffer + 4 + m_block_size);
    if (m_device->swap_bytes) {
        *next = swap32(*next);
        *used = swap32(*used);
    }
    if (*used > m_block_size) {
        // Only a message: a file name cut short here names nothing that is opened.
        char detail[300];
        (void)format_text(detail, sizeof detail, "%s (block at %u claims %u bytes)", m_file_name, position, *used);
        return fail(ERROR_READ, detail);
    }
    return true;
}

// Writes the block buffer's payload with the given links as one transfer.
bool PACKAGE::write_block(INT_U32 position, INT_U32 next, INT_U32 used)
{
    put_u32(m_block_buffer, to_device(m_device, next));
    put_u32(m_block_buffer + 4 + m_block_size, to_device(m_device, used));
    if (!m_device->seek(position, false)
        || !device_write_bytes(m_device, m_block_buffer, static_cast<INT_S32>(m_block_size + 8)))
        return fail(ERROR_WRITE, m_file_name);
    return true;
}

// Rewrites only a block's link to the next one.
static bool write_link(DATA_FILE* device, INT_U32 position, INT_U32 next)
{
    return device->seek(position, false) && device_write(device, next);
}

bool PACKAGE::allocate_block(PACKAGE_ENTRY* entry, INT_U32* position)
{
    INT_U32 block = 0;
    if (m_free_head) {
        INT_U32 next = 0;
        block = m_free_head;
        if (!position_fits(block, m_block_size + 8) || !m_device->seek(block, false)
            || !device_read(m_device, &next))
            return fail(ERROR_READ, m_file_name);
        m_free_head = next;
        if (!m_free_head)
            m_free_tail = 0;
        if (!m_cached_index && !write_header())
            return false;
        if (next && !write_link(m_device, block, 0))
            return fail(ERROR_WRITE, m_file_name);
    } else {
        block = m_device->size();
        memset(m_block_buffer, 0, m_block_size + 8);
        if (!write_block(block, 0, 0))
            return false;
    }
    INT_U32 previous = entry->last_block;
    entry->last_block = block;
    if (!entry->first_block)
        entry->first_block = block;
    // With a cached index `entry` is the cached record itself and reaches the disk at the end.
    if (!update_entry(*entry))
        return false;
    if (previous && !write_link(m_device, previous, block))
        return fail(ERROR_WRITE, m_file_name);
    *position = block;
    return true;
}

bool PACKAGE::free_chain(PACKAGE_ENTRY* entry)
{
    if (!entry->first_block)
        return true;
    // A member's blocks and the free list are linked through the same field, so the whole
    // chain joins the list in one step.
    if (m_free_tail) {
        if (!write_link(m_device, m_free_tail, entry->first_block))
            return fail(ERROR_WRITE, m_file_name);
        m_free_tail = entry->last_block;
    } else {
        m_free_head = entry->first_block;
        m_free_tail = entry->last_block;
    }
    if (!m_cached_index && !write_header())
        return false;
    entry->first_block = entry->last_block = 0;
    return update_entry(*entry);
}

bool PACKAGE::chain_size(const PACKAGE_ENTRY& entry, INT_U64* size)
{
    return walk_chain(entry, nullptr, nullptr, size);
}

// Walks a member's chain block by block, handing each block's bytes to `sink` when there is one.
// A chain that comes back on itself is found in time linear in its length, whatever its shape
// (Brent's method: one block is remembered, and the mark moves on to the current block each
// time the number of steps since the last move reaches the next power of two; a loop brings the
// walk back to the mark within twice its length plus the lead-in). A chain longer than the file
// has room for is damaged too.
bool PACKAGE::walk_chain(const PACKAGE_ENTRY& entry, PACKAGE_SINK sink, void* context, INT_U64* size)
{
    INT_U64 total = 0;
    INT_U32 position = entry.first_block;
    INT_U32 mark = 0;
    INT_U32 steps_since_mark = 0;
    INT_U32 next_move = 1;
    INT_U32 most = most_blocks();
    for (INT_U32 count = 0; position; ++count) {
        if (host_stop_requested())
            return fail(ERROR_READ, "interrupted");
        if (position == mark || count >= most)
            return fail(ERROR_READ, "member chain loops");
        if (++steps_since_mark == next_move) {
            mark = position;
            steps_since_mark = 0;
            next_move = next_move < 0x80000000u ? next_move * 2 : next_move;
        }
        INT_U32 next = 0, used = 0;
        if (!read_block(position, &next, &used))
            return false;
        if (sink && used > 0 && !sink(m_block_buffer + 4, used, context))
            return false;
        total += used;
        if (size)
            *size = total;
        position = next;
    }
    if (size)
        *size = total;
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Members in and out
// ---------------------------------------------------------------------------------------------

bool PACKAGE::add_file(const FOLDER& folder, const char* file_name, const char* member_name)
{
    return add_file(folder, file_name, member_name, false, nullptr, nullptr);
}

bool PACKAGE::add_file(const FOLDER& folder, const char* file_name, const char* member_name,
    bool keep_going, PACKAGE_PROGRESS progress, void* context)
{
    if (!m_device)
        return fail(ERROR_PACKAGE_NOT_OPEN, nullptr);
    if (m_read_only)
        return fail(ERROR_PACKAGE_APPEND, m_file_name);
    DATA_FILE* source = folder.open_data_file(file_name, FILE_READ, 0, false);
    if (!source)
        return fail(ERROR_PACK_OPEN, file_name);
    const char* name = member_name ? member_name : file_name;

    // With a cached index the cached record is worked on in place; otherwise a copy whose
    // changes go straight to disk.
    PACKAGE_ENTRY local;
    PACKAGE_ENTRY* entry = m_cached_index ? find_cached(name) : nullptr;
    bool ok = true;
    if (m_cached_index) {
        if (entry) {
            ok = free_chain(entry);
        } else {
            ok = add_entry(name, &local);
            free(local.name);
            local.name = nullptr;
            entry = m_last_cached;
        }
    } else {
        bool found = false;
        entry = &local;
        if (!look_up(name, &local, &found)) {
            ok = false;
        } else if (found) {
            local.name = static_cast<char*>(malloc(strlen(name) + 1));
            if (!local.name)
                ok = fail(ERROR_PACKAGE_MEMORY, nullptr);
            else
                strcpy(local.name, name);
            ok = ok && free_chain(&local);
        } else {
            ok = add_entry(name, &local);
        }
    }

    INT_U32 total = source->size();
    INT_U32 done = 0;
    if (progress)
        progress(this, 0, total, context);
    // A block is allocated before the read, so a source that is a whole number of blocks long
    // ends with one empty block, which readers skip.
    while (ok && !source->at_end()) {
        if (host_stop_requested()) {
            ok = fail(ERROR_READ, "interrupted");
            break;
        }
        INT_U32 block = 0;
        if (!allocate_block(entry, &block)) {
            ok = false;
            break;
        }
        INT_S32 got = source->read(m_block_buffer + 4, static_cast<INT_S32>(m_block_size));
        if (got <= 0) {
            // Nothing came although the end is not reached: the source cannot be read. Going on
            // would allocate empty blocks until the disk is full.
            if (!source->at_end()) {
                ok = fail(ERROR_READ, file_name);
                break;
            }
            continue;
        }
        memset(m_block_buffer + 4 + got, 0, m_block_size - static_cast<INT_U32>(got));
        if (!write_block(block, 0, static_cast<INT_U32>(got)) && !keep_going) {
            ok = false;
            break;
        }
        done += static_cast<INT_U32>(got);
        if (progress)
            progress(this, done, total, context);
    }
    FOLDER::close_data_file(&source);
    if (entry == &local)
        free(local.name);
    if (!ok)
        return false;
    set_last_error(ERROR_NONE, nullptr);
    return true;
}

bool PACKAGE::extract_file(const FOLDER& folder, const char* file_name, const char* member_name)
{
    return extract_file(folder, file_name, member_name, nullptr, nullptr);
}

bool PACKAGE::extract_file(const FOLDER& folder, const char* file_name, const char* member_name,
    PACKAGE_PROGRESS progress, void* context)
{
    if (!m_device)
        return fail(ERROR_PACKAGE_NOT_OPEN, nullptr);
    const char* name = member_name ? member_name : file_name;
    PACKAGE_ENTRY entry;
    bool found = false;
    if (name && !look_up(name, &entry, &found))
        return false;
    if (!found)
        return fail(ERROR_MEMBER_NOT_FOUND, name ? name : "");
    INT_U64 total = 0;
    if (progress && !chain_size(entry, &total))
        return false;
    DATA_FILE* output = folder.open_data_file(file_name, FILE_WRITE, 0, false);
    if (!output)
        return fail(ERROR_CREATE, file_name);

    struct TO_FILE {
        PACKAGE* package;
        DATA_FILE* output;
        const char* file_name;
        PACKAGE_PROGRESS progress;
        void* context;
        INT_U64 done;
        INT_U64 total;
    } to_file { this, output, file_name, progress, context, 0, total };
    bool ok = walk_chain(entry, [](const void* bytes, INT_U32 used, void* target) {
        TO_FILE* to = static_cast<TO_FILE*>(target);
        if (!device_write_bytes(to->output, bytes, static_cast<INT_S32>(used)))
            return to->package->fail(ERROR_WRITE, to->file_name);
        to->done += used;
        if (to->progress)
            to->progress(to->package, static_cast<INT_U32>(to->done), static_cast<INT_U32>(to->total), to->context);
        return true;
    }, &to_file, nullptr);
    if (!output->close() && ok)
        ok = fail(ERROR_WRITE, file_name);
    FOLDER::close_data_file(&output);
    return ok;
}

bool PACKAGE::read_member(const char* member_name, PACKAGE_SINK sink, void* context)
{
    if (!m_device)
        return fail(ERROR_PACKAGE_NOT_OPEN, nullptr);
    PACKAGE_ENTRY entry;
    bool found = false;
    // A damaged entry list keeps its read error; only a whole list without the name is 4112.
    if (member_name && !look_up(member_name, &entry, &found))
        return false;
    if (!found)
        return fail(ERROR_MEMBER_NOT_FOUND, member_name ? member_name : "");
    return walk_chain(entry, sink, context, nullptr);
}

bool PACKAGE::member_size(const char* name, INT_U64* size)
{
    PACKAGE_ENTRY entry;
    if (!find_entry(name, &entry))
        return false;
    return chain_size(entry, size);
}

bool PACKAGE::list_members(MEMBER_CALLBACK callback, void* context)
{
    if (!m_device)
        return fail(ERROR_PACKAGE_NOT_OPEN, nullptr);
    INT_U64 size = 0;
    // With a cached index the entries on disk are stale until the package is closed.
    if (m_cached_index) {
        for (const PACKAGE_ENTRY* cached = m_first_cached; cached; cached = cached->next) {
            if (!chain_size(*cached, &size))
                return false;
            callback(cached->name, size, context);
        }
        return true;
    }
    PACKAGE_ENTRY entry;
    bool ok = true;
    INT_U32 position = m_first_entry;
    while (position && ok) {
        ok = read_entry_at(position, &entry, true) && chain_size(entry, &size);
        if (ok)
            callback(entry.name, size, context);
        if (ok && !next_entry_follows(entry))
            ok = fail(ERROR_READ, "entry list loops");
        position = entry.next_entry;
    }
    free(entry.name);
    return ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Members read in place
// ---------------------------------------------------------------------------------------------

PACKAGE_MEMBER_READER::~PACKAGE_MEMBER_READER() { delete[] m_payload; }

bool PACKAGE_MEMBER_READER::open(PACKAGE* package, const char* member_name)
{
    m_package = nullptr;
    m_next = m_used = m_offset = m_blocks = 0;
    m_mark = m_steps_since_mark = 0;
    m_next_move = 1;
    m_failed = false;
    if (!package || !package->m_device)
        return package ? package->fail(ERROR_PACKAGE_NOT_OPEN, nullptr) : set_last_error(ERROR_PACKAGE_NOT_OPEN, nullptr);
    PACKAGE_ENTRY entry;
    if (!package->find_entry(member_name, &entry))
        return package->fail(ERROR_MEMBER_NOT_FOUND, member_name);
    delete[] m_payload;
    m_payload = new (std::nothrow) INT_U8[package->m_block_size];
    if (!m_payload)
        return package->fail(ERROR_PACKAGE_MEMORY, nullptr);
    m_package = package;
    m_next = entry.first_block;
    return true;
}

INT_S32 PACKAGE_MEMBER_READER::read(void* buffer, INT_S32 size)
{
    if (!m_package || m_failed)
        return m_failed ? -1 : 0;
    INT_U8* out = static_cast<INT_U8*>(buffer);
    INT_S32 done = 0;
    while (done < size) {
        if (m_offset == m_used) {
            if (!m_next)
                break;
            // A loop is found as walk_chain finds it: Brent's mark, and no more blocks than the
            // file has room for.
            if (host_stop_requested()) {
                m_failed = true;
                m_package->fail(ERROR_READ, "interrupted");
                return -1;
            }
            if (m_next == m_mark || ++m_blocks > m_package->most_blocks()) {
                m_failed = true;
                m_package->fail(ERROR_READ, "member chain loops");
                return -1;
            }
            if (++m_steps_since_mark == m_next_move) {
                m_mark = m_next;
                m_steps_since_mark = 0;
                m_next_move = m_next_move < 0x80000000u ? m_next_move * 2 : m_next_move;
            }
            // The package's block buffer is shared by everything that reads it: the payload is
            // copied out before anything else can use it.
            INT_U32 next = 0, used = 0;
            if (!m_package->read_block(m_next, &next, &used)) {
                m_failed = true;
                return -1;
            }
            memcpy(m_payload, m_package->m_block_buffer + 4, used);
            m_next = next;
            m_used = used;
            m_offset = 0;
            continue;
        }
        INT_U32 wanted = static_cast<INT_U32>(size - done);
        INT_U32 held = m_used - m_offset;
        INT_U32 take = wanted < held ? wanted : held;
        memcpy(out + done, m_payload + m_offset, take);
        m_offset += take;
        done += static_cast<INT_S32>(take);
    }
    return done;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Members as devices
// ---------------------------------------------------------------------------------------------

// Reserves a private temporary name in $TEMP, fills it with the member when it exists, and opens
// it as the caller's file. Null when the member is wanted for reading and is not there, or when
// nothing could be made; a failed open leaves the member as it was.
template <typename MEMBER_FILE, typename OPEN_FILE>
MEMBER_FILE* PACKAGE::open_member(const char* member_name, INT_S32 mode, OPEN_FILE open_file)
{
    if (!m_device || !member_name)
        return nullptr;
    bool reading = mode == FILE_READ;
    // A written member goes back under the name kept in the link: a longer name would come back
    // cut, as another member.
    if (!reading && strlen(member_name) >= sizeof(PACKAGE_MEMBER_LINK::member_name)) {
        fail(ERROR_CREATE, "a member name longer than 255 bytes");
        return nullptr;
    }
    bool present = false;
    if (!look_up(member_name, nullptr, &present) || (reading && !present))
        return nullptr;
    MEMBER_FILE* file = new (std::nothrow) MEMBER_FILE();
    if (!file) {
        fail(ERROR_PACKAGE_MEMORY, nullptr);
        return nullptr;
    }
    PACKAGE_MEMBER_LINK& link = file->m_link;
    link.package = this;
    snprintf(link.member_name, sizeof link.member_name, "%s", member_name);
    bool ready = link.temp_folder.make_temp_name(link.temp_name, sizeof link.temp_name, ".tmp");
    if (!ready)
        link.temp_name[0] = 0;
    if (ready && present)
        ready = extract_file(link.temp_folder, link.temp_name, member_name);
    if (ready)
        ready = open_file(file, link.temp_folder, link.temp_name);
    if (!ready) {
        delete file; // read_only is still set: nothing goes back into the package
        return nullptr;
    }
    link.read_only = reading || m_read_only;
    return file;
}

PACKAGE_DATA_FILE* PACKAGE::open_member_data(const char* member_name, INT_S32 mode, INT_U8 order_marker)
{
    return open_member<PACKAGE_DATA_FILE>(member_name, mode, [&](PACKAGE_DATA_FILE* file, const FOLDER& folder, const char* name) {
        return file->open(folder, name, mode, order_marker, false);
    });
}

PACKAGE_TEXT_FILE* PACKAGE::open_member_text(const char* member_name, INT_S32 mode, bool wide)
{
    return open_member<PACKAGE_TEXT_FILE>(member_name, mode, [&](PACKAGE_TEXT_FILE* file, const FOLDER& folder, const char* name) {
        return file->open(folder, name, mode, wide);
    });
}

bool PACKAGE::close_member_data(PACKAGE_DATA_FILE** file)
{
    if (!file || !*file)
        return true;
    bool whole = (*file)->close();
    bool back = (*file)->m_link.finish(whole);
    delete *file;
    *file = nullptr;
    return back;
}

bool PACKAGE::close_member_text(PACKAGE_TEXT_FILE** file)
{
    if (!file || !*file)
        return true;
    bool whole = (*file)->close();
    bool back = (*file)->m_link.finish(whole);
    delete *file;
    *file = nullptr;
    return back;
}

bool PACKAGE_MEMBER_LINK::finish(bool written_whole)
{
    if (!temp_name[0])
        return true;
    // A member opened for writing reaches the package only now.
    bool ok = true;
    if (package && !read_only) {
        ok = written_whole && package->add_file(temp_folder, temp_name, member_name);
        if (!ok) {
            // The bytes stay in the temporary file, and the message says where.
            char detail[ORLU_MAX_PATH + 400];
            (void)format_text(detail, sizeof detail, "%s (not put back; its bytes are kept in %s)", member_name,
                temp_folder.path_text(temp_name));
            set_last_error(ERROR_WRITE, detail);
        }
    }
    if (ok)
        (void)temp_folder.delete_file(temp_name);
    temp_name[0] = 0;
    package = nullptr;
    return ok;
}

PACKAGE_DATA_FILE::~PACKAGE_DATA_FILE()
{
    bool whole = close();
    (void)m_link.finish(whole);
}

PACKAGE_TEXT_FILE::~PACKAGE_TEXT_FILE()
{
    bool whole = close();
    (void)m_link.finish(whole);
}
