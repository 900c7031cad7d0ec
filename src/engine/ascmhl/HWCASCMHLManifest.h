#pragma once

#include "engine/ascmhl/HWCASCMHLDirectoryHashes.h"
#include "engine/ascmhl/HWCASCMHLSettings.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <memory>
#include <pugixml.hpp>

// One ASC MHL manifest being built, in the element order of the standard's schema:
// `creatorinfo`, `processinfo` (process, root hash, ignore patterns), `hashes`, `references`.
// One thread at a time.
class HWCASCMHLManifest {
public:
    // One digest of a file: its element (HWCASCMHLDigests), its text and what the generation
    // did with it ("original", "verified" or "failed").
    struct Digest {
        QString element;
        QString text;
        QString action;
        QString hashdate{}; // as another manifest records it; empty: the date addFile() is given
    };

    // process: "in-place", "transfer" or "flatten"; created: the generation's time stamp.
    HWCASCMHLManifest(const QString &process, const QDateTime &created,
                      const HWCASCMHLSettings &settings);
    ~HWCASCMHLManifest();

    void setIgnorePatterns(const QStringList &patterns);
    void setRootHash(const HWCASCMHLDirectoryHashes::Folder &root, const QDateTime &hashdate);
    // A file; digests in any order. previousPath: where the last generation had it, or "".
    void addFile(const QString &path, quint64 size, const QDateTime &modified,
                 QList<Digest> digests, const QDateTime &hashdate,
                 const QString &previousPath = QString());
    void addFolder(const HWCASCMHLDirectoryHashes::Folder &folder, const QDateTime &modified,
                   const QDateTime &hashdate);
    // The root hash and a `directoryhash` for every other folder of folders (as
    // HWCASCMHLDirectoryHashes::folders() gives them, paths below root); a folder without
    // hashes is left out.
    void addDirectoryHashes(const QList<HWCASCMHLDirectoryHashes::Folder> &folders,
                            const QString &root, const QDateTime &hashdate);
    // A nested history's generation: its path from this manifest's root and its C4 ID.
    void addReference(const QString &path, const QString &c4);

    // Whether it lists any file, folder or reference.
    bool isEmpty() const;

    // The document as UTF-8 text with an XML declaration.
    QByteArray bytes() const;

    // The date text the manifest holds for date: ISO 8601 with the offset from UTC.
    static QString dateText(const QDateTime &date);

private:
    pugi::xml_node hashes();
    void appendHashes(pugi::xml_node parent, const HWCASCMHLDirectoryHashes::Values &values,
                      const QDateTime &hashdate);

    std::unique_ptr<pugi::xml_document> m_document;
    pugi::xml_node m_root;
    pugi::xml_node m_process;
    pugi::xml_node m_hashes;
    pugi::xml_node m_references;
};
