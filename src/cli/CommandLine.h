#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <cstddef>

class AudioFileReader;
class KestoFileCmk;

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
    // Whether path is to be read as a recording file (.cmk): by its extension, so that a damaged
    // one is reported as a recording, or by its magic, whatever it is called.
    static bool isRecording(const QString& path);
    // Opens a recording file for analysis, with the checks of readAudio: open's message, a rate
    // below what readAudio takes or less than one analysis frame give one line naming the file,
    // exitCode BadInput and false.
    static bool readRecording(const QString& command, const QString& path, KestoFileCmk& recording, int& exitCode);

private:
    // False after one line naming the file when sampleCount is less than one analysis frame.
    static bool holdsOneFrame(const QString& command, const QString& path, std::size_t sampleCount, int& exitCode);
};
