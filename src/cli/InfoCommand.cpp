#include "InfoCommand.h"

#include "CommandLine.h"
#include "KestoFileCmk.h"
#include "TimeSignature.h"

#include <QTextStream>

namespace {

QString orNone(const QString& text) { return text.isEmpty() ? QStringLiteral("(none)") : text; }

QString timeSignatureText(int numerator, int denominator)
{
    TimeSignature signature;
    const QString components = QString("%1/%2").arg(numerator).arg(denominator);
    if (!timeSignatureFromComponents(numerator, denominator, signature))
        return components + " (not one the application knows)";
    const QString name = toQString(signature);
    return name == components ? name : components + " (" + name + ")";
}

// Chanter order, then any key the application would not have written.
QString calibrationText(const std::map<std::string, float>& frequencies)
{
    if (frequencies.empty())
        return QStringLiteral("(none)");
    QStringList parts;
    std::map<std::string, float> others = frequencies;
    for (int index = 0; index < 9; ++index) {
        const std::string key = KestoFileCmk::calibrationKey(PipeTuning::noteIndexToReferenceNote(index));
        const auto found = others.find(key);
        if (found == others.end()) {
            parts << QString::fromStdString(key) + " missing";
            continue;
        }
        parts << QString("%1 %2 Hz").arg(QString::fromStdString(key)).arg(double(found->second), 0, 'f', 2);
        others.erase(found);
    }
    for (const auto& other : others)
        parts << QString("%1 %2 Hz").arg(QString::fromStdString(other.first)).arg(double(other.second), 0, 'f', 2);
    return parts.join(", ");
}

} // namespace

int runInfoCommand(const QStringList& arguments)
{
    const QString command = "info";
    QCommandLineParser parser;
    parser.setApplicationDescription("Prints what a recording file holds.");
    parser.addPositionalArgument("FILE.cmk", "The recording file.");
    int exitCode = 0;
    if (!CommandLine::parse(parser, command, arguments, 1, exitCode))
        return exitCode;

    const QString path = parser.positionalArguments().first();
    KestoFileCmk cmk;
    QString error;
    if (!cmk.open(path, error))
        return CommandLine::fail(command, path + ": " + error, CommandLine::BadInput);

    QTextStream out(stdout);
    out << "File:              " << path << "\n"
        << "Tune name:         " << orNone(cmk.tuneName()) << "\n"
        << "Tune type:         " << orNone(cmk.tuneType()) << "\n"
        << "Composed by:       " << orNone(cmk.composedBy()) << "\n"
        << "Time signature:    " << timeSignatureText(cmk.timeSigNumerator(), cmk.timeSigDenominator()) << "\n"
        << "BPM:               " << cmk.bpm() << "\n"
        << "Time shift:        " << cmk.timeShift_s() << " s\n"
        << "Length:            " << QString::number(cmk.duration_s(), 'f', 3) << " s, " << cmk.sampleCount()
        << " samples (" << cmk.audioData().size() << " bytes)\n"
        << "Sampling rate:     " << cmk.recordingFrequency_Hz() << " Hz\n"
        << "Calibration:       " << calibrationText(cmk.noteFrequencies()) << "\n"
        << "Recorded:          " << orNone(cmk.recordedTime()) << ", version " << cmk.recordedAppVersion()
        << ", install " << orNone(cmk.recordedInstallId()) << "\n"
        << "File created:      " << orNone(cmk.fileCreationTime()) << ", version " << cmk.appVersion() << ", install "
        << orNone(cmk.fileCreationInstallId()) << "\n";
    return CommandLine::Success;
}
