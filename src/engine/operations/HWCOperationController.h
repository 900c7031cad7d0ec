#pragma once

#include "engine/operations/HWCOperationParameters.h"

#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QVariantMap>
#include <memory>

class HWCSource;
class HWCSourceOperation;

// Owns the queue that runs operations and the ordered list the interface shows. Lives on
// the main thread; addDisk(), removeOperation() and cancelAllOperations() are called there.
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

    // Makes a creation (action type 1) or verification (2) operation for the source, queues
    // it and returns it; null for any other action type.
    std::shared_ptr<HWCSourceOperation> addDisk(std::shared_ptr<HWCSource> source);

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
    void setUpCompletion(const std::shared_ptr<HWCSourceOperation> &operation);
    void reportCompletion(const std::shared_ptr<HWCSourceOperation> &operation,
                          QVariantMap properties);

    QThreadPool m_operationQueue;
    QThreadPool m_recordingQueue; // writes to the history
    Operations m_allOperations;
    // Every operation handed to the queue that may still run, listed or not; main thread.
    QList<std::weak_ptr<HWCSourceOperation>> m_queuedOperations;
    const HWCOperationParameters m_parameters;
};
