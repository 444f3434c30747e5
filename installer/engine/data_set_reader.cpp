// Members read straight out of a data set.
//
// [SECTION] Opening
// [SECTION] Chunks and positions
// [SECTION] The package's end
// [SECTION] Entries
// [SECTION] Members

#include "installer/engine/data_set_reader.h"

#include <sys/types.h>
#include <zlib.h>

#include <cstdio>
#include <cstring>
#include <new>

#include "base/error_report.h"
#include "host/host.h"
#include "host/host_threads.h"
#include "installer/engine/database.h"
#include "io/folder.h"
#include "io/package.h"

namespace {

constexpr INT_U32 HEADER_SIZE = 26;
constexpr INT_U32 ENTRY_FIXED_SIZE = 20;
// The most package bytes read backward from the end to place the database and the members
// behind the payload; a data set with more than that there is read the old way.
constexpr INT_U64 TAIL_BUDGET = 256ull << 20;
// How far before the database the entry of the last payload file is looked for.
constexpr INT_U64 SEARCH_BUDGET = 64ull << 20;

INT_U32 u32_at(const INT_U8* at)
{
    INT_U32 value;
    memcpy(&value, at, 4);
    return value;
}

INT_U32 text_hash(const char* text)
{
    INT_U32 hash = 2166136261u;
    for (const unsigned char* at = reinterpret_cast<const unsigned char*>(text); *at; ++at)
        hash = (hash ^ *at) * 16777619u;
    return hash;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Opening
// ---------------------------------------------------------------------------------------------

DATA_SET_READER::~DATA_SET_READER()
{
    {
        std::lock_guard<std::mutex> lock(m_prefetch.mutex);
        m_prefetch.stopping = true;
    }
    m_prefetch.wake.notify_all();
    for (INT_U32 i = 0; i < m_prefetch.thread_count; ++i)
        host_join_thread(m_prefetch.threads[i]);
    for (INT_U32 i = 0; i < m_prefetch.slot_count; ++i) {
        PREFETCH_SLOT& slot = m_prefetch.slots[i];
        if (slot.file)
            fclose(slot.file);
        delete[] slot.stored;
        delete[] slot.inflated;
        if (slot.stream_ready)
            inflateEnd(&slot.stream);
    }
    if (m_stream_ready)
        inflateEnd(&m_stream);
    if (m_file)
        fclose(m_file);
    delete[] m_chunks;
    delete[] m_stored;
    delete[] m_inflated;
    delete[] m_volumes;
    delete[] m_installations;
}

bool DATA_SET_READER::fail(INT_U16 code, const char* detail)
{
    return set_last_error(code, detail);
}

bool DATA_SET_READER::open(const FOLDER& folder, const char* name, const DATA_SET_HEADER& header)
{
    if (m_file || !name)
        return fail(ERROR_PACKAGE_NOT_OPEN, "data set");
    if (header.file_cache_size < DATA_SET_MIN_CACHE || header.file_cache_size > DATA_SET_MAX_CACHE)
        return fail(ERROR_READ, "data set (cache size out of range)");
    m_file = folder.open_stream(name, "rb");
    if (!m_file)
        return fail(ERROR_FILE_NOT_FOUND, name);
    m_compressed = header.compressed != 0;
    m_cache_size = header.file_cache_size;
    m_stored = new (std::nothrow) INT_U8[m_cache_size];
    m_inflated = new (std::nothrow) INT_U8[m_cache_size];
    if (!m_stored || !m_inflated)
        return fail(ERROR_PACKAGE_MEMORY, "data set");
    if (!list_chunks(header))
        return false;
    start_prefetch(folder, name);
    // The main package is the last; the others open when a member of theirs is asked for.
    return open_volume(&m_volumes[m_volume_count - 1]);
}

// A package's header and root record, at its start, then its end.
bool DATA_SET_READER::open_volume(VOLUME* volume)
{
    if (volume->opened)
        return !volume->failed;
    volume->opened = true;
    volume->failed = true;
    m_v = volume;
    INT_U8 head[HEADER_SIZE];
    if (!read_at(0, head, HEADER_SIZE) || memcmp(head, "ORLUPKG", 7) != 0)
        return fail(ERROR_NOT_A_PACKAGE, "data set");
    INT_S16 version = 0;
    memcpy(&version, head + 8, 2);
    m_v->block_size = u32_at(head + 10);
    INT_U32 root = u32_at(head + 14);
    if (version != 1 || m_v->block_size == 0 || m_v->block_size > PACKAGE_MAX_BLOCK_SIZE)
        return fail(ERROR_PACKAGE_VERSION, "data set");
    INT_U32 root_name = 0;
    INT_U32 links[2];
    if (!read_u32(root, &root_name) || root_name > PACKAGE_MAX_NAME
        || !read_at(static_cast<INT_U64>(root) + 4 + root_name, links, sizeof links))
        return fail(ERROR_READ, "data set (root record)");
    m_v->first_entry = links[0];
    m_v->last_entry = links[1];
    if (!find_end())
        return false;
    m_v->walk_next = m_v->first_entry;
    volume->failed = false;
    return true;
}

INT_U64 DATA_SET_READER::forward_end() const
{
    return m_v->forward > m_v->begin ? m_chunks[m_v->forward - 1].start + m_chunks[m_v->forward - 1].length : 0;
}

DATA_SET_READER::VOLUME* DATA_SET_READER::select(const char* name, const char** member)
{
    *member = name;
    VOLUME* volume = &m_volumes[m_volume_count - 1];
    // Only a data set of several packages names members by package: in one of a single package
    // every name is the member's own.
    INT_U32 number = 0;
    if (m_volume_count > 1 && packed_name_package(name, &number, member)) {
        if (number == 0 || number >= m_volume_count) {
            fail(ERROR_MEMBER_NOT_FOUND, name);
            return nullptr;
        }
        volume = &m_volumes[number - 1];
    }
    if (!open_volume(volume))
        return nullptr;
    m_v = volume;
    return volume;
}

// The chunks' places in the file: a length in the data set's byte order, then the bytes.
bool DATA_SET_READER::list_chunks(const DATA_SET_HEADER& header)
{
    // Logical device positions count behind the file's first byte, the byte-order marker, which
    // also tells whether the lengths are swapped.
    INT_U8 marker = 0;
    if (fseeko(m_file, 0, SEEK_SET) != 0 || fread(&marker, 1, 1, m_file) != 1)
        return fail(ERROR_READ, "data set");
    bool swap = marker != 0;
    INT_U64 at = static_cast<INT_U64>(header.chunk_start) + 1;
    INT_U64 end = static_cast<INT_U64>(header.data_end) + 1;
    INT_U32 capacity = 0;
    while (at < end) {
        if (host_stop_requested())
            return fail(ERROR_READ, "interrupted");
        INT_U8 bytes[4];
        if (end - at < 4 || fseeko(m_file, static_cast<off_t>(at), SEEK_SET) != 0 || fread(bytes, 1, 4, m_file) != 4)
            return fail(ERROR_READ, "data set (chunk length)");
        INT_U32 raw = u32_at(bytes);
        INT_S32 length = static_cast<INT_S32>(swap ? __builtin_bswap32(raw) : raw);
        at += 4;
        // A chunk of length 0 ends a package; one below 0 holds nothing.
        if (length == 0) {
            if (!m_separators.push(m_chunk_count))
                return fail(ERROR_PACKAGE_MEMORY, "data set");
            continue;
        }
        if (length < 0)
            continue;
        if (static_cast<INT_U32>(length) > data_set_chunk_limit(m_cache_size))
            return fail(ERROR_READ, "data set (chunk longer than the cache)");
        if (static_cast<INT_U64>(length) > end - at)
            return fail(ERROR_READ, "data set (short chunk)");
        if (m_chunk_count == capacity) {
            capacity = capacity ? capacity * 2 : 64;
            CHUNK* grown = new (std::nothrow) CHUNK[capacity];
            if (!grown)
                return fail(ERROR_PACKAGE_MEMORY, "data set");
            for (INT_U32 i = 0; i < m_chunk_count; ++i)
                grown[i] = m_chunks[i];
            delete[] m_chunks;
            m_chunks = grown;
        }
        CHUNK& chunk = m_chunks[m_chunk_count++];
        chunk.file_offset = at;
        chunk.stored = static_cast<INT_U32>(length);
        at += static_cast<INT_U64>(length);
    }
    // One volume for each run of chunks between separators.
    INT_U32 separators = static_cast<INT_U32>(m_separators.size());
    m_volumes = new (std::nothrow) VOLUME[separators + 1];
    if (!m_volumes)
        return fail(ERROR_PACKAGE_MEMORY, "data set");
    m_volume_count = separators + 1;
    for (INT_U32 v = 0; v < m_volume_count; ++v) {
        VOLUME& volume = m_volumes[v];
        volume.begin = v == 0 ? 0 : m_separators[v - 1];
        volume.end = v < separators ? m_separators[v] : m_chunk_count;
        if (volume.begin == volume.end)
            return fail(ERROR_READ, "data set (a package without chunks)");
        volume.forward = volume.begin;
        volume.tail = volume.end;
        if (!m_compressed) {
            // Stored chunks are their own length: every place is known at once.
            INT_U64 start = 0;
            for (INT_U32 i = volume.begin; i < volume.end; ++i) {
                m_chunks[i].length = m_chunks[i].stored;
                m_chunks[i].start = start;
                m_chunks[i].placed = true;
                start += m_chunks[i].stored;
            }
            volume.forward = volume.end;
            volume.package_size = start;
        }
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Chunks and positions
// ---------------------------------------------------------------------------------------------

// One chunk from `file` into `inflated`, through a stream kept from chunk to chunk. The zlib
// stream's own check is kept: the stamp's check covers the file as it came, this one each chunk
// as it is read.
bool DATA_SET_READER::inflate_from(FILE* file, z_stream* stream, bool* stream_ready, INT_U32 index, INT_U8* stored,
    INT_U8* inflated, INT_U32* size)
{
    const CHUNK& chunk = m_chunks[index];
    INT_U8* target = m_compressed ? stored : inflated;
    if (fseeko(file, static_cast<off_t>(chunk.file_offset), SEEK_SET) != 0
        || fread(target, 1, chunk.stored, file) != chunk.stored)
        return false;
    if (!m_compressed) {
        *size = chunk.stored;
        return true;
    }
    if (!*stream_ready) {
        memset(stream, 0, sizeof *stream);
        if (inflateInit(stream) != Z_OK)
            return false;
        *stream_ready = true;
    } else if (inflateReset(stream) != Z_OK) {
        return false;
    }
    stream->next_in = stored;
    stream->avail_in = chunk.stored;
    stream->next_out = inflated;
    stream->avail_out = m_cache_size;
    if (::inflate(stream, Z_FINISH) != Z_STREAM_END)
        return false;
    *size = m_cache_size - stream->avail_out;
    return *size > 0;
}

void DATA_SET_READER::start_prefetch(const FOLDER& folder, const char* name)
{
    // Two more buffers of the cache size for each slot: worth it for the usual caches, not for
    // the largest. A slot for each processor, up to three.
    if (!m_compressed || m_chunk_count < 3 || m_cache_size > (4u << 20))
        return;
    INT_S32 processors = host_processor_count();
    INT_U32 wanted = processors < 1 ? 1 : processors > static_cast<INT_S32>(PREFETCH_MOST) ? PREFETCH_MOST : static_cast<INT_U32>(processors);
    // Every slot is made before any thread starts; any thread fills any slot.
    INT_U32 made = 0;
    for (; made < wanted; ++made) {
        PREFETCH_SLOT& slot = m_prefetch.slots[made];
        slot.file = folder.open_stream(name, "rb");
        slot.stored = new (std::nothrow) INT_U8[m_cache_size];
        slot.inflated = new (std::nothrow) INT_U8[m_cache_size];
        if (!slot.file || !slot.stored || !slot.inflated) {
            if (slot.file)
                fclose(slot.file);
            delete[] slot.stored;
            delete[] slot.inflated;
            slot = PREFETCH_SLOT();
            break;
        }
    }
    m_prefetch.slot_count = made;
    for (INT_U32 i = 0; i < made; ++i) {
        m_prefetch.threads[i] = host_start_thread(prefetch_main, this);
        if (!m_prefetch.threads[i])
            break;
        m_prefetch.thread_count = i + 1;
    }
    // Without a thread the slots would only be waited for.
    if (m_prefetch.thread_count == 0) {
        for (INT_U32 i = 0; i < made; ++i) {
            PREFETCH_SLOT& slot = m_prefetch.slots[i];
            fclose(slot.file);
            delete[] slot.stored;
            delete[] slot.inflated;
            slot = PREFETCH_SLOT();
        }
        m_prefetch.slot_count = 0;
    }
}

void DATA_SET_READER::prefetch_main(void* context)
{
    DATA_SET_READER* reader = static_cast<DATA_SET_READER*>(context);
    PREFETCH& prefetch = reader->m_prefetch;
    std::unique_lock<std::mutex> lock(prefetch.mutex);
    for (;;) {
        PREFETCH_SLOT* slot = nullptr;
        prefetch.wake.wait(lock, [&] {
            if (prefetch.stopping)
                return true;
            for (INT_U32 i = 0; i < prefetch.slot_count && !slot; ++i) {
                if (prefetch.slots[i].state == PREFETCH_SLOT::QUEUED)
                    slot = &prefetch.slots[i];
            }
            return slot != nullptr;
        });
        if (prefetch.stopping)
            return;
        slot->state = PREFETCH_SLOT::RUNNING;
        INT_U32 index = slot->index;
        lock.unlock();
        INT_U32 size = 0;
        bool ok = reader->inflate_from(slot->file, &slot->stream, &slot->stream_ready, index, slot->stored,
            slot->inflated, &size);
        lock.lock();
        slot->ok = ok;
        slot->size = size;
        slot->state = PREFETCH_SLOT::FINISHED;
        prefetch.done.notify_all();
    }
}

// Takes chunk `index` from a slot, waiting for it when it is being inflated; its buffer becomes
// the one in hand. Chunks queued but not started that are not wanted any more are dropped.
bool DATA_SET_READER::take_prefetched(INT_U32 index, INT_U32* size)
{
    if (!m_prefetch.slot_count)
        return false;
    std::unique_lock<std::mutex> lock(m_prefetch.mutex);
    PREFETCH_SLOT* found = nullptr;
    for (INT_U32 i = 0; i < m_prefetch.slot_count; ++i) {
        PREFETCH_SLOT& slot = m_prefetch.slots[i];
        if (slot.state != PREFETCH_SLOT::IDLE && slot.index == index)
            found = &slot;
        else if (slot.state == PREFETCH_SLOT::QUEUED && slot.index < index)
            slot.state = PREFETCH_SLOT::IDLE;
    }
    if (!found)
        return false;
    m_prefetch.done.wait(lock, [&] { return found->state == PREFETCH_SLOT::FINISHED; });
    found->state = PREFETCH_SLOT::IDLE;
    if (!found->ok)
        return false;
    INT_U8* held = m_inflated;
    m_inflated = found->inflated;
    found->inflated = held;
    *size = found->size;
    return true;
}

// Reading in order: the chunks after `index` are inflated meanwhile, one a slot.
void DATA_SET_READER::queue_ahead(INT_U32 index)
{
    if (!m_prefetch.slot_count)
        return;
    bool queued = false;
    {
        std::lock_guard<std::mutex> lock(m_prefetch.mutex);
        for (INT_U32 ahead = 1; ahead <= m_prefetch.slot_count && index + ahead < m_chunk_count; ++ahead) {
            INT_U32 wanted = index + ahead;
            PREFETCH_SLOT* free_slot = nullptr;
            bool held = false;
            for (INT_U32 i = 0; i < m_prefetch.slot_count; ++i) {
                PREFETCH_SLOT& slot = m_prefetch.slots[i];
                if (slot.state != PREFETCH_SLOT::IDLE && slot.index == wanted)
                    held = true;
                // A finished chunk that reading went past is free again.
                if (slot.state == PREFETCH_SLOT::FINISHED && slot.index <= index)
                    slot.state = PREFETCH_SLOT::IDLE;
                if (slot.state == PREFETCH_SLOT::IDLE && !free_slot)
                    free_slot = &slot;
            }
            if (held || !free_slot)
                continue;
            free_slot->index = wanted;
            free_slot->state = PREFETCH_SLOT::QUEUED;
            queued = true;
        }
    }
    if (queued)
        m_prefetch.wake.notify_all();
}

bool DATA_SET_READER::inflate(INT_U32 index)
{
    if (m_current == static_cast<INT_S64>(index))
        return true;
    if (host_stop_requested())
        return fail(ERROR_READ, "interrupted");
    CHUNK& chunk = m_chunks[index];
    INT_S64 before = m_current;
    m_current = -1;
    INT_U32 size = 0;
    if (!take_prefetched(index, &size)
        && !inflate_from(m_file, &m_stream, &m_stream_ready, index, m_stored, m_inflated, &size))
        return fail(ERROR_READ, "data set (chunk does not inflate)");
    if (chunk.placed && chunk.length != size)
        return fail(ERROR_READ, "data set (chunk changed its length)");
    chunk.length = size;
    m_current = index;
    ++m_inflations;
    if (before + 1 == static_cast<INT_S64>(index))
        queue_ahead(index);
    return true;
}

// The chunk that holds `position`. Places chunks forward, inflating them, until one does.
bool DATA_SET_READER::locate(INT_U64 position, INT_U32* index)
{
    // The chunk in hand first: members are read in order.
    if (m_current >= m_v->begin && m_current < m_v->end) {
        const CHUNK& held = m_chunks[m_current];
        if (held.placed && position >= held.start && position - held.start < held.length) {
            *index = static_cast<INT_U32>(m_current);
            return true;
        }
    }
    INT_U64 end_of_forward = forward_end();
    INT_U32 low = 0, high = 0;
    if (position < end_of_forward) {
        low = m_v->begin;
        high = m_v->forward;
    } else if (m_v->tail < m_v->end && position >= m_chunks[m_v->tail].start) {
        if (position >= m_v->package_size)
            return fail(ERROR_READ, "data set (position beyond the package)");
        low = m_v->tail;
        high = m_v->end;
    } else {
        while (m_v->forward < m_v->tail) {
            if (!inflate(m_v->forward))
                return false;
            CHUNK& chunk = m_chunks[m_v->forward];
            chunk.start = end_of_forward;
            chunk.placed = true;
            end_of_forward += chunk.length;
            ++m_v->forward;
            if (m_v->forward == m_v->tail && m_v->tail < m_v->end && end_of_forward != m_chunks[m_v->tail].start)
                return fail(ERROR_READ, "data set (chunks do not add up)");
            if (position < end_of_forward) {
                *index = m_v->forward - 1;
                return true;
            }
        }
        if (m_v->tail < m_v->end && position >= m_chunks[m_v->tail].start)
            return locate(position, index);
        return fail(ERROR_READ, "data set (position beyond the package)");
    }
    // Binary search for the last chunk that starts at or before the position.
    while (high - low > 1) {
        INT_U32 middle = low + (high - low) / 2;
        if (m_chunks[middle].start <= position)
            low = middle;
        else
            high = middle;
    }
    *index = low;
    return true;
}

bool DATA_SET_READER::read_at(INT_U64 position, void* buffer, INT_U32 length)
{
    INT_U8* out = static_cast<INT_U8*>(buffer);
    while (length > 0) {
        INT_U32 index = 0;
        if (!locate(position, &index) || !inflate(index))
            return false;
        const CHUNK& chunk = m_chunks[index];
        INT_U64 offset = position - chunk.start;
        INT_U64 left = chunk.length - offset;
        INT_U32 take = left < length ? static_cast<INT_U32>(left) : length;
        memcpy(out, m_inflated + offset, take);
        out += take;
        position += take;
        length -= take;
    }
    return true;
}

bool DATA_SET_READER::read_u32(INT_U64 position, INT_U32* value) { return read_at(position, value, 4); }

// ---------------------------------------------------------------------------------------------
// [SECTION] The package's end
// ---------------------------------------------------------------------------------------------

// The package ends with the last block of its last member. That block's link is 0, and the one
// before it (the member's previous block, or its entry when it has one block) names its place,
// which is the package's length less one block. The last member's entry then confirms it.
bool DATA_SET_READER::find_end()
{
    if (!m_compressed || m_v->forward == m_v->end) {
        m_v->package_size = forward_end();
        m_v->tail = m_v->end;
        if (!m_v->last_entry)
            return true;
        ENTRY entry;
        char name[PACKAGE_MAX_NAME + 1];
        return read_entry(m_v->last_entry, &entry, name, sizeof name) && add_entry(entry, name);
    }
    // The last bytes of the package, gathered from the last chunks however short they are.
    INT_U32 unit = m_v->block_size + 8;
    INT_U32 need = 2 * unit + 16;
    INT_U8* tail = new (std::nothrow) INT_U8[need];
    if (!tail)
        return fail(ERROR_PACKAGE_MEMORY, "data set");
    INT_U32 length = 0;
    for (INT_U32 index = m_v->end; length < need && index > m_v->begin;) {
        --index;
        if (!inflate(index)) {
            delete[] tail;
            return false;
        }
        INT_U32 chunk_length = m_chunks[index].length;
        INT_U32 take = chunk_length < need - length ? chunk_length : need - length;
        memmove(tail + need - length - take, m_inflated + chunk_length - take, take);
        length += take;
    }
    const INT_U8* end = tail + need; // the package's last byte is end[-1]
    INT_U64 candidates[2];
    int count = 0;
    if (length >= 2 * unit && u32_at(end - unit) == 0)
        candidates[count++] = static_cast<INT_U64>(u32_at(end - 2 * unit)) + unit;
    if (length >= unit + 16) {
        const INT_U8* entry_end = end - unit - 16;
        if (u32_at(entry_end) == u32_at(entry_end + 4) && u32_at(entry_end + 8) == 0 && u32_at(entry_end + 12) == 0)
            candidates[count++] = static_cast<INT_U64>(u32_at(entry_end + 4)) + unit;
    }
    delete[] tail;
    for (int i = 0; i < count; ++i) {
        if (try_end(candidates[i]))
            return true;
    }
    return fail(ERROR_READ, "data set (the package's end cannot be placed)");
}

bool DATA_SET_READER::try_end(INT_U64 package_size)
{
    INT_U32 last = m_v->end - 1;
    if (!inflate(last))
        return false;
    INT_U32 length = m_chunks[last].length;
    // Every chunk but the last holds at most the cache size, and positions are 32 bits. The last
    // entry is read where it lies: from the start when it is there already (a package of one
    // large payload file), else from the end, within a budget.
    bool from_start = m_v->last_entry < forward_end();
    if (package_size < static_cast<INT_U64>(length) + forward_end() || package_size > 0xFFFFFFFFull
        || package_size > static_cast<INT_U64>(m_v->end - m_v->begin) * m_cache_size || m_v->last_entry >= package_size
        || (!from_start && package_size - m_v->last_entry > TAIL_BUDGET))
        return false;
    m_v->package_size = package_size;
    m_v->tail = last;
    m_chunks[last].start = package_size - length;
    m_chunks[last].placed = true;
    ENTRY entry;
    char name[PACKAGE_MAX_NAME + 1];
    INT_U32 unit = m_v->block_size + 8;
    bool ok = (from_start || place_tail_down_to(m_v->last_entry)) && read_entry(m_v->last_entry, &entry, name, sizeof name)
        && entry.next_entry == 0 && entry.last_block == package_size - unit;
    if (ok)
        return add_entry(entry, name) != nullptr;
    // Not this one: nothing is placed from the end.
    for (INT_U32 i = m_v->tail; i < m_v->end; ++i) {
        if (i >= m_v->forward)
            m_chunks[i].placed = false;
    }
    m_v->tail = m_v->end;
    m_v->package_size = 0;
    return false;
}

// Places chunks from the end backward until the tail holds `position`.
bool DATA_SET_READER::place_tail_down_to(INT_U64 position)
{
    INT_U64 end_of_forward = forward_end();
    while (m_chunks[m_v->tail].start > position) {
        if (m_v->tail == m_v->forward)
            return m_chunks[m_v->tail].start == end_of_forward || fail(ERROR_READ, "data set (chunks do not add up)");
        if (m_v->package_size - m_chunks[m_v->tail].start > TAIL_BUDGET + SEARCH_BUDGET)
            return fail(ERROR_READ, "data set (too much behind the payload)");
        INT_U32 index = m_v->tail - 1;
        if (!inflate(index))
            return false;
        INT_U32 length = m_chunks[index].length;
        if (length > m_chunks[m_v->tail].start || m_chunks[m_v->tail].start - length < end_of_forward)
            return fail(ERROR_READ, "data set (chunks do not add up)");
        m_chunks[index].start = m_chunks[m_v->tail].start - length;
        m_chunks[index].placed = true;
        m_v->tail = index;
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Entries
// ---------------------------------------------------------------------------------------------

// An entry record: checked against the package's length, and its blocks against the layout of
// blocks that follow their entry.
bool DATA_SET_READER::read_entry(INT_U32 position, ENTRY* entry, char* name, INT_U32 name_size)
{
    INT_U32 name_length = 0;
    if (static_cast<INT_U64>(position) + ENTRY_FIXED_SIZE > m_v->package_size || !read_u32(position, &name_length)
        || name_length >= name_size || static_cast<INT_U64>(position) + ENTRY_FIXED_SIZE + name_length > m_v->package_size)
        return fail(ERROR_READ, "data set (entry)");
    INT_U32 links[4];
    if (!read_at(static_cast<INT_U64>(position) + 4, name, name_length)
        || !read_at(static_cast<INT_U64>(position) + 4 + name_length, links, sizeof links))
        return false;
    name[name_length] = 0;
    if (strlen(name) != name_length)
        return fail(ERROR_READ, "data set (entry name)");
    entry->position = position;
    entry->first_block = links[0];
    entry->last_block = links[1];
    entry->next_entry = links[2];
    INT_U32 unit = m_v->block_size + 8;
    bool empty = entry->first_block == 0 && entry->last_block == 0;
    bool blocks_fit = entry->first_block >= position + ENTRY_FIXED_SIZE + name_length
        && entry->last_block >= entry->first_block && static_cast<INT_U64>(entry->last_block) + unit <= m_v->package_size;
    if (!empty && !blocks_fit)
        return fail(ERROR_READ, "data set (entry blocks)");
    // Entries run forward through the package, so that walking them ends.
    if (entry->next_entry && entry->next_entry <= position)
        return fail(ERROR_READ, "data set (entry list turns back)");
    return true;
}

const DATA_SET_READER::ENTRY* DATA_SET_READER::add_entry(const ENTRY& entry, const char* name)
{
    if ((m_v->entry_count + 1) * 2 > m_v->slot_count) {
        INT_U32 slots = m_v->slot_count ? m_v->slot_count * 2 : 256;
        INT_U32* table = new (std::nothrow) INT_U32[slots]();
        ENTRY* entries = new (std::nothrow) ENTRY[slots / 2];
        if (!table || !entries) {
            delete[] table;
            delete[] entries;
            fail(ERROR_PACKAGE_MEMORY, "data set");
            return nullptr;
        }
        for (INT_U32 i = 0; i < m_v->entry_count; ++i) {
            entries[i] = m_v->entries[i];
            INT_U32 slot = text_hash(entries[i].name) & (slots - 1);
            while (table[slot])
                slot = (slot + 1) & (slots - 1);
            table[slot] = i + 1;
        }
        delete[] m_v->entries;
        delete[] m_v->slots;
        m_v->entries = entries;
        m_v->slots = table;
        m_v->slot_count = slots;
    }
    INT_U32 slot = text_hash(name) & (m_v->slot_count - 1);
    for (; m_v->slots[slot]; slot = (slot + 1) & (m_v->slot_count - 1)) {
        const ENTRY& held = m_v->entries[m_v->slots[slot] - 1];
        if (strcmp(held.name, name) == 0)
            return &held;
    }
    const char* stored = m_v->names.store_once(name);
    if (!stored) {
        fail(ERROR_PACKAGE_MEMORY, "data set");
        return nullptr;
    }
    ENTRY& added = m_v->entries[m_v->entry_count];
    added = entry;
    added.name = stored;
    m_v->slots[slot] = ++m_v->entry_count;
    return &added;
}

// Reads the entry the forward walk stands at. The walk ends at the end of the list, or where the
// members behind the payload begin, which are in the index already.
bool DATA_SET_READER::walk_forward_once()
{
    if (!m_v->walk_next)
        return false;
    ENTRY entry;
    char name[PACKAGE_MAX_NAME + 1];
    if (!read_entry(m_v->walk_next, &entry, name, sizeof name) || !add_entry(entry, name)) {
        m_v->walk_next = 0;
        return false;
    }
    m_v->walk_next = entry.next_entry;
    if (m_v->tail_complete && m_v->walk_next == m_v->tail_first_entry)
        m_v->walk_next = 0;
    return true;
}

const DATA_SET_READER::ENTRY* DATA_SET_READER::find(const char* name)
{
    if (!name || !m_v->slot_count)
        return nullptr;
    for (;;) {
        INT_U32 slot = text_hash(name) & (m_v->slot_count - 1);
        for (; m_v->slots[slot]; slot = (slot + 1) & (m_v->slot_count - 1)) {
            const ENTRY& held = m_v->entries[m_v->slots[slot] - 1];
            if (strcmp(held.name, name) == 0)
                return &held;
        }
        // Behind the payload every member is known: a name that is no payload file's is not
        // looked for through the payload.
        if (m_v->tail_complete && !looks_like_payload(name))
            return nullptr;
        if (!walk_forward_once())
            return nullptr;
    }
}

// Packed names are an installation's name and four upper-case hexadecimal digits.
bool DATA_SET_READER::looks_like_payload(const char* name) const
{
    size_t length = strlen(name);
    if (length < 5)
        return false;
    for (size_t i = length - 4; i < length; ++i) {
        char c = name[i];
        if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F')))
            return false;
    }
    for (INT_S32 i = 0; i < m_installation_count; ++i) {
        if (strlen(m_installations[i]) == length - 4 && strncmp(m_installations[i], name, length - 4) == 0)
            return true;
    }
    return false;
}

void DATA_SET_READER::index_tail(const DATABASE& database)
{
    if (!is_open())
        return;
    m_v = &m_volumes[m_volume_count - 1];
    if (m_v->tail_complete || m_v->failed)
        return;
    delete[] m_installations;
    m_installations = new (std::nothrow) const char*[database.installation_count > 0 ? database.installation_count : 1];
    m_installation_count = 0;
    if (!m_installations)
        return;
    const char* last_payload = nullptr;
    for (INT_S16 i = 0; i < database.installation_count; ++i) {
        const INSTALLATION_RECORD& installation = database.installations[i];
        const char* stored = m_installation_texts.store(installation.name);
        if (!stored)
            return;
        m_installations[m_installation_count++] = stored;
        for (INT_S16 f = 0; f < installation.file_count; ++f) {
            // Members of the other packages are named with their package and a "/".
            const char* packed = installation.files[f].packed_name;
            if (packed[0] && !strchr(packed, '/'))
                last_payload = packed;
        }
    }
    // Without payload the forward walk meets the members behind it at once.
    if (!last_payload)
        return;
    INT_U32 position = 0;
    if (!search_entry_backward(last_payload, &position))
        return;
    ENTRY entry;
    char name[PACKAGE_MAX_NAME + 1];
    for (INT_U32 next = position; next;) {
        if (!read_entry(next, &entry, name, sizeof name) || !add_entry(entry, name))
            return;
        next = entry.next_entry;
    }
    // The first member behind the payload is the one behind the last payload file.
    if (read_entry(position, &entry, name, sizeof name))
        m_v->tail_first_entry = entry.next_entry;
    m_v->tail_complete = m_v->tail_first_entry != 0;
    if (m_v->walk_next == m_v->tail_first_entry)
        m_v->walk_next = 0;
}

// Whether the entries from `position` on run, each right behind the blocks of the one before, to
// the last entry of the package: the layout the packer writes, which bytes that merely look like
// an entry (a packed name inside the database's own stream) do not have.
bool DATA_SET_READER::chain_reaches_end(INT_U32 position)
{
    INT_U32 unit = m_v->block_size + 8;
    for (INT_U32 count = 0; count < 1000000; ++count) {
        ENTRY entry;
        char name[PACKAGE_MAX_NAME + 1];
        if (!read_entry(position, &entry, name, sizeof name))
            return false;
        INT_U64 behind_record = static_cast<INT_U64>(position) + ENTRY_FIXED_SIZE + strlen(name);
        bool empty = entry.first_block == 0;
        if (!empty && entry.first_block != behind_record)
            return false;
        INT_U64 behind_blocks = empty ? behind_record : static_cast<INT_U64>(entry.last_block) + unit;
        if (entry.next_entry == 0)
            return position == m_v->last_entry && behind_blocks == m_v->package_size;
        if (entry.next_entry != behind_blocks)
            return false;
        position = entry.next_entry;
    }
    return false;
}

// Looks for the entry record of `name` (its length and its bytes) in the chunks from the end
// backward, placing them as it goes. A hit counts only when its record reads as an entry of
// that name whose blocks follow it.
bool DATA_SET_READER::search_entry_backward(const char* name, INT_U32* position)
{
    INT_U32 length = static_cast<INT_U32>(strlen(name));
    INT_U32 pattern_size = 4 + length;
    if (length == 0 || length > PACKAGE_MAX_NAME || m_v->tail >= m_v->end)
        return false;
    INT_U8* pattern = new (std::nothrow) INT_U8[pattern_size];
    // The end of the chunk searched before, so that a record across the boundary is found too.
    INT_U8* seam = new (std::nothrow) INT_U8[2 * pattern_size];
    if (!pattern || !seam) {
        delete[] pattern;
        delete[] seam;
        return false;
    }
    memcpy(pattern, &length, 4);
    memcpy(pattern + 4, name, length);
    INT_U64 searched = 0;
    bool found = false;
    INT_U32 index = m_v->end;
    INT_U32 seam_head = 0; // bytes at the start of the chunk after `index` kept in the seam
    while (!found && index > m_v->begin && searched <= SEARCH_BUDGET + (m_v->package_size - m_v->last_entry)) {
        --index;
        // Chunks placed from the start (a small package) are searched as they stand.
        if (!m_chunks[index].placed && !place_tail_down_to(m_chunks[index + 1].start - 1))
            break;
        if (!m_chunks[index].placed || !inflate(index))
            break;
        const CHUNK& chunk = m_chunks[index];
        searched += chunk.length;
        // Within the chunk.
        for (INT_U32 at = 0; !found && at + pattern_size <= chunk.length; ++at) {
            const void* hit = memchr(m_inflated + at, pattern[0], chunk.length - at);
            if (!hit)
                break;
            at = static_cast<INT_U32>(static_cast<const INT_U8*>(hit) - m_inflated);
            if (at + pattern_size > chunk.length || memcmp(m_inflated + at, pattern, pattern_size) != 0)
                continue;
            ENTRY entry;
            char held[PACKAGE_MAX_NAME + 1];
            INT_U64 candidate = chunk.start + at;
            found = candidate < m_v->last_entry && read_entry(static_cast<INT_U32>(candidate), &entry, held, sizeof held)
                && strcmp(held, name) == 0 && chain_reaches_end(static_cast<INT_U32>(candidate));
            if (found)
                *position = static_cast<INT_U32>(candidate);
            // Reading the candidate may have inflated another chunk.
            if (!found && !inflate(index))
                break;
        }
        // Across the boundary with the chunk searched before.
        INT_U32 tail_part = chunk.length < pattern_size ? chunk.length : pattern_size - 1;
        if (!found && seam_head > 0 && tail_part > 0) {
            INT_U8 window[2 * (4 + PACKAGE_MAX_NAME)];
            memcpy(window, m_inflated + chunk.length - tail_part, tail_part);
            memcpy(window + tail_part, seam, seam_head);
            for (INT_U32 at = 0; !found && at < tail_part && at + pattern_size <= tail_part + seam_head; ++at) {
                if (memcmp(window + at, pattern, pattern_size) != 0)
                    continue;
                ENTRY entry;
                char held[PACKAGE_MAX_NAME + 1];
                INT_U64 candidate = chunk.start + chunk.length - tail_part + at;
                found = candidate < m_v->last_entry && read_entry(static_cast<INT_U32>(candidate), &entry, held, sizeof held)
                    && strcmp(held, name) == 0 && chain_reaches_end(static_cast<INT_U32>(candidate));
                if (found)
                    *position = static_cast<INT_U32>(candidate);
            }
            if (!found && !inflate(index))
                break;
        }
        seam_head = chunk.length < pattern_size - 1 ? chunk.length : pattern_size - 1;
        memcpy(seam, m_inflated, seam_head);
    }
    delete[] pattern;
    delete[] seam;
    return found;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Members
// ---------------------------------------------------------------------------------------------

bool DATA_SET_READER::has_member(const char* name)
{
    const char* member = nullptr;
    return select(name, &member) && find(member) != nullptr;
}

// A member's chain, block by block, handed to the sink straight from the inflated chunk when a
// block lies whole in one. Loops are caught as the package walks them: a bound on the blocks and
// Brent's mark.
bool DATA_SET_READER::read_member(const char* member_name, MEMBER_SINK sink, void* context)
{
    if (!is_open())
        return fail(ERROR_PACKAGE_NOT_OPEN, nullptr);
    const char* member = nullptr;
    if (!select(member_name, &member))
        return false;
    const ENTRY* found = find(member);
    if (!found)
        return fail(ERROR_MEMBER_NOT_FOUND, member_name ? member_name : "");
    ENTRY entry = *found;
    INT_U32 unit = m_v->block_size + 8;
    INT_U64 most = m_v->package_size / unit + 1;
    INT_U32 mark = 0, steps_since_mark = 0, next_move = 1;
    INT_U8* spare = nullptr;
    bool ok = true;
    INT_U32 position = entry.first_block;
    for (INT_U64 count = 0; ok && position; ++count) {
        if (position == mark || count >= most) {
            ok = fail(ERROR_READ, "member chain loops");
            break;
        }
        if (++steps_since_mark == next_move) {
            mark = position;
            steps_since_mark = 0;
            next_move = next_move < 0x80000000u ? next_move * 2 : next_move;
        }
        if (static_cast<INT_U64>(position) + unit > m_v->package_size) {
            ok = fail(ERROR_READ, "data set (block beyond the package)");
            break;
        }
        INT_U32 index = 0;
        if (!locate(position, &index) || !inflate(index)) {
            ok = false;
            break;
        }
        const CHUNK& chunk = m_chunks[index];
        const INT_U8* block = nullptr;
        if (position + unit <= chunk.start + chunk.length) {
            block = m_inflated + (position - chunk.start);
        } else {
            if (!spare)
                spare = new (std::nothrow) INT_U8[unit];
            if (!spare || !read_at(position, spare, unit)) {
                ok = spare ? false : fail(ERROR_PACKAGE_MEMORY, "data set");
                break;
            }
            block = spare;
        }
        INT_U32 next = u32_at(block);
        INT_U32 used = u32_at(block + 4 + m_v->block_size);
        if (used > m_v->block_size) {
            ok = fail(ERROR_READ, "data set (block claims more than it holds)");
            break;
        }
        if (used > 0 && sink && !sink(block + 4, used, context)) {
            ok = false;
            break;
        }
        position = next;
    }
    delete[] spare;
    return ok;
}

namespace {

bool write_to_stream(const void* bytes, INT_U32 size, void* context)
{
    return fwrite(bytes, 1, size, static_cast<FILE*>(context)) == size;
}

} // namespace

bool DATA_SET_READER::extract_file(const FOLDER& folder, const char* file_name, const char* member_name)
{
    const char* name = member_name ? member_name : file_name;
    if (!has_member(name))
        return fail(ERROR_MEMBER_NOT_FOUND, name ? name : "");
    FILE* out = folder.open_stream(file_name, "wb");
    if (!out)
        return fail(ERROR_CREATE, file_name);
    bool ok = read_member(name, write_to_stream, out);
    if (fclose(out) != 0 && ok)
        ok = fail(ERROR_WRITE, file_name);
    if (!ok)
        (void)folder.delete_file(file_name);
    return ok;
}
