// WM_STYLE_SET: the whole look of a widget in one record: colours for each state, text and
// border flags, font, gaps, and up to 32 skin images. Widget constructors take one and copy what
// they need, so a skin is nothing but a folder of style sets and images.
//
// Three forms: the `.ss` text file (a CONFIG_FILE of pairs of lines), the binary stream of the
// data sets and skins (version 9 written, 1 to 9 read), and the built-in defaults of the
// constructor. Both readers take untrusted input: lengths are bounded before allocation and a
// damaged file fails with false, never more.
//
// [SECTION] Flag bits
// [SECTION] Image slots
// [SECTION] Settings of the run
// [SECTION] WM_STYLE_SET
#pragma once

#include <cstddef>

#include "graphics/colour.h"
#include "base/data_device.h"
#include "base/orlu_types.h"

class CONFIG_FILE;
class FOLDER;
class TILED_IMAGE;
class WM_STYLE_SET;

// ---------------------------------------------------------------------------------------------
// [SECTION] Flag bits
// ---------------------------------------------------------------------------------------------

// Bits of `flags`. Each has a boolean key of the same name in a `.ss` file.
constexpr INT_U32 ssf_draw_border = 0x1;
constexpr INT_U32 ssf_indent_border = 0x2;
constexpr INT_U32 ssf_outstanding_border = 0x4;
constexpr INT_U32 ssf_hfading = 0x8;
constexpr INT_U32 ssf_vfading = 0x10;
constexpr INT_U32 ssf_darkened_background = 0x20;
constexpr INT_U32 ssf_left_justify_text = 0x40;
constexpr INT_U32 ssf_right_justify_text = 0x80;
constexpr INT_U32 ssf_use_text_colour_for_outline = 0x100;
constexpr INT_U32 ssf_shadow_text = 0x200;
constexpr INT_U32 ssf_inset_text = 0x400;
constexpr INT_U32 ssf_chiseled_text = 0x800;
constexpr INT_U32 ssf_disabled = 0x1000;
constexpr INT_U32 ssf_icon_left = 0x2000;
constexpr INT_U32 ssf_icon_right = 0x4000;
constexpr INT_U32 ssf_icon_top = 0x8000;
constexpr INT_U32 ssf_icon_bottom = 0x10000;
constexpr INT_U32 ssf_icon_attach_to_text = 0x20000;
constexpr INT_U32 ssf_wrap_text = 0x40000;
constexpr INT_U32 ssf_dont_resize_image = 0x80000;
constexpr INT_U32 ssf_top_align_text = 0x100000;
constexpr INT_U32 ssf_bottom_align_text = 0x200000;
constexpr INT_U32 ssf_reflect_text = 0x400000;

// Bits of `ext_flags`. "actiavte" is how the key has always been spelt in skins.
constexpr INT_U32 ssef_invert_vfading_on_press = 0x1;
constexpr INT_U32 ssef_indent_when_active = 0x2;
constexpr INT_U32 ssef_left_arrow = 0x4;
constexpr INT_U32 ssef_right_arrow = 0x8;
constexpr INT_U32 ssef_up_arrow = 0x10;
constexpr INT_U32 ssef_down_arrow = 0x20;
constexpr INT_U32 ssef_auto_depress = 0x40;
constexpr INT_U32 ssef_auto_actiavte = 0x80;
constexpr INT_U32 ssef_dont_mask_click = 0x100;
constexpr INT_U32 ssef_sb_horizontal = 0x200;
constexpr INT_U32 ssef_sb_with_buttons = 0x400;
constexpr INT_U32 ssef_te_password = 0x800;
constexpr INT_U32 ssef_grid_fix_top_row = 0x1000;
constexpr INT_U32 ssef_grid_two_tone = 0x2000;
constexpr INT_U32 ssef_grid_type_lines = 0x4000;
constexpr INT_U32 ssef_grid_type_cells = 0x8000;
constexpr INT_U32 ssef_grid_scroll_by_line = 0x10000;
constexpr INT_U32 ssef_grid_no_scrollbar = 0x20000;
constexpr INT_U32 ssef_grid_only_draw_used_lines = 0x40000;
constexpr INT_U32 ssef_pb_only_draw_bar = 0x80000;
constexpr INT_U32 ssef_pb_vertical = 0x100000;
constexpr INT_U32 ssef_pb_no_shading = 0x200000;
constexpr INT_U32 ssef_pb_position_text_on_bar = 0x400000;
constexpr INT_U32 ssef_pb_draw_alt_percentage = 0x800000;
constexpr INT_U32 ssef_fm_hide_scrolling_arrows = 0x1000000;
constexpr INT_U32 ssef_grid_dont_shorten_scrollbar = 0x2000000;
constexpr INT_U32 ssef_grid_dont_pad_odd_space = 0x4000000;
constexpr INT_U32 ssef_grid_underline_y_spacing = 0x8000000;

