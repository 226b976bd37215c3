#pragma once

#include "Ceolmark.h"
#include "ChanterTuningOptions.h"
#include "PictureOptions.h"
#include "ProgressiveTranscriptionDriver.h"
#include "TuneOptions.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QStringList>

#include <optional>
#include <vector>

// ceolmark-cli transcribe AUDIO|RECORDING.cmk [--low-a HZ | --tuning LG,...,HA | --calibrate SCALE] [--batch]
// [--notes FILE] [--frames FILE] [tune options] [--bww FILE] [--score-png FILE] [--timing-png FILE]:
// the melody notes and embellishments of a recording, as a notes table, and on request the score
// and pictures. By default the recording is replayed through the progressive transcriber, as the
// application transcribes it; --batch transcribes it in one pass. A recording file brings its
// sampling rate, and its tune settings and chanter calibration as the defaults of the options.
//
// A run is a row of steps over one object: the options are declared in the constructor, read
// in readOptions (false with exitCode set when the run ends there: help, bad usage, and a
// recording that cannot be read, since its settings are the options' defaults), the audio
// in readInput, the transcription in transcribe and the results written in writeResults. The
// later steps return CommandLine::Success to go on or the exit code to stop with. A new option adds its declaration,
// its reading and its use to the step it belongs to. Main thread only.
class TranscribeCommand {
public:
    static int run(const QStringList& arguments);

private:
    static constexpr const char* kCommand = "transcribe";
    // Recordings longer than this show a progress bar on a terminal.
    static constexpr double kProgressFrom_s = 10.0;

    TranscribeCommand();
    bool readOptions(const QStringList& arguments, int& exitCode);
    bool readRecording(int& exitCode);
    int readInput();
    int transcribe();
    int transcribeInOnePass(const PipeTuning* tuning);
    int transcribeProgressively(const PipeTuning& tuning);
    int writeResults();
    int writeScore();
    double duration_s() const { return double(mSamples.size()) / double(mSampleRate_Hz); }

    QCommandLineParser mParser;
    ChanterTuningOptions mTuningOptions;
    TuneOptions mTuneOptions;
    PictureOptions mPictureOptions;
    QCommandLineOption mNotesOption;
    QCommandLineOption mFramesOption;
    QCommandLineOption mBatchOption;
    QCommandLineOption mCalibrateOption;

    QString mAudioPath;
    // The audio at 16-bit magnitude, from an audio file or a recording.
    std::vector<short> mSamples;
    int mSampleRate_Hz = 0;
    // A recording's calibration, when it holds one.
    std::optional<PipeTuning> mRecordedTuning;
    Ceolmark mTranscriber;
    ProgressiveTranscriptionDriver mDriver;

    // What the transcription produced, whichever way it ran: notes and, with --frames, the
    // per-frame analysis it worked on.
    NoteMap mNotes;
    NoteMap mGraceNotes;
    std::vector<float> mFrequencies;
    std::vector<float> mPickedFrequencies;
    std::vector<float> mQualities;
    std::vector<float> mVolumes;
    double mFramePeriod_s = 0.0;
};
