#include "engine/ascmhl/HWCASCMHLSeal.h"

#include "engine/ascmhl/HWCASCMHLDigests.h"
#include "engine/ascmhl/HWCASCMHLDirectoryHashes.h"
#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/ascmhl/HWCASCMHLHistoryWriter.h"
#include "engine/ascmhl/HWCASCMHLManifest.h"
#include "engine/ascmhl/HWCASCMHLNewGeneration.h"
#include "engine/digests/HWCChecksumC4.h"
#include "engine/digests/HWCChecksumGroup.h"
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/session/HWCLog.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <sys/statvfs.h>
#include <unistd.h>

struct HWCASCMHLSeal::Entry {
    QString path; // below the history's root
    QList<HWCASCMHLManifest::Digest> digests;
    QString previousPath;
    QString given; // a new file: as addNewFile() was given it
};

struct HWCASCMHLSeal::History {
    QString folder; // below the source, no "/" at either end
    QString root;
    QStringList ignorePatterns; // what it records and what this run adds
    HWCIgnorePatterns ignore;
    QStringList kinds; // HWCChecksumKinds names its records were checked with
    QList<Entry> checked;
    QList<Entry> added;
    QList<Entry> missing; // with the digest expected, for renames
    // Once written: for the history that references it.
    QString name;
    QString c4;
    HWCASCMHLDirectoryHashes::Folder rootHash;
};

namespace {

constexpr qint64 kReadSize = 1 << 20;

QString trimmed(const QString &path)
{
    QString folder = path;
    while (folder.startsWith(QLatin1Char('/')))
        folder.remove(0, 1);
    while (folder.endsWith(QLatin1Char('/')))
        folder.chop(1);
    return folder;
}

// Whether path lies in folder ("" holds everything).
bool isBelow(const QString &path, const QString &folder)
{
    return folder.isEmpty() || path.startsWith(folder + QLatin1Char('/'));
}

QString key(const QString &folder, const QString &path)
{
    return trimmed(folder) + QLatin1Char('\0') + trimmed(path);
}

int depth(const QString &folder)
{
    return folder.isEmpty() ? 0 : int(folder.count(QLatin1Char('/'))) + 1;
}

// A write-protected card, or a folder this user may not write to.
bool cannotBeWritten(const QString &root)
{
    const QString history = QFileInfo::exists(root + QStringLiteral("/ascmhl"))
                                ? root + QStringLiteral("/ascmhl")
                                : root;
    struct statvfs volume {};
    const QByteArray path = QFile::encodeName(history);
    return access(path.constData(), W_OK) != 0 ||
           (statvfs(path.constData(), &volume) == 0 && (volume.f_flag & ST_RDONLY) != 0);
}

} // namespace

HWCASCMHLSeal::HWCASCMHLSeal(const QString &source, const HWCASCMHLSettings &settings,
                             bool detectRenames)
    : m_source(source), m_settings(settings), m_detectRenames(detectRenames),
      m_created(QDateTime::currentDateTime())
{
}

HWCASCMHLSeal::~HWCASCMHLSeal() = default;

void HWCASCMHLSeal::addHistory(const QString &relativeFolder, const QStringList &ignorePatterns)
{
    const QString folder = trimmed(relativeFolder);
    History history;
    history.folder = folder;
    history.root = folder.isEmpty() ? m_source : hwc_appendingPathComponent(m_source, folder);
    history.ignorePatterns = HWCASCMHLNewGeneration::defaultIgnorePatterns();
    for (const QString &pattern : ignorePatterns + m_settings.ignorePatterns) {
        if (!history.ignorePatterns.contains(pattern))
            history.ignorePatterns.append(pattern);
    }
    history.ignore = HWCIgnorePatterns(history.ignorePatterns);
    m_histories.append(history);
}

HWCASCMHLSeal::History *HWCASCMHLSeal::historyFor(const QString &relativePath)
{
    History *deepest = nullptr;
    for (History &history : m_histories) {
        if (isBelow(relativePath, history.folder) && history.folder != relativePath &&
            (!deepest || depth(history.folder) > depth(deepest->folder)))
            deepest = &history;
    }
    return deepest;
}

