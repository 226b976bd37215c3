#include "HistoricPipeTuning.h"
#include "TestNotes.h"
#include "utils.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Frames {
    std::vector<float> frequencies;
    std::vector<float> qualities;
    std::vector<float> volumes;

    Frames& add(float frequency_Hz, int count, float quality = 1.0f, float volume = 0.8f)
    {
        frequencies.insert(frequencies.end(), size_t(count), frequency_Hz);
        qualities.insert(qualities.end(), size_t(count), quality);
        volumes.insert(volumes.end(), size_t(count), volume);
        return *this;
    }
    int size() const { return int(frequencies.size()); }
};

float centreOf(const PipeTuning& tuning, PipeTuning::ReferenceNote note)
{
    return tuning.getReferenceNoteCentreFrequency_Hz(note);
}

} // namespace

TEST(HistoricPipeTuning, AveragesTheNewestCleanFramesOfEachRun)
{
    // An unseeded tuning: the base is harmonic on 440 Hz, so E is 660 Hz and D 586.7 Hz.
    struct Case {
        const char* what;
        Frames frames;
        float expectedE_Hz;
    };
    std::vector<Case> cases;
    cases.push_back({"the first three frames of a run never count", Frames().add(650.0f, 3).add(670.0f, 1), 670.0f});
    cases.push_back({"a run of three alone leaves the harmonic ratio", Frames().add(650.0f, 3), 660.0f});
    cases.push_back({"a frame of 0.97 quality restarts the run",
        Frames().add(650.0f, 4).add(660.0f, 1, 0.97f).add(670.0f, 4), (650.0f + 670.0f) / 2});
    cases.push_back({"a quiet frame does not restart the run",
        Frames().add(650.0f, 4).add(660.0f, 1, 1.0f, 0.1f).add(670.0f, 1), (650.0f + 670.0f) / 2});
    cases.push_back({"another note in between restarts it", Frames().add(650.0f, 4).add(586.7f, 1).add(670.0f, 4),
        (650.0f + 670.0f) / 2});
    {
        // 100 frames, each 0.1 Hz higher: the mean is that of the newest ten.
        Frames frames;
        for (int i = 0; i < 100; ++i)
            frames.add(650.0f + 0.1f * float(i), 1);
        cases.push_back({"only the newest average-size frames count", frames, 650.0f + 0.1f * 94.5f});
    }
    // The ring is primed with the first volume, so a loud start counts from its first frame;
    // primed quiet, ten loud frames are needed before the mean of ten passes 0.3.
    cases.push_back({"a quiet start holds the mean down",
        Frames().add(0.0f, 1, 0.0f, 0.0f).add(650.0f, 4, 1.0f, 0.8f).add(670.0f, 20, 1.0f, 0.8f), 670.0f});
    cases.push_back({"frames at the volume limit are out", Frames().add(670.0f, 10, 1.0f, 0.3f), 660.0f});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        HistoricPipeTuning historic;
        historic.update(c.frames.frequencies, c.frames.qualities, c.frames.volumes, 0);
        // E is not low A, so the low A stays 440 and E's centre is its mean.
        EXPECT_NEAR(centreOf(historic.tuning(), PipeTuning::E), c.expectedE_Hz, 0.01f);
        EXPECT_FLOAT_EQ(historic.tuning().lowA_Hz(), 440.0f);
    }
}

TEST(HistoricPipeTuning, UpdateFromTheEndChangesNothing)
{
    HistoricPipeTuning historic;
    historic.setCalibratedTuning(harmonicTuning(470.0), false);
    EXPECT_FLOAT_EQ(historic.tuning().lowA_Hz(), 470.0f);
    const Frames frames = Frames().add(473.0f, 20);
    historic.update(frames.frequencies, frames.qualities, frames.volumes, frames.size());
    EXPECT_FLOAT_EQ(historic.tuning().lowA_Hz(), 470.0f);
    // Mismatched vectors are ignored as well.
    std::vector<float> shorter = frames.volumes;
    shorter.pop_back();
    historic.update(frames.frequencies, frames.qualities, shorter, 0);
    EXPECT_FLOAT_EQ(historic.tuning().lowA_Hz(), 470.0f);
    // A real update rebuilds it from the frames: low A is then their mean.
    historic.update(frames.frequencies, frames.qualities, frames.volumes, 0);
    EXPECT_FLOAT_EQ(historic.tuning().lowA_Hz(), 473.0f);
}

