// WM_PAGE_TOOL_MANAGER: the registry of everything a user interface looks up by name: style
// sets, fonts, colours, images, constants (PARAMETERs), dialogs, and the areas with their pages.
// It is filled from folders of `.ss`, `.ttf`/`.otf` and `.cfg` files, sorted by name, and
// searched by binary search. It also holds the application-wide settings (design size, theme,
// transition time, default style sets) and hands them to the page manager.
//
// One instance may be active; a second is a fatal error.
//
// [SECTION] Records
// [SECTION] WM_PAGE_TOOL_MANAGER
#pragma once

#include "base/containers.h"
#include "base/orlu_types.h"
#include "base/parameter.h"
#include "graphics/colour.h"
#include "wm/core/wm_look.h"
#include "wm/core/wm_style_set.h"

class FOLDER;
class IMAGE;
class WM_PAGE_MANAGER;
class WM_PAGE_TOOL_MANAGER;
class WM_SCREEN_OBJECT;

// ---------------------------------------------------------------------------------------------
// [SECTION] Records
// ---------------------------------------------------------------------------------------------

// Names are owned copies; null only when memory ran out.
struct WM_PTM_FONT_INFO {
    ~WM_PTM_FONT_INFO();
    char* name { nullptr };
    char* file { nullptr };
    char path[ORLU_MAX_PATH] {};
    INT_U8 font_id { 255 }; // 255: not opened
};

struct WM_PTM_COLOUR_INFO {
    ~WM_PTM_COLOUR_INFO();
    char* name { nullptr };
    COLOUR colour {};
};

struct WM_PTM_IMAGE_INFO {
    ~WM_PTM_IMAGE_INFO();
    char* name { nullptr };
    char* file { nullptr };
    char path[ORLU_MAX_PATH] {};
    IMAGE* image { nullptr }; // one reference in the image cache; null when it did not load
};

struct WM_PTM_CONSTANT_INFO {
    ~WM_PTM_CONSTANT_INFO();
    char* name { nullptr };
    PARAMETER value;
};

struct WM_PTM_PAGE_INFO {
    ~WM_PTM_PAGE_INFO();
    INT_U32 id { 0 };
    char* name { nullptr };
    INT_S32 image_index { -1 }; // into the images; -1 none
    INT_U32 tick { 0 };         // milliseconds; 0 takes the default tick
    char* title { nullptr };
};

struct WM_PTM_AREA_INFO {
    ~WM_PTM_AREA_INFO();
    char* name { nullptr };
    INT_S16 x { 0 };
    INT_S16 y { 0 };
    INT_S16 width { 0 };
    INT_S16 height { 0 };
    INT_U32 flags { 0 };
    PTRARRAY pages;             // WM_PTM_PAGE_INFO*, owned
};

struct WM_PTM_DIALOG_INFO {
    ~WM_PTM_DIALOG_INFO();
    char* name { nullptr };
    char* title { nullptr };
    INT_S16 x { 0 };
    INT_S16 y { 0 };
    INT_S16 width { 0 };
    INT_S16 height { 0 };
};

// Makes the objects of a page shown by show_page; `parent` is the area.
typedef void (*WM_ADD_OBJECTS)(WM_PAGE_TOOL_MANAGER* tool, const WM_PTM_PAGE_INFO* page, WM_SCREEN_OBJECT* parent);

// ---------------------------------------------------------------------------------------------
// [SECTION] WM_PAGE_TOOL_MANAGER
// ---------------------------------------------------------------------------------------------

// The four default style sets, in the order of the application settings.
enum WM_PTM_DEFAULT_STYLE : INT_S32 {
    PTM_DEFAULT_STYLE = 0, // hints and small text
    PTM_DIALOG_STYLE,
    PTM_TITLE_STYLE,
    PTM_BUTTON_STYLE,
    PTM_DEFAULT_STYLE_COUNT
};

// Limits of what a folder scan takes in, so that a deep or looping tree of links ends.
constexpr INT_S32 PTM_SCAN_DEPTH = 16;
constexpr INT_S32 PTM_SCAN_FILES = 4096;

