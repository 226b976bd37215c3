// The whole transcription of a 60-second synthesised tune, as a multiple of real time, and
// where its time goes: the frame analysis (one pitch calculation per 20 samples) against the
// stages that turn frames into notes. Floor: the bare KISS FFT forward and inverse pair at
// L = 1536 for every frame, which the frame analysis cannot do without. Target: the whole
// transcription at 25 x real time or more on two cores.
//
// The "x floor" lines: the one-thread transcription and frame analysis against the FFT floor,
// and the shares of the frame analysis and of the stages in the one-thread transcription
// (their "floor" is the transcription itself).

#include "Ceolmark.h"
#include "ChanterSynthesiser.h"
#include "FftPair.h"
#include "RatioReporter.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

constexpr double kTune_s = 60.0;

// A tune of graced melody notes of 0.25 to 0.6 s with drones and noise, repeated to 60 s.
const ChanterSynthesiser& tune()
{
    static const ChanterSynthesiser synth = [] {
        ChanterSynthesiser s;
        s.setDrones(0.2);
        s.setNoise(0.01, 1);
        struct Note {
            PipeNoteName melody;
            double duration_s;
            PipeNoteName gracing;
        };
        const Note bar[] = {{LA, 0.45, Unknown}, {B, 0.3, dbb}, {C, 0.45, gg}, {E, 0.3, Unknown}, {HA, 0.6, Unknown},
            {F, 0.3, dbf}, {E, 0.25, gg}, {C, 0.45, Unknown}, {LA, 0.6, grp}, {D, 0.45, thrd}, {E, 0.3, tg},
            {LA, 0.45, tar}, {B, 0.3, eg}, {HG, 0.45, dbhg}, {LG, 0.3, Unknown}, {C, 0.6, dbc}};
        while (s.duration_s() < kTune_s) {
            for (const Note& note : bar)
                s.play(note.melody, note.duration_s, note.gracing);
            s.playStrike(strlg, LA, 0.3, 0.3);
        }
        return s;
    }();
    return synth;
}

const std::vector<short>& samples()
{
    static const std::vector<short> rendered = [] {
        std::vector<short> all = tune().render();
        all.resize(std::size_t(kTune_s * tune().sampleRate_Hz()));
        return all;
    }();
    return rendered;
}

void setAudioSeconds(benchmark::State& state)
{
    state.counters["x_realtime"]
        = benchmark::Counter(kTune_s * double(state.iterations()), benchmark::Counter::kIsRate);
}

// One analysis per iteration on a new transcriber with state.range(0) frame analysis threads.
template <typename Analyse> void analyseWithThreads(benchmark::State& state, Analyse analyse)
{
    for (auto _ : state) {
        Ceolmark transcriber;
        transcriber.setFrameAnalysisThreads(int(state.range(0)));
        analyse(transcriber);
    }
    setAudioSeconds(state);
}

// threads: 0 for every core, 1 for the calling thread only. Process CPU time, so that the
// helper threads count.
void overThreads(benchmark::internal::Benchmark* registered)
{
    registered->ArgName("threads")
        ->Arg(0)
        ->Arg(1)
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime()
        ->UseRealTime();
}

void transcribe60s(benchmark::State& state)
{
    analyseWithThreads(state, [](Ceolmark& transcriber) {
        transcriber.transcribe(samples().data(), unsigned(samples().size()));
        benchmark::DoNotOptimize(transcriber.notes().size());
    });
}
BENCHMARK(transcribe60s)->Apply(overThreads);

void frameAnalysis60s(benchmark::State& state)
{
    analyseWithThreads(state, [](Ceolmark& transcriber) {
        transcriber.calculateFrequencies(samples().data(), unsigned(samples().size()));
        benchmark::DoNotOptimize(transcriber.frequencies().data());
    });
}
BENCHMARK(frameAnalysis60s)->Apply(overThreads);

// Everything but the frame analysis: the tuning search, the frame notes and the stages.
void stages60s(benchmark::State& state)
{
    Ceolmark analysed;
    analysed.calculateFrequencies(samples().data(), unsigned(samples().size()));
    for (auto _ : state) {
        analysed.calculateTuning(samples().data(), unsigned(samples().size()));
        analysed.calculateNotes();
        analysed.transcribe();
        benchmark::DoNotOptimize(analysed.notes().size());
    }
    setAudioSeconds(state);
}
BENCHMARK(stages60s)->Unit(benchmark::kMillisecond)->UseRealTime();

// The FFT pair of every frame of the tune.
void fftFloor60s(benchmark::State& state)
{
    const std::size_t frames = (samples().size() - 1024) / 20 + 1;
    FftPair fft;
    for (auto _ : state) {
        for (std::size_t frame = 0; frame < frames; ++frame) {
            for (int i = 0; i < 1024; ++i)
                fft.time[std::size_t(i)] = samples()[frame * 20 + std::size_t(i)];
            fft.run();
            benchmark::DoNotOptimize(fft.time.data());
        }
    }
    setAudioSeconds(state);
}
BENCHMARK(fftFloor60s)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    // The tune is made before the first measurement.
    benchmark::DoNotOptimize(samples().size());
    return RatioReporter::runAll(argc, argv,
        {{"transcribe60s/threads:1/process_time/real_time", "fftFloor60s/real_time"},
            {"frameAnalysis60s/threads:1/process_time/real_time", "fftFloor60s/real_time"},
            {"frameAnalysis60s/threads:1/process_time/real_time", "transcribe60s/threads:1/process_time/real_time"},
            {"stages60s/real_time", "transcribe60s/threads:1/process_time/real_time"}});
}
