#include "ui/drawing/HWLStylekit.h"

#include "ui/drawing/HWCArtwork.h"

#include <QPainter>

const QColor &HWLStylekit::lineColor()
{
    static const QColor line = QColor::fromRgbF(0.657f, 0.657f, 0.657f);
    return line;
}

void HWLStylekit::drawDropZoneViewWithFrame(QPainter &painter, const QRectF &frame)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath outline = HWCArtwork::roundedRect(frame.adjusted(4.5, 4.5, -4.5, -4.5), 12);
    painter.fillPath(outline, QColor(255, 255, 255, 10));
    QColor border = lineColor();
    border.setAlphaF(0.35f);
    painter.setPen(QPen(border, 1));
    painter.drawPath(outline);
    painter.restore();
}
