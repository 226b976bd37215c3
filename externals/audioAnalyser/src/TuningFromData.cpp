#include "TuningFromData.h"

#include "PitchFinder.h"
#include "TranscriptionFrames.h"
#include "VolumeGate.h"

#include <map>

PipeTuning calculateTuningFromFrequencies(float lowA_Hz, float minimumVolume, const std::vector<float>& frequencies,
    const std::vector<float>& qualities, const std::vector<float>& volumes)
{
    PipeTuning result;
    result.setLowA_Hz(lowA_Hz);
    if (frequencies.size() != qualities.size() || frequencies.size() != volumes.size())
        return result;

    VolumeGate gate(minimumVolume);
    PipeTuning::ReferenceNote lastNote = PipeTuning::Unknown;
    int runLength = 0;
    std::map<PipeTuning::ReferenceNote, double> sums;
    std::map<PipeTuning::ReferenceNote, int> counts;
    for (size_t i = 0; i < frequencies.size(); ++i) {
        if (!gate.pass(volumes[i]))
            continue;
        if (!(qualities[i] > 0.98f)) {
            lastNote = PipeTuning::Unknown;
            runLength = 0;
            continue;
        }
        float centre_Hz = 0.0f, cents = 0.0f;
        const PipeTuning::ReferenceNote note = result.calculate(frequencies[i], centre_Hz, cents);
        if (note != lastNote) {
            runLength = 0;
            lastNote = note;
            continue;
        }
        // The first frames of a note carry its attack.
        if (++runLength >= 3) {
            sums[note] += frequencies[i];
            ++counts[note];
        }
    }

    PipeTuning::FrequencyMap measured;
    for (int index = 0; index < 9; ++index) {
        const PipeTuning::ReferenceNote note = PipeTuning::noteIndexToReferenceNote(index);
        measured[note] = counts[note] > 0 ? float(sums[note] / counts[note]) : 0.0f;
    }
    result.setTuningScheme(PipeTuning::Measured, measured);
    return result;
}

PipeTuning calculateTuningFromData(
    const short* samples, unsigned count, float sampleRate_Hz, int frameSize, float lowA_Hz, float minimumVolume)
{
    PipeTuning harmonic;
    harmonic.setLowA_Hz(lowA_Hz);
    PitchFinder finder;
    finder.setDataParams(PitchFinder::DataParams(uint32_t(frameSize), uint32_t(sampleRate_Hz)));
    finder.setProcessingParams(TranscriptionFrames::chanterBand(harmonic));
    finder.setCalibration(440.0f, lowA_Hz);

    std::vector<float> frequencies, qualities, volumes;
    const unsigned frames = count < unsigned(frameSize) ? 0 : (count - unsigned(frameSize)) / unsigned(frameSize);
    frequencies.reserve(frames);
    qualities.reserve(frames);
    volumes.reserve(frames);
    for (unsigned i = 0; i < frames; ++i) {
        finder.setData(samples + size_t(i) * unsigned(frameSize));
        finder.calculatePitch();
        const PitchFinder::AnalysisResults results = finder.analysisResults();
        frequencies.push_back(results.frequency_Hz);
        qualities.push_back(results.snacPeak);
        volumes.push_back(results.level);
    }
    return calculateTuningFromFrequencies(lowA_Hz, minimumVolume, frequencies, qualities, volumes);
}
