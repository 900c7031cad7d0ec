#include "ui/drawing/HWCArtwork.h"

#include "ui/drawing/HWCStyleKit.h"

#include <QPainter>
#include <QPainterPathStroker>

namespace HWCArtwork {

QTransform unitSquare(const QRectF &frame)
{
    const qreal side = std::min(frame.width(), frame.height());
    QTransform transform;
    transform.translate(frame.center().x() - side / 2, frame.center().y() - side / 2);
    transform.scale(side / 100.0, side / 100.0);
    return transform;
}

QPainterPath roundedRect(const QRectF &frame, qreal radius)
{
    const qreal clamped = std::max(0.0, std::min({radius, frame.width() / 2, frame.height() / 2}));
    QPainterPath path;
    path.addRoundedRect(frame, clamped, clamped);
    return path;
}

QPainterPath circle(qreal x, qreal y, qreal radius)
{
    QPainterPath path;
    path.addEllipse(QPointF(x, y), radius, radius);
    return path;
}

QPainterPath polyline(std::initializer_list<QPointF> points)
{
    QPainterPath path;
    for (const QPointF &point : points) {
        if (path.elementCount() == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    }
    return path;
}

QPainterPath stroked(const QPainterPath &path, qreal width)
{
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(path).simplified();
}

void fillGlyph(QPainter &painter, const QTransform &grid, const QPainterPath &path,
               const QColor &color)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(grid.map(path), color);
    painter.restore();
}

void drawFocusRing(QPainter &painter, const QRectF &frame, qreal radius)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(HWCStyleKit::focusRingColor(), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(roundedRect(frame.adjusted(1, 1, -1, -1), radius));
    painter.restore();
}

} // namespace HWCArtwork
