#pragma once

#include <map>
#include <vector>

// A histogram of frame frequencies on a cent axis, and its peaks: what the notes of a
// played scale look like when no tuning is known yet. Bins are resolution_cents / 5
// wide (at least 0.1 cents); peaks are at least separation_cents apart.
//
// Used by one thread at a time (the interface thread in the application); no locks.
class BinnedTuning {
public:
    // Frames are kept from minFrequency_Hz (held to at least 0) up to, not including,
    // maxFrequency_Hz.
    BinnedTuning(float resolution_cents, float separation_cents, float minFrequency_Hz, float maxFrequency_Hz);
    virtual ~BinnedTuning() = default;

    // Limits on the level (0..1) and SNAC peak (0..1) of a frame; both must be exceeded.
    void setMinimumVolume(float volume) { mMinimumVolume = volume; }
    void setMinimumQuality(float quality) { mMinimumQuality = quality; }
    float minimumVolume() const { return mMinimumVolume; }
    float minimumQuality() const { return mMinimumQuality; }

    float binWidth_cents() const { return mBinWidth; }
    int peakSeparation_bins() const { return mPeakSeparation; }

    // Empties the histogram; the limits stay.
    void reset();

    // One frame: its frequency, level and SNAC peak. Frames outside the limits are ignored.
    void add(float frequency_Hz, float volume, float quality);

    // The peaks of the histogram: mean frequency in Hz of the frames pooled around each
    // peak, to the number of those frames, in ascending frequency.
    std::map<float, int> binnedFrequencies() const;

private:
    float mMinFrequency_Hz;
    float mMaxFrequency_Hz;
    float mMinimumVolume = 0.0f;
    float mMinimumQuality = 0.0f;
    int mPeakSeparation;
    float mBinWidth;
    std::map<int, std::vector<float>> mBins;
};
