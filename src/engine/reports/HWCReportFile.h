#pragma once

#include "engine/history/HWCHistoryEntry.h"
#include "engine/reports/HWCProductionReport.h"

#include <QByteArray>
#include <QList>
#include <QString>

// The --report FILE of verify, create and history report, which the window's "Export Report…"
// writes too: HTML when its name ends in
// ".html" or ".htm", PDF when it ends in ".pdf". Main thread.
namespace HWCReportFile {

// Lays out the report's HTML on pages of paper, footer and page numbers on each; returns the
// PDF, or empty bytes when it cannot.
using PdfRenderer = QByteArray (*)(const QString &html, const QString &footer,
                                   HWCProductionReport::Paper paper);

// Set by the report library (libhashwarden-report.so), which the executable loads only when
// a PDF is asked for, so that no other command loads a GUI library; and by the window, which
// links the PDF writer.
void setPdfRenderer(PdfRenderer renderer);

// Whether the name asks for a PDF.
bool isPdf(const QString &path);

// Why no report can go to path, checked before any file is read: an ending that names no
// format, or a file that cannot be written (HWCLogFile::problem()); empty when it can.
QString problem(const QString &path);

// Writes the report of the entries to path, atomically; false with error saying why.
bool write(const QString &path, const QList<HWCHistoryEntry> &entries, QString *error);

} // namespace HWCReportFile
