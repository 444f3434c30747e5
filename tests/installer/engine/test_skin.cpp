// Skins: a small tree loaded into the database and the toolkit, the binary skin written and read
// back, and the installer's -s option on a tree beside a copy of the program.

#include <sys/stat.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "io/data_file.h"
#include "installer/engine/database.h"
#include "io/folder.h"
#include "graphics/image.h"
#include "memory_device.h"
#include "installer/engine/skin.h"
#include "test_support.h"
#include "graphics/tiled_image.h"
#include "wm/core/wm_look.h"
#include "wm/core/wm_style_set.h"

namespace {

std::string style_file(int shading_type, const std::string& image_filename = "")
{
    std::string text = "image_filename\n\t" + image_filename + "\nimage_path\n\t$HERE\n";
    text += "shading_type\n\t" + std::to_string(shading_type) + "\n";
    for (const char* key : { "fg_colour", "bg_colour", "fading_colour", "highlight_colour", "highlight_text_colour",
             "active_colour" })
        text += std::string(key) + "\n\t#FF204060\n";
    for (const char* key : { "visible", "shading_flags", "font_id", "font_x_sz", "font_y_sz", "border_left_gap",
             "border_right_gap", "border_top_gap", "border_bottom_gap", "cell_left_gap", "cell_right_gap",
             "cell_top_gap", "cell_bottom_gap", "x_spacing", "y_spacing", "scrollbar_button_width",
             "scrollbar_slider_width", "grid_scrollbar_width", "grid_two_tone_value" })
        text += std::string(key) + "\n\t2\n";
    return text + "ssf_draw_border\n\t1\n";
}

void write_png(const std::string& folder_path, const char* name, INT_S16 width, INT_S16 height)
{
    IMAGE image(width, height);
    image.fill(COLOUR::from_argb(0xFF8040C0u));
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(folder_path.c_str()));
    DATA_FILE* file = folder.open_data_file(name, FILE_WRITE, 0, false);
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(image.save_png(file));
    FOLDER::close_data_file(&file);
}

// A tree without "menu" and without "button_hints.ss"; "text.ss" and "title.ss" each in two
// folders with different contents.
void make_tree(const std::string& root, bool with_hints)
{
    for (const char* folder : { "", "/button", "/dialog", "/text_win", "/title", "/icons" })
        ASSERT_EQ(mkdir((root + folder).c_str(), 0755), 0);
    ASSERT_TRUE(write_file(root + "/button/button.ss", style_file(11, "btn")));
    write_png(root + "/button", "btn.png", 6, 4);
    write_png(root + "/button", "btn_over.png", 6, 4);
    if (with_hints) {
        ASSERT_TRUE(write_file(root + "/button/button_hints.ss", style_file(12)));
    }
    ASSERT_TRUE(write_file(root + "/dialog/text.ss", style_file(13)));
    ASSERT_TRUE(write_file(root + "/dialog/title.ss", style_file(14)));
    ASSERT_TRUE(write_file(root + "/dialog/background.ss", style_file(15)));
    ASSERT_TRUE(write_file(root + "/text_win/text.ss", style_file(16)));
    ASSERT_TRUE(write_file(root + "/text_win/scrollbar.ss", "image_filename\n\t\n"));
    ASSERT_TRUE(write_file(root + "/title/title.ss", style_file(17)));
    write_png(root + "/icons", "forw_icon.png", 9, 7);
    write_png(root + "/icons", "folder.png", 3, 5);
    ASSERT_TRUE(write_file(root + "/dialog_effects.cfg",
        "flags\n\t0x11\nopen_delay\n\t250\nprogress_bar_animation_x_rate\n\t3\n"));
}

std::vector<unsigned char> skin_bytes(const DATABASE& database)
{
    MEMORY_DEVICE device;
    EXPECT_TRUE(write_skin(&database, &device));
    return device.bytes();
}

} // namespace

TEST(SKIN, tree_fills_the_database_and_the_toolkit)
{
    TEMP_FOLDER temp;
    std::string root = temp.file("skin");
    make_tree(root, true);
    set_toolkit_hints_present(false);
    TOOLKIT_DIALOG_EFFECT before = toolkit_dialog_effect();

    DATABASE* database = new DATABASE;
    database->progress_bar_animation_y_rate = 9;
    ASSERT_TRUE(load_skin(database, root.c_str()));
    EXPECT_STREQ(database->skin_path, root.c_str());
    EXPECT_EQ(database->style_sets[STYLE_DIALOG_TEXT].shading_type, 13);
    EXPECT_EQ(database->style_sets[STYLE_TEXT_WINDOW].shading_type, 16);
    EXPECT_EQ(database->style_sets[STYLE_TITLE].shading_type, 17);
    // No "menu" folder, and a scroll bar file that misses its keys: defaults.
    EXPECT_EQ(database->style_sets[STYLE_MENU_ITEM].shading_type, 1);
    EXPECT_EQ(database->style_sets[STYLE_SCROLL_BAR].shading_type, 1);
    EXPECT_EQ(database->style_sets[STYLE_SCROLL_BAR].flags, 5u);
    EXPECT_EQ(toolkit_style(TOOLKIT_STYLE_BUTTON)->shading_type, 11);
    EXPECT_EQ(toolkit_style(TOOLKIT_STYLE_BUTTON_HINT)->shading_type, 12);
    EXPECT_EQ(toolkit_style(TOOLKIT_STYLE_TITLE)->shading_type, 14);
    EXPECT_EQ(toolkit_style(TOOLKIT_STYLE_BACKGROUND)->shading_type, 15);
    EXPECT_TRUE(toolkit_hints_present());

    // The button's pictures come from its own folder.
    const WM_STYLE_SET* button = toolkit_style(TOOLKIT_STYLE_BUTTON);
    EXPECT_STREQ(button->image_path, (root + "/button").c_str());
    ASSERT_NE(button->images[STYLE_IMAGE_BASE], nullptr);
    ASSERT_NE(button->images[STYLE_IMAGE_OVER], nullptr);
    EXPECT_EQ(button->images[STYLE_IMAGE_UP], nullptr);

    EXPECT_EQ(database->icons[ICON_FORW].width, 9);
    EXPECT_EQ(database->icons[ICON_FOLDER].height, 5);
    EXPECT_FALSE(database->icons[ICON_PREV].has_pixels());

    EXPECT_EQ(toolkit_dialog_effect().flags, 0x11);
    EXPECT_EQ(toolkit_dialog_effect().open_delay, 250);
    EXPECT_EQ(toolkit_dialog_effect().display_delay, before.display_delay);
    EXPECT_EQ(database->progress_bar_animation_x_rate, 3);
    EXPECT_EQ(database->progress_bar_animation_y_rate, 0);
    delete database;
}

