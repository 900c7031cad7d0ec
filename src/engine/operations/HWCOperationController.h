#pragma once

#include "engine/operations/HWCOperationParameters.h"
#include "engine/records/HWCTypes.h"

#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QVariantMap>
#include <memory>

class HWCSource;
class HWCSourceOperation;

// Owns the queue that runs operations and the ordered list the interface shows. Lives on
// the main thread; addDisk(), removeOperation() and cancelAllOperations() are called there.
// The destructor cancels every operation and waits until the workers have stopped.
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

    // Makes a creation (action type 1) or verification (2) operation for the source, queues
    // it and returns it; null for any other action type. action 0 takes the source's; a
    // command names its own (a new history over folders that hold histories of their own).
    std::shared_ptr<HWCSourceOperation> addDisk(std::shared_ptr<HWCSource> source,
                                                HWCActionType action = 0);

    // Drops the operation from the list without cancelling it.
    void removeOperation(HWCSourceOperation *operation);

    // Empties the list at once, then cancels every queued or running operation.
    void cancelAllOperations();

Q_SIGNALS:
    void operationsChanged();
    // Posted to the main thread once per operation that ends, cancelled or not.
    void completedOperation(std::shared_ptr<HWCSourceOperation> operation);

private:
    void setUpCompletion(const std::shared_ptr<HWCSourceOperation> &operation);
    void reportCompletion(const std::shared_ptr<HWCSourceOperation> &operation,
                          QVariantMap properties);

    QThreadPool m_operationQueue;
    Operations m_allOperations;
    // Every operation handed to the queue that may still run, listed or not; main thread.
    QList<std::weak_ptr<HWCSourceOperation>> m_queuedOperations;
    HWCOperationParameters m_parameters;
};
