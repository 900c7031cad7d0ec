#pragma once

#include "engine/files/HWCExcludedNames.h"
#include "engine/files/HWCFileManagerAdditions.h"
#include "engine/operations/HWCOperationParameters.h"
#include "engine/records/HWCTypes.h"
#include "engine/reports/HWCSourceRun.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QStringList>
#include <memory>

class HWCOperationController;
class HWCProgressPrinter;
class HWCSource;
class HWCSourceOperation;
class QTextStream;

// Runs one action (verify or create) over the sources named on the command line: checks
// that the log can be written, scans the sources, refuses those that do not fit the action,
// queues the rest on an operation controller, shows progress on stderr, and prints the
// results (text or JSON) and writes the log when every operation has ended.
// Main thread only; exec() processes events until the end. After Ctrl-C (or SIGTERM), work
// that has not stopped within a moment is left behind and the process ends with exit code 3.
class HWCActionRunner : public QObject {
    Q_OBJECT

public:
    enum class Verbosity { Quiet, Normal, Verbose };

    struct Options {
        HWCActionType action = HWCActionType::Verify;
        QStringList sources;
        QString logPath; // empty: no log
        bool appendLog = false;
        bool json = false;
        bool progress = false; // live progress lines on stderr
        Verbosity verbosity = Verbosity::Normal;
        int jobs = 1;        // files of one source read at once
        bool strict = false; // files no list names make the exit code 1
        QString rootFolder;  // empty: the listed files are beside their list
        QStringList excludes = HWCExcludedNames::defaultPatterns();
        QStringList digestKinds;                       // what a creation writes; empty: its default
        HWCListFormat listFormat = HWCListFormat::MHL; // what a creation writes
        HWCASCMHLSettings ascmhl;                      // for a history's generations
        bool seal = false;          // a verification is recorded in the histories it read
        bool detectRenames = false; // ... and a moved file as renamed
        QString onComplete;         // a shell command told of the result; empty: none
        QString reportPath;         // the --report file; empty: none
    };

    explicit HWCActionRunner(Options options, QObject *parent = nullptr);
    ~HWCActionRunner() override;

    // Returns the process exit code.
    int exec();

private:
    // Ends before any source ran: says why (and in JSON when asked); returns exitCode.
    int stop(int exitCode, const QString &error);
    // False, with m_error saying why, when a path cannot be a source.
    bool makeSources();
    void sourceScanned();
    void startOperations();
    void operationCompleted(const std::shared_ptr<HWCSourceOperation> &operation);
    void interrupt();
    // Ends the command at once with what is known, leaving running work behind.
    void abandon();
    void finish();
    void report(HWCSourceRun &run, QJsonArray &sources);
    // Writes what stdout shows of one operation at the chosen verbosity.
    void write(const HWCSourceOperation &operation, QTextStream &out) const;
    // Writes the --log report; when it cannot, says why on stderr and in m_logError and
    // makes the exit code worse.
    void writeLog();
    // Writes the --report file of the runs that finished; says why on stderr when it cannot.
    void writeReport();
    // Gives the JSON result to the --on-complete command; its failure changes nothing else.
    void runCompletionHook(const QJsonObject &document) const;
    void refuse(const QString &source, const QString &reason);
    // "hashwarden: <text>" on stderr, in place of the progress block.
    void printError(const QString &text) const;
    // One error line per folder a walk could not read.
    void printUnreadable(const QList<HWCUnreadableFolder> &folders) const;

    Options m_options;
    QEventLoop m_loop;
    std::unique_ptr<HWCOperationController> m_controller;
    HWCProgressPrinter *m_progress = nullptr;
    QList<std::shared_ptr<HWCSource>> m_sources;
    QList<HWCSourceRun> m_runs;
    QJsonArray m_refused;
    QStringList m_refusedLog;
    QString m_error;        // why a source cannot be used
    QString m_logError;     // "<log>: <reason>" when the report could not be written
    QString m_historyError; // why a run could not be recorded in the history
    int m_pendingScans = 0;
    int m_pendingOperations = 0;
    bool m_interrupted = false;
    bool m_finished = false;
    int m_exitCode = 0;
};
