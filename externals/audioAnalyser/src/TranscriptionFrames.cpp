#include "TranscriptionFrames.h"

#include "PipeSnacPeakPicker.h"
#include "PipeTuning.h"

#include <cmath>

float TranscriptionFrames::samplingFrequency_Hz(float requested_Hz)
{
    return requested_Hz > 8000.0f ? requested_Hz : 8000.0f;
}

int32_t TranscriptionFrames::frameHop_samples(float samplingFrequency_Hz)
{
    if (!(samplingFrequency_Hz > 8000.0f))
        return 4;
    // The float constant 1/2205 keeps one frame at about 0.45 ms at any rate.
    return int32_t(std::roundf(samplingFrequency_Hz * 0.00045351475f));
}

unsigned TranscriptionFrames::frameCount(unsigned count, int32_t frameHop_samples)
{
    if (count < kFrameSize_samples || frameHop_samples <= 0)
        return 0;
    return (count - kFrameSize_samples) / unsigned(frameHop_samples) + 1;
}

void TranscriptionFrames::installPeakPicker(PitchFinder& finder, PipeSnacPeakPicker& picker)
{
    finder.setPeakPicker(
        [&picker](PitchFinder& owner, float* snac, int size, int first, int last, float threshold, float minimumPeak) {
            return picker.pickSnacFreq(owner, snac, size, first, last, threshold, minimumPeak);
        });
}

PitchFinder::ProcessingParams TranscriptionFrames::chanterBand(const PipeTuning& tuning)
{
    PitchFinder::ProcessingParams params;
    params.limitPeriodRange = true;
    params.usePeakPicker = false;
    params.lowFrequency_Hz = float(0.9 * double(tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::LowG)));
    params.highFrequency_Hz = float(1.1 * double(tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::HighA)));
    return params;
}

void TranscriptionFrames::configure(PitchFinder& finder, PipeSnacPeakPicker& picker, const PipeTuning& tuning,
    float samplingFrequency_Hz, float snacPeakThreshold, float minimumSnacPeak)
{
    picker.setParams(tuning, samplingFrequency_Hz);
    finder.setDataParams(PitchFinder::DataParams(kFrameSize_samples, uint32_t(samplingFrequency_Hz)));
    PitchFinder::ProcessingParams params = chanterBand(tuning);
    params.usePeakPicker = true;
    finder.setProcessingParams(params);
    finder.setCalibration(440.0f, tuning.lowA_Hz());
    finder.snacPeakThreshold = snacPeakThreshold;
    finder.minimumSnacPeak = minimumSnacPeak;
}

TranscriptionFrames::Frame TranscriptionFrames::gate(
    const PitchFinder::AnalysisResults& results, std::size_t frameIndex, float minimumVolume_normalized)
{
    Frame frame;
    frame.volume = results.level;
    if (frameIndex >= kUngatedFrames && !(frame.volume > minimumVolume_normalized))
        return frame;
    frame.frequency_Hz = results.frequency_Hz;
    frame.pickedFrequency_Hz = results.pickedFrequency_Hz;
    frame.quality = results.snacPeak;
    return frame;
}
