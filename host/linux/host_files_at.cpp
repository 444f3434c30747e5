// Files below an open folder, reached one name at a time without following links: what an
// installer that may run as root needs in folders that other users can write.

#include "host/host_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <atomic>
#include <cstring>
#include <ctime>

namespace {

const char PART_PREFIX[] = ".orlu-part.";

bool is_one_element(const char* name)
{
    return name && name[0] && strcmp(name, ".") && strcmp(name, "..") && !strchr(name, '/');
}

// Six characters that differ from call to call and from process to process; the exclusive
// create is what makes the name safe, this only makes a clash unlikely. Several threads may
// create files at once: each call takes its own number of a shared count and mixes it.
void random_tail(char* out)
{
    static std::atomic<unsigned long> calls { 0 };
    static const unsigned long seed = static_cast<unsigned long>(getpid()) * 2654435761ul
        ^ static_cast<unsigned long>(time(nullptr)) << 20;
    unsigned long state = seed + calls.fetch_add(1, std::memory_order_relaxed) * 0x9E3779B97F4A7C15ul;
    state = (state ^ (state >> 30)) * 0xBF58476D1CE4E5B9ul;
    state = (state ^ (state >> 27)) * 0x94D049BB133111EBul;
    state ^= state >> 31;
    static const char letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    for (int i = 0; i < 6; ++i) {
        out[i] = letters[state % (sizeof letters - 1)];
        state /= sizeof letters - 1;
    }
    out[6] = 0;
}

} // namespace

int host_open_folder(const char* path)
{
    if (!path || !path[0])
        return -1;
    return open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

int host_enter_folder_at(int folder, const char* name, bool create)
{
    if (folder < 0 || !is_one_element(name))
        return -1;
    int entered = openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (entered >= 0 || errno != ENOENT || !create)
        return entered;
    if (mkdirat(folder, name, 0777) != 0 && errno != EEXIST)
        return -1;
    // Whatever stands there now, made by us or by someone quicker, is entered on the same terms.
    return openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool host_file_info_at(int folder, const char* name, HOST_FILE_INFO* info)
{
    if (folder < 0 || !is_one_element(name) || !info)
        return false;
    struct stat facts;
    if (fstatat(folder, name, &facts, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    *info = HOST_FILE_INFO();
    info->is_folder = S_ISDIR(facts.st_mode);
    info->is_link = S_ISLNK(facts.st_mode);
    info->hidden = name[0] == '.';
    info->owner_read = facts.st_mode & S_IRUSR;
    info->owner_write = facts.st_mode & S_IWUSR;
    info->owner_execute = facts.st_mode & S_IXUSR;
    info->size = static_cast<INT_U32>(facts.st_size);
    info->modified = static_cast<INT_U32>(facts.st_mtime);
    return true;
}

int host_create_part_file_at(int folder, char* name, size_t size)
{
    if (folder < 0 || !name || size < 40)
        return -1;
    for (int attempt = 0; attempt < 100; ++attempt) {
        char tail[7];
        random_tail(tail);
        snprintf(name, size, "%s%ld.%s", PART_PREFIX, static_cast<long>(getpid()), tail);
        int descriptor = openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (descriptor >= 0)
            return descriptor;
        if (errno != EEXIST)
            break;
    }
    name[0] = 0;
    return -1;
}

INT_U32 host_new_file_mode()
{
    mode_t mask = umask(0);
    umask(mask);
    return 0666u & ~static_cast<INT_U32>(mask);
}

bool host_write_descriptor(int descriptor, const void* bytes, size_t size)
{
    const char* at = static_cast<const char*>(bytes);
    while (size > 0) {
        ssize_t done = write(descriptor, at, size);
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            return false;
        at += done;
        size -= static_cast<size_t>(done);
    }
    return true;
}

bool host_set_descriptor_mode(int descriptor, INT_U32 mode)
{
    return descriptor >= 0 && fchmod(descriptor, static_cast<mode_t>(mode)) == 0;
}

bool host_finish_descriptor(int descriptor)
{
    return descriptor >= 0 && close(descriptor) == 0;
}

bool host_rename_at(int folder, const char* from, const char* to)
{
    return folder >= 0 && is_one_element(from) && is_one_element(to) && renameat(folder, from, folder, to) == 0;
}

bool host_delete_at(int folder, const char* name)
{
    return folder >= 0 && is_one_element(name) && unlinkat(folder, name, 0) == 0;
}

int host_open_append_at(int folder, const char* name)
{
    if (folder < 0 || !is_one_element(name))
        return -1;
    int descriptor = openat(folder, name, O_WRONLY | O_APPEND | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return -1;
    struct stat facts;
    if (fstat(descriptor, &facts) != 0 || !S_ISREG(facts.st_mode)) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

INT_S32 host_remove_stale_parts_at(int folder)
{
    int listing_descriptor = folder >= 0 ? dup(folder) : -1;
    DIR* listing = listing_descriptor >= 0 ? fdopendir(listing_descriptor) : nullptr;
    if (!listing) {
        if (listing_descriptor >= 0)
            close(listing_descriptor);
        return 0;
    }
    rewinddir(listing);
    INT_S32 removed = 0;
    size_t prefix_length = strlen(PART_PREFIX);
    for (struct dirent* entry = readdir(listing); entry; entry = readdir(listing)) {
        const char* name = entry->d_name;
        if (strncmp(name, PART_PREFIX, prefix_length) != 0)
            continue;
        char* end = nullptr;
        long pid = strtol(name + prefix_length, &end, 10);
        if (!end || end == name + prefix_length || end[0] != '.' || pid <= 0 || pid > 0x7FFFFFFF)
            continue;
        if (kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH)
            continue;
        struct stat facts;
        if (fstatat(folder, name, &facts, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(facts.st_mode))
            continue;
        if (unlinkat(folder, name, 0) == 0)
            ++removed;
    }
    closedir(listing);
    return removed;
}

int host_duplicate_folder(int folder)
{
    return folder >= 0 ? fcntl(folder, F_DUPFD_CLOEXEC, 0) : -1;
}

bool host_folder_identity(int folder, INT_U64* device, INT_U64* inode)
{
    struct stat facts;
    if (folder < 0 || fstat(folder, &facts) != 0)
        return false;
    *device = static_cast<INT_U64>(facts.st_dev);
    *inode = static_cast<INT_U64>(facts.st_ino);
    return true;
}