void HWCASCMHLSeal::addRecord(const HWCVerifiedFile &record)
{
    const QString folder = trimmed(record.rootPath());
    auto history = std::find_if(m_histories.begin(), m_histories.end(),
                                [&](const History &h) { return h.folder == folder; });
    const HWCVerifiedFile::Detail &detail = record.detail();
    const QString element = HWCASCMHLDigests::elementForKind(detail.digestKind);
    if (history == m_histories.end() || element.isEmpty())
        return;
    const QString path = trimmed(record.relativePath());
    const HWCFileState state = record.verifiedFileState();
    if (state == HWCFileState::MissingFile) {
        history->missing.append({path, {{element, detail.expected, {}}}, {}, {}});
        return;
    }
    const bool verified = state == HWCFileState::ReadSuccessfully;
    if ((!verified && state != HWCFileState::HashFail) || detail.actual.isEmpty())
        return;
    QList<CheckedDigest> digests = m_digests.take(key(record.rootPath(), record.relativePath()));
    if (digests.isEmpty())
        digests.append({detail.digestKind, detail.actual, verified});
    Entry entry{path, {}, {}, {}};
    for (const CheckedDigest &digest : std::as_const(digests)) {
        entry.digests.append({HWCASCMHLDigests::elementForKind(digest.kind), digest.actual,
                              digest.matches ? "verified" : "failed"});
        if (!history->kinds.contains(digest.kind))
            history->kinds.append(digest.kind);
    }
    history->checked.append(entry);
}

void HWCASCMHLSeal::addDigests(const QString &relativeFolder, const QString &relativePath,
                               const QList<CheckedDigest> &digests)
{
    m_digests.insert(key(relativeFolder, relativePath), digests);
}

void HWCASCMHLSeal::addNewFile(const QString &relativePath)
{
    const QString path = trimmed(relativePath);
    History *history = historyFor(path);
    const QString inHistory =
        !history || history->folder.isEmpty() ? path : path.mid(history->folder.size() + 1);
    if (history && !history->ignore.matches(inHistory))
        history->added.append({inHistory, {}, {}, relativePath});
}

void HWCASCMHLSeal::hashNewFile(History &history, Entry &entry) const
{
    const QStringList kinds =
        history.kinds.isEmpty() ? QStringList{QStringLiteral("xxh128")} : history.kinds;
    std::vector<std::unique_ptr<HWCChecksum>> members;
    for (const QString &kind : kinds)
        members.push_back(HWCChecksumKinds::make(kind.toStdString()));
    HWCChecksumGroup group(std::move(members));
    group.reset();
    QFile file(hwc_appendingPathComponent(history.root, entry.path));
    if (!file.open(QIODevice::ReadOnly)) {
        HWCLogError(
            QStringLiteral("Can't open file %1: %2").arg(file.fileName(), file.errorString()));
        return;
    }
    while (!file.atEnd()) {
        const QByteArray block = file.read(kReadSize);
        if (block.isEmpty() && file.error() != QFileDevice::NoError) {
            HWCLogError(
                QStringLiteral("Can't read file %1: %2").arg(file.fileName(), file.errorString()));
            return;
        }
        group.updateWithBytes(block.constData(), quint64(block.size()));
    }
    for (const std::unique_ptr<HWCChecksum> &member : group.members())
        entry.digests.append({HWCASCMHLDigests::elementForKind(member->name()),
                              member->digestText(), QStringLiteral("original")});
    if (!m_detectRenames)
        return;
    for (qsizetype i = 0; i < history.missing.size(); ++i) {
        const HWCASCMHLManifest::Digest &expected = history.missing[i].digests.first();
        for (const HWCASCMHLManifest::Digest &digest : std::as_const(entry.digests)) {
            if (digest.element == expected.element && digest.text == expected.text) {
                entry.previousPath = history.missing.takeAt(i).path;
                return;
            }
        }
    }
}

