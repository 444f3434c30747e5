// Page transitions. Each frame function is checked at the start, the middle and the end of its
// time against pixels worked out from the effect's formula; then the page manager's loops run on
// a clock that the test moves, and every presented frame is checked the same way. A click made
// while a transition blocks reaches the new page.

#include <cstdlib>
#include <deque>
#include <functional>

#include "page_fixture.h"
#include "graphics/image.h"
#include "wm/core/wm_action.h"
#include "wm/core/wm_transition.h"

namespace {

// --- The formulas, as the effects are described --------------------------------------------------

struct RGB {
    INT_S32 r, g, b;
};

RGB rgb_of(INT_U32 value)
{
    COLOUR c(value);
    return { c.red(), c.green(), c.blue() };
}

// The snapshot at alpha over a colour: s * a / 255 + d * (255 - a) / 255.
RGB over(RGB s, RGB d, INT_S32 a)
{
    auto mix = [a](INT_S32 sv, INT_S32 dv) { return (sv * a + dv * (255 - a) + 127) / 255; };
    return { mix(s.r, d.r), mix(s.g, d.g), mix(s.b, d.b) };
}

INT_S32 grey_of(RGB c, bool luminance)
{
    return luminance ? (30 * c.r + 59 * c.g + 11 * c.b) / 100 : (c.r + c.g + c.b) / 3;
}

// Each channel moved elapsed / time of the way from `from` to `to`, in integers.
RGB towards(RGB from, RGB to, INT_S32 elapsed, INT_S32 time)
{
    auto step = [&](INT_S32 f, INT_S32 t) { return f + (t - f) * elapsed / time; };
    return { step(from.r, to.r), step(from.g, to.g), step(from.b, to.b) };
}

RGB to_grey(RGB c, INT_S32 elapsed, INT_S32 time)
{
    INT_S32 g = grey_of(c, true);
    return towards(c, { g, g, g }, elapsed, time);
}

RGB from_grey(RGB c, INT_S32 elapsed, INT_S32 time)
{
    INT_S32 g = grey_of(c, true);
    return towards({ g, g, g }, c, elapsed, time);
}

::testing::AssertionResult near(INT_U32 actual, RGB expected, INT_S32 tolerance)
{
    RGB a = rgb_of(actual);
    if (std::abs(a.r - expected.r) <= tolerance && std::abs(a.g - expected.g) <= tolerance
        && std::abs(a.b - expected.b) <= tolerance && COLOUR(actual).alpha() == 255)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << a.r << "," << a.g << "," << a.b << " alpha "
                                         << int(COLOUR(actual).alpha()) << ", wanted " << expected.r << ","
                                         << expected.g << "," << expected.b;
}

const RGB BLACK { 0, 0, 0 };

// Two small pictures that differ everywhere: each pixel's colour depends on its place.
void paint_picture(IMAGE& picture, INT_S32 seed)
{
    picture.set_size(40, 30);
    for (INT_S32 y = 0; y < 30; ++y)
        for (INT_S32 x = 0; x < 40; ++x)
            picture.at(x, y) = COLOUR::from_channels(static_cast<INT_U8>((x * 6 + seed) & 255),
                static_cast<INT_U8>((y * 8 + seed * 3) & 255), static_cast<INT_U8>((x * y + seed * 7) & 255), 255);
}

class TRANSITION_FRAME : public ::testing::Test {
protected:
    void SetUp() override
    {
        paint_picture(old_picture, 10);
        paint_picture(new_picture, 99);
        target.set_size(60, 50);
        target.clear(COLOUR::from_argb(0xFF123456u), true);
        target.set_clip(0, 0, 59, 49);
    }

    RGB old_at(INT_S32 x, INT_S32 y) const { return rgb_of(old_picture.at(x, y).value); }
    RGB new_at(INT_S32 x, INT_S32 y) const { return rgb_of(new_picture.at(x, y).value); }
    INT_U32 out(INT_S32 x, INT_S32 y) const { return target.at(x + 5, y + 7).value; }

    IMAGE old_picture, new_picture, target;
};

} // namespace

// --- The frames at three points of their time ------------------------------------------------------

