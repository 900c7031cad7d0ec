#include "cli/HWCHistoryCommand.h"

#include "HWCBuildInfo.h"
#include "cli/HWCExitCode.h"
#include "cli/HWCResultPrinter.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/history/HWCHistoryDatabase.h"
#include "engine/reports/HWCOutcome.h"
#include "engine/reports/HWCReportFile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextStream>
#include <cstdio>

namespace HWCHistoryCommand {

namespace {

const QString kTimeFormat = QStringLiteral("yyyy-MM-dd HH:mm:ss");

void print(const QString &text, FILE *stream = stdout)
{
    std::fputs(text.toUtf8().constData(), stream);
}

int fail(int exitCode, const QString &message)
{
    print(QStringLiteral("hashwarden: %1\n").arg(hwc_displayedName(message)), stderr);
    return exitCode;
}

// "12  2026-11-25 08:10:02  Verified OK  /media/A003  3 files  300.0 kB"
QString line(const HWCHistoryEntry &entry)
{
    return QStringLiteral("%1  %2  %3  %4  %5  %6\n")
        .arg(entry.id)
        .arg(entry.ended.toString(kTimeFormat), entry.stateName, hwc_displayedName(entry.source),
             HWCOutcome::count(qint64(entry.files), "file", "files"),
             HWCOutcome::sizeText(entry.bytes));
}

int list(HWCHistoryDatabase &database, const QString &path, const Options &options)
{
    const QList<HWCHistoryEntry> entries = database.entries(options.since, path);
    if (!database.error().isEmpty())
        return fail(HWCExitCode::kUnusableSource,
                    QStringLiteral("the history cannot be read: %1").arg(database.error()));
    QJsonArray runs;
    for (const HWCHistoryEntry &entry : entries) {
        if (!options.json) {
            print(line(entry));
            continue;
        }
        QJsonObject object = entry.toJson();
        object.insert("id", entry.id);
        runs.append(object);
    }
    if (options.json)
        print(QString::fromUtf8(QJsonDocument(QJsonObject{{"schemaVersion", 1},
                                                          {"tool", "hashwarden"},
                                                          {"version", HWCBuildInfo::kShortVersion},
                                                          {"command", "history"},
                                                          {"exitCode", 0},
                                                          {"runs", runs}})
                                    .toJson(QJsonDocument::Indented)));
    return HWCExitCode::kOK;
}

// Below the summary, what the history adds: when, where, by whom and against what.
QString context(const HWCHistoryEntry &entry)
{
    QString text =
        QStringLiteral("  Run %1: %2 to %3 on %4 by %5, Hashwarden %6\n")
            .arg(entry.id)
            .arg(entry.started.isValid() ? entry.started.toString(kTimeFormat)
                                         : QStringLiteral("not started"),
                 entry.ended.toString(kTimeFormat), entry.host, entry.user, entry.toolVersion);
    for (const HWCHistoryList &used : entry.usedLists)
        text += QStringLiteral("  Checked against %1 (SHA-1 %2)\n")
                    .arg(hwc_displayedName(used.path), used.sha1);
    if (!entry.allRecords)
        text += QStringLiteral("  Only the records of failed files were kept.\n");
    return text;
}

// The entries of the ids, in the order given; a usage or lookup failure ends with its code.
int lookUp(HWCHistoryDatabase &database, const QStringList &ids, QList<HWCHistoryEntry> &entries)
{
    for (const QString &id : ids) {
        bool valid = false;
        const qint64 number = id.toLongLong(&valid);
        if (!valid || number <= 0)
            return fail(HWCExitCode::kUsage, QStringLiteral("\"%1\" is not a run's ID").arg(id));
        const std::optional<HWCHistoryEntry> entry = database.entry(number);
        if (!entry)
            return fail(HWCExitCode::kUnusableSource,
                        QStringLiteral("no run with ID %1 in the history").arg(id));
        entries.append(*entry);
    }
    return HWCExitCode::kOK;
}

int report(HWCHistoryDatabase &database, const QStringList &ids, const QString &path)
{
    if (ids.isEmpty() || path.isEmpty())
        return fail(HWCExitCode::kUsage,
                    QStringLiteral("history report needs IDs and --report FILE"));
    if (const QString problem = HWCReportFile::problem(path); !problem.isEmpty())
        return fail(HWCExitCode::kCantCreate,
                    QStringLiteral("cannot write the report %1: %2").arg(path, problem));
    QList<HWCHistoryEntry> entries;
    if (const int code = lookUp(database, ids, entries); code != HWCExitCode::kOK)
        return code;
    QString error;
    if (!HWCReportFile::write(path, entries, &error))
        return fail(HWCExitCode::kCantCreate,
                    QStringLiteral("cannot write the report %1: %2").arg(path, error));
    return HWCExitCode::kOK;
}

} // namespace

int run(const QStringList &arguments, const Options &options)
{
    const QString command = arguments.value(0);
    if (command != QLatin1String("report") && !options.reportPath.isEmpty())
        return fail(HWCExitCode::kUsage, QStringLiteral("--report applies to history report"));
    HWCHistoryDatabase database;
    if (!database.isOpen())
        return fail(HWCExitCode::kUnusableSource,
                    QStringLiteral("the history cannot be opened: %1").arg(database.error()));
    if (command == QLatin1String("report"))
        return report(database, arguments.mid(1), options.reportPath);
    if (command != QLatin1String("show")) {
        if (arguments.size() > 1)
            return fail(HWCExitCode::kUsage, QStringLiteral("history takes one PATH at most"));
        return list(database, arguments.value(0), options);
    }
    if (arguments.size() != 2)
        return fail(HWCExitCode::kUsage, QStringLiteral("history show needs one ID"));
    QList<HWCHistoryEntry> entries;
    if (const int code = lookUp(database, arguments.mid(1), entries); code != HWCExitCode::kOK)
        return code;
    QString text;
    QTextStream out(&text);
    HWCResultPrinter::summary(entries.first(), out);
    out.flush();
    print(text + context(entries.first()));
    return HWCExitCode::kOK;
}

QDateTime parseSince(const QString &text)
{
    if (const QDate date = QDate::fromString(text, Qt::ISODate); date.isValid())
        return date.startOfDay();
    return QDateTime::fromString(text, Qt::ISODate);
}

} // namespace HWCHistoryCommand
