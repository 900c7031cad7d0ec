#include "engine/operations/HWCVerificationOperation.h"

#include "engine/digests/HWCChecksumGroup.h"
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/files/HWCConfinedFolder.h"
#include "engine/files/HWCFileSystemAdditions.h"
#include "engine/files/HWCMedium.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/files/HWCUncachedReader.h"
#include "engine/mhl/HWCChecksumEntry.h"
#include "engine/mhl/HWCMediaHashList.h"
#include "engine/operations/HWCEntryRules.h"
#include "engine/operations/HWCOrderedReads.h"
#include "engine/operations/HWCSource.h"
#include "engine/records/HWCOperationInfo.h"
#include "engine/records/HWCStringAdditions.h"
#include "engine/session/HWCLog.h"

#include <QFile>
#include <QScopeGuard>
#include <QSet>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <unistd.h>

namespace {

quint64 nanosecondsSince(std::chrono::steady_clock::time_point start)
{
    const auto elapsed = std::chrono::steady_clock::now() - start;
    return quint64(std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count());
}

// Where the files of the lists are looked for, for a source whose progress record names
// sourceFolder.
QString filesFolderOf(const QString &rootFolder, const QString &sourceFolder)
{
    if (!rootFolder.isEmpty())
        return rootFolder;
    return hwc_isMediaHashListPath(sourceFolder) ? hwc_deletingLastPathComponent(sourceFolder)
                                                 : sourceFolder;
}

} // namespace

HWCVerificationOperation::HWCVerificationOperation(const HWCOperationParameters &parameters)
    : HWCSourceOperation(parameters.source), m_jobs(parameters.jobs),
      m_readDepth(parameters.readDepth), m_rootFolder(parameters.rootFolder),
      m_filesFolder(filesFolderOf(parameters.rootFolder, info()->path())),
      m_addedIgnorePatterns(parameters.seal ? parameters.ascmhl.ignorePatterns : QStringList())
{
    if (parameters.searchUnlistedFiles)
        m_unlisted.emplace(parameters.excludes);
    if (parameters.seal && parameters.rootFolder.isEmpty())
        m_seal = std::make_unique<HWCASCMHLSeal>(m_filesFolder, parameters.ascmhl,
                                                 parameters.detectRenames);
}

HWCVerificationOperation::~HWCVerificationOperation() = default;

QString HWCVerificationOperation::description() const
{
    return QStringLiteral("HWCVerificationOperation root: ") +
           hwc_lastPathComponent(info()->path());
}

void HWCVerificationOperation::prepare()
{
    const QString sourceFolder = info()->path();
    quint64 fileSum = 0;
    quint64 byteSum = 0;
    m_mhlFiles.clear();
    m_unusableLists.clear();
    m_usedLists.clear();
    for (const QString &url : info()->mhlURLs()) {
        // Loading a large list takes a while; after a cancel the rest are not loaded.
        if (isCancelled())
            break;
        std::shared_ptr<const HWCMediaHashList> list = source()->takeScannedList(url);
        if (!list)
            list = HWCMediaHashList::initWithContentsOfURL(url);
        if (!list) {
            HWCLogError(QStringLiteral("MHL (%1) doesn't contain any hashes (%2)")
                            .arg(url, QStringLiteral("(null)")));
            continue;
        }
        if (const QString problem = list->problem(); !problem.isEmpty())
            m_unusableLists.append({url, problem});
        else
            m_usedLists.append({url, list->digestKinds()});
        fileSum += quint64(list->fileCount());
        byteSum += quint64(list->fileSize());
        for (const QString &tool : list->tools())
            postToInfo([tool](HWCOperationInfo *info) { info->addTool(tool); });
        const QString relativeFolder = hwc_deletingLastPathComponent(url.mid(sourceFolder.size()));
        m_mhlFiles.push_back({relativeFolder, std::move(list)});
    }
    reserveFiles(qsizetype(fileSum));
    postToInfo(
        [fileSum, byteSum](HWCOperationInfo *info) { info->setFileTotal(fileSum, byteSum); });
}

