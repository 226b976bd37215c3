// ceolmark-cli COMMAND [ARGS]: each command lives in its own file; this only dispatches.
// Exit status: 0 success, 2 bad usage, 3 unreadable or unsuitable input, 4 analysis failed,
// 5 output not written (see CommandLine::ExitCode).

#include "CalibrateCommand.h"
#include "ExportCommand.h"
#include "FramesCommand.h"
#include "InfoCommand.h"
#include "PackCommand.h"
#include "PictureOptions.h"
#include "ScoreCommand.h"
#include "TranscribeCommand.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QScopedPointer>
#include <QStringList>
#include <QTextStream>

#include <cstdio>

namespace {

struct Command {
    const char* name;
    const char* summary;
    int (*run)(const QStringList& arguments);
};

const Command kCommands[] = {
    {"info", "Print the tune details, length, rate and calibration of a .cmk recording", runInfoCommand},
    {"export", "Write the audio of a .cmk recording as a WAV file", runExportCommand},
    {"pack", "Make a .cmk recording from an audio file, with tune details and calibration", runPackCommand},
    {"frames", "Print the pitch analysis of every frame of an audio file", runFramesCommand},
    {"calibrate", "Learn the nine note frequencies of a chanter from a recorded scale", runCalibrateCommand},
    {"transcribe", "Transcribe the melody notes and embellishments of an audio file", TranscribeCommand::run},
    {"score", "Quantise a notes file into a score: a .bww file and PNG pictures", runScoreCommand},
};

void printUsage(FILE* to)
{
    QTextStream out(to);
    out << "Usage: ceolmark-cli COMMAND [OPTIONS]\n\n"
        << "Bagpipe chanter analysis on audio files.\n\n"
        << "Commands:\n";
    for (const Command& command : kCommands)
        if (command.run)
            out << "  " << QString(command.name).leftJustified(12) << command.summary << "\n";
    out << "\nRun 'ceolmark-cli COMMAND --help' for the options of a command.\n";
}

} // namespace

int main(int argc, char* argv[])
{
    // Pictures need a GUI application for pixmaps and fonts. The tool never shows a window, so
    // it draws offscreen whatever the session's display is; other commands need no GUI at all.
    QScopedPointer<QCoreApplication> app;
    if (PictureOptions::requested(argc, argv)) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        app.reset(new QGuiApplication(argc, argv));
    } else {
        app.reset(new QCoreApplication(argc, argv));
    }
    QCoreApplication::setApplicationName("ceolmark-cli");
    // The analysis traces its work at debug level for the application's log; on the command
    // line stderr is for failures. QT_LOGGING_RULES="default.debug=true" brings the traces back.
    QLoggingCategory::setFilterRules("default.debug=false");
    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
    if (arguments.isEmpty()) {
        printUsage(stderr);
        return 2;
    }
    const QString name = arguments.takeFirst();
    if (name == "--help" || name == "-h" || name == "help") {
        printUsage(stdout);
        return 0;
    }
    for (const Command& command : kCommands)
        if (command.run && name == command.name)
            return command.run(arguments);
    std::fprintf(stderr, "ceolmark-cli: unknown command '%s'\n\n", qPrintable(name));
    printUsage(stderr);
    return 2;
}
