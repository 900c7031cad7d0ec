#include "engine/ascmhl/HWCASCMHLFlattener.h"

#include "engine/ascmhl/HWCASCMHLDigests.h"
#include "engine/ascmhl/HWCASCMHLGenerationSummary.h"
#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/mhl/HWCXMLElementAdditions.h"

#include <QDir>
#include <QFile>

namespace {

QString text(pugi::xml_node node)
{
    return QString::fromStdString(hwc_fullTextContent(node)).trimmed();
}

QString joined(const QString &prefix, const QString &path)
{
    return prefix.isEmpty() ? path : prefix + QLatin1Char('/') + path;
}

} // namespace

HWCASCMHLFlattener::HWCASCMHLFlattener(const QString &root, const HWCASCMHLSettings &settings)
    : m_root(root), m_settings(settings)
{
}

bool HWCASCMHLFlattener::read()
{
    return readHistory(QString());
}

bool HWCASCMHLFlattener::readHistory(const QString &folder)
{
    const QString historyFolder =
        hwc_appendingPathComponent(joined(m_root, folder), QStringLiteral("ascmhl"));
    const HWCASCMHLHistory history(historyFolder);
    QString problem = history.problem();
    if (problem.isEmpty() && !history.manifestRecords().isEmpty())
        problem = QStringLiteral("%1 fails its check")
                      .arg(history.manifestRecords().first().relativePath);
    if (!problem.isEmpty()) {
        m_error = QStringLiteral("%1: %2").arg(historyFolder, problem);
        return false;
    }
    for (const QString &pattern : history.ignorePatterns()) {
        if (!m_ignorePatterns.contains(pattern))
            m_ignorePatterns.append(pattern);
    }
    QStringList nested;
    for (const QString &name : HWCASCMHLGenerationSummary::generationNames(historyFolder)) {
        pugi::xml_document manifest;
        if (!manifest.load_file(
                QFile::encodeName(historyFolder + QLatin1Char('/') + name).constData()))
            continue; // the history's own check above has named it
        const pugi::xml_node hashlist = manifest.document_element();
        for (const pugi::xml_node &hashes : hwc_childrenWithLocalName(hashlist, "hashes")) {
            for (const pugi::xml_node &hash : hwc_childrenWithLocalName(hashes, "hash"))
                addHash(hash, folder);
        }
        for (const pugi::xml_node &references : hwc_childrenWithLocalName(hashlist, "references")) {
            for (const pugi::xml_node &reference :
                 hwc_childrenWithLocalName(references, "hashlistreference")) {
                // "<folder>/ascmhl/<generation>": the nested history's root is two levels up.
                const QString root = hwc_deletingLastPathComponent(hwc_deletingLastPathComponent(
                    text(hwc_childrenWithLocalName(reference, "path").front())));
                if (!nested.contains(root))
                    nested.append(root);
            }
        }
    }
    for (const QString &child : std::as_const(nested)) {
        if (!readHistory(joined(folder, child)))
            return false;
    }
    return true;
}

void HWCASCMHLFlattener::addHash(pugi::xml_node hash, const QString &prefix)
{
    const std::vector<pugi::xml_node> paths = hwc_childrenWithLocalName(hash, "path");
    if (paths.empty())
        return;
    const QString path = joined(prefix, text(paths.front()));
    const std::vector<pugi::xml_node> previous = hwc_childrenWithLocalName(hash, "previousPath");
    const QString previousPath =
        previous.empty() ? QString() : joined(prefix, text(previous.front()));
    qsizetype index = m_indexByPath.value(path, -1);
    // A renamed file keeps what was recorded under its old name.
    if (index < 0 && !previousPath.isEmpty() && m_indexByPath.contains(previousPath)) {
        index = m_indexByPath.take(previousPath);
        m_files[index].path = path;
        m_files[index].previousPath = previousPath;
        m_indexByPath.insert(path, index);
    }
    // The size and date that go with the earliest digests.
    if (index < 0) {
        index = m_files.size();
        m_files.append({path,
                        previousPath,
                        paths.front().attribute("size").as_ullong(),
                        QString::fromUtf8(paths.front().attribute("lastmodificationdate").value()),
                        {}});
        m_indexByPath.insert(path, index);
    }
    File &file = m_files[index];
    for (const pugi::xml_node &digest : hash.children()) {
        const QString element = QString::fromStdString(std::string(hwc_localName(digest)));
        const QString action = QString::fromUtf8(digest.attribute("action").value());
        if (!HWCASCMHLDigests::elements().contains(element) || action == QLatin1String("failed"))
            continue;
        bool known = false;
        for (const HWCASCMHLManifest::Digest &kept : std::as_const(file.digests))
            known = known || kept.element == element;
        // The earliest of each kind is kept.
        if (!known)
            file.digests.append({element, text(digest),
                                 action.isEmpty() ? QStringLiteral("original") : action,
                                 QString::fromUtf8(digest.attribute("hashdate").value())});
    }
}

QByteArray HWCASCMHLFlattener::bytes() const
{
    HWCASCMHLManifest manifest(QStringLiteral("flatten"), QDateTime::currentDateTime(), m_settings);
    manifest.setIgnorePatterns(m_ignorePatterns);
    for (const File &file : m_files) {
        if (file.digests.isEmpty())
            continue;
        manifest.addFile(file.path, file.size, QDateTime::fromString(file.modified, Qt::ISODate),
                         file.digests, QDateTime::currentDateTime(), file.previousPath);
    }
    return manifest.bytes();
}
