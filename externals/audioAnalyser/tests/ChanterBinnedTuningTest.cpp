#include "ChanterBinnedTuning.h"
#include "utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

float centsAbove(float frequency_Hz, float cents) { return float(frequency_Hz * utils::centsToFreqRatio(cents)); }

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
        bool found; // false when the map must stay empty
        float lowA_Hz = 480.0f;
        int minAverageCount = 10;
    };
    std::vector<Case> cases;
    cases.push_back({"a full scale", chanterScale(lowA_Hz, 12), 9, true});
    {
        // The drone's many frames form the lowest peak; starting there spans over 1800 cents.
        std::vector<Peak> peaks = chanterScale(lowA_Hz, 12);
        peaks.push_back({lowA_Hz / 2, 60});
        cases.push_back({"a tenor drone below the scale is skipped", peaks, 9, true});
    }
    {
        std::vector<Peak> peaks = chanterScale(lowA_Hz, 12);
        peaks.push_back({lowA_Hz * 2.25f, 12});
        cases.push_back({"a tenth peak above high A is ignored", peaks, 9, true});
    }
    {
        std::vector<Peak> peaks = chanterScale(lowA_Hz, 12);
        peaks[4].frames = 9; // D held too briefly for the minimum of 10
        cases.push_back({"a note held too briefly is missing", peaks, 8, false});
    }
    {
        std::vector<Peak> peaks;
        for (int i = 0; i < 9; ++i)
            peaks.push_back({centsAbove(500.0f, 62.0f * float(i)), 12});
        cases.push_back({"nine peaks spanning 496 cents are too narrow", peaks, 9, false});
    }
    {
        std::vector<Peak> peaks;
        for (int i = 0; i < 9; ++i)
            peaks.push_back({centsAbove(200.0f, 240.0f * float(i)), 12});
        // 1920 cents from first to ninth: only eight of them fit below 1800 cents.
        cases.push_back({"nine peaks spanning 1920 cents are too wide", peaks, 8, false});
    }
    cases.push_back({"nothing heard", {}, 0, false});
    // A minimum count of 0 is held at 1: a single frame per note is a note.
    cases.push_back({"a minimum count of 0", chanterScale(440.0f, 1), 9, true, 440.0f, 0});

    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ChanterBinnedTuning tuning(40.0f, 40.0f);
        tuning.setMinAverageCount(c.minAverageCount);
        EXPECT_EQ(tuning.minAverageCount(), std::max(1, c.minAverageCount));
        for (const Peak& peak : c.peaks)
            addNote(tuning, peak);
        std::map<PipeTuning::ReferenceNote, float> notes;
        notes[PipeTuning::Bass] = 1.0f; // must be cleared whatever the outcome
        EXPECT_EQ(tuning.pipeNoteCount(notes), c.count);
        if (!c.found) {
            EXPECT_TRUE(notes.empty());
            continue;
        }
        ASSERT_EQ(notes.size(), 9u);
        // Frames spread symmetrically in cents average a hair above the centre: 0.1 cents is
        // far below the 8-cent bins that could otherwise pull a mean.
        int index = 0;
        for (const auto& note : notes) {
            EXPECT_EQ(note.first, PipeTuning::noteIndexToReferenceNote(index));
            const float expected_Hz = float(c.lowA_Hz * PipeTuning::scheme_harmonic[size_t(index)]);
            EXPECT_NEAR(utils::freqRatioToCents(expected_Hz, note.second), 0.0f, 0.1f);
            ++index;
        }
    }
}
