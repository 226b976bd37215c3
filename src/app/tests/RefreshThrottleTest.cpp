#include "RefreshThrottle.h"

#include <gtest/gtest.h>

// Results arrive every 0.1 s of audio: at 2 refreshes a second every fifth is drawn, and a
// forced refresh is drawn whenever it comes.
TEST(RefreshThrottleTest, DrawsAtTheRefreshRateAndWhenForced)
{
    RefreshThrottle throttle;
    std::vector<int> drawn;
    for (int i = 1; i <= 30; ++i) {
        const float time_s = i * 0.1f;
        if (i == 12)
            throttle.forceRefresh();
        if (throttle.admit(time_s)) {
            drawn.push_back(i);
            throttle.rendered(time_s, 2.0f);
        }
    }
    EXPECT_EQ(drawn, (std::vector<int>{1, 6, 11, 12, 17, 22, 27}));
}

TEST(RefreshThrottleTest, ResetDrawsTheNextResultAndAFullRedrawIsDrawnOnce)
{
    RefreshThrottle throttle;
    ASSERT_TRUE(throttle.admit(5.0f));
    throttle.rendered(5.0f, 2.0f);
    EXPECT_FALSE(throttle.admit(5.1f));
    throttle.forceFullRedraw();
    EXPECT_TRUE(throttle.admit(5.2f));
    EXPECT_TRUE(throttle.fullRedrawForced());
    throttle.rendered(5.2f, 2.0f);
    EXPECT_FALSE(throttle.fullRedrawForced());
    EXPECT_FALSE(throttle.admit(5.3f));
    throttle.reset();
    EXPECT_TRUE(throttle.admit(0.1f));
}
