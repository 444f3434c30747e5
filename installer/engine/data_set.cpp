// Reading the data set behind a finished installer: its header and its chunks.

#include "installer/engine/data_set.h"

#include <zlib.h>

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

bool unpack_data_set(DATA_FILE* device, const DATA_SET_HEADER& header, const FOLDER& folder, const char* name,
    INT_S32* chunks, DATA_SET_PROGRESS progress, void* context)
{
    if (chunks)
        *chunks = 0;
    if (!device->seek(header.chunk_start, false))
        return set_last_error(ERROR_READ, "data set (chunks)");
    DATA_FILE* out = folder.open_data_file(name, FILE_WRITE, ORDER_MARKER_IN_FILE, false);
    if (!out)
        return set_last_error(ERROR_CREATE, name);
    INT_U32 capacity = header.file_cache_size;
    INT_U8* chunk = new (std::nothrow) INT_U8[capacity];
    INT_U8* inflated = header.compressed ? new (std::nothrow) INT_U8[capacity] : nullptr;
    bool ok = chunk && (!header.compressed || inflated);
    if (!ok)
        set_last_error(ERROR_PACKAGE_MEMORY, "data set");
    INT_U64 total = header.data_end > header.chunk_start ? header.data_end - header.chunk_start : 0;
    INT_U64 done = 0;
    INT_S32 count = 0;
    // Everything the chunks joined give is the package, whose byte-order byte the output file
    // writes itself; the chunks therefore start behind it.
    while (ok && !device->at_end()) {
        if (host_stop_requested()) {
            ok = set_last_error(ERROR_READ, "interrupted");
            break;
        }
        INT_S32 length = 0;
        if (!device_read(device, &length)) {
            ok = set_last_error(ERROR_READ, "data set (chunk length)");
            break;
        }
        done += 4;
        ++count;
        // A chunk of length 0 parts two packages of a data set too large for one: the package
        // unpacked is the last, the main one, and the ones before it are dropped.
        if (length == 0) {
            ok = out->close();
            FOLDER::close_data_file(&out);
            out = ok ? folder.open_data_file(name, FILE_WRITE, ORDER_MARKER_IN_FILE, false) : nullptr;
            if (!out) {
                ok = set_last_error(ERROR_CREATE, name);
                break;
            }
        }
        if (length > 0) {
            if (static_cast<INT_U32>(length) > data_set_chunk_limit(capacity)) {
                ok = set_last_error(ERROR_READ, "data set (chunk longer than the cache)");
                break;
            }
            if (device->read(chunk, length) != length) {
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
            if (out->write(bytes, static_cast<INT_S32>(size)) != static_cast<INT_S32>(size)) {
                ok = set_last_error(ERROR_WRITE, name);
                break;
            }
        }
        if (progress)
            progress(count, done, total, context);
    }
    delete[] chunk;
    delete[] inflated;
    if (out) {
        ok = out->close() && ok;
        FOLDER::close_data_file(&out);
    }
    if (chunks)
        *chunks = count;
    return ok;
}

bool unpack_installer(const FOLDER& exe_folder, const char* exe_name, const FOLDER& folder, const char* name,
    DATA_SET_SPLASH* splash, DATA_SET_HEADER* header, INT_S32* chunks)
{
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
    if (ok)
        set_data_set_end(exe_folder, exe_name, header);
    ok = ok && unpack_data_set(device, *header, folder, name, chunks, nullptr, nullptr);
    FOLDER::close_data_file(&device);
    return ok;
}
