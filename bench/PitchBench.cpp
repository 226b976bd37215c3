// The transcription's frame analysis (setData + calculatePitch with the chanter peak picker,
// 1024 samples) beside its floor: the bare KISS FFT forward and inverse pair at L = 1536 that
// the SNAC cannot do without. Target: within 1.6 x the floor.

#include "ChanterSynthesiser.h"
#include "FftPair.h"
#include "PipeSnacPeakPicker.h"
#include "PitchFinder.h"
#include "RatioReporter.h"
#include "ThreadSeconds.h"
#include "TranscriptionFrames.h"

#include <benchmark/benchmark.h>

#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int kHop = 20;

// A few seconds of graced chanter melody with drones and noise: frames are taken from it
// hop by hop, as the transcription does.
const std::vector<short>& performance()
{
    static const std::vector<short> samples = [] {
        ChanterSynthesiser synth;
        synth.setDrones(0.2);
        synth.setNoise(0.01, 1);
        const PipeNoteName melody[] = {LA, B, C, D, E, F, HG, HA, LG};
        const PipeNoteName gracing[] = {gg, dbb, eg, thrd, dbe, gg, Unknown, dbha, grp};
        for (int i = 0; i < 9; ++i)
            synth.play(melody[i], 0.3, gracing[i]);
        return synth.render();
    }();
    return samples;
}

double fftPairSeconds(int pairs)
{
    FftPair fft;
    const std::vector<short>& samples = performance();
    for (int i = 0; i < 1024; ++i)
        fft.time[i] = samples[std::size_t(i)];
    const double start_s = threadSeconds();
    for (int i = 0; i < pairs; ++i) {
        fft.run();
        benchmark::DoNotOptimize(fft.time.data());
    }
    return (threadSeconds() - start_s) / pairs;
}

void fftFloor(benchmark::State& state)
{
    FftPair fft;
    const std::vector<short>& samples = performance();
    for (int i = 0; i < 1024; ++i)
        fft.time[i] = samples[std::size_t(i)];
    for (auto _ : state) {
        fft.run();
        benchmark::DoNotOptimize(fft.time.data());
        benchmark::ClobberMemory();
    }
}

void frameAnalysis(benchmark::State& state)
{
    PitchFinder finder;
    PipeSnacPeakPicker picker;
    TranscriptionFrames::installPeakPicker(finder, picker);
    TranscriptionFrames::configure(finder, picker, PipeTuning(), 44100.0f, 0.9f, 0.3f);
    const std::vector<short>& samples = performance();
    const std::size_t frames = (samples.size() - 1024) / kHop;
    std::size_t frame = 0;
    float sum = 0.0f;
    const double start_s = threadSeconds();
    for (auto _ : state) {
        finder.setData(samples.data() + frame * kHop);
        finder.calculatePitch();
        sum += finder.analysisResults().pickedFrequency_Hz;
        frame = frame + 1 < frames ? frame + 1 : 0;
    }
    const double perFrame_s = (threadSeconds() - start_s) / double(state.iterations());
    benchmark::DoNotOptimize(sum);
    // The floor measured right here as well, so the ratio stands beside the figure.
    state.counters["xFloor"] = perFrame_s / fftPairSeconds(20000);
}

} // namespace

BENCHMARK(fftFloor);
BENCHMARK(frameAnalysis);

int main(int argc, char** argv) { return RatioReporter::runAll(argc, argv, {{"frameAnalysis", "fftFloor"}}); }
