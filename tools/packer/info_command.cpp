// "packer info FILE": what a finished installer or a package holds, for a person to read.
//
// A finished installer shows its stamp (and whether the data set matches its check), the size and
// the needs of the run-time in front, the data set's header, then each package that the chunks
// give (of a data set too large for one, several, the main one last) with its chunks and
// members; a package shows its members. Either way "database.bin", when there, is shown field by
// field.

#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <vector>

#include "io/data_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "graphics/image_cache.h"
#include "host/host_files.h"
#include "installer/engine/data_set.h"
#include "installer/engine/database.h"
#include "io/package.h"
#include "elf_needs.h"
#include "packer_common.h"
#include "io/stamp.h"

namespace {

// Texts of the database are Latin-1; the terminal wants UTF-8. Four rotating buffers, so that
// one printf may show several texts.
const char* shown(const char* text)
{
    static char buffers[4][2 * DATABASE_LONG_TEXT + 1];
    static INT_S32 next = 0;
    char* out = buffers[next];
    next = (next + 1) % 4;
    size_t at = 0;
    for (const unsigned char* in = reinterpret_cast<const unsigned char*>(text ? text : ""); *in && at + 2 < sizeof buffers[0]; ++in) {
        if (*in < 0x80) {
            out[at++] = static_cast<char>(*in);
        } else {
            out[at++] = static_cast<char>(0xC0 | (*in >> 6));
            out[at++] = static_cast<char>(0x80 | (*in & 0x3F));
        }
    }
    out[at] = 0;
    return out;
}

const char* yes_no(INT_U8 value)
{
    return value ? "yes" : "no";
}

const char* overwrite_word(INT_U8 mode)
{
    switch (mode) {
    case OVERWRITE_ALWAYS: return "always";
    case OVERWRITE_WHEN_OLDER: return "older";
    case OVERWRITE_WHEN_ABSENT: return "absent";
    default: return "unknown";
    }
}

void print_member(const char* name, INT_U64 size, void*)
{
    printf("  %12llu  %s\n", static_cast<unsigned long long>(size), name);
}

void print_database(const DATABASE& db, INT_U8 version)
{
    printf("Database\n");
    printf("  version %u, installation id 0x%08X, built %d", version, db.installation_id, db.data_time);
    time_t when = db.data_time;
    struct tm parts;
    char text[64];
    if (gmtime_r(&when, &parts) && strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts))
        printf(" (%s)", text);
    printf("\n");
    printf("  application \"%s\" build %d, app string \"%s\"\n", db.version, db.build_number, db.app_string);
    printf("  file cache %u bytes; frame rate %s, file names %s, file paths %s\n", db.file_cache_sz,
        yes_no(db.show_frame_rate), yes_no(db.show_filenames), yes_no(db.show_filepaths));
    printf("  window %dx%d, full screen %s, title on background %s\n", db.window.width, db.window.height,
        yes_no(db.window.fullscreen), yes_no(db.window.show_bg_title));
    printf("  dialog at %d,%d size %dx%d, button gap %d, draggable %s\n", db.dialog.x, db.dialog.y, db.dialog.width,
        db.dialog.height, db.dialog.button_gap, yes_no(db.dialog.can_drag));
    const struct {
        const char* name;
        const BOX_SETTINGS* box;
    } boxes[] = { { "exit", &db.exit }, { "error", &db.error }, { "about", &db.about } };
    for (const auto& entry : boxes)
        printf("  %s at %d,%d size %dx%d, draggable %s\n", entry.name, entry.box->x, entry.box->y, entry.box->width,
            entry.box->height, yes_no(entry.box->can_drag));
    printf("  file select at %d,%d size %dx%d, new folder %s, draggable %s\n", db.file_select.x, db.file_select.y,
        db.file_select.width, db.file_select.height, yes_no(db.file_select.new_folder_too),
        yes_no(db.file_select.can_drag));
    printf("  background \"%s\" in \"%s\", speed %d, size %dx%d, start offset %d ms; still picture %dx%d\n",
        db.background_filename, db.background_path, db.background_speed, db.background_width, db.background_height,
        db.background_start_offset_ms, db.background_image.width, db.background_image.height);
    printf("  skin \"%s\"; desktop check %dx%d\n", db.skin_path, db.check_desktop_width, db.check_desktop_height);
    printf("  log \"%s\" (system \"%s\"); patch \"%s\" (system \"%s\"), check %s\n", db.log_dest_path,
        db.log_system_dest_path, db.patch_dest_path, db.patch_system_dest_path, yes_no(db.patch_do_check));
    INT_S32 icons = 0;
    for (const IMAGE& icon : db.icons)
        icons += icon.has_pixels();
    printf("  icons %d of %d; progress bar animation %d, %d, %d\n", icons, DATABASE_ICON_COUNT,
        db.progress_bar_animation_x_rate, db.progress_bar_animation_y_rate, db.progress_bar_animation_update_rate);

