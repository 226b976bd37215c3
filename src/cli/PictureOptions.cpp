#include "PictureOptions.h"

#include "TuneViewComposer.h"

#include <cmath>

PictureOptions::PictureOptions()
    : mScorePngOption("score-png", "Write the sheet music as a PNG picture, with its header.", "FILE")
    , mTimingPngOption("timing-png", "Write the timing view as a PNG picture, with its header.", "FILE")
    , mZoomOption("zoom", "Zoom of the pictures: 1 (default) or 0.5.", "ZOOM", "1")
    , mSecsPerRowOption("secs-per-row", "Seconds in a row of the timing view, 1 to 20 (default 5).", "S", "5")
{
}

bool PictureOptions::requested(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        if (argument.startsWith("--score-png") || argument.startsWith("--timing-png"))
            return true;
    }
    return false;
}

void PictureOptions::addTo(QCommandLineParser& parser) const
{
    parser.addOptions({mScorePngOption, mTimingPngOption, mZoomOption, mSecsPerRowOption});
}

bool PictureOptions::read(const QCommandLineParser& parser, QString& error)
{
    bool ok = false;
    const float zoom = parser.value(mZoomOption).toFloat(&ok);
    if (!ok || (zoom != 1.0f && zoom != 0.5f)) {
        error = QString("--zoom must be 1 or 0.5, not \"%1\"").arg(parser.value(mZoomOption));
        return false;
    }
    mZoom = zoom;

    // The range of the application's setting.
    const float secsPerRow_s = parser.value(mSecsPerRowOption).toFloat(&ok);
    if (!ok || !std::isfinite(secsPerRow_s) || secsPerRow_s < 1.0f || secsPerRow_s > 20.0f) {
        error = QString("--secs-per-row needs seconds from 1 to 20, not \"%1\"").arg(parser.value(mSecsPerRowOption));
        return false;
    }
    mSecsPerRow_s = secsPerRow_s;

    mScorePngPath = parser.value(mScorePngOption);
    mTimingPngPath = parser.value(mTimingPngOption);
    return true;
}

bool PictureOptions::write(const TuneOptions& tune, const PipeTuneModel& model, const NoteMap& melody,
    const NoteMap& grace, const TuneOptions::Beat& beat, QString& error) const
{
    TuneViewComposer composer;
    composer.setTuneDetails(tune.tuneName(), tune.tuneType(), tune.composer());
    if (mZoom < 1.0f)
        composer.zoomTo50();
    if (!mScorePngPath.isEmpty()) {
        composer.updateScoreRows(model);
        if (!composer.saveScorePng(mScorePngPath, error)) {
            error = mScorePngPath + ": " + error;
            return false;
        }
    }
    if (!mTimingPngPath.isEmpty()) {
        composer.updateTimingRows(melody, grace, tune.timeShift_s(), beat.duration_s, beat.perBar, mSecsPerRow_s);
        if (!composer.saveTimingPng(mTimingPngPath, error)) {
            error = mTimingPngPath + ": " + error;
            return false;
        }
    }
    return true;
}
