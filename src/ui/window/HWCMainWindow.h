#pragma once

#include <QColor>
#include <QFont>
#include <QPointer>
#include <QWidget>
#include <functional>

class HWCCustomizableWindowFrame;
class HWCWindowDragger;
class QAction;

// The application's main window: a frameless top-level window whose frame view draws its
// own title bar (50 points, the style kit's title bar grey, a white 13-point title, the
// window buttons centred from an offset of 10). It holds the title bar's appearance and
// passes every change on to the frame view, and places the content view below the bar.
// Close (Ctrl+W), minimise (Ctrl+M), zoom and full screen (F11) are actions of the window.
// Main thread.
class HWCMainWindow : public QWidget {
    Q_OBJECT

public:
    explicit HWCMainWindow(QWidget *parent = nullptr);

    HWCCustomizableWindowFrame *frameView() const { return m_frameView; }

    void setTitlebarHeight(double height);
    void setTitlebarColor(const QColor &color);
    void setTitleColor(const QColor &color);
    void setTitleFont(const QFont &font);
    void setControlsXOffset(double offset);
    void setCenterControls(bool center);

    // Where the content view lies in a frame of frameRect's size: in full screen the whole
    // frame, otherwise the frame's full width below the title bar.
    QRect contentRectForFrameRect(const QRect &frameRect, Qt::WindowStates states) const;

    // Takes view as the window's content, in the frame's content rect.
    void setContentView(QWidget *view);
    QWidget *contentView() const { return m_contentView; }

    // Maximises the window, or restores it when it is maximised.
    void zoom();
    void toggleFullScreen();

    QAction *closeAction() const { return m_closeAction; }
    QAction *minimizeAction() const { return m_minimizeAction; }
    QAction *fullScreenAction() const { return m_fullScreenAction; }
    HWCWindowDragger *dragger() const { return m_dragger; }

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    QAction *addWindowAction(const QString &text, const QList<QKeySequence> &shortcuts,
                             const std::function<void()> &slot);

    HWCCustomizableWindowFrame *m_frameView;
    HWCWindowDragger *m_dragger;
    QPointer<QWidget> m_contentView;
    double m_titlebarHeight = 0;
    QAction *m_closeAction;
    QAction *m_minimizeAction;
    QAction *m_fullScreenAction;
};
