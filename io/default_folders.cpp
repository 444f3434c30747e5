// The default folders on Linux, made from the home folder, /opt and the program's own folder.

#include "io/default_folders.h"

#include <cstdio>
#include <cstring>

#include "host/host_files.h"
#include "host/system_info.h"
#include "io/folder.h"

namespace {

bool temp_default(FOLDER* folder, const char* name, bool create)
{
    char chosen[ORLU_MAX_PATH];
    return host_run_temp_folder(home_directory(), name, create, chosen) && folder->set_raw(chosen);
}

// Makes "$HERE/<text>" from `base`, or nothing. The folder changes only on success.
bool make_from(FOLDER* folder, const char* base, const char* text)
{
    FOLDER here;
    FOLDER made;
    if (!here.set_raw(base))
        return false;
    if (!made.set(text, true, &here))
        return false;
    *folder = made;
    return true;
}

// The user finds saved files under Documents: a link there, named after the application, points
// at the hidden preferences folder. Made once; from then on the hidden path is used.
void link_into_documents(FOLDER* folder, const char* name)
{
    char documents[ORLU_MAX_PATH];
    snprintf(documents, sizeof documents, "%s/Documents", home_directory());
    if (!host_is_folder(documents))
        return;
    char element[256];
    snprintf(element, sizeof element, "%.255s", name);
    for (char* c = element; *c; ++c) {
        if (*c == '/')
            *c = '-';
    }
    char link_path[ORLU_MAX_PATH];
    if (snprintf(link_path, sizeof link_path, "%s/%s", documents, element) >= ORLU_MAX_PATH)
        return;
    if (host_path_taken(link_path) || !host_make_link(folder->path(), link_path))
        return;
    (void)folder->set_raw(link_path);
}

} // namespace

bool default_folder_path(FOLDER* folder, INT_S32 kind, const char* name, bool create)
{
    if (!folder)
        return false;
    const char* app_name = name && name[0] ? name : host_application_name();
    const char* home = home_directory();
    char path[ORLU_MAX_PATH];
    char text[ORLU_MAX_PATH];

    switch (kind) {
    case HOST_APP: {
        char own[ORLU_MAX_PATH];
        if (host_own_folder(own, sizeof own) && folder->set_raw(own))
            return true;
        return folder->set_raw(home) || folder->set_raw("/");
    }
    case HOST_USER_APP:
    case HOST_USER_DATA:
    case HOST_USER_PREFS:
    case HOST_USER_SAVES: {
        static const char* const leaves[] = { "bin", "data", "custdata", "savedata" };
        const char* leaf = leaves[kind - HOST_USER_APP];
        if (snprintf(path, sizeof path, "%s/.%s/%s", home, app_name, leaf) >= ORLU_MAX_PATH
            || snprintf(text, sizeof text, "$HERE/.%s/%s", app_name, leaf) >= ORLU_MAX_PATH)
            return false;
        bool ok = folder->set_raw(path) || (create && make_from(folder, home, text));
        if (ok && kind == HOST_USER_PREFS)
            link_into_documents(folder, app_name);
        return ok;
    }
    case HOST_SYS_APP:
    case HOST_SYS_DATA:
    case HOST_SYS_PREFS: {
        static const char* const leaves[] = { "bin", "data", "custdata" };
        const char* leaf = leaves[kind - HOST_SYS_APP];
        if (snprintf(path, sizeof path, "/opt/%s/%s", app_name, leaf) >= ORLU_MAX_PATH
            || snprintf(text, sizeof text, "$HERE/%s/%s", app_name, leaf) >= ORLU_MAX_PATH)
            return false;
        if (folder->set_raw(path))
            return true;
        if (!create || !make_from(folder, "/opt", text))
            return false;
        // Shared data is written by every user of the machine.
        if (kind == HOST_SYS_DATA)
            (void)host_set_permissions(folder->path(), 0777);
        return true;
    }
    case HOST_TEMP:
        return temp_default(folder, app_name, create);
    default:
        return false;
    }
}

