// Frames counted per second of the clock, with the lowest, highest and average rates.

#include <gtest/gtest.h>

#include "frame/frame_rate.h"
#include "host/input.h"

namespace {

INT_U32 now = 0;
INT_U32 test_clock() { return now; }

class FRAME_RATE : public ::testing::Test {
protected:
    void SetUp() override
    {
        now = 5000;
        set_millisecond_clock(test_clock);
        reset_frame_rate();
    }
    void TearDown() override { set_millisecond_clock(nullptr); }

    // `count` frames spread over the second that starts at `second` (in seconds).
    static void frames_in_second(INT_U32 second, INT_S32 count)
    {
        for (INT_S32 i = 0; i < count; ++i) {
            now = second * 1000 + static_cast<INT_U32>(i * 1000 / count);
            frame_rate(nullptr, nullptr, nullptr);
        }
    }
};

TEST_F(FRAME_RATE, the_rate_is_the_count_of_the_last_whole_second)
{
    frames_in_second(5, 30);
    EXPECT_EQ(frame_rate(nullptr, nullptr, nullptr), 0) << "no second has ended yet";
    frames_in_second(6, 40);
    INT_S32 lowest = -1, highest = -1, average = -1;
    now = 7000;
    EXPECT_EQ(frame_rate(&lowest, &highest, &average), 40);
    EXPECT_EQ(highest, 40);
    // The seconds so far: 31 (the 30 and the call of the first EXPECT), then 40.
    EXPECT_EQ(lowest, 31);
    EXPECT_EQ(average, (31 + 40) / 2);
}

TEST_F(FRAME_RATE, a_lowest_below_half_the_average_is_forgotten)
{
    frames_in_second(5, 100);
    frames_in_second(6, 100);
    frames_in_second(7, 100);
    frames_in_second(8, 10);
    INT_S32 lowest = -1, highest = -1, average = -1;
    now = 9000;
    EXPECT_EQ(frame_rate(&lowest, &highest, &average), 10);
    // 100, 100, 100 and then 10 would be an average of 77 with a lowest of 10: both start again.
    EXPECT_EQ(lowest, 10);
    EXPECT_EQ(average, 10);
    EXPECT_EQ(highest, 100);
}

TEST_F(FRAME_RATE, the_text_shows_all_four_figures)
{
    frames_in_second(5, 20);
    now = 6000;
    EXPECT_STREQ(frame_rate_text("Frame Rate"), "Frame Rate: 20hz (Min 20hz, Max 20hz, Avg 20hz)");
}

} // namespace
