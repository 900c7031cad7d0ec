#include "cli/HWCResultPrinter.h"

#include "cli/HWCExitCode.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStateNames.h"
#include "engine/reports/HWCOutcome.h"

namespace HWCResultPrinter {

namespace {

QString heading(const HWCSourceOperation &operation)
{
    return QStringLiteral("%1 %2: %3\n")
        .arg(HWCActionTypeName(operation.actionType()), hwc_displayedName(operation.info()->path()),
             HWCOutcome::stateName(operation));
}

QString counts(const HWCSourceOperation &operation)
{
    const qsizetype warnings = operation.filesWithState(HWCFileState::ReadSuccessfully, true).size();
    const QString files = HWCOutcome::count(qint64(operation.fileAmount()), "file", "files");
    const QString bytes = HWCOutcome::sizeText(HWCOutcome::bytesRead(operation));
    if (operation.actionType() == HWCActionType::Create) {
        QString text = QStringLiteral("  %1, %2 could not be hashed, %3 hashed\n")
                           .arg(files)
                           .arg(warnings)
                           .arg(bytes);
        if (const QString list = HWCOutcome::createdList(operation); !list.isEmpty())
            text += QStringLiteral("  MHL: %1\n").arg(hwc_displayedName(list));
        return text;
    }
    return QStringLiteral("  %1, %2 read successfully, %3 with warnings, %4 read\n")
        .arg(files)
        .arg(operation.files().size() - warnings)
        .arg(warnings)
        .arg(bytes);
}

// Under a "Hash fail" record: the digests compared, and the size found against the size listed.
QString hashFailDetail(const HWCVerifiedFile &file)
{
    const HWCVerifiedFile::Detail &detail = file.detail();
    QString text;
    if (!detail.digestKind.isEmpty()) {
        text += QStringLiteral("      %1 expected %2\n").arg(detail.digestKind, detail.expected);
        text += QStringLiteral("      %1 actual   %2\n")
                    .arg(QString(detail.digestKind.size(), QLatin1Char(' ')), detail.actual);
    }
    if (!detail.expectedSize)
        return text;
    const quint64 listed = *detail.expectedSize;
    if (file.bytes() == listed)
        return text + QStringLiteral("      size %1 bytes, as listed\n").arg(listed);
    return text + QStringLiteral("      size %1 bytes, %2 listed%3\n")
                      .arg(file.bytes())
                      .arg(listed)
                      .arg(file.bytes() < listed ? QStringLiteral(" (truncated)") : QString());
}

// The files under a verified source that no list names; "" when there are none.
QString unlistedSummary(const HWCSourceOperation &operation)
{
    const QStringList &unlisted = operation.unlistedFiles();
    if (unlisted.isEmpty())
        return {};
    QString text = QStringLiteral("  Not listed in any MHL (%1):\n").arg(unlisted.size());
    for (const QString &path : unlisted)
        text += QStringLiteral("    ") + hwc_displayedName(path) + QLatin1Char('\n');
    return text;
}

// One section per file state other than success: "  <state> (<count>):" and the files.
QString stateSections(const HWCSourceOperation &operation)
{
    QString text;
    for (const HWCFileState state : kHWCFileStates) {
        if (state == HWCFileState::ReadSuccessfully)
            continue;
        const QList<HWCVerifiedFile> group = operation.filesWithState(state);
        if (group.isEmpty())
            continue;
        text += QStringLiteral("  %1 (%2):\n").arg(group.first().state()).arg(group.size());
        for (const HWCVerifiedFile &file : group) {
            text +=
                QStringLiteral("    /%1\n").arg(hwc_displayedName(HWCOutcome::relativePath(file)));
            if (const QString &reason = file.detail().reason; !reason.isEmpty())
                text += QStringLiteral("      %1\n").arg(hwc_displayedName(reason));
            if (state == HWCFileState::HashFail)
                text += hashFailDetail(file);
        }
    }
    return text + unlistedSummary(operation);
}

} // namespace

QString summary(const HWCSourceOperation &operation)
{
    return heading(operation) + counts(operation) + stateSections(operation);
}

QString fileLines(const HWCSourceOperation &operation, bool problemsOnly)
{
    QString text;
    for (const HWCVerifiedFile &file : operation.files()) {
        const bool passed = file.verifiedFileState() == HWCFileState::ReadSuccessfully;
        if (passed && problemsOnly)
            continue;
        text += QStringLiteral("%1/%2: %3\n")
                    .arg(hwc_displayedName(operation.info()->path()),
                         hwc_displayedName(HWCOutcome::relativePath(file)),
                         passed ? QStringLiteral("OK") : file.state());
    }
    return text;
}

QString problems(const HWCSourceOperation &operation)
{
    if (HWCExitCode::forOperation(operation) == HWCExitCode::kOK &&
        operation.unlistedFiles().isEmpty())
        return {};
    return heading(operation) + fileLines(operation, true) + unlistedSummary(operation);
}

QString mhlWriteFailure(const HWCSourceOperation &operation)
{
    if (const QString error = HWCOutcome::writeError(operation); !error.isNull())
        return QStringLiteral("MHL could not be written: %1").arg(error);
    if (const QString error = HWCOutcome::syncError(operation); !error.isNull())
        return QStringLiteral("MHL written to %1, but its folder could not be synced: %2")
            .arg(HWCOutcome::createdList(operation), error);
    return {};
}

QString unfinishedSummary(const HWCSourceOperation &operation)
{
    const HWCOperationInfo *info = operation.info();
    return QStringLiteral("%1 %2: %3 before it ended\n  %4 checked, %5 read\n")
        .arg(HWCActionTypeName(operation.actionType()), hwc_displayedName(info->path()),
             HWCOperationStateName(HWCOperationState::Cancelled),
             HWCOutcome::count(qint64(info->filesDone()), "file", "files"),
             HWCOutcome::sizeText(info->bytesVerified()));
}

} // namespace HWCResultPrinter
