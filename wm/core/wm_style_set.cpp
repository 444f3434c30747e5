// WM_STYLE_SET: defaults, images, the `.ss` text form, rescaling and the binary stream.
//
// [SECTION] Tables
// [SECTION] Settings of the run
// [SECTION] Life and strings
// [SECTION] Images
// [SECTION] The `.ss` file
// [SECTION] Rescaling and text flags
// [SECTION] Stream form

#include "wm/core/wm_style_set.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "io/config_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "graphics/font.h"
#include "graphics/image_cache_store.h"
#include "graphics/tiled_image.h"
#include "wm/core/wm_style.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Tables
// ---------------------------------------------------------------------------------------------

namespace {

const char* const image_suffixes[STYLE_IMAGE_COUNT] = {
    "%s", "%s_up", "%s_down", "%s_disabled", "%s_over", "%s_active_up", "%s_active_down",
    "%s_active_disabled", "%s_active_over", "%s_highlighted", "%s_over_highlighted", "%s_alternate",
    "%s_flashing", "%s_dragging", "%s_bg", "%s_empty", "%s_full", "%s_bar", "%s_bar_disabled",
    "%s_bar_over", "%s_slider_up", "%s_slider_down", "%s_slider_disabled", "%s_slider_over",
    "%s_less_up", "%s_less_down", "%s_less_disabled", "%s_less_over", "%s_more_up", "%s_more_down",
    "%s_more_disabled", "%s_more_over",
};

struct FLAG_KEY {
    const char* key;
    INT_U32 bit;
    const char* older_key; // the "ssf_" name an ext flag had before it moved, or null
};

// In the order in which they are read and written.
const FLAG_KEY flag_keys[] = {
    { "ssf_draw_border", ssf_draw_border, nullptr },
    { "ssf_indent_border", ssf_indent_border, nullptr },
    { "ssf_outstanding_border", ssf_outstanding_border, nullptr },
    { "ssf_hfading", ssf_hfading, nullptr },
    { "ssf_vfading", ssf_vfading, nullptr },
    { "ssf_darkened_background", ssf_darkened_background, nullptr },
    { "ssf_left_justify_text", ssf_left_justify_text, nullptr },
    { "ssf_right_justify_text", ssf_right_justify_text, nullptr },
    { "ssf_top_align_text", ssf_top_align_text, nullptr },
    { "ssf_bottom_align_text", ssf_bottom_align_text, nullptr },
    { "ssf_use_text_colour_for_outline", ssf_use_text_colour_for_outline, nullptr },
    { "ssf_shadow_text", ssf_shadow_text, nullptr },
    { "ssf_inset_text", ssf_inset_text, nullptr },
    { "ssf_chiseled_text", ssf_chiseled_text, nullptr },
    { "ssf_disabled", ssf_disabled, nullptr },
    { "ssf_icon_left", ssf_icon_left, nullptr },
    { "ssf_icon_right", ssf_icon_right, nullptr },
    { "ssf_icon_top", ssf_icon_top, nullptr },
    { "ssf_icon_bottom", ssf_icon_bottom, nullptr },
    { "ssf_icon_attach_to_text", ssf_icon_attach_to_text, nullptr },
    { "ssf_wrap_text", ssf_wrap_text, nullptr },
    { "ssf_dont_resize_image", ssf_dont_resize_image, nullptr },
    { "ssf_reflect_text", ssf_reflect_text, nullptr },
};

const FLAG_KEY ext_flag_keys[] = {
    { "ssef_invert_vfading_on_press", ssef_invert_vfading_on_press, "ssf_invert_vfading_on_press" },
    { "ssef_indent_when_active", ssef_indent_when_active, "ssf_indent_when_active" },
    { "ssef_left_arrow", ssef_left_arrow, "ssf_left_arrow" },
    { "ssef_right_arrow", ssef_right_arrow, "ssf_right_arrow" },
    { "ssef_up_arrow", ssef_up_arrow, "ssf_up_arrow" },
    { "ssef_down_arrow", ssef_down_arrow, "ssf_down_arrow" },
    { "ssef_auto_depress", ssef_auto_depress, "ssf_auto_depress" },
    { "ssef_auto_actiavte", ssef_auto_actiavte, "ssf_auto_actiavte" },
    { "ssef_dont_mask_click", ssef_dont_mask_click, nullptr },
    { "ssef_sb_horizontal", ssef_sb_horizontal, "ssf_sb_horizontal" },
    { "ssef_sb_with_buttons", ssef_sb_with_buttons, "ssf_sb_with_buttons" },
    { "ssef_te_password", ssef_te_password, "ssf_te_password" },
    { "ssef_grid_fix_top_row", ssef_grid_fix_top_row, "ssf_grid_fix_top_row" },
    { "ssef_grid_two_tone", ssef_grid_two_tone, "ssf_grid_two_tone" },
    { "ssef_grid_type_lines", ssef_grid_type_lines, "ssf_grid_type_lines" },
    { "ssef_grid_type_cells", ssef_grid_type_cells, "ssf_grid_type_cells" },
    { "ssef_grid_scroll_by_line", ssef_grid_scroll_by_line, nullptr },
    { "ssef_grid_no_scrollbar", ssef_grid_no_scrollbar, nullptr },
    { "ssef_grid_only_draw_used_lines", ssef_grid_only_draw_used_lines, nullptr },
    { "ssef_grid_dont_shorten_scrollbar", ssef_grid_dont_shorten_scrollbar, nullptr },
    { "ssef_grid_dont_pad_odd_space", ssef_grid_dont_pad_odd_space, nullptr },
    { "ssef_grid_underline_y_spacing", ssef_grid_underline_y_spacing, nullptr },
    { "ssef_pb_only_draw_bar", ssef_pb_only_draw_bar, nullptr },
    { "ssef_pb_vertical", ssef_pb_vertical, nullptr },
    { "ssef_pb_no_shading", ssef_pb_no_shading, nullptr },
    { "ssef_pb_position_text_on_bar", ssef_pb_position_text_on_bar, nullptr },
    { "ssef_pb_draw_alt_percentage", ssef_pb_draw_alt_percentage, nullptr },
    { "ssef_fm_hide_scrolling_arrows", ssef_fm_hide_scrolling_arrows, nullptr },
};

const FLAG_KEY scale_flag_keys[] = {
    { "sssf_retain_width", sssf_retain_width, nullptr },
    { "sssf_retain_left_border", sssf_retain_left_border, nullptr },
    { "sssf_retain_right_border", sssf_retain_right_border, nullptr },
    { "sssf_retain_x_font_size", sssf_retain_x_font_size, nullptr },
    { "sssf_retain_height", sssf_retain_height, nullptr },
    { "sssf_retain_top_border", sssf_retain_top_border, nullptr },
    { "sssf_retain_bottom_border", sssf_retain_bottom_border, nullptr },
    { "sssf_retain_y_font_size", sssf_retain_y_font_size, nullptr },
};

COLOUR WM_STYLE_SET::* const colour_fields[WM_STYLE_SET::COLOUR_COUNT] = {
    &WM_STYLE_SET::fg_colour, &WM_STYLE_SET::bg_colour, &WM_STYLE_SET::fading_colour,
    &WM_STYLE_SET::highlight_colour, &WM_STYLE_SET::highlight_text_colour, &WM_STYLE_SET::active_colour,
    &WM_STYLE_SET::active_text_colour, &WM_STYLE_SET::shading_base_colour, &WM_STYLE_SET::mouse_over_colour,
    &WM_STYLE_SET::mouse_over_text_colour, &WM_STYLE_SET::flashing_colour,
    &WM_STYLE_SET::flashing_text_colour, &WM_STYLE_SET::disabled_colour,
    &WM_STYLE_SET::disabled_text_colour, &WM_STYLE_SET::underline_colour,
};

const char* const colour_keys[WM_STYLE_SET::COLOUR_COUNT] = {
    "fg_colour", "bg_colour", "fading_colour", "highlight_colour", "highlight_text_colour", "active_colour",
    "active_text_colour", "shading_base_colour", "mouse_over_colour", "mouse_over_text_colour",
    "flashing_colour", "flashing_text_colour", "disabled_colour", "disabled_text_colour", "underline_colour",
};
// The first six colours must be in a file; the others are invisible when absent.
constexpr INT_S32 MANDATORY_COLOURS = 6;

// The 16-bit measures from font_x_sz to grid_two_tone_value, in field order: the stream and the
// `.ss` file both walk them in this order (the font sizes are handled apart in the file).
INT_S16 WM_STYLE_SET::* const measure_fields[] = {
    &WM_STYLE_SET::font_x_sz, &WM_STYLE_SET::font_y_sz, &WM_STYLE_SET::border_left_gap,
    &WM_STYLE_SET::border_right_gap, &WM_STYLE_SET::border_top_gap, &WM_STYLE_SET::border_bottom_gap,
    &WM_STYLE_SET::cell_left_gap, &WM_STYLE_SET::cell_right_gap, &WM_STYLE_SET::cell_top_gap,
    &WM_STYLE_SET::cell_bottom_gap, &WM_STYLE_SET::x_spacing, &WM_STYLE_SET::y_spacing,
    &WM_STYLE_SET::scrollbar_button_width, &WM_STYLE_SET::scrollbar_slider_width,
    &WM_STYLE_SET::grid_scrollbar_width, &WM_STYLE_SET::grid_two_tone_value,
};
const char* const measure_keys[] = {
    "font_x_sz", "font_y_sz", "border_left_gap", "border_right_gap", "border_top_gap", "border_bottom_gap",
    "cell_left_gap", "cell_right_gap", "cell_top_gap", "cell_bottom_gap", "x_spacing", "y_spacing",
    "scrollbar_button_width", "scrollbar_slider_width", "grid_scrollbar_width", "grid_two_tone_value",
};
constexpr INT_S32 MEASURE_COUNT = sizeof measure_fields / sizeof measure_fields[0];
static_assert(MEASURE_COUNT == 16, "sixteen measures in the stream");

// A file name is at most this long on any disk we install to.
constexpr size_t MAX_IMAGE_NAME = 255;

char* copy_text(const char* text)
{
    size_t length = strlen(text);
    char* copy = new (std::nothrow) char[length + 1];
    if (copy)
        memcpy(copy, text, length + 1);
    return copy;
}

INT_S16 clamp_s16(INT_S64 value)
{
    if (value > 32767)
        return 32767;
    if (value < -32768)
        return -32768;
    return static_cast<INT_S16>(value);
}

// Products with a factor truncate toward zero, then wrap into 16 bits as a plain conversion does.
INT_S16 scaled(INT_S16 value, FLOAT_64 factor)
{
    FLOAT_64 product = value * factor;
    if (product >= 32767.0)
        return 32767;
    if (product <= -32768.0)
        return -32768;
    return static_cast<INT_S16>(product);
}

// The path field is zero behind its text, so that the stream form of a set never depends on
// what the field held before.
void store_path(char* field, const char* text)
{
    memset(field, 0, ORLU_MAX_PATH);
    snprintf(field, ORLU_MAX_PATH, "%s", text);
}

} // namespace

