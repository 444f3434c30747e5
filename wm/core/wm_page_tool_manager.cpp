// WM_PAGE_TOOL_MANAGER: the registry, its folder scans and the settings it hands on.
//
// [SECTION] Records
// [SECTION] Life
// [SECTION] Folder scans
// [SECTION] Lookups
// [SECTION] Adding and removing
// [SECTION] The page manager

#include "wm/core/wm_page_tool_manager.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/error_report.h"
#include "graphics/font.h"
#include "graphics/image.h"
#include "graphics/image_cache.h"
#include "graphics/image_cache_store.h"
#include "io/config_file.h"
#include "io/folder.h"
#include "wm/core/wm_host.h"
#include "wm/core/wm_page_manager.h"

namespace {

WM_PAGE_TOOL_MANAGER* active_tool_manager = nullptr;

char* copy_text(const char* text)
{
    if (!text)
        text = "";
    size_t length = strlen(text);
    char* copy = static_cast<char*>(malloc(length + 1));
    if (copy)
        memcpy(copy, text, length + 1);
    return copy;
}

template <typename RECORD>
void delete_record(void* item)
{
    delete static_cast<RECORD*>(item);
}

void delete_style_set(void* item)
{
    delete static_cast<WM_STYLE_SET*>(item);
}

// Name order for sorting and searching; the comparison is cut to -1, 0, 1 for PTRARRAY.
int sign_of(int value)
{
    return value < 0 ? -1 : value > 0 ? 1 : 0;
}

template <typename RECORD>
const char* name_of(const void* item)
{
    const char* name = static_cast<const RECORD*>(item)->name;
    return name ? name : "";
}

template <>
const char* name_of<WM_STYLE_SET>(const void* item)
{
    return static_cast<const WM_STYLE_SET*>(item)->get_name();
}

template <typename RECORD>
int compare_records(const void* a, const void* b, void*)
{
    return sign_of(strcmp(name_of<RECORD>(a), name_of<RECORD>(b)));
}

// Binary search of a sorted list by name.
template <typename RECORD>
RECORD* find_by_name(const PTRARRAY& list, const char* name, INT_S32* index)
{
    if (index)
        *index = -1;
    if (!name)
        return nullptr;
    INT_S32 low = 0, high = list.count() - 1;
    while (low <= high) {
        INT_S32 middle = low + (high - low) / 2;
        int order = strcmp(name_of<RECORD>(list.at(middle)), name);
        if (order == 0) {
            if (index)
                *index = middle;
            return static_cast<RECORD*>(list.at(middle));
        }
        if (order < 0)
            low = middle + 1;
        else
            high = middle - 1;
    }
    return nullptr;
}

// The file name without its extension, as the record's name.
void base_name(const char* file_name, char* out, size_t size)
{
    snprintf(out, size, "%s", file_name);
    char* dot = strrchr(out, '.');
    if (dot && dot != out)
        *dot = 0;
}

bool has_extension(const char* file_name, const char* extension)
{
    size_t length = strlen(file_name), wanted = strlen(extension);
    return length > wanted && strcasecmp(file_name + length - wanted, extension) == 0;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Records
// ---------------------------------------------------------------------------------------------

WM_PTM_FONT_INFO::~WM_PTM_FONT_INFO()
{
    free(name);
    free(file);
}

WM_PTM_COLOUR_INFO::~WM_PTM_COLOUR_INFO()
{
    free(name);
}

WM_PTM_IMAGE_INFO::~WM_PTM_IMAGE_INFO()
{
    free(name);
    free(file);
    if (image && !image_cache_destroyed)
        image_cache.release(image);
}

WM_PTM_CONSTANT_INFO::~WM_PTM_CONSTANT_INFO()
{
    free(name);
}

WM_PTM_PAGE_INFO::~WM_PTM_PAGE_INFO()
{
    free(name);
    free(title);
}

WM_PTM_AREA_INFO::~WM_PTM_AREA_INFO()
{
    free(name);
}

WM_PTM_DIALOG_INFO::~WM_PTM_DIALOG_INFO()
{
    free(name);
    free(title);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Life
// ---------------------------------------------------------------------------------------------

WM_PAGE_TOOL_MANAGER* page_tool_manager()
{
    return active_tool_manager;
}

WM_PAGE_TOOL_MANAGER::WM_PAGE_TOOL_MANAGER()
{
    if (active_tool_manager)
        fatal_error(0x6C, nullptr);
    active_tool_manager = this;
    m_areas.set_deleter(delete_record<WM_PTM_AREA_INFO>);
    m_style_sets.set_deleter(delete_style_set);
    m_fonts.set_deleter(delete_record<WM_PTM_FONT_INFO>);
    m_colours.set_deleter(delete_record<WM_PTM_COLOUR_INFO>);
    m_images.set_deleter(delete_record<WM_PTM_IMAGE_INFO>);
    m_constants.set_deleter(delete_record<WM_PTM_CONSTANT_INFO>);
    m_dialogs.set_deleter(delete_record<WM_PTM_DIALOG_INFO>);
}

WM_PAGE_TOOL_MANAGER::~WM_PAGE_TOOL_MANAGER()
{
    for (INT_S32 i = 0; i < m_areas.count(); ++i) {
        WM_PTM_AREA_INFO* area = static_cast<WM_PTM_AREA_INFO*>(m_areas.at(i));
        for (INT_S32 p = 0; p < area->pages.count(); ++p)
            delete static_cast<WM_PTM_PAGE_INFO*>(area->pages.at(p));
        area->pages.clear();
    }
    m_areas.free_all();
    m_style_sets.free_all();
    m_fonts.free_all();
    m_colours.free_all();
    m_images.free_all();
    m_constants.free_all();
    m_dialogs.free_all();
    if (m_owns_page_manager)
        delete page_manager;
    if (active_tool_manager == this)
        active_tool_manager = nullptr;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Folder scans
// ---------------------------------------------------------------------------------------------

INT_S32 WM_PAGE_TOOL_MANAGER::scan(const FOLDER& folder, const char* extension, INT_S32 depth, INT_S32* budget,
    bool (*take)(WM_PAGE_TOOL_MANAGER* tool, const FOLDER& folder, const char* file_name, void* context),
    void* context)
{
    if (depth > PTM_SCAN_DEPTH || *budget <= 0)
        return 0;
    INT_S32 taken = 0;
    DIRECTORY_ENTRY* files = nullptr;
    INT_S32 file_count = 0;
    folder.list_entries(false, SORT_BYTES, false, &files, &file_count, nullptr, MATCH_GLOB, 16, 16);
    for (INT_S32 i = 0; i < file_count && *budget > 0; ++i) {
        if (!has_extension(files[i].name, extension))
            continue;
        --*budget;
        if (take(this, folder, files[i].name, context))
            ++taken;
    }
    free_directory_entries(&files, &file_count);

    DIRECTORY_ENTRY* folders = nullptr;
    INT_S32 folder_count = 0;
    folder.list_entries(true, SORT_BYTES, false, &folders, &folder_count, nullptr, MATCH_GLOB, 16, 16);
    for (INT_S32 i = 0; i < folder_count && *budget > 0; ++i) {
        if (!strcmp(folders[i].name, ".") || !strcmp(folders[i].name, ".."))
            continue;
        FOLDER inner(folder);
        if (!inner.enter(folders[i].name, false))
            continue;
        taken += scan(inner, extension, depth + 1, budget, take, context);
    }
    free_directory_entries(&folders, &folder_count);
    return taken;
}

// The loaders, one per kind of record. PTM_LOADER is a friend, so that they reach the lists.
struct PTM_LOADER {
    static bool font(WM_PAGE_TOOL_MANAGER* tool, const FOLDER& folder, const char* file_name, void*)
    {
        WM_PTM_FONT_INFO* record = new (std::nothrow) WM_PTM_FONT_INFO;
        if (!record)
            return false;
        char name[256];
        base_name(file_name, name, sizeof name);
        record->name = copy_text(name);
        record->file = copy_text(file_name);
        snprintf(record->path, sizeof record->path, "%s", folder.path());
        if (!record->name || !record->file || !tool->m_fonts.add(record)) {
            delete record;
            return false;
        }
        if (tool->font_loading) {
            INT_S16 number = load_font(file_name, name, -1, &folder);
            if (number >= 0 && number < 255)
                record->font_id = static_cast<INT_U8>(number);
        }
        return true;
    }

    static INT_S32 font_lookup(const char* name, void* tool)
    {
        return static_cast<WM_PAGE_TOOL_MANAGER*>(tool)->font_number(name);
    }

    static bool style_set(WM_PAGE_TOOL_MANAGER* tool, const FOLDER& folder, const char* file_name, void* context)
    {
        bool update = context != nullptr;
        // A user's own copy of the file, at the same place under $USERPREFS, wins.
        FOLDER source(folder);
        FOLDER user;
        const char* relative = nullptr;
        FOLDER app;
        if (app.set("$APP") && !strncmp(folder.path(), app.path(), strlen(app.path())))
            relative = folder.path() + strlen(app.path());
        if (relative && user.set("$USERPREFS")) {
            while (*relative == '/')
                ++relative;
            if (!*relative || user.enter(relative, false)) {
                if (user.exists(file_name))
                    source = user;
            }
        }

        WM_STYLE_SET* set = new (std::nothrow) WM_STYLE_SET;
        if (!set)
            return false;
        char default_name[32];
        snprintf(default_name, sizeof default_name, "Style Set %d", static_cast<int>(tool->m_style_sets.count() + 1));
        set->set_name(default_name);
        if (!tool->m_style_sets.add(set)) {
            delete set;
            return false;
        }
        // A set that misses a mandatory key stays with what it read.
        CONFIG_FILE config;
        config.open(file_name, true);
        if (!config.load(source, true))
            return true;
        bool complete = set->read_config(&config, &source, font_lookup, tool, nullptr);
        if (complete && update)
            (void)set->save_file(source, file_name, nullptr, nullptr, nullptr);
        return true;
    }

    struct CFG_CONTEXT {
        WM_PAGE_TOOL_MANAGER* tool;
        const FOLDER* folder;
        INT_S32 kind; // 0 colours, 1 images, 2 constants
        INT_S32 taken;
    };

    static void cfg_entry(const char* id, const char* value, void* context)
    {
        CFG_CONTEXT* cfg = static_cast<CFG_CONTEXT*>(context);
        WM_PAGE_TOOL_MANAGER* tool = cfg->tool;
        if (cfg->kind == 0) {
            COLOUR parsed;
            colour_from_string(parsed, value);
            if (tool->add_colour(id, parsed))
                ++cfg->taken;
        } else if (cfg->kind == 1) {
            WM_PTM_IMAGE_INFO* record = new (std::nothrow) WM_PTM_IMAGE_INFO;
            if (!record)
                return;
            record->name = copy_text(id);
            record->file = copy_text(value);
            snprintf(record->path, sizeof record->path, "%s", cfg->folder->path());
            if (!record->name || !record->file || !tool->m_images.add(record)) {
                delete record;
                return;
            }
            record->image = image_cache.get(*cfg->folder, value, -1, -1, CACHE_MUST_LOAD);
            ++cfg->taken;
        } else {
            if (tool->add_constant(id, value))
                ++cfg->taken;
        }
    }

    static bool cfg_file(WM_PAGE_TOOL_MANAGER* tool, const FOLDER& folder, const char* file_name, void* context)
    {
        CFG_CONTEXT cfg { tool, &folder, static_cast<INT_S32>(reinterpret_cast<PTR_INT_CAST>(context)), 0 };
        CONFIG_FILE config;
        config.open(file_name, true);
        if (!config.load(folder, true))
            return false;
        config.read_all(folder, cfg_entry, &cfg);
        return cfg.taken > 0;
    }
};

namespace {

FOLDER folder_or_app(const FOLDER* folder)
{
    if (folder)
        return *folder;
    FOLDER app;
    (void)app.set("$APP");
    return app;
}

} // namespace

INT_S32 WM_PAGE_TOOL_MANAGER::load_sorted(const FOLDER* folder, PTRARRAY& list, const char* ending,
    const char* other_ending,
    bool (*take)(WM_PAGE_TOOL_MANAGER* tool, const FOLDER& folder, const char* file_name, void* context), void* context,
    ITEM_COMPARE compare)
{
    FOLDER where = folder_or_app(folder);
    INT_S32 budget = PTM_SCAN_FILES;
    INT_S32 before = list.count();
    scan(where, ending, 0, &budget, take, context);
    if (other_ending)
        scan(where, other_ending, 0, &budget, take, context);
    list.sort(compare, nullptr);
    return list.count() - before;
}

INT_S32 WM_PAGE_TOOL_MANAGER::load_fonts(const FOLDER* folder)
{
    return load_sorted(folder, m_fonts, ".ttf", ".otf", PTM_LOADER::font, nullptr, compare_records<WM_PTM_FONT_INFO>);
}

INT_S32 WM_PAGE_TOOL_MANAGER::load_style_sets(const FOLDER* folder, bool update)
{
    return load_sorted(folder, m_style_sets, ".ss", nullptr, PTM_LOADER::style_set, update ? this : nullptr,
        compare_records<WM_STYLE_SET>);
}

// The three kinds of record a .cfg file holds, told apart by the loader's context.
INT_S32 WM_PAGE_TOOL_MANAGER::load_colours(const FOLDER* folder)
{
    return load_sorted(folder, m_colours, ".cfg", nullptr, PTM_LOADER::cfg_file, reinterpret_cast<void*>(0),
        compare_records<WM_PTM_COLOUR_INFO>);
}

INT_S32 WM_PAGE_TOOL_MANAGER::load_images(const FOLDER* folder)
{
    return load_sorted(folder, m_images, ".cfg", nullptr, PTM_LOADER::cfg_file, reinterpret_cast<void*>(1),
        compare_records<WM_PTM_IMAGE_INFO>);
}

INT_S32 WM_PAGE_TOOL_MANAGER::load_constants(const FOLDER* folder)
{
    return load_sorted(folder, m_constants, ".cfg", nullptr, PTM_LOADER::cfg_file, reinterpret_cast<void*>(2),
        compare_records<WM_PTM_CONSTANT_INFO>);
}

void WM_PAGE_TOOL_MANAGER::sort_all()
{
    m_style_sets.sort(compare_records<WM_STYLE_SET>, nullptr);
    m_fonts.sort(compare_records<WM_PTM_FONT_INFO>, nullptr);
    m_colours.sort(compare_records<WM_PTM_COLOUR_INFO>, nullptr);
    m_images.sort(compare_records<WM_PTM_IMAGE_INFO>, nullptr);
    m_constants.sort(compare_records<WM_PTM_CONSTANT_INFO>, nullptr);
    m_dialogs.sort(compare_records<WM_PTM_DIALOG_INFO>, nullptr);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Lookups
// ---------------------------------------------------------------------------------------------

WM_STYLE_SET* WM_PAGE_TOOL_MANAGER::style_set(const char* name_in, INT_S32* index) const
{
    return find_by_name<WM_STYLE_SET>(m_style_sets, name_in, index);
}

WM_PTM_FONT_INFO* WM_PAGE_TOOL_MANAGER::font(const char* name_in, INT_S32* index) const
{
    return find_by_name<WM_PTM_FONT_INFO>(m_fonts, name_in, index);
}

WM_PTM_COLOUR_INFO* WM_PAGE_TOOL_MANAGER::colour(const char* name_in, INT_S32* index) const
{
    return find_by_name<WM_PTM_COLOUR_INFO>(m_colours, name_in, index);
}

WM_PTM_IMAGE_INFO* WM_PAGE_TOOL_MANAGER::image(const char* name_in, INT_S32* index) const
{
    return find_by_name<WM_PTM_IMAGE_INFO>(m_images, name_in, index);
}

WM_PTM_CONSTANT_INFO* WM_PAGE_TOOL_MANAGER::constant(const char* name_in, INT_S32* index) const
{
    return find_by_name<WM_PTM_CONSTANT_INFO>(m_constants, name_in, index);
}

WM_PTM_DIALOG_INFO* WM_PAGE_TOOL_MANAGER::dialog(const char* name_in, INT_S32* index) const
{
    return find_by_name<WM_PTM_DIALOG_INFO>(m_dialogs, name_in, index);
}

INT_S32 WM_PAGE_TOOL_MANAGER::font_number(const char* name_in) const
{
    WM_PTM_FONT_INFO* record = font(name_in);
    if (!record || record->font_id == 255)
        return -1;
    return record->font_id;
}

WM_STYLE_SET* WM_PAGE_TOOL_MANAGER::style_set_at(INT_S32 index) const
{
    return static_cast<WM_STYLE_SET*>(m_style_sets.at(index));
}

WM_PTM_AREA_INFO* WM_PAGE_TOOL_MANAGER::area_at(INT_S32 index) const
{
    return static_cast<WM_PTM_AREA_INFO*>(m_areas.at(index));
}

WM_PTM_IMAGE_INFO* WM_PAGE_TOOL_MANAGER::image_at(INT_S32 index) const
{
    return static_cast<WM_PTM_IMAGE_INFO*>(m_images.at(index));
}

WM_PTM_PAGE_INFO* WM_PAGE_TOOL_MANAGER::page(INT_S32 area, INT_U32 id) const
{
    WM_PTM_AREA_INFO* record = area_at(area);
    if (!record)
        return nullptr;
    for (INT_S32 i = 0; i < record->pages.count(); ++i) {
        WM_PTM_PAGE_INFO* candidate = static_cast<WM_PTM_PAGE_INFO*>(record->pages.at(i));
        if (candidate->id == id)
            return candidate;
    }
    return nullptr;
}

const char* WM_PAGE_TOOL_MANAGER::page_name(INT_S32 area, INT_U32 id) const
{
    WM_PTM_PAGE_INFO* record = page(area, id);
    return record ? record->name : nullptr;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Adding and removing
// ---------------------------------------------------------------------------------------------

WM_PTM_COLOUR_INFO* WM_PAGE_TOOL_MANAGER::add_colour(const char* name_in, const COLOUR& value)
{
    WM_PTM_COLOUR_INFO* record = new (std::nothrow) WM_PTM_COLOUR_INFO;
    if (!record)
        return nullptr;
    char default_name[32];
    snprintf(default_name, sizeof default_name, "Colour %d", static_cast<int>(m_colours.count() + 1));
    record->name = copy_text(name_in ? name_in : default_name);
    record->colour = value;
    if (!record->name || !m_colours.add(record)) {
        delete record;
        return nullptr;
    }
    return record;
}

WM_PTM_CONSTANT_INFO* WM_PAGE_TOOL_MANAGER::add_constant(const char* name_in, const char* value_text)
{
    WM_PTM_CONSTANT_INFO* record = new (std::nothrow) WM_PTM_CONSTANT_INFO;
    if (!record)
        return nullptr;
    char default_name[32];
    snprintf(default_name, sizeof default_name, "Constant %d", static_cast<int>(m_constants.count() + 1));
    record->name = copy_text(name_in ? name_in : default_name);
    // A constant is a whole number, a real number or a text, by what its value reads as.
    const char* text = value_text ? value_text : "";
    char* end = nullptr;
    long whole = strtol(text, &end, 10);
    if (*text && end && *end == 0 && whole >= -2147483647L - 1 && whole <= 2147483647L) {
        record->value.type = INT_S32_TYPE;
        record->value.set_int(&record->value.value, static_cast<INT_S32>(whole));
        record->value.set_int(&record->value.minimum, -2147483647 - 1);
        record->value.set_int(&record->value.maximum, 2147483647);
    } else {
        double real = strtod(text, &end);
        if (*text && end && *end == 0) {
            record->value.type = FLOAT_64_TYPE;
            record->value.set_real(&record->value.value, real);
            record->value.set_real(&record->value.minimum, -1.0e308);
            record->value.set_real(&record->value.maximum, 1.0e308);
        } else {
            PARAMETER as_text(text);
            record->value.copy_from(as_text);
        }
    }
    if (!record->name || !m_constants.add(record)) {
        delete record;
        return nullptr;
    }
    return record;
}

WM_STYLE_SET* WM_PAGE_TOOL_MANAGER::add_style_set(const char* name_in)
{
    WM_STYLE_SET* set = new (std::nothrow) WM_STYLE_SET;
    if (!set)
        return nullptr;
    char default_name[32];
    snprintf(default_name, sizeof default_name, "Style Set %d", static_cast<int>(m_style_sets.count() + 1));
    set->set_name(name_in ? name_in : default_name);
    if (!m_style_sets.add(set)) {
        delete set;
        return nullptr;
    }
    return set;
}

WM_PTM_AREA_INFO* WM_PAGE_TOOL_MANAGER::add_area(const char* name_in, INT_S16 x, INT_S16 y, INT_S16 width,
    INT_S16 height)
{
    WM_PTM_AREA_INFO* record = new (std::nothrow) WM_PTM_AREA_INFO;
    if (!record)
        return nullptr;
    char default_name[32];
    snprintf(default_name, sizeof default_name, "Area %d", static_cast<int>(m_areas.count() + 1));
    record->name = copy_text(name_in ? name_in : default_name);
    record->x = x;
    record->y = y;
    record->width = width;
    record->height = height;
    if (!record->name || !m_areas.add(record)) {
        delete record;
        return nullptr;
    }
    return record;
}

WM_PTM_PAGE_INFO* WM_PAGE_TOOL_MANAGER::add_page(INT_S32 area, INT_U32 id, const char* name_in, INT_S32 image_index)
{
    WM_PTM_AREA_INFO* owner = area_at(area);
    if (!owner)
        return nullptr;
    WM_PTM_PAGE_INFO* record = new (std::nothrow) WM_PTM_PAGE_INFO;
    if (!record)
        return nullptr;
    char default_name[32];
    snprintf(default_name, sizeof default_name, "Page %d", static_cast<int>(owner->pages.count() + 1));
    record->id = id;
    record->name = copy_text(name_in ? name_in : default_name);
    record->image_index = image_index;
    if (!record->name || !owner->pages.add(record)) {
        delete record;
        return nullptr;
    }
    return record;
}

WM_PTM_DIALOG_INFO* WM_PAGE_TOOL_MANAGER::add_dialog(const char* name_in, const char* title, INT_S16 x, INT_S16 y,
    INT_S16 width, INT_S16 height)
{
    WM_PTM_DIALOG_INFO* record = new (std::nothrow) WM_PTM_DIALOG_INFO;
    if (!record)
        return nullptr;
    char default_name[32];
    snprintf(default_name, sizeof default_name, "Dialog %d", static_cast<int>(m_dialogs.count() + 1));
    record->name = copy_text(name_in ? name_in : default_name);
    record->title = copy_text(title);
    record->x = x;
    record->y = y;
    record->width = width;
    record->height = height;
    if (!record->name || !record->title || !m_dialogs.add(record)) {
        delete record;
        return nullptr;
    }
    return record;
}

bool WM_PAGE_TOOL_MANAGER::remove_colour(INT_S32 index)
{
    return m_colours.remove_ordered(index);
}

bool WM_PAGE_TOOL_MANAGER::remove_constant(INT_S32 index)
{
    return m_constants.remove_ordered(index);
}

bool WM_PAGE_TOOL_MANAGER::remove_style_set(INT_S32 index)
{
    return m_style_sets.remove_ordered(index);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The page manager
// ---------------------------------------------------------------------------------------------

WM_PAGE_MANAGER* WM_PAGE_TOOL_MANAGER::make_page_manager(WM_PAGE_MANAGER* existing)
{
    if (existing) {
        page_manager = existing;
    } else if (!page_manager) {
        INT_S32 count = m_areas.count() > 0 ? m_areas.count() : 1;
        page_manager = new (std::nothrow) WM_PAGE_MANAGER(count, 256);
        if (!page_manager)
            return nullptr;
        m_owns_page_manager = true;
        for (INT_S32 i = 0; i < m_areas.count(); ++i) {
            const WM_PTM_AREA_INFO* record = area_at(i);
            PAGE_AREA* area = page_manager->areas[i];
            area->set_position(record->x, record->y);
            if (record->width > 0 && record->height > 0) {
                area->set_size(record->width, record->height, false);
                area->follows_display = 0;
            }
        }
    }
    if (!loaded)
        return page_manager;

    page_manager->fade_first_page = fade_first_page;
    page_manager->transition_time = transition_time;
    page_manager->tick_period = default_tick > 0 ? static_cast<INT_U32>(default_tick) : 0;
    page_manager->background_colour = background_colour;
    wm_toolkit.theme_shading_type = static_cast<INT_U8>(theme_shading_type);
    wm_toolkit.theme_dark_colour = theme_dark_colour;
    wm_toolkit.theme_light_colour = theme_light_colour;
    wm_toolkit.theme_mid_colour = theme_mid_colour;
    wm_toolkit.theme_outline_colour = theme_outline_colour;
    set_toolkit_dialog_effect(dialog_effect);
    (void)toolkit_style(TOOLKIT_STYLE_BUTTON_HINT)->assign(default_styles[PTM_DEFAULT_STYLE]);
    (void)toolkit_style(TOOLKIT_STYLE_BACKGROUND)->assign(default_styles[PTM_DIALOG_STYLE]);
    (void)toolkit_style(TOOLKIT_STYLE_TITLE)->assign(default_styles[PTM_TITLE_STYLE]);
    (void)toolkit_style(TOOLKIT_STYLE_BUTTON)->assign(default_styles[PTM_BUTTON_STYLE]);
    set_toolkit_hints_present(true);
    return page_manager;
}

bool WM_PAGE_TOOL_MANAGER::show_page(INT_U32 id, WM_ADD_OBJECTS add_objects, INT_S32 area)
{
    WM_PAGE_MANAGER* manager = page_manager ? page_manager : wm_toolkit.page_manager;
    if (!manager)
        return false;
    INT_S32 index = area == -1 ? manager->current_area : area;
    if (index < 0 || index >= manager->area_count)
        return false;
    WM_PTM_PAGE_INFO* record = page(index, id);
    if (!record)
        return false;
    PAGE_AREA* target = manager->areas[index];

    WM_PTM_IMAGE_INFO* picture = image_at(record->image_index);
    if (picture && picture->image && picture->image->has_pixels()) {
        INT_S32 display = wm_display_at(target->x, target->y);
        IMAGE& background = manager->background[display >= 0 && display < PAGE_MANAGER_DISPLAYS ? display : 0];
        INT_S32 screen_width = wm_display_width(display), screen_height = wm_display_height(display);
        if (screen_width > 0 && screen_height > 0
            && (background.width != screen_width || background.height != screen_height))
            background.set_size(static_cast<INT_S16>(screen_width), static_cast<INT_S16>(screen_height));
        // The picture, scaled to the area, where the area lies on the display.
        IMAGE scaled_copy(picture->image->width, picture->image->height);
        IMAGE::blit(&scaled_copy, picture->image, 0, 0, 0, 0, picture->image->width, picture->image->height, BLIT_COPY);
        scaled_copy.scale(static_cast<INT_S16>(target->get_width()), static_cast<INT_S16>(target->get_height()),
            !fast_image_scaling);
        IMAGE::blit(&background, &scaled_copy, 0, 0, target->x, target->y, scaled_copy.width, scaled_copy.height,
            BLIT_COPY);
        target->mark_dirty();
    }
    if (add_objects)
        add_objects(this, record, target);
    target->current_entry().id = id;
    return true;
}

void WM_PAGE_TOOL_MANAGER::set_design_size(INT_S32 width, INT_S32 height, bool rescale)
{
    if (width == 65535)
        width = wm_display_width(0);
    if (height == 65535)
        height = wm_display_height(0);
    if (width < 1 || height < 1)
        return;
    if (rescale && design_width > 0 && design_height > 0 && (width != design_width || height != design_height)) {
        auto scale = [](INT_S32 value, INT_S32 to, INT_S32 from) {
            return static_cast<INT_S16>(static_cast<INT_S64>(value) * to / from);
        };
        for (INT_S32 i = 0; i < m_areas.count(); ++i) {
            WM_PTM_AREA_INFO* record = area_at(i);
            record->x = scale(record->x, width, design_width);
            record->y = scale(record->y, height, design_height);
            record->width = scale(record->width, width, design_width);
            record->height = scale(record->height, height, design_height);
        }
        for (INT_S32 i = 0; i < m_style_sets.count(); ++i)
            style_set_at(i)->rescale(static_cast<INT_S16>(design_width), static_cast<INT_S16>(design_height),
                static_cast<INT_S16>(width), static_cast<INT_S16>(height));
        for (WM_STYLE_SET& set : default_styles)
            set.rescale(static_cast<INT_S16>(design_width), static_cast<INT_S16>(design_height),
                static_cast<INT_S16>(width), static_cast<INT_S16>(height));
    }
    design_width = static_cast<INT_U16>(width);
    design_height = static_cast<INT_U16>(height);
}
