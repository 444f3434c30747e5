// The repaint: only dirty rectangles change on screen, the layers paint in their order
// (background, area 0, area 1, overlays), an area clips its contents, and the synchronous redraw
// leaves the frame's state as it found it.

#include <vector>

#include "page_fixture.h"
#include "wm/core/wm_action.h"

namespace {

class REPAINT : public TOOLKIT_TEST {
protected:
    void SetUp() override
    {
        TOOLKIT_TEST::SetUp();
        make_manager(2);
        manager->transition_time = 0;
    }

    PROBE* box(INT_S32 area, const char* name, INT_S32 x, INT_S32 y, INT_S32 w, INT_S32 h, INT_U32 argb)
    {
        PROBE* probe = new PROBE(name, x, y, w, h, COLOUR::from_argb(argb));
        manager->areas[area]->add_child(probe, false);
        return probe;
    }

    static INT_U32 value(INT_U32 argb) { return COLOUR::from_argb(argb).value; }
};

constexpr INT_U32 SENTINEL = 0xFFFF00FFu;

} // namespace

TEST_F(REPAINT, a_repaint_touches_only_the_pixels_of_the_dirty_rectangles)
{
    // A page of many objects, all painted once.
    std::vector<PROBE*> objects;
    for (INT_S32 i = 0; i < 40; ++i)
        objects.push_back(box(i % 2, "o", (i % 8) * 40, (i / 8) * 45, 36, 40, 0xFF204060u + 0x010101u * i));
    frame();
    // Everything on screen is painted over with a colour nobody uses: what the next repaint does
    // not touch keeps it.
    BACK_BUFFER* screen = back_buffer_of(0);
    screen->clear(COLOUR::from_argb(SENTINEL), true);

    objects[9]->fill = COLOUR::from_argb(0xFFFFFFFFu);
    objects[9]->show(false);
    objects[30]->set_position(objects[30]->x + 3, objects[30]->y);
    ASSERT_GE(wm_toolkit.dirty_rects.count, 1);
    std::vector<WM_DIRTY_RECT> dirty(wm_toolkit.dirty_rects.rects, wm_toolkit.dirty_rects.rects + wm_toolkit.dirty_rects.count);
    frame();

    INT_S32 inside = 0, outside = 0;
    for (INT_S32 y = 0; y < screen->height; ++y) {
        for (INT_S32 x = 0; x < screen->width; ++x) {
            bool in_dirty = false;
            for (const WM_DIRTY_RECT& r : dirty)
                in_dirty = in_dirty || r.overlaps(x, y, x, y);
            if (in_dirty) {
                ++inside;
                ASSERT_NE(pixel(x, y), value(SENTINEL)) << "repainted at " << x << "," << y;
            } else {
                ++outside;
                ASSERT_EQ(pixel(x, y), value(SENTINEL)) << "untouched at " << x << "," << y;
            }
        }
    }
    EXPECT_GT(outside, inside * 10) << "the change was small";
    EXPECT_EQ(pixel(objects[9]->x + 5, objects[9]->y + 5), value(0xFFFFFFFFu));
    // The frame shown is the back buffer; an unchanged frame presents nothing.
    EXPECT_EQ(headless_last_frame()->pixel(objects[9]->x + 5, objects[9]->y + 5), value(0xFFFFFFFFu));
    INT_S32 presented = headless_frames_presented();
    frame();
    frame();
    EXPECT_EQ(headless_frames_presented(), presented);
}

