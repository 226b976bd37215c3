#include "PipeTuneRenderer.h"
#include "RecordingPaintDevice.h"
#include "TestScores.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <algorithm>

// Geometry of the score at full size: the top staff line of the first row is at y 40, lines
// 10 apart; a melody head is 9 wide, a bar starts with a 10-pixel gap and every melody note
// is followed by one. So the first head of a row's first bar has its left edge at x 30.

using Op = RecordingPaintDevice::Op;
using Flag = PipeTuneModel::NoteFlag;

namespace {

struct Drawing {
    QSize size;
    std::vector<Op> ops;

    std::vector<Op> ellipses(qreal width) const
    {
        std::vector<Op> result;
        for (const Op& op : ops)
            if (op.kind == Op::Ellipse && qAbs(op.rect.width() - width) < 0.01)
                result.push_back(op);
        return result;
    }
    std::vector<QLineF> lines(bool (*accept)(const QLineF&)) const
    {
        std::vector<QLineF> result;
        for (const Op& op : ops)
            if (op.kind == Op::Line && accept(op.line))
                result.push_back(op.line);
        return result;
    }
    bool hasLine(QLineF line) const
    {
        return std::any_of(
            ops.begin(), ops.end(), [&](const Op& op) { return op.kind == Op::Line && op.line == line; });
    }
    std::vector<Op> rects(QColor brush) const
    {
        std::vector<Op> result;
        for (const Op& op : ops)
            if (op.kind == Op::Rect && op.brushColor == brush)
                result.push_back(op);
        return result;
    }
};

bool isBarLine(const QLineF& l) { return l.x1() == l.x2() && l.y2() - l.y1() == 40 && int(l.y1()) % 120 == 40; }
bool isHorizontal(const QLineF& l) { return l.y1() == l.y2(); }
bool isSloped(const QLineF& l) { return l.y1() != l.y2() && l.x1() != l.x2(); }

Drawing drawScore(const PipeTuneModel& model, int row, bool lastRowPadded = true)
{
    PipeTuneRenderer renderer;
    renderer.setLastRowPadded(lastRowPadded);
    Drawing drawing;
    drawing.size = renderer.render(nullptr, model, row);
    RecordingPaintDevice device(drawing.size.isValid() ? drawing.size : QSize(1, 1));
    QPainter painter(&device);
    renderer.render(&painter, model, row);
    painter.end();
    drawing.ops = device.ops();
    return drawing;
}

Drawing drawTiming(
    const NoteMap& melody, const NoteMap& grace, float beat_s, int beatsPerBar, float rowDuration_s, int row)
{
    PipeTuneRenderer renderer;
    Drawing drawing;
    drawing.size = renderer.render(nullptr, melody, grace, 0, beat_s, beatsPerBar, rowDuration_s, row);
    RecordingPaintDevice device(drawing.size.isValid() ? drawing.size : QSize(1, 1));
    QPainter painter(&device);
    renderer.render(&painter, melody, grace, 0, beat_s, beatsPerBar, rowDuration_s, row);
    painter.end();
    drawing.ops = device.ops();
    return drawing;
}

NoteMap notes(std::vector<PipeNote> list)
{
    NoteMap map;
    for (const PipeNote& note : list)
        map.emplace(note.start_s(), note);
    return map;
}

std::vector<qreal> barLineXs(const Drawing& drawing, int row)
{
    std::vector<qreal> xs;
    for (const QLineF& line : drawing.lines(isBarLine))
        if (int(line.y1()) == 40 + 120 * row)
            xs.push_back(line.x1());
    std::sort(xs.begin(), xs.end());
    return xs;
}

// Two rows; the second has half the notes of the first. Each bar of the first row is
// 10 + 2 * (9 + 10) = 48 wide, so the widest row is 96 and the picture 136 wide.
PipeTuneModel twoRowTune()
{
    return makeModel({makeBar({makeNote(LA, 4), makeNote(B, 4)}), makeBar({makeNote(C, 4), makeNote(D, 4)}, true),
        makeBar({makeNote(E, 4)}), makeBar({makeNote(F, 4)}, true)});
}

} // namespace

