#include "PipeTuneRenderer.h"

#include "CeolmarkUtils.h"

#include <QLine>
#include <QPainter>
#include <QPen>
#include <QRectF>

#include <algorithm>
#include <cmath>

namespace {

// Rows of a model in reading order: each bar with the row it belongs to and its place in it.
template <typename Visit> void forEachBar(const PipeTuneModel& model, Visit visit)
{
    int row = 0;
    int barInRow = 0;
    for (const PipeTuneModel::Part& part : model.parts)
        for (const PipeTuneModel::Bar& bar : part.bars) {
            visit(bar, row, barInRow);
            if (bar.rowBreak) {
                ++row;
                barInRow = 0;
            } else {
                ++barInRow;
            }
        }
}

const float kGraceRadius = 2;
const float kGraceDotRadius = 0.6666667f;
const float kGraceDotGap = 1.3333334f;

} // namespace

float PipeTuneRenderer::getNoteYOffset(PipeNoteName name) const
{
    // Steps below the top line, LG..HA: LG sits on the second line from the bottom.
    static const int kSteps[] = {6, 5, 4, 3, 2, 1, 0, -1, -2};
    if (!isMelodyNote(name))
        return 0;
    return kSteps[name - LG] * mNoteStep;
}

bool PipeTuneRenderer::isNoteOnALine(PipeNoteName name)
{
    return name == LG || name == B || name == D || name == F || name == HA;
}

int PipeTuneRenderer::flagsForDuration(int duration)
{
    switch (duration) {
    case 8: return 1;
    case 16: return 2;
    case 32: return 3;
    default: return 0;
    }
}

void PipeTuneRenderer::drawLine(QPainter* painter, float x1, float y1, float x2, float y2)
{
    // Truncated, as everywhere in these drawings, so that lines fall on the same pixels at
    // every call and a redrawn row matches its neighbours.
    painter->drawLine(QLine(int(x1), int(y1), int(x2), int(y2)));
}

void PipeTuneRenderer::drawHorizBarLines(QPainter& painter, int rows, float width)
{
    for (int row = 0; row < rows; ++row)
        for (int i = 0; i < mNumStaffLines; ++i) {
            const float y = row * kRowHeight + mRowMargin + i * mLineSpacing;
            drawLine(&painter, mLeftMargin, y, mLeftMargin + width, y);
        }
}

void PipeTuneRenderer::drawShortFlag(
    QPainter* painter, int from, int to, PipeTuneModel::NoteFlag flag, float x, float y)
{
    if (!painter)
        return;
    const float length = flag == PipeTuneModel::NoteFlagRight ? 2 * mNoteRadius : -2 * mNoteRadius;
    for (int i = from; i < to; ++i)
        drawLine(painter, x, y - i * mFlagSpacing, x + length, y - i * mFlagSpacing);
}

