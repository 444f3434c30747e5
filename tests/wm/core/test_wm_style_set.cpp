// WM_STYLE_SET: defaults, the `.ss` reader and writer, the binary stream of every version, images
// from a small skin folder, deep copies and rescaling.

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "io/config_file.h"
#include "io/data_file.h"
#include "io/folder.h"
#include "graphics/font.h"
#include "graphics/image.h"
#include "memory_device.h"
#include "test_support.h"
#include "graphics/tiled_image.h"
#include "wm/core/wm_style_set.h"

namespace {

FOLDER folder_of(const TEMP_FOLDER& temp)
{
    FOLDER folder;
    EXPECT_TRUE(folder.set_raw(temp.path().c_str()));
    return folder;
}

std::vector<unsigned char> stream_of(const WM_STYLE_SET& set)
{
    MEMORY_DEVICE device;
    EXPECT_TRUE(set.put_to_data_device(&device));
    return device.bytes();
}

void write_png(const TEMP_FOLDER& temp, const char* name, INT_S16 width, INT_S16 height)
{
    IMAGE image(width, height);
    image.fill(COLOUR::from_argb(0xFF336699u));
    FOLDER folder = folder_of(temp);
    DATA_FILE* file = folder.open_data_file(name, FILE_WRITE, 0, false);
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(image.save_png(file));
    FOLDER::close_data_file(&file);
}

// The keys every `.ss` file must carry, as "key\n\tvalue\n" entries.
std::string mandatory_keys(const std::string& image_path = "$APP")
{
    return "image_filename\n\t\n"
           "image_path\n\t" + image_path + "\n"
           "shading_type\n\t4\n"
           "fg_colour\n\t#FF102030\n"
           "bg_colour\n\t#80405060\n"
           "fading_colour\n\t#FF000001\n"
           "highlight_colour\n\t#FF000002\n"
           "highlight_text_colour\n\t#FF000003\n"
           "active_colour\n\t#FF000004\n"
           "visible\n\t1\n"
           "shading_flags\n\t15\n"
           "font_id\n\t3\n"
           "font_x_sz\n\t12\n"
           "font_y_sz\n\t14\n"
           "border_left_gap\n\t2\n"
           "border_right_gap\n\t3\n"
           "border_top_gap\n\t4\n"
           "border_bottom_gap\n\t5\n"
           "cell_left_gap\n\t6\n"
           "cell_right_gap\n\t7\n"
           "cell_top_gap\n\t8\n"
           "cell_bottom_gap\n\t9\n"
           "x_spacing\n\t10\n"
           "y_spacing\n\t11\n"
           "scrollbar_button_width\n\t16\n"
           "scrollbar_slider_width\n\t17\n"
           "grid_scrollbar_width\n\t18\n"
           "grid_two_tone_value\n\t19\n";
}

bool read_ss(const TEMP_FOLDER& temp, const std::string& text, WM_STYLE_SET* set)
{
    EXPECT_TRUE(write_file(temp.file("test.ss"), text));
    return set->load_file(folder_of(temp), "test.ss");
}

} // namespace

TEST(WM_STYLE_SET, reset_gives_the_defaults_again)
{
    // The written text of a fresh set (below) shows most defaults; these it does not.
    WM_STYLE_SET set;
    for (INT_S32 i = 2; i < WM_STYLE_SET::COLOUR_COUNT; ++i)
        EXPECT_EQ(*set.colour_at(i), COLOUR_INVISIBLE) << i;
    EXPECT_EQ(set.flags, 5u);
    EXPECT_EQ(set.scale_flags, 238);
    EXPECT_EQ(set.font_id, 255);

    std::vector<unsigned char> defaults = stream_of(set);
    set.flags = 0;
    set.font_x_sz = 40;
    set.underline_colour = COLOUR_RED;
    snprintf(set.image_path, sizeof set.image_path, "/some/where/long");
    ASSERT_TRUE(set.set_name("changed"));
    set.reset();
    EXPECT_EQ(stream_of(set), defaults);
    EXPECT_EQ(set.name, nullptr);
}

