// The page tool manager: style sets, fonts, colours, images and constants taken in from folders,
// found by name; the settings it hands to the page manager; design size changes; pages shown
// with their background.

#include <cstring>
#include <string>

#include "toolkit_fixture.h"

#include "graphics/font.h"
#include "graphics/image.h"
#include "graphics/tiled_image.h"
#include "io/data_file.h"
#include "io/folder.h"
#include "test_support.h"
#include "wm/core/wm_page_tool_manager.h"

namespace {

class PAGE_TOOLS : public TOOLKIT_TEST {};

FOLDER folder_at(const std::string& path)
{
    FOLDER folder;
    EXPECT_TRUE(folder.set_raw(path.c_str()));
    return folder;
}

FOLDER sample(const char* below)
{
    return folder_at(std::string(ORLU_SOURCE_DIR) + "/samples/" + below);
}

void write_png(const std::string& path, INT_S16 width, INT_S16 height, INT_U32 argb)
{
    IMAGE image(width, height);
    image.clear(COLOUR::from_argb(argb), true);
    std::string folder = path.substr(0, path.rfind('/'));
    std::string name = path.substr(path.rfind('/') + 1);
    FOLDER where = folder_at(folder);
    DATA_FILE* file = where.open_data_file(name.c_str(), FILE_WRITE, 0, false);
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(image.save_png(file));
    FOLDER::close_data_file(&file);
}

} // namespace

TEST_F(PAGE_TOOLS, style_sets_of_the_sample_skin_are_read_and_found_by_name)
{
    WM_PAGE_TOOL_MANAGER tool;
    FOLDER skin = sample("skin");
    EXPECT_EQ(tool.load_style_sets(&skin, false), 17);
    EXPECT_EQ(tool.style_set_count(), 17);
    // The files name no sets: they are numbered in the order they were found (button/button.ss
    // first), and listed by name.
    INT_S32 index = -2;
    WM_STYLE_SET* first = tool.style_set("Style Set 1", &index);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(index, 0);
    EXPECT_STREQ(first->get_image_filename(), "button");
    EXPECT_EQ(first->fg_colour.argb(), 0xFF282C3Cu);
    ASSERT_NE(first->images[STYLE_IMAGE_BASE], nullptr) << "$HERE found the skin's pictures";
    EXPECT_TRUE(first->images[STYLE_IMAGE_BASE]->is_loaded());
    EXPECT_NE(tool.style_set("Style Set 10"), nullptr);
    EXPECT_EQ(tool.style_set("Style Set 18", &index), nullptr);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(tool.style_set(nullptr), nullptr);
}

TEST_F(PAGE_TOOLS, a_set_names_itself_an_old_file_is_brought_up_to_date_and_a_broken_one_is_kept)
{
    TEMP_FOLDER temp;
    std::string old_form = read_file(std::string(ORLU_SOURCE_DIR) + "/samples/skin/title/title.ss");
    ASSERT_FALSE(old_form.empty());
    // The older packed flags and an older key name, as older skins wrote them.
    old_form += "name\n\tHeading\ndrawing_flags\n\t5\nssf_up_arrow\n\t1\n";
    ASSERT_TRUE(write_file(temp.file("heading.ss"), old_form));
    // A set that misses a key stays in the list, and is not written back.
    ASSERT_TRUE(write_file(temp.file("broken.ss"), "name\n\tBroken\nimage_filename\n\t\n"));

    WM_PAGE_TOOL_MANAGER tool;
    FOLDER where = folder_at(temp.path());
    EXPECT_EQ(tool.load_style_sets(&where, true), 2);
    EXPECT_NE(tool.style_set("Broken"), nullptr);
    EXPECT_EQ(read_file(temp.file("broken.ss")), "name\n\tBroken\nimage_filename\n\t\n");
    WM_STYLE_SET* heading = tool.style_set("Heading");
    ASSERT_NE(heading, nullptr);
    EXPECT_EQ(heading->flags & 5u, 5u);
    EXPECT_TRUE(heading->ext_flags & ssef_up_arrow);
    std::string written = read_file(temp.file("heading.ss"));
    EXPECT_EQ(written.find("drawing_flags"), std::string::npos);
    EXPECT_EQ(written.find("ssf_up_arrow"), std::string::npos);
    EXPECT_NE(written.find("ssef_up_arrow\n\t1"), std::string::npos);
}

TEST_F(PAGE_TOOLS, fonts_are_named_by_their_files_and_opened_when_asked)
{
    disable_font_autoload();
    start_font_system();
    FOLDER fonts = sample("fonts");
    {
        WM_PAGE_TOOL_MANAGER tool;
        tool.font_loading = 0;
        EXPECT_EQ(tool.load_fonts(&fonts), 23);
        WM_PTM_FONT_INFO* babel = tool.font("BabelSans");
        ASSERT_NE(babel, nullptr);
        EXPECT_STREQ(babel->file, "BabelSans.ttf");
        EXPECT_EQ(babel->font_id, 255);
        EXPECT_EQ(tool.font_number("BabelSans"), -1) << "not opened";
        EXPECT_EQ(tool.font("BabelSans.ttf"), nullptr);
    }
    WM_PAGE_TOOL_MANAGER tool;
    EXPECT_EQ(tool.load_fonts(&fonts), 23);
    INT_S32 number = tool.font_number("zenda");
    EXPECT_GE(number, 23) << "applications' fonts come after the built-in list";
    EXPECT_TRUE(font_is_loaded(static_cast<INT_S16>(number)));
    stop_font_system();
}