void HWCVerificationOperation::main()
{
    m_sourceFolder = std::make_shared<const HWCConfinedFolder>(QFile::encodeName(m_filesFolder));
    m_reads = std::make_unique<HWCOrderedReads>(
        m_jobs, m_readDepth > 0 ? m_readDepth : readDepthFor(m_filesFolder));
    // The folder is open only while the run lasts: an open folder keeps its medium mounted.
    const auto endReads = qScopeGuard([this] {
        m_reads.reset();
        m_sourceFolder.reset();
    });
    setState(HWCOperationState::NoMHL);
    m_unreadableFolders = source()->unreadableFolders();
    prepare();
    if (!m_mhlFiles.empty())
        setState(HWCOperationState::Verifying);
    publishState(state());

    for (MHLFile &mhl : m_mhlFiles)
        verifyList(mhl);
    if (m_unlisted && state() == HWCOperationState::Verifying && !isCancelled())
        findUnlistedFiles();
    if (m_seal && state() == HWCOperationState::Verifying && !isCancelled())
        sealHistories();

    if (state() == HWCOperationState::Verifying) {
        setState(countWithState(HWCFileState::ReadSuccessfully, true) == 0
                     ? HWCOperationState::VerifiedOK
                     : HWCOperationState::FinishedWithWarnings);
    }
    publishState(state());
}

void HWCVerificationOperation::findUnlistedFiles()
{
    QList<HWCUnreadableFolder> unreadable;
    m_unlistedFiles = m_unlisted->find(m_filesFolder, unreadable);
    for (const HWCUnreadableFolder &folder : std::as_const(unreadable)) {
        if (!m_unreadableFolders.contains(folder))
            m_unreadableFolders.append(folder);
    }
}

void HWCVerificationOperation::sealHistories()
{
    for (const HWCVerifiedFile &record : files())
        m_seal->addRecord(record);
    for (const QString &file : std::as_const(m_unlistedFiles))
        m_seal->addNewFile(file);
    for (const HWCASCMHLSeal::Outcome &outcome : m_seal->write()) {
        if (!outcome.path.isNull())
            m_sealed.recorded.append(outcome.path);
        else if (outcome.readOnly)
            m_sealed.notRecorded = outcome.error;
        else if (m_sealed.writeError.isNull())
            m_sealed.writeError = outcome.error;
        if (!outcome.syncError.isNull())
            m_sealed.syncError = outcome.syncError;
        m_sealed.recordedNew += outcome.added;
    }
    // Listed now, by a generation.
    const QSet<QString> recorded(m_sealed.recordedNew.cbegin(), m_sealed.recordedNew.cend());
    m_unlistedFiles.removeIf([&](const QString &file) { return recorded.contains(file); });
}

void HWCVerificationOperation::verifyList(MHLFile &mhl)
{
    const HWCASCMHLHistory *history = mhl.list->history();
    QString root = hwc_appendingPathComponent(m_filesFolder, mhl.relativeFolder);
    if (history) {
        root = history->root();
        // A root folder set stands for the source, which may hold the history further down.
        if (!m_rootFolder.isEmpty() && root.startsWith(info()->path()))
            root = hwc_appendingPathComponent(m_rootFolder, root.mid(info()->path().size()));
        appendManifestRecords(*history, mhl.relativeFolder);
        if (m_seal)
            m_seal->addHistory(mhl.relativeFolder, history->ignorePatterns());
        if (m_unlisted)
            m_unlisted->addIgnored(
                QFile::encodeName(root),
                HWCIgnorePatterns(history->ignorePatterns() + m_addedIgnorePatterns));
    }
    const std::vector<HWCChecksumEntry> &hashes = mhl.list->hashes();
    if (hashes.empty()) {
        HWCLogError(QStringLiteral("MHL appears to be empty"));
        return;
    }
    m_listAbandoned = false;
    const std::shared_ptr<const HWCConfinedFolder> folder = confinedFolderFor(root);
    const auto origin = std::make_shared<const HWCVerifiedFile::Origin>(HWCVerifiedFile::Origin{
        info()->path(), mhl.relativeFolder,
        std::shared_ptr<const std::vector<HWCChecksumEntry>>(mhl.list, &hashes)});
    if (m_unlisted)
        m_unlisted->addListed(QFile::encodeName(root), origin->entries);
    for (size_t index = 0; index < hashes.size() && !m_listAbandoned; ++index)
        submitEntry(origin, quint32(index), root, folder, mhl.list->verificationOrder(),
                    m_seal && history);
    m_reads->finishAll();
}

