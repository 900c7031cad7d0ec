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
        m_executing.store(true);
        Q_EMIT executingChanged();
        main();
        m_executing.store(false);
        Q_EMIT executingChanged();
    }
    m_finished.store(true);
    Q_EMIT finishedChanged();
    if (m_completionHandler)
        m_completionHandler();
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
