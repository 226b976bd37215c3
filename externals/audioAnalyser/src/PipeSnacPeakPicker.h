#pragma once

#include "PipeTuning.h"

class PitchFinder;

// A chanter's strong harmonics give SNAC peaks at several multiples of the period, and on
// some notes the fundamental's peak stands below its sub-multiples. Knowing the tuning,
// and so the periods the chanter can produce, this makes a second choice of frequency for
// each frame. Installed in a PitchFinder as its peak picker; keeps nothing between frames
// and belongs to the thread of that PitchFinder.
class PipeSnacPeakPicker {
public:
    PipeSnacPeakPicker() = default;
    virtual ~PipeSnacPeakPicker() = default;

    void setParams(const PipeTuning& tuning, float sampleRate_Hz);
    const PipeTuning& tuning() const { return mTuning; }
    float sampleRate_Hz() const { return mSampleRate_Hz; }

    // A frequency in Hz for the frame whose SNAC (size = half the frame) finder holds, or
    // 0. first and last are the finder's lowest and highest SNAC indices; threshold is
    // its snacPeakThreshold. minimumPeak is accepted for the picker's signature only.
    float pickSnacFreq(
        PitchFinder& finder, float* snac, int size, int first, int last, float threshold, float minimumPeak);

private:
    // Period of a chanter note in whole samples.
    int period(PipeTuning::ReferenceNote note) const;

    float mSampleRate_Hz = 44100.0f;
    PipeTuning mTuning;
};
