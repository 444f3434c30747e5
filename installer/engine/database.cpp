// The installation database: defaults, the stream of versions 1 to 18, loading from a data set,
// the wizard's page order and the platform filter.
//
// [SECTION] Name tables
// [SECTION] Records
// [SECTION] The toolkit's share of the stream
// [SECTION] Stream helpers
// [SECTION] DATABASE: life cycle
// [SECTION] DATABASE: reading
// [SECTION] DATABASE: writing
// [SECTION] DATABASE: data sets and index files
// [SECTION] DATABASE: wizard pages
// [SECTION] DATABASE: platform filter

#include "installer/engine/database.h"

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <new>

#include "io/data_file.h"
#include "base/debug_stream.h"
#include "graphics/font.h"
#include "host/host.h"
#include "graphics/image_cache.h"
#include "installer/engine/installer_debug.h"
#include "installer/engine/installer_options.h"
#include "base/error_report.h"
#include "installer/engine/data_set_reader.h"
#include "installer/engine/unpacked_data_set.h"
#include "io/package.h"
#include "wm/core/wm_look.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Name tables
// ---------------------------------------------------------------------------------------------

namespace {

const char* const icon_names[DATABASE_ICON_COUNT] = {
    "forw_icon", "prev_icon", "yes_icon", "no_icon", "quit_icon", "about_icon", "finish_icon",
    "agree_icon", "disagree_icon", "install_icon", "new_folder_icon", "disk", "disk-cdrom",
    "disk-floppy", "disk-network", "disk-linux", "disk-unix", "disk-mac", "disk-os2", "disk-dos",
    "disk-windows", "parent_folder", "file", "folder",
};

struct LANGUAGE_KEY_ENTRY {
    const char* tag;
    INT_U8 version; // first stream version that carries the key
};

const LANGUAGE_KEY_ENTRY language_keys[LANGUAGE_KEY_COUNT] = {
    { "LANGUAGE_TITLE", 1 },
    { "INSTALLER_TITLE", 1 },
    { "QUIT_TITLE", 1 },
    { "QUIT_MSG", 1 },
    { "QUIT_YES", 1 },
    { "QUIT_NO", 1 },
    { "PATH_ERROR_TITLE", 17 },
    { "PATH_ERROR_MSG", 17 },
    { "PATH_ERROR_BUTTON", 17 },
    { "COPY_ERROR_TITLE", 1 },
    { "COPY_ERROR_MSG", 1 },
    { "COPY_ERROR_YES", 1 },
    { "COPY_ERROR_NO", 1 },
    { "FORWARD", 1 },
    { "FORWARD_HINT", 1 },
    { "PREVIOUS", 1 },
    { "PREVIOUS_HINT", 1 },
    { "AGREE", 1 },
    { "AGREE_HINT", 1 },
    { "DISAGREE", 1 },
    { "DISAGREE_HINT", 1 },
    { "QUIT", 1 },
    { "QUIT_HINT", 1 },
    { "ABOUT", 1 },
    { "ABOUT_HINT", 1 },
    { "INSTALL", 1 },
    { "INSTALL_HINT", 1 },
    { "FINISH", 1 },
    { "FINISH_HINT", 1 },
    { "SELECT_LANGUAGE", 1 },
    { "LICENCE_TITLE", 1 },
    { "README_TITLE", 1 },
    { "RELEASE_NOTES_TITLE", 15 },
    { "INSTALL_TYPE_TITLE", 1 },
    { "SELECT_OPTIONS_TITLE", 1 },
    { "SELECT_OPTIONS_LOCATION_QUESTION", 1 },
    { "SELECT_OPTIONS_USE_SYSTEM_PATHS", 1 },
    { "SELECT_OPTIONS_SHORTCUT_QUESTION", 1 },
    { "SELECT_OPTIONS_DESKTOP_SHORTCUT", 1 },
    { "SELECT_OPTIONS_MENU_SHORTCUT", 1 },
    { "SELECT_OPTIONS_SYSPATHS_SELECTED", 1 },
    { "INSTALLING_TITLE", 1 },
    { "INSTALLING_STRING", 3 },
    { "INITIALIZING_STRING", 3 },
    { "INSTALLING_DESKTOP_SHORTCUT", 1 },
    { "INSTALLING_MENU_SHORTCUT", 1 },
    { "PACK_DATA_TITLE", 1 },
    { "PACK_LOG_TITLE", 1 },
    { "COMPLETE", 1 },
    { "OK_BUTTON", 1 },
    { "CANCEL_BUTTON", 1 },
    { "NEW_FOLDER_BUTTON", 1 },
    { "SELECT_FOLDER_TITLE", 1 },
    { "SELECT_FOLDER_MSG", 1 },
    { "SELECT_FOLDER_MENU_TITLE", 1 },
    { "MY_COMPUTER", 1 },
    { "NEW_FOLDER_TITLE", 1 },
    { "NEW_FOLDER_MSG", 1 },
    { "CHECK_DESKTOP_FAILED_TITLE", 9 },
    { "CHECK_DESKTOP_FAILED", 9 },
    { "PATCH_MSG", 14 },
};

} // namespace

const char* icon_name(INT_S32 icon)
{
    return icon >= 0 && icon < DATABASE_ICON_COUNT ? icon_names[icon] : nullptr;
}

const char* language_key_name(INT_S32 key)
{
    return key >= 0 && key < LANGUAGE_KEY_COUNT ? language_keys[key].tag : nullptr;
}

INT_U8 language_key_version(INT_S32 key)
{
    return key >= 0 && key < LANGUAGE_KEY_COUNT ? language_keys[key].version : 255;
}

INT_S32 language_key_of(const char* tag)
{
    if (!tag)
        return -1;
    for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key) {
        if (strcmp(language_keys[key].tag, tag) == 0)
            return key;
    }
    return -1;
}

INT_U8 shortcut_type_of(const char* word)
{
    if (!word)
        return SHORTCUT_UNKNOWN;
    if (strcmp(word, "application") == 0)
        return SHORTCUT_APPLICATION;
    if (strcmp(word, "weblink") == 0)
        return SHORTCUT_WEBLINK;
    if (strcmp(word, "textfile") == 0)
        return SHORTCUT_TEXTFILE;
    return SHORTCUT_UNKNOWN;
}

