#pragma once

#include "PipeNote.h"
#include "PipeTuneModel.h"
#include "TuneOptions.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>

// The picture exports as command-line options, for the commands that make a score:
// --score-png, --timing-png, --zoom and --secs-per-row. Writes the pictures the application's
// "Save as..." writes, through the same row composition. Needs a QGuiApplication; main thread only.
class PictureOptions {
public:
    PictureOptions();

    // True when the raw arguments ask for a picture, so that main can make a GUI application.
    static bool requested(int argc, char** argv);

    void addTo(QCommandLineParser& parser) const;
    // False with a message naming the option when a value is out of range.
    bool read(const QCommandLineParser& parser, QString& error);

    bool wanted() const { return !mScorePngPath.isEmpty() || !mTimingPngPath.isEmpty(); }
    float zoom() const { return mZoom; }
    float secsPerRow_s() const { return mSecsPerRow_s; }

    // Draws and writes the requested pictures; false with "FILE: reason" when one cannot be written.
    bool write(const TuneOptions& tune, const PipeTuneModel& model, const NoteMap& melody, const NoteMap& grace,
        const TuneOptions::Beat& beat, QString& error) const;

private:
    QCommandLineOption mScorePngOption;
    QCommandLineOption mTimingPngOption;
    QCommandLineOption mZoomOption;
    QCommandLineOption mSecsPerRowOption;

    QString mScorePngPath;
    QString mTimingPngPath;
    float mZoom = 1.0f;
    float mSecsPerRow_s = 5.0f;
};
