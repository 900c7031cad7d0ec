#include "engine/operations/HWCVerificationOperation.h"

#include "engine/digests/HWCChecksumKinds.h"
#include "engine/files/HWCConfinedFolder.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/files/HWCUncachedReader.h"
#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/mhl/HWCMediaHashList.h"
#include "engine/operations/HWCOrderedReads.h"
#include "engine/operations/HWCSource.h"
#include "engine/records/HWCFileStateToStringValueTransformer.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStringAdditions.h"
#include "engine/records/HWIDateToStringWithTimeValueTransformer.h"
#include "engine/session/HWCLog.h"

#include <QDateTime>
#include <QFile>
#include <QScopeGuard>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

// The first kind, by preference, that the entry carries. Null when it carries none, or when
// the kind it carries cannot be made here (its library does not provide it): the entry is
// then skipped like an unknown one.
std::shared_ptr<HWCChecksum> preferredChecksum(const HWCChecksumEntry &entry,
                                               std::span<const HWCChecksumKinds::Kind> order)
{
    for (const HWCChecksumKinds::Kind &kind : order) {
        if (entry.contains(kind.name)) {
            std::unique_ptr<HWCChecksum> checksum = kind.make();
            return checksum->isAvailable() ? std::move(checksum) : nullptr;
        }
    }
    return nullptr;
}

// The size an entry lists, when it lists one as a non-negative decimal number.
std::optional<quint64> listedSize(const HWCChecksumEntry &entry)
{
    const QString text = entry.value("size").trimmed();
    const bool digits = !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) {
        return c >= QLatin1Char('0') && c <= QLatin1Char('9');
    });
    bool valid = false;
    const quint64 size = digits ? text.toULongLong(&valid) : 0;
    return valid ? std::optional(size) : std::nullopt;
}

// Why an entry cannot be checked whatever its file holds; empty for a usable one.
QString refusalOf(const HWCChecksumEntry &entry)
{
    // A list must not make us read files above its own folder.
    if (hwc_climbsOutOfFolder(entry.fileName()))
        return QStringLiteral("its path leaves the MHL's folder");
    if (const QString size = entry.value("size"); !size.isNull() && !listedSize(entry))
        return QStringLiteral("its size \"%1\" is not a number of bytes").arg(size);
    return {};
}

// What the list says of the entry that checksum checks; the actual digest follows the read.
HWCVerifiedFile::Detail listedDetail(const HWCChecksumEntry &entry, const HWCChecksum &checksum)
{
    HWCVerifiedFile::Detail detail;
    detail.digestKind = checksum.name();
    detail.expected = entry.value(detail.digestKind.toStdString());
    detail.expectedSize = listedSize(entry);
    return detail;
}

quint64 nanosecondsSince(std::chrono::steady_clock::time_point start)
{
    const auto elapsed = std::chrono::steady_clock::now() - start;
    return quint64(std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count());
}

} // namespace

HWCVerificationOperation::HWCVerificationOperation(std::shared_ptr<HWCSource> source)
    : m_source(std::move(source)), m_info(new HWCOperationInfo(*m_source))
{
}

HWCVerificationOperation::~HWCVerificationOperation()
{
    // The record lives on the main thread, which may be delivering posted updates to it
    // right now; from any other thread its deletion is left to that thread's event loop.
    if (QThread::currentThread() == m_info->thread())
        delete m_info;
    else
        m_info->deleteLater();
}

QList<HWCVerifiedFile> HWCVerificationOperation::filesWithState(HWCFileState state,
                                                                bool invert) const
{
    QList<HWCVerifiedFile> matching;
    for (const HWCVerifiedFile &file : m_files) {
        if ((file.verifiedFileState() == state) != invert)
            matching.append(file);
    }
    return matching;
}

void HWCVerificationOperation::remove()
{
    cancel();
    Q_EMIT removeRequested();
}

QIcon HWCVerificationOperation::image() const
{
    return m_info->image();
}

HWCActionType HWCVerificationOperation::actionType() const
{
    return HWCActionTypeVerify;
}

quint64 HWCVerificationOperation::fileAmount() const
{
    return quint64(m_files.size());
}

QString HWCVerificationOperation::description() const
{
    return QStringLiteral("HWCVerificationOperation root: ") +
           hwc_lastPathComponent(m_info->path());
}

void HWCVerificationOperation::postToInfo(std::function<void(HWCOperationInfo *)> change) const
{
    // The lambda holds the record, never the operation: the operation may be gone by the
    // time the main thread runs it, and a deleted record drops its pending posts.
    QMetaObject::invokeMethod(
        m_info, [info = m_info, change = std::move(change)] { change(info); },
        Qt::QueuedConnection);
}

