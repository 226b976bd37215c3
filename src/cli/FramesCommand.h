#pragma once

#include <QStringList>

// ceolmark-cli frames AUDIO [--low-a HZ] [-o FILE]: the per-frame pitch analysis of an audio
// file, with the transcription's frame set-up, as a tab-separated table.
int runFramesCommand(const QStringList& arguments);
