#include "FramesCommand.h"

#include "AudioFileReader.h"
#include "ChanterTuningOptions.h"
#include "CommandLine.h"
#include "FramesTable.h"
#include "PipeSnacPeakPicker.h"
#include "PipeTuning.h"
#include "PitchFinder.h"
#include "TranscriptionFrames.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

#include <cstdio>

namespace {

const char kDescription[]
    = "Prints the pitch analysis of every frame of an audio file, as the transcription works on it:\n"
      "frames of 1024 samples every rate / 2205 samples (20 at 44100 Hz), the chanter's band from\n"
      "0.9 x Low G to 1.1 x High A, and the chanter peak picker.\n\n"
      "Output: a header line, then one tab-separated line per frame:\n"
      "  time_s        start of the frame in seconds\n"
      "  frequency_Hz  the frame's pitch, 0 if none\n"
      "  picked_Hz     the chanter peak picker's choice, 0 if none\n"
      "  quality       clarity of the pitch, 0..1\n"
      "  volume        level of the frame, 0..1\n"
      "After the first ten frames, a frame whose volume is 0.3 or less reports 0 for frequency,\n"
      "picked frequency and quality, as the transcription sees it.\n\n"
      "Exit status: 0 success, 2 bad options, 3 unreadable or unsuitable audio, 5 output not written.";

} // namespace

int runFramesCommand(const QStringList& arguments)
{
    const QString command = "frames";
    QCommandLineParser parser;
    parser.setApplicationDescription(kDescription);
    parser.addPositionalArgument("AUDIO",
        "The recording: WAV, FLAC or OGG, 16-bit integer or float samples, 8000 Hz or more; "
        "of several channels the first is analysed.");
    const QCommandLineOption lowA("low-a",
        QString("Low A of the chanter in Hz, %1 to %2 (default 440). The tuning is the harmonic scheme on it.")
            .arg(ChanterTuningOptions::kMinimumLowA_Hz)
            .arg(ChanterTuningOptions::kMaximumLowA_Hz),
        "HZ", "440");
    const QCommandLineOption output(QStringList{"o", "output"},
        "Write the table to FILE instead of standard output; an existing file is replaced.", "FILE");
    parser.addOption(lowA);
    parser.addOption(output);
    int exitCode = 0;
    if (!CommandLine::parse(parser, command, arguments, 1, exitCode))
        return CommandLine::withUsage(parser, command, exitCode);

    double lowA_Hz = 0.0;
    QString error;
    if (!ChanterTuningOptions::parseLowA(parser.value(lowA), lowA_Hz, error)) {
        CommandLine::fail(command, error, CommandLine::BadUsage);
        return CommandLine::withUsage(parser, command, CommandLine::BadUsage);
    }

    const QString path = parser.positionalArguments().first();
    AudioFileReader reader;
    if (!CommandLine::readAudio(command, path, reader, exitCode))
        return exitCode;
    const std::vector<short>& samples = reader.samples();

    PipeTuning tuning;
    tuning.setLowA_Hz(float(lowA_Hz));
    const float rate_Hz = TranscriptionFrames::samplingFrequency_Hz(float(reader.sampleRate_Hz()));
    const int32_t hop = TranscriptionFrames::frameHop_samples(rate_Hz);
    PitchFinder finder;
    PipeSnacPeakPicker picker;
    TranscriptionFrames::installPeakPicker(finder, picker);
    TranscriptionFrames::configure(finder, picker, tuning, rate_Hz, TranscriptionFrames::kDefaultSnacPeakThreshold,
        TranscriptionFrames::kDefaultMinimumSnacPeak);

    const unsigned frames = TranscriptionFrames::frameCount(unsigned(samples.size()), hop);
    QByteArray table = FramesTable::kHeader;
    table.reserve(int(frames) * 48 + table.size());
    for (unsigned i = 0; i < frames; ++i) {
        finder.setData(samples.data() + std::size_t(i) * std::size_t(hop));
        finder.calculatePitch();
        FramesTable::appendRow(table, double(i) * hop / double(rate_Hz),
            TranscriptionFrames::gate(
                finder.analysisResults(), i, TranscriptionFrames::kDefaultMinimumVolume_normalized));
    }

    if (!parser.isSet(output)) {
        std::fwrite(table.constData(), 1, std::size_t(table.size()), stdout);
        return std::fflush(stdout) == 0 ? CommandLine::Success : CommandLine::OutputFailed;
    }
    const QString outPath = parser.value(output);
    if (!FramesTable::write(outPath, table, error))
        return CommandLine::fail(command, outPath + ": " + error, CommandLine::OutputFailed);
    return CommandLine::Success;
}
