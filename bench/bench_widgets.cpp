// Widget repaint benchmark on a 1920 by 1080 headless screen with a full-screen background
// picture and a page of 200 buttons, the sample skin's button style.
//
//  - A button's hover change: how many pixels the frame writes (the repainted rectangles), against
//    the button's own area; and its time against a full repaint of the page, measured in the same
//    run.
//  - A dialog's fade-in of the sample skin's open_delay: frames drawn while it fades, on the real
//    clock, and the time of one fade frame against a memcpy of a whole frame.
//
//   build/bench/bench_widgets [repetitions]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "frame/screen.h"
#include "graphics/font.h"
#include "host/headless/headless_display.h"
#include "host/host.h"
#include "host/input.h"
#include "io/config_file.h"
#include "io/folder.h"
#include "wm/core/wm_page_manager.h"
#include "wm/core/wm_style_set.h"
#include "wm/dialogs/wm_dialog.h"
#include "wm/widgets/wm_button.h"

namespace {

constexpr INT_S16 WIDTH = 1920;
constexpr INT_S16 HEIGHT = 1080;
const std::string source_folder = ORLU_SOURCE_DIR;

volatile INT_U32 sink;

double now_seconds()
{
    using CLOCK = std::chrono::steady_clock;
    static const CLOCK::time_point start = CLOCK::now();
    return std::chrono::duration<double>(CLOCK::now() - start).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void build_empty_page(WM_PAGE_MANAGER*, PTR_INT_CAST) {}

// The open_delay of the sample skin's dialog_effects.cfg; 300 when it cannot be read.
INT_S32 sample_open_delay()
{
    FILE* file = fopen((source_folder + "/samples/skin/dialog_effects.cfg").c_str(), "r");
    if (!file)
        return 300;
    char line[256];
    INT_S32 delay = 300;
    bool next = false;
    while (fgets(line, sizeof line, file)) {
        if (next) {
            delay = atoi(line);
            break;
        }
        next = strncmp(line, "open_delay", 10) == 0;
    }
    fclose(file);
    return delay;
}

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    int repetitions = argc > 1 ? atoi(argv[1]) : 41;
    if (repetitions < 3)
        repetitions = 3;

    headless_reset(WIDTH, HEIGHT);
    WINDOW_REQUEST request;
    request.width = WIDTH;
    request.height = HEIGHT;
    request.full_screen = 1;
    if (!open_window(request, 0) || display_width(0) != WIDTH || display_height(0) != HEIGHT) {
        printf("no %dx%d headless screen\n", WIDTH, HEIGHT);
        return 1;
    }
    disable_font_autoload();
    start_font_system();
    FOLDER fonts;
    if (!fonts.set_raw((source_folder + "/samples/fonts").c_str()) || load_font("BabelSans.ttf", nullptr, 10, &fonts) != 10)
        printf("warning: the sample font is missing; text is not drawn\n");

    FOLDER skin;
    WM_STYLE_SET button_style;
    if (!skin.set_raw((source_folder + "/samples/skin/button").c_str()) || !button_style.load_file(skin, "button.ss")) {
        printf("the sample skin's button style cannot be read\n");
        return 1;
    }

    WM_PAGE_MANAGER* manager = new WM_PAGE_MANAGER(1, 256);
    WM_SCREEN_OBJECT* page = manager->areas[0];
    (void)page->get_width();
    manager->background[0].set_size(WIDTH, HEIGHT);
    for (INT_S32 y = 0; y < HEIGHT; ++y)
        for (INT_S32 x = 0; x < WIDTH; ++x)
            manager->background[0].at(x, y)
                = COLOUR::from_channels(static_cast<INT_U8>(x / 8), static_cast<INT_U8>(y / 5), 120, 255);
    manager->set_page(0, build_empty_page, nullptr, 0, nullptr, true, 1, nullptr);
    manager->process_all(0);

    // 200 buttons, 20 across and 10 down.
    WM_BUTTON* buttons[200];
    for (INT_S32 i = 0; i < 200; ++i) {
        INT_S16 bx = static_cast<INT_S16>(20 + (i % 20) * 94);
        INT_S16 by = static_cast<INT_S16>(20 + (i / 20) * 100);
        char title[16];
        snprintf(title, sizeof title, "Item %d", i);
        buttons[i] = new WM_BUTTON(bx, by, static_cast<INT_S16>(bx + 89), static_cast<INT_S16>(by + 35), &button_style,
            title, nullptr, nullptr, 0, 0, TRIGGER_RELEASE);
        page->add_child(buttons[i], false);
    }
    page->mark_all_dirty();
    pump_events();
    manager->update(true);

    size_t frame_bytes = static_cast<size_t>(WIDTH) * HEIGHT * sizeof(COLOUR);
    std::vector<unsigned char> from(frame_bytes, 1), to(frame_bytes, 2);
    std::vector<double> copies;
    for (int i = 0; i < repetitions; ++i) {
        double start = now_seconds();
        memcpy(to.data(), from.data(), frame_bytes);
        sink = to[frame_bytes / 2];
        copies.push_back(now_seconds() - start);
    }
    double copy = median(copies);
    printf("1920x1080, 200 sample-skin buttons over a full-screen picture, %d repetitions, medians\n", repetitions);
    printf("memcpy of one frame (%zu bytes): %.3f ms\n\n", frame_bytes, copy * 1000);

    // --- Full repaint, for comparison ---------------------------------------------------------
    std::vector<double> full;
    for (int i = 0; i < repetitions; ++i) {
        page->mark_all_dirty();
        double start = now_seconds();
        manager->update(false);
        full.push_back(now_seconds() - start);
    }
    double full_time = median(full);
    printf("full repaint of the page                 %8.3f ms  %6.2fx memcpy\n", full_time * 1000, full_time / copy);

    // --- Hover: the pointer goes on and off one button ------------------------------------------
    WM_BUTTON* target = buttons[105];
    INT_S64 area = static_cast<INT_S64>(target->width) * target->height;
    INT_S64 largest = 0;
    std::vector<double> hovers;
    BACK_BUFFER* screen = back_buffer_of(0);
    for (int i = 0; i < repetitions; ++i) {
        bool on = i % 2 == 0;
        input_motion_event(on ? target->x + 10 : 5, on ? target->y + 10 : 5);
        // Everything the frame draws widens the back buffer's dirty rectangle: after a frame
        // without a present it bounds every pixel written.
        screen->clear_dirty();
        double start = now_seconds();
        manager->update(false);
        hovers.push_back(now_seconds() - start);
        INT_S64 pixels = screen->is_dirty() ? static_cast<INT_S64>(screen->dirty_right - screen->dirty_left + 1)
                * (screen->dirty_bottom - screen->dirty_top + 1)
                                            : 0;
        if (pixels > largest)
            largest = pixels;
    }
    INT_S64 margin_area = static_cast<INT_S64>(target->width + 64) * (target->height + 64);
    double hover_time = median(hovers);
    printf("hover change of one button (%dx%d)      %8.3f ms  %6.2f%% of a full repaint\n", target->width,
        target->height, hover_time * 1000, 100 * hover_time / full_time);
    printf("  pixels written per hover: %lld (button area %lld; goal at most %lld with the 32-pixel margin: %s)\n\n",
        static_cast<long long>(largest), static_cast<long long>(area), static_cast<long long>(margin_area),
        largest <= margin_area ? "met" : "missed");

    // --- Dialog fade-in, on the real clock -----------------------------------------------------
    INT_S32 delay = sample_open_delay();
    WM_DIALOG_EFFECT effect;
    effect.flags = DIALOG_FADE_IN | DIALOG_FADE_OUT;
    effect.open_delay = static_cast<INT_U32>(delay);
    INT_S32 runs = repetitions < 5 ? repetitions : 5;
    std::vector<double> frame_counts;
    std::vector<double> frame_times;
    for (INT_S32 run = 0; run < runs; ++run) {
        WM_DIALOG* dialog = new WM_DIALOG(-1, -1, 640, 480, "Installing", nullptr, nullptr, nullptr, &effect);
        page->add_overlay(dialog, false);
        double base = now_seconds();
        INT_U32 clock_base = 1000000 + static_cast<INT_U32>(run) * 100000;
        headless_set_time(clock_base);
        INT_S32 frames = 0;
        double started = 0;
        while (frames < 100000) {
            double t = now_seconds();
            headless_set_time(clock_base + static_cast<INT_U32>((t - base) * 1000));
            manager->update(true);
            if (dialog->alpha > 0 && started == 0)
                started = t;
            if (dialog->target_alpha == 255 && dialog->alpha > 0 && dialog->alpha < 255)
                ++frames;
            if (dialog->alpha == 255)
                break;
        }
        double elapsed = now_seconds() - (started ? started : base);
        frame_counts.push_back(frames);
        frame_times.push_back(frames ? elapsed / frames : 0);
        page->remove_overlay(dialog, true, false);
        manager->update(true);
    }
    double fade_frames = median(frame_counts);
    double fade_frame_time = median(frame_times);
    printf("dialog 640x480 fading in over %d ms: %.0f frames drawn (goal at least 40: %s)\n", delay, fade_frames,
        fade_frames >= 40 ? "met" : "missed");
    printf("  one fade frame %8.3f ms  %6.2fx memcpy of a frame\n", fade_frame_time * 1000, fade_frame_time / copy);

    delete manager;
    close_window(0);
    headless_shutdown();
    stop_font_system();
    return 0;
}
