// The package cut into the data set's chunks, compressed on every core.
//
// Each chunk is an independent zlib stream of one piece of the package, so pieces compress in
// parallel and are written in order. Where a piece starts depends on the pieces before it: a
// piece that does not shrink into `cache` bytes is packed again from a shorter piece, which moves
// every later piece. The threads therefore work ahead on the pieces that the last finished chunk
// predicts (full pieces after a full one, short pieces after a short one), and a piece whose
// predicted start turns out wrong is thrown away and done again from the right start. The output
// is the same bytes whatever the number of threads.
#pragma once

#include <cstdio>

#include "base/data_device.h"
#include "base/orlu_types.h"

// Where the package's bytes come from. Pieces are asked for in rising order, except that after a
// wrong guess the writer goes back to where the last written chunk ended; it never asks for bytes
// before the offset it last released.
class CHUNK_SOURCE {
public:
    virtual ~CHUNK_SOURCE() = default;
    // Copies `length` bytes from `offset` on; false when they cannot be had.
    [[nodiscard]] virtual bool read_at(INT_U64 offset, INT_U8* buffer, INT_U32 length) = 0;
    // Everything before `offset` is written out and will not be asked for again.
    virtual void release_before(INT_U64 offset) { (void)offset; }
};

// A package file on disk, from file offset `start` on (1: behind its byte-order byte).
class FILE_CHUNK_SOURCE : public CHUNK_SOURCE {
public:
    FILE_CHUNK_SOURCE(FILE* stream, INT_U64 start)
        : m_stream(stream)
        , m_start(start)
    {
    }
    [[nodiscard]] bool read_at(INT_U64 offset, INT_U8* buffer, INT_U32 length) override;

private:
    FILE* m_stream;
    INT_U64 m_start;
};

struct CHUNK_SETTINGS {
    INT_U32 cache { 0x100000 }; // the most bytes a chunk holds, packed or inflated
    bool compressed { true };   // zlib streams; otherwise the pieces as they stand
    INT_S32 level { 6 };        // zlib level, 0 to 9
    INT_S32 jobs { 1 };         // compressing threads; 1 compresses on the calling thread
};

// Called on the calling thread after each chunk with the package bytes it took.
typedef void (*CHUNK_PROGRESS)(INT_U64 bytes, void* context);

// The largest piece whose zlib stream is sure to fit `limit` bytes, whatever the data.
[[nodiscard]] INT_U32 chunk_safe_piece(INT_U32 limit);

// Writes the `total` bytes of `source` as chunks to `out`: an INT_S32 length in the device's byte
// order, then the bytes. False when a read, a compression or a write fails; what was written so
// far stays.
[[nodiscard]] bool write_package_chunks(DATA_DEVICE* out, CHUNK_SOURCE* source, INT_U64 total,
    const CHUNK_SETTINGS& settings, CHUNK_PROGRESS progress, void* context);
