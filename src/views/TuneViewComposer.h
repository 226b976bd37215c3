#pragma once

#include "PipeNote.h"
#include "PipeTuneModel.h"

#include <QMap>
#include <QPixmap>
#include <QString>

// The row pictures of the two views and their composition into one picture each: the main
// window owns one, and the command line uses the same to write its pictures.
//
// Rows are kept at full size and at the displayed zoom (1 or 0.5). The score redraws only
// the rows that changed since the last drawn model, and every row when the widest row changes
// width, since justification depends on it. The timing view redraws only its last row and
// the rows finished since the previous update. Interface thread only (QPixmap, fonts).
class TuneViewComposer {
public:
    TuneViewComposer();
    virtual ~TuneViewComposer() = default;

    // Shown in both headers; an empty text leaves its place blank.
    void setTuneDetails(const QString& name, const QString& type, const QString& composer);

    // Draws the score rows of model that differ from the last drawn model, and keeps model.
    void updateScoreRows(const PipeTuneModel& model);
    // Draws the timing view's last row and the rows finished since the previous call.
    // beatDuration_s and beatsPerBar as the quantizer found them; secsPerRow_s at least 1.
    void updateTimingRows(const NoteMap& melody, const NoteMap& grace, float timeShift_s, float beatDuration_s,
        int beatsPerBar, float secsPerRow_s);

    // Forgets every row, the last drawn model and the cached headers.
    void reset();

    float zoom() const { return mZoom; }
    void zoomTo100();
    void zoomTo50();

    // The header and the displayed rows stacked, at the current zoom.
    QPixmap scorePixmap();
    QPixmap timingPixmap();
    // Writes the picture as PNG; false with the file's error text when it cannot be written.
    bool saveScorePng(const QString& path, QString& error);
    bool saveTimingPng(const QString& path, QString& error);

    // A copy at the current zoom: width truncated, smooth for headers, fast for rows.
    QPixmap scaleByZoom(const QPixmap& pixmap, bool smooth) const;
    // The title block: name, type, composer and the program's name, 100 pixels high.
    QPixmap generateHeaderPixmap(int width) const;
    void updateScoreHeaderPixmap();
    void updateTimingHeaderPixmap();
    // The header over the pictures in key order, left-aligned on white; with no rows, the
    // placeholder picture stands under the header.
    static QPixmap combineRowPixmaps(const QMap<int, QPixmap>& rows, const QPixmap& header);
    // The placeholder of an empty view.
    static QPixmap placeholderPixmap();

    const QMap<int, QPixmap>& scoreRows() const { return mScoreRows; }
    const QMap<int, QPixmap>& displayedScoreRows() const { return mDisplayedScoreRows; }
    const QMap<int, QPixmap>& timingRows() const { return mTimingRows; }
    const QMap<int, QPixmap>& displayedTimingRows() const { return mDisplayedTimingRows; }
    const PipeTuneModel& lastDrawnModel() const { return mLastDrawnModel; }
    const QPixmap& scoreHeader() const { return mScoreHeader; }
    const QPixmap& timingHeader() const { return mTimingHeader; }

private:
    void storeScoreRow(int row, const QPixmap& pixmap);
    void storeTimingRow(int row, const QPixmap& pixmap);
    void updateHeader(const QMap<int, QPixmap>& rows, QPixmap& header, int& cachedWidth);
    bool savePng(const QString& path, const QPixmap& pixmap, QString& error);

    QMap<int, QPixmap> mScoreRows;
    QMap<int, QPixmap> mDisplayedScoreRows;
    QMap<int, QPixmap> mTimingRows;
    QMap<int, QPixmap> mDisplayedTimingRows;
    QPixmap mScoreHeader;
    QPixmap mTimingHeader;
    int mScoreHeaderWidth = 0;
    int mTimingHeaderWidth = 0;
    float mZoom = 1.0f;
    float mBiggestRowWidth = 0;
    int mNumRows = 0;
    int mNextTimingRow = 0;
    PipeTuneModel mLastDrawnModel;
    QString mTuneName;
    QString mTuneType;
    QString mComposer;
};
