#include "ChanterCalibration.h"
#include "ChanterSynthesiser.h"
#include "TestNotes.h"
#include "utils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

const PipeNoteName kScale[] = {LG, LA, B, C, D, E, F, HG, HA};

// Nine notes each a fixed number of cents above the last, from 450 Hz.
PipeTuning evenlySpacedTuning(double step_cents)
{
    PipeTuning::FrequencyMap notes;
    for (int index = 0; index < 9; ++index)
        notes[PipeTuning::noteIndexToReferenceNote(index)] = float(450.0 * utils::centsToFreqRatio(step_cents * index));
    PipeTuning tuning;
    tuning.setTuningScheme(PipeTuning::Measured, notes);
    return tuning;
}

} // namespace

TEST(ChanterCalibration, LearnsTheNineNotesOfAPlayedScale)
{
    struct Case {
        const char* what;
        double sampleRate_Hz;
        PipeTuning tuning;
        double noteLength_s;
        double chanterPeak;
        double drones_normalized;
        PipeNoteName skipped;
        int notesDetected;
        bool rangeRejected;
    };
    const Case cases[] = {
        {"a practice chanter", 44100.0, harmonicTuning(480.0f), 0.8, 12000.0, 0.0, Unknown, 9, false},
        {"a flat chanter at 48000 Hz", 48000.0, harmonicTuning(452.0f), 0.8, 12000.0, 0.0, Unknown, 9, false},
        // Three drones each at 0.15 of the chanter's peak; from about 0.3 they spoil the frames' clarity.
        {"the pipes, drones and all", 44100.0, harmonicTuning(480.0f), 0.8, 12000.0, 0.15, Unknown, 9, false},
        {"D never played", 44100.0, harmonicTuning(480.0f), 0.8, 12000.0, 0.0, D, 8, false},
        // Nine clean notes within 480 cents are no chanter scale.
        {"a span too narrow", 44100.0, evenlySpacedTuning(60.0), 0.8, 12000.0, 0.0, Unknown, 9, true},
        // 0.35 s is 7 frames of 2048 samples; 0.5 s, 10 frames, are needed.
        {"notes too short", 44100.0, harmonicTuning(480.0f), 0.35, 12000.0, 0.0, Unknown, 0, false},
        // A peak of 150 is a level near 0.25, below the 0.30 limit.
        {"played too quietly", 44100.0, harmonicTuning(480.0f), 0.8, 150.0, 0.0, Unknown, 0, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ChanterSynthesiser piper(c.sampleRate_Hz, c.tuning);
        piper.setChanterPeak(c.chanterPeak);
        piper.setDrones(c.drones_normalized);
        piper.setNoise(0.005, 7);
        for (PipeNoteName note : kScale)
            if (note != c.skipped)
                piper.play(note, c.noteLength_s);
        const std::vector<short> samples = piper.render();

        const ChanterCalibration::Outcome outcome
            = ChanterCalibration::calibrateRecording(samples.data(), samples.size(), uint32_t(c.sampleRate_Hz));
        EXPECT_EQ(outcome.notesDetected, c.notesDetected);
        EXPECT_EQ(outcome.rangeRejected, c.rangeRejected);
        const bool succeeds = c.notesDetected == 9 && !c.rangeRejected;
        ASSERT_EQ(outcome.succeeded(), succeeds);
        if (!succeeds) {
            EXPECT_FALSE(outcome.reason().isEmpty());
            EXPECT_TRUE(outcome.notes.empty());
            continue;
        }
        // The SNAC frequency of a steady tone is exact to a small fraction of a cent (0.15 at
        // most seen here, drones included); a mean pulled by frames of a neighbouring note
        // would be off by several cents.
        for (int index = 0; index < 9; ++index) {
            const auto note = PipeTuning::noteIndexToReferenceNote(index);
            SCOPED_TRACE(toString(note));
            EXPECT_NEAR(utils::freqRatioToCents(c.tuning.getReferenceNoteCentreFrequency_Hz(note),
                            outcome.tuning.getReferenceNoteCentreFrequency_Hz(note)),
                0.0f, 0.5f);
        }
        EXPECT_EQ(outcome.tuning.tuningScheme(), PipeTuning::Measured);
    }
}

TEST(ChanterCalibration, CountsWholeFramesPerSecondBeforeTheDuration)
{
    // Whole frames of 2048 samples per second first, then the duration.
    EXPECT_EQ(ChanterCalibration::minAverageCount(44100, 0.5f), 10); // 21 x 0.5
    EXPECT_EQ(ChanterCalibration::minAverageCount(48000, 0.5f), 11); // 23 x 0.5
    EXPECT_EQ(ChanterCalibration::minAverageCount(44100, 1.0f), 21);
}
