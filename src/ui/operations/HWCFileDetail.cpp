#include "ui/operations/HWCFileDetail.h"

#include "engine/files/HWCPathAdditions.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCVerifiedFile.h"

#include <QCoreApplication>
#include <QLocale>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("Hashwarden", text);
}

QString bytesText(quint64 bytes)
{
    return tr("%1 bytes").arg(QLocale().toString(bytes));
}

bool foundAndOpened(HWCFileState state)
{
    return state != HWCFileState::MissingFile && state != HWCFileState::AccessDenied &&
           state != HWCFileState::CantOpenFile;
}

} // namespace

QString HWCFileDetail::listedIn(const HWCSourceOperation &operation, const HWCVerifiedFile &file)
{
    if (operation.actionType() != HWCActionType::Verify)
        return {};
    const QString folder = operation.info()->path();
    QStringList names;
    for (const QString &url : operation.info()->mhlURLs()) {
        // Listed files are relative to the folder of their list, as the operation reads them.
        if (url.startsWith(folder) &&
            hwc_deletingLastPathComponent(url.mid(folder.size())) == file.rootPath())
            names << hwc_lastPathComponent(url);
    }
    return names.join(QStringLiteral(", "));
}

QString HWCFileDetail::sizeText(const HWCVerifiedFile &file)
{
    return foundAndOpened(file.verifiedFileState()) ? file.size() : QString();
}

QString HWCFileDetail::text(const HWCVerifiedFile &file, const QString &listedIn)
{
    const HWCVerifiedFile::Detail &detail = file.detail();
    QStringList lines{QStringLiteral("%1: %2").arg(file.state(), file.path())};
    if (!detail.reason.isEmpty())
        lines << detail.reason;
    if (!detail.digestKind.isEmpty()) {
        lines << tr("%1 listed %2").arg(detail.digestKind, detail.expected);
        lines
            << (detail.actual.isEmpty()
                    ? tr("%1 computed: none, the file was not read through").arg(detail.digestKind)
                    : tr("%1 computed %2").arg(detail.digestKind, detail.actual));
    }
    if (detail.expectedSize && foundAndOpened(file.verifiedFileState())) {
        const quint64 listed = *detail.expectedSize;
        QString size =
            tr("Size found %1, listed %2").arg(bytesText(file.bytes()), bytesText(listed));
        if (file.bytes() < listed)
            size += tr(" (truncated)");
        lines << size;
    }
    if (!listedIn.isEmpty())
        lines << tr("Listed in %1").arg(listedIn);
    return lines.join(QLatin1Char('\n'));
}
