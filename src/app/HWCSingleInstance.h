#pragma once

#include <QObject>
#include <QString>

class QLocalServer;
class QLocalSocket;

// One window per user: the first instance listens on a local socket; a later launch hands
// its path to it and exits. The socket is $XDG_RUNTIME_DIR/hashwarden.socket, or
// "hashwarden-UID" in the temporary folder without a runtime folder. Main thread.
class HWCSingleInstance : public QObject {
    Q_OBJECT

public:
    explicit HWCSingleInstance(QObject *parent = nullptr);
    ~HWCSingleInstance() override;

    static QString serverName();

    // Hands path (made absolute; empty asks only to raise the window) to the running
    // instance and waits until it has taken it. False when no instance answers.
    static bool forward(const QString &path);

    // Starts listening, replacing a socket left by an instance that died. Call after
    // forward() has found nobody. False when the socket cannot be made.
    bool listen();

    // Stops listening, so that a relaunched copy becomes the running instance.
    void close();

Q_SIGNALS:
    // A later launch asked to open path (empty: only to raise the window).
    void openRequested(const QString &path);

private:
    void readRequest(QLocalSocket *socket);

    QLocalServer *m_server;
};
