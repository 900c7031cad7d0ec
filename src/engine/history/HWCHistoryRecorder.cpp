#include "engine/history/HWCHistoryRecorder.h"

#include "engine/history/HWCHistoryDatabase.h"
#include "engine/session/HWCLog.h"

#include <QSettings>

namespace HWCHistoryRecorder {

QString record(HWCHistoryEntry entry, const QString &path)
{
    entry.addEnvironment();
    HWCHistoryDatabase database(path);
    if (database.add(entry) == 0) {
        const QString problem = QStringLiteral("%1: %2").arg(path, database.error());
        HWCLogWarning(QStringLiteral("The run of %1 could not be recorded in the history: %2")
                          .arg(entry.source, problem));
        return problem;
    }
    // Old entries going is housekeeping: a failure here loses nothing of this run.
    database.removeEndedBefore(QDateTime::currentDateTime().addDays(-retentionDays()));
    return {};
}

int retentionDays()
{
    const QSettings settings(QStringLiteral("Hashwarden"), QStringLiteral("Hashwarden"));
    return std::max(
        1, settings.value(QStringLiteral("HistoryRetentionDays"), kDefaultRetentionDays).toInt());
}

} // namespace HWCHistoryRecorder
