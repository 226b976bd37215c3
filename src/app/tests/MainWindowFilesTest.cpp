#include "WindowFixture.h"

#include "AudioFileReader.h"
#include "AudioProcessor.h"
#include "AudioRecorder.h"
#include "AudioTestSupport.h"
#include "KestoFileCmk.h"
#include "MuseScoreImport.h"
#include "PipeTuning.h"
#include "utils.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QProcess>
#include <QProgressDialog>
#include <QSignalSpy>
#include <QSpinBox>

#include <cmath>

namespace {

// A chanter whose notes sit off the harmonic scale by a few cents each, as a real one does.
PipeTuning playersChanter()
{
    PipeTuning reference;
    reference.setLowA_Hz(466.0f);
    PipeTuning::FrequencyMap notes = reference.getNoteCentreFrequencies();
    const float offsets_cents[] = {-8, 0, 6, -5, 9, 3, -10, 7, -4};
    int i = 0;
    for (auto& note : notes)
        note.second *= std::pow(2.0f, offsets_cents[i++ % 9] / 1200.0f);
    PipeTuning chanter;
    chanter.setTuningScheme(PipeTuning::Measured, notes);
    return chanter;
}

// The scale from low G to high A, each note held 0.7 s; without `skipped` when given.
QByteArray playedScale(const PipeTuning& chanter, PipeNoteName skipped = Unknown)
{
    ChanterSynthesiser piper(kTestRate_Hz, chanter);
    piper.rest(0.3);
    for (PipeNoteName note : {LG, LA, B, C, D, E, F, HG, HA})
        if (note != skipped)
            piper.play(note, 0.7);
    piper.rest(0.5);
    return toBytes(piper.render());
}

class WindowFilesTest : public WindowTest {
protected:
    // Hands audio to the window's recorder as the input device would, a batch at a time,
    // each once the processor has analysed the one before: between recordings only the
    // newest batch is analysed.
    void feedInput(MainWindow& window, const QByteArray& pcm)
    {
        AudioThreads& audio = window.audioThreads();
        QTRY_VERIFY(audio.recorderWrapper().recorder() && audio.processor());
        AudioRecorder* recorder = audio.recorderWrapper().recorder();
        runOnThreadOf(recorder, [&] { recorder->initialise(kTestRate_Hz, MainWindow::kFrameSize); });
        QSignalSpy analysed(audio.processor(), &AudioProcessor::dataProcessed);
        const int batch_B = MainWindow::kFrameSize * 2;
        for (int offset = 0; offset + batch_B <= pcm.size(); offset += batch_B) {
            const QByteArray batch = pcm.mid(offset, batch_B);
            runOnThreadOf(recorder, [&] { recorder->acceptData(batch); });
            QTRY_COMPARE(analysed.count(), offset / batch_B + 1);
        }
    }

    void calibrate(MainWindow& window, const QByteArray& scale)
    {
        child<QAction>(window, "calibrate")->trigger();
        QTRY_COMPARE(window.calibrationState(), CalibrationSequence::Collecting);
        feedInput(window, scale);
    }

