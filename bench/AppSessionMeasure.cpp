// Measures the whole application on real devices, by hand, under the test daemon:
//   . scripts/pulse-test-env.sh && pa_start && build/bench/appSessionMeasure [seconds]; pa_stop
// A real MainWindow (offscreen unless QT_QPA_PLATFORM says otherwise, 1280x800, both views
// showing) records a synthesised march fed into the microphone FIFO at real-time pace.
// Prints the delay from a melody note's first sample entering the FIFO to the first drawing
// of the views that holds it, the interface thread's share of one core while recording, and
// every metronome click against its beat on the audio clock. The settings and autosaves go
// to a scratch home that is removed at the end. Not a test: the figures depend on the
// machine and its load.

#include "AudioProcessor.h"
#include "AudioRecorderWrapper.h"
#include "AudioTestSupport.h"
#include "ChanterSynthesiser.h"
#include "MainWindow.h"
#include "MessageOutput.h"
#include "ThreadSeconds.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QWindow>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace {

constexpr int kRate_Hz = 44100;
// The window's default tempo and metre (72 BPM, 4/4): one click a crotchet.
constexpr double kBpm = 72.0;
constexpr double kCrotchet_s = 60.0 / kBpm;
// Drones alone while the window comes up and Record is pressed, as a piper strikes in.
constexpr double kLeadIn_s = 3.0;
// Drones alone after the tune, so that its last note ends inside the recording.
constexpr double kTail_s = 1.5;
// A drawn note matches a played one of its name starting this close.
constexpr float kMatch_s = 0.1f;
// Finer than the audio tests' chunks: the click times are read off the feeder's clock.
constexpr int kFeedChunk_ms = 10;

using Clock = FifoFeeder::Clock;

double seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }
double millis(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

double processCpu_s()
{
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

struct MarchNote {
    PipeNoteName melody;
    double crotchets;
    // Before the melody note, or a strike splitting it (strlg..strhg).
    PipeNoteName gracing;
};

// Two four-bar parts of a 4/4 march: dotted quavers and semiquavers, quavers and crotchets
// (0.21 to 0.83 s at 72 BPM), with the common gracings.
const MarchNote kMarch[] = {
    {LA, 0.75, gg}, {B, 0.25, Unknown}, {C, 0.75, dbc}, {LA, 0.25, Unknown}, {E, 1, gg}, {C, 0.5, eg},
    {LA, 0.5, Unknown}, // 1
    {B, 0.75, dbb}, {LA, 0.25, Unknown}, {B, 0.5, grp}, {C, 0.5, gg}, {E, 0.75, dbe}, {C, 0.25, Unknown},
    {D, 1, thrd}, // 2
    {HA, 0.75, Unknown}, {F, 0.25, Unknown}, {E, 0.75, dbe}, {C, 0.25, Unknown}, {LA, 0.5, brl}, {B, 0.5, gg},
    {C, 1, dbc}, // 3
    {B, 0.75, gg}, {LA, 0.25, Unknown}, {LG, 0.5, gg}, {LA, 0.5, dg}, {E, 1, gg}, {LA, 1, tar}, // 4
    {E, 0.75, gg}, {F, 0.25, Unknown}, {HA, 0.75, Unknown}, {F, 0.25, Unknown}, {E, 0.5, dbe}, {HG, 0.5, dbhg},
    {HA, 1, Unknown}, // 5
    {F, 0.75, dbf}, {E, 0.25, Unknown}, {C, 0.5, gg}, {LA, 1, strlg}, {B, 0.5, gg}, {D, 1, thrd}, // 6
    {E, 0.75, dbe}, {C, 0.25, Unknown}, {LA, 0.75, grp}, {B, 0.25, Unknown}, {C, 0.5, dbc}, {E, 0.5, gg},
    {F, 1, dbf}, // 7
    {E, 0.75, gg}, {C, 0.25, Unknown}, {B, 0.5, dbb}, {LG, 0.5, gg}, {LA, 1, brl}, {LA, 1, gg}, // 8
};

bool isStrike(PipeNoteName gracing) { return gracing >= strlg && gracing <= strhg; }

// The march repeated for length_s after the lead-in, each melody note on its beat: a
// gracing takes its time from the note before.
ChanterSynthesiser march(double length_s)
{
    ChanterSynthesiser piper(kRate_Hz);
    piper.setDrones(0.4);
    piper.setNoise(0.01, 7);
    std::vector<MarchNote> notes;
    double beats = 0.0;
    for (size_t i = 0; beats * kCrotchet_s < length_s; ++i) {
        notes.push_back(kMarch[i % std::size(kMarch)]);
        beats += notes.back().crotchets;
    }
    auto before = [&](size_t i) {
        return i < notes.size() && !isStrike(notes[i].gracing) ? piper.gracingDuration_s(notes[i].gracing) : 0.0;
    };
    piper.rest(kLeadIn_s - before(0));
    for (size_t i = 0; i < notes.size(); ++i) {
        const MarchNote& note = notes[i];
        const double duration_s = note.crotchets * kCrotchet_s - before(i + 1);
        if (isStrike(note.gracing)) {
            const double half_s = (duration_s - piper.gracingDuration_s(note.gracing)) / 2.0;
            piper.playStrike(note.gracing, note.melody, half_s, half_s);
        } else {
            piper.play(note.melody, duration_s, note.gracing);
        }
    }
    piper.rest(kTail_s);
    return piper;
}

// The feeder's audio clock at a moment, in seconds of the fed audio: the chunks written by
// then, running on through the last one at real-time pace.
double feederClock_s(const FifoFeeder& feeder, qint64 total_B, Clock::time_point at)
{
    const qint64 chunk_B = feeder.chunkSize_B();
    const double chunk_s = double(chunk_B) / 2.0 / kRate_Hz;
    qint64 low = 0;
    qint64 high = (total_B + chunk_B - 1) / chunk_B;
    if (high == 0 || feeder.writeTime(0) > at)
        return 0.0;
    // The last chunk written at or before the moment.
    while (high - low > 1) {
        const qint64 mid = (low + high) / 2;
        if (feeder.writeTime(mid * chunk_B) <= at)
            low = mid;
        else
            high = mid;
    }
    return double(low) * chunk_s + std::min(seconds(at - feeder.writeTime(low * chunk_B)), chunk_s);
}

// A result of the processor or a drawing of the views: when, its audio time, its melody.
struct Snapshot {
    Clock::time_point when;
    float time_s;
    NoteMap notes;
};

// The first snapshot holding a note of that name starting from from_s to to_s, give or take
// kMatch_s; null if none does.
const Snapshot* firstHolding(const std::vector<Snapshot>& snapshots, PipeNoteName name, float from_s, float to_s)
{
    for (const Snapshot& snapshot : snapshots) {
        if (holdsNote(snapshot.notes, name, (from_s + to_s) / 2, (to_s - from_s) / 2 + kMatch_s))
            return &snapshot;
    }
    return nullptr;
}

double mean(const std::vector<double>& values, size_t from, size_t to)
{
    double sum = 0.0;
    for (size_t i = from; i < to; ++i)
        sum += values[i];
    return to > from ? sum / double(to - from) : 0.0;
}

int measure(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName("the Ceolmark developers");
    QCoreApplication::setOrganizationDomain("ceolmark.example.org");
    QCoreApplication::setApplicationName("Ceolmark");
    AudioProcessor::registerMetaTypes();
    qInstallMessageHandler(myMessageOutput);
    qSetMessagePattern(kMessagePattern);

    const double length_s = argc > 1 ? QString(argv[1]).toDouble() : 60.0;
    if (!(length_s >= 5.0)) {
        std::fprintf(stderr, "usage: appSessionMeasure [seconds of tune, at least 5; default 60]\n");
        return 2;
    }
    const QString why = pulseTest::unavailableReason();
    if (!why.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(why));
        return 1;
    }

    const ChanterSynthesiser piper = march(length_s);
    const QByteArray audio = toBytes(piper.render());
    const double audio_s = double(audio.size()) / 2.0 / kRate_Hz;

    auto window = std::make_unique<MainWindow>(AudioThreads::Mode::Devices);
    window->setCalibratedTuning(piper.tuning());
    QDockWidget* score = window->findChild<QDockWidget*>("scoreDock");
    QDockWidget* timing = window->findChild<QDockWidget*>("timingDock");
    QAction* record = window->findChild<QAction*>("record");
    QAction* stop = window->findChild<QAction*>("stop");
    QProgressBar* volume = window->findChild<QProgressBar*>("volumeBar");
    if (!score || !timing || !record || !stop || !volume) {
        std::fprintf(stderr, "the window lacks a dock, an action or the volume bar\n");
        return 1;
    }
    // A first start tabs the views together: one above the other, so both are drawn.
    window->removeDockWidget(timing);
    window->addDockWidget(Qt::TopDockWidgetArea, timing);
    window->splitDockWidget(score, timing, Qt::Vertical);
    score->show();
    timing->show();
    window->resize(1280, 800);
    window->show();
    if (!waitFor(
            [&] {
                return window->windowHandle() && window->windowHandle()->isExposed()
                    && !score->visibleRegion().isEmpty() && !timing->visibleRegion().isEmpty();
            },
            5000)) {
        std::fprintf(stderr, "the two views did not both show\n");
        return 1;
    }

    std::vector<Snapshot> drawings;
    std::vector<Clock::time_point> clicks;
    bool recording = false;
    QObject::connect(window.get(), &MainWindow::viewsRefreshed, [&](float time_s) {
        if (recording)
            drawings.push_back({Clock::now(), time_s, window->lastNotes()});
    });
    QObject::connect(window.get(), &MainWindow::metronomeClicked, [&] {
        if (recording)
            clicks.push_back(Clock::now());
    });

    FifoFeeder feeder(pulseTest::fifoPath(), audio, kRate_Hz, kFeedChunk_ms);
    const Clock::time_point feedStart = Clock::now();
    feeder.start();
    std::atomic<bool> fed{false};
    bool fedOk = false;
    std::thread joiner([&] {
        fedOk = feeder.finish();
        fed = true;
        // Wakes the interface thread's wait.
        QMetaObject::invokeMethod(
            &app, [] {}, Qt::QueuedConnection);
    });

    // The window is up once the processor meters the drones.
    if (!waitFor([&] { return record->isEnabled() && volume->value() > 0; }, int((kLeadIn_s - 0.5) * 1000))) {
        std::fprintf(stderr, "the volume meter did not move within the lead-in: no audio reached the window\n");
        joiner.join();
        return 1;
    }
    // The engine's results and batches are taken on their own threads, off the interface
    // thread's account.
    AudioProcessor* processor = window->audioThreads().processor();
    AudioRecorderWrapper* recorder = &window->audioThreads().recorderWrapper();
    if (!processor) {
        std::fprintf(stderr, "the volume meter moved without a processor\n");
        joiner.join();
        return 1;
    }
    std::mutex engineMutex;
    std::vector<Snapshot> results;
    std::vector<std::pair<qint64, Clock::time_point>> batches; // recording size, arrival
    const QMetaObject::Connection resultConnection = QObject::connect(
        processor, &AudioProcessor::transcriptionResult, [&](float time_s, NoteMap notes, NoteMap, PipeTuning, bool) {
            const Clock::time_point now = Clock::now();
            std::lock_guard<std::mutex> lock(engineMutex);
            results.push_back({now, time_s, std::move(notes)});
        });
    const QMetaObject::Connection batchConnection
        = QObject::connect(recorder, &AudioRecorderWrapper::dataReceived, [&](qint64 bytes, bool historic) {
              const Clock::time_point now = Clock::now();
              std::lock_guard<std::mutex> lock(engineMutex);
              if (historic)
                  batches.push_back({bytes, now});
          });
    long processingTid = 0;
    long recordingTid = 0;
    runOnThreadOf(processor, [&] { processingTid = currentThreadId(); });
    runOnThreadOf(recorder, [&] { recordingTid = currentThreadId(); });

    const Clock::time_point recordAt = Clock::now();
    const double cpuBefore_s = threadSeconds();
    const double processCpuBefore_s = processCpu_s();
    const double processingBefore_s = threadCpu_s(processingTid);
    const double recordingBefore_s = threadCpu_s(recordingTid);
    recording = true;
    record->trigger();

    // Until the whole tune is fed and drawn; the recording began at most recordAt's audio
    // time into the feed, so the tune's end is at most this late on the recording's clock.
    const double tuneEnd_s = audio_s - kTail_s - seconds(recordAt - feedStart);
    const bool drawnToEnd
        = waitFor([&] { return fed && !drawings.empty() && drawings.back().time_s > tuneEnd_s + 0.5; },
            int(audio_s * 1000) + 20000);
    const double cpu_s = threadSeconds() - cpuBefore_s;
    const double processCpu = processCpu_s() - processCpuBefore_s;
    const double processing_s = threadCpu_s(processingTid) - processingBefore_s;
    const double recording_s = threadCpu_s(recordingTid) - recordingBefore_s;
    const double wall_s = seconds(Clock::now() - recordAt);
    recording = false;
    stop->trigger();
    QObject::disconnect(resultConnection);
    QObject::disconnect(batchConnection);
    joiner.join();
    if (!fedOk) {
        std::fprintf(stderr, "the FIFO %s could not be written\n", qPrintable(pulseTest::fifoPath()));
        return 1;
    }
    if (!drawnToEnd)
        std::printf("warning: the views were not drawn to the tune's end within the wait\n");

    // Where the recording began in the fed audio: the seeded noise makes its first bytes unique.
    const QByteArray recorded = window->currentRecording();
    const int recordStart_B = audio.indexOf(recorded.left(8192));
    if (recorded.size() < 8192 || recordStart_B < 0 || recordStart_B % 2 != 0) {
        std::fprintf(stderr, "the recording (%d bytes) is not a stretch of the fed audio\n", int(recorded.size()));
        return 1;
    }
    const double recordStart_s = double(recordStart_B) / 2.0 / kRate_Hz;

    // 1. Note to drawn: the first drawing holding each melody note, and the first result. The
    // transcriber may start a note where its gracing starts (a doubling's first grace note is
    // often the note itself), so a note may start anywhere from its gracing's start to its own.
    std::map<float, float> gracingStarts; // melody note start -> its gracing's start
    for (const auto& gracing : piper.gracings())
        gracingStarts[gracing.second.melodyNoteStart_s()] = gracing.first;
    std::lock_guard<std::mutex> lock(engineMutex);
    std::vector<double> delays_ms; // FIFO to drawn
    std::vector<double> engine_ms; // FIFO to the first result holding the note
    std::vector<double> heard_ms; // audio after the onset that result needed
    std::vector<double> drawn_ms; // that result to the first drawing holding the note
    std::vector<std::pair<PipeNote, float>> unmatched; // with the gracing's start
    for (const auto& played : piper.melodyNotes()) {
        const float start_s = float(double(played.first) - recordStart_s);
        const auto gracing = gracingStarts.lower_bound(played.first - 1e-4f);
        const float from_s = gracing != gracingStarts.end() && gracing->first < played.first + 1e-4f
            ? float(double(gracing->second) - recordStart_s)
            : start_s;
        const PipeNoteName name = played.second.noteName();
        const Snapshot* drawing = firstHolding(drawings, name, from_s, start_s);
        if (!drawing) {
            unmatched.push_back({PipeNote(name, start_s, played.second.duration_s()), from_s});
            continue;
        }
        const Clock::time_point fed = feeder.writeTime(qint64(std::lround(double(played.first) * kRate_Hz)) * 2);
        delays_ms.push_back(millis(drawing->when - fed));
        if (const Snapshot* result = firstHolding(results, name, from_s, start_s)) {
            engine_ms.push_back(millis(result->when - fed));
            heard_ms.push_back(1000.0 * double(result->time_s - start_s));
            drawn_ms.push_back(millis(drawing->when - result->when));
        }
    }
    // A batch holds the recording's bytes up to its size: from the FIFO to the recorder thread.
    std::vector<double> batch_ms;
    for (const auto& batch : batches) {
        const qint64 fed_B = recordStart_B + batch.first - 1;
        if (fed_B < audio.size())
            batch_ms.push_back(millis(batch.second - feeder.writeTime(fed_B)));
    }
    std::vector<double> drawGaps_s;
    for (size_t i = 1; i < drawings.size(); ++i)
        drawGaps_s.push_back(double(drawings[i].time_s - drawings[i - 1].time_s));

    // 3. Clicks on the feeder's audio clock against the beats of the first.
    std::vector<double> clickErrors_ms;
    const double tick_s = kCrotchet_s;
    const double firstClick_s = clicks.empty() ? 0.0 : feederClock_s(feeder, audio.size(), clicks.front());
    for (size_t k = 0; k < clicks.size(); ++k)
        clickErrors_ms.push_back(
            1000.0 * (feederClock_s(feeder, audio.size(), clicks[k]) - (firstClick_s + double(k) * tick_s)));
    std::vector<double> absErrors_ms;
    for (double e : clickErrors_ms)
        absErrors_ms.push_back(std::fabs(e));

    const size_t melodyCount = piper.melodyNotes().size();
    std::printf("tune %.1f s (fed %.1f s with %.1f s of drones before and %.1f s after), %zu melody notes\n", length_s,
        audio_s, kLeadIn_s, kTail_s, melodyCount);
    std::printf("recording %.1f s, began %.3f s into the feed; %zu drawings, result time between drawings "
                "median %.2f s\n",
        double(recorded.size()) / 2.0 / kRate_Hz, recordStart_s, drawings.size(), percentile(drawGaps_s, 0.5));

    std::printf("\n1. note to drawn: %zu of %zu melody notes drawn while recording\n", delays_ms.size(), melodyCount);
    std::printf("   FIFO to first drawing holding the note: median %.0f ms, 90th percentile %.0f ms, worst %.0f ms, "
                "best %.0f ms\n",
        percentile(delays_ms, 0.5), percentile(delays_ms, 0.9), percentile(delays_ms, 1.0), percentile(delays_ms, 0.0));
    std::printf("   FIFO to first result holding it: median %.0f ms, 90th %.0f ms, worst %.0f ms (%zu results)\n",
        percentile(engine_ms, 0.5), percentile(engine_ms, 0.9), percentile(engine_ms, 1.0), results.size());
    std::printf("     the result's audio after the onset: median %.0f ms, 90th %.0f ms, worst %.0f ms\n",
        percentile(heard_ms, 0.5), percentile(heard_ms, 0.9), percentile(heard_ms, 1.0));
    std::printf("     FIFO to a full batch at the recorder: median %.0f ms, worst %.0f ms (%zu batches)\n",
        percentile(batch_ms, 0.5), percentile(batch_ms, 1.0), batch_ms.size());
    std::printf("   that result to the first drawing holding it: median %.0f ms, 90th %.0f ms, worst %.0f ms\n",
        percentile(drawn_ms, 0.5), percentile(drawn_ms, 0.9), percentile(drawn_ms, 1.0));
    // What was drawn instead, from the last drawing: a wrong name, a start too far, or nothing.
    for (size_t i = 0; i < std::min<size_t>(unmatched.size(), 10); ++i) {
        const PipeNote& note = unmatched[i].first;
        std::printf("   never drawn: %s (gracing from %.3f s); last drawn near it:", toString(note).c_str(),
            double(unmatched[i].second));
        const NoteMap last = drawings.empty() ? NoteMap() : drawings.back().notes;
        for (auto it = last.lower_bound(note.start_s() - 0.5f); it != last.end() && it->first < note.start_s() + 0.5f;
             ++it)
            std::printf(" %s", toString(it->second).c_str());
        std::printf("\n");
    }

    std::printf("\n2. CPU from Record to Stop (%.1f s), share of one core:\n", wall_s);
    std::printf("   interface thread %.2f s: %.1f %%\n", cpu_s, 100.0 * cpu_s / wall_s);
    if (processingTid != 0)
        std::printf("   processing thread %.2f s: %.1f %%\n", processing_s, 100.0 * processing_s / wall_s);
    if (recordingTid != 0)
        std::printf("   recording thread %.2f s: %.1f %%\n", recording_s, 100.0 * recording_s / wall_s);
    std::printf("   whole process %.2f s: %.1f %%\n", processCpu, 100.0 * processCpu / wall_s);

    std::printf("\n3. metronome: %zu clicks at %.0f BPM, each against the first's time + k x %.4f s on the "
                "feeder's clock\n",
        clicks.size(), kBpm, tick_s);
    const size_t ends = std::min<size_t>(10, clickErrors_ms.size());
    std::printf("   error of each click (ms):");
    for (double e : clickErrors_ms)
        std::printf(" %+.0f", e);
    std::printf("\n");
    std::printf("   error: worst |e| %.1f ms, median |e| %.1f ms, 90th |e| %.1f ms; mean of the first %zu %+.1f ms, "
                "of the last %zu %+.1f ms\n",
        percentile(absErrors_ms, 1.0), percentile(absErrors_ms, 0.5), percentile(absErrors_ms, 0.9), ends,
        mean(clickErrors_ms, 0, ends), ends, mean(clickErrors_ms, clickErrors_ms.size() - ends, clickErrors_ms.size()));

    const double drift_ms
        = mean(clickErrors_ms, clickErrors_ms.size() - ends, clickErrors_ms.size()) - mean(clickErrors_ms, 0, ends);
    auto summary
        = [](const QString& figure, const char* goal) { std::printf("  %-84s goal: %s\n", qPrintable(figure), goal); };
    std::printf("\nsummary:\n");
    summary(QString("note to drawn: median %1 ms, 90th %2 ms, worst %3 ms (%4 of %5 notes)")
                .arg(percentile(delays_ms, 0.5), 0, 'f', 0)
                .arg(percentile(delays_ms, 0.9), 0, 'f', 0)
                .arg(percentile(delays_ms, 1.0), 0, 'f', 0)
                .arg(delays_ms.size())
                .arg(melodyCount),
        "under 1000 ms");
    summary(QString("interface thread: %1 % of one core, both views showing (processing thread %2 %)")
                .arg(100.0 * cpu_s / wall_s, 0, 'f', 1)
                .arg(100.0 * processing_s / wall_s, 0, 'f', 1),
        "under 15 %");
    summary(QString("metronome: worst %1 ms off its beat, drift %2 ms over %3 clicks")
                .arg(percentile(absErrors_ms, 1.0), 0, 'f', 1)
                .arg(drift_ms, 0, 'f', 1)
                .arg(clicks.size()),
        "every click within 25 ms, no drift");

    window.reset();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    // A scratch home: the window's settings and autosaves are never the user's.
    QTemporaryDir home;
    if (!home.isValid())
        return 1;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/.config").toUtf8());
    qputenv("XDG_DATA_HOME", (home.path() + "/.local/share").toUtf8());
    qputenv("XDG_CACHE_HOME", (home.path() + "/.cache").toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const int status = measure(argc, argv);
    home.remove();
    exitWithoutStaticTeardown(status);
}
