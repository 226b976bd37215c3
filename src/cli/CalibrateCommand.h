#pragma once

#include "PipeTuning.h"

#include <QString>
#include <QStringList>

// ceolmark-cli calibrate AUDIO: the application's chanter calibration run on a recorded
// scale. Prints the nine measured frequencies in the form --tuning takes.
int runCalibrateCommand(const QStringList& arguments);

// The calibration of a scale recording, for calibrate and for transcribe --calibrate.
// Returns CommandLine::Success with the measured tuning, or the exit code after printing
// why not (as command).
int calibrateScaleFile(const QString& command, const QString& path, PipeTuning& tuning);

// "LG,LA,B,C,D,E,F,HG,HA": the nine centre frequencies in Hz, Low G to High A.
QString tuningArgument(const PipeTuning& tuning);
