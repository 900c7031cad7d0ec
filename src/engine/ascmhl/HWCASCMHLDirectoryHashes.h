#pragma once

#include "engine/ascmhl/HWCIgnorePatterns.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <map>
#include <memory>

// The content and structure hashes of every folder of a manifest, as the ASC MHL standard's
// DirectoryHashType and Appendix G define them: a folder's content hash is the hash of its
// children's sorted content hashes, its structure hash that of its children's hashes of
// name and (structure) hash. A folder whose hashes come from elsewhere (a nested history's
// root hash) is not looked into. A kind that a child lacks is left out of every folder
// above it. One thread at a time.
class HWCASCMHLDirectoryHashes {
public:
    using Values = QMap<QString, QString>; // digest element to text

    struct Folder {
        QString path; // relative, "/"-separated; "" for the root
        Values content;
        Values structure;
    };

    // elements: the digest elements to compute (HWCASCMHLDigests::elements() names).
    explicit HWCASCMHLDirectoryHashes(const QStringList &elements);
    ~HWCASCMHLDirectoryHashes();

    // A file at relativePath with its digests by element.
    void addFile(const QString &relativePath, const Values &digests);
    // Every folder under root that ignore does not leave out, so that an empty one counts
    // too; a folder that holds a history of its own is not looked into.
    void addFoldersUnder(const QString &root, const HWCIgnorePatterns &ignore);
    // A folder whose hashes are known (a nested history's root).
    void addFolder(const QString &relativePath, const Values &content, const Values &structure);

    // Every folder that holds a file added, children before their parent, siblings by name,
    // the root last; the folders given by addFolder() are not among them.
    QList<Folder> folders();

private:
    struct Node;

    Node &nodeFor(const QString &relativePath);
    void addFolders(const QString &root, const QString &folder, const HWCIgnorePatterns &ignore);
    void compute(Node &node, const QString &path, QList<Folder> &folders);

    QStringList m_elements;
    std::unique_ptr<Node> m_root;
};
