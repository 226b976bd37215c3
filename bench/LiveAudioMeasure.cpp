// Measures the live path on real devices, by hand, under the test daemon:
//   . scripts/pulse-test-env.sh && pa_start && build/bench/liveAudioMeasure [seconds]; pa_stop
// A synthesised tune goes into the microphone FIFO at real-time pace while the processor
// transcribes it in recording mode on its own thread. Prints, per melody note, the delay
// from its first sample entering the FIFO to the first transcriptionResult that holds it,
// and the processing thread's share of one core over the recording (from
// /proc/self/task/TID/stat). Not a test: the figures depend on the machine and its load.

#include "AudioProcessor.h"
#include "AudioProcessorWrapper.h"
#include "AudioRecorderWrapper.h"
#include "AudioTestSupport.h"
#include "ChanterSynthesiser.h"

#include <QCoreApplication>

#include <cmath>
#include <cstdio>

namespace {

constexpr int kRate_Hz = 44100;

struct Onset {
    PipeNoteName name;
    float start_s;
    bool found = false;
    // When the first result holding the note reached the interface thread.
    FifoFeeder::Clock::time_point arrived;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const float length_s = argc > 1 ? QString(argv[1]).toFloat() : 60.0f;
    const QString why = pulseTest::unavailableReason();
    if (!why.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(why));
        return 1;
    }

    // A tune of melody notes of 0.25 to 0.6 s over the chanter's range, with drones and noise.
    PipeTuning tuning;
    tuning.setLowA_Hz(480.0f);
    ChanterSynthesiser piper(kRate_Hz, tuning);
    piper.setDrones(0.25);
    piper.setNoise(0.01, 3);
    const PipeNoteName scale[] = {LG, LA, B, C, D, E, F, HG, HA};
    const double durations_s[] = {0.4, 0.3, 0.6, 0.25, 0.5};
    PipeNoteName last = Unknown;
    for (int i = 0; piper.duration_s() < length_s - 1.0; ++i) {
        PipeNoteName n = scale[(i * 5 + 3) % 9];
        if (n == last)
            n = scale[(i * 5 + 4) % 9];
        piper.play(n, durations_s[i % 5]);
        last = n;
    }
    const QByteArray audio = toBytes(piper.render()) + silence(1.0f, kRate_Hz);

    AudioRecorderWrapper recorderWrapper;
    AudioProcessorWrapper processorWrapper;
    ScopedThread recordingThread;
    ScopedThread processingThread;
    recorderWrapper.moveToThread(&recordingThread);
    processorWrapper.moveToThread(&processingThread);
    recorderWrapper.initialise();
    processorWrapper.initialise();
    if (!waitFor([&] { return recorderWrapper.recorder() && processorWrapper.processor(); }, 10000))
        return 1;
    AudioProcessor* processor = processorWrapper.processor();
    QObject::connect(&recorderWrapper, &AudioRecorderWrapper::dataReceived, processor, &AudioProcessor::processData);
    processor->setAudioRecorder(recorderWrapper.recorder());
    processor->setDataParams(PitchFinder::DataParams(2048, kRate_Hz));
    processor->setTuning(tuning);
    long processingTid = 0;
    runOnThreadOf(processor, [&] { processingTid = currentThreadId(); });

    FifoFeeder feeder(pulseTest::fifoPath(), audio, kRate_Hz);
    std::vector<Onset> onsets;
    for (const auto& played : piper.melodyNotes())
        onsets.push_back({played.second.noteName(), played.first, false, {}});
    // When each recorded batch reached the interface thread, to tell the device's share.
    std::vector<std::pair<qint64, FifoFeeder::Clock::time_point>> batches;
    QObject::connect(&recorderWrapper, &AudioRecorderWrapper::dataReceived, &app, [&](qint64 bytes, bool historic) {
        if (historic)
            batches.push_back({bytes, FifoFeeder::Clock::now()});
    });
    int resultCount = 0;
    float lastTime_s = 0.0f;
    QObject::connect(processor, &AudioProcessor::transcriptionResult, &app,
        [&](float time_s, NoteMap notes, NoteMap, PipeTuning, bool) {
            const auto now = FifoFeeder::Clock::now();
            ++resultCount;
            lastTime_s = time_s;
            for (Onset& onset : onsets) {
                // The note is held once a melody note of its name starts within 60 ms of it.
                if (!onset.found && holdsNote(notes, onset.name, onset.start_s, 0.06f)) {
                    onset.found = true;
                    onset.arrived = now;
                }
            }
        });

    recorderWrapper.start(QString(), kRate_Hz, 2048);
    processor->resetTranscription();
    processor->enableTranscription(true);
    recorderWrapper.enableHistoricRecording(true);
    runOnThreadOf(&recorderWrapper, [] {});

    const double cpuBefore_s = threadCpu_s(processingTid);
    const auto wallBefore = FifoFeeder::Clock::now();
    feeder.start();
    const float audio_s = float(audio.size()) / (2.0f * kRate_Hz);
    waitFor([&] { return lastTime_s > audio_s - 0.3f; }, int(audio_s * 1000) + 20000);
    const double cpu_s = threadCpu_s(processingTid) - cpuBefore_s;
    const double wall_s = std::chrono::duration<double>(FifoFeeder::Clock::now() - wallBefore).count();
    feeder.finish();
    std::vector<double> delays_ms;
    for (const Onset& onset : onsets) {
        if (!onset.found)
            continue;
        const auto fed = feeder.writeTime(qint64(std::lround(onset.start_s * kRate_Hz)) * 2);
        delays_ms.push_back(std::chrono::duration<double, std::milli>(onset.arrived - fed).count());
    }
    std::vector<double> batchDelays_ms;
    for (const auto& batch : batches) {
        if (batch.first <= audio.size())
            batchDelays_ms.push_back(
                std::chrono::duration<double, std::milli>(batch.second - feeder.writeTime(batch.first - 1)).count());
    }
    std::printf("audio %.1f s, %zu melody notes, %zu found in a result, %d results\n", audio_s, onsets.size(),
        delays_ms.size(), resultCount);
    std::printf("delay from FIFO to first result holding the note: median %.0f ms, 90th percentile %.0f ms, "
                "max %.0f ms, min %.0f ms\n",
        percentile(delays_ms, 0.5), percentile(delays_ms, 0.9), percentile(delays_ms, 1.0), percentile(delays_ms, 0.0));
    std::printf("of which from FIFO to a full batch at the interface thread: median %.0f ms, max %.0f ms\n",
        percentile(batchDelays_ms, 0.5), percentile(batchDelays_ms, 1.0));
    std::printf(
        "processing thread: %.2f s of CPU in %.1f s: %.1f %% of one core\n", cpu_s, wall_s, 100.0 * cpu_s / wall_s);

    recorderWrapper.enableHistoricRecording(false);
    processor->enableTranscription(false);
    processor->setAudioRecorder(nullptr);
    recorderWrapper.stop();
    runOnThreadOf(&recorderWrapper, [] {});
    exitWithoutStaticTeardown(0);
}
