#include "engine/operations/HWCFailedFilesLog.h"

#include "engine/records/HWCFileStateToStringValueTransformer.h"
#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"

#include <QDateTime>

namespace HWCFailedFilesLog {

QString text(const QString &source, const QList<HWCVerifiedFile> &files)
{
    const QString now =
        HWIDateToStringWithTimeValueTransformer::transformedValue(QDateTime::currentDateTime());
    QString text = QStringLiteral("Hashwarden Log - %1\n").arg(now);
    text += QStringLiteral("Verification Source: %1\n\n").arg(source);
    for (const HWCFileState state : kHWCFileStates) {
        QString group;
        for (const HWCVerifiedFile &file : files) {
            if (file.verifiedFileState() == state)
                group += QStringLiteral("%1 (%2 read)\n").arg(file.path(), file.size());
        }
        if (group.isEmpty())
            continue;
        const QString heading =
            HWCFileStateToStringValueTransformer::transformedValue(QVariant::fromValue(state));
        text += QStringLiteral("\n%1\n").arg(heading) + group;
    }
    return text;
}

} // namespace HWCFailedFilesLog