TEST(WM_STYLE_SET, ss_without_flag_keys_has_no_border_and_optional_colours_invisible)
{
    TEMP_FOLDER temp;
    WM_STYLE_SET set;
    set.underline_colour = COLOUR_RED;
    ASSERT_TRUE(read_ss(temp, mandatory_keys(), &set));
    EXPECT_EQ(set.flags, 0u);
    EXPECT_EQ(set.ext_flags, 0u);
    EXPECT_EQ(set.scale_flags, 238);
    EXPECT_EQ(set.shading_type, 4);
    EXPECT_EQ(set.fg_colour, COLOUR::from_argb(0xFF102030u));
    EXPECT_EQ(set.bg_colour, COLOUR::from_argb(0x80405060u));
    EXPECT_EQ(set.active_colour, COLOUR::from_argb(0xFF000004u));
    EXPECT_EQ(set.underline_colour, COLOUR_INVISIBLE);
    EXPECT_EQ(set.shading_flags, 15);
    EXPECT_EQ(set.font_id, 3);
    EXPECT_EQ(set.font_y_sz, 14);
    EXPECT_EQ(set.border_bottom_gap, 5);
    EXPECT_EQ(set.grid_two_tone_value, 19);
    EXPECT_EQ(set.image_filename, nullptr);
    EXPECT_EQ(set.images_loaded, 0);
}

TEST(WM_STYLE_SET, ss_flag_keys_packed_flags_and_older_names)
{
    TEMP_FOLDER temp;
    WM_STYLE_SET set;
    // Packed: flags 0x0042, ext_flags 0x0010; then single keys change bits on top of it. The older
    // name sets the up arrow, the newer one clears it again; the older name alone still counts.
    std::string text = mandatory_keys() + "drawing_flags\n\t1048642\n"
                                         "ssf_draw_border\n\t1\n"
                                         "ssf_left_justify_text\n\t0\n"
                                         "ssf_reflect_text\n\t1\n"
                                         "ssf_up_arrow\n\t1\n"
                                         "ssef_up_arrow\n\t0\n"
                                         "ssf_auto_actiavte\n\t1\n"
                                         "ssef_grid_underline_y_spacing\n\t1\n"
                                         "sssf_retain_width\n\t1\n"
                                         "sssf_retain_y_font_size\n\t0\n";
    ASSERT_TRUE(read_ss(temp, text, &set));
    EXPECT_EQ(set.flags, ssf_draw_border | ssf_indent_border | ssf_reflect_text);
    EXPECT_EQ(set.ext_flags, ssef_auto_actiavte | ssef_grid_underline_y_spacing);
    EXPECT_EQ(set.scale_flags, 238 + 1 - 128);
}

TEST(WM_STYLE_SET, ss_missing_mandatory_key_fails_and_empty_file_name_does_not)
{
    TEMP_FOLDER temp;
    WM_STYLE_SET set;
    std::string full = mandatory_keys();
    const char* keys[] = { "image_filename", "image_path", "shading_type", "active_colour", "shading_flags",
        "font_y_sz", "cell_top_gap", "grid_two_tone_value" };
    for (const char* key : keys) {
        std::string text = full;
        size_t at = text.find(std::string(key) + "\n");
        ASSERT_NE(at, std::string::npos);
        size_t end = text.find('\n', text.find('\n', at) + 1);
        text.erase(at, end + 1 - at);
        EXPECT_FALSE(read_ss(temp, text, &set)) << key;
    }
    EXPECT_TRUE(read_ss(temp, full, &set));
    EXPECT_FALSE(set.load_file(folder_of(temp), "missing.ss"));
}

