#pragma once

#include <vector>

// A made-up SNAC curve: negative between peaks, so each peak is its own positive region,
// with a peak of the given height at each index, falling by 0.01 per index on either side.
struct SnacTestPeak {
    int index;
    float value;
};

inline std::vector<float> makeSnacCurve(int size, const std::vector<SnacTestPeak>& peaks)
{
    std::vector<float> curve(size + 1, -0.1f);
    for (const SnacTestPeak& peak : peaks)
        for (int d = -3; d <= 3; ++d)
            if (peak.index + d >= 0 && peak.index + d <= size)
                curve[peak.index + d] = peak.value - 0.01f * float(d < 0 ? -d : d);
    return curve;
}
