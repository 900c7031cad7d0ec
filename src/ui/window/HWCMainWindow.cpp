#include "ui/window/HWCMainWindow.h"

#include "ui/controls/HWCAccessibleFactory.h"
#include "ui/drawing/HWCStyleKit.h"
#include "ui/window/HWCCustomizableWindowFrame.h"
#include "ui/window/HWCWindowDragger.h"

#include <QAction>
#include <QEvent>

HWCMainWindow::HWCMainWindow(QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint)
{
    // The corners outside the rounded frame stay see-through.
    setAttribute(Qt::WA_TranslucentBackground);
    HWCAccessibleFactory::install();
    m_frameView = new HWCCustomizableWindowFrame(this);
    // The dragger watches the native window, so it must exist now.
    winId();
    m_dragger = new HWCWindowDragger(this);

    setTitlebarHeight(50);
    setControlsXOffset(10);
    setTitlebarColor(HWCStyleKit::titlebarGrey());
    setTitleColor(Qt::white);
    QFont font = this->font();
    font.setPixelSize(13);
    setTitleFont(font);
    setCenterControls(true);

    m_closeAction = addWindowAction(tr("Close"), QKeySequence::keyBindings(QKeySequence::Close),
                                    [this] { close(); });
    m_minimizeAction =
        addWindowAction(tr("Minimize"), {QKeySequence(tr("Ctrl+M"))}, [this] { showMinimized(); });
    addWindowAction(tr("Zoom"), {}, [this] { zoom(); });
    m_fullScreenAction = addWindowAction(tr("Enter Full Screen"),
                                         QKeySequence::keyBindings(QKeySequence::FullScreen) +
                                             QList<QKeySequence>{QKeySequence(Qt::Key_F11)},
                                         [this] { toggleFullScreen(); });
}

QAction *HWCMainWindow::addWindowAction(const QString &text, const QList<QKeySequence> &shortcuts,
                                        const std::function<void()> &slot)
{
    auto *action = new QAction(text, this);
    QList<QKeySequence> unique;
    for (const QKeySequence &shortcut : shortcuts) {
        if (!unique.contains(shortcut))
            unique.append(shortcut);
    }
    action->setShortcuts(unique);
    action->setShortcutContext(Qt::WindowShortcut);
    connect(action, &QAction::triggered, this, slot);
    addAction(action);
    return action;
}

void HWCMainWindow::setTitlebarHeight(double height)
{
    m_titlebarHeight = height;
    m_frameView->setTitlebarHeight(height);
}

void HWCMainWindow::setTitlebarColor(const QColor &color)
{
    m_frameView->setTitlebarColor(color);
}

void HWCMainWindow::setTitleColor(const QColor &color)
{
    m_frameView->setTitleStringColor(color);
}

void HWCMainWindow::setTitleFont(const QFont &font)
{
    m_frameView->setTitleStringFont(font);
}

void HWCMainWindow::setControlsXOffset(double offset)
{
    m_frameView->setControlsXOffset(offset);
}

void HWCMainWindow::setCenterControls(bool center)
{
    m_frameView->setCenterControls(center);
}

QRect HWCMainWindow::contentRectForFrameRect(const QRect &frameRect, Qt::WindowStates states) const
{
    if (states & Qt::WindowFullScreen)
        return QRect(0, 0, frameRect.width(), frameRect.height());
    const int titlebar = qRound(m_titlebarHeight);
    return QRect(0, titlebar, frameRect.width(), frameRect.height() - titlebar);
}

void HWCMainWindow::setContentView(QWidget *view)
{
    if (m_contentView && m_contentView != view)
        m_contentView->deleteLater();
    m_contentView = view;
    view->setParent(m_frameView);
    // Below the buttons, so that a content view never covers them.
    view->lower();
    view->show();
    m_frameView->layoutFrame();
}

void HWCMainWindow::zoom()
{
    setWindowState(windowState() ^ Qt::WindowMaximized);
}

void HWCMainWindow::toggleFullScreen()
{
    // Leaving full screen returns to a maximised window when it was one.
    setWindowState(windowState() ^ Qt::WindowFullScreen);
}

void HWCMainWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_frameView->setGeometry(rect());
}

void HWCMainWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange) {
        m_fullScreenAction->setText(isFullScreen() ? tr("Exit Full Screen")
                                                   : tr("Enter Full Screen"));
        m_frameView->layoutFrame();
        m_frameView->update();
    } else if (event->type() == QEvent::WindowTitleChange) {
        m_frameView->update();
    }
}
