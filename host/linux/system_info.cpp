// Machine facts for Linux: /proc/cpuinfo, /proc/meminfo, /proc/mounts, statfs and the password
// database. Every source may be missing; what cannot be read stays zero.
//
// [SECTION] Home directory
// [SECTION] Roots and drive kinds
// [SECTION] System information

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/system_info.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Home directory
// ---------------------------------------------------------------------------------------------

namespace {
char home[ORLU_MAX_PATH];
bool home_known = false;
} // namespace

const char* home_directory()
{
    if (home_known)
        return home;
    // HOME wins when it names a real folder: the desktop tools that register our menu entries
    // (xdg-utils) go by it, and shortcuts must land where they look. The password database is
    // the fall-back for a missing or stale HOME.
    home[0] = 0;
    const char* variable = getenv("HOME");
    struct stat facts;
    if (variable && variable[0] == '/' && stat(variable, &facts) == 0 && S_ISDIR(facts.st_mode)) {
        snprintf(home, sizeof home, "%s", variable);
    } else {
        struct passwd* entry = getpwuid(getuid());
        if (entry && entry->pw_dir && entry->pw_dir[0])
            snprintf(home, sizeof home, "%s", entry->pw_dir);
        else if (variable)
            snprintf(home, sizeof home, "%s", variable);
    }
    home_known = true;
    return home;
}

