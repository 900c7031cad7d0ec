#include "Classes/HWCOperation.h"

HWCOperation::HWCOperation(QObject *parent) : QObject(parent)
{
}

HWCOperation::~HWCOperation() = default;

void HWCOperation::start()
{
    // A cancelled operation still passes through finished, so that whoever waits on it
    // (the controller's completion handling) is told.
    if (!isCancelled()) {
        m_startedAt.store(std::chrono::steady_clock::now().time_since_epoch().count());
        m_executing.store(true);
        Q_EMIT executingChanged();
        main();
        m_endedAt.store(std::chrono::steady_clock::now().time_since_epoch().count());
        m_executing.store(false);
        Q_EMIT executingChanged();
    }
    m_finished.store(true);
    Q_EMIT finishedChanged();
    if (m_completionHandler)
        m_completionHandler();
}

std::chrono::nanoseconds HWCOperation::runningTime() const
{
    using Clock = std::chrono::steady_clock;
    const Clock::rep started = m_startedAt.load();
    if (started == 0)
        return {};
    const Clock::rep ended = m_endedAt.load();
    const Clock::rep end = ended != 0 ? ended : Clock::now().time_since_epoch().count();
    return Clock::duration(end - started);
}

void HWCOperation::cancel()
{
    if (!m_cancelled.exchange(true))
        Q_EMIT cancelledChanged();
}

void HWCOperation::setCompletionHandler(CompletionHandler handler)
{
    m_completionHandler = std::move(handler);
}
