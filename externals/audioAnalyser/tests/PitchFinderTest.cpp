#include "PitchFinder.h"
#include "ChanterSynthesiser.h"
#include "PipeSnacPeakPicker.h"
#include "PipeTuning.h"
#include "TestNotes.h"
#include "TranscriptionFrames.h"
#include "utils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

const std::vector<float> kPureTone = {1.0f};

// A finder set up over the chanter's band with the period range limited, as the
// transcription uses it, but without a peak picker.
void setUpChanterBand(PitchFinder& finder, uint32_t rate_Hz)
{
    finder.setDataParams(PitchFinder::DataParams(1024, rate_Hz));
    finder.setProcessingParams(TranscriptionFrames::chanterBand(PipeTuning()));
}

PitchFinder::AnalysisResults analyse(PitchFinder& finder, const std::vector<short>& frame)
{
    finder.setData(frame.data());
    finder.calculatePitch();
    return finder.analysisResults();
}

} // namespace

TEST(PitchFinder, FindsPitchAcrossTheChanterRange)
{
    // Pure tones come within 0.1 cent. Harmonic-rich tones sharpen the SNAC peak, and the
    // parabola fitted through three lags of it leans by up to about 1.1 cent at 22050 Hz
    // and 0.25 cent from 44100 Hz on, at the top of the range where a period spans fewest
    // samples; where a period is a whole number of samples the peak is symmetric and the
    // fit is exact again.
    struct Rate {
        uint32_t rate_Hz;
        float harmonicTolerance_cents;
    };
    const Rate rates[] = {{22050, 1.3f}, {44100, 0.3f}, {48000, 0.3f}};
    const double detunes_percent[] = {-0.3, 0.0, 0.17, 0.41};
    for (const Rate& rate : rates) {
        PitchFinder finder;
        setUpChanterBand(finder, rate.rate_Hz);
        for (double ratio : PipeTuning::scheme_harmonic) {
            for (double detune : detunes_percent) {
                const double frequency_Hz = 440.0 * ratio * (1.0 + detune / 100.0);
                for (bool rich : {false, true}) {
                    SCOPED_TRACE(std::to_string(rate.rate_Hz) + " Hz, tone " + std::to_string(frequency_Hz)
                        + (rich ? " harmonic-rich" : " pure"));
                    const auto results = analyse(finder,
                        ChanterSynthesiser::tone(frequency_Hz, rate.rate_Hz, 1024,
                            rich ? ChanterSynthesiser::kChanterHarmonics : kPureTone));
                    ASSERT_GT(results.frequency_Hz, 0.0f);
                    EXPECT_NEAR(utils::freqRatioToCents(float(frequency_Hz), results.frequency_Hz), 0.0f,
                        rich ? rate.harmonicTolerance_cents : 0.1f);
                }
            }
        }
        // Whole periods: 441 Hz is 100 samples at 44100 Hz, 480 Hz is 100 at 48000 Hz,
        // 441 Hz is 50 at 22050 Hz.
        const double wholePeriod_Hz = rate.rate_Hz == 48000 ? 480.0 : 441.0;
        SCOPED_TRACE(std::to_string(rate.rate_Hz) + " Hz, whole period");
        const auto results = analyse(finder,
            ChanterSynthesiser::tone(wholePeriod_Hz, rate.rate_Hz, 1024, ChanterSynthesiser::kChanterHarmonics));
        EXPECT_NEAR(utils::freqRatioToCents(float(wholePeriod_Hz), results.frequency_Hz), 0.0f, 0.1f);
    }
}

TEST(PitchFinder, NoOctaveErrorWithAWeakFundamental)
{
    // The fundamental 15 dB below the 4th harmonic, as on a real chanter: the SNAC has
    // nearly equal peaks at one and several periods, and the first within 0.9 of the
    // highest must win, both for the plain choice and for the peak picker, whose pick must
    // also name the note. Chanters at two pitches, every note, three rates.
    const std::vector<float> harmonics = ChanterSynthesiser::harmonicsWithWeakFundamental(15.0f);
    // An octave is 1200 cents. The parabola's bias with this spectrum reaches about 1.5 cents
    // at 22050 Hz and 0.2 from 44100 Hz on; the tolerances leave a little room above that.
    const std::pair<uint32_t, float> rates[] = {{22050, 2.0f}, {44100, 0.5f}, {48000, 0.5f}};
    for (double lowA_Hz : {440.0, 480.0}) {
        const PipeTuning tuning = harmonicTuning(lowA_Hz);
        for (const auto& rate : rates) {
            PitchFinder finder;
            PipeSnacPeakPicker picker;
            TranscriptionFrames::installPeakPicker(finder, picker);
            TranscriptionFrames::configure(finder, picker, tuning, float(rate.first), 0.9f, 0.3f);
            for (const auto& note : tuning.getNoteCentreFrequencies()) {
                SCOPED_TRACE(
                    std::to_string(lowA_Hz) + " low A, " + std::to_string(rate.first) + " Hz, " + toString(note.first));
                const auto results
                    = analyse(finder, ChanterSynthesiser::tone(note.second, rate.first, 1024, harmonics));
                EXPECT_NEAR(utils::freqRatioToCents(note.second, results.frequency_Hz), 0.0f, rate.second);
                float centre = 0.0f, cents = 0.0f;
                EXPECT_EQ(tuning.calculate(results.pickedFrequency_Hz, centre, cents), note.first);
                EXPECT_NEAR(cents, 0.0f, rate.second);
            }
        }
    }
}

