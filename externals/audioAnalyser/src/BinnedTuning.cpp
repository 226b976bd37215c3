#include "BinnedTuning.h"

#include "utils.h"

#include <algorithm>
#include <iterator>

namespace {
// A peak pools the frames of this many bins on either side of it.
constexpr int kPoolHalfWidth_bins = 2;
} // namespace

BinnedTuning::BinnedTuning(float resolution_cents, float separation_cents, float minFrequency_Hz, float maxFrequency_Hz)
    : mMinFrequency_Hz(std::max(minFrequency_Hz, 0.0f))
    , mMaxFrequency_Hz(maxFrequency_Hz)
    , mBinWidth(std::max(resolution_cents / 5.0f, 0.1f))
{
    mPeakSeparation = std::max(int(separation_cents / mBinWidth), 1);
}

void BinnedTuning::reset() { mBins.clear(); }

void BinnedTuning::add(float frequency_Hz, float volume, float quality)
{
    if (!(mMinFrequency_Hz <= frequency_Hz && frequency_Hz < mMaxFrequency_Hz))
        return;
    if (!(volume > mMinimumVolume && quality > mMinimumQuality))
        return;
    const int bin = int(utils::freqRatioToCents(1.0f, frequency_Hz) / mBinWidth);
    mBins[bin].push_back(frequency_Hz);
}

std::map<float, int> BinnedTuning::binnedFrequencies() const
{
    std::map<float, int> peaks;
    auto bin = mBins.begin();
    while (bin != mBins.end()) {
        // Climb to the top of this hill; gaps of more than one empty bin end it.
        for (auto next = std::next(bin); next != mBins.end(); next = std::next(bin)) {
            if (next->second.size() < bin->second.size() || next->first - bin->first > kPoolHalfWidth_bins)
                break;
            bin = next;
        }
        const int peak = bin->first;
        // The first bin has nothing below it to pool.
        auto from = bin == mBins.begin() ? bin : mBins.lower_bound(peak - kPoolHalfWidth_bins);
        auto to = mBins.upper_bound(peak + kPoolHalfWidth_bins);
        double sum = 0.0;
        int count = 0;
        for (auto pooled = from; pooled != to; ++pooled) {
            for (float frequency_Hz : pooled->second)
                sum += frequency_Hz;
            count += int(pooled->second.size());
        }
        peaks[float(sum / count)] = count;
        bin = mBins.lower_bound(peak + mPeakSeparation);
    }
    return peaks;
}
