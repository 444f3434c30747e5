// Patch differencing.
//
// [SECTION] Writing the configuration
// [SECTION] Comparing

#include "installer/engine/patch_differ.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "base/format.h"
#include "installer/engine/data_set.h"
#include "installer/engine/database.h"
#include "host/host.h"
#include "installer/engine/installer_options.h"
#include "base/orlu_string.h"
#include "io/data_file.h"
#include "io/package.h"
#include "io/stamp.h"
#include "io/text_file.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Writing the configuration
// ---------------------------------------------------------------------------------------------

namespace {

const char* yes_no(bool value) { return value ? "yes" : "no"; }

// Text values go out with the entity escapes; the result lies in a ring of buffers, so several
// may stand in one format.
const char* escaped(const char* text)
{
    static ORLU_STRING ring[12];
    static int next = 0;
    ORLU_STRING& slot = ring[next];
    next = (next + 1) % 12;
    slot.assign(text ? text : "");
    slot.encode_entities(false);
    return slot.c_str();
}

class PATCH_WRITER {
public:
    explicit PATCH_WRITER(TEXT_FILE* file) : m_file(file) {}

    void line(const char* format, ...) __attribute__((format(printf, 2, 3)))
    {
        static char text[ORLU_MAX_PATH * 16];
        va_list args;
        va_start(args, format);
        vsnprintf(text, sizeof text, format, args);
        va_end(args);
        m_file->write_string(text);
    }

    void header(const DATABASE& d1)
    {
        line("<INSTALLER show_frame_rate=\"%s\" show_filenames=\"%s\" show_filepaths=\"%s\" file_cache_sz=\"%u\" default_language_name=\"%s\">\n",
            yes_no(d1.show_frame_rate), yes_no(d1.show_filenames), yes_no(d1.show_filepaths), d1.file_cache_sz,
            escaped(d1.default_language_name));
        line("\n");
        line("\t<APPLICATION version=\"%s\" build_number=\"%d\" app_string=\"%s\"/>\n", escaped(d1.version), d1.build_number,
            escaped(d1.app_string));
        line("\t<WINDOW width=\"%d\" height=\"%d\" fullscreen=\"%s\" show_bg_title=\"%s\"/>\n", d1.window.width,
            d1.window.height, yes_no(d1.window.fullscreen), yes_no(d1.window.show_bg_title));
        line("\t<DIALOG x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" button_gap=\"%d\" can_drag=\"%s\"/>\n", d1.dialog.x,
            d1.dialog.y, d1.dialog.width, d1.dialog.height, d1.dialog.button_gap, yes_no(d1.dialog.can_drag));
        box("EXIT", d1.exit);
        box("ERROR", d1.error);
        line("\t<FILE_SELECT x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" new_folder_too=\"%s\" can_drag=\"%s\"/>\n",
            d1.file_select.x, d1.file_select.y, d1.file_select.width, d1.file_select.height,
            yes_no(d1.file_select.new_folder_too), yes_no(d1.file_select.can_drag));
        box("ABOUT", d1.about);
        line("\t<BACKGROUND path=\"%s\" filename=\"%s\" speed=\"%d\" width=\"%d\" height=\"%d\" start_offset_ms=\"%d\"/>\n",
            escaped(d1.background_path), escaped(d1.background_filename), d1.background_speed, d1.background_width,
            d1.background_height, d1.background_start_offset_ms);
        line("\t<SKIN path=\"%s\"/>\n", escaped(d1.skin_path));
        // The patch logs beside the older log, and looks for that log to find the installation.
        char log_path[ORLU_MAX_PATH], log_system_path[ORLU_MAX_PATH];
        snprintf(log_path, sizeof log_path, "%s/patch", d1.log_dest_path);
        snprintf(log_system_path, sizeof log_system_path, "%s/patch", d1.log_system_dest_path);
        line("\t<LOG dest_path_from_inst_loc=\"%s\" system_dest_path_from_inst_loc=\"%s\"/>\n", escaped(log_path),
            escaped(log_system_path));
        line("\t<PATCH dest_path_from_inst_loc=\"%s\" system_dest_path_from_inst_loc=\"%s\" do_check=\"yes\"/>\n",
            escaped(d1.log_dest_path), escaped(d1.log_system_dest_path));
        line("\t<CHECK_DESKTOP_SIZE width=\"%d\" height=\"%d\"/>\n", d1.check_desktop_width, d1.check_desktop_height);
        for (INT_S16 i = 0; i < d1.client_count; ++i) {
            const CLIENT_RECORD& client = *d1.clients[i];
            char path[ORLU_MAX_PATH];
            if (!client.path.symbolic_text(path))
                path[0] = 0;
            line("\t<INSTALLER_CLIENT path=\"%s\" filename=\"%s\" destname=\"%s\" platform=\"%s\" compress_data=\"%s\"/>\n",
                escaped(path), escaped(client.filename.c_str()), escaped(client.destname.c_str()),
                escaped(client.platform.c_str()), yes_no(client.compress_data));
        }
    }

