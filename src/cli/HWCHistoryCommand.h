#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

// hashwarden history: the runs the history kept. Main thread; writes to stdout and stderr
// and returns the exit code.
namespace HWCHistoryCommand {

struct Options {
    bool json = false;
    QDateTime since;    // invalid: every run
    QString reportPath; // history report only
};

// arguments: [PATH] to list the runs newest first (those of PATH: a source folder, one
// beneath it, or a volume label or UUID), "show ID", or "report ID...".
int run(const QStringList &arguments, const Options &options);

// The --since value: a date (its midnight, local time) or a date and time; invalid when it
// is neither.
QDateTime parseSince(const QString &text);

} // namespace HWCHistoryCommand
