#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

class AudioFileReader;

// What every command does with its arguments and its failures, so that they all behave
// alike: a failure is one line on stderr, "ceolmark-cli COMMAND: message", and an exit code.
// Called from the main thread only.
class CommandLine {
public:
    // Exit codes of ceolmark-cli.
    enum ExitCode {
        Success = 0,
        BadUsage = 2,
        BadInput = 3, // unreadable or unsuitable input
        AnalysisFailed = 4,
        OutputFailed = 5, // the output file could not be written; nothing was left behind
    };

    // Parses arguments (without the program and command names) into parser, which holds the
    // command's options, with --help added here. Returns true when the command should run;
    // otherwise exitCode is set: Success after printing the help, BadUsage after an error or
    // when the positional argument count is not positionalCount.
    static bool parse(QCommandLineParser& parser, const QString& command, const QStringList& arguments,
        int positionalCount, int& exitCode);

    // Prints "ceolmark-cli COMMAND: message" on one line to stderr and returns exitCode.
    static int fail(const QString& command, const QString& message, int exitCode);
    // When exitCode is BadUsage, prints the usage line of the parser's help to stderr after the
    // message that fail or parse printed. Returns exitCode.
    static int withUsage(const QCommandLineParser& parser, const QString& command, int exitCode);

    // Reads an audio file for analysis. A file that cannot be read, or holds less than one
    // analysis frame, gives one line naming the file and the reason, exitCode BadInput and false.
    static bool readAudio(const QString& command, const QString& path, AudioFileReader& reader, int& exitCode);
};
