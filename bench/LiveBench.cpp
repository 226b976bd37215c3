// The live transcription. One refresh, retranscribe() over a full five-second window: the
// live view asks for one every 0.1 s of audio, so it must stay well within that (target: a
// median within 10 ms). Its floor is the frame analysis of the 0.1 s of audio that arrives
// between two refreshes, work that cannot be avoided.
//
// And the progressive path that ceolmark-cli transcribe takes, through the driver, over a
// 180-second recording (target: at least 12 x real time). Its floor is the frame analysis
// of the same recording in the same blocks, without any transcription.

#include "ChanterSynthesiser.h"
#include "ProgressiveCeolmark.h"
#include "ProgressiveTranscriptionDriver.h"
#include "RatioReporter.h"
#include "ThreadSeconds.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr double kRate_Hz = 44100.0;
constexpr float kLowA_Hz = 480.0f;
constexpr unsigned kBlock_samples = ProgressiveTranscriptionDriver::kReplayChunk_samples;

PipeTuning tuning()
{
    PipeTuning tuning;
    tuning.setLowA_Hz(kLowA_Hz);
    return tuning;
}

// A tune on the pipes: graced melody notes, movements, drones and noise.
std::vector<short> playTune(double length_s)
{
    ChanterSynthesiser piper(kRate_Hz, tuning());
    piper.setDrones(0.1);
    piper.setNoise(0.01, 5);
    const PipeNoteName melody[] = {LA, B, C, D, E, F, HG, HA, LG, E, C, B, D, LA};
    const PipeNoteName gracing[] = {gg, dbb, eg, thrd, dbe, gg, Unknown, dbha, grp, Unknown, gg, dbc, Unknown, tar};
    const double lengths_s[] = {0.45, 0.3, 0.6, 0.25, 0.4, 0.35, 0.5, 0.9};
    for (int i = 0; piper.duration_s() < length_s; ++i)
        piper.play(melody[i % 14], lengths_s[i % 8], gracing[i % 14]);
    return piper.render();
}

const std::vector<short>& recording()
{
    static const std::vector<short> samples = playTune(180.0);
    return samples;
}

// Frame analysis of 0.1 s of audio, as a refresh's worth of new samples.
double intervalFrameAnalysisSeconds(int repeats)
{
    const std::vector<short>& samples = recording();
    const unsigned count = unsigned(kRate_Hz / 10) + 1024 - 20;
    Ceolmark transcriber;
    transcriber.setTuning(tuning());
    transcriber.setFrameAnalysisThreads(1);
    const double start_s = threadSeconds();
    for (int i = 0; i < repeats; ++i) {
        transcriber.reset();
        benchmark::DoNotOptimize(transcriber.calculateFrequencies(samples.data() + 44100 * (i % 60), count));
    }
    return (threadSeconds() - start_s) / repeats;
}

// A transcriber 20 s into the recording whose window holds its full five seconds of frames
// (4.99 s: one block more and it would trim), with settled notes before it.
void fillWindow(ProgressiveCeolmark& transcriber)
{
    const std::vector<short>& samples = recording();
    HistoricPipeTuning historic;
    historic.setCalibratedTuning(tuning(), true);
    transcriber.setHistoricalTuning(historic);
    const std::size_t end = std::size_t(19.99 * kRate_Hz);
    for (std::size_t first = 0; first < end; first += kBlock_samples)
        transcriber.progressiveTranscribe(
            samples.data() + first, unsigned(std::min<std::size_t>(kBlock_samples, end - first)), false);
    // Settle and trim as the last block requires, so that every refresh measured is alike.
    transcriber.retranscribe();
}

void retranscribeFullWindow(benchmark::State& state)
{
    ProgressiveCeolmark transcriber;
    fillWindow(transcriber);
    const double windowFrames = double(transcriber.frequencies().size());
    const double start_s = threadSeconds();
    for (auto _ : state) {
        transcriber.retranscribe();
        benchmark::DoNotOptimize(transcriber.notes().size());
    }
    const double perCall_s = (threadSeconds() - start_s) / double(state.iterations());
    state.counters["window_s"] = windowFrames * 20.0 / kRate_Hz;
    state.counters["settled"] = double(transcriber.settledNotes().size());
    state.counters["xFloor"] = perCall_s / intervalFrameAnalysisSeconds(50);
}

// Where the time of a refresh goes: classifying the window's frames, and the stages.
void windowClassify(benchmark::State& state)
{
    ProgressiveCeolmark transcriber;
    fillWindow(transcriber);
    for (auto _ : state) {
        transcriber.calculateNotes();
        benchmark::DoNotOptimize(transcriber.frameNotes().data());
    }
}

void windowStages(benchmark::State& state)
{
    ProgressiveCeolmark transcriber;
    fillWindow(transcriber);
    transcriber.calculateNotes();
    for (auto _ : state) {
        transcriber.Ceolmark::transcribe();
        benchmark::DoNotOptimize(transcriber.notes().size());
    }
}

// The floor of the whole recording: its frames in replay blocks, and nothing else.
void recordingFrameAnalysis(benchmark::State& state)
{
    const std::vector<short>& samples = recording();
    for (auto _ : state) {
        Ceolmark transcriber;
        transcriber.setTuning(tuning());
        std::vector<short> pending;
        for (std::size_t first = 0; first < samples.size(); first += kBlock_samples) {
            pending.insert(pending.end(), samples.begin() + std::ptrdiff_t(first),
                samples.begin() + std::ptrdiff_t(std::min(first + kBlock_samples, samples.size())));
            const unsigned consumed = transcriber.calculateFrequencies(pending.data(), unsigned(pending.size()));
            pending.erase(pending.begin(), pending.begin() + consumed);
        }
        benchmark::DoNotOptimize(transcriber.frequencies().data());
    }
    state.counters["xRealTime"] = benchmark::Counter(
        double(samples.size()) / kRate_Hz * double(state.iterations()), benchmark::Counter::kIsRate);
}

// What ceolmark-cli transcribe does with the audio: the driver's replay, and the tail.
void transcribeRecording(benchmark::State& state)
{
    const std::vector<short>& samples = recording();
    std::size_t notes = 0;
    for (auto _ : state) {
        ProgressiveTranscriptionDriver driver;
        driver.setSamplingFrequency_Hz(float(kRate_Hz));
        driver.setTuning(tuning());
        driver.reset();
        driver.replay(samples.data(), samples.size(), true);
        notes = driver.lastResult().notes.size() + driver.lastResult().graceNotes.size();
    }
    state.counters["notes"] = double(notes);
    state.counters["xRealTime"] = benchmark::Counter(
        double(samples.size()) / kRate_Hz * double(state.iterations()), benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(retranscribeFullWindow)->Unit(benchmark::kMillisecond)->Repetitions(15)->ReportAggregatesOnly(true);
BENCHMARK(windowClassify)->Unit(benchmark::kMillisecond);
BENCHMARK(windowStages)->Unit(benchmark::kMillisecond);
BENCHMARK(recordingFrameAnalysis)->Unit(benchmark::kSecond)->Iterations(1);
BENCHMARK(transcribeRecording)->Unit(benchmark::kSecond)->Iterations(1);

int main(int argc, char** argv)
{
    return RatioReporter::runAll(
        argc, argv, {{"transcribeRecording/iterations:1", "recordingFrameAnalysis/iterations:1"}});
}