float PipeTuneRenderer::drawNote(QPainter* painter, float y, float x, PipeNoteName name, PipeNoteType type,
    int duration, int dots, PipeTuneModel::NoteFlag flag, float& stemX, float& stemTipY)
{
    const bool melody = type == MelodyNoteType;
    const float r = melody ? mNoteRadius : kGraceRadius;
    const float headY = y + getNoteYOffset(name);
    const bool free = !(duration >= 5 && flag != PipeTuneModel::NoteFlagNone);
    // Melody stems hang down from the head's left edge; grace stems rise from its right edge.
    // Joined stems end on one level line, so that their beams are level.
    stemX = melody ? x : x + 2 * kGraceRadius;
    if (free)
        stemTipY = melody ? headY + 7 * mNoteStep : headY - 4 * mNoteStep;
    else
        stemTipY = melody ? y + 12 * mNoteStep : y - 5 * mNoteStep;
    const float dotRadius = melody ? r / 3 : kGraceDotRadius;
    const float dotGap = melody ? 2 * r / 3 : kGraceDotGap;
    const int numDots = std::max(dots, 0);
    const float width = 2 * r + numDots * (dotGap + 2 * dotRadius);
    if (!painter)
        return width;

    painter->setBrush(duration < 4 ? Qt::white : Qt::black);
    painter->drawEllipse(QRectF(x, headY - r, 2 * r, 2 * r));
    painter->setBrush(Qt::black);

    if (name == HA)
        drawLine(painter, x - 0.5f * r, headY, x + 2 * r + 0.5f * r, headY);

    // A note on a line has its dot in the space above; high A keeps it on its ledger line.
    const float dotY = isNoteOnALine(name) && name != HA ? headY - mNoteStep : headY;
    float dotX = x + 2 * r + dotGap + dotRadius;
    for (int i = 0; i < numDots; ++i) {
        painter->drawEllipse(QRectF(dotX - dotRadius, dotY - dotRadius, 2 * dotRadius, 2 * dotRadius));
        dotX += dotGap + 2 * dotRadius;
    }

    if (duration != 1)
        drawLine(painter, stemX, headY, stemX, stemTipY);

    if (free) {
        const float tailStep = melody ? -mFlagSpacing : mFlagSpacing;
        const float tailDx = melody ? 2 * r : 4;
        const float tailDy = melody ? 2 * r * -0.75f : 3;
        for (int i = 0; i < flagsForDuration(duration); ++i) {
            const float tailY = stemTipY + i * tailStep;
            drawLine(painter, stemX, tailY, stemX + tailDx, tailY + tailDy);
        }
    }
    return width;
}

float PipeTuneRenderer::drawItem(
    QPainter* painter, const PipeTuneModel::Item& item, float y, float x, float& stemX, float& stemTipY)
{
    const std::vector<PipeNoteName> names = getNoteNames(item.noteName);
    if (names.empty())
        return 0;
    const PipeNoteType type = noteTypeFromName(item.noteName);
    const bool grace = type != MelodyNoteType;
    const int duration = grace ? 32 : item.duration;
    const bool freeStem = (names.size() == 1 && item.flag == PipeTuneModel::NoteFlagNone) || duration < 5;
    // The heads of a movement share a beamed stem line even though the item itself is unjoined.
    const PipeTuneModel::NoteFlag headFlag = freeStem ? PipeTuneModel::NoteFlagNone
        : item.flag == PipeTuneModel::NoteFlagNone    ? PipeTuneModel::NoteFlagRight
                                                      : item.flag;
    float offset = 0;
    float firstStemX = 0;
    for (size_t k = 0; k < names.size(); ++k) {
        if (k > 0)
            offset += 2;
        offset += drawNote(painter, y, x + offset, names[k], type, duration, item.dots, headFlag, stemX, stemTipY);
        if (k == 0)
            firstStemX = stemX;
    }
    if (painter && grace && names.size() >= 2)
        for (int i = 0; i < 3; ++i)
            drawLine(
                painter, firstStemX, stemTipY + i * mLineSpacing * 0.5f, stemX, stemTipY + i * mLineSpacing * 0.5f);
    return offset;
}

