#pragma once

#include "engine/history/HWCHistoryEntry.h"

#include <QDateTime>
#include <QList>
#include <QString>

class QWidget;

// "Export Report…" of the window, for runs of the history and for the results on screen: the
// report `--report` writes, as a PDF or an HTML file by the name's ending. The save panel
// proposes "Hashwarden Report - <card or N cards> - <date>.pdf" in the folder the last export
// went to (else Documents); a message then says where the report went, with "Show in Folder"
// (HWCLogExport). Main thread.
namespace HWCReportExport {

// "Hashwarden Report - CARD_A - 2024-03-12 at 10.04.00.pdf", "Hashwarden Report - 2 cards - …"
QString fileName(const QList<HWCHistoryEntry> &entries, const QDateTime &date);

// Opens the save panel (window-modal over parent) for the report of the entries and writes it.
void ask(QWidget *parent, const QList<HWCHistoryEntry> &entries);

// Writes the report to path as `--report` does (HWCReportFile); a name that ends in neither
// ".pdf" nor ".html" gets HTML. False with error saying why.
bool write(const QString &path, const QList<HWCHistoryEntry> &entries, QString *error);

} // namespace HWCReportExport
