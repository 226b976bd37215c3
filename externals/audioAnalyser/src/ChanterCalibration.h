#pragma once

#include "ChanterBinnedTuning.h"
#include "PipeTuning.h"
#include "PitchFinder.h"

#include <QString>

#include <cstddef>
#include <cstdint>

// Learns a chanter's nine notes from a played scale: the pitch results of the analysis
// that runs between recordings (one frame of 2048 samples per batch, the same analysis
// that drives the volume meter) go into a ChanterBinnedTuning, which says how many notes
// were held long enough and, once all nine were, their frequencies.
//
// The main window's calibration and ceolmark-cli calibrate both use it. Belongs to one
// thread at a time (the interface thread in the application); no locks.
class ChanterCalibration {
public:
    static constexpr int kChanterNotes = 9;
    // Bins of 8 cents, peaks at least 40 cents apart.
    static constexpr float kResolution_cents = 40.0f;
    static constexpr float kSeparation_cents = 40.0f;
    // Only frames with a clear period count.
    static constexpr float kMinimumQuality = 0.95f;
    static constexpr uint32_t kMeterFrame_samples = 2048;
    // The application's defaults for how long a note must be held and how loud it must be.
    static constexpr float kDefaultDuration_s = 0.5f;
    static constexpr float kDefaultMinimumVolume_normalized = 0.30f;

    // The pitch analysis between recordings: frames of 2048 samples at the recording's
    // rate, and a fixed wide-open band whatever the rate.
    static PitchFinder::DataParams meterDataParams(uint32_t sampleRate_Hz);
    static PitchFinder::ProcessingParams meterProcessingParams();
    // Frames of 2048 samples in the time a calibration note must be held.
    static int minAverageCount(uint32_t recordingFrequency_Hz, float calibrationDuration_s);

    struct Outcome {
        // The largest number of notes found in a plausible span, 0..9.
        int notesDetected = 0;
        // Nine notes were found, but not nine that span a chanter's range.
        bool rangeRejected = false;
        // The nine notes as a measured tuning; the default tuning unless succeeded().
        PipeTuning tuning;
        PipeTuning::FrequencyMap notes;

        bool succeeded() const { return notes.size() == std::size_t(kChanterNotes); }
        // Why it failed, in a player's words; empty on success.
        QString reason() const;
    };

    ChanterCalibration();

    // Starts collecting: forgets what was heard and sets the limits. The minimum volume
    // is a level of 0..1.
    void start(uint32_t recordingFrequency_Hz, float calibrationDuration_s, float minimumVolume_normalized);
    // One analysed frame.
    void add(const PitchFinder::AnalysisResults& results);
    // What has been heard so far.
    Outcome outcome() const;

    const ChanterBinnedTuning& binnedTuning() const { return mBinnedTuning; }

    // A recorded scale, analysed as the application analyses live audio between
    // recordings: one frame per 2048 samples; a shorter tail is not analysed.
    static Outcome calibrateRecording(const short* samples, std::size_t count, uint32_t sampleRate_Hz,
        float calibrationDuration_s = kDefaultDuration_s,
        float minimumVolume_normalized = kDefaultMinimumVolume_normalized);

private:
    ChanterBinnedTuning mBinnedTuning;
};
