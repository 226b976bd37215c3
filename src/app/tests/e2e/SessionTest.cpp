// A real session with the real executable: a virtual X screen, keys through XTEST, a tune
// played into the test daemon's microphone, the window closed as a window manager closes it.

#include "AppLauncher.h"
#include "AudioTestSupport.h"
#include "ChanterSynthesiser.h"
#include "CliRun.h"
#include "KestoFileCmk.h"
#include "NotesTable.h"
#include "PollUntil.h"
#include "Screenshot.h"
#include "WindowCloser.h"
#include "XdotoolDriver.h"
#include "XvfbDisplay.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <iostream>
#include <memory>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int kRate_Hz = 44100;
// Bounds for failures only: a window that never comes, an application that never exits.
constexpr int kWindow_ms = 30000;
constexpr int kExit_ms = 30000;

// Four bars of a march with a few gracings, low A at 440 Hz, about 9.3 s with the rests
// before and after.
ChanterSynthesiser tune()
{
    PipeTuning tuning;
    tuning.setLowA_Hz(440.0f);
    ChanterSynthesiser synth(kRate_Hz, tuning);
    synth.setDrones(0.2);
    synth.setNoise(0.01, 1964);
    synth.rest(0.3);
    const double crotchet_s = 0.75, quaver_s = 0.375;
    synth.play(LA, crotchet_s, gg);
    synth.play(B, quaver_s);
    synth.play(C, crotchet_s, dbc);
    synth.play(LA, quaver_s);
    synth.play(E, crotchet_s, gg);
    synth.play(F, quaver_s);
    synth.play(HA, crotchet_s);
    synth.play(HG, quaver_s);
    synth.play(F, crotchet_s, dbf);
    synth.play(E, quaver_s);
    synth.play(D, crotchet_s, thrd);
    synth.play(B, quaver_s);
    synth.play(C, crotchet_s, gg);
    synth.play(LA, 1.0);
    // Trailing silence: the last note ends well before what may still be in flight when the
    // recording stops.
    synth.rest(0.5);
    return synth;
}

double seconds(qint64 bytes) { return double(bytes) / 2.0 / kRate_Hz; }

// What the daemon's pipe source has not read yet from the FIFO; -1 if it cannot be asked.
qint64 bytesWaitingIn(const QString& fifo)
{
    const int fd = ::open(fifo.toLocal8Bit().constData(), O_WRONLY | O_NONBLOCK);
    if (fd < 0)
        return -1;
    int waiting = 0;
    const int result = ::ioctl(fd, FIONREAD, &waiting);
    ::close(fd);
    return result == 0 ? waiting : -1;
}

// Whether the process has a running (uncorked) record stream on the test daemon.
bool recordsFromDaemon(pid_t pid)
{
    QProcess pactl;
    pactl.start("pactl", {"list", "source-outputs"});
    if (!pactl.waitForFinished(10000) || pactl.exitCode() != 0)
        return false;
    const QString text = QString::fromUtf8(pactl.readAllStandardOutput());
    for (const QString& block : text.split("Source Output #", Qt::SkipEmptyParts))
        if (block.contains(QString("application.process.id = \"%1\"").arg(pid)) && block.contains("Corked: no"))
            return true;
    return false;
}

std::string joined(const std::vector<PipeNoteName>& names)
{
    std::string text;
    for (PipeNoteName name : names)
        text += (text.empty() ? "" : " ") + toString(name);
    return text;
}

} // namespace

class SessionTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (const QString& why :
            {pulseTest::unavailableReason(), XvfbDisplay::unavailableReason(), XdotoolDriver::unavailableReason()})
            if (!why.isEmpty())
                GTEST_SKIP() << why.toStdString();
        QString error;
        ASSERT_TRUE(mDisplay.start(error)) << error.toStdString();
        mX = std::make_unique<XdotoolDriver>(mDisplay.name());
    }

    void TearDown() override
    {
        if (HasFailure())
            std::cout << "--- application log (" << mApp.logFile().toStdString() << ")\n"
                      << mApp.log().toStdString() << "---\n";
    }

    // Starts the application, records pcm between two presses of space and closes the
    // window as a window manager would; then the process must have exited cleanly.
    void recordSession(const QByteArray& pcm, const QString& screenshot = QString())
    {
        QString error;
        ASSERT_TRUE(mApp.start(mDisplay.name(), error)) << error.toStdString();
        const unsigned long window = mX->findWindow("^Ceolmark$", kWindow_ms, error);
        ASSERT_NE(window, 0ul) << error.toStdString();
        // The pipe source drops what it reads while no stream records from it: the feed may
        // only begin once the application's capture is running.
        ASSERT_TRUE(pollUntil([&] { return recordsFromDaemon(mApp.pid()); }, kWindow_ms, 50))
            << "the application opened no running record stream on the test daemon";
        ASSERT_TRUE(mX->focus(window, error)) << error.toStdString();
        ASSERT_TRUE(mX->key("space", error)) << error.toStdString();

        FifoFeeder feeder(pulseTest::fifoPath(), pcm, kRate_Hz);
        feeder.start();
        ASSERT_TRUE(feeder.finish()) << "the FIFO " << pulseTest::fifoPath().toStdString() << " could not be written";
        // Once the daemon has read the FIFO, only its short delivery to the application is
        // still on the way, and the trailing silence covers it.
        ASSERT_TRUE(pollUntil([] { return bytesWaitingIn(pulseTest::fifoPath()) == 0; }, 10000))
            << "the daemon did not read the FIFO to its end";
        ASSERT_TRUE(mX->key("space", error)) << error.toStdString();

        if (!screenshot.isEmpty())
            takeSettledScreenshot(window, screenshot);

        ASSERT_TRUE(WindowCloser::requestClose(mDisplay.name(), window, error)) << error.toStdString();
        const bool exited = mApp.waitForExit(kExit_ms);
        // One line per run, read by scripts/app-exit-check.sh.
        std::cout << "application: " << mApp.exitDescription().toStdString() << std::endl;
        ASSERT_TRUE(exited) << "no exit within " << kExit_ms << " ms of WM_DELETE_WINDOW";
        EXPECT_TRUE(mApp.exitedNormally()) << mApp.exitDescription().toStdString();
        EXPECT_EQ(mApp.exitCode(), 0) << mApp.exitDescription().toStdString();
    }

    // The window once two pictures in a row are the same, so that it shows what stopping drew
    // (at most a few tries: a blinking cursor may never hold still).
    void takeSettledScreenshot(unsigned long window, const QString& path)
    {
        QString error;
        QImage previous;
        for (int i = 0; i < 10; ++i) {
            ASSERT_TRUE(Screenshot::ofWindow(mDisplay.name(), window, path, error)) << error.toStdString();
            const QImage current(path);
            ASSERT_FALSE(current.isNull()) << "unreadable picture " << path.toStdString();
            if (current == previous)
                break;
            previous = current;
        }
        std::cout << "window picture: " << path.toStdString() << "\n";
    }

    // The one recording the application autosaved.
    void autosaved(KestoFileCmk& recording, QString& path)
    {
        const QStringList files = QDir(mApp.autosaveFolder()).entryList({"*.cmk"}, QDir::Files);
        ASSERT_EQ(files.size(), 1) << "in " << mApp.autosaveFolder().toStdString() << ": "
                                   << files.join(", ").toStdString();
        path = QDir(mApp.autosaveFolder()).filePath(files.first());
        QString error;
        ASSERT_TRUE(recording.open(path, error)) << path.toStdString() << ": " << error.toStdString();
        ASSERT_GT(recording.recordingFrequency_Hz(), 0);
    }

    XvfbDisplay mDisplay;
    std::unique_ptr<XdotoolDriver> mX;
    AppLauncher mApp{CEOLMARK_APP};
};

TEST_F(SessionTest, RecordsAndAutosavesOnClose)
{
    const ChanterSynthesiser synth = tune();
    const QByteArray pcm = toBytes(synth.render());
    ASSERT_NO_FATAL_FAILURE(recordSession(pcm, qEnvironmentVariable("CEOLMARK_E2E_SCREENSHOT")));

    EXPECT_TRUE(QFileInfo::exists(mApp.settingsFile())) << "no settings at " << mApp.settingsFile().toStdString();

    KestoFileCmk recording;
    QString path;
    ASSERT_NO_FATAL_FAILURE(autosaved(recording, path));
    const double recorded_s = double(recording.sampleCount()) / recording.recordingFrequency_Hz();
    std::cout << QFileInfo(path).fileName().toStdString() << ": " << recorded_s << " s recorded of "
              << seconds(pcm.size()) << " s fed; the samples "
              << (pcm.startsWith(recording.audioData()) ? "are" : "are not") << " the start of what was fed\n";
    // Everything fed went in between the two presses: nothing before it, nothing after.
    EXPECT_NEAR(recorded_s, seconds(pcm.size()), 0.2);

    QTemporaryDir dir;
    const QString table = dir.filePath("notes.tsv");
    const CliRun run = runCli({"transcribe", path, "--low-a", "440", "--notes", table});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    NoteMap melody, grace;
    QString error;
    ASSERT_TRUE(NotesTable::read(table, melody, grace, error)) << error.toStdString();
    EXPECT_EQ(joined(melodyNames(melody)), joined(melodyNames(synth.melodyNotes())));
    // The recording starts where the feed did: the first note where it was played.
    ASSERT_FALSE(melody.empty());
    EXPECT_NEAR(melody.begin()->second.start_s(), synth.melodyNotes().begin()->second.start_s(), 0.05);
}

// The run that scripts/app-exit-check.sh repeats: a second of tone, then close.
TEST_F(SessionTest, ExitsCleanlyAfterAShortRecording)
{
    const QByteArray pcm = chanterTone(440.0f, 1.0f, kRate_Hz) + silence(0.5f, kRate_Hz);
    ASSERT_NO_FATAL_FAILURE(recordSession(pcm));
    KestoFileCmk recording;
    QString path;
    ASSERT_NO_FATAL_FAILURE(autosaved(recording, path));
    EXPECT_NEAR(double(recording.sampleCount()) / recording.recordingFrequency_Hz(), seconds(pcm.size()), 0.2);
}
