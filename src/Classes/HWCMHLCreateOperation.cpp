#include "Classes/HWCMHLCreateOperation.h"

#include "Categories/HWCFileManagerAdditions.h"
#include "Categories/HWCFileSystemAdditions.h"
#include "Categories/HWCPathAdditions.h"
#include "Classes/HWCChecksumGroup.h"
#include "Classes/HWCChecksumKinds.h"
#include "Classes/HWCLog.h"
#include "Classes/HWCMediaHashList.h"
#include "Classes/HWCOperationInfo.h"
#include "Classes/HWCOrderedReads.h"
#include "Classes/HWCUncachedReader.h"

#include <QDateTime>
#include <QFile>
#include <QScopeGuard>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

HWCMHLCreateOperation::HWCMHLCreateOperation(std::shared_ptr<HWCSource> source)
    : HWCVerificationOperation(std::move(source))
{
}

HWCMHLCreateOperation::~HWCMHLCreateOperation() = default;

HWCActionType HWCMHLCreateOperation::actionType() const
{
    return HWCActionTypeCreate;
}

QString HWCMHLCreateOperation::mhlFilePath() const
{
    return m_mhl ? m_mhl->filePath() : QString();
}

QString HWCMHLCreateOperation::mhlWriteError() const
{
    return m_mhl ? m_mhl->writeError() : QString();
}

void HWCMHLCreateOperation::main()
{
    const QString root = info()->path();
    m_mhl = std::make_unique<HWCMediaHashList>(root, QString());
    m_reads = std::make_unique<HWCOrderedReads>(jobs());
    const auto endReads = qScopeGuard([this] { m_reads.reset(); });
    m_state = HWCOperationStateCreating;
    m_fileAmount = 0;
    postToInfo([](HWCOperationInfo *info) { info->setState(HWCOperationStateCreating); });

    // The walk cannot be stopped: after a cancel it visits the rest of the tree and each
    // further file returns at once.
    findFilesAtPath(root, [this](const char *path, const struct stat *status) {
        if (!m_excludes.matches(QByteArray(path)))
            submitFile(path, qint64(status->st_mtim.tv_sec));
    });
    m_reads->finishAll();
    m_reads.reset();

    if (m_state == HWCOperationStateCancelled) {
        postToInfo([](HWCOperationInfo *info) { info->setState(HWCOperationStateCancelled); });
        return;
    }
    m_mhl->writeToPath(root);
    // Every record of a creation is a file left out of the list.
    if (m_state == HWCOperationStateCreating) {
        m_state = filesWithState(HWCFileStateReadSuccessfully, true).isEmpty()
                      ? HWCOperationStateCreatedOK
                      : HWCOperationStateFinishedWithWarnings;
    }
    const HWCOperationState finalState = m_state;
    postToInfo([finalState](HWCOperationInfo *info) { info->setState(finalState); });
}

void HWCMHLCreateOperation::submitFile(const char *path, qint64 modified)
{
    const QString root = info()->path();
    auto paths = std::make_shared<FilePaths>();
    paths->native = QByteArray(path);
    paths->full = QFile::decodeName(path);
    paths->relative = QString(paths->full).replace(root, QString());
    paths->folder = hwc_deletingLastPathComponent(paths->full);
    const auto hash = std::make_shared<FileHash>();
    m_reads->submit(
        [this, paths, hash](HWCUncachedReader &reader) { *hash = hashFile(*paths, reader); },
        [this, paths, hash, modified] { finishFile(*hash, *paths, modified); }, paths->native);
}

HWCMHLCreateOperation::FileHash HWCMHLCreateOperation::hashFile(const FilePaths &paths,
                                                                HWCUncachedReader &reader) const
{
    FileHash hash;
    if (isCancelled()) {
        hash.skipped = true;
        return hash;
    }
    postToInfo([relative = paths.relative](HWCOperationInfo *info) {
        info->setCurrentRelativeFilePath(relative);
    });

    // The walk saw a regular file, but something else may stand there by now.
    QString why;
    errno = 0;
    const int fd = reader.open(sourceFolder(), paths.native, &why);
    const int openError = errno;
    if (isCancelled()) {
        hash.stopped = true;
        if (fd >= 0)
            close(fd);
        return hash;
    }
    if (fd < 0) {
        hash.openState = fileStateForOpenError(openError);
        if (hash.openState == HWCFileStateCantOpenFile)
            HWCLogError(QStringLiteral("Can't open file %1: %2").arg(paths.full, why));
        return hash;
    }
    hashOpenFile(fd, reader, hash);
    return hash;
}

void HWCMHLCreateOperation::hashOpenFile(int fd, HWCUncachedReader &reader, FileHash &hash) const
{
    std::vector<std::unique_ptr<HWCChecksum>> members;
    for (const QString &kind : m_digestKinds)
        members.push_back(HWCChecksumKinds::make(kind.toStdString()));
    HWCChecksumGroup checksum(std::move(members));
    const HWCUncachedReader::Outcome read =
        reader.read(fd, checksum, [this](quint64 length) { return countBlock(length); });
    hash.bytes = read.bytes;
    // A read that fails after a cancel was interrupted by it, not by the medium.
    const bool failed = read.ending == HWCUncachedReader::Ending::ReadError;
    if (read.ending == HWCUncachedReader::Ending::Cancelled || (failed && isCancelled())) {
        hash.cancelled = true;
    } else if (failed) {
        hash.result = HWCFileStateCantReadFile;
        hash.failures.append(hash.result);
    }
    if (close(fd) != 0) {
        if (isCancelled()) {
            hash.cancelled = true;
        } else if (!hash.cancelled) {
            hash.result = HWCFileStateCantCloseFile;
            hash.failures.append(hash.result);
        }
    }
    for (const std::unique_ptr<HWCChecksum> &member : checksum.members())
        hash.digests.append({member->name(), member->digestText()});
}

void HWCMHLCreateOperation::finishFile(const FileHash &hash, const FilePaths &paths,
                                       qint64 modified)
{
    // A file hashed alongside one that met the cancel comes after it in the walk, so it
    // returns as its own first cancellation test would have made it.
    if (hash.skipped || m_state == HWCOperationStateCancelled) {
        // The record belongs to the main thread; the final state is posted after the walk.
        m_state = HWCOperationStateCancelled;
        return;
    }
    ++m_fileAmount;
    info()->fileDone();
    if (hash.stopped) {
        m_state = HWCOperationStateCancelled;
        return;
    }
    if (hash.openState != 0) {
        appendFailure(paths, hash.openState);
        return;
    }
    for (const HWCFileState failure : hash.failures)
        appendFailure(paths, failure);
    if (hash.cancelled) {
        m_state = HWCOperationStateCancelled;
        return;
    }
    if (hash.result != 0) {
        // A second record for the same failure, with the paths the other way round.
        appendFile(HWCVerifiedFile(QString(), info()->path(), paths.relative, hash.result, 0, 0));
        return;
    }
    m_mhl->addHashForFile(paths.native, hash.bytes, QDateTime::fromSecsSinceEpoch(modified),
                          hash.digests, QDateTime::currentDateTime());
}

void HWCMHLCreateOperation::appendFailure(const FilePaths &paths, HWCFileState state)
{
    // Root and relative path stand in this order on purpose: the record's path() then
    // reads as the file's relative path followed by its folder, as earlier logs show it.
    appendFile(HWCVerifiedFile(info()->path(), paths.relative, paths.folder, state, 0, 0));
}