TEST(PipeTuneRendererTest, StaffLinesAndJustifiedBarLines)
{
    const Drawing drawing = drawScore(twoRowTune(), -1);
    EXPECT_EQ(drawing.size, QSize(136, 240));
    for (int row = 0; row < 2; ++row)
        for (int i = 0; i < 5; ++i) {
            SCOPED_TRACE(testing::Message() << "row " << row << " line " << i);
            const qreal y = 40 + 120 * row + 10 * i;
            EXPECT_TRUE(drawing.hasLine(QLineF(20, y, 116, y)));
        }
    // The short second row is stretched to the width of the first: its bar lines match.
    const std::vector<qreal> expected = {20, 68, 116};
    EXPECT_EQ(barLineXs(drawing, 0), expected);
    EXPECT_EQ(barLineXs(drawing, 1), expected);

    PipeTuneRenderer renderer;
    EXPECT_EQ(renderer.render(twoRowTune(), -2).size(), QSize(136, 120));
    EXPECT_TRUE(renderer.render(twoRowTune(), 2).isNull()) << "no third row";
    EXPECT_TRUE(renderer.render(PipeTuneModel(), -1).isNull());
    EXPECT_EQ(renderer.numRows(), 0);
}

TEST(PipeTuneRendererTest, LastRowKeepsItsOwnLengthOrSnapsToTheEdge)
{
    // Natural width of the second row: two bars of 10 + 9 + 10.
    const Drawing drawing = drawScore(twoRowTune(), -1, false);
    EXPECT_EQ(barLineXs(drawing, 0), (std::vector<qreal>{20, 68, 116}));
    EXPECT_EQ(barLineXs(drawing, 1), (std::vector<qreal>{20, 49, 78}));

    // A dotted grace note makes the first row 2.7 pixels wider than the second: less than 5,
    // so the unpadded last row still ends on the right edge (20 + 40.67).
    const PipeTuneModel nearlyEqual = makeModel(
        {makeBar({makeGrace(gg, 1), makeNote(LA, 4)}, true), makeBar({makeGrace(gg), makeNote(LA, 4)}, true)});
    const Drawing snapped = drawScore(nearlyEqual, -1, false);
    EXPECT_EQ(barLineXs(snapped, 1), (std::vector<qreal>{20, 60}));
}

TEST(PipeTuneRendererTest, OneFilledHeadPerMelodyNoteAtItsPitch)
{
    const std::vector<PipeNoteName> scale = {LG, LA, B, C, D, E, F, HG, HA};
    std::vector<PipeTuneModel::Item> items;
    for (PipeNoteName name : scale)
        items.push_back(makeNote(name, 4));
    const Drawing drawing = drawScore(makeModel({makeBar(items, true)}), 0);
    const std::vector<Op> heads = drawing.ellipses(9);
    ASSERT_EQ(heads.size(), scale.size());
    // LG on the second line from the bottom (y 70), up in half spaces to HA above the stave.
    const qreal expectedY[] = {70, 65, 60, 55, 50, 45, 40, 35, 30};
    for (size_t i = 0; i < heads.size(); ++i) {
        SCOPED_TRACE(toString(scale[i]));
        EXPECT_DOUBLE_EQ(heads[i].rect.center().y(), expectedY[i]);
        EXPECT_DOUBLE_EQ(heads[i].rect.left(), 30 + 19 * i);
        EXPECT_EQ(heads[i].brushColor, QColor(Qt::black));
    }
}

TEST(PipeTuneRendererTest, HeadsAndStemsByNoteValue)
{
    struct Case {
        int duration;
        QColor head;
        int stems;
        int tails;
    };
    const Case cases[] = {
        {1, Qt::white, 0, 0}, {2, Qt::white, 1, 0}, {4, Qt::black, 1, 0}, {8, Qt::black, 1, 1}, {16, Qt::black, 1, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.duration);
        const Drawing drawing = drawScore(makeModel({makeBar({makeNote(B, c.duration)}, true)}), 0);
        const std::vector<Op> heads = drawing.ellipses(9);
        ASSERT_EQ(heads.size(), 1u);
        EXPECT_EQ(heads[0].brushColor, c.head);
        // A free stem hangs from the head's left edge (B at y 60) for seven half spaces.
        EXPECT_EQ(drawing.hasLine(QLineF(30, 60, 30, 95)), c.stems == 1);
        EXPECT_EQ(int(drawing.lines(isSloped).size()), c.tails);
    }
}

