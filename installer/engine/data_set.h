// The data set behind a finished installer: the splash, the cache size, the compression flag
// and the chunks that joined give the package "installer.pkg".
//
// Layout, from the stamp's data_offset on, numbers in the byte order of the device (big-endian
// behind an ELF file, whose first byte 0x7F marks the file as swapped):
//
//   splash_present   INT_U8; 0 leaves out the five splash fields
//   splash cache     IMAGE_CACHE (read into the program's image_cache)
//   splash image     IMAGE
//   bar              x, y, width, height, INT_S16 each
//   title            ORLU_STRING; empty: the built-in splash
//   bar style        WM_STYLE_SET
//   file_cache_size  INT_U32; the largest chunk once inflated
//   compressed       INT_U8; the chunks are zlib streams
//   chunks           INT_S32 length and the bytes, to the end of the file; a chunk of length 0
//                    parts the packages of a data set too large for one (data_set_reader.h)
//
// The reading side here is strict where the data set is damaged: a chunk longer than the cache
// size or one that does not inflate ends the unpacking with false.
#pragma once

#include "graphics/image.h"
#include "base/orlu_string.h"
#include "base/orlu_types.h"
#include "wm/core/wm_style_set.h"

class DATA_FILE;
class FOLDER;

// The largest cache size a data set may ask for: the framework's largest file cache.
constexpr INT_U32 DATA_SET_MAX_CACHE = 52428800;
constexpr INT_U32 DATA_SET_MIN_CACHE = 1024;

struct DATA_SET_SPLASH {
    DATA_SET_SPLASH() = default;
    DATA_SET_SPLASH(const DATA_SET_SPLASH&) = delete;
    DATA_SET_SPLASH& operator=(const DATA_SET_SPLASH&) = delete;

    INT_U8 present { 0 };
    IMAGE image;
    INT_S16 bar_x { 0 };
    INT_S16 bar_y { 0 };
    INT_S16 bar_width { 0 };
    INT_S16 bar_height { 0 };
    ORLU_STRING title;
    WM_STYLE_SET bar_style;
};

struct DATA_SET_HEADER {
    INT_U32 file_cache_size { 0 };
    INT_U8 compressed { 0 };
    INT_U32 chunk_start { 0 }; // device position of the first chunk
    INT_U64 data_end { 0 };    // device size (64 bits: a data set of several packages passes 4 GiB)
};

// Called after each chunk with the chunk's number, the bytes of the data set read so far and
// the bytes the chunks take in all; chunk 0 once the header is read, before anything else, and
// -1 while the run-time checks the data set against its stamp (then the bytes checked and the
// data set's length).
typedef void (*DATA_SET_PROGRESS)(INT_S32 chunk, INT_U64 done, INT_U64 total, void* context);

// Reads fields 1 to 8 from `device`, which is the executable opened with its byte-order byte,
// from `data_offset` on. The splash objects go into `splash` (may be null: they are read and
// dropped) and the cache into the program's image_cache. False, with the last-error slot set,
// when a field cannot be read or the cache size is out of range.
[[nodiscard]] bool read_data_set_header(DATA_FILE* device, INT_U32 data_offset, DATA_SET_SPLASH* splash,
    DATA_SET_HEADER* header);

// Sets header->data_end from the file's own size. read_data_set_header takes it from the
// device, whose positions stop at 4 GiB; a data set of several packages goes on behind that.
void set_data_set_end(const FOLDER& folder, const char* name, DATA_SET_HEADER* header);

// Joins the chunks from header.chunk_start on into `name` in `folder` (a package file with its
// byte-order byte; of a data set of several packages, the last, main one) and answers the
// number of chunks in `chunks` when not null. False when the output cannot be written, a chunk
// is longer than the cache size allows, or a compressed chunk does not inflate whole; the output
// is then incomplete.
[[nodiscard]] bool unpack_data_set(DATA_FILE* device, const DATA_SET_HEADER& header, const FOLDER& folder,
    const char* name, INT_S32* chunks, DATA_SET_PROGRESS progress, void* context);

// The same from a finished installer named `exe_name`: finds its stamp, reads the header and
// unpacks. False when it has no data set or any step fails.
[[nodiscard]] bool unpack_installer(const FOLDER& exe_folder, const char* exe_name, const FOLDER& folder,
    const char* name, DATA_SET_SPLASH* splash, DATA_SET_HEADER* header, INT_S32* chunks);

// The most bytes one stored chunk may take: compressed chunks never exceed the cache size, so
// that the reader's buffer of that size holds any of them.
[[nodiscard]] constexpr INT_U32 data_set_chunk_limit(INT_U32 file_cache_size) { return file_cache_size; }
