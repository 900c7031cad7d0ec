#pragma once

#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QVariantMap>
#include <functional>
#include <memory>

class HWCSource;
class HWCVerificationOperation;

// Owns the queue that runs operations and the ordered list the interface shows. Lives on
// the main thread; addDisk(), removeOperation() and cancelAllOperations() are called there.
// The destructor cancels every operation and waits until the workers have stopped.
class HWCOperationController : public QObject {
    Q_OBJECT

public:
    using Operations = QList<std::shared_ptr<HWCVerificationOperation>>;

    explicit HWCOperationController(QObject *parent = nullptr);
    ~HWCOperationController() override;

    const Operations &operations() const { return m_allOperations; }

    // Makes a creation (action type 1) or verification (2) operation for the source, queues
    // it and returns it; null for any other action type.
    std::shared_ptr<HWCVerificationOperation> addDisk(std::shared_ptr<HWCSource> source);

    // How many files each operation made from now on reads at once (HWCVerificationOperation::
    // setJobs()); 1 by default.
    void setJobsPerOperation(int jobs) { m_jobsPerOperation = jobs; }

    // Called on the main thread with each operation made from now on, before it is queued,
    // to give it settings of its own (a root folder, digest kinds, ...).
    void setOperationSetup(std::function<void(HWCVerificationOperation &)> setup)
    {
        m_operationSetup = std::move(setup);
    }

    // Drops the operation from the list without cancelling it.
    void removeOperation(HWCVerificationOperation *operation);

    // Empties the list at once, then cancels every queued or running operation.
    void cancelAllOperations();

Q_SIGNALS:
    void operationsChanged();
    // Posted to the main thread once per operation that ends, cancelled or not.
    void completedOperation(std::shared_ptr<HWCVerificationOperation> operation);

private:
    void setUpCompletion(const std::shared_ptr<HWCVerificationOperation> &operation);
    void reportCompletion(const std::shared_ptr<HWCVerificationOperation> &operation,
                          QVariantMap properties);

    QThreadPool m_operationQueue;
    Operations m_allOperations;
    // Every operation handed to the queue that may still run, listed or not; main thread.
    QList<std::weak_ptr<HWCVerificationOperation>> m_queuedOperations;
    int m_jobsPerOperation = 1;
    std::function<void(HWCVerificationOperation &)> m_operationSetup;
};
