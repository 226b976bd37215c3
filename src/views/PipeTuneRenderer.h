#pragma once

#include "PipeNote.h"
#include "PipeTuneModel.h"

#include <QPixmap>
#include <QSize>

#include <utility>
#include <vector>

class QPainter;

// Draws a score model as sheet music, and a note map as the timing view, with lines,
// ellipses and rectangles only. All sizes are pixels at full size. Make one per result:
// numRows and biggestRowWidth describe the last render.
//
// Each render has two forms: one returns a white QPixmap of the picture; the other draws the
// same picture into any painter (origin at the picture's top left) and returns its size, an
// empty QSize where the pixmap form would be null. Interface thread only (QPixmap).
class PipeTuneRenderer {
public:
    PipeTuneRenderer() = default;
    virtual ~PipeTuneRenderer() = default;

    // row: a row index, -1 for all rows in one picture, -2 for the last row. Rows are justified
    // to the widest. A row not below numRows, or a model with nothing to draw, gives null.
    QPixmap render(const PipeTuneModel& model, int row);
    QSize render(QPainter* painter, const PipeTuneModel& model, int row);

    // The timing view: rows of rowDuration_s (at least 1 s) over a 1280-pixel picture, notes as
    // bars at their pitch, beats and bars as green lines. row as above. An empty melody map
    // gives null and leaves numRows as it was; biggestRowWidth is not touched.
    QPixmap render(const NoteMap& melody, const NoteMap& grace, float timeShift_s, float beatDuration_s,
        int beatsPerBar, float rowDuration_s, int row);
    QSize render(QPainter* painter, const NoteMap& melody, const NoteMap& grace, float timeShift_s,
        float beatDuration_s, int beatsPerBar, float rowDuration_s, int row);

    int numRows() const { return mNumRows; }
    float biggestRowWidth() const { return mBiggestRowWidth; }
    // False keeps the last score row at its natural spacing while it grows.
    void setLastRowPadded(bool padded) { mLastRowPadded = padded; }
    // A lower bound on biggestRowWidth, in pixels.
    void setMinimumScoreWidth(float width) { mMinimumScoreWidth = width; }

    // Distance of a melody note's centre below the top staff line, in pixels (negative above);
    // 0 for anything that is not a melody note.
    float getNoteYOffset(PipeNoteName name) const;
    // True for the notes written on a line: LG, B, D, F and HA (on its ledger line).
    static bool isNoteOnALine(PipeNoteName name);
    // Tails or beams of a note value: 1 for 8, 2 for 16, 3 for 32, else 0.
    static int flagsForDuration(int duration);

    static constexpr int kRowHeight = 120; // staveHeight + 2 * rowMargin
    static constexpr int kTimingWidth = 1280;

private:
    // Width and stretchable padding of one bar at the given scale of its gaps. A null painter
    // measures only.
    std::pair<float, float> drawBar(QPainter* painter, const PipeTuneModel::Bar& bar, float y, float x, float scale);
    std::pair<float, float> calcBarWidth(const PipeTuneModel::Bar& bar, float scale);
    float drawItem(QPainter* painter, const PipeTuneModel::Item& item, float y, float x, float& stemX, float& stemTipY);
    float drawNote(QPainter* painter, float y, float x, PipeNoteName name, PipeNoteType type, int duration, int dots,
        PipeTuneModel::NoteFlag flag, float& stemX, float& stemTipY);
    void drawShortFlag(QPainter* painter, int from, int to, PipeTuneModel::NoteFlag flag, float x, float y);
    void drawHorizBarLines(QPainter& painter, int rows, float width);
    void drawLine(QPainter* painter, float x1, float y1, float x2, float y2);

    // Measures every bar into mRowBars and resolves row; false when there is nothing to draw.
    bool layoutScore(const PipeTuneModel& model, int& row, QSize& size);
    void paintScore(QPainter& painter, const PipeTuneModel& model, int row, QSize size);
    struct TimingSetup {
        NoteMap melody; // shifted
        NoteMap grace; // shifted
        float rowDuration_s = 1;
        float lastEnd_s = 0;
        int row = -1; // resolved: -1 for all rows
    };
    bool layoutTiming(const NoteMap& melody, const NoteMap& grace, float timeShift_s, float rowDuration_s, int& row,
        QSize& size, TimingSetup& setup);
    void paintTiming(QPainter& painter, const TimingSetup& setup, float beatDuration_s, int beatsPerBar, QSize size);
    // Top staff line of a row in the picture, or -1 when that row is not in it.
    float timingRowTop(const TimingSetup& setup, int row) const;

    float mLineSpacing = 10;
    int mNumStaffLines = 5;
    int mStaveHeight = 40;
    int mRowMargin = 40;
    int mLeftMargin = 20;
    float mFlagSpacing = 5;
    float mNoteStep = 5;
    float mNoteRadius = 4.5f;
    float mMinimumScoreWidth = 0;
    int mNumRows = 0;
    bool mLastRowPadded = true;
    float mBiggestRowWidth = 0;

    // Per closed row, the justified scale of each bar's gaps.
    std::vector<std::vector<float>> mRowScales;
};
