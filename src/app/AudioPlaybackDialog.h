#pragma once

#include "AudioPlayer.h"

#include <QByteArray>
#include <QDialog>
#include <QString>

class QLabel;
class QPushButton;
class QSlider;

// Plays a recording back to the piper: a position slider (ms), the time played and the
// total ("  1.5 /  10.0 secs"), Play, Pause, Stop and Close. It owns an AudioPlayer, which
// plays on its own thread and reports the position back, queued, to this dialog. Closing the
// dialog stops playback. Without an output device the player stays silent and the dialog
// still works. Widget objectNames: position, time, play, pause, stop.
// Interface thread only.
class AudioPlaybackDialog : public QDialog {
    Q_OBJECT

public:
    explicit AudioPlaybackDialog(QWidget* parent = nullptr);

    // Starts playing data (mono 16-bit PCM at sampleRate_Hz) through the output device of
    // that name (unknown or empty: the default output). Play disabled, Pause and Stop enabled.
    void initialise(int sampleRate_Hz, const QString& device, const QByteArray& data);
    // Shows "<played> / <total> secs", each one decimal in a field of 5.
    void updatePlaybackTimes(float seconds);

    float duration_s() const { return mDuration_s; }

signals:
    // Every seek the dialog asks of its player, in seconds from the start; connected to the
    // player's seek. Emitted on the interface thread.
    void seekRequested(float seconds);

public slots:
    // The player's position report: while playing, follows it with the time and the slider,
    // without seeking. data is unused.
    void onDataPlayed(const char* data, qint64 position_B, bool seeked);
    // The slider moved: by the piper, shows the time and seeks there; by the dialog, nothing.
    void onSliderValueChanged(int value_ms);
    // Starts playing from the slider's position.
    void onPlay();
    // Suspends; Play (onPlay) goes on from the slider's position.
    void onPause();
    // Stops and puts the slider back at the start.
    void onStop();
    // The player ran out of data: as onStop, the player left as it is.
    void onAudioFinished();

    // Every way of closing (Close, Escape, the window's close button) ends here.
    void done(int result) override;

private:
    void showStopped();
    void moveSlider(int value_ms);

    AudioPlayer mPlayer;
    int mSampleRate_Hz = 0;
    float mDuration_s = 0.0f;
    // Set while the dialog itself moves the slider, so that the move doesn't seek.
    bool mSliderMovedByProgram = false;

    QSlider* mSlider = nullptr;
    QLabel* mTimeLabel = nullptr;
    QPushButton* mPlayButton = nullptr;
    QPushButton* mPauseButton = nullptr;
    QPushButton* mStopButton = nullptr;
};
