// Skins: loading the tree of style files, the binary skin, the stamped skin and the -s tool.
//
// [SECTION] The tree
// [SECTION] Binary skin
// [SECTION] Stamped skin and the -s tool

#include "installer/engine/skin.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/format.h"
#include "frame/application_frame.h"
#include "host/host.h"
#include "io/config_file.h"
#include "io/data_file.h"
#include "installer/engine/database.h"
#include "io/folder.h"
#include "graphics/image_cache.h"
#include "installer/engine/installer_debug.h"
#include "io/stamp.h"
#include "wm/core/wm_look.h"
#include "wm/core/wm_style_set.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] The tree
// ---------------------------------------------------------------------------------------------

namespace {

// Where one style file of the tree goes: a database slot, or one of the toolkit's styles.
struct SKIN_FILE {
    const char* folder;
    const char* file;
    INT_S32 database_style; // -1: a toolkit style
    INT_S32 toolkit_style;  // -1: a database style
};

// In loading order. "text.ss" and "title.ss" occur twice, in two folders, for two slots.
const SKIN_FILE skin_files[] = {
    { "button", "button.ss", -1, TOOLKIT_STYLE_BUTTON },
    { "button", "button_hints.ss", -1, TOOLKIT_STYLE_BUTTON_HINT },
    { "button", "menu_button.ss", STYLE_MENU_BUTTON, -1 },
    { "menu", "menu_dropdown.ss", STYLE_MENU_DROPDOWN, -1 },
    { "menu", "menu_item.ss", STYLE_MENU_ITEM, -1 },
    { "menu", "menu_alt_item.ss", STYLE_MENU_ALT_ITEM, -1 },
    { "check_box", "check_box.ss", STYLE_CHECK_BOX, -1 },
    { "progress_bar", "progress_bar.ss", STYLE_PROGRESS_BAR, -1 },
    { "progress_bar", "progress_bar_script.ss", STYLE_PROGRESS_BAR_SCRIPT, -1 },
    { "dialog", "background.ss", -1, TOOLKIT_STYLE_BACKGROUND },
    { "dialog", "text.ss", STYLE_DIALOG_TEXT, -1 },
    { "dialog", "title.ss", -1, TOOLKIT_STYLE_TITLE },
    { "options", "options.ss", STYLE_OPTIONS, -1 },
    { "text_win", "scrollbar.ss", STYLE_SCROLL_BAR, -1 },
    { "text_win", "text_title.ss", STYLE_TEXT_TITLE, -1 },
    { "text_win", "text.ss", STYLE_TEXT_WINDOW, -1 },
    { "title", "title.ss", STYLE_TITLE, -1 },
};

WM_STYLE_SET* target_of(DATABASE* database, const SKIN_FILE& entry)
{
    if (entry.toolkit_style >= 0)
        return toolkit_style(entry.toolkit_style);
    return &database->style_sets[entry.database_style];
}

// A set is read into a temporary and copied only when the whole file read, so that a damaged
// file leaves the slot as it was rather than half-read.
bool load_style_file(const FOLDER& folder, const char* file_name, WM_STYLE_SET* target)
{
    if (!folder.exists(file_name))
        return false;
    WM_STYLE_SET* loaded = new (std::nothrow) WM_STYLE_SET;
    if (!loaded)
        return false;
    bool ok = loaded->load_file(folder, file_name) && target->assign(*loaded);
    delete loaded;
    return ok;
}

// The root of the tree: variables and "../" go through FOLDER from the data folder, an absolute
// path is taken as it is, anything else is below the data folder.
bool skin_root(const DATABASE* database, const char* text, FOLDER* root)
{
    *root = database->data_folder;
    if (text[0] == '/')
        return root->set_raw(text);
    if (text[0] == '$' || !strncmp(text, "..", 2))
        return root->set(text, false, &database->data_folder);
    char relative[ORLU_MAX_PATH];
    if (!format_text(relative, sizeof relative, "$HERE/%s", text))
        return false;
    return root->set(relative, false, &database->data_folder);
}

// An integer of dialog_effects.cfg: decimal, or hexadecimal with "0x". False when absent or not
// a number, so that the current value stays.
bool effect_value(CONFIG_FILE* config, const FOLDER& folder, const char* key, INT_S32* value)
{
    char text[CONFIG_VALUE_SIZE];
    if (!config->read_text(folder, key, text))
        return false;
    char* end = nullptr;
    long parsed = strtol(text, &end, 0);
    if (end == text)
        return false;
    *value = static_cast<INT_S32>(parsed);
    return true;
}

void load_dialog_effects(DATABASE* database, const FOLDER& root)
{
    database->progress_bar_animation_x_rate = 0;
    database->progress_bar_animation_y_rate = 0;
    database->progress_bar_animation_update_rate = 0;
    CONFIG_FILE config;
    config.open("dialog_effects.cfg", true);
    if (!config.load(root, true))
        return;
    TOOLKIT_DIALOG_EFFECT effect = toolkit_dialog_effect();
    INT_S32 value = 0;
    if (effect_value(&config, root, "flags", &value))
        effect.flags = static_cast<INT_U16>(value);
    if (effect_value(&config, root, "open_delay", &value))
        effect.open_delay = value;
    if (effect_value(&config, root, "display_delay", &value))
        effect.display_delay = value;
    if (effect_value(&config, root, "dragging_alpha", &value))
        effect.dragging_alpha = static_cast<INT_U8>(value);
    set_toolkit_dialog_effect(effect);
    if (effect_value(&config, root, "progress_bar_animation_x_rate", &value))
        database->progress_bar_animation_x_rate = static_cast<INT_S16>(value);
    if (effect_value(&config, root, "progress_bar_animation_y_rate", &value))
        database->progress_bar_animation_y_rate = static_cast<INT_S16>(value);
    if (effect_value(&config, root, "progress_bar_animation_update_rate", &value))
        database->progress_bar_animation_update_rate = static_cast<INT_S16>(value);
}

} // namespace