void set_home_directory(const char* path)
{
    if (!path) {
        home_known = false;
        return;
    }
    snprintf(home, sizeof home, "%s", path);
    home_known = true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Roots and drive kinds
// ---------------------------------------------------------------------------------------------

namespace {

const char* mount_table = "/proc/mounts";
char mount_table_override[ORLU_MAX_PATH];

struct MOUNT_LINE {
    char device[1024];
    char mount_point[1024];
    char type[1024];
};

bool is_volume_type(const char* type)
{
    static const char* const volume_types[] = { "ext", "ext2", "ext3", "hfs", "hpfs", "iso9660",
        "msdos", "nfs", "nfs4", "ntfs", "smbfs", "sysv", "umsdos", "vfat", "xfs" };
    for (const char* known : volume_types) {
        if (strcmp(type, known) == 0)
            return true;
    }
    return false;
}

bool split_mount_line(const char* line, MOUNT_LINE* out)
{
    return sscanf(line, "%1023s %1023s %1023s", out->device, out->mount_point, out->type) == 3;
}

// Finds the n-th volume of the mount table (0-based). False past the end or without a table.
bool find_volume(int wanted, MOUNT_LINE* out)
{
    FILE* file = fopen(mount_table, "r");
    if (!file)
        return false;
    const char* home_path = home_directory();
    char line[1024];
    int index = 0;
    bool found = false;
    while (fgets(line, sizeof line, file)) {
        MOUNT_LINE entry;
        if (!split_mount_line(line, &entry) || !is_volume_type(entry.type))
            continue;
        if (strcmp(entry.mount_point, "/") == 0 || strcmp(entry.mount_point, home_path) == 0)
            continue;
        if (index++ == wanted) {
            *out = entry;
            found = true;
            break;
        }
    }
    fclose(file);
    return found;
}

} // namespace

void set_mount_table_path(const char* path)
{
    if (!path) {
        mount_table = "/proc/mounts";
        return;
    }
    snprintf(mount_table_override, sizeof mount_table_override, "%s", path);
    mount_table = mount_table_override;
}

INT_S16 root_count()
{
    INT_S16 count = 2;
    MOUNT_LINE entry;
    while (count < SYSTEM_INFO_MAX_ROOTS && find_volume(count - 2, &entry))
        ++count;
    return count;
}

const char* root_name(INT_S16 root)
{
    static char name[1024];
    if (root == 0)
        return "Home";
    if (root == 1)
        return "File System";
    MOUNT_LINE entry;
    if (root < 0 || !find_volume(root - 2, &entry))
        return "";
    snprintf(name, sizeof name, "%s", entry.mount_point);
    return name;
}

const char* root_path(INT_S16 root)
{
    if (root == 0)
        return home_directory();
    if (root == 1)
        return "/";
    return root_name(root);
}

DRIVE_KIND root_drive_kind(INT_S16 root)
{
    if (root == 0 || root == 1)
        return DRIVE_LOCAL;
    MOUNT_LINE entry;
    if (root < 0 || !find_volume(root - 2, &entry))
        return DRIVE_UNKNOWN;
    // The device tells more than the file system, so it is looked at first.
    if (strncmp(entry.device, "/dev/cdrom", 10) == 0)
        return DRIVE_OPTICAL;
    if (strncmp(entry.device, "/dev/floppy", 11) == 0 || strncmp(entry.device, "/dev/fd", 7) == 0)
        return DRIVE_REMOVABLE;
    const char* type = entry.type;
    if (strcmp(type, "iso9660") == 0)
        return DRIVE_OPTICAL;
    if (!strcmp(type, "nfs") || !strcmp(type, "nfs4") || !strcmp(type, "smbfs"))
        return DRIVE_NETWORK;
    if (!strcmp(type, "ext") || !strcmp(type, "ext2") || !strcmp(type, "ext3"))
        return DRIVE_LOCAL;
    if (!strcmp(type, "sysv") || !strcmp(type, "xfs"))
        return DRIVE_UNIX;
    if (!strcmp(type, "hfs"))
        return DRIVE_HFS;
    if (!strcmp(type, "hpfs"))
        return DRIVE_HPFS;
    if (!strcmp(type, "msdos") || !strcmp(type, "umsdos") || !strcmp(type, "vfat"))
        return DRIVE_DOS;
    if (!strcmp(type, "ntfs"))
        return DRIVE_NT;
    return DRIVE_UNKNOWN;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] System information
// ---------------------------------------------------------------------------------------------

namespace {

// The value of a "key<blanks>: value" line, behind the blanks, tabs and the colon; null when the
// line does not start with the key.
const char* line_value(const char* line, const char* key)
{
    size_t length = strlen(key);
    if (strncmp(line, key, length) != 0)
        return nullptr;
    const char* value = line + length;
    while (*value == ' ' || *value == '\t' || *value == ':')
        ++value;
    return value;
}

void read_processors(SYSTEM_INFO* info)
{
    FILE* file = fopen("/proc/cpuinfo", "r");
    if (!file)
        return;
    char line[1024];
    int cpu = -1;
    while (fgets(line, sizeof line, file)) {
        const char* value;
        if (line_value(line, "processor")) {
            ++cpu;
            if (cpu < SYSTEM_INFO_MAX_CPUS)
                info->processor_count = static_cast<INT_U16>(cpu + 1);
            continue;
        }
        if (cpu < 0 || cpu >= SYSTEM_INFO_MAX_CPUS)
            continue;
        if ((value = line_value(line, "vendor_id"))) {
            if (strstr(value, "Intel"))
                info->processor_vendor[cpu] = CPU_INTEL;
            else if (strstr(value, "AMD"))
                info->processor_vendor[cpu] = CPU_AMD;
        } else if ((value = line_value(line, "stepping"))) {
            info->processor_stepping[cpu] = atoi(value);
        } else if ((value = line_value(line, "cpu MHz"))) {
            info->processor_mhz[cpu] = static_cast<INT_S32>(atof(value));
        }
    }
    fclose(file);
}

void read_memory(SYSTEM_INFO* info)
{
    FILE* file = fopen("/proc/meminfo", "r");
    if (!file)
        return;
    char line[256];
    while (fgets(line, sizeof line, file)) {
        const char* value;
        if ((value = line_value(line, "MemTotal")))
            info->memory_total = static_cast<INT_U32>(strtoul(value, nullptr, 10));
        else if ((value = line_value(line, "MemFree")))
            info->memory_free = static_cast<INT_U32>(strtoul(value, nullptr, 10));
        else if ((value = line_value(line, "SwapTotal")))
            info->swap_total = static_cast<INT_U32>(strtoul(value, nullptr, 10));
        else if ((value = line_value(line, "SwapFree")))
            info->swap_free = static_cast<INT_U32>(strtoul(value, nullptr, 10));
    }
    fclose(file);
}

INT_U32 free_megabytes(const char* path)
{
    struct statfs facts;
    if (!path || !path[0] || statfs(path, &facts) != 0 || facts.f_bsize <= 0)
        return 0;
    INT_U64 bytes = static_cast<INT_U64>(facts.f_bavail) * static_cast<INT_U64>(facts.f_bsize);
    return static_cast<INT_U32>(bytes / 0x100000);
}

bool program_on_path(const char* name)
{
    const char* path = getenv("PATH");
    if (!path)
        return false;
    char candidate[ORLU_MAX_PATH];
    while (*path) {
        const char* end = strchr(path, ':');
        size_t length = end ? static_cast<size_t>(end - path) : strlen(path);
        snprintf(candidate, sizeof candidate, "%.*s/%s", static_cast<int>(length), path, name);
        if (length > 0 && access(candidate, X_OK) == 0)
            return true;
        path += length;
        if (*path == ':')
            ++path;
    }
    return false;
}

// The first IPv4 address of an interface that is up and not the loopback.
void first_ip_address(char* out, size_t size)
{
    out[0] = 0;
    struct ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return;
    for (struct ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET)
            continue;
        const auto* address = reinterpret_cast<const struct sockaddr_in*>(entry->ifa_addr);
        if (ntohl(address->sin_addr.s_addr) >> 24 == 127)
            continue;
        inet_ntop(AF_INET, &address->sin_addr, out, static_cast<socklen_t>(size));
        break;
    }
    freeifaddrs(list);
}

} // namespace

