#include "ui/drawing/HWCDrawingIconEngine.h"

#include <QPainter>
#include <QPixmap>

namespace {

// A disabled control shows its icon faded, as the platform's own icons are.
constexpr qreal kDisabledOpacity = 0.35;

} // namespace

HWCDrawingIconEngine::HWCDrawingIconEngine(const QSizeF &size, Drawing drawing)
    : m_size(size), m_drawing(std::move(drawing))
{
}

QIcon HWCDrawingIconEngine::icon(const QSizeF &size, Drawing drawing)
{
    return QIcon(new HWCDrawingIconEngine(size, std::move(drawing)));
}

void HWCDrawingIconEngine::paint(QPainter *painter, const QRect &rect, QIcon::Mode mode,
                                 QIcon::State)
{
    if (m_size.isEmpty() || rect.isEmpty())
        return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (mode == QIcon::Disabled)
        painter->setOpacity(painter->opacity() * kDisabledOpacity);
    painter->translate(rect.topLeft());
    painter->scale(rect.width() / m_size.width(), rect.height() / m_size.height());
    m_drawing(*painter, QRectF(QPointF(0, 0), m_size));
    painter->restore();
}

QSize HWCDrawingIconEngine::actualSize(const QSize &size, QIcon::Mode, QIcon::State)
{
    return size;
}

QPixmap HWCDrawingIconEngine::pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state)
{
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(0, 0), size), mode, state);
    return pixmap;
}

QIconEngine *HWCDrawingIconEngine::clone() const
{
    return new HWCDrawingIconEngine(m_size, m_drawing);
}

QString HWCDrawingIconEngine::key() const
{
    return QStringLiteral("HWCDrawingIconEngine");
}
