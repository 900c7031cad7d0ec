#include "Classes/HWCMHLCreateOperation.h"

#include "Categories/HWCFileManagerAdditions.h"
#include "Categories/HWCFileSystemAdditions.h"
#include "Categories/HWCPathAdditions.h"
#include "Categories/HWIDataAdditions.h"
#include "Categories/HWIFileHandleAdditions.h"
#include "Classes/HWCChecksumXXHash64.h"
#include "Classes/HWCLog.h"
#include "Classes/HWCMediaHashList.h"
#include "Classes/HWCOperationInfo.h"
#include "Classes/HWCUncachedReader.h"

#include <QDateTime>
#include <QFile>
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
    m_reader = std::make_unique<HWCUncachedReader>();
    m_state = HWCOperationStateCreating;
    m_fileAmount = 0;
    postToInfo([](HWCOperationInfo *info) { info->setState(HWCOperationStateCreating); });

    // The walk cannot be stopped: after a cancel it visits the rest of the tree and each
    // further file returns at once.
    findFilesAtPath(
        root, [this](const char *path, const struct stat *status) { hashFile(path, *status); });
    m_reader.reset();

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

void HWCMHLCreateOperation::hashFile(const char *path, const struct stat &status)
{
    if (isCancelled()) {
        // The record belongs to the main thread; the final state is posted after the walk.
        m_state = HWCOperationStateCancelled;
        return;
    }
    const QString root = info()->path();
    FilePaths paths;
    paths.full = QFile::decodeName(path);
    paths.relative = QString(paths.full).replace(root, QString());
    paths.folder = hwc_deletingLastPathComponent(paths.full);
    postToInfo([relative = paths.relative](HWCOperationInfo *info) {
        info->setCurrentRelativeFilePath(relative);
    });

    // The walk saw a regular file, but something else may stand there by now.
    QString why;
    errno = 0;
    const int fd = hwi_fileRegularReadDescriptorForPath(path, &why);
    const int openError = errno;
    ++m_fileAmount;
    if (isCancelled()) {
        m_state = HWCOperationStateCancelled;
        if (fd >= 0)
            close(fd);
        return;
    }
    if (fd < 0) {
        const HWCFileState state = fileStateForOpenError(openError);
        if (state == HWCFileStateCantOpenFile)
            HWCLogError(QStringLiteral("Can't open file %1: %2").arg(paths.full, why));
        appendFailure(paths, state);
        return;
    }

    quint64 bytes = 0;
    QByteArray digest;
    const HWCFileState result = hashOpenFile(fd, paths, bytes, digest);
    if (m_state != HWCOperationStateCreating)
        return;
    if (result != 0) {
        // A second record for the same failure, with the paths the other way round.
        appendFile(HWCVerifiedFile(QString(), root, paths.relative, result, 0, 0));
        return;
    }
    m_mhl->addHashForFile(QByteArray(path), bytes,
                          QDateTime::fromSecsSinceEpoch(status.st_mtim.tv_sec),
                          hwi_hexadecimalString(digest), QDateTime::currentDateTime());
}

HWCFileState HWCMHLCreateOperation::hashOpenFile(int fd, const FilePaths &paths, quint64 &bytes,
                                                 QByteArray &digest)
{
    HWCChecksumXXHash64 checksum;
    const HWCUncachedReader::Outcome read =
        m_reader->read(fd, checksum, [this](quint64 length) { return countBlock(length); });
    bytes = read.bytes;
    // A read that fails after a cancel was interrupted by it, not by the medium.
    const bool failed = read.ending == HWCUncachedReader::Ending::ReadError;
    HWCFileState result = 0;
    if (read.ending == HWCUncachedReader::Ending::Cancelled || (failed && isCancelled())) {
        m_state = HWCOperationStateCancelled;
    } else if (failed) {
        result = HWCFileStateCantReadFile;
        appendFailure(paths, result);
    }
    if (close(fd) != 0) {
        if (isCancelled()) {
            m_state = HWCOperationStateCancelled;
        } else if (m_state == HWCOperationStateCreating) {
            result = HWCFileStateCantCloseFile;
            appendFailure(paths, result);
        }
    }
    digest = checksum.value();
    return result;
}

void HWCMHLCreateOperation::appendFailure(const FilePaths &paths, HWCFileState state)
{
    // Root and relative path stand in this order on purpose: the record's path() then
    // reads as the file's relative path followed by its folder, as earlier logs show it.
    appendFile(HWCVerifiedFile(info()->path(), paths.relative, paths.folder, state, 0, 0));
}
