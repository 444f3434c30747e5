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

// The run's private temporary folder, one for each run of a program: made on first use (with
// `create`) by mkdtemp, mode 0700, as "<base>/<name>.<host>.<pid>.XXXXXX". The base is
// "<home>/tmp" when that is a folder only this user (or root) can change, else $TMPDIR when it
// is such a folder or a sticky one, else /tmp; never the program's own folder. Before the folder
// is made, folders of the same name and host that belong to this user and whose process is gone
// (a run that was killed) are removed. The folder is removed with everything in it when the
// process exits, by host_remove_run_temp_folder or at exit; a kill -9 leaves it for the next run.
// The same folder is answered for the rest of the run, unless the home changes. `out` holds
// ORLU_MAX_PATH bytes. False when no folder can be had.
[[nodiscard]] bool host_run_temp_folder(const char* home, const char* name, bool create, char* out);
// Removes the run's temporary folder and everything in it, links as links. Only the process
// that made it removes it (a forked child does not); safe to call when there is none.
void host_remove_run_temp_folder();

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
// True when the path names a regular file (following links): not a folder, FIFO or device.
[[nodiscard]] bool host_is_regular_file(const char* path);
// True when both paths name the same existing file (the same device and inode).
[[nodiscard]] bool host_same_file(const char* first, const char* second);

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
    INT_U64 size { 0 };         // bytes; a payload file may pass 4 GiB
    INT_U32 modified { 0 };     // seconds since 1970
};
// False when the path cannot be looked at.
[[nodiscard]] bool host_file_info(const char* path, HOST_FILE_INFO* info);

// --- Writing below a folder without following links -----------------------------------------
// A caller that must not be led elsewhere by a link someone planted (an installer running as
// root in a folder that others can write) opens its starting folder once and goes on from the
// descriptor, one name at a time. Descriptors are closed with host_close_descriptor.

// Opens the folder `path`; links within the path itself are followed (it is where the caller
// chose to start). -1 when it is not a folder.
[[nodiscard]] int host_open_folder(const char* path);
// Enters the folder `name` (one element, never "." or "..") below the open folder without
// following a link; with `create` a missing one is made (mode 0777 less the umask) and entered.
// -1 when the name is a link, is not a folder or cannot be made.
[[nodiscard]] int host_enter_folder_at(int folder, const char* name, bool create);
// The entry `name` of the open folder as it stands: a link is described as itself. False when
// there is none.
[[nodiscard]] bool host_file_info_at(int folder, const char* name, HOST_FILE_INFO* info);
// Makes a new, empty file of this process in the open folder, named ".orlu-part.<pid>.XXXXXX"
// (mode 0600, made exclusively, so no link or file of anyone else is ever opened), and answers
// a descriptor for writing; -1 on failure. The name goes to `name` (at least 40 bytes).
[[nodiscard]] int host_create_part_file_at(int folder, char* name, size_t size);
// The mode a new file gets from the umask: 0666 less it.
[[nodiscard]] INT_U32 host_new_file_mode();
// Writes everything or answers false.
[[nodiscard]] bool host_write_descriptor(int descriptor, const void* bytes, size_t size);
// fchmod of the open file.
[[nodiscard]] bool host_set_descriptor_mode(int descriptor, INT_U32 mode);
// Closes, answering false when the system reports a write that failed late.
[[nodiscard]] bool host_finish_descriptor(int descriptor);
// renameat within the open folder: `to` is replaced as an entry (a link there is replaced, never
// followed); a folder under `to` is not replaced.
[[nodiscard]] bool host_rename_at(int folder, const char* from, const char* to);
// unlinkat of a file or a link in the open folder.
bool host_delete_at(int folder, const char* name);
// Opens the regular file `name` of the open folder for appending, without following a link; -1
// when it is missing, a link or anything but a regular file.
[[nodiscard]] int host_open_append_at(int folder, const char* name);
// Removes the part files that processes which no longer run left in the open folder (a run that
// was killed while writing). Answers how many went.
INT_S32 host_remove_stale_parts_at(int folder);
// The device and inode of the open folder, to tell folders apart.
[[nodiscard]] bool host_folder_identity(int folder, INT_U64* device, INT_U64* inode);
// A second descriptor on the same open folder, for work that outlives the first; -1 on failure.
[[nodiscard]] int host_duplicate_folder(int folder);

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
