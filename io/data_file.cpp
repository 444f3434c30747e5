// DATA_FILE: the cached file device, its gzip layer and the cache pool.
//
// [SECTION] Cache pool
// [SECTION] Construction and opening
// [SECTION] File layer
// [SECTION] Reading, writing and seeking
// [SECTION] Closing

#include "io/data_file.h"

#include <sys/types.h>

#include <zlib.h>

#include <cstring>
#include <new>

#include "base/error_report.h"
#include "host/host_files.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Cache pool
// ---------------------------------------------------------------------------------------------

// Caches are large, so an application that opens and closes many files can keep a few buffers
// alive between them. Empty unless the application sizes it.
namespace {
INT_U8* pool_in_use = nullptr;
INT_S32* pool_sizes = nullptr;
INT_U8** pool_buffers = nullptr;
INT_S16 pool_slot_count = 0;

void free_pool_arrays()
{
    delete[] pool_in_use;
    delete[] pool_sizes;
    delete[] pool_buffers;
    pool_in_use = nullptr;
    pool_sizes = nullptr;
    pool_buffers = nullptr;
    pool_slot_count = 0;
}

// Takes a pool buffer of at least `size` bytes; -1 when none fits and none can be made.
INT_S16 take_pool_slot(INT_S32 size, INT_U8** buffer)
{
    INT_S16 empty_slot = -1;
    for (INT_S16 i = 0; i < pool_slot_count; ++i) {
        if (pool_in_use[i])
            continue;
        if (pool_buffers[i] && pool_sizes[i] >= size) {
            pool_in_use[i] = 1;
            *buffer = pool_buffers[i];
            return i;
        }
        if (!pool_buffers[i] && empty_slot < 0)
            empty_slot = i;
    }
    if (empty_slot < 0)
        return -1;
    INT_U8* fresh = new (std::nothrow) INT_U8[size];
    if (!fresh)
        return -1;
    pool_buffers[empty_slot] = fresh;
    pool_sizes[empty_slot] = size;
    pool_in_use[empty_slot] = 1;
    *buffer = fresh;
    return empty_slot;
}

// Gives a cache back: to its pool slot when the slot still holds it, otherwise (a private cache,
// or one whose slot was dropped by set_file_cache_pool) to the heap.
void give_back_cache(INT_S16 slot, INT_U8* cache)
{
    if (slot >= 0 && slot < pool_slot_count && pool_buffers[slot] == cache) {
        pool_in_use[slot] = 0;
        return;
    }
    delete[] cache;
}
} // namespace

void set_file_cache_pool(INT_S16 count)
{
    // Buffers in use are left to their files, which free them when they are deleted.
    for (INT_S16 i = 0; i < pool_slot_count; ++i) {
        if (!pool_in_use[i])
            delete[] pool_buffers[i];
    }
    free_pool_arrays();
    if (count <= 0)
        return;
    pool_in_use = new (std::nothrow) INT_U8[count]();
    pool_sizes = new (std::nothrow) INT_S32[count]();
    pool_buffers = new (std::nothrow) INT_U8*[count]();
    if (!pool_in_use || !pool_sizes || !pool_buffers) {
        free_pool_arrays();
        return;
    }
    pool_slot_count = count;
}

