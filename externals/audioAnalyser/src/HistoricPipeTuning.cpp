#include "HistoricPipeTuning.h"

#include <algorithm>

namespace {
constexpr int kChanterNotes = 9;
constexpr float kMinimumQuality = 0.98f;
// The first frames of a note carry its attack and are never averaged.
constexpr int kAttackFrames = 3;
} // namespace

HistoricPipeTuning::HistoricPipeTuning() { reset(); }

void HistoricPipeTuning::reset()
{
    mTuning = PipeTuning();
    mAverageSize = 10;
    mMinimumVolume_normalized = 0.3f;
    mVolumeCounter = 0;
    mRunLength = 0;
    mLastNote = PipeTuning::Unknown;
    // A negative first value marks the ring as not yet primed.
    mVolumeRing.assign(kVolumeRingSize, 0.0f);
    mVolumeRing[0] = -1.0f;
    mHistory.clear();
    mBaseTuning = PipeTuning();
}

void HistoricPipeTuning::update(const std::vector<float>& frequencies, const std::vector<float>& qualities,
    const std::vector<float>& volumes, int first)
{
    const size_t size = frequencies.size();
    if (qualities.size() != size || volumes.size() != size || first < 0 || size_t(first) >= size)
        return;

    // Prime the ring with the first level, so a recording does not start in a false quiet.
    if (mVolumeRing[0] < 0.0f) {
        mVolumeRing.assign(kVolumeRingSize, volumes[size_t(first)]);
        mVolumeCounter = 0;
    }

    for (size_t i = size_t(first); i < size; ++i) {
        ++mVolumeCounter;
        mVolumeRing[size_t(mVolumeCounter % kVolumeRingSize)] = volumes[i];
        float sum = 0.0f;
        for (float volume : mVolumeRing)
            sum += volume;
        const float mean = sum / kVolumeRingSize;
        // A quiet frame leaves the run alone: a short dip does not restart a note.
        if (!(mean > mMinimumVolume_normalized && volumes[i] > mMinimumVolume_normalized))
            continue;
        if (!(qualities[i] > kMinimumQuality)) {
            mRunLength = 0;
            mLastNote = PipeTuning::Unknown;
            continue;
        }
        float centre_Hz = 0.0f;
        float cents = 0.0f;
        const PipeTuning::ReferenceNote note = mBaseTuning.calculate(frequencies[i], centre_Hz, cents);
        if (note != mLastNote) {
            mRunLength = 0;
            mLastNote = note;
            continue;
        }
        ++mRunLength;
        if (mRunLength < kAttackFrames)
            continue;
        std::deque<float>& history = mHistory[note];
        history.push_back(frequencies[i]);
        while (history.size() > size_t(std::max(mAverageSize, 0)))
            history.pop_front();
    }

    PipeTuning::FrequencyMap means;
    for (int index = 0; index < kChanterNotes; ++index) {
        const PipeTuning::ReferenceNote note = PipeTuning::noteIndexToReferenceNote(index);
        double sum = 0.0;
        auto history = mHistory.find(note);
        if (history != mHistory.end() && !history->second.empty()) {
            for (float frequency_Hz : history->second)
                sum += frequency_Hz;
            sum /= double(history->second.size());
        }
        means[note] = float(sum);
    }
    mTuning.setTuningScheme(PipeTuning::Measured, means);
}

void HistoricPipeTuning::setCalibratedTuning(const PipeTuning& tuning, bool seed)
{
    const int averageSize = mAverageSize;
    reset();
    mAverageSize = averageSize;
    mBaseTuning = tuning;
    if (!seed) {
        mTuning = tuning;
        return;
    }
    const size_t frames = size_t(std::max(mAverageSize, 0));
    std::vector<float> frequencies;
    frequencies.reserve(frames * kChanterNotes);
    for (int index = 0; index < kChanterNotes; ++index)
        frequencies.insert(frequencies.end(), frames,
            tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::noteIndexToReferenceNote(index)));
    const std::vector<float> ones(frequencies.size(), 1.0f);
    update(frequencies, ones, ones, 0);
}
