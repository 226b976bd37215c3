#pragma once

#include <cstdint>
#include <vector>

// Test signals with exactly known content, for tests and benchmarks.
class ChanterSynthesiser {
public:
    // Relative amplitudes of harmonics 1, 2, ...: a chanter's weak fundamental under
    // strong 3rd to 5th harmonics.
    static const std::vector<float> kChanterHarmonics;
    // The same with the fundamental 15 dB below the 4th harmonic.
    static std::vector<float> harmonicsWithWeakFundamental(float fundamentalBelowFourth_dB);

    // count samples of a steady tone at 16-bit magnitude: harmonic h of frequency_Hz with
    // amplitude harmonics[h - 1] (harmonics at or above Nyquist are left out), scaled so
    // that the peak of the sum is about peak (<= 32767). phase_rad offsets the start.
    static std::vector<short> tone(double frequency_Hz, double sampleRate_Hz, unsigned count,
        const std::vector<float>& harmonics, double peak = 16000.0, double phase_rad = 0.3);
};