void read_system_info(SYSTEM_INFO* info)
{
    *info = SYSTEM_INFO();
    info->platform = OS_LINUX;
    info->word_size = sizeof(long) * 8 == 64 ? OS_VERSION_LINUX_64 : OS_VERSION_LINUX_32;

    struct utsname names;
    if (uname(&names) == 0) {
        snprintf(info->os_text, sizeof info->os_text, "%s %s", names.release, names.version);
        snprintf(info->computer_name, sizeof info->computer_name, "%s", names.nodename);
    }
    read_processors(info);
    read_memory(info);

    info->disk_count = root_count();
    for (INT_S16 root = 0; root < info->disk_count; ++root)
        info->disk_free[root] = free_megabytes(root_path(root));

    info->speech_available = program_on_path("festival");
    const INT_U16 probe = 1;
    info->byte_order = *reinterpret_cast<const INT_U8*>(&probe) == 1 ? 0 : 1;

    // An X11 desktop: windows of any size, placed and bordered as asked, icons on the desktop and
    // menu entries through the desktop's own tools.
    info->desktop_icons = 1;
    info->desktop_menu = access("/usr/bin/xdg-desktop-menu", X_OK) == 0 || access("/usr/bin/update-menus", X_OK) == 0;
    info->system_folders = 1;
    info->fullscreen = 1;
    info->windowed = 1;
    info->optional_window_borders = 1;
    info->window_positioning = 1;
    info->multiple_windows = 1;
    info->hardware_keyboard = 1;
    info->mouse = 1;
    info->mouse_buttons = 5;
    info->joystick1_connected = access("/dev/input/js0", R_OK) == 0;
    info->joystick = info->joystick1_connected;
    info->disable_logout = 0;
    if (gethostname(info->host_name, sizeof info->host_name - 1) != 0)
        info->host_name[0] = 0;
    first_ip_address(info->ip_address, sizeof info->ip_address);
}
