#include "ui/window/HWCWorkspaceAdditions.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileInfo>
#include <QStringList>
#include <QUrl>

namespace {

void openFolder(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

} // namespace

void hwc_activateFileViewerSelecting(const QString &path)
{
    hwc_activateFileViewerSelecting(QStringList{path});
}

void hwc_activateFileViewerSelecting(const QStringList &paths)
{
    const auto openFolders = [paths] {
        QStringList folders;
        for (const QString &path : paths) {
            if (const QString folder = QFileInfo(path).absolutePath(); !folders.contains(folder))
                folders << folder;
        }
        for (const QString &folder : std::as_const(folders))
            openFolder(folder + QStringLiteral("/."));
    };
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFolders();
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    QStringList uris;
    for (const QString &path : paths)
        uris << QUrl::fromLocalFile(path).toString();
    call << uris << QString();
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [openFolders](QDBusPendingCallWatcher *finished) {
                         if (finished->isError())
                             openFolders();
                         finished->deleteLater();
                     });
}
