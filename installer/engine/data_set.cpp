// Reading the data set behind a finished installer: its header and its chunks.

#include "installer/engine/data_set.h"

#include <zlib.h>

#include <cstdio>
#include <cstring>
#include <new>

#include "io/data_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "host/host_files.h"
#include "graphics/image_cache.h"
#include "host/host.h"
#include "io/stamp.h"

bool read_data_set_header(DATA_FILE* device, INT_U32 data_offset, DATA_SET_SPLASH* splash, DATA_SET_HEADER* header)
{
    if (!device->seek(data_offset, false))
        return set_last_error(ERROR_READ, "data set (offset past the end)");
    INT_U8 present = 0;
    if (!device_read(device, &present))
        return set_last_error(ERROR_READ, "data set (splash flag)");
    DATA_SET_SPLASH dropped;
    DATA_SET_SPLASH* target = splash ? splash : &dropped;
    target->present = present;
    if (present) {
        // The splash's pictures all came with the cache just read.
        INT_U32 held_mode = style_set_image_mode;
        style_set_image_mode = CACHE_LOOK_ONLY;
        bool ok = image_cache.get_from_data_device(device) && target->image.get_from_data_device(device)
            && device_read(device, &target->bar_x) && device_read(device, &target->bar_y)
            && device_read(device, &target->bar_width) && device_read(device, &target->bar_height)
            && target->title.get_from_data_device(device) && target->bar_style.get_from_data_device(device);
        style_set_image_mode = held_mode;
        if (!ok)
            return set_last_error(ERROR_READ, "data set (splash)");
    }
    if (!device_read(device, &header->file_cache_size) || !device_read(device, &header->compressed))
        return set_last_error(ERROR_READ, "data set (cache size)");
    if (header->file_cache_size < DATA_SET_MIN_CACHE || header->file_cache_size > DATA_SET_MAX_CACHE)
        return set_last_error(ERROR_READ, "data set (cache size out of range)");
    header->chunk_start = device->tell();
    header->data_end = device->size();
    return true;
}

void set_data_set_end(const FOLDER& folder, const char* name, DATA_SET_HEADER* header)
{
    HOST_FILE_INFO info;
    if (host_file_info(folder.path_text(name), &info) && info.size > 0)
        header->data_end = info.size - 1;
}

bool side_package_name(const char* name, INT_U32 number, char* buffer, size_t size)
{
    int length = snprintf(buffer, size, "%s.%u", name, number);
    return length > 0 && static_cast<size_t>(length) < size;
}

void delete_side_packages(const FOLDER& folder, const char* name, INT_U32 packages)
{
    char side[ORLU_MAX_PATH];
    for (INT_U32 number = 1; number < packages; ++number) {
        if (side_package_name(name, number, side, sizeof side))
            (void)folder.delete_file(side);
    }
}

bool packed_name_package(const char* packed_name, INT_U32* number, const char** member)
{
    static const char prefix[] = "installer.pkg.";
    if (!packed_name || strncmp(packed_name, prefix, sizeof prefix - 1) != 0)
        return false;
    const char* digits = packed_name + sizeof prefix - 1;
    const char* at = digits;
    INT_U32 value = 0;
    while (*at >= '0' && *at <= '9' && value < 100000)
        value = value * 10 + static_cast<INT_U32>(*at++ - '0');
    if (*at != '/' || at == digits)
        return false;
    *number = value;
    *member = at + 1;
    return true;
}

namespace {

// The chunks of a data set read in order from the installer file, with 64-bit positions: a data
// set of several packages goes on past 4 GiB, where a DATA_FILE's positions stop.
class CHUNK_SOURCE {
public:
    ~CHUNK_SOURCE()
    {
        if (m_file)
            fclose(m_file);
    }

    // Opens the file and stands on the first chunk; logical position `chunk_start` lies behind
    // the file's first byte, the byte-order marker, which also says whether lengths are swapped.
    bool open(const FOLDER& folder, const char* name, INT_U32 chunk_start)
    {
        m_file = folder.open_stream(name, "rb");
        if (!m_file)
            return set_last_error(ERROR_FILE_NOT_FOUND, name);
        INT_U8 marker = 0;
        if (fseeko(m_file, 0, SEEK_END) != 0)
            return set_last_error(ERROR_READ, "data set (chunks)");
        off_t end = ftello(m_file);
        m_at = static_cast<INT_U64>(chunk_start) + 1;
        if (end < 0 || static_cast<INT_U64>(end) < m_at || fseeko(m_file, 0, SEEK_SET) != 0
            || fread(&marker, 1, 1, m_file) != 1 || fseeko(m_file, static_cast<off_t>(m_at), SEEK_SET) != 0)
            return set_last_error(ERROR_READ, "data set (chunks)");
        m_end = static_cast<INT_U64>(end);
        m_swap = marker != 0;
        return true;
    }

