// Drawing the score, as the main window does: one changed row during a recording, and every
// row of a 64-bar tune when the widest row changes or the view is opened. The floor is the
// painting itself: the same lines, ellipses and rectangles, with the same pens and brushes,
// replayed onto a pixmap of the same size from a recording of the renderer's drawing.

#include "PipeTuneRenderer.h"
#include "RatioReporter.h"
#include "RecordingPaintDevice.h"
#include "TuneViewComposer.h"

#include <QGuiApplication>
#include <QPainter>

#include <benchmark/benchmark.h>

namespace {

using Item = PipeTuneModel::Item;
constexpr PipeTuneModel::NoteFlag kNone = PipeTuneModel::NoteFlagNone;
constexpr PipeTuneModel::NoteFlag kRight = PipeTuneModel::NoteFlagRight;
constexpr PipeTuneModel::NoteFlag kLeft = PipeTuneModel::NoteFlagLeft;

// A 4/4 march of 64 bars, four to a row, cycling through four bars of the usual figures:
// dotted pairs, beamed runs, crotchets, minims, grace notes and movements.
PipeTuneModel makeTune()
{
    const std::vector<std::vector<Item>> bars = {
        {{gg, 32, 0, kNone}, {LA, 4, 0, kNone}, {B, 8, 1, kRight}, {C, 16, 0, kLeft}, {dbd, 32, 0, kNone},
            {D, 4, 0, kNone}, {E, 8, 0, kRight}, {F, 8, 0, kLeft}},
        {{HA, 4, 0, kNone}, {HA, 8, 0, kRight}, {HG, 8, 0, kLeft}, {F, 8, 1, kRight}, {E, 16, 0, kLeft},
            {thrd, 32, 0, kNone}, {D, 4, 0, kNone}},
        {{gg, 32, 0, kNone}, {C, 8, 0, kRight}, {B, 16, 0, kLeft}, {LA, 16, 0, kLeft}, {LG, 8, 0, kRight},
            {dbla, 32, 0, kNone}, {LA, 8, 0, kLeft}, {grp, 32, 0, kNone}, {B, 2, 0, kNone}},
        {{LA, 16, 0, kRight}, {B, 16, 0, kLeft}, {C, 16, 0, kLeft}, {D, 16, 0, kLeft}, {tar, 32, 0, kNone},
            {E, 4, 0, kNone}, {brl, 32, 0, kNone}, {LA, 4, 0, kNone}, {HA, 8, 0, kRight}, {HG, 8, 0, kLeft}},
    };
    PipeTuneModel model;
    model.parts.emplace_back();
    for (int i = 0; i < 64; ++i) {
        PipeTuneModel::Bar bar;
        bar.items = bars[i % 4];
        bar.rowBreak = i % 4 == 3;
        model.parts[0].bars.push_back(bar);
    }
    return model;
}

// The renderer's drawing of one row, as data, and the size of its picture.
struct RecordedRow {
    QSize size;
    std::vector<RecordingPaintDevice::Op> ops;
};

RecordedRow recordRow(const PipeTuneModel& model, int row)
{
    PipeTuneRenderer renderer;
    renderer.setLastRowPadded(false);
    RecordedRow recorded;
    recorded.size = renderer.render(nullptr, model, row);
    RecordingPaintDevice device(recorded.size);
    QPainter painter(&device);
    renderer.render(&painter, model, row);
    painter.end();
    recorded.ops = device.ops();
    return recorded;
}

QPixmap replay(const RecordedRow& row)
{
    using Op = RecordingPaintDevice::Op;
    QPixmap pixmap(row.size);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing, true);
    for (const Op& op : row.ops) {
        painter.setPen(op.penColor.isValid() ? QPen(op.penColor, op.penWidth) : QPen(Qt::NoPen));
        painter.setBrush(op.brushColor.isValid() ? QBrush(op.brushColor) : QBrush());
        switch (op.kind) {
        case Op::Line: painter.drawLine(op.line.toLine()); break;
        case Op::Ellipse: painter.drawEllipse(op.rect); break;
        case Op::Rect: painter.drawRect(op.rect); break;
        default: break;
        }
    }
    return pixmap;
}

const PipeTuneModel& tune()
{
    static const PipeTuneModel model = makeTune();
    return model;
}

constexpr int kRow = 7; // a justified row in the middle of the tune

void oneRowFloor(benchmark::State& state)
{
    const RecordedRow row = recordRow(tune(), kRow);
    for (auto _ : state)
        benchmark::DoNotOptimize(replay(row));
}

void oneRow(benchmark::State& state)
{
    for (auto _ : state) {
        PipeTuneRenderer renderer;
        renderer.setLastRowPadded(false);
        benchmark::DoNotOptimize(renderer.render(tune(), kRow));
    }
}

void fullRedrawFloor(benchmark::State& state)
{
    std::vector<RecordedRow> rows;
    for (int row = 0; row < 16; ++row)
        rows.push_back(recordRow(tune(), row));
    for (auto _ : state)
        for (const RecordedRow& row : rows)
            benchmark::DoNotOptimize(replay(row));
}

// All sixteen rows drawn from nothing, then stacked under the header into the view's picture.
void fullRedraw(benchmark::State& state)
{
    for (auto _ : state) {
        TuneViewComposer composer;
        composer.updateScoreRows(tune());
        benchmark::DoNotOptimize(composer.scorePixmap());
    }
}

BENCHMARK(oneRowFloor)->Unit(benchmark::kMicrosecond);
BENCHMARK(oneRow)->Unit(benchmark::kMicrosecond);
BENCHMARK(fullRedrawFloor)->Unit(benchmark::kMicrosecond);
BENCHMARK(fullRedraw)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    // Pixmaps need a GUI application; a benchmark never shows a window.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    return RatioReporter::runAll(argc, argv, {{"oneRow", "oneRowFloor"}, {"fullRedraw", "fullRedrawFloor"}});
}
