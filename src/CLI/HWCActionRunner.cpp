#include "CLI/HWCActionRunner.h"

#include "CLI/HWCExitCode.h"
#include "CLI/HWCInterruptWatcher.h"
#include "CLI/HWCProgressPrinter.h"
#include "CLI/HWCResultPrinter.h"
#include "Categories/HWCFileSystemAdditions.h"
#include "Categories/HWCStringAdditions.h"
#include "Classes/HWCLog.h"
#include "Classes/HWCMHLCreateOperation.h"
#include "Classes/HWCOperationController.h"
#include "Classes/HWCOperationInfo.h"
#include "Classes/HWCSource.h"
#include "Classes/HWCVerificationOperation.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

namespace {

// How long cancelled work may take to wind down after Ctrl-C before the command ends
// without it: a list being parsed or a walk of a large tree cannot stop at once.
constexpr int kInterruptGraceMs = 600;

void printError(const QString &text)
{
    std::fputs(QStringLiteral("hashwarden: %1\n").arg(text).toUtf8().constData(), stderr);
    std::fflush(stderr);
}

} // namespace

HWCActionRunner::HWCActionRunner(Options options, QObject *parent)
    : QObject(parent), m_options(std::move(options)),
      m_controller(std::make_unique<HWCOperationController>())
{
    connect(m_controller.get(), &HWCOperationController::completedOperation, this,
            &HWCActionRunner::operationCompleted);
    m_controller->setJobsPerOperation(m_options.jobs);
    m_controller->setOperationSetup(
        [this](HWCVerificationOperation &operation) { setUp(operation); });
}

HWCActionRunner::~HWCActionRunner() = default;

int HWCActionRunner::exec()
{
    HWCInterruptWatcher watcher;
    connect(&watcher, &HWCInterruptWatcher::interrupted, this, &HWCActionRunner::interrupt);
    if (!makeSources())
        return HWCExitCode::kUnusableSource;
    return m_loop.exec();
}

void HWCActionRunner::setUp(HWCVerificationOperation &operation) const
{
    const HWCExcludedNames excludes(m_options.excludes);
    if (auto *creation = dynamic_cast<HWCMHLCreateOperation *>(&operation)) {
        if (!m_options.digestKinds.isEmpty())
            creation->setDigestKinds(m_options.digestKinds);
        creation->setExcludedNames(excludes);
        return;
    }
    if (!m_options.rootFolder.isEmpty())
        operation.setRootFolder(QFileInfo(m_options.rootFolder).absoluteFilePath());
    operation.searchUnlistedFiles(excludes);
}

