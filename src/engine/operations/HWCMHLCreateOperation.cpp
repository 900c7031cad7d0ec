#include "engine/operations/HWCMHLCreateOperation.h"

#include "engine/ascmhl/HWCASCMHLNewGeneration.h"
#include "engine/digests/HWCChecksumGroup.h"
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/files/HWCConfinedFolder.h"
#include "engine/files/HWCFileDescriptor.h"
#include "engine/files/HWCFileManagerAdditions.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/files/HWCMedium.h"
#include "engine/files/HWCUncachedReader.h"
#include "engine/mhl/HWCMHLWriter.h"
#include "engine/operations/HWCOrderedReads.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/session/HWCLog.h"

#include <QDateTime>
#include <QFile>
#include <QScopeGuard>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char kChangedWhileRead[] = "changed while it was read";

// An unreadable folder is refused for want of permission or for another reason.
HWCFileState stateForUnreadableFolder(int error)
{
    return error == EACCES || error == EPERM ? HWCFileState::AccessDenied
                                             : HWCFileState::CantReadFile;
}

bool sameTime(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// The kinds asked for; none asked for: the kind a new list carries by default.
QStringList digestKindsOr(const QStringList &kinds, HWCListFormat format)
{
    if (!kinds.isEmpty())
        return kinds;
    // The standard's own tool writes xxh128 by default.
    return {format == HWCListFormat::ASCMHL
                ? QStringLiteral("xxh128")
                : QString::fromLatin1(HWCChecksumKinds::created().name)};
}

} // namespace

HWCMHLCreateOperation::HWCMHLCreateOperation(const HWCOperationParameters &parameters)
    : HWCSourceOperation(parameters.source), m_jobs(parameters.jobs),
      m_readDepth(parameters.readDepth), m_format(parameters.listFormat),
      m_digestKinds(digestKindsOr(parameters.digestKinds, parameters.listFormat)),
      m_excludes(parameters.excludes), m_ascmhl(parameters.ascmhl)
{
}

HWCMHLCreateOperation::~HWCMHLCreateOperation() = default;

HWCSourceOperation::WrittenList HWCMHLCreateOperation::writtenList() const
{
    WrittenList written;
    written.digestKinds = m_digestKinds;
    written.writeError = m_refusal;
    if (m_generation) {
        written.path = m_generation->path();
        written.syncError = m_generation->syncError();
        written.files = m_generation->records();
        if (written.writeError.isNull())
            written.writeError = m_generation->error();
        if (!written.path.isNull())
            written.recorded = {written.path};
    } else if (m_mhl) {
        written.path = m_mhl->filePath();
        written.syncError = m_mhl->syncError();
        written.files = m_mhl->records();
        if (written.writeError.isNull())
            written.writeError = m_mhl->writeError();
    }
    return written;
}