    printf("Languages: %d (default \"%s\")\n", db.language_count, db.default_language_name);
    for (INT_S16 i = 0; i < db.language_count; ++i) {
        const LANGUAGE_RECORD& language = db.languages[i];
        printf("  %d: \"%s\", title \"%s\", installer title \"%s\"\n", i, shown(language.name),
            shown(language.text(LANGUAGE_KEY::LANGUAGE_TITLE)), shown(language.text(LANGUAGE_KEY::INSTALLER_TITLE)));
        printf("     licence \"%s\", release notes \"%s\" (%d lines), readme \"%s\" (%d lines)\n",
            language.licence_filename, language.release_notes_filename, language.release_notes_lines,
            language.readme_filename, language.readme_lines);
        for (INT_S16 n = 0; n < language.installation_name_count; ++n)
            printf("     install type %d: \"%s\"\n", n, shown(language.installation_name(n)));
    }

    printf("Installations: %d\n", db.installation_count);
    for (INT_S16 i = 0; i < db.installation_count; ++i) {
        const INSTALLATION_RECORD& installation = db.installations[i];
        printf("  %d: \"%s\", default path \"%s\", system paths %s, %d files, %d shortcuts\n", i, installation.name,
            installation.default_path, yes_no(installation.allow_system_paths), installation.file_count,
            installation.shortcut_count);
        if (installation.uninstaller_name[0] || installation.uninstaller_filename[0])
            printf("     uninstaller \"%s\" file \"%s\" in \"%s\" (system \"%s\")\n", installation.uninstaller_name,
                installation.uninstaller_filename, installation.uninstaller_path, installation.uninstaller_syspath);
        for (INT_S16 f = 0; f < installation.file_count; ++f) {
            const FILE_RECORD& file = installation.files[f];
            printf("     %s  %s/%s -> %s/%s", file.packed_name, file.src_path_from_xml, file.src_name,
                file.dest_path_from_inst_loc, file.destination_name());
            if (file.system_dest_path_from_inst_loc[0])
                printf(" (system %s)", file.system_dest_path_from_inst_loc);
            printf(", platform \"%s\", overwrite %s%s%s\n", file.platform.c_str(), overwrite_word(file.overwrite),
                file.stamp ? ", stamp" : "", file.switch_user ? ", set-user-id" : "");
        }
        for (INT_S16 s = 0; s < installation.shortcut_count; ++s) {
            const SHORTCUT_RECORD& shortcut = installation.shortcuts[s];
            printf("     shortcut %s \"%s\": %s %s in \"%s\" (system \"%s\"), %s, icon \"%s\" in \"%s\", platform "
                   "\"%s\"\n",
                shortcut_type_word(shortcut.type), shortcut.name, shortcut.exec, shortcut.arguments, shortcut.exec_path,
                shortcut.exec_syspath, shortcut.menu_path[0] ? shortcut.menu_path : "desktop", shortcut.icon,
                shortcut.icon_path, shortcut.platform.c_str());
        }
    }

