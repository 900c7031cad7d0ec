#include "cli/HWCActionRunner.h"

#include "cli/HWCCompletionHook.h"
#include "cli/HWCExitCode.h"
#include "cli/HWCInterruptWatcher.h"
#include "cli/HWCJsonReport.h"
#include "cli/HWCProgressPrinter.h"
#include "cli/HWCResultPrinter.h"
#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/history/HWCHistoryEntry.h"
#include "engine/operations/HWCOperationController.h"
#include "engine/operations/HWCSource.h"
#include "engine/operations/HWCSourceOperation.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStringAdditions.h"
#include "engine/reports/HWCLogFile.h"
#include "engine/reports/HWCLogReport.h"
#include "engine/reports/HWCOutcome.h"
#include "engine/reports/HWCReportFile.h"
#include "engine/session/HWCLog.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTextStream>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

namespace {

// How long cancelled work may take to wind down after Ctrl-C before the command ends
// without it: a list being parsed or a walk of a large tree cannot stop at once.
constexpr int kInterruptGraceMs = 600;

QString commandName(HWCActionType action)
{
    return action == HWCActionType::Create ? QStringLiteral("create") : QStringLiteral("verify");
}

// A run's start is told by how long it ran, so that no signal from its worker is needed.
void fillTimes(HWCSourceRun &run)
{
    if (!run.ended.isValid())
        run.ended = QDateTime::currentDateTime();
    // A run shorter than a millisecond ran all the same.
    const std::chrono::nanoseconds running = run.operation->runningTime();
    if (running.count() > 0 || run.operation->isExecuting())
        run.started = run.ended.addMSecs(
            -std::chrono::duration_cast<std::chrono::milliseconds>(running).count());
}

// What the operations of the command are made with, besides their source.
HWCOperationParameters operationParameters(const HWCActionRunner::Options &options)
{
    HWCOperationParameters parameters;
    parameters.jobs = options.jobs;
    parameters.digestKinds = options.digestKinds;
    parameters.listFormat = options.listFormat;
    parameters.ascmhl = options.ascmhl;
    // A history that exists already takes a creation as a verification it records.
    parameters.seal = options.seal || (options.action == HWCActionType::Create &&
                                       options.listFormat == HWCListFormat::ASCMHL);
    parameters.detectRenames = options.detectRenames;
    parameters.excludes = HWCExcludedNames(options.excludes);
    if (!options.rootFolder.isEmpty())
        parameters.rootFolder = QFileInfo(options.rootFolder).absoluteFilePath();
    parameters.searchUnlistedFiles = true;
    return parameters;
}

} // namespace

HWCActionRunner::HWCActionRunner(Options options, QObject *parent)
    : QObject(parent), m_options(std::move(options)),
      m_controller(std::make_unique<HWCOperationController>(operationParameters(m_options)))
{
    connect(m_controller.get(), &HWCOperationController::completedOperation, this,
            &HWCActionRunner::operationCompleted);
    connect(m_controller.get(), &HWCOperationController::notRecorded, this,
            [this](const auto &, const QString &reason) { m_historyError = reason; });
}

HWCActionRunner::~HWCActionRunner() = default;

int HWCActionRunner::exec()
{
    HWCInterruptWatcher watcher;
    connect(&watcher, &HWCInterruptWatcher::interrupted, this, &HWCActionRunner::interrupt);
    if (!m_options.logPath.isEmpty()) {
        if (const QString problem = HWCLogFile::problem(m_options.logPath, m_options.appendLog);
            !problem.isEmpty())
            return stop(
                HWCExitCode::kCantCreate,
                QStringLiteral("cannot write the log %1: %2").arg(m_options.logPath, problem));
    }
    if (!m_options.reportPath.isEmpty()) {
        if (const QString problem = HWCReportFile::problem(m_options.reportPath);
            !problem.isEmpty())
            return stop(HWCExitCode::kCantCreate, QStringLiteral("cannot write the report %1: %2")
                                                      .arg(m_options.reportPath, problem));
    }
    if (!makeSources())
        return stop(HWCExitCode::kUnusableSource, m_error);
    return m_loop.exec();
}

int HWCActionRunner::stop(int exitCode, const QString &error)
{
    printError(error);
    if (m_options.json)
        HWCJsonReport::print(
            HWCJsonReport::document(commandName(m_options.action), exitCode, {}, {}, error));
    std::fflush(stdout);
    return exitCode;
}

void HWCActionRunner::printError(const QString &text) const
{
    if (m_progress)
        m_progress->erase();
    // Every message is one line; a name in it must not start another.
    std::fputs(QStringLiteral("hashwarden: %1\n").arg(hwc_displayedName(text)).toUtf8().constData(),
               stderr);
    std::fflush(stderr);
}

