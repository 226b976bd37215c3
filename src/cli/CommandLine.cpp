#include "CommandLine.h"

#include <QCoreApplication>

#include <cstdio>

bool CommandLine::parse(QCommandLineParser& parser, const QString& command, const QStringList& arguments,
    int positionalCount, int& exitCode)
{
    const QCommandLineOption help(QStringList{"h", "help"}, "Show this help.");
    parser.addOption(help);
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    if (!parser.parse(QStringList{"ceolmark-cli " + command} + arguments)) {
        exitCode = fail(command, parser.errorText(), BadUsage);
        return false;
    }
    if (parser.isSet(help)) {
        // Qt names the program by the path it was started with; the command belongs there.
        QString text = parser.helpText();
        const QString usage = "Usage: " + QCoreApplication::arguments().value(0);
        if (text.startsWith(usage))
            text.replace(0, usage.size(), "Usage: ceolmark-cli " + command);
        std::fputs(qPrintable(text), stdout);
        exitCode = Success;
        return false;
    }
    const int given = parser.positionalArguments().size();
    if (given != positionalCount) {
        exitCode = fail(command,
            QString("expected %1 file argument%2, got %3 (see --help)")
                .arg(positionalCount)
                .arg(positionalCount == 1 ? "" : "s")
                .arg(given),
            BadUsage);
        return false;
    }
    return true;
}

int CommandLine::fail(const QString& command, const QString& message, int exitCode)
{
    // Messages from Qt or the system may carry line breaks; a failure stays one line.
    std::fprintf(stderr, "ceolmark-cli %s: %s\n", qPrintable(command), qPrintable(message.simplified()));
    return exitCode;
}
