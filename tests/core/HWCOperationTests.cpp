#include "engine/operations/HWCOperation.h"

#include <QSet>
#include <QStringList>
#include <QThread>
#include <QThreadPool>
#include <gtest/gtest.h>
#include <mutex>

namespace {

// Notes every step of its life cycle, in order, with the thread it ran on.
class JournalOperation : public HWCOperation {
public:
    JournalOperation()
    {
        connect(this, &HWCOperation::executingChanged,
                [this] { note("executing", isExecuting()); });
        connect(this, &HWCOperation::finishedChanged, [this] { note("finished", isFinished()); });
        connect(this, &HWCOperation::cancelledChanged,
                [this] { note("cancelled", isCancelled()); });
        setCompletionHandler([this] { note("completion finished", isFinished()); });
    }

    void note(const char *step, bool value)
    {
        std::lock_guard lock(m_mutex);
        steps.append(QStringLiteral("%1=%2").arg(QLatin1String(step)).arg(value));
        threads.insert(QThread::currentThread());
    }

    QStringList steps;
    QSet<QThread *> threads;

protected:
    void main() override { note("main executing", isExecuting()); }

private:
    std::mutex m_mutex;
};

} // namespace

TEST(HWCOperation, RunsMainThenFinishesThenCompletesOnTheWorkerThread)
{
    JournalOperation operation;
    QThreadPool pool;
    pool.start([&operation] { operation.start(); });
    pool.waitForDone();

    EXPECT_EQ(operation.steps, QStringList({"executing=1", "main executing=1", "executing=0",
                                            "finished=1", "completion finished=1"}));
    ASSERT_EQ(operation.threads.size(), 1);
    EXPECT_NE(*operation.threads.begin(), QThread::currentThread());
}

TEST(HWCOperation, CancelledBeforeStartSkipsMainButStillFinishesAndCompletes)
{
    JournalOperation operation;
    operation.cancel();
    operation.cancel();
    operation.start();
    EXPECT_EQ(operation.steps, QStringList({"cancelled=1", "finished=1", "completion finished=1"}));
}
