#include "cli/HWCLogReport.h"

#include "HWCBuildInfo.h"
#include "cli/HWCListInfo.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/mhl/HWCMediaHashList.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCFileStateToStringValueTransformer.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStateNames.h"
#include "engine/records/HWCStringAdditions.h"
#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"
#include "engine/records/HWIDiskSpaceToStringValueTransformer.h"
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
        const std::unique_ptr<HWCMediaHashList> list = HWCListInfo::load(path);
        const QStringList kinds = list ? HWCListInfo::digestKinds(*list) : QStringList();
        text += line("MHL:", QStringLiteral("%1 (%2)").arg(path, kinds.join(QStringLiteral(", "))));
    }
    for (const HWCSourceOperation::UnusableList &list : operation.unusableLists())
        text += line("Skipped:", QStringLiteral("%1: %2").arg(list.path, list.reason));
    return text;
}

// Every record, grouped by state in the order of the states, as the failed-files log does.
QString stateGroups(const HWCSourceOperation &operation)
{
    QString text;
    for (const HWCFileState state : kHWCFileStates) {
        const QList<HWCVerifiedFile> group = operation.filesWithState(state);
        if (group.isEmpty())
            continue;
        text += QStringLiteral("\n%1\n").arg(
            HWCFileStateToStringValueTransformer::transformedValue(QVariant::fromValue(state)));
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
QString hashedFiles(const QString &mhlPath, const QStringList &kinds)
{
    const std::unique_ptr<HWCMediaHashList> list = HWCMediaHashList::initWithContentsOfURL(mhlPath);
    if (!list || !list->hasDocument())
        return {};
    QString text = QStringLiteral("\nHashed\n");
    for (const HWCChecksumEntry &entry : list->hashes()) {
        const quint64 size = entry.value("size").toULongLong();
        QStringList digests;
        for (const QString &kind : kinds)
            digests << kind + QLatin1Char(' ') + entry.value(kind.toStdString());
        text += QStringLiteral("/%1 %2 %3\n")
                    .arg(hwc_displayedName(QFile::decodeName(entry.fileName())),
                         byteCount(size, "hashed"), digests.join(QLatin1Char(' ')));
    }
    return text;
}

} // namespace

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
    const qsizetype warnings = operation.filesWithState(HWCFileState::ReadSuccessfully, true).size();
    QString text = header(run, HWCOutcome::stateName(operation)) + listLines(operation);
    const quint64 bytes = HWCOutcome::bytesRead(operation);
    text +=
        line("Files:", QStringLiteral("%1, %2 with warnings, %3")
                           .arg(HWCOutcome::count(qint64(operation.fileAmount()), "file", "files"))
                           .arg(warnings)
                           .arg(byteCount(bytes, "read")));
    if (const QString created = HWCOutcome::createdList(operation); !created.isEmpty()) {
        const QStringList kinds = operation.writtenList().digestKinds;
        QString written = QStringLiteral("%1 (%2), written").arg(created, kinds.join(", "));
        if (const QString error = HWCOutcome::syncError(operation); !error.isNull())
            written += QStringLiteral(", but its folder could not be synced: %1").arg(error);
        text += line("MHL:", written) + hashedFiles(created, kinds);
    }
    text += stateGroups(operation);
    if (const QStringList &unlisted = operation.unlistedFiles(); !unlisted.isEmpty()) {
        text += QStringLiteral("\nNot listed in any MHL\n");
        for (const QString &path : unlisted)
            text += hwc_displayedName(path) + QLatin1Char('\n');
    }
    if (const QStringList unreadable = HWCOutcome::unreadableFolders(operation);
        !unreadable.isEmpty()) {
        text += QStringLiteral("\nFolders that could not be read\n");
        for (const QString &folder : unreadable)
            text += hwc_displayedName(folder) + QLatin1Char('\n');
    }
    return text;
}

} // namespace HWCLogReport