void HWCVerificationOperation::prepare()
{
    const QString sourceFolder = m_info->path();
    quint64 fileSum = 0;
    quint64 byteSum = 0;
    m_mhlFiles.clear();
    m_unusableLists.clear();
    for (const QString &url : m_info->mhlURLs()) {
        // Loading a large list takes a while; after a cancel the rest are not loaded.
        if (isCancelled())
            break;
        std::unique_ptr<HWCMediaHashList> list = HWCMediaHashList::initWithContentsOfURL(url);
        if (!list) {
            HWCLogError(QStringLiteral("MHL (%1) doesn't contain any hashes (%2)")
                            .arg(url, QStringLiteral("(null)")));
            continue;
        }
        if (const QString problem = list->problem(); !problem.isEmpty())
            m_unusableLists.append({url, problem});
        fileSum += quint64(list->fileCount());
        byteSum += quint64(list->fileSize());
        for (const QString &tool : list->tools())
            postToInfo([tool](HWCOperationInfo *info) { info->addTool(tool); });
        const QString relativeFolder = hwc_deletingLastPathComponent(url.mid(sourceFolder.size()));
        m_mhlFiles.push_back({relativeFolder, std::move(list)});
    }
    postToInfo(
        [fileSum, byteSum](HWCOperationInfo *info) { info->setFileTotal(fileSum, byteSum); });
}

void HWCVerificationOperation::main()
{
    m_reads = std::make_unique<HWCOrderedReads>(m_jobs);
    const auto endReads = qScopeGuard([this] { m_reads.reset(); });
    m_state = HWCOperationStateNoMHL;
    m_unreadableFolders = m_source->unreadableFolders();
    prepare();
    if (!m_mhlFiles.empty())
        m_state = HWCOperationStateVerifying;
    const HWCOperationState initial = m_state;
    postToInfo([initial](HWCOperationInfo *info) { info->setState(initial); });

    for (MHLFile &mhl : m_mhlFiles)
        verifyList(mhl);
    if (m_unlisted && m_state == HWCOperationStateVerifying && !isCancelled()) {
        QList<HWCUnreadableFolder> unreadable;
        m_unlistedFiles = m_unlisted->find(filesFolder(), unreadable);
        for (const HWCUnreadableFolder &folder : std::as_const(unreadable)) {
            if (!m_unreadableFolders.contains(folder))
                m_unreadableFolders.append(folder);
        }
    }

    if (m_state == HWCOperationStateVerifying) {
        m_state = filesWithState(HWCFileStateReadSuccessfully, true).isEmpty()
                      ? HWCOperationStateVerifiedOK
                      : HWCOperationStateFinishedWithWarnings;
    }
    const HWCOperationState final = m_state;
    postToInfo([final](HWCOperationInfo *info) { info->setState(final); });
}

void HWCVerificationOperation::mainFailed()
{
    m_state = HWCOperationStateFinishedWithWarnings;
    postToInfo(
        [](HWCOperationInfo *info) { info->setState(HWCOperationStateFinishedWithWarnings); });
}

QString HWCVerificationOperation::filesFolder() const
{
    if (!m_rootFolder.isEmpty())
        return m_rootFolder;
    const QString sourceFolder = m_info->path();
    return hwc_isMediaHashListPath(sourceFolder) ? hwc_deletingLastPathComponent(sourceFolder)
                                                 : sourceFolder;
}

void HWCVerificationOperation::verifyList(MHLFile &mhl)
{
    const HWCASCMHLHistory *history = mhl.list->history();
    QString root = hwc_appendingPathComponent(filesFolder(), mhl.relativeFolder);
    if (history) {
        root = history->root();
        // A root folder set stands for the source, which may hold the history further down.
        if (!m_rootFolder.isEmpty() && root.startsWith(m_info->path()))
            root = hwc_appendingPathComponent(m_rootFolder, root.mid(m_info->path().size()));
        appendManifestRecords(*history, mhl.relativeFolder);
        if (m_unlisted)
            m_unlisted->addIgnored(QFile::encodeName(root),
                                   HWCIgnorePatterns(history->ignorePatterns()));
    }
    const std::vector<HWCChecksumEntry> &hashes = mhl.list->hashes();
    if (hashes.empty()) {
        HWCLogError(QStringLiteral("MHL appears to be empty"));
        return;
    }
    m_listAbandoned = false;
    const std::shared_ptr<const HWCConfinedFolder> folder = confinedFolderFor(root);
    for (const HWCChecksumEntry &entry : hashes) {
        submitEntry(entry, mhl.relativeFolder, root, folder, mhl.list->verificationOrder());
        if (m_listAbandoned)
            break;
    }
    m_reads->finishAll();
}

