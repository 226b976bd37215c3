#include "PipeTuning.h"
#include "utils.h"

#include <gtest/gtest.h>

TEST(PipeTuning, ClassifiesChanterNotesAndDrones)
{
    struct Case {
        float lowA_Hz;
        float frequency_Hz;
        PipeTuning::ReferenceNote note;
        float centre_Hz;
    };
    const Case cases[] = {
        {440.0f, 0.0f, PipeTuning::Unknown, 0.0f},
        {440.0f, -5.0f, PipeTuning::Unknown, 0.0f},
        {440.0f, 440.0f, PipeTuning::LowA, 440.0f},
        {440.0f, 445.0f, PipeTuning::LowA, 440.0f}, // sharp: positive cents
        {440.0f, 435.0f, PipeTuning::LowA, 440.0f},
        {440.0f, 660.0f, PipeTuning::E, 660.0f},
        {440.0f, 385.0f, PipeTuning::LowG, 385.0f},
        {440.0f, 880.0f, PipeTuning::HighA, 880.0f},
        {440.0f, 770.0f, PipeTuning::HighG, 770.0f},
        {440.0f, 110.0f, PipeTuning::Bass, 110.0f},
        {440.0f, 220.0f, PipeTuning::Tenor, 220.0f},
        {440.0f, 330.0f, PipeTuning::Unknown, 0.0f}, // the gap between tenor and chanter
        {440.0f, 1000.0f, PipeTuning::Unknown, 0.0f},
        {440.0f, 369.0f, PipeTuning::Unknown, 0.0f}, // just below the chanter's range
        {440.0f, 371.0f, PipeTuning::LowG, 385.0f},
        {480.0f, 480.0f, PipeTuning::LowA, 480.0f},
        {480.0f, 720.0f, PipeTuning::E, 720.0f},
        {480.0f, 240.0f, PipeTuning::Tenor, 240.0f},
        // midpoint of B (1.125) and C (1.25) is 1.1875: 522.5 Hz goes to the upper note
        {440.0f, 522.5f, PipeTuning::C, 550.0f},
        {440.0f, 522.4f, PipeTuning::B, 495.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.lowA_Hz) + " " + std::to_string(c.frequency_Hz));
        PipeTuning tuning;
        tuning.setLowA_Hz(c.lowA_Hz);
        float centre = -1.0f, cents = -1.0f;
        EXPECT_EQ(tuning.calculate(c.frequency_Hz, centre, cents), c.note);
        EXPECT_NEAR(centre, c.centre_Hz, 1e-3f);
        if (c.note == PipeTuning::Unknown)
            EXPECT_EQ(cents, 0.0f);
        else
            EXPECT_NEAR(cents, utils::freqRatioToCents(c.centre_Hz, c.frequency_Hz), 1e-3f);
    }
}

TEST(PipeTuning, MeasuredSchemeKeepsHarmonicRatiosForMissingNotes)
{
    PipeTuning tuning;
    tuning.setTuningScheme(PipeTuning::Measured, {{PipeTuning::LowA, 480.0f}, {PipeTuning::E, 730.0f}});
    EXPECT_EQ(tuning.tuningScheme(), PipeTuning::Measured);
    EXPECT_FLOAT_EQ(tuning.lowA_Hz(), 480.0f);
    EXPECT_FLOAT_EQ(tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::E), 730.0f);
    EXPECT_FLOAT_EQ(tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::LowA), 480.0f);
    EXPECT_FLOAT_EQ(tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::D), 640.0f);
    EXPECT_FLOAT_EQ(tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::LowG), 420.0f);
}

TEST(PipeTuning, MeasuredSchemeWithoutLowADividesByTheLowAHeld)
{
    PipeTuning tuning;
    tuning.setLowA_Hz(450.0f);
    tuning.setTuningScheme(
        PipeTuning::Measured, {{PipeTuning::LowA, 0.0f}, {PipeTuning::D, 600.0f}, {PipeTuning::Tenor, 225.0f}});
    EXPECT_FLOAT_EQ(tuning.lowA_Hz(), 450.0f);
    EXPECT_DOUBLE_EQ(tuning.ratios()[4], 600.0 / 450.0);
    EXPECT_DOUBLE_EQ(tuning.ratios()[1], 1.0);
    // back to harmonic ignores the map
    tuning.setTuningScheme(PipeTuning::Harmonic, {{PipeTuning::D, 700.0f}});
    EXPECT_EQ(tuning.ratios(), PipeTuning::scheme_harmonic);
}

TEST(PipeTuning, ReservedSchemesAreStoredOnly)
{
    PipeTuning tuning;
    tuning.setTuningScheme(PipeTuning::Measured, {{PipeTuning::C, 560.0f}});
    const std::vector<double> before = tuning.ratios();
    tuning.setTuningScheme(PipeTuning::Reserved2, {{PipeTuning::C, 600.0f}});
    EXPECT_EQ(tuning.tuningScheme(), PipeTuning::Reserved2);
    EXPECT_EQ(tuning.ratios(), before);
}

TEST(PipeTuning, IndexMappingsAndTexts)
{
    EXPECT_EQ(PipeTuning::referenceNoteToNoteIndex(PipeTuning::Tenor), -1);
    EXPECT_EQ(PipeTuning::referenceNoteToNoteIndex(PipeTuning::HighA), 8);
    EXPECT_EQ(PipeTuning::noteIndexToReferenceNote(9), PipeTuning::Unknown);
    EXPECT_EQ(PipeTuning::noteIndexToReferenceNote(-1), PipeTuning::Unknown);
    EXPECT_EQ(meoldyNoteToOrdinal(PipeTuning::LowG), 0);
    EXPECT_EQ(ordinalToReferenceMelodyNote(7), PipeTuning::HighG);
    EXPECT_EQ(referenceNoteToNoteName(PipeTuning::HighG), HG);
    EXPECT_EQ(referenceNoteToNoteName(PipeTuning::Bass), Unknown);
    EXPECT_EQ(noteNameToReferenceNote(LG), PipeTuning::LowG);
    EXPECT_EQ(noteNameToReferenceNote(gg), PipeTuning::Unknown);
    EXPECT_EQ(toString(PipeTuning::HighG), "High G");
    EXPECT_EQ(toString(PipeTuning::ReferenceNote(12)), "Unknown");
}

TEST(PipeTuning, FrequencyMapText)
{
    std::string empty;
    for (int i = 0; i < 9; ++i)
        empty += toString(PipeTuning::noteIndexToReferenceNote(i)) + ": Not present ";
    EXPECT_EQ(toString(PipeTuning::FrequencyMap()), empty);
    const std::string full = toString(PipeTuning().getNoteCentreFrequencies());
    EXPECT_EQ(full.substr(0, 33), "Low G: 385.000000 Low A: 440.0000");
    EXPECT_EQ(full.back(), ' ');
}
