#pragma once

#include <QStringList>

// ceolmark-cli export FILE.cmk --wav OUT.wav: writes a recording's audio as a WAV file.
int runExportCommand(const QStringList& arguments);
