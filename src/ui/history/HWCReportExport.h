#pragma once

#include "engine/history/HWCHistoryEntry.h"

#include <QList>
#include <QString>

class QWidget;

// "Export Report…" of the window: the report of runs as a PDF or an HTML file. Main thread.
namespace HWCReportExport {

// Asks where to save the report of the entries (PDF or HTML, by the name's ending), writes
// it, and says so when it cannot.
void ask(QWidget *parent, const QList<HWCHistoryEntry> &entries);

// Writes the report to path atomically: a PDF when its name ends in ".pdf", otherwise HTML;
// false with error saying why.
bool write(const QString &path, const QList<HWCHistoryEntry> &entries, QString *error);

} // namespace HWCReportExport