TEST(PitchFinder, LevelFollowsThePowerOfTheFrame)
{
    PitchFinder finder;
    setUpChanterBand(finder, 44100);
    for (double amplitude : {32000.0, 3200.0, 100.0}) {
        SCOPED_TRACE(amplitude);
        // 441 Hz: the frame holds a whole number of cycles less 24 samples, so its mean
        // square is close to amplitude^2 / 2. The figure is 20 log10 of a power ratio.
        const auto results = analyse(finder, ChanterSynthesiser::tone(441.0, 44100, 1024, kPureTone, amplitude));
        const double expected_dB = 20.0 * std::log10(amplitude * amplitude / 2.0 / 1073741824.0);
        EXPECT_NEAR(results.level, expected_dB / 120.0 + 1.0, 0.002);
    }
    // Silence: the level floor, no frequency, and the clarity of the frame before kept.
    const float lastPeak = finder.analysisResults().snacPeak;
    ASSERT_GT(lastPeak, 0.9f);
    const auto silent = analyse(finder, std::vector<short>(1024, 0));
    EXPECT_EQ(silent.level, 0.0f);
    EXPECT_EQ(silent.frequency_Hz, 0.0f);
    EXPECT_EQ(silent.snacPeak, lastPeak);
    EXPECT_FLOAT_EQ(finder.lowestLevel_dB(), -120.0f);
}

TEST(PitchFinder, MinimumPeakRejectsAWeakFrameButReportsItsClarity)
{
    // A tone buried in seeded noise: its SNAC peak lies between 0.3 and 0.6.
    std::vector<short> frame = ChanterSynthesiser::tone(550.0, 44100, 1024, kPureTone, 1500.0);
    uint32_t seed = 12345;
    for (short& s : frame) {
        seed = seed * 1664525u + 1013904223u;
        s = short(s + int(seed >> 20) - 2048);
    }
    PitchFinder finder;
    setUpChanterBand(finder, 44100);
    finder.minimumSnacPeak = 0.6f;
    const auto strict = analyse(finder, frame);
    ASSERT_GT(strict.snacPeak, 0.3f);
    ASSERT_LT(strict.snacPeak, 0.6f);
    EXPECT_EQ(strict.frequency_Hz, 0.0f);

    finder.minimumSnacPeak = 0.3f;
    const auto lenient = analyse(finder, frame);
    EXPECT_EQ(lenient.snacPeak, strict.snacPeak);
    EXPECT_NEAR(lenient.frequency_Hz, 550.0f, 10.0f);
}

TEST(PitchFinder, ParametersAreHeldToTheirRanges)
{
    PitchFinder finder;
    PitchFinder::ProcessingParams params;
    params.lowFrequency_Hz = 0.5f;
    params.highFrequency_Hz = 50000.0f;
    finder.setProcessingParams(params);
    EXPECT_EQ(finder.processingParams().lowFrequency_Hz, 1.0f);
    EXPECT_EQ(finder.processingParams().highFrequency_Hz, 44100.0f);
    params.lowFrequency_Hz = 500.0f;
    params.highFrequency_Hz = 300.0f;
    finder.setProcessingParams(params);
    EXPECT_EQ(finder.processingParams().highFrequency_Hz, 500.0f);

    finder.setDataParams(PitchFinder::DataParams(1024, 44100));
    float low = 0.0f, high = 0.0f;
    finder.getActualFrequencyBand(low, high);
    EXPECT_EQ(low, 500.0f);
    EXPECT_EQ(high, 500.0f);
    params.lowFrequency_Hz = 1.0f;
    params.highFrequency_Hz = 30000.0f;
    finder.setProcessingParams(params);
    finder.getActualFrequencyBand(low, high);
    EXPECT_FLOAT_EQ(low, 44100.0f / 1024.0f);
    EXPECT_EQ(high, 22050.0f);

    EXPECT_EQ(PitchFinder::DataParams(1024, 44100).dataSize_B(), 2048u);
    EXPECT_NE(PitchFinder::DataParams(1024, 44100), PitchFinder::DataParams(1024, 48000));
    EXPECT_THROW(finder.setDataParams(PitchFinder::DataParams(1022, 44100)), std::invalid_argument);
}

