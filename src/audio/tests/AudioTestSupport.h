#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>

#include "PipeNote.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

// Ends the process with status without running static destructors. Qt's PulseAudio back
// end stops its mainloop thread from one, and at exit that can race the thread itself (an
// abort in pa_mainloop_poll) after every test has passed.
[[noreturn]] void exitWithoutStaticTeardown(int status);

// Runs the calling thread's event loop until done() holds, checking after every event.
// The timeout only bounds a failure; it paces nothing. False on timeout.
bool waitFor(const std::function<bool()>& done, int timeout_ms = 20000);

// Runs f on obj's thread and returns when it has run: everything queued to obj before it
// has run as well.
void runOnThreadOf(QObject* obj, const std::function<void()>& f);

// Collects the Qt log messages of any thread while it exists, and still prints them.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    QStringList messages() const;
    int count(const QString& message) const;
};

// A worker thread that quits and is waited for when it goes out of scope.
class ScopedThread : public QThread {
public:
    ScopedThread() { start(); }
    ~ScopedThread() override
    {
        quit();
        wait();
    }
};

// The PulseAudio daemon that scripts/test.sh starts for the tests: a pipe source fed
// through a FIFO is the default input and a null sink the default output.
namespace pulseTest {
// Empty when the daemon answers; otherwise why the real-audio tests have to skip.
QString unavailableReason();
// The FIFO behind the default input.
QString fifoPath();
} // namespace pulseTest

// Writes raw s16le mono samples into a FIFO at real-time pace from a thread of its own, as
// a microphone would deliver them, and notes when each chunk went in.
class FifoFeeder {
public:
    using Clock = std::chrono::steady_clock;

    FifoFeeder(QString fifoPath, QByteArray pcm, int sampleRate_Hz, int chunk_ms = 20);
    ~FifoFeeder();

    void start();
    // Blocks until every chunk has been written; false if the FIFO could not be written.
    bool finish();
    // When the chunk holding byte offset_B was written.
    Clock::time_point writeTime(qint64 offset_B) const;
    qint64 chunkSize_B() const { return mChunk_B; }

private:
    void run();

    QString mFifoPath;
    QByteArray mPcm;
    qint64 mChunk_B;
    int mChunk_ms;
    std::vector<Clock::time_point> mWritten;
    std::atomic<bool> mOk{true};
    std::thread mThread;
};

// A steady chanter tone (weak fundamental, strong 3rd to 5th harmonics), 16-bit mono.
QByteArray chanterTone(float frequency_Hz, float duration_s, int sampleRate_Hz, float peak = 8000.0f);

// Samples as the bytes a device delivers.
QByteArray toBytes(const std::vector<short>& samples);

// Silence, for the time after a phrase.
QByteArray silence(float duration_s, int sampleRate_Hz);

// The melody note names of a map in time order.
std::vector<PipeNoteName> melodyNames(const NoteMap& notes);

// True if notes holds a note named name starting within tolerance_s of start_s.
bool holdsNote(const NoteMap& notes, PipeNoteName name, float start_s, float tolerance_s);

// For the measuring programs in bench/.
// The calling thread's kernel id, for threadCpu_s.
long currentThreadId();
// utime + stime of one thread of this process, in seconds (0 if it is gone).
double threadCpu_s(long tid);
// The value at fraction p (0..1) of the sorted values, nearest rank; 0 for none.
double percentile(std::vector<double> values, double p);
