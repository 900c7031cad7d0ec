#include "Classes/HWCMHLCreateOperation.h"

#include "Categories/HWCFileManagerAdditions.h"
#include "Categories/HWIDataAdditions.h"
#include "Categories/HWIFileHandleAdditions.h"
#include "Classes/HWCChecksumXXHash64.h"
#include "Classes/HWCMediaHashList.h"
#include "Classes/HWCOperationInfo.h"

#include <QDateTime>
#include <QFile>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

HWCFileState openFailureState(int error)
{
    if (error == ENOENT)
        return HWCFileStateMissingFile;
    if (error == EACCES)
        return HWCFileStateAccessDenied;
    return HWCFileStateCantOpenFile;
}

// A direct read that reaches past the end of a file makes the kernel zero the rest of the
// request, so a full block asked for every small file costs a megabyte of zeroing each (most
// of the time spent on a tree of small files). Ask for what the file is expected to hold,
// in whole pages to keep direct reads aligned, then for a full block to find its end: a
// file that grew since the walk is still read to its end.
quint64 requestSize(quint64 expectedSize, quint64 bytesRead)
{
    constexpr quint64 kPageSize = 4096;
    if (bytesRead >= expectedSize)
        return kHWCReadBlockSize;
    const quint64 remaining = (expectedSize - bytesRead + kPageSize - 1) / kPageSize * kPageSize;
    return std::min(remaining, kHWCReadBlockSize);
}

QString withoutLastComponent(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    if (slash < 0)
        return QString();
    return slash == 0 ? QStringLiteral("/") : path.left(slash);
}

} // namespace

HWCMHLCreateOperation::HWCMHLCreateOperation(std::shared_ptr<HWCSource> source,
                                             HWCOperationController *controller)
    : HWCVerificationOperation(std::move(source), controller)
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

void HWCMHLCreateOperation::main()
{
    const QString root = info()->path();
    m_mhl = std::make_unique<HWCMediaHashList>(root, QString());
    m_state = HWCOperationStateCreating;
    m_fileAmount = 0;
    postToInfo([](HWCOperationInfo *info) { info->setState(HWCOperationStateCreating); });

    // The walk cannot be stopped: after a cancel it visits the rest of the tree and each
    // further file returns at once.
    findFilesAtPath(
        root, [this](const char *path, const struct stat *status) { hashFile(path, *status); });

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
        // Set here on the worker thread, not posted: the posted final state follows anyway.
        m_state = HWCOperationStateCancelled;
        info()->setState(m_state);
        return;
    }
    const QString root = info()->path();
    FilePaths paths;
    paths.full = QFile::decodeName(path);
    paths.relative = QString(paths.full).replace(root, QString());
    paths.folder = withoutLastComponent(paths.full);
    postToInfo([relative = paths.relative](HWCOperationInfo *info) {
        info->setCurrentRelativeFilePath(relative);
    });

    errno = 0;
    const int fd = open(path, O_RDONLY);
    const int openError = errno;
    ++m_fileAmount;
    if (isCancelled()) {
        m_state = HWCOperationStateCancelled;
        if (fd >= 0)
            close(fd);
        return;
    }
    if (fd < 0) {
        appendFailure(paths, openFailureState(openError));
        return;
    }

    quint64 bytes = 0;
    QByteArray digest;
    const HWCFileState result = hashOpenFile(fd, paths, quint64(status.st_size), bytes, digest);
    if (m_state != HWCOperationStateCreating)
        return;
    if (result != 0) {
        // A second record for the same failure, with the paths the other way round.
        appendFile(HWCVerifiedFile(QString(), root, paths.relative, result, 0, 0));
        return;
    }
    m_mhl->addHashForFile(paths.full, bytes, QDateTime::fromSecsSinceEpoch(status.st_mtim.tv_sec),
                          hwi_hexadecimalString(digest), QDateTime::currentDateTime());
}

HWCFileState HWCMHLCreateOperation::hashOpenFile(int fd, const FilePaths &paths,
                                                 quint64 expectedSize, quint64 &bytes,
                                                 QByteArray &digest)
{
    const bool direct = hwi_disableCache(fd);
    HWCChecksumXXHash64 checksum;
    checksum.reset();
    HWCFileState result = 0;
    ssize_t length;
    while ((length = read(fd, buffer(), requestSize(expectedSize, bytes))) > 0) {
        if (isCancelled()) {
            m_state = HWCOperationStateCancelled;
            break;
        }
        checksum.updateWithBytes(buffer(), quint64(length));
        bytes += quint64(length);
        postToInfo([length](HWCOperationInfo *info) { info->addBytes(quint64(length)); });
    }
    if (length < 0) {
        if (isCancelled()) {
            m_state = HWCOperationStateCancelled;
        } else {
            result = HWCFileStateCantReadFile;
            appendFailure(paths, result);
        }
    }
    if (!direct)
        hwi_dropCache(fd);
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