std::shared_ptr<const HWCConfinedFolder>
HWCVerificationOperation::confinedFolderFor(const QString &root) const
{
    const QString files = m_filesFolder;
    if (root == files || root.startsWith(files.endsWith('/') ? files : files + '/'))
        return m_sourceFolder;
    return std::make_shared<const HWCConfinedFolder>(QFile::encodeName(root));
}

void HWCVerificationOperation::appendManifestRecords(const HWCASCMHLHistory &history,
                                                     const QString &relativeFolder)
{
    for (const HWCASCMHLHistory::ManifestRecord &record : history.manifestRecords()) {
        // Only a manifest that was read and differs is a mismatch; one that is not there
        // counts like any missing file.
        if (record.state == HWCFileState::HashFail)
            info()->fileVerified(false);
        appendRecord(HWCVerifiedFile(info()->path(), relativeFolder, record.relativePath,
                                     record.state, record.bytes, 0));
    }
}

void HWCVerificationOperation::submitEntry(
    const std::shared_ptr<const HWCVerifiedFile::Origin> &origin, quint32 index,
    const QString &root, const std::shared_ptr<const HWCConfinedFolder> &folder,
    std::span<const HWCChecksumKinds::Kind> order, bool allKinds)
{
    const HWCChecksumEntry &entry = (*origin->entries)[index];
    const QString file = entry.fileText();
    const std::shared_ptr<HWCChecksumGroup> checksums =
        HWCEntryRules::checksumsFor(entry, order, allKinds);
    if (!checksums) {
        // Recorded in its place among the files read before and after it.
        const HWCFileState state =
            entry.listsNoDigest() ? HWCFileState::NoHash : HWCFileState::UnknownHash;
        m_reads->submit([](HWCUncachedReader &) {},
                        [this, origin, index, file, state] {
                            finishUncheckedEntry(origin, index, file, state);
                        });
        return;
    }
    const auto check = std::make_shared<EntryCheck>();
    // A bad entry has no path, so that it is never read.
    const QByteArray fullPath =
        HWCEntryRules::refusalOf(entry).isEmpty()
            ? hwc_appendingPathComponent(QFile::encodeName(root), entry.fileName())
            : QByteArray();
    m_reads->submit(
        [this, &entry, file, checksums, folder, fullPath, check](HWCUncachedReader &reader) {
            *check = checkEntry(entry, file, *checksums, folder, fullPath, reader);
        },
        [this, check, origin, index] { finishEntry(*check, origin, index); }, fullPath);
}

void HWCVerificationOperation::finishUncheckedEntry(
    const std::shared_ptr<const HWCVerifiedFile::Origin> &origin, quint32 index,
    const QString &file, HWCFileState state)
{
    if (m_listAbandoned)
        return;
    if (state == HWCFileState::UnknownHash)
        HWCLogError(QStringLiteral("Skipping unknown checksum type"));
    else
        HWCLogWarning(QStringLiteral("%1 has no digest to check against").arg(file));
    appendRecord(HWCVerifiedFile(origin, index, state, 0, 0));
}

HWCVerificationOperation::EntryCheck
HWCVerificationOperation::checkEntry(const HWCChecksumEntry &entry, const QString &file,
                                     HWCChecksumGroup &checksums,
                                     const std::shared_ptr<const HWCConfinedFolder> &folder,
                                     const QByteArray &fullPath, HWCUncachedReader &reader) const
{
    EntryCheck check;
    if (isCancelled()) {
        check.stopped = true;
        return check;
    }
    check.finding.digestKind = HWCEntryRules::kindName(*checksums.members().front());
    postCurrentFile(file);

    const bool refused = fullPath.isEmpty();
    QString why = refused ? HWCEntryRules::refusalOf(entry) : QString();
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
        if (check.state == HWCFileState::CantOpenFile) {
            HWCLogError(QStringLiteral("Can't open file %1: %2").arg(file, why));
            check.finding.reason = why;
        }
        return check;
    }
    check.opened = true;
    checkOpenedFile(fd, entry, checksums, reader, check);
    if (checksums.members().size() > 1)
        checkOtherKinds(entry, checksums, check);
    return check;
}

