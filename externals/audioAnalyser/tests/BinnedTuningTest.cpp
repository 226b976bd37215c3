#include "BinnedTuning.h"
#include "utils.h"

#include <gtest/gtest.h>

namespace {

float centsAbove(float frequency_Hz, float cents) { return float(frequency_Hz * utils::centsToFreqRatio(cents)); }

// Bins are 8 cents wide at a resolution of 40 cents; a peak separation of 40 cents is 5 bins.
BinnedTuning makeTuning() { return BinnedTuning(40.0f, 40.0f, 100.0f, 2000.0f); }

} // namespace

TEST(BinnedTuning, KeepsOnlyFramesInsideTheLimits)
{
    struct Case {
        const char* what;
        float frequency_Hz;
        float volume;
        float quality;
        bool kept;
    };
    const Case cases[] = {
        {"lowest frequency is inside", 100.0f, 0.5f, 0.99f, true},
        {"highest frequency is outside", 2000.0f, 0.5f, 0.99f, false},
        {"just below the highest", 1999.0f, 0.5f, 0.99f, true},
        {"below the lowest", 99.9f, 0.5f, 0.99f, false},
        {"volume equal to the minimum", 440.0f, 0.3f, 0.99f, false},
        {"quality equal to the minimum", 440.0f, 0.5f, 0.95f, false},
        {"both above", 440.0f, 0.31f, 0.951f, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        BinnedTuning tuning = makeTuning();
        tuning.setMinimumVolume(0.3f);
        tuning.setMinimumQuality(0.95f);
        tuning.add(c.frequency_Hz, c.volume, c.quality);
        EXPECT_EQ(tuning.binnedFrequencies().size(), c.kept ? 1u : 0u);
    }
}

TEST(BinnedTuning, PeaksPoolNeighbouringBins)
{
    // Frequencies placed by bin: the centre of bin b of 8 cents is at (b + 0.5) * 8 cents above 1 Hz.
    const int base = 1317; // 440 Hz lies in this bin
    auto binCentre = [](int bin) { return centsAbove(1.0f, (float(bin) + 0.5f) * 8.0f); };
    struct Group {
        int bin;
        int frames;
    };
    struct Case {
        const char* what;
        std::vector<Group> groups;
        std::vector<int> counts; // of the peaks, in ascending frequency
    };
    const std::vector<Case> cases = {
        {"one bin", {{base, 10}}, {10}},
        {"a rising slope is climbed and pooled", {{base, 2}, {base + 1, 5}}, {7}},
        {"pooling reaches two bins either side", {{base - 2, 1}, {base, 6}, {base + 2, 3}}, {10}},
        {"two notes 48 cents apart stay two", {{base, 10}, {base + 6, 12}}, {10, 12}},
        {"a gap of three bins ends the climb; what lies within the separation is skipped", {{base, 5}, {base + 3, 6}},
            {5}},
        {"a falling slope stops the climb at the top", {{base, 9}, {base + 1, 4}, {base + 8, 3}}, {13, 3}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        BinnedTuning tuning = makeTuning();
        for (const Group& group : c.groups)
            for (int i = 0; i < group.frames; ++i)
                tuning.add(binCentre(group.bin), 1.0f, 1.0f);
        const std::map<float, int> peaks = tuning.binnedFrequencies();
        ASSERT_EQ(peaks.size(), c.counts.size());
        size_t index = 0;
        for (const auto& peak : peaks)
            EXPECT_EQ(peak.second, c.counts[index++]);
    }
}

TEST(BinnedTuning, PeakKeyIsTheMeanOfThePool)
{
    BinnedTuning tuning = makeTuning();
    for (int i = 0; i < 3; ++i)
        tuning.add(440.0f, 1.0f, 1.0f);
    tuning.add(centsAbove(440.0f, 9.0f), 1.0f, 1.0f);
    const std::map<float, int> peaks = tuning.binnedFrequencies();
    ASSERT_EQ(peaks.size(), 1u);
    EXPECT_FLOAT_EQ(peaks.begin()->first, (3 * 440.0f + centsAbove(440.0f, 9.0f)) / 4);
    tuning.reset();
    EXPECT_TRUE(tuning.binnedFrequencies().empty());
}
