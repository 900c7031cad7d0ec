#include "engine/reports/HWCOutcome.h"

#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStateNames.h"

#include <QLocale>
#include <cstring>

namespace HWCOutcome {

QString stateName(const HWCSourceOperation &operation)
{
    // The engine calls a creation done even when its list was not written, and a verification
    // whose history refused its generation; we do not.
    if (!writeError(operation).isNull())
        return operation.actionType() == HWCActionType::Verify
                   ? QStringLiteral("History could not be recorded")
                   : QStringLiteral("MHL could not be written");
    // An operation cancelled before it ran never set a state of its own.
    if (operation.state() == HWCOperationState::Preparing && operation.isCancelled())
        return HWCOperationStateName(HWCOperationState::Cancelled);
    // The engine calls a run over unusable or empty lists a success; a report must not.
    QString name = HWCOperationStateName(operation.state());
    if (operation.verifiedNothing())
        name = QStringLiteral("Nothing verified");
    if (!operation.unusableLists().isEmpty())
        name += QStringLiteral(", an MHL could not be used");
    return name;
}

quint64 bytesRead(const HWCSourceOperation &operation)
{
    // A creation keeps records only for the files it could not hash.
    if (operation.actionType() == HWCActionType::Create)
        return operation.info()->bytesVerified();
    quint64 bytes = 0;
    for (const HWCVerifiedFile &file : operation.files())
        bytes += file.bytes();
    return bytes;
}

QString createdList(const HWCSourceOperation &operation)
{
    return operation.writtenList().path;
}

QString writeError(const HWCSourceOperation &operation)
{
    return operation.writtenList().writeError;
}

QString syncError(const HWCSourceOperation &operation)
{
    return operation.writtenList().syncError;
}

QStringList unreadableFolders(const HWCSourceOperation &operation)
{
    QStringList lines;
    for (const HWCUnreadableFolder &folder : operation.unreadableFolders())
        lines.append(QStringLiteral("%1: %2").arg(folder.path, reason(folder.error)));
    return lines;
}

QString reason(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QStringList usedLists(const HWCSourceOperation &operation)
{
    QStringList lists = operation.info()->mhlURLs();
    for (const HWCSourceOperation::UnusableList &list : operation.unusableLists())
        lists.removeAll(list.path);
    return lists;
}

QString relativePath(const HWCVerifiedFile &file)
{
    QString path = file.path();
    while (path.startsWith(QLatin1Char('/')))
        path.remove(0, 1);
    return path;
}

QString count(qint64 amount, const char *singular, const char *plural)
{
    return QStringLiteral("%1 %2").arg(amount).arg(QLatin1String(amount == 1 ? singular : plural));
}

QString sizeText(quint64 bytes)
{
    return QLocale::c().formattedDataSize(qint64(bytes), 1, QLocale::DataSizeSIFormat);
}

} // namespace HWCOutcome
