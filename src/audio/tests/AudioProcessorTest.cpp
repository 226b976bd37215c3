#include "AudioProcessor.h"
#include "AudioRecorder.h"
#include "AudioTestSupport.h"
#include "ChanterSynthesiser.h"
#include "ProgressiveCeolmark.h"
#include "ProgressiveTranscriptionDriver.h"
#include "utils.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <stdexcept>

namespace {

constexpr int kRate_Hz = 44100;
constexpr int kFrames = 2048;
constexpr int kBatch_B = 2 * kFrames;
constexpr int kReplayChunk_B = 8192;

struct Result {
    float time_s;
    NoteMap notes;
    NoteMap graceNotes;
    bool internalError;
};

PipeTuning chanterTuning()
{
    PipeTuning tuning;
    tuning.setLowA_Hz(480.0f);
    return tuning;
}

PitchFinder::ProcessingParams meterParams()
{
    PitchFinder::ProcessingParams params;
    params.limitPeriodRange = true;
    params.lowFrequency_Hz = 300.0f;
    params.highFrequency_Hz = 1100.0f;
    return params;
}

// A transcriber whose set-up fails on demand, as a fault outside the transcription proper
// would: its reset, or the low A that every tuning change sets.
class FaultyTranscriber : public ProgressiveCeolmark {
public:
    enum Fault {
        None,
        ResetThrows,
        LowAThrows,
        LowAThrowsAnInt,
    };
    void reset() override
    {
        if (fault == ResetThrows)
            throw std::runtime_error("reset refused");
        ProgressiveCeolmark::reset();
    }
    void setLowA_Hz(float lowA_Hz) override
    {
        if (fault == LowAThrows)
            throw std::runtime_error("low A refused");
        if (fault == LowAThrowsAnInt)
            throw 42;
        ProgressiveCeolmark::setLowA_Hz(lowA_Hz);
    }
    Fault fault = None;
};

// A recorder fed by the test (no device) and a processor on the test's own thread, so that
// every signal arrives before the call that caused it returns.
class AudioProcessorTest : public ::testing::Test {
protected:
    explicit AudioProcessorTest(std::unique_ptr<ProgressiveTranscriptionDriver> driver = nullptr)
        : processor(driver ? std::move(driver) : std::make_unique<ProgressiveTranscriptionDriver>())
    {
        recorder.initialise(kRate_Hz, kFrames);
        processor.setAudioRecorder(&recorder);
        processor.setDataParams(PitchFinder::DataParams(kFrames, kRate_Hz));
        processor.setParams(meterParams());
        processor.setTuning(chanterTuning());
        QObject::connect(
            &processor, &AudioProcessor::dataProcessed, [this](PitchFinder::AnalysisResults r) { meter.push_back(r); });
        QObject::connect(&processor, &AudioProcessor::transcriptionResult,
            [this](float time_s, NoteMap notes, NoteMap graceNotes, PipeTuning, bool internalError) {
                results.push_back({time_s, notes, graceNotes, internalError});
            });
        QObject::connect(&processor, &AudioProcessor::transcriptionVolume, [this](float v) { volumes.push_back(v); });
        QObject::connect(&processor, &AudioProcessor::playbackFinised, [this] { ++finished; });
    }

    void connectRecorder(Qt::ConnectionType type = Qt::DirectConnection)
    {
        QObject::connect(&recorder, &AudioRecorder::dataReceived, &processor, &AudioProcessor::processData, type);
    }

    // As the main window starts a recording: reset, enable, then recording mode.
    void startRecording()
    {
        processor.resetTranscription();
        processor.enableTranscription(true);
        recorder.enableHistoricRecording(true);
    }

    // As the main window stops one: enable off, live mode, and live batches flow again,
    // which put the processor's recording position back to 0.
    void stopRecording()
    {
        processor.enableTranscription(false);
        recorder.enableHistoricRecording(false);
        recorder.acceptData(note(PipeTuning::LowA, kFrames / float(kRate_Hz)));
    }