TEST_F(REPAINT, layers_paint_background_then_areas_in_order_then_overlays)
{
    manager->background_colour = COLOUR::from_argb(0xFF101010u);
    box(1, "upper", 50, 50, 100, 100, 0xFF00FF00u);
    box(0, "lower", 0, 0, 100, 100, 0xFFFF0000u);
    PROBE* overlay = new PROBE("overlay", 80, 80, 100, 100, COLOUR::from_argb(0xFF0000FFu));
    manager->areas[1]->add_overlay(overlay, false);
    frame();
    EXPECT_EQ(log_names("paint"), (std::vector<std::string> { "lower", "upper", "overlay" }));
    EXPECT_EQ(pixel(10, 10), value(0xFFFF0000u));
    EXPECT_EQ(pixel(60, 60), value(0xFF00FF00u)) << "area 1 above area 0, whatever the order of building";
    EXPECT_EQ(pixel(90, 90), value(0xFF0000FFu)) << "overlays above every area";
    EXPECT_EQ(pixel(300, 10), value(0xFF101010u));

    manager->areas[1]->remove_overlay(overlay, true, false);
    frame();
    EXPECT_EQ(pixel(90, 90), value(0xFF00FF00u));
    EXPECT_EQ(pixel(170, 170), value(0xFF101010u)) << "where the overlay was alone, the background";
}

TEST_F(REPAINT, the_background_image_is_blitted_with_its_transparency)
{
    manager->background_colour = COLOUR::from_argb(0xFF000000u);
    IMAGE& background = manager->background[0];
    background.set_size(320, 240);
    background.clear(COLOUR::from_argb(0xFFFFFFFFu), true);
    background.fill_box(0, 0, 99, 99, COLOUR::from_argb(0x00FFFFFFu), false);
    manager->areas[0]->mark_all_dirty();
    frame();
    EXPECT_EQ(pixel(200, 200), value(0xFFFFFFFFu));
    EXPECT_EQ(pixel(50, 50), value(0xFF000000u)) << "the colour shows through the transparent part";
}

TEST_F(REPAINT, an_area_clips_what_is_inside_it)
{
    PAGE_AREA* small = manager->areas[1];
    small->follows_display = 0;
    small->set_size(100, 100, false);
    small->set_position(100, 100);
    box(1, "wide", 50, 120, 220, 20, 0xFF00FF00u);
    frame();
    EXPECT_EQ(pixel(150, 130), value(0xFF00FF00u));
    EXPECT_EQ(pixel(60, 130), value(0xFF000000u)) << "left of the area";
    EXPECT_EQ(pixel(250, 130), value(0xFF000000u)) << "right of the area";
}

TEST_F(REPAINT, an_object_is_painted_once_for_each_rectangle_it_touches)
{
    PROBE* tall = box(0, "tall", 10, 0, 20, 240, 0xFF808080u);
    frame();
    tall->paints = 0;
    tall->mark_rect_dirty(0, 0, 40, 10);
    tall->mark_rect_dirty(0, 200, 40, 210);
    ASSERT_EQ(wm_toolkit.dirty_rects.count, 2);
    frame();
    EXPECT_EQ(tall->paints, 2);
}

TEST_F(REPAINT, redraw_now_paints_at_once_and_leaves_the_frames_list_alone)
{
    PROBE* object = box(0, "o", 10, 10, 30, 30, 0xFF123456u);
    frame();
    back_buffer_of(0)->clear(COLOUR::from_argb(SENTINEL), true);
    PROBE elsewhere("elsewhere", 200, 200, 10, 10);
    elsewhere.mark_dirty();
    ASSERT_EQ(wm_toolkit.dirty_rects.count, 1);
    WM_DIRTY_RECT kept = wm_toolkit.dirty_rects.rects[0];

    object->redraw_now();
    EXPECT_EQ(pixel(20, 20), value(0xFF123456u));
    EXPECT_EQ(pixel(100, 100), value(SENTINEL)) << "only the object's rectangle";
    EXPECT_EQ(wm_toolkit.current_dirty_rect, -1);
    ASSERT_EQ(wm_toolkit.dirty_rects.count, 1);
    EXPECT_EQ(wm_toolkit.dirty_rects.rects[0].x1, kept.x1);
    EXPECT_EQ(wm_toolkit.dirty_rects.rects[0].y2, kept.y2);

    // An object on no tree is drawn by redraw_now itself.
    PROBE loose("loose", 250, 10, 20, 20, COLOUR::from_argb(0xFF00FFFFu));
    loose.redraw_now();
    EXPECT_EQ(pixel(255, 15), value(0xFF00FFFFu));

    object->redraw_display(0);
    EXPECT_EQ(pixel(100, 100), value(0xFF000000u)) << "the whole display from the background up";
}
