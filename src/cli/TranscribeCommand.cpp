#include "TranscribeCommand.h"

#include "AudioFileReader.h"
#include "CalibrateCommand.h"
#include "CommandLine.h"
#include "FramesTable.h"
#include "KestoFileCmk.h"
#include "NotesTable.h"
#include "ProgressBar.h"
#include "ProgressiveCeolmark.h"

#include <cstdio>

namespace {

const char kDescription[]
    = "Transcribes a recording of a chanter into melody notes and embellishments.\n\n"
      "The recording is replayed through the live transcriber, block by block, as the application\n"
      "transcribes a recording again: the tuning follows the chanter as it drifts, and notes settle\n"
      "behind a window of about five seconds. Unlike the application, the end of the recording is\n"
      "transcribed too. --batch transcribes the whole recording in one pass instead.\n\n"
      "Without --low-a, --tuning or --calibrate the tuning is searched from the recording, starting\n"
      "from a low A of 440 Hz.\n\n"
      "A recording file (.cmk) is transcribed at its own sampling rate. Its chanter calibration, tempo,\n"
      "time signature, time shift and tune details stand in for --tuning, --bpm, --time, --shift,\n"
      "--name, --type and --composer where those are not given; without a calibration the tuning is\n"
      "searched.\n\n"
      "Output: a header line, then one tab-separated line per note in playing order:\n"
      "  start_s     start in seconds from the beginning of the recording\n"
      "  duration_s  length in seconds\n"
      "  name        the note's short name: LA, gg, dbla, strlg, ...\n"
      "  kind        melody for a melody note, grace for a grace note or movement\n"
      "A grace note that starts with its melody note comes before it.\n\n"
      "Exit status: 0 success, 2 bad options, 3 unreadable or unsuitable audio, 4 calibration failed,\n"
      "5 output not written.";

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
    , mBatchOption("batch", "Transcribe the whole recording in one pass rather than as the application replays it.")
    , mCalibrateOption("calibrate",
          "Calibrate on a recorded scale first, as 'ceolmark-cli calibrate' does, and transcribe with the nine "
          "notes measured.",
          "SCALE_AUDIO")
{
    mParser.setApplicationDescription(kDescription);
    mParser.addPositionalArgument("AUDIO",
        "The recording: a recording file (.cmk), or WAV, FLAC or OGG, 16-bit integer or float samples, "
        "8000 Hz or more; of several channels the first is transcribed.");
    mTuningOptions.addTo(mParser);
    mParser.addOption(mNotesOption);
    mParser.addOption(mFramesOption);
    mParser.addOption(mBatchOption);
    mParser.addOption(mCalibrateOption);
    mTuneOptions.addTo(mParser);
    mPictureOptions.addTo(mParser);
}

bool TranscribeCommand::readOptions(const QStringList& arguments, int& exitCode)
{
    if (!CommandLine::parse(mParser, kCommand, arguments, 1, exitCode)) {
        CommandLine::withUsage(mParser, kCommand, exitCode);
        return false;
    }
    mAudioPath = mParser.positionalArguments().first();
    if (CommandLine::isRecording(mAudioPath) && !readRecording(exitCode))
        return false;
    QString error;
    if (mTuningOptions.read(mParser, error) && mParser.isSet(mCalibrateOption) && mTuningOptions.isSet())
        error = "--calibrate cannot be given with --low-a or --tuning";
    if (!error.isEmpty() || !mTuneOptions.read(mParser, error) || !mPictureOptions.read(mParser, error)) {
        CommandLine::fail(kCommand, error, CommandLine::BadUsage);
        exitCode = CommandLine::withUsage(mParser, kCommand, CommandLine::BadUsage);
        return false;
    }
    return true;
}

// The one place where a recording's settings become defaults; the options read after it
// override them.
bool TranscribeCommand::readRecording(int& exitCode)
{
    KestoFileCmk recording;
    if (!CommandLine::readRecording(kCommand, mAudioPath, recording, exitCode))
        return false;
    mSamples = recording.samples();
    mSampleRate_Hz = recording.recordingFrequency_Hz();
    mTuneOptions.takeDefaults(recording);
    if (!recording.noteFrequencies().empty())
        mRecordedTuning = recording.chanterTuning();
    return true;
}

int TranscribeCommand::readInput()
{
    if (mSampleRate_Hz > 0) // read with the options
        return CommandLine::Success;
    AudioFileReader reader;
    int exitCode = CommandLine::Success;
    if (CommandLine::readAudio(kCommand, mAudioPath, reader, exitCode)) {
        mSamples = reader.samples();
        mSampleRate_Hz = reader.sampleRate_Hz();
    }
    return exitCode;
}

int TranscribeCommand::transcribe()
{
    PipeTuning tuning;
    if (mParser.isSet(mCalibrateOption)) {
        const int exitCode = calibrateScaleFile(kCommand, mParser.value(mCalibrateOption), tuning);
        if (exitCode != CommandLine::Success)
            return exitCode;
    } else if (mTuningOptions.isSet()) {
        tuning = mTuningOptions.tuning();
    } else if (mRecordedTuning) {
        tuning = *mRecordedTuning;
    } else if (mParser.isSet(mBatchOption)) {
        return transcribeInOnePass(nullptr);
    } else {
        // As the one pass does it: from the recording's frames, starting on 440 Hz.
        Ceolmark search;
        search.setSamplingFrequency_Hz(float(mSampleRate_Hz));
        search.calculateTuning(mSamples.data(), unsigned(mSamples.size()));
        tuning = search.tuning();
    }
    return mParser.isSet(mBatchOption) ? transcribeInOnePass(&tuning) : transcribeProgressively(tuning);
}

int TranscribeCommand::transcribeInOnePass(const PipeTuning* tuning)
{
    mTranscriber.setSamplingFrequency_Hz(float(mSampleRate_Hz));
    if (tuning)
        mTranscriber.setTuning(*tuning);
    ProgressBar progress("transcribing", ProgressBar::isTerminal(stderr) && duration_s() > kProgressFrom_s);
    mTranscriber.setProgressCallback([&progress](float share) { progress.update(share); });
    mTranscriber.transcribe(mSamples.data(), unsigned(mSamples.size()));
    mTranscriber.setProgressCallback(nullptr);
    mNotes = mTranscriber.notes();
    mGraceNotes = mTranscriber.graceNotes();
    mFrequencies = mTranscriber.frequencies();
    mPickedFrequencies = mTranscriber.pickedFrequencies();
    mQualities = mTranscriber.qualities();
    mVolumes = mTranscriber.volumes();
    mFramePeriod_s = double(mTranscriber.frameHop_samples()) / double(mTranscriber.samplingFrequency_Hz());
    return CommandLine::Success;
}

int TranscribeCommand::transcribeProgressively(const PipeTuning& tuning)
{
    mDriver.setSamplingFrequency_Hz(float(mSampleRate_Hz));
    mDriver.setTuning(tuning);
    mDriver.reset();
    const ProgressiveCeolmark& transcriber = mDriver.transcriber();
    ProgressBar progress("transcribing", ProgressBar::isTerminal(stderr) && duration_s() > kProgressFrom_s);
    const bool keepFrames = mParser.isSet(mFramesOption);
    uint32_t framedSamples = 0;
    // The window keeps only the last seconds of frames: the new ones of each block are at its end.
    auto afterBlock = [&](std::size_t fed_samples) {
        progress.update(float(double(fed_samples) / double(mSamples.size())));
        if (!keepFrames)
            return;
        const std::size_t fresh
            = (transcriber.totalSamples() - framedSamples) / uint32_t(transcriber.frameHop_samples());
        framedSamples = transcriber.totalSamples();
        for (auto [from, to] : {std::make_pair(&transcriber.frequencies(), &mFrequencies),
                 std::make_pair(&transcriber.pickedFrequencies(), &mPickedFrequencies),
                 std::make_pair(&transcriber.qualities(), &mQualities),
                 std::make_pair(&transcriber.volumes(), &mVolumes)})
            to->insert(to->end(), from->end() - std::ptrdiff_t(fresh), from->end());
    };
    mDriver.replay(mSamples.data(), mSamples.size(), true, afterBlock);
    mNotes = mDriver.lastResult().notes;
    mGraceNotes = mDriver.lastResult().graceNotes;
    mFramePeriod_s = double(transcriber.frameHop_samples()) / double(transcriber.samplingFrequency_Hz());
    return CommandLine::Success;
}

int TranscribeCommand::writeResults()
{
    QString error;
    if (mParser.isSet(mFramesOption)) {
        const QString path = mParser.value(mFramesOption);
        const QByteArray table
            = FramesTable::fromArrays(mFrequencies, mPickedFrequencies, mQualities, mVolumes, mFramePeriod_s);
        if (!FramesTable::write(path, table, error))
            return CommandLine::fail(kCommand, path + ": " + error, CommandLine::OutputFailed);
    }
    if (!mParser.isSet(mNotesOption)) {
        const QByteArray text = NotesTable::toText(mNotes, mGraceNotes).toUtf8();
        std::fwrite(text.constData(), 1, std::size_t(text.size()), stdout);
        return std::fflush(stdout) == 0 ? CommandLine::Success : CommandLine::OutputFailed;
    }
    const QString path = mParser.value(mNotesOption);
    if (!NotesTable::write(path, mNotes, mGraceNotes, error))
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
    const PipeTuneModel model = mTuneOptions.quantize(mNotes, mGraceNotes, &beat);
    QString error;
    if (!bwwPath.isEmpty() && !mTuneOptions.writeBww(model, bwwPath, error))
        return CommandLine::fail(kCommand, bwwPath + ": " + error, CommandLine::OutputFailed);
    if (mPictureOptions.wanted() && !mPictureOptions.write(mTuneOptions, model, mNotes, mGraceNotes, beat, error))
        return CommandLine::fail(kCommand, error, CommandLine::OutputFailed);
    return CommandLine::Success;
}