    void box(const char* tag, const BOX_SETTINGS& settings)
    {
        line("\t<%s x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\" can_drag=\"%s\"/>\n", tag, settings.x, settings.y,
            settings.width, settings.height, yes_no(settings.can_drag));
    }

    void file(const FILE_RECORD& file, bool deleted)
    {
        if (deleted)
            line("\t\t<!-- Deleted files not supported\n");
        line("\t\t<FILE platform=\"%s\" src_name=\"%s\" dest_name=\"%s\" src_path_from_xml=\"%s\" dest_path_from_inst_loc=\"%s\" system_dest_path_from_inst_loc=\"%s\" stamp=\"%s\" switch_user=\"%s\" overwrite=\"always\"/>\n",
            escaped(file.platform.c_str()), escaped(file.src_name), escaped(file.dest_name), escaped(file.src_path_from_xml),
            escaped(file.dest_path_from_inst_loc), escaped(file.system_dest_path_from_inst_loc), yes_no(file.stamp),
            yes_no(file.switch_user));
        if (deleted)
            line("\t\t-->\n");
    }

    void languages(const DATABASE& d1)
    {
        for (INT_S16 i = 0; i < d1.language_count; ++i) {
            const LANGUAGE_RECORD& language = d1.languages[i];
            line("\t<LANGUAGE name=\"%s\">\n", escaped(language.name));
            for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key)
                line("\t\t<%s string=\"%s\"/>\n", language_key_name(key), escaped(language.strings[key]));
            line("\t\t<INSTALLATION name=\"default\" string=\"Default\"/>\n");
            line("\t\t<LICENCE path=\"%s\" filename=\"%s\"/>\n", escaped(language.licence_path), escaped(language.licence_filename));
            line("\t\t<README path=\"%s\" filename=\"%s\" lines=\"%d\"/>\n", escaped(language.readme_path),
                escaped(language.readme_filename), language.readme_lines);
            line("\t\t<RELEASE_NOTES path=\"%s\" filename=\"%s\" lines=\"%d\"/>\n", escaped(language.release_notes_path),
                escaped(language.release_notes_filename), language.release_notes_lines);
            line("\t</LANGUAGE>\n");
        }
    }

private:
    TEXT_FILE* m_file;
};

// ---------------------------------------------------------------------------------------------
// [SECTION] Comparing
// ---------------------------------------------------------------------------------------------

bool same_file(const FILE_RECORD& a, const FILE_RECORD& b)
{
    return strcmp(a.src_name, b.src_name) == 0 && strcmp(a.src_path_from_xml, b.src_path_from_xml) == 0
        && strcmp(a.dest_path_from_inst_loc, b.dest_path_from_inst_loc) == 0
        && strcmp(a.platform.c_str(), b.platform.c_str()) == 0 && strcmp(a.dest_name, b.dest_name) == 0
        && strcmp(a.system_dest_path_from_inst_loc, b.system_dest_path_from_inst_loc) == 0 && a.stamp == b.stamp;
}

// A hash of exactly the fields that same_file compares.
INT_U32 file_hash(const FILE_RECORD& file)
{
    INT_U32 hash = 2166136261u;
    auto mix = [&hash](const char* text) {
        for (const unsigned char* at = reinterpret_cast<const unsigned char*>(text); *at; ++at)
            hash = (hash ^ *at) * 16777619u;
        hash = (hash ^ 0xFFu) * 16777619u; // keeps "ab","c" apart from "a","bc"
    };
    mix(file.src_name);
    mix(file.src_path_from_xml);
    mix(file.dest_path_from_inst_loc);
    mix(file.platform.c_str());
    mix(file.dest_name);
    mix(file.system_dest_path_from_inst_loc);
    return (hash ^ file.stamp) * 16777619u;
}

