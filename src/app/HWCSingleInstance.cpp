#include "app/HWCSingleInstance.h"

#include "engine/session/HWCLog.h"

#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <unistd.h>

namespace {

// Long enough for a busy machine, short enough that a hung instance does not block a launch
// for long: then the launch opens a window of its own.
constexpr int kTimeoutMs = 5000;
constexpr char kAcknowledgement[] = "ok\n";

} // namespace

HWCSingleInstance::HWCSingleInstance(QObject *parent)
    : QObject(parent), m_server(new QLocalServer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, this,
                    [this, socket] { readRequest(socket); });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

HWCSingleInstance::~HWCSingleInstance() = default;

QString HWCSingleInstance::serverName()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (QDir::isAbsolutePath(runtime) && QFileInfo(runtime).isDir())
        return runtime + QStringLiteral("/hashwarden.socket");
    return QStringLiteral("hashwarden-%1").arg(getuid());
}

bool HWCSingleInstance::forward(const QString &path)
{
    QLocalSocket socket;
    socket.connectToServer(serverName());
    if (!socket.waitForConnected(kTimeoutMs))
        return false;
    const QString absolute = path.isEmpty() ? QString() : QFileInfo(path).absoluteFilePath();
    socket.write(absolute.toUtf8() + '\n');
    if (!socket.waitForBytesWritten(kTimeoutMs))
        return false;
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(kTimeoutMs))
            return false;
    }
    return socket.readLine() == kAcknowledgement;
}

bool HWCSingleInstance::listen()
{
    if (m_server->listen(serverName()))
        return true;
    if (m_server->serverError() == QAbstractSocket::AddressInUseError) {
        QLocalServer::removeServer(serverName());
        if (m_server->listen(serverName()))
            return true;
    }
    HWCLogWarning(QStringLiteral("Cannot listen on %1: %2; a later launch opens its own window")
                      .arg(serverName(), m_server->errorString()));
    return false;
}

void HWCSingleInstance::close()
{
    m_server->close();
}

void HWCSingleInstance::readRequest(QLocalSocket *socket)
{
    if (!socket->canReadLine())
        return;
    const QString path = QString::fromUtf8(socket->readLine()).chopped(1);
    socket->write(kAcknowledgement);
    socket->flush();
    Q_EMIT openRequested(path);
}
