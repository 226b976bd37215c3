#include "ExportCommand.h"

#include "CommandLine.h"
#include "KestoFileCmk.h"
#include "WaveFile.h"

int runExportCommand(const QStringList& arguments)
{
    const QString command = "export";
    QCommandLineParser parser;
    parser.setApplicationDescription("Writes the audio of a recording file as a mono 16-bit WAV file.");
    parser.addPositionalArgument("FILE.cmk", "The recording file.");
    const QCommandLineOption wav("wav", "The WAV file to write; an existing one is replaced.", "OUT.wav");
    parser.addOption(wav);
    int exitCode = 0;
    if (!CommandLine::parse(parser, command, arguments, 1, exitCode))
        return exitCode;
    if (!parser.isSet(wav))
        return CommandLine::fail(command, "--wav OUT.wav is required", CommandLine::BadUsage);

    const QString path = parser.positionalArguments().first();
    KestoFileCmk cmk;
    QString error;
    if (!cmk.open(path, error))
        return CommandLine::fail(command, path + ": " + error, CommandLine::BadInput);
    if (cmk.recordingFrequency_Hz() <= 0)
        return CommandLine::fail(command,
            QString("%1: sampling rate of %2 Hz cannot be written").arg(path).arg(cmk.recordingFrequency_Hz()),
            CommandLine::BadInput);

    const QString outPath = parser.value(wav);
    if (!WaveFile::save(outPath, cmk.audioData(), cmk.recordingFrequency_Hz(), error))
        return CommandLine::fail(command, outPath + ": " + error, CommandLine::OutputFailed);
    return CommandLine::Success;
}