bool HWCMHLCreateOperation::lockFolder(int folder, const QString &root)
{
    // A folder that cannot be opened is met by the walk; a file system without locks
    // (EINVAL, ENOLCK) is written to unguarded, as before.
    if (folder < 0 || flock(folder, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)
        return true;
    m_refusal = QStringLiteral("%1: another creation of this folder is running").arg(root);
    return false;
}

void HWCMHLCreateOperation::main()
{
    const QString root = info()->path();
    if (m_format == HWCListFormat::ASCMHL)
        m_generation = std::make_unique<HWCASCMHLNewGeneration>(root, m_digestKinds, m_ascmhl);
    else
        m_mhl = std::make_unique<HWCMHLWriter>(root, QString());
    // Held to the end of the run, and released by closing it.
    const HWCFileDescriptor lock(
        open(QFile::encodeName(root).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A history that cannot take a generation is known before any file is read.
    if (!lockFolder(lock.get(), root) || (m_generation && !m_generation->open())) {
        publishState(HWCOperationState::FinishedWithWarnings);
        return;
    }
    m_sourceFolder = std::make_shared<const HWCConfinedFolder>(QFile::encodeName(root));
    m_reads = std::make_unique<HWCOrderedReads>(m_jobs,
                                                m_readDepth > 0 ? m_readDepth : readDepthFor(root));
    // The folder is open only while files are read: an open folder keeps its medium mounted.
    const auto endReads = qScopeGuard([this] {
        m_reads.reset();
        m_sourceFolder.reset();
    });
    m_fileAmount = 0;
    publishState(HWCOperationState::Creating);

    // The walk cannot be stopped: after a cancel it visits the rest of the tree and each
    // further file returns at once.
    findFilesAtPath(
        root,
        [this](const char *path, const struct stat *) {
            if (!leavesOut(path))
                submitFile(path);
        },
        [this](const char *folder, int error) { submitUnreadableFolder(folder, error); });
    m_reads->finishAll();
    m_reads.reset();

    if (state() == HWCOperationState::Cancelled) {
        publishState(HWCOperationState::Cancelled);
        return;
    }
    writeList(root);
    if (state() == HWCOperationState::Creating) {
        if (!files().isEmpty())
            setState(HWCOperationState::FinishedWithWarnings);
        else
            setState(m_listedFiles > 0 || (m_generation && !m_generation->isEmpty())
                         ? HWCOperationState::CreatedOK
                         : HWCOperationState::NoFilesFound);
    }
    publishState(state());
}

bool HWCMHLCreateOperation::leavesOut(const char *path)
{
    // The temporary file of a killed write is no media.
    if (hwc_isTemporaryFileName(path))
        return true;
    return m_generation ? m_generation->leavesOut(pathsFor(path).relative)
                        : m_excludes.matches(QByteArray(path));
}

void HWCMHLCreateOperation::writeList(const QString &root)
{
    // A list of nothing would claim a check that never happened.
    if (m_generation && !m_generation->isEmpty())
        m_generation->write();
    else if (m_mhl && m_listedFiles > 0)
        m_mhl->writeToPath(root);
}

HWCMHLCreateOperation::FilePaths HWCMHLCreateOperation::pathsFor(const char *path) const
{
    // The walk's paths all begin with the root as it was given.
    const QByteArray root = QFile::encodeName(info()->path());
    const QByteArray native(path);
    QByteArray below = native.startsWith(root) ? native.mid(root.size()) : native;
    while (below.startsWith('/'))
        below.remove(0, 1);
    return {native, QFile::decodeName(native), QFile::decodeName(below)};
}

void HWCMHLCreateOperation::submitFile(const char *path)
{
    auto paths = std::make_shared<FilePaths>(pathsFor(path));
    const auto hash = std::make_shared<FileHash>();
    m_reads->submit(
        [this, paths, hash](HWCUncachedReader &reader) { *hash = hashFile(*paths, reader); },
        [this, paths, hash] { finishFile(*hash, *paths); }, paths->native);
}

void HWCMHLCreateOperation::submitUnreadableFolder(const char *path, int error)
{
    // Through the queue, so that its record stands where the walk met it.
    auto paths = std::make_shared<FilePaths>(pathsFor(path));
    HWCLogError(QStringLiteral("Can't read folder %1: %2")
                    .arg(paths->full, QString::fromLocal8Bit(strerror(error))));
    m_reads->submit([](HWCUncachedReader &) {},
                    [this, paths, error] {
                        if (state() == HWCOperationState::Cancelled)
                            return;
                        // Counted like a file, so that the count minus the failures is
                        // what the list holds.
                        ++m_fileAmount;
                        const HWCFileState state = stateForUnreadableFolder(error);
                        // Access denied says it all; another failure is named.
                        const QString reason = state == HWCFileState::CantReadFile
                                                   ? QString::fromLocal8Bit(strerror(error))
                                                   : QString();
                        appendRecord(*paths, state, 0, reason);
                    });
}

HWCMHLCreateOperation::FileHash HWCMHLCreateOperation::hashFile(const FilePaths &paths,
                                                                HWCUncachedReader &reader) const
{
    FileHash hash;
    if (isCancelled()) {
        hash.skipped = true;
        return hash;
    }
    postCurrentFile(QLatin1Char('/') + paths.relative);

    // The walk saw a regular file, but something else may stand there by now.
    QString why;
    errno = 0;
    const int fd = reader.open(m_sourceFolder, paths.native, &why);
    const int openError = errno;
    if (isCancelled()) {
        hash.stopped = true;
        if (fd >= 0)
            close(fd);
        return hash;
    }
    if (fd < 0) {
        hash.result = fileStateForOpenError(openError);
        if (hash.result == HWCFileState::CantOpenFile) {
            hash.reason = why;
            HWCLogError(QStringLiteral("Can't open file %1: %2").arg(paths.full, why));
        }
        return hash;
    }
    hashOpenFile(fd, reader, hash);
    if (hash.result == HWCFileState::CantReadFile)
        HWCLogError(QStringLiteral("Can't read file %1: %2").arg(paths.full, hash.reason));
    return hash;
}

void HWCMHLCreateOperation::hashOpenFile(int fd, HWCUncachedReader &reader, FileHash &hash) const
{
    std::vector<std::unique_ptr<HWCChecksum>> members;
    for (const QString &kind : m_digestKinds)
        members.push_back(HWCChecksumKinds::make(kind.toStdString()));
    HWCChecksumGroup checksum(std::move(members));
    struct stat opened {};
    const bool known = fstat(fd, &opened) == 0;
    const HWCUncachedReader::Outcome read =
        reader.read(fd, checksum, [this](quint64 length) { return countBlock(length); });
    hash.bytes = read.bytes;
    hash.modified = qint64(opened.st_mtim.tv_sec);
    // A read that fails after a cancel was interrupted by it, not by the medium.
    const bool failed = read.ending == HWCUncachedReader::Ending::ReadError;
    if (read.ending == HWCUncachedReader::Ending::Cancelled || (failed && isCancelled())) {
        hash.cancelled = true;
    } else if (failed) {
        hash.result = HWCFileState::CantReadFile;
        hash.reason = QString::fromLocal8Bit(strerror(read.error));
    } else {
        // What was hashed is the file only if it stood still from the open to the end.
        struct stat ended {};
        if (!known || fstat(fd, &ended) != 0 || quint64(opened.st_size) != read.bytes ||
            ended.st_size != opened.st_size || !sameTime(ended.st_mtim, opened.st_mtim)) {
            hash.result = HWCFileState::CantReadFile;
            hash.reason = QLatin1String(kChangedWhileRead);
        }
    }
    if (close(fd) != 0) {
        if (isCancelled())
            hash.cancelled = true;
        else if (!hash.cancelled && !hash.result)
            hash.result = HWCFileState::CantCloseFile;
    }
    for (const std::unique_ptr<HWCChecksum> &member : checksum.members())
        hash.digests.append({member->name(), member->digestText()});
}

void HWCMHLCreateOperation::finishFile(const FileHash &hash, const FilePaths &paths)
{
    // A file hashed alongside one that met the cancel comes after it in the walk, so it
    // returns as its own first cancellation test would have made it.
    if (hash.skipped || state() == HWCOperationState::Cancelled) {
        // The record belongs to the main thread; the final state is posted after the walk.
        setState(HWCOperationState::Cancelled);
        return;
    }
    ++m_fileAmount;
    info()->fileDone();
    if (hash.stopped || hash.cancelled) {
        setState(HWCOperationState::Cancelled);
        return;
    }
    if (hash.result) {
        appendRecord(paths, *hash.result, hash.bytes, hash.reason);
        return;
    }
    const QDateTime modified = QDateTime::fromSecsSinceEpoch(hash.modified);
    if (m_generation)
        m_generation->addFile(paths.relative, hash.bytes, modified, hash.digests);
    else
        m_mhl->addHashForFile(paths.native, hash.bytes, modified, hash.digests,
                              QDateTime::currentDateTime());
    ++m_listedFiles;
}

void HWCMHLCreateOperation::appendRecord(const FilePaths &paths, HWCFileState state, quint64 bytes,
                                         const QString &reason)
{
    HWCVerifiedFile::Detail detail;
    detail.reason = reason;
    // Held as a verification holds the files of a list in the source's top folder.
    appendFile(HWCVerifiedFile(info()->path(), QStringLiteral("/"), paths.relative, state, bytes, 0,
                               std::move(detail)));
}