TEST(WM_STYLE_SET, ss_here_is_the_folder_of_the_file_and_font_name_is_looked_up)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_of(temp);
    ASSERT_TRUE(folder.enter("images", true));
    WM_STYLE_SET set;
    auto lookup = [](const char* font_name, void* tool) -> INT_S32 {
        ++*static_cast<int*>(tool);
        return strcmp(font_name, "serif") == 0 ? 7 : -1;
    };
    int calls = 0;
    ASSERT_TRUE(write_file(temp.file("test.ss"), mandatory_keys("$HERE/images") + "font_name\n\tserif\n"));
    ASSERT_TRUE(set.load_file(folder_of(temp), "test.ss", nullptr, lookup, &calls));
    EXPECT_STREQ(set.image_path, folder.path());
    EXPECT_EQ(set.font_id, 7);
    EXPECT_EQ(calls, 1);

    // Only five characters are compared: "$HEREabc" is "$HERE".
    ASSERT_TRUE(read_ss(temp, mandatory_keys("$HEREabc/images"), &set));
    EXPECT_STREQ(set.image_path, folder.path());
    // Without a folder "$HERE" has nothing to stand for.
    CONFIG_FILE config;
    config.open("test.ss", true);
    ASSERT_TRUE(config.load(folder_of(temp), true));
    ASSERT_TRUE(set.read_config(&config, nullptr, nullptr, nullptr, nullptr));
    EXPECT_STREQ(set.image_path, "$APP_DATA/config");
    // Any other value is kept as it stands.
    ASSERT_TRUE(read_ss(temp, mandatory_keys("$APPDATA/skin"), &set));
    EXPECT_STREQ(set.image_path, "$APPDATA/skin");
}

TEST(WM_STYLE_SET, ss_groups_select_one_set_of_a_file)
{
    TEMP_FOLDER temp;
    WM_STYLE_SET first;
    WM_STYLE_SET second;
    first.shading_type = 2;
    second.shading_type = 3;
    ASSERT_TRUE(second.set_name("second"));
    FOLDER folder = folder_of(temp);
    ASSERT_TRUE(first.save_file(folder, "two.ss", "one"));
    ASSERT_TRUE(second.save_file(folder, "two.ss", "two"));
    std::string text = read_file(temp.file("two.ss"));
    EXPECT_EQ(text.find("one.name"), std::string::npos);
    EXPECT_NE(text.find("one.shading_type\n\t2\n"), std::string::npos);
    EXPECT_NE(text.find("two.name\n\tsecond\n"), std::string::npos);

    WM_STYLE_SET read;
    ASSERT_TRUE(read.load_file(folder, "two.ss", "two"));
    EXPECT_EQ(read.shading_type, 3);
    EXPECT_STREQ(read.get_name(), "second");
    ASSERT_TRUE(read.load_file(folder, "two.ss", "one"));
    EXPECT_EQ(read.shading_type, 2);
    EXPECT_FALSE(read.load_file(folder, "two.ss", "three"));
}

