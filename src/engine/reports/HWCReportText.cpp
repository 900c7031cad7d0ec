#include "engine/reports/HWCReportText.h"

#include "engine/records/HWCFileStateToStringValueTransformer.h"
#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"

namespace HWCReportText {

QString logTitle(const QDateTime &date)
{
    return QStringLiteral("Hashwarden Log - %1")
        .arg(HWIDateToStringWithTimeValueTransformer::transformedValue(date));
}

QString groupedByState(const QList<HWCVerifiedFile> &files,
                       const std::function<QString(const HWCVerifiedFile &)> &line)
{
    QString text;
    for (const HWCFileState state : kHWCFileStates) {
        QString group;
        for (const HWCVerifiedFile &file : files) {
            if (file.verifiedFileState() == state)
                group += line(file);
        }
        if (group.isEmpty())
            continue;
        const QString heading =
            HWCFileStateToStringValueTransformer::transformedValue(hwc_code(state));
        text += QStringLiteral("\n%1\n").arg(heading) + group;
    }
    return text;
}

} // namespace HWCReportText
