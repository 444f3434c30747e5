// Folders and path variables.
//
// FOLDER is the only way the framework names a place on disk. Code sets a folder from a symbolic
// text such as "$USERPREFS/debug" and then opens a bare file name in it, so that neither code nor
// stored paths depend on where the application, the user's data or the temporary files lie.
//
// A folder holds one absolute path without a trailing "/" (the root is "/"). It is a value: a
// copy is a copy of the path. Default construction sets it to "$APP".
//
// Variables (names matched without regard to case, so "$app" is "$APP"):
//   $APP $BASE          the application's folder (or the base override)
//   $APPDATA $INSTDATA  a "data" folder beside $APP or in one of its parents
//   $USERAPP $USERDATA $USERPREFS $USERSAVES   per-user folders under the home directory
//   $SYSAPP $SYSDATA $SYSPREFS                 system-wide folders under /opt
//   $DATA               $USERDATA, else $SYSDATA, else $APPDATA, else $APP
//   $TEMP               the run's private temporary folder
//   $ROOT0 $ROOT1 ...   the roots of system_info.h: home, "/", mounted volumes
//   $FONTDATA $ICONDATA resource folders "fonts" and "icons"
//   $HERE               the folder passed as `here`, or the folder itself
// and any name added with define_variable.
//
// Shared buffers: path_text, leaf_name, expand_text, size_text and date_text answer text that the
// next call of the same function overwrites; copy it at once. Main thread only.
//
// [SECTION] FOLDER
// [SECTION] Directory entries
// [SECTION] Overrides and custom variables
#pragma once

#include <cstdio>

#include "base/data_device.h"
#include "base/orlu_types.h"
#include "host/host_files.h"

class DATA_FILE;
class TEXT_FILE;
struct DIRECTORY_ENTRY;

// Modes of open_data_file and open_text_file.
enum FILE_MODE : INT_S32 {
    FILE_READ = 0,
    FILE_WRITE = 1,
    FILE_UPDATE = 2,
};

// The order_marker value that makes a data file carry its own byte-order byte.
constexpr INT_U8 ORDER_MARKER_IN_FILE = 255;

// Size of a folder's stream form: a tag byte and a 2048-byte path text.
constexpr INT_S32 FOLDER_STREAM_SIZE = 1 + ORLU_MAX_PATH;

// ---------------------------------------------------------------------------------------------
// [SECTION] FOLDER
// ---------------------------------------------------------------------------------------------

class FOLDER : public DATA_DEVICE_CLIENT {
public:
    // "$APP". Ends the process with "No application folder found!" when there is none.
    FOLDER();
    // The short set of `text`; on failure the folder is "$APP".
    explicit FOLDER(const char* text);
    FOLDER(const FOLDER& other);
    FOLDER& operator=(const FOLDER& other);
    ~FOLDER() override = default;

    // --- Setting ---------------------------------------------------------------------------

    // Sets the folder from "$VARIABLE/elements..." or from "../elements..." (relative to the
    // folder as it stands). An element ".." goes up, any other is entered, made when `create` is
    // set. `here` is what $HERE means (null: the folder itself). `create_variable` lets the
    // variable's own folder be made; `no_fallback` stops at a failed host look-up; `skip_host`
    // leaves the host look-up out and goes straight to the fallback.
    // False when the text is null (folder unchanged), is an absolute path or other text (folder
    // set to "$APP"), names a variable that resolves to nothing (folder "$APP"), or when a step
    // fails (the folder stays where the walk stopped). An unknown variable ends the process
    // with fatal error 000C.
    bool set(const char* text, bool create = false, const FOLDER* here = nullptr,
        bool create_variable = false, bool no_fallback = false, bool skip_host = false);
    // Turns one variable ("$APP", "$root2", a custom name) into this folder's path. False when
    // it resolves to nothing; the folder is then "$APP".
    bool resolve_variable(const char* name, bool create, bool no_fallback, bool skip_host,
        const FOLDER* here = nullptr);
    // Sets an absolute path; a trailing "/" is dropped. False (unchanged) unless it is a folder.
    bool set_raw(const char* path);

    // --- Walking ----------------------------------------------------------------------------

