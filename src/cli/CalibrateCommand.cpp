#include "CalibrateCommand.h"

#include "AudioFileReader.h"
#include "ChanterCalibration.h"
#include "CommandLine.h"

#include <QCommandLineParser>

#include <cstdio>

namespace {

const char kDescription[]
    = "Learns a chanter's tuning from a recorded scale, as the application's calibration does: the\n"
      "recording is analysed in frames of 2048 samples, and each of the nine notes, Low G to High A,\n"
      "must be held clearly for 0.5 s at a volume above 30 %.\n\n"
      "Output: the nine note frequencies in Hz, Low G to High A, separated by commas: the form that\n"
      "'ceolmark-cli transcribe --tuning' takes.\n\n"
      "Exit status: 0 success, 2 bad options, 3 unreadable or unsuitable audio, 4 not all nine notes\n"
      "found (the message says how many were).";

} // namespace

QString tuningArgument(const PipeTuning& tuning)
{
    QStringList frequencies;
    for (int index = 0; index < ChanterCalibration::kChanterNotes; ++index)
        frequencies << QString::number(
            tuning.getReferenceNoteCentreFrequency_Hz(PipeTuning::noteIndexToReferenceNote(index)), 'f', 2);
    return frequencies.join(',');
}

int calibrateScaleFile(const QString& command, const QString& path, PipeTuning& tuning)
{
    AudioFileReader reader;
    QString error;
    if (!reader.read(path, error))
        return CommandLine::fail(command, path + ": " + error, CommandLine::BadInput);
    const ChanterCalibration::Outcome outcome = ChanterCalibration::calibrateRecording(
        reader.samples().data(), reader.samples().size(), uint32_t(reader.sampleRate_Hz()));
    if (!outcome.succeeded())
        return CommandLine::fail(command,
            QString("%1: Notes detected: %2 of 9. %3").arg(path).arg(outcome.notesDetected).arg(outcome.reason()),
            CommandLine::AnalysisFailed);
    tuning = outcome.tuning;
    return CommandLine::Success;
}

int runCalibrateCommand(const QStringList& arguments)
{
    const QString command = "calibrate";
    QCommandLineParser parser;
    parser.setApplicationDescription(kDescription);
    parser.addPositionalArgument("AUDIO",
        "The scale, Low G up to High A: WAV, FLAC or OGG, 8000 Hz or more; of several channels the first is "
        "analysed.");
    int exitCode = 0;
    if (!CommandLine::parse(parser, command, arguments, 1, exitCode))
        return exitCode;

    PipeTuning tuning;
    exitCode = calibrateScaleFile(command, parser.positionalArguments().first(), tuning);
    if (exitCode != CommandLine::Success)
        return exitCode;
    std::printf("%s\n", qPrintable(tuningArgument(tuning)));
    return std::fflush(stdout) == 0 ? CommandLine::Success : CommandLine::OutputFailed;
}
