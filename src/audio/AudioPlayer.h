#pragma once

#include <QAudio>
#include <QAudioDeviceInfo>
#include <QByteArray>
#include <QObject>
#include <QString>
#include <QThread>

class QAudioOutput;
class QBuffer;

// Plays a block of mono 16-bit PCM through an output device, on a thread of its own that
// it starts in its constructor, and reports the position while playing.
//
// Threads: the player lives on its own thread. setAudioData, loadFile, seek, start, stop,
// pause, quit, setAudioDevice, setSamplingRate_Hz and setNotifyInterval_ms may be called
// from any thread: off the player's thread they re-post themselves, queued, in call order.
// bufferSubset and time_s read the data and belong to the player's thread, or to a caller
// that knows no setAudioData is under way. Construct without a parent (the player moves
// itself) and destroy from any thread but the player's own: the destructor stops the
// output and waits for the thread.
// Failures: an unsupported format or a missing device leaves the player silent with one
// warning in the log; a file that can't be read gives fileOpened(path, false, 0).
class AudioPlayer : public QObject {
    Q_OBJECT

public:
    AudioPlayer();
    ~AudioPlayer() override;

    // Stops, takes the data and plays it from the start.
    Q_INVOKABLE void setAudioData(QByteArray data);
    // Reads the whole file as raw PCM; with stereo set, keeps the first channel of 16-bit
    // stereo frames. Then plays it.
    Q_INVOKABLE void loadFile(QString path, bool stereo);
    // With an output present, moves playback to `seconds` from the start.
    Q_INVOKABLE void seek(float seconds);
    Q_INVOKABLE void start();
    Q_INVOKABLE void stop();
    // Suspends, or resumes when suspended.
    Q_INVOKABLE void pause();
    // Stops and ends the player's thread.
    Q_INVOKABLE void quit();
    // Ends the player's thread only.
    void finish();

    // The output device of that name; an unknown name keeps the default output.
    Q_INVOKABLE void setAudioDevice(QString name);
    // The rate of the data: 8000 Hz until set.
    Q_INVOKABLE void setSamplingRate_Hz(int rate_Hz);
    // How often dataPlayed is emitted while playing; 10 ms by default.
    Q_INVOKABLE void setNotifyInterval_ms(int interval_ms);

    // The bytes from start_s to end_s; the rest of the data if end_s is not beyond start_s.
    QByteArray bufferSubset(float start_s, float end_s) const;
    // Duration of the data in seconds.
    float time_s() const;

    // What the output holds ahead of what is heard: reported positions lag by this much.
    static constexpr qint64 kOutputLead_B = 20480;

signals:
    // data: the player's own copy, valid until the data is replaced. position_B: the byte
    // being heard. seeked: a seek happened since the last report.
    void dataPlayed(const char* data, qint64 position_B, bool seeked);
    void fileOpened(QString path, bool ok, qint64 size_B);
    // The output ran out of data.
    void audioFinished();
    // The player's thread has ended.
    void allFinished();

private slots:
    void audioNotify();
    void audioStateChanged(QAudio::State state);

private:
    bool onOwnThread() const { return QThread::currentThread() == &mThread; }

    QThread mThread;
    QAudioOutput* mAudioOutput = nullptr;
    int mNotifyInterval_ms = 10;
    int mSamplingRate_Hz = 8000;
    bool mSeeked = false;
    QByteArray mData;
    QBuffer* mBuffer = nullptr;
    QAudioDeviceInfo mDeviceInfo;
};
