#include "ProgressiveCeolmark.h"
#include "Ceolmark.h"
#include "CeolmarkUtils.h"
#include "ChanterSynthesiser.h"
#include "ProgressiveTranscriptionDriver.h"
#include "TestNotes.h"
#include "utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace {

constexpr double kRate_Hz = 44100.0;
constexpr double kLowA_Hz = 480.0;

// How the chanter sounds: a weak fundamental and a little noise; with drones or not.
struct Sound {
    double drones_normalized = 0.0;
    double lowA_Hz = kLowA_Hz;
    double drift_centsPerSecond = 0.0;
};

// A practice chanter: most frames are clean enough (SNAC peak above 0.98) for the tuning
// to learn from.
const Sound kPracticeChanter;
// The pipes: three drones at 0.15 of the chanter's peak hold the SNAC peak near 0.95, so
// the tuning keeps its calibration while the notes are still found.
const Sound kPipes{0.15};

ChanterSynthesiser makePiper(const Sound& sound)
{
    ChanterSynthesiser piper(kRate_Hz, harmonicTuning(sound.lowA_Hz));
    piper.setHarmonics(ChanterSynthesiser::harmonicsWithWeakFundamental(15.0f));
    piper.setNoise(0.0125, 11);
    piper.setDrones(sound.drones_normalized);
    piper.setDrift_centsPerSecond(sound.drift_centsPerSecond);
    return piper;
}

// A tune that keeps every note different from the one before it, as a piper separates
// repeated notes with gracing, with G grace notes between notes below high G and one long
// note.
ChanterSynthesiser playTune(const Sound& sound, double length_s)
{
    const PipeNoteName melody[] = {LA, B, C, D, E, F, HG, HA, E, C, LA, D, B, LG};
    const double durations_s[] = {0.45, 0.3, 0.6, 0.25, 0.4, 0.35, 0.5, 1.5, 0.3, 0.4, 0.35};
    ChanterSynthesiser piper = makePiper(sound);
    PipeNoteName previous = Unknown;
    for (int k = 0; piper.duration_s() < length_s; ++k) {
        const PipeNoteName note = melody[k % 14];
        const bool graced = k % 3 == 1 && previous < HG && note < HG;
        piper.play(note, durations_s[k % 11], graced ? gg : Unknown);
        previous = note;
    }
    return piper;
}

std::vector<PipeNote> played(const ChanterSynthesiser& piper)
{
    return combineMelodyAndGraceNotes(piper.melodyNotes(), piper.gracings());
}

bool sameNote(const PipeNote& a, const PipeNote& b)
{
    return a.noteName() == b.noteName() && a.start_s() == b.start_s() && a.duration_s() == b.duration_s();
}

} // namespace

TEST(ProgressiveCeolmark, SettledNotesNeverChangeAndTheTuneMatchesABatchPass)
{
    const ChanterSynthesiser piper = playTune(kPipes, 16.0);
    const std::vector<short> samples = piper.render();

    ProgressiveTranscriptionDriver driver;
    driver.setSamplingFrequency_Hz(float(kRate_Hz));
    driver.setTuning(harmonicTuning(kLowA_Hz));
    driver.reset();
    const ProgressiveCeolmark& transcriber = driver.transcriber();

    std::vector<PipeNote> settled;
    std::vector<float> cuts_s;
    for (size_t first = 0; first < samples.size(); first += ProgressiveTranscriptionDriver::kReplayChunk_samples) {
        const unsigned count = unsigned(std::min<size_t>(samples.size() - first, 4096));
        if (!driver.feed(samples.data() + first, count))
            continue;
        const ProgressiveTranscriptionDriver::Result& result = driver.lastResult();
        if (result.time_s <= 5.0f) {
            EXPECT_TRUE(transcriber.settledNotes().empty()) << result.time_s;
        }
        // The settled list only grows, and what it held stays exactly as it was.
        const std::vector<PipeNote>& nowSettled = transcriber.settledNotes();
        ASSERT_GE(nowSettled.size(), settled.size()) << result.time_s;
        for (size_t i = 0; i < settled.size(); ++i)
            ASSERT_TRUE(sameNote(nowSettled[i], settled[i])) << result.time_s << " " << toString(settled[i]);
        if (nowSettled.size() > settled.size())
            cuts_s.push_back(nowSettled.back().start_s());
        settled = nowSettled;
        // Every result begins with the settled notes, unchanged.
        const std::vector<PipeNote> tune = combineMelodyAndGraceNotes(result.notes, result.graceNotes);
        ASSERT_GE(tune.size(), settled.size());
        for (size_t i = 0; i < settled.size(); ++i)
            ASSERT_TRUE(sameNote(tune[i], settled[i])) << result.time_s << " " << toString(settled[i]);
    }
    ASSERT_TRUE(driver.flush());
    ASSERT_FALSE(cuts_s.empty());

    Ceolmark batch;
    batch.setTuning(harmonicTuning(kLowA_Hz));
    batch.transcribe(samples.data(), unsigned(samples.size()));
    const std::vector<PipeNote> batchTune = combineMelodyAndGraceNotes(batch.notes(), batch.graceNotes());
    const std::vector<PipeNote> progressiveTune
        = combineMelodyAndGraceNotes(driver.lastResult().notes, driver.lastResult().graceNotes);

    // Away from the splices both passes see the same frames, so the same notes come out;
    // times agree to well under a frame hop (0.45 ms) once the window start is added back.
    // Within 0.1 s of a splice point the settled tail may overlap the window's version.
    auto nearCut = [&](const PipeNote& note) {
        return std::any_of(
            cuts_s.begin(), cuts_s.end(), [&](float cut_s) { return std::fabs(note.start_s() - cut_s) < 0.1f; });
    };
    auto findIn = [](const std::vector<PipeNote>& tune, const PipeNote& note) {
        return std::any_of(tune.begin(), tune.end(), [&](const PipeNote& other) {
            return other.noteName() == note.noteName() && std::fabs(other.start_s() - note.start_s()) < 1e-4f
                && std::fabs(other.duration_s() - note.duration_s()) < 1e-4f;
        });
    };
    int compared = 0;
    for (const PipeNote& note : batchTune) {
        if (nearCut(note))
            continue;
        ++compared;
        EXPECT_TRUE(findIn(progressiveTune, note)) << "batch " << toString(note);
    }
    for (const PipeNote& note : progressiveTune) {
        if (!nearCut(note)) {
            EXPECT_TRUE(findIn(batchTune, note)) << "progressive " << toString(note);
        }
    }
    EXPECT_GT(compared, int(batchTune.size()) / 2);

    // And the tune is the one that was played, grace notes included.
    EXPECT_EQ(namesOf(progressiveTune), namesOf(played(piper)));
}

