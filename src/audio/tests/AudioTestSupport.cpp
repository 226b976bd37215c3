#include "AudioTestSupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QProcess>
#include <QTimer>

#include <cmath>

bool waitFor(const std::function<bool()>& done, int timeout_ms)
{
    QDeadlineTimer deadline(timeout_ms);
    // Wakes the loop once at the deadline; every other wake-up is a real event.
    QTimer wake;
    wake.setSingleShot(true);
    wake.start(timeout_ms);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

void runOnThreadOf(QObject* obj, const std::function<void()>& f)
{
    if (QThread::currentThread() == obj->thread())
        f();
    else
        QMetaObject::invokeMethod(obj, f, Qt::BlockingQueuedConnection);
}

namespace {
QMutex gLogMutex;
QStringList gLog;
QtMessageHandler gPreviousHandler = nullptr;

void captureMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    {
        QMutexLocker lock(&gLogMutex);
        gLog.append(message);
    }
    if (gPreviousHandler)
        gPreviousHandler(type, context, message);
}
} // namespace

LogCapture::LogCapture()
{
    QMutexLocker lock(&gLogMutex);
    gLog.clear();
    gPreviousHandler = qInstallMessageHandler(captureMessage);
}

LogCapture::~LogCapture() { qInstallMessageHandler(gPreviousHandler); }

QStringList LogCapture::messages() const
{
    QMutexLocker lock(&gLogMutex);
    return gLog;
}

int LogCapture::count(const QString& message) const { return messages().count(message); }

namespace pulseTest {

QString unavailableReason()
{
    if (qEnvironmentVariableIsEmpty("PULSE_SERVER") || qEnvironmentVariableIsEmpty("PA_DIR"))
        return "no PulseAudio test daemon: run the tests through scripts/test.sh, which starts one "
               "with scripts/pulse-test-env.sh";
    if (!QFileInfo(fifoPath()).exists())
        return "the pipe source's FIFO " + fifoPath() + " is missing";
    QProcess pactl;
    pactl.start("pactl", {"info"});
    if (!pactl.waitForStarted(5000))
        return "pactl is not installed (Debian package pulseaudio-utils)";
    if (!pactl.waitForFinished(10000) || pactl.exitCode() != 0)
        return "the PulseAudio daemon at " + qEnvironmentVariable("PULSE_SERVER") + " does not answer";
    return QString();
}

QString fifoPath() { return qEnvironmentVariable("PA_DIR") + "/mic.fifo"; }

} // namespace pulseTest

FifoFeeder::FifoFeeder(QString fifoPath, QByteArray pcm, int sampleRate_Hz, int chunk_ms)
    : mFifoPath(fifoPath)
    , mPcm(pcm)
    , mChunk_B(qint64(sampleRate_Hz) * chunk_ms / 1000 * 2)
    , mChunk_ms(chunk_ms)
{
    mWritten.resize(size_t((mPcm.size() + mChunk_B - 1) / mChunk_B));
}

FifoFeeder::~FifoFeeder()
{
    if (mThread.joinable())
        mThread.join();
}

void FifoFeeder::start()
{
    mThread = std::thread([this] { run(); });
}

bool FifoFeeder::finish()
{
    if (mThread.joinable())
        mThread.join();
    return mOk;
}

FifoFeeder::Clock::time_point FifoFeeder::writeTime(qint64 offset_B) const
{
    return mWritten.at(size_t(offset_B / mChunk_B));
}

void FifoFeeder::run()
{
    QFile fifo(mFifoPath);
    if (!fifo.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        mOk = false;
        return;
    }
    // Real-time pace: chunk i goes in at i chunk durations from the start, as a sound card
    // would deliver it. This paces the source; nothing waits on it.
    const Clock::time_point begin = Clock::now();
    for (size_t i = 0; i < mWritten.size(); ++i) {
        std::this_thread::sleep_until(begin + std::chrono::milliseconds(mChunk_ms) * i);
        const QByteArray chunk = mPcm.mid(int(qint64(i) * mChunk_B), int(mChunk_B));
        mWritten[i] = Clock::now();
        if (fifo.write(chunk) != chunk.size()) {
            mOk = false;
            return;
        }
    }
}

QByteArray chanterTone(float frequency_Hz, float duration_s, int sampleRate_Hz, float amplitude)
{
    // Harmonic weights of a chanter: the fundamental well below the 3rd to 5th harmonics.
    const float weights[] = {0.2f, 0.5f, 1.0f, 0.9f, 0.7f, 0.3f};
    const int count = int(duration_s * float(sampleRate_Hz));
    QByteArray pcm(count * 2, '\0');
    qint16* samples = reinterpret_cast<qint16*>(pcm.data());
    float total = 0.0f;
    for (float w : weights)
        total += w;
    for (int i = 0; i < count; ++i) {
        const double t = double(i) / sampleRate_Hz;
        double v = 0.0;
        for (int h = 0; h < 6; ++h)
            v += weights[h] * std::sin(2.0 * M_PI * frequency_Hz * (h + 1) * t);
        samples[i] = qint16(std::lround(amplitude * v / total));
    }
    return pcm;
}
