#include "ChanterSynthesiser.h"
#include "PipeSnacPeakPicker.h"
#include "PitchFinder.h"
#include "TranscriptionFrames.h"
#include "utils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

// The frequency of a 1024-sample frame centred on t_s, as the transcription sees it.
float pitchAt(const std::vector<short>& samples, double t_s, double rate_Hz)
{
    static PitchFinder finder;
    static PipeSnacPeakPicker picker;
    static bool ready = false;
    if (!ready) {
        TranscriptionFrames::installPeakPicker(finder, picker);
        ready = true;
    }
    TranscriptionFrames::configure(finder, picker, PipeTuning(), float(rate_Hz), 0.9f, 0.3f);
    const long first = std::lround(t_s * rate_Hz) - 512;
    if (first < 0 || first + 1024 > long(samples.size()))
        return -1.0f;
    finder.setData(samples.data() + first);
    finder.calculatePitch();
    return finder.analysisResults().frequency_Hz;
}

// Power of one frequency over a stretch (Goertzel), relative to the stretch's total power.
double powerShare(const std::vector<short>& samples, std::size_t first, std::size_t count, double f_Hz, double rate)
{
    const double pi = 3.14159265358979323846;
    double re = 0.0, im = 0.0, total = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = samples[first + i];
        re += x * std::cos(2.0 * pi * f_Hz * double(i) / rate);
        im -= x * std::sin(2.0 * pi * f_Hz * double(i) / rate);
        total += x * x;
    }
    return total > 0.0 ? 2.0 * (re * re + im * im) / double(count) / total : 0.0;
}

} // namespace

TEST(ChanterSynthesiser, PlaysEveryGracingAsItsExpansion)
{
    for (int name = ag; name <= tbr; ++name) {
        const PipeNoteName gracing = PipeNoteName(name);
        SCOPED_TRACE(toString(gracing));
        ChanterSynthesiser synth;
        synth.play(LA, 0.3);
        synth.play(D, 0.4, gracing);

        const std::vector<PipeNoteName> expansion = getNoteNames(gracing);
        const auto& played = synth.playedNotes();
        ASSERT_EQ(played.size(), expansion.size() + 2);
        for (std::size_t i = 0; i < expansion.size(); ++i) {
            EXPECT_EQ(played[i + 1].name, expansion[i]);
            const bool gripStart = i == 0 && expansion[i] == LG
                && (gracing == grp || gracing == thrd || gracing == tar || gracing == tarb);
            EXPECT_NEAR(played[i + 1].duration_s, gripStart ? 0.045 : 0.030, 0.5 / 44100.0);
            EXPECT_NEAR(played[i + 1].start_s, played[i].start_s + played[i].duration_s, 1e-9);
        }
        EXPECT_EQ(played.back().name, D);

        ASSERT_EQ(synth.gracings().size(), 1u);
        const PipeNote& recorded = synth.gracings().begin()->second;
        EXPECT_EQ(recorded.noteName(), gracing);
        EXPECT_NEAR(recorded.start_s(), 0.3, 1e-6);
        EXPECT_NEAR(recorded.melodyNoteStart_s(), played.back().start_s, 1e-6);
        EXPECT_NEAR(synth.gracingDuration_s(gracing), recorded.melodyNoteStartOffset_s(), 1e-6);
        ASSERT_EQ(synth.melodyNotes().size(), 2u);
        EXPECT_NEAR(synth.melodyNotes().rbegin()->second.start_s(), played.back().start_s, 1e-6);
    }
}

TEST(ChanterSynthesiser, StrikeSplitsTheHeldNote)
{
    ChanterSynthesiser synth;
    synth.setGraceNote_s(0.025);
    synth.playStrike(strlg, C, 0.2, 0.3);
    const auto& played = synth.playedNotes();
    ASSERT_EQ(played.size(), 3u);
    EXPECT_EQ(played[0].name, C);
    EXPECT_EQ(played[1].name, LG);
    EXPECT_EQ(played[2].name, C);
    EXPECT_NEAR(played[1].duration_s, 0.025, 0.5 / 44100.0); // whole samples
    EXPECT_EQ(synth.melodyNotes().size(), 2u);
    ASSERT_EQ(synth.gracings().size(), 1u);
    EXPECT_EQ(synth.gracings().begin()->second.noteName(), strlg);
    EXPECT_NEAR(synth.gracings().begin()->first, 0.2f, 1e-6f);
    EXPECT_THROW(synth.playStrike(gg, C, 0.2, 0.2), std::invalid_argument);
    EXPECT_THROW(synth.play(C, 0.2, strlg), std::invalid_argument);
}