std::pair<float, float> PipeTuneRenderer::drawBar(
    QPainter* painter, const PipeTuneModel::Bar& bar, float y, float x, float scale)
{
    using Flag = PipeTuneModel::NoteFlag;
    const float gap = 10 * scale;
    float position = x + gap;
    float padding = gap;

    // The joined run so far: the stem that the next left-joined note beams back to.
    Flag previousFlag = PipeTuneModel::NoteFlagNone;
    float previousStemX = -1;
    float previousTipY = -1;
    int previousBeams = 0;
    int previousLevelsDrawn = 0;

    for (size_t i = 0; i < bar.items.size(); ++i) {
        const PipeTuneModel::Item& item = bar.items[i];
        float stemX = 0;
        float stemTipY = 0;
        const float width = drawItem(painter, item, y, position, stemX, stemTipY);
        if (!isMelodyNote(item.noteName)) {
            position += width + gap * 0.5f;
            padding += gap * 0.5f;
            continue;
        }
        const int own = flagsForDuration(item.duration);
        switch (item.flag) {
        case PipeTuneModel::NoteFlagRight:
            if (previousFlag == PipeTuneModel::NoteFlagLeft)
                drawShortFlag(painter, previousLevelsDrawn, previousBeams, PipeTuneModel::NoteFlagLeft, previousStemX,
                    previousTipY);
            previousStemX = stemX;
            previousTipY = stemTipY;
            previousBeams = own;
            previousLevelsDrawn = 0;
            break;
        case PipeTuneModel::NoteFlagLeft:
            if (previousStemX == -1) {
                previousStemX = stemX;
                previousTipY = stemTipY;
                previousBeams = own;
                previousLevelsDrawn = 0;
                break;
            }
            {
                const int common = std::min(previousBeams, own);
                if (painter)
                    for (int k = 0; k < common; ++k)
                        drawLine(painter, previousStemX, previousTipY - k * mFlagSpacing, stemX,
                            stemTipY - k * mFlagSpacing);
                const int start = std::max(common, previousLevelsDrawn);
                if (previousBeams > start) {
                    // Levels of the previous note that this one does not share.
                    const bool right = previousFlag == PipeTuneModel::NoteFlagRight
                        || (previousFlag == PipeTuneModel::NoteFlagLeft && previousLevelsDrawn < common);
                    drawShortFlag(painter, start, previousBeams,
                        right ? PipeTuneModel::NoteFlagRight : PipeTuneModel::NoteFlagLeft, previousStemX,
                        previousTipY);
                }
                if (i + 1 == bar.items.size() && own > common)
                    drawShortFlag(painter, common, own, PipeTuneModel::NoteFlagLeft, stemX, stemTipY);
                previousStemX = stemX;
                previousTipY = stemTipY;
                previousLevelsDrawn = common;
                previousBeams = own;
            }
            break;
        default:
            if (previousFlag == PipeTuneModel::NoteFlagLeft && previousLevelsDrawn < previousBeams)
                drawShortFlag(painter, previousLevelsDrawn, previousBeams, PipeTuneModel::NoteFlagLeft, previousStemX,
                    previousTipY);
            previousStemX = -1;
            previousTipY = -1;
            previousBeams = 0;
            previousLevelsDrawn = 0;
            break;
        }
        previousFlag = Flag(item.flag);
        position += width + gap;
        padding += gap;
    }
    return {position - x, padding};
}

std::pair<float, float> PipeTuneRenderer::calcBarWidth(const PipeTuneModel::Bar& bar, float scale)
{
    return drawBar(nullptr, bar, 0, 0, scale);
}

bool PipeTuneRenderer::layoutScore(const PipeTuneModel& model, int& row, QSize& size)
{
    std::vector<std::vector<std::pair<float, float>>> rows(1);
    float rowTotal = 0;
    mBiggestRowWidth = 0;
    forEachBar(model, [&](const PipeTuneModel::Bar& bar, int, int) {
        const std::pair<float, float> measured = calcBarWidth(bar, 1);
        rows.back().push_back(measured);
        rowTotal += measured.first;
        if (bar.rowBreak) {
            mBiggestRowWidth = std::max(mBiggestRowWidth, rowTotal);
            rowTotal = 0;
            rows.emplace_back();
        }
    });
    rows.pop_back(); // the open row, never drawn
    mNumRows = int(rows.size());
    if (mBiggestRowWidth == 0)
        mBiggestRowWidth = rowTotal;
    if (mBiggestRowWidth == 0)
        return false;
    mBiggestRowWidth = std::max(mBiggestRowWidth, mMinimumScoreWidth);

    if (row == -2)
        row = mNumRows - 1;
    if (row >= mNumRows)
        return false;

    // Only a bar's padding stretches, never its heads; a wide bar takes a larger share.
    mRowScales.assign(rows.size(), {});
    for (size_t r = 0; r < rows.size(); ++r) {
        float rowWidth = 0;
        for (const std::pair<float, float>& bar : rows[r])
            rowWidth += bar.first;
        const float extra = mBiggestRowWidth - rowWidth;
        for (const std::pair<float, float>& bar : rows[r])
            mRowScales[r].push_back(extra > 1 ? ((bar.first / rowWidth) * extra + bar.second) / bar.second : 1.0f);
    }

    const int rowsInPicture = row < 0 ? mNumRows : 1;
    size = QSize(int(std::lround(2 * mLeftMargin + mBiggestRowWidth)), std::max(kRowHeight * rowsInPicture, 10));
    return true;
}

