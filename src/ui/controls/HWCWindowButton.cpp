#include "ui/controls/HWCWindowButton.h"

#include "ui/drawing/HWCStyleKit.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>

namespace {

QString accessibleNameFor(HWCWindowButton::Kind kind)
{
    switch (kind) {
    case HWCWindowButton::Kind::Close:
        return HWCWindowButton::tr("Close");
    case HWCWindowButton::Kind::Minimize:
        return HWCWindowButton::tr("Minimize");
    case HWCWindowButton::Kind::Zoom:
        return HWCWindowButton::tr("Zoom");
    case HWCWindowButton::Kind::Menu:
        break;
    }
    return HWCWindowButton::tr("Menu");
}

QColor mixed(const QColor &from, const QColor &to, qreal amount)
{
    return QColor::fromRgbF(from.redF() + (to.redF() - from.redF()) * amount,
                            from.greenF() + (to.greenF() - from.greenF()) * amount,
                            from.blueF() + (to.blueF() - from.blueF()) * amount);
}

} // namespace

HWCWindowButton::HWCWindowButton(Kind kind, QWidget *parent)
    : QAbstractButton(parent), m_kind(kind), m_background(HWCStyleKit::titlebarGrey()),
      m_glyph(Qt::white)
{
    setAccessibleName(accessibleNameFor(kind));
    setToolTip(accessibleName());
    // Reached with Tab and pressed with Space, like any button.
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    resize(sizeHint());
}

void HWCWindowButton::setColors(const QColor &background, const QColor &glyph)
{
    m_background = background.toRgb();
    m_glyph = glyph.toRgb();
    update();
}

QSize HWCWindowButton::sizeHint() const
{
    const int side = m_kind == Kind::Menu ? kMenuButtonSide : kWindowButtonSide;
    return QSize(side, side);
}

bool HWCWindowButton::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate)
        update();
    return QAbstractButton::event(event);
}

void HWCWindowButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool key = isActiveWindow();
    const bool hovered = underMouse();
    const bool pressed = isDown();
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);

    // A closing window is warned of in the error colour; the others only brighten.
    QColor fill = mixed(m_background, m_glyph, key ? 0.22 : 0.12);
    if (hovered || pressed) {
        fill = m_kind == Kind::Close ? HWCStyleKit::errorGradient2Color()
                                     : mixed(m_background, m_glyph, 0.38);
    }
    if (pressed)
        fill = fill.darker(135);
    if (m_kind != Kind::Menu || hovered || pressed) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawEllipse(frame);
    }
    QColor glyph = m_glyph;
    glyph.setAlphaF(key || hovered ? 1.0 : 0.45);
    painter.setPen(QPen(glyph, m_kind == Kind::Menu ? 1.6 : 1.2, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    drawGlyph(painter, frame);
    if (hasFocus()) {
        painter.setPen(QPen(HWCStyleKit::focusRingColor(), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(frame.adjusted(1, 1, -1, -1));
    }
}

void HWCWindowButton::drawGlyph(QPainter &painter, const QRectF &frame) const
{
    const QPointF c = frame.center();
    const qreal r = frame.width() * 0.22;
    switch (m_kind) {
    case Kind::Close:
        painter.drawLine(c + QPointF(-r, -r), c + QPointF(r, r));
        painter.drawLine(c + QPointF(-r, r), c + QPointF(r, -r));
        break;
    case Kind::Minimize:
        painter.drawLine(c + QPointF(-r, 0), c + QPointF(r, 0));
        break;
    case Kind::Zoom: {
        // Maximised: two overlapping frames, as restoring gives a smaller window.
        const QRectF square(c - QPointF(r, r), QSizeF(2 * r, 2 * r));
        if (window()->isMaximized()) {
            painter.drawRect(square.translated(-1, 1).adjusted(0, 0, -1, -1));
            painter.drawLine(square.topLeft() + QPointF(0, 0), square.topRight());
            painter.drawLine(square.topRight(), square.bottomRight() + QPointF(0, -1));
        } else {
            painter.drawRect(square);
        }
        break;
    }
    case Kind::Menu:
        for (int line = -1; line <= 1; ++line)
            painter.drawLine(c + QPointF(-r * 1.1, line * r * 0.8),
                             c + QPointF(r * 1.1, line * r * 0.8));
        break;
    }
}