void HWCASCMHLSeal::fill(History &history, HWCASCMHLManifest &manifest,
                         HWCASCMHLDirectoryHashes *folders)
{
    for (Entry &entry : history.added)
        hashNewFile(history, entry);
    for (const QList<Entry> *entries : {&history.checked, &history.added}) {
        for (const Entry &entry : *entries) {
            if (entry.digests.isEmpty())
                continue;
            const QFileInfo info(hwc_appendingPathComponent(history.root, entry.path));
            manifest.addFile(entry.path, quint64(info.size()), info.lastModified(), entry.digests,
                             m_created, entry.previousPath);
            HWCASCMHLDirectoryHashes::Values values;
            for (const HWCASCMHLManifest::Digest &digest : entry.digests)
                values.insert(digest.element, digest.text);
            if (folders)
                folders->addFile(entry.path, values);
        }
    }
    // The nested histories directly below, written before this one.
    for (const History &nested : std::as_const(m_histories)) {
        if (nested.c4.isEmpty() || historyFor(nested.folder) != &history)
            continue;
        const QString folder =
            history.folder.isEmpty() ? nested.folder : nested.folder.mid(history.folder.size() + 1);
        manifest.addReference(folder + QStringLiteral("/ascmhl/") + nested.name, nested.c4);
        if (folders)
            folders->addFolder(folder, nested.rootHash.content, nested.rootHash.structure);
    }
}

HWCASCMHLSeal::Outcome HWCASCMHLSeal::writeHistory(History &history)
{
    Outcome outcome{history.root, {}, {}, false, {}, {}};
    HWCASCMHLHistoryWriter writer(history.root);
    HWCASCMHLManifest manifest(QStringLiteral("in-place"), m_created, m_settings);
    manifest.setIgnorePatterns(history.ignorePatterns);
    std::unique_ptr<HWCASCMHLDirectoryHashes> folders;
    if (m_settings.directoryHashes) {
        QStringList elements;
        for (const QString &kind : HWCASCMHLDigests::inElementOrder(
                 history.kinds.isEmpty() ? QStringList{QStringLiteral("xxh128")} : history.kinds))
            elements.append(HWCASCMHLDigests::elementForKind(kind));
        folders = std::make_unique<HWCASCMHLDirectoryHashes>(elements);
    }
    if (writer.open()) {
        fill(history, manifest, folders.get());
        if (folders) {
            folders->addFoldersUnder(history.root, history.ignore);
            const QList<HWCASCMHLDirectoryHashes::Folder> hashes = folders->folders();
            manifest.addDirectoryHashes(hashes, history.root, m_created);
            history.rootHash =
                hashes.isEmpty() ? HWCASCMHLDirectoryHashes::Folder{} : hashes.last();
        }
        const QByteArray bytes = manifest.bytes();
        if (writer.append(bytes, m_created)) {
            HWCChecksumC4 c4;
            c4.reset();
            c4.updateWithBytes(bytes.constData(), quint64(bytes.size()));
            history.c4 = c4.identifier();
            history.name = hwc_lastPathComponent(writer.path());
        }
    }
    outcome.path = writer.path();
    outcome.error = writer.error();
    outcome.syncError = writer.syncError();
    outcome.readOnly = !outcome.error.isNull() && cannotBeWritten(history.root);
    if (!history.name.isEmpty()) {
        for (const Entry &entry : std::as_const(history.added)) {
            if (!entry.digests.isEmpty())
                outcome.added.append(entry.given);
        }
    }
    return outcome;
}

void HWCASCMHLSeal::inheritIgnorePatterns()
{
    // Shallowest first, so that each history has its parent's inherited patterns to pass on.
    std::stable_sort(
        m_histories.begin(), m_histories.end(),
        [](const History &a, const History &b) { return depth(a.folder) < depth(b.folder); });
    for (History &history : m_histories) {
        const History *parent = historyFor(history.folder);
        if (!parent)
            continue;
        for (const QString &pattern : parent->ignorePatterns) {
            if (!history.ignorePatterns.contains(pattern))
                history.ignorePatterns.append(pattern);
        }
        history.ignore = HWCIgnorePatterns(history.ignorePatterns);
        history.added.removeIf(
            [&](const Entry &entry) { return history.ignore.matches(entry.path); });
    }
}

QList<HWCASCMHLSeal::Outcome> HWCASCMHLSeal::write()
{
    inheritIgnorePatterns();
    std::stable_sort(
        m_histories.begin(), m_histories.end(),
        [](const History &a, const History &b) { return depth(a.folder) > depth(b.folder); });
    QList<Outcome> outcomes;
    for (History &history : m_histories)
        outcomes.append(writeHistory(history));
    return outcomes;
}