// Bits of `scale_flags`: a set bit keeps that measure at its design value when the screen size
// differs from the design size.
constexpr INT_U8 sssf_retain_width = 0x1;
constexpr INT_U8 sssf_retain_left_border = 0x2;
constexpr INT_U8 sssf_retain_right_border = 0x4;
constexpr INT_U8 sssf_retain_x_font_size = 0x8;
constexpr INT_U8 sssf_retain_height = 0x10;
constexpr INT_U8 sssf_retain_top_border = 0x20;
constexpr INT_U8 sssf_retain_bottom_border = 0x40;
constexpr INT_U8 sssf_retain_y_font_size = 0x80;

// Everything but width and height keeps its design value.
constexpr INT_U8 STYLE_DEFAULT_SCALE_FLAGS = 238;

// ---------------------------------------------------------------------------------------------
// [SECTION] Image slots
// ---------------------------------------------------------------------------------------------

// The 32 slots of `images`. The file of a slot is `image_filename` with the slot's suffix
// (style_image_suffix); the base slot has none.
enum STYLE_IMAGE : INT_S32 {
    STYLE_IMAGE_BASE = 0,
    STYLE_IMAGE_UP,
    STYLE_IMAGE_DOWN,
    STYLE_IMAGE_DISABLED,
    STYLE_IMAGE_OVER,
    STYLE_IMAGE_ACTIVE_UP,
    STYLE_IMAGE_ACTIVE_DOWN,
    STYLE_IMAGE_ACTIVE_DISABLED,
    STYLE_IMAGE_ACTIVE_OVER,
    STYLE_IMAGE_HIGHLIGHTED,
    STYLE_IMAGE_OVER_HIGHLIGHTED,
    STYLE_IMAGE_ALTERNATE,
    STYLE_IMAGE_FLASHING,
    STYLE_IMAGE_DRAGGING,
    STYLE_IMAGE_BG,
    STYLE_IMAGE_EMPTY,
    STYLE_IMAGE_FULL,
    STYLE_IMAGE_BAR,
    STYLE_IMAGE_BAR_DISABLED,
    STYLE_IMAGE_BAR_OVER,
    STYLE_IMAGE_SLIDER_UP,
    STYLE_IMAGE_SLIDER_DOWN,
    STYLE_IMAGE_SLIDER_DISABLED,
    STYLE_IMAGE_SLIDER_OVER,
    STYLE_IMAGE_LESS_UP,
    STYLE_IMAGE_LESS_DOWN,
    STYLE_IMAGE_LESS_DISABLED,
    STYLE_IMAGE_LESS_OVER,
    STYLE_IMAGE_MORE_UP,
    STYLE_IMAGE_MORE_DOWN,
    STYLE_IMAGE_MORE_DISABLED,
    STYLE_IMAGE_MORE_OVER,
    STYLE_IMAGE_COUNT
};