TEST(PitchFinder, FrameSizeZeroDoesNothing)
{
    PitchFinder finder;
    finder.calculatePitch();
    const auto results = finder.analysisResults();
    EXPECT_EQ(results.frequency_Hz, 0.0f);
    EXPECT_EQ(results.level, 0.0f);
    EXPECT_EQ(results.calibrationMultiplier, 1.0f);
}

TEST(PitchFinder, AveragesOverTheCurrentNote)
{
    PitchFinder finder;
    setUpChanterBand(finder, 44100);
    // 43 frames make a second at 44100 Hz; the average is over the frames of the note.
    for (int i = 0; i < 10; ++i)
        analyse(finder, ChanterSynthesiser::tone(440.0, 44100, 1024, ChanterSynthesiser::kChanterHarmonics));
    EXPECT_NEAR(finder.analysisResults().averageFrequency_Hz, 440.0f, 0.05f);
    for (int i = 0; i < 10; ++i)
        analyse(finder, ChanterSynthesiser::tone(660.0, 44100, 1024, ChanterSynthesiser::kChanterHarmonics));
    EXPECT_NEAR(finder.analysisResults().averageFrequency_Hz, 660.0f, 0.1f);
}

TEST(PitchFinder, CalibratesOnAPlayedNote)
{
    PitchFinder finder;
    setUpChanterBand(finder, 44100);
    // 500 ms at 1024-sample frames is 21 frames.
    finder.startCalibration(500, 440.0f);
    const auto tone = ChanterSynthesiser::tone(452.0, 44100, 1024, ChanterSynthesiser::kChanterHarmonics);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(analyse(finder, tone).calibrationState, float(NoteCalibrator::Calibrating));
    const auto results = analyse(finder, tone);
    EXPECT_EQ(results.calibrationState, float(NoteCalibrator::Calibrated));
    EXPECT_NEAR(results.calibratedFrequency_Hz, 452.0f, 0.2f);
    EXPECT_NEAR(results.calibrationMultiplier, 440.0f / 452.0f, 1e-3f);

    finder.setCalibration(440.0f, 480.0f);
    EXPECT_FLOAT_EQ(finder.analysisResults().calibrationMultiplier, 440.0f / 480.0f);
}

TEST(PitchFinder, BandpassCountsBinsAgainstTheFrame)
{
    // The low edge of 1400 Hz lands on bin 32 of the frame, which in the 1536-point
    // transform is 919 Hz: a 1000 Hz tone passes, a 700 Hz tone does not.
    PitchFinder finder;
    finder.setDataParams(PitchFinder::DataParams(1024, 44100));
    PitchFinder::ProcessingParams params;
    params.bandpass = true;
    params.lowFrequency_Hz = 1400.0f;
    finder.setProcessingParams(params);
    EXPECT_NEAR(analyse(finder, ChanterSynthesiser::tone(1000.0, 44100, 1024, kPureTone)).frequency_Hz, 1000.0f, 2.0f);
    EXPECT_LT(analyse(finder, ChanterSynthesiser::tone(700.0, 44100, 1024, kPureTone)).level, 0.5f);
}

TEST(PitchFinder, CepstrumFindsThePeriod)
{
    PitchFinder finder;
    setUpChanterBand(finder, 44100);
    for (PitchFinder::WindowType window : {PitchFinder::NoWindow, PitchFinder::HanningWindow}) {
        PitchFinder::ProcessingParams params = finder.processingParams();
        params.windowType = window;
        finder.setProcessingParams(params);
        for (double frequency_Hz : {441.0, 551.25, 735.0}) {
            SCOPED_TRACE(std::to_string(window) + " " + std::to_string(frequency_Hz));
            const auto tone
                = ChanterSynthesiser::tone(frequency_Hz, 44100, 1024, ChanterSynthesiser::kChanterHarmonics);
            finder.setData(tone.data());
            EXPECT_NEAR(finder.calcCepstrumPeriodIndex(), 44100.0 / frequency_Hz, 1.0);
        }
    }
}
