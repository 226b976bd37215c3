#pragma once

#include "ChanterCalibration.h"
#include "PipeTuning.h"

#include <QDateTime>
#include <QString>

// The steps of calibrating the chanter from a played scale: a countdown, collecting the
// pitch of every frame until all nine notes have been held long enough, a moment showing
// success, then done. The window's timer calls tick() every 100 ms with the time and
// whether the player cancelled; tick() says what the progress dialog shows. The clock is
// the caller's, so a test runs the whole sequence without waiting.
// Interface thread only.
class CalibrationSequence {
public:
    enum State {
        StartRequested = 0,
        Countdown = 1,
        Collecting = 2,
        ShowingSuccess = 3,
        Finished = 4
    };

    struct Settings {
        int recordingFrequency_Hz = 44100;
        float calibrationDuration_s = 0.5f; // each note held at least this long
        int calibrationCountdown_s = 3;
        int volumeCutoff_percent = 30;
    };

    // What the progress dialog shows after a tick; -1 leaves a number as it is.
    struct Step {
        QString label; // empty: unchanged
        int maximum = -1;
        int value = -1;
        bool show = false;
        bool hide = false;
        // Set on the tick that found all nine notes: the new calibrated tuning.
        bool calibrated = false;
        PipeTuning tuning;
        // False on the tick that finds the sequence finished: the timer is not started again.
        bool restartTimer = true;
    };

    CalibrationSequence();

    // The action: start again from the beginning with these settings.
    void start(const Settings& settings);
    Step tick(const QDateTime& now, bool canceled);
    // The pitch of one frame from the input; counted only while collecting.
    void add(const PitchFinder::AnalysisResults& results);

    State state() const { return mState; }

private:
    static QString countdownLabel(int seconds);

    ChanterCalibration mCalibration;
    Settings mSettings;
    State mState = Finished;
    PipeTuning mTuning;
    QDateTime mStateStart;
};
