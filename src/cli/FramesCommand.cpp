#include "FramesCommand.h"

#include "AudioFileReader.h"
#include "CommandLine.h"
#include "PipeSnacPeakPicker.h"
#include "PipeTuning.h"
#include "PitchFinder.h"
#include "TranscriptionFrames.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QSaveFile>

#include <cstdio>

namespace {

constexpr double kMinimumLowA_Hz = 200.0;
constexpr double kMaximumLowA_Hz = 1000.0;

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

// Bad options: the message, then the usage line, on stderr.
int badUsage(const QCommandLineParser& parser, int exitCode)
{
    if (exitCode == CommandLine::BadUsage) {
        const QString help = parser.helpText();
        const QString usage = help.left(help.indexOf('\n'));
        std::fprintf(stderr, "Usage: ceolmark-cli frames %s\n", qPrintable(usage.section(' ', 2)));
    }
    return exitCode;
}

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
            .arg(kMinimumLowA_Hz)
            .arg(kMaximumLowA_Hz),
        "HZ", "440");
    const QCommandLineOption output(QStringList{"o", "output"},
        "Write the table to FILE instead of standard output; an existing file is replaced.", "FILE");
    parser.addOption(lowA);
    parser.addOption(output);
    int exitCode = 0;
    if (!CommandLine::parse(parser, command, arguments, 1, exitCode))
        return badUsage(parser, exitCode);

    bool isNumber = false;
    const double lowA_Hz = parser.value(lowA).toDouble(&isNumber);
    if (!isNumber || !(lowA_Hz >= kMinimumLowA_Hz && lowA_Hz <= kMaximumLowA_Hz)) {
        CommandLine::fail(command,
            QString("--low-a must be a frequency from %1 to %2 Hz, not '%3'")
                .arg(kMinimumLowA_Hz)
                .arg(kMaximumLowA_Hz)
                .arg(parser.value(lowA)),
            CommandLine::BadUsage);
        return badUsage(parser, CommandLine::BadUsage);
    }

    const QString path = parser.positionalArguments().first();
    AudioFileReader reader;
    QString error;
    if (!reader.read(path, error))
        return CommandLine::fail(command, path + ": " + error, CommandLine::BadInput);
    const std::vector<short>& samples = reader.samples();
    if (samples.size() < TranscriptionFrames::kFrameSize_samples)
        return CommandLine::fail(command,
            QString("%1: %2 samples is shorter than one analysis frame of %3")
                .arg(path)
                .arg(samples.size())
                .arg(TranscriptionFrames::kFrameSize_samples),
            CommandLine::BadInput);

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
    QByteArray table = "time_s\tfrequency_Hz\tpicked_Hz\tquality\tvolume\n";
    table.reserve(int(frames) * 48 + table.size());
    char line[128];
    for (unsigned i = 0; i < frames; ++i) {
        finder.setData(samples.data() + std::size_t(i) * std::size_t(hop));
        finder.calculatePitch();
        const TranscriptionFrames::Frame frame = TranscriptionFrames::gate(
            finder.analysisResults(), i, TranscriptionFrames::kDefaultMinimumVolume_normalized);
        const int length = std::snprintf(line, sizeof line, "%.6f\t%.3f\t%.3f\t%.4f\t%.4f\n",
            double(i) * hop / double(rate_Hz), double(frame.frequency_Hz), double(frame.pickedFrequency_Hz),
            double(frame.quality), double(frame.volume));
        table.append(line, length);
    }

    if (!parser.isSet(output)) {
        std::fwrite(table.constData(), 1, std::size_t(table.size()), stdout);
        return std::fflush(stdout) == 0 ? CommandLine::Success : CommandLine::OutputFailed;
    }
    const QString outPath = parser.value(output);
    QSaveFile file(outPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(table) != table.size() || !file.commit())
        return CommandLine::fail(command, outPath + ": " + file.errorString(), CommandLine::OutputFailed);
    return CommandLine::Success;
}
