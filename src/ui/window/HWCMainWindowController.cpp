#include "ui/window/HWCMainWindowController.h"

#include "HWCBuildInfo.h"
#include "ui/operations/HWCCompletionNotifier.h"
#include "ui/operations/HWCStopConfirmation.h"
#include "ui/window/HWCMainViewController.h"
#include "ui/window/HWCMainWindow.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>

namespace {

const QString kFrameKey = QStringLiteral("MainWindow/frame");
const QString kSettingsName = QStringLiteral("Hashwarden");

} // namespace

HWCMainWindowController::HWCMainWindowController(QObject *parent)
    : QObject(parent), m_window(std::make_unique<HWCMainWindow>()),
      m_contentViewController(new HWCMainViewController)
{
    const QString name = QString::fromUtf8(HWCBuildInfo::kExecutableName);
    m_window->setWindowTitle(name);
    m_window->setAccessibleName(name);
    m_window->setMinimumSize(minimumSize());
    m_window->resize(defaultSize());
    m_window->setContentView(m_contentViewController);
    m_window->installEventFilter(this);
}

HWCMainWindowController::~HWCMainWindowController()
{
    if (m_frameRestored)
        saveFrame();
}

HWCSourceCollectionViewController *HWCMainWindowController::sourceCollection() const
{
    return m_contentViewController->sourceCollection();
}

void HWCMainWindowController::setOperationController(HWCOperationController *controller)
{
    if (controller != m_operationController) {
        delete m_notifier;
        m_notifier =
            controller ? new HWCCompletionNotifier(controller, m_window.get(), this) : nullptr;
    }
    m_operationController = controller;
    m_contentViewController->setOperationController(controller);
}

void HWCMainWindowController::showWindow()
{
    if (!m_frameRestored)
        restoreFrame();
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
    // The content, not the title bar's buttons, takes the focus first.
    if (!m_window->focusWidget() || !m_contentViewController->isAncestorOf(m_window->focusWidget()))
        HWCViewController::focusFirstControl(m_contentViewController);
}

bool HWCMainWindowController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_window.get() || event->type() != QEvent::Close)
        return QObject::eventFilter(watched, event);
    if (m_operationController && !m_stopConfirmed &&
        !HWCStopConfirmation::unfinished(m_operationController->operations()).isEmpty()) {
        event->ignore();
        HWCStopConfirmation::confirm(m_window.get(), m_operationController->operations(), [this] {
            m_stopConfirmed = true;
            m_operationController->cancelAllOperations();
            m_window->close();
        });
        return true;
    }
    if (m_frameRestored)
        saveFrame();
    return QObject::eventFilter(watched, event);
}

void HWCMainWindowController::restoreFrame()
{
    m_frameRestored = true;
    // restoreGeometry() also brings a window that was left on a screen now gone back
    // onto one.
    const QSettings settings(kSettingsName, kSettingsName);
    if (m_window->restoreGeometry(settings.value(kFrameKey).toByteArray()))
        return;
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        QRect frame(QPoint(), defaultSize());
        frame.moveCenter(screen->availableGeometry().center());
        m_window->setGeometry(frame);
    }
}

void HWCMainWindowController::saveFrame() const
{
    QSettings(kSettingsName, kSettingsName).setValue(kFrameKey, m_window->saveGeometry());
}
