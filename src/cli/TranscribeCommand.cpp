#include "TranscribeCommand.h"

#include "CommandLine.h"
#include "FramesTable.h"
#include "NotesTable.h"
#include "ProgressBar.h"

#include <cstdio>

namespace {

const char kDescription[]
    = "Transcribes a recording of a chanter into melody notes and embellishments.\n\n"
      "Without --low-a or --tuning the tuning is searched from the recording, starting from a low A\n"
      "of 440 Hz.\n\n"
      "Output: a header line, then one tab-separated line per note in playing order:\n"
      "  start_s     start in seconds from the beginning of the recording\n"
      "  duration_s  length in seconds\n"
      "  name        the note's short name: LA, gg, dbla, strlg, ...\n"
      "  kind        melody for a melody note, grace for a grace note or movement\n"
      "A grace note that starts with its melody note comes before it.\n\n"
      "Exit status: 0 success, 2 bad options, 3 unreadable or unsuitable audio, 5 output not written.";

} // namespace

int TranscribeCommand::run(const QStringList& arguments)
{
    TranscribeCommand command;
    int exitCode = CommandLine::Success;
    if (!command.readOptions(arguments, exitCode))
        return exitCode;
    for (int (TranscribeCommand::*step)() : {&TranscribeCommand::readInput, &TranscribeCommand::transcribe,
             &TranscribeCommand::writeResults, &TranscribeCommand::writeScore}) {
        exitCode = (command.*step)();
        if (exitCode != CommandLine::Success)
            return exitCode;
    }
    return CommandLine::Success;
}

TranscribeCommand::TranscribeCommand()
    : mNotesOption(
        "notes", "Write the notes table to FILE instead of standard output; an existing file is replaced.", "FILE")
    , mFramesOption("frames",
          "Also write the per-frame analysis the transcription worked on to FILE, as 'ceolmark-cli frames' "
          "prints it.",
          "FILE")
{
    mParser.setApplicationDescription(kDescription);
    mParser.addPositionalArgument("AUDIO",
        "The recording: WAV, FLAC or OGG, 16-bit integer or float samples, 8000 Hz or more; "
        "of several channels the first is transcribed.");
    mTuningOptions.addTo(mParser);
    mParser.addOption(mNotesOption);
    mParser.addOption(mFramesOption);
    mTuneOptions.addTo(mParser);
    mPictureOptions.addTo(mParser);
}

bool TranscribeCommand::readOptions(const QStringList& arguments, int& exitCode)
{
    if (!CommandLine::parse(mParser, kCommand, arguments, 1, exitCode)) {
        CommandLine::withUsage(mParser, kCommand, exitCode);
        return false;
    }
    QString error;
    if (!mTuningOptions.read(mParser, error) || !mTuneOptions.read(mParser, error)
        || !mPictureOptions.read(mParser, error)) {
        CommandLine::fail(kCommand, error, CommandLine::BadUsage);
        exitCode = CommandLine::withUsage(mParser, kCommand, CommandLine::BadUsage);
        return false;
    }
    mAudioPath = mParser.positionalArguments().first();
    return true;
}

int TranscribeCommand::readInput()
{
    int exitCode = CommandLine::Success;
    CommandLine::readAudio(kCommand, mAudioPath, mReader, exitCode);
    return exitCode;
}

int TranscribeCommand::transcribe()
{
    mTranscriber.setSamplingFrequency_Hz(float(mReader.sampleRate_Hz()));
    if (mTuningOptions.isSet())
        mTranscriber.setTuning(mTuningOptions.tuning());
    ProgressBar progress("transcribing", ProgressBar::isTerminal(stderr) && mReader.duration_s() > kProgressFrom_s);
    mTranscriber.setProgressCallback([&progress](float share) { progress.update(share); });
    const std::vector<short>& samples = mReader.samples();
    mTranscriber.transcribe(samples.data(), unsigned(samples.size()));
    mTranscriber.setProgressCallback(nullptr);
    return CommandLine::Success;
}

int TranscribeCommand::writeResults()
{
    QString error;
    if (mParser.isSet(mFramesOption)) {
        const QString path = mParser.value(mFramesOption);
        const QByteArray table = FramesTable::fromArrays(mTranscriber.frequencies(), mTranscriber.pickedFrequencies(),
            mTranscriber.qualities(), mTranscriber.volumes(),
            double(mTranscriber.frameHop_samples()) / double(mTranscriber.samplingFrequency_Hz()));
        if (!FramesTable::write(path, table, error))
            return CommandLine::fail(kCommand, path + ": " + error, CommandLine::OutputFailed);
    }
    if (!mParser.isSet(mNotesOption)) {
        const QByteArray text = NotesTable::toText(mTranscriber.notes(), mTranscriber.graceNotes()).toUtf8();
        std::fwrite(text.constData(), 1, std::size_t(text.size()), stdout);
        return std::fflush(stdout) == 0 ? CommandLine::Success : CommandLine::OutputFailed;
    }
    const QString path = mParser.value(mNotesOption);
    if (!NotesTable::write(path, mTranscriber.notes(), mTranscriber.graceNotes(), error))
        return CommandLine::fail(kCommand, path + ": " + error, CommandLine::OutputFailed);
    return CommandLine::Success;
}

// The score as the application quantises it, only when a .bww file or a picture is asked for.
int TranscribeCommand::writeScore()
{
    const QString bwwPath = mTuneOptions.bwwPath();
    if (bwwPath.isEmpty() && !mPictureOptions.wanted())
        return CommandLine::Success;
    TuneOptions::Beat beat;
    const PipeTuneModel model = mTuneOptions.quantize(mTranscriber.notes(), mTranscriber.graceNotes(), &beat);
    QString error;
    if (!bwwPath.isEmpty() && !mTuneOptions.writeBww(model, bwwPath, error))
        return CommandLine::fail(kCommand, bwwPath + ": " + error, CommandLine::OutputFailed);
    if (mPictureOptions.wanted()
        && !mPictureOptions.write(mTuneOptions, model, mTranscriber.notes(), mTranscriber.graceNotes(), beat, error))
        return CommandLine::fail(kCommand, error, CommandLine::OutputFailed);
    return CommandLine::Success;
}