class WM_PAGE_TOOL_MANAGER {
public:
    // Fatal 0x6C when another one is active.
    WM_PAGE_TOOL_MANAGER();
    ~WM_PAGE_TOOL_MANAGER();
    WM_PAGE_TOOL_MANAGER(const WM_PAGE_TOOL_MANAGER&) = delete;
    WM_PAGE_TOOL_MANAGER& operator=(const WM_PAGE_TOOL_MANAGER&) = delete;

    // --- Loading from folders (a null folder is "$APP"); each answers how many it took in --------
    // Every ".ttf", then every ".otf", subfolders included; named by the file name without its
    // extension. With font_loading the fonts are opened (font_id set).
    INT_S32 load_fonts(const FOLDER* folder);
    // Every ".ss" file, subfolders included, as one set named "Style Set %d" unless the file
    // names it. A copy under "$USERPREFS" with the same place in the tree is read instead when
    // there is one. With `update`, each set read from a writable file is written back in the
    // newest form. A file missing a mandatory key stays in the list with what it read.
    INT_S32 load_style_sets(const FOLDER* folder, bool update);
    // Every key of every ".cfg" file, subfolders included, makes one record: a colour, an
    // image file name (the image is taken from the image cache), or a constant.
    INT_S32 load_colours(const FOLDER* folder);
    INT_S32 load_images(const FOLDER* folder);
    INT_S32 load_constants(const FOLDER* folder);
    // Puts each list in name order, for the lookups.
    void sort_all();

    // --- Lookups by name (binary search; the lists must be sorted). `index` gets the index or -1.
    [[nodiscard]] WM_STYLE_SET* style_set(const char* name, INT_S32* index = nullptr) const;
    [[nodiscard]] WM_PTM_FONT_INFO* font(const char* name, INT_S32* index = nullptr) const;
    [[nodiscard]] WM_PTM_COLOUR_INFO* colour(const char* name, INT_S32* index = nullptr) const;
    [[nodiscard]] WM_PTM_IMAGE_INFO* image(const char* name, INT_S32* index = nullptr) const;
    [[nodiscard]] WM_PTM_CONSTANT_INFO* constant(const char* name, INT_S32* index = nullptr) const;
    [[nodiscard]] WM_PTM_DIALOG_INFO* dialog(const char* name, INT_S32* index = nullptr) const;
    // The font number of a font's name, -1 when unknown: the font lookup of `.ss` files.
    [[nodiscard]] INT_S32 font_number(const char* name) const;

    // --- Adding records by hand (the add operations of the lists) --------------------------------
    // Each appends a record with the default name ("Colour %d", ...) when `name` is null.
    WM_PTM_COLOUR_INFO* add_colour(const char* name, const COLOUR& value);
    WM_PTM_CONSTANT_INFO* add_constant(const char* name, const char* value_text);
    WM_STYLE_SET* add_style_set(const char* name);
    WM_PTM_AREA_INFO* add_area(const char* name, INT_S16 x, INT_S16 y, INT_S16 width, INT_S16 height);
    WM_PTM_PAGE_INFO* add_page(INT_S32 area, INT_U32 id, const char* name, INT_S32 image_index);
    WM_PTM_DIALOG_INFO* add_dialog(const char* name, const char* title, INT_S16 x, INT_S16 y, INT_S16 width,
        INT_S16 height);
    // Removes a record of a list by index; false outside.
    bool remove_colour(INT_S32 index);
    bool remove_constant(INT_S32 index);
    bool remove_style_set(INT_S32 index);

    // --- Counts and records by index ------------------------------------------------------------
    [[nodiscard]] INT_S32 style_set_count() const { return m_style_sets.count(); }
    [[nodiscard]] INT_S32 font_count() const { return m_fonts.count(); }
    [[nodiscard]] INT_S32 colour_count() const { return m_colours.count(); }
    [[nodiscard]] INT_S32 image_count() const { return m_images.count(); }
    [[nodiscard]] INT_S32 constant_count() const { return m_constants.count(); }
    [[nodiscard]] INT_S32 dialog_count() const { return m_dialogs.count(); }
    [[nodiscard]] INT_S32 area_count() const { return m_areas.count(); }
    [[nodiscard]] WM_STYLE_SET* style_set_at(INT_S32 index) const;
    [[nodiscard]] WM_PTM_AREA_INFO* area_at(INT_S32 index) const;
    [[nodiscard]] WM_PTM_IMAGE_INFO* image_at(INT_S32 index) const;
    [[nodiscard]] WM_PTM_PAGE_INFO* page(INT_S32 area, INT_U32 id) const;
    // The page's name for the history dump; null when the area has no such page.
    [[nodiscard]] const char* page_name(INT_S32 area, INT_U32 id) const;

