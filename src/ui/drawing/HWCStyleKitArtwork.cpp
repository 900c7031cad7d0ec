// The icons, buttons, drop zones and ribbons of HWCStyleKit.
#include "ui/drawing/HWCArtwork.h"
#include "ui/drawing/HWCStyleKit.h"

#include <QFont>
#include <QPainter>

using namespace HWCArtwork;

namespace {

// Two crossed strokes, the arms reaching extent units from the centre of the grid.
QPainterPath cross(qreal extent, qreal width)
{
    QPainterPath path = polyline({{50 - extent, 50 - extent}, {50 + extent, 50 + extent}});
    path.addPath(polyline({{50 + extent, 50 - extent}, {50 - extent, 50 + extent}}));
    return stroked(path, width);
}

// An arrow pointing down into an open tray: "put it here".
QPainterPath dropGlyph()
{
    QPainterPath path = polyline({{50, 10}, {50, 58}});
    path.addPath(polyline({{31, 41}, {50, 60}, {69, 41}}));
    path.addPath(polyline({{12, 56}, {12, 86}, {88, 86}, {88, 56}}));
    return stroked(path, 7);
}

void drawDropZone(QPainter &painter, const QRectF &frame, const QColor &color, qreal alpha,
                  Qt::PenStyle style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF zone = frame.adjusted(4, 4, -4, -4);
    const QPainterPath outline = roundedRect(zone, 12);
    QColor wash = color;
    wash.setAlphaF(float(alpha));
    painter.fillPath(outline, wash);
    QPen pen(color, 2, style, Qt::RoundCap);
    if (style == Qt::DashLine)
        pen.setDashPattern({4, 3});
    painter.setPen(pen);
    painter.drawPath(outline);
    const qreal side = std::clamp(std::min(zone.width(), zone.height()) * 0.4, 0.0, 96.0);
    QRectF glyph(0, 0, side, side);
    glyph.moveCenter(zone.center());
    painter.restore();
    fillGlyph(painter, unitSquare(glyph), dropGlyph(), color);
}

void drawRibbon(QPainter &painter, const QRectF &frame, const HWCGradient &gradient,
                const QString &text)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setClipRect(frame);
    // Stretched, not squared: the band always runs from corner edge to corner edge.
    painter.translate(frame.topLeft());
    painter.scale(frame.width() / 100.0, frame.height() / 100.0);
    QPainterPath band;
    band.moveTo(100, 0);
    band.lineTo(100, 40);
    band.lineTo(40, 100);
    band.lineTo(0, 100);
    band.closeSubpath();
    gradient.drawInPath(painter, band, -45);
    painter.translate(60, 60);
    painter.rotate(-45);
    QFont font;
    font.setPixelSize(15);
    font.setBold(true);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 1);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRectF(-60, -10, 120, 20), Qt::AlignCenter, text);
    painter.restore();
}

} // namespace

void HWCStyleKit::drawActiveDropZoneViewWithFrame(QPainter &painter, const QRectF &frame)
{
    drawDropZone(painter, frame, buttonGradientColor(), 0.14, Qt::SolidLine);
}

void HWCStyleKit::drawEmptyDropZoneViewWithFrame(QPainter &painter, const QRectF &frame)
{
    drawDropZone(painter, frame, lineColor(), 0.0, Qt::DashLine);
}

void HWCStyleKit::drawIconCancelWithFrame(QPainter &painter, const QRectF &frame,
                                          const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), circle(50, 50, 47).subtracted(cross(15, 10)), color);
}

void HWCStyleKit::drawAlphaRibbonWithFrame(QPainter &painter, const QRectF &frame)
{
    drawRibbon(painter, frame, errorGradient(), QStringLiteral("ALPHA"));
}

void HWCStyleKit::drawBetaRibbonWithFrame(QPainter &painter, const QRectF &frame)
{
    drawRibbon(painter, frame, defaultGradient(), QStringLiteral("BETA"));
}