TEST_F(PAGE_TOOLS, colours_images_and_constants_come_from_every_cfg_below_a_folder)
{
    TEMP_FOLDER temp;
    ASSERT_TRUE(write_file(temp.file("colours.cfg"), "window\n\t#FF102030\n# a comment\naccent\n\t#80FF0000\n"));
    FOLDER top = folder_at(temp.path());
    ASSERT_TRUE(top.enter("more", true));
    ASSERT_TRUE(write_file(temp.path() + "/more/extra.cfg", "shadow\n\t#FF000000\n"));
    {
        WM_PAGE_TOOL_MANAGER tool;
        FOLDER where = folder_at(temp.path());
        EXPECT_EQ(tool.load_colours(&where), 3);
        INT_S32 index = -1;
        WM_PTM_COLOUR_INFO* window = tool.colour("window", &index);
        ASSERT_NE(window, nullptr);
        EXPECT_EQ(window->colour.argb(), 0xFF102030u);
        EXPECT_EQ(index, 2) << "sorted: accent, shadow, window";
        EXPECT_EQ(tool.colour("accent")->colour.argb(), 0x80FF0000u);
        EXPECT_NE(tool.colour("shadow"), nullptr);
        EXPECT_TRUE(tool.remove_colour(0));
        EXPECT_EQ(tool.colour("accent"), nullptr);
        EXPECT_FALSE(tool.remove_colour(5));
    }

    TEMP_FOLDER pictures;
    write_png(pictures.file("logo.png"), 6, 4, 0xFF00FF00u);
    ASSERT_TRUE(write_file(pictures.file("images.cfg"), "logo\n\tlogo.png\nmissing\n\tnowhere.png\n"));
    ASSERT_TRUE(write_file(pictures.file("numbers.cfg"), "speed\n\t42\nratio\n\t1.5\ntitle\n\tHello there\n"));
    WM_PAGE_TOOL_MANAGER tool;
    FOLDER where = folder_at(pictures.path());
    EXPECT_EQ(tool.load_images(&where), 2 + 3) << "every key of every cfg makes an image record";
    ASSERT_NE(tool.image("logo"), nullptr);
    ASSERT_NE(tool.image("logo")->image, nullptr);
    EXPECT_EQ(tool.image("logo")->image->width, 6);
    ASSERT_NE(tool.image("missing"), nullptr);
    EXPECT_EQ(tool.image("missing")->image, nullptr) << "a file that is not there: a record without a picture";

    EXPECT_EQ(tool.load_constants(&where), 5);
    WM_PTM_CONSTANT_INFO* speed = tool.constant("speed");
    ASSERT_NE(speed, nullptr);
    EXPECT_EQ(speed->value.type, INT_S32_TYPE);
    EXPECT_EQ(speed->value.as_int(&speed->value.value), 42);
    WM_PTM_CONSTANT_INFO* ratio = tool.constant("ratio");
    EXPECT_EQ(ratio->value.type, FLOAT_64_TYPE);
    EXPECT_DOUBLE_EQ(ratio->value.as_real(&ratio->value.value), 1.5);
    WM_PTM_CONSTANT_INFO* title = tool.constant("title");
    EXPECT_EQ(title->value.type, STRING_TYPE);
    char text[64];
    title->value.to_text(&title->value.value, text, sizeof text);
    EXPECT_STREQ(text, "Hello there");
}

TEST_F(PAGE_TOOLS, records_added_by_hand_get_default_names)
{
    WM_PAGE_TOOL_MANAGER tool;
    EXPECT_STREQ(tool.add_colour(nullptr, COLOUR_RED)->name, "Colour 1");
    EXPECT_STREQ(tool.add_constant(nullptr, "7")->name, "Constant 1");
    EXPECT_STREQ(tool.add_style_set(nullptr)->get_name(), "Style Set 1");
    EXPECT_STREQ(tool.add_area(nullptr, 0, 0, 10, 10)->name, "Area 1");
    EXPECT_STREQ(tool.add_page(0, 5, nullptr, -1)->name, "Page 1");
    EXPECT_EQ(tool.add_page(3, 5, nullptr, -1), nullptr) << "no such area";
    EXPECT_STREQ(tool.add_dialog(nullptr, "Title", 0, 0, 10, 10)->name, "Dialog 1");
    tool.sort_all();
    EXPECT_NE(tool.dialog("Dialog 1"), nullptr);
    EXPECT_STREQ(tool.page_name(0, 5), "Page 1");
    EXPECT_EQ(tool.page_name(0, 6), nullptr);
}

