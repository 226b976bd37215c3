#include "MessageOutput.h"

#include <cstdio>

const char kMessagePattern[] = "[%{time yyyyMMdd h:mm:ss.zzz} tid:%{threadid} "
                               "%{if-debug}D%{endif}%{if-info}I%{endif}%{if-warning}W%{endif}"
                               "%{if-critical}C%{endif}%{if-fatal}F%{endif}] %{function} - %{message}";

void myMessageOutput(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const QByteArray line = qFormatLogMessage(type, context, text).toLocal8Bit();
    // The line goes out as formatted, with nothing added: not even a line break.
    std::fprintf(stderr, "%s", line.constData());
    std::fflush(stderr);
}