std::shared_ptr<const HWCConfinedFolder> HWCVerificationOperation::sourceFolder() const
{
    const std::lock_guard lock(m_sourceFolderMutex);
    std::shared_ptr<const HWCConfinedFolder> folder = m_sourceFolder.lock();
    if (!folder) {
        folder = std::make_shared<const HWCConfinedFolder>(QFile::encodeName(filesFolder()));
        m_sourceFolder = folder;
    }
    return folder;
}

std::shared_ptr<const HWCConfinedFolder>
HWCVerificationOperation::confinedFolderFor(const QString &root) const
{
    const QString files = filesFolder();
    if (root == files || root.startsWith(files.endsWith('/') ? files : files + '/'))
        return sourceFolder();
    return std::make_shared<const HWCConfinedFolder>(QFile::encodeName(root));
}

void HWCVerificationOperation::appendManifestRecords(const HWCASCMHLHistory &history,
                                                     const QString &relativeFolder)
{
    for (const HWCASCMHLHistory::ManifestRecord &record : history.manifestRecords()) {
        // Only a manifest that was read and differs is a mismatch; one that is not there
        // counts like any missing file.
        if (record.state == HWCFileStateHashFail)
            m_info->fileVerified(false);
        appendRecord(relativeFolder, record.relativePath, record.state, record.bytes, 0);
    }
}

void HWCVerificationOperation::submitEntry(const HWCChecksumEntry &entry,
                                           const QString &relativeFolder, const QString &root,
                                           const std::shared_ptr<const HWCConfinedFolder> &folder,
                                           std::span<const HWCChecksumKinds::Kind> order)
{
    const QString file = entry.value("file");
    if (m_unlisted)
        m_unlisted->addListed(QFile::encodeName(root) + '/' + entry.fileName());
    const std::shared_ptr<HWCChecksum> checksum = preferredChecksum(entry, order);
    if (!checksum) {
        // Recorded in its place among the files read before and after it.
        const HWCFileState state =
            entry.listsNoDigest() ? HWCFileStateNoHash : HWCFileStateUnknownHash;
        m_reads->submit([](HWCUncachedReader &) {},
                        [this, relativeFolder, file, state] {
                            finishUncheckedEntry(relativeFolder, file, state);
                        });
        return;
    }
    const auto check = std::make_shared<EntryCheck>();
    // A bad entry has no path, so that it is never read.
    const QByteArray fullPath =
        refusalOf(entry).isEmpty()
            ? hwc_appendingPathComponent(QFile::encodeName(root), entry.fileName())
            : QByteArray();
    m_reads->submit(
        [this, &entry, file, checksum, folder, fullPath, check](HWCUncachedReader &reader) {
            *check = checkEntry(entry, file, *checksum, folder, fullPath, reader);
        },
        [this, check, relativeFolder, file] { finishEntry(*check, relativeFolder, file); },
        fullPath);
}

void HWCVerificationOperation::finishUncheckedEntry(const QString &relativeFolder,
                                                    const QString &file, HWCFileState state)
{
    if (m_listAbandoned)
        return;
    if (state == HWCFileStateUnknownHash)
        HWCLogError(QStringLiteral("Skipping unknown checksum type"));
    else
        HWCLogWarning(QStringLiteral("%1 has no digest to check against").arg(file));
    appendRecord(relativeFolder, file, state, 0, 0);
}

HWCVerificationOperation::EntryCheck
HWCVerificationOperation::checkEntry(const HWCChecksumEntry &entry, const QString &file,
                                     HWCChecksum &checksum,
                                     const std::shared_ptr<const HWCConfinedFolder> &folder,
                                     const QByteArray &fullPath, HWCUncachedReader &reader) const
{
    EntryCheck check;
    if (isCancelled()) {
        check.stopped = true;
        return check;
    }
    check.detail = listedDetail(entry, checksum);
    postToInfo([file](HWCOperationInfo *info) { info->setCurrentRelativeFilePath(file); });

    const bool refused = fullPath.isEmpty();
    QString why = refused ? refusalOf(entry) : QString();
    errno = 0;
    const int fd = refused ? -1 : reader.open(folder, fullPath, &why);
    const int openError = refused ? EPERM : errno;
    if (isCancelled()) {
        check.stopped = true;
        if (fd >= 0)
            close(fd);
        return check;
    }
    if (fd < 0) {
        check.state = fileStateForOpenError(openError);
        if (check.state == HWCFileStateCantOpenFile) {
            HWCLogError(QStringLiteral("Can't open file %1: %2").arg(file, why));
            check.detail.reason = why;
        }
        return check;
    }
    check.opened = true;
    checkOpenedFile(fd, checksum, reader, check);
    return check;
}

