#pragma once

#include "engine/operations/HWCOperationController.h"

#include <QObject>
#include <QPointer>
#include <QSize>
#include <memory>

class HWCCompletionNotifier;
class HWCMainViewController;
class HWCMainWindow;
class HWCSourceCollectionViewController;

// Makes and owns the main window with the main view controller as its content, and keeps
// the window's size and place between runs (QSettings, organisation and application
// "Hashwarden"): saved when the window closes and when this controller goes, restored by
// showWindow(). Closing the window (Ctrl+W, the close button, Quit) while an operation
// has not finished asks first; Stop cancels every operation and closes. A long run that ends
// while the window is in the background is told by a desktop notice. Main thread.
class HWCMainWindowController : public QObject {
    Q_OBJECT

public:
    // The size of the window on its first run, and the smallest at which every screen still
    // fits without overlapping.
    static QSize defaultSize() { return QSize(720, 540); }
    static QSize minimumSize() { return QSize(520, 420); }

    explicit HWCMainWindowController(QObject *parent = nullptr);
    ~HWCMainWindowController() override;

    HWCMainWindow *window() const { return m_window.get(); }
    HWCMainViewController *contentViewController() const { return m_contentViewController; }
    // The source collection while it is the screen shown (for a source opened from outside
    // or the open panel), else null.
    HWCSourceCollectionViewController *sourceCollection() const;

    // Hands the application's one operation controller (not owned) to the content.
    void setOperationController(HWCOperationController *controller);

    // Shows the window at its last size and place (centred at the default size the first
    // time), brings it to the front and gives it the focus.
    void showWindow();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void restoreFrame();
    void saveFrame() const;

    std::unique_ptr<HWCMainWindow> m_window;
    QPointer<HWCOperationController> m_operationController;
    HWCCompletionNotifier *m_notifier = nullptr;
    // Set once the user chose to stop the running work, so that the close goes through.
    bool m_stopConfirmed = false;
    HWCMainViewController *m_contentViewController;
    bool m_frameRestored = false;
};
