#pragma once

#include <QHash>
#include <QString>
#include <map>
#include <memory>
#include <pugixml.hpp>
#include <set>
#include <string>
#include <vector>

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

    // The entries in the order their paths first appeared, as the root's `hash` children in
    // the shape of an MHL 1.1 list: `file`, `size`, and one element per digest kind named as
    // HWCChecksumKinds names it (a manifest's xxh64 becomes xxhash64be), then `unknown`
    // naming the digest kinds the program does not know. A file whose digests were all
    // marked "failed" has no digest element at all.
    std::unique_ptr<pugi::xml_document> document() const;

private:
    struct File {
        std::string path;
        std::string size;
        std::map<std::string, std::string> digests; // kind name to expected value
        std::set<std::string> unknownKinds;         // element names
    };

    File &fileForPath(const std::string &path, const std::string &previousPath);
    // Moves the entries inside each renamed folder of one generation, the deepest match first.
    void renameFolders(pugi::xml_node hashes);
    void addHash(pugi::xml_node hash, const QString &manifestName);

    std::vector<File> m_files;
    QHash<QString, size_t> m_indexByPath;
};
