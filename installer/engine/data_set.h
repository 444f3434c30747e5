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
// size, one that does not inflate, or packages that are not laid out as the packer lays them end
// the unpacking with false.
#pragma once

#include <cstddef>

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

// The most packages one data set may hold: its database names at most 32767 files, and every
// package but the main one holds at least one of them.
constexpr INT_U32 DATA_SET_MOST_PACKAGES = 32768;
// The most bytes one package may take: its positions are 32 bits.
constexpr INT_U64 DATA_SET_MOST_PACKAGE_BYTES = 0xFFFFFFFFull;

// Called by unpack_data_set for each chunk it reads: the package the chunk belongs to, counted
// in data set order from 1 (the last is the main one), and the chunk's stored length; a length
// of 0 is the chunk that ends that package.
typedef void (*DATA_SET_CHUNK_NOTE)(INT_U32 package, INT_S32 length, void* context);

// What unpack_data_set wrote. A data set of one package gives one file, under the name given; one
// of several gives the main package under that name and package N beside it under the name with
// ".N" behind it ("installer.pkg.2"), the names its members' packed names use.
struct DATA_SET_UNPACKED {
    // Set by the caller: told of each chunk, when not null.
    DATA_SET_CHUNK_NOTE chunk_note { nullptr };
    void* note_context { nullptr };
    // The answers.
    INT_U32 packages { 0 }; // package files written; 0 after a failure
    INT_S32 chunks { 0 };   // chunks read, the chunks of length 0 between packages included
};

// Joins the chunks of the data set behind the installer `exe_name` in `exe_folder`, whose header
// was read into `header`, into package files in `folder`: the main package into `name` (a
// package file with its byte-order byte), the others beside it (DATA_SET_UNPACKED). The file is
// read to its end with 64-bit positions, so a data set past 4 GiB is read whole. `unpacked` may
// be null. False, with the last-error slot set, when the output cannot be written, a chunk is
// longer than the cache size allows, a compressed chunk does not inflate whole, or the packages
// are not laid out as a data set lays them (a package without chunks, a chunk of length 0 at
// the end, more packages than DATA_SET_MOST_PACKAGES, a package past 4 GiB); `name` is then
// incomplete and the caller's to delete, and the other packages are deleted already.
[[nodiscard]] bool unpack_data_set(const FOLDER& exe_folder, const char* exe_name, const DATA_SET_HEADER& header,
    const FOLDER& folder, const char* name, DATA_SET_UNPACKED* unpacked, DATA_SET_PROGRESS progress, void* context);

// The same from a finished installer named `exe_name`: finds its stamp, reads the header and
// unpacks; `packages`, when not null, answers how many package files were written. False when it
// has no data set or any step fails.
[[nodiscard]] bool unpack_installer(const FOLDER& exe_folder, const char* exe_name, const FOLDER& folder,
    const char* name, DATA_SET_SPLASH* splash, DATA_SET_HEADER* header, INT_S32* chunks, INT_U32* packages = nullptr);

// The file name of package `number` unpacked beside the main package `name`: "<name>.<number>".
// False when it does not fit `size`.
[[nodiscard]] bool side_package_name(const char* name, INT_U32 number, char* buffer, size_t size);
// Deletes the packages unpacked beside the main package `name` ("<name>.1" up to
// "<name>.<packages - 1>"); the main package is left to its owner.
void delete_side_packages(const FOLDER& folder, const char* name, INT_U32 packages);

// Whether a packed name names a member of another package of a data set of several,
// "installer.pkg.N/<member>": then `number` is N and `member` the member's own name in package N.
// N is not checked against anything: 0, or one above the packages there are, names no package.
// False for every other name, the main package's own. Digits are read only until the number
// reaches 100000, so a longer number leaves the name a plain one.
[[nodiscard]] bool packed_name_package(const char* packed_name, INT_U32* number, const char** member);

// The most bytes one stored chunk may take: compressed chunks never exceed the cache size, so
// that the reader's buffer of that size holds any of them.
[[nodiscard]] constexpr INT_U32 data_set_chunk_limit(INT_U32 file_cache_size) { return file_cache_size; }
