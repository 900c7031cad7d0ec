#include "engine/operations/HWCOperationController.h"

#include "engine/files/HWCMedium.h"
#include "engine/history/HWCHistoryDatabase.h"
#include "engine/history/HWCHistoryRecorder.h"
#include "engine/operations/HWCMHLCreateOperation.h"
#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCVerificationOperation.h"
#include "engine/records/HWCFileStateToStringValueTransformer.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStateNames.h"
#include "engine/session/HWCAnalytics.h"

#include <QDateTime>
#include <QSet>
#include <QThread>
#include <algorithm>
#include <set>

namespace {

const QString kEventTimeFormat = QStringLiteral("yyyyMMddHHmmss");

QString joinedAsPath(const QStringList &components)
{
    return components.join(QLatin1Char('/'));
}

// Everything of the event that the finished operation itself holds; safe on its worker
// thread, which is the only writer of its records.
QVariantMap completionProperties(const HWCSourceOperation &operation, const QDateTime &startedAt)
{
    quint64 byteAmount = 0;
    for (const HWCVerifiedFile &file : operation.files())
        byteAmount += file.bytes();
    // Counted and named in place: a run of a million failures is not copied for its event.
    quint64 warnings = 0;
    std::set<HWCFileState> warningStates;
    for (const HWCVerifiedFile &file : operation.files()) {
        if (file.verifiedFileState() == HWCFileState::ReadSuccessfully)
            continue;
        ++warnings;
        warningStates.insert(file.verifiedFileState());
    }
    QSet<QString> warningTexts;
    for (const HWCFileState state : warningStates)
        warningTexts.insert(
            HWCFileStateToStringValueTransformer::transformedValue(hwc_code(state)));

    return {
        {QStringLiteral("1 - State"), HWCOperationStateName(operation.state())},
        {QStringLiteral("3 - Started At"), startedAt.toString(kEventTimeFormat)},
        {QStringLiteral("4 - Completed At"),
         QDateTime::currentDateTime().toString(kEventTimeFormat)},
        {QStringLiteral("5 - File Amount"), operation.fileAmount()},
        {QStringLiteral("6 - Byte Amount"), byteAmount},
        {QStringLiteral("7 - Warning Amount"), warnings},
        {QStringLiteral("8 - Warnings"), joinedAsPath(warningTexts.values())},
    };
}

} // namespace

HWCOperationController::HWCOperationController(HWCOperationParameters parameters, QObject *parent)
    : QObject(parent), m_parameters(std::move(parameters))
{
    m_idealThreadCount = QThread::idealThreadCount();
    m_operationQueue.setMaxThreadCount(m_idealThreadCount);
    m_operationQueue.setThreadPriority(QThread::LowPriority);
    // One write at a time: entries of one process go in in the order their runs ended.
    m_recordingQueue.setMaxThreadCount(1);
}

HWCOperationController::~HWCOperationController()
{
    // Completion handlers use this controller; none may run once it is gone.
    m_operationQueue.clear();
    for (const auto &queued : std::as_const(m_queuedOperations)) {
        if (const auto operation = queued.lock())
            operation->cancel();
    }
    m_operationQueue.waitForDone();
    m_recordingQueue.waitForDone();
}

std::shared_ptr<HWCSourceOperation>
HWCOperationController::addDisk(std::shared_ptr<HWCSource> source,
                                std::optional<HWCActionType> action)
{
    HWCOperationParameters parameters = m_parameters;
    parameters.source = source;
    std::shared_ptr<HWCSourceOperation> operation;
    switch (source ? action.value_or(source->actionType()) : HWCActionType(0)) {
    case HWCActionType::Create:
        operation = std::make_shared<HWCMHLCreateOperation>(parameters);
        break;
    case HWCActionType::Verify:
        operation = std::make_shared<HWCVerificationOperation>(parameters);
        break;
    default:
        return nullptr;
    }
    // A source that cannot be looked up shares no queue.
    QString device = HWCMedium::of(source->path()).device();
    if (device.isEmpty())
        device = QStringLiteral("path:") + source->path();
    setUpCompletion(operation, device);
    connect(operation.get(), &HWCSourceOperation::removeRequested, this,
            [this, listed = operation.get()] { removeOperation(listed); });
    m_allOperations.append(operation);
    Q_EMIT operationsChanged();

    m_queuedOperations.removeIf([](const auto &queued) { return queued.expired(); });
    m_queuedOperations.append(operation);
    enqueue(operation, device);
    return operation;
}

void HWCOperationController::enqueue(const std::shared_ptr<HWCSourceOperation> &operation,
                                     const QString &device)
{
    DeviceQueue &queue = m_devices[device];
    if (queue.running) {
        operation->setWaitingFor(queue.running->source());
        queue.waiting.append(operation);
        return;
    }
    queue.running = operation;
    run(operation);
}