INT_S16 file_cache_pool_slots()
{
    return pool_slot_count;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Construction and opening
// ---------------------------------------------------------------------------------------------

DATA_FILE::DATA_FILE(INT_S32 cache_size)
{
    INT_S32 size = cache_size == -1 ? DATA_FILE_DEFAULT_CACHE : cache_size;
    if (size < DATA_FILE_MIN_CACHE)
        size = DATA_FILE_MIN_CACHE;
    if (size > DATA_FILE_MAX_CACHE)
        size = DATA_FILE_MAX_CACHE;
    m_cache_size = size;
    m_pool_slot = take_pool_slot(size, &m_cache);
    if (m_pool_slot < 0)
        m_cache = new (std::nothrow) INT_U8[size];
    if (!m_cache)
        fatal_error(0x0015, nullptr);
}

DATA_FILE::~DATA_FILE()
{
    release_streams();
    give_back_cache(m_pool_slot, m_cache);
}

namespace {

INT_U32 stream_end(FILE* stream)
{
    if (fseeko(stream, 0, SEEK_END) != 0)
        return 0;
    off_t end = ftello(stream);
    fseek(stream, 0, SEEK_SET);
    // Positions are 32 bits: of a larger file (an installer with a data set past 4 GiB) the
    // first 4 GiB can be read, and nothing wraps round to a small size.
    if (end <= 0)
        return 0;
    return end > static_cast<off_t>(0xFFFFFFFFu) ? 0xFFFFFFFFu : static_cast<INT_U32>(end);
}

// The size of a gzip file's data, from its trailer. A file without the gzip magic is read by
// the layer as it stands, so its own size is the answer.
INT_U32 gzip_data_size(FILE* stream, INT_U32 end)
{
    INT_U8 magic[2];
    INT_U8 trailer[4];
    if (end < 18 || !host_read_at(stream, 0, magic, 2) || magic[0] != 0x1F || magic[1] != 0x8B)
        return end;
    if (!host_read_at(stream, end - 4, trailer, 4))
        return 0;
    return static_cast<INT_U32>(trailer[0]) | static_cast<INT_U32>(trailer[1]) << 8
        | static_cast<INT_U32>(trailer[2]) << 16 | static_cast<INT_U32>(trailer[3]) << 24;
}

} // namespace

bool DATA_FILE::open(const FOLDER& folder, const char* name, INT_S32 mode, INT_U8 order_marker, bool compressed)
{
    static const char* const stream_modes[] = { "rb", "wb", "r+b" };
    if (m_stream || !name || !name[0] || mode < FILE_READ || mode > FILE_UPDATE)
        return false;
    // The gzip format cannot be rewritten in place.
    if (compressed && mode == FILE_UPDATE)
        return false;
    FILE* stream = folder.open_stream(name, stream_modes[mode]);
    if (!stream)
        return false;

    m_stream = stream;
    m_mode = mode;
    m_folder = folder;
    m_name.assign(name);
    INT_U32 end = stream_end(stream);
    m_layer_offset = 0;
    if (compressed) {
        if (mode == FILE_READ)
            end = gzip_data_size(stream, end);
        int descriptor = host_duplicate_descriptor(stream);
        gzFile layer = descriptor >= 0 ? gzdopen(descriptor, mode == FILE_WRITE ? "wb" : "rb") : nullptr;
        if (!layer) {
            if (descriptor >= 0)
                host_close_descriptor(descriptor);
            release_streams();
            return false;
        }
        m_gz_stream = layer;
    }

    if (order_marker != ORDER_MARKER_IN_FILE) {
        swap_bytes = order_marker != 0;
        m_file_size = end;
        m_file_position = mode == FILE_UPDATE ? end : 0;
        return true;
    }

    m_has_order_marker = 1;
    swap_bytes = 0;
    const INT_U8 native = 0;
    INT_U8 found = 0;
    switch (mode) {
    case FILE_WRITE:
        if (layer_write_at(0, &native, 1) != 1) {
            release_streams();
            return false;
        }
        m_file_size = 1;
        m_file_position = 1;
        break;
    case FILE_UPDATE:
        if (layer_read_at(0, &found, 1) == 1) {
            swap_bytes = found != 0;
        } else {
            if (layer_write_at(0, &native, 1) != 1) {
                release_streams();
                return false;
            }
            end = 1;
        }
        m_file_size = end;
        m_file_position = end;
        break;
    default:
        if (layer_read_at(0, &found, 1) == 1)
            swap_bytes = found != 0;
        m_file_size = end;
        m_file_position = 1;
        break;
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] File layer
// ---------------------------------------------------------------------------------------------

// Every transfer names its file offset. A seek happens only when the layer stands elsewhere, or
// when the C library needs one between a write and a read.

bool DATA_FILE::layer_seek(INT_U32 offset)
{
    bool ok;
    if (m_gz_stream)
        ok = gzseek(static_cast<gzFile>(m_gz_stream), static_cast<z_off_t>(offset), SEEK_SET) == static_cast<z_off_t>(offset);
    else
        ok = fseek(m_stream, static_cast<long>(offset), SEEK_SET) == 0;
    m_layer_offset = ok ? static_cast<INT_S64>(offset) : -1;
    m_last_was_write = 0;
    return ok;
}

INT_S32 DATA_FILE::layer_read_at(INT_U32 offset, void* buffer, INT_S32 size)
{
    bool switching = !m_gz_stream && m_last_was_write;
    if ((m_layer_offset != static_cast<INT_S64>(offset) || switching) && !layer_seek(offset))
        return 0;
    INT_S32 got;
    if (m_gz_stream)
        got = gzread(static_cast<gzFile>(m_gz_stream), buffer, static_cast<unsigned>(size));
    else
        got = static_cast<INT_S32>(fread(buffer, 1, static_cast<size_t>(size), m_stream));
    if (got < 0) {
        m_layer_offset = -1;
        return 0;
    }
    m_layer_offset += got;
    m_last_was_write = 0;
    return got;
}

INT_S32 DATA_FILE::layer_write_at(INT_U32 offset, const void* buffer, INT_S32 size)
{
    bool switching = !m_gz_stream && !m_last_was_write;
    if ((m_layer_offset != static_cast<INT_S64>(offset) || switching) && !layer_seek(offset))
        return 0;
    INT_S32 done;
    if (m_gz_stream)
        done = gzwrite(static_cast<gzFile>(m_gz_stream), buffer, static_cast<unsigned>(size));
    else
        done = static_cast<INT_S32>(fwrite(buffer, 1, static_cast<size_t>(size), m_stream));
    if (done <= 0) {
        m_layer_offset = -1;
        return 0;
    }
    m_layer_offset += done;
    m_last_was_write = 1;
    return done;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Reading, writing and seeking
// ---------------------------------------------------------------------------------------------

INT_U32 DATA_FILE::tell()
{
    return m_file_position + static_cast<INT_U32>(m_cache_position) - marker();
}

INT_U32 DATA_FILE::size() const
{
    if (!m_stream)
        return 0;
    INT_U32 cached_end = m_file_position + static_cast<INT_U32>(m_cache_fill);
    INT_U32 end = cached_end > m_file_size ? cached_end : m_file_size;
    return end - marker();
}

bool DATA_FILE::at_end()
{
    if (!m_stream)
        return true;
    if (m_cache_position < m_cache_fill)
        return false;
    if (m_file_position + static_cast<INT_U32>(m_cache_position) >= m_file_size)
        return true;
    return m_gz_stream ? gzeof(static_cast<gzFile>(m_gz_stream)) != 0 : feof(m_stream) != 0;
}

INT_S32 DATA_FILE::read(void* buffer, INT_S32 size)
{
    if (!m_stream)
        return 0;
    if (m_mode == FILE_WRITE)
        fatal_error(0x000E, m_name.c_str());
    if (!buffer || size <= 0)
        return 0;

    INT_U8* out = static_cast<INT_U8*>(buffer);
    INT_S32 done = 0;
    for (;;) {
        INT_S32 wanted = size - done;
        INT_S32 available = m_cache_fill - m_cache_position;
        if (wanted <= available) {
            memcpy(out + done, m_cache + m_cache_position, static_cast<size_t>(wanted));
            m_cache_position += wanted;
            return size;
        }
        if (available > 0) {
            memcpy(out + done, m_cache + m_cache_position, static_cast<size_t>(available));
            m_cache_position += available;
            done += available;
        }
        // The cache is used up: move it on to the bytes behind it.
        if (m_cache_dirty) {
            if (!flush())
                return done;
        } else {
            m_file_position += static_cast<INT_U32>(m_cache_fill);
            m_cache_position = 0;
            m_cache_fill = 0;
        }
        INT_S32 got = layer_read_at(m_file_position, m_cache, m_cache_size);
        m_cache_fill = got > 0 ? got : 0;
        m_cache_position = 0;
        if (got <= 0)
            return done;
    }
}

INT_S32 DATA_FILE::write(const void* buffer, INT_S32 size)
{
    if (size < 1 || !m_stream || !buffer)
        return 0;
    if (m_mode == FILE_READ)
        fatal_error(0x000F, m_name.c_str());
    if (m_cache_position + size >= m_cache_size && !flush())
        return 0;
    if (size < m_cache_size) {
        memcpy(m_cache + m_cache_position, buffer, static_cast<size_t>(size));
        m_cache_position += size;
        if (m_cache_position > m_cache_fill)
            m_cache_fill = m_cache_position;
        m_cache_dirty = 1;
        return size;
    }
    // As large as the cache or larger: straight to the file.
    INT_S32 written = layer_write_at(m_file_position, buffer, size);
    m_file_position += static_cast<INT_U32>(written);
    if (m_file_position > m_file_size)
        m_file_size = m_file_position;
    return written;
}

bool DATA_FILE::flush()
{
    if (!m_stream)
        return false;
    bool ok = true;
    INT_U32 start = m_file_position;
    if (m_cache_dirty && m_cache_fill >= 1) {
        INT_S32 written = layer_write_at(start, m_cache, m_cache_fill);
        ok = written == m_cache_fill;
        if (start + static_cast<INT_U32>(written) > m_file_size)
            m_file_size = start + static_cast<INT_U32>(written);
    }
    // The cache starts again at the logical position.
    m_file_position = start + static_cast<INT_U32>(m_cache_position);
    m_cache_position = 0;
    m_cache_fill = 0;
    m_cache_dirty = 0;
    return ok;
}

bool DATA_FILE::read_at(INT_U32 offset, void* buffer, INT_S32 size)
{
    if (!m_stream || !buffer || size <= 0)
        return false;
    INT_U64 target = static_cast<INT_U64>(offset) + marker();
    INT_U64 cache_start = m_file_position;
    INT_U64 cache_end = cache_start + static_cast<INT_U64>(m_cache_fill);
    if (target >= cache_start && target + static_cast<INT_U64>(size) <= cache_end) {
        memcpy(buffer, m_cache + (target - cache_start), static_cast<size_t>(size));
        return true;
    }
    bool near = target >= cache_start && target < cache_end + static_cast<INT_U64>(m_cache_size);
    if (near || m_cache_dirty || m_gz_stream || m_mode == FILE_WRITE || target > 0xFFFFFFFFu)
        return seek(offset, false) && read(buffer, size) == size;
    return layer_read_at(static_cast<INT_U32>(target), buffer, size) == size;
}

bool DATA_FILE::seek(INT_U32 offset, bool from_end)
{
    if (!m_stream)
        return false;
    INT_U32 target;
    if (from_end) {
        INT_U32 cached_end = m_file_position + static_cast<INT_U32>(m_cache_fill);
        INT_U32 end = (cached_end > m_file_size ? cached_end : m_file_size) - marker();
        target = end + offset + marker();
    } else {
        target = offset + marker();
    }
    if (target == m_file_position + static_cast<INT_U32>(m_cache_position))
        return true;
    if (target >= m_file_position && target - m_file_position <= static_cast<INT_U32>(m_cache_fill)) {
        m_cache_position = static_cast<INT_S32>(target - m_file_position);
        return true;
    }
    bool flushed = flush();
    m_file_position = target;
    bool moved = layer_seek(target);
    return flushed && moved;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Closing
// ---------------------------------------------------------------------------------------------

bool DATA_FILE::close()
{
    if (!m_stream)
        return true;
    bool ok = flush();
    if (m_gz_stream && gzclose(static_cast<gzFile>(m_gz_stream)) != Z_OK)
        ok = false;
    m_gz_stream = nullptr;
    if (fclose(m_stream) != 0)
        ok = false;
    m_stream = nullptr;
    return ok;
}

void DATA_FILE::release_streams()
{
    if (m_gz_stream)
        gzclose(static_cast<gzFile>(m_gz_stream));
    m_gz_stream = nullptr;
    if (m_stream)
        fclose(m_stream);
    m_stream = nullptr;
}
