#pragma once

#include "engine/reports/HWCProductionReport.h"

#include <QByteArray>
#include <QString>

// The report as a PDF, laid out by Qt's own text and PDF writers: the HTML on pages of the
// given paper, with footer and "Page N of M" at the foot of each. Needs a QGuiApplication
// (fonts); main thread.
namespace HWCPdfReport {

// The PDF's bytes; empty when nothing could be laid out.
QByteArray render(const QString &html, const QString &footer, HWCProductionReport::Paper paper);

} // namespace HWCPdfReport