bool load_skin(DATABASE* database, const char* folder_text)
{
    return load_skin(database, folder_text, nullptr, nullptr);
}

bool load_skin(DATABASE* database, const char* folder_text, SKIN_UNREAD unread, void* context)
{
    if (!database || !folder_text)
        return false;
    debug_printf(&installer_debug, "Loading skin from: %s\n", folder_text);
    if (!copy_text(database->skin_path, folder_text))
        return false;

    FOLDER root;
    if (!skin_root(database, folder_text, &root))
        return false;
    debug_printf(&installer_debug, "Path set to: %s\n", root.path());

    // Pictures of the tree are read from their files, whatever the run's mode was.
    INT_U32 mode = style_set_image_mode;
    style_set_image_mode = CACHE_MUST_LOAD;
    char missing[ORLU_MAX_PATH * 2];
    auto tell = [&](const FOLDER& folder, const char* name) {
        if (unread && join_path_text(missing, folder.path(), name))
            unread(missing, context);
    };
    for (const SKIN_FILE& entry : skin_files) {
        FOLDER folder(root);
        if (!folder.enter(entry.folder, false)) {
            char file[ORLU_MAX_PATH];
            if (format_text(file, sizeof file, "%s/%s", entry.folder, entry.file))
                tell(root, file);
            continue;
        }
        bool loaded = load_style_file(folder, entry.file, target_of(database, entry));
        if (!loaded)
            tell(folder, entry.file);
        if (loaded && entry.toolkit_style == TOOLKIT_STYLE_BUTTON_HINT)
            set_toolkit_hints_present(true);
    }
    style_set_image_mode = mode;

    FOLDER icons(root);
    if (icons.enter("icons", false)) {
        for (INT_S32 icon = 0; icon < DATABASE_ICON_COUNT; ++icon) {
            IMAGE& image = database->icons[icon];
            if (!image.load(icons, icon_name(icon))) {
                image.set_size(0, 0);
                tell(icons, icon_name(icon));
            }
        }
    } else {
        tell(root, "icons/");
    }
    load_dialog_effects(database, root);
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Binary skin
// ---------------------------------------------------------------------------------------------

bool write_skin(const DATABASE* database, DATA_DEVICE* device)
{
    if (!database || !device)
        return false;
    bool ok = image_cache.put_to_data_device(device);
    for (INT_S32 style = 0; ok && style < DATABASE_STYLE_COUNT; ++style)
        ok = database->style_sets[style].put_to_data_device(device);
    for (INT_S32 icon = 0; ok && icon < DATABASE_ICON_COUNT; ++icon)
        ok = database->icons[icon].put_to_data_device(device);
    for (INT_S32 style = 0; ok && style < TOOLKIT_STYLE_COUNT; ++style)
        ok = toolkit_style(style)->put_to_data_device(device);
    TOOLKIT_DIALOG_EFFECT effect = toolkit_dialog_effect();
    ok = ok && device_write(device, effect.flags) && device_write(device, effect.open_delay)
        && device_write(device, effect.display_delay) && device_write(device, effect.dragging_alpha)
        && device_write(device, database->progress_bar_animation_x_rate)
        && device_write(device, database->progress_bar_animation_y_rate)
        && device_write(device, database->progress_bar_animation_update_rate);
    if (!ok)
        device->failed = 1;
    return ok;
}

static bool read_skin_items(DATABASE* database, DATA_DEVICE* device)
{
    if (!image_cache.get_from_data_device(device))
        return false;
    for (INT_S32 style = 0; style < DATABASE_STYLE_COUNT; ++style) {
        if (!database->style_sets[style].get_from_data_device(device))
            return false;
    }
    for (INT_S32 icon = 0; icon < DATABASE_ICON_COUNT; ++icon) {
        if (!database->icons[icon].get_from_data_device(device))
            return false;
    }
    WM_STYLE_SET held;
    for (INT_S32 style = 0; style < TOOLKIT_STYLE_COUNT; ++style) {
        if (!held.get_from_data_device(device) || !toolkit_style(style)->assign(held))
            return false;
    }
    set_toolkit_hints_present(true);
    TOOLKIT_DIALOG_EFFECT effect;
    if (!device_read(device, &effect.flags) || !device_read(device, &effect.open_delay)
        || !device_read(device, &effect.display_delay) || !device_read(device, &effect.dragging_alpha))
        return false;
    set_toolkit_dialog_effect(effect);
    return device_read(device, &database->progress_bar_animation_x_rate)
        && device_read(device, &database->progress_bar_animation_y_rate)
        && device_read(device, &database->progress_bar_animation_update_rate);
}

bool read_skin(DATABASE* database, DATA_DEVICE* device)
{
    if (!database || !device)
        return false;
    // Every picture of a binary skin came with its cache: none is looked for on disk.
    INT_U32 mode = style_set_image_mode;
    style_set_image_mode = CACHE_LOOK_ONLY;
    bool ok = read_skin_items(database, device);
    style_set_image_mode = mode;
    device->failed = !ok;
    return ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Stamped skin and the -s tool
// ---------------------------------------------------------------------------------------------

bool load_stamped_skin(DATABASE* database)
{
    if (!database || !own_file)
        return false;
    STAMP_RECORD record;
    INT_U32 position = own_file->tell();
    bool stamped = read_stamp(own_file, &record);
    if (!stamped || !(record.flags & STAMP_FLAG_SKIN)) {
        (void)own_file->seek(position, false);
        return false;
    }
    INT_U8 where = 0;
    if (!own_file->seek(record.skin_offset, false) || !device_read(own_file, &where))
        return false;
    if (where == 0)
        return read_skin(database, own_file);

    // The skin lies in a file of its own beside the configuration.
    DATA_FILE* file = database->data_folder.open_data_file(database->config_file_name.c_str(), FILE_READ,
        ORDER_MARKER_IN_FILE, false);
    if (!file)
        return false;
    bool ok = file->seek(record.skin_offset + 1, false) && read_skin(database, file);
    FOLDER::close_data_file(&file);
    return ok;
}

namespace {

void print_unread(const char* path, void*)
{
    host_printf("WARNING: %s could not be read; that part of the skin keeps the built-in look\n", path);
}

} // namespace

bool generate_skin_file(const char* path)
{
    if (!path)
        return false;
    DATABASE* database = new (std::nothrow) DATABASE;
    if (!database)
        return false;
    const char* const tree = "$APPDATA/vok";
    bool ok = load_skin(database, tree, print_unread, nullptr);
    if (!ok) {
        // Say where the tree was looked for, when the data folder itself is there.
        FOLDER data;
        if (data.set("$APPDATA"))
            host_printf("ERROR: the skin tree %s (%s/vok) cannot be read: there is no such folder\n", tree, data.path());
        else
            host_printf("ERROR: the skin tree %s cannot be read: there is no data folder beside the program\n", tree);
    }

    // The folder part goes through FOLDER; the name is what follows the last "/".
    const char* slash = strrchr(path, '/');
    char folder_text[ORLU_MAX_PATH];
    if (!format_text(folder_text, sizeof folder_text, "%.*s", slash ? static_cast<int>(slash - path) : 0, path))
        ok = false;
    const char* name = slash ? slash + 1 : path;
    FOLDER folder;
    bool folder_ok = true;
    if (folder_text[0] == '/')
        folder_ok = folder.set_raw(folder_text);
    else if (folder_text[0])
        folder_ok = folder.set(folder_text);
    DATA_FILE* file = ok && folder_ok ? folder.open_data_file(name, FILE_WRITE, ORDER_MARKER_IN_FILE, false) : nullptr;
    bool opened = file != nullptr;
    bool written = opened && write_skin(database, file);
    if (opened)
        written = file->close() && written;
    FOLDER::close_data_file(&file);
    delete database;
    if (ok && !written) {
        host_printf("ERROR: the skin cannot be written to %s\n", folder_ok ? folder.path_text(name) : path);
        // Half a skin reads as damage later: better none.
        if (opened)
            (void)folder.delete_file(name);
    }
    if (ok && written)
        host_printf("Skin written to %s\n", folder.path_text(name));
    debug_printf(&installer_debug, ok && written ? "Skin written to: %s\n" : "Skin not written: %s\n", path);
    return ok && written;
}

void generate_skin(const char* path)
{
    (void)generate_skin_file(path);
}
