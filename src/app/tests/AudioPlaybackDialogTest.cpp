#include "AudioPlaybackDialog.h"

#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

constexpr int kRate_Hz = 8000;
// 10 s of silence. The test never runs the event loop, so whatever the player reports (where
// there is an output device) never reaches the dialog: the dialog sees only what the test calls.
const QByteArray kRecording(2 * kRate_Hz * 10, '\0');

void report(AudioPlaybackDialog& dialog, float seconds)
{
    dialog.onDataPlayed(nullptr, qint64(2.0f * seconds * float(kRate_Hz)), false);
}

TEST(AudioPlaybackDialogTest, SliderButtonsAndSeeksFollowWhatHappened)
{
    using D = AudioPlaybackDialog;
    const struct {
        const char* what;
        std::function<void(D&, QSlider&)> act;
        int slider_ms;
        std::vector<float> seeks_s;
        const char* time;
        bool play, pause, stop;
    } cases[] = {
        {"the player reports 1.5 s", [](D& d, QSlider&) { report(d, 1.5f); }, 1500, {}, "  1.5 /  10.0 secs", false,
            true, true},
        {"the piper drags to 2.5 s", [](D&, QSlider& s) { s.setValue(2500); }, 2500, {2.5f}, "  2.5 /  10.0 secs",
            false, true, true},
        {"a report after a pause", [](D& d, QSlider&) { d.onPause(), report(d, 1.5f); }, 0, {}, "  0.0 /  10.0 secs",
            true, false, true},
        {"the audio runs out", [](D& d, QSlider&) { report(d, 9.9f), d.onAudioFinished(); }, 0, {},
            "  0.0 /  10.0 secs", true, false, false},
        {"stop", [](D& d, QSlider&) { report(d, 3.0f), d.onStop(); }, 0, {}, "  0.0 /  10.0 secs", true, false, false},
        {"play after a pause and a drag", [](D& d, QSlider& s) { d.onPause(), s.setValue(4000), d.onPlay(); }, 4000,
            {4.0f, 4.0f}, "  4.0 /  10.0 secs", false, true, true},
        {"closing", [](D& d, QSlider&) { d.reject(); }, 0, {}, "  0.0 /  10.0 secs", true, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        AudioPlaybackDialog dialog;
        QSignalSpy seeks(&dialog, &AudioPlaybackDialog::seekRequested);
        dialog.initialise(kRate_Hz, QString(), kRecording);
        QSlider* slider = dialog.findChild<QSlider*>("position");
        ASSERT_NE(slider, nullptr);
        ASSERT_EQ(slider->maximum(), 10000);

        c.act(dialog, *slider);

        EXPECT_EQ(slider->value(), c.slider_ms);
        std::vector<float> seeks_s;
        for (const QList<QVariant>& arguments : seeks)
            seeks_s.push_back(arguments.at(0).toFloat());
        EXPECT_EQ(seeks_s, c.seeks_s);
        EXPECT_EQ(dialog.findChild<QLabel*>("time")->text().toStdString(), c.time);
        EXPECT_EQ(dialog.findChild<QPushButton*>("play")->isEnabled(), c.play);
        EXPECT_EQ(dialog.findChild<QPushButton*>("pause")->isEnabled(), c.pause);
        EXPECT_EQ(dialog.findChild<QPushButton*>("stop")->isEnabled(), c.stop);
    }
}

} // namespace
