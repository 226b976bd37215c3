#include "AudioTestSupport.h"

#include "ChanterSynthesiser.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sys/syscall.h>
#include <unistd.h>

void exitWithoutStaticTeardown(int status)
{
    std::fflush(nullptr);
    std::_Exit(status);
}

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

QByteArray chanterTone(float frequency_Hz, float duration_s, int sampleRate_Hz, float peak)
{
    return toBytes(ChanterSynthesiser::tone(frequency_Hz, sampleRate_Hz, unsigned(duration_s * float(sampleRate_Hz)),
        ChanterSynthesiser::kChanterHarmonics, peak));
}

QByteArray toBytes(const std::vector<short>& samples)
{
    return QByteArray(reinterpret_cast<const char*>(samples.data()), int(samples.size() * sizeof(short)));
}

QByteArray silence(float duration_s, int sampleRate_Hz)
{
    return QByteArray(int(duration_s * float(sampleRate_Hz)) * 2, '\0');
}

std::vector<PipeNoteName> melodyNames(const NoteMap& notes)
{
    std::vector<PipeNoteName> names;
    for (const auto& entry : notes)
        names.push_back(entry.second.noteName());
    return names;
}

bool holdsNote(const NoteMap& notes, PipeNoteName name, float start_s, float tolerance_s)
{
    for (auto it = notes.lower_bound(start_s - tolerance_s); it != notes.end() && it->first <= start_s + tolerance_s;
         ++it) {
        if (it->second.noteName() == name)
            return true;
    }
    return false;
}

long currentThreadId() { return long(syscall(SYS_gettid)); }

double threadCpu_s(long tid)
{
    QFile stat(QString("/proc/self/task/%1/stat").arg(tid));
    if (!stat.open(QIODevice::ReadOnly))
        return 0.0;
    const QString text = QString::fromLatin1(stat.readAll());
    // Fields after the command name, which is in parentheses and may hold spaces.
    const QStringList fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    const double ticks = fields.value(11).toDouble() + fields.value(12).toDouble();
    return ticks / double(sysconf(_SC_CLK_TCK));
}

double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(p * double(values.size() - 1) + 0.5))];
}