TEST(SKIN, missing_hints_file_and_missing_root)
{
    TEMP_FOLDER temp;
    std::string root = temp.file("skin");
    make_tree(root, false);
    set_toolkit_hints_present(false);
    DATABASE* database = new DATABASE;
    ASSERT_TRUE(load_skin(database, root.c_str()));
    EXPECT_FALSE(toolkit_hints_present());
    EXPECT_FALSE(load_skin(database, temp.file("nowhere").c_str()));
    delete database;
}

TEST(SKIN, binary_skin_reads_back_equal)
{
    TEMP_FOLDER temp;
    std::string root = temp.file("skin");
    make_tree(root, true);
    DATABASE* written = new DATABASE;
    ASSERT_TRUE(load_skin(written, root.c_str()));
    std::vector<unsigned char> bytes = skin_bytes(*written);

    DATABASE* read = new DATABASE;
    MEMORY_DEVICE device(bytes.data(), bytes.size());
    ASSERT_TRUE(read_skin(read, &device));
    EXPECT_EQ(device.tell(), bytes.size());
    EXPECT_EQ(skin_bytes(*read), bytes);
    EXPECT_EQ(read->style_sets[STYLE_TEXT_WINDOW].shading_type, 16);
    EXPECT_EQ(read->icons[ICON_FORW].width, 9);
    EXPECT_EQ(read->progress_bar_animation_x_rate, 3);
    // The button's pictures were found in the cache that came with the skin.
    EXPECT_NE(toolkit_style(TOOLKIT_STYLE_BUTTON)->images[STYLE_IMAGE_OVER], nullptr);

    // A skin cut short fails without harm.
    MEMORY_DEVICE cut(bytes.data(), bytes.size() - 3);
    EXPECT_FALSE(read_skin(read, &cut));
    EXPECT_EQ(cut.failed, 1);
    delete written;
    delete read;
}

TEST(SKIN, installer_s_says_what_it_could_not_read_and_writes_the_skin_of_appdata_vok)
{
    TEMP_FOLDER temp;
    std::string bin = temp.file("bin");
    ASSERT_EQ(mkdir(bin.c_str(), 0755), 0);
    ASSERT_EQ(mkdir((bin + "/data").c_str(), 0755), 0);
    std::string program = bin + "/installer";
    ASSERT_TRUE(write_file(program, read_file(installer_path())));
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);

    // No tree at all: nothing is written, and the console says where the tree was looked for.
    RUN_RESULT result = run_program(program, { "-s", "out.skin" });
    EXPECT_EQ(result.output, "ERROR: the skin tree $APPDATA/vok (" + bin + "/data/vok) cannot be read: there is no such folder\n");
    EXPECT_EQ(result.status, 255);
    struct stat facts;
    EXPECT_NE(stat((bin + "/out.skin").c_str(), &facts), 0);

    // A tree with gaps: each missing file is named, and the skin is written.
    make_tree(bin + "/data/vok", true);
    result = run_program(program, { "-s", "out.skin" });
    EXPECT_EQ(result.status, 255) << result.output << result.errors;
    const std::string tree = bin + "/data/vok";
    EXPECT_NE(result.output.find("WARNING: " + tree + "/menu/menu_dropdown.ss could not be read; that part of the skin keeps the built-in look\n"),
        std::string::npos)
        << result.output;
    EXPECT_NE(result.output.find("WARNING: " + tree + "/icons/quit_icon could not be read"), std::string::npos) << result.output;
    EXPECT_EQ(result.output.find("/button/button.ss could not"), std::string::npos) << result.output;
    EXPECT_EQ(result.output.find("/forw_icon could not"), std::string::npos) << result.output;
    EXPECT_EQ(result.output.substr(result.output.size() - (bin.size() + 26)), "Skin written to " + bin + "/out.skin\n");

    // The skin written reads back with the tree's styles and pictures.
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(bin.c_str()));
    DATA_FILE* file = folder.open_data_file("out.skin", FILE_READ, ORDER_MARKER_IN_FILE, false);
    ASSERT_NE(file, nullptr);
    DATABASE* database = new DATABASE;
    EXPECT_TRUE(read_skin(database, file));
    FOLDER::close_data_file(&file);
    EXPECT_EQ(database->style_sets[STYLE_DIALOG_TEXT].shading_type, 13);
    EXPECT_EQ(database->icons[ICON_FOLDER].width, 3);
    EXPECT_EQ(toolkit_style(TOOLKIT_STYLE_BUTTON)->shading_type, 11);
    delete database;
}
