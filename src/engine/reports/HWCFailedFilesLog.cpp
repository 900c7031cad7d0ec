#include "engine/reports/HWCFailedFilesLog.h"

#include "engine/reports/HWCReportText.h"

namespace HWCFailedFilesLog {

QString text(const QString &source, const QList<HWCVerifiedFile> &files)
{
    QString text = HWCReportText::logTitle(QDateTime::currentDateTime()) + QLatin1Char('\n');
    text += QStringLiteral("Verification Source: %1\n\n").arg(source);
    return text + HWCReportText::groupedByState(files, [](const HWCVerifiedFile &file) {
               return QStringLiteral("%1 (%2 read)\n").arg(file.path(), file.size());
           });
}

} // namespace HWCFailedFilesLog
