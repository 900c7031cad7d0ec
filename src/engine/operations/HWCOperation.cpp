#include "engine/operations/HWCOperation.h"

#include "engine/session/HWCLog.h"

#include <cxxabi.h>
#include <exception>

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
        m_startDate.store(QDateTime::currentMSecsSinceEpoch());
        m_executing.store(true);
        Q_EMIT executingChanged();
        runMain();
        m_endedAt.store(std::chrono::steady_clock::now().time_since_epoch().count());
        m_endDate.store(QDateTime::currentMSecsSinceEpoch());
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

QDateTime HWCOperation::startDate() const
{
    const qint64 date = m_startDate.load();
    return date != 0 ? QDateTime::fromMSecsSinceEpoch(date) : QDateTime();
}

QDateTime HWCOperation::endDate() const
{
    const qint64 date = m_endDate.load();
    return date != 0 ? QDateTime::fromMSecsSinceEpoch(date) : QDateTime();
}

void HWCOperation::runMain()
{
    // Nothing may unwind into the thread pool: a failure ends the operation instead.
    QString what;
    try {
        main();
        return;
    } catch (abi::__forced_unwind &) {
        throw;
    } catch (const std::exception &error) {
        what = QString::fromLocal8Bit(error.what());
    } catch (...) {
        what = QStringLiteral("an exception of unknown type");
    }
    HWCLogError(QStringLiteral("%1 stopped by an unexpected error: %2")
                    .arg(QLatin1String(metaObject()->className()), what));
    mainFailed();
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
