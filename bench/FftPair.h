#pragma once

#include <kiss_fftr.h>

#include <vector>

// The real KISS FFT forward and inverse pair at the frame analysis's transform length (1536
// for 1024-sample frames): the floor the benchmarks measure the analysis against.
struct FftPair {
    static constexpr int kLength = 1536;

    kiss_fftr_cfg forward = kiss_fftr_alloc(kLength, 0, nullptr, nullptr);
    kiss_fftr_cfg inverse = kiss_fftr_alloc(kLength, 1, nullptr, nullptr);
    std::vector<float> time = std::vector<float>(kLength, 0.0f);
    std::vector<kiss_fft_cpx> spectrum = std::vector<kiss_fft_cpx>(kLength / 2 + 1);

    FftPair() = default;
    FftPair(const FftPair&) = delete;
    FftPair& operator=(const FftPair&) = delete;
    ~FftPair()
    {
        kiss_fftr_free(forward);
        kiss_fftr_free(inverse);
    }

    void run()
    {
        kiss_fftr(forward, time.data(), spectrum.data());
        kiss_fftri(inverse, spectrum.data(), time.data());
        // Keep the values bounded when one pass runs on the output of the last.
        time[0] *= 1.0f / kLength;
    }
};
