#pragma once

#include "engine/history/HWCHistoryEntry.h"

#include <QList>
#include <QLocale>
#include <QString>
#include <QStringList>

// The top of a report, for a reader who knows nothing of digests: one sentence for the
// cards that verified, then one for each card with any other outcome, in the order given
// ("All 3 cards verified: 1,204 files, 1.92 TB, every file matched its MHL."). Numbers and
// sizes are written the English way, as the sentences are. Any thread.
namespace HWCReportVerdict {

QStringList sentences(const QList<HWCHistoryEntry> &entries);

// Whether every run verified.
bool allVerified(const QList<HWCHistoryEntry> &entries);

// "1,204"
QString number(quint64 amount);
// "1.92 TB"
QString size(quint64 bytes);

} // namespace HWCReportVerdict
