#pragma once

#include "engine/operations/HWCOperationParameters.h"
#include "engine/records/HWCTypes.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QVariantMap>
#include <memory>
#include <optional>

class HWCSource;
class HWCSourceOperation;

// Owns the queue that runs operations and the ordered list the interface shows. Lives on
// the main thread; addDisk(), removeOperation() and cancelAllOperations() are called there.
// Operations whose sources lie on the same device (HWCMedium::device()) run one after
// another, in the order added, each waiting one telling for whom it waits
// (HWCSourceOperation::waitingFor()); those of different devices run at the same time, so
// that two cards are read together while two folders of one disk do not make it seek
// between them. An operation cancelled while it waits starts at once, to finish.
// The destructor cancels every operation and waits until the workers have stopped and the
// history has been written.
class HWCOperationController : public QObject {
    Q_OBJECT

public:
    using Operations = QList<std::shared_ptr<HWCSourceOperation>>;

    // Each operation it makes is made with parameters, their source set to its own.
    explicit HWCOperationController(HWCOperationParameters parameters = {},
                                    QObject *parent = nullptr);
    ~HWCOperationController() override;

    const Operations &operations() const { return m_allOperations; }

    // What the operations made from now on are made with (a setting of the window changed);
    // those made before keep theirs. Main thread.
    void setParameters(const HWCOperationParameters &parameters) { m_parameters = parameters; }

    // Makes a creation or verification operation for the source, queues it and returns it.
    // Without an action it takes the source's; a command names its own (a new history over
    // folders that hold histories of their own).
    std::shared_ptr<HWCSourceOperation> addDisk(std::shared_ptr<HWCSource> source,
                                                std::optional<HWCActionType> action = {});

    // Drops the operation from the list without cancelling it.
    void removeOperation(HWCSourceOperation *operation);

    // Empties the list at once, then cancels every queued or running operation.
    void cancelAllOperations();

Q_SIGNALS:
    void operationsChanged();
    // Posted to the main thread once per operation that ends, cancelled or not, once it has
    // been recorded in the history.
    void completedOperation(std::shared_ptr<HWCSourceOperation> operation);
    // Emitted just before completedOperation() when the history could not record the
    // operation: why (the path of the history and SQLite's words).
    void notRecorded(std::shared_ptr<HWCSourceOperation> operation, QString reason);

private:
    // The operations of one device: the one running and those waiting for it, in order.
    struct DeviceQueue {
        std::shared_ptr<HWCSourceOperation> running;
        QList<std::shared_ptr<HWCSourceOperation>> waiting;
    };

    void enqueue(const std::shared_ptr<HWCSourceOperation> &operation, const QString &device);
    void run(const std::shared_ptr<HWCSourceOperation> &operation);
    // The device's running operation has ended: the next one waiting starts.
    void deviceFreed(const QString &device);
    // Starts the waiting operations that were cancelled, which read nothing.
    void startCancelledWaiting();
    void setUpCompletion(const std::shared_ptr<HWCSourceOperation> &operation,
                         const QString &device);
    void reportCompletion(const std::shared_ptr<HWCSourceOperation> &operation,
                          QVariantMap properties);

    QThreadPool m_operationQueue;
    QThreadPool m_recordingQueue; // writes to the history
    Operations m_allOperations;
    // Every operation handed to the queue that may still run, listed or not; main thread.
    QList<std::weak_ptr<HWCSourceOperation>> m_queuedOperations;
    QHash<QString, DeviceQueue> m_devices; // main thread
    int m_idealThreadCount;
    HWCOperationParameters m_parameters;
};
