#include "TuneViewComposer.h"

#include "PipeTuneRenderer.h"

#include <QFile>
#include <QFont>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <set>

// The placeholder picture lives in this library's resources; a static library's resources
// are only linked in when something names them, so every program that composes gets them.
static void initViewsResources()
{
    static const bool done = [] {
        Q_INIT_RESOURCE(views);
        return true;
    }();
    (void)done;
}

TuneViewComposer::TuneViewComposer() { initViewsResources(); }

void TuneViewComposer::setTuneDetails(const QString& name, const QString& type, const QString& composer)
{
    mTuneName = name;
    mTuneType = type;
    mComposer = composer;
    // The texts are in the header pictures: make both again at the next composition.
    mScoreHeaderWidth = 0;
    mTimingHeaderWidth = 0;
}

void TuneViewComposer::storeScoreRow(int row, const QPixmap& pixmap)
{
    mScoreRows[row] = pixmap;
    mDisplayedScoreRows[row] = scaleByZoom(pixmap, false);
}

void TuneViewComposer::storeTimingRow(int row, const QPixmap& pixmap)
{
    mTimingRows[row] = pixmap;
    mDisplayedTimingRows[row] = scaleByZoom(pixmap, false);
}

void TuneViewComposer::updateScoreRows(const PipeTuneModel& model)
{
    const std::vector<int> rows = getChangedRows(model, mLastDrawnModel);
    PipeTuneRenderer renderer;
    renderer.setLastRowPadded(false);
    if (!rows.empty()) {
        std::set<int> done;
        for (int row : rows) {
            storeScoreRow(row, renderer.render(model, row));
            done.insert(row);
        }
        int firstAdded = 0;
        int endAdded = 0;
        if (std::fabs(renderer.biggestRowWidth() - mBiggestRowWidth) <= 0.5f) {
            // The row before the new ones was the unpadded last row and is now justified.
            if (renderer.numRows() > mNumRows) {
                firstAdded = std::max(mNumRows - 1, 0);
                endAdded = renderer.numRows();
            }
        } else {
            mBiggestRowWidth = renderer.biggestRowWidth();
            endAdded = renderer.numRows();
        }
        mNumRows = renderer.numRows();
        for (int row = firstAdded; row < endAdded; ++row)
            if (!done.count(row))
                storeScoreRow(row, renderer.render(model, row));
    }
    // A tune quantised again with other settings can have fewer rows than the one drawn
    // before: its old rows must not linger under the new ones, and the widest row and the
    // last row may have changed, so every row is drawn again.
    int closedRows = 0;
    for (const PipeTuneModel::Part& part : model.parts)
        for (const PipeTuneModel::Bar& bar : part.bars)
            closedRows += bar.rowBreak ? 1 : 0;
    if (!mScoreRows.isEmpty() && mScoreRows.lastKey() >= closedRows) {
        mScoreRows.clear();
        mDisplayedScoreRows.clear();
        for (int row = 0; row < closedRows; ++row)
            storeScoreRow(row, renderer.render(model, row));
        mBiggestRowWidth = renderer.biggestRowWidth();
        mNumRows = closedRows;
    }
    mLastDrawnModel = model;
}

void TuneViewComposer::updateTimingRows(const NoteMap& melody, const NoteMap& grace, float timeShift_s,
    float beatDuration_s, int beatsPerBar, float secsPerRow_s)
{
    PipeTuneRenderer renderer;
    renderer.setLastRowPadded(false);
    const QPixmap lastRow = renderer.render(melody, grace, timeShift_s, beatDuration_s, beatsPerBar, secsPerRow_s, -2);
    const int last = renderer.numRows() - 1;
    if (last >= 0)
        storeTimingRow(last, lastRow);
    for (int row = mNextTimingRow; row < last; ++row)
        storeTimingRow(
            row, renderer.render(melody, grace, timeShift_s, beatDuration_s, beatsPerBar, secsPerRow_s, row));
    mNextTimingRow = std::max(last, 0);
}

void TuneViewComposer::reset()
{
    mLastDrawnModel.clear();
    mScoreRows.clear();
    mDisplayedScoreRows.clear();
    mTimingRows.clear();
    mDisplayedTimingRows.clear();
    mScoreHeaderWidth = 0;
    mTimingHeaderWidth = 0;
    mNumRows = 0;
    mNextTimingRow = 0;
}

void TuneViewComposer::zoomTo100()
{
    mZoom = 1.0f;
    mDisplayedScoreRows = mScoreRows;
    mDisplayedTimingRows = mTimingRows;
    mScoreHeaderWidth = 0;
    mTimingHeaderWidth = 0;
}