// The printf pattern of a slot's file name ("%s", "%s_up", ...); null outside 0..31. The
// alternate slot answers "%s_alternate"; "%s_alt" is tried after it when that is absent.
const char* style_image_suffix(INT_S32 slot);
// The folder of a style set's images (`image_path`) as a full path for the image cache, "$HERE"
// and the other variables resolved. Paths come from files, so a variable is only resolved when it
// is a known one, and a folder that cannot be reached gives false rather than the wrong pictures.
bool style_image_folder(const WM_STYLE_SET& style, char* out, size_t size);

// ---------------------------------------------------------------------------------------------
// [SECTION] Settings of the run
// ---------------------------------------------------------------------------------------------

// load_images does nothing while this is false (tools that only convert style sets).
extern bool style_set_image_loading;
// Cache flags for the skin images: CACHE_MUST_LOAD (1) normally; CACHE_LOOK_ONLY (8) while
// reading data whose pictures all came with a packed image cache.
extern INT_U32 style_set_image_mode;

// A font name of a `.ss` file to the font's index; -1 (or anything above 254) when unknown.
typedef INT_S32 (*STYLE_FONT_LOOKUP)(const char* font_name, void* tool);
// The name of a font index, or null when the index has none.
typedef const char* (*STYLE_FONT_NAME)(INT_U8 font_id, void* tool);

// ---------------------------------------------------------------------------------------------
// [SECTION] WM_STYLE_SET
// ---------------------------------------------------------------------------------------------

constexpr INT_U32 STYLE_SET_VERSION = 9;
// Longest `image_filename` or `name` a stream or file may carry; longer ones are damage.
constexpr INT_U32 STYLE_SET_MAX_STRING = 4096;

class WM_STYLE_SET : public DATA_DEVICE_CLIENT {
public:
    // The defaults below, no images.
    WM_STYLE_SET();
    ~WM_STYLE_SET() override;
    // Deep copies go through assign, which can fail.
    WM_STYLE_SET(const WM_STYLE_SET&) = delete;
    WM_STYLE_SET& operator=(const WM_STYLE_SET&) = delete;

    // Back to the defaults, releasing images and strings.
    void reset();
    // Frees the 32 slots and clears `images_loaded`.
    void clear_images();
    // Fills the slots from `image_path` and `image_filename` through the image cache, then sets
    // `images_loaded`. Does nothing with an empty `image_filename` or with image loading off.
    // A missing picture leaves its slot null; that is no error.
    void load_images();

    // Replace the owned strings; null or empty leaves the field null. False (field null) when
    // memory runs out or the text is longer than STYLE_SET_MAX_STRING.
    bool set_image_filename(const char* text);
    bool set_name(const char* text);
    [[nodiscard]] const char* get_image_filename() const { return image_filename ? image_filename : ""; }
    [[nodiscard]] const char* get_name() const { return name ? name : ""; }

    // Deep copy: strings duplicated, each image slot sharing the other's pictures with a
    // reference of its own. False when memory runs out; this set is then the defaults.
    bool assign(const WM_STYLE_SET& other);

    // --- `.ss` files -------------------------------------------------------------------------
    // Reads the set from config, whose file lies in `folder` ("$HERE" in "image_path" is
    // resolved against it; null means no folder: $HERE becomes "$APP_DATA/config", and the
    // config is read in "$APP"). `group` null reads the top level, otherwise the keys
    // "<group>.<key>". font_lookup (may be null) resolves "font_name" with `tool`. False when
    // a mandatory key is missing; what was read before stays.
    [[nodiscard]] bool read_config(CONFIG_FILE* config, const FOLDER* folder, STYLE_FONT_LOOKUP font_lookup,
        void* tool, const char* group);
    // Writes every key in reading order, newest names only. "image_path" is written relative
    // to `folder` when one is given. False when the config refuses a key.
    [[nodiscard]] bool write_config(CONFIG_FILE* config, const FOLDER* folder, STYLE_FONT_NAME font_name_of,
        void* tool, const char* group) const;
    // The same on the file `file_name` in `folder`, as a cached config. load_file answers false
    // for a missing file too; save_file replaces the file.
    [[nodiscard]] bool load_file(const FOLDER& folder, const char* file_name, const char* group = nullptr,
        STYLE_FONT_LOOKUP font_lookup = nullptr, void* tool = nullptr);
    [[nodiscard]] bool save_file(const FOLDER& folder, const char* file_name, const char* group = nullptr,
        STYLE_FONT_NAME font_name_of = nullptr, void* tool = nullptr) const;

