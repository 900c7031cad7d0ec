#include "engine/reports/HWCLogReport.h"

#include "HWCBuildInfo.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCFileStateToStringValueTransformer.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStateNames.h"
#include "engine/records/HWCStringAdditions.h"
#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"
#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"
#include "engine/reports/HWCOutcome.h"
#include "engine/session/HWCLog.h"
#include "engine/session/HWCUserAccount.h"

#include <QFile>
#include <unistd.h>

namespace HWCLogReport {

namespace {

// Every value is one line, so that what it names is shown escaped as a whole.
QString line(const char *label, const QString &value)
{
    return QStringLiteral("%1 %2\n").arg(QLatin1String(label), -10).arg(hwc_displayedName(value));
}

// The size as the engine's logs format it, then exactly.
QString byteCount(quint64 bytes, const char *verb)
{
    return QStringLiteral("%1 %2 (%3 bytes)")
        .arg(HWIDiskSpaceToStringValueTransformer::transformedValue(qint64(bytes)),
             QLatin1String(verb))
        .arg(bytes);
}

QString header(const HWCSourceRun &run, const QString &result)
{
    const HWCSourceOperation &operation = *run.operation;
    const QString format = QStringLiteral("yyyy-MM-dd HH:mm:ss t");
    const double seconds = double(operation.runningTime().count()) / 1e9;
    QString text = QStringLiteral("Hashwarden Log - %1\n")
                       .arg(HWIDateToStringWithTimeValueTransformer::transformedValue(
                           run.ended.isValid() ? run.ended : QDateTime::currentDateTime()));
    text += line("Result:", result);
    text += line("Action:", HWCActionTypeName(operation.actionType()));
    text += line("Source:", operation.info()->path());
    const HWCUserAccount user = HWCUserAccount::current();
    text += line("Host:", user.hostName);
    text += line("User:", user.loginName.isEmpty() ? QString::number(getuid()) : user.loginName);
    text += line("Tool:", QStringLiteral("Hashwarden %1").arg(HWCBuildInfo::kShortVersion));
    if (run.started.isValid()) {
        text += line("Start:", run.started.toString(format));
        text += line("End:", run.ended.toString(format));
        text += line("Duration:", QStringLiteral("%1 (%2 s)")
                                      .arg(hwc_clockDurationString(seconds))
                                      .arg(seconds, 0, 'f', 3));
    }
    return text;
}

QString listLines(const HWCSourceOperation &operation)
{
    QString text;
    for (const QString &path : HWCOutcome::usedLists(operation)) {
        QStringList kinds;
        for (const HWCSourceOperation::UsedList &list : operation.usedLists()) {
            if (list.path == path)
                kinds = list.digestKinds;
        }
        text += line("MHL:", QStringLiteral("%1 (%2)").arg(path, kinds.join(QStringLiteral(", "))));
    }
    for (const HWCSourceOperation::UnusableList &list : operation.unusableLists())
        text += line("Skipped:", QStringLiteral("%1: %2").arg(list.path, list.reason));
    return text;
}

// Every record, grouped by state in the order of the states, each with its exact byte count
// and its reason.
QString stateGroups(const HWCSourceOperation &operation)
{
    QString text;
    for (const HWCFileState state : kHWCFileStates) {
        const QList<HWCVerifiedFile> group = operation.filesWithState(state);
        if (group.isEmpty())
            continue;
        text += QStringLiteral("\n%1\n").arg(
            HWCFileStateToStringValueTransformer::transformedValue(hwc_code(state)));
        for (const HWCVerifiedFile &file : group) {
            text += QStringLiteral("%1 (%2 read, %3 bytes)\n")
                        .arg(hwc_displayedName(file.path()), file.size(),
                             QString::number(file.bytes()));
            if (const QString &reason = file.detail().reason; !reason.isEmpty())
                text += QStringLiteral("  %1\n").arg(hwc_displayedName(reason));
        }
    }
    return text;
}

// What a creation hashed, as its new MHL lists it.
QString hashedFiles(const HWCSourceOperation::WrittenList &written)
{
    if (!written.files)
        return {};
    const QStringList &kinds = written.digestKinds;
    QString text = QStringLiteral("\nHashed\n");
    for (const HWCChecksumEntry &entry : *written.files) {
        const quint64 size = entry.listedSize().value_or(0);
        QStringList digests;
        for (const QString &kind : kinds)
            digests << kind + QLatin1Char(' ') + entry.digestText(kind.toLatin1());
        text += QStringLiteral("/%1 %2 %3\n")
                    .arg(hwc_displayedName(QFile::decodeName(entry.fileName())),
                         byteCount(size, "hashed"), digests.join(QLatin1Char(' ')));
    }
    return text;
}

// What the run wrote: a creation's MHL, the generations of histories, or why it could not;
// then what a creation hashed.
QString writtenLines(const HWCSourceOperation &operation)
{
    const HWCSourceOperation::WrittenList written = operation.writtenList();
    const QString kinds = written.digestKinds.join(QStringLiteral(", "));
    const QString unsynced =
        written.syncError.isNull()
            ? QString()
            : QStringLiteral(", but its folder could not be synced: %1").arg(written.syncError);
    QString text;
    if (!written.path.isEmpty() && written.recorded.isEmpty())
        text +=
            line("MHL:", QStringLiteral("%1 (%2), written%3").arg(written.path, kinds, unsynced));
    for (const QString &generation : written.recorded) {
        const QString described = operation.actionType() == HWCActionType::Create
                                      ? QStringLiteral("%1 (%2)").arg(generation, kinds)
                                      : generation;
        text += line("History:", QStringLiteral("%1, recorded%2").arg(described, unsynced));
    }
    if (!written.notRecorded.isNull())
        text += line("History:", QStringLiteral("not recorded: %1").arg(written.notRecorded));
    if (!written.writeError.isNull()) {
        text += operation.actionType() == HWCActionType::Verify
                    ? line("History:", QStringLiteral("not recorded: %1").arg(written.writeError))
                    : line("MHL:", QStringLiteral("not written: %1").arg(written.writeError));
    }
    return text + hashedFiles(written);
}

// A heading and one path per line; "" when there are none.
QString pathSection(const char *heading, const QStringList &paths)
{
    if (paths.isEmpty())
        return {};
    QString text = QStringLiteral("\n%1\n").arg(QLatin1String(heading));
    for (const QString &path : paths)
        text += hwc_displayedName(path) + QLatin1Char('\n');
    return text;
}

} // namespace

bool writeTo(const HWCSourceRun &run, const QString &path)
{
    QString error;
    if (hwc_writeFileAtomically(path, text(run).toUtf8(), &error))
        return true;
    HWCLogError(QStringLiteral("Creating a Hashwarden Log: %1: %2").arg(path, error));
    return false;
}

QString refusedText(const QString &source, const QString &reason)
{
    return line("Result:", QStringLiteral("Refused: %1").arg(reason)) + line("Source:", source);
}

QString text(const HWCSourceRun &run)
{
    const HWCSourceOperation &operation = *run.operation;
    const HWCOperationInfo *info = operation.info();
    if (!operation.isFinished()) {
        // The worker may still be adding records: only the progress record is read.
        return header(run, QStringLiteral("Cancelled before it ended")) +
               line("Files:",
                    QStringLiteral("%1 checked, %2")
                        .arg(HWCOutcome::count(qint64(info->filesDone()), "file", "files"),
                             byteCount(info->bytesVerified(), "read")));
    }
    const qsizetype warnings =
        operation.filesWithState(HWCFileState::ReadSuccessfully, true).size();
    QString text = header(run, HWCOutcome::stateName(operation)) + listLines(operation);
    const quint64 bytes = HWCOutcome::bytesRead(operation);
    text +=
        line("Files:", QStringLiteral("%1, %2 with warnings, %3")
                           .arg(HWCOutcome::count(qint64(operation.fileAmount()), "file", "files"))
                           .arg(warnings)
                           .arg(byteCount(bytes, "read")));
    text += writtenLines(operation) + stateGroups(operation);
    text +=
        pathSection("New since the last generation, recorded", operation.writtenList().recordedNew);
    text += pathSection("Not listed in any MHL", operation.unlistedFiles());
    return text +
           pathSection("Folders that could not be read", HWCOutcome::unreadableFolders(operation));
}

} // namespace HWCLogReport
