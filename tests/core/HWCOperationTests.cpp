#include "Classes/HWCOperation.h"

#include <QStringList>
#include <QThread>
#include <QThreadPool>
#include <atomic>
#include <gtest/gtest.h>
#include <mutex>

namespace {

// Notes every step of the life cycle, in order, with the thread it ran on.
class JournalOperation : public HWCOperation {
public:
    std::function<void()> body;

    void note(const QString &step)
    {
        std::lock_guard lock(m_mutex);
        m_steps.append(step);
        m_threads.append(QThread::currentThread());
    }
    QStringList steps() const
    {
        std::lock_guard lock(m_mutex);
        return m_steps;
    }
    QList<QThread *> threads() const
    {
        std::lock_guard lock(m_mutex);
        return m_threads;
    }

protected:
    void main() override
    {
        note(QStringLiteral("main executing=%1 finished=%2").arg(isExecuting()).arg(isFinished()));
        if (body)
            body();
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_steps;
    QList<QThread *> m_threads;
};

void journalSignals(JournalOperation &operation)
{
    QObject::connect(&operation, &HWCOperation::executingChanged, [&operation] {
        operation.note(QStringLiteral("executing=%1").arg(operation.isExecuting()));
    });
    QObject::connect(&operation, &HWCOperation::finishedChanged, [&operation] {
        operation.note(QStringLiteral("finished=%1").arg(operation.isFinished()));
    });
    operation.setCompletionHandler([&operation] {
        operation.note(QStringLiteral("completion finished=%1").arg(operation.isFinished()));
    });
}

} // namespace

TEST(HWCOperation, RunsMainThenFinishesThenCompletesOnTheWorkerThread)
{
    JournalOperation operation;
    journalSignals(operation);
    QThread *worker = nullptr;
    operation.body = [&worker] { worker = QThread::currentThread(); };

    QThreadPool pool;
    pool.start([&operation] { operation.start(); });
    pool.waitForDone();

    EXPECT_EQ(operation.steps(),
              QStringList({"executing=1", "main executing=1 finished=0", "executing=0",
                           "finished=1", "completion finished=1"}));
    ASSERT_NE(worker, nullptr);
    EXPECT_NE(worker, QThread::currentThread());
    for (QThread *thread : operation.threads())
        EXPECT_EQ(thread, worker);
    EXPECT_TRUE(operation.isFinished());
    EXPECT_FALSE(operation.isExecuting());
    EXPECT_FALSE(operation.isCancelled());
}

TEST(HWCOperation, CancelledBeforeStartSkipsMainButStillFinishesAndCompletes)
{
    JournalOperation operation;
    journalSignals(operation);
    int cancelNotices = 0;
    QObject::connect(&operation, &HWCOperation::cancelledChanged, [&] { ++cancelNotices; });

    operation.cancel();
    operation.cancel();
    operation.start();

    EXPECT_EQ(cancelNotices, 1);
    EXPECT_TRUE(operation.isCancelled());
    EXPECT_EQ(operation.steps(), QStringList({"finished=1", "completion finished=1"}));
}

TEST(HWCOperation, CancelFromAnotherThreadIsSeenByARunningMain)
{
    JournalOperation operation;
    std::atomic<bool> running{false};
    operation.body = [&] {
        running = true;
        while (!operation.isCancelled())
            QThread::yieldCurrentThread();
    };

    QThreadPool pool;
    pool.start([&operation] { operation.start(); });
    while (!running)
        QThread::yieldCurrentThread();
    operation.cancel();
    ASSERT_TRUE(pool.waitForDone(10000));

    EXPECT_TRUE(operation.isCancelled());
    EXPECT_TRUE(operation.isFinished());
}