const char* style_image_suffix(INT_S32 slot)
{
    if (slot < 0 || slot >= STYLE_IMAGE_COUNT)
        return nullptr;
    return image_suffixes[slot];
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Settings of the run
// ---------------------------------------------------------------------------------------------

bool style_set_image_loading = true;
INT_U32 style_set_image_mode = 1;

// ---------------------------------------------------------------------------------------------
// [SECTION] Life and strings
// ---------------------------------------------------------------------------------------------

WM_STYLE_SET::WM_STYLE_SET() = default;

WM_STYLE_SET::~WM_STYLE_SET()
{
    clear_images();
    delete[] image_filename;
    delete[] name;
}

void WM_STYLE_SET::reset()
{
    clear_images();
    delete[] image_filename;
    delete[] name;
    image_filename = nullptr;
    name = nullptr;

    memset(image_path, 0, sizeof image_path);
    shading_type = 1;
    for (INT_S32 i = 0; i < COLOUR_COUNT; ++i)
        this->*colour_fields[i] = COLOUR_INVISIBLE;
    fg_colour = COLOUR_WHITE;
    bg_colour = COLOUR_BLACK;
    visible = 1;
    flags = ssf_draw_border | ssf_outstanding_border;
    ext_flags = 0;
    scale_flags = STYLE_DEFAULT_SCALE_FLAGS;
    shading_flags = 255;
    font_id = 255;
    for (INT_S32 i = 0; i < 10; ++i)
        this->*measure_fields[i] = -1;
    x_spacing = 1;
    y_spacing = 1;
    scrollbar_button_width = 15;
    scrollbar_slider_width = 10;
    grid_scrollbar_width = 15;
    grid_two_tone_value = 20;
}

COLOUR* WM_STYLE_SET::colour_at(INT_S32 index)
{
    if (index < 0 || index >= COLOUR_COUNT)
        return nullptr;
    return &(this->*colour_fields[index]);
}

const COLOUR* WM_STYLE_SET::colour_at(INT_S32 index) const
{
    if (index < 0 || index >= COLOUR_COUNT)
        return nullptr;
    return &(this->*colour_fields[index]);
}

static bool replace_text(char** field, const char* text)
{
    delete[] *field;
    *field = nullptr;
    if (!text || !text[0])
        return true;
    if (strlen(text) > STYLE_SET_MAX_STRING)
        return set_last_error(ERROR_READ, "wm/wm_style_set");
    *field = copy_text(text);
    return *field != nullptr;
}

bool WM_STYLE_SET::set_image_filename(const char* text)
{
    return replace_text(&image_filename, text);
}

bool WM_STYLE_SET::set_name(const char* text)
{
    return replace_text(&name, text);
}

bool WM_STYLE_SET::assign(const WM_STYLE_SET& other)
{
    if (&other == this)
        return true;
    reset();
    store_path(image_path, other.image_path);
    shading_type = other.shading_type;
    for (INT_S32 i = 0; i < COLOUR_COUNT; ++i)
        this->*colour_fields[i] = other.*colour_fields[i];
    visible = other.visible;
    flags = other.flags;
    ext_flags = other.ext_flags;
    scale_flags = other.scale_flags;
    shading_flags = other.shading_flags;
    font_id = other.font_id;
    for (INT_S32 i = 0; i < MEASURE_COUNT; ++i)
        this->*measure_fields[i] = other.*measure_fields[i];
    if (!set_image_filename(other.image_filename) || !set_name(other.name)) {
        reset();
        return false;
    }
    for (INT_S32 slot = 0; slot < STYLE_IMAGE_COUNT; ++slot) {
        if (!other.images[slot])
            continue;
        images[slot] = new (std::nothrow) TILED_IMAGE(other.images[slot]->cache);
        if (!images[slot]) {
            reset();
            return false;
        }
        images[slot]->copy(*other.images[slot]);
    }
    images_loaded = other.images_loaded;
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Images
// ---------------------------------------------------------------------------------------------

void WM_STYLE_SET::clear_images()
{
    for (TILED_IMAGE*& image : images) {
        delete image;
        image = nullptr;
    }
    images_loaded = 0;
}

bool style_image_folder(const WM_STYLE_SET& style, char* out, size_t size)
{
    if (!out || size == 0)
        return false;
    const char* image_path = style.image_path;
    if (image_path[0] == '/') {
        snprintf(out, size, "%s", image_path);
        return true;
    }
    FOLDER folder;
    if (image_path[0] == '$') {
        // An unknown variable would end the run inside FOLDER; a style file must not be able to.
        char variable[256];
        size_t length = strcspn(image_path, "/");
        if (length > 255)
            return false;
        memcpy(variable, image_path, length);
        variable[length] = 0;
        if (!is_known_variable(variable))
            return false;
    }
    if (image_path[0] && !folder.set(image_path))
        return false;
    snprintf(out, size, "%s", folder.path());
    return true;
}

void WM_STYLE_SET::load_images()
{
    clear_images();
    if (!style_set_image_loading || !image_filename || !image_filename[0])
        return;
    if (strlen(image_filename) > MAX_IMAGE_NAME)
        return;
    char folder[ORLU_MAX_PATH];
    if (!style_image_folder(*this, folder, sizeof folder))
        return;

    // One element is tried for name after name and kept only when it found its picture.
    TILED_IMAGE* candidate = nullptr;
    char file_name[MAX_IMAGE_NAME + 64];
    for (INT_S32 slot = 0; slot < STYLE_IMAGE_COUNT; ++slot) {
        if (!candidate)
            candidate = new (std::nothrow) TILED_IMAGE(image_cache_store());
        if (!candidate)
            break;
        snprintf(file_name, sizeof file_name, image_suffixes[slot], image_filename);
        bool found = candidate->load(folder, file_name, style_set_image_mode);
        if (!found && slot == STYLE_IMAGE_ALTERNATE) {
            snprintf(file_name, sizeof file_name, "%s_alt", image_filename);
            found = candidate->load(folder, file_name, style_set_image_mode);
        }
        if (!found) {
            candidate->free_pieces();
            continue;
        }
        images[slot] = candidate;
        candidate = nullptr;
    }
    delete candidate;
    images_loaded = 1;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The `.ss` file
// ---------------------------------------------------------------------------------------------

namespace {

// The keys of one set in a config: plain at the top level, "<group>.<key>" inside a group.
class SET_KEYS {
public:
    SET_KEYS(CONFIG_FILE* config, const FOLDER& folder, const char* group)
        : m_config(config), m_folder(folder), m_group(group) {}

    const char* id(const char* key)
    {
        if (!m_group || !m_group[0])
            return key;
        snprintf(m_id, sizeof m_id, "%s.%s", m_group, key);
        return m_id;
    }
    bool text(const char* key, char* buffer) { return m_config->read_text(m_folder, id(key), buffer); }
    bool integer(const char* key, INT_S32* value) { return m_config->read_int(m_folder, id(key), value, false); }
    // A colour has the text forms of colour.h; an unreadable one keeps the present value.
    bool colour(const char* key, COLOUR* value)
    {
        char buffer[CONFIG_VALUE_SIZE];
        if (!text(key, buffer))
            return false;
        colour_from_string(*value, buffer);
        return true;
    }
    template <typename T>
    bool number(const char* key, T* value)
    {
        INT_S32 read = static_cast<INT_S32>(*value);
        if (!integer(key, &read))
            return false;
        *value = static_cast<T>(read);
        return true;
    }
    // Sets or clears the bit when the key is there; leaves it otherwise.
    void flag(const char* key, INT_U32 bit, INT_U32* field)
    {
        INT_S32 value = 0;
        if (!integer(key, &value))
            return;
        *field = value ? (*field | bit) : (*field & ~bit);
    }

    bool write_text(const char* key, const char* value) { return m_config->write_text(m_folder, id(key), value); }
    bool write_integer(const char* key, INT_S32 value) { return m_config->write_int(m_folder, id(key), value, false); }
    bool write_colour(const char* key, const COLOUR& value)
    {
        char buffer[16];
        colour_to_string(value, buffer);
        return write_text(key, buffer);
    }

private:
    CONFIG_FILE* m_config;
    const FOLDER& m_folder;
    const char* m_group;
    char m_id[CONFIG_ID_SIZE] {};
};

// "$HERE" stands for the folder of the file. Only five characters are compared, so whatever
// follows them up to the first "/" belongs to the word and is dropped; the rest is walked from
// that folder.
void resolve_here(const char* value, const FOLDER* file_folder, char* image_path)
{
    if (!file_folder) {
        store_path(image_path, "$APP_DATA/config");
        return;
    }
    const char* rest = value + 5;
    rest += strcspn(rest, "/");
    char text[ORLU_MAX_PATH];
    snprintf(text, sizeof text, "$HERE%s", rest);
    FOLDER folder(*file_folder);
    (void)folder.set(text, false, file_folder);
    store_path(image_path, folder.path());
}

} // namespace

bool WM_STYLE_SET::read_config(CONFIG_FILE* config, const FOLDER* folder, STYLE_FONT_LOOKUP font_lookup, void* tool,
    const char* group)
{
    if (!config)
        return false;
    FOLDER app;
    SET_KEYS keys(config, folder ? *folder : app, group);
    char buffer[CONFIG_VALUE_SIZE];

    flags = 0;
    ext_flags = 0;
    scale_flags = STYLE_DEFAULT_SCALE_FLAGS;

    if (keys.text("name", buffer) && !set_name(buffer))
        return false;
    if (!keys.text("image_filename", buffer) || !set_image_filename(buffer))
        return false;
    if (!keys.text("image_path", buffer))
        return false;
    if (!strncmp(buffer, "$HERE", 5))
        resolve_here(buffer, folder, image_path);
    else
        store_path(image_path, buffer);
    load_images();

    if (!keys.number("shading_type", &shading_type))
        return false;
    for (INT_S32 i = 0; i < COLOUR_COUNT; ++i) {
        COLOUR* colour = colour_at(i);
        if (keys.colour(colour_keys[i], colour))
            continue;
        if (i < MANDATORY_COLOURS)
            return false;
        *colour = COLOUR_INVISIBLE;
    }
    if (!keys.number("visible", &visible) || !keys.number("shading_flags", &shading_flags))
        return false;

    INT_S32 packed = 0;
    if (keys.integer("drawing_flags", &packed)) {
        INT_U32 bits = static_cast<INT_U32>(packed);
        flags = bits & 0xFFFFu;
        ext_flags = bits >> 16;
    }

    if (!keys.number("font_id", &font_id) || !keys.number("font_x_sz", &font_x_sz)
        || !keys.number("font_y_sz", &font_y_sz))
        return false;
    if (keys.text("font_name", buffer) && font_lookup) {
        INT_S32 index = font_lookup(buffer, tool);
        if (index >= 0 && index < 255)
            font_id = static_cast<INT_U8>(index);
    }
    for (INT_S32 i = 2; i < MEASURE_COUNT; ++i) {
        if (!keys.number(measure_keys[i], &(this->*measure_fields[i])))
            return false;
    }

    for (const FLAG_KEY& key : flag_keys)
        keys.flag(key.key, key.bit, &flags);
    for (const FLAG_KEY& key : ext_flag_keys) {
        if (key.older_key)
            keys.flag(key.older_key, key.bit, &ext_flags);
        keys.flag(key.key, key.bit, &ext_flags);
    }
    INT_U32 scale = scale_flags;
    for (const FLAG_KEY& key : scale_flag_keys)
        keys.flag(key.key, key.bit, &scale);
    scale_flags = static_cast<INT_U8>(scale);
    return true;
}

bool WM_STYLE_SET::write_config(CONFIG_FILE* config, const FOLDER* folder, STYLE_FONT_NAME font_name_of, void* tool,
    const char* group) const
{
    if (!config)
        return false;
    FOLDER app;
    SET_KEYS keys(config, folder ? *folder : app, group);

    if (name && !keys.write_text("name", name))
        return false;
    if (!keys.write_text("image_filename", get_image_filename()))
        return false;

    // A full path is written relative to the file's folder, so that a skin tree can move.
    char path_text[ORLU_MAX_PATH];
    snprintf(path_text, sizeof path_text, "%s", image_path);
    FOLDER images_folder;
    if (folder && image_path[0] == '/' && images_folder.set_raw(image_path)) {
        char relative[ORLU_MAX_PATH];
        if (images_folder.relative_text(relative, *folder))
            snprintf(path_text, sizeof path_text, "%s", relative);
    }
    if (!keys.write_text("image_path", path_text))
        return false;

    if (!keys.write_integer("shading_type", shading_type))
        return false;
    for (INT_S32 i = 0; i < COLOUR_COUNT; ++i) {
        if (!keys.write_colour(colour_keys[i], *colour_at(i)))
            return false;
    }
    if (!keys.write_integer("visible", visible) || !keys.write_integer("shading_flags", shading_flags))
        return false;
    if (!keys.write_integer("font_id", font_id) || !keys.write_integer("font_x_sz", font_x_sz)
        || !keys.write_integer("font_y_sz", font_y_sz))
        return false;
    const char* font_name = font_name_of ? font_name_of(font_id, tool) : nullptr;
    if (font_name && font_name[0] && !keys.write_text("font_name", font_name))
        return false;
    for (INT_S32 i = 2; i < MEASURE_COUNT; ++i) {
        if (!keys.write_integer(measure_keys[i], this->*measure_fields[i]))
            return false;
    }
    for (const FLAG_KEY& key : flag_keys) {
        if (!keys.write_integer(key.key, (flags & key.bit) != 0))
            return false;
    }
    for (const FLAG_KEY& key : ext_flag_keys) {
        if (!keys.write_integer(key.key, (ext_flags & key.bit) != 0))
            return false;
    }
    for (const FLAG_KEY& key : scale_flag_keys) {
        if (!keys.write_integer(key.key, (scale_flags & key.bit) != 0))
            return false;
    }
    return true;
}

bool WM_STYLE_SET::load_file(const FOLDER& folder, const char* file_name, const char* group,
    STYLE_FONT_LOOKUP font_lookup, void* tool)
{
    CONFIG_FILE config;
    config.open(file_name, true);
    if (!config.load(folder, true))
        return false;
    return read_config(&config, &folder, font_lookup, tool, group);
}

bool WM_STYLE_SET::save_file(const FOLDER& folder, const char* file_name, const char* group,
    STYLE_FONT_NAME font_name_of, void* tool) const
{
    if (!file_name || !file_name[0])
        return false;
    // A file of one set is written from scratch; a set in a group joins the file's other groups.
    if ((!group || !group[0]) && folder.exists(file_name) && !folder.delete_file(file_name))
        return set_last_error(ERROR_CONFIG_OPEN, file_name);
    CONFIG_FILE config;
    config.open(file_name, true);
    if (!config.load(folder, false))
        return false;
    return write_config(&config, &folder, font_name_of, tool, group);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Rescaling and text flags
// ---------------------------------------------------------------------------------------------

// One axis: `near` and `far` are the two border gaps, `size` and `new_size` the old and new
// extent. Unset gaps (negative) are left alone.
static void rescale_axis(INT_S16* near, INT_S16* far, INT_S32 size, INT_S32 new_size, FLOAT_64 factor,
    bool retain_size, bool retain_near, bool retain_far)
{
    INT_S32 l = *near;
    INT_S32 r = *far;
    if (l < 0 || r < 0)
        return;
    if (retain_near && retain_far)
        return;
    INT_S32 inner = size - l - r;
    if (retain_size) {
        if (retain_near) {
            if (r != 0)
                *far = clamp_s16(INT_S64(new_size) - inner - l);
            return;
        }
        if (retain_far) {
            if (l != 0)
                *near = clamp_s16(INT_S64(new_size) - inner - r);
            return;
        }
        INT_S32 sum = l + r;
        if (sum == 0)
            return;
        *near = clamp_s16(INT_S64(l) * (sum - size + new_size) / sum);
        *far = clamp_s16(INT_S64(r) * (sum - size + new_size) / sum);
        return;
    }
    if (retain_near) {
        if (size - l != 0)
            *far = clamp_s16((INT_S64(new_size) - l) * r / (size - l));
        return;
    }
    if (retain_far) {
        if (size - r != 0)
            *near = clamp_s16((INT_S64(new_size) - r) * l / (size - r));
        return;
    }
    *near = scaled(*near, factor);
    *far = scaled(*far, factor);
}

void WM_STYLE_SET::rescale(INT_S16 old_width, INT_S16 old_height, INT_S16 new_width, INT_S16 new_height)
{
    if (old_width <= 0 || old_height <= 0)
        return;
    FLOAT_64 fx = FLOAT_64(new_width) / old_width;
    FLOAT_64 fy = FLOAT_64(new_height) / old_height;
    rescale_axis(&border_left_gap, &border_right_gap, old_width, new_width, fx, scale_flags & sssf_retain_width,
        scale_flags & sssf_retain_left_border, scale_flags & sssf_retain_right_border);
    rescale_axis(&border_top_gap, &border_bottom_gap, old_height, new_height, fy, scale_flags & sssf_retain_height,
        scale_flags & sssf_retain_top_border, scale_flags & sssf_retain_bottom_border);

    // The y size lands in the x field. Skins in use were laid out against exactly this, so it
    // stays as it is.
    if (!(scale_flags & sssf_retain_x_font_size) && font_x_sz >= 0)
        font_x_sz = scaled(font_x_sz, fx);
    if (!(scale_flags & sssf_retain_y_font_size) && font_y_sz >= 0)
        font_x_sz = scaled(font_y_sz, fy);
}

INT_U8 WM_STYLE_SET::get_text_flags() const
{
    // The face flags carry the same bits; the reflection is not one of the seven.
    return static_cast<INT_U8>(face_text_flags(face_flags_from_style(*this)) & ~TEXT_REFLECT);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Stream form
// ---------------------------------------------------------------------------------------------

namespace {

bool read_failed(DATA_DEVICE* device)
{
    device->failed = 1;
    return set_last_error(ERROR_READ, "wm/wm_style_set");
}

// A length and that many bytes; a length of 0 is no string. The length is damage when it is
// beyond what any set carries, so it never reaches the allocator unchecked.
bool read_string(DATA_DEVICE* device, char** field)
{
    INT_U32 length = 0;
    if (!device_read(device, &length) || length > STYLE_SET_MAX_STRING)
        return false;
    delete[] *field;
    *field = nullptr;
    if (length == 0)
        return true;
    char* text = new (std::nothrow) char[length + 1];
    if (!text)
        return false;
    if (!device_read_bytes(device, text, static_cast<INT_S32>(length))) {
        delete[] text;
        return false;
    }
    text[length] = 0;
    // A zero inside the bytes shortens the text; an empty result is no string, as in a file.
    if (!text[0]) {
        delete[] text;
        return true;
    }
    *field = text;
    return true;
}

bool write_string(DATA_DEVICE* device, const char* text)
{
    INT_U32 length = text ? static_cast<INT_U32>(strlen(text)) : 0;
    if (!device_write(device, length))
        return false;
    return length == 0 || device_write_bytes(device, text, static_cast<INT_S32>(length));
}

// The version from which each colour is in the stream, in field order.
const INT_U32 colour_since[WM_STYLE_SET::COLOUR_COUNT] = {
    1, 1, 1, 1, 1, 1, 5, 1, 2, 2, 4, 3, 9, 9, 8,
};

} // namespace

bool WM_STYLE_SET::get_from_data_device(DATA_DEVICE* device)
{
    if (!device)
        return false;
    INT_U32 version = 0;
    if (!device_read(device, &version) || version < 1 || version > STYLE_SET_VERSION)
        return read_failed(device);
    if (!read_string(device, &image_filename) || !read_string(device, &name))
        return read_failed(device);

    if (version < 6) {
        FOLDER folder;
        if (!folder.get_from_data_device(device))
            return read_failed(device);
        store_path(image_path, folder.path());
    } else {
        char path[ORLU_MAX_PATH];
        if (!device_read_bytes(device, path, ORLU_MAX_PATH))
            return read_failed(device);
        path[ORLU_MAX_PATH - 1] = 0;
        store_path(image_path, path);
    }

    INT_U32 value = 0;
    if (!device_read(device, &value))
        return read_failed(device);
    shading_type = static_cast<INT_S32>(value);
    for (INT_S32 i = 0; i < COLOUR_COUNT; ++i) {
        COLOUR* colour = colour_at(i);
        if (version < colour_since[i]) {
            *colour = COLOUR_INVISIBLE;
            continue;
        }
        if (!device_read(device, &value))
            return read_failed(device);
        colour->value = colour_swap(value);
    }
    if (!device_read(device, &visible) || !device_read(device, &flags) || !device_read(device, &ext_flags))
        return read_failed(device);
    scale_flags = STYLE_DEFAULT_SCALE_FLAGS;
    if (version >= 7 && !device_read(device, &scale_flags))
        return read_failed(device);
    if (!device_read(device, &shading_flags) || !device_read(device, &font_id))
        return read_failed(device);
    for (INT_S32 i = 0; i < MEASURE_COUNT; ++i) {
        if (!device_read(device, &(this->*measure_fields[i])))
            return read_failed(device);
    }
    load_images();
    device->failed = 0;
    return true;
}

bool WM_STYLE_SET::put_to_data_device(DATA_DEVICE* device) const
{
    if (!device)
        return false;
    char path[ORLU_MAX_PATH];
    store_path(path, image_path);
    bool ok = device_write(device, STYLE_SET_VERSION) && write_string(device, image_filename)
        && write_string(device, name) && device_write_bytes(device, path, ORLU_MAX_PATH)
        && device_write(device, static_cast<INT_U32>(shading_type));
    for (INT_S32 i = 0; ok && i < COLOUR_COUNT; ++i)
        ok = device_write(device, colour_swap(colour_at(i)->value));
    ok = ok && device_write(device, visible) && device_write(device, flags) && device_write(device, ext_flags)
        && device_write(device, scale_flags) && device_write(device, shading_flags) && device_write(device, font_id);
    for (INT_S32 i = 0; ok && i < MEASURE_COUNT; ++i)
        ok = device_write(device, this->*measure_fields[i]);
    if (!ok)
        device->failed = 1;
    return ok;
}