TEST(PipeTuneRendererTest, ShortNotesOfABeatAreBeamed)
{
    // Four semiquavers: stems at x 30, 49, 68, 87 end on one line at y 100, with two beams.
    const PipeTuneModel fourSixteenths
        = makeModel({makeBar({makeNote(LA, 16, 0, Flag::NoteFlagRight), makeNote(B, 16, 0, Flag::NoteFlagLeft),
                                 makeNote(C, 16, 0, Flag::NoteFlagLeft), makeNote(D, 16, 0, Flag::NoteFlagLeft)},
            true)});
    const Drawing drawing = drawScore(fourSixteenths, 0);
    const qreal stems[] = {30, 49, 68, 87};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(drawing.hasLine(QLineF(stems[i], 100, stems[i + 1], 100)));
        EXPECT_TRUE(drawing.hasLine(QLineF(stems[i], 95, stems[i + 1], 95)));
    }
    EXPECT_TRUE(drawing.lines(isSloped).empty()) << "joined notes have no tails";
    // Stems: the head's centre down to the beam line.
    EXPECT_TRUE(drawing.hasLine(QLineF(30, 65, 30, 100)));
    EXPECT_TRUE(drawing.hasLine(QLineF(87, 50, 87, 100)));

    // A dotted quaver and a semiquaver: one beam, and the semiquaver's second level as a
    // short tail pointing back. The dotted head is 9 + 6 wide, so the second stem is at 55.
    const Drawing dotted = drawScore(
        makeModel({makeBar({makeNote(LA, 8, 1, Flag::NoteFlagRight), makeNote(B, 16, 0, Flag::NoteFlagLeft)}, true)}),
        0);
    EXPECT_TRUE(dotted.hasLine(QLineF(30, 100, 55, 100)));
    EXPECT_TRUE(dotted.hasLine(QLineF(55, 95, 46, 95)));
    EXPECT_FALSE(dotted.hasLine(QLineF(30, 95, 55, 95)));

    // A lone quaver keeps a free stem with one tail.
    const Drawing lone = drawScore(makeModel({makeBar({makeNote(LA, 8)}, true)}), 0);
    EXPECT_TRUE(lone.hasLine(QLineF(30, 65, 30, 100)));
    EXPECT_TRUE(lone.hasLine(QLineF(30, 100, 39, 93)));
}

TEST(PipeTuneRendererTest, MovementsAndSingleGraceNotes)
{
    // A grip (LG D LG) before a crotchet: three small heads 6 apart, stems on one line 25 above
    // the stave, three beams between the first and the last stem, no tails.
    const Drawing grip = drawScore(makeModel({makeBar({makeGrace(grp), makeNote(LA, 4)}, true)}), 0);
    const std::vector<Op> heads = grip.ellipses(4);
    ASSERT_EQ(heads.size(), 3u);
    const qreal headY[] = {70, 50, 70};
    for (int i = 0; i < 3; ++i) {
        EXPECT_DOUBLE_EQ(heads[i].rect.left(), 30 + 6 * i);
        EXPECT_DOUBLE_EQ(heads[i].rect.center().y(), headY[i]);
        EXPECT_TRUE(grip.hasLine(QLineF(34 + 6 * i, headY[i], 34 + 6 * i, 15)));
    }
    for (int level : {15, 20, 25})
        EXPECT_TRUE(grip.hasLine(QLineF(34, level, 46, level))) << level;
    EXPECT_TRUE(grip.lines(isSloped).empty());

    // A single G grace note: one small head on HG's space, a free stem and three tails.
    const Drawing single = drawScore(makeModel({makeBar({makeGrace(gg), makeNote(LA, 4)}, true)}), 0);
    ASSERT_EQ(single.ellipses(4).size(), 1u);
    EXPECT_TRUE(single.hasLine(QLineF(34, 35, 34, 15)));
    EXPECT_EQ(single.lines(isSloped), (std::vector<QLineF>{{34, 15, 38, 18}, {34, 20, 38, 23}, {34, 25, 38, 28}}));

    // Five heads of a G-gracenote birl, all beamed.
    const Drawing birl = drawScore(makeModel({makeBar({makeGrace(gbr), makeNote(LA, 4)}, true)}), 0);
    EXPECT_EQ(birl.ellipses(4).size(), 5u);
    EXPECT_TRUE(birl.hasLine(QLineF(34, 15, 58, 15)));
}

