#include "ChanterCalibration.h"

PitchFinder::DataParams ChanterCalibration::meterDataParams(uint32_t sampleRate_Hz)
{
    return PitchFinder::DataParams(kMeterFrame_samples, sampleRate_Hz);
}

PitchFinder::ProcessingParams ChanterCalibration::meterProcessingParams()
{
    // No band-pass, no period limit, no peak picker: the meter and the calibration see the
    // plain SNAC pitch over the whole band.
    PitchFinder::ProcessingParams params;
    params.windowType = PitchFinder::NoWindow;
    params.bandpass = false;
    params.limitPeriodRange = false;
    params.reserved1 = false;
    params.reserved2 = false;
    params.usePeakPicker = false;
    params.lowFrequency_Hz = 1.0f;
    params.highFrequency_Hz = 44100.0f;
    return params;
}

int ChanterCalibration::minAverageCount(uint32_t recordingFrequency_Hz, float calibrationDuration_s)
{
    // Whole frames per second first, as the application counts them: 21 at 44100 Hz.
    return int(float(recordingFrequency_Hz / kMeterFrame_samples) * calibrationDuration_s);
}

QString ChanterCalibration::Outcome::reason() const
{
    if (succeeded())
        return QString();
    if (rangeRejected)
        return QStringLiteral("9 notes detected, but the overall range is too large or too small");
    return QStringLiteral("Not every note of the scale was held steadily and loudly enough to be measured");
}

ChanterCalibration::ChanterCalibration()
    : mBinnedTuning(kResolution_cents, kSeparation_cents)
{
}

void ChanterCalibration::start(
    uint32_t recordingFrequency_Hz, float calibrationDuration_s, float minimumVolume_normalized)
{
    mBinnedTuning.reset();
    mBinnedTuning.setMinAverageCount(minAverageCount(recordingFrequency_Hz, calibrationDuration_s));
    mBinnedTuning.setMinimumQuality(kMinimumQuality);
    mBinnedTuning.setMinimumVolume(minimumVolume_normalized);
}

void ChanterCalibration::add(const PitchFinder::AnalysisResults& results)
{
    mBinnedTuning.add(results.frequency_Hz, results.level, results.snacPeak);
}

ChanterCalibration::Outcome ChanterCalibration::outcome() const
{
    Outcome outcome;
    std::map<PipeTuning::ReferenceNote, float> notes;
    outcome.notesDetected = mBinnedTuning.pipeNoteCount(notes);
    if (int(notes.size()) == kChanterNotes) {
        outcome.notes = notes;
        outcome.tuning.setTuningScheme(PipeTuning::Measured, notes);
    } else {
        outcome.rangeRejected = outcome.notesDetected == kChanterNotes;
    }
    return outcome;
}

ChanterCalibration::Outcome ChanterCalibration::calibrateRecording(const short* samples, std::size_t count,
    uint32_t sampleRate_Hz, float calibrationDuration_s, float minimumVolume_normalized)
{
    ChanterCalibration calibration;
    calibration.start(sampleRate_Hz, calibrationDuration_s, minimumVolume_normalized);
    PitchFinder finder;
    finder.setDataParams(meterDataParams(sampleRate_Hz));
    finder.setProcessingParams(meterProcessingParams());
    for (std::size_t first = 0; first + kMeterFrame_samples <= count; first += kMeterFrame_samples) {
        finder.setData(samples + first);
        finder.calculatePitch();
        calibration.add(finder.analysisResults());
    }
    return calibration.outcome();
}
