#include "engine/reports/HWCProductionReport.h"

#include "engine/files/HWCFileNameAdditions.h"
#include "engine/records/HWCStateNames.h"
#include "engine/records/HWCStringAdditions.h"
#include "engine/reports/HWCReportVerdict.h"

#include <QLocale>

namespace HWCProductionReport {

namespace {

const QString kTimeFormat = QStringLiteral("yyyy-MM-dd HH:mm:ss t");

// A name or text as the page shows it: every control character visible, nothing markup.
QString escaped(const QString &text)
{
    return hwc_displayedName(text).toHtmlEscaped();
}

QString row(const QString &label, const QString &valueHtml)
{
    return QStringLiteral("<tr><th>%1</th><td>%2</td></tr>\n").arg(label, valueHtml);
}

QString listText(const HWCHistoryList &list)
{
    QString text = escaped(list.path);
    if (!list.sha1.isEmpty())
        text += QStringLiteral("<br><span class=\"digest\">SHA-1 %1</span>").arg(list.sha1);
    return text;
}

QString volumeText(const HWCHistoryEntry &entry)
{
    if (entry.volumeLabel.isEmpty() && entry.volumeUUID.isEmpty())
        return QStringLiteral("not known");
    QStringList parts;
    if (!entry.volumeLabel.isEmpty())
        parts << QStringLiteral("label %1").arg(escaped(entry.volumeLabel));
    if (!entry.volumeUUID.isEmpty())
        parts << QStringLiteral("UUID %1").arg(escaped(entry.volumeUUID));
    return parts.join(QStringLiteral(", "));
}

QString speedText(const HWCHistoryEntry &entry)
{
    if (entry.durationSeconds <= 0)
        return QStringLiteral("-");
    return QStringLiteral("%1/s").arg(
        HWCReportVerdict::size(quint64(double(entry.bytes) / entry.durationSeconds)));
}

QString facts(const HWCHistoryEntry &entry)
{
    QString rows = row(QStringLiteral("Result"), escaped(entry.stateName)) +
                   row(QStringLiteral("Source"), escaped(entry.source)) +
                   row(QStringLiteral("Volume"), volumeText(entry)) +
                   row(QStringLiteral("Action"), HWCActionTypeName(entry.action));
    for (const HWCHistoryList &list : entry.usedLists)
        rows += row(QStringLiteral("Checked against"), listText(list));
    for (const auto &[path, reason] : entry.skippedLists)
        rows += row(QStringLiteral("Could not use"),
                    QStringLiteral("%1: %2").arg(escaped(path), escaped(reason)));
    if (!entry.writtenList.path.isEmpty())
        rows += row(QStringLiteral("MHL written"), listText(entry.writtenList));
    if (!entry.writeError.isNull())
        rows += row(QStringLiteral("MHL not written"), escaped(entry.writeError));
    if (!entry.tools.isEmpty())
        rows +=
            row(QStringLiteral("Lists made by"), escaped(entry.tools.join(QStringLiteral(", "))));
    rows += row(QStringLiteral("Host"), escaped(entry.host)) +
            row(QStringLiteral("User"), escaped(entry.user)) +
            row(QStringLiteral("Tool"),
                QStringLiteral("Hashwarden %1").arg(escaped(entry.toolVersion)));
    if (entry.started.isValid())
        rows += row(QStringLiteral("Start"), entry.started.toString(kTimeFormat));
    rows += row(QStringLiteral("End"), entry.ended.toString(kTimeFormat)) +
            row(QStringLiteral("Duration"), QStringLiteral("%1 (%2 s)")
                                                .arg(hwc_clockDurationString(entry.durationSeconds))
                                                .arg(entry.durationSeconds, 0, 'f', 3)) +
            row(QStringLiteral("Speed"), speedText(entry)) +
            row(QStringLiteral("Files"), QStringLiteral("%1 of %2 listed")
                                             .arg(HWCReportVerdict::number(entry.files),
                                                  HWCReportVerdict::number(entry.filesTotal))) +
            row(QStringLiteral("Read"), QStringLiteral("%1 (%2 bytes)")
                                            .arg(HWCReportVerdict::size(entry.bytes),
                                                 HWCReportVerdict::number(entry.bytes)));
    return QStringLiteral("<table class=\"facts\" width=\"100%\" cellspacing=\"0\">\n%1</table>\n")
        .arg(rows);
}

QString stateCounts(const HWCHistoryEntry &entry)
{
    QString rows;
    for (const HWCFileState state : kHWCFileStates) {
        if (const quint64 count = entry.counts.value(state); count > 0)
            rows +=
                QStringLiteral("<tr class=\"%1\"><td>%2</td><td class=\"number\">%3</td></tr>\n")
                    .arg(state == HWCFileState::ReadSuccessfully ? QStringLiteral("good")
                                                                 : QStringLiteral("bad"),
                         HWCFileStateName(state), HWCReportVerdict::number(count));
    }
    if (rows.isEmpty())
        return {};
    return QStringLiteral("<h3>Files by state</h3>\n<table class=\"counts\" width=\"50%\" "
                          "cellspacing=\"0\">\n%1</table>\n")
        .arg(rows);
}

// What the list holds and what was computed, one above the other, so that the two are
// compared at a glance and neither is broken across lines.
QString digestCell(const HWCVerifiedFile::Detail &detail)
{
    if (detail.digestKind.isEmpty())
        return QStringLiteral("-");
    const auto line = [&](const char *label, const QString &digest) {
        return QStringLiteral("%1 %2 <span class=\"digest\">%3</span>")
            .arg(QLatin1String(label), escaped(detail.digestKind),
                 digest.isEmpty() ? QStringLiteral("-") : escaped(digest));
    };
    return line("expected", detail.expected) + QStringLiteral("<br>") +
           line("computed", detail.actual);
}

QString failedFiles(const HWCHistoryEntry &entry)
{
    QString rows;
    for (const HWCHistoryFile &file : entry.records) {
        if (file.state == HWCFileState::ReadSuccessfully)
            continue;
        QString state = HWCFileStateName(file.state);
        if (!file.detail.reason.isEmpty())
            state += QStringLiteral(": ") + escaped(file.detail.reason);
        if (const auto listed = file.detail.expectedSize;
            file.state == HWCFileState::HashFail && listed && *listed != file.bytes)
            state +=
                QStringLiteral(": %1 bytes read, %2 listed")
                    .arg(HWCReportVerdict::number(file.bytes), HWCReportVerdict::number(*listed));
        rows += QStringLiteral("<tr><td>/%1</td><td>%2</td><td>%3</td></tr>\n")
                    .arg(escaped(file.path), state, digestCell(file.detail));
    }
    if (rows.isEmpty())
        return {};
    return QStringLiteral("<h3>Files that failed</h3>\n<table class=\"files\" width=\"100%\" "
                          "cellspacing=\"0\">\n<tr><th>File</th>"
                          "<th>State</th><th>Digests</th></tr>\n%1</table>\n")
        .arg(rows);
}

QString pathList(const QString &title, const QStringList &paths)
{
    if (paths.isEmpty())
        return {};
    QString items;
    for (const QString &path : paths)
        items += QStringLiteral("<li>%1</li>\n").arg(escaped(path));
    return QStringLiteral("<h3>%1 (%2)</h3>\n<ul>\n%3</ul>\n")
        .arg(title, HWCReportVerdict::number(quint64(paths.size())), items);
}

QString section(const HWCHistoryEntry &entry, qsizetype index, qsizetype count)
{
    const bool good =
        entry.outcome() == HWCRunOutcome::Verified || entry.outcome() == HWCRunOutcome::Created;
    QString text =
        QStringLiteral("<h2 class=\"%1\"%2>%3 %4 of %5: %6</h2>\n")
            .arg(good ? QStringLiteral("good") : QStringLiteral("bad"),
                 index > 0 ? QStringLiteral(" style=\"page-break-before: always\"") : QString(),
                 entry.action == HWCActionType::Create ? QStringLiteral("Creation")
                                                       : QStringLiteral("Card"))
            .arg(index + 1)
            .arg(count)
            .arg(escaped(entry.cardName()));
    text += facts(entry) + stateCounts(entry) + failedFiles(entry);
    if (!entry.allRecords)
        text += QStringLiteral("<p>Only the files that failed were kept of this run.</p>\n");
    return text + pathList(QStringLiteral("Files not listed in any MHL"), entry.unlisted) +
           pathList(QStringLiteral("Folders that could not be read"), entry.unreadableFolders);
}

QString styles(Paper paper, const QDateTime &made)
{
    // The page's margin boxes in a style sheet of their own: a layout engine that knows no
    // margin boxes drops only that sheet.
    return QStringLiteral(R"(<style>
body { font-family: "DejaVu Sans", Helvetica, Arial, sans-serif; font-size: 10pt; color: #111111; }
h1 { font-size: 18pt; margin-top: 0; margin-bottom: 0.3em; }
h2 { font-size: 14pt; margin-top: 1.2em; margin-bottom: 0.4em; }
h3 { font-size: 11pt; margin-top: 1em; margin-bottom: 0.3em; }
p.made { color: #555555; margin-bottom: 1em; }
table.verdict { border: 2pt solid #999999; background-color: #f6f6f6; margin-bottom: 1em; }
table.verdict td { border: none; padding: 0.5em; }
table.verdict p { font-size: 12pt; font-weight: bold; margin-top: 0.2em; margin-bottom: 0.2em; }
.good { color: #17692e; }
.bad { color: #a1161a; }
table { border-collapse: collapse; width: 100%; margin-bottom: 6pt; }
th { border: 0.5pt solid #999999; padding: 2pt 4pt; text-align: left; vertical-align: top; background-color: #eeeeee; }
td { border: 0.5pt solid #999999; padding: 2pt 4pt; text-align: left; vertical-align: top; }
table.facts th { width: 25%; font-weight: normal; }
table.counts { width: 50%; }
td.number { text-align: right; }
.digest { font-family: "DejaVu Sans Mono", monospace; font-size: 8pt; }
</style>
<style>
@page { size: %1; margin: 16mm 15mm 18mm 15mm;
  @bottom-left { content: "%2"; font: 8pt sans-serif; color: #555555; }
  @bottom-right { content: "Page " counter(page) " of " counter(pages); font: 8pt sans-serif; color: #555555; } }
</style>
)")
        .arg(paperName(paper), footer(made).toHtmlEscaped());
}

} // namespace

Paper paperForLocale()
{
    return QLocale::system().measurementSystem() == QLocale::ImperialUSSystem ? Paper::Letter
                                                                              : Paper::A4;
}

QString paperName(Paper paper)
{
    return paper == Paper::Letter ? QStringLiteral("letter") : QStringLiteral("A4");
}

QString footer(const QDateTime &made)
{
    return QStringLiteral("Hashwarden verification report, made %1")
        .arg(made.toString(kTimeFormat));
}

QString html(const QList<HWCHistoryEntry> &entries, const QDateTime &made, Paper paper)
{
    QString verdict;
    for (const QString &sentence : HWCReportVerdict::sentences(entries))
        verdict += QStringLiteral("<p>%1</p>\n").arg(sentence.toHtmlEscaped());
    QString text = QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta "
                                  "charset=\"utf-8\">\n<title>Verification report</title>\n") +
                   styles(paper, made) + QStringLiteral("</head>\n<body>\n");
    text += QStringLiteral("<h1>Verification report</h1>\n<p class=\"made\">%1</p>\n")
                .arg(footer(made).toHtmlEscaped());
    text +=
        QStringLiteral("<table class=\"verdict %1\" width=\"100%\" cellspacing=\"0\"><tr><td>\n%2"
                       "</td></tr></table>\n")
            .arg(HWCReportVerdict::allVerified(entries) ? QStringLiteral("good")
                                                        : QStringLiteral("bad"),
                 verdict);
    for (qsizetype i = 0; i < entries.size(); ++i)
        text += section(entries[i], i, entries.size());
    return text + QStringLiteral("</body>\n</html>\n");
}

} // namespace HWCProductionReport
