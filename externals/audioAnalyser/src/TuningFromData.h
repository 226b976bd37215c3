#pragma once

#include "PipeTuning.h"

#include <vector>

// Refines a tuning from a recording: frames are assigned to the notes of the harmonic scale
// on lowA_Hz and averaged per note; a note not played keeps its harmonic ratio. Stateless;
// any thread.

// Per-frame frequency in Hz, quality (SNAC peak, 0..1) and volume (0..1). Frames are used
// from the fourth of a run of one note, with quality above 0.98, while the mean volume of the
// last ten frames is above minimumVolume (the first ten frames are exempt). Vectors of
// unequal length give the harmonic tuning at lowA_Hz.
PipeTuning calculateTuningFromFrequencies(float lowA_Hz, float minimumVolume, const std::vector<float>& frequencies,
    const std::vector<float>& qualities, const std::vector<float>& volumes);

// The same over back-to-back frames of frameSize samples, analysed without the peak picker.
PipeTuning calculateTuningFromData(
    const short* samples, unsigned count, float sampleRate_Hz, int frameSize, float lowA_Hz, float minimumVolume);