// The files of the older installation by their identifying fields: for each file of the newer
// one, the first older file with the same fields, as a walk from the start would find it, in
// constant time.
class FILE_MATCHER {
public:
    ~FILE_MATCHER() { delete[] m_slots; }

    // False when memory runs out.
    bool build(const INSTALLATION_RECORD& older)
    {
        m_files = older.files;
        m_size = 16;
        while (m_size < static_cast<INT_U32>(older.file_count) * 2u)
            m_size *= 2;
        m_slots = new (std::nothrow) INT_S32[m_size];
        if (!m_slots)
            return false;
        for (INT_U32 i = 0; i < m_size; ++i)
            m_slots[i] = -1;
        // Files in order, so that of several equal ones the first stays.
        for (INT_S16 n = 0; n < older.file_count; ++n) {
            INT_U32 slot = file_hash(older.files[n]) & (m_size - 1);
            while (m_slots[slot] >= 0 && !same_file(m_files[m_slots[slot]], older.files[n]))
                slot = (slot + 1) & (m_size - 1);
            if (m_slots[slot] < 0)
                m_slots[slot] = n;
        }
        return true;
    }

    // The index of the first older file that matches, or -1.
    [[nodiscard]] INT_S32 find(const FILE_RECORD& newer) const
    {
        for (INT_U32 slot = file_hash(newer) & (m_size - 1); m_slots[slot] >= 0; slot = (slot + 1) & (m_size - 1)) {
            if (same_file(m_files[m_slots[slot]], newer))
                return m_slots[slot];
        }
        return -1;
    }

private:
    const FILE_RECORD* m_files { nullptr };
    INT_S32* m_slots { nullptr };
    INT_U32 m_size { 0 };
};

enum CONTENT { CONTENT_SAME, CONTENT_CHANGED, CONTENT_NO_FIRST, CONTENT_NO_SECOND };

// Members of different lengths are changed without reading them; members of one length are
// read in step straight from their packages, and the first difference ends the reading. A
// packed name finds its member in whichever package of its data set holds it.
CONTENT compare_members(const DATABASE& d1, const DATABASE& d2, const char* first_packed, const char* second_packed)
{
    const char* first_name = nullptr;
    const char* second_name = nullptr;
    PACKAGE* first = d1.package_of(first_packed, &first_name);
    PACKAGE* second = d2.package_of(second_packed, &second_name);
    INT_U64 first_size = 0, second_size = 0;
    if (!first || !first->member_size(first_name, &first_size))
        return CONTENT_NO_FIRST;
    if (!second || !second->member_size(second_name, &second_size))
        return CONTENT_NO_SECOND;
    if (first_size != second_size)
        return CONTENT_CHANGED;
    PACKAGE_MEMBER_READER a, b;
    if (!a.open(first, first_name))
        return CONTENT_NO_FIRST;
    if (!b.open(second, second_name))
        return CONTENT_NO_SECOND;
    static INT_U8 left[1 << 16], right[1 << 16];
    for (;;) {
        INT_S32 got_left = a.read(left, sizeof left);
        INT_S32 got_right = b.read(right, sizeof right);
        if (got_left < 0)
            return CONTENT_NO_FIRST;
        if (got_right < 0)
            return CONTENT_NO_SECOND;
        if (got_left != got_right || (got_left > 0 && memcmp(left, right, static_cast<size_t>(got_left)) != 0))
            return CONTENT_CHANGED;
        if (got_left <= 0)
            return CONTENT_SAME;
    }
}

// "@" stands for "$", which a shell would take for itself.
void path_variable_form(char* name)
{
    if (name[0] == '@')
        name[0] = '$';
}

// A finished installer (program, stamp and data set) rather than a package: a package starts
// with its byte-order byte and "ORLUPKG"; anything else counts only with a stamp that says a data
// set follows.
bool is_finished_installer(const FOLDER& folder, const char* name)
{
    DATA_FILE* file = folder.open_data_file(name, FILE_READ, 0, false);
    if (!file)
        return false;
    char start[8] = {};
    bool package = file->read(start, 8) == 8 && memcmp(start + 1, "ORLUPKG", 7) == 0;
    STAMP_RECORD record;
    bool installer = !package && file->seek(0, false) && read_stamp(file, &record) && (record.flags & STAMP_FLAG_DATA_SET);
    FOLDER::close_data_file(&file);
    return installer;
}

