#include "NoteCalibrator.h"

#include "utils.h"

void NoteCalibrator::initialise(unsigned frames, float reference_Hz)
{
    reset();
    // The whole ring is the note window: every frame of the measurement votes.
    mAverager.initialise(frames, frames);
    mFramesLeft = int32_t(frames);
    mState = Calibrating;
    mReferenceFrequency_Hz = reference_Hz;
}

int NoteCalibrator::addCalibrationFrequency(float frequency_Hz)
{
    if (mState != Calibrating || mFramesLeft < 1)
        return -1;
    mAverager.addAndUpdate(frequency_Hz);
    --mFramesLeft;
    if (mFramesLeft == 0)
        calculateCalibration();
    return mFramesLeft;
}

void NoteCalibrator::calculateCalibration()
{
    if (mReferenceFrequency_Hz == 0.0f) {
        mState = Failed;
        return;
    }
    const int target = utils::frequencyToRoundedNoteNumber(mReferenceFrequency_Hz);
    const float median_Hz = mAverager.calculateMedianFrequency_Hz();
    if (median_Hz == 0.0f) {
        mState = Failed;
        return;
    }
    // Judge the notes on the reference's scale, so that a chanter pitched anywhere near
    // the reference lands on the target note.
    mAverager.setCalibrationMultiplier(mReferenceFrequency_Hz / median_Hz);
    mAverager.updateMidiNote();
    if (mAverager.midiNote() != target) {
        mState = Failed;
        return;
    }
    const float mean_Hz = mAverager.calculateAverageFrequency_Hz();
    if (mean_Hz == 0.0f) {
        mState = Failed;
        return;
    }
    mCalibratedFrequency_Hz = mean_Hz;
    mMultiplier = mReferenceFrequency_Hz / mean_Hz;
    mState = Calibrated;
}

void NoteCalibrator::reset()
{
    mState = Idle;
    mAverager.reset();
    mFramesLeft = -1;
    mReferenceFrequency_Hz = 0.0f;
    mCalibratedFrequency_Hz = 0.0f;
    mMultiplier = 1.0f;
}

float NoteCalibrator::calibrationMultiplier() const
{
    return mState == Calibrated && mCalibratedFrequency_Hz != 0.0f ? mMultiplier : 1.0f;
}

void NoteCalibrator::setCalibrationDetails(float reference_Hz, float measured_Hz)
{
    if (measured_Hz == 0.0f)
        return;
    mReferenceFrequency_Hz = reference_Hz;
    mCalibratedFrequency_Hz = measured_Hz;
    mMultiplier = reference_Hz / measured_Hz;
    mState = Calibrated;
}
