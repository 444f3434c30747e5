// The toolkit for real: a page on the X11 display of a private Xvfb, driven by xdotool. The
// focus frame shows on the server's picture, Tab moves it, Return activates the focused object
// and the pointer reaches the object under it.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "frame/screen.h"
#include "host/display.h"
#include "host/input.h"
#include "host/linux/x11_display.h"
#include "host/linux/x11_library.h"
#include "test_support.h"
#include "toolkit_fixture.h"
#include "x_server.h"

namespace {

constexpr int WAIT_MS = 5000;

INT_S32 activations = 0;
INT_S32 secondary_clicks = 0;

INT_S32 activated(WM_SCREEN_OBJECT*, PTR_INT_CAST, PTR_INT_CAST)
{
    ++activations;
    return 1;
}

INT_S32 secondary(WM_SCREEN_OBJECT*, PTR_INT_CAST, PTR_INT_CAST)
{
    ++secondary_clicks;
    return 0;
}

class TOOLKIT_ON_X : public ::testing::Test {
protected:
    void SetUp() override
    {
        probe_log.clear();
        activations = secondary_clicks = 0;
        server = std::make_unique<XVFB_SERVER>("640x480x24");
        ASSERT_TRUE(server->running()) << "Xvfb did not start";
        server->use();
        reset_input_state();
        reset_toolkit_state();
        use_display_back_end(x11_display_back_end());
        WINDOW_REQUEST request;
        request.title = "Toolkit On X";
        request.width = 320;
        request.height = 240;
        ASSERT_TRUE(open_window(request, 0)) << display_failure_text();
        wm_toolkit.draw_target = back_buffer_of(0);
        manager = new WM_PAGE_MANAGER(1, 64);
        first = new PROBE("first", 20, 20, 80, 30, COLOUR::from_argb(0xFF3060A0u), true);
        second = new PROBE("second", 20, 80, 80, 30, COLOUR::from_argb(0xFF3060A0u), true);
        first->keyboard_clicks = second->keyboard_clicks = true;
        second->left_callback = activated;
        first->right_callback = secondary;
        manager->areas[0]->add_child(first, false);
        manager->areas[0]->add_child(second, false);
    }
    void TearDown() override
    {
        delete manager;
        reset_toolkit_state();
        close_window(0);
        host_close_display();
        use_display_back_end(nullptr);
        reset_input_state();
        server.reset();
    }

    // Runs frames of the loop (pump, update, present) until the condition holds.
    bool run_until(const std::function<bool()>& condition)
    {
        return wait_until(
            [&] {
                pump_events();
                manager->update(true);
                return condition();
            },
            WAIT_MS);
    }

    // The server's picture of the window at (x, y), as 0xRRGGBB.
    unsigned long server_pixel(int x, int y)
    {
        if (!load_x11())
            return ~0UL;
        Display* other = x11.XOpenDisplay(server->display().c_str());
        if (!other)
            return ~0UL;
        unsigned long value = ~0UL;
        XImage* image = x11.XGetImage(other, x11_window_id(), x, y, 1, 1, ~0UL, ZPixmap);
        if (image) {
            value = image->f.get_pixel(image, 0, 0) & 0xFFFFFFUL;
            image->f.destroy_image(image);
        }
        x11.XCloseDisplay(other);
        return value;
    }

    std::string window() const { return std::to_string(x11_window_id()); }

    std::unique_ptr<XVFB_SERVER> server;
    WM_PAGE_MANAGER* manager { nullptr };
    PROBE* first { nullptr };
    PROBE* second { nullptr };
};

} // namespace

TEST_F(TOOLKIT_ON_X, the_keyboard_and_the_pointer_work_the_page_on_a_real_display)
{
    ASSERT_EQ(wait_for_window(*server, "Toolkit On X", WAIT_MS), window());
    ASSERT_TRUE(run_until([&] { return wm_toolkit.focus_object == first; }));
    // The server shows the page with the focus frame on the first object.
    EXPECT_TRUE(wait_until([&] { return server_pixel(21, 21) == 0x000000UL; }, WAIT_MS));
    EXPECT_EQ(server_pixel(40, 35), 0x3060A0UL);
    EXPECT_EQ(server_pixel(21, 81), 0x3060A0UL);

    xdotool(*server, { "windowfocus", "--sync", window() });
    xdotool(*server, { "key", "Tab" });
    ASSERT_TRUE(run_until([&] { return wm_toolkit.focus_object == second; }));
    EXPECT_TRUE(wait_until([&] { return server_pixel(21, 81) == 0x000000UL; }, WAIT_MS));
    EXPECT_EQ(server_pixel(21, 21), 0x3060A0UL) << "the frame left the first object";

    xdotool(*server, { "keydown", "Return" });
    ASSERT_TRUE(run_until([] { return ORLU_EVENT_CLIENT::key_is_down(KEY_RETURN); }));
    xdotool(*server, { "keyup", "Return" });
    EXPECT_TRUE(run_until([] { return activations == 1; }));

    // A press held over the first object, as a person's click is seen by the frames between.
    xdotool(*server, { "mousemove", "--window", window(), "50", "30", "mousedown", "3" });
    EXPECT_TRUE(run_until([] { return secondary_clicks == 1; })) << "the press";
    EXPECT_EQ(wm_toolkit.focus_object, first) << "a press takes the focus";
    xdotool(*server, { "mouseup", "3" });
    EXPECT_TRUE(run_until([] { return secondary_clicks == 2; })) << "the release";
    EXPECT_EQ(activations, 1);
}