TEST(ProgressiveCeolmark, ResultsComeAtTheIntervalOfAudio)
{
    const std::vector<short> samples = playTune(kPracticeChanter, 3.0).render();
    struct Case {
        unsigned batch_samples;
        float interval_s; // 0: the reset's own 0.1 s
        int gap_batches;
    };
    // Results are due once more than the interval has passed since the last one, so the
    // gap is the first whole number of batches longer than the interval: 46.4 ms batches
    // at 0.1 s give 3, at 0.05 s give 2; a replay's 92.9 ms chunks at 0.1 s give 2.
    const Case cases[] = {{2048, 0.0f, 3}, {2048, 0.05f, 2}, {4096, 0.0f, 2}, {2048, 0.2f, 5}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.batch_samples) + " samples, interval " + std::to_string(c.interval_s));
        ProgressiveTranscriptionDriver driver;
        driver.setTuning(harmonicTuning(kLowA_Hz));
        driver.reset();
        if (c.interval_s > 0.0f)
            driver.setTranscriptionInterval_s(c.interval_s);
        std::vector<int> resultBatches;
        for (size_t i = 0; (i + 1) * c.batch_samples <= samples.size(); ++i)
            if (driver.feed(samples.data() + i * c.batch_samples, c.batch_samples))
                resultBatches.push_back(int(i));
        ASSERT_GT(resultBatches.size(), 5u);
        for (size_t i = 1; i < resultBatches.size(); ++i)
            EXPECT_EQ(resultBatches[i] - resultBatches[i - 1], c.gap_batches) << "after batch " << resultBatches[i - 1];
    }
}

TEST(ProgressiveCeolmark, ForceTranscribesTheFramesInHand)
{
    const std::vector<short> samples = playTune(kPracticeChanter, 1.5).render();
    ProgressiveCeolmark transcriber;
    // Not yet 0.1 s of audio: nothing is due.
    EXPECT_FALSE(transcriber.progressiveTranscribe(samples.data(), 4000, false));
    EXPECT_TRUE(transcriber.notes().empty());
    EXPECT_FALSE(transcriber.progressiveTranscribe(nullptr, 0, false));
    EXPECT_TRUE(transcriber.progressiveTranscribe(nullptr, 0, true));
    // The rest at once: due, and then nothing more is due until more audio arrives.
    EXPECT_TRUE(transcriber.progressiveTranscribe(samples.data() + 4000, unsigned(samples.size() - 4000), false));
    const NoteMap notes = transcriber.notes();
    EXPECT_FALSE(notes.empty());
    EXPECT_FALSE(transcriber.progressiveTranscribe(nullptr, 0, false));
    EXPECT_TRUE(transcriber.progressiveTranscribe(nullptr, 0, true));
    ASSERT_EQ(transcriber.notes().size(), notes.size());
    EXPECT_TRUE(std::equal(notes.begin(), notes.end(), transcriber.notes().begin(),
        [](const auto& a, const auto& b) { return sameNote(a.second, b.second); }));
    // Samples are consumed frame by frame; the last 1024 - 20 and the unfinished hop stay pending.
    EXPECT_NEAR(transcriber.lastTranscribeTime_s(), float(samples.size()) / 44100.0f, 1044.0f / 44100.0f);
}