    printf("Clients: %d\n", db.client_count);
    for (INT_S16 i = 0; i < db.client_count; ++i) {
        const CLIENT_RECORD& client = *db.clients[i];
        // The folder as the data set names it ("$APP" from this packer), not as it lies here.
        char folder[ORLU_MAX_PATH];
        if (!client.path.symbolic_text(folder))
            folder[0] = 0;
        printf("  %d: platform \"%s\", \"%s\" in %s as \"%s\", compressed %s\n", i, client.platform.c_str(),
            client.filename.c_str(), folder, client.destname.c_str(), yes_no(client.compress_data));
    }
}

void count_member(const char*, INT_U64, void* context)
{
    ++*static_cast<INT_U32*>(context);
}

// The members of an open package, one line each.
int print_members(PACKAGE* package)
{
    printf("Members\n");
    if (!package->list_members(print_member, nullptr))
        return packer_error("the package is damaged: %s", last_error_text());
    return PACKER_OK;
}

// The member "database.bin" of an open package, field by field.
int print_database_member(PACKAGE* package)
{
    PACKAGE_DATA_FILE* member = package->open_member_data("database.bin", FILE_READ, ORDER_MARKER_IN_FILE);
    if (!member) {
        printf("No database.bin\n");
        return PACKER_OK;
    }
    INT_U8 version = 0;
    (void)device_read(member, &version);
    (void)member->seek(0, false);
    DATABASE* database = new (std::nothrow) DATABASE;
    if (!database) {
        PACKAGE::close_member_data(&member);
        return packer_error("out of memory");
    }
    bool whole = database->get_from_data_device(member);
    PACKAGE::close_member_data(&member);
    print_database(*database, version);
    delete database;
    if (!whole)
        return packer_error("database.bin is damaged; the fields above are what could be read");
    return PACKER_OK;
}

// The members and the database of an open package.
int print_package(PACKAGE* package)
{
    int status = print_members(package);
    return status == PACKER_OK ? print_database_member(package) : status;
}

// The chunks of a data set as the unpacking reads them, by package in data set order: each
// package's stored lengths, without the chunk of length 0 that ends it.
struct CHUNK_LIST {
    std::vector<std::vector<INT_S32>> packages;
    std::vector<INT_S32> all; // every chunk, in order, the separators included
};

void note_chunk(INT_U32 package, INT_S32 length, void* context)
{
    CHUNK_LIST* list = static_cast<CHUNK_LIST*>(context);
    list->all.push_back(length);
    if (list->packages.size() < package)
        list->packages.resize(package);
    if (length != 0)
        list->packages[package - 1].push_back(length);
}

// "N chunks, S bytes stored: l1 l2 ...", chunks below 0 counting as none.
void print_chunks(const std::vector<INT_S32>& lengths)
{
    INT_U64 stored = 0;
    for (INT_S32 length : lengths)
        stored += length > 0 ? static_cast<INT_U64>(length) : 0;
    printf("  %zu chunks, %llu bytes stored:", lengths.size(), static_cast<unsigned long long>(stored));
    for (INT_S32 length : lengths)
        printf(" %lld", static_cast<long long>(length > 0 ? length : 0));
    printf("\n");
}