bool HWCActionRunner::makeSources()
{
    if (!m_options.rootFolder.isEmpty() && !QFileInfo(m_options.rootFolder).isDir()) {
        printError(QStringLiteral("%1: not a folder to look for the listed files in")
                       .arg(m_options.rootFolder));
        return false;
    }
    // Every path is checked before any scan starts, so that a refusal leaves nothing running.
    for (const QString &path : std::as_const(m_options.sources)) {
        const QFileInfo file(path);
        if (!file.exists()) {
            printError(QStringLiteral("%1: No such file or directory").arg(path));
            return false;
        }
        if (!file.isDir() && !hwc_isMediaHashListPath(file.absoluteFilePath())) {
            printError(QStringLiteral("%1: an ordinary file is not a source; give a folder, a "
                                      "disk or an MHL file")
                           .arg(path));
            return false;
        }
    }
    for (const QString &path : std::as_const(m_options.sources)) {
        std::shared_ptr<HWCSource> source =
            HWCSource::initWithPath(QFileInfo(path).absoluteFilePath());
        if (!source) {
            printError(QStringLiteral("%1: cannot be used as a source").arg(path));
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
        m_progress = new HWCProgressPrinter(stdout, this);
    for (const std::shared_ptr<HWCSource> &source : std::as_const(m_sources)) {
        if (m_options.action == HWCActionTypeVerify &&
            source->actionType() != HWCActionTypeVerify) {
            refuse(source->path(), QStringLiteral("No MHL file."));
            continue;
        }
        if (m_options.action == HWCActionTypeCreate &&
            source->actionType() == HWCActionTypeVerify) {
            refuse(source->path(), QStringLiteral("holds MHL files already; verify it instead."));
            continue;
        }
        if (m_options.action == HWCActionTypeCreate && source->fileTotal() == 0) {
            refuse(source->path(), QStringLiteral("No files found."));
            continue;
        }
        std::shared_ptr<HWCVerificationOperation> operation = m_controller->addDisk(source);
        m_operations.append(operation);
        if (m_progress)
            m_progress->watch(operation);
    }
    m_pendingOperations = int(m_operations.size());
    if (m_pendingOperations == 0)
        finish();
}

void HWCActionRunner::refuse(const QString &source, const QString &reason)
{
    printError(QStringLiteral("%1: %2").arg(source, reason));
    m_refused.append(QJsonObject{{"source", source}, {"reason", reason}});
    m_exitCode = HWCExitCode::worse(m_exitCode, HWCExitCode::kNothingToDo);
}

void HWCActionRunner::operationCompleted()
{
    if (--m_pendingOperations == 0)
        finish();
}

void HWCActionRunner::interrupt()
{
    m_interrupted = true;
    m_controller->cancelAllOperations();
    printError(QStringLiteral("cancelling; press Ctrl-C again to stop at once"));
    if (m_pendingScans > 0 && m_operations.isEmpty()) {
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
    HWCLog::flush();
    std::fflush(nullptr);
    std::_Exit(m_exitCode);
}

void HWCActionRunner::report(const HWCVerificationOperation &operation, QJsonArray &operations)
{
    if (!operation.isFinished()) {
        if (m_options.json)
            operations.append(HWCResultPrinter::unfinishedJson(operation));
        else
            std::fputs(HWCResultPrinter::unfinishedSummary(operation).toUtf8().constData(), stdout);
        return;
    }
    int code = HWCExitCode::forOperation(operation);
    if (m_options.strict && !operation.unlistedFiles().isEmpty())
        code = HWCExitCode::worse(code, HWCExitCode::kWarnings);
    m_exitCode = HWCExitCode::worse(m_exitCode, code);
    for (const HWCVerificationOperation::UnusableList &list : operation.unusableLists())
        printError(QStringLiteral("%1: %2").arg(list.path, list.reason));
    const QString failure = HWCResultPrinter::mhlWriteFailure(operation);
    if (!failure.isEmpty())
        printError(failure);
    if (m_options.json) {
        QJsonObject object = HWCResultPrinter::json(operation);
        object.insert("exitCode", code);
        operations.append(object);
    } else
        std::fputs(HWCResultPrinter::summary(operation).toUtf8().constData(), stdout);
}

void HWCActionRunner::finish()
{
    m_finished = true;
    if (m_progress)
        m_progress->finish();
    QJsonArray operations;
    for (const auto &operation : std::as_const(m_operations))
        report(*operation, operations);
    if (m_interrupted)
        m_exitCode = HWCExitCode::kCancelled;
    if (!m_options.logPath.isEmpty() && !writeLog())
        m_exitCode = HWCExitCode::worse(m_exitCode, HWCExitCode::kWarnings);
    if (m_options.json) {
        const QJsonObject result{
            {"exitCode", m_exitCode}, {"operations", operations}, {"refused", m_refused}};
        std::fputs(QJsonDocument(result).toJson(QJsonDocument::Indented).constData(), stdout);
    }
    std::fflush(stdout);
    m_loop.exit(m_exitCode);
}

bool HWCActionRunner::writeLog() const
{
    // Several operations' logs are joined into the one file asked for, an empty line apart.
    QStringList logs;
    for (const auto &operation : std::as_const(m_operations)) {
        // One abandoned after Ctrl-C may still be appending records on its worker.
        if (operation->isFinished())
            logs.append(operation->failedFilesLog());
    }
    QString error;
    if (!hwc_writeFileAtomically(m_options.logPath, logs.join(QLatin1Char('\n')).toUtf8(),
                                 &error)) {
        printError(QStringLiteral("cannot write the log %1: %2").arg(m_options.logPath, error));
        return false;
    }
    return true;
}
