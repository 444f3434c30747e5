// FOLDER: path variables, walking, symbolic and relative texts, files and listings, the stream
// form, and the process-wide overrides and custom variables. Everything that touches the disk
// goes through host_files.h.
//
// [SECTION] Process-wide state
// [SECTION] Path text helpers
// [SECTION] Construction and setting
// [SECTION] Variables
// [SECTION] Walking
// [SECTION] Texts
// [SECTION] Files
// [SECTION] Listings
// [SECTION] Stream form
// [SECTION] Overrides and custom variables

#include "io/folder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <strings.h>

#include "io/process.h"
#include "io/default_folders.h"
#include "base/containers.h"
#include "io/data_file.h"
#include "base/debug_stream.h"
#include "base/error_report.h"
#include "host/host.h"
#include "host/host_files.h"
#include "base/orlu_string.h"
#include "host/system_info.h"
#include "io/text_file.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Process-wide state
// ---------------------------------------------------------------------------------------------

// Folders are built by static constructors in other files, so everything here is either plain
// data (ready before any constructor runs) or made at first use.
namespace {

bool base_override_set = false;
char base_app_name[256];
bool icon_override_set = false;
bool paths_logged = false;
char expanded_text[ORLU_MAX_PATH];

FOLDER& base_override()
{
    static FOLDER folder;
    return folder;
}

FOLDER& icon_override()
{
    static FOLDER folder;
    return folder;
}

struct CUSTOM_VARIABLE {
    bool has_name { false };
    ORLU_STRING name;
    FOLDER folder;
};

void delete_custom_variable(void* item)
{
    delete static_cast<CUSTOM_VARIABLE*>(item);
}

PTRARRAY& custom_variables()
{
    static PTRARRAY records(delete_custom_variable);
    return records;
}

CUSTOM_VARIABLE* custom_variable_at(INT_S32 index)
{
    return static_cast<CUSTOM_VARIABLE*>(custom_variables().at(index));
}

INT_S32 find_custom_variable(const char* name)
{
    PTRARRAY& records = custom_variables();
    for (INT_S32 i = 0; i < records.count(); ++i) {
        CUSTOM_VARIABLE* record = custom_variable_at(i);
        if (!name ? !record->has_name : record->has_name && strcmp(record->name.c_str(), name) == 0)
            return i;
    }
    return -1;
}


} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Path text helpers
// ---------------------------------------------------------------------------------------------

