#include "ChanterBinnedTuning.h"

#include "utils.h"

#include <QDebug>

#include <algorithm>
#include <cmath>

namespace {
constexpr int kChanterNotes = 9;
// A chanter scale covers more than half an octave and less than an octave and a half.
constexpr float kMinimumSpan_cents = 600.0f;
constexpr float kMaximumSpan_cents = 1800.0f;
} // namespace

ChanterBinnedTuning::ChanterBinnedTuning(float resolution_cents, float separation_cents)
    : BinnedTuning(resolution_cents, separation_cents, 100.0f, 2000.0f)
{
}

void ChanterBinnedTuning::setMinAverageCount(int count)
{
    mMinAverageCount = std::max(count, 1);
    qDebug().nospace() << "Min average count is " << mMinAverageCount;
}

int ChanterBinnedTuning::pipeNoteCount(std::map<PipeTuning::ReferenceNote, float>& notes) const
{
    notes.clear();
    const std::map<float, int> peaks = binnedFrequencies();
    int result = 0;
    // Every peak is tried as Low G, so that a stray low peak such as a drone drops out.
    for (auto start = peaks.begin(); start != peaks.end(); ++start) {
        std::map<PipeTuning::ReferenceNote, float> candidate;
        float lowest_Hz = 0.0f;
        float highest_Hz = 0.0f;
        for (auto peak = start; peak != peaks.end() && int(candidate.size()) < kChanterNotes; ++peak) {
            if (peak->second < mMinAverageCount)
                continue;
            if (candidate.empty())
                lowest_Hz = peak->first;
            highest_Hz = peak->first;
            const PipeTuning::ReferenceNote note = PipeTuning::noteIndexToReferenceNote(int(candidate.size()));
            candidate[note] = peak->first;
        }
        if (candidate.empty())
            continue;
        const float span_cents = std::fabs(utils::freqRatioToCents(lowest_Hz, highest_Hz));
        if (!(span_cents < kMaximumSpan_cents))
            continue;
        result = std::max(result, int(candidate.size()));
        if (span_cents > kMinimumSpan_cents && int(candidate.size()) == kChanterNotes) {
            notes = candidate;
            break;
        }
    }
    return result;
}
