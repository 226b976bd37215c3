#include "AudioRecorder.h"
#include "AudioRecorderWrapper.h"
#include "AudioTestSupport.h"

#include <gtest/gtest.h>

#include <QVector>

namespace {

constexpr int kRate_Hz = 44100;
constexpr int kFrames = 2048;
constexpr int kBatch_B = 4096;

struct Emission {
    qint64 bytes;
    bool historic;
    bool operator==(const Emission& o) const { return bytes == o.bytes && historic == o.historic; }
};

std::ostream& operator<<(std::ostream& os, const Emission& e)
{
    return os << "{" << e.bytes << (e.historic ? ", historic}" : ", live}");
}

QByteArray countingBytes(int size, int seed = 0)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char((i * 7 + seed) & 0xff);
    return bytes;
}

} // namespace

TEST(AudioRecorder, CutsReadsIntoBatches)
{
    struct Case {
        const char* name;
        bool historic;
        std::vector<int> reads_B;
        std::vector<Emission> expected;
        int recordedSize_B;
        qint64 live_B;
    };
    const Case cases[] = {
        {"short read waits for the rest", true, {1000}, {}, 0, 0},
        {"short reads complete a batch", true, {1000, 3096}, {{4096, true}}, 4096, 0},
        {"several batches in one read", true, {3 * kBatch_B + 10}, {{4096, true}, {8192, true}, {12288, true}}, 12288,
            0},
        {"remainder joins the next read", true, {3 * kBatch_B + 10, kBatch_B - 10},
            {{4096, true}, {8192, true}, {12288, true}, {16384, true}}, 16384, 0},
        {"live mode keeps the newest batch", false, {2 * kBatch_B + 100}, {{4096, false}, {8192, false}}, 4096, 8192},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        AudioRecorder recorder;
        recorder.initialise(kRate_Hz, kFrames);
        ASSERT_EQ(recorder.batchSize_B(), kBatch_B);
        recorder.enableHistoricRecording(c.historic);
        std::vector<Emission> emitted;
        QObject::connect(&recorder, &AudioRecorder::dataReceived, [&](qint64 bytes, bool historic) {
            emitted.push_back({bytes, historic});
        });
        QByteArray fed;
        for (int size : c.reads_B) {
            const QByteArray read = countingBytes(size, fed.size());
            fed.append(read);
            recorder.acceptData(read);
        }
        EXPECT_EQ(emitted, c.expected);
        const QByteArray recorded = recorder.recordedData();
        ASSERT_EQ(recorded.size(), c.recordedSize_B);
        if (c.historic) {
            EXPECT_EQ(recorded, fed.left(c.recordedSize_B));
        } else if (!recorded.isEmpty()) {
            EXPECT_EQ(recorded, fed.mid(int(c.live_B) - kBatch_B, kBatch_B)) << "not the newest batch";
        }
        EXPECT_EQ(recorder.getLiveBytesReceived(), c.live_B);
    }
}

TEST(AudioRecorder, ModeSwitchesResetRecordingClockAndFirstData)
{
    AudioRecorder recorder;
    recorder.initialise(kRate_Hz, kFrames);
    int firsts = 0;
    QObject::connect(&recorder, &AudioRecorder::firstDataReceived, [&] { ++firsts; });
    const float batch_s = float(kBatch_B) / (2.0f * kRate_Hz);

    recorder.acceptData(countingBytes(3 * kBatch_B));
    EXPECT_FLOAT_EQ(recorder.getElapsed_s(), batch_s) << "live mode holds one batch";
    EXPECT_EQ(recorder.getLiveBytesReceived(), 3 * kBatch_B);
    EXPECT_EQ(firsts, 0) << "live audio is not the start of a recording";

    recorder.enableHistoricRecording(true);
    EXPECT_EQ(recorder.getElapsed_s(), 0.0f);
    EXPECT_EQ(recorder.getLiveBytesReceived(), 0);
    recorder.acceptData(countingBytes(10)); // less than a batch still starts the metronome
    EXPECT_EQ(firsts, 1);
    recorder.acceptData(countingBytes(2 * kBatch_B - 10));
    EXPECT_FLOAT_EQ(recorder.getElapsed_s(), 2 * batch_s);
    EXPECT_EQ(firsts, 1);

    recorder.enableHistoricRecording(true);
    EXPECT_TRUE(recorder.recordedData().isEmpty()) << "enabling again empties the recording again";
    recorder.acceptData(countingBytes(kBatch_B));
    EXPECT_EQ(firsts, 2) << "a new recording announces its first data again";

    recorder.enableHistoricRecording(false);
    EXPECT_EQ(recorder.recordedData().size(), kBatch_B) << "leaving recording mode keeps the recording";
    recorder.acceptData(countingBytes(kBatch_B, 5));
    EXPECT_EQ(recorder.recordedData(), countingBytes(kBatch_B, 5));
    EXPECT_EQ(recorder.getLiveBytesReceived(), kBatch_B);
}

