#pragma once

#include <QString>
#include <QtGlobal>

// The log's line pattern: time, thread, level, function.
extern const char kMessagePattern[];

// The installed message handler: formats with the pattern and writes the line to the
// standard error stream, flushed. Any thread.
void myMessageOutput(QtMsgType type, const QMessageLogContext& context, const QString& text);