    QByteArray note(PipeTuning::ReferenceNote name, float duration_s)
    {
        return chanterTone(chanterTuning().getReferenceNoteCentreFrequency_Hz(name), duration_s, kRate_Hz);
    }

    AudioRecorder recorder;
    AudioProcessor processor;
    std::vector<PitchFinder::AnalysisResults> meter;
    std::vector<Result> results;
    std::vector<float> volumes;
    int finished = 0;
};

} // namespace

TEST_F(AudioProcessorTest, MeterPathFindsThePitchOfEachLiveBatch)
{
    connectRecorder();
    const PipeTuning::ReferenceNote notes[] = {PipeTuning::LowG, PipeTuning::LowA, PipeTuning::D, PipeTuning::HighA};
    for (PipeTuning::ReferenceNote n : notes) {
        SCOPED_TRACE(toString(n));
        meter.clear();
        recorder.acceptData(note(n, 3 * kFrames / float(kRate_Hz)));
        ASSERT_EQ(meter.size(), 3u) << "one analysis per batch of 2048 samples";
        // A steady harmonic tone is found to a fraction of a cent; 2 cents leaves room for
        // the frame cutting the tone at any phase.
        const float expected_Hz = chanterTuning().getReferenceNoteCentreFrequency_Hz(n);
        EXPECT_NEAR(utils::freqRatioToCents(expected_Hz, meter.back().frequency_Hz), 0.0f, 2.0f);
        EXPECT_GT(meter.back().level, 0.5f);
    }
    EXPECT_TRUE(volumes.empty());
    EXPECT_TRUE(results.empty());
}