TEST(WM_STYLE_SET, ss_written_text_is_exact)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_of(temp);
    ASSERT_TRUE(folder.enter("art", true));
    WM_STYLE_SET set;
    ASSERT_TRUE(set.set_name("Panel"));
    ASSERT_TRUE(set.set_image_filename("panel"));
    snprintf(set.image_path, sizeof set.image_path, "%s", folder.path());
    set.fg_colour = COLOUR::from_argb(0xFF112233u);
    set.flags = ssf_draw_border | ssf_reflect_text;
    set.ext_flags = ssef_auto_actiavte | ssef_grid_underline_y_spacing;
    set.scale_flags = sssf_retain_width;
    set.font_id = 2;
    auto font_name = [](INT_U8 id, void*) -> const char* { return id == 2 ? "mono" : nullptr; };
    ASSERT_TRUE(set.save_file(folder_of(temp), "panel.ss", nullptr, font_name));

    auto entry = [](const char* key, const char* value) { return std::string(key) + "\n\t" + value + "\n"; };
    std::string expected = entry("name", "Panel") + entry("image_filename", "panel")
        + entry("image_path", "$HERE/art") + entry("shading_type", "1") + entry("fg_colour", "#FF112233")
        + entry("bg_colour", "#FF000000");
    const char* invisible[] = { "fading_colour", "highlight_colour", "highlight_text_colour", "active_colour",
        "active_text_colour", "shading_base_colour", "mouse_over_colour", "mouse_over_text_colour",
        "flashing_colour", "flashing_text_colour", "disabled_colour", "disabled_text_colour", "underline_colour" };
    for (const char* key : invisible)
        expected += entry(key, "#00000000");
    expected += entry("visible", "1") + entry("shading_flags", "255") + entry("font_id", "2")
        + entry("font_x_sz", "-1") + entry("font_y_sz", "-1") + entry("font_name", "mono");
    const char* gaps[] = { "border_left_gap", "border_right_gap", "border_top_gap", "border_bottom_gap",
        "cell_left_gap", "cell_right_gap", "cell_top_gap", "cell_bottom_gap" };
    for (const char* key : gaps)
        expected += entry(key, "-1");
    expected += entry("x_spacing", "1") + entry("y_spacing", "1") + entry("scrollbar_button_width", "15")
        + entry("scrollbar_slider_width", "10") + entry("grid_scrollbar_width", "15")
        + entry("grid_two_tone_value", "20");
    const char* flag_keys[] = { "ssf_draw_border", "ssf_indent_border", "ssf_outstanding_border", "ssf_hfading",
        "ssf_vfading", "ssf_darkened_background", "ssf_left_justify_text", "ssf_right_justify_text",
        "ssf_top_align_text", "ssf_bottom_align_text", "ssf_use_text_colour_for_outline", "ssf_shadow_text",
        "ssf_inset_text", "ssf_chiseled_text", "ssf_disabled", "ssf_icon_left", "ssf_icon_right", "ssf_icon_top",
        "ssf_icon_bottom", "ssf_icon_attach_to_text", "ssf_wrap_text", "ssf_dont_resize_image",
        "ssf_reflect_text", "ssef_invert_vfading_on_press", "ssef_indent_when_active", "ssef_left_arrow",
        "ssef_right_arrow", "ssef_up_arrow", "ssef_down_arrow", "ssef_auto_depress", "ssef_auto_actiavte",
        "ssef_dont_mask_click", "ssef_sb_horizontal", "ssef_sb_with_buttons", "ssef_te_password",
        "ssef_grid_fix_top_row", "ssef_grid_two_tone", "ssef_grid_type_lines", "ssef_grid_type_cells",
        "ssef_grid_scroll_by_line", "ssef_grid_no_scrollbar", "ssef_grid_only_draw_used_lines",
        "ssef_grid_dont_shorten_scrollbar", "ssef_grid_dont_pad_odd_space", "ssef_grid_underline_y_spacing",
        "ssef_pb_only_draw_bar", "ssef_pb_vertical", "ssef_pb_no_shading", "ssef_pb_position_text_on_bar",
        "ssef_pb_draw_alt_percentage", "ssef_fm_hide_scrolling_arrows", "sssf_retain_width",
        "sssf_retain_left_border", "sssf_retain_right_border", "sssf_retain_x_font_size", "sssf_retain_height",
        "sssf_retain_top_border", "sssf_retain_bottom_border", "sssf_retain_y_font_size" };
    const char* set_keys[] = { "ssf_draw_border", "ssf_reflect_text", "ssef_auto_actiavte",
        "ssef_grid_underline_y_spacing", "sssf_retain_width" };
    for (const char* key : flag_keys) {
        bool on = false;
        for (const char* set_key : set_keys)
            on = on || strcmp(key, set_key) == 0;
        expected += entry(key, on ? "1" : "0");
    }
    EXPECT_EQ(read_file(temp.file("panel.ss")), expected);
}

TEST(WM_STYLE_SET, ss_round_trip_gives_the_same_record)
{
    TEMP_FOLDER temp;
    FOLDER folder = folder_of(temp);
    WM_STYLE_SET set;
    std::string text = mandatory_keys("$HERE") + "name\n\tround\nunderline_colour\n\t#12345678\n"
                                                 "drawing_flags\n\t-1\nsssf_retain_height\n\t0\n";
    ASSERT_TRUE(read_ss(temp, text, &set));
    EXPECT_EQ(set.flags, 0xFFFFu);
    EXPECT_EQ(set.ext_flags, 0xFFFFu);
    ASSERT_TRUE(set.save_file(folder, "copy.ss"));
    WM_STYLE_SET again;
    ASSERT_TRUE(again.load_file(folder, "copy.ss"));
    EXPECT_EQ(stream_of(again), stream_of(set));
    EXPECT_STREQ(again.image_path, folder.path());
    EXPECT_STREQ(again.get_name(), "round");
}