void TuneViewComposer::zoomTo50()
{
    mZoom = 0.5f;
    mDisplayedScoreRows.clear();
    mDisplayedTimingRows.clear();
    for (auto it = mScoreRows.cbegin(); it != mScoreRows.cend(); ++it)
        mDisplayedScoreRows[it.key()] = scaleByZoom(it.value(), false);
    for (auto it = mTimingRows.cbegin(); it != mTimingRows.cend(); ++it)
        mDisplayedTimingRows[it.key()] = scaleByZoom(it.value(), false);
    mScoreHeaderWidth = 0;
    mTimingHeaderWidth = 0;
}

QPixmap TuneViewComposer::scaleByZoom(const QPixmap& pixmap, bool smooth) const
{
    if (pixmap.isNull() || !(mZoom < 0.9999f))
        return pixmap;
    return pixmap.scaledToWidth(
        int(pixmap.width() * mZoom), smooth ? Qt::SmoothTransformation : Qt::FastTransformation);
}

QPixmap TuneViewComposer::generateHeaderPixmap(int width) const
{
    QPixmap pixmap(width, 100);
    pixmap.fill(Qt::white);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setRenderHint(QPainter::TextAntialiasing, true);
    painter.setPen(Qt::black);

    QFont font = painter.font();
    QRect rect = pixmap.rect().adjusted(5, 5, -5, 0);
    font.setPixelSize(30);
    painter.setFont(font);
    painter.drawText(rect, Qt::AlignHCenter | Qt::AlignTop, mTuneName);

    font.setPixelSize(20);
    font.setItalic(true);
    painter.setFont(font);
    rect.setTop(rect.top() + 45);
    painter.drawText(rect, Qt::AlignLeft | Qt::AlignTop, mTuneType);
    painter.drawText(rect, Qt::AlignRight | Qt::AlignTop, mComposer);

    font.setPixelSize(10);
    painter.setFont(font);
    rect.setTop(rect.top() + 30);
    painter.drawText(rect, Qt::AlignRight | Qt::AlignTop, QStringLiteral("Ceolmark"));
    return pixmap;
}

void TuneViewComposer::updateHeader(const QMap<int, QPixmap>& rows, QPixmap& header, int& cachedWidth)
{
    int width = 400;
    for (const QPixmap& row : rows)
        width = std::max(width, row.width());
    if (width == cachedWidth)
        return;
    header = scaleByZoom(generateHeaderPixmap(width), true);
    cachedWidth = width;
}

void TuneViewComposer::updateScoreHeaderPixmap() { updateHeader(mScoreRows, mScoreHeader, mScoreHeaderWidth); }

void TuneViewComposer::updateTimingHeaderPixmap() { updateHeader(mTimingRows, mTimingHeader, mTimingHeaderWidth); }

QPixmap TuneViewComposer::placeholderPixmap()
{
    initViewsResources();
    return QPixmap(QStringLiteral(":/fancy_pipes"));
}

QPixmap TuneViewComposer::combineRowPixmaps(const QMap<int, QPixmap>& rows, const QPixmap& header)
{
    QList<QPixmap> pictures = rows.values();
    pictures.prepend(header);
    if (pictures.size() == 1) {
        const QPixmap placeholder = placeholderPixmap();
        if (!placeholder.isNull())
            pictures.append(placeholder.scaledToWidth(header.width(), Qt::SmoothTransformation));
    }
    int width = 0;
    int height = 0;
    for (const QPixmap& picture : pictures) {
        width = std::max(width, picture.width());
        height += picture.height();
    }
    QPixmap combined(width, height);
    if (combined.isNull())
        return combined;
    combined.fill(Qt::white);
    QPainter painter(&combined);
    int y = 0;
    for (const QPixmap& picture : pictures) {
        if (!picture.isNull())
            painter.drawPixmap(0, y, picture);
        y += picture.height();
    }
    return combined;
}

QPixmap TuneViewComposer::scorePixmap()
{
    updateScoreHeaderPixmap();
    return combineRowPixmaps(mDisplayedScoreRows, mScoreHeader);
}

QPixmap TuneViewComposer::timingPixmap()
{
    updateTimingHeaderPixmap();
    return combineRowPixmaps(mDisplayedTimingRows, mTimingHeader);
}

bool TuneViewComposer::savePng(const QString& path, const QPixmap& pixmap, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        error = file.errorString();
        return false;
    }
    if (!pixmap.save(&file, "PNG")) {
        error = file.error() != QFileDevice::NoError ? file.errorString() : QStringLiteral("Cannot encode the picture");
        return false;
    }
    return true;
}

bool TuneViewComposer::saveScorePng(const QString& path, QString& error) { return savePng(path, scorePixmap(), error); }

bool TuneViewComposer::saveTimingPng(const QString& path, QString& error)
{
    return savePng(path, timingPixmap(), error);
}
