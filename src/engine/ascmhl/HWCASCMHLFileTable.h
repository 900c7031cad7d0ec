#pragma once

#include "engine/mhl/HWCChecksumEntry.h"

#include <QHash>
#include <QString>
#include <vector>

namespace pugi {
class xml_node;
}

// The files of an ASC MHL history as its generations record them, folded into one entry per
// path: the newest size, and for each digest kind the newest value recorded as "original" or
// "verified". A value recorded as "failed" documents a mismatch seen before and never becomes
// the expected value. Renames (`previousPath`) carry an entry's values to its new path; a
// renamed folder (`previousPath` of a `directoryhash`) carries those of everything inside.
// One thread at a time.
class HWCASCMHLFileTable {
public:
    // Folds in the `hashes` of one manifest's root element; generations are added oldest
    // first. Logs a warning for digest elements of kinds the program does not know.
    void addGeneration(pugi::xml_node hashlist, const QString &manifestName);

    qsizetype count() const { return qsizetype(m_files.size()); }

    // The entries in the order their paths first appeared: the path as `file` and
    // `fileName`, the `size` attribute of the path, and one digest per kind named as
    // HWCChecksumKinds names it (a manifest's xxh64 becomes xxhash64be); unknownKinds names
    // the digest kinds the program does not know. A file whose digests were all marked
    // "failed" has no digest at all. Taken once.
    std::vector<HWCChecksumEntry> takeRecords() { return std::move(m_files); }

private:
    HWCChecksumEntry &fileForPath(const QByteArray &path, const QByteArray &previousPath);
    // Moves the entries inside each renamed folder of one generation, the deepest match first.
    void renameFolders(pugi::xml_node hashes);
    void addHash(pugi::xml_node hash, const QString &manifestName);

    std::vector<HWCChecksumEntry> m_files;
    QHash<QString, size_t> m_indexByPath; // by the path's text
};