TEST(WM_STYLE_SET, stream_round_trip_is_byte_exact_with_colours_swapped_on_disk)
{
    WM_STYLE_SET set;
    ASSERT_TRUE(set.set_image_filename("btn"));
    ASSERT_TRUE(set.set_name("Button"));
    snprintf(set.image_path, sizeof set.image_path, "$APPDATA/none");
    set.fg_colour = COLOUR::from_argb(0xFF112233u);
    set.underline_colour = COLOUR::from_argb(0x80AABBCCu);
    set.flags = 0x12345;
    set.ext_flags = 0x8000001;
    set.scale_flags = 7;
    set.shading_flags = 0x8011;
    set.font_id = 9;
    set.grid_two_tone_value = -300;
    style_set_image_loading = false;
    std::vector<unsigned char> bytes = stream_of(set);
    // 4 version, 4 + 3 file name, 4 + 6 name, 2048 path, 4 shading type, 15 colours, 1, 4, 4, 1,
    // 2, 1, 16 measures.
    ASSERT_EQ(bytes.size(), 4u + 7 + 10 + 2048 + 4 + 60 + 1 + 4 + 4 + 1 + 2 + 1 + 32);
    EXPECT_EQ(bytes[0], 9);
    size_t fg = 4 + 7 + 10 + 2048 + 4;
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + fg, bytes.begin() + fg + 4),
        (std::vector<unsigned char> { 0x33, 0x22, 0x11, 0xFF }));
    size_t underline = fg + 14 * 4;
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + underline, bytes.begin() + underline + 4),
        (std::vector<unsigned char> { 0xCC, 0xBB, 0xAA, 0x80 }));

    MEMORY_DEVICE device(bytes.data(), bytes.size());
    WM_STYLE_SET read;
    ASSERT_TRUE(read.get_from_data_device(&device));
    EXPECT_EQ(stream_of(read), bytes);
    EXPECT_EQ(read.fg_colour, set.fg_colour);
    EXPECT_STREQ(read.get_name(), "Button");

    // The same through a device of the other byte order.
    MEMORY_DEVICE swapped;
    swapped.swap_bytes = 1;
    ASSERT_TRUE(set.put_to_data_device(&swapped));
    EXPECT_EQ(swapped.bytes()[3], 9);
    swapped.rewind();
    WM_STYLE_SET from_swapped;
    ASSERT_TRUE(from_swapped.get_from_data_device(&swapped));
    EXPECT_EQ(stream_of(from_swapped), bytes);
    style_set_image_loading = true;
}

namespace {

// Older streams, built by hand in little-endian order.
struct OLD_STREAM {
    std::vector<unsigned char> bytes;
    void u8(INT_U8 v) { bytes.push_back(v); }
    void u16(INT_U16 v) { u8(INT_U8(v)); u8(INT_U8(v >> 8)); }
    void u32(INT_U32 v) { u16(INT_U16(v)); u16(INT_U16(v >> 16)); }
    void text(const char* t) { u32(INT_U32(strlen(t))); bytes.insert(bytes.end(), t, t + strlen(t)); }
    void padded(const char* t, size_t size)
    {
        std::vector<unsigned char> field(size, 0);
        memcpy(field.data(), t, strlen(t));
        bytes.insert(bytes.end(), field.begin(), field.end());
    }
    void measures()
    {
        for (INT_U16 i = 0; i < 16; ++i)
            u16(INT_U16(100 + i));
    }
};

} // namespace

