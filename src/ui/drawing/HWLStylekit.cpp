#include "ui/drawing/HWLStylekit.h"

#include "ui/drawing/HWCArtwork.h"
#include "ui/drawing/HWCDrawingIconEngine.h"

#include <QPainter>

using namespace HWCArtwork;

namespace {

struct Palette {
    QColor withGradient = QColor::fromRgbF(1.0f, 0.149f, 0.0f);
    QColor track = QColor::fromRgbF(0.113f, 0.119f, 0.13f);
    QColor track2 = QColor::fromRgbF(0.16f, 0.168f, 0.184f);
    QColor line = QColor::fromRgbF(0.657f, 0.657f, 0.657f);
    QColor background = QColor::fromRgbF(0.319f, 0.319f, 0.319f);
    QColor fill = Qt::white;
    HWCGradient trackGradient{track, track2};
};

const Palette &palette()
{
    static const Palette instance;
    return instance;
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

QIcon iconOf(void (*draw)(QPainter &, const QRectF &, const QColor &), const QSizeF &size,
             const QColor &color)
{
    return HWCDrawingIconEngine::icon(size, [draw, color](QPainter &painter, const QRectF &frame) {
        draw(painter, frame, color);
    });
}

} // namespace

const QColor &HWLStylekit::withGradientColor()
{
    return palette().withGradient;
}
const QColor &HWLStylekit::trackColor()
{
    return palette().track;
}
const QColor &HWLStylekit::trackColor2()
{
    return palette().track2;
}
const QColor &HWLStylekit::lineColor()
{
    return palette().line;
}
const QColor &HWLStylekit::backgroundColor()
{
    return palette().background;
}
const QColor &HWLStylekit::fillColor()
{
    return palette().fill;
}
const HWCGradient &HWLStylekit::trackGradient()
{
    return palette().trackGradient;
}

void HWLStylekit::drawProgressBarTrackWithFrame(QPainter &painter, const QRectF &frame,
                                                const HWCGradient &gradient,
                                                qreal progressBarTrackRadius)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    gradient.drawInPath(painter, roundedRect(frame, progressBarTrackRadius), -90);
    painter.restore();
}

void HWLStylekit::drawDropZoneViewWithFrame(QPainter &painter, const QRectF &frame)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath outline = roundedRect(frame.adjusted(4.5, 4.5, -4.5, -4.5), 12);
    painter.fillPath(outline, QColor(255, 255, 255, 10));
    QColor border = lineColor();
    border.setAlphaF(0.35f);
    painter.setPen(QPen(border, 1));
    painter.drawPath(outline);
    painter.restore();
}

void HWLStylekit::drawCheckboxWithFrame(QPainter &painter, const QRectF &frame, const QColor &color)
{
    QPainterPath inner;
    inner.addRoundedRect(QRectF(19, 19, 62, 62), 10, 10);
    fillGlyph(painter, unitSquare(frame), box().subtracted(inner), color);
}

void HWLStylekit::drawCheckboxCheckedWithFrame(QPainter &painter, const QRectF &frame,
                                               const QColor &color)
{
    QPainterPath mark(QPointF(30, 51));
    mark.lineTo(44, 65);
    mark.lineTo(70, 36);
    fillGlyph(painter, unitSquare(frame), box().subtracted(stroked(mark, 11)), color);
}

void HWLStylekit::drawCheckboxSemiCheckedWithFrame(QPainter &painter, const QRectF &frame,
                                                   const QColor &color)
{
    QPainterPath dash(QPointF(32, 50));
    dash.lineTo(68, 50);
    fillGlyph(painter, unitSquare(frame), box().subtracted(stroked(dash, 11)), color);
}

void HWLStylekit::drawIconDownWithFrame(QPainter &painter, const QRectF &frame, const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), chevron({22, 36}, {50, 64}, {78, 36}), color);
}

void HWLStylekit::drawIconUpWithFrame(QPainter &painter, const QRectF &frame, const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), chevron({22, 64}, {50, 36}, {78, 64}), color);
}

void HWLStylekit::drawIconLeftWithFrame(QPainter &painter, const QRectF &frame, const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), chevron({64, 22}, {36, 50}, {64, 78}), color);
}

void HWLStylekit::drawIconRightWithFrame(QPainter &painter, const QRectF &frame,
                                         const QColor &color)
{
    fillGlyph(painter, unitSquare(frame), chevron({36, 22}, {64, 50}, {36, 78}), color);
}

QIcon HWLStylekit::imageOfCheckboxWithSize(const QSizeF &size, const QColor &color)
{
    return iconOf(drawCheckboxWithFrame, size, color);
}

QIcon HWLStylekit::imageOfCheckboxCheckedWithSize(const QSizeF &size, const QColor &color)
{
    return iconOf(drawCheckboxCheckedWithFrame, size, color);
}

QIcon HWLStylekit::imageOfCheckboxSemiCheckedWithSize(const QSizeF &size, const QColor &color)
{
    return iconOf(drawCheckboxSemiCheckedWithFrame, size, color);
}

QIcon HWLStylekit::imageOfIconDownWithSize(const QSizeF &size, const QColor &color)
{
    return iconOf(drawIconDownWithFrame, size, color);
}

QIcon HWLStylekit::imageOfIconUpWithSize(const QSizeF &size, const QColor &color)
{
    return iconOf(drawIconUpWithFrame, size, color);
}

QIcon HWLStylekit::imageOfIconLeftWithSize(const QSizeF &size, const QColor &color)
{
    return iconOf(drawIconLeftWithFrame, size, color);
}

QIcon HWLStylekit::imageOfIconRightWithSize(const QSizeF &size, const QColor &color)
{
    return iconOf(drawIconRightWithFrame, size, color);
}