void PipeTuneRenderer::paintScore(QPainter& painter, const PipeTuneModel& model, int row, QSize size)
{
    painter.fillRect(QRect(QPoint(0, 0), size), Qt::white);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setRenderHint(QPainter::TextAntialiasing, true);
    painter.setPen(QPen(Qt::black, 2));
    painter.setBrush(Qt::black);
    drawHorizBarLines(painter, row < 0 ? mNumRows : 1, mBiggestRowWidth);

    float y = mRowMargin;
    float x = mLeftMargin;
    drawLine(&painter, x, y, x, y + mStaveHeight);
    const float rightEdge = mLeftMargin + mBiggestRowWidth;
    auto isDrawn = [&](int r) { return r < mNumRows && (row < 0 || row == r); };

    int barsLeft = 0;
    forEachBar(model, [&](const PipeTuneModel::Bar&, int, int) { ++barsLeft; });
    forEachBar(model, [&](const PipeTuneModel::Bar& bar, int r, int barInRow) {
        --barsLeft;
        if (!isDrawn(r))
            return;
        const float scale = !mLastRowPadded && r == mNumRows - 1 ? 1.0f : mRowScales[r][barInRow];
        x += drawBar(&painter, bar, y, x, scale).first;
        // Justified rows snap to the edge; a shorter last row keeps its own length.
        const float lineX = std::fabs(x - rightEdge) >= 5 ? x : rightEdge;
        drawLine(&painter, lineX, y, lineX, y + mStaveHeight);
        if (bar.rowBreak) {
            y += kRowHeight;
            x = mLeftMargin;
            if (barsLeft > 0 && isDrawn(r + 1))
                drawLine(&painter, x, y, x, y + mStaveHeight);
        }
    });
}

QSize PipeTuneRenderer::render(QPainter* painter, const PipeTuneModel& model, int row)
{
    QSize size;
    if (!layoutScore(model, row, size))
        return QSize();
    if (painter)
        paintScore(*painter, model, row, size);
    return size;
}

QPixmap PipeTuneRenderer::render(const PipeTuneModel& model, int row)
{
    QSize size;
    if (!layoutScore(model, row, size))
        return QPixmap();
    QPixmap pixmap(size);
    QPainter painter(&pixmap);
    paintScore(painter, model, row, size);
    return pixmap;
}

bool PipeTuneRenderer::layoutTiming(const NoteMap& melody, const NoteMap& grace, float timeShift_s, float rowDuration_s,
    int& row, QSize& size, TimingSetup& setup)
{
    timeShiftNotes(timeShift_s, melody, grace, setup.melody, setup.grace);
    if (setup.melody.empty())
        return false;
    setup.rowDuration_s = std::max(rowDuration_s, 1.0f);
    setup.lastEnd_s = std::prev(setup.melody.end())->second.getEnd_s();
    mNumRows = int(setup.lastEnd_s / setup.rowDuration_s + 1);
    if (row == -2)
        row = mNumRows - 1;
    setup.row = row < 0 ? -1 : row;
    const int rowsInPicture = row < 0 ? mNumRows : 1;
    size = QSize(kTimingWidth, std::max(kRowHeight * rowsInPicture, 10));
    return true;
}

float PipeTuneRenderer::timingRowTop(const TimingSetup& setup, int row) const
{
    if (setup.row >= 0)
        return row == setup.row ? mRowMargin : -1;
    return row >= 0 && row < mNumRows ? mRowMargin + kRowHeight * row : -1;
}

