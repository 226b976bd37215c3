#pragma once

#include "NoteAverager.h"

#include <cstdint>

// Measures a long note of known pitch over a number of frames and derives the
// multiplier that brings it onto its reference. Belongs to the thread of its owner.
class NoteCalibrator {
public:
    enum State : int32_t {
        Idle = 0,
        Calibrating = 1,
        Calibrated = 2,
        Failed = 3,
    };

    NoteCalibrator() = default;
    virtual ~NoteCalibrator() = default;

    // Starts a measurement of frames frames of a note that ought to be reference_Hz.
    void initialise(unsigned frames, float reference_Hz);
    // Feeds one frame (0 for no pitch). Returns the frames still to take, -1 if not
    // calibrating; the measurement is evaluated when this reaches 0.
    int addCalibrationFrequency(float frequency_Hz);
    // Calibrated when the frames' median and mean agree on the reference's note;
    // failed when the notes were too scattered or too far off.
    void calculateCalibration();
    void reset();

    State state() const { return mState; }
    // The measured frequency in Hz; 0 unless calibrated.
    float calibratedFrequency() const { return mState == Calibrated ? mCalibratedFrequency_Hz : 0.0f; }
    // reference / measured; 1 unless calibrated with a non-zero measurement.
    float calibrationMultiplier() const;
    // Takes a calibration as known, without measuring; ignored when measured_Hz is 0.
    void setCalibrationDetails(float reference_Hz, float measured_Hz);

private:
    State mState = Idle;
    NoteAverager mAverager;
    int32_t mFramesLeft = -1;
    float mReferenceFrequency_Hz = 0.0f;
    float mCalibratedFrequency_Hz = 0.0f;
    float mMultiplier = 1.0f;
};
