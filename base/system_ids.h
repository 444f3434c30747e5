// Ids of operating systems, their versions and processors, and the names reports print for them.
// The host fills them into its SYSTEM_INFO (host/system_info.h), and a folder written to a stream
// keeps the OS id of its raw path. The names also cover ids of platforms this build never runs
// on, which a stream made elsewhere may carry.
#pragma once

#include "base/orlu_types.h"

enum OS_ID : INT_U32 { OS_LINUX = 1 };
enum OS_VERSION_ID : INT_U32 { OS_VERSION_LINUX_32 = 256, OS_VERSION_LINUX_64 = 257 };
enum CPU_ID : INT_U8 { CPU_UNKNOWN = 0, CPU_AMD = 1, CPU_INTEL = 2 };

// Name tables of the reports; an unknown id has a name of its own ("Unknown OS type", ...).
const char* os_name(INT_U32 id);
const char* os_version_name(INT_U32 id);
const char* cpu_name(INT_U32 id);
// 0 least significant byte first, 1 most significant first.
const char* byte_order_name(INT_U32 id);
