#include "PipeSnacPeakPicker.h"
#include "PipeTuning.h"
#include "PitchFinder.h"
#include "SnacTestCurve.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// At 44100 Hz with low A at 440 the periods are: Low G 114, Low A 100, C 80, D 75,
// High G 57 samples; tolA is 18 and tolB 5 samples. The finder holds an all-zero SNAC,
// so a stage 3 result of candidate c reads back as exactly 44100 / (c + 1) Hz.
constexpr int kSize = 512;
constexpr int kLast = 127; // trunc(44100 / (0.9 x 385))

float pick(
    const std::vector<SnacTestPeak>& peaks, uint32_t rate_Hz = 44100, int size = kSize, int first = 8, int last = kLast)
{
    PitchFinder finder;
    finder.setDataParams(PitchFinder::DataParams(1024, rate_Hz));
    PipeSnacPeakPicker picker;
    picker.setParams(PipeTuning(), float(rate_Hz));
    std::vector<float> snac = makeSnacCurve(size, peaks);
    return picker.pickSnacFreq(finder, snac.data(), size, first, last, 0.9f, 0.3f);
}

float candidate(int index) { return 44100.0f / float(index + 1); }

} // namespace

TEST(PipeSnacPeakPicker, HighGTestAndHarmonicConfirmation)
{
    struct Case {
        std::string name;
        std::vector<SnacTestPeak> peaks;
        float expected_Hz;
    };
    const Case cases[] = {
        // The high G test on weakly periodic frames
        {"a peak at four high G periods gives high G itself", {{20, 0.7f}, {228, 0.5f}}, 770.0f},
        {"the four-period window is half open: 210 in, 246 out", {{20, 0.7f}, {210, 0.5f}}, 770.0f},
        {"just past the window: stage 3 finds nothing", {{20, 0.7f}, {246, 0.5f}}, 0.0f},
        {"a peak at or below the low limit is not walked", {{20, 0.7f}, {228, 0.3f}}, 0.0f},
        {"the C list ends the walk before the high G peak", {{80, 0.7f}, {160, 0.45f}, {228, 0.5f}}, candidate(80)},
        {"maxValue 0.85 skips stage 2", {{20, 0.85f}, {228, 0.5f}}, 0.0f},
        {"no strong peak skips stage 2", {{20, 0.55f}, {228, 0.5f}}, 0.0f},
        // Low A's list opens at a first strong peak of 100 - 66 - 9 = 25 and completes on
        // its two periods before the walk reaches four high G periods.
        {"the low A list completes first", {{25, 0.7f}, {100, 0.5f}, {200, 0.5f}, {228, 0.5f}}, candidate(100)},
        {"below the low A bound the high G peak is reached", {{24, 0.7f}, {100, 0.5f}, {228, 0.5f}}, 770.0f},
        // Harmonic confirmation
        {"confirmed at twice the period", {{60, 0.95f}, {120, 0.9f}}, candidate(60)},
        {"confirmed at three times the period", {{60, 0.95f}, {183, 0.9f}}, candidate(60)},
        {"tolB is half open: 2c + 5 does not confirm", {{60, 0.95f}, {125, 0.9f}}, 0.0f},
        {"2c - 5 confirms", {{60, 0.95f}, {115, 0.9f}}, candidate(60)},
        {"an unconfirmed candidate is passed over for the next", {{45, 0.95f}, {60, 0.95f}, {120, 0.9f}},
            candidate(60)},
        // maxValue 0.95 keeps the plain threshold 0.855, so 0.8 at 40 is too weak.
        {"plain threshold above 0.9", {{40, 0.8f}, {60, 0.95f}, {80, 0.7f}, {120, 0.9f}}, candidate(60)},
        // maxValue 0.85: the threshold becomes 0.85 x 0.9 x 0.7 = 0.536, and 0.6 at 40 passes.
        {"lowered threshold below 0.9", {{40, 0.6f}, {60, 0.85f}, {80, 0.7f}}, candidate(40)},
        // 0.5 x 0.9 x 0.7 = 0.315 is raised to 0.4.
        {"the lowered threshold is held at 0.4", {{30, 0.39f}, {40, 0.5f}, {80, 0.45f}, {90, 0.4f}}, candidate(40)},
        {"no peaks at all", {}, 0.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_FLOAT_EQ(pick(c.peaks), c.expected_Hz);
    }

    // With size 100 the limit is 90: a candidate at 45 (2c = 90) can never be chosen.
    EXPECT_FLOAT_EQ(pick({{44, 0.95f}, {88, 0.9f}}, 44100, 100, 0, 99), candidate(44));
    EXPECT_EQ(pick({{45, 0.95f}, {90, 0.9f}}, 44100, 100, 0, 99), 0.0f);
    // At 22050 Hz tolB is 3 samples (2.5 rounded away from zero): 2c + 2 confirms, 2c + 3
    // does not.
    EXPECT_FLOAT_EQ(pick({{30, 0.95f}, {62, 0.9f}}, 22050, kSize, 0, 63), 22050.0f / 31.0f);
    EXPECT_EQ(pick({{30, 0.95f}, {63, 0.9f}}, 22050, kSize, 0, 63), 0.0f);
}