bool HWCActionRunner::makeSources()
{
    if (!m_options.rootFolder.isEmpty() && !QFileInfo(m_options.rootFolder).isDir()) {
        m_error = QStringLiteral("%1: not a folder to look for the listed files in")
                      .arg(m_options.rootFolder);
        return false;
    }
    // Every path is checked before any scan starts, so that a refusal leaves nothing running.
    for (const QString &path : std::as_const(m_options.sources)) {
        const QFileInfo file(path);
        if (!file.exists()) {
            m_error = QStringLiteral("%1: No such file or directory").arg(path);
            return false;
        }
        if (!file.isDir() && !hwc_isMediaHashListPath(file.absoluteFilePath()) &&
            HWCASCMHLHistory::folderForSource(file.absoluteFilePath()).isEmpty()) {
            m_error = QStringLiteral("%1: an ordinary file is not a source; give a folder, a "
                                     "disk or an MHL file")
                          .arg(path);
            return false;
        }
    }
    for (const QString &path : std::as_const(m_options.sources)) {
        std::shared_ptr<HWCSource> source =
            HWCSource::initWithPath(QFileInfo(path).absoluteFilePath());
        if (!source) {
            m_error = QStringLiteral("%1: cannot be used as a source").arg(path);
            return false;
        }
        connect(source.get(), &HWCSource::actionTypeChanged, this, &HWCActionRunner::sourceScanned,
                Qt::SingleShotConnection);
        m_sources.append(source);
    }
    m_pendingScans = int(m_sources.size());
    return true;
}

void HWCActionRunner::sourceScanned()
{
    if (--m_pendingScans == 0 && !m_interrupted)
        startOperations();
}

void HWCActionRunner::startOperations()
{
    if (m_options.progress)
        m_progress = new HWCProgressPrinter(stderr, this);
    for (const std::shared_ptr<HWCSource> &source : std::as_const(m_sources)) {
        if (m_options.action == HWCActionType::Verify &&
            source->actionType() != HWCActionType::Verify) {
            // An MHL may lie in a folder the scan could not read.
            printUnreadable(source->unreadableFolders());
            refuse(source->path(), QStringLiteral("No MHL file."));
            continue;
        }
        // A new history may hold nested ones: only a history of its own makes it one to verify.
        const bool nestedOnly = m_options.listFormat == HWCListFormat::ASCMHL &&
                                HWCASCMHLHistory::folderForPath(source->path()).isEmpty();
        const bool sealsHistory = m_options.listFormat == HWCListFormat::ASCMHL && !nestedOnly;
        if (m_options.action == HWCActionType::Create &&
            source->actionType() == HWCActionType::Verify && !nestedOnly && !sealsHistory) {
            refuse(source->path(), QStringLiteral("holds MHL files already; verify it instead."));
            continue;
        }
        if (m_options.action == HWCActionType::Create && source->fileTotal() == 0) {
            printUnreadable(source->unreadableFolders());
            refuse(source->path(), QStringLiteral("No files found."));
            continue;
        }
        std::shared_ptr<HWCSourceOperation> operation =
            m_controller->addDisk(source, sealsHistory ? HWCActionType::Verify : m_options.action);
        m_runs.append({operation, {}, {}, m_options.strict});
        if (m_progress)
            m_progress->watch(operation);
    }
    m_pendingOperations = int(m_runs.size());
    if (m_pendingOperations == 0)
        finish();
}

void HWCActionRunner::printUnreadable(const QList<HWCUnreadableFolder> &folders) const
{
    for (const HWCUnreadableFolder &folder : folders)
        printError(QStringLiteral("%1: folder could not be read, not searched: %2")
                       .arg(folder.path, HWCOutcome::reason(folder.error)));
}

void HWCActionRunner::refuse(const QString &source, const QString &reason)
{
    printError(QStringLiteral("%1: %2").arg(source, reason));
    m_refused.append(HWCJsonReport::refused(source, reason));
    m_refusedLog.append(HWCLogReport::refusedText(source, reason));
    m_exitCode = HWCExitCode::worse(m_exitCode, HWCExitCode::kNothingToDo);
}

void HWCActionRunner::operationCompleted(const std::shared_ptr<HWCSourceOperation> &operation)
{
    for (HWCSourceRun &run : m_runs) {
        if (run.operation == operation)
            run.ended = QDateTime::currentDateTime();
    }
    if (--m_pendingOperations == 0)
        finish();
}

void HWCActionRunner::interrupt()
{
    m_interrupted = true;
    m_controller->cancelAllOperations();
    printError(QStringLiteral("cancelling; press Ctrl-C again to stop at once"));
    if (m_pendingScans > 0 && m_runs.isEmpty()) {
        // A scan cannot be stopped and there is nothing to report on.
        abandon();
        return;
    }
    QTimer::singleShot(kInterruptGraceMs, this, &HWCActionRunner::abandon);
}

