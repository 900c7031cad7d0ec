#include "HWCGalleryKit.h"

#include "ui/drawing/HWCArtwork.h"
#include "ui/drawing/HWCStyleKit.h"

#include <QPainter>

using namespace HWCArtwork;
using Kit = HWCStyleKit;

namespace {

// Two crossed strokes, the arms reaching extent units from the centre of the grid.
QPainterPath cross(qreal extent, qreal width)
{
    QPainterPath path = polyline({{50 - extent, 50 - extent}, {50 + extent, 50 + extent}});
    path.addPath(polyline({{50 + extent, 50 - extent}, {50 - extent, 50 + extent}}));
    return stroked(path, width);
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

QPainterPath box()
{
    QPainterPath path;
    path.addRoundedRect(QRectF(12, 12, 76, 76), 16, 16);
    return path;
}

// A chevron through three points of the grid.
QPainterPath chevron(QPointF from, QPointF tip, QPointF to)
{
    QPainterPath path(from);
    path.lineTo(tip);
    path.lineTo(to);
    return stroked(path, 11);
}

} // namespace

void HWCGalleryKit::drawQuicklookWithFrame(QPainter &painter, const QRectF &frame,
                                           const QColor &color)
{
    QPainterPath eye;
    eye.moveTo(4, 50);
    eye.cubicTo(22, 20, 78, 20, 96, 50);
    eye.cubicTo(78, 80, 22, 80, 4, 50);
    QPainterPath glyph = stroked(eye, 8).united(circle(50, 50, 15));
    fillGlyph(painter, unitSquare(frame), glyph, color);
}

void HWCGalleryKit::drawIconOpenInFinderWithFrame(QPainter &painter, const QRectF &frame,
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

void HWCGalleryKit::drawCancelButtonWithFrame(QPainter &painter, const QRectF &frame,
                                              const QColor &color, qreal progressBarTrackRadius)
{
    const QPainterPath body = roundedRect(frame, progressBarTrackRadius);
    const QPainterPath mark = unitSquare(frame).map(cross(14, 10));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(body.subtracted(mark), color);
    painter.restore();
}

void HWCGalleryKit::drawEjectButtonWithFrame(QPainter &painter, const QRectF &frame)
{
    const QTransform grid = unitSquare(frame);
    fillGlyph(painter, grid, circle(50, 50, 48), Kit::hoverButtonColor());
    fillGlyph(painter, grid, ejectGlyph(), Kit::fillColor());
}

void HWCGalleryKit::drawEjectButtonBussyWithFrame(QPainter &painter, const QRectF &frame)
{
    const QTransform grid = unitSquare(frame);
    fillGlyph(painter, grid, circle(50, 50, 48), Kit::hoverButtonColor());
    QColor dimmed = Kit::fillColor();
    dimmed.setAlphaF(0.45f);
    fillGlyph(painter, grid, ejectGlyph(), dimmed);
    // Three quarters of a ring: the platform's sign for "busy".
    QPainterPath arc;
    arc.arcMoveTo(QRectF(9, 9, 82, 82), 90);
    arc.arcTo(QRectF(9, 9, 82, 82), 90, -270);
    fillGlyph(painter, grid, stroked(arc, 7), Kit::buttonGradientColor());
}

void HWCGalleryKit::drawDoneButtonWithFrame(QPainter &painter, const QRectF &frame,
                                            const HWCGradient &gradient)
{
    const QTransform grid = unitSquare(frame);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    gradient.drawInPath(painter, grid.map(circle(50, 50, 48)), -90);
    painter.restore();
    fillGlyph(painter, grid, stroked(polyline({{29, 52}, {43, 66}, {71, 37}}), 10),
              Kit::fillColor());
}

const HWCGradient &HWCGalleryKit::trackGradient()
{
    static const HWCGradient gradient{QColor::fromRgbF(0.113f, 0.119f, 0.13f),
                                      QColor::fromRgbF(0.16f, 0.168f, 0.184f)};
    return gradient;
}

void HWCGalleryKit::drawProgressBarTrackWithFrame(QPainter &painter, const QRectF &frame,
                                                  const HWCGradient &gradient,
                                                  qreal progressBarTrackRadius)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    gradient.drawInPath(painter, roundedRect(frame, progressBarTrackRadius), -90);
    painter.restore();
}

void HWCGalleryKit::drawCheckboxWithFrame(QPainter &painter, const QRectF &frame,
                                          const QColor &color)
{
    QPainterPath inner;
    inner.addRoundedRect(QRectF(19, 19, 62, 62), 10, 10);
    fillGlyph(painter, unitSquare(frame), box().subtracted(inner), color);
}

void HWCGalleryKit::drawCheckboxCheckedWithFrame(QPainter &painter, const QRectF &frame,
                                                 const QColor &color)
{
    QPainterPath mark(QPointF(30, 51));
    mark.lineTo(44, 65);
    mark.lineTo(70, 36);
    fillGlyph(painter, unitSquare(frame), box().subtracted(stroked(mark, 11)), color);
}

void HWCGalleryKit::drawCheckboxSemiCheckedWithFrame(QPainter &painter, const QRectF &frame,
                                                     const QColor &color)
{
    QPainterPath dash(QPointF(32, 50));
    dash.lineTo(68, 50);
    fillGlyph(painter, unitSquare(frame), box().subtracted(stroked(dash, 11)), color);
}

void HWCGalleryKit::drawIconDownWithFrame(QPainter &painter, const QRectF &frame,
                                          const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), chevron({22, 36}, {50, 64}, {78, 36}), color);
}

void HWCGalleryKit::drawIconUpWithFrame(QPainter &painter, const QRectF &frame, const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), chevron({22, 64}, {50, 36}, {78, 64}), color);
}

void HWCGalleryKit::drawIconLeftWithFrame(QPainter &painter, const QRectF &frame,
                                          const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), chevron({64, 22}, {36, 50}, {64, 78}), color);
}

void HWCGalleryKit::drawIconRightWithFrame(QPainter &painter, const QRectF &frame,
                                           const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), chevron({36, 22}, {64, 50}, {36, 78}), color);
}
