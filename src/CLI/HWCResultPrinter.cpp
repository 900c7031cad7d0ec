#include "CLI/HWCResultPrinter.h"

#include "CLI/HWCExitCode.h"
#include "Classes/HWCMHLCreateOperation.h"
#include "Classes/HWCOperationInfo.h"
#include "Classes/HWCStateNames.h"
#include "Classes/HWCVerificationOperation.h"

#include <QJsonArray>
#include <QLocale>

namespace HWCResultPrinter {

namespace {

// A creation keeps records only for the files it could not hash; what it did hash shows in
// its progress record.
bool isCreation(const HWCVerificationOperation &operation)
{
    return operation.actionType() == HWCActionTypeCreate;
}

QString mhlFilePath(const HWCVerificationOperation &operation)
{
    const auto *creation = dynamic_cast<const HWCMHLCreateOperation *>(&operation);
    return creation ? creation->mhlFilePath() : QString();
}

QString mhlWriteError(const HWCVerificationOperation &operation)
{
    const auto *creation = dynamic_cast<const HWCMHLCreateOperation *>(&operation);
    return creation ? creation->mhlWriteError() : QString();
}

quint64 bytesRead(const HWCVerificationOperation &operation)
{
    if (isCreation(operation))
        return operation.info()->bytesVerified();
    quint64 bytes = 0;
    for (const HWCVerifiedFile &file : operation.files())
        bytes += file.bytes();
    return bytes;
}

QString actionName(const HWCVerificationOperation &operation)
{
    return HWCActionTypeName(operation.actionType());
}

QString stateName(const HWCVerificationOperation &operation)
{
    // The engine calls a creation done even when its list was not written; we do not.
    if (!mhlWriteError(operation).isNull())
        return QStringLiteral("MHL could not be written");
    // An operation cancelled before it ran never set a state of its own.
    if (operation.state() == HWCOperationStatePreparing && operation.isCancelled())
        return HWCOperationStateName(HWCOperationStateCancelled);
    // The engine calls a run over unusable or empty lists a success; the command line
    // must not.
    QString name = HWCOperationStateName(operation.state());
    if (operation.state() == HWCOperationStateVerifiedOK && operation.files().isEmpty())
        name = QStringLiteral("Nothing verified");
    if (!operation.unusableLists().isEmpty())
        name += QStringLiteral(", an MHL could not be used");
    return name;
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

// The digest and size fields of a record, each only when known.
void addDetail(const HWCVerifiedFile &file, QJsonObject &record)
{
    const HWCVerifiedFile::Detail &detail = file.detail();
    if (!detail.digestKind.isEmpty())
        record.insert("digestKind", detail.digestKind);
    if (!detail.expected.isNull())
        record.insert("expected", detail.expected);
    if (!detail.actual.isEmpty())
        record.insert("actual", detail.actual);
    if (detail.expectedSize)
        record.insert("expectedSize", qint64(*detail.expectedSize));
}

// The files under a verified source that no list names; "" when there are none.
QString unlistedSummary(const HWCVerificationOperation &operation)
{
    const QStringList &unlisted = operation.unlistedFiles();
    if (unlisted.isEmpty())
        return {};
    return QStringLiteral("  Not listed in any MHL (%1):\n    %2\n")
        .arg(QString::number(unlisted.size()), unlisted.join(QStringLiteral("\n    ")));
}

} // namespace

QString mhlWriteFailure(const HWCVerificationOperation &operation)
{
    const QString error = mhlWriteError(operation);
    return error.isNull() ? QString() : QStringLiteral("MHL could not be written: %1").arg(error);
}

QString summary(const HWCVerificationOperation &operation)
{
    const QList<HWCVerifiedFile> warnings =
        operation.filesWithState(HWCFileStateReadSuccessfully, true);
    const quint64 passed = operation.files().size() - warnings.size();
    const QString bytes =
        QLocale::c().formattedDataSize(qint64(bytesRead(operation)), 1, QLocale::DataSizeSIFormat);
    QString text = QStringLiteral("%1 %2: %3\n")
                       .arg(actionName(operation), operation.info()->path(), stateName(operation));
    if (isCreation(operation)) {
        text += QStringLiteral("  %1 files, %2 could not be hashed, %3 hashed\n")
                    .arg(operation.fileAmount())
                    .arg(warnings.size())
                    .arg(bytes);
        if (!mhlFilePath(operation).isEmpty())
            text += QStringLiteral("  MHL: %1\n").arg(mhlFilePath(operation));
    } else {
        text += QStringLiteral("  %1 files, %2 read successfully, %3 with warnings, %4 read\n")
                    .arg(operation.fileAmount())
                    .arg(passed)
                    .arg(warnings.size())
                    .arg(bytes);
    }
    for (HWCFileState state = 0; state <= HWCFileStateUnknownHash; ++state) {
        if (state == HWCFileStateReadSuccessfully)
            continue;
        const QList<HWCVerifiedFile> group = operation.filesWithState(state);
        if (group.isEmpty())
            continue;
        text += QStringLiteral("  %1 (%2):\n").arg(group.first().state()).arg(group.size());
        for (const HWCVerifiedFile &file : group) {
            text += QStringLiteral("    %1\n").arg(file.path());
            if (state == HWCFileStateHashFail)
                text += hashFailDetail(file);
        }
    }
    return text + unlistedSummary(operation);
}

QJsonObject json(const HWCVerificationOperation &operation)
{
    QJsonArray records;
    const QList<HWCVerifiedFile> warnings =
        operation.filesWithState(HWCFileStateReadSuccessfully, true);
    for (const HWCVerifiedFile &file : warnings) {
        QJsonObject record{{"path", file.path()},
                           {"state", file.state()},
                           {"stateCode", qint64(file.verifiedFileState())},
                           {"bytes", qint64(file.bytes())}};
        addDetail(file, record);
        records.append(record);
    }
    QJsonArray skipped;
    for (const HWCVerificationOperation::UnusableList &list : operation.unusableLists())
        skipped.append(QJsonObject{{"list", list.path}, {"reason", list.reason}});
    const HWCOperationInfo *info = operation.info();
    QJsonObject object{
        {"source", info->path()},
        {"action", actionName(operation)},
        {"state", stateName(operation)},
        {"exitCode", HWCExitCode::forOperation(operation)},
        {"files", qint64(operation.fileAmount())},
        {"filesTotal", qint64(info->filesTotal())},
        {"bytes", qint64(bytesRead(operation))},
        {"bytesTotal", qint64(info->bytesTotal())},
        {"warnings", qint64(warnings.size())},
        {"tools", QJsonArray::fromStringList(info->mhlTools())},
        {"records", records},
        {"mhl", mhlFilePath(operation)},
        {"mhlError", mhlWriteError(operation)},
        {"skipped", skipped},
    };
    if (!isCreation(operation))
        object.insert("unlisted", QJsonArray::fromStringList(operation.unlistedFiles()));
    return object;
}

QString unfinishedSummary(const HWCVerificationOperation &operation)
{
    const HWCOperationInfo *info = operation.info();
    return QStringLiteral("%1 %2: %3 before it ended\n  %4 files checked, %5 read\n")
        .arg(actionName(operation), info->path(), HWCOperationStateName(HWCOperationStateCancelled),
             QString::number(info->filesVerified() + info->filesFailed()),
             QLocale::c().formattedDataSize(qint64(info->bytesVerified()), 1,
                                            QLocale::DataSizeSIFormat));
}

QJsonObject unfinishedJson(const HWCVerificationOperation &operation)
{
    const HWCOperationInfo *info = operation.info();
    return {
        {"source", info->path()},
        {"action", actionName(operation)},
        {"state", HWCOperationStateName(HWCOperationStateCancelled)},
        {"exitCode", HWCExitCode::kCancelled},
        {"files", qint64(info->filesVerified() + info->filesFailed())},
        {"bytes", qint64(info->bytesVerified())},
        {"finished", false},
    };
}

} // namespace HWCResultPrinter
