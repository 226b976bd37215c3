#include "CalibrationSequence.h"

#include <algorithm>

namespace {
constexpr qint64 kShowSuccess_ms = 2000;
const QString kPlayScale = "<big><b>Play Scale now</b></big><br><br>";
} // namespace

CalibrationSequence::CalibrationSequence() = default;

void CalibrationSequence::start(const Settings& settings)
{
    mSettings = settings;
    mState = StartRequested;
}

QString CalibrationSequence::countdownLabel(int seconds)
{
    return kPlayScale + QString("Countdown - Get ready<br><br><big><b>%1</b></big>").arg(seconds);
}

CalibrationSequence::Step CalibrationSequence::tick(const QDateTime& now, bool canceled)
{
    Step step;
    switch (mState) {
    case StartRequested:
        mCalibration.start(uint32_t(mSettings.recordingFrequency_Hz), mSettings.calibrationDuration_s,
            mSettings.volumeCutoff_percent / 100.0f);
        mStateStart = now;
        mState = Countdown;
        step.label = countdownLabel(mSettings.calibrationCountdown_s);
        step.maximum = 9;
        step.value = 0;
        step.show = true;
        break;
    case Countdown: {
        if (canceled) {
            mState = Finished;
            break;
        }
        const qint64 elapsed_ms = mStateStart.msecsTo(now);
        const qint64 countdown_ms = qint64(mSettings.calibrationCountdown_s) * 1000;
        if (countdown_ms < elapsed_ms) {
            mStateStart = now;
            mState = Collecting;
            step.label = kPlayScale + "Notes detected: 0 of 9<br>";
        } else {
            // Milliseconds into a bar of 9: it shows no progress during the countdown.
            step.value = int(elapsed_ms);
            step.label = countdownLabel(int(std::max<qint64>(countdown_ms - elapsed_ms, 0) / 1000 + 1));
        }
        break;
    }
    case Collecting: {
        if (canceled) {
            mState = Finished;
            break;
        }
        const ChanterCalibration::Outcome outcome = mCalibration.outcome();
        const int count = outcome.notesDetected;
        step.value = count;
        if (outcome.succeeded()) {
            mStateStart = now;
            mState = ShowingSuccess;
            mTuning = outcome.tuning;
            step.tuning = mTuning;
            step.calibrated = true;
            break;
        }
        const QString extra = outcome.rangeRejected
            ? "<br><big><b>9 notes detected, but the overall range is too large or too small</b></big><br>(Probably "
              "a good idea to Cancel and try again)<br>"
            : QString();
        step.label = kPlayScale + QString("Notes detected: %1 of 9<br>%2").arg(count).arg(extra);
        break;
    }
    case ShowingSuccess:
        if (mStateStart.msecsTo(now) > kShowSuccess_ms)
            mState = Finished;
        else
            // The unclosed </b tag is what the dialog has always shown.
            step.label = QString("<big><b>SUCCESS - All notes detected</b</big><br><br>Low A = %1<br>")
                             .arg(mTuning.lowA_Hz(), 0, 'f', 1);
        break;
    case Finished:
        step.hide = true;
        step.restartTimer = false;
        mStateStart = now;
        break;
    }
    return step;
}

void CalibrationSequence::add(const PitchFinder::AnalysisResults& results)
{
    if (mState == Collecting)
        mCalibration.add(results);
}