void HWCVerificationOperation::checkOpenedFile(int fd, const HWCChecksumEntry &entry,
                                               HWCChecksumGroup &checksums,
                                               HWCUncachedReader &reader, EntryCheck &check) const
{
    HWCChecksum &checksum = *checksums.members().front();
    const auto start = std::chrono::steady_clock::now();
    const HWCUncachedReader::Outcome read =
        reader.read(fd, checksums, [this](quint64 length) { return countBlock(length); });
    // A read that fails after a cancel was interrupted by it, not by the medium.
    const bool failed = read.ending == HWCUncachedReader::Ending::ReadError;
    if (read.ending == HWCUncachedReader::Ending::Cancelled || (failed && isCancelled()))
        check.cancelled = true;
    else if (failed) {
        check.state = HWCFileState::CantReadFile;
        check.finding.reason = QString::fromLocal8Bit(strerror(read.error));
    }
    if (close(fd) != 0) {
        if (isCancelled())
            check.cancelled = true;
        else if (!check.cancelled)
            check.state = HWCFileState::CantCloseFile;
    }
    if (!check.state && !check.cancelled) {
        const QString expected = entry.digestText(check.finding.digestKind);
        const std::optional<quint64> size = entry.listedSize();
        // A list whose digest matches but whose size does not contradicts itself: it proves
        // nothing of the file.
        if (expected.isNull())
            check.state = HWCFileState::NoHash;
        else
            check.state =
                checksum.isEqualToHexadecimalString(expected) && (!size || *size == read.bytes)
                    ? HWCFileState::ReadSuccessfully
                    : HWCFileState::HashFail;
        check.finding.actual = checksum.digestText();
    }
    check.bytes = read.bytes;
    check.time = nanosecondsSince(start);
}

void HWCVerificationOperation::checkOtherKinds(const HWCChecksumEntry &entry,
                                               const HWCChecksumGroup &checksums, EntryCheck &check)
{
    if (check.state != HWCFileState::ReadSuccessfully && check.state != HWCFileState::HashFail)
        return;
    const bool sizeMatches = entry.listedSize().value_or(check.bytes) == check.bytes;
    check.digests.append({QString::fromLatin1(check.finding.digestKind), check.finding.actual,
                          check.state == HWCFileState::ReadSuccessfully});
    // The first kind is the one checked above.
    for (auto it = std::next(checksums.members().begin()); it != checksums.members().end(); ++it) {
        const std::unique_ptr<HWCChecksum> &checksum = *it;
        const char *kind = HWCEntryRules::kindName(*checksum);
        const QString actual = checksum->digestText();
        const bool matches =
            sizeMatches && checksum->isEqualToHexadecimalString(entry.digestText(kind));
        check.digests.append({checksum->name(), actual, matches});
        if (!matches && check.state == HWCFileState::ReadSuccessfully) {
            check.state = HWCFileState::HashFail;
            check.finding.digestKind = kind;
            check.finding.actual = actual;
        }
    }
}

void HWCVerificationOperation::finishEntry(
    const EntryCheck &check, const std::shared_ptr<const HWCVerifiedFile::Origin> &origin,
    quint32 index)
{
    if (m_listAbandoned)
        return;
    // A file read alongside one that met the cancel comes after it in the list, so it is
    // dropped as its own cancellation test would have dropped it.
    if (check.stopped || state() == HWCOperationState::Cancelled) {
        setState(HWCOperationState::Cancelled);
        m_listAbandoned = true;
        return;
    }
    if (check.cancelled) {
        setState(HWCOperationState::Cancelled);
        return;
    }
    // Deliberately no fileVerified() for a file that never opened; read and close errors
    // count as passed, only a mismatch is a failure.
    if (check.opened)
        info()->fileVerified(check.state != HWCFileState::HashFail);
    if (m_seal && !check.digests.isEmpty())
        m_seal->addDigests(origin->rootPath, (*origin->entries)[index].fileText(), check.digests);
    appendRecord(
        HWCVerifiedFile(origin, index, *check.state, check.bytes, check.time, check.finding));
}

void HWCVerificationOperation::appendRecord(const HWCVerifiedFile &record)
{
    info()->fileDone();
    appendFile(record);
}
