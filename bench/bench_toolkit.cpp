// The toolkit's repaint and transitions on a 1920 by 1080 screen of the headless display.
//
//  - a full repaint of a page of 200 plain objects, against memcpy of one frame (goal under 10x);
//  - the repaint after one object changed, against the full repaint (goal under 2 percent);
//  - a 700 ms fade-in on the process clock: the frames it draws (goal at least 40).
//
//   build/bench/bench_toolkit [repetitions]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "frame/screen.h"
#include "graphics/image.h"
#include "host/headless/headless_display.h"
#include "bench_common.h"
#include "host/host.h"
#include "host/input.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_page_manager.h"

namespace {

constexpr INT_S32 WIDTH = 1920;
constexpr INT_S32 HEIGHT = 1080;

using bench::median_seconds;

volatile INT_U32 sink;

// A plain object: a filled box, as simple a widget as there is.
class BOX : public WM_SCREEN_OBJECT {
public:
    BOX(INT_S32 x_in, INT_S32 y_in, INT_S32 w, INT_S32 h, COLOUR fill_in) : WM_SCREEN_OBJECT(true), fill(fill_in)
    {
        x = static_cast<INT_S16>(x_in);
        y = static_cast<INT_S16>(y_in);
        width = static_cast<INT_U16>(w);
        height = static_cast<INT_U16>(h);
        notify_created();
    }
    void paint() override
    {
        wm_toolkit.draw_target->fill_box(x, y, static_cast<INT_S16>(x + width - 1), static_cast<INT_S16>(y + height - 1),
            fill, false);
    }
    COLOUR fill;
};

// 200 objects, 20 across and 10 down, with a gap between them so that the background shows.
void build_boxes(WM_PAGE_MANAGER* manager, PTR_INT_CAST shade)
{
    for (INT_S32 i = 0; i < 200; ++i) {
        INT_S32 column = i % 20, row = i / 20;
        COLOUR fill = COLOUR::from_channels(static_cast<INT_U8>(column * 12), static_cast<INT_U8>(row * 25),
            static_cast<INT_U8>(shade), 255);
        manager->current_area_object->add_child(new BOX(column * 96 + 4, row * 108 + 4, 88, 100, fill), false);
    }
}

// The colour of the object under (1900, 1000): column 19, row 9 of the page of shade 90.
const COLOUR BOX_AT_1900_1000 = COLOUR::from_channels(19 * 12, 9 * 25, 90, 255);

void report(const char* name, double seconds, double reference, const char* against, double goal, bool below)
{
    double ratio = seconds / reference;
    bool met = below ? ratio < goal : ratio >= goal;
    printf("%-44s %9.3f ms  %8.4fx %s  (goal %s %g: %s)\n", name, seconds * 1000, ratio, against, below ? "under" : "at least",
        goal, met ? "met" : "missed");
}

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    int repetitions = argc > 1 ? atoi(argv[1]) : 31;
    if (repetitions < 1)
        repetitions = 1;

    headless_reset(2000, 1200);
    headless_keep_frames(1);
    WINDOW_REQUEST request;
    request.width = WIDTH;
    request.height = HEIGHT;
    request.no_decorations = 1;
    if (!open_window(request, 0) || display_width(0) != WIDTH || display_height(0) != HEIGHT) {
        fprintf(stderr, "bench_toolkit: no 1920x1080 screen on the headless display\n");
        return 1;
    }
    // Time runs on the process clock here: the fade is measured as a person would see it.
    set_millisecond_clock(nullptr);

    WM_PAGE_MANAGER* manager = new WM_PAGE_MANAGER(1, 64);
    manager->background_colour = COLOUR::from_argb(0xFF203040u);
    manager->transition_time = 0;
    manager->set_page(0, build_boxes, nullptr, 90, nullptr, true, 1, nullptr);
    manager->update(true);
    WM_SCREEN_OBJECT* area = manager->areas[0];
    if (area->child_count() != 200) {
        fprintf(stderr, "bench_toolkit: the page has %d objects\n", static_cast<int>(area->child_count()));
        return 1;
    }

    size_t bytes = static_cast<size_t>(WIDTH) * HEIGHT * sizeof(COLOUR);
    std::vector<unsigned char> from(bytes, 1), to(bytes, 2);
    auto nothing = [] {};
    double frame_copy = median_seconds(repetitions, nothing, [&] {
        memcpy(to.data(), from.data(), bytes);
        sink = to[bytes / 2];
    });
    printf("1920x1080, 200 objects, %d repetitions, medians; memcpy of one frame (%zu bytes): %.3f ms\n\n",
        repetitions, bytes, frame_copy * 1000);

    // Each full repaint starts from a screen painted over, and must give the page back.
    BACK_BUFFER* screen = back_buffer_of(0);
    auto spoil = [&] {
        screen->clear(COLOUR::from_argb(0xFFFF00FFu), true);
        area->mark_all_dirty();
    };
    double full = median_seconds(repetitions, spoil, [&] { manager->repaint(); });
    if (screen->at(1, 1) != manager->background_colour || screen->at(1900, 1000).value != BOX_AT_1900_1000.value) {
        fprintf(stderr, "bench_toolkit: the repaint did not restore the page\n");
        return 1;
    }
    report("full repaint of the page", full, frame_copy, "memcpy", 10, true);

    WM_SCREEN_OBJECT* changed = area->get_child(57);
    double one = median_seconds(repetitions, [&] { changed->show(false); }, [&] { manager->repaint(); });
    report("repaint after one object changed", one, full, "full repaint", 0.02, true);

    // The fade: frames drawn in 700 ms of the process clock, each presented.
    manager->transition_time = 700;
    manager->set_page(0, build_boxes, nullptr, 200, nullptr, true, 2, nullptr);
    auto start = std::chrono::steady_clock::now();
    manager->change_page(WM_ACTION_PAGE_FADE_IN, 0);
    double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    INT_S32 frames = manager->transition_frames;
    printf("%-44s %9.3f ms  %5d frames, %.1f per second  (goal at least 40: %s)\n", "fade-in of 700 ms", took * 1000,
        static_cast<int>(frames), frames / took, frames >= 40 ? "met" : "missed");

    delete manager;
    close_window(0);
    headless_shutdown();
    return 0;
}
