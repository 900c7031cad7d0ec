#include "engine/ascmhl/HWCASCMHLDirectoryHashes.h"

#include "engine/ascmhl/HWCASCMHLDigests.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

struct HWCASCMHLDirectoryHashes::Node {
    bool isFile = false;
    bool known = false; // a folder whose hashes were given
    Values content;
    Values structure;
    std::map<QString, Node> children;
};

namespace {

// Appendix G: the sorted texts' bytes, one after another, hashed.
QString hashOfHashes(const QString &element, QStringList texts)
{
    std::sort(texts.begin(), texts.end());
    QByteArray bytes;
    for (const QString &text : texts)
        bytes += HWCASCMHLDigests::bytesForText(element, text);
    return HWCASCMHLDigests::digestOf(element, bytes);
}

} // namespace

HWCASCMHLDirectoryHashes::HWCASCMHLDirectoryHashes(const QStringList &elements)
    : m_elements(elements), m_root(std::make_unique<Node>())
{
}

HWCASCMHLDirectoryHashes::~HWCASCMHLDirectoryHashes() = default;

HWCASCMHLDirectoryHashes::Node &HWCASCMHLDirectoryHashes::nodeFor(const QString &relativePath)
{
    Node *node = m_root.get();
    for (const QString &name : relativePath.split(QLatin1Char('/'), Qt::SkipEmptyParts))
        node = &node->children[name];
    return *node;
}

void HWCASCMHLDirectoryHashes::addFile(const QString &relativePath, const Values &digests)
{
    Node &node = nodeFor(relativePath);
    node.isFile = true;
    node.content = digests;
}

void HWCASCMHLDirectoryHashes::addFoldersUnder(const QString &root, const HWCIgnorePatterns &ignore)
{
    addFolders(root, QString(), ignore);
}

void HWCASCMHLDirectoryHashes::addFolders(const QString &root, const QString &folder,
                                          const HWCIgnorePatterns &ignore)
{
    const QString path = folder.isEmpty() ? root : root + QLatin1Char('/') + folder;
    const QStringList names =
        QDir(path).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden | QDir::NoSymLinks);
    for (const QString &name : names) {
        const QString child = folder.isEmpty() ? name : folder + QLatin1Char('/') + name;
        // "child/" asks about the folder itself, as a file below it would.
        if (ignore.matches(child + QLatin1Char('/')) ||
            QFileInfo::exists(root + QLatin1Char('/') + child + QStringLiteral("/ascmhl")))
            continue;
        nodeFor(child);
        addFolders(root, child, ignore);
    }
}

void HWCASCMHLDirectoryHashes::addFolder(const QString &relativePath, const Values &content,
                                         const Values &structure)
{
    Node &node = nodeFor(relativePath);
    node.known = true;
    node.content = content;
    node.structure = structure;
}

QList<HWCASCMHLDirectoryHashes::Folder> HWCASCMHLDirectoryHashes::folders()
{
    QList<Folder> folders;
    compute(*m_root, QString(), folders);
    return folders;
}

void HWCASCMHLDirectoryHashes::compute(Node &node, const QString &path, QList<Folder> &folders)
{
    QMap<QString, QStringList> contents;
    QMap<QString, QStringList> structures;
    QStringList lacking;
    for (auto &[name, child] : node.children) {
        const QString childPath = path.isEmpty() ? name : path + QLatin1Char('/') + name;
        if (!child.isFile && !child.known)
            compute(child, childPath, folders);
        const QByteArray nameBytes = name.toUtf8();
        for (const QString &element : m_elements) {
            const QString content = child.content.value(element);
            const QString ownHash = child.isFile ? content : child.structure.value(element);
            if (content.isEmpty() || ownHash.isEmpty()) {
                lacking.append(element);
                continue;
            }
            contents[element].append(content);
            structures[element].append(HWCASCMHLDigests::digestOf(
                element, nameBytes + HWCASCMHLDigests::bytesForText(element, ownHash)));
        }
    }
    Folder folder{path, {}, {}};
    for (const QString &element : m_elements) {
        if (lacking.contains(element))
            continue;
        folder.content.insert(element, hashOfHashes(element, contents.value(element)));
        folder.structure.insert(element, hashOfHashes(element, structures.value(element)));
    }
    node.content = folder.content;
    node.structure = folder.structure;
    folders.append(folder);
}
