#include "ChanterSynthesiser.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double kPi = 3.14159265358979323846;
}

const std::vector<float> ChanterSynthesiser::kChanterHarmonics = {0.3f, 0.55f, 1.0f, 0.9f, 0.75f, 0.35f, 0.25f, 0.15f};

std::vector<float> ChanterSynthesiser::harmonicsWithWeakFundamental(float fundamentalBelowFourth_dB)
{
    std::vector<float> harmonics = kChanterHarmonics;
    harmonics[0] = harmonics[3] * float(std::pow(10.0, -fundamentalBelowFourth_dB / 20.0));
    return harmonics;
}

std::vector<short> ChanterSynthesiser::tone(double frequency_Hz, double sampleRate_Hz, unsigned count,
    const std::vector<float>& harmonics, double peak, double phase_rad)
{
    std::vector<double> sum(count, 0.0);
    for (std::size_t h = 1; h <= harmonics.size(); ++h) {
        if (h * frequency_Hz >= sampleRate_Hz / 2.0)
            break;
        // Each harmonic gets its own starting phase so the peaks do not all line up.
        const double phase = phase_rad * double(h) * 1.7;
        for (unsigned i = 0; i < count; ++i)
            sum[i] += harmonics[h - 1] * std::sin(2.0 * kPi * double(h) * frequency_Hz * i / sampleRate_Hz + phase);
    }
    double largest = 0.0;
    for (double v : sum)
        largest = std::max(largest, std::fabs(v));
    const double scale = largest > 0.0 ? peak / largest : 0.0;
    std::vector<short> samples(count);
    for (unsigned i = 0; i < count; ++i)
        samples[i] = short(std::lround(sum[i] * scale));
    return samples;
}
