#pragma once

#include "engine/history/HWCHistoryEntry.h"

#include <QDateTime>
#include <QList>
#include <QString>

// The report a production files for a shooting day: one HTML document, its styles inline,
// readable offline and printable, that the PDF writer also lays out. At the top the verdict
// (HWCReportVerdict), then one section per run: source and volume, the lists used or
// written with their SHA-1, host, user, tool, times, speed, counts by state, every failed
// file with the digests compared, and the files no list names. Any thread.
namespace HWCProductionReport {

enum class Paper { A4, Letter };

// A4, or Letter where the locale measures in US units.
Paper paperForLocale();

// "A4" or "letter", as CSS names it.
QString paperName(Paper paper);

// The title and date every page carries at its foot.
QString footer(const QDateTime &made);

// The whole document. The PDF writer numbers the pages itself; a browser prints the page
// numbers and footer() from the page's margin boxes.
QString html(const QList<HWCHistoryEntry> &entries, const QDateTime &made, Paper paper);

} // namespace HWCProductionReport
