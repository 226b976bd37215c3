// Without any audio device the recorder and the player must fail quietly: log lines, no
// data, no crash, no hang. Qt's audio back ends are process-wide, so each case runs in a
// fresh child process (a death test) with the devices taken away before Qt looks for them.

#include "AudioPlayer.h"
#include "AudioRecorder.h"
#include "AudioRecorderWrapper.h"
#include "AudioTestSupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLibraryInfo>
#include <QTemporaryDir>

#include <csignal>
#include <unistd.h>

namespace {

enum class NoDevice {
    NoAudioPlugin,
    SoundServerGone,
};

// In the child: take the devices away. Must run before anything asks Qt for a device.
void removeAudioDevices(NoDevice how, const QString& pluginDir)
{
    // A hang would otherwise hold the test until ctest's timeout.
    alarm(30);
    if (how == NoDevice::NoAudioPlugin) {
        QCoreApplication::setLibraryPaths({pluginDir});
    } else {
        QCoreApplication::setLibraryPaths({pluginDir});
        qputenv("PULSE_SERVER", "unix:/nonexistent/ceolmark-test-socket");
    }
}

// A plugin folder that holds only Qt's PulseAudio back end, or nothing.
QString makePluginDir(NoDevice how, const QTemporaryDir& dir)
{
    const QString audioDir = dir.path() + "/audio";
    QDir().mkpath(audioDir);
    if (how == NoDevice::SoundServerGone) {
        const QString pulse = QLibraryInfo::location(QLibraryInfo::PluginsPath) + "/audio/libqtmedia_pulse.so";
        if (!QFile::link(pulse, audioDir + "/libqtmedia_pulse.so"))
            return QString();
    }
    return dir.path();
}

int recordWithoutDevice(NoDevice how, const QString& pluginDir)
{
    removeAudioDevices(how, pluginDir);
    AudioRecorderWrapper wrapper;
    ScopedThread recordingThread;
    wrapper.moveToThread(&recordingThread);
    int batches = 0;
    QObject::connect(&wrapper, &AudioRecorderWrapper::dataReceived, [&] { ++batches; });
    wrapper.initialise();
    wrapper.start(QString(), 44100, 2048);
    wrapper.enableHistoricRecording(true);
    runOnThreadOf(&wrapper, [] {});
    QCoreApplication::processEvents();
    const bool quiet = batches == 0 && wrapper.recordedData().isEmpty() && wrapper.getElapsed_s() == 0.0f;
    wrapper.stop();
    runOnThreadOf(&wrapper, [] {});
    return quiet ? 0 : 1;
}

int playWithoutDevice(NoDevice how, const QString& pluginDir)
{
    removeAudioDevices(how, pluginDir);
    int reports = 0;
    {
        AudioPlayer player;
        QObject::connect(&player, &AudioPlayer::dataPlayed, [&] { ++reports; });
        QObject::connect(&player, &AudioPlayer::audioFinished, [&] { ++reports; });
        player.setSamplingRate_Hz(44100);
        player.setAudioData(chanterTone(440.0f, 0.5f, 44100));
        player.seek(0.1f);
        player.pause();
        runOnThreadOf(&player, [] {});
    }
    QCoreApplication::processEvents();
    return reports == 0 ? 0 : 1;
}

class NoAudioDevice : public ::testing::TestWithParam<NoDevice> {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDir.isValid());
        mPluginDir = makePluginDir(GetParam(), mDir);
        if (mPluginDir.isEmpty())
            GTEST_SKIP() << "Qt's PulseAudio back end is not installed (libqt5multimedia5-plugins)";
    }
    QTemporaryDir mDir;
    QString mPluginDir;
};

} // namespace

TEST_P(NoAudioDevice, RecorderLogsTheFailureAndDeliversNothing)
{
    EXPECT_EXIT(exitWithoutStaticTeardown(recordWithoutDevice(GetParam(), mPluginDir)), ::testing::ExitedWithCode(0),
        "INITIALISE to 44100 Hz.*STARTING \\(State is 2\\).*"
        "Audio stopped\\. Error was: An error opening the audio device.*Stopping audio recording");
}

TEST_P(NoAudioDevice, PlayerLogsTheFailureAndStaysSilent)
{
    EXPECT_EXIT(exitWithoutStaticTeardown(playWithoutDevice(GetParam(), mPluginDir)), ::testing::ExitedWithCode(0),
        "raw audio format not supported by backend, cannot play audio\\. Device is");
}

INSTANTIATE_TEST_SUITE_P(, NoAudioDevice, ::testing::Values(NoDevice::NoAudioPlugin, NoDevice::SoundServerGone),
    [](const ::testing::TestParamInfo<NoDevice>& info) {
        return info.param == NoDevice::NoAudioPlugin ? std::string("NoAudioPlugin") : std::string("SoundServerGone");
    });