    void storeSettings(std::initializer_list<std::pair<const char*, QVariant>> values)
    {
        QSettings store;
        for (const auto& value : values)
            store.setValue(value.first, value.second);
    }
};

TEST_F(WindowFilesTest, CalibrationFromAPlayedScaleSetsTheTuning)
{
    storeSettings({{"calibrationCountdown_s", 0}});
    auto window = makeWindow();
    const PipeTuning chanter = playersChanter();
    calibrate(*window, playedScale(chanter));
    QTRY_COMPARE(window->calibrationState(), CalibrationSequence::Finished);
    const PipeTuning::FrequencyMap expected = chanter.getNoteCentreFrequencies();
    const PipeTuning::FrequencyMap found = window->calibratedTuning().getNoteCentreFrequencies();
    for (const auto& note : expected) {
        SCOPED_TRACE(toString(note.first));
        EXPECT_NEAR(utils::freqRatioToCents(found.at(note.first), note.second), 0.0, 2.0);
    }
    EXPECT_EQ(child<QLabel>(*window, "lowA")->text(), QString("Low A = %1 Hz  ").arg(chanter.lowA_Hz(), 0, 'f', 1));
}

TEST_F(WindowFilesTest, CalibrationMissingANoteOrCancelledKeepsTheOldTuning)
{
    storeSettings({{"calibrationCountdown_s", 0}});
    auto window = makeWindow();
    const float lowA_Hz = window->calibratedTuning().lowA_Hz();
    calibrate(*window, playedScale(playersChanter(), F));
    QProgressDialog* dialog = child<QProgressDialog>(*window, "calibrationDialog");
    QTRY_VERIFY(dialog->labelText().contains("Notes detected: 8 of 9"));
    EXPECT_EQ(window->calibrationState(), CalibrationSequence::Collecting);
    dialog->cancel();
    QTRY_COMPARE(window->calibrationState(), CalibrationSequence::Finished);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(window->calibratedTuning().lowA_Hz(), lowA_Hz);
}

TEST_F(WindowFilesTest, CancelDuringTheCountdownKeepsTheOldTuning)
{
    storeSettings({{"calibrationCountdown_s", 30}});
    auto window = makeWindow();
    const float lowA_Hz = window->calibratedTuning().lowA_Hz();
    child<QAction>(*window, "calibrate")->trigger();
    QTRY_COMPARE(window->calibrationState(), CalibrationSequence::Countdown);
    child<QProgressDialog>(*window, "calibrationDialog")->cancel();
    QTRY_COMPARE(window->calibrationState(), CalibrationSequence::Finished);
    EXPECT_EQ(window->calibratedTuning().lowA_Hz(), lowA_Hz);
}

// Each form of "Save as..." writes a file that a reader other than ours accepts, and the
// recording form one that ours opens again.
TEST_F(WindowFilesTest, EveryFormOfSaveAsWritesAReadableFile)
{
    auto window = makeWindow();
    const QByteArray audio = tuneAudio();
    replay(*window, audio);
    const QString folder = QDir::home().filePath("saved");
    QDir().mkpath(folder);
    struct Case {
        QString filter;
        const char* file;
        std::function<void(const QString&)> check;
    };
    const Case cases[] = {
        {MainWindow::cmkFilter, "tune.cmk",
            [&](const QString& path) {
                KestoFileCmk file;
                QString error;
                ASSERT_TRUE(file.open(path, error)) << error.toStdString();
                EXPECT_EQ(file.audioData(), audio);
            }},
        {MainWindow::bwwFilter, "tune.bww",
            [](const QString& path) {
                if (!MuseScoreImport::available())
                    return;
                MuseScoreImport import;
                QString error;
                ASSERT_TRUE(import.import(path, error)) << error.toStdString();
                EXPECT_GE(import.allNotes().size(), 12u);
            }},
        {MainWindow::pngScoreFilter, "score.png", [](const QString& path) { EXPECT_GT(QImage(path).height(), 100); }},
        {MainWindow::pngTimingFilter, "timing.png", [](const QString& path) { EXPECT_GT(QImage(path).height(), 100); }},
        {MainWindow::wavFilter, "tune.wav",
            [&](const QString& path) {
                AudioFileReader reader;
                QString error;
                ASSERT_TRUE(reader.read(path, error)) << error.toStdString();
                EXPECT_EQ(reader.sampleRate_Hz(), kTestRate_Hz);
                EXPECT_EQ(int(reader.samples().size()), audio.size() / 2);
            }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        prompts.saveAnswer = QDir(folder).filePath(c.file);
        prompts.pickedFilter = c.filter;
        child<QAction>(*window, "saveAs")->trigger();
        c.check(prompts.saveAnswer);
        EXPECT_EQ(window->settings().lastSaveFilter, c.filter);
    }
    EXPECT_TRUE(prompts.warnings.isEmpty()) << prompts.warnings.join(", ").toStdString();
}

TEST_F(WindowFilesTest, AStoredForeignFilterFallsBackToTheRecordingForm)
{
    storeSettings({{"lastSaveFilter", "Old files (*.old)"}, {"tuneName", "Mrs. MacPherson's Jig"}});
    auto window = makeWindow();
    replay(*window, tuneAudio());
    child<QAction>(*window, "saveAs")->trigger();
    EXPECT_EQ(prompts.offeredFilter, MainWindow::cmkFilter);
    // The suggested name has lost its punctuation, and the stored name with it.
    EXPECT_EQ(window->settings().tuneName, "Mrs MacPhersons Jig");
}

// A file that can't be used changes nothing: not the recording, the tuning, nor the tune.
TEST_F(WindowFilesTest, AFileThatCannotBeOpenedChangesNothing)
{
    auto window = makeWindow();
    const QByteArray audio = tuneAudio();
    replay(*window, audio);
    KestoFileCmk other;
    other.setAudioData(audio.left(44100));
    other.setRecordingFrequency_Hz(22050);
    other.setTuneName("Other");
    const QString otherRate = QDir::home().filePath("other-rate.cmk");
    QString error;
    ASSERT_TRUE(other.save(otherRate, error));
    other.setRecordingFrequency_Hz(kTestRate_Hz);
    other.setAudioData(QByteArray());
    const QString empty = QDir::home().filePath("empty.cmk");
    ASSERT_TRUE(other.save(empty, error));
    const QString damaged = QDir::home().filePath("damaged.cmk");
    QFile(damaged).remove();
    QFile file(damaged);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("kesto_cmk but not really a recording");
    file.close();

    const struct {
        QString path;
        const char* warning;
    } cases[] = {{otherRate, "Different recording frequency"}, {empty, "Empty recording"},
        {damaged, "Unable to open file"}, {QDir::home().filePath("missing.cmk"), "Unable to open file"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.warning);
        prompts.warnings.clear();
        EXPECT_FALSE(window->openCmk(c.path, false));
        EXPECT_EQ(prompts.warnings, QStringList{c.warning});
        EXPECT_EQ(window->currentRecording(), audio);
        EXPECT_EQ(window->settings().tuneName, "Your Tune");
        EXPECT_FLOAT_EQ(window->calibratedTuning().lowA_Hz(), PipeTuning().lowA_Hz());
        EXPECT_FALSE(window->isReplaying());
    }
}

// Opening a recording transcribes it as the command line does: the same score.
TEST_F(WindowFilesTest, AnOpenedRecordingGivesTheCommandLinesScore)
{
    const QString example = CEOLMARK_EXAMPLE_CMK;
    const QString cliScore = QDir::home().filePath("cli.bww");
    QProcess cli;
    cli.start(CEOLMARK_CLI, {"transcribe", example, "--bww", cliScore});
    ASSERT_TRUE(cli.waitForFinished(120000));
    ASSERT_EQ(cli.exitCode(), 0) << cli.readAllStandardError().toStdString();

    auto window = makeWindow();
    ASSERT_TRUE(window->openCmk(example, true));
    EXPECT_TRUE(window->isReplaying());
    QTRY_VERIFY_WITH_TIMEOUT(!window->isReplaying(), 60000);
    EXPECT_EQ(window->settings().tuneName, "Scotland the Brave");
    EXPECT_EQ(window->settings().lastSaveRawFileName, example);
    const QString windowScore = QDir::home().filePath("window.bww");
    ASSERT_TRUE(window->saveBww(windowScore));
    QFile a(cliScore);
    QFile b(windowScore);
    ASSERT_TRUE(a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly));
    EXPECT_EQ(b.readAll(), a.readAll());

    // A recording that came from a file is not autosaved again.
    const QString autosaves = window->settings().autoSaveDir;
    const int before = QDir(autosaves).entryList({"*.cmk"}).size();
    child<QAction>(*window, "record")->trigger();
    EXPECT_EQ(QDir(autosaves).entryList({"*.cmk"}).size(), before);
}

// Accepted settings reach the processor and the window; nothing to play gives a warning.
TEST_F(WindowFilesTest, SettingsAndTuneDetailsTakeEffect)
{
    auto window = makeWindow();
    prompts.editSettingsWith = [](AppSettings& settings) {
        settings.zoom = 0.5f;
        settings.barsPerRow = 2;
    };
    child<QAction>(*window, "settings")->trigger();
    EXPECT_EQ(window->settings().barsPerRow, 2);
    prompts.editTuneDetailsWith = [](AppSettings& settings) {
        settings.tuneName = "The Green Hills";
        settings.timeSignature = 4;
        settings.bpm = 60;
    };
    child<QAction>(*window, "tuneDetails")->trigger();
    EXPECT_EQ(child<QComboBox>(*window, "timeSignature")->currentIndex(), 4);
    EXPECT_EQ(child<QSpinBox>(*window, "bpm")->value(), 60);
    EXPECT_EQ(window->settings().tuneName, "The Green Hills");

    child<QAction>(*window, "playAudio")->trigger();
    EXPECT_EQ(prompts.warnings, QStringList{"Nothing to play"});
    replay(*window, tuneAudio());
    child<QAction>(*window, "playAudio")->trigger();
    EXPECT_EQ(prompts.playedBytes, window->currentRecording().size());
}

} // namespace