// The real input: the test daemon's pipe source, fed at real-time pace.
TEST(AudioRecorderOnDevice, CapturesWhatTheMicrophoneDeliversAcrossAModeSwitch)
{
    const QString why = pulseTest::unavailableReason();
    if (!why.isEmpty())
        GTEST_SKIP() << why.toStdString();

    AudioRecorderWrapper wrapper; // outlives the thread, which ends first
    ScopedThread recordingThread;
    wrapper.moveToThread(&recordingThread);
    QVector<Emission> emitted;
    int firsts = 0;
    QObject context;
    QObject::connect(&wrapper, &AudioRecorderWrapper::dataReceived, &context, [&](qint64 bytes, bool historic) {
        emitted.append({bytes, historic});
    });
    QObject::connect(&wrapper, &AudioRecorderWrapper::firstDataReceived, &context, [&] { ++firsts; });
    bool initialised = false;
    QObject::connect(&wrapper, &AudioRecorderWrapper::initialised, &context, [&] { initialised = true; });

    wrapper.initialise();
    wrapper.start(QString(), kRate_Hz, kFrames);
    ASSERT_TRUE(waitFor([&] { return initialised; }));
    runOnThreadOf(&wrapper, [] {}); // start has run
    ASSERT_TRUE(wrapper.recorder()->isRecording());

    // Half a second of live audio: 10 whole batches and 3140 bytes that wait in the scratch.
    const QByteArray live = chanterTone(440.0f, 0.5f, kRate_Hz);
    const QByteArray recording = chanterTone(660.0f, 1.0f, kRate_Hz);
    const qint64 liveBatches_B = live.size() / kBatch_B * kBatch_B;
    {
        FifoFeeder feeder(pulseTest::fifoPath(), live, kRate_Hz);
        feeder.start();
        ASSERT_TRUE(feeder.finish());
    }
    ASSERT_TRUE(waitFor([&] { return !emitted.isEmpty() && emitted.last().bytes == liveBatches_B; }))
        << "live bytes seen: " << (emitted.isEmpty() ? 0 : emitted.last().bytes);
    for (int i = 0; i < emitted.size(); ++i)
        EXPECT_EQ(emitted[i], (Emission{kBatch_B * (i + 1), false}));
    EXPECT_EQ(firsts, 0);

    wrapper.enableHistoricRecording(true);
    EXPECT_EQ(wrapper.getElapsed_s(), 0.0f);
    emitted.clear();
    {
        FifoFeeder feeder(pulseTest::fifoPath(), recording, kRate_Hz);
        feeder.start();
        ASSERT_TRUE(feeder.finish());
    }
    // The live remainder leads the recording: it was in the scratch when the mode changed.
    const QByteArray expected = (live.mid(int(liveBatches_B)) + recording);
    const qint64 expected_B = expected.size() / kBatch_B * kBatch_B;
    ASSERT_TRUE(waitFor([&] { return !emitted.isEmpty() && emitted.last().bytes == expected_B; }))
        << "recorded bytes seen: " << (emitted.isEmpty() ? 0 : emitted.last().bytes);
    for (int i = 0; i < emitted.size(); ++i)
        EXPECT_EQ(emitted[i], (Emission{kBatch_B * (i + 1), true}));
    EXPECT_EQ(firsts, 1);
    EXPECT_TRUE(wrapper.recordedData() == expected.left(int(expected_B))) << "the device altered the samples";
    EXPECT_FLOAT_EQ(wrapper.getElapsed_s(), float(expected_B) / (2.0f * kRate_Hz));

    wrapper.stop();
    runOnThreadOf(&wrapper, [] {});
    EXPECT_FALSE(wrapper.recorder()->isRecording());
}
