#include "ui/operations/HWCCompletionNotifier.h"

#include "engine/files/HWCPathAdditions.h"
#include "engine/operations/HWCOperationController.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "ui/operations/HWCCompletedViewController.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QWidget>

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");

} // namespace

HWCCompletionNotifier::HWCCompletionNotifier(HWCOperationController *controller, QWidget *window,
                                             QObject *parent)
    : QObject(parent), m_window(window)
{
    connect(controller, &HWCOperationController::completedOperation, this,
            [this](const std::shared_ptr<HWCSourceOperation> &operation) {
                if (operation && shouldNotify(*operation))
                    notify(operation);
            });
    QDBusConnection::sessionBus().connect(kService, kPath, kService,
                                          QStringLiteral("ActionInvoked"), this,
                                          SLOT(actionInvoked(uint, QString)));
}

bool HWCCompletionNotifier::shouldNotify(const HWCSourceOperation &operation) const
{
    return operation.runningTime() > kLongRun && m_window && !m_window->isActiveWindow();
}

QString HWCCompletionNotifier::summary(const HWCSourceOperation &operation)
{
    return QStringLiteral("%1: %2").arg(hwc_lastPathComponent(operation.info()->path()),
                                        HWCCompletedViewController::headline(operation));
}

void HWCCompletionNotifier::notify(const std::shared_ptr<HWCSourceOperation> &operation)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("Notify"));
    call << QStringLiteral("Hashwarden") << uint(0) << QStringLiteral("hashwarden")
         << summary(*operation) << HWCCompletedViewController::explanation(*operation)
         << QStringList{QStringLiteral("default"), tr("Show")} << QVariantMap() << int(-1);
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher *finished) {
                const QDBusPendingReply<uint> reply = *finished;
                if (!reply.isError())
                    m_shown.insert(reply.value());
                finished->deleteLater();
            });
}

void HWCCompletionNotifier::actionInvoked(uint id, const QString &)
{
    if (!m_shown.remove(id) || !m_window)
        return;
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}