    // Goes into the subfolder `name`, making it (mode 0777 less the umask) with `create`. False,
    // folder unchanged, when it is not a folder. The names "." and ".." and names holding "/" are
    // refused, so that a path never holds them.
    bool enter(const char* name, bool create);
    // One level up. False, unchanged, at the user's home and at "/".
    bool up();
    // The root this folder lies on (system_info.h numbering): the root with the longest path
    // that contains it.
    [[nodiscard]] INT_S16 root_index() const;
    // Goes to the top of a root. False, unchanged, for a root that does not exist.
    bool select_root(INT_S16 index);

    // --- Looking ----------------------------------------------------------------------------

    [[nodiscard]] const char* path() const { return m_path; }
    // The path, or the path plus "/" plus the name (shared buffer).
    [[nodiscard]] const char* path_text(const char* name = nullptr) const;
    // The last element; "Home" for the user's home and "File System" for "/" (shared buffer).
    [[nodiscard]] const char* leaf_name() const;
    [[nodiscard]] bool same_as(const FOLDER& other) const;
    // True when the folder itself still exists.
    [[nodiscard]] bool is_folder() const;
    // True when the file opens for reading here; with `assume` true without looking.
    [[nodiscard]] bool exists(const char* name, bool assume = false) const;

    // --- Texts ------------------------------------------------------------------------------

    // The path as "$VARIABLE/..." text, into a buffer of ORLU_MAX_PATH bytes. The variables
    // tried, in order: $APP $SYSAPP $APPDATA $USERDATA $TEMP $FONTDATA $ICONDATA, else "$ROOTn".
    // False (buffer empty) only for a null buffer or a text that would not fit.
    bool symbolic_text(char* buffer) const;
    // The path as "$HERE/../elements" relative to `from`, into ORLU_MAX_PATH bytes; the symbolic
    // text when the two lie on different roots or share no ancestor.
    bool relative_text(char* buffer, const FOLDER& from) const;
    // relative_text when relative_to is given, otherwise symbolic_text.
    bool text_form(char* buffer, const FOLDER* relative_to) const;

    // --- Files here -------------------------------------------------------------------------

    // fopen of the name here; "r+b" and "r+" create a missing file. Null on failure.
    FILE* open_stream(const char* name, const char* mode) const;
    // A new data file (see data_file.h), or null for a bad name or mode or a file that cannot
    // be opened. order_marker ORDER_MARKER_IN_FILE: the file carries its own byte-order byte;
    // any other value is the device's swap_bytes. `compressed`: gzip, in FILE_READ or
    // FILE_WRITE only. cache_size -1 is the default 512 KiB.
    [[nodiscard]] DATA_FILE* open_data_file(const char* name, INT_S32 mode, INT_U8 order_marker,
        bool compressed, INT_S32 cache_size = -1) const;
    // Flushes, closes and deletes the file; nulls the pointer. Safe on null.
    static void close_data_file(DATA_FILE** file);
    // A new text file (see text_file.h), or null.
    [[nodiscard]] TEXT_FILE* open_text_file(const char* name, INT_S32 mode, bool wide) const;
    static void close_text_file(TEXT_FILE** file);

    // Finds a name "%08X<suffix>" that nothing here carries, and reserves it by creating an empty
    // file under it exclusively (owner read and write only), so that nobody else can take the
    // name or plant a link there between this call and the caller's use. False when buffer or
    // suffix is null, the suffix length plus 9 exceeds `size`, or no file could be made.
    bool make_temp_name(char* buffer, INT_S32 size, const char* suffix) const;

    [[nodiscard]] bool delete_file(const char* name) const;
    // Removes the contents of the subfolder `name`, or of this folder with null; the folder
    // itself remains. Symbolic links inside are removed as links, never followed; a `name` that
    // is itself a link is refused.
    bool delete_folder(const char* name) const;
    // Removes the subfolder `name`; with `contents` its contents first. A link is removed as a
    // link.
    bool delete_folder(const char* name, bool contents) const;
    [[nodiscard]] bool rename_file(const char* name, const FOLDER& to_folder, const char* to_name) const;
    // Copies by reading and writing, so any byte in a name is taken as it stands.
    [[nodiscard]] bool copy_file(const char* name, const FOLDER& to_folder, const char* to_name) const;
    [[nodiscard]] bool set_permissions(const char* name, INT_U32 mode) const;

