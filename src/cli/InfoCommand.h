#pragma once

#include <QStringList>

// ceolmark-cli info FILE.cmk: prints a recording file's tune details, length, rate,
// calibration and version and time fields.
int runInfoCommand(const QStringList& arguments);
