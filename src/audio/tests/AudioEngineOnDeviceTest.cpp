// The whole road of a sound on real devices: a chanter phrase goes into the test daemon's
// microphone FIFO at real-time pace, the recorder takes it on the recording thread, and the
// processor transcribes it on the processing thread, as during a recording in the window.

#include "AudioProcessor.h"
#include "AudioProcessorWrapper.h"
#include "AudioRecorder.h"
#include "AudioRecorderWrapper.h"
#include "AudioTestSupport.h"
#include "ChanterSynthesiser.h"

#include <gtest/gtest.h>

namespace {

constexpr int kRate_Hz = 44100;

struct Result {
    float time_s;
    NoteMap notes;
    bool internalError;
};

std::string namesToString(const std::vector<PipeNoteName>& names)
{
    std::string text;
    for (PipeNoteName name : names)
        text += toString(name) + " ";
    return text;
}

} // namespace

TEST(AudioEngineOnDevice, TranscribesAPhrasePlayedIntoTheMicrophone)
{
    const QString why = pulseTest::unavailableReason();
    if (!why.isEmpty())
        GTEST_SKIP() << why.toStdString();

    PipeTuning tuning;
    tuning.setLowA_Hz(480.0f);
    ChanterSynthesiser piper(kRate_Hz, tuning);
    // Drones at a quarter of the chanter's level and noise 40 dB down, as from a practice room.
    piper.setDrones(0.25);
    piper.setNoise(0.01, 11);
    const std::pair<PipeNoteName, double> phrase[]
        = {{LA, 0.5}, {B, 0.4}, {C, 0.4}, {E, 0.6}, {D, 0.4}, {C, 0.4}, {HA, 0.5}, {F, 0.4}, {LA, 0.6}};
    for (const auto& note : phrase)
        piper.play(note.first, note.second);
    // Silence after the phrase, so that the last note has ended before the audio stops: the
    // transcriber never transcribes a tail that arrives after its last result.
    const QByteArray audio = toBytes(piper.render()) + silence(1.2f, kRate_Hz);
    const NoteMap& played = piper.melodyNotes();

    // Wrappers before threads: the threads end first.
    AudioRecorderWrapper recorderWrapper;
    AudioProcessorWrapper processorWrapper;
    ScopedThread recordingThread;
    ScopedThread processingThread;
    recorderWrapper.moveToThread(&recordingThread);
    processorWrapper.moveToThread(&processingThread);
    int initialised = 0;
    QObject context;
    QObject::connect(&recorderWrapper, &AudioRecorderWrapper::initialised, &context, [&] { ++initialised; });
    QObject::connect(&processorWrapper, &AudioProcessorWrapper::initialised, &context, [&] { ++initialised; });
    recorderWrapper.initialise();
    processorWrapper.initialise();
    ASSERT_TRUE(waitFor([&] { return initialised == 2; }));
    AudioProcessor* processor = processorWrapper.processor();
    QObject::connect(&recorderWrapper, &AudioRecorderWrapper::dataReceived, processor, &AudioProcessor::processData);
    processor->setAudioRecorder(recorderWrapper.recorder());

    std::vector<Result> results;
    QObject::connect(processor, &AudioProcessor::transcriptionResult, &context,
        [&](float time_s, NoteMap notes, NoteMap, PipeTuning, bool internalError) {
            results.push_back({time_s, notes, internalError});
        });
    processor->setDataParams(PitchFinder::DataParams(2048, kRate_Hz));
    processor->setTuning(tuning);
    recorderWrapper.start(QString(), kRate_Hz, 2048);
    processor->resetTranscription();
    processor->enableTranscription(true);
    recorderWrapper.enableHistoricRecording(true);

    FifoFeeder feeder(pulseTest::fifoPath(), audio, kRate_Hz);
    feeder.start();
    ASSERT_TRUE(feeder.finish());
    const float audio_s = float(audio.size()) / (2.0f * kRate_Hz);
    // The last result stands at most an interval (0.1 s) and a batch behind the audio.
    ASSERT_TRUE(waitFor([&] { return !results.empty() && results.back().time_s > audio_s - 0.3f; }))
        << "last result at " << (results.empty() ? 0.0f : results.back().time_s) << " s of " << audio_s << " s";

    recorderWrapper.enableHistoricRecording(false);
    processor->enableTranscription(false);
    processor->setAudioRecorder(nullptr);
    recorderWrapper.stop();
    runOnThreadOf(&recorderWrapper, [] {});

    for (const Result& r : results)
        ASSERT_FALSE(r.internalError);
    const NoteMap& notes = results.back().notes;
    EXPECT_EQ(namesToString(melodyNames(notes)), namesToString(melodyNames(played)));
    // Recording time 0 is the first sample that went into the FIFO, so the notes start
    // where the phrase put them: within one analysis frame (1024 samples, 23 ms), since a
    // legato change shows once about half a frame holds the new note.
    for (auto found = notes.begin(), expected = played.begin(); found != notes.end() && expected != played.end();
         ++found, ++expected) {
        SCOPED_TRACE(toString(expected->second));
        EXPECT_NEAR(found->first, expected->first, 0.023f);
    }
    EXPECT_LT(results.back().time_s, audio_s + 0.05f);
}
