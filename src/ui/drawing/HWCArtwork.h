#pragma once

#include <QPainterPath>
#include <QRectF>
#include <QTransform>
#include <initializer_list>

class QPainter;

// Geometry shared by the drawing kits. Glyphs are designed on a 100 by 100 grid and
// mapped onto the largest centred square of a frame, so they keep their proportions at
// any size. Any thread.
namespace HWCArtwork {

// Maps the 100-unit design grid onto the largest square centred in frame.
QTransform unitSquare(const QRectF &frame);

// A rounded rectangle whose radius never exceeds half of its shorter side.
QPainterPath roundedRect(const QRectF &frame, qreal radius);

// A circle about (x, y), and an open line through points in order.
QPainterPath circle(qreal x, qreal y, qreal radius);
QPainterPath polyline(std::initializer_list<QPointF> points);

// The outline of a stroke of the given width with round caps and joins, as a fillable path.
QPainterPath stroked(const QPainterPath &path, qreal width);

// Fills path (in grid units) mapped through grid with colour, antialiased.
void fillGlyph(QPainter &painter, const QTransform &grid, const QPainterPath &path,
               const QColor &color);

// A thin ring just inside frame that shows which control has the keyboard focus.
void drawFocusRing(QPainter &painter, const QRectF &frame, qreal radius);

} // namespace HWCArtwork