// The program in front of the data set (or the whole file, when there is none): how big it is and
// what it asks of the machine it starts on. The run-time is built to need only the C library, so
// the newest symbol version it binds to is the oldest C library the installer runs on.
void print_run_time(const FOLDER& folder, const char* name, const STAMP_RECORD& record)
{
    DATA_FILE* device = folder.open_data_file(name, FILE_READ, 0, false);
    HOST_FILE_INFO info;
    if (!device || !host_file_info(folder.path_text(name), &info)) {
        FOLDER::close_data_file(&device);
        printf("Run-time: cannot be read\n");
        return;
    }
    // The file's own size, in 64 bits: a device's positions stop at 4 GiB.
    INT_U64 size = info.size;
    if ((record.flags & STAMP_FLAG_DATA_SET) && static_cast<INT_U64>(record.data_offset) + 1 < size)
        size = static_cast<INT_U64>(record.data_offset) + 1;
    // The packer refuses clients above this size, so no run-time of ours is larger.
    constexpr INT_U64 most = 512u << 20;
    std::unique_ptr<INT_U8[]> bytes(size <= most ? new (std::nothrow) INT_U8[size ? size : 1] : nullptr);
    bool read = bytes && device->read(bytes.get(), static_cast<INT_S32>(size)) == static_cast<INT_S32>(size);
    FOLDER::close_data_file(&device);
    ELF_NEEDS needs;
    if (!read || !read_elf_needs(bytes.get(), static_cast<size_t>(size), &needs)) {
        printf("Run-time: %llu bytes, not an ELF program\n", static_cast<unsigned long long>(size));
        return;
    }
    printf("Run-time: %llu bytes, %s, build id %s\n", static_cast<unsigned long long>(size),
        needs.has_debug_info ? "with debug information" : "stripped", needs.build_id.empty() ? "none" : needs.build_id.c_str());
    printf("  shared libraries:");
    for (const std::string& library : needs.libraries)
        printf(" %s", library.c_str());
    printf("%s; loader %s\n", needs.libraries.empty() ? " none" : "", needs.interpreter.empty() ? "none" : needs.interpreter.c_str());
    printf("  newest C library symbol version: %s", needs.newest_c_library.empty() ? "none" : needs.newest_c_library.c_str());
    for (const std::string& other : needs.other_c_library)
        printf(", also %s", other.c_str());
    printf("\n");
}

