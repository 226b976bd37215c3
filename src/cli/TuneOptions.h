#pragma once

#include "PipeNote.h"
#include "PipeTuneModel.h"
#include "TimeSignature.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>

class KestoFileCmk;

// The tune settings of the application as command-line options, for the commands that make a
// score: --bpm, --time, --round, --shift, --bars-per-row, --name, --type, --composer and --bww.
// Quantises and writes the score as the application does with the same settings.
// Called from the main thread only.
class TuneOptions {
public:
    TuneOptions();

    void addTo(QCommandLineParser& parser) const;
    // Makes a recording's tempo, time signature, time shift and tune details the defaults, as
    // the application takes them over when it opens the file. A value the application could not
    // use (a time signature it does not know, a tempo not above 0) and an empty tune detail
    // keep the default they would replace. Call before read.
    void takeDefaults(const KestoFileCmk& recording);
    // Takes the values of the options given in a parsed parser, over the defaults; false with
    // a message naming the option when one is out of range.
    bool read(const QCommandLineParser& parser, QString& error);

    // The checks of read, for commands that take these values without the rest: false with
    // a message naming the option when text is out of range.
    static bool parseBpm(const QString& text, float& bpm, QString& error);
    static bool parseTimeSignature(const QString& text, TimeSignature& signature, QString& error);
    static bool parseTimeShift(const QString& text, float& timeShift_s, QString& error);

    float bpm() const { return mBpm; }
    TimeSignature timeSignature() const { return mTimeSignature; }
    bool rounding() const { return mRounding; }
    float timeShift_s() const { return mTimeShift_s; }
    int barsPerRow() const { return mBarsPerRow; }
    QString tuneName() const { return mTuneName; }
    QString tuneType() const { return mTuneType; }
    QString composer() const { return mComposer; }
    // Empty when --bww was not given.
    QString bwwPath() const { return mBwwPath; }

    // The beat that quantize found: the timing view's beat and bar lines.
    struct Beat {
        float duration_s = 0.0f;
        int perBar = 0;
    };
    PipeTuneModel quantize(const NoteMap& melody, const NoteMap& grace, Beat* beat = nullptr) const;
    // The model as Bagpipe Music Writer text with this tune's titles.
    QByteArray bwwText(const PipeTuneModel& model) const;
    // Writes the text in one write, replacing the file, as the application's "Save as..." does.
    bool writeBww(const PipeTuneModel& model, const QString& path, QString& error) const;

private:
    QCommandLineOption mBpmOption;
    QCommandLineOption mTimeOption;
    QCommandLineOption mRoundOption;
    QCommandLineOption mShiftOption;
    QCommandLineOption mBarsPerRowOption;
    QCommandLineOption mNameOption;
    QCommandLineOption mTypeOption;
    QCommandLineOption mComposerOption;
    QCommandLineOption mBwwOption;

    float mBpm = 72.0f;
    TimeSignature mTimeSignature = TimeSignature4_4;
    bool mRounding = false;
    float mTimeShift_s = 0.0f;
    int mBarsPerRow = 4;
    QString mTuneName;
    QString mTuneType;
    QString mComposer;
    QString mBwwPath;
};