TEST(ChanterSynthesiser, SoundsTheNotesItReports)
{
    // Every note of 1024 samples or more, analysed at its centre, is within 3 cents of
    // its centre frequency: pitch is exact in the synthesis; 3 cents covers the frame
    // analysis with drones and noise. Notes shorter than a frame are covered by timing.
    ChanterSynthesiser synth;
    synth.setDrones(0.2);
    synth.setNoise(0.02, 7);
    synth.setGraceNote_s(0.040);
    synth.play(LA, 0.25);
    synth.play(B, 0.25, gg);
    synth.play(E, 0.25, dbe);
    synth.play(LA, 0.25, brl);
    synth.playStrike(strla, E, 0.2, 0.2);
    synth.play(HA, 0.25, dbha);
    synth.play(B, 0.25, grp);
    const std::vector<short> samples = synth.render();
    ASSERT_EQ(double(samples.size()), std::round(synth.duration_s() * 44100.0));
    PipeTuning tuning;
    for (const auto& note : synth.playedNotes()) {
        if (note.duration_s * 44100.0 < 1024.0)
            continue;
        SCOPED_TRACE(toString(note.name) + " at " + std::to_string(note.start_s));
        const float centre_Hz = tuning.getReferenceNoteCentreFrequency_Hz(noteNameToReferenceNote(note.name));
        EXPECT_NEAR(utils::freqRatioToCents(centre_Hz, pitchAt(samples, note.start_s + note.duration_s / 2.0, 44100.0)),
            0.0f, 3.0f);
    }
}

TEST(ChanterSynthesiser, ContinuousPhaseAndSound)
{
    // No click where the note changes: the largest step between samples there is no larger
    // than inside the higher note, because the phase runs on.
    ChanterSynthesiser synth;
    synth.play(LG, 0.1);
    synth.play(HA, 0.1);
    synth.play(LG, 0.1);
    const std::vector<short> samples = synth.render();
    auto largestStep = [&](std::size_t from, std::size_t to) {
        int step = 0;
        for (std::size_t i = from; i + 1 < to; ++i)
            step = std::max(step, std::abs(samples[i + 1] - samples[i]));
        return step;
    };
    const std::size_t change = 4410;
    const int steady = largestStep(change + 500, change + 4000);
    EXPECT_LE(largestStep(change - 50, change + 50), steady);
    EXPECT_LE(largestStep(2 * change - 50, 2 * change + 50), steady);

    // The peak of the chanter is as set.
    int peak = 0;
    for (short s : samples)
        peak = std::max(peak, std::abs(int(s)));
    EXPECT_EQ(peak, 12000);
}

TEST(ChanterSynthesiser, DronesAndSeededNoise)
{
    auto render = [](double drones, double noise, uint32_t seed) {
        ChanterSynthesiser synth;
        synth.setDrones(drones);
        synth.setNoise(noise, seed);
        synth.play(LA, 0.2);
        synth.rest(0.5);
        return synth.render();
    };
    const std::vector<short> quiet = render(0.0, 0.0, 0);
    // The reed stops in a rest.
    EXPECT_EQ(quiet[44100 / 2], 0);

    // In the rest the drones sound at low A / 2 (two tenors) and / 4 (the bass), and not
    // between their harmonics.
    const std::vector<short> drones = render(0.3, 0.0, 0);
    const std::size_t restStart = 8820 + 441;
    EXPECT_GT(powerShare(drones, restStart, 17640, 220.0, 44100.0), 0.2);
    EXPECT_GT(powerShare(drones, restStart, 17640, 110.0, 44100.0), 0.05);
    EXPECT_LT(powerShare(drones, restStart, 17640, 300.0, 44100.0), 0.01);

    EXPECT_EQ(render(0.0, 0.05, 3), render(0.0, 0.05, 3));
    EXPECT_NE(render(0.0, 0.05, 3), render(0.0, 0.05, 4));
}