int print_installer(const FOLDER& folder, const char* name, const STAMP_RECORD& record, INT_U32 stamp_position)
{
    printf("Stamp at byte %u: flags 0x%02X, data offset %u, skin offset %u\n", stamp_position, record.flags,
        record.data_offset, record.skin_offset);
    print_run_time(folder, name, record);
    INT_U64 length = 0;
    INT_U32 crc = 0;
    if (stamp_check(record, &length, &crc)) {
        STAMP_VERIFY verdict = verify_stamped_file(folder, name);
        printf("Check: %llu bytes, CRC-32 0x%08X: %s\n", static_cast<unsigned long long>(length), crc,
            verdict == STAMP_VERIFY_GOOD ? "the data set matches" : "the data set is DAMAGED");
    } else {
        printf("Check: none recorded\n");
    }
    if (!(record.flags & STAMP_FLAG_DATA_SET)) {
        printf("No data set behind the program\n");
        return PACKER_OK;
    }
    DATA_FILE* device = folder.open_data_file(name, FILE_READ, ORDER_MARKER_IN_FILE, false);
    if (!device)
        return packer_error("cannot read '%s'", name);
    DATA_SET_SPLASH* splash = new (std::nothrow) DATA_SET_SPLASH;
    DATA_SET_HEADER header;
    if (!splash || !read_data_set_header(device, record.data_offset, splash, &header)) {
        FOLDER::close_data_file(&device);
        delete splash;
        return packer_error("the data set is damaged: %s", last_error_text());
    }
    printf("Data set\n");
    if (splash->present)
        printf("  splash %dx%d, title \"%s\", bar at %d,%d size %dx%d, %d cached pictures\n", splash->image.width,
            splash->image.height, splash->title.c_str(), splash->bar_x, splash->bar_y, splash->bar_width,
            splash->bar_height, image_cache.entry_count());
    else
        printf("  no splash\n");
    delete splash;
    printf("  file cache size %u, compressed %s\n", header.file_cache_size, yes_no(header.compressed));

    // The chunks are read to the end of the file with 64-bit positions, so that every package of
    // a data set past 4 GiB is shown; each lands in a temporary package file of its own.
    FOLDER::close_data_file(&device);
    FOLDER temp("$TEMP");
    char package_name[64];
    if (!temp.make_temp_name(package_name, sizeof package_name, ".pkg"))
        return packer_error("cannot make a temporary file in %s", temp.path());
    CHUNK_LIST chunks;
    DATA_SET_UNPACKED unpacked;
    unpacked.chunk_note = note_chunk;
    unpacked.note_context = &chunks;
    bool whole = unpack_data_set(folder, name, header, temp, package_name, &unpacked, nullptr, nullptr);
    if (!whole) {
        (void)temp.delete_file(package_name);
        print_chunks(chunks.all);
        return packer_error("the data set's chunks are damaged: %s", last_error_text());
    }
    INT_U32 count = unpacked.packages;
    if (count > 1)
        printf("  %u packages, parted by chunks of length 0\n", count);
    // Each package in data set order, the main one last; the database from the main one.
    int status = PACKER_OK;
    for (INT_U32 number = 1; number <= count && status == PACKER_OK; ++number) {
        bool main = number == count;
        char file_name[ORLU_MAX_PATH];
        char shown_name[32];
        if (main)
            snprintf(shown_name, sizeof shown_name, "installer.pkg");
        else
            snprintf(shown_name, sizeof shown_name, "installer.pkg.%u", number);
        if (!main && !side_package_name(package_name, number, file_name, sizeof file_name)) {
            status = packer_error("cannot name a temporary file in %s", temp.path());
            break;
        }
        PACKAGE package(temp, main ? package_name : file_name, false, 0, true, true);
        if (!package.is_open()) {
            status = packer_error("the chunks of %s do not give a package: %s", shown_name, last_error_text());
            break;
        }
        INT_U32 members = 0;
        bool listed = package.list_members(count_member, &members);
        printf("Package %s, block size %u, %u members\n", shown_name, package.block_size(), members);
        static const std::vector<INT_S32> none;
        print_chunks(number <= chunks.packages.size() ? chunks.packages[number - 1] : none);
        status = listed ? print_members(&package) : packer_error("the package is damaged: %s", last_error_text());
        if (status == PACKER_OK && main)
            status = print_database_member(&package);
    }
    (void)temp.delete_file(package_name);
    delete_side_packages(temp, package_name, count);
    return status;
}

} // namespace

int run_info_command(int argc, char** argv)
{
    if (argc != 2 || strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
        printf("Usage: packer info FILE\n\n"
               "Shows the stamp, the data set and the database of a finished installer, or the members and\n"
               "the database of a package.\n");
        return argc == 2 ? PACKER_OK : PACKER_USAGE;
    }
    FOLDER folder;
    char name[256];
    if (!packer_locate(argv[1], &folder, name, sizeof name))
        return PACKER_FAILED;
    DATA_FILE* file = folder.open_data_file(name, FILE_READ, 0, false);
    if (!file)
        return packer_error("cannot read '%s'", argv[1]);
    char head[8] = {};
    bool is_package = file->read(head, sizeof head) == static_cast<INT_S32>(sizeof head) && memcmp(head + 1, "ORLUPKG", 7) == 0;
    STAMP_RECORD record;
    INT_U32 position = 0;
    bool stamped = !is_package && read_stamp(file, &record, &position);
    FOLDER::close_data_file(&file);

    if (is_package) {
        PACKAGE package(folder, name, false, 0, true, true);
        if (!package.is_open())
            return packer_error("cannot open package '%s': %s", argv[1], last_error_text());
        printf("Package, block size %u\n", package.block_size());
        return print_package(&package);
    }
    if (!stamped)
        return packer_error("'%s' is neither a package nor a program with a stamp record", argv[1]);
    return print_installer(folder, name, record, position);
}