TEST(TRANSITION_PROGRESS, fade_progress_and_elapsed_time)
{
    EXPECT_EQ(fade_progress(1000, 1000, 700), 0u);
    EXPECT_EQ(fade_progress(1350, 1000, 700), 127u);
    EXPECT_EQ(fade_progress(1700, 1000, 700), 255u);
    EXPECT_EQ(fade_progress(9999, 1000, 700), 255u) << "clamped";
    EXPECT_EQ(fade_progress(1000, 2000, 700), 0u) << "a start later than now counts as now";
    EXPECT_EQ(fade_progress(1000, 1000, 0), 255u) << "no time: done";
    EXPECT_EQ(capped_elapsed(1500, 1000, 700), 500u);
    EXPECT_EQ(capped_elapsed(2500, 1000, 700), 700u);
    EXPECT_EQ(slide_offset(350, 700, SLIDE_LEFT, 640, 480), 320);
    EXPECT_EQ(slide_offset(350, 700, SLIDE_DOWN, 640, 480), 240);
    EXPECT_EQ(slide_offset(999, 700, SLIDE_UP, 640, 480), 480);
}

TEST_F(TRANSITION_FRAME, fade_at_start_middle_and_end)
{
    for (INT_S32 alpha : { 0, 127, 255 }) {
        draw_fade_frame(&target, new_picture, 5, 7, static_cast<INT_U32>(alpha));
        for (INT_S32 y = 0; y < 30; y += 7)
            for (INT_S32 x = 0; x < 40; x += 9)
                ASSERT_TRUE(near(out(x, y), over(new_at(x, y), BLACK, alpha), alpha == 0 || alpha == 255 ? 0 : 1))
                    << "alpha " << alpha << " at " << x << "," << y;
    }
    EXPECT_EQ(target.at(2, 2).value, COLOUR::from_argb(0xFF123456u).value) << "outside the picture nothing changes";
}

TEST_F(TRANSITION_FRAME, crossfade_at_start_middle_and_end)
{
    for (INT_S32 alpha : { 0, 128, 255 }) {
        draw_crossfade_frame(&target, old_picture, new_picture, 5, 7, static_cast<INT_U32>(alpha));
        for (INT_S32 y = 0; y < 30; y += 7)
            for (INT_S32 x = 0; x < 40; x += 9)
                ASSERT_TRUE(near(out(x, y), over(new_at(x, y), old_at(x, y), alpha), alpha == 0 || alpha == 255 ? 0 : 1))
                    << "alpha " << alpha << " at " << x << "," << y;
    }
}

TEST_F(TRANSITION_FRAME, to_grey_and_from_grey_at_start_middle_and_end)
{
    const INT_S32 time = 700;
    for (INT_S32 elapsed : { 0, 350, 700 }) {
        draw_grey_frame(&target, old_picture, 5, 7, static_cast<INT_U32>(elapsed), time, true, true);
        for (INT_S32 y = 0; y < 30; y += 7)
            for (INT_S32 x = 0; x < 40; x += 9)
                ASSERT_TRUE(near(out(x, y), to_grey(old_at(x, y), elapsed, time), 0)) << elapsed << " " << x << "," << y;
        draw_grey_frame(&target, new_picture, 5, 7, static_cast<INT_U32>(elapsed), time, false, true);
        for (INT_S32 y = 0; y < 30; y += 7)
            for (INT_S32 x = 0; x < 40; x += 9)
                ASSERT_TRUE(near(out(x, y), from_grey(new_at(x, y), elapsed, time), 0)) << elapsed << " " << x << "," << y;
    }
    // The plain average when the colour model is not weighted.
    draw_grey_frame(&target, old_picture, 5, 7, 700, 700, true, false);
    INT_S32 average = grey_of(old_at(3, 4), false);
    EXPECT_TRUE(near(out(3, 4), { average, average, average }, 0));
}

