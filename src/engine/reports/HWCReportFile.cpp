#include "engine/reports/HWCReportFile.h"

#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/reports/HWCLogFile.h"

#include <QDateTime>

namespace HWCReportFile {

namespace {

PdfRenderer g_pdfRenderer = nullptr;

bool isHtml(const QString &path)
{
    return path.endsWith(QLatin1String(".html"), Qt::CaseInsensitive) ||
           path.endsWith(QLatin1String(".htm"), Qt::CaseInsensitive);
}

} // namespace

void setPdfRenderer(PdfRenderer renderer)
{
    g_pdfRenderer = renderer;
}

bool isPdf(const QString &path)
{
    return path.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive);
}

QString problem(const QString &path)
{
    if (!isPdf(path) && !isHtml(path))
        return QStringLiteral("the name must end in .pdf or .html");
    return HWCLogFile::problem(path, false);
}

bool write(const QString &path, const QList<HWCHistoryEntry> &entries, QString *error)
{
    const QDateTime made = QDateTime::currentDateTime();
    const HWCProductionReport::Paper paper = HWCProductionReport::paperForLocale();
    const QString html = HWCProductionReport::html(entries, made, paper);
    if (!isPdf(path))
        return hwc_writeFileAtomically(path, html.toUtf8(), error);
    if (!g_pdfRenderer) {
        *error = QStringLiteral("the PDF writer (libhashwarden-report.so) is not loaded");
        return false;
    }
    const QByteArray pdf = g_pdfRenderer(html, HWCProductionReport::footer(made), paper);
    if (pdf.isEmpty()) {
        *error = QStringLiteral("the PDF could not be laid out");
        return false;
    }
    return hwc_writeFileAtomically(path, pdf, error);
}

} // namespace HWCReportFile
