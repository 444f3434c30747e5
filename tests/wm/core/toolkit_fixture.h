// What the toolkit tests share: a headless screen, a probe widget that records what is asked of
// it, and frame helpers.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "frame/screen.h"
#include "host/headless/headless_display.h"
#include "host/input.h"
#include "wm/core/wm_page_manager.h"
#include "wm/core/wm_screen_object.h"

// Every probe writes "<what>:<name>" here.
extern std::vector<std::string> probe_log;

// A widget that records its calls, paints a plain box and answers set codes.
class PROBE : public WM_SCREEN_OBJECT {
public:
    PROBE(const char* name, INT_S32 x, INT_S32 y, INT_S32 width, INT_S32 height, COLOUR fill = COLOUR(),
        bool focusable = false);
    ~PROBE() override;

    void show(bool with_children) override;
    INT_S32 update() override;
    INT_S32 animate(bool overlays) override;
    void paint() override;

    std::string name;
    COLOUR fill;
    INT_S32 update_code { 0 };
    INT_S32 animate_code { 0 };
    // Fires left_callback on the release of the activate key while focused (a keyboard click).
    bool keyboard_clicks { false };
    bool key_was_down { false };
    INT_S32 paints { 0 };
};

// Counts of log lines that begin with a prefix.
INT_S32 log_count(const std::string& prefix);
// The names in the log for one kind of call, in order ("paint" gives the paint order).
std::vector<std::string> log_names(const std::string& what);

class TOOLKIT_TEST : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Opens a screen of the size (the fixture opens 320 by 240).
    void open_screen(INT_U16 width, INT_U16 height);
    // A page manager with `areas` areas (deleted by the fixture).
    WM_PAGE_MANAGER* make_manager(INT_S32 areas);
    // pump_events, then one frame of the page manager with flush. Answers the frame's code.
    INT_S32 frame();
    // The pixel of the back buffer.
    [[nodiscard]] static INT_U32 pixel(INT_S32 x, INT_S32 y);
    // Repaints what is dirty without a page manager: the whole list, each rectangle once, drawing
    // the given roots in order.
    static void repaint_roots(const std::vector<WM_SCREEN_OBJECT*>& roots);

    WM_PAGE_MANAGER* manager { nullptr };
};
