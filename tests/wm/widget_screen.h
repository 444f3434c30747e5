// A screen for widget tests: the headless display at 640 by 480, the page manager with one area
// showing an empty page, the sample fonts, and a clock that the test moves. Input is scripted and
// delivered by frame(), one frame at a time, as a person's would be.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "graphics/colour.h"
#include "graphics/image.h"
#include "wm/core/wm_page_manager.h"
#include "wm/core/wm_screen_object.h"
#include "wm/core/wm_style_set.h"

constexpr INT_S16 SCREEN_WIDTH = 640;
constexpr INT_S16 SCREEN_HEIGHT = 480;
constexpr INT_U32 START_TIME = 100000;
// The page behind the widgets: one flat colour, so that what a widget paints stands out.
constexpr COLOUR PAGE_COLOUR = COLOUR::from_argb(0xFF204060u);

class WIDGET_SCREEN : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // One frame: the input scripted since the last one, the page manager's frame (animate,
    // update, repaint) and the present. Answers the frame's code.
    INT_S32 frame();
    // n frames, `step` milliseconds apart; answers the last non-zero code.
    INT_S32 frames(INT_S32 n, INT_U32 step = 0);
    void advance(INT_U32 milliseconds);

    // Scripted input, delivered by the next frame().
    void move(INT_S32 x, INT_S32 y);
    void press();
    void release();
    void key_down(INT_U32 keysym, INT_U32 character = 0);
    void key_up(INT_U32 keysym);
    // Press in one frame, release in the next; answers the code of each.
    INT_S32 click(INT_S32 x, INT_S32 y);
    INT_S32 type_key(INT_U32 keysym, INT_U32 character = 0);

    // Puts an object on the page (the area owns it from then on).
    void add(WM_SCREEN_OBJECT* object);
    // Puts an object on the overlay list, as a modal dialog is shown.
    void add_overlay(WM_SCREEN_OBJECT* object);

    // The back buffer as it is now.
    [[nodiscard]] IMAGE* screen() const;
    [[nodiscard]] COLOUR pixel(INT_S32 x, INT_S32 y) const;
    // Whether every pixel of the rectangle (inclusive) has the colour.
    [[nodiscard]] bool all_of(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, COLOUR colour) const;
    // Pixels of the rectangle that differ from the colour.
    [[nodiscard]] INT_S32 count_not(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, COLOUR colour) const;
    // A copy of the rectangle of the screen.
    void grab(IMAGE* out, INT_S32 x, INT_S32 y, INT_S32 width, INT_S32 height) const;

    // A style set of the sample skin ("button/button.ss"); fails the test when it cannot be read.
    WM_STYLE_SET* sample_style(const char* path);

    WM_PAGE_MANAGER* manager { nullptr };
    WM_SCREEN_OBJECT* page { nullptr };

private:
    WM_STYLE_SET* styles[16] {};
    INT_S32 style_count { 0 };
};

// Compares a picture with the stored reference tests/data/<name> within a tolerance: a few
// pixels may differ by much (an edge a font hints differently), the rest by little. The
// references were looked at by eye and are only read here: the code under test never writes its
// own expectation.
void compare_with_reference(const IMAGE& image, const char* name);

// Pixels that differ between two pictures of the same size, by more than `tolerance` in any
// channel.
INT_S32 count_differences(const IMAGE& a, const IMAGE& b, INT_S32 tolerance = 0);