void HWCActionRunner::abandon()
{
    if (m_finished)
        return;
    QCoreApplication::sendPostedEvents();
    finish();
    // Work still running would hold the process's end until it stops by itself.
    HWCLog::shutdown();
    std::fflush(nullptr);
    std::_Exit(m_exitCode);
}

void HWCActionRunner::write(const HWCSourceOperation &operation, QTextStream &out) const
{
    if (!operation.isFinished()) {
        out << HWCResultPrinter::unfinishedSummary(operation);
        return;
    }
    switch (m_options.verbosity) {
    case Verbosity::Quiet:
        HWCResultPrinter::problems(operation, out);
        break;
    case Verbosity::Verbose:
        HWCResultPrinter::fileLines(operation, false, out);
        HWCResultPrinter::summary(operation, out);
        break;
    default:
        HWCResultPrinter::summary(operation, out);
    }
}

void HWCActionRunner::report(HWCSourceRun &run, QJsonArray &sources)
{
    fillTimes(run);
    const HWCSourceOperation &operation = *run.operation;
    if (operation.isFinished()) {
        m_exitCode = HWCExitCode::worse(m_exitCode, HWCExitCode::forRun(run));
        for (const HWCSourceOperation::UnusableList &list : operation.unusableLists())
            printError(QStringLiteral("%1: %2").arg(list.path, list.reason));
        printUnreadable(operation.unreadableFolders());
        if (const QString failure = HWCResultPrinter::mhlWriteFailure(operation);
            !failure.isEmpty())
            printError(failure);
    }
    if (m_options.json || !m_options.onComplete.isEmpty())
        sources.append(HWCJsonReport::source(run));
    if (!m_options.json) {
        std::fflush(stdout);
        QTextStream out(stdout);
        write(operation, out);
    }
}

void HWCActionRunner::finish()
{
    m_finished = true;
    if (m_progress)
        m_progress->finish();
    QJsonArray sources;
    for (HWCSourceRun &run : m_runs)
        report(run, sources);
    if (m_interrupted)
        m_exitCode = HWCExitCode::kCancelled;
    if (!m_historyError.isEmpty())
        printError(QStringLiteral("the result could not be recorded in the history: %1")
                       .arg(m_historyError));
    if (!m_options.logPath.isEmpty())
        writeLog();
    if (!m_options.reportPath.isEmpty())
        writeReport();
    QJsonObject document =
        HWCJsonReport::document(commandName(m_options.action), m_exitCode, sources, m_refused);
    if (!m_logError.isEmpty())
        document.insert("logError", m_logError);
    if (!m_historyError.isEmpty())
        document.insert("historyError", m_historyError);
    if (m_options.json)
        HWCJsonReport::print(document);
    std::fflush(stdout);
    if (!m_options.onComplete.isEmpty())
        runCompletionHook(document);
    m_loop.exit(m_exitCode);
}

void HWCActionRunner::runCompletionHook(const QJsonObject &document) const
{
    const QString problem = HWCCompletionHook::run(
        m_options.onComplete, QJsonDocument(document).toJson(QJsonDocument::Indented));
    if (!problem.isEmpty())
        printError(QStringLiteral("the --on-complete command failed: %1").arg(problem));
}

void HWCActionRunner::writeReport()
{
    QList<HWCHistoryEntry> entries;
    for (const HWCSourceRun &run : std::as_const(m_runs)) {
        // A run left behind after Ctrl-C may still be adding records.
        if (!run.operation->isFinished())
            continue;
        entries.append(HWCHistoryEntry::fromOperation(*run.operation, run.ended));
        entries.last().addEnvironment();
    }
    QString error;
    if (HWCReportFile::write(m_options.reportPath, entries, &error))
        return;
    printError(QStringLiteral("cannot write the report %1: %2").arg(m_options.reportPath, error));
    m_exitCode = HWCExitCode::worse(m_exitCode, HWCExitCode::kWarnings);
}

void HWCActionRunner::writeLog()
{
    QStringList blocks;
    for (const HWCSourceRun &run : std::as_const(m_runs))
        blocks.append(HWCLogReport::text(run));
    blocks += m_refusedLog;
    QString error;
    const HWCLogFile::Outcome outcome = HWCLogFile::write(
        m_options.logPath, blocks.join(QLatin1Char('\n')).toUtf8(), m_options.appendLog, &error);
    if (outcome == HWCLogFile::Outcome::Written)
        return;
    printError(QStringLiteral("cannot write the log %1: %2").arg(m_options.logPath, error));
    m_logError = QStringLiteral("%1: %2").arg(m_options.logPath, error);
    // A log that would have lost what it held is refused like one that cannot be made.
    m_exitCode = HWCExitCode::worse(m_exitCode, outcome == HWCLogFile::Outcome::Unreadable
                                                    ? HWCExitCode::kCantCreate
                                                    : HWCExitCode::kWarnings);
}
