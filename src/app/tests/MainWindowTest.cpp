#include "WindowFixture.h"

#include "KestoFileCmk.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

TEST_F(WindowTest, FirstStartShowsTheViewsTabbedAndTheDefaultTune)
{
    MainWindow window(AudioThreads::Mode::NoDevices);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QDockWidget* score = child<QDockWidget>(window, "scoreDock");
    QDockWidget* timing = child<QDockWidget>(window, "timingDock");
    EXPECT_TRUE(window.tabifiedDockWidgets(score).contains(timing));
    QTRY_VERIFY(!score->visibleRegion().isEmpty());
    EXPECT_TRUE(timing->visibleRegion().isEmpty());
    EXPECT_EQ(child<QSpinBox>(window, "bpm")->value(), 72);
    EXPECT_EQ(child<QComboBox>(window, "timeSignature")->currentText(), "4/4");
    EXPECT_EQ(child<QLabel>(window, "lowA")->text(), "Low A = 220.0 Hz  ");
    EXPECT_EQ(QApplication::focusWidget(), child<QSpinBox>(window, "bpm"));
}

TEST_F(WindowTest, StoredSettingsComeBackAndAnUnknownTimeSignatureFallsToTheFirst)
{
    {
        QSettings store;
        store.setValue("timeSignature", 7);
        store.setValue("bpm", 90.0);
        store.setValue("zoom", 0.5);
    }
    MainWindow window(AudioThreads::Mode::NoDevices);
    EXPECT_EQ(child<QComboBox>(window, "timeSignature")->currentIndex(), 0);
    EXPECT_EQ(child<QSpinBox>(window, "bpm")->value(), 90);
    EXPECT_TRUE(child<QAction>(window, "zoom50")->isChecked());
}

TEST_F(WindowTest, ClosingSavesTheSettings)
{
    {
        MainWindow window(AudioThreads::Mode::NoDevices);
        child<QComboBox>(window, "timeSignature")->setCurrentIndex(2);
        child<QCheckBox>(window, "round")->setChecked(true);
    }
    QSettings store;
    EXPECT_EQ(store.value("timeSignature").toInt(), 2);
    EXPECT_EQ(store.value("bpm").toFloat(), 52.0f);
    EXPECT_TRUE(store.value("isRounded").toBool());
    EXPECT_FALSE(store.value("geometry").toByteArray().isEmpty());
}

// Which actions and controls each state enables: Idle everything but Stop, Recording and
// Replaying only Stop.
TEST_F(WindowTest, EachStateEnablesItsActions)
{
    auto window = makeWindow();
    const char* idleOnly[] = {"record", "retranscribe", "clear", "zoom100", "zoom50"};
    const char* controls[] = {"bpm", "timeSignature", "round", "timeShift"};
    auto expectState = [&](bool busy, const char* state) {
        SCOPED_TRACE(state);
        for (const char* name : idleOnly)
            EXPECT_EQ(child<QAction>(*window, name)->isEnabled(), !busy) << name;
        for (const char* name : controls)
            EXPECT_EQ(child<QWidget>(*window, name)->isEnabled(), !busy) << name;
        EXPECT_EQ(child<QAction>(*window, "stop")->isEnabled(), busy);
        EXPECT_TRUE(child<QAction>(*window, "exit")->isEnabled());
    };
    QTRY_VERIFY(child<QAction>(*window, "record")->isEnabled());
    expectState(false, "idle");
    child<QAction>(*window, "record")->trigger();
    EXPECT_TRUE(window->isRecording());
    expectState(true, "recording");
    child<QAction>(*window, "stop")->trigger();
    EXPECT_FALSE(window->isRecording());
    expectState(false, "idle after recording");

    QTRY_VERIFY_WITH_TIMEOUT(window->isReplaying() || (window->playbackData(tuneAudio()), window->isReplaying()), 5000);
    expectState(true, "replaying");
    QTRY_VERIFY_WITH_TIMEOUT(!window->isReplaying(), 60000);
    expectState(false, "idle after replay");
}

// With the focus on the BPM box, space records; during the recording the box is disabled
// and the window has the focus, and space stops.
TEST_F(WindowTest, SpaceKeyRecordsAndStops)
{
    auto window = makeWindow();
    QSpinBox* bpm = child<QSpinBox>(*window, "bpm");
    QTRY_VERIFY(child<QAction>(*window, "record")->isEnabled());
    QTest::keyClick(bpm, Qt::Key_Space);
    EXPECT_TRUE(window->isRecording());
    EXPECT_EQ(bpm->value(), 72);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    EXPECT_FALSE(window->isRecording());
    EXPECT_EQ(QApplication::focusWidget(), bpm);
}

