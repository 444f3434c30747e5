// The file system on Linux, in plain paths: the program's own folder, the private temporary
// folder, path tests, file operations and directory listings.
//
// [SECTION] Application name and folder
// [SECTION] The private temporary folder
// [SECTION] Path tests and folders
// [SECTION] Files
// [SECTION] Listings
// [SECTION] Streams

#include "host/host_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <strings.h>

#include "host/host.h"
#include "host/system_info.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Application name and folder
// ---------------------------------------------------------------------------------------------

namespace {

// The running executable's path. The executable does not move while it runs, and every folder
// starts from it, so the link is read once.
bool read_own_path(char* out)
{
    static char own[ORLU_MAX_PATH];
    static bool known = false;
    if (!known) {
        if (!host_executable_path(own, sizeof own))
            return false;
        known = true;
    }
    memcpy(out, own, ORLU_MAX_PATH);
    return true;
}

} // namespace

bool host_own_folder(char* out, size_t size)
{
    char own[ORLU_MAX_PATH];
    if (!read_own_path(own))
        return false;
    char* slash = strrchr(own, '/');
    if (slash == own)
        own[1] = 0;
    else if (slash)
        *slash = 0;
    return snprintf(out, size, "%s", own) < static_cast<int>(size);
}

const char* host_application_name()
{
    static char name[ORLU_MAX_PATH];
    static bool known = false;
    if (known)
        return name;
    char own[ORLU_MAX_PATH];
    const char* slash = read_own_path(own) ? strrchr(own, '/') : nullptr;
    snprintf(name, sizeof name, "%s", slash && slash[1] ? slash + 1 : "ORLU Application");
    known = true;
    return name;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The private temporary folder
// ---------------------------------------------------------------------------------------------

namespace {

// The folder made for this run, the base it was made in, and the process that made it: a child
// of a fork that exits must not take its parent's folder with it.
char run_folder[ORLU_MAX_PATH];
char run_base[ORLU_MAX_PATH];
pid_t run_folder_owner = 0;

// A base for the run's folder: a real folder (the path may pass through links, it is the user's
// own setting) that only this user or root can change, or one that others may write only under
// the sticky bit, so that nobody can move our folder away and put a link in its place.
bool is_usable_base(const char* path)
{
    struct stat info;
    if (!path || path[0] != '/' || stat(path, &info) != 0 || !S_ISDIR(info.st_mode))
        return false;
    if (info.st_uid != geteuid() && info.st_uid != 0)
        return false;
    if (access(path, W_OK | X_OK) != 0)
        return false;
    return (info.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (info.st_mode & S_ISVTX) != 0;
}

// One name element of letters, digits, "_" and "-" only, so that the parts of a run folder's
// name can be told apart again.
void name_element(const char* text, char* out, size_t size)
{
    size_t length = 0;
    for (const char* c = text ? text : ""; *c && length + 1 < size && length < 64; ++c) {
        bool plain = (*c >= 'a' && *c <= 'z') || (*c >= 'A' && *c <= 'Z') || (*c >= '0' && *c <= '9') || *c == '-';
        out[length++] = plain ? *c : '_';
    }
    if (length == 0 && size > 1)
        out[length++] = '_';
    out[length] = 0;
}

// The first part of this run's folder name, "<name>.<host>.", shared by every run of the same
// program on this machine.
void run_folder_prefix(const char* name, char* out, size_t size)
{
    char machine[256] = {};
    if (gethostname(machine, sizeof machine - 1) != 0)
        machine[0] = 0;
    char clean_name[80];
    char clean_machine[80];
    name_element(name, clean_name, sizeof clean_name);
    name_element(machine, clean_machine, sizeof clean_machine);
    snprintf(out, size, "%s.%s.", clean_name, clean_machine);
}

// Removes `name` in the open folder and, for a folder, everything below it; links are removed as
// links, never followed. `depth` bounds how deep a hostile tree can take us.
void remove_tree_at(int parent, const char* name, int depth)
{
    struct stat info;
    if (fstatat(parent, name, &info, AT_SYMLINK_NOFOLLOW) != 0)
        return;
    if (!S_ISDIR(info.st_mode)) {
        unlinkat(parent, name, 0);
        return;
    }
    if (depth > 0) {
        int folder = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        DIR* listing = folder >= 0 ? fdopendir(folder) : nullptr;
        if (!listing && folder >= 0)
            close(folder);
        if (listing) {
            for (struct dirent* entry = readdir(listing); entry; entry = readdir(listing)) {
                if (strcmp(entry->d_name, ".") && strcmp(entry->d_name, ".."))
                    remove_tree_at(dirfd(listing), entry->d_name, depth - 1);
            }
            closedir(listing);
        }
    }
    unlinkat(parent, name, AT_REMOVEDIR);
}

// True when the process `pid` is gone. A process of another user still counts as running.
bool process_is_gone(long pid)
{
    if (pid <= 0 || pid > 0x7FFFFFFF)
        return false;
    return kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH;
}

// Folders "<prefix><pid>.XXXXXX" in `base` that belong to this user and whose process is gone
// were left by a run that was killed; they go before this run makes its own.
void remove_stale_run_folders(const char* base, const char* prefix)
{
    int folder = open(base, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* listing = folder >= 0 ? fdopendir(folder) : nullptr;
    if (!listing) {
        if (folder >= 0)
            close(folder);
        return;
    }
    size_t prefix_length = strlen(prefix);
    for (struct dirent* entry = readdir(listing); entry; entry = readdir(listing)) {
        const char* name = entry->d_name;
        if (strncmp(name, prefix, prefix_length) != 0)
            continue;
        char* end = nullptr;
        long pid = strtol(name + prefix_length, &end, 10);
        if (!end || end == name + prefix_length || end[0] != '.' || strlen(end + 1) != 6)
            continue;
        struct stat info;
        if (fstatat(dirfd(listing), name, &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(info.st_mode)
            || info.st_uid != geteuid() || !process_is_gone(pid))
            continue;
        remove_tree_at(dirfd(listing), name, 16);
    }
    closedir(listing);
}

void remove_run_folder_at_exit()
{
    host_remove_run_temp_folder();
}

} // namespace

namespace {

// Where the run's folder goes: the home's own "tmp", else the user's $TMPDIR, else /tmp.
void choose_base(const char* home, char* base, size_t size)
{
    if (home && home[0] && snprintf(base, size, "%s/tmp", home) < static_cast<int>(size) && is_usable_base(base))
        return;
    const char* chosen = getenv("TMPDIR");
    if (chosen && snprintf(base, size, "%s", chosen) < static_cast<int>(size) && is_usable_base(base))
        return;
    snprintf(base, size, "/tmp");
}

} // namespace

bool host_run_temp_folder(const char* home, const char* name, bool create, char* out)
{
    char base[ORLU_MAX_PATH];
    choose_base(home, base, sizeof base);
    struct stat info;
    if (run_folder[0] && run_folder_owner == getpid() && !strcmp(base, run_base) && lstat(run_folder, &info) == 0
        && S_ISDIR(info.st_mode) && info.st_uid == geteuid()) {
        snprintf(out, ORLU_MAX_PATH, "%s", run_folder);
        return true;
    }
    if (!create || !is_usable_base(base))
        return false;
    // Another base (the home changed) or a folder that vanished: this run starts a new one.
    host_remove_run_temp_folder();
    char prefix[200];
    run_folder_prefix(name, prefix, sizeof prefix);
    remove_stale_run_folders(base, prefix);
    char pattern[ORLU_MAX_PATH];
    if (snprintf(pattern, sizeof pattern, "%s/%s%ld.XXXXXX", base, prefix, static_cast<long>(getpid())) >= ORLU_MAX_PATH
        || !mkdtemp(pattern))
        return false;
    snprintf(run_folder, sizeof run_folder, "%s", pattern);
    snprintf(run_base, sizeof run_base, "%s", base);
    run_folder_owner = getpid();
    static bool cleanup_registered = false;
    if (!cleanup_registered)
        cleanup_registered = atexit(remove_run_folder_at_exit) == 0;
    snprintf(out, ORLU_MAX_PATH, "%s", run_folder);
    return true;
}

void host_remove_run_temp_folder()
{
    if (!run_folder[0] || run_folder_owner != getpid())
        return;
    char parent[ORLU_MAX_PATH];
    snprintf(parent, sizeof parent, "%s", run_folder);
    char* slash = strrchr(parent, '/');
    if (slash && slash != parent) {
        *slash = 0;
        int folder = open(parent, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder >= 0) {
            remove_tree_at(folder, slash + 1, 16);
            close(folder);
        }
    }
    run_folder[0] = 0;
    run_base[0] = 0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Path tests and folders
// ---------------------------------------------------------------------------------------------

bool host_is_folder(const char* path)
{
    struct stat info;
    return path && stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

bool host_is_link(const char* path)
{
    struct stat info;
    return path && lstat(path, &info) == 0 && S_ISLNK(info.st_mode);
}

bool host_path_taken(const char* path)
{
    struct stat info;
    return path && lstat(path, &info) == 0;
}

bool host_is_regular_file(const char* path)
{
    struct stat info;
    return path && stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

bool host_same_file(const char* first, const char* second)
{
    struct stat one, two;
    return first && second && stat(first, &one) == 0 && stat(second, &two) == 0 && one.st_dev == two.st_dev
        && one.st_ino == two.st_ino;
}

bool host_file_opens(const char* path)
{
    FILE* file = path ? fopen(path, "rb") : nullptr;
    if (!file)
        return false;
    fclose(file);
    return true;
}

bool host_make_folder(const char* path, INT_U32 mode)
{
    return path && mkdir(path, static_cast<mode_t>(mode)) == 0;
}

bool host_remove_folder(const char* path)
{
    return path && rmdir(path) == 0;
}

bool host_make_link(const char* target, const char* link_path)
{
    return target && link_path && symlink(target, link_path) == 0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Files
// ---------------------------------------------------------------------------------------------

FILE* host_open_stream(const char* path, const char* mode)
{
    if (!path || !path[0] || !mode || !mode[0])
        return nullptr;
    FILE* file = fopen(path, mode);
    if (file || errno != ENOENT)
        return file;
    // Update modes make the file they are asked to update.
    if (!strcmp(mode, "r+b"))
        return fopen(path, "wb");
    if (!strcmp(mode, "r+"))
        return fopen(path, "w");
    return nullptr;
}

bool host_create_exclusive(const char* path)
{
    if (!path)
        return false;
    int descriptor = open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return false;
    close(descriptor);
    return true;
}

bool host_delete_file(const char* path)
{
    return path && remove(path) == 0;
}

bool host_rename_file(const char* from, const char* to)
{
    return from && to && rename(from, to) == 0;
}

namespace {

bool write_all(int descriptor, const char* bytes, ssize_t size)
{
    while (size > 0) {
        ssize_t done = write(descriptor, bytes, static_cast<size_t>(size));
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            return false;
        bytes += done;
        size -= done;
    }
    return true;
}

} // namespace

bool host_copy_file(const char* from, const char* to)
{
    if (!from || !to)
        return false;
    int source = open(from, O_RDONLY | O_CLOEXEC);
    if (source < 0)
        return false;
    struct stat source_info;
    struct stat target_info;
    if (fstat(source, &source_info) != 0 || S_ISDIR(source_info.st_mode)
        || (stat(to, &target_info) == 0 && target_info.st_dev == source_info.st_dev && target_info.st_ino == source_info.st_ino)) {
        close(source);
        return false;
    }
    int target = open(to, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, source_info.st_mode & 0777);
    if (target < 0) {
        close(source);
        return false;
    }
    static char buffer[65536];
    bool ok = true;
    for (;;) {
        ssize_t got = read(source, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            ok = false;
        if (got <= 0)
            break;
        if (!write_all(target, buffer, got)) {
            ok = false;
            break;
        }
    }
    close(source);
    if (close(target) != 0)
        ok = false;
    return ok;
}

bool host_set_permissions(const char* path, INT_U32 mode)
{
    return path && chmod(path, static_cast<mode_t>(mode)) == 0;
}

bool host_file_info(const char* path, HOST_FILE_INFO* info)
{
    if (!path || !info)
        return false;
    *info = HOST_FILE_INFO();
    struct stat link_info;
    if (lstat(path, &link_info) != 0)
        return false;
    struct stat target;
    // A dangling link is described as itself.
    if (stat(path, &target) != 0)
        target = link_info;
    const char* slash = strrchr(path, '/');
    const char* name = slash ? slash + 1 : path;
    info->is_folder = S_ISDIR(target.st_mode);
    info->is_link = S_ISLNK(link_info.st_mode);
    info->hidden = name[0] == '.';
    info->owner_read = target.st_mode & S_IRUSR;
    info->owner_write = target.st_mode & S_IWUSR;
    info->owner_execute = target.st_mode & S_IXUSR;
    info->size = target.st_size > 0 ? static_cast<INT_U64>(target.st_size) : 0;
    info->modified = static_cast<INT_U32>(target.st_mtime);
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Listings
// ---------------------------------------------------------------------------------------------

struct HOST_LISTING {
    struct dirent** names { nullptr };
    int count { 0 };
    int next { 0 };
};

namespace {

bool name_matches(const char* name, const char* pattern, INT_S32 match_mode)
{
    if (!pattern || !pattern[0])
        return true;
    switch (match_mode) {
    case MATCH_GLOB_NO_CASE:
        return fnmatch(pattern, name, FNM_CASEFOLD) == 0;
    case MATCH_PREFIX:
        return strncasecmp(name, pattern, strlen(pattern)) == 0;
    default:
        return fnmatch(pattern, name, 0) == 0;
    }
}

int compare_no_case(const struct dirent** a, const struct dirent** b)
{
    int order = strcasecmp((*a)->d_name, (*b)->d_name);
    return order ? order : strcmp((*a)->d_name, (*b)->d_name);
}

} // namespace

HOST_LISTING* host_open_listing(const char* path, bool want_folders, INT_S32 sort, const char* pattern, INT_S32 match_mode)
{
    if (!path)
        return nullptr;
    struct dirent** names = nullptr;
    int count = scandir(path, &names, nullptr, sort == SORT_NO_CASE ? compare_no_case : alphasort);
    if (count < 0)
        return nullptr;
    // Keep the wanted entries at the front, in order.
    int kept = 0;
    for (int i = 0; i < count; ++i) {
        const char* name = names[i]->d_name;
        bool keep = strcmp(name, ".") && strcmp(name, "..") && name_matches(name, pattern, match_mode);
        if (keep) {
            char joined[ORLU_MAX_PATH];
            struct stat info;
            bool fits = snprintf(joined, sizeof joined, "%s/%s", path, name) < ORLU_MAX_PATH;
            bool is_folder = fits && stat(joined, &info) == 0 && S_ISDIR(info.st_mode);
            keep = fits && is_folder == want_folders;
        }
        if (keep)
            names[kept++] = names[i];
        else
            free(names[i]);
    }
    if (sort == SORT_BYTES_REVERSED) {
        for (int i = 0; i < kept / 2; ++i) {
            struct dirent* held = names[i];
            names[i] = names[kept - 1 - i];
            names[kept - 1 - i] = held;
        }
    }
    HOST_LISTING* listing = kept > 0 ? new (std::nothrow) HOST_LISTING : nullptr;
    if (!listing) {
        for (int i = 0; i < kept; ++i)
            free(names[i]);
        free(names);
        return nullptr;
    }
    listing->names = names;
    listing->count = kept;
    return listing;
}

const char* host_next_entry(HOST_LISTING* listing)
{
    if (!listing || listing->next >= listing->count)
        return nullptr;
    return listing->names[listing->next++]->d_name;
}

void host_close_listing(HOST_LISTING* listing)
{
    if (!listing)
        return;
    for (int i = 0; i < listing->count; ++i)
        free(listing->names[i]);
    free(listing->names);
    delete listing;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Streams
// ---------------------------------------------------------------------------------------------

int host_duplicate_descriptor(FILE* stream)
{
    if (!stream)
        return -1;
    int descriptor = fcntl(fileno(stream), F_DUPFD_CLOEXEC, 0);
    if (descriptor >= 0 && lseek(descriptor, 0, SEEK_SET) != 0) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

void host_close_descriptor(int descriptor)
{
    if (descriptor >= 0)
        close(descriptor);
}

bool host_read_at(FILE* stream, INT_U32 offset, void* buffer, INT_S32 size)
{
    if (!stream || !buffer || size < 0)
        return false;
    ssize_t got = pread(fileno(stream), buffer, static_cast<size_t>(size), static_cast<off_t>(offset));
    return got == size;
}
