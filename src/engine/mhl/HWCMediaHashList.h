#pragma once

#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/mhl/HWCChecksumEntry.h"

#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <span>
#include <vector>

// A list as verification sees it: the records of an MHL 1.1 file (HWCMHLReader) or of an ASC
// MHL history (HWCASCMHLHistory), where their files are, who wrote them and why the list
// cannot be used. Read once; after that any thread may read it.
class HWCMediaHashList {
public:
    // Null when path is not an MHL path; a file that does not parse gives a list that was
    // not read, with no root and no records. An `ascmhl` folder (HWCASCMHLHistory) gives
    // its history's files as records, rooted at the folder's parent; one without its chain
    // is not read.
    static std::unique_ptr<HWCMediaHashList> initWithContentsOfURL(const QString &path);
    ~HWCMediaHashList();

    static QString extension(); // "mhl"

    const std::vector<HWCChecksumEntry> &hashes() const { return m_hashes; }
    qint64 fileCount() const { return qint64(m_hashes.size()); }
    // The sum of the sizes the records state (hwc_listedSize()); others count as 0.
    qint64 fileSize() const;

    QString root() const { return m_root; }

    // The text of the last `tool` of the last `creatorinfo`; nullopt when there is none.
    std::optional<QString> tool() const;

    // The file parsed, or the history could be used; records or not.
    bool wasRead() const { return m_read; }

    // The history read, for a list made from an `ascmhl` folder; null otherwise.
    const HWCASCMHLHistory *history() const { return m_history.get(); }
    // Whether it is an ASC MHL manifest that stands alone (a packing list, a flattened
    // history): its files are read as a history's.
    bool isPackingList() const { return m_packingList; }

    // The tools that wrote the list: tool() for an MHL 1.1 list, each generation's for a
    // history.
    QStringList tools() const;

    // The order in which verification tries the digest kinds of a record.
    std::span<const HWCChecksumKinds::Kind> verificationOrder() const;

    // The digest kinds the records carry, in verificationOrder().
    QStringList digestKinds() const;

    // Why the list cannot be used to check files, in words that follow its path ("is not
    // well-formed XML (undefined entity at byte 120)", "lists no files"); empty for a usable
    // list.
    QString problem() const;

    // Whether the MHL file read is still the same file, of the same size and times, so that
    // what was read from it still holds; false for a history. Any thread.
    bool isUnchangedSinceRead() const;

private:
    // What tells one state of a file from another.
    struct FileIdentity {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 size = 0;
        qint64 modified = 0; // nanoseconds
        qint64 changed = 0;  // nanoseconds, of the inode
        bool operator==(const FileIdentity &other) const = default;
    };
    static std::optional<FileIdentity> identityOf(const QString &path);

    HWCMediaHashList() = default;

    QString m_root;
    QString m_loadProblem;
    bool m_read = false;
    bool m_packingList = false;
    std::optional<QString> m_tool;
    std::unique_ptr<HWCASCMHLHistory> m_history;
    std::vector<HWCChecksumEntry> m_hashes;
    QString m_path;
    std::optional<FileIdentity> m_identity; // taken before the file was read
};
