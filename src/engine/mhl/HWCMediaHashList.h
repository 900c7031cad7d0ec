#pragma once

#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/digests/HWCChecksumKinds.h"
#include "engine/mhl/HWCChecksumEntry.h"

#include <QDateTime>
#include <QString>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <span>
#include <utility>
#include <vector>

// One MHL document: read from a file, or built and written for a folder.
// Used by one thread at a time; the record cache is not thread-safe.
class HWCMediaHashList {
public:
    // Reading. Null when path is not an MHL path; a file that does not parse gives a list
    // with no document, no root and no records. An `ascmhl` folder (HWCASCMHLHistory) gives
    // its history's files as records, rooted at the folder's parent; one without its chain
    // gives no document.
    static std::unique_ptr<HWCMediaHashList> initWithContentsOfURL(const QString &path);

    // Writing: a new document for the folder rootPath with its declaration, product notes
    // and creator information. info may be null (written as an empty element).
    HWCMediaHashList(const QString &rootPath, const QString &info);
    ~HWCMediaHashList();

    static QString extension(); // "mhl"

    // Records of the read document, built once and cached; later additions do not appear.
    const std::vector<HWCChecksumEntry> &hashes();
    qint64 fileCount();
    qint64 fileSize(); // sum of each record's `size` read as a signed decimal (else 0)

    QString root() const;
    QString info() const;
    QString filePath() const; // set once writeToPath() succeeded

    // The text of the last `tool` of the last `creatorinfo`; nullopt when there is none.
    std::optional<QString> tool() const;

    bool hasDocument() const;

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

    // Why the list cannot be used to check files, in words that follow its path ("is not
    // well-formed XML (undefined entity at byte 120)", "lists no files"); empty for a usable
    // list. Reading it changes nothing of what the list offers.
    QString problem();

    // A digest of a file: its kind's element name and its text (HWCChecksum::digestText()).
    using Digest = std::pair<QString, QString>;

    // Appends one `hash` element. path is the file's absolute path as file-system bytes
    // (any name a folder holds, valid UTF-8 or not) below the root; the entry names it by
    // what follows the root. The digests follow in their order.
    void addHashForFile(const QByteArray &path, quint64 size, const QDateTime &modificationDate,
                        const QList<Digest> &digests, const QDateTime &hashdate);

    // Writes "Hashwarden Media Hash List - <date>.mhl" into directory, atomically and
    // synced to the medium, with permissions 0666. Failures are logged; success shows as
    // filePath() being set. Nothing partial is ever left under the list's name, and nothing
    // already there is replaced: a list of the same second is kept and this one takes the
    // next free name ("... (2).mhl"); anything but a regular file or a symbolic link at the
    // name makes the write fail.
    void writeToPath(const QString &directory);

    // Why the last writeToPath() failed ("<path>: <system error>"); null when it did not.
    QString writeError() const { return m_writeError; }
    // Why the folder of the list written could not be synced (the list is complete at
    // filePath()); null when it was, or when nothing was written.
    QString syncError() const { return m_syncError; }

private:
    HWCMediaHashList() = default;
    void addDeclaration();
    void addProductNotes();
    void addCreatorInfo();
    void failWrite(const QString &path, const QString &reason);

    QString m_root;
    QString m_filePath;
    QString m_info;
    QString m_writeError;
    QString m_syncError;
    QString m_loadProblem;
    bool m_packingList = false;
    std::unique_ptr<pugi::xml_document> m_document;
    std::unique_ptr<HWCASCMHLHistory> m_history;
    std::optional<std::vector<HWCChecksumEntry>> m_hashes;
};
