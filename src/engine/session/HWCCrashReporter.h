#pragma once

#include <QString>

// Leaves a crash report when the process dies of a fatal signal (SIGSEGV, SIGBUS, SIGILL,
// SIGFPE, SIGABRT) or an uncaught exception: the cause, the version and a stack trace, in
// folder/crash-report.txt. The next start finds it and offers to send it.
namespace HWCCrashReporter {

// Installs the handlers; reports go to folder, which is made now. Main thread, once, early.
void install(const QString &folder);

// The report an earlier run left in folder; empty when there is none. Any thread.
QString pendingReport(const QString &folder);

// Moves the pending report aside (crash-report.old.txt), so that it is offered only once.
void discardPendingReport(const QString &folder);

} // namespace HWCCrashReporter