    // Fills a growable array of entries, folders or files as `want_folders` asks; without
    // `append` it starts empty. The array is grown by realloc: first `initial` entries, then
    // `step` more each time (both at least 1). `sort` and `match_mode` are HOST_SORT and
    // HOST_MATCH_MODE values; a null pattern matches every name. Free the array with
    // free_directory_entries. False when memory runs out (the entries so far stay listed).
    bool list_entries(bool want_folders, INT_S32 sort, bool append, DIRECTORY_ENTRY** list,
        INT_S32* count, const char* pattern, INT_S32 match_mode, INT_S32 initial, INT_S32 step) const;

    // --- Stream form: 2049 bytes, a 0xFF tag and the symbolic text zero-padded to 2048 bytes.
    // Reading accepts the tag or an operating system id followed by a raw path; a folder that
    // does not exist on this machine reads as "$APP". False only for a short read or write.
    [[nodiscard]] bool get_from_data_device(DATA_DEVICE* device) override;
    [[nodiscard]] bool put_to_data_device(DATA_DEVICE* device) const override;

private:
    bool walk(const char* text, bool create);
    bool resolve_builtin(const char* name, bool create, bool no_fallback, bool skip_host, const FOLDER* here);
    bool host_look_up(INT_S32 kind, bool create, bool no_fallback, bool skip_host, bool* fall_back);
    bool data_search(bool create, bool no_fallback);
    bool resource_search(const char* name);
    void set_app();

    char m_path[ORLU_MAX_PATH];
};

// ---------------------------------------------------------------------------------------------
// [SECTION] Directory entries
// ---------------------------------------------------------------------------------------------

// One entry as list_entries builds them. Plain bytes, so that the array can grow by realloc.
struct DIRECTORY_ENTRY {
    char folder[ORLU_MAX_PATH]; // path of the folder listed
    char name[256];             // entry name (longer names are not listed)
    bool is_folder;
    bool read_only;             // the owner may read but not write
    bool writable;              // the owner may write
    INT_U32 size;               // bytes
    INT_U32 modified;           // seconds since 1970
};

void free_directory_entries(DIRECTORY_ENTRY** list, INT_S32* count);
// "%.1lf %s" of the size in G, M, k or b (shared 20-character buffer).
const char* size_text(const DIRECTORY_ENTRY* entry);
// ctime of the modification time without its newline (shared 50-character buffer).
const char* date_text(const DIRECTORY_ENTRY* entry);

// ---------------------------------------------------------------------------------------------
// [SECTION] Overrides and custom variables
// ---------------------------------------------------------------------------------------------

// $APP comes from `folder` until cleared, and `name` (may be null or empty) is the application
// name of the per-user and system folders; with an empty name those variables skip the host
// look-up. Each change writes a heading and the default paths to "Default Path Trace".
void set_base_path(const FOLDER* folder, const char* name);
void clear_base_path();
// False when no override is set; otherwise fills the folder and the name (buffer may be null).
bool get_base_path(FOLDER* folder, char* name_buffer, INT_S32 size);
void set_icon_path(const FOLDER* folder);
void clear_icon_path();
bool get_icon_path(FOLDER* folder);

// A variable of the application's own. Names are compared exactly, case included, before the
// built-in ones, and are written with their "$" ("$SKINS"). A known name has its folder
// replaced; a null name matches the record with a null name. Answers the record's position,
// -1 when memory runs out.
INT_S32 define_variable(const char* name, const FOLDER* folder);
// False when there is no such variable.
bool undefine_variable(const char* name);
// True when `name` ("$APP", "$root2", a custom name) is a variable that FOLDER::set accepts
// without ending the process; for checking texts that come from files before they are set.
bool is_known_variable(const char* name);

// A plain path text built without walking the disk: from "$APP", a "$" element restarts at that
// variable, ".." strips one element, others are appended; then `file_name` if given. Shared
// buffer of ORLU_MAX_PATH bytes.
const char* expand_text(const char* text, const char* file_name);

// Writes "$APP => <path> (<path without host look-up>)" lines for every variable to "Default
// Path Trace", when that stream has any flag set.
void log_default_paths();
// Prints the default folders on the "Default Path Trace" channel (what -v shows).
void trace_default_paths();