void HWCVerificationOperation::checkOpenedFile(int fd, HWCChecksum &checksum,
                                               HWCUncachedReader &reader, EntryCheck &check) const
{
    const auto start = std::chrono::steady_clock::now();
    const HWCUncachedReader::Outcome read =
        reader.read(fd, checksum, [this](quint64 length) { return countBlock(length); });
    // A read that fails after a cancel was interrupted by it, not by the medium.
    const bool failed = read.ending == HWCUncachedReader::Ending::ReadError;
    if (read.ending == HWCUncachedReader::Ending::Cancelled || (failed && isCancelled()))
        check.cancelled = true;
    else if (failed) {
        check.state = HWCFileStateCantReadFile;
        check.detail.reason = QString::fromLocal8Bit(strerror(read.error));
    }
    if (close(fd) != 0) {
        if (isCancelled())
            check.cancelled = true;
        else if (!check.cancelled)
            check.state = HWCFileStateCantCloseFile;
    }
    if (check.state == 0 && !check.cancelled) {
        const QString &expected = check.detail.expected;
        const std::optional<quint64> &size = check.detail.expectedSize;
        // A list whose digest matches but whose size does not contradicts itself: it proves
        // nothing of the file.
        if (expected.isNull())
            check.state = HWCFileStateNoHash;
        else
            check.state =
                checksum.isEqualToHexadecimalString(expected) && (!size || *size == read.bytes)
                    ? HWCFileStateReadSuccessfully
                    : HWCFileStateHashFail;
        check.detail.actual = checksum.digestText();
    }
    check.bytes = read.bytes;
    check.time = nanosecondsSince(start);
}

void HWCVerificationOperation::finishEntry(const EntryCheck &check, const QString &relativeFolder,
                                           const QString &file)
{
    if (m_listAbandoned)
        return;
    // A file read alongside one that met the cancel comes after it in the list, so it is
    // dropped as its own cancellation test would have dropped it.
    if (check.stopped || m_state == HWCOperationStateCancelled) {
        m_state = HWCOperationStateCancelled;
        m_listAbandoned = true;
        return;
    }
    if (check.cancelled) {
        m_state = HWCOperationStateCancelled;
        return;
    }
    // Deliberately no fileVerified() for a file that never opened; read and close errors
    // count as passed, only a mismatch is a failure.
    if (check.opened)
        m_info->fileVerified(check.state != HWCFileStateHashFail);
    appendRecord(relativeFolder, file, check.state, check.bytes, check.time, check.detail);
}

bool HWCVerificationOperation::countBlock(quint64 length) const
{
    if (isCancelled())
        return false;
    postToInfo([length](HWCOperationInfo *info) { info->addBytes(length); });
    return true;
}

HWCFileState HWCVerificationOperation::fileStateForOpenError(int error)
{
    switch (error) {
    case ENOENT:
        return HWCFileStateMissingFile;
    case EACCES:
        return HWCFileStateAccessDenied;
    default:
        return HWCFileStateCantOpenFile;
    }
}

void HWCVerificationOperation::appendRecord(const QString &relativeFolder, const QString &file,
                                            HWCFileState state, quint64 bytes, quint64 time,
                                            HWCVerifiedFile::Detail detail)
{
    m_info->fileDone();
    appendFile(HWCVerifiedFile(m_info->path(), relativeFolder, file, state, bytes, time,
                               std::move(detail)));
}

QString HWCVerificationOperation::failedFilesLog() const
{
    const QString now =
        HWIDateToStringWithTimeValueTransformer::transformedValue(QDateTime::currentDateTime());
    QString text = QStringLiteral("Hashwarden Log - %1\n").arg(now);
    text += QStringLiteral("Verification Source: %1\n\n").arg(m_info->path());
    // Every record is listed, the successful ones first, grouped by state.
    for (HWCFileState state = 0; state <= HWCFileStateUnknownHash; ++state) {
        const QList<HWCVerifiedFile> group = filesWithState(state);
        if (group.isEmpty())
            continue;
        const QString heading =
            HWCFileStateToStringValueTransformer::transformedValue(QVariant::fromValue(state));
        text += QStringLiteral("\n%1\n").arg(heading);
        for (const HWCVerifiedFile &file : group)
            text += QStringLiteral("%1 (%2 read)\n").arg(file.path(), file.size());
    }

    return text;
}

bool HWCVerificationOperation::exportFailedFilesTo(const QString &path) const
{
    QString error;
    if (!hwc_writeFileAtomically(path, failedFilesLog().toUtf8(), &error)) {
        HWCLogError(QStringLiteral("Creating a Hashwarden Log: %1: %2").arg(path, error));
        return false;
    }
    return true;
}
