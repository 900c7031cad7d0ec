#pragma once

#include "engine/mhl/HWCChecksumEntry.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <memory>
#include <utility>
#include <vector>

namespace pugi {
class xml_document;
}

// A new MHL 1.1 list for a folder: its declaration, product notes and creator information
// from when it was made, then one record per file added. Used by one thread at a time.
class HWCMHLWriter {
public:
    // A digest of a file: its kind's element name and its text (HWCChecksum::digestText()).
    using Digest = std::pair<QString, QString>;

    // info may be null (written as an empty element).
    HWCMHLWriter(const QString &rootPath, const QString &info);
    ~HWCMHLWriter();

    // Adds the record of one file. path is the file's absolute path as file-system bytes
    // (any name a folder holds, valid UTF-8 or not) below the root; the record names it by
    // what follows the root. The digests follow in their order.
    void addHashForFile(const QByteArray &path, quint64 size, const QDateTime &modificationDate,
                        const QList<Digest> &digests, const QDateTime &hashdate);

    // The records added, as the list states them.
    std::shared_ptr<const std::vector<HWCChecksumEntry>> records() const { return m_records; }

    // Writes "Hashwarden Media Hash List - <date>.mhl" into directory, atomically and
    // synced to the medium, with permissions 0666. Failures are logged; success shows as
    // filePath() being set. Nothing partial is ever left under the list's name, and nothing
    // already there is replaced: a list of the same second is kept and this one takes the
    // next free name ("... (2).mhl"); anything but a regular file or a symbolic link at the
    // name makes the write fail.
    void writeToPath(const QString &directory);

    QString root() const { return m_root; }
    QString filePath() const { return m_filePath; } // set once writeToPath() succeeded
    // Why the last writeToPath() failed ("<path>: <system error>"); null when it did not.
    QString writeError() const { return m_writeError; }
    // Why the folder of the list written could not be synced (the list is complete at
    // filePath()); null when it was, or when nothing was written.
    QString syncError() const { return m_syncError; }

private:
    void addDeclaration();
    void addProductNotes();
    void addCreatorInfo();
    // Appends the records added since the last write to the document.
    void appendRecords();
    void failWrite(const QString &path, const QString &reason);

    QString m_root;
    QString m_filePath;
    QString m_info;
    QString m_writeError;
    QString m_syncError;
    std::unique_ptr<pugi::xml_document> m_document;
    std::shared_ptr<std::vector<HWCChecksumEntry>> m_records;
    size_t m_recordsInDocument = 0;
};