TEST_F(AudioProcessorTest, BatchesFollowTheTableOfStates)
{
    connectRecorder();
    struct Case {
        const char* name;
        bool transcription;
        bool historic;
        size_t meterAnalyses;
        size_t transcribedBatches;
    };
    const Case cases[] = {
        {"meter on live batches", false, false, 2, 0},
        {"no meter on recorded batches", false, true, 0, 0},
        {"no meter while transcribing", true, false, 0, 0},
        {"transcription of recorded batches", true, true, 0, 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        meter.clear();
        volumes.clear();
        processor.enableTranscription(c.transcription);
        recorder.enableHistoricRecording(c.historic);
        recorder.acceptData(note(PipeTuning::C, 2 * kFrames / float(kRate_Hz)));
        EXPECT_EQ(meter.size(), c.meterAnalyses);
        EXPECT_EQ(volumes.size(), c.transcribedBatches);
    }
}

TEST_F(AudioProcessorTest, BacklogOfSignalsCollapsesIntoOneFetch)
{
    // Queued, as across threads: five batches arrive before the processor runs.
    connectRecorder(Qt::QueuedConnection);
    startRecording();
    recorder.acceptData(note(PipeTuning::E, 5 * kFrames / float(kRate_Hz)));
    QCoreApplication::processEvents();
    ASSERT_EQ(volumes.size(), 1u) << "the first signal fetches everything, the other four find nothing new";
    ASSERT_EQ(results.size(), 1u);
    // The one call covered all five batches: its time is past four batches' worth.
    EXPECT_GT(results[0].time_s, 4.0f * kFrames / kRate_Hz);

    meter.clear();
    processor.enableTranscription(false);
    recorder.enableHistoricRecording(false);
    recorder.acceptData(note(PipeTuning::E, 3 * kFrames / float(kRate_Hz)));
    QCoreApplication::processEvents();
    EXPECT_EQ(meter.size(), 1u) << "live backlog: one analysis of the newest batch";
}

TEST_F(AudioProcessorTest, LiveSignalQueuedAcrossAModeSwitchIsAnEmptyBatch)
{
    connectRecorder(Qt::QueuedConnection);
    recorder.acceptData(note(PipeTuning::B, kFrames / float(kRate_Hz)));
    // The recording starts before the queued live signal is handled: the fetch finds the
    // recording empty.
    recorder.enableHistoricRecording(true);
    LogCapture log;
    QCoreApplication::processEvents();
    EXPECT_EQ(log.count("No data"), 1);
    EXPECT_TRUE(meter.empty());
    EXPECT_TRUE(volumes.empty());
}

TEST_F(AudioProcessorTest, RecordingRunsAtTheResetIntervalThenAtANewOne)
{
    connectRecorder();
    processor.setTranscribeInterval_s(1.0f); // overridden by the reset of the recording
    startRecording();
    recorder.acceptData(note(PipeTuning::D, 2.0f));
    // At 0.1 s a result falls due every third batch of 46 ms: 14 in 2 s. At 1 s it would be 2.
    EXPECT_GE(results.size(), 12u);
    const size_t atReset = results.size();
    processor.setTranscribeInterval_s(0.5f); // applies from the next batch
    recorder.acceptData(note(PipeTuning::D, 2.0f));
    EXPECT_LE(results.size() - atReset, 5u);
    EXPECT_GE(results.size() - atReset, 3u);
    for (const Result& r : results)
        EXPECT_FALSE(r.internalError);
}

TEST_F(AudioProcessorTest, DebugDisableRecordsWithoutTranscribing)
{
    connectRecorder();
    processor.setDebugDisable();
    startRecording();
    recorder.acceptData(note(PipeTuning::F, 1.0f));
    EXPECT_TRUE(volumes.empty());
    EXPECT_TRUE(results.empty());
    EXPECT_TRUE(meter.empty());
    EXPECT_EQ(recorder.recordedData().size(), 2 * kRate_Hz / kBatch_B * kBatch_B);
}

TEST_F(AudioProcessorTest, ReplayRunsEveryChunkAndIgnoresWhatArrivesMeanwhile)
{
    connectRecorder();
    startRecording();
    recorder.acceptData(note(PipeTuning::LowA, 0.5f)); // a recording the replay must not mix in
    volumes.clear();
    results.clear();

    ChanterSynthesiser piper(kRate_Hz, chanterTuning());
    piper.setDrones(0.25);
    for (PipeNoteName name : {LA, B, C, D})
        piper.play(name, 0.3);
    // Silence after the notes: a replay transcribes nothing after its last result.
    const QByteArray recording = toBytes(piper.render()) + silence(0.6f, kRate_Hz);
    const size_t chunks = size_t((recording.size() + kReplayChunk_B - 1) / kReplayChunk_B);
    int secondReplays = 0;
    QObject::connect(&processor, &AudioProcessor::transcriptionVolume, &processor, [&] {
        if (volumes.size() != 2)
            return;
        // In the middle of the replay: a second replay and a recorder batch are ignored.
        ++secondReplays;
        processor.playbackData(note(PipeTuning::HighA, 1.0f), kReplayChunk_B);
        processor.processData(recorder.recordedData().size() + kBatch_B, true);
        recorder.acceptData(note(PipeTuning::LowA, 0.1f));
        EXPECT_TRUE(processor.isPlaybackActive());
    });
    processor.resetTranscription();
    processor.playbackData(recording, kReplayChunk_B);
    EXPECT_EQ(secondReplays, 1);
    EXPECT_EQ(volumes.size(), chunks);
    EXPECT_EQ(finished, 1);
    EXPECT_FALSE(processor.isPlaybackActive());
    ASSERT_FALSE(results.empty());
    // The replay started from a reset and transcribed its own notes only.
    EXPECT_EQ(melodyNames(results.back().notes), melodyNames(piper.melodyNotes()));
    EXPECT_LE(results.back().time_s, 1.8f);
    EXPECT_GT(results.back().time_s, 1.6f);
}

TEST_F(AudioProcessorTest, StopPlaybackCutsAReplayBetweenChunks)
{
    startRecording();
    QObject::connect(&processor, &AudioProcessor::transcriptionVolume, &processor, [&] {
        if (volumes.size() == 3)
            processor.stopPlayback();
    });
    processor.playbackData(note(PipeTuning::B, 2.0f), kReplayChunk_B);
    EXPECT_EQ(volumes.size(), 3u);
    EXPECT_EQ(finished, 1);

    volumes.clear();
    processor.playbackData(QByteArray(), kReplayChunk_B);
    EXPECT_EQ(finished, 2) << "an empty replay finishes at once";
    EXPECT_TRUE(volumes.empty());
}

TEST_F(AudioProcessorTest, ExceptionOutsideTheTranscriberCallIsAnInternalError)
{
    connectRecorder();
    startRecording();
    // A frame size whose FFT length is odd: the pitch finder refuses it while the batch's
    // parameters are applied.
    processor.setDataParams(PitchFinder::DataParams(2, kRate_Hz));
    LogCapture log;
    recorder.acceptData(note(PipeTuning::E, kFrames / float(kRate_Hz)));
    ASSERT_EQ(results.size(), 1u);
    EXPECT_TRUE(results[0].internalError);
    EXPECT_EQ(log.count("Proc thread STD EXCEPTION! :"), 1);
    EXPECT_TRUE(volumes.empty());

    // The thread survives and takes the next batch.
    processor.setDataParams(PitchFinder::DataParams(kFrames, kRate_Hz));
    recorder.acceptData(note(PipeTuning::E, kFrames / float(kRate_Hz)));
    EXPECT_EQ(volumes.size(), 1u);
}

namespace {

class FaultyTranscriberTest : public AudioProcessorTest {
protected:
    FaultyTranscriberTest()
        : FaultyTranscriberTest(new FaultyTranscriber)
    {
    }
    explicit FaultyTranscriberTest(FaultyTranscriber* transcriber)
        : AudioProcessorTest(
            std::make_unique<ProgressiveTranscriptionDriver>(std::unique_ptr<ProgressiveCeolmark>(transcriber)))
        , transcriber(transcriber)
    {
    }
    FaultyTranscriber* transcriber;
};

} // namespace

TEST_F(FaultyTranscriberTest, FaultInTheTranscribersSetUpIsReportedAsInternalError)
{
    connectRecorder();
    struct Case {
        const char* name;
        FaultyTranscriber::Fault fault;
        bool newRecording;
        bool newTuning;
        const char* log;
    };
    const Case cases[] = {
        {"reset of a new recording", FaultyTranscriber::ResetThrows, true, false, "Proc thread STD EXCEPTION! :"},
        {"tuning staged mid-recording", FaultyTranscriber::LowAThrows, false, true, "Proc thread STD EXCEPTION! :"},
        {"not a std::exception", FaultyTranscriber::LowAThrowsAnInt, false, true, "Proc thread UNKNOWN EXCEPTION!"},
    };
    startRecording();
    recorder.acceptData(note(PipeTuning::E, 0.5f));
    ASSERT_FALSE(results.empty());
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        results.clear();
        volumes.clear();
        transcriber->fault = c.fault;
        if (c.newRecording) {
            stopRecording();
            startRecording();
        }
        if (c.newTuning)
            processor.setTuning(chanterTuning());
        LogCapture log;
        recorder.acceptData(note(PipeTuning::E, kFrames / float(kRate_Hz)));
        ASSERT_EQ(results.size(), 1u);
        EXPECT_TRUE(results[0].internalError);
        EXPECT_EQ(log.count(c.log), 1);
        EXPECT_TRUE(volumes.empty()) << "the batch stopped at the fault";

        // The processing goes on with the next batch.
        transcriber->fault = FaultyTranscriber::None;
        recorder.acceptData(note(PipeTuning::E, kFrames / float(kRate_Hz)));
        EXPECT_EQ(volumes.size(), 1u);
        for (size_t i = 1; i < results.size(); ++i)
            EXPECT_FALSE(results[i].internalError);
    }
}