namespace {

// "%s%s%s" of path, "/" unless the path ends in one, and name. False when it would not fit.
bool join_path(const char* path, const char* name, char* out)
{
    size_t length = strlen(path);
    const char* separator = length > 0 && path[length - 1] == '/' ? "" : "/";
    int written = snprintf(out, ORLU_MAX_PATH, "%s%s%s", path, separator, name);
    return written > 0 && written < ORLU_MAX_PATH;
}

// Length of a path without its trailing "/" (the root keeps its one "/").
size_t trimmed_length(const char* path)
{
    size_t length = strlen(path);
    while (length > 1 && path[length - 1] == '/')
        --length;
    return length;
}

bool same_path(const char* a, const char* b)
{
    size_t length = trimmed_length(a);
    return length == trimmed_length(b) && strncmp(a, b, length) == 0;
}

// True when `path` is `ancestor` or lies below it.
bool path_inside(const char* path, const char* ancestor)
{
    size_t length = trimmed_length(ancestor);
    if (length == 1 && ancestor[0] == '/')
        return path[0] == '/';
    return strncmp(path, ancestor, length) == 0 && (path[length] == 0 || path[length] == '/');
}

const char* last_element(const char* path)
{
    const char* slash = strrchr(path, '/');
    return slash ? slash + 1 : path;
}

bool is_home(const char* path)
{
    const char* home = home_directory();
    return home[0] && same_path(path, home);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Construction and setting
// ---------------------------------------------------------------------------------------------

FOLDER::FOLDER()
{
    m_path[0] = 0;
    set_app();
}

FOLDER::FOLDER(const char* text)
{
    m_path[0] = 0;
    set_app();
    set(text);
}

FOLDER::FOLDER(const FOLDER& other) : DATA_DEVICE_CLIENT()
{
    memcpy(m_path, other.m_path, strlen(other.m_path) + 1);
}

FOLDER& FOLDER::operator=(const FOLDER& other)
{
    if (this != &other)
        memcpy(m_path, other.m_path, strlen(other.m_path) + 1);
    return *this;
}

void FOLDER::set_app()
{
    if (base_override_set) {
        *this = base_override();
        return;
    }
    if (!default_folder_path(this, HOST_APP, nullptr, false))
        host_shutdown("No application folder found!");
}

bool FOLDER::set(const char* text, bool create, const FOLDER* here, bool create_variable, bool no_fallback, bool skip_host)
{
    if (!paths_logged && process_has_started()) {
        paths_logged = true;
        debug_printf(&path_trace_debug, "\nStarting Default Paths:\n\n");
        log_default_paths();
    }
    if (!text)
        return false;

    const char* rest = text;
    if (text[0] == '$') {
        size_t length = strcspn(text, "/");
        char name[256];
        snprintf(name, sizeof name, "%.*s", static_cast<int>(length < 255 ? length : 255), text);
        rest = text + length;
        if (!resolve_variable(name, false, true, skip_host, here)
            && !resolve_variable(name, create_variable, no_fallback, skip_host, here)) {
            set_app();
            return false;
        }
    } else if (strncmp(text, "..", 2) != 0) {
        // An absolute path or a bare name: set_raw and enter are the ways for those.
        set_app();
        return false;
    }
    return walk(rest, create);
}

bool FOLDER::walk(const char* text, bool create)
{
    const char* p = text;
    while (*p == '/')
        ++p;
    while (*p) {
        const char* end = strchr(p, '/');
        if (!end)
            return enter(p, create);
        size_t length = static_cast<size_t>(end - p);
        if (length > 255)
            return false;
        char element[256];
        memcpy(element, p, length);
        element[length] = 0;
        bool stepped = strcmp(element, "..") == 0 ? up() : enter(element, create);
        if (!stepped)
            return false;
        p = end;
        while (*p == '/')
            ++p;
    }
    return true;
}

bool FOLDER::set_raw(const char* path)
{
    if (!path || path[0] != '/')
        return false;
    size_t length = trimmed_length(path);
    if (length >= ORLU_MAX_PATH)
        return false;
    char copy[ORLU_MAX_PATH];
    memcpy(copy, path, length);
    copy[length] = 0;
    if (!host_is_folder(copy))
        return false;
    memcpy(m_path, copy, length + 1);
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Variables
// ---------------------------------------------------------------------------------------------

bool FOLDER::resolve_variable(const char* name, bool create, bool no_fallback, bool skip_host, const FOLDER* here)
{
    if (!name)
        return false;
    INT_S32 index = find_custom_variable(name);
    if (index >= 0) {
        *this = custom_variable_at(index)->folder;
        return true;
    }
    return resolve_builtin(name, create, no_fallback, skip_host, here);
}

// Runs the host look-up of a kind unless it is skipped. `fall_back` says whether the caller may
// go on to its fallback: not when the look-up ran, failed, and `no_fallback` is set.
bool FOLDER::host_look_up(INT_S32 kind, bool create, bool no_fallback, bool skip_host, bool* fall_back)
{
    *fall_back = true;
    // Under a base override without a name there is no name to look the folder up by.
    bool run = !skip_host && (!base_override_set || base_app_name[0]);
    if (!run)
        return false;
    FOLDER found(*this);
    if (default_folder_path(&found, kind, base_override_set ? base_app_name : nullptr, create)) {
        *this = found;
        return true;
    }
    *fall_back = !no_fallback;
    return false;
}

bool FOLDER::resolve_builtin(const char* name, bool create, bool no_fallback, bool skip_host, const FOLDER* here)
{
    const char* bare = name[0] == '$' ? name + 1 : name;
    bool fall_back = true;

    if (!strcasecmp(bare, "APP") || !strcasecmp(bare, "BASE")) {
        set_app();
        return true;
    }
    if (!strcasecmp(bare, "APPDATA") || !strcasecmp(bare, "INSTDATA"))
        return data_search(create, no_fallback);
    if (!strcasecmp(bare, "HERE")) {
        if (here)
            *this = *here;
        return true;
    }

    // Per-user and system folders: the host's place, else the fallback of the kind.
    static const struct {
        const char* name;
        INT_S32 kind;
        bool fallback_is_app;
    } host_kinds[] = {
        { "USERAPP", HOST_USER_APP, true },
        { "USERDATA", HOST_USER_DATA, false },
        { "USERPREFS", HOST_USER_PREFS, false },
        { "USERSAVES", HOST_USER_SAVES, false },
        { "SYSAPP", HOST_SYS_APP, true },
        { "SYSDATA", HOST_SYS_DATA, false },
        { "SYSPREFS", HOST_SYS_PREFS, false },
    };
    for (const auto& entry : host_kinds) {
        if (strcasecmp(bare, entry.name) != 0)
            continue;
        if (host_look_up(entry.kind, create, no_fallback, skip_host, &fall_back))
            return true;
        if (!fall_back) {
            set_app();
            return false;
        }
        if (entry.fallback_is_app) {
            set_app();
            return true;
        }
        return data_search(create, false);
    }

    if (!strcasecmp(bare, "DATA")) {
        FOLDER attempt(*this);
        if (attempt.resolve_builtin("$USERDATA", create, true, skip_host, here)
            || attempt.resolve_builtin("$SYSDATA", create, true, skip_host, here)
            || attempt.data_search(create, true)) {
            *this = attempt;
            return true;
        }
        set_app();
        return !no_fallback;
    }
    if (!strcasecmp(bare, "TEMP")) {
        // The temporary folder is always made, and only where nobody else can change it: never
        // beside the program, whose folder others may be able to write.
        FOLDER found(*this);
        if (default_folder_path(&found, HOST_TEMP, base_override_set && base_app_name[0] ? base_app_name : nullptr, true)) {
            *this = found;
            return true;
        }
        set_app();
        return false;
    }
    if (!strcasecmp(bare, "FONTDATA"))
        return resource_search("fonts");
    if (!strcasecmp(bare, "ICONDATA")) {
        if (icon_override_set) {
            *this = icon_override();
            return true;
        }
        return resource_search("icons");
    }
    if (!strncasecmp(bare, "ROOT", 4)) {
        INT_S16 root = -1;
        if (sscanf(bare + 4, "%hd", &root) == 1 && select_root(root))
            return true;
        set_app();
        return false;
    }
    fatal_error(0x000C, name);
}

bool FOLDER::data_search(bool create, bool no_fallback)
{
    set_app();
    if (enter("data", create))
        return true;
    if (no_fallback)
        return false;
    while (up()) {
        if (enter("data", false))
            return true;
    }
    set_app();
    return false;
}

bool FOLDER::resource_search(const char* name)
{
    FOLDER attempt(*this);
    if (attempt.resolve_builtin("$USERDATA", false, true, false, nullptr) && attempt.enter(name, false)) {
        *this = attempt;
        return true;
    }
    attempt = *this;
    if (attempt.resolve_builtin("$SYSDATA", false, true, false, nullptr) && attempt.enter(name, false)) {
        *this = attempt;
        return true;
    }
    set_app();
    FOLDER level(*this);
    do {
        attempt = level;
        if (attempt.enter("data", false) && attempt.enter(name, false)) {
            *this = attempt;
            return true;
        }
        attempt = level;
        if (attempt.enter("orlu_libs", false) && attempt.enter("data", false) && attempt.enter(name, false)) {
            *this = attempt;
            return true;
        }
    } while (level.up());
    set_app();
    return false;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Walking
// ---------------------------------------------------------------------------------------------

bool FOLDER::enter(const char* name, bool create)
{
    if (!name || !name[0] || !strcmp(name, ".") || !strcmp(name, "..") || strchr(name, '/'))
        return false;
    char joined[ORLU_MAX_PATH];
    if (!join_path(m_path, name, joined))
        return false;
    if (!host_is_folder(joined)) {
        if (!create)
            return false;
        // Another run may have made it in the meantime, so the test after mkdir decides. The
        // reason of a failure is mkdir's (no permission, a full disk, a file in the way), not
        // that of the test after it, so that callers can tell the user.
        bool made = host_make_folder(joined, 0777);
        int reason = errno;
        if (!host_is_folder(joined)) {
            errno = made || reason == EEXIST ? ENOTDIR : reason;
            return false;
        }
    }
    memcpy(m_path, joined, strlen(joined) + 1);
    return true;
}

bool FOLDER::up()
{
    if (!strcmp(m_path, "/") || is_home(m_path))
        return false;
    char* slash = strrchr(m_path, '/');
    if (!slash)
        return false;
    if (slash == m_path)
        m_path[1] = 0;
    else
        *slash = 0;
    return true;
}

INT_S16 FOLDER::root_index() const
{
    INT_S16 best = 1;
    size_t best_length = 1;
    INT_S16 count = root_count();
    for (INT_S16 root = 0; root < count; ++root) {
        if (root == 1)
            continue;
        char root_text[ORLU_MAX_PATH];
        snprintf(root_text, sizeof root_text, "%s", root_path(root));
        size_t length = trimmed_length(root_text);
        if (root_text[0] == '/' && length > best_length && path_inside(m_path, root_text)) {
            best = root;
            best_length = length;
        }
    }
    return best;
}

bool FOLDER::select_root(INT_S16 index)
{
    if (index < 0 || index >= root_count())
        return false;
    return set_raw(root_path(index));
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Texts
// ---------------------------------------------------------------------------------------------

const char* FOLDER::path_text(const char* name) const
{
    static char text[ORLU_MAX_PATH];
    if (!name || !name[0] || !join_path(m_path, name, text))
        snprintf(text, sizeof text, "%s", m_path);
    return text;
}

const char* FOLDER::leaf_name() const
{
    static char leaf[ORLU_MAX_PATH];
    if (is_home(m_path))
        return "Home";
    if (!strcmp(m_path, "/"))
        return "File System";
    snprintf(leaf, sizeof leaf, "%s", last_element(m_path));
    return leaf;
}

bool FOLDER::same_as(const FOLDER& other) const
{
    return strcmp(m_path, other.m_path) == 0;
}

bool FOLDER::is_folder() const
{
    return host_is_folder(m_path);
}

bool FOLDER::symbolic_text(char* buffer) const
{
    if (!buffer)
        return false;
    buffer[0] = 0;
    static const char* const names[] = { "$APP", "$SYSAPP", "$APPDATA", "$USERDATA", "$TEMP", "$FONTDATA", "$ICONDATA" };
    constexpr int name_count = sizeof names / sizeof names[0];
    // Each variable is resolved once; the folder is then walked upward until one matches.
    char* variables = new (std::nothrow) char[name_count * ORLU_MAX_PATH];
    if (!variables)
        return false;
    for (int i = 0; i < name_count; ++i) {
        FOLDER value(*this);
        bool found = value.resolve_variable(names[i], false, false, false);
        memcpy(variables + i * ORLU_MAX_PATH, found ? value.m_path : "", found ? strlen(value.m_path) + 1 : 1);
    }

    char suffix[ORLU_MAX_PATH] = "";
    char held[ORLU_MAX_PATH];
    FOLDER level(*this);
    bool ok = true;
    for (;;) {
        const char* match = nullptr;
        for (int i = 0; i < name_count && !match; ++i) {
            if (!strcmp(variables + i * ORLU_MAX_PATH, level.m_path))
                match = names[i];
        }
        if (match) {
            ok = snprintf(buffer, ORLU_MAX_PATH, "%s%s", match, suffix) < ORLU_MAX_PATH;
            break;
        }
        char leaf[ORLU_MAX_PATH];
        snprintf(leaf, sizeof leaf, "%s", last_element(level.m_path));
        if (!level.up()) {
            ok = snprintf(buffer, ORLU_MAX_PATH, "$ROOT%d%s", level.root_index(), suffix) < ORLU_MAX_PATH;
            break;
        }
        if (snprintf(held, sizeof held, "/%s%s", leaf, suffix) >= ORLU_MAX_PATH) {
            ok = false;
            break;
        }
        memcpy(suffix, held, strlen(held) + 1);
    }
    delete[] variables;
    if (!ok)
        buffer[0] = 0;
    return ok;
}

bool FOLDER::relative_text(char* buffer, const FOLDER& from) const
{
    if (!buffer)
        return false;
    if (root_index() != from.root_index())
        return symbolic_text(buffer);
    FOLDER ancestor(from);
    INT_S32 levels = 0;
    for (;;) {
        if (path_inside(m_path, ancestor.m_path)) {
            size_t length = trimmed_length(ancestor.m_path);
            const char* below = m_path + (length == 1 ? 1 : length);
            if (*below == '/')
                ++below;
            char text[ORLU_MAX_PATH];
            int used = snprintf(text, sizeof text, "$HERE");
            for (INT_S32 i = 0; i < levels && used < ORLU_MAX_PATH; ++i)
                used += snprintf(text + used, sizeof text - static_cast<size_t>(used), "/..");
            if (*below && used < ORLU_MAX_PATH)
                used += snprintf(text + used, sizeof text - static_cast<size_t>(used), "/%s", below);
            if (used >= ORLU_MAX_PATH)
                return symbolic_text(buffer);
            memcpy(buffer, text, static_cast<size_t>(used) + 1);
            return true;
        }
        if (!ancestor.up())
            break;
        ++levels;
    }
    return symbolic_text(buffer);
}

bool FOLDER::text_form(char* buffer, const FOLDER* relative_to) const
{
    return relative_to ? relative_text(buffer, *relative_to) : symbolic_text(buffer);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Files
// ---------------------------------------------------------------------------------------------

bool FOLDER::exists(const char* name, bool assume) const
{
    if (assume)
        return true;
    char joined[ORLU_MAX_PATH];
    return name && name[0] && join_path(m_path, name, joined) && host_file_opens(joined);
}

FILE* FOLDER::open_stream(const char* name, const char* mode) const
{
    char joined[ORLU_MAX_PATH];
    if (!name || !name[0] || !mode || !mode[0] || !join_path(m_path, name, joined))
        return nullptr;
    return host_open_stream(joined, mode);
}

DATA_FILE* FOLDER::open_data_file(const char* name, INT_S32 mode, INT_U8 order_marker, bool compressed, INT_S32 cache_size) const
{
    if (!name || !name[0] || mode < FILE_READ || mode > FILE_UPDATE)
        return nullptr;
    DATA_FILE* file = new (std::nothrow) DATA_FILE(cache_size);
    if (!file)
        return nullptr;
    if (!file->open(*this, name, mode, order_marker, compressed)) {
        delete file;
        return nullptr;
    }
    return file;
}

void FOLDER::close_data_file(DATA_FILE** file)
{
    if (!file || !*file)
        return;
    (*file)->close();
    delete *file;
    *file = nullptr;
}

TEXT_FILE* FOLDER::open_text_file(const char* name, INT_S32 mode, bool wide) const
{
    if (!name || !name[0] || mode < FILE_READ || mode > FILE_UPDATE)
        return nullptr;
    TEXT_FILE* file = new (std::nothrow) TEXT_FILE();
    if (!file)
        return nullptr;
    if (!file->open(*this, name, mode, wide)) {
        delete file;
        return nullptr;
    }
    return file;
}

void FOLDER::close_text_file(TEXT_FILE** file)
{
    if (!file || !*file)
        return;
    (*file)->close();
    delete *file;
    *file = nullptr;
}

bool FOLDER::make_temp_name(char* buffer, INT_S32 size, const char* suffix) const
{
    if (!buffer || !suffix || static_cast<INT_S64>(strlen(suffix)) + 9 > size)
        return false;
    INT_U32 counter = milliseconds_now();
    for (INT_S32 attempt = 0; attempt < 65536; ++attempt, ++counter) {
        snprintf(buffer, static_cast<size_t>(size), "%08X%s", counter, suffix);
        char joined[ORLU_MAX_PATH];
        if (!join_path(m_path, buffer, joined))
            break;
        // Made here and now, exclusively: nobody can slip a file or a link in under the name.
        if (host_create_exclusive(joined))
            return true;
        if (!host_path_taken(joined))
            break;
    }
    buffer[0] = 0;
    return false;
}

bool FOLDER::delete_file(const char* name) const
{
    char joined[ORLU_MAX_PATH];
    return name && name[0] && join_path(m_path, name, joined) && host_delete_file(joined);
}

bool FOLDER::delete_folder(const char* name) const
{
    FOLDER target(*this);
    if (name) {
        char joined[ORLU_MAX_PATH];
        // Emptying through a link would empty a folder somewhere else.
        if (!join_path(m_path, name, joined) || host_is_link(joined) || !target.enter(name, false))
            return false;
    }
    bool ok = true;
    DIRECTORY_ENTRY* entries = nullptr;
    INT_S32 count = 0;
    ok = target.list_entries(true, SORT_BYTES, false, &entries, &count, nullptr, MATCH_GLOB, 10, 5) && ok;
    for (INT_S32 i = 0; i < count; ++i)
        ok = target.delete_folder(entries[i].name, true) && ok;
    ok = target.list_entries(false, SORT_BYTES, false, &entries, &count, nullptr, MATCH_GLOB, 10, 5) && ok;
    for (INT_S32 i = 0; i < count; ++i)
        ok = target.delete_file(entries[i].name) && ok;
    free_directory_entries(&entries, &count);
    return ok;
}

bool FOLDER::delete_folder(const char* name, bool contents) const
{
    char joined[ORLU_MAX_PATH];
    if (!name || !name[0] || !join_path(m_path, name, joined))
        return false;
    // A link is removed as a link: what it points at is not ours to delete.
    if (host_is_link(joined))
        return host_delete_file(joined);
    if (contents)
        (void)delete_folder(name);
    return host_remove_folder(joined);
}

bool FOLDER::rename_file(const char* name, const FOLDER& to_folder, const char* to_name) const
{
    char from[ORLU_MAX_PATH];
    char to[ORLU_MAX_PATH];
    return name && name[0] && to_name && to_name[0] && join_path(m_path, name, from)
        && join_path(to_folder.m_path, to_name, to) && host_rename_file(from, to);
}

bool FOLDER::copy_file(const char* name, const FOLDER& to_folder, const char* to_name) const
{
    char from[ORLU_MAX_PATH];
    char to[ORLU_MAX_PATH];
    return name && name[0] && to_name && to_name[0] && join_path(m_path, name, from)
        && join_path(to_folder.m_path, to_name, to) && host_copy_file(from, to);
}

bool FOLDER::set_permissions(const char* name, INT_U32 mode) const
{
    char joined[ORLU_MAX_PATH];
    return name && name[0] && join_path(m_path, name, joined) && host_set_permissions(joined, mode);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Listings
// ---------------------------------------------------------------------------------------------

bool FOLDER::list_entries(bool want_folders, INT_S32 sort, bool append, DIRECTORY_ENTRY** list,
    INT_S32* count, const char* pattern, INT_S32 match_mode, INT_S32 initial, INT_S32 step) const
{
    if (!list || !count)
        return false;
    if (!append)
        free_directory_entries(list, count);
    if (initial < 1)
        initial = 1;
    if (step < 1)
        step = 1;
    // An appended list came from an earlier call whose spare room is not known: it counts as full.
    INT_S32 capacity = *count;

    HOST_LISTING* listing = host_open_listing(m_path, want_folders, sort, pattern, match_mode);
    if (!listing)
        return true;
    bool ok = true;
    while (const char* name = host_next_entry(listing)) {
        size_t name_length = strlen(name);
        char joined[ORLU_MAX_PATH];
        if (name_length > 255 || !join_path(m_path, name, joined))
            continue;
        HOST_FILE_INFO info;
        (void)host_file_info(joined, &info);
        if (info.is_folder != want_folders)
            continue;
        if (*count == capacity) {
            INT_S64 wanted = capacity == 0 ? initial : static_cast<INT_S64>(capacity) + step;
            if (wanted > 0x7FFFFFF) {
                ok = false;
                break;
            }
            void* grown = realloc(*list, static_cast<size_t>(wanted) * sizeof(DIRECTORY_ENTRY));
            if (!grown) {
                ok = false;
                break;
            }
            *list = static_cast<DIRECTORY_ENTRY*>(grown);
            capacity = static_cast<INT_S32>(wanted);
        }
        DIRECTORY_ENTRY* entry = *list + *count;
        memset(entry, 0, sizeof *entry);
        memcpy(entry->folder, m_path, strlen(m_path) + 1);
        memcpy(entry->name, name, name_length + 1);
        entry->is_folder = info.is_folder;
        entry->read_only = info.owner_read && !info.owner_write;
        entry->writable = info.owner_write;
        entry->size = info.size > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<INT_U32>(info.size);
        entry->modified = info.modified;
        ++*count;
    }
    host_close_listing(listing);
    return ok;
}

void free_directory_entries(DIRECTORY_ENTRY** list, INT_S32* count)
{
    if (list) {
        free(*list);
        *list = nullptr;
    }
    if (count)
        *count = 0;
}

const char* size_text(const DIRECTORY_ENTRY* entry)
{
    static char text[20];
    double size = entry ? entry->size : 0;
    const char* unit = "b";
    if (size >= 1073741824.0) {
        size /= 1073741824.0;
        unit = "G";
    } else if (size >= 1048576.0) {
        size /= 1048576.0;
        unit = "M";
    } else if (size >= 1024.0) {
        size /= 1024.0;
        unit = "k";
    }
    snprintf(text, sizeof text, "%.1lf %s", size, unit);
    return text;
}

const char* date_text(const DIRECTORY_ENTRY* entry)
{
    static char text[50];
    time_t stamp = entry ? static_cast<time_t>(entry->modified) : 0;
    char held[64];
    if (!ctime_r(&stamp, held)) {
        text[0] = 0;
        return text;
    }
    held[strcspn(held, "\n")] = 0;
    snprintf(text, sizeof text, "%.49s", held);
    return text;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Stream form
// ---------------------------------------------------------------------------------------------

namespace {
constexpr INT_U8 SYMBOLIC_TAG = 0xFF;
} // namespace

bool FOLDER::put_to_data_device(DATA_DEVICE* device) const
{
    if (!device)
        return false;
    char text[ORLU_MAX_PATH];
    memset(text, 0, sizeof text);
    INT_U8 tag = SYMBOLIC_TAG;
    // A path too long for its symbolic text is kept as this machine's raw path.
    if (!symbolic_text(text)) {
        memset(text, 0, sizeof text);
        memcpy(text, m_path, strlen(m_path) + 1);
        tag = OS_LINUX;
    }
    return device_write(device, tag) && device_write_bytes(device, text, ORLU_MAX_PATH);
}

bool FOLDER::get_from_data_device(DATA_DEVICE* device)
{
    if (!device)
        return false;
    INT_U8 tag = 0;
    char text[ORLU_MAX_PATH];
    if (!device_read(device, &tag) || !device_read_bytes(device, text, ORLU_MAX_PATH))
        return false;
    text[ORLU_MAX_PATH - 1] = 0;
    if (tag == SYMBOLIC_TAG) {
        // Only the whole path counts: a walk that stopped half-way is somewhere else. A variable
        // this program does not know comes from a damaged or foreign stream, which must not end
        // the run the way an unknown variable in our own code does.
        char variable[256];
        size_t length = strcspn(text, "/");
        snprintf(variable, sizeof variable, "%.*s", static_cast<int>(length < 255 ? length : 255), text);
        if (text[0] == '$' && !is_known_variable(variable))
            set_app();
        else if (!set(text))
            set_app();
    } else if (tag != OS_LINUX || text[0] != '/') {
        // Another system's path means nothing here; a bad id is not worth stopping for.
        set_app();
    } else {
        size_t length = trimmed_length(text);
        text[length] = 0;
        memcpy(m_path, text, length + 1);
    }
    // A stale path is not a failure: the reader goes on with a folder that exists.
    if (!host_is_folder(m_path))
        set_app();
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Overrides and custom variables
// ---------------------------------------------------------------------------------------------

void set_base_path(const FOLDER* folder, const char* name)
{
    if (!folder)
        return;
    base_override() = *folder;
    base_override_set = true;
    snprintf(base_app_name, sizeof base_app_name, "%s", name ? name : "");
    debug_printf(&path_trace_debug, "\nBase Path Changed:\n\n");
    log_default_paths();
}

void clear_base_path()
{
    base_override_set = false;
    base_app_name[0] = 0;
    debug_printf(&path_trace_debug, "\nBase Path Changed:\n\n");
    log_default_paths();
}

bool get_base_path(FOLDER* folder, char* name_buffer, INT_S32 size)
{
    if (!base_override_set)
        return false;
    if (folder)
        *folder = base_override();
    if (name_buffer && size > 0)
        snprintf(name_buffer, static_cast<size_t>(size), "%s", base_app_name);
    return true;
}

void set_icon_path(const FOLDER* folder)
{
    if (!folder)
        return;
    icon_override() = *folder;
    icon_override_set = true;
    debug_printf(&path_trace_debug, "\nIcon Path Changed:\n\n");
    log_default_paths();
}

void clear_icon_path()
{
    icon_override_set = false;
    debug_printf(&path_trace_debug, "\nIcon Path Changed:\n\n");
    log_default_paths();
}

bool get_icon_path(FOLDER* folder)
{
    if (!icon_override_set)
        return false;
    if (folder)
        *folder = icon_override();
    return true;
}

INT_S32 define_variable(const char* name, const FOLDER* folder)
{
    if (!folder)
        return -1;
    INT_S32 index = find_custom_variable(name);
    if (index >= 0) {
        custom_variable_at(index)->folder = *folder;
        return index;
    }
    CUSTOM_VARIABLE* record = new (std::nothrow) CUSTOM_VARIABLE;
    if (!record)
        return -1;
    record->has_name = name != nullptr;
    record->name.assign(name);
    record->folder = *folder;
    if (!custom_variables().add(record)) {
        delete record;
        return -1;
    }
    return custom_variables().count() - 1;
}

bool is_known_variable(const char* name)
{
    if (!name || name[0] != '$')
        return false;
    if (find_custom_variable(name) >= 0)
        return true;
    static const char* const builtin[] = { "APP", "BASE", "APPDATA", "INSTDATA", "HERE", "USERAPP", "USERDATA",
        "USERPREFS", "USERSAVES", "SYSAPP", "SYSDATA", "SYSPREFS", "DATA", "TEMP", "FONTDATA", "ICONDATA" };
    const char* bare = name + 1;
    for (const char* known : builtin) {
        if (!strcasecmp(bare, known))
            return true;
    }
    return !strncasecmp(bare, "ROOT", 4);
}

bool undefine_variable(const char* name)
{
    INT_S32 index = find_custom_variable(name);
    return index >= 0 && custom_variables().remove_fast(index);
}

const char* expand_text(const char* text, const char* file_name)
{
    FOLDER app;
    snprintf(expanded_text, sizeof expanded_text, "%s", app.path());

    auto append = [](const char* element, size_t length) {
        size_t used = strlen(expanded_text);
        const char* separator = used > 0 && expanded_text[used - 1] == '/' ? "" : "/";
        snprintf(expanded_text + used, sizeof expanded_text - used, "%s%.*s", separator,
            static_cast<int>(length), element);
    };

    const char* p = text ? text : "";
    while (*p) {
        while (*p == '/')
            ++p;
        size_t length = strcspn(p, "/");
        if (length == 0)
            break;
        if (p[0] == '$') {
            char name[256];
            snprintf(name, sizeof name, "%.*s", static_cast<int>(length < 255 ? length : 255), p);
            FOLDER value(app);
            (void)value.resolve_variable(name, false, false, false);
            snprintf(expanded_text, sizeof expanded_text, "%s", value.path());
        } else if (length == 2 && p[0] == '.' && p[1] == '.') {
            char* slash = strrchr(expanded_text, '/');
            if (slash == expanded_text)
                expanded_text[1] = 0;
            else if (slash)
                *slash = 0;
        } else {
            append(p, length);
        }
        p += length;
    }
    if (file_name && file_name[0])
        append(file_name, strlen(file_name));
    return expanded_text;
}

void log_default_paths()
{
    // Listing the paths counts as the start-up listing too, so that it is not written twice.
    paths_logged = true;
    if (!path_trace_debug.flags())
        return;
    static const char* const names[] = { "$APP", "$APPDATA", "$USERAPP", "$USERDATA", "$USERPREFS",
        "$SYSAPP", "$SYSDATA", "$SYSPREFS", "$DATA", "$TEMP", "$ROOT0", "$ROOT1", "$ROOT2",
        "$FONTDATA", "$ICONDATA" };
    for (const char* name : names) {
        FOLDER resolved;
        resolved.set(name);
        FOLDER without_host;
        without_host.set(name, false, nullptr, false, false, true);
        debug_printf(&path_trace_debug, "%s => %s (%s)\n", name, resolved.path(), without_host.path());
    }
}
