#pragma once

#include <QColor>
#include <QGradientStops>

class QPainter;
class QPainterPath;
class QRectF;

// A colour gradient with its stops, drawn along an angle. The angle is in degrees,
// counter-clockwise from the positive x axis with y pointing up, so 90 runs from the
// bottom edge to the top and -90 from the top edge to the bottom. Immutable; may be
// used on any thread.
class HWCGradient {
public:
    HWCGradient(const QColor &start, const QColor &end);
    explicit HWCGradient(const QGradientStops &stops);

    const QGradientStops &stops() const { return m_stops; }

    // Fills path with the gradient, its line spanning the path's bounding rectangle.
    void drawInPath(QPainter &painter, const QPainterPath &path, qreal angle) const;

    bool operator==(const HWCGradient &other) const { return m_stops == other.m_stops; }

private:
    QGradientStops m_stops;
};