// Loads the data set named on the command line: a path with a variable ("@" already made "$"),
// an absolute path as it stands, or a name relative to the program's folder. A finished
// installer's data set is unpacked into a temporary package, whose name goes to `temporary`
// (empty otherwise), and the number of packages to `packages`, for the caller to delete (the
// others of a data set of several lie beside the first as data_set.h tells). `where` is the
// folder of the named file.
bool load(DATABASE* database, const char* given, FOLDER* where, char* temporary, size_t size, INT_U32* packages)
{
    temporary[0] = 0;
    *packages = 0;
    char text[ORLU_MAX_PATH];
    bool fits = given[0] == '/' ? copy_text(text, given) : option_file_path(given, text, sizeof text);
    if (!fits)
        return false;
    char* slash = strrchr(text, '/');
    const char* file_name = slash ? slash + 1 : text;
    if (slash) {
        *slash = 0;
        bool set = text[0] == '/' || slash == text ? database->data_folder.set_raw(text[0] ? text : "/")
                                                    : database->data_folder.set(text);
        if (!set)
            return false;
    }
    *where = database->data_folder;
    if (!is_finished_installer(*where, file_name))
        return database->load_data_set(file_name);
    FOLDER temp("$TEMP");
    DATA_SET_HEADER header;
    if (!temp.make_temp_name(temporary, static_cast<INT_S32>(size), ".pkg")
        || !unpack_installer(*where, file_name, temp, temporary, nullptr, &header, nullptr, packages))
        return false;
    database->data_folder = temp;
    database->use_unpacked_packages(*packages);
    return database->load_data_set(temporary);
}

// Compares one installation; false when a difference stops the run.
bool compare_installation(DATABASE& d1, DATABASE& d2, INT_S16 index, PATCH_WRITER& writer)
{
    const INSTALLATION_RECORD& i1 = d1.installations[index];
    const INSTALLATION_RECORD& i2 = d2.installations[index];
    host_printf("Installation (%d)\n", index);
    writer.line("\t<INSTALLATION name=\"%s\" allow_system_paths=\"%s\" default_path=\"%s\">\n", escaped(i2.name),
        yes_no(i2.allow_system_paths), escaped(i2.default_path));
    struct FIELD {
        const char* a;
        const char* b;
        const char* what;
    };
    const FIELD texts[] = {
        { i1.name, i2.name, "name" },
        { i1.default_path, i2.default_path, "default_path" },
    };
    for (const FIELD& field : texts) {
        if (strcmp(field.a, field.b) != 0) {
            host_printf("\tInstallation %s changed - not supported by patching system\n", field.what);
            return false;
        }
    }
    if (i1.allow_system_paths != i2.allow_system_paths) {
        host_print("\tInstallation allow_system_paths changed - not supported by patching system\n");
        return false;
    }
    const FIELD uninstaller[] = {
        { i1.uninstaller_name, i2.uninstaller_name, "uninstaller_name" },
        { i1.uninstaller_filename, i2.uninstaller_filename, "uninstaller_filename" },
        { i1.uninstaller_path, i2.uninstaller_path, "uninstaller_path" },
        { i1.uninstaller_syspath, i2.uninstaller_syspath, "uninstaller_syspath" },
    };
    for (const FIELD& field : uninstaller) {
        if (strcmp(field.a, field.b) != 0) {
            host_printf("\tInstallation %s changed - not supported by patching system\n", field.what);
            return false;
        }
    }
    if (i1.shortcut_count || i2.shortcut_count)
        host_print("\tShortcuts are ignored by patching system\n");
    INT_U8* matched = new (std::nothrow) INT_U8[i1.file_count > 0 ? i1.file_count : 1]();
    FILE_MATCHER matcher;
    if (!matched || !matcher.build(i1)) {
        delete[] matched;
        host_print("\tUnable to create flags array\n");
        return false;
    }
    bool ok = true;
    for (INT_S16 n2 = 0; n2 < i2.file_count && ok; ++n2) {
        const FILE_RECORD& f2 = i2.files[n2];
        INT_S32 n1 = matcher.find(f2);
        if (n1 < 0) {
            writer.file(f2, false);
            host_printf("\t\tFile added - %s/%s\n", f2.src_path_from_xml, f2.src_name);
            continue;
        }
        const FILE_RECORD& f1 = i1.files[n1];
        if (matched[n1]) {
            host_printf("\t\tFound same file twice! (%s/%s)\n", f2.src_path_from_xml, f2.src_name);
            ok = false;
            break;
        }
        if (!f1.packed_name[0] || !f2.packed_name[0]) {
            if (!f1.packed_name[0])
                host_printf("\t\tWarning: blank packed name in d1 (%s/%s)\n", f1.src_path_from_xml, f1.src_name);
            if (!f2.packed_name[0])
                host_printf("\t\tWarning: blank packed name in d2 (%s/%s)\n", f2.src_path_from_xml, f2.src_name);
            continue;
        }
        matched[n1] = 1;
        switch (compare_members(d1, d2, f1.packed_name, f2.packed_name)) {
        case CONTENT_NO_FIRST:
            host_printf("\t\tUnable to open file in db1 (%s)\n", f1.packed_name);
            ok = false;
            break;
        case CONTENT_NO_SECOND:
            host_printf("\t\tUnable to open file in db2 (%s)\n", f2.packed_name);
            ok = false;
            break;
        case CONTENT_CHANGED:
            writer.file(f2, false);
            host_printf("\t\tFile changed - %s/%s\n", f2.src_path_from_xml, f2.src_name);
            break;
        case CONTENT_SAME:
            break;
        }
    }
    for (INT_S16 n1 = 0; n1 < i1.file_count && ok; ++n1) {
        if (matched[n1])
            continue;
        writer.file(i1.files[n1], true);
        host_printf("\t\tFile deleted - %s/%s\n", i1.files[n1].src_path_from_xml, i1.files[n1].src_name);
    }
    delete[] matched;
    if (ok)
        writer.line("\t</INSTALLATION>\n");
    return ok;
}

} // namespace