    [[nodiscard]] bool at_end() const { return m_at >= m_end; }
    [[nodiscard]] INT_U64 left() const { return m_end - m_at; }

    bool read_length(INT_S32* length)
    {
        INT_U8 bytes[4];
        if (left() < 4 || fread(bytes, 1, 4, m_file) != 4)
            return false;
        m_at += 4;
        INT_U32 raw;
        memcpy(&raw, bytes, 4);
        *length = static_cast<INT_S32>(m_swap ? __builtin_bswap32(raw) : raw);
        return true;
    }

    bool read(INT_U8* buffer, INT_U32 size)
    {
        if (left() < size || fread(buffer, 1, size, m_file) != size)
            return false;
        m_at += size;
        return true;
    }

private:
    FILE* m_file { nullptr };
    INT_U64 m_at { 0 };
    INT_U64 m_end { 0 };
    bool m_swap { false };
};

// The package being written: the current one always goes to the main package's name, and moves
// aside to "<name>.N" when a chunk of length 0 shows that another follows it. A data set of one
// package thus writes exactly the one file it always did.
class PACKAGE_OUTPUT {
public:
    PACKAGE_OUTPUT(const FOLDER& folder, const char* name)
        : m_folder(folder)
        , m_name(name)
    {
    }
    ~PACKAGE_OUTPUT() { FOLDER::close_data_file(&m_out); }

    bool start()
    {
        m_out = m_folder.open_data_file(m_name, FILE_WRITE, ORDER_MARKER_IN_FILE, false);
        m_bytes = 0;
        m_has_chunks = false;
        return m_out ? true : set_last_error(ERROR_CREATE, m_name);
    }

    bool write(const INT_U8* bytes, INT_U32 size)
    {
        if (m_bytes + size > DATA_SET_MOST_PACKAGE_BYTES)
            return set_last_error(ERROR_READ, "data set (a package longer than 4 GiB)");
        if (m_out->write(bytes, static_cast<INT_S32>(size)) != static_cast<INT_S32>(size))
            return set_last_error(ERROR_WRITE, m_name);
        m_bytes += size;
        m_has_chunks = true;
        return true;
    }

    // A chunk of length 0: the package in hand is whole and another one follows.
    bool next()
    {
        if (!m_has_chunks)
            return set_last_error(ERROR_READ, "data set (a package without chunks)");
        if (m_finished + 2 > DATA_SET_MOST_PACKAGES)
            return set_last_error(ERROR_READ, "data set (more packages than a data set may hold)");
        char side[ORLU_MAX_PATH];
        if (!side_package_name(m_name, m_finished + 1, side, sizeof side))
            return set_last_error(ERROR_CREATE, m_name);
        bool closed = m_out->close();
        FOLDER::close_data_file(&m_out);
        if (!closed)
            return set_last_error(ERROR_WRITE, m_name);
        if (!m_folder.rename_file(m_name, m_folder, side))
            return set_last_error(ERROR_CREATE, side);
        ++m_finished;
        return start();
    }

    // After the last chunk: the package in hand is the main one.
    bool finish()
    {
        // A chunk of length 0 at the very end leaves the main package without chunks.
        if (m_finished > 0 && !m_has_chunks)
            return set_last_error(ERROR_READ, "data set (a package without chunks)");
        bool closed = m_out->close();
        FOLDER::close_data_file(&m_out);
        return closed ? true : set_last_error(ERROR_WRITE, m_name);
    }

    // After a failure: closes the package in hand, leaving the last-error slot as the failure
    // set it, and deletes the packages moved aside, of which none is of use now.
    void abandon()
    {
        if (m_out)
            (void)m_out->close();
        FOLDER::close_data_file(&m_out);
        delete_side_packages(m_folder, m_name, m_finished + 1);
    }

    [[nodiscard]] INT_U32 package() const { return m_finished + 1; }

private:
    const FOLDER& m_folder;
    const char* m_name;
    DATA_FILE* m_out { nullptr };
    INT_U64 m_bytes { 0 };
    bool m_has_chunks { false };
    INT_U32 m_finished { 0 }; // packages moved aside so far
};

} // namespace

