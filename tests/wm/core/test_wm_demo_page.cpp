// A small page as an application would build it: a panel, a title, a text and two buttons, each
// styled by a style set of the sample skin, shown by the page manager on the headless screen and
// compared with a reference picture within a tolerance. The reference in tests/data was looked at
// once and frozen.

#include <string>

#include "styled_box.h"
#include "toolkit_fixture.h"
#include "widget_screen.h"

#include "graphics/font.h"
#include "io/folder.h"
#include "wm/core/wm_action.h"

namespace {

FOLDER folder_at(const std::string& path)
{
    FOLDER folder;
    EXPECT_TRUE(folder.set_raw(path.c_str()));
    return folder;
}

const std::string skin = std::string(ORLU_SOURCE_DIR) + "/samples/skin";

// The page's looks, read from the sample skin's files.
struct DEMO_STYLES {
    WM_STYLE_SET panel, title, text, button;
};
DEMO_STYLES* styles = nullptr;

void build_demo(WM_PAGE_MANAGER* manager, PTR_INT_CAST)
{
    WM_SCREEN_OBJECT* area = manager->current_area_object;
    area->add_child(new STYLED_BOX(20, 16, 280, 208, &styles->panel, nullptr), false);
    area->add_child(new STYLED_BOX(28, 24, 264, 32, &styles->title, "Sample Installer"), false);
    area->add_child(new STYLED_BOX(28, 64, 264, 100,
                        &styles->text, "This page is built from the sample skin's style sets."),
        false);
    STYLED_BOX* back = new STYLED_BOX(120, 180, 80, 30, &styles->button, "Back");
    STYLED_BOX* next = new STYLED_BOX(208, 180, 80, 30, &styles->button, "Next");
    back->focusable = next->focusable = 1;
    area->add_child(back, false);
    area->add_child(next, false);
}

class DEMO_PAGE : public TOOLKIT_TEST {
protected:
    void SetUp() override
    {
        TOOLKIT_TEST::SetUp();
        disable_font_autoload();
        start_font_system();
        FOLDER fonts = folder_at(std::string(ORLU_SOURCE_DIR) + "/samples/fonts");
        ASSERT_EQ(load_font("BabelSans.ttf", nullptr, 10, &fonts), 10);
        ASSERT_EQ(load_font("BabelSans-Bold.ttf", nullptr, 8, &fonts), 8);
        styles = new DEMO_STYLES;
        ASSERT_TRUE(styles->panel.load_file(folder_at(skin + "/dialog"), "background.ss"));
        ASSERT_TRUE(styles->title.load_file(folder_at(skin + "/dialog"), "title.ss"));
        ASSERT_TRUE(styles->text.load_file(folder_at(skin + "/dialog"), "text.ss"));
        ASSERT_TRUE(styles->button.load_file(folder_at(skin + "/button"), "button.ss"));
    }
    void TearDown() override
    {
        delete manager;
        manager = nullptr;
        delete styles;
        styles = nullptr;
        stop_font_system();
        TOOLKIT_TEST::TearDown();
    }
};

} // namespace

TEST_F(DEMO_PAGE, a_page_styled_by_the_sample_skin_looks_as_its_reference)
{
    make_manager(1);
    manager->transition_time = 0;
    manager->background_colour = COLOUR::from_argb(0xFF2E3436u);
    manager->set_page(0, build_demo, nullptr, 0, nullptr, true, 1, nullptr);
    EXPECT_EQ(frame(), WM_ACTION_PAGE);
    frame();
    const HEADLESS_FRAME* shown = headless_last_frame();
    ASSERT_NE(shown, nullptr);
    // The presented frame, as an image.
    IMAGE picture(static_cast<INT_S16>(shown->width), static_cast<INT_S16>(shown->height));
    for (INT_S32 y = 0; y < shown->height; ++y)
        for (INT_S32 x = 0; x < shown->width; ++x)
            picture.at(x, y).value = shown->pixel(x, y);
    compare_with_reference(picture, "toolkit_demo_page.png");

    // Sanity beside the picture: the panel's face, the title bar's colour, the focus on "Back".
    EXPECT_EQ(COLOUR(shown->pixel(45, 40)).argb() & 0xFFFFFFu, 0x3465A4u) << "the title's background";
    EXPECT_EQ(static_cast<STYLED_BOX*>(wm_toolkit.focus_object)->text, "Back");
}
