#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT and SIGTERM (a service manager's or kill's stop) into a Qt signal on the main
// thread through a self-pipe; the signal handler itself only writes one byte. A second one
// ends the process at once with exit code 3.
// One watcher per process; construct and destroy it on the main thread.
class HWCInterruptWatcher : public QObject {
    Q_OBJECT

public:
    explicit HWCInterruptWatcher(QObject *parent = nullptr);
    ~HWCInterruptWatcher() override;

    // What the second signal writes to stderr before the process ends, such as the erasure
    // of a progress block; at most 512 bytes are kept. Main thread.
    static void setLastWords(const QByteArray &bytes);

Q_SIGNALS:
    void interrupted();

private:
    void readPipe();

    QSocketNotifier *m_notifier = nullptr;
};