TEST(WM_STYLE_SET, stream_version_1_has_a_folder_and_seven_colours)
{
    OLD_STREAM old;
    old.u32(1);
    old.text("");
    old.text("old");
    old.u8(0xFF);
    old.padded("$APP", ORLU_MAX_PATH);
    old.u32(3);
    for (INT_U32 i = 0; i < 7; ++i)
        old.u32(0xFF000000u | (0x10u + i) << 16 | i);
    old.u8(0);
    old.u32(0x21);
    old.u32(0x400);
    old.u16(0x33);
    old.u8(4);
    old.measures();

    MEMORY_DEVICE device(old.bytes.data(), old.bytes.size());
    WM_STYLE_SET set;
    set.mouse_over_colour = COLOUR_RED;
    set.scale_flags = 0;
    ASSERT_TRUE(set.get_from_data_device(&device));
    EXPECT_EQ(device.tell(), old.bytes.size());
    EXPECT_STREQ(set.image_path, FOLDER().path());
    EXPECT_STREQ(set.get_name(), "old");
    EXPECT_EQ(set.shading_type, 3);
    // On disk 0xAARRGGBB with red 0x10 and blue 0: in memory red stays red.
    EXPECT_EQ(set.fg_colour, COLOUR::from_channels(0x10, 0, 0, 0xFF));
    EXPECT_EQ(set.active_colour, COLOUR::from_channels(0x15, 0, 5, 0xFF));
    EXPECT_EQ(set.shading_base_colour, COLOUR::from_channels(0x16, 0, 6, 0xFF));
    EXPECT_EQ(set.active_text_colour, COLOUR_INVISIBLE);
    EXPECT_EQ(set.mouse_over_colour, COLOUR_INVISIBLE);
    EXPECT_EQ(set.underline_colour, COLOUR_INVISIBLE);
    EXPECT_EQ(set.scale_flags, 238);
    EXPECT_EQ(set.visible, 0);
    EXPECT_EQ(set.flags, 0x21u);
    EXPECT_EQ(set.shading_flags, 0x33);
    EXPECT_EQ(set.font_id, 4);
    EXPECT_EQ(set.font_x_sz, 100);
    EXPECT_EQ(set.grid_two_tone_value, 115);
}

TEST(WM_STYLE_SET, stream_version_7_has_scale_flags_and_no_late_colours)
{
    OLD_STREAM old;
    old.u32(7);
    old.text("x");
    old.text("");
    old.padded("/seven", ORLU_MAX_PATH);
    old.u32(2);
    // fg to flashing_text: 12 colours; underline (8) and the disabled pair (9) are missing.
    for (INT_U32 i = 0; i < 12; ++i)
        old.u32(0x01000000u * (i + 1) | 0xAB);
    old.u8(1);
    old.u32(1);
    old.u32(2);
    old.u8(0x55);
    old.u16(0xF);
    old.u8(255);
    old.measures();

    style_set_image_loading = false;
    MEMORY_DEVICE device(old.bytes.data(), old.bytes.size());
    WM_STYLE_SET set;
    ASSERT_TRUE(set.get_from_data_device(&device));
    style_set_image_loading = true;
    EXPECT_STREQ(set.image_path, "/seven");
    EXPECT_STREQ(set.get_image_filename(), "x");
    EXPECT_EQ(set.name, nullptr);
    EXPECT_EQ(set.flashing_text_colour, COLOUR::from_channels(0, 0, 0xAB, 12));
    EXPECT_EQ(set.underline_colour, COLOUR_INVISIBLE);
    EXPECT_EQ(set.disabled_colour, COLOUR_INVISIBLE);
    EXPECT_EQ(set.scale_flags, 0x55);
    EXPECT_EQ(set.ext_flags, 2u);
}

TEST(WM_STYLE_SET, damaged_streams_fail_cleanly)
{
    WM_STYLE_SET source;
    ASSERT_TRUE(source.set_name("cut"));
    std::vector<unsigned char> bytes = stream_of(source);
    // Every cut short of the whole stream fails and marks the device.
    for (size_t cut : { size_t(0), size_t(3), size_t(4), size_t(11), size_t(100), bytes.size() - 1 }) {
        MEMORY_DEVICE device(bytes.data(), cut);
        WM_STYLE_SET set;
        EXPECT_FALSE(set.get_from_data_device(&device)) << cut;
        EXPECT_EQ(device.failed, 1) << cut;
    }
    // Versions 0 and 10 are unknown.
    for (unsigned char version : { 0, 10 }) {
        std::vector<unsigned char> changed = bytes;
        changed[0] = version;
        MEMORY_DEVICE device(changed.data(), changed.size());
        WM_STYLE_SET set;
        EXPECT_FALSE(set.get_from_data_device(&device));
    }
    // A name length of 4 GB never reaches the allocator.
    std::vector<unsigned char> huge = bytes;
    huge[8] = huge[9] = huge[10] = huge[11] = 0xFF;
    MEMORY_DEVICE device(huge.data(), huge.size());
    WM_STYLE_SET set;
    EXPECT_FALSE(set.get_from_data_device(&device));
}