TEST_F(PAGE_TOOLS, the_page_manager_is_made_with_the_areas_and_takes_the_settings)
{
    WM_PAGE_TOOL_MANAGER tool;
    tool.add_area("Top", 0, 0, 320, 40);
    tool.add_area("Body", 0, 40, 320, 200);
    WM_PAGE_MANAGER* made = tool.make_page_manager(nullptr);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->area_count, 2);
    EXPECT_EQ(made->areas[1]->y, 40);
    EXPECT_EQ(made->areas[1]->height, 200);
    EXPECT_EQ(made->transition_time, 700u) << "without settings loaded, nothing is applied";

    tool.loaded = 1;
    tool.transition_time = 250;
    tool.fade_first_page = 1;
    tool.theme_shading_type = 4;
    tool.theme_outline_colour = COLOUR_RED;
    tool.default_styles[PTM_BUTTON_STYLE].shading_type = 9;
    EXPECT_EQ(tool.make_page_manager(nullptr), made) << "the same manager again";
    EXPECT_EQ(made->transition_time, 250u);
    EXPECT_EQ(made->fade_first_page, 1);
    EXPECT_EQ(wm_toolkit.theme_shading_type, 4);
    EXPECT_EQ(wm_toolkit.theme_outline_colour, COLOUR_RED);
    EXPECT_EQ(toolkit_style(TOOLKIT_STYLE_BUTTON)->shading_type, 9);
    wm_toolkit.theme_shading_type = 6;
    wm_toolkit.theme_outline_colour = COLOUR();
}

TEST_F(PAGE_TOOLS, a_new_design_size_scales_areas_and_style_sets)
{
    WM_PAGE_TOOL_MANAGER tool;
    tool.design_width = 640;
    tool.design_height = 480;
    tool.add_area("Body", 64, 48, 320, 240);
    WM_STYLE_SET* set = tool.add_style_set("Panel");
    set->scale_flags = 0; // nothing retained
    set->border_left_gap = 10;
    set->border_right_gap = 20;
    set->font_y_sz = 10;
    tool.set_design_size(1280, 720, true);
    EXPECT_EQ(tool.design_width, 1280);
    WM_PTM_AREA_INFO* area = tool.area_at(0);
    EXPECT_EQ(area->x, 128);
    EXPECT_EQ(area->y, 72);
    EXPECT_EQ(area->width, 640);
    EXPECT_EQ(area->height, 360);
    EXPECT_EQ(set->border_left_gap, 20);
    EXPECT_EQ(set->border_right_gap, 40);
    EXPECT_EQ(set->font_x_sz, 15) << "the y size times fy lands in the x field, as skins expect";

    tool.set_design_size(65535, 65535, false);
    EXPECT_EQ(tool.design_width, 320) << "65535: the screen's size";
    EXPECT_EQ(area->width, 640) << "without rescale nothing moves";
}

TEST_F(PAGE_TOOLS, a_page_is_shown_with_its_picture_scaled_over_its_area)
{
    TEMP_FOLDER pictures;
    write_png(pictures.file("backdrop.png"), 10, 10, 0xFF0000FFu);
    ASSERT_TRUE(write_file(pictures.file("images.cfg"), "backdrop\n\tbackdrop.png\n"));
    WM_PAGE_TOOL_MANAGER tool;
    FOLDER where = folder_at(pictures.path());
    ASSERT_EQ(tool.load_images(&where), 1);
    tool.add_area("Body", 100, 50, 200, 100);
    tool.add_page(0, 77, "Welcome", 0);
    manager = tool.make_page_manager(nullptr);
    static INT_S32 made = 0;
    made = 0;
    EXPECT_TRUE(tool.show_page(77, [](WM_PAGE_TOOL_MANAGER*, const WM_PTM_PAGE_INFO* page, WM_SCREEN_OBJECT* parent) {
        EXPECT_STREQ(page->name, "Welcome");
        parent->add_child(new PROBE("welcome", 110, 60, 10, 10), false);
        ++made;
    }, 0));
    EXPECT_EQ(made, 1);
    EXPECT_EQ(manager->areas[0]->current_entry().id, 77u);
    const IMAGE& background = manager->background[0];
    ASSERT_EQ(background.width, 320);
    EXPECT_EQ(background.at(150, 100).value, COLOUR::from_argb(0xFF0000FFu).value);
    EXPECT_EQ(background.at(299, 149).value, COLOUR::from_argb(0xFF0000FFu).value);
    EXPECT_EQ(background.at(99, 100).alpha(), 0) << "outside the area the background stays empty";
    EXPECT_FALSE(tool.show_page(78, nullptr, 0));
    // The manager belongs to the tool manager, which deletes it.
    manager = nullptr;
}

TEST(PAGE_TOOLS_DEATH, a_second_tool_manager_is_fatal)
{
    RUN_RESULT result = run_in_child([] {
        WM_PAGE_TOOL_MANAGER first;
        WM_PAGE_TOOL_MANAGER second;
    });
    EXPECT_EQ(result.status, 255);
    EXPECT_NE(result.output.find("Two page tool managers declared"), std::string::npos) << result.output;
}
