#pragma once

#include <QStringList>

// ceolmark-cli pack AUDIO OUT.cmk [options]: makes a recording file from an audio file,
// mono 16-bit at the audio's own rate, with tune details, tempo and calibration as given;
// without --low-a or --tuning it holds no calibration.
int runPackCommand(const QStringList& arguments);