const char* shortcut_type_word(INT_U8 type)
{
    switch (type) {
    case SHORTCUT_APPLICATION: return "application";
    case SHORTCUT_WEBLINK: return "weblink";
    case SHORTCUT_TEXTFILE: return "textfile";
    default: return "unknown";
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Records
// ---------------------------------------------------------------------------------------------

namespace {

// Replaces `array` with `count` fresh records; 0 frees it. False, with no records, for a count
// outside 0..most or when memory runs out.
template <typename RECORD>
bool replace_records(RECORD*& array, INT_S16& array_count, INT_S16 count, INT_S16 most)
{
    delete[] array;
    array = nullptr;
    array_count = 0;
    if (count < 0 || count > most)
        return false;
    if (count == 0)
        return true;
    array = new (std::nothrow) RECORD[count]();
    if (!array)
        return false;
    array_count = count;
    return true;
}

} // namespace

INSTALLATION_RECORD::~INSTALLATION_RECORD()
{
    delete[] files;
    delete[] shortcuts;
}

bool INSTALLATION_RECORD::allocate_files(INT_S16 count)
{
    return replace_records(files, file_count, count, 0x7FFF);
}

bool INSTALLATION_RECORD::allocate_shortcuts(INT_S16 count)
{
    return replace_records(shortcuts, shortcut_count, count, DATABASE_MAX_SHORTCUTS);
}

LANGUAGE_RECORD::~LANGUAGE_RECORD()
{
    delete[] installation_names;
}

const char* LANGUAGE_RECORD::installation_name(INT_S32 index) const
{
    return installation_names && index >= 0 && index < installation_name_count ? installation_names[index] : "";
}

bool LANGUAGE_RECORD::allocate_installation_names(INT_S16 count)
{
    return replace_records(installation_names, installation_name_count, count, 0x7FFF);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Stream helpers
// ---------------------------------------------------------------------------------------------

namespace {

// Reads fields of one stream and knows how many bytes the device still holds, so that a declared
// count or length can be compared with what is left before anything is allocated for it.
class STREAM_READER {
public:
    explicit STREAM_READER(DATA_DEVICE* device)
        : m_device(device)
    {
        INT_U32 start = device->tell();
        if (device->seek(0, true)) {
            m_end = device->tell();
            m_end_known = device->seek(start, false);
        }
        if (!m_end_known)
            (void)device->seek(start, false);
    }

    [[nodiscard]] INT_U64 remaining() const
    {
        if (!m_end_known)
            return ~static_cast<INT_U64>(0);
        INT_U32 at = m_device->tell();
        return at < m_end ? m_end - at : 0;
    }
    // True when `count` records of at least `least` stream bytes each can still be there.
    [[nodiscard]] bool room_for(INT_S64 count, INT_S64 least) const
    {
        return count >= 0 && static_cast<INT_U64>(count) * static_cast<INT_U64>(least) <= remaining();
    }

    template <typename T>
    [[nodiscard]] bool number(T* value) { return device_read(m_device, value); }

    // A String kept in `arena`, cut as a field of DATABASE_TEXT would cut it; `once` for a text
    // that will not repeat. Running out of memory is a failed read.
    [[nodiscard]] bool text(TEXT_ARENA* arena, const char** field, bool once = false)
    {
        char buffer[DATABASE_TEXT];
        if (!text(buffer, sizeof buffer))
            return false;
        const char* stored = once ? arena->store_once(buffer) : arena->store(buffer);
        if (!stored)
            return fail();
        *field = stored;
        return true;
    }

    // A String: INT_S32 length and the bytes. At most size - 1 bytes are kept; the rest is read
    // and dropped, so that the next field is found where it lies.
    [[nodiscard]] bool text(char* buffer, INT_S32 size)
    {
        INT_S32 length = 0;
        if (!number(&length))
            return false;
        if (length < 0 || static_cast<INT_U64>(length) > remaining())
            return fail();
        INT_S32 keep = length < size - 1 ? length : size - 1;
        if (keep > 0 && !device_read_bytes(m_device, buffer, keep))
            return false;
        buffer[keep] = 0;
        INT_S32 skip = length - keep;
        char scrap[256];
        while (skip > 0) {
            INT_S32 piece = skip < static_cast<INT_S32>(sizeof scrap) ? skip : static_cast<INT_S32>(sizeof scrap);
            if (!device_read_bytes(m_device, scrap, piece))
                return false;
            skip -= piece;
        }
        return true;
    }

    // An ORLU_STRING in its own form (INT_S32 length and the bytes), bounded: a longer one is
    // damage.
    [[nodiscard]] bool string(ORLU_STRING* string)
    {
        INT_S32 length = 0;
        if (!number(&length))
            return false;
        if (length < 0 || length > DATABASE_MAX_STRING || static_cast<INT_U64>(length) > remaining())
            return fail();
        char buffer[DATABASE_MAX_STRING + 1];
        if (length > 0 && !device_read_bytes(m_device, buffer, length))
            return false;
        buffer[length] = 0;
        // An empty text takes no buffer: most files have no platform.
        if (length == 0)
            string->clear();
        else
            string->assign(buffer);
        return true;
    }

    // A platform: a code byte before version 16, a string from then on.
    [[nodiscard]] bool platform(INT_U8 version, ORLU_STRING* string)
    {
        if (version >= 16)
            return this->string(string);
        INT_U8 code = 0;
        if (!number(&code))
            return false;
        string->assign(platform_name(code));
        return true;
    }

    [[nodiscard]] bool object(DATA_DEVICE_CLIENT* client)
    {
        bool ok = client->get_from_data_device(m_device);
        m_device->failed = !ok;
        return ok;
    }

    [[nodiscard]] bool fail()
    {
        m_device->failed = 1;
        return false;
    }

private:
    DATA_DEVICE* m_device;
    INT_U32 m_end { 0 };
    bool m_end_known { false };
};

bool write_text(DATA_DEVICE* device, const char* text)
{
    INT_S32 length = text ? static_cast<INT_S32>(strlen(text)) : 0;
    return device_write(device, length) && (length == 0 || device_write_bytes(device, text, length));
}

bool write_object(DATA_DEVICE* device, const DATA_DEVICE_CLIENT& client)
{
    bool ok = client.put_to_data_device(device);
    device->failed = !ok;
    return ok;
}

// The smallest number of stream bytes each record can take at a version, for the count checks.
INT_S64 least_file_bytes(INT_U8 version)
{
    return 3 * 4 + (version >= 16 ? 4 : 1) + 2 * 4 + 1 + 4;
}

INT_S64 least_shortcut_bytes(INT_U8 version)
{
    return 1 + 3 * 4 + (version >= 16 ? 4 : 1) + 6 * 4;
}

INT_S64 least_language_bytes(INT_U8 version)
{
    INT_S64 strings = 0;
    for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key) {
        if (version >= language_key_version(key))
            ++strings;
    }
    return strings * 4 + 4 * 4 + 2;
}

INT_S64 least_client_bytes(INT_U8 version)
{
    return (version >= 16 ? 4 : 1) + FOLDER_STREAM_SIZE + 2 * 4 + 1;
}

// What the system_info of every reset is filled from: the facts of the machine are read once
// per process, so that resetting a database stays cheap.
const SYSTEM_INFO& machine_facts()
{
    static SYSTEM_INFO facts;
    static bool read = false;
    if (!read) {
        read_system_info(&facts);
        read = true;
    }
    return facts;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] DATABASE: life cycle
// ---------------------------------------------------------------------------------------------

DATABASE::DATABASE()
{
    reset();
}

DATABASE::~DATABASE()
{
    free_records();
    drop_unpacked();
    delete package;
    package = nullptr;
    delete data_set;
    data_set = nullptr;
}

void DATABASE::use_data_set(DATA_SET_READER* reader)
{
    delete data_set;
    data_set = reader;
}

void DATABASE::use_unpacked_packages(INT_U32 count)
{
    m_unpacked_count = count;
}

void DATABASE::drop_unpacked()
{
    delete m_unpacked;
    m_unpacked = nullptr;
}

MEMBER_STORE* DATABASE::members() const
{
    if (m_reading_data_set)
        return nullptr;
    if (data_set && data_set->is_open())
        return data_set;
    // The unpacked packages borrow `package`: they serve only while it is the one they were
    // given.
    if (m_unpacked && m_unpacked->main_package() == package && m_unpacked->is_open())
        return m_unpacked;
    if (package && package->is_open())
        return package;
    return nullptr;
}

PACKAGE* DATABASE::package_of(const char* packed_name, const char** member) const
{
    *member = packed_name;
    MEMBER_STORE* store = members();
    if (store && store == m_unpacked)
        return m_unpacked->package_of(packed_name, member);
    return store && store == package ? package : nullptr;
}

void DATABASE::free_records()
{
    delete[] installations;
    installations = nullptr;
    installation_count = 0;
    delete[] languages;
    languages = nullptr;
    language_count = 0;
    for (INT_S16 i = 0; i < client_count; ++i)
        delete clients[i];
    delete[] clients;
    clients = nullptr;
    client_count = 0;
    file_texts.clear();
}

void DATABASE::reset()
{
    free_records();
    installation_id = 0;
    show_frame_rate = 0;
    show_filenames = 1;
    show_filepaths = 1;
    file_cache_sz = 0x100000;
    default_language_name[0] = 0;
    window = WINDOW_SETTINGS();
    dialog = DIALOG_SETTINGS();
    exit = BOX_SETTINGS { -1, -1, 200, 150, 1 };
    error = BOX_SETTINGS { -1, -1, 400, 300, 1 };
    file_select = FILE_SELECT_SETTINGS();
    about = BOX_SETTINGS();
    background_path[0] = 0;
    background_filename[0] = 0;
    background_speed = 600;
    background_width = -1;
    background_height = -1;
    background_start_offset_ms = 0;
    log_dest_path[0] = 0;
    log_system_dest_path[0] = 0;
    patch_dest_path[0] = 0;
    patch_system_dest_path[0] = 0;
    patch_do_check = 0;
    for (WM_STYLE_SET& style : style_sets)
        style.reset();
    for (IMAGE& icon : icons)
        icon.set_size(0, 0);
    background_image.set_size(0, 0);
    progress_bar_animation_x_rate = 0;
    progress_bar_animation_y_rate = 0;
    progress_bar_animation_update_rate = 0;
    version[0] = 0;
    build_number = 0;
    app_string[0] = 0;
    data_time = static_cast<INT_S32>(time(nullptr));
    check_desktop_width = -1;
    check_desktop_height = -1;
    skin_path[0] = 0;

    current_installation = 0;
    current_language = 0;
    current_page = PAGE_START;
    system_info = machine_facts();
    is_patch = 0;
    snprintf(install_path, sizeof install_path, "%s", "$ROOT0");
    total_files = 0;
    use_system_paths = 1;
    want_desktop_shortcut = 1;
    want_menu_shortcut = 1;
    desktop_checked = 0;
    desktop_check_text[0] = 0;

    // The toolkit's share: the texts' colours, and the font they are written in once the font
    // system runs (a reset made before the frame starts it leaves the font to a later one).
    set_standard_text_colours();
    load_system_font();
}

bool DATABASE::allocate_installations(INT_S16 count)
{
    return replace_records(installations, installation_count, count, DATABASE_MAX_INSTALLATIONS);
}

bool DATABASE::allocate_languages(INT_S16 count)
{
    if (!replace_records(languages, language_count, count, DATABASE_MAX_LANGUAGES))
        return false;
    for (INT_S16 i = 0; i < count; ++i) {
        if (!languages[i].allocate_installation_names(installation_count)) {
            delete[] languages;
            languages = nullptr;
            language_count = 0;
            return false;
        }
    }
    return true;
}

bool DATABASE::allocate_clients(INT_S16 count)
{
    for (INT_S16 i = 0; i < client_count; ++i)
        delete clients[i];
    delete[] clients;
    clients = nullptr;
    client_count = 0;
    if (count < 0 || count > DATABASE_MAX_CLIENTS)
        return false;
    if (count == 0)
        return true;
    clients = new (std::nothrow) CLIENT_RECORD*[count]();
    if (!clients)
        return false;
    for (INT_S16 i = 0; i < count; ++i) {
        clients[i] = new (std::nothrow) CLIENT_RECORD;
        if (!clients[i]) {
            client_count = i;
            return false;
        }
    }
    client_count = count;
    return true;
}

void DATABASE::count_files_and_shortcuts()
{
    INT_S32 total = 0;
    for (INT_S16 i = 0; i < installation_count; ++i) {
        INSTALLATION_RECORD& installation = installations[i];
        total += installation.file_count;
        installation.has_desktop_shortcut = 0;
        installation.has_menu_shortcut = 0;
        for (INT_S16 s = 0; s < installation.shortcut_count; ++s) {
            const SHORTCUT_RECORD& shortcut = installation.shortcuts[s];
            if (!matches_platform(shortcut.platform.c_str()))
                continue;
            if (shortcut.menu_path[0])
                installation.has_menu_shortcut = 1;
            else
                installation.has_desktop_shortcut = 1;
        }
    }
    total_files = static_cast<INT_S16>(total > 0x7FFF ? 0x7FFF : total);
}

const LANGUAGE_RECORD* DATABASE::language() const
{
    if (!languages || language_count <= 0)
        return nullptr;
    INT_S16 index = current_language >= 0 && current_language < language_count ? current_language : 0;
    return &languages[index];
}

const char* DATABASE::text(LANGUAGE_KEY key) const
{
    const LANGUAGE_RECORD* record = language();
    return record ? record->text(key) : "";
}

// ---------------------------------------------------------------------------------------------
// [SECTION] DATABASE: reading
// ---------------------------------------------------------------------------------------------

bool DATABASE::get_from_data_device(DATA_DEVICE* device)
{
    reset();
    // Every picture of the style sets came with the image cache at the head of the stream, so
    // nothing is looked for on disk while the stream is read.
    INT_U32 held_mode = style_set_image_mode;
    style_set_image_mode = CACHE_LOOK_ONLY;
    bool ok = read_stream(device);
    style_set_image_mode = held_mode;
    device->failed = !ok;
    return ok;
}

bool DATABASE::read_stream(DATA_DEVICE* device)
{
    STREAM_READER in(device);
    INT_U8 v = 0;
    if (!in.number(&v) || v == 0 || v > DATABASE_VERSION)
        return in.fail();

    if (!in.object(&image_cache) || !in.object(&background_image))
        return false;
    if (v > 9 && !in.number(&installation_id))
        return false;
    if (!in.number(&show_frame_rate))
        return false;
    if (v > 1 && !in.number(&show_filenames))
        return false;
    if (v > 2 && !in.number(&show_filepaths))
        return false;
    if (!in.number(&file_cache_sz) || !in.text(default_language_name, sizeof default_language_name))
        return false;
    if (!in.number(&window.width) || !in.number(&window.height) || !in.number(&window.fullscreen)
        || !in.number(&window.show_bg_title))
        return false;
    if (!in.number(&dialog.x) || !in.number(&dialog.y) || !in.number(&dialog.width) || !in.number(&dialog.height)
        || !in.number(&dialog.button_gap))
        return false;
    if (v < 4) {
        // The oldest streams knew only the sizes of these two dialogs; they stay where the
        // toolkit puts them.
        if (!in.number(&exit.width) || !in.number(&exit.height) || !in.number(&error.width)
            || !in.number(&error.height))
            return false;
    } else {
        if (!in.number(&dialog.can_drag))
            return false;
        for (BOX_SETTINGS* box : { &exit, &error }) {
            if (!in.number(&box->x) || !in.number(&box->y) || !in.number(&box->width) || !in.number(&box->height)
                || !in.number(&box->can_drag))
                return false;
        }
        if (!in.number(&file_select.x) || !in.number(&file_select.y) || !in.number(&file_select.width)
            || !in.number(&file_select.height) || !in.number(&file_select.new_folder_too)
            || !in.number(&file_select.can_drag))
            return false;
        if (!in.number(&about.x) || !in.number(&about.y) || !in.number(&about.width) || !in.number(&about.height)
            || !in.number(&about.can_drag))
            return false;
    }
    if (!in.text(background_path, sizeof background_path) || !in.text(background_filename, sizeof background_filename)
        || !in.number(&background_speed) || !in.number(&background_width) || !in.number(&background_height)
        || !in.number(&background_start_offset_ms))
        return false;
    if (!in.text(log_dest_path, sizeof log_dest_path) || !in.text(log_system_dest_path, sizeof log_system_dest_path))
        return false;
    if (v > 12
        && (!in.text(patch_dest_path, sizeof patch_dest_path)
            || !in.text(patch_system_dest_path, sizeof patch_system_dest_path) || !in.number(&patch_do_check)))
        return false;
    for (WM_STYLE_SET& style : style_sets) {
        if (!in.object(&style))
            return false;
    }
    for (IMAGE& icon : icons) {
        if (!in.object(&icon))
            return false;
    }
    for (INT_S32 which = 0; which < TOOLKIT_STYLE_COUNT; ++which) {
        WM_STYLE_SET held;
        if (!in.object(&held) || !toolkit_style(which)->assign(held))
            return false;
    }
    set_toolkit_hints_present(true);
    if (v > 3) {
        TOOLKIT_DIALOG_EFFECT effect;
        if (!in.number(&effect.flags) || !in.number(&effect.open_delay) || !in.number(&effect.display_delay)
            || !in.number(&effect.dragging_alpha))
            return false;
        set_toolkit_dialog_effect(effect);
    }
    if (v > 4
        && (!in.number(&progress_bar_animation_x_rate) || !in.number(&progress_bar_animation_y_rate)
            || !in.number(&progress_bar_animation_update_rate)))
        return false;
    if (!in.text(version, sizeof version) || !in.number(&build_number) || !in.text(app_string, sizeof app_string))
        return false;
    if (v > 7 && !in.number(&data_time))
        return false;
    if (v > 8 && (!in.number(&check_desktop_width) || !in.number(&check_desktop_height)))
        return false;

    // Installations.
    INT_S16 count = 0;
    if (!in.number(&count))
        return false;
    if (count < 0 || count > DATABASE_MAX_INSTALLATIONS || !in.room_for(count, 9))
        return in.fail();
    if (!allocate_installations(count))
        return in.fail();
    INT_S32 files_so_far = 0;
    for (INT_S16 i = 0; i < installation_count; ++i) {
        INSTALLATION_RECORD& installation = installations[i];
        if (!in.text(installation.name, sizeof installation.name) || !in.number(&installation.allow_system_paths))
            return false;
        if (v > 6 && !in.text(installation.default_path, sizeof installation.default_path))
            return false;
        INT_S16 files = 0;
        if (!in.number(&files))
            return false;
        // The sum of all files must stay an INT_S16, as total_files is one.
        if (files < 0 || files_so_far + files > 0x7FFF || !in.room_for(files, least_file_bytes(v)))
            return in.fail();
        if (!installation.allocate_files(files))
            return in.fail();
        files_so_far += files;
        for (INT_S16 f = 0; f < installation.file_count; ++f) {
            FILE_RECORD& file = installation.files[f];
            if (!in.text(&file_texts, &file.src_name) || !in.text(&file_texts, &file.src_path_from_xml)
                || !in.text(&file_texts, &file.dest_path_from_inst_loc) || !in.platform(v, &file.platform)
                || !in.text(&file_texts, &file.dest_name) || !in.text(&file_texts, &file.system_dest_path_from_inst_loc)
                || !in.number(&file.stamp))
                return false;
            if (v > 17 && !in.number(&file.switch_user))
                return false;
            if (v > 7 && !in.number(&file.overwrite))
                return false;
            // Packed names are made unique by the packer: nothing to share.
            if (!in.text(&file_texts, &file.packed_name, true))
                return false;
        }
        INT_S16 shortcuts = 0;
        if (!in.number(&shortcuts))
            return false;
        if (shortcuts < 0 || shortcuts > DATABASE_MAX_SHORTCUTS || !in.room_for(shortcuts, least_shortcut_bytes(v)))
            return in.fail();
        if (!installation.allocate_shortcuts(shortcuts))
            return in.fail();
        for (INT_S16 s = 0; s < installation.shortcut_count; ++s) {
            SHORTCUT_RECORD& shortcut = installation.shortcuts[s];
            if (!in.number(&shortcut.type) || !in.text(shortcut.exec, sizeof shortcut.exec)
                || !in.text(shortcut.name, sizeof shortcut.name) || !in.text(shortcut.menu_path, sizeof shortcut.menu_path)
                || !in.platform(v, &shortcut.platform) || !in.text(shortcut.arguments, sizeof shortcut.arguments)
                || !in.text(shortcut.exec_path, sizeof shortcut.exec_path)
                || !in.text(shortcut.exec_syspath, sizeof shortcut.exec_syspath)
                || !in.text(shortcut.icon, sizeof shortcut.icon) || !in.text(shortcut.icon_path, sizeof shortcut.icon_path)
                || !in.text(shortcut.icon_syspath, sizeof shortcut.icon_syspath))
                return false;
        }
        if (v > 8
            && (!in.text(installation.uninstaller_name, sizeof installation.uninstaller_name)
                || !in.text(installation.uninstaller_filename, sizeof installation.uninstaller_filename)
                || !in.text(installation.uninstaller_path, sizeof installation.uninstaller_path)
                || !in.text(installation.uninstaller_syspath, sizeof installation.uninstaller_syspath)))
            return false;
    }

    // Languages.
    if (!in.number(&count))
        return false;
    if (count < 0 || count > DATABASE_MAX_LANGUAGES
        || !in.room_for(count, least_language_bytes(v) + 4 * static_cast<INT_S64>(installation_count)))
        return in.fail();
    if (!allocate_languages(count))
        return in.fail();
    for (INT_S16 i = 0; i < language_count; ++i) {
        LANGUAGE_RECORD& language = languages[i];
        for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key) {
            if (v < language_key_version(key))
                continue;
            if (!in.text(language.strings[key], DATABASE_TEXT))
                return false;
            // The name follows the title; before version 6 the title served as the name too.
            if (key == static_cast<INT_S32>(LANGUAGE_KEY::LANGUAGE_TITLE)) {
                if (v > 5) {
                    if (!in.text(language.name, sizeof language.name))
                        return false;
                } else {
                    memcpy(language.name, language.strings[key], sizeof language.name);
                }
            }
        }
        for (INT_S16 n = 0; n < language.installation_name_count; ++n) {
            if (!in.text(language.installation_names[n], DATABASE_TEXT))
                return false;
        }
        if (!in.text(language.licence_path, sizeof language.licence_path)
            || !in.text(language.licence_filename, sizeof language.licence_filename)
            || !in.text(language.readme_path, sizeof language.readme_path)
            || !in.text(language.readme_filename, sizeof language.readme_filename) || !in.number(&language.readme_lines))
            return false;
        if (v > 14
            && (!in.text(language.release_notes_path, sizeof language.release_notes_path)
                || !in.text(language.release_notes_filename, sizeof language.release_notes_filename)
                || !in.number(&language.release_notes_lines)))
            return false;
    }
    for (INT_S16 i = 0; i < language_count; ++i) {
        if (strcmp(languages[i].name, default_language_name) == 0) {
            current_language = i;
            break;
        }
    }

    if (v > 10 && !in.text(skin_path, sizeof skin_path))
        return false;
    if (v > 11) {
        if (!in.number(&count))
            return false;
        if (count < 0 || count > DATABASE_MAX_CLIENTS || !in.room_for(count, least_client_bytes(v)))
            return in.fail();
        if (!allocate_clients(count))
            return in.fail();
        for (INT_S16 i = 0; i < client_count; ++i) {
            CLIENT_RECORD& client = *clients[i];
            if (!in.platform(v, &client.platform) || !in.object(&client.path) || !in.string(&client.filename)
                || !in.string(&client.destname) || !in.number(&client.compress_data))
                return false;
        }
    }

    current_page = next_page_from(PAGE_START);
    set_toolkit_dialog_effect_default(8);
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] DATABASE: writing
// ---------------------------------------------------------------------------------------------

bool DATABASE::put_to_data_device(DATA_DEVICE* device) const
{
    DATA_DEVICE* out = device;
    bool ok = device_write(out, DATABASE_VERSION) && write_object(out, image_cache)
        && write_object(out, background_image) && device_write(out, installation_id)
        && device_write(out, show_frame_rate) && device_write(out, show_filenames) && device_write(out, show_filepaths)
        && device_write(out, file_cache_sz) && write_text(out, default_language_name)
        && device_write(out, window.width) && device_write(out, window.height) && device_write(out, window.fullscreen)
        && device_write(out, window.show_bg_title) && device_write(out, dialog.x) && device_write(out, dialog.y)
        && device_write(out, dialog.width) && device_write(out, dialog.height) && device_write(out, dialog.button_gap)
        && device_write(out, dialog.can_drag);
    for (const BOX_SETTINGS* box : { &exit, &error }) {
        ok = ok && device_write(out, box->x) && device_write(out, box->y) && device_write(out, box->width)
            && device_write(out, box->height) && device_write(out, box->can_drag);
    }
    ok = ok && device_write(out, file_select.x) && device_write(out, file_select.y)
        && device_write(out, file_select.width) && device_write(out, file_select.height)
        && device_write(out, file_select.new_folder_too) && device_write(out, file_select.can_drag)
        && device_write(out, about.x) && device_write(out, about.y) && device_write(out, about.width)
        && device_write(out, about.height) && device_write(out, about.can_drag);
    ok = ok && write_text(out, background_path) && write_text(out, background_filename)
        && device_write(out, background_speed) && device_write(out, background_width)
        && device_write(out, background_height) && device_write(out, background_start_offset_ms)
        && write_text(out, log_dest_path) && write_text(out, log_system_dest_path) && write_text(out, patch_dest_path)
        && write_text(out, patch_system_dest_path) && device_write(out, patch_do_check);
    for (const WM_STYLE_SET& style : style_sets)
        ok = ok && write_object(out, style);
    for (const IMAGE& icon : icons)
        ok = ok && write_object(out, icon);
    for (INT_S32 which = 0; which < TOOLKIT_STYLE_COUNT; ++which)
        ok = ok && write_object(out, *toolkit_style(which));
    TOOLKIT_DIALOG_EFFECT effect = toolkit_dialog_effect();
    ok = ok && device_write(out, effect.flags) && device_write(out, effect.open_delay)
        && device_write(out, effect.display_delay) && device_write(out, effect.dragging_alpha);
    ok = ok && device_write(out, progress_bar_animation_x_rate) && device_write(out, progress_bar_animation_y_rate)
        && device_write(out, progress_bar_animation_update_rate) && write_text(out, version)
        && device_write(out, build_number) && write_text(out, app_string) && device_write(out, data_time)
        && device_write(out, check_desktop_width) && device_write(out, check_desktop_height);

    ok = ok && device_write(out, installation_count);
    for (INT_S16 i = 0; ok && i < installation_count; ++i) {
        const INSTALLATION_RECORD& installation = installations[i];
        ok = write_text(out, installation.name) && device_write(out, installation.allow_system_paths)
            && write_text(out, installation.default_path) && device_write(out, installation.file_count);
        for (INT_S16 f = 0; ok && f < installation.file_count; ++f) {
            const FILE_RECORD& file = installation.files[f];
            ok = write_text(out, file.src_name) && write_text(out, file.src_path_from_xml)
                && write_text(out, file.dest_path_from_inst_loc) && write_object(out, file.platform)
                && write_text(out, file.dest_name) && write_text(out, file.system_dest_path_from_inst_loc)
                && device_write(out, file.stamp) && device_write(out, file.switch_user)
                && device_write(out, file.overwrite) && write_text(out, file.packed_name);
        }
        ok = ok && device_write(out, installation.shortcut_count);
        for (INT_S16 s = 0; ok && s < installation.shortcut_count; ++s) {
            const SHORTCUT_RECORD& shortcut = installation.shortcuts[s];
            ok = device_write(out, shortcut.type) && write_text(out, shortcut.exec) && write_text(out, shortcut.name)
                && write_text(out, shortcut.menu_path) && write_object(out, shortcut.platform)
                && write_text(out, shortcut.arguments) && write_text(out, shortcut.exec_path)
                && write_text(out, shortcut.exec_syspath) && write_text(out, shortcut.icon)
                && write_text(out, shortcut.icon_path) && write_text(out, shortcut.icon_syspath);
        }
        ok = ok && write_text(out, installation.uninstaller_name) && write_text(out, installation.uninstaller_filename)
            && write_text(out, installation.uninstaller_path) && write_text(out, installation.uninstaller_syspath);
    }

    ok = ok && device_write(out, language_count);
    for (INT_S16 i = 0; ok && i < language_count; ++i) {
        const LANGUAGE_RECORD& language = languages[i];
        for (INT_S32 key = 0; ok && key < LANGUAGE_KEY_COUNT; ++key) {
            ok = write_text(out, language.strings[key]);
            if (ok && key == static_cast<INT_S32>(LANGUAGE_KEY::LANGUAGE_TITLE))
                ok = write_text(out, language.name);
        }
        // One name for each installation, whatever the language's own array holds.
        for (INT_S16 n = 0; ok && n < installation_count; ++n)
            ok = write_text(out, language.installation_name(n));
        ok = ok && write_text(out, language.licence_path) && write_text(out, language.licence_filename)
            && write_text(out, language.readme_path) && write_text(out, language.readme_filename)
            && device_write(out, language.readme_lines) && write_text(out, language.release_notes_path)
            && write_text(out, language.release_notes_filename) && device_write(out, language.release_notes_lines);
    }

    ok = ok && write_text(out, skin_path) && device_write(out, client_count);
    for (INT_S16 i = 0; ok && i < client_count; ++i) {
        const CLIENT_RECORD& client = *clients[i];
        ok = write_object(out, client.platform) && write_object(out, client.path) && write_object(out, client.filename)
            && write_object(out, client.destname) && device_write(out, client.compress_data);
    }
    out->failed = !ok;
    return ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] DATABASE: data sets and index files
// ---------------------------------------------------------------------------------------------

bool DATABASE::load_data_set(const char* name, bool* damaged)
{
    if (damaged)
        *damaged = false;
    debug_printf(&installer_debug, "Loading DB...\n");
    if (data_set)
        return load_from_data_set(damaged);
    DATA_FILE* probe = data_folder.open_data_file(name, FILE_READ, ORDER_MARKER_IN_FILE, false);
    if (!probe)
        return false;
    FOLDER::close_data_file(&probe);

    drop_unpacked();
    delete package;
    package = new (std::nothrow) PACKAGE(data_folder, name, false, 1024, true, true);
    if (!package)
        return false;
    bool found = false;
    // The file is there, so a package that does not open (an entry list that turns back, a
    // header beyond the end) is damage too.
    if (!package->is_open() && damaged)
        *damaged = true;
    if (package->is_open()) {
        PACKAGE_DATA_FILE* member = package->open_member_data("database.bin", FILE_READ, ORDER_MARKER_IN_FILE);
        if (member) {
            // A stream that ends before its counts say, or holds a negative length, is refused
            // even when the data set's check passed (it was computed over the damage): an install
            // from half a database would install half the files and call it a success.
            found = get_from_data_device(member);
            PACKAGE::close_member_data(&member);
            if (found)
                load_packaged_fonts();
            else if (damaged)
                *damaged = true;
        }
    }

    // The package is made again so that it works with the data set's own cache size.
    delete package;
    package = new (std::nothrow) PACKAGE(data_folder, name, false, 1024, true, true);
    if (!found)
        return false;
    if (m_unpacked_count > 1) {
        // The other packages of the data set lie beside it; the records must name them all and
        // nothing else, or the data set is not the one its database was packed with.
        m_unpacked = new (std::nothrow) UNPACKED_DATA_SET(package, data_folder, name, m_unpacked_count);
        if (!m_unpacked || !m_unpacked->is_open()) {
            drop_unpacked();
            return set_last_error(ERROR_PACKAGE_NOT_OPEN, "data set (its packages)");
        }
        if (!m_unpacked->check_records(*this)) {
            if (damaged)
                *damaged = true;
            drop_unpacked();
            return false;
        }
    }

    count_files_and_shortcuts();
    if (installation_count > 0)
        snprintf(install_path, sizeof install_path, "%s", installations[0].default_path);
    IMAGE* selector_icons[13];
    for (INT_S32 i = 0; i < 13; ++i)
        selector_icons[i] = &icons[ICON_DISK + i];
    set_toolkit_file_icons(selector_icons, 13);
    return true;
}

namespace {

// A member read whole into memory, for the database's stream.
struct MEMORY_MEMBER {
    INT_U8* bytes { nullptr };
    size_t size { 0 };
    size_t capacity { 0 };
    ~MEMORY_MEMBER() { delete[] bytes; }
};

// The most "database.bin" may take: its images and records, with room to spare.
constexpr size_t DATABASE_MEMBER_LIMIT = 256u << 20;

bool take_member_bytes(const void* bytes, INT_U32 size, void* context)
{
    MEMORY_MEMBER* member = static_cast<MEMORY_MEMBER*>(context);
    if (member->size + size > DATABASE_MEMBER_LIMIT)
        return false;
    if (member->size + size > member->capacity) {
        size_t capacity = member->capacity ? member->capacity * 2 : 65536;
        while (capacity < member->size + size)
            capacity *= 2;
        INT_U8* grown = new (std::nothrow) INT_U8[capacity];
        if (!grown)
            return false;
        if (member->size)
            memcpy(grown, member->bytes, member->size);
        delete[] member->bytes;
        member->bytes = grown;
        member->capacity = capacity;
    }
    memcpy(member->bytes + member->size, bytes, size);
    member->size += size;
    return true;
}

// A stream over bytes in memory that begin with a byte-order marker, as a member written with
// one does: position 0 is the byte behind it.
class MARKED_MEMORY_DEVICE : public DATA_DEVICE {
public:
    MARKED_MEMORY_DEVICE(const INT_U8* bytes, size_t size)
        : m_bytes(bytes + 1)
        , m_size(size - 1)
    {
        swap_bytes = bytes[0] != 0;
    }
    INT_U32 tell() override { return static_cast<INT_U32>(m_position); }
    bool seek(INT_U32 offset, bool from_end) override
    {
        size_t target = from_end ? m_size + offset : offset;
        if (target > m_size)
            return false;
        m_position = target;
        return true;
    }
    INT_S32 read(void* buffer, INT_S32 size) override
    {
        if (size <= 0 || m_position >= m_size)
            return 0;
        size_t count = m_size - m_position < static_cast<size_t>(size) ? m_size - m_position : static_cast<size_t>(size);
        memcpy(buffer, m_bytes + m_position, count);
        m_position += count;
        return static_cast<INT_S32>(count);
    }
    INT_S32 write(const void*, INT_S32) override { return 0; }

private:
    const INT_U8* m_bytes;
    size_t m_size;
    size_t m_position { 0 };
};

} // namespace

// The data set read in place: "database.bin" into memory and read from there; then the reader
// learns from the records where the payload ends, before anything asks for a member by name.
bool DATABASE::load_from_data_set(bool* damaged)
{
    MEMORY_MEMBER member;
    if (!data_set->is_open() || !data_set->read_member("database.bin", take_member_bytes, &member) || member.size < 1) {
        if (damaged && !host_stop_requested())
            *damaged = data_set->is_open();
        return false;
    }
    MARKED_MEMORY_DEVICE device(member.bytes, member.size);
    m_reading_data_set = true;
    bool found = get_from_data_device(&device);
    m_reading_data_set = false;
    if (!found) {
        if (damaged)
            *damaged = true;
        return false;
    }
    // A data set of several packages whose records name a package that is not there, or leave one
    // out, was not packed with this database: refused before a file is placed.
    if (data_set->package_count() > 1 && !check_package_records(*this, data_set->package_count())) {
        if (damaged)
            *damaged = true;
        return false;
    }
    data_set->index_tail(*this);
    // The wizard's first page depends on the texts the data set holds, which are known now.
    current_page = next_page_from(PAGE_START);
    load_packaged_fonts();
    count_files_and_shortcuts();
    if (installation_count > 0)
        snprintf(install_path, sizeof install_path, "%s", installations[0].default_path);
    IMAGE* selector_icons[13];
    for (INT_S32 i = 0; i < 13; ++i)
        selector_icons[i] = &icons[ICON_DISK + i];
    set_toolkit_file_icons(selector_icons, 13);
    return true;
}

void DATABASE::load_packaged_fonts()
{
    MEMBER_STORE* store = members();
    if (!store || !font_system_started())
        return;
    FOLDER temp("$TEMP");
    for (INT_S16 number = 0; number < BUILT_IN_FONT_COUNT; ++number) {
        const char* file_name = font_file_name(number);
        if (!file_name || font_is_loaded(number) || !store->has_member(file_name))
            continue;
        if (store->extract_file(temp, file_name, file_name))
            (void)load_font(file_name, nullptr, number, &temp);
        (void)temp.delete_file(file_name);
    }
}

bool DATABASE::load_index()
{
    DATA_FILE* file = data_folder.open_data_file("installer.idx", FILE_READ, ORDER_MARKER_IN_FILE, false);
    if (!file)
        return false;
    bool ok = get_from_data_device(file);
    FOLDER::close_data_file(&file);
    return ok;
}

bool DATABASE::save_index() const
{
    DATA_FILE* file = data_folder.open_data_file("installer.idx", FILE_WRITE, ORDER_MARKER_IN_FILE, false);
    if (!file)
        return false;
    bool ok = put_to_data_device(file);
    ok = file->close() && ok;
    FOLDER::close_data_file(&file);
    return ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] DATABASE: wizard pages
// ---------------------------------------------------------------------------------------------

bool DATABASE::has_member(const char* pattern) const
{
    MEMBER_STORE* store = members();
    if (!store)
        return false;
    char name[64];
    snprintf(name, sizeof name, pattern, static_cast<int>(current_language));
    return store->has_member(name);
}

bool DATABASE::has_licence() const { return has_member("licence-%d"); }
bool DATABASE::has_release_notes() const { return has_member("release_notes-%d"); }
bool DATABASE::has_readme() const { return has_member("readme-%d"); }

INT_S32 DATABASE::next_page() const
{
    return next_page_from(current_page);
}

INT_S32 DATABASE::previous_page() const
{
    return previous_page_from(current_page);
}

// Forward:
//   0 -> 1;  1, 9, 10 -> 10;  6 -> 7;  7 -> 8;  8 -> 9 with a readme, else 10
//   2 -> 3 with more than one language, else as 3
//   3 -> 0 in a patch; else 4 with a licence, else as 4
//   4 -> 5 with release notes, else as 5
//   5 -> 6 with more than one install type, else 7
//   above 10 -> 2
INT_S32 DATABASE::next_page_from(INT_S32 page) const
{
    INT_S32 type_or_options = installation_count < 2 ? PAGE_OPTIONS : PAGE_INSTALL_TYPE;
    switch (page) {
    case PAGE_PACK_DATA:
        return PAGE_PACK_LOG;
    case PAGE_PACK_LOG:
    case PAGE_README:
    case PAGE_FINISHED:
        return PAGE_FINISHED;
    case PAGE_START:
        if (language_count > 1)
            return PAGE_LANGUAGE;
        [[fallthrough]];
    case PAGE_LANGUAGE:
        if (is_patch)
            return PAGE_PACK_DATA;
        if (has_licence())
            return PAGE_LICENCE;
        [[fallthrough]];
    case PAGE_LICENCE:
        if (has_release_notes())
            return PAGE_RELEASE_NOTES;
        [[fallthrough]];
    case PAGE_RELEASE_NOTES:
        return type_or_options;
    case PAGE_INSTALL_TYPE:
        return PAGE_OPTIONS;
    case PAGE_OPTIONS:
        return PAGE_INSTALLING;
    case PAGE_INSTALLING:
        return has_readme() ? PAGE_README : PAGE_FINISHED;
    default:
        return PAGE_START;
    }
}

// Back, with start 2 for one language and 3 for more:
//   0 -> 0;  1 -> 1;  4 -> start;  5 -> 4 with a licence, else start
//   6 -> 5 with release notes, else as 5;  7 -> 6 with more than one install type, else as 6
//   8 -> 7;  9 -> 8;  10 -> 9 with a readme, else 8
//   2, 3 and above 10 fall to the table's default: 8 up to 10, 2 above
INT_S32 DATABASE::previous_page_from(INT_S32 page) const
{
    INT_S32 start = language_count < 2 ? PAGE_START : PAGE_LANGUAGE;
    if (page > PAGE_FINISHED)
        return PAGE_START;
    switch (page) {
    case PAGE_PACK_DATA:
        return PAGE_PACK_DATA;
    case PAGE_PACK_LOG:
        return PAGE_PACK_LOG;
    case PAGE_LICENCE:
        return start;
    case PAGE_OPTIONS:
        if (installation_count > 1)
            return PAGE_INSTALL_TYPE;
        [[fallthrough]];
    case PAGE_INSTALL_TYPE:
        if (has_release_notes())
            return PAGE_RELEASE_NOTES;
        [[fallthrough]];
    case PAGE_RELEASE_NOTES:
        return has_licence() ? PAGE_LICENCE : start;
    case PAGE_INSTALLING:
        return PAGE_OPTIONS;
    case PAGE_README:
        return PAGE_INSTALLING;
    case PAGE_FINISHED:
        return has_readme() ? PAGE_README : PAGE_INSTALLING;
    default:
        return PAGE_INSTALLING;
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] DATABASE: platform filter
// ---------------------------------------------------------------------------------------------

namespace {

// Splits "base:list" and turns the old names of a base into the new ones. False when the base
// does not fit the buffer.
bool split_platform(const char* text, char* base, size_t size, const char** list)
{
    const char* colon = strchr(text, ':');
    size_t length = colon ? static_cast<size_t>(colon - text) : strlen(text);
    if (length >= size)
        return false;
    memcpy(base, text, length);
    base[length] = 0;
    if (strcasecmp(base, "linux_i86") == 0)
        snprintf(base, size, "linux");
    else if (strcasecmp(base, "win32") == 0)
        snprintf(base, size, "windows");
    *list = colon ? colon + 1 : nullptr;
    return true;
}

// True when the comma-separated list holds the word; blanks around words are ignored.
bool list_holds(const char* list, const char* word)
{
    const char* at = list;
    while (*at) {
        while (*at == ' ' || *at == '\t')
            ++at;
        const char* end = at;
        while (*end && *end != ',')
            ++end;
        const char* last = end;
        while (last > at && (last[-1] == ' ' || last[-1] == '\t'))
            --last;
        size_t length = static_cast<size_t>(last - at);
        if (length == strlen(word) && strncasecmp(at, word, length) == 0)
            return true;
        at = *end ? end + 1 : end;
    }
    return false;
}

const char* word_size_word(const SYSTEM_INFO& info)
{
    if (info.word_size == OS_VERSION_LINUX_32)
        return "32bit";
    if (info.word_size == OS_VERSION_LINUX_64)
        return "64bit";
    return "unknown";
}

} // namespace

bool DATABASE::matches_platform(const char* text) const
{
    if (!text || !text[0])
        return true;
    char base[64];
    const char* list = nullptr;
    if (!split_platform(text, base, sizeof base, &list))
        return false;
    if (strcasecmp(base, "lsb") == 0)
        return system_info.byte_order == 0;
    if (strcasecmp(base, "msb") == 0)
        return system_info.byte_order != 0;
    if (strcasecmp(base, "linux") != 0)
        return false;
    return !list || list_holds(list, word_size_word(system_info));
}

bool DATABASE::matches_platform_for(const char* text, INT_U8 target) const
{
    if (!text || !text[0])
        return true;
    char base[64];
    const char* list = nullptr;
    if (!split_platform(text, base, sizeof base, &list))
        return false;
    if (strcasecmp(base, "lsb") == 0)
        return target == 1 || target == 17 || target == 33 || (target >= 129 && target <= 133);
    if (strcasecmp(base, "msb") == 0)
        return target == 17;
    const char* name = platform_name(target);
    if (!name[0] || strcasecmp(base, name) != 0)
        return false;
    return !list || list_holds(list, word_size_word(system_info));
}
