#pragma once

#include <QObject>
#include <QPointF>
#include <QRect>

class QMouseEvent;
class QWidget;

// Moves and resizes a frameless top-level window: a press in the band along its edges
// resizes, startMove() (from a drag of the title bar) moves. Both are handed to the window
// manager or compositor (QWindow::startSystemMove/startSystemResize), which snaps and works
// under Wayland; where it declines (an X server without a window manager) the window follows
// the pointer itself. Nothing happens while the window is maximised or full screen.
// Main thread.
class HWCWindowDragger : public QObject {
    Q_OBJECT

public:
    // The width of the band along the edges that resizes.
    static constexpr int kResizeBorder = 6;

    // Watches the mouse events of window's native window, which must exist.
    explicit HWCWindowDragger(QWidget *window);

    // The edges a press at position (window coordinates) would drag; none inside the band.
    static Qt::Edges edgesAt(const QPoint &position, const QSize &size, int border);
    // The geometry after dragging edges of start by delta, kept at least minimum in size; the
    // opposite edges stay where they are.
    static QRect resized(const QRect &start, Qt::Edges edges, const QPoint &delta,
                         const QSize &minimum);

    // Starts moving the window with the pointer, which is held down at globalPosition.
    void startMove(const QPointF &globalPosition);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool canResize() const;
    bool mouseMoved(const QMouseEvent &event);
    bool mousePressed(const QMouseEvent &event);
    void showCursorFor(Qt::Edges edges, const QPoint &position);

    QWidget *m_window;
    bool m_tracking = false;
    Qt::Edges m_edges; // none while moving
    QPointF m_startPosition;
    QRect m_startGeometry;
    bool m_cursorShown = false;
};