bool diff_data_sets(const char* argument)
{
    host_print("Creating File Differences\n-------------------------\n\n");
    if (!argument || !argument[0]) {
        host_print("Files not supplied\n");
        return false;
    }
    const char* equals = strchr(argument, '=');
    if (!equals) {
        host_print("Second file was not supplied\n");
        return false;
    }
    char first[ORLU_MAX_PATH], second[ORLU_MAX_PATH];
    snprintf(first, sizeof first, "%.*s", static_cast<int>(equals - argument), argument);
    snprintf(second, sizeof second, "%s", equals + 1);
    path_variable_form(first);
    path_variable_form(second);

    DATABASE* d1 = new (std::nothrow) DATABASE();
    DATABASE* d2 = new (std::nothrow) DATABASE();
    bool ok = d1 && d2;
    FOLDER first_folder, second_folder;
    char first_temporary[64] = "", second_temporary[64] = "";
    INT_U32 first_packages = 0, second_packages = 0;
    if (ok && !load(d1, first, &first_folder, first_temporary, sizeof first_temporary, &first_packages)) {
        host_print("Failed to load first database\n");
        ok = false;
    }
    if (ok)
        host_printf("First database (%s) was loaded ok...\n", first);
    if (ok && !load(d2, second, &second_folder, second_temporary, sizeof second_temporary, &second_packages)) {
        host_print("Failed to load first database\n");
        ok = false;
    }
    if (ok)
        host_printf("Second database (%s) was loaded ok...\n", second);

    // The patch lies beside the second file as it was named, also when its data came from a
    // finished installer.
    TEXT_FILE* file = ok ? second_folder.open_text_file("patch.xml", FILE_WRITE, false) : nullptr;
    if (ok && !file) {
        host_print("Failed to open patch file\n");
        ok = false;
    }
    if (ok) {
        file->set_decode_utf8(false);
        PATCH_WRITER writer(file);
        writer.header(*d1);
        if (d1->installation_count != d2->installation_count) {
            host_print("Unable to patch, differences are too big (install_sz differ)\n");
            ok = false;
        }
        for (INT_S16 i = 0; ok && i < d1->installation_count; ++i)
            ok = compare_installation(*d1, *d2, i, writer);
        if (ok) {
            writer.languages(*d1);
            writer.line("</INSTALLER>\n");
            host_print("\nDone\n-------------------------\n");
        }
    }
    FOLDER::close_text_file(&file);
    delete d1;
    delete d2;
    FOLDER temp("$TEMP");
    if (first_temporary[0]) {
        (void)temp.delete_file(first_temporary);
        delete_side_packages(temp, first_temporary, first_packages);
    }
    if (second_temporary[0]) {
        (void)temp.delete_file(second_temporary);
        delete_side_packages(temp, second_temporary, second_packages);
    }
    return ok;
}