TEST_F(TRANSITION_FRAME, slides_of_each_mode_and_direction_at_start_middle_and_end)
{
    const INT_S32 w = 40, h = 30;
    for (INT_S32 direction = SLIDE_LEFT; direction <= SLIDE_DOWN; ++direction) {
        for (INT_S32 mode = SLIDE_COVER; mode <= SLIDE_PUSH; ++mode) {
            for (INT_S32 elapsed : { 0, 350, 700 }) {
                INT_S32 offset = slide_offset(static_cast<INT_U32>(elapsed), 700, direction, w, h);
                target.clear(COLOUR::from_argb(0xFF123456u), true);
                target.set_clip(5, 7, 5 + w - 1, 7 + h - 1);
                draw_slide_frame(&target, old_picture, new_picture, 5, 7, direction, mode, offset);
                target.set_clip(0, 0, 59, 49);
                // Where each picture stands at this offset.
                INT_S32 odx = 0, ody = 0, ndx = 0, ndy = 0;
                if (direction == SLIDE_LEFT) {
                    odx = -offset;
                    ndx = w - offset;
                } else if (direction == SLIDE_RIGHT) {
                    odx = offset;
                    ndx = offset - w;
                } else if (direction == SLIDE_UP) {
                    ody = -offset;
                    ndy = h - offset;
                } else {
                    ody = offset;
                    ndy = offset - h;
                }
                if (mode == SLIDE_COVER)
                    odx = ody = 0;
                if (mode == SLIDE_REVEAL)
                    ndx = ndy = 0;
                for (INT_S32 y = 0; y < h; y += 3) {
                    for (INT_S32 x = 0; x < w; x += 3) {
                        bool on_new = x - ndx >= 0 && x - ndx < w && y - ndy >= 0 && y - ndy < h;
                        bool on_old = x - odx >= 0 && x - odx < w && y - ody >= 0 && y - ody < h;
                        // Cover and push: the new picture is on top; reveal: the old one.
                        RGB expected;
                        if (mode == SLIDE_REVEAL)
                            expected = on_old ? old_at(x - odx, y - ody) : new_at(x - ndx, y - ndy);
                        else
                            expected = on_new ? new_at(x - ndx, y - ndy) : old_at(x - odx, y - ody);
                        ASSERT_TRUE(on_new || on_old);
                        ASSERT_TRUE(near(out(x, y), expected, 0))
                            << "direction " << direction << " mode " << mode << " elapsed " << elapsed << " at " << x
                            << "," << y;
                    }
                }
            }
        }
    }
    // The clip holds: nothing outside the effect rectangle.
    EXPECT_EQ(target.at(1, 1).value, COLOUR::from_argb(0xFF123456u).value);
}

// --- The page manager's loops ---------------------------------------------------------------------

namespace {

// The clock moves on by `clock_step` milliseconds each time it is read; `on_read` may act at a
// given reading (a click made while the screen fades).
INT_U32 clock_step = 100;
INT_S32 clock_reads = 0;
std::function<void(INT_S32)> on_read;

INT_U32 stepping_clock()
{
    ++clock_reads;
    if (on_read)
        on_read(clock_reads);
    headless_advance_time(clock_step);
    return headless_time();
}

constexpr INT_U32 OLD_FILL = 0xFF2050C0u;
constexpr INT_U32 NEW_FILL = 0xFFE0A020u;
constexpr INT_U32 GROUND = 0xFF406040u;

class TRANSITION : public TOOLKIT_TEST {
protected:
    void SetUp() override
    {
        TOOLKIT_TEST::SetUp();
        make_manager(1);
        manager->background_colour = COLOUR::from_argb(GROUND);
        old_page = &new_page("old", OLD_FILL);
        set_test_page(manager, 0, *old_page, true, 1);
        manager->transition_time = 0;
        frame();
        manager->transition_time = 700;
        next_page = &new_page("new", NEW_FILL);
        set_test_page(manager, 0, *next_page, true, 2);
        clock_reads = 0;
        clock_step = 100;
        on_read = nullptr;
        set_millisecond_clock(stepping_clock);
        first_frame = headless_frames_presented();
    }
    void TearDown() override
    {
        on_read = nullptr;
        TOOLKIT_TEST::TearDown();
    }

    // The old page shown again at once, the next one pending, and no frame of the transition yet.
    void restart()
    {
        manager->transition_time = 0;
        old_page = &new_page("old", OLD_FILL);
        set_test_page(manager, 0, *old_page, true, ++page_id);
        manager->change_page(WM_ACTION_PAGE, 0);
        manager->transition_time = 700;
        next_page = &new_page("new", NEW_FILL);
        set_test_page(manager, 0, *next_page, true, ++page_id);
        first_frame = headless_frames_presented();
    }

    TEST_PAGE& new_page(const char* name, INT_U32 fill)
    {
        pages_.emplace_back();
        pages_.back().name = name;
        pages_.back().fill = COLOUR::from_argb(fill);
        return pages_.back();
    }

