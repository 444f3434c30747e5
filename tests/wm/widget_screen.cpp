#include "widget_screen.h"

#include <cstdlib>

#include "frame/screen.h"
#include "graphics/font.h"
#include "host/headless/headless_display.h"
#include "host/input.h"
#include "io/data_file.h"
#include "io/folder.h"
#include "wm/core/wm_look.h"

namespace {

const std::string source_folder = ORLU_SOURCE_DIR;

void build_empty_page(WM_PAGE_MANAGER*, PTR_INT_CAST) {}

} // namespace

void WIDGET_SCREEN::SetUp()
{
    headless_reset(1024, 768);
    headless_set_time(START_TIME);
    // Widgets given no style set draw in their built-in looks unless a test supplies the
    // application's; an earlier test in the same run may have left its own behind.
    set_toolkit_hints_present(false);
    WINDOW_REQUEST request;
    request.width = SCREEN_WIDTH;
    request.height = SCREEN_HEIGHT;
    ASSERT_TRUE(open_window(request, 0));
    ASSERT_EQ(display_width(0), SCREEN_WIDTH);
    ASSERT_EQ(display_height(0), SCREEN_HEIGHT);

    disable_font_autoload();
    start_font_system();
    FOLDER fonts;
    ASSERT_TRUE(fonts.set_raw((source_folder + "/samples/fonts").c_str()));
    ASSERT_EQ(load_font("BabelSans.ttf", nullptr, 10, &fonts), 10);
    ASSERT_EQ(load_font("BabelSans-Bold.ttf", nullptr, 8, &fonts), 8);

    reset_toolkit_state();
    manager = new WM_PAGE_MANAGER(1, 256);
    manager->background_colour = PAGE_COLOUR;
    page = manager->areas[0];
    // An area made with a size of 0 takes the display's when it is first asked; ask before the
    // page marks it dirty, or the first repaint has nothing to cover.
    (void)page->get_width();
    (void)page->get_height();
    manager->set_page(0, build_empty_page, nullptr, 0, nullptr, true, 1, nullptr);
    manager->process_all(0);
    page->mark_all_dirty();
    frame();
}

void WIDGET_SCREEN::TearDown()
{
    // Overlays belong to nobody's tree: they go with the list.
    if (page)
        page->clear_objects(true, false);
    delete manager;
    manager = nullptr;
    reset_toolkit_state();
    for (INT_S32 i = 0; i < style_count; ++i)
        delete styles[i];
    style_count = 0;
    close_window(0);
    headless_shutdown();
    stop_font_system();
}

INT_S32 WIDGET_SCREEN::frame()
{
    headless_end_frame();
    pump_events();
    return manager->update(true);
}

INT_S32 WIDGET_SCREEN::frames(INT_S32 n, INT_U32 step)
{
    INT_S32 last = 0;
    for (INT_S32 i = 0; i < n; ++i) {
        if (step)
            advance(step);
        INT_S32 code = frame();
        if (code)
            last = code;
    }
    return last;
}

void WIDGET_SCREEN::advance(INT_U32 milliseconds)
{
    headless_advance_time(milliseconds);
}

void WIDGET_SCREEN::move(INT_S32 x, INT_S32 y)
{
    headless_move_pointer(x, y);
}

void WIDGET_SCREEN::press()
{
    headless_press_button(1);
}

void WIDGET_SCREEN::release()
{
    headless_release_button(1);
}

void WIDGET_SCREEN::key_down(INT_U32 keysym, INT_U32 character)
{
    headless_press_key(keysym, character);
}

void WIDGET_SCREEN::key_up(INT_U32 keysym)
{
    headless_release_key(keysym);
}

INT_S32 WIDGET_SCREEN::click(INT_S32 x, INT_S32 y)
{
    move(x, y);
    press();
    INT_S32 first = frame();
    release();
    INT_S32 second = frame();
    return second ? second : first;
}

INT_S32 WIDGET_SCREEN::type_key(INT_U32 keysym, INT_U32 character)
{
    key_down(keysym, character);
    INT_S32 first = frame();
    key_up(keysym);
    INT_S32 second = frame();
    return second ? second : first;
}

void WIDGET_SCREEN::add(WM_SCREEN_OBJECT* object)
{
    page->add_child(object, false);
}

void WIDGET_SCREEN::add_overlay(WM_SCREEN_OBJECT* object)
{
    page->add_overlay(object, false);
}

