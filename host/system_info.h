// What the host knows about the machine: processors, memory, the list of roots (home, the file
// system root and mounted volumes) and what the desktop offers.
#pragma once

#include "base/orlu_types.h"
#include "base/system_ids.h"

constexpr int SYSTEM_INFO_MAX_CPUS = 256;
constexpr int SYSTEM_INFO_MAX_ROOTS = 64;

// Drive kinds, by which the file selector chooses icons.
enum DRIVE_KIND : INT_U8 {
    DRIVE_UNKNOWN = 0,
    DRIVE_OPTICAL = 1,
    DRIVE_REMOVABLE = 2,
    DRIVE_NETWORK = 3,
    DRIVE_LOCAL = 4,
    DRIVE_UNIX = 5,
    DRIVE_HFS = 6,
    DRIVE_HPFS = 7,
    DRIVE_DOS = 8,
    DRIVE_NT = 9,
};

struct SYSTEM_INFO {
    INT_U32 platform { OS_LINUX };
    INT_U32 word_size { OS_VERSION_LINUX_32 };
    char os_text[512] {};
    char computer_name[256] {};
    INT_U16 processor_count { 0 };
    INT_U8 processor_vendor[SYSTEM_INFO_MAX_CPUS] {};
    INT_S32 processor_stepping[SYSTEM_INFO_MAX_CPUS] {};
    INT_S32 processor_mhz[SYSTEM_INFO_MAX_CPUS] {};
    // Kilobytes, as /proc/meminfo gives them.
    INT_U32 memory_total { 0 };
    INT_U32 memory_free { 0 };
    INT_U32 swap_total { 0 };
    INT_U32 swap_free { 0 };
    INT_S16 disk_count { 0 };
    INT_U32 disk_free[SYSTEM_INFO_MAX_ROOTS] {}; // megabytes
    INT_U8 speech_available { 0 };
    INT_U8 byte_order { 0 }; // 0 least significant byte first, 1 most significant first

    // What this host offers an application.
    INT_U8 desktop_icons { 0 };
    INT_U8 desktop_menu { 0 };
    INT_U8 system_folders { 0 };
    INT_U8 fullscreen { 0 };
    INT_U8 windowed { 0 };
    INT_U8 optional_window_borders { 0 };
    INT_U8 window_positioning { 0 };
    char host_name[256] {};
    char ip_address[64] {};
    INT_U8 hardware_keyboard { 0 };
    INT_U8 mouse { 0 };
    INT_U8 mouse_buttons { 0 };
    INT_U8 joystick { 0 };
    INT_U8 joystick1_connected { 0 };
    INT_U8 multiple_windows { 0 };
    INT_U8 disable_logout { 0 };
};

// Fills the record from /proc, statfs and the password database. Missing sources give zeros.
void read_system_info(SYSTEM_INFO* info);

// The roots: 0 "Home", 1 "File System", 2 and on the mounted volumes of /proc/mounts.
// The table path can be replaced for tests; null restores /proc/mounts.
INT_S16 root_count();
// Name and path of a root, in shared buffers; empty when the number is out of range.
const char* root_name(INT_S16 root);
const char* root_path(INT_S16 root);
DRIVE_KIND root_drive_kind(INT_S16 root);
void set_mount_table_path(const char* path);

// The user's home directory: HOME when it names an existing folder, else the password database
// entry of getuid(). Read once.
const char* home_directory();
// Replaces the home directory for the rest of the run (tests point it at a temporary folder);
// null goes back to the password database.
void set_home_directory(const char* path);