void PipeTuneRenderer::paintTiming(
    QPainter& painter, const TimingSetup& setup, float beatDuration_s, int beatsPerBar, QSize size)
{
    painter.fillRect(QRect(QPoint(0, 0), size), Qt::white);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setRenderHint(QPainter::TextAntialiasing, true);
    painter.setPen(QPen(Qt::black));
    const float staffWidth = kTimingWidth - 2 * mLeftMargin;
    drawHorizBarLines(painter, setup.row < 0 ? mNumRows : 1, staffWidth);

    const float rowDuration_s = setup.rowDuration_s;
    const float pixelsPerSecond = staffWidth / rowDuration_s;
    auto rowOf = [&](float t) { return int(t / rowDuration_s); };
    auto offsetInRow = [&](float t) { return (t - rowOf(t) * rowDuration_s) * pixelsPerSecond; };

    if (beatDuration_s > 0) {
        const QPen beatPen(Qt::green);
        QPen barPen(Qt::green);
        barPen.setWidth(3);
        for (int beat = 0;; ++beat) {
            const float t = beat * beatDuration_s;
            if (!(t < setup.lastEnd_s))
                break;
            const float y = timingRowTop(setup, rowOf(t));
            if (y < 0)
                continue;
            painter.setPen(beatsPerBar > 0 && beat % beatsPerBar == 0 ? barPen : beatPen);
            const float x = mLeftMargin + offsetInRow(t);
            drawLine(&painter, x, y, x, y + mStaveHeight);
        }
    }

    painter.setPen(QPen(Qt::black));
    float previousEnd_s = 0;
    for (const auto& entry : setup.melody) {
        const PipeNote& note = entry.second;
        const int r = rowOf(note.start_s());
        const float x0 = offsetInRow(note.start_s());
        const float w = note.duration_s() * pixelsPerSecond;
        const float room = staffWidth - x0;
        const float noteOffset = getNoteYOffset(note.noteName()) - mLineSpacing * 0.5f;
        const float y = timingRowTop(setup, r);
        if (y >= 0) {
            painter.setBrush(Qt::blue);
            painter.drawRect(QRectF(mLeftMargin + x0, y + noteOffset, std::min(w, room), mLineSpacing));
            // A note attacked after a gap is marked; one that follows directly is not.
            if (note.start_s() - previousEnd_s > 0.01f) {
                painter.setBrush(Qt::red);
                painter.drawRect(QRectF(mLeftMargin + x0, y + noteOffset, 5, mLineSpacing));
            }
        }
        const float nextY = timingRowTop(setup, r + 1);
        if (w > room && nextY >= 0) {
            painter.setBrush(Qt::blue);
            painter.drawRect(QRectF(mLeftMargin, nextY + noteOffset, w - room, mLineSpacing));
        }
        previousEnd_s = note.getEnd_s();
    }

    // Grace notes stand at their real time, drawn as in the score, with no width of their own.
    for (const auto& entry : setup.grace) {
        const PipeNote& note = entry.second;
        const float y = timingRowTop(setup, rowOf(note.start_s()));
        if (y < 0)
            continue;
        float stemX = 0;
        float stemTipY = 0;
        drawItem(&painter, PipeTuneModel::Item(note.noteName(), 32, 0, PipeTuneModel::NoteFlagNone), y,
            mLeftMargin + offsetInRow(note.start_s()), stemX, stemTipY);
    }
}

QSize PipeTuneRenderer::render(QPainter* painter, const NoteMap& melody, const NoteMap& grace, float timeShift_s,
    float beatDuration_s, int beatsPerBar, float rowDuration_s, int row)
{
    QSize size;
    TimingSetup setup;
    if (!layoutTiming(melody, grace, timeShift_s, rowDuration_s, row, size, setup))
        return QSize();
    if (painter)
        paintTiming(*painter, setup, beatDuration_s, beatsPerBar, size);
    return size;
}

QPixmap PipeTuneRenderer::render(const NoteMap& melody, const NoteMap& grace, float timeShift_s, float beatDuration_s,
    int beatsPerBar, float rowDuration_s, int row)
{
    QSize size;
    TimingSetup setup;
    if (!layoutTiming(melody, grace, timeShift_s, rowDuration_s, row, size, setup))
        return QPixmap();
    QPixmap pixmap(size);
    QPainter painter(&pixmap);
    paintTiming(painter, setup, beatDuration_s, beatsPerBar, size);
    return pixmap;
}
