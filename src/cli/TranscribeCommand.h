#pragma once

#include "AudioFileReader.h"
#include "Ceolmark.h"
#include "ChanterTuningOptions.h"
#include "PictureOptions.h"
#include "TuneOptions.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QStringList>

// ceolmark-cli transcribe AUDIO [--low-a HZ | --tuning LG,...,HA] [--notes FILE] [--frames FILE]
// [tune options] [--bww FILE] [--score-png FILE] [--timing-png FILE]: the melody notes and
// embellishments of a recording, as a notes table, and on request the score and pictures.
//
// A run is a row of steps over one object: the options are declared in the constructor, read
// in readOptions (false with exitCode set when the run ends there: help, bad usage), the audio
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
    int readInput();
    int transcribe();
    int writeResults();
    int writeScore();

    QCommandLineParser mParser;
    ChanterTuningOptions mTuningOptions;
    TuneOptions mTuneOptions;
    PictureOptions mPictureOptions;
    QCommandLineOption mNotesOption;
    QCommandLineOption mFramesOption;

    QString mAudioPath;
    AudioFileReader mReader;
    Ceolmark mTranscriber;
};
