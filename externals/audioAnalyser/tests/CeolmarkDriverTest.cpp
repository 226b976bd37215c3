// The transcriber's frame analysis and driver on synthesised chanter tones.

#include "Ceolmark.h"
#include "ChanterSynthesiser.h"
#include "TestNotes.h"
#include "TuningFromData.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

constexpr double kRate_Hz = 44100.0;

void append(std::vector<short>& to, const std::vector<short>& samples)
{
    to.insert(to.end(), samples.begin(), samples.end());
}

std::vector<short> tone(double frequency_Hz, double seconds, double peak = 12000.0)
{
    return ChanterSynthesiser::tone(frequency_Hz, kRate_Hz, unsigned(seconds * kRate_Hz),
        ChanterSynthesiser::harmonicsWithWeakFundamental(15.0f), peak);
}

std::vector<short> silence(double seconds) { return std::vector<short>(size_t(seconds * kRate_Hz), 0); }

} // namespace

TEST(CeolmarkDriver, FramesPerBlock)
{
    struct Case {
        unsigned count;
        unsigned frames;
        unsigned consumed;
    };
    // Frames of 1024 samples every 20 samples at 44100 Hz.
    const Case cases[] = {{1023, 0, 0}, {1024, 1, 20}, {1043, 1, 20}, {1044, 2, 40}, {3000, 99, 1980}};
    const std::vector<short> samples = tone(440.0, 0.1);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.count);
        Ceolmark transcriber;
        EXPECT_EQ(transcriber.calculateFrequencies(samples.data(), c.count), c.consumed);
        EXPECT_EQ(transcriber.frequencies().size(), c.frames);
        EXPECT_EQ(transcriber.volumes().size(), c.frames);
        EXPECT_EQ(transcriber.qualities().size(), c.frames);
        EXPECT_EQ(transcriber.pickedFrequencies().size(), c.frames);
    }
}

TEST(CeolmarkDriver, QuietFramesLoseTheirPitchAfterTheFirstTen)
{
    // A level of about 0.2 on the pitch finder's scale, below the default gate of 0.3.
    const std::vector<short> quiet = tone(440.0, 0.1, 300.0);
    Ceolmark transcriber;
    transcriber.calculateFrequencies(quiet.data(), unsigned(quiet.size()));
    transcriber.calculateNotes();
    const auto& frequencies = transcriber.frequencies();
    ASSERT_GT(frequencies.size(), 20u);
    for (size_t i = 0; i < frequencies.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_GT(transcriber.volumes()[i], 0.0f);
        EXPECT_LT(transcriber.volumes()[i], 0.3f);
        if (i < 10) {
            EXPECT_NEAR(frequencies[i], 440.0f, 1.0f);
            EXPECT_EQ(transcriber.frameNotes()[i], PipeTuning::LowA);
        } else {
            EXPECT_EQ(frequencies[i], 0.0f);
            EXPECT_EQ(transcriber.qualities()[i], 0.0f);
            EXPECT_EQ(transcriber.frameNotes()[i], PipeTuning::Unknown);
        }
    }
}

TEST(CeolmarkDriver, TuningIsSearchedUnlessSet)
{
    // Low A played 20 cents sharp of 440 Hz: the search from the data measures it.
    const float sharpLowA_Hz = 440.0f * std::pow(2.0f, 20.0f / 1200.0f);
    std::vector<short> samples = tone(sharpLowA_Hz, 0.6);
    append(samples, tone(sharpLowA_Hz * 1.5, 0.6));

    Ceolmark searched;
    searched.transcribe(samples.data(), unsigned(samples.size()));
    EXPECT_FALSE(searched.tuningIsSet());
    EXPECT_EQ(searched.tuning().tuningScheme(), PipeTuning::Measured);
    // Frame analysis of a steady tone is exact to well under a cent.
    EXPECT_NEAR(searched.tuning().lowA_Hz(), sharpLowA_Hz, 0.1f);

    Ceolmark fixed;
    fixed.setTuning(harmonicTuning(450.0));
    EXPECT_EQ(fixed.lowA_Hz(), 450.0f);
    fixed.transcribe(samples.data(), unsigned(samples.size()));
    EXPECT_EQ(fixed.tuning().lowA_Hz(), 450.0f);
    EXPECT_EQ(fixed.tuning().tuningScheme(), PipeTuning::Harmonic);
    EXPECT_EQ(namesOf(fixed.notes()), (std::vector<PipeNoteName>{LA, E}));

    // A new low A makes the next whole pass search again; a plain rerun of the stages does not.
    fixed.setLowA_Hz(440.0f);
    EXPECT_FALSE(fixed.tuningIsSet());
    fixed.transcribe();
    EXPECT_EQ(fixed.tuning().lowA_Hz(), 450.0f);
}

