#include "ChanterBinnedTuning.h"
#include "utils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

float centsAbove(float frequency_Hz, float cents)
{
    return float(frequency_Hz * std::pow(10.0, cents / 3986.4460836000003));
}

struct Peak {
    float frequency_Hz;
    int frames;
};

// Frames spread evenly over +-3 cents, as a held note wobbles, so that each note fills a
// few bins of 8 cents and its pooled mean is its centre.
void addNote(ChanterBinnedTuning& tuning, const Peak& peak)
{
    for (int i = 0; i < peak.frames; ++i) {
        const float offset_cents = peak.frames > 1 ? -3.0f + 6.0f * float(i) / float(peak.frames - 1) : 0.0f;
        tuning.add(centsAbove(peak.frequency_Hz, offset_cents), 0.8f, 0.99f);
    }
}

std::vector<Peak> chanterScale(float lowA_Hz, int frames)
{
    std::vector<Peak> peaks;
    for (double ratio : PipeTuning::scheme_harmonic)
        peaks.push_back({float(lowA_Hz * ratio), frames});
    return peaks;
}

} // namespace

TEST(ChanterBinnedTuning, FindsNineNotesInAPlausibleSpan)
{
    const float lowA_Hz = 480.0f;
    struct Case {
        const char* what;
        std::vector<Peak> peaks;
        int count;
        float expectedLowG_Hz; // 0 when the map must stay empty
    };
    std::vector<Case> cases;
    cases.push_back({"a full scale", chanterScale(lowA_Hz, 12), 9, lowA_Hz * 0.875f});
    {
        // The drone's many frames form the lowest peak; starting there spans over 1800 cents.
        std::vector<Peak> peaks = chanterScale(lowA_Hz, 12);
        peaks.push_back({lowA_Hz / 2, 60});
        cases.push_back({"a tenor drone below the scale is skipped", peaks, 9, lowA_Hz * 0.875f});
    }
    {
        std::vector<Peak> peaks = chanterScale(lowA_Hz, 12);
        peaks.push_back({lowA_Hz * 2.25f, 12});
        cases.push_back({"a tenth peak above high A is ignored", peaks, 9, lowA_Hz * 0.875f});
    }
    {
        std::vector<Peak> peaks = chanterScale(lowA_Hz, 12);
        peaks[4].frames = 9; // D held too briefly for the minimum of 10
        cases.push_back({"a note held too briefly is missing", peaks, 8, 0.0f});
    }
    {
        std::vector<Peak> peaks;
        for (int i = 0; i < 9; ++i)
            peaks.push_back({centsAbove(500.0f, 62.0f * float(i)), 12});
        cases.push_back({"nine peaks spanning 496 cents are too narrow", peaks, 9, 0.0f});
    }
    {
        std::vector<Peak> peaks;
        for (int i = 0; i < 9; ++i)
            peaks.push_back({centsAbove(200.0f, 240.0f * float(i)), 12});
        // 1920 cents from first to ninth: only eight of them fit below 1800 cents.
        cases.push_back({"nine peaks spanning 1920 cents are too wide", peaks, 8, 0.0f});
    }
    cases.push_back({"nothing heard", {}, 0, 0.0f});

    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ChanterBinnedTuning tuning(40.0f, 40.0f);
        tuning.setMinAverageCount(10);
        for (const Peak& peak : c.peaks)
            addNote(tuning, peak);
        std::map<PipeTuning::ReferenceNote, float> notes;
        notes[PipeTuning::Bass] = 1.0f; // must be cleared whatever the outcome
        EXPECT_EQ(tuning.pipeNoteCount(notes), c.count);
        if (c.expectedLowG_Hz == 0.0f) {
            EXPECT_TRUE(notes.empty());
            continue;
        }
        ASSERT_EQ(notes.size(), 9u);
        // Frames spread symmetrically in cents average a hair above the centre: 0.1 cents is
        // far below the 8-cent bins that could otherwise pull a mean.
        int index = 0;
        for (const auto& note : notes) {
            EXPECT_EQ(note.first, PipeTuning::noteIndexToReferenceNote(index));
            const float expected_Hz = float(lowA_Hz * PipeTuning::scheme_harmonic[size_t(index)]);
            EXPECT_NEAR(utils::freqRatioToCents(expected_Hz, note.second), 0.0f, 0.1f);
            ++index;
        }
    }
}

TEST(ChanterBinnedTuning, MinAverageCountIsAtLeastOne)
{
    ChanterBinnedTuning tuning(40.0f, 40.0f);
    tuning.setMinAverageCount(0);
    EXPECT_EQ(tuning.minAverageCount(), 1);
    // With a count of 1, a single frame per note is a note.
    for (const Peak& peak : chanterScale(440.0f, 1))
        addNote(tuning, peak);
    std::map<PipeTuning::ReferenceNote, float> notes;
    EXPECT_EQ(tuning.pipeNoteCount(notes), 9);
    EXPECT_EQ(notes.size(), 9u);
}
