#include "ui/history/HWCReportExport.h"

#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"
#include "engine/reports/HWCReportFile.h"
#include "engine/session/HWCLog.h"
#include "pdf/HWCPdfReport.h"
#include "ui/operations/HWCLogExport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QPointer>

namespace {

const QString kPdfFilter = QStringLiteral("PDF (*.pdf)");
const QString kHtmlFilter = QStringLiteral("Web page (*.html)");

QString tr(const char *text)
{
    return QCoreApplication::translate("Hashwarden", text);
}

void writeAndConfirm(QWidget *parent, const QString &path, const QList<HWCHistoryEntry> &entries)
{
    QString error;
    if (HWCReportExport::write(path, entries, &error))
        HWCLogExport::confirm(parent, tr("The report was written to %1.").arg(path), {path}, false);
    else
        HWCLogExport::confirm(parent, tr("The report could not be written: %1").arg(error), {},
                              true);
}

} // namespace

QString HWCReportExport::fileName(const QList<HWCHistoryEntry> &entries, const QDateTime &date)
{
    const QString cards =
        entries.size() == 1 ? entries.first().cardName() : tr("%1 cards").arg(entries.size());
    return QStringLiteral("Hashwarden Report - %1 - %2.pdf")
        .arg(cards, HWIDateToStringWithTimeValueTransformer::transformedValue(date));
}

void HWCReportExport::ask(QWidget *parent, const QList<HWCHistoryEntry> &entries)
{
    if (entries.isEmpty())
        return;
    auto *panel =
        new QFileDialog(parent->window(), tr("Export Report"), HWCLogExport::startFolder());
    panel->setAcceptMode(QFileDialog::AcceptSave);
    // Qt's own panel, which follows the window's dark look on every desktop.
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setLabelText(QFileDialog::Accept, tr("Export"));
    panel->setNameFilters({kPdfFilter, kHtmlFilter});
    panel->setDefaultSuffix(QStringLiteral("pdf"));
    panel->selectFile(fileName(entries, QDateTime::currentDateTime()));
    // The name's ending chooses the format: choosing a format changes the ending.
    QObject::connect(panel, &QFileDialog::filterSelected, panel, [panel](const QString &filter) {
        const QString suffix =
            filter == kHtmlFilter ? QStringLiteral("html") : QStringLiteral("pdf");
        panel->setDefaultSuffix(suffix);
        const QStringList chosen = panel->selectedFiles();
        if (!chosen.isEmpty())
            panel->selectFile(
                QStringLiteral("%1.%2").arg(QFileInfo(chosen.first()).completeBaseName(), suffix));
    });
    panel->setWindowModality(Qt::WindowModal);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(panel, &QFileDialog::finished, parent,
                     [parent, panel = QPointer<QFileDialog>(panel), entries](int result) {
                         if (result != QDialog::Accepted || !panel ||
                             panel->selectedFiles().isEmpty()) {
                             HWCLogInfo(QStringLiteral("Export of the report was cancelled."));
                             return;
                         }
                         writeAndConfirm(parent, panel->selectedFiles().constFirst(), entries);
                     });
    panel->open();
}

bool HWCReportExport::write(const QString &path, const QList<HWCHistoryEntry> &entries,
                            QString *error)
{
    // The window links the PDF writer that the command line loads only when it needs it.
    HWCReportFile::setPdfRenderer(&HWCPdfReport::render);
    return HWCReportFile::write(path, entries, error);
}
