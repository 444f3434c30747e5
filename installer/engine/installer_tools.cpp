// Checking, listing and extracting a finished installer, and showing its licence.

#include "installer/engine/installer_tools.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <strings.h>

#include "base/error_report.h"
#include "base/format.h"
#include "host/host.h"
#include "installer/engine/database.h"
#include "installer/engine/installer_options.h"
#include "installer/engine/own_data_set.h"
#include "installer/engine/unattended.h"
#include "io/folder.h"
#include "io/member_store.h"
#include "io/package.h"
#include "io/process.h"
#include "io/stamp.h"

namespace {

const char* const DAMAGED_TEXT = "ERROR: The installer file is damaged\n"
                                 "It is shorter than it should be or its contents changed; download or copy it again.\n";

// The destination text of a file on this machine: the normal one, since the tools never use
// system folders.
const char* destination_of(const FILE_RECORD& file) { return file.dest_path_from_inst_loc; }

bool is_listed(const DATABASE& database, const FILE_RECORD& file)
{
    return file.packed_name[0] && database.matches_platform(file.platform.c_str());
}

} // namespace

namespace {

bool count_bytes(const void*, INT_U32 size, void* context)
{
    *static_cast<INT_U64*>(context) += size;
    return true;
}

// A member's length, by reading it through: the data set read in place keeps no member sizes.
bool member_size(DATABASE* database, const char* name, INT_U64* size)
{
    MEMBER_STORE* members = database->members();
    *size = 0;
    return members && members->has_member(name) && members->read_member(name, count_bytes, size);
}

// Licence texts are text: a zero byte would end the print early, so it is shown as a blank.
bool print_text_piece(const void* bytes, INT_U32 size, void*)
{
    const char* text = static_cast<const char*>(bytes);
    char buffer[4096];
    while (size > 0) {
        INT_U32 part = size < sizeof buffer - 1 ? size : static_cast<INT_U32>(sizeof buffer - 1);
        for (INT_U32 i = 0; i < part; ++i)
            buffer[i] = text[i] ? text[i] : ' ';
        buffer[part] = 0;
        host_print(buffer);
        text += part;
        size -= part;
    }
    return true;
}

} // namespace

INT_S32 run_integrity_check()
{
    FOLDER own;
    if (!own.set_raw(own_folder_path)) {
        host_print("ERROR: the installer cannot find its own file\n");
        return 2;
    }
    switch (verify_stamped_file(own, own_file_name)) {
    case STAMP_VERIFY_GOOD:
        host_print("The installer is whole: its installation data has the recorded length and checksum.\n");
        return 0;
    case STAMP_VERIFY_DAMAGED:
        host_print(DAMAGED_TEXT);
        return 2;
    case STAMP_VERIFY_NO_DATA_SET:
        host_print("ERROR: this program carries no installation data\n");
        return 2;
    case STAMP_VERIFY_STOPPED: {
        int signal_number = host_stop_signal();
        host_printf("Interrupted by %s while checking the installer\n",
            signal_number ? host_signal_name(signal_number) : "a signal");
        return signal_number ? 128 + signal_number : 1;
    }
    case STAMP_VERIFY_NO_CHECK:
        break;
    }
    // Without a recorded checksum the data can only be tried: unpacked and loaded.
    DATABASE* database = new (std::nothrow) DATABASE;
    if (!database)
        return 2;
    INT_S32 status = load_installer_data(database, true);
    delete database;
    delete_temporary_package();
    if (status >= 0) {
        if (status == 1)
            host_print(DAMAGED_TEXT);
        return 2;
    }
    host_print("The installer carries no checksum; its installation data unpacked and loaded whole.\n");
    return 0;
}

INT_S32 run_listing(DATABASE* database, const INSTALLER_OPTIONS& options)
{
    INT_S32 status = load_installer_data(database, true);
    if (status >= 0)
        return status;
    INT_S16 only = -1;
    bool ready = choose_language(database, options.language);
    if (ready && options.install_type[0])
        ready = (only = choose_install_type(*database, options.install_type)) >= 0;
    if (!ready) {
        delete_temporary_package();
        return 1;
    }
    const LANGUAGE_RECORD* language = database->language();
    for (INT_S16 i = 0; i < database->installation_count; ++i) {
        if (only >= 0 && i != only)
            continue;
        const INSTALLATION_RECORD& installation = database->installations[i];
        const char* shown = language ? language->installation_name(i) : "";
        if (shown[0] && strcmp(shown, installation.name) != 0)
            host_printf("Install type %d: %s (%s), into %s\n", i + 1, console_text(installation.name), console_text(shown),
                installation.default_path);
        else
            host_printf("Install type %d: %s, into %s\n", i + 1, console_text(installation.name), installation.default_path);
        INT_S32 files = 0;
        INT_U64 bytes = 0;
        for (INT_S16 f = 0; f < installation.file_count; ++f) {
            const FILE_RECORD& file = installation.files[f];
            if (!is_listed(*database, file))
                continue;
            INT_U64 size = 0;
            bool sized = member_size(database, file.packed_name, &size);
            const char* destination = destination_of(file);
            size_t length = strlen(destination);
            const char* separator = length && destination[length - 1] != '/' ? "/" : "";
            if (sized)
                host_printf("  %12llu  %s%s%s", static_cast<unsigned long long>(size), destination, separator,
                    file.destination_name());
            else
                host_printf("  %12s  %s%s%s", "missing", destination, separator, file.destination_name());
            if (file.system_dest_path_from_inst_loc[0])
                host_printf(" (with system folders: %s)", file.system_dest_path_from_inst_loc);
            host_print("\n");
            ++files;
            bytes += size;
        }
        host_printf("  %d file%s, %llu bytes\n", files, files == 1 ? "" : "s", static_cast<unsigned long long>(bytes));
    }
    delete_temporary_package();
    return 0;
}

