#include "ui/history/HWCReportExport.h"

#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/history/HWCHistoryReport.h"
#include "pdf/HWCPdfReport.h"

#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>

namespace HWCReportExport {

void ask(QWidget *parent, const QList<HWCHistoryEntry> &entries)
{
    if (entries.isEmpty())
        return;
    const QString suggested = QDir::home().filePath(
        QStringLiteral("Verification report %1.pdf")
            .arg(QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd"))));
    const QString path =
        QFileDialog::getSaveFileName(parent, QObject::tr("Export Report"), suggested,
                                     QObject::tr("PDF (*.pdf);;Web page (*.html)"));
    if (path.isEmpty())
        return;
    QString error;
    if (!write(path, entries, &error))
        QMessageBox::warning(parent, QObject::tr("Export Report"),
                             QObject::tr("The report could not be written: %1").arg(error));
}

bool write(const QString &path, const QList<HWCHistoryEntry> &entries, QString *error)
{
    const QDateTime made = QDateTime::currentDateTime();
    const HWCHistoryReport::Paper paper = HWCHistoryReport::paperForLocale();
    const QString html = HWCHistoryReport::html(entries, made, paper);
    if (!path.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive))
        return hwc_writeFileAtomically(path, html.toUtf8(), error);
    return hwc_writeFileAtomically(
        path, HWCPdfReport::render(html, HWCHistoryReport::footer(made), paper), error);
}

} // namespace HWCReportExport
