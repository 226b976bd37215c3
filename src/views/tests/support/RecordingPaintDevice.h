#pragma once

#include <QColor>
#include <QLineF>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QRectF>
#include <QString>

#include <memory>
#include <vector>

// A paint device that keeps what is drawn on it as data, so that tests can compare the
// drawing itself: lines, ellipses, rectangles and texts, each with its pen and brush.
class RecordingPaintDevice : public QPaintDevice {
public:
    struct Op {
        enum Kind {
            Line,
            Ellipse,
            Rect,
            Text,
            Other
        };
        Kind kind = Other;
        QLineF line; // Line
        QRectF rect; // Ellipse, Rect
        QString text; // Text
        QColor penColor;
        qreal penWidth = 0;
        QColor brushColor; // invalid when there is no brush
    };

    explicit RecordingPaintDevice(QSize size);
    ~RecordingPaintDevice() override;

    QPaintEngine* paintEngine() const override;
    const std::vector<Op>& ops() const { return mOps; }
    std::vector<Op> ops(Op::Kind kind) const;

protected:
    int metric(PaintDeviceMetric metric) const override;

private:
    class Engine;
    QSize mSize;
    std::vector<Op> mOps;
    std::unique_ptr<Engine> mEngine;
};