TEST(PipeTuneRendererTest, OnlyHighAHasALedgerLine)
{
    std::vector<PipeTuneModel::Item> items;
    for (PipeNoteName name : {LG, LA, B, C, D, E, F, HG, HA})
        items.push_back(makeNote(name, 4));
    const Drawing drawing = drawScore(makeModel({makeBar(items, true)}), 0);
    std::vector<QLineF> extra;
    for (const QLineF& line : drawing.lines(isHorizontal))
        if (line.x1() != 20)
            extra.push_back(line);
    // HA is the ninth head, at x 30 + 8 * 19 = 182; its line reaches a quarter head beyond.
    EXPECT_EQ(extra, (std::vector<QLineF>{{179, 30, 193, 30}}));
}

TEST(PipeTuneRendererTest, DotsStandInASpace)
{
    struct Case {
        PipeNoteName name;
        qreal dotY;
    };
    // Notes on a line take the space above; HA keeps its dot on the ledger line.
    const Case cases[] = {{LG, 65}, {LA, 65}, {B, 55}, {E, 45}, {F, 35}, {HG, 35}, {HA, 30}};
    for (const Case& c : cases) {
        SCOPED_TRACE(toString(c.name));
        const Drawing drawing = drawScore(makeModel({makeBar({makeNote(c.name, 4, 1)}, true)}), 0);
        const std::vector<Op> dots = drawing.ellipses(3);
        ASSERT_EQ(dots.size(), 1u);
        EXPECT_DOUBLE_EQ(dots[0].rect.center().y(), c.dotY);
        // Head right edge 39, a gap of 3, then the dot of radius 1.5.
        EXPECT_DOUBLE_EQ(dots[0].rect.center().x(), 43.5);
    }
}

TEST(PipeTuneRendererTest, PixelsOfARenderedRow)
{
    PipeTuneRenderer renderer;
    const QImage image = renderer.render(makeModel({makeBar({makeNote(E, 2), makeNote(B, 4)}, true)}), 0).toImage();
    // A staff line is dark, the space between lines white, a semibreve's centre white inside
    // its black outline, a crotchet's centre black. x 60 is clear of both heads.
    EXPECT_LT(qGray(image.pixel(60, 50)), 80);
    EXPECT_EQ(image.pixel(60, 55), QColor(Qt::white).rgb());
    EXPECT_GT(qGray(image.pixel(34, 45)), 200);
    EXPECT_LT(qGray(image.pixel(53, 60)), 80);
}

TEST(PipeTuneRendererTest, TimingBeatLinesMarkTheBars)
{
    const NoteMap melody = notes({PipeNote(LA, 0, 1), PipeNote(B, 1, 1), PipeNote(C, 2, 1), PipeNote(D, 3, 1)});
    const Drawing drawing = drawTiming(melody, NoteMap(), 0.5f, 4, 5, -1);
    EXPECT_EQ(drawing.size, QSize(1280, 120));
    std::vector<std::pair<qreal, qreal>> beats; // x, pen width
    for (const Op& op : drawing.ops)
        if (op.kind == Op::Line && op.penColor == QColor(Qt::green)) {
            EXPECT_EQ(op.line.y1(), 40);
            EXPECT_EQ(op.line.y2(), 80);
            beats.emplace_back(op.line.x1(), op.penWidth);
        }
    // 248 pixels a second; the beats up to the last note's end at 4 s, every fourth a bar.
    const std::vector<std::pair<qreal, qreal>> expected
        = {{20, 3}, {144, 1}, {268, 1}, {392, 1}, {516, 3}, {640, 1}, {764, 1}, {888, 1}};
    EXPECT_EQ(beats, expected);
    EXPECT_EQ(drawing.rects(Qt::blue).size(), 4u);
    EXPECT_TRUE(drawing.rects(Qt::red).empty()) << "no note follows a gap";
}