void HWCOperationController::run(const std::shared_ptr<HWCSourceOperation> &operation)
{
    operation->setWaitingFor(nullptr);
    // One worker for each device being read, however few cores there are: reading one
    // card must not keep another one waiting.
    const auto busy = std::count_if(m_devices.cbegin(), m_devices.cend(),
                                    [](const DeviceQueue &queue) { return queue.running; });
    m_operationQueue.setMaxThreadCount(std::max(m_idealThreadCount, int(busy)));
    m_operationQueue.start([operation] { operation->start(); });
}

void HWCOperationController::deviceFreed(const QString &device)
{
    const auto queue = m_devices.find(device);
    if (queue == m_devices.end())
        return;
    queue->running.reset();
    if (queue->waiting.isEmpty()) {
        m_devices.erase(queue);
        return;
    }
    queue->running = queue->waiting.takeFirst();
    for (const auto &waiting : std::as_const(queue->waiting))
        waiting->setWaitingFor(queue->running->source());
    run(queue->running);
}

void HWCOperationController::startCancelledWaiting()
{
    for (DeviceQueue &queue : m_devices) {
        const auto cancelled =
            std::stable_partition(queue.waiting.begin(), queue.waiting.end(),
                                  [](const auto &operation) { return !operation->isCancelled(); });
        for (auto operation = cancelled; operation != queue.waiting.end(); ++operation) {
            (*operation)->setWaitingFor(nullptr);
            m_operationQueue.start([started = *operation] { started->start(); });
        }
        queue.waiting.erase(cancelled, queue.waiting.end());
    }
}

void HWCOperationController::setUpCompletion(const std::shared_ptr<HWCSourceOperation> &operation,
                                             const QString &device)
{
    // The start time is when the source was added, not when a worker picked it up.
    const QDateTime startedAt = QDateTime::currentDateTime();
    operation->setCompletionHandler(
        [this, startedAt, device, weakOperation = std::weak_ptr(operation)] {
            const std::shared_ptr<HWCSourceOperation> finished = weakOperation.lock();
            if (!finished)
                return;
            QVariantMap properties = completionProperties(*finished, startedAt);
            // The tool names live in the progress record, which the worker fills by posting
            // to the main thread; reading them there, after those posts, sees them all.
            QMetaObject::invokeMethod(
                this,
                [this, finished, device, properties = std::move(properties)]() mutable {
                    // Only the device's own running operation frees it: a cancelled one started
                    // while waiting never held it.
                    if (m_devices.value(device).running == finished)
                        deviceFreed(device);
                    reportCompletion(finished, std::move(properties));
                },
                Qt::QueuedConnection);
        });
}

void HWCOperationController::reportCompletion(const std::shared_ptr<HWCSourceOperation> &operation,
                                              QVariantMap properties)
{
    properties.insert(QStringLiteral("2 - Tools"), joinedAsPath(operation->info()->mhlTools()));
    HWCAnalytics::event(QStringLiteral("Action Completed"), properties);
    // Both front ends end their operations here, so this is where the history learns of them.
    // A write may wait for other processes' writes: it runs off the main thread, and the
    // operation counts as completed once it is recorded.
    // One cancelled before it began has no end of its own.
    const QDateTime ended =
        operation->endDate().isValid() ? operation->endDate() : QDateTime::currentDateTime();
    m_recordingQueue.start(
        [this, operation, entry = HWCHistoryEntry::fromOperation(*operation, ended)]() mutable {
            const QString problem =
                HWCHistoryRecorder::record(std::move(entry), HWCHistoryDatabase::defaultPath());
            QMetaObject::invokeMethod(
                this,
                [this, operation, problem] {
                    if (!problem.isEmpty())
                        Q_EMIT notRecorded(operation, problem);
                    Q_EMIT completedOperation(operation);
                },
                Qt::QueuedConnection);
        });
}

void HWCOperationController::removeOperation(HWCSourceOperation *operation)
{
    // Read first: the list may hold the last reference.
    const bool cancelled = operation->isCancelled();
    const qsizetype removed = m_allOperations.removeIf(
        [operation](const auto &listed) { return listed.get() == operation; });
    if (cancelled)
        startCancelledWaiting();
    if (removed > 0)
        Q_EMIT operationsChanged();
}

void HWCOperationController::cancelAllOperations()
{
    m_allOperations.clear();
    Q_EMIT operationsChanged();
    for (const auto &queued : std::as_const(m_queuedOperations)) {
        if (const auto operation = queued.lock())
            operation->cancel();
    }
    startCancelledWaiting();
}
