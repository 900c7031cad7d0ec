#include "ui/drawing/HWCGradient.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <numbers>

HWCGradient::HWCGradient(const QColor &start, const QColor &end) : m_stops{{0.0, start}, {1.0, end}}
{
}

HWCGradient::HWCGradient(const QGradientStops &stops) : m_stops(stops)
{
}

void HWCGradient::drawInPath(QPainter &painter, const QPainterPath &path, qreal angle) const
{
    const QRectF bounds = path.boundingRect();
    const qreal radians = angle * std::numbers::pi / 180.0;
    // Widget coordinates grow downwards, so the angle's y component changes sign.
    const QPointF direction(std::cos(radians), -std::sin(radians));
    // Half the projection of the rectangle onto the direction: the line touches the
    // rectangle's far corners, so the first and last colours reach the edges.
    const qreal half =
        (std::abs(bounds.width() * direction.x()) + std::abs(bounds.height() * direction.y())) /
        2.0;
    QLinearGradient gradient(bounds.center() - direction * half,
                             bounds.center() + direction * half);
    gradient.setStops(m_stops);
    painter.fillPath(path, gradient);
}