TEST(CeolmarkDriver, TuningFromFrequenciesSkipsAttacksAndQuietFrames)
{
    struct Case {
        const char* what;
        std::vector<float> frequencies;
        std::vector<float> qualities;
        std::vector<float> volumes;
        float lowA_Hz;
    };
    const auto repeat = [](float value, size_t count) { return std::vector<float>(count, value); };
    const auto join = [](std::vector<float> a, const std::vector<float>& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    };
    const Case cases[] = {
        // Three frames of a note carry its attack and count for nothing.
        {"three frames", repeat(450.0f, 3), repeat(1.0f, 3), repeat(1.0f, 3), 440.0f},
        {"four frames", repeat(450.0f, 4), repeat(1.0f, 4), repeat(1.0f, 4), 450.0f},
        {"quality of 0.98 is not enough", repeat(450.0f, 20), repeat(0.98f, 20), repeat(1.0f, 20), 440.0f},
        {"unequal lengths", repeat(450.0f, 20), repeat(1.0f, 19), repeat(1.0f, 20), 440.0f},
        // After ten quiet frames the mean volume holds the loud ones back; the first ten are exempt.
        {"quiet", join(repeat(0.0f, 10), repeat(450.0f, 5)), repeat(1.0f, 15), join(repeat(0.0f, 10), repeat(1.0f, 5)),
            440.0f},
        {"loud enough", join(repeat(0.0f, 10), repeat(450.0f, 5)), repeat(1.0f, 15),
            join(repeat(0.0f, 10), repeat(7.0f, 5)), 450.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const PipeTuning tuning = calculateTuningFromFrequencies(440.0f, 0.3f, c.frequencies, c.qualities, c.volumes);
        EXPECT_FLOAT_EQ(tuning.lowA_Hz(), c.lowA_Hz);
    }
}

TEST(CeolmarkDriver, FrameAnalysisOverThreadsIsBitIdentical)
{
    // Notes, silences (frames without a key maximum carry the quality over) and noise,
    // long enough for several threads.
    std::vector<short> samples;
    std::mt19937 random(7);
    std::uniform_int_distribution<int> noise(-3000, 3000);
    for (double frequency_Hz :
        {440.0, 495.0, 0.0, 587.0, 660.0, -1.0, 770.0, 0.0, 880.0, 385.0, 0.0, 550.0, -1.0, 733.0, 0.0, 440.0}) {
        if (frequency_Hz > 0.0) {
            append(samples, tone(frequency_Hz, 0.45));
        } else if (frequency_Hz == 0.0) {
            append(samples, silence(0.2));
        } else {
            for (int i = 0; i < 0.2 * kRate_Hz; ++i)
                samples.push_back(short(noise(random)));
        }
    }
    // Two blocks, so that the second continues from the state the first left.
    const unsigned firstBlock = unsigned(samples.size() / 2);
    auto analyse = [&](int threads) {
        Ceolmark transcriber;
        transcriber.setFrameAnalysisThreads(threads);
        const unsigned consumed = transcriber.calculateFrequencies(samples.data(), firstBlock);
        transcriber.calculateFrequencies(samples.data() + consumed, unsigned(samples.size()) - consumed);
        return std::vector<std::vector<float>>{
            transcriber.frequencies(), transcriber.pickedFrequencies(), transcriber.qualities(), transcriber.volumes()};
    };
    const auto single = analyse(1);
    // Enough frames in each block for three threads of at least 2048 frames.
    ASSERT_GT(single[0].size(), 2u * 3u * 2048u);
    for (int threads : {2, 3, 4}) {
        SCOPED_TRACE(threads);
        const auto spread = analyse(threads);
        for (size_t array = 0; array < single.size(); ++array) {
            ASSERT_EQ(spread[array].size(), single[array].size());
            // Bitwise: memcmp-like equality, not a tolerance.
            EXPECT_TRUE(std::equal(single[array].begin(), single[array].end(), spread[array].begin(),
                [](float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }))
                << "array " << array;
        }
    }
}

TEST(CeolmarkDriver, NoLongNoteMeansNoMelodyAndNoFault)
{
    // Notes of 0.1 s only: too short for a melody note.
    std::vector<short> samples;
    for (double frequency_Hz : {440.0, 495.0, 550.0, 587.0, 660.0, 733.0, 770.0, 880.0})
        append(samples, tone(frequency_Hz, 0.1));
    Ceolmark transcriber;
    transcriber.setTuning(PipeTuning());
    EXPECT_TRUE(transcriber.transcribe(samples.data(), unsigned(samples.size())));
    EXPECT_TRUE(transcriber.notes().empty());
}
