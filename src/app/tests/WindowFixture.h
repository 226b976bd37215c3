#pragma once

// What the window's tests share: dialogs that answer at once, a synthesised tune, and a
// window without audio devices.

#include "MainWindow.h"

#include "AppSettings.h"
#include "ChanterSynthesiser.h"
#include "UserPrompts.h"

#include <QAction>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

constexpr int kTestRate_Hz = 44100;

// Answers every dialog at once and remembers what was asked.
class FakePrompts : public UserPrompts {
public:
    QStringList warnings;
    int saveDialogs = 0;
    QString saveAnswer;

    void warning(QWidget*, const QString& title, const QString&) override { warnings << title; }
    QString getSaveFileName(QWidget*, const QString&, const QString&, const QString&, QString* selected) override
    {
        ++saveDialogs;
        if (selected) {
            offeredFilter = *selected;
            if (!pickedFilter.isEmpty())
                *selected = pickedFilter;
        }
        return saveAnswer;
    }
    QString openAnswer;
    // The filter the save dialog was offered as selected, and the one the player picks.
    QString offeredFilter;
    QString pickedFilter;
    std::function<void(AppSettings&)> editSettingsWith;
    std::function<void(AppSettings&)> editTuneDetailsWith;
    int playedBytes = -1;

    QString getOpenFileName(QWidget*, const QString&, const QString&, const QString&) override { return openAnswer; }
    bool editSettings(QWidget*, AppSettings& settings) override
    {
        if (editSettingsWith)
            editSettingsWith(settings);
        return bool(editSettingsWith);
    }
    bool editTuneDetails(QWidget*, AppSettings& settings) override
    {
        if (editTuneDetailsWith)
            editTuneDetailsWith(settings);
        return bool(editTuneDetailsWith);
    }
    void playAudio(QWidget*, int, const QString&, const QByteArray& audio) override { playedBytes = audio.size(); }
};

inline void clearStore()
{
    QSettings store;
    store.clear();
    store.sync();
}

// A short tune on a chanter with low A at 440 Hz, as the device would deliver it.
inline QByteArray tuneAudio()
{
    ChanterSynthesiser piper(kTestRate_Hz);
    const std::pair<PipeNoteName, double> phrase[] = {{LA, 0.6}, {B, 0.6}, {C, 0.6}, {E, 0.6}, {D, 0.6}, {C, 0.6},
        {B, 0.6}, {LA, 0.6}, {HA, 0.6}, {F, 0.6}, {E, 0.6}, {LA, 1.2}};
    for (const auto& note : phrase)
        piper.play(note.first, note.second);
    piper.rest(1.0);
    const std::vector<short> samples = piper.render();
    return QByteArray(reinterpret_cast<const char*>(samples.data()), int(samples.size() * sizeof(short)));
}

inline int itemsDrawn(const MainWindow& window)
{
    int count = 0;
    for (const PipeTuneModel::Part& part : window.views().lastDrawnModel().parts)
        for (const PipeTuneModel::Bar& bar : part.bars)
            count += int(bar.items.size());
    return count;
}

class WindowTest : public ::testing::Test {
protected:
    void SetUp() override { clearStore(); }

    // A window without audio devices, shown, with the test's dialogs and a 440 Hz chanter.
    std::unique_ptr<MainWindow> makeWindow()
    {
        auto window = std::make_unique<MainWindow>(AudioThreads::Mode::NoDevices);
        window->setPrompts(&prompts);
        window->setCalibratedTuning(PipeTuning());
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        return window;
    }

    // Replays audio through the real processor and waits for the end of the replay.
    void replay(MainWindow& window, const QByteArray& audio)
    {
        QTRY_VERIFY_WITH_TIMEOUT(window.findChild<QAction*>("record")->isEnabled(), 5000);
        // The processor comes up on its own thread.
        QTRY_VERIFY_WITH_TIMEOUT(window.isReplaying() || (window.playbackData(audio), window.isReplaying()), 5000);
        QTRY_VERIFY_WITH_TIMEOUT(!window.isReplaying(), 60000);
    }

    template <typename T> T* child(MainWindow& window, const char* name)
    {
        T* found = window.findChild<T*>(name);
        EXPECT_NE(found, nullptr) << name;
        return found;
    }

    FakePrompts prompts;
};