    // The frames the transition presented, oldest first.
    std::vector<const HEADLESS_FRAME*> transition_frames() const
    {
        std::vector<const HEADLESS_FRAME*> frames;
        INT_S32 made = headless_frames_presented() - first_frame;
        INT_S32 kept = headless_frames_kept();
        for (INT_S32 i = kept - made; i < kept; ++i)
            frames.push_back(headless_frame(i));
        return frames;
    }

    // The object of both pages stands at (10, 10)-(69, 29); (200, 200) is background.
    static RGB object_old() { return rgb_of(COLOUR::from_argb(OLD_FILL).value); }
    static RGB object_new() { return rgb_of(COLOUR::from_argb(NEW_FILL).value); }
    static RGB ground() { return rgb_of(COLOUR::from_argb(GROUND).value); }

    std::deque<TEST_PAGE> pages_;
    TEST_PAGE* old_page { nullptr };
    TEST_PAGE* next_page { nullptr };
    INT_S32 first_frame { 0 };
    INT_U32 page_id { 10 };
};

} // namespace

TEST_F(TRANSITION, fades_crossfade_and_greys_follow_the_clock_on_the_object_and_the_ground)
{
    struct CASE {
        INT_S32 code;
        bool new_page_comes_after; // the effect runs on the old page, then the new comes at once
        INT_S32 tolerance;
        std::function<RGB(RGB old_colour, RGB new_colour, INT_S32 elapsed)> expected;
    } cases[] = {
        { WM_ACTION_PAGE_FADE_IN, false, 1,
            [](RGB, RGB n, INT_S32 e) { return over(n, BLACK, e * 255 / 700); } },
        { WM_ACTION_PAGE_FADE_OUT, true, 1,
            [](RGB o, RGB, INT_S32 e) { return over(o, BLACK, 255 - e * 255 / 700); } },
        { WM_ACTION_PAGE_CROSSFADE, false, 1, [](RGB o, RGB n, INT_S32 e) { return over(n, o, e * 255 / 700); } },
        { WM_ACTION_PAGE_FROM_GREY, false, 0, [](RGB, RGB n, INT_S32 e) { return from_grey(n, e, 700); } },
        { WM_ACTION_PAGE_GREY_OUT, true, 0, [](RGB o, RGB, INT_S32 e) { return to_grey(o, e, 700); } },
    };
    for (const CASE& c : cases) {
        SCOPED_TRACE(c.code);
        restart();
        manager->change_page(c.code, 0);
        std::vector<const HEADLESS_FRAME*> frames = transition_frames();
        // Clock reads 100 ms apart from the start: 100 ... 700 ms, seven frames.
        if (c.new_page_comes_after) {
            ASSERT_GE(frames.size(), 7u);
        } else {
            ASSERT_EQ(frames.size(), 7u);
            EXPECT_EQ(manager->transition_frames, 7);
        }
        INT_U32 start = frames[0]->time - 100;
        for (size_t i = 0; i < 7; ++i) {
            INT_S32 elapsed = static_cast<INT_S32>(frames[i]->time - start);
            EXPECT_TRUE(near(frames[i]->pixel(15, 15), c.expected(object_old(), object_new(), elapsed), c.tolerance))
                << elapsed;
            EXPECT_TRUE(near(frames[i]->pixel(200, 200), c.expected(ground(), ground(), elapsed), c.tolerance))
                << elapsed;
        }
        EXPECT_EQ(next_page->builds, 1);
        // The end is the page itself.
        EXPECT_TRUE(near(back_buffer_of(0)->at(15, 15).value, object_new(), 0));
    }
}

TEST_F(TRANSITION, fade_out_in_runs_each_half_in_half_the_time)
{
    manager->change_page(WM_ACTION_PAGE_FADE_OUT_IN, 0);
    EXPECT_EQ(manager->transition_time, 700u) << "the time is put back";
    std::vector<const HEADLESS_FRAME*> frames = transition_frames();
    // Two halves of 350 ms at 100 ms a reading: 100, 200, 300, 350 (capped) each.
    ASSERT_EQ(frames.size(), 8u);
    EXPECT_TRUE(near(frames[0]->pixel(15, 15), over(object_old(), BLACK, 255 - 100 * 255 / 350), 1));
    EXPECT_TRUE(near(frames[3]->pixel(15, 15), BLACK, 0));
    EXPECT_TRUE(near(frames[4]->pixel(15, 15), over(object_new(), BLACK, 100 * 255 / 350), 1));
    EXPECT_TRUE(near(frames[7]->pixel(15, 15), object_new(), 0));
}

