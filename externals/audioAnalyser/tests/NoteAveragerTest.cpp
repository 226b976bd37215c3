#include "NoteAverager.h"
#include "NoteCalibrator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

TEST(NoteAverager, ChangesNoteWithHysteresisAndForgetsTheOldNote)
{
    // 43 frames and a window of 6, as at 44100 Hz with 1024-sample frames.
    NoteAverager averager;
    averager.initialise(43, 6);
    for (int i = 0; i < 30; ++i)
        averager.addAndUpdate(i % 2 ? 441.0f : 439.0f);
    EXPECT_EQ(averager.midiNote(), 69);
    EXPECT_NEAR(averager.calculateAverageFrequency_Hz(), 440.0f, 1e-3f);

    // 5 of 6 frames are needed: the 4th frame of B is not enough, the 5th is.
    for (int i = 0; i < 4; ++i) {
        averager.addFrequency(495.0f);
        EXPECT_FALSE(averager.updateMidiNote());
        EXPECT_EQ(averager.midiNote(), 69);
    }
    averager.addFrequency(497.0f);
    EXPECT_TRUE(averager.updateMidiNote());
    EXPECT_EQ(averager.midiNote(), 71);
    // Only the frames of the new note, though one low A is still in the window.
    EXPECT_NEAR(averager.calculateAverageFrequency_Hz(), (4 * 495.0f + 497.0f) / 5.0f, 1e-3f);
    // The 37 older entries were wiped; the window's 6 remain: 5 of B and 1 of A.
    EXPECT_EQ(averager.calculateMedianFrequency_Hz(), 0.0f);
}

TEST(NoteAverager, VotesOfTheNoteWindow)
{
    struct Case {
        std::string name;
        std::vector<float> frames;
        int expectedNote;
    };
    const Case cases[] = {
        {"alternating notes never reach three quarters",
            {523, 523, 523, 523, 523, 523, 440, 495, 440, 495, 440, 495, 440, 495}, 72},
        {"3 of 6 is not enough", {440, 440, 440, 440, 440, 440, 495, 495, 495}, 69},
        {"empty frames neither vote nor count: 3 of 4", {440, 440, 440, 440, 440, 440, 0, 0, 495, 495, 495}, 71},
        {"2 of 4 is not enough", {440, 440, 440, 440, 440, 440, 0, 0, 495, 495}, 69},
        {"all empty", {0, 0, 0, 0, 0, 0}, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        NoteAverager averager;
        averager.initialise(43, 6);
        for (float f : c.frames)
            averager.addAndUpdate(f);
        EXPECT_EQ(averager.midiNote(), c.expectedNote);
        if (c.expectedNote < 0) {
            EXPECT_EQ(averager.calculateAverageFrequency_Hz(), 0.0f);
        }
    }
}

TEST(NoteAverager, MultiplierAndInertStates)
{
    NoteAverager averager;
    averager.initialise(10, 4);
    averager.setCalibrationMultiplier(440.0f / 470.0f);
    for (int i = 0; i < 4; ++i)
        averager.addAndUpdate(470.0f); // 470 Hz is note 70 raw, 69 on the calibrated scale
    EXPECT_EQ(averager.midiNote(), 69);
    EXPECT_FLOAT_EQ(averager.calculateAverageFrequency_Hz(), 470.0f); // raw values are averaged

    // A lower threshold lets a note take over sooner.
    averager.setNoteChangeThreshold(50);
    averager.addAndUpdate(560.0f);
    EXPECT_EQ(averager.midiNote(), 69);
    averager.addAndUpdate(560.0f);
    EXPECT_EQ(averager.midiNote(), 72);

    averager.reset();
    averager.addAndUpdate(440.0f);
    EXPECT_EQ(averager.size(), 0u);
    EXPECT_FALSE(averager.updateMidiNote());
    EXPECT_EQ(averager.calculateAverageFrequency_Hz(), 0.0f);
    EXPECT_EQ(averager.calculateMedianFrequency_Hz(), 0.0f);
}

TEST(NoteCalibrator, Outcomes)
{
    struct Case {
        std::string name;
        float reference_Hz;
        std::vector<float> frames;
        NoteCalibrator::State state;
        float measured_Hz;
    };
    const std::vector<float> steady(20, 452.0f);
    std::vector<float> mostlySteady(20, 452.0f);
    mostlySteady[3] = 0.0f;
    mostlySteady[7] = 905.0f;
    std::vector<float> scattered;
    for (int i = 0; i < 20; ++i)
        scattered.push_back(i % 2 ? 440.0f : 520.0f);
    std::vector<float> mostlySilent(20, 0.0f);
    for (int i = 0; i < 8; ++i)
        mostlySilent[i] = 452.0f;
    const Case cases[] = {
        {"a steady note", 440.0f, steady, NoteCalibrator::Calibrated, 452.0f},
        // The outlier is on another note and the empty frame does not count.
        {"a steady note with an outlier", 440.0f, mostlySteady, NoteCalibrator::Calibrated, 452.0f},
        // Measured on the reference's scale: a chanter 200 cents flat still calibrates.
        {"a flat chanter", 440.0f, std::vector<float>(20, 392.0f), NoteCalibrator::Calibrated, 392.0f},
        {"no reference", 0.0f, steady, NoteCalibrator::Failed, 0.0f},
        {"scattered notes", 440.0f, scattered, NoteCalibrator::Failed, 0.0f},
        {"more than half empty: the median is 0", 440.0f, mostlySilent, NoteCalibrator::Failed, 0.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        NoteCalibrator calibrator;
        calibrator.initialise(unsigned(c.frames.size()), c.reference_Hz);
        int left = 0;
        for (float f : c.frames) {
            EXPECT_EQ(calibrator.state(), NoteCalibrator::Calibrating);
            left = calibrator.addCalibrationFrequency(f);
        }
        EXPECT_EQ(left, 0);
        EXPECT_EQ(calibrator.addCalibrationFrequency(452.0f), -1);
        EXPECT_EQ(calibrator.state(), c.state);
        EXPECT_NEAR(calibrator.calibratedFrequency(), c.measured_Hz, 1e-3f);
        EXPECT_NEAR(calibrator.calibrationMultiplier(),
            c.state == NoteCalibrator::Calibrated ? c.reference_Hz / c.measured_Hz : 1.0f, 1e-6f);
    }
}

TEST(NoteCalibrator, KnownCalibration)
{
    NoteCalibrator calibrator;
    calibrator.setCalibrationDetails(440.0f, 0.0f);
    EXPECT_EQ(calibrator.state(), NoteCalibrator::Idle);
    EXPECT_EQ(calibrator.calibrationMultiplier(), 1.0f);
    calibrator.setCalibrationDetails(440.0f, 480.0f);
    EXPECT_EQ(calibrator.state(), NoteCalibrator::Calibrated);
    EXPECT_FLOAT_EQ(calibrator.calibrationMultiplier(), 440.0f / 480.0f);
    EXPECT_EQ(calibrator.calibratedFrequency(), 480.0f);
    calibrator.reset();
    EXPECT_EQ(calibrator.state(), NoteCalibrator::Idle);
    EXPECT_EQ(calibrator.calibrationMultiplier(), 1.0f);
    EXPECT_EQ(calibrator.addCalibrationFrequency(440.0f), -1);
}
