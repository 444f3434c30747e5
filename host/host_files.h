// The host's file system in plain paths: the program's own folder, the private temporary
// folder, path tests, file operations and directory listings. Paths here are absolute texts of
// at most ORLU_MAX_PATH - 1 characters; the folder layer above joins names onto them, the host
// only acts. Nothing in these functions reports through
// the last-error slot or ends the process: every failure is a false or null result.
#pragma once

#include <cstdio>

#include "base/orlu_types.h"

// How a listing's pattern is matched against names.
enum HOST_MATCH_MODE : INT_S32 {
    MATCH_GLOB = 0,             // shell wildcards, case-sensitive
    MATCH_GLOB_NO_CASE = 1,     // shell wildcards, case ignored
    MATCH_PREFIX = 2,           // the name begins with the pattern, case ignored
};
// Order of a listing.
enum HOST_SORT : INT_S32 {
    SORT_BYTES = 0,             // byte order of the names (the C locale)
    SORT_NO_CASE = 1,           // names compared without regard to case
    SORT_BYTES_REVERSED = 2,
};

// The folder of the running executable ("/" for a program at the root). False when the link to
// the executable cannot be read or the path does not fit `size`.
[[nodiscard]] bool host_own_folder(char* out, size_t size);

// A folder that only this user can write, for the run's temporary files: `candidate` itself when
// it is a real folder owned by this user and writable by nobody else (made now, mode 0700, when
// missing and `create` is set); otherwise, with `create`, a fresh folder beside it
// ("<candidate>-XXXXXX", removed at exit when empty). A symbolic link is never used. The answer
// for a candidate is remembered for the rest of the run. `out` holds ORLU_MAX_PATH bytes.
[[nodiscard]] bool host_private_temp_folder(const char* candidate, bool create, char* out);

// The application name used when none is given, in a shared buffer.
const char* host_application_name();

// --- Path tests -------------------------------------------------------------------------------

// True when the path names a directory (following links).
[[nodiscard]] bool host_is_folder(const char* path);
// True when the path itself is a symbolic link (not followed).
[[nodiscard]] bool host_is_link(const char* path);
// True when anything (file, folder, link, even a dangling one) exists under the path.
[[nodiscard]] bool host_path_taken(const char* path);
// True when the file opens for reading.
[[nodiscard]] bool host_file_opens(const char* path);

// --- Folders ----------------------------------------------------------------------------------

// mkdir with the given mode (the umask applies). False when it could not be made.
[[nodiscard]] bool host_make_folder(const char* path, INT_U32 mode);
// rmdir: the folder must be empty.
[[nodiscard]] bool host_remove_folder(const char* path);
// Makes a symbolic link at link_path pointing at target. False if anything is in the way.
[[nodiscard]] bool host_make_link(const char* target, const char* link_path);

// --- Files ------------------------------------------------------------------------------------

// fopen. Modes "r+b" and "r+" create a missing file ("wb", "w"). Null or empty arguments give null.
FILE* host_open_stream(const char* path, const char* mode);
// Creates an empty file that did not exist before, owner read and write only. False when the name
// is taken by anything, a dangling link included, or the file cannot be made.
[[nodiscard]] bool host_create_exclusive(const char* path);
[[nodiscard]] bool host_delete_file(const char* path);
[[nodiscard]] bool host_rename_file(const char* from, const char* to);
// Copies by reading and writing; the target is replaced. False when the source cannot be read,
// the target cannot be written, or both name the same file.
[[nodiscard]] bool host_copy_file(const char* from, const char* to);
[[nodiscard]] bool host_set_permissions(const char* path, INT_U32 mode);

struct HOST_FILE_INFO {
    bool is_folder { false };   // by stat, so a link to a folder counts as a folder
    bool is_link { false };     // the entry itself is a symbolic link
    bool hidden { false };      // the name begins with "."
    bool owner_read { false };
    bool owner_write { false };
    bool owner_execute { false };
    INT_U32 size { 0 };
    INT_U32 modified { 0 };     // seconds since 1970
};
// False when the path cannot be looked at.
[[nodiscard]] bool host_file_info(const char* path, HOST_FILE_INFO* info);

// --- Listings ---------------------------------------------------------------------------------

struct HOST_LISTING;
// The entries of a folder, "." and ".." left out, folders or files only as asked. A null or
// empty pattern matches every name. Null when the folder cannot be read or holds no such entry.
HOST_LISTING* host_open_listing(const char* path, bool want_folders, INT_S32 sort, const char* pattern, INT_S32 match_mode);
// The next name, null after the last.
const char* host_next_entry(HOST_LISTING* listing);
void host_close_listing(HOST_LISTING* listing);

// --- Streams ----------------------------------------------------------------------------------

// A second descriptor on the stream's open file, for a layer that wants its own (the gzip
// layer), standing at the start of the file; -1 on failure. The caller closes it. The two share
// one file offset, so the stream itself must not be read or written while the layer is in use.
[[nodiscard]] int host_duplicate_descriptor(FILE* stream);
void host_close_descriptor(int descriptor);
// Reads `size` bytes at `offset` without moving the stream. False on a short read.
[[nodiscard]] bool host_read_at(FILE* stream, INT_U32 offset, void* buffer, INT_S32 size);