TEST(PipeTuneRendererTest, TimingRedMarksForAttacksAfterAGap)
{
    // Gaps before the first (0.1 s after time 0) and the third note; 5 ms before the fourth
    // is below the 10 ms that counts as a gap.
    const NoteMap melody = notes(
        {PipeNote(LA, 0.1f, 0.4f), PipeNote(B, 0.5f, 0.5f), PipeNote(C, 1.2f, 0.3f), PipeNote(D, 1.505f, 0.5f)});
    const Drawing drawing = drawTiming(melody, NoteMap(), 0.5f, 4, 5, -1);
    const std::vector<Op> red = drawing.rects(Qt::red);
    ASSERT_EQ(red.size(), 2u);
    EXPECT_NEAR(red[0].rect.left(), 20 + 0.1 * 248, 1e-3);
    EXPECT_NEAR(red[1].rect.left(), 20 + 1.2 * 248, 1e-3);
    EXPECT_DOUBLE_EQ(red[0].rect.width(), 5);
    // LA's bar is 10 high around its line position, y 65.
    EXPECT_DOUBLE_EQ(red[0].rect.top(), 60);
}

TEST(PipeTuneRendererTest, TimingNoteAcrossARowEndInTwoPieces)
{
    // Rows of 2 s, 620 pixels a second; B from 1.6 s to 2.5 s crosses into the second row.
    const NoteMap melody = notes({PipeNote(LA, 0, 1.5f), PipeNote(B, 1.6f, 0.9f)});
    const Drawing all = drawTiming(melody, NoteMap(), 0.5f, 4, 2, -1);
    EXPECT_EQ(all.size, QSize(1280, 240));
    std::vector<QRectF> blue;
    for (const Op& op : all.rects(Qt::blue))
        blue.push_back(op.rect);
    ASSERT_EQ(blue.size(), 3u);
    EXPECT_NEAR(blue[1].left(), 20 + 1.6 * 620, 1e-3);
    EXPECT_NEAR(blue[1].right(), 1260, 1e-3);
    EXPECT_NEAR(blue[2].left(), 20, 1e-3);
    EXPECT_NEAR(blue[2].width(), 0.9 * 620 - 248, 1e-2);
    EXPECT_DOUBLE_EQ(blue[2].top(), 120 + 55);
    EXPECT_EQ(all.rects(Qt::red).size(), 1u);

    // The last row alone, at the top of a picture one row high: only the second piece.
    const Drawing last = drawTiming(melody, NoteMap(), 0.5f, 4, 2, -2);
    EXPECT_EQ(last.size, QSize(1280, 120));
    ASSERT_EQ(last.rects(Qt::blue).size(), 1u);
    EXPECT_DOUBLE_EQ(last.rects(Qt::blue)[0].rect.top(), 55);
    EXPECT_TRUE(last.rects(Qt::red).empty());
}

TEST(PipeTuneRendererTest, TimingRowsAndEmptyMelody)
{
    PipeTuneRenderer renderer;
    const NoteMap grace = notes({PipeNote(gg, 0, 0.02f)});
    EXPECT_TRUE(renderer.render(NoteMap(), grace, 0, 0.5f, 4, 5, -1).isNull());
    EXPECT_EQ(renderer.numRows(), 0);
    // A row shorter than a second counts as a second; a note ending exactly on a row's end
    // opens one more, empty row.
    EXPECT_EQ(renderer.render(notes({PipeNote(LA, 0, 2.5f)}), grace, 0, 0.5f, 4, 0, -1).height(), 3 * 120);
    EXPECT_EQ(renderer.render(notes({PipeNote(LA, 0, 4)}), grace, 0, 0.5f, 4, 2, -1).height(), 3 * 120);
    EXPECT_EQ(renderer.numRows(), 3);
}