    // Adapts the border gaps and font sizes when the design size changes from old to new.
    void rescale(INT_S16 old_width, INT_S16 old_height, INT_S16 new_width, INT_S16 new_height);

    // The seven bits of `flags` that text drawing understands, as TEXT_FLAG values of font.h.
    [[nodiscard]] INT_U8 get_text_flags() const;

    // --- Stream form -------------------------------------------------------------------------
    // Version 9 written; versions 1 to 9 read. The read ends with load_images. False, with the
    // device's `failed` flag set, for a short read, an unknown version, a string longer than
    // STYLE_SET_MAX_STRING or out of memory; fields read before the failure stay.
    [[nodiscard]] bool get_from_data_device(DATA_DEVICE* device) override;
    [[nodiscard]] bool put_to_data_device(DATA_DEVICE* device) const override;

    // --- Fields, in the order of the record ---------------------------------------------------
    char image_path[ORLU_MAX_PATH] {};
    INT_S32 shading_type { 1 };
    COLOUR fg_colour { COLOUR_WHITE };
    COLOUR bg_colour { COLOUR_BLACK };
    COLOUR fading_colour {};
    COLOUR highlight_colour {};
    COLOUR highlight_text_colour {};
    COLOUR active_colour {};
    COLOUR active_text_colour {};
    COLOUR shading_base_colour {};
    COLOUR mouse_over_colour {};
    COLOUR mouse_over_text_colour {};
    COLOUR flashing_colour {};
    COLOUR flashing_text_colour {};
    COLOUR disabled_colour {};
    COLOUR disabled_text_colour {};
    COLOUR underline_colour {};
    INT_U8 visible { 1 };
    INT_U32 flags { ssf_draw_border | ssf_outstanding_border };
    INT_U32 ext_flags { 0 };
    INT_U8 scale_flags { STYLE_DEFAULT_SCALE_FLAGS };
    INT_U16 shading_flags { 255 };
    INT_U8 font_id { 255 };
    INT_S16 font_x_sz { -1 };
    INT_S16 font_y_sz { -1 };
    INT_S16 border_left_gap { -1 };
    INT_S16 border_right_gap { -1 };
    INT_S16 border_top_gap { -1 };
    INT_S16 border_bottom_gap { -1 };
    INT_S16 cell_left_gap { -1 };
    INT_S16 cell_right_gap { -1 };
    INT_S16 cell_top_gap { -1 };
    INT_S16 cell_bottom_gap { -1 };
    INT_S16 x_spacing { 1 };
    INT_S16 y_spacing { 1 };
    INT_S16 scrollbar_button_width { 15 };
    INT_S16 scrollbar_slider_width { 10 };
    INT_S16 grid_scrollbar_width { 15 };
    INT_S16 grid_two_tone_value { 20 };
    TILED_IMAGE* images[STYLE_IMAGE_COUNT] {}; // owned; null when absent
    char* image_filename { nullptr };          // owned
    char* name { nullptr };                    // owned
    INT_U8 images_loaded { 0 };

    // The 15 colours in field order, for loops over them.
    static constexpr INT_S32 COLOUR_COUNT = 15;
    // Null outside 0..14.
    [[nodiscard]] COLOUR* colour_at(INT_S32 index);
    [[nodiscard]] const COLOUR* colour_at(INT_S32 index) const;
};
