#pragma once

#include <QObject>
#include <QPointer>
#include <QSet>
#include <chrono>
#include <memory>

class HWCOperationController;
class HWCSourceOperation;
class QWidget;

// Tells the desktop (org.freedesktop.Notifications on the session bus) when a run of more
// than ten seconds ends while window is not the active window: which card, and how it
// ended. Clicking the notice brings the window forward. Without a session bus nothing is
// shown. Main thread.
class HWCCompletionNotifier : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds kLongRun{10};

    HWCCompletionNotifier(HWCOperationController *controller, QWidget *window,
                          QObject *parent = nullptr);

    // Whether the end of operation is worth a notice now.
    bool shouldNotify(const HWCSourceOperation &operation) const;
    // "CARD_A: Verification failed." and the explanation, as the result panel says them.
    static QString summary(const HWCSourceOperation &operation);

private Q_SLOTS:
    void actionInvoked(uint id, const QString &action);

private:
    void notify(const std::shared_ptr<HWCSourceOperation> &operation);

    QPointer<QWidget> m_window;
    QSet<uint> m_shown;
};