TEST(ProgressiveCeolmark, ResetKeepsTheLearnedTuning)
{
    // Played 20 cents sharp of the calibration: the tuning learns it during the first
    // recording, and the next recording starts from what was learned. Low A is held for
    // longer than the second of history, so the seeded calibration is all pushed out.
    Sound sharp;
    sharp.lowA_Hz = kLowA_Hz * utils::centsToFreqRatio(20.0);
    ChanterSynthesiser piper = makePiper(sharp);
    piper.play(LA, 2.5);
    piper.play(E, 0.5);
    const std::vector<short> samples = piper.render();

    ProgressiveTranscriptionDriver driver;
    driver.setTuning(harmonicTuning(kLowA_Hz));
    driver.setTranscriptionInterval_s(0.5f);
    driver.reset();
    EXPECT_FLOAT_EQ(driver.transcriber().transcriptionInterval_s(), 0.1f); // the reset's, by design
    EXPECT_TRUE(driver.replay(samples.data(), samples.size(), true));
    const float learnedLowA_Hz = driver.lastResult().tuning.lowA_Hz();
    // The means are of clean frames of a steady synthetic tone: within a cent.
    EXPECT_NEAR(utils::freqRatioToCents(float(sharp.lowA_Hz), learnedLowA_Hz), 0.0f, 1.0f);

    driver.setTranscriptionInterval_s(0.5f);
    driver.reset();
    EXPECT_FALSE(driver.hasResult());
    EXPECT_TRUE(driver.transcriber().notes().empty());
    EXPECT_EQ(driver.lastTranscribeTime_s(), 0.0f);
    EXPECT_FLOAT_EQ(driver.transcriber().transcriptionInterval_s(), 0.1f);
    EXPECT_FLOAT_EQ(driver.transcriber().tuning().lowA_Hz(), learnedLowA_Hz);
    EXPECT_FLOAT_EQ(driver.transcriber().lowA_Hz(), learnedLowA_Hz);
}

TEST(ProgressiveCeolmark, FollowsAChanterDriftingThirtyCentsInAMinute)
{
    Sound drifting;
    drifting.drift_centsPerSecond = 0.5;
    const ChanterSynthesiser piper = playTune(drifting, 60.0);
    ASSERT_GE(piper.duration_s(), 60.0);

    ProgressiveTranscriptionDriver driver;
    driver.setTuning(harmonicTuning(kLowA_Hz)); // calibrated once, at the start
    driver.reset();
    const std::vector<short> samples = piper.render();
    const std::vector<PipeNote> playedNotes = played(piper);
    int checked = 0;
    for (size_t first = 0; first < samples.size(); first += ProgressiveTranscriptionDriver::kReplayChunk_samples) {
        const unsigned count = unsigned(std::min<size_t>(samples.size() - first, 4096));
        if (!driver.feed(samples.data() + first, count) || driver.lastResult().time_s < 10.0f)
            continue;
        // Low A's history holds the newest second of its frames, over as many low A notes as
        // that takes (the seeded calibration counts as played at the start). So the tuning's
        // low A lags the chanter's by 0.5 cents a second since the end of the last low A at
        // least, and since the start of the oldest low A in the history at most. The half cent
        // either side covers the frames' own pitch error on a steady synthetic tone.
        const float time_s = driver.lastResult().time_s;
        float newestEnd_s = 0.0f;
        float oldestStart_s = 0.0f;
        float needed_s = 1.0f;
        for (auto note = playedNotes.rbegin(); note != playedNotes.rend(); ++note) {
            if (note->noteName() != LA || note->start_s() + 0.1f > time_s)
                continue;
            if (newestEnd_s == 0.0f)
                newestEnd_s = std::min(note->getEnd_s(), time_s);
            needed_s -= std::min(note->getEnd_s(), time_s) - note->start_s();
            if (needed_s <= 0.0f) {
                oldestStart_s = note->start_s();
                break;
            }
        }
        const float lag_cents = utils::freqRatioToCents(
            driver.lastResult().tuning.lowA_Hz(), float(kLowA_Hz * piper.driftFactor(time_s)));
        EXPECT_GE(lag_cents, 0.5f * (time_s - newestEnd_s) - 0.5f) << time_s;
        EXPECT_LE(lag_cents, 0.5f * (time_s - oldestStart_s) + 0.5f) << time_s;
        ++checked;
    }
    EXPECT_GT(checked, 100);
    driver.flush();
    EXPECT_EQ(namesOf(combineMelodyAndGraceNotes(driver.lastResult().notes, driver.lastResult().graceNotes)),
        namesOf(playedNotes));
}
