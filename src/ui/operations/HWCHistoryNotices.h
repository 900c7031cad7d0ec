#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <memory>

class HWCCompletedViewController;
class HWCOperationController;
class HWCSourceOperation;

// Tells, in an operation's result panel, that the history could not record its run: the
// controller's notRecorded() may come before the panel is made or after it. Main thread.
class HWCHistoryNotices : public QObject {
    Q_OBJECT

public:
    explicit HWCHistoryNotices(HWCOperationController *controller, QObject *parent = nullptr);

    // The panel of operation shows its notice, now if it came, else when it comes.
    void attach(HWCCompletedViewController *panel,
                const std::shared_ptr<HWCSourceOperation> &operation);

private:
    struct Notice {
        std::weak_ptr<HWCSourceOperation> operation;
        QString reason; // null until the controller says why
        QPointer<HWCCompletedViewController> panel;
    };

    void notRecorded(const std::shared_ptr<HWCSourceOperation> &operation, const QString &reason);
    // The operation's notice, made when it has none; those of operations gone are dropped.
    Notice &noticeOf(const std::shared_ptr<HWCSourceOperation> &operation);

    QList<Notice> m_notices;
};
