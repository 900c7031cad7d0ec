#include "ui/window/HWCWindowDragger.h"

#include <QMouseEvent>
#include <QWidget>
#include <QWindow>

HWCWindowDragger::HWCWindowDragger(QWidget *window) : QObject(window), m_window(window)
{
    window->windowHandle()->installEventFilter(this);
}

Qt::Edges HWCWindowDragger::edgesAt(const QPoint &position, const QSize &size, int border)
{
    Qt::Edges edges;
    if (position.x() < border)
        edges |= Qt::LeftEdge;
    if (position.x() >= size.width() - border)
        edges |= Qt::RightEdge;
    if (position.y() < border)
        edges |= Qt::TopEdge;
    if (position.y() >= size.height() - border)
        edges |= Qt::BottomEdge;
    return edges;
}

QRect HWCWindowDragger::resized(const QRect &start, Qt::Edges edges, const QPoint &delta,
                                const QSize &minimum)
{
    QRect geometry = start;
    if (edges & Qt::LeftEdge)
        geometry.setLeft(std::min(start.left() + delta.x(), start.right() + 1 - minimum.width()));
    if (edges & Qt::RightEdge)
        geometry.setRight(std::max(start.right() + delta.x(), start.left() + minimum.width() - 1));
    if (edges & Qt::TopEdge)
        geometry.setTop(std::min(start.top() + delta.y(), start.bottom() + 1 - minimum.height()));
    if (edges & Qt::BottomEdge)
        geometry.setBottom(
            std::max(start.bottom() + delta.y(), start.top() + minimum.height() - 1));
    return geometry;
}

void HWCWindowDragger::startMove(const QPointF &globalPosition)
{
    if (m_window->isMaximized() || m_window->isFullScreen())
        return;
    if (m_window->windowHandle()->startSystemMove())
        return;
    m_tracking = true;
    m_edges = {};
    m_startPosition = globalPosition;
    m_startGeometry = m_window->geometry();
}

bool HWCWindowDragger::canResize() const
{
    return !m_window->isMaximized() && !m_window->isFullScreen() &&
           m_window->minimumSize() != m_window->maximumSize();
}

bool HWCWindowDragger::eventFilter(QObject *, QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        return mousePressed(static_cast<QMouseEvent &>(*event));
    case QEvent::MouseMove:
        return mouseMoved(static_cast<QMouseEvent &>(*event));
    case QEvent::MouseButtonRelease:
        if (!m_tracking)
            return false;
        m_tracking = false;
        return true;
    case QEvent::Leave:
        showCursorFor({}, QPoint(-1, -1));
        return false;
    default:
        return false;
    }
}

bool HWCWindowDragger::mousePressed(const QMouseEvent &event)
{
    if (event.button() != Qt::LeftButton || !canResize())
        return false;
    const Qt::Edges edges = edgesAt(event.position().toPoint(), m_window->size(), kResizeBorder);
    if (!edges)
        return false;
    if (!m_window->windowHandle()->startSystemResize(edges)) {
        m_tracking = true;
        m_edges = edges;
        m_startPosition = event.globalPosition();
        m_startGeometry = m_window->geometry();
    }
    return true;
}

bool HWCWindowDragger::mouseMoved(const QMouseEvent &event)
{
    if (m_tracking) {
        const QPoint delta = (event.globalPosition() - m_startPosition).toPoint();
        if (m_edges)
            m_window->setGeometry(
                resized(m_startGeometry, m_edges, delta, m_window->minimumSize()));
        else
            m_window->move(m_startGeometry.topLeft() + delta);
        return true;
    }
    if (event.buttons() == Qt::NoButton) {
        const QPoint position = event.position().toPoint();
        showCursorFor(canResize() ? edgesAt(position, m_window->size(), kResizeBorder)
                                  : Qt::Edges(),
                      position);
    }
    return false;
}

void HWCWindowDragger::showCursorFor(Qt::Edges edges, const QPoint &position)
{
    QWindow *window = m_window->windowHandle();
    if (!edges) {
        // Give the pointer back to the widget under it.
        if (m_cursorShown) {
            const QWidget *under = m_window->childAt(position);
            window->setCursor(under ? under->cursor() : m_window->cursor());
            m_cursorShown = false;
        }
        return;
    }
    Qt::CursorShape shape = Qt::SizeHorCursor;
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge))
        shape = Qt::SizeFDiagCursor;
    else if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge))
        shape = Qt::SizeBDiagCursor;
    else if (edges & (Qt::TopEdge | Qt::BottomEdge))
        shape = Qt::SizeVerCursor;
    window->setCursor(shape);
    m_cursorShown = true;
}