IMAGE* WIDGET_SCREEN::screen() const
{
    return back_buffer_of(0);
}

COLOUR WIDGET_SCREEN::pixel(INT_S32 x, INT_S32 y) const
{
    return screen()->at(x, y);
}

INT_S32 WIDGET_SCREEN::count_not(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, COLOUR colour) const
{
    INT_S32 count = 0;
    for (INT_S32 y = y1; y <= y2; ++y)
        for (INT_S32 x = x1; x <= x2; ++x)
            count += screen()->at(x, y) != colour;
    return count;
}

bool WIDGET_SCREEN::all_of(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, COLOUR colour) const
{
    return count_not(x1, y1, x2, y2, colour) == 0;
}

void WIDGET_SCREEN::grab(IMAGE* out, INT_S32 x, INT_S32 y, INT_S32 width, INT_S32 height) const
{
    out->set_size(static_cast<INT_S16>(width), static_cast<INT_S16>(height));
    IMAGE::blit(out, screen(), static_cast<INT_S16>(x), static_cast<INT_S16>(y), 0, 0, static_cast<INT_S16>(width),
        static_cast<INT_S16>(height), BLIT_COPY);
}

WM_STYLE_SET* WIDGET_SCREEN::sample_style(const char* path)
{
    std::string full = source_folder + "/samples/skin/" + path;
    size_t slash = full.rfind('/');
    FOLDER folder;
    EXPECT_TRUE(folder.set_raw(full.substr(0, slash).c_str()));
    WM_STYLE_SET* style = new WM_STYLE_SET;
    EXPECT_TRUE(style->load_file(folder, full.substr(slash + 1).c_str())) << path;
    if (style_count < 16)
        styles[style_count++] = style;
    return style;
}

INT_S32 count_differences(const IMAGE& a, const IMAGE& b, INT_S32 tolerance)
{
    if (a.width != b.width || a.height != b.height)
        return a.width * a.height + 1;
    INT_S32 count = 0;
    for (INT_S32 y = 0; y < a.height; ++y) {
        for (INT_S32 x = 0; x < a.width; ++x) {
            COLOUR p = a.at(x, y);
            COLOUR q = b.at(x, y);
            bool differs = abs(p.red() - q.red()) > tolerance || abs(p.green() - q.green()) > tolerance
                || abs(p.blue() - q.blue()) > tolerance || abs(p.alpha() - q.alpha()) > tolerance;
            count += differs;
        }
    }
    return count;
}

namespace {

// What a test drew, beside the build as actual_<name>, to be looked at when it does not match its
// reference (or, for a new test, to become the reference once checked by eye).
void save_actual(const IMAGE& image, const char* name)
{
    FOLDER folder;
    if (!folder.set_raw(ORLU_BUILD_DIR))
        return;
    std::string file_name = std::string("actual_") + name;
    DATA_FILE* file = folder.open_data_file(file_name.c_str(), FILE_WRITE, 0, false);
    if (!file)
        return;
    (void)image.save_png(file);
    FOLDER::close_data_file(&file);
}

} // namespace

void compare_with_reference(const IMAGE& image, const char* name)
{
    const std::string reference_folder = source_folder + "/tests/data";
    FOLDER folder;
    ASSERT_TRUE(folder.set_raw(reference_folder.c_str()));
    IMAGE stored;
    bool loaded = stored.load_png(folder, name);
    bool same_size = loaded && stored.width == image.width && stored.height == image.height;
    // Another FreeType may place an edge of a glyph a little differently: up to 1% of the pixels
    // may differ by much, none of the others by more than a little.
    INT_S32 pixels = image.width * image.height;
    INT_S32 far_off = same_size ? count_differences(image, stored, 48) : pixels;
    INT_S32 near_off = same_size ? count_differences(image, stored, 4) : pixels;
    bool matches = far_off * 100 <= pixels && near_off * 100 <= pixels * 3;
    if (!matches)
        save_actual(image, name);
    ASSERT_TRUE(loaded) << "no reference " << reference_folder << "/" << name << " (drawn: build/actual_" << name << ")";
    ASSERT_TRUE(same_size) << name << ": " << image.width << "x" << image.height << " drawn, reference "
                           << stored.width << "x" << stored.height;
    EXPECT_LE(far_off * 100, pixels) << name << ": " << far_off << " pixels differ by much (drawn: build/actual_" << name << ")";
    EXPECT_LE(near_off * 100, pixels * 3) << name << ": " << near_off << " pixels differ";
}