TEST(HistoricPipeTuning, SeedingStartsFromTheCalibratedCentres)
{
    // A measured tuning whose notes are all off the harmonic ratios.
    PipeTuning::FrequencyMap measured;
    for (int index = 0; index < 9; ++index) {
        const auto note = PipeTuning::noteIndexToReferenceNote(index);
        measured[note] = float(475.0 * PipeTuning::scheme_harmonic[size_t(index)] * (1.0 + 0.003 * index));
    }
    PipeTuning calibrated;
    calibrated.setTuningScheme(PipeTuning::Measured, measured);

    struct Case {
        int averageSize;
        bool calibratedAfterSeed;
    };
    // Three copies per note are all skipped as attack: nothing is seeded.
    const Case cases[] = {{10, true}, {4, true}, {3, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.averageSize);
        HistoricPipeTuning historic;
        historic.setAverageSize(c.averageSize);
        historic.setMinimumVolume_normalized(0.5f);
        historic.setCalibratedTuning(calibrated, true);
        EXPECT_EQ(historic.averageSize(), c.averageSize);
        EXPECT_FLOAT_EQ(historic.minimumVolume_normalized(), 0.3f); // a reset restores it
        const PipeTuning tuning = historic.tuning();
        for (int index = 0; index < 9; ++index) {
            const auto note = PipeTuning::noteIndexToReferenceNote(index);
            const float expected_Hz
                = c.calibratedAfterSeed ? measured[note] : PipeTuning().getReferenceNoteCentreFrequency_Hz(note);
            EXPECT_NEAR(tuning.getReferenceNoteCentreFrequency_Hz(note), expected_Hz, 0.01f);
        }
        EXPECT_FLOAT_EQ(historic.baseTuning().lowA_Hz(), calibrated.lowA_Hz());
    }
}

TEST(HistoricPipeTuning, LiveFramesBlendIntoTheSeed)
{
    HistoricPipeTuning historic;
    historic.setCalibratedTuning(harmonicTuning(480.0), true);
    // Seven seeded copies of 720 Hz (10 minus the 3 attack frames); four live frames of
    // 730 Hz, of which the last one counts: (7 x 720 + 730) / 8.
    const Frames frames = Frames().add(730.0f, 4);
    historic.update(frames.frequencies, frames.qualities, frames.volumes, 0);
    EXPECT_NEAR(centreOf(historic.tuning(), PipeTuning::E), (7 * 720.0f + 730.0f) / 8, 0.01f);
    // An unplayed note keeps its seeded centre rather than falling back to a ratio.
    EXPECT_NEAR(centreOf(historic.tuning(), PipeTuning::D), 640.0f, 0.01f);
}

TEST(HistoricPipeTuning, UnplayedNoteFallsBackToHarmonicWithoutSeed)
{
    PipeTuning::FrequencyMap measured = {{PipeTuning::LowA, 480.0f}, {PipeTuning::D, 650.0f}};
    PipeTuning calibrated;
    calibrated.setTuningScheme(PipeTuning::Measured, measured);
    HistoricPipeTuning historic;
    historic.setCalibratedTuning(calibrated, false);
    EXPECT_NEAR(centreOf(historic.tuning(), PipeTuning::D), 650.0f, 0.01f);
    const Frames frames = Frames().add(480.0f, 5);
    historic.update(frames.frequencies, frames.qualities, frames.volumes, 0);
    EXPECT_NEAR(centreOf(historic.tuning(), PipeTuning::D), 480.0f * 4.0f / 3.0f, 0.01f);
}