bool unpack_data_set(const FOLDER& exe_folder, const char* exe_name, const DATA_SET_HEADER& header, const FOLDER& folder,
    const char* name, DATA_SET_UNPACKED* unpacked, DATA_SET_PROGRESS progress, void* context)
{
    DATA_SET_UNPACKED unused;
    DATA_SET_UNPACKED* result = unpacked ? unpacked : &unused;
    result->packages = 0;
    result->chunks = 0;
    if (header.file_cache_size < DATA_SET_MIN_CACHE || header.file_cache_size > DATA_SET_MAX_CACHE)
        return set_last_error(ERROR_READ, "data set (cache size out of range)");
    CHUNK_SOURCE source;
    if (!source.open(exe_folder, exe_name, header.chunk_start))
        return false;
    PACKAGE_OUTPUT output(folder, name);
    if (!output.start())
        return false;
    INT_U32 capacity = header.file_cache_size;
    INT_U8* chunk = new (std::nothrow) INT_U8[capacity];
    INT_U8* inflated = header.compressed ? new (std::nothrow) INT_U8[capacity] : nullptr;
    bool ok = chunk && (!header.compressed || inflated);
    if (!ok)
        set_last_error(ERROR_PACKAGE_MEMORY, "data set");
    INT_U64 total = source.left();
    INT_U64 done = 0;
    INT_S32 count = 0;
    // Everything the chunks of a package give, joined, is the package, whose byte-order byte the
    // output file writes itself; the chunks therefore start behind it.
    while (ok && !source.at_end()) {
        if (host_stop_requested()) {
            ok = set_last_error(ERROR_READ, "interrupted");
            break;
        }
        INT_S32 length = 0;
        if (!source.read_length(&length)) {
            ok = set_last_error(ERROR_READ, "data set (chunk length)");
            break;
        }
        done += 4;
        ++count;
        if (result->chunk_note)
            result->chunk_note(output.package(), length, result->note_context);
        // A chunk of length 0 parts two packages of a data set too large for one.
        if (length == 0 && !output.next()) {
            ok = false;
            break;
        }
        // A chunk below 0 holds nothing.
        if (length > 0) {
            if (static_cast<INT_U32>(length) > data_set_chunk_limit(capacity)) {
                ok = set_last_error(ERROR_READ, "data set (chunk longer than the cache)");
                break;
            }
            if (!source.read(chunk, static_cast<INT_U32>(length))) {
                ok = set_last_error(ERROR_READ, "data set (short chunk)");
                break;
            }
            done += static_cast<INT_U64>(length);
            const INT_U8* bytes = chunk;
            uLongf size = static_cast<uLongf>(length);
            if (header.compressed) {
                size = capacity;
                if (uncompress(inflated, &size, chunk, static_cast<uLong>(length)) != Z_OK) {
                    ok = set_last_error(ERROR_READ, "data set (chunk does not inflate)");
                    break;
                }
                bytes = inflated;
            }
            if (!output.write(bytes, static_cast<INT_U32>(size))) {
                ok = false;
                break;
            }
        }
        if (progress)
            progress(count, done, total, context);
    }
    delete[] chunk;
    delete[] inflated;
    result->chunks = count;
    if (!ok || !output.finish()) {
        output.abandon();
        return false;
    }
    result->packages = output.package();
    return true;
}

bool unpack_installer(const FOLDER& exe_folder, const char* exe_name, const FOLDER& folder, const char* name,
    DATA_SET_SPLASH* splash, DATA_SET_HEADER* header, INT_S32* chunks, INT_U32* packages)
{
    if (chunks)
        *chunks = 0;
    if (packages)
        *packages = 0;
    DATA_FILE* plain = exe_folder.open_data_file(exe_name, FILE_READ, 0, false);
    if (!plain)
        return set_last_error(ERROR_FILE_NOT_FOUND, exe_name);
    STAMP_RECORD record;
    bool stamped = read_stamp(plain, &record) && (record.flags & STAMP_FLAG_DATA_SET);
    FOLDER::close_data_file(&plain);
    if (!stamped)
        return set_last_error(ERROR_READ, "no data set behind the program");
    // The data set's numbers follow the byte order that the file's first byte announces.
    DATA_FILE* device = exe_folder.open_data_file(exe_name, FILE_READ, ORDER_MARKER_IN_FILE, false);
    if (!device)
        return set_last_error(ERROR_FILE_NOT_FOUND, exe_name);
    bool ok = read_data_set_header(device, record.data_offset, splash, header);
    FOLDER::close_data_file(&device);
    if (!ok)
        return false;
    set_data_set_end(exe_folder, exe_name, header);
    DATA_SET_UNPACKED unpacked;
    ok = unpack_data_set(exe_folder, exe_name, *header, folder, name, &unpacked, nullptr, nullptr);
    if (chunks)
        *chunks = unpacked.chunks;
    if (packages)
        *packages = unpacked.packages;
    return ok;
}