// A replay draws the tune; Clear empties the views and keeps the recording, so that
// Re-transcribe draws the same tune again.
TEST_F(WindowTest, ReplayClearAndRetranscribe)
{
    auto window = makeWindow();
    child<QAction>(*window, "retranscribe")->trigger();
    EXPECT_FALSE(window->isReplaying());
    EXPECT_EQ(itemsDrawn(*window), 0);

    const QByteArray audio = tuneAudio();
    replay(*window, audio);
    EXPECT_EQ(window->currentRecording(), audio);
    const int drawn = itemsDrawn(*window);
    EXPECT_GE(drawn, 12);

    child<QAction>(*window, "clear")->trigger();
    EXPECT_EQ(itemsDrawn(*window), 0);
    EXPECT_EQ(window->currentRecording(), audio);

    child<QAction>(*window, "retranscribe")->trigger();
    EXPECT_TRUE(window->isReplaying());
    QTRY_VERIFY_WITH_TIMEOUT(!window->isReplaying(), 60000);
    EXPECT_EQ(itemsDrawn(*window), drawn);
}

// Results come every 0.1 s of audio and are drawn twice a second; in Idle a change of tempo
// redraws at once from the last result.
TEST_F(WindowTest, ResultsAreDrawnAtTheRefreshRateAndATempoChangeRedrawsInIdle)
{
    auto window = makeWindow();
    QSignalSpy drawn(window.get(), &MainWindow::viewsRefreshed);
    NoteMap notes;
    for (int i = 0; i < 30; ++i)
        notes.insert({i * 0.5f, PipeNote(i % 2 ? LA : B, i * 0.5f, 0.5f)});
    for (int i = 1; i <= 30; ++i) {
        NoteMap sofar(notes.begin(), notes.lower_bound(i * 0.1f));
        window->onTranscriptionResult(i * 0.1f, sofar, NoteMap(), PipeTuning(), false);
    }
    EXPECT_GE(drawn.count(), 5);
    EXPECT_LE(drawn.count(), 7);

    const int barsAt72 = int(window->views().lastDrawnModel().parts.empty()
            ? 0
            : window->views().lastDrawnModel().parts.front().bars.size());
    const int before = drawn.count();
    child<QSpinBox>(*window, "bpm")->setValue(144);
    QTRY_COMPARE(drawn.count(), before + 1);
    int barsAt144 = 0;
    for (const PipeTuneModel::Part& part : window->views().lastDrawnModel().parts)
        barsAt144 += int(part.bars.size());
    EXPECT_GT(barsAt144, barsAt72);
}

// A hidden view is skipped by the refreshes and catches up when it is shown.
TEST_F(WindowTest, AHiddenViewCatchesUpWhenShown)
{
    auto window = makeWindow();
    QDockWidget* score = child<QDockWidget>(*window, "scoreDock");
    QDockWidget* timing = child<QDockWidget>(*window, "timingDock");
    score->hide();
    timing->hide();
    NoteMap notes;
    for (int i = 0; i < 16; ++i)
        notes.insert({i * 0.5f, PipeNote(i % 2 ? C : D, i * 0.5f, 0.5f)});
    window->onTranscriptionResult(8.0f, notes, NoteMap(), PipeTuning(), false);
    EXPECT_TRUE(window->views().scoreRows().isEmpty());
    score->show();
    QTRY_VERIFY(!window->views().scoreRows().isEmpty());
}

// An internal error stops the recording, offers the dump once and closes the window; a
// second error is ignored.
TEST_F(WindowTest, InternalErrorOffersTheDumpOnce)
{
    auto window = makeWindow();
    const QByteArray audio = tuneAudio();
    replay(*window, audio);
    prompts.saveAnswer = QDir::home().filePath("dump");

    window->onTranscriptionResult(1.0f, NoteMap(), NoteMap(), PipeTuning(), true);
    window->onTranscriptionResult(1.1f, NoteMap(), NoteMap(), PipeTuning(), true);
    EXPECT_EQ(prompts.warnings, QStringList{"Internal error"});
    EXPECT_EQ(prompts.saveDialogs, 1);
    EXPECT_FALSE(window->isVisible());
    KestoFileCmk dump;
    QString error;
    ASSERT_TRUE(dump.open(QDir::home().filePath("dump.cmk"), error)) << error.toStdString();
    EXPECT_EQ(dump.audioData(), audio);
}

// Record keeps the previous recording in the autosave folder; a recording that came from a
// replay of its own is saved once, and the folder that cannot be made loses nothing else.
TEST_F(WindowTest, RecordAutosavesThePreviousRecording)
{
    const QString folder = QDir::home().filePath("autosave-test");
    QDir(folder).removeRecursively();
    {
        QSettings store;
        store.setValue("autoSaveDir", folder);
    }
    auto window = makeWindow();
    const QByteArray audio = tuneAudio();
    replay(*window, audio);
    child<QAction>(*window, "record")->trigger();
    const QStringList saved = QDir(folder).entryList({"*.cmk"}, QDir::Files);
    ASSERT_EQ(saved.size(), 1);
    EXPECT_TRUE(saved.front().endsWith("_Your Tune.cmk"));
    KestoFileCmk file;
    QString error;
    ASSERT_TRUE(file.open(QDir(folder).filePath(saved.front()), error));
    EXPECT_EQ(file.audioData(), audio);
    EXPECT_FLOAT_EQ(file.chanterTuning().lowA_Hz(), PipeTuning().lowA_Hz());
    EXPECT_EQ(window->settings().lastAutoSaveFileName, QDir(folder).filePath(saved.front()));
}
