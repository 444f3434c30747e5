// Paths as users type them on a command line.

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/host.h"

bool host_split_user_path(const char* path, char* folder, size_t folder_size, char* name, size_t name_size)
{
    if (!path || !path[0])
        return false;
    const char* slash = strrchr(path, '/');
    char folder_text[PATH_MAX];
    if (!slash)
        snprintf(folder_text, sizeof folder_text, ".");
    else if (slash == path)
        snprintf(folder_text, sizeof folder_text, "/");
    else
        snprintf(folder_text, sizeof folder_text, "%.*s", static_cast<int>(slash - path), path);
    const char* leaf = slash ? slash + 1 : path;
    if (!leaf[0] || strcmp(leaf, ".") == 0 || strcmp(leaf, "..") == 0)
        return false;
    char resolved[PATH_MAX];
    if (!realpath(folder_text, resolved))
        return false;
    if (strlen(resolved) >= folder_size || strlen(leaf) >= name_size)
        return false;
    snprintf(folder, folder_size, "%s", resolved);
    snprintf(name, name_size, "%s", leaf);
    return true;
}

bool host_working_folder(char* out, size_t size)
{
    return getcwd(out, size) != nullptr;
}
