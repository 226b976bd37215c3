#include "SnacTestCurve.h"
#include "utils.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

TEST(SnacMaxima, KeyMaximaOfEachPositiveRegion)
{
    struct Case {
        std::string name;
        std::vector<float> snac;
        int first;
        int last;
        std::vector<int> maxima;
        int best;
    };
    const Case cases[] = {
        {"two regions, the second higher", {1.0f, 0.5f, -0.2f, 0.3f, 0.8f, 0.7f, -0.1f, 0.2f, 0.9f, 0.4f, -0.3f, 0.0f},
            0, 12, {4, 8}, 8},
        {"a plateau yields its first index", {-1.0f, 0.5f, 0.7f, 0.7f, 0.2f, -0.1f, 0.0f}, 0, 7, {2}, 2},
        {"equal to the value before is no maximum", {-1.0f, 0.7f, 0.7f, 0.6f, -0.1f, 0.0f}, 0, 6, {1}, 1},
        {"the higher of two maxima in one region", {-1.0f, 0.4f, 0.3f, 0.6f, 0.2f, -0.1f, 0.0f}, 0, 7, {3}, 3},
        {"an equal later maximum in a region does not replace", {-1.0f, 0.6f, 0.3f, 0.6f, 0.2f, -0.1f, 0.0f}, 0, 7, {1},
            1},
        {"an equal later region is not the best", {-1.0f, 0.6f, 0.1f, -0.1f, 0.6f, 0.1f, -0.1f, 0.0f}, 0, 8, {1, 4}, 1},
        {"a region open at the end counts", {-1.0f, 0.2f, 0.5f, 0.4f, 0.3f}, 0, 5, {2}, 2},
        {"last beyond size stops before size - 1", {-1.0f, 0.2f, 0.3f, 0.5f}, 0, 100, {}, 0},
        {"first skips earlier regions", {-1.0f, 0.9f, 0.1f, -0.1f, 0.5f, 0.1f, -0.1f}, 3, 7, {4}, 4},
        {"all non-positive", {0.0f, -0.1f, 0.0f, -0.5f}, 0, 4, {}, 0},
        {"fewer than two indices", {1.0f}, 0, 1, {}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<int> maxima = {99};
        EXPECT_EQ(utils::findSnacMaxima(c.snac.data(), int(c.snac.size()), c.first, c.last, maxima), c.best);
        EXPECT_EQ(maxima, c.maxima);
    }
}

TEST(SnacMaxima, SubMaximumPrefersTheShortestNearlyEqualPeak)
{
    struct Case {
        std::string name;
        std::vector<SnacTestPeak> peaks;
        float minimumPeak;
        int chosen;
        int best;
    };
    const Case cases[] = {
        {"second peak 5 % higher: the first still wins", {{50, 0.9f}, {100, 0.945f}}, 0.6f, 50, 100},
        {"second peak much higher wins", {{50, 0.5f}, {100, 0.95f}}, 0.3f, 100, 100},
        {"best below the minimum peak: nothing", {{50, 0.45f}, {100, 0.5f}}, 0.6f, 0, 100},
        {"minimum peak raises the threshold", {{50, 0.55f}, {100, 0.58f}, {150, 0.65f}}, 0.6f, 150, 150},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::vector<float> snac = makeSnacCurve(256, c.peaks);
        int best = -1;
        EXPECT_EQ(utils::findSnacSubMaximum(snac.data(), 256, 0, 255, 0.9f, c.minimumPeak, best), c.chosen);
        EXPECT_EQ(best, c.best);
    }
}

TEST(SignalUtils, DcOffsetWindowAndDirectAutocorrelation)
{
    std::vector<float> x = {1.0f, 2.0f, 3.0f, 6.0f};
    utils::removeDcOffset(x.data(), 4);
    EXPECT_EQ(x, (std::vector<float>{-2.0f, -1.0f, 0.0f, 3.0f}));

    std::vector<float> hanning(7);
    utils::generateHanningCoefficients(hanning.data(), 7);
    EXPECT_NEAR(hanning[3], 1.0f, 1e-6f); // the middle of an odd window
    EXPECT_GT(hanning[0], 0.0f); // no coefficient is 0
    EXPECT_NEAR(hanning[0], hanning[6], 1e-6f);

    EXPECT_EQ(utils::autoCorrelationTimeDomain({1.0f, 2.0f, 3.0f}), (std::vector<float>{14.0f, 8.0f, 3.0f}));
    // The length goes through a 16-bit signed integer: 32768 samples wrap to nothing.
    EXPECT_TRUE(utils::autoCorrelationTimeDomain(std::vector<float>(32768, 1.0f)).empty());
}