TEST(WM_STYLE_SET, load_images_fills_the_slots_found_in_the_folder)
{
    TEMP_FOLDER temp;
    write_png(temp, "btn.png", 8, 6);
    write_png(temp, "btn_up.png", 8, 6);
    write_png(temp, "btn_alt.png", 4, 4);
    write_png(temp, "btn_more_over.png", 3, 3);
    write_png(temp, "btn_bar_left.png", 2, 5);
    write_png(temp, "btn_bar_mid.png", 2, 5);
    write_png(temp, "btn_bar_right.png", 2, 5);

    WM_STYLE_SET set;
    ASSERT_TRUE(set.set_image_filename("btn"));
    snprintf(set.image_path, sizeof set.image_path, "%s", temp.path().c_str());
    set.load_images();
    EXPECT_EQ(set.images_loaded, 1);
    std::vector<INT_S32> filled;
    for (INT_S32 slot = 0; slot < STYLE_IMAGE_COUNT; ++slot) {
        if (set.images[slot])
            filled.push_back(slot);
    }
    EXPECT_EQ(filled, (std::vector<INT_S32> { STYLE_IMAGE_BASE, STYLE_IMAGE_UP, STYLE_IMAGE_ALTERNATE,
                          STYLE_IMAGE_BAR, STYLE_IMAGE_MORE_OVER }));
    ASSERT_NE(set.images[STYLE_IMAGE_ALTERNATE]->mid, nullptr);
    EXPECT_EQ(set.images[STYLE_IMAGE_ALTERNATE]->mid->width, 4);
    EXPECT_EQ(set.images[STYLE_IMAGE_BAR]->layout(), TILED_IMAGE::LAYOUT_HORIZONTAL_THREE);

    // A deep copy holds the same pictures and outlives the original.
    WM_STYLE_SET* copy = new WM_STYLE_SET;
    ASSERT_TRUE(copy->assign(set));
    EXPECT_NE(copy->image_filename, set.image_filename);
    EXPECT_STREQ(copy->image_filename, "btn");
    ASSERT_NE(copy->images[STYLE_IMAGE_UP], nullptr);
    EXPECT_NE(copy->images[STYLE_IMAGE_UP], set.images[STYLE_IMAGE_UP]);
    EXPECT_EQ(copy->images[STYLE_IMAGE_UP]->mid, set.images[STYLE_IMAGE_UP]->mid);
    EXPECT_EQ(stream_of(*copy), stream_of(set));
    set.reset();
    EXPECT_EQ(copy->images[STYLE_IMAGE_UP]->mid->width, 8);
    delete copy;

    // No file name, or image loading switched off: no images, and nothing loaded.
    WM_STYLE_SET none;
    snprintf(none.image_path, sizeof none.image_path, "%s", temp.path().c_str());
    none.load_images();
    EXPECT_EQ(none.images_loaded, 0);
    ASSERT_TRUE(none.set_image_filename("btn"));
    style_set_image_loading = false;
    none.load_images();
    style_set_image_loading = true;
    EXPECT_EQ(none.images[STYLE_IMAGE_BASE], nullptr);
    // An unknown variable in a path from a file gives no images rather than ending the run.
    snprintf(none.image_path, sizeof none.image_path, "$NO_SUCH_PLACE/skin");
    none.load_images();
    EXPECT_EQ(none.images[STYLE_IMAGE_BASE], nullptr);
}

