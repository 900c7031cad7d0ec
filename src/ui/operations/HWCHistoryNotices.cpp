#include "ui/operations/HWCHistoryNotices.h"

#include "engine/operations/HWCOperationController.h"
#include "ui/operations/HWCCompletedViewController.h"

HWCHistoryNotices::HWCHistoryNotices(HWCOperationController *controller, QObject *parent)
    : QObject(parent)
{
    if (controller)
        connect(controller, &HWCOperationController::notRecorded, this,
                &HWCHistoryNotices::notRecorded);
}

void HWCHistoryNotices::attach(HWCCompletedViewController *panel,
                               const std::shared_ptr<HWCSourceOperation> &operation)
{
    Notice &notice = noticeOf(operation);
    notice.panel = panel;
    if (!notice.reason.isNull())
        panel->setNotRecorded(notice.reason);
}

void HWCHistoryNotices::notRecorded(const std::shared_ptr<HWCSourceOperation> &operation,
                                    const QString &reason)
{
    Notice &notice = noticeOf(operation);
    notice.reason = reason;
    if (notice.panel)
        notice.panel->setNotRecorded(reason);
}

HWCHistoryNotices::Notice &
HWCHistoryNotices::noticeOf(const std::shared_ptr<HWCSourceOperation> &operation)
{
    m_notices.removeIf([](const Notice &notice) { return notice.operation.expired(); });
    for (Notice &notice : m_notices) {
        if (notice.operation.lock() == operation)
            return notice;
    }
    m_notices.append({operation, {}, {}});
    return m_notices.last();
}
