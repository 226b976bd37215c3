#pragma once

#include <QAudio>
#include <QAudioDeviceInfo>
#include <QAudioFormat>
#include <QByteArray>
#include <QMutex>
#include <QObject>

#include <atomic>

class QAudioInput;
class QIODevice;

// Takes mono 16-bit PCM from one QAudioInput and cuts it into batches of a fixed size.
// Live mode keeps only the newest batch (for the volume meter); recording mode keeps every
// batch, and that growing array is the recording, the processing thread's source and the
// metronome's clock. The device never stops when the mode changes.
//
// Threads: the recorder lives on the recording thread and everything runs there, except
// recordedData, getRecentData and getLiveBytesReceived (processing thread) and
// getElapsed_s and enableHistoricRecording (interface thread), which are safe anywhere.
// Failures (no device, a device that won't open) show only in the log.
class AudioRecorder : public QObject {
    Q_OBJECT

public:
    explicit AudioRecorder(QObject* parent = nullptr);
    ~AudioRecorder() override;

    // Makes the input for the chosen device at sampleRate_Hz; a batch is `frames` samples.
    // Returns true.
    bool initialise(int sampleRate_Hz, int frames);
    // Takes the input device of that name; an unknown or empty name keeps the device.
    void setAudioDevice(QString name);
    void start();
    void stop();
    void restart(QString deviceName, int sampleRate_Hz, int frames);

    // Any thread. A copy (implicitly shared: cheap until the next append).
    QByteArray recordedData() const;
    // Any thread. The bytes from position_B to the end; empty if there are none.
    QByteArray getRecentData(qint64 position_B) const;
    // Any thread. Bytes that passed in live mode since the mode began.
    qint64 getLiveBytesReceived() const;
    // Any thread, lock-free. Duration of recordedData in seconds: the audio clock of a
    // recording, counting only samples that have been delivered.
    float getElapsed_s() const;
    // Any thread. Enabling empties the recording; either way the live count restarts at 0.
    // Takes effect between two batches.
    void enableHistoricRecording(bool enable);
    bool isHistoricRecordingEnabled() const { return mHistoric.load(); }

    bool isRecording() const { return mRecording; }
    int batchSize_B() const { return mBatchSize_B; }

    // Recording thread. Cuts bytes that came from the input into batches and emits one
    // dataReceived per batch; a remainder shorter than a batch waits for the next call.
    // audioDataReady feeds it from the device.
    void acceptData(const QByteArray& bytes);

    // The log text for an input or output error; the empty string for NoError.
    static QString errorText(QAudio::Error error);

signals:
    // bytes: in recording mode the size of the recording, in live mode the live byte count.
    void dataReceived(qint64 bytes, bool historic);
    // The first audio of a recording arrived: the metronome starts on it.
    void firstDataReceived();

private slots:
    void audioDataReady();
    void audioStateChanged(QAudio::State state);

private:
    void createInput();

    mutable QMutex mMutex;
    QAudioInput* mAudioInput = nullptr;
    QIODevice* mAudioDevice = nullptr;
    QAudioDeviceInfo mDeviceInfo;
    QAudioFormat mFormat;
    QByteArray mRecordedData;
    // Mirrors of the recording's size and the rate, so getElapsed_s needs no lock.
    std::atomic<qint64> mRecordedSize_B{0};
    std::atomic<int> mSampleRate_Hz{0};
    bool mRecording = false;
    std::atomic<bool> mHistoric{false};
    qint64 mLiveBytesReceived = 0;
    QByteArray mScratch;
    int mBatchSize_B = 0;
    bool mFirstDataReceived = false;
};
