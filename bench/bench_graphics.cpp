// Raster loop benchmark on a 1920 by 1080 image. Every figure is the median time of an operation
// divided by the median time of memcpy over the same number of bytes, measured in the same run,
// so the ratios compare across machines.
//
//   build/bench/bench_graphics [repetitions]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "bench_common.h"
#include "graphics/image.h"
#include "host/host.h"

namespace {

constexpr INT_S16 WIDTH = 1920;
constexpr INT_S16 HEIGHT = 1080;

using bench::median_seconds;

// Keeps the optimiser from dropping work whose result nobody reads.
volatile INT_U32 sink;

void fill_pattern(IMAGE& image, bool translucent)
{
    for (INT_S32 y = 0; y < image.height; ++y)
        for (INT_S32 x = 0; x < image.width; ++x) {
            INT_U32 alpha = translucent ? 1 + static_cast<INT_U32>(x * 7 + y * 3) % 248 : 255;
            image.at(x, y) = COLOUR::from_channels(static_cast<INT_U8>(x), static_cast<INT_U8>(y),
                static_cast<INT_U8>(x ^ y), static_cast<INT_U8>(alpha));
        }
}

void report(const char* name, double seconds, double baseline, double goal)
{
    double ratio = seconds / baseline;
    if (goal > 0)
        printf("%-44s %8.3f ms  %6.2fx memcpy  (goal %.1fx: %s)\n", name, seconds * 1000, ratio, goal,
            ratio <= goal ? "met" : "missed");
    else
        printf("%-44s %8.3f ms  %6.2fx memcpy\n", name, seconds * 1000, ratio);
}

} // namespace

int main(int argc, char** argv)
{
    host_attach_reports();
    int repetitions = argc > 1 ? atoi(argv[1]) : 41;
    if (repetitions < 1)
        repetitions = 1;

    IMAGE opaque(WIDTH, HEIGHT), translucent(WIDTH, HEIGHT), target(WIDTH, HEIGHT);
    fill_pattern(opaque, false);
    fill_pattern(translucent, true);
    target.clear(COLOUR_NAVY, true);

    size_t bytes = static_cast<size_t>(WIDTH) * HEIGHT * sizeof(COLOUR);
    std::vector<unsigned char> from(bytes, 1), to(bytes, 2);
    auto nothing = [] {};
    double baseline = median_seconds(repetitions, nothing, [&] {
        memcpy(to.data(), from.data(), bytes);
        sink = to[bytes / 2];
    });
    printf("1920x1080, %d repetitions, medians; memcpy of %zu bytes: %.3f ms\n\n", repetitions, bytes,
        baseline * 1000);

    report("opaque blit (BLIT_COPY)", median_seconds(repetitions, nothing, [&] {
        IMAGE::blit(&target, &opaque, 0, 0, 0, 0, WIDTH, HEIGHT, BLIT_COPY);
    }), baseline, 1.2);
    report("opaque source, BLIT_ALPHA", median_seconds(repetitions, nothing, [&] {
        IMAGE::blit(&target, &opaque, 0, 0, 0, 0, WIDTH, HEIGHT, BLIT_ALPHA);
    }), baseline, 0);
    // Every pixel between alpha 1 and 248: the blend runs on all of them.
    report("alpha blit (every pixel translucent)", median_seconds(repetitions, [&] {
        IMAGE::blit(&target, &opaque, 0, 0, 0, 0, WIDTH, HEIGHT, BLIT_COPY);
    }, [&] {
        IMAGE::blit(&target, &translucent, 0, 0, 0, 0, WIDTH, HEIGHT, BLIT_ALPHA);
    }), baseline, 4.0);
    report("alpha fill (fill_box, alpha 128)", median_seconds(repetitions, nothing, [&] {
        target.fill_box(0, 0, WIDTH - 1, HEIGHT - 1, COLOUR::from_channels(200, 100, 50, 128), true);
    }), baseline, 0);

    // Scaling makes a new pixel block each time, allocation included; the source is rebuilt
    // outside the timed part.
    IMAGE scaled;
    IMAGE small(1280, 720);
    fill_pattern(small, false);
    report("nearest-neighbour scale 1280x720 -> 1920x1080", median_seconds(repetitions, [&] {
        scaled.set_size(1280, 720);
        IMAGE::blit(&scaled, &small, 0, 0, 0, 0, 1280, 720, BLIT_COPY);
    }, [&] { scaled.scale(WIDTH, HEIGHT, false); }), baseline, 0);
    sink = target.at(5, 5).value + scaled.at(7, 7).value;
    return 0;
}
