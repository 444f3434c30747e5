// DATA_FILE: the data device over a file, with a large read and write cache and an optional
// gzip layer.
//
// Positions are logical: on a file that carries its own byte-order byte (opened with
// ORDER_MARKER_IN_FILE) logical position 0 is file offset 1, and tell, seek and size all hide
// that byte. The byte is 0 for native order; any other value sets swap_bytes when the file is
// read, and clients then swap every field themselves (data_device.h).
//
// Files are made and opened by FOLDER::open_data_file and must be closed with
// FOLDER::close_data_file: deleting a written file without closing it loses the cache.
//
// The cache: reads refill whole cache sizes; writes gather in the cache until it is full, and a
// write of at least the cache size goes straight to the file. Seeking inside the cached bytes
// costs no file operation.
#pragma once

#include <cstdio>

#include "base/data_device.h"
#include "io/folder.h"
#include "base/orlu_string.h"
#include "base/orlu_types.h"

constexpr INT_S32 DATA_FILE_DEFAULT_CACHE = 524288;
constexpr INT_S32 DATA_FILE_MIN_CACHE = 1024;
constexpr INT_S32 DATA_FILE_MAX_CACHE = 52428800;

class DATA_FILE : public DATA_DEVICE {
public:
    // cache_size -1 means DATA_FILE_DEFAULT_CACHE; others are clamped to the range above. The
    // cache comes from the pool when a slot fits. Ends the process with fatal error 0015 when the
    // cache cannot be allocated.
    explicit DATA_FILE(INT_S32 cache_size = -1);
    // Closes the file without writing the cache, and gives the cache back.
    ~DATA_FILE() override;
    DATA_FILE(const DATA_FILE&) = delete;
    DATA_FILE& operator=(const DATA_FILE&) = delete;

    // Opens `name` in `folder` (FILE_READ, FILE_WRITE or FILE_UPDATE). False when the file cannot
    // be opened, the mode is unknown, or gzip is asked for in update mode.
    [[nodiscard]] bool open(const FOLDER& folder, const char* name, INT_S32 mode, INT_U8 order_marker, bool compressed);
    // Writes the cache and closes the file. False when the cache could not be written whole.
    bool close();

    INT_U32 tell() override;
    // A seek from the end adds the offset to the logical size, so (INT_U32)-4 reaches 4 bytes
    // before the end. False when the file layer refuses (or no file is open).
    bool seek(INT_U32 offset, bool from_end) override;
    // Reading a write-mode file is fatal error 000E, writing a read-mode file 000F.
    INT_S32 read(void* buffer, INT_S32 size) override;
    INT_S32 write(const void* buffer, INT_S32 size) override;
    // Writes the cache out; the logical position does not move. False on a short write.
    bool flush();
    // Reads `size` bytes at the logical position `offset`, for walks that jump about a file:
    // bytes in the cache come from it, bytes just behind it fill the cache as read does, and a
    // piece far from it is read on its own, so a jump costs its own bytes rather than a whole
    // cache. The logical position afterwards is unspecified; seek before the next read. False
    // on a short read.
    [[nodiscard]] bool read_at(INT_U32 offset, void* buffer, INT_S32 size);

    // True without a file; otherwise true when nothing is left to read.
    [[nodiscard]] bool at_end();
    // Logical size, 0 without a file.
    [[nodiscard]] INT_U32 size() const;

    [[nodiscard]] INT_S32 mode() const { return m_mode; }
    [[nodiscard]] bool is_open() const { return m_stream != nullptr; }
    [[nodiscard]] bool has_order_marker() const { return m_has_order_marker; }
    [[nodiscard]] bool is_compressed() const { return m_gz_stream != nullptr; }
    [[nodiscard]] INT_S32 cache_size() const { return m_cache_size; }
    [[nodiscard]] INT_S16 pool_slot() const { return m_pool_slot; }
    [[nodiscard]] const FOLDER& folder() const { return m_folder; }
    [[nodiscard]] const char* name() const { return m_name.c_str(); }

private:
    INT_S32 layer_read_at(INT_U32 offset, void* buffer, INT_S32 size);
    INT_S32 layer_write_at(INT_U32 offset, const void* buffer, INT_S32 size);
    bool layer_seek(INT_U32 offset);
    INT_U32 marker() const { return m_has_order_marker ? 1u : 0u; }
    void release_streams();

    INT_U8* m_cache { nullptr };
    INT_S32 m_cache_position { 0 };
    INT_S32 m_cache_fill { 0 };
    INT_S32 m_cache_size { 0 };
    INT_S32 m_mode { FILE_READ };
    FILE* m_stream { nullptr };
    INT_U8 m_has_order_marker { 0 };
    INT_U8 m_cache_dirty { 0 };
    void* m_gz_stream { nullptr };
    FOLDER m_folder;
    ORLU_STRING m_name;
    INT_U32 m_file_size { 0 };
    INT_U32 m_file_position { 0 };
    INT_S16 m_pool_slot { -1 };

    // Where the file layer stands, so that a read or write at that offset needs no seek; -1
    // when unknown. The C library also needs a seek between a write and a read.
    INT_S64 m_layer_offset { -1 };
    INT_U8 m_last_was_write { 0 };
};

// Frees the pool's unused buffers and makes room for `count` slots; 0 or less leaves the pool
// empty. Buffers of files still open stay with those files.
void set_file_cache_pool(INT_S16 count);
// Number of pool slots, for reports and tests.
INT_S16 file_cache_pool_slots();
