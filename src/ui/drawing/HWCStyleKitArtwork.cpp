// The icons, buttons, drop zones and ribbons of HWCStyleKit.
#include "ui/drawing/HWCArtwork.h"
#include "ui/drawing/HWCStyleKit.h"

#include <QFont>
#include <QPainter>

using namespace HWCArtwork;

namespace {

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

// A triangle over a bar, the eject symbol, within the middle of the grid.
QPainterPath ejectGlyph()
{
    QPainterPath path;
    path.moveTo(50, 27);
    path.lineTo(71, 53);
    path.lineTo(29, 53);
    path.closeSubpath();
    path = stroked(path, 5).united(path);
    path.addRoundedRect(QRectF(29, 61, 42, 9), 2, 2);
    return path.simplified();
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

void HWCStyleKit::drawQuicklookWithFrame(QPainter &painter, const QRectF &frame,
                                         const QColor &color)
{
    QPainterPath eye;
    eye.moveTo(4, 50);
    eye.cubicTo(22, 20, 78, 20, 96, 50);
    eye.cubicTo(78, 80, 22, 80, 4, 50);
    QPainterPath glyph = stroked(eye, 8).united(circle(50, 50, 15));
    fillGlyph(painter, unitSquare(frame), glyph, color);
}

void HWCStyleKit::drawIconOpenInFinderWithFrame(QPainter &painter, const QRectF &frame,
                                                const QColor &color)
{
    QPainterPath folder;
    folder.moveTo(6, 22);
    folder.lineTo(38, 22);
    folder.lineTo(46, 30);
    folder.lineTo(94, 30);
    folder.lineTo(94, 82);
    folder.lineTo(6, 82);
    folder.closeSubpath();
    folder = stroked(folder, 6).united(folder);
    // An arrow leaving the folder towards the top right, cut out of it.
    QPainterPath arrow = polyline({{36, 72}, {64, 44}});
    arrow.addPath(polyline({{46, 42}, {65, 42}, {65, 61}}));
    fillGlyph(painter, unitSquare(frame), folder.subtracted(stroked(arrow, 9)), color);
}

void HWCStyleKit::drawIconCancelWithFrame(QPainter &painter, const QRectF &frame,
                                          const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), circle(50, 50, 47).subtracted(cross(15, 10)), color);
}

void HWCStyleKit::drawCancelButtonWithFrame(QPainter &painter, const QRectF &frame,
                                            const QColor &color, qreal progressBarTrackRadius)
{
    const QPainterPath body = roundedRect(frame, progressBarTrackRadius);
    const QPainterPath mark = unitSquare(frame).map(cross(14, 10));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(body.subtracted(mark), color);
    painter.restore();
}

void HWCStyleKit::drawEjectButtonWithFrame(QPainter &painter, const QRectF &frame)
{
    const QTransform grid = unitSquare(frame);
    fillGlyph(painter, grid, circle(50, 50, 48), hoverButtonColor());
    fillGlyph(painter, grid, ejectGlyph(), fillColor());
}

void HWCStyleKit::drawEjectButtonBussyWithFrame(QPainter &painter, const QRectF &frame)
{
    const QTransform grid = unitSquare(frame);
    fillGlyph(painter, grid, circle(50, 50, 48), hoverButtonColor());
    QColor dimmed = fillColor();
    dimmed.setAlphaF(0.45f);
    fillGlyph(painter, grid, ejectGlyph(), dimmed);
    // Three quarters of a ring: the platform's sign for "busy".
    QPainterPath arc;
    arc.arcMoveTo(QRectF(9, 9, 82, 82), 90);
    arc.arcTo(QRectF(9, 9, 82, 82), 90, -270);
    fillGlyph(painter, grid, stroked(arc, 7), buttonGradientColor());
}

void HWCStyleKit::drawDoneButtonWithFrame(QPainter &painter, const QRectF &frame,
                                          const HWCGradient &gradient)
{
    const QTransform grid = unitSquare(frame);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    gradient.drawInPath(painter, grid.map(circle(50, 50, 48)), -90);
    painter.restore();
    fillGlyph(painter, grid, stroked(polyline({{29, 52}, {43, 66}, {71, 37}}), 10), fillColor());
}

void HWCStyleKit::drawAlphaRibbonWithFrame(QPainter &painter, const QRectF &frame)
{
    drawRibbon(painter, frame, errorGradient(), QStringLiteral("ALPHA"));
}

void HWCStyleKit::drawBetaRibbonWithFrame(QPainter &painter, const QRectF &frame)
{
    drawRibbon(painter, frame, defaultGradient(), QStringLiteral("BETA"));
}
