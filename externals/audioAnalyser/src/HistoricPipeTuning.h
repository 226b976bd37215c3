#pragma once

#include "PipeTuning.h"

#include <deque>
#include <map>
#include <vector>

// Follows a chanter's drift during a recording. Clean frames are assigned to notes by a
// fixed base tuning, the newest averageSize frames of each note are kept, and their means
// make the current tuning. Because the base tuning stays put, a slow drift cannot walk a
// note into its neighbour's frames unnoticed.
//
// Belongs to the audio processing thread (or whichever thread runs the transcription);
// other threads only see copies of tuning(). A value type: copied freely.
class HistoricPipeTuning {
public:
    HistoricPipeTuning();
    virtual ~HistoricPipeTuning() = default;

    // Frames kept per note.
    void setAverageSize(int frames) { mAverageSize = frames; }
    int averageSize() const { return mAverageSize; }
    // Level (0..1, as PitchFinder::AnalysisResults::level) that a frame and the mean of the
    // last ten frames must both exceed.
    void setMinimumVolume_normalized(float volume) { mMinimumVolume_normalized = volume; }
    float minimumVolume_normalized() const { return mMinimumVolume_normalized; }

    // The current tuning.
    PipeTuning tuning() const { return mTuning; }
    // The tuning by which frames are assigned to notes.
    PipeTuning baseTuning() const { return mBaseTuning; }

    // Back to the start: no history, harmonic tunings on 440 Hz, average size 10 and
    // minimum volume 0.3.
    void reset();

    // Takes the frames from index first onward: frequencies in Hz, qualities (SNAC peak,
    // 0..1) and volumes (level, 0..1), all of one length. Mismatched vectors are ignored.
    void update(const std::vector<float>& frequencies, const std::vector<float>& qualities,
        const std::vector<float>& volumes, int first);

    // Starts over on a calibrated tuning, keeping the average size. With seed, the history
    // is filled with the calibrated note centres, so live frames blend into the
    // calibration; without it, tuning() is the calibrated tuning until the first update.
    void setCalibratedTuning(const PipeTuning& tuning, bool seed);

private:
    static constexpr int kVolumeRingSize = 10;

    PipeTuning mTuning;
    int mAverageSize;
    float mMinimumVolume_normalized;
    int mVolumeCounter;
    int mRunLength;
    PipeTuning::ReferenceNote mLastNote;
    std::vector<float> mVolumeRing;
    std::map<PipeTuning::ReferenceNote, std::deque<float>> mHistory;
    PipeTuning mBaseTuning;
};
