#include "PipeSnacPeakPicker.h"

#include "PitchFinder.h"
#include "utils.h"

#include <algorithm>
#include <cmath>
#include <vector>

void PipeSnacPeakPicker::setParams(const PipeTuning& tuning, float sampleRate_Hz)
{
    mTuning = tuning;
    mSampleRate_Hz = sampleRate_Hz;
}

int PipeSnacPeakPicker::period(PipeTuning::ReferenceNote note) const
{
    return int(mSampleRate_Hz / mTuning.getReferenceNoteCentreFrequency_Hz(note));
}

float PipeSnacPeakPicker::pickSnacFreq(
    PitchFinder& finder, float* snac, int size, int first, int last, float threshold, float /*minimumPeak*/)
{
    // Tolerances in samples, derived from the rate so that they mean the same time at any
    // rate: 18 and 5 samples at 44100 Hz.
    const int tolA = int(std::round(double(mSampleRate_Hz) / 2450.0));
    const int tolB = int(std::round(double(mSampleRate_Hz) / 8820.0));

    // Stage 1: every key maximum, also those beyond the band: they are evidence. They come
    // in index order, so the sorted vector serves as the map from index to value.
    thread_local std::vector<int> maxima;
    utils::findSnacMaxima(snac, size, first, size, maxima);
    if (maxima.empty())
        return 0.0f;

    // Candidates are the maxima below last; maxima come in index order.
    const auto candidatesEnd = std::lower_bound(maxima.begin(), maxima.end(), last);
    float maxValue = 0.0f;
    int firstStrong = -1;
    for (auto it = maxima.begin(); it != candidatesEnd; ++it) {
        maxValue = std::max(maxValue, snac[*it]);
        if (firstStrong < 0 && snac[*it] > 0.6f)
            firstStrong = *it;
    }

    // Stage 2: a weakly periodic frame with a high G shows its strongest structure at
    // four periods.
    if (maxValue < 0.8f && firstStrong > 0) {
        const float lowLimit = std::max(0.3f, maxValue * threshold * 0.4f);
        struct Pattern {
            int expected[4];
            int expectedCount;
            int needed;
            int count;
        };
        const int pC = period(PipeTuning::C);
        const int pD = period(PipeTuning::D);
        const int pHG = period(PipeTuning::HighG);
        const int pLG = period(PipeTuning::LowG);
        const int pLA = period(PipeTuning::LowA);
        auto reaches = [&](int bound) { return firstStrong >= bound - tolA / 2; };
        Pattern patterns[] = {
            {{pC, 2 * pC}, reaches(pC) ? 2 : 0, 1, 0},
            {{pD, 2 * pD, 3 * pD}, reaches(pD) ? 3 : 0, 3, 0},
            {{pHG, 2 * pHG, 3 * pHG, 4 * pHG}, 4, 4, 0},
            {{pLG, 2 * pLG}, reaches(pLG - 2 * pLG / 3) ? 2 : 0, 2, 0},
            {{pLA, 2 * pLA}, reaches(pLA - 2 * pLA / 3) ? 2 : 0, 2, 0},
        };
        const int highG4 = 4 * pHG;
        bool patternFound = false;
        for (int p : maxima) {
            if (!(snac[p] > lowLimit))
                continue;
            for (Pattern& pattern : patterns) {
                for (int e = 0; e < pattern.expectedCount; ++e)
                    if (pattern.expected[e] - tolA <= p && p < pattern.expected[e] + tolA)
                        ++pattern.count;
                // Equality on purpose: a count that jumps past its need is no match.
                if (pattern.count == pattern.needed) {
                    patternFound = true;
                    break;
                }
            }
            if (patternFound)
                break;
            if (highG4 - tolA <= p && p < highG4 + tolA)
                return mTuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::HighG);
        }
    }

    // Stage 3: a candidate counts only if the SNAC confirms it at twice or three times
    // its period.
    float peakThreshold = maxValue * threshold;
    if (maxValue < 0.9f)
        peakThreshold = std::max(peakThreshold * 0.7f, 0.4f);
    const int limit = int(size - 0.1 * size);
    auto hasPeakNear = [&](int index) {
        auto found = std::lower_bound(maxima.begin(), maxima.end(), index - tolB);
        return found != maxima.end() && *found < index + tolB;
    };
    for (auto it = maxima.begin(); it != candidatesEnd; ++it) {
        const int c = *it;
        if (snac[c] < peakThreshold || !(2 * c < limit))
            continue;
        if (hasPeakNear(2 * c) || (3 * c < limit && hasPeakNear(3 * c)))
            return finder.getSnacFrequency_Hz(c);
    }
    return 0.0f;
}
