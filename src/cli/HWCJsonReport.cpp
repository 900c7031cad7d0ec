#include "cli/HWCJsonReport.h"

#include "HWCBuildInfo.h"
#include "cli/HWCExitCode.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStateNames.h"
#include "engine/reports/HWCOutcome.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <cstdio>

namespace HWCJsonReport {

namespace {

QJsonObject record(const HWCSourceOperation &operation, const HWCVerifiedFile &file)
{
    const QString path = HWCOutcome::relativePath(file);
    QJsonObject object{{"path", path},
                       {"stateCode", qint64(hwc_code(file.verifiedFileState()))},
                       {"state", file.state()},
                       {"bytesRead", qint64(file.bytes())}};
    // What is on the medium now; a missing file has no size.
    if (const QFileInfo found(operation.info()->path() + QLatin1Char('/') + path); found.isFile())
        object.insert("size", found.size());
    const HWCVerifiedFile::Detail &detail = file.detail();
    if (!detail.digestKind.isEmpty())
        object.insert("digestKind", detail.digestKind);
    if (!detail.expected.isNull())
        object.insert("expected", detail.expected);
    if (!detail.actual.isEmpty())
        object.insert("actual", detail.actual);
    if (detail.expectedSize)
        object.insert("expectedSize", qint64(*detail.expectedSize));
    if (!detail.reason.isEmpty())
        object.insert("reason", detail.reason);
    return object;
}

// ISO 8601 with the offset from UTC, so that a report read elsewhere keeps its meaning.
QString isoTime(const QDateTime &time)
{
    return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODateWithMs);
}

void insertTimes(const HWCSourceRun &run, QJsonObject &object)
{
    if (!run.started.isValid())
        return;
    object.insert("start", isoTime(run.started));
    object.insert("end", isoTime(run.ended));
    object.insert("durationSeconds", double(run.operation->runningTime().count()) / 1e9);
}

QJsonObject unfinished(const HWCSourceOperation &operation)
{
    const HWCOperationInfo *info = operation.info();
    return {{"state", HWCOperationStateName(HWCOperationState::Cancelled)},
            {"stateCode", qint64(HWCOperationState::Cancelled)},
            {"finished", false},
            {"exitCode", HWCExitCode::kCancelled},
            {"mhlUsed", QJsonArray::fromStringList(info->mhlURLs())},
            {"mhlSkipped", QJsonArray()},
            {"tools", QJsonArray()},
            {"files", qint64(info->filesDone())},
            {"filesTotal", qint64(info->filesTotal())},
            {"bytes", qint64(info->bytesVerified())},
            {"bytesTotal", qint64(info->bytesTotal())},
            {"warnings", qint64(info->filesFailed())},
            {"records", QJsonArray()}};
}

// Paths relative to the source, without a leading "/".
QJsonArray relativePaths(const QStringList &paths)
{
    QJsonArray array;
    for (const QString &path : paths)
        array.append(path.mid(path.startsWith(QLatin1Char('/')) ? 1 : 0));
    return array;
}

QJsonObject finished(const HWCSourceRun &run)
{
    const HWCSourceOperation &operation = *run.operation;
    const HWCOperationInfo *info = operation.info();
    QJsonArray records;
    for (const HWCVerifiedFile &file : operation.files())
        records.append(record(operation, file));
    QJsonArray skipped;
    for (const HWCSourceOperation::UnusableList &list : operation.unusableLists())
        skipped.append(QJsonObject{{"path", list.path}, {"reason", list.reason}});
    const HWCOperationState state = operation.state() == HWCOperationState::Preparing
                                        ? HWCOperationState::Cancelled
                                        : operation.state();
    QJsonObject object{
        {"state", HWCOutcome::stateName(operation)},
        {"stateCode", qint64(state)},
        {"finished", true},
        {"exitCode", HWCExitCode::forRun(run)},
        {"mhlUsed", QJsonArray::fromStringList(HWCOutcome::usedLists(operation))},
        {"mhlSkipped", skipped},
        {"tools", QJsonArray::fromStringList(info->mhlTools())},
        {"files", qint64(operation.fileAmount())},
        {"filesTotal", qint64(info->filesTotal())},
        {"bytes", qint64(HWCOutcome::bytesRead(operation))},
        {"bytesTotal", qint64(info->bytesTotal())},
        {"warnings", qint64(operation.countWithState(HWCFileState::ReadSuccessfully, true))},
        {"records", records}};
    if (const QString list = HWCOutcome::createdList(operation); !list.isEmpty())
        object.insert("mhlWritten", list);
    if (const QString error = HWCOutcome::writeError(operation); !error.isNull())
        object.insert("mhlError", error);
    if (const QString error = HWCOutcome::syncError(operation); !error.isNull())
        object.insert("mhlSyncError", error);
    const HWCSourceOperation::WrittenList sealed = operation.writtenList();
    if (!sealed.recorded.isEmpty())
        object.insert("historyRecorded", QJsonArray::fromStringList(sealed.recorded));
    if (!sealed.notRecorded.isNull())
        object.insert("historyNotRecorded", sealed.notRecorded);
    if (operation.actionType() == HWCActionType::Verify) {
        object.insert("unlisted", relativePaths(operation.unlistedFiles()));
        if (!sealed.recordedNew.isEmpty())
            object.insert("historyRecordedNew", relativePaths(sealed.recordedNew));
        QJsonArray unreadable;
        for (const HWCUnreadableFolder &folder : operation.unreadableFolders())
            unreadable.append(
                QJsonObject{{"path", folder.path}, {"reason", HWCOutcome::reason(folder.error)}});
        object.insert("unreadableFolders", unreadable);
    }
    return object;
}

} // namespace

QJsonObject document(const QString &command, int exitCode, const QJsonArray &sources,
                     const QJsonArray &refused, const QString &error)
{
    QJsonObject object{{"schemaVersion", kSchemaVersion},
                       {"tool", "hashwarden"},
                       {"version", HWCBuildInfo::kShortVersion},
                       {"command", command},
                       {"exitCode", exitCode},
                       {"sources", sources},
                       {"refused", refused}};
    if (!error.isEmpty())
        object.insert("error", error);
    return object;
}

QJsonObject source(const HWCSourceRun &run)
{
    const HWCSourceOperation &operation = *run.operation;
    QJsonObject object = operation.isFinished() ? finished(run) : unfinished(operation);
    object.insert("source", operation.info()->path());
    object.insert("action", HWCActionTypeName(operation.actionType()));
    insertTimes(run, object);
    return object;
}

QJsonObject refused(const QString &source, const QString &reason)
{
    return {{"source", source}, {"reason", reason}};
}

void print(const QJsonObject &document)
{
    std::fputs(QJsonDocument(document).toJson(QJsonDocument::Indented).constData(), stdout);
}

} // namespace HWCJsonReport
