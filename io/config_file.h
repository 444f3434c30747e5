// CONFIG_FILE: the framework's text settings format, pairs of lines: an identifier, then its
// value on the next line (written with one tab in front). Blank lines and lines starting with
// "#" in front of an identifier are skipped. No sections, no quoting: every value is text, and
// the accessor that reads it decides its type.
//
//     # window
//     width
//     	640
//
// Two modes: uncached reads straight through the file for each look-up and rewrites it keeping
// comments and order; cached loads every entry once, sorted for binary search, and saves the
// whole image (comments are lost).
//
// Failures go to the last-error slot: 256 entry not found, 257 file ended inside an entry,
// 4097 blank id, 4098 file could not be opened, 4099 no callback, 4100 no memory. A config
// problem never ends the process; callers keep their defaults.
#pragma once

#include "base/containers.h"
#include "io/folder.h"
#include "base/orlu_types.h"

constexpr INT_S32 CONFIG_ID_SIZE = 80;
constexpr INT_S32 CONFIG_VALUE_SIZE = 1024;

struct CONFIG_ENTRY {
    INT_S16 sequence { 0 };            // place in the file
    char id[CONFIG_ID_SIZE] {};
    char value[CONFIG_VALUE_SIZE] {};
};

typedef void (*CONFIG_CALLBACK)(const char* id, const char* value, void* context);

class CONFIG_FILE {
public:
    CONFIG_FILE();
    ~CONFIG_FILE();
    CONFIG_FILE(const CONFIG_FILE&) = delete;
    CONFIG_FILE& operator=(const CONFIG_FILE&) = delete;

    // Sets the file name (null is empty) and the mode; clears the image.
    void open(const char* file_name, bool cached);
    [[nodiscard]] bool exists(const FOLDER& folder) const;

    // Fills the image from the file. A missing file is fine unless must_exist (then 4098).
    bool load(const FOLDER& folder, bool must_exist);
    // Writes the image in file order, replacing the file as a whole.
    bool save(const FOLDER& folder);

    // Calls back for each entry: in file order, or in sorted order in cached mode.
    void read_all(const FOLDER& folder, CONFIG_CALLBACK callback, void* context);

    // Each answers false with the reason in the last-error slot. A value that does not parse
    // leaves the target as it was and still answers true. `buffer` holds CONFIG_VALUE_SIZE bytes.
    bool read_text(const FOLDER& folder, const char* id, char* buffer);
    bool read_int(const FOLDER& folder, const char* id, INT_S32* out, bool hexadecimal);
    bool read_real(const FOLDER& folder, const char* id, FLOAT_64* out);

    bool write_text(const FOLDER& folder, const char* id, const char* value);
    bool write_int(const FOLDER& folder, const char* id, INT_S32 value, bool hexadecimal);
    bool write_real(const FOLDER& folder, const char* id, FLOAT_64 value, INT_S32 decimals);

    [[nodiscard]] const char* file_name() const { return m_file_name; }
    [[nodiscard]] bool is_cached() const { return m_cached; }
    [[nodiscard]] INT_S32 entry_count() const { return m_entries.count(); }

private:
    bool fail(INT_U16 code, const char* detail) const;
    bool ensure_loaded(const FOLDER& folder, bool must_exist);
    CONFIG_ENTRY* find_cached(const char* id) const;
    bool write_uncached(const FOLDER& folder, const char* id, const char* value);
    void sort_by_id();

    FOLDER m_folder;
    char m_file_name[256] {};
    PTRARRAY m_entries;
    bool m_cached { false };
};
