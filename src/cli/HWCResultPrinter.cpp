#include "cli/HWCResultPrinter.h"

#include "cli/HWCExitCode.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/history/HWCHistoryEntry.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStateNames.h"
#include "engine/reports/HWCOutcome.h"

#include <QTextStream>

namespace HWCResultPrinter {

namespace {

QString heading(HWCActionType action, const QString &source, const QString &state)
{
    return QStringLiteral("%1 %2: %3\n")
        .arg(HWCActionTypeName(action), hwc_displayedName(source), state);
}

QString counts(const HWCHistoryEntry &entry)
{
    const quint64 warnings = entry.failures();
    const QString files = HWCOutcome::count(qint64(entry.files), "file", "files");
    const QString bytes = HWCOutcome::sizeText(entry.bytes);
    if (entry.action == HWCActionType::Create) {
        QString text = QStringLiteral("  %1, %2 could not be hashed, %3 hashed\n")
                           .arg(files)
                           .arg(warnings)
                           .arg(bytes);
        if (!entry.writtenList.path.isEmpty())
            text += QStringLiteral("  MHL: %1\n").arg(hwc_displayedName(entry.writtenList.path));
        return text;
    }
    QString text = QStringLiteral("  %1, %2 read successfully, %3 with warnings, %4 read\n")
                       .arg(files)
                       .arg(entry.counts.value(HWCFileState::ReadSuccessfully))
                       .arg(warnings)
                       .arg(bytes);
    for (const QString &generation : entry.sealedGenerations)
        text +=
            QStringLiteral("  Recorded in the history: %1\n").arg(hwc_displayedName(generation));
    if (!entry.notSealed.isNull())
        text += QStringLiteral("  This verification could not be recorded in the history: %1\n")
                    .arg(hwc_displayedName(entry.notSealed));
    return text;
}

// Under a "Hash fail" record: the digests compared, and the size found against the size listed.
QString hashFailDetail(const HWCHistoryFile &file)
{
    const HWCVerifiedFile::Detail &detail = file.detail;
    QString text;
    if (!detail.digestKind.isEmpty()) {
        text += QStringLiteral("      %1 expected %2\n").arg(detail.digestKind, detail.expected);
        text += QStringLiteral("      %1 actual   %2\n")
                    .arg(QString(detail.digestKind.size(), QLatin1Char(' ')), detail.actual);
    }
    if (!detail.expectedSize)
        return text;
    const quint64 listed = *detail.expectedSize;
    if (file.bytes == listed)
        return text + QStringLiteral("      size %1 bytes, as listed\n").arg(listed);
    return text + QStringLiteral("      size %1 bytes, %2 listed%3\n")
                      .arg(file.bytes)
                      .arg(listed)
                      .arg(file.bytes < listed ? QStringLiteral(" (truncated)") : QString());
}

// "  <heading> (<count>):" and the paths; "" when there are none.
QString pathSection(const char *heading, const QStringList &paths)
{
    if (paths.isEmpty())
        return {};
    QString text = QStringLiteral("  %1 (%2):\n").arg(QLatin1String(heading)).arg(paths.size());
    for (const QString &path : paths)
        text += QStringLiteral("    ") + hwc_displayedName(path) + QLatin1Char('\n');
    return text;
}

// The files under a verified source that no list names; "" when there are none.
QString unlistedSummary(const QStringList &unlisted)
{
    return pathSection("Not listed in any MHL", unlisted);
}

// One section per file state other than success: "  <state> (<count>):" and the files.
void stateSections(const HWCHistoryEntry &entry, QTextStream &out)
{
    for (const HWCFileState state : kHWCFileStates) {
        if (state == HWCFileState::ReadSuccessfully || entry.counts.value(state) == 0)
            continue;
        out << QStringLiteral("  %1 (%2):\n").arg(HWCFileStateName(state)).arg(entry.counts[state]);
        for (qsizetype index = 0; index < entry.records.size(); ++index) {
            if (entry.records.stateAt(index) != state)
                continue;
            const HWCHistoryFile file = entry.records[index];
            out << "    /" << hwc_displayedName(file.path) << '\n';
            if (const QString &reason = file.detail.reason; !reason.isEmpty())
                out << "      " << hwc_displayedName(reason) << '\n';
            if (state == HWCFileState::HashFail)
                out << hashFailDetail(file);
        }
    }
    out << pathSection("New since the last generation, recorded", entry.sealedNew)
        << unlistedSummary(entry.unlisted);
}

} // namespace

void summary(const HWCSourceOperation &operation, QTextStream &out)
{
    summary(HWCHistoryEntry::fromOperation(operation, {}), out);
}

void summary(const HWCHistoryEntry &entry, QTextStream &out)
{
    out << heading(entry.action, entry.source, entry.stateName) << counts(entry);
    stateSections(entry, out);
}

void fileLines(const HWCSourceOperation &operation, bool problemsOnly, QTextStream &out)
{
    const QString source = hwc_displayedName(operation.info()->path());
    for (const HWCVerifiedFile &file : operation.files()) {
        const bool passed = file.verifiedFileState() == HWCFileState::ReadSuccessfully;
        if (passed && problemsOnly)
            continue;
        out << source << '/' << hwc_displayedName(HWCOutcome::relativePath(file)) << ": "
            << (passed ? QStringLiteral("OK") : file.state()) << '\n';
    }
}

void problems(const HWCSourceOperation &operation, QTextStream &out)
{
    if (HWCExitCode::forOperation(operation) == HWCExitCode::kOK &&
        operation.unlistedFiles().isEmpty())
        return;
    out << heading(operation.actionType(), operation.info()->path(),
                   HWCOutcome::stateName(operation));
    fileLines(operation, true, out);
    out << unlistedSummary(operation.unlistedFiles());
}

QString mhlWriteFailure(const HWCSourceOperation &operation)
{
    if (const QString error = HWCOutcome::writeError(operation); !error.isNull())
        return QStringLiteral("%1: %2").arg(HWCOutcome::stateName(operation), error);
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
