#include "PackCommand.h"

#include "AudioFileReader.h"
#include "ChanterTuningOptions.h"
#include "CommandLine.h"
#include "KestoFileCmk.h"
#include "TimeSignature.h"
#include "TuneOptions.h"

#include <QDateTime>

#include <cmath>

namespace {

// Reproducible builds set SOURCE_DATE_EPOCH, so that a packed example is the same file each time.
QString creationTime()
{
    bool ok = false;
    const qint64 epoch_s = qEnvironmentVariable("SOURCE_DATE_EPOCH").toLongLong(&ok);
    const QDateTime now = ok ? QDateTime::fromSecsSinceEpoch(epoch_s, Qt::UTC) : QDateTime::currentDateTimeUtc();
    return now.toString(Qt::ISODate);
}

} // namespace

int runPackCommand(const QStringList& arguments)
{
    const QString command = "pack";
    QCommandLineParser parser;
    parser.setApplicationDescription("Makes a recording file from an audio file: its first channel, as mono "
                                     "16-bit samples at the audio's own sampling rate.");
    parser.addPositionalArgument("AUDIO", "The audio file: WAV, FLAC or Ogg Vorbis, from 8000 Hz.");
    parser.addPositionalArgument("OUT.cmk", "The recording file to write; an existing one is replaced.");
    const QCommandLineOption name("name", "Tune name.", "TEXT");
    const QCommandLineOption type("type", "Tune type, such as March or Reel.", "TEXT");
    const QCommandLineOption composer("composer", "Composer.", "TEXT");
    const QCommandLineOption bpm("bpm", "Beats per minute (default 72).", "BPM");
    const QCommandLineOption time("time", "Time signature: 4/4 (default), 3/4, 2/4, 2/2 or 6/8.", "N/D");
    const QCommandLineOption shift("shift", "Time shift in seconds (default 0).", "SECONDS");
    parser.addOptions({name, type, composer, bpm, time, shift});
    // Without either, the file holds no calibration, and a transcription searches the tuning.
    ChanterTuningOptions tuning;
    tuning.addTo(parser);
    int exitCode = 0;
    if (!CommandLine::parse(parser, command, arguments, 2, exitCode))
        return exitCode;

    KestoFileCmk cmk;
    cmk.setTuneName(parser.value(name));
    cmk.setTuneType(parser.value(type));
    cmk.setComposedBy(parser.value(composer));
    QString error;
    float value = 0.0f;
    if (parser.isSet(bpm)) {
        if (!TuneOptions::parseBpm(parser.value(bpm), value, error))
            return CommandLine::fail(command, error + " (see --help)", CommandLine::BadUsage);
        cmk.setBpm(value);
    }
    if (parser.isSet(time)) {
        TimeSignature signature = TimeSignature4_4;
        if (!TuneOptions::parseTimeSignature(parser.value(time), signature, error))
            return CommandLine::fail(command, error + " (see --help)", CommandLine::BadUsage);
        int numerator = 4;
        int denominator = 4;
        timeSignatureComponents(signature, numerator, denominator);
        cmk.setTimeSigNumerator(numerator);
        cmk.setTimeSigDenominator(denominator);
    }
    if (parser.isSet(shift)) {
        if (!TuneOptions::parseTimeShift(parser.value(shift), value, error))
            return CommandLine::fail(command, error + " (see --help)", CommandLine::BadUsage);
        cmk.setTimeShift_s(value);
    }
    if (!tuning.read(parser, error))
        return CommandLine::fail(command, error + " (see --help)", CommandLine::BadUsage);
    if (tuning.isSet())
        cmk.setChanterTuning(tuning.tuning());

    const QString audioPath = parser.positionalArguments().at(0);
    const QString outPath = parser.positionalArguments().at(1);
    AudioFileReader reader;
    if (!reader.read(audioPath, error))
        return CommandLine::fail(command, audioPath + ": " + error, CommandLine::BadInput);
    cmk.setSamples(reader.samples());
    cmk.setRecordingFrequency_Hz(reader.sampleRate_Hz());

    const QString now = creationTime();
    cmk.setRecordedAppVersion(KestoFileCmk::kApplicationVersion);
    cmk.setRecordedTime(now);
    cmk.setAppVersion(KestoFileCmk::kApplicationVersion);
    cmk.setFileCreationTime(now);
    if (!cmk.save(outPath, error))
        return CommandLine::fail(command, outPath + ": " + error, CommandLine::OutputFailed);
    return CommandLine::Success;
}
