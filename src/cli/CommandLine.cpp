#include "CommandLine.h"

#include "AudioFileReader.h"
#include "KestoFileCmk.h"
#include "TranscriptionFrames.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

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

int CommandLine::withUsage(const QCommandLineParser& parser, const QString& command, int exitCode)
{
    if (exitCode == BadUsage) {
        const QString help = parser.helpText();
        const QString usage = help.left(help.indexOf('\n'));
        std::fprintf(stderr, "Usage: ceolmark-cli %s %s\n", qPrintable(command), qPrintable(usage.section(' ', 2)));
    }
    return exitCode;
}

bool CommandLine::readAudio(const QString& command, const QString& path, AudioFileReader& reader, int& exitCode)
{
    QString error;
    if (!reader.read(path, error)) {
        exitCode = fail(command, path + ": " + error, BadInput);
        return false;
    }
    return holdsOneFrame(command, path, reader.samples().size(), exitCode);
}

bool CommandLine::isRecording(const QString& path)
{
    if (QFileInfo(path).suffix().compare("cmk", Qt::CaseInsensitive) == 0)
        return true;
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(cmkFileId.size()) == cmkFileId.toLatin1();
}

bool CommandLine::readRecording(const QString& command, const QString& path, KestoFileCmk& recording, int& exitCode)
{
    QString error;
    if (!recording.open(path, error)) {
        exitCode = fail(command, path + ": " + error, BadInput);
        return false;
    }
    if (recording.recordingFrequency_Hz() < AudioFileReader::kMinimumSampleRate_Hz) {
        exitCode = fail(command,
            QString("%1: sample rate %2 Hz is below the %3 Hz needed")
                .arg(path)
                .arg(recording.recordingFrequency_Hz())
                .arg(AudioFileReader::kMinimumSampleRate_Hz),
            BadInput);
        return false;
    }
    return holdsOneFrame(command, path, std::size_t(recording.sampleCount()), exitCode);
}

bool CommandLine::holdsOneFrame(const QString& command, const QString& path, std::size_t sampleCount, int& exitCode)
{
    if (sampleCount >= TranscriptionFrames::kFrameSize_samples)
        return true;
    exitCode = fail(command,
        QString("%1: %2 samples is shorter than one analysis frame of %3")
            .arg(path)
            .arg(sampleCount)
            .arg(TranscriptionFrames::kFrameSize_samples),
        BadInput);
    return false;
}
