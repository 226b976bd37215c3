#include "RecordingPaintDevice.h"

#include <QPainter>

class RecordingPaintDevice::Engine : public QPaintEngine {
public:
    explicit Engine(std::vector<Op>& ops)
        : QPaintEngine(QPaintEngine::AllFeatures)
        , mOps(ops)
    {
    }

    bool begin(QPaintDevice*) override { return true; }
    bool end() override { return true; }
    void updateState(const QPaintEngineState&) override { }
    Type type() const override { return QPaintEngine::User; }

    void drawLines(const QLineF* lines, int count) override
    {
        for (int i = 0; i < count; ++i)
            record(Op::Line).line = lines[i];
    }
    void drawLines(const QLine* lines, int count) override
    {
        for (int i = 0; i < count; ++i)
            record(Op::Line).line = QLineF(lines[i]);
    }
    void drawEllipse(const QRectF& rect) override { record(Op::Ellipse).rect = rect; }
    void drawEllipse(const QRect& rect) override { record(Op::Ellipse).rect = QRectF(rect); }
    void drawRects(const QRectF* rects, int count) override
    {
        for (int i = 0; i < count; ++i)
            record(Op::Rect).rect = rects[i];
    }
    void drawRects(const QRect* rects, int count) override
    {
        for (int i = 0; i < count; ++i)
            record(Op::Rect).rect = QRectF(rects[i]);
    }
    void drawTextItem(const QPointF& point, const QTextItem& item) override
    {
        Op& op = record(Op::Text);
        op.text = item.text();
        op.rect = QRectF(point, QSizeF());
    }
    void drawPath(const QPainterPath&) override { record(Op::Other); }
    void drawPolygon(const QPointF*, int, PolygonDrawMode) override { record(Op::Other); }
    void drawPixmap(const QRectF& rect, const QPixmap&, const QRectF&) override { record(Op::Other).rect = rect; }

private:
    Op& record(Op::Kind kind)
    {
        Op op;
        op.kind = kind;
        const QPen pen = painter()->pen();
        op.penColor = pen.style() == Qt::NoPen ? QColor() : pen.color();
        op.penWidth = pen.widthF();
        const QBrush brush = painter()->brush();
        op.brushColor = brush.style() == Qt::NoBrush ? QColor() : brush.color();
        mOps.push_back(op);
        return mOps.back();
    }

    std::vector<Op>& mOps;
};

RecordingPaintDevice::RecordingPaintDevice(QSize size)
    : mSize(size)
    , mEngine(new Engine(mOps))
{
}

RecordingPaintDevice::~RecordingPaintDevice() = default;

QPaintEngine* RecordingPaintDevice::paintEngine() const { return mEngine.get(); }

std::vector<RecordingPaintDevice::Op> RecordingPaintDevice::ops(Op::Kind kind) const
{
    std::vector<Op> result;
    for (const Op& op : mOps)
        if (op.kind == kind)
            result.push_back(op);
    return result;
}

int RecordingPaintDevice::metric(PaintDeviceMetric metric) const
{
    switch (metric) {
    case PdmWidth: return mSize.width();
    case PdmHeight: return mSize.height();
    case PdmWidthMM: return mSize.width() * 254 / 960;
    case PdmHeightMM: return mSize.height() * 254 / 960;
    case PdmNumColors: return 0;
    case PdmDepth: return 32;
    case PdmDpiX:
    case PdmDpiY:
    case PdmPhysicalDpiX:
    case PdmPhysicalDpiY: return 96;
    case PdmDevicePixelRatio: return 1;
    case PdmDevicePixelRatioScaled: return int(devicePixelRatioFScale());
    }
    return 0;
}
