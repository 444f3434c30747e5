// Where the install engine writes, and how. An installer often runs as root into folders that
// other users can write, so what it writes must be what the data set says, where the user chose,
// or nothing:
//
//   - A destination is its path variable's folder ("$HERE", "$ROOT0", "$SYSAPP", ...) and the
//     folders below it. From that folder on, every folder is entered without following a link;
//     a link (or a file) where a folder goes makes the destination fail. ".." is refused, and so
//     is "$ROOT1", the file system root, unless the install type allows system paths.
//   - A file is written whole under a fresh private name in its destination folder, given its
//     mode on the open descriptor, and only then renamed over its name. A link standing at the
//     name is replaced like a file, never written through. A kill at any moment leaves the old
//     file or the new one, never a piece; the private name it leaves behind is removed by the
//     next run that writes into the folder.
#pragma once

#include "base/orlu_types.h"
#include "host/host_files.h"
#include "io/folder.h"

class MEMBER_STORE;

// What placing a file came to.
enum PLACE_RESULT : INT_S32 {
    PLACE_DONE = 0,
    PLACE_FAILED = 1,  // nothing changed at the destination
    PLACE_STOPPED = 2, // a stop of the run was requested while the file was written; nothing changed
    PLACE_HELD = 3,    // the member's bytes are held for a writer thread; nothing written yet
};

// A member's bytes read for a writer thread (malloc'd; the holder frees them).
struct HELD_MEMBER {
    INT_U8* bytes { nullptr };
    size_t size { 0 };
    size_t capacity { 0 };
};

// True when `name` can stand in a folder as one entry: not empty, no "/", not "." or "..".
[[nodiscard]] bool is_plain_name(const char* name);

// A new file under a private name in an open folder, from its creation until it takes its name.
// Every file the engine writes goes through here, on whichever thread writes it; nothing in it
// touches the last-error slot, so that a writer thread may use it: a failure leaves the system's
// reason in system_error, or write_failed set.
class NEW_FILE {
public:
    NEW_FILE() = default;
    ~NEW_FILE() { abandon(); }
    NEW_FILE(const NEW_FILE&) = delete;
    NEW_FILE& operator=(const NEW_FILE&) = delete;

    // Makes the private file in `folder` (which must stay open until finish or abandon).
    bool create(int folder);
    [[nodiscard]] bool is_open() const { return m_descriptor >= 0; }
    bool write(const void* bytes, size_t size);
    // Gives the file its mode while it is still private, so that the name never shows a set-id
    // file with anything but its final bytes, closes it and renames it over `name`. On failure
    // the private file is removed and nothing changed at the name.
    bool finish(const char* name, INT_U32 mode);
    // Closes and removes the private file, if there is one.
    void abandon();

    int system_error { 0 }; // errno of the step that failed
    bool write_failed { false };

private:
    bool fail();

    int m_folder { -1 };
    int m_descriptor { -1 };
    char m_part[64] {};
};

// The reason a failed NEW_FILE gives (its system_error and write_failed), as the engine words
// it: the write's error text or the system's. Main thread only (the text lies in the shared
// buffer of error_text).
[[nodiscard]] const char* new_file_reason(int system_error, bool write_failed);

// One destination folder, open for the length of a file's install (or of the run, for the log).
class DESTINATION_FOLDER {
public:
    DESTINATION_FOLDER() = default;
    ~DESTINATION_FOLDER();
    DESTINATION_FOLDER(const DESTINATION_FOLDER&) = delete;
    DESTINATION_FOLDER& operator=(const DESTINATION_FOLDER&) = delete;

    // Opens the folder a destination text names. The text is "$VARIABLE" and elements below it,
    // or empty for `here` itself; "$HERE" is `here`. `create_variable` and `no_fallback` apply to
    // the variable's own folder as FOLDER::set takes them, `create` to the elements below it.
    // False when the text is refused (not a variable text, an unknown variable, a ".." element,
    // "$ROOT1" without `allow_file_system_root`) or a folder cannot be entered or made. path()
    // is then the path the folder was meant to have (the text itself when the variable did not
    // resolve).
    bool open(const char* text, const FOLDER& here, bool create, bool create_variable, bool no_fallback,
        bool allow_file_system_root);
    void close();

    [[nodiscard]] bool is_open() const { return m_descriptor >= 0; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }
    // The folder's plain path, or the path it was meant to have.
    [[nodiscard]] const char* path() const { return m_path; }
    // path() and the name, joined by "/".
    void path_of(const char* name, char* out, size_t size) const;

    // The entry `name` as it stands (a link is described as itself). False when there is none.
    [[nodiscard]] bool entry_info(const char* name, HOST_FILE_INFO* info) const;
    // Writes the member (from a package, or straight from the data set) as the new file `name`,
    // with `mode` (set-id bits included). A failure leaves its reason in the last-error slot or
    // in errno.
    [[nodiscard]] PLACE_RESULT place_member(MEMBER_STORE* package, const char* member, const char* name, INT_U32 mode);
    // Reads the member into `held` when it has at most `most` bytes (PLACE_HELD), for a writer
    // thread to place. A larger one is written here as place_member writes it, its first bytes
    // from the buffer. When the reading fails the answer and the reason are those place_member
    // would give: a file that cannot be made is the reason before an unreadable member.
    [[nodiscard]] PLACE_RESULT hold_member(MEMBER_STORE* package, const char* member, const char* name, INT_U32 mode,
        size_t most, HELD_MEMBER* held);
    // Writes `bytes` as the new file `name` with the usual mode of a new file (0666 less the umask).
    [[nodiscard]] bool place_bytes(const char* name, const char* bytes, size_t size);
    // Appends to the regular file `name`; false when it is missing or a link.
    bool append(const char* name, const char* bytes, size_t size) const;

private:
    int m_descriptor { -1 };
    char m_path[ORLU_MAX_PATH * 2] {};
};

// The folders a run has written into, so that each is swept once for the private names a killed
// run left there. Grows as needed; main thread only.
class FOLDER_SWEEPER {
public:
    FOLDER_SWEEPER() = default;
    ~FOLDER_SWEEPER();
    FOLDER_SWEEPER(const FOLDER_SWEEPER&) = delete;
    FOLDER_SWEEPER& operator=(const FOLDER_SWEEPER&) = delete;

    // Removes stale private names from the folder the first time the run meets it.
    void sweep(const DESTINATION_FOLDER& folder);
    // Forgets every folder (a new run).
    void clear();

private:
    bool remember(INT_U64 device, INT_U64 inode);

    INT_U64* m_keys { nullptr }; // pairs of device and inode; 0, 0 marks a free slot
    INT_U32 m_slots { 0 };
    INT_U32 m_used { 0 };
};
