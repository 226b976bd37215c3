#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include <atomic>

class AudioRecorder;

// The interface thread's handle on the recorder. Move the wrapper to the recording thread
// before initialise(); it makes the recorder there as its child.
//
// Threads: initialise, start and stop may be called from any thread; off the wrapper's
// thread they re-post themselves, queued, and return at once. getElapsed_s, recordedData
// and enableHistoricRecording are called directly from the interface thread and rely on
// the recorder's own lock; before initialise they return 0, an empty array, or do nothing.
// recorder() is for wiring the processor: the pointer stays valid until the wrapper dies.
class AudioRecorderWrapper : public QObject {
    Q_OBJECT

public:
    explicit AudioRecorderWrapper(QObject* parent = nullptr);

    Q_INVOKABLE void initialise();
    // Restarts the input on the named device at sampleRate_Hz with batches of `frames`
    // samples; an unknown name keeps the current device.
    Q_INVOKABLE void start(QString deviceName, int sampleRate_Hz, int frames);
    Q_INVOKABLE void stop();

    float getElapsed_s() const;
    QByteArray recordedData() const;
    void enableHistoricRecording(bool enable);

    AudioRecorder* recorder() const { return mRecorder.load(); }

signals:
    void initialised();
    void dataReceived(qint64 bytes, bool historic);
    void firstDataReceived();

private:
    bool onOwnThread() const;

    // Set once on the recording thread, read from the interface thread.
    std::atomic<AudioRecorder*> mRecorder{nullptr};
};
