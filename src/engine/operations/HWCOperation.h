#pragma once

#include <QDateTime>
#include <QObject>
#include <atomic>
#include <chrono>
#include <functional>

// A unit of background work with cooperative cancellation. start() runs main() on the
// calling thread (a worker of the controller's pool), then the completion handler on that
// same thread. An operation cancelled before it starts skips main() but still finishes and
// still runs its completion handler.
class HWCOperation : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isExecuting READ isExecuting NOTIFY executingChanged)
    Q_PROPERTY(bool isFinished READ isFinished NOTIFY finishedChanged)
    Q_PROPERTY(bool isCancelled READ isCancelled NOTIFY cancelledChanged)

public:
    using CompletionHandler = std::function<void()>;

    explicit HWCOperation(QObject *parent = nullptr);
    ~HWCOperation() override;

    void start();
    virtual void cancel(); // any thread

    bool isCancelled() const { return m_cancelled.load(); }
    bool isExecuting() const { return m_executing.load(); }
    bool isFinished() const { return m_finished.load(); }

    // How long main() ran: zero before it began, growing while it runs, fixed once it has
    // returned. Any thread.
    std::chrono::nanoseconds runningTime() const;
    // The wall-clock times main() began and returned; invalid until then. Any thread.
    QDateTime startDate() const;
    QDateTime endDate() const;

    // Set before the operation is queued.
    void setCompletionHandler(CompletionHandler handler);

Q_SIGNALS:
    // Emitted on the thread that changes the flag; connect with a queued connection.
    void executingChanged();
    void finishedChanged();
    void cancelledChanged();

protected:
    virtual void main() = 0;
    // Called on the worker thread after main() ended by an exception (logged at error
    // level): publish the failed outcome.
    virtual void mainFailed() {}

private:
    void runMain();

    std::atomic<bool> m_cancelled{false};
    std::atomic<bool> m_executing{false};
    std::atomic<bool> m_finished{false};
    std::atomic<std::chrono::steady_clock::rep> m_startedAt{0};
    std::atomic<std::chrono::steady_clock::rep> m_endedAt{0};
    std::atomic<qint64> m_startDate{0}; // milliseconds since the epoch; 0: not yet
    std::atomic<qint64> m_endDate{0};
    CompletionHandler m_completionHandler;
};
