// Calibration: the progress dialog and its timer; CalibrationSequence decides.

#include "MainWindow.h"

#include <QDateTime>
#include <QProgressDialog>

void MainWindow::onCalibrate()
{
    mCalibrationTimer.stop();
    CalibrationSequence::Settings settings;
    settings.recordingFrequency_Hz = mSettings.recordingFrequency_Hz;
    settings.calibrationDuration_s = mSettings.calibrationDuration_s;
    settings.calibrationCountdown_s = mSettings.calibrationCountdown_s;
    settings.volumeCutoff_percent = mSettings.volumeCutoff_percent;
    mCalibration.start(settings);
    mCalibrationDialog->reset();
    mCalibrationTimer.start(100);
}

void MainWindow::onCalibrationTimer()
{
    // A chain of single ticks, 100 ms from the end of one to the next.
    mCalibrationTimer.stop();
    const CalibrationSequence::Step step
        = mCalibration.tick(QDateTime::currentDateTime(), mCalibrationDialog->wasCanceled());
    if (!step.label.isEmpty())
        mCalibrationDialog->setLabelText(step.label);
    if (step.maximum >= 0)
        mCalibrationDialog->setMaximum(step.maximum);
    if (step.value >= 0)
        mCalibrationDialog->setValue(step.value);
    if (step.show)
        mCalibrationDialog->show();
    if (step.hide)
        mCalibrationDialog->hide();
    if (step.calibrated)
        setCalibratedTuning(step.tuning);
    if (step.restartTimer)
        mCalibrationTimer.start();
}