    // --- The page manager ------------------------------------------------------------------------
    // Takes `existing`, or makes the page manager with one area per area record (at least one).
    // With settings loaded, applies them: dialog effect, theme, tick period, transition time,
    // first-page fade, background colour, the default style sets.
    WM_PAGE_MANAGER* make_page_manager(WM_PAGE_MANAGER* existing);
    // Shows the page `id` of the area: its image scaled over the area into the display's
    // background, its objects made by `add_objects`, its id stored as the current entry's.
    // False when the area or the page does not exist.
    bool show_page(INT_U32 id, WM_ADD_OBJECTS add_objects, INT_S32 area);
    // New design size; with `rescale` every area rectangle and style set is first converted by
    // new over old (integers, toward zero). 65535 stands for the screen's size.
    void set_design_size(INT_S32 width, INT_S32 height, bool rescale);

    // --- Application settings (what a description file carries) ---------------------------------
    char name[256] {};
    INT_U16 design_width { 640 };
    INT_U16 design_height { 480 };
    INT_U8 fade_first_page { 0 };
    INT_U32 transition_time { 700 };
    INT_S32 default_tick { 10 };
    COLOUR background_colour { COLOUR::from_argb(0xFF000000u) };
    COLOUR theme_dark_colour {};
    COLOUR theme_light_colour {};
    COLOUR theme_mid_colour {};
    COLOUR theme_outline_colour {};
    INT_S32 theme_shading_type { 6 };
    TOOLKIT_DIALOG_EFFECT dialog_effect {};
    WM_STYLE_SET default_styles[PTM_DEFAULT_STYLE_COUNT];
    INT_U8 solid_drag { 1 };
    INT_U8 dialogs_draggable { 1 };
    INT_U8 grey_behind { 1 };
    INT_U8 darken_behind { 0 };
    // Set when the settings came from a description; make_page_manager applies them only then.
    INT_U8 loaded { 0 };
    // Fonts are opened as they are registered.
    INT_U8 font_loading { 1 };
    WM_PAGE_MANAGER* page_manager { nullptr };

private:
    INT_S32 scan(const FOLDER& folder, const char* extension, INT_S32 depth, INT_S32* budget,
        bool (*take)(WM_PAGE_TOOL_MANAGER* tool, const FOLDER& folder, const char* file_name, void* context),
        void* context);
    // Scans the folder (null: $APP) for files ending in `ending` (and `other_ending`, when given)
    // under one budget into `list`, then sorts it by name. The number of records added.
    INT_S32 load_sorted(const FOLDER* folder, PTRARRAY& list, const char* ending, const char* other_ending,
        bool (*take)(WM_PAGE_TOOL_MANAGER* tool, const FOLDER& folder, const char* file_name, void* context),
        void* context, ITEM_COMPARE compare);

    PTRARRAY m_areas;     // WM_PTM_AREA_INFO*
    PTRARRAY m_style_sets; // WM_STYLE_SET*
    PTRARRAY m_fonts;     // WM_PTM_FONT_INFO*
    PTRARRAY m_colours;   // WM_PTM_COLOUR_INFO*
    PTRARRAY m_images;    // WM_PTM_IMAGE_INFO*
    PTRARRAY m_constants; // WM_PTM_CONSTANT_INFO*
    PTRARRAY m_dialogs;   // WM_PTM_DIALOG_INFO*
    bool m_owns_page_manager { false };

    friend struct PTM_LOADER;
};

// The active tool manager, or null.
[[nodiscard]] WM_PAGE_TOOL_MANAGER* page_tool_manager();