TEST(WM_STYLE_SET, ss_read_loads_images_from_here)
{
    TEMP_FOLDER temp;
    write_png(temp, "panel.png", 5, 5);
    std::string text = mandatory_keys("$HERE");
    text.replace(text.find("image_filename\n\t\n"), 17, "image_filename\n\tpanel\n");
    WM_STYLE_SET set;
    ASSERT_TRUE(read_ss(temp, text, &set));
    EXPECT_EQ(set.images_loaded, 1);
    ASSERT_NE(set.images[STYLE_IMAGE_BASE], nullptr);
    EXPECT_EQ(set.images[STYLE_IMAGE_UP], nullptr);
}

TEST(WM_STYLE_SET, rescale_follows_the_retain_bits)
{
    struct CASE {
        const char* what;
        INT_U8 scale_flags;
        INT_S16 left, right, top, bottom;
        INT_S16 new_width, new_height;
        INT_S16 left_after, right_after, top_after, bottom_after;
    } cases[] = {
        { "nothing retained: each gap scales, truncated", 0, 10, 5, 3, 7, 150, 50, 15, 7, 1, 3 },
        // Width and left kept: the right gap takes the whole change.
        { "width and left kept", sssf_retain_width | sssf_retain_left_border, 10, 5, 3, 7, 120, 100, 10, 25, 3, 7 },
        { "width and left kept, right 0", sssf_retain_width | sssf_retain_left_border, 10, 0, 3, 7, 120, 100, 10, 0,
            3, 7 },
        // Width kept, both gaps free: the change is shared out by their sizes.
        { "width kept", sssf_retain_width, 10, 30, 3, 7, 140, 100, 20, 60, 3, 7 },
        // Left kept, width free: r = (W - l) * r / (w - l).
        { "left kept", sssf_retain_left_border, 10, 9, 3, 7, 190, 100, 10, 18, 3, 7 },
        { "unset gaps stay unset", 0, -1, -1, -1, -1, 200, 200, -1, -1, -1, -1 },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.what);
        WM_STYLE_SET set;
        set.scale_flags = c.scale_flags;
        set.border_left_gap = c.left;
        set.border_right_gap = c.right;
        set.border_top_gap = c.top;
        set.border_bottom_gap = c.bottom;
        set.rescale(100, 100, c.new_width, c.new_height);
        EXPECT_EQ(set.border_left_gap, c.left_after);
        EXPECT_EQ(set.border_right_gap, c.right_after);
        EXPECT_EQ(set.border_top_gap, c.top_after);
        EXPECT_EQ(set.border_bottom_gap, c.bottom_after);
    }
}

TEST(WM_STYLE_SET, rescale_puts_the_scaled_y_font_size_into_x)
{
    struct CASE {
        INT_U8 scale_flags;
        INT_S16 new_width, new_height;
        INT_S16 x_after;
    } cases[] = { { sssf_retain_x_font_size, 300, 200, 40 }, { sssf_retain_y_font_size, 300, 150, 30 },
        { sssf_retain_x_font_size | sssf_retain_y_font_size, 300, 150, 10 } };
    for (const CASE& c : cases) {
        WM_STYLE_SET set;
        set.font_x_sz = 10;
        set.font_y_sz = 20;
        set.scale_flags = c.scale_flags;
        set.rescale(100, 100, c.new_width, c.new_height);
        EXPECT_EQ(set.font_x_sz, c.x_after) << int(c.scale_flags);
        EXPECT_EQ(set.font_y_sz, 20) << int(c.scale_flags);
    }
}

TEST(WM_STYLE_SET, text_flags_keep_the_seven_drawing_bits)
{
    WM_STYLE_SET set;
    set.flags = 0xFFFFFFFFu;
    EXPECT_EQ(set.get_text_flags(), TEXT_LEFT | TEXT_RIGHT | TEXT_TOP | TEXT_BOTTOM | TEXT_SHADOW | TEXT_INSET
            | TEXT_CHISELED);
    set.flags = ssf_shadow_text | ssf_reflect_text;
    EXPECT_EQ(set.get_text_flags(), TEXT_SHADOW);
}
