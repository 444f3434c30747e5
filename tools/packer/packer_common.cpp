#include "packer_common.h"

#include <cstdarg>
#include <cstdio>

#include "host/host.h"

int packer_error(const char* format, ...)
{
    fflush(stdout);
    fputs("packer: ", stderr);
    va_list args;
    va_start(args, format);
    vfprintf(stderr, format, args);
    va_end(args);
    fputc('\n', stderr);
    return PACKER_FAILED;
}

bool packer_locate(const char* path, FOLDER* folder, char* name, size_t name_size)
{
    char folder_path[ORLU_MAX_PATH];
    if (!host_split_user_path(path, folder_path, sizeof folder_path, name, name_size)
        || !folder->set_raw(folder_path)) {
        packer_error("cannot find the folder of '%s'", path ? path : "");
        return false;
    }
    return true;
}