bool extraction_path(const char* destination, const char* name, char* out, size_t size)
{
    out[0] = 0;
    const char* rest = destination;
    char prefix[256] = "";
    if (destination[0] == '$') {
        size_t length = strcspn(destination, "/");
        if (!(length == 5 && strncasecmp(destination, "$HERE", 5) == 0)) {
            if (length >= sizeof prefix)
                return false;
            memcpy(prefix, destination + 1, length - 1);
            prefix[length - 1] = 0;
        }
        rest = destination + length;
    }
    size_t used = 0;
    auto add = [&](const char* element, size_t length) {
        if (used + length + 2 > size)
            return false;
        if (used)
            out[used++] = '/';
        memcpy(out + used, element, length);
        used += length;
        out[used] = 0;
        return true;
    };
    if (prefix[0] && !add(prefix, strlen(prefix)))
        return false;
    for (const char* p = rest; *p;) {
        while (*p == '/')
            ++p;
        size_t length = strcspn(p, "/");
        if (length == 2 && p[0] == '.' && p[1] == '.')
            return false;
        if (length && !(length == 1 && p[0] == '.') && !add(p, length))
            return false;
        p += length;
    }
    if (!name[0] || strchr(name, '/') || strcmp(name, "..") == 0 || strcmp(name, ".") == 0)
        return false;
    return add(name, strlen(name));
}

INT_S32 run_extraction(DATABASE* database, const INSTALLER_OPTIONS& options)
{
    INT_S32 status = load_installer_data(database, true);
    if (status >= 0)
        return status;
    INT_S16 type = choose_install_type(*database, options.install_type);
    char root_text[ORLU_MAX_PATH];
    FOLDER root;
    bool ready = type >= 0;
    if (ready && !install_folder_text(options.extract_folder, root_text, sizeof root_text)) {
        host_printf("ERROR: the folder's name is too long: %s\n", options.extract_folder);
        ready = false;
    }
    if (ready && !root.set(root_text, true, nullptr, true)) {
        host_printf("ERROR: the folder %s cannot be made: %s\n", expand_text(root_text, nullptr), strerror(errno));
        ready = false;
    }
    if (!ready) {
        delete_temporary_package();
        return 1;
    }
    const INSTALLATION_RECORD& installation = database->installations[type];
    INT_S32 written = 0, failed = 0;
    for (INT_S16 f = 0; f < installation.file_count; ++f) {
        const FILE_RECORD& file = installation.files[f];
        if (!is_listed(*database, file))
            continue;
        char relative[ORLU_MAX_PATH];
        char reason[ORLU_MAX_PATH + 100] = "";
        bool ok = extraction_path(destination_of(file), file.destination_name(), relative, sizeof relative);
        if (!ok)
            (void)copy_text(reason, "its destination leads outside the folder");
        char shown[ORLU_MAX_PATH * 2];
        if (!join_path_text(shown, root.path(), ok ? relative : file.destination_name()))
            (void)copy_text(shown, file.destination_name());
        // The folders of the path are made one by one below the root, never above it.
        FOLDER folder = root;
        const char* leaf = relative;
        for (char* p = relative; ok && *p; ++p) {
            if (*p != '/')
                continue;
            *p = 0;
            if (!folder.enter(leaf, true)) {
                ok = false;
                (void)format_text(reason, sizeof reason, "its folder cannot be made: %s", strerror(errno));
            }
            *p = '/';
            leaf = p + 1;
        }
        MEMBER_STORE* members = database->members();
        if (ok && (!members || !members->extract_file(folder, leaf, file.packed_name))) {
            ok = false;
            (void)copy_text(reason, last_error_text());
        }
        if (ok && !folder.set_permissions(leaf, 0755)) {
            ok = false;
            (void)format_text(reason, sizeof reason, "its mode cannot be set: %s", strerror(errno));
        }
        if (ok) {
            ++written;
            if (!options.quiet)
                host_printf("Extracted %s\n", shown);
        } else {
            ++failed;
            host_printf("FAILED %s: %s\n", shown, reason);
        }
    }
    delete_temporary_package();
    if (!options.quiet)
        host_printf("%d extracted, %d failed\n", written, failed);
    return failed ? 1 : 0;
}

INT_S32 run_show_licence(DATABASE* database, const INSTALLER_OPTIONS& options)
{
    INT_S32 status = load_installer_data(database, true);
    if (status >= 0)
        return status;
    if (!choose_language(database, options.language)) {
        delete_temporary_package();
        return 1;
    }
    char member[64];
    (void)format_text(member, sizeof member, "licence-%d", static_cast<int>(database->current_language));
    MEMBER_STORE* members = database->members();
    if (!database->has_licence() || !members || !members->has_member(member)) {
        host_print("This installer comes with no licence.\n");
        delete_temporary_package();
        return 0;
    }
    bool read = members->read_member(member, print_text_piece, nullptr);
    delete_temporary_package();
    if (!read) {
        host_printf("\nThe licence cannot be read: %s\n", last_error_text());
        return 1;
    }
    return 0;
}
