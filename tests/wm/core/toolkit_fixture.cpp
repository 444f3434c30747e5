// The toolkit tests' shared screen and probe widget.

#include "toolkit_fixture.h"

#include "graphics/image.h"

std::vector<std::string> probe_log;

PROBE::PROBE(const char* name_in, INT_S32 x_in, INT_S32 y_in, INT_S32 width_in, INT_S32 height_in, COLOUR fill_in,
    bool focusable_in)
    : WM_SCREEN_OBJECT(true)
    , name(name_in)
    , fill(fill_in)
{
    x = static_cast<INT_S16>(x_in);
    y = static_cast<INT_S16>(y_in);
    width = static_cast<INT_U16>(width_in);
    height = static_cast<INT_U16>(height_in);
    focusable = focusable_in ? 1 : 0;
    notify_created();
}

PROBE::~PROBE()
{
    probe_log.push_back("delete:" + name);
}

void PROBE::show(bool with_children)
{
    probe_log.push_back("show:" + name);
    WM_SCREEN_OBJECT::show(with_children);
}

INT_S32 PROBE::update()
{
    probe_log.push_back("update:" + name);
    INT_S32 code = WM_SCREEN_OBJECT::update();
    if (code != 0)
        return code;
    // A key that went down before the focus arrived is no click of this object.
    if (keyboard_clicks && visible) {
        bool down = has_focus() && activate_key_is_down();
        bool released = key_was_down && !down && has_focus();
        key_was_down = down;
        if (released && left_callback)
            return left_callback(this, left_data1, left_data2);
    }
    return update_code;
}

INT_S32 PROBE::animate(bool overlays)
{
    probe_log.push_back("animate:" + name);
    INT_S32 code = WM_SCREEN_OBJECT::animate(overlays);
    return code != 0 ? code : animate_code;
}

void PROBE::paint()
{
    ++paints;
    probe_log.push_back("paint:" + name);
    if (fill.alpha() != 0)
        wm_toolkit.draw_target->fill_box(x, y, static_cast<INT_S16>(x + width - 1), static_cast<INT_S16>(y + height - 1),
            fill, false);
}

INT_S32 log_count(const std::string& prefix)
{
    INT_S32 count = 0;
    for (const std::string& line : probe_log)
        count += line.compare(0, prefix.size(), prefix) == 0 ? 1 : 0;
    return count;
}

std::vector<std::string> log_names(const std::string& what)
{
    std::vector<std::string> names;
    std::string prefix = what + ":";
    for (const std::string& line : probe_log) {
        if (line.compare(0, prefix.size(), prefix) == 0)
            names.push_back(line.substr(prefix.size()));
    }
    return names;
}

void TOOLKIT_TEST::SetUp()
{
    probe_log.clear();
    headless_reset(1024, 768);
    headless_keep_frames(64);
    reset_toolkit_state();
    open_screen(320, 240);
}

void TOOLKIT_TEST::TearDown()
{
    delete manager;
    manager = nullptr;
    // Overlays nobody owns any more are the test's leftovers.
    while (LLIST_NODE* node = wm_toolkit.overlay_list.tail()) {
        WM_SCREEN_OBJECT* overlay = list_object(node);
        wm_toolkit.overlay_list.remove_node(node);
        if (!overlay->not_owned)
            delete overlay;
    }
    reset_toolkit_state();
    close_window(0);
    headless_shutdown();
}

void TOOLKIT_TEST::open_screen(INT_U16 width, INT_U16 height)
{
    WINDOW_REQUEST request;
    request.title = "Toolkit test";
    request.width = width;
    request.height = height;
    ASSERT_TRUE(open_window(request, 0));
    wm_toolkit.draw_target = back_buffer_of(0);
}

WM_PAGE_MANAGER* TOOLKIT_TEST::make_manager(INT_S32 areas)
{
    manager = new WM_PAGE_MANAGER(areas, 64);
    return manager;
}

INT_S32 TOOLKIT_TEST::frame()
{
    pump_events();
    return manager->update(true);
}

INT_U32 TOOLKIT_TEST::pixel(INT_S32 x, INT_S32 y)
{
    return back_buffer_of(0)->at(x, y).value;
}

void TOOLKIT_TEST::repaint_roots(const std::vector<WM_SCREEN_OBJECT*>& roots)
{
    IMAGE* target = wm_toolkit.draw_target;
    WM_DIRTY_LIST& list = wm_toolkit.dirty_rects;
    for (INT_S32 i = 0; i < list.count; ++i) {
        wm_toolkit.current_dirty_rect = i;
        target->set_clip(list.rects[i].x1, list.rects[i].y1, list.rects[i].x2, list.rects[i].y2);
        for (WM_SCREEN_OBJECT* root : roots)
            root->draw();
        target->set_clip(0, 0, static_cast<INT_S16>(target->width - 1), static_cast<INT_S16>(target->height - 1));
    }
    wm_toolkit.current_dirty_rect = -1;
    list.clear();
}
