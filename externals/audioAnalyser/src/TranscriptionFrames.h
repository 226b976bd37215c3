#pragma once

#include "PitchFinder.h"

#include <cstddef>
#include <cstdint>

class PipeSnacPeakPicker;
class PipeTuning;

// How the transcription cuts a recording into frames and sets up the pitch analysis for
// them. The transcription driver and `ceolmark-cli frames` both go through here, so what
// the tool prints is what the transcription works on. Stateless; any thread.
class TranscriptionFrames {
public:
    static constexpr unsigned kFrameSize_samples = 1024;
    static constexpr float kDefaultSnacPeakThreshold = 0.9f;
    static constexpr float kDefaultMinimumSnacPeak = 0.3f;
    static constexpr float kDefaultMinimumVolume_normalized = 0.3f;
    // The first frames are never gated by volume.
    static constexpr std::size_t kUngatedFrames = 10;

    // The rate the transcription works at: rates of 8000 Hz and below become 8000.
    static float samplingFrequency_Hz(float requested_Hz);
    // Samples between two frames: rate / 2205 rounded, 20 at 44100 Hz; 4 at 8000 Hz and below.
    static int32_t frameHop_samples(float samplingFrequency_Hz);
    // Frames in a block of count samples; 0 below one frame.
    static unsigned frameCount(unsigned count, int32_t frameHop_samples);

    // The chanter's band for a tuning: 0.9 x Low G to 1.1 x High A, with the period range
    // limited to it; the peak picker off.
    static PitchFinder::ProcessingParams chanterBand(const PipeTuning& tuning);
    // Makes picker the finder's peak picker. The picker must outlive the finder's use of it.
    static void installPeakPicker(PitchFinder& finder, PipeSnacPeakPicker& picker);
    // Before a run of frames: the picker learns the tuning and rate; the finder gets
    // frames of 1024 samples, the band 0.9 x Low G to 1.1 x High A with the period range
    // limited and the peak picker on, low A calibrated onto 440 Hz, and the two peak
    // settings.
    static void configure(PitchFinder& finder, PipeSnacPeakPicker& picker, const PipeTuning& tuning,
        float samplingFrequency_Hz, float snacPeakThreshold, float minimumSnacPeak);

    // One frame as the transcription keeps it. Quiet frames after the first ten keep
    // their volume but lose frequency, picked frequency and quality.
    struct Frame {
        float frequency_Hz = 0.0f;
        float pickedFrequency_Hz = 0.0f;
        float quality = 0.0f;
        float volume = 0.0f;
    };
    static Frame gate(
        const PitchFinder::AnalysisResults& results, std::size_t frameIndex, float minimumVolume_normalized);
};