TEST_F(TRANSITION, grey_out_in_goes_to_the_old_grey_and_comes_from_the_new_grey)
{
    manager->change_page(WM_ACTION_PAGE_GREY_OUT_IN, 0);
    std::vector<const HEADLESS_FRAME*> frames = transition_frames();
    ASSERT_EQ(frames.size(), 8u);
    EXPECT_TRUE(near(frames[1]->pixel(15, 15), to_grey(object_old(), 200, 350), 0));
    EXPECT_TRUE(near(frames[3]->pixel(15, 15), to_grey(object_old(), 350, 350), 0));
    EXPECT_TRUE(near(frames[5]->pixel(15, 15), from_grey(object_new(), 200, 350), 0));
    EXPECT_TRUE(near(frames[7]->pixel(15, 15), object_new(), 0));
}

TEST_F(TRANSITION, a_push_moves_both_pages_by_the_clock)
{
    manager->change_page(WM_ACTION_PAGE_PUSH + SLIDE_LEFT, 0);
    std::vector<const HEADLESS_FRAME*> frames = transition_frames();
    ASSERT_EQ(frames.size(), 7u);
    INT_U32 start = frames[0]->time - 100;
    for (const HEADLESS_FRAME* shown : frames) {
        INT_S32 offset = static_cast<INT_S32>((shown->time - start) * 320 / 700);
        // The old object (x 10 to 69) has moved left by the offset; the new one enters at 320 - offset.
        INT_S32 old_left = 10 - offset, new_left = 320 - offset + 10;
        if (old_left + 30 >= 0 && old_left + 30 < 320) {
            EXPECT_TRUE(near(shown->pixel(old_left + 30, 15), object_old(), 0)) << offset;
        }
        if (new_left + 30 < 320) {
            EXPECT_TRUE(near(shown->pixel(new_left + 30, 15), object_new(), 0)) << offset;
        }
    }
    EXPECT_TRUE(near(frames.back()->pixel(40, 15), object_new(), 0));
}

namespace {

// The colour of the page pictures: the object of either page on the ground.
RGB page_pixel(INT_S32 x, INT_S32 y, bool new_one)
{
    bool on_object = x >= 10 && x <= 69 && y >= 10 && y <= 29;
    if (!on_object)
        return rgb_of(COLOUR::from_argb(GROUND).value);
    return rgb_of(COLOUR::from_argb(new_one ? NEW_FILL : OLD_FILL).value);
}

// Whether the frames of a cover are those of the direction.
bool covers_from(const std::vector<const HEADLESS_FRAME*>& frames, INT_U32 start, INT_S32 direction)
{
    for (const HEADLESS_FRAME* shown : frames) {
        INT_S32 elapsed = static_cast<INT_S32>(shown->time - start);
        INT_S32 offset = slide_offset(static_cast<INT_U32>(elapsed), 700, direction, 320, 240);
        INT_S32 dx = direction == SLIDE_LEFT ? 320 - offset : direction == SLIDE_RIGHT ? offset - 320 : 0;
        INT_S32 dy = direction == SLIDE_UP ? 240 - offset : direction == SLIDE_DOWN ? offset - 240 : 0;
        for (INT_S32 y = 0; y < 240; y += 4) {
            for (INT_S32 x = 0; x < 320; x += 4) {
                bool on_new = x - dx >= 0 && x - dx < 320 && y - dy >= 0 && y - dy < 240;
                RGB expected = on_new ? page_pixel(x - dx, y - dy, true) : page_pixel(x, y, false);
                if (!near(shown->pixel(x, y), expected, 0))
                    return false;
            }
        }
    }
    return true;
}

} // namespace

TEST_F(TRANSITION, a_cover_slides_the_new_page_in_from_its_side)
{
    manager->change_page(WM_ACTION_PAGE_COVER + SLIDE_DOWN, 0);
    std::vector<const HEADLESS_FRAME*> frames = transition_frames();
    ASSERT_EQ(frames.size(), 7u);
    INT_U32 start = frames[0]->time - 100;
    EXPECT_TRUE(covers_from(frames, start, SLIDE_DOWN));
    EXPECT_FALSE(covers_from(frames, start, SLIDE_UP));
    EXPECT_FALSE(covers_from(frames, start, SLIDE_LEFT));
}

