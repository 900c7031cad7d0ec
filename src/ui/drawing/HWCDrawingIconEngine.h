#pragma once

#include <QIconEngine>
#include <QSizeF>
#include <functional>

class QPainter;

// An icon whose pixels come from a drawing function, run each time the icon is rendered,
// so that it is sharp at every size and device pixel ratio. The drawing is made for a
// rectangle of the nominal size at the origin and scaled to the rectangle asked for.
// Main thread.
class HWCDrawingIconEngine : public QIconEngine {
public:
    using Drawing = std::function<void(QPainter &, const QRectF &)>;

    HWCDrawingIconEngine(const QSizeF &size, Drawing drawing);

    // The usual way in: a QIcon that owns a new engine.
    static QIcon icon(const QSizeF &size, Drawing drawing);

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override;
    QSize actualSize(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override;
    QIconEngine *clone() const override;
    QString key() const override;

private:
    QSizeF m_size;
    Drawing m_drawing;
};