TEST_F(TRANSITION, a_random_direction_is_one_of_the_four)
{
    for (unsigned seed : { 1u, 2u, 3u, 4u, 5u }) {
        srand(seed);
        // Each round starts from the old page again, so that the pictures are the model's.
        restart();
        manager->change_page(WM_ACTION_PAGE_COVER, 0);
        std::vector<const HEADLESS_FRAME*> frames = transition_frames();
        ASSERT_EQ(frames.size(), 7u);
        INT_U32 start = frames[0]->time - 100;
        INT_S32 matching = 0;
        for (INT_S32 direction = SLIDE_LEFT; direction <= SLIDE_DOWN; ++direction)
            matching += covers_from(frames, start, direction) ? 1 : 0;
        EXPECT_EQ(matching, 1) << "seed " << seed;
    }
}

TEST_F(TRANSITION, a_time_of_0_brings_the_page_at_once_without_dividing_by_it)
{
    manager->transition_time = 0;
    const INT_S32 codes[] = { WM_ACTION_PAGE_FADE_IN, WM_ACTION_PAGE_FADE_OUT_IN, WM_ACTION_PAGE_GREY_OUT,
        WM_ACTION_PAGE_PUSH + SLIDE_UP };
    for (INT_S32 code : codes) {
        TEST_PAGE& page = new_page("again", NEW_FILL);
        set_test_page(manager, 0, page, true, 10 + code);
        manager->change_page(code, 0);
        EXPECT_EQ(manager->transition_frames, 0) << code;
        EXPECT_EQ(page.builds, 1) << code;
    }
    // A time of 1 halves to 0 for codes 14 and 15: the halves come at once too.
    manager->transition_time = 1;
    TEST_PAGE& last = new_page("last", NEW_FILL);
    set_test_page(manager, 0, last, true, 99);
    manager->change_page(WM_ACTION_PAGE_GREY_OUT_IN, 0);
    EXPECT_EQ(manager->transition_frames, 0);
    EXPECT_EQ(last.builds, 1);
}

TEST_F(TRANSITION, an_effect_rectangle_limits_the_effect)
{
    manager->effect_rect_set = 1;
    manager->effect_x1 = 100;
    manager->effect_y1 = 100;
    manager->effect_x2 = 319;
    manager->effect_y2 = 239;
    manager->change_page(WM_ACTION_PAGE_FADE_IN, 0);
    std::vector<const HEADLESS_FRAME*> frames = transition_frames();
    ASSERT_EQ(frames.size(), 7u);
    EXPECT_TRUE(near(frames[0]->pixel(15, 15), object_new(), 0)) << "outside the rectangle the page is there at once";
    EXPECT_TRUE(near(frames[0]->pixel(200, 200), over(ground(), BLACK, 100 * 255 / 700), 1));
    EXPECT_TRUE(near(frames[0]->pixel(99, 99), ground(), 0));
}

TEST_F(TRANSITION, a_click_made_during_a_fade_reaches_the_new_page_and_never_the_old)
{
    static INT_S32 old_clicks = 0, new_clicks = 0;
    old_clicks = new_clicks = 0;
    old_page->made[0]->right_callback = [](WM_SCREEN_OBJECT*, PTR_INT_CAST, PTR_INT_CAST) {
        ++old_clicks;
        return 0;
    };
    // The person clicks on the object half way through the fade.
    on_read = [](INT_S32 reading) {
        if (reading == 4)
            headless_click(20, 15, 3);
    };
    old_page->made[0]->update_code = WM_ACTION_PAGE_FADE_IN;
    frame();
    EXPECT_EQ(next_page->builds, 1);
    EXPECT_GT(headless_pending_events(), 0) << "nothing read input while the fade ran";
    on_read = nullptr;
    ASSERT_NE(next_page->made[0], nullptr);
    next_page->made[0]->right_callback = [](WM_SCREEN_OBJECT*, PTR_INT_CAST, PTR_INT_CAST) {
        ++new_clicks;
        return 0;
    };
    frame();
    frame();
    EXPECT_EQ(headless_pending_events(), 0) << "the next pumps drained the queue";
    EXPECT_EQ(old_clicks, 0);
    EXPECT_EQ(new_clicks, 2) << "press and release, each with trigger 2";
}
