#include "engine/ascmhl/HWCASCMHLNewGeneration.h"

#include "engine/ascmhl/HWCASCMHLDigests.h"
#include "engine/ascmhl/HWCASCMHLDirectoryHashes.h"
#include "engine/ascmhl/HWCASCMHLHistory.h"
#include "engine/ascmhl/HWCASCMHLHistoryWriter.h"
#include "engine/ascmhl/HWCASCMHLManifest.h"
#include "engine/digests/HWCChecksumC4.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/mhl/HWCXMLElementAdditions.h"
#include "engine/session/HWCLog.h"

#include <QFile>
#include <QFileInfo>

namespace {

const QString kFolder = QString::fromLatin1(HWCASCMHLHistory::kFolderName);

QString text(pugi::xml_node node)
{
    return QString::fromStdString(hwc_fullTextContent(node)).trimmed();
}

pugi::xml_node firstChild(pugi::xml_node element, std::string_view name)
{
    const std::vector<pugi::xml_node> children = hwc_childrenWithLocalName(element, name);
    return children.empty() ? pugi::xml_node() : children.front();
}

// The file name of the newest generation the chain of historyFolder names; "" when none.
QString latestGeneration(const QString &historyFolder)
{
    pugi::xml_document chain;
    const QString path = hwc_appendingPathComponent(
        historyFolder, QString::fromLatin1(HWCASCMHLHistory::kChainFileName));
    if (!chain.load_file(QFile::encodeName(path).constData()))
        return {};
    int newest = 0;
    QString name;
    for (const pugi::xml_node &entry :
         hwc_childrenWithLocalName(chain.document_element(), "hashlist")) {
        if (entry.attribute("sequencenr").as_int() > newest) {
            newest = entry.attribute("sequencenr").as_int();
            name = hwc_lastPathComponent(text(firstChild(entry, "path")));
        }
    }
    return name;
}

HWCASCMHLDirectoryHashes::Values rootHashes(pugi::xml_node roothash, std::string_view part)
{
    HWCASCMHLDirectoryHashes::Values values;
    for (const pugi::xml_node &hash : firstChild(roothash, part).children()) {
        if (hash.type() == pugi::node_element)
            values.insert(QString::fromStdString(std::string(hwc_localName(hash))), text(hash));
    }
    return values;
}

} // namespace

HWCASCMHLNewGeneration::HWCASCMHLNewGeneration(const QString &root, const QStringList &kinds,
                                               const HWCASCMHLSettings &settings)
    : m_root(root), m_settings(settings), m_created(QDateTime::currentDateTime()),
      m_records(std::make_shared<std::vector<HWCChecksumEntry>>())
{
    for (const QString &kind : HWCASCMHLDigests::inElementOrder(kinds))
        m_elements.append(HWCASCMHLDigests::elementForKind(kind));
    m_patterns = defaultIgnorePatterns();
    for (const QString &pattern : settings.ignorePatterns) {
        if (!m_patterns.contains(pattern))
            m_patterns.append(pattern);
    }
    m_ignore = HWCIgnorePatterns(m_patterns);
    m_writer = std::make_unique<HWCASCMHLHistoryWriter>(root);
    m_manifest =
        std::make_unique<HWCASCMHLManifest>(QStringLiteral("in-place"), m_created, settings);
    if (settings.directoryHashes)
        m_folders = std::make_unique<HWCASCMHLDirectoryHashes>(m_elements);
}

HWCASCMHLNewGeneration::~HWCASCMHLNewGeneration() = default;

QStringList HWCASCMHLNewGeneration::defaultIgnorePatterns()
{
    return {QStringLiteral(".DS_Store"), kFolder, kFolder + QLatin1Char('/')};
}

bool HWCASCMHLNewGeneration::open()
{
    if (!m_writer->open())
        return false;
    if (m_writer->existed() &&
        !latestGeneration(hwc_appendingPathComponent(m_root, kFolder)).isEmpty()) {
        m_refusal = QStringLiteral("%1: already holds an ASC MHL history; verify --seal "
                                   "records a new generation")
                        .arg(m_root);
        return false;
    }
    return true;
}

QString HWCASCMHLNewGeneration::nestedFolderOf(const QString &relativePath)
{
    const QStringList names = relativePath.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    QString folder;
    for (qsizetype i = 0; i + 1 < names.size(); ++i) {
        folder = i == 0 ? names[i] : folder + QLatin1Char('/') + names[i];
        auto known = m_holdsHistory.constFind(folder);
        if (known == m_holdsHistory.constEnd())
            known = m_holdsHistory.insert(
                folder,
                QFileInfo(hwc_appendingPathComponent(
                              m_root, folder + QLatin1Char('/') + kFolder + QLatin1Char('/') +
                                          QLatin1String(HWCASCMHLHistory::kChainFileName)))
                    .isFile());
        if (known.value())
            return folder;
    }
    return {};
}

bool HWCASCMHLNewGeneration::leavesOut(const QString &relativePath)
{
    if (m_ignore.matches(relativePath))
        return true;
    const QString nested = nestedFolderOf(relativePath);
    if (nested.isEmpty())
        return false;
    if (!m_nested.contains(nested))
        m_nested.append(nested);
    return true;
}

void HWCASCMHLNewGeneration::addFile(const QString &relativePath, quint64 size,
                                     const QDateTime &modified, const QList<Digest> &digests)
{
    QList<HWCASCMHLManifest::Digest> entries;
    HWCASCMHLDirectoryHashes::Values values;
    for (const auto &[kind, digest] : digests) {
        const QString element = HWCASCMHLDigests::elementForKind(kind);
        entries.append({element, digest, QStringLiteral("original")});
        values.insert(element, digest);
    }
    m_manifest->addFile(relativePath, size, modified, entries, m_created);
    HWCChecksumEntry record;
    record.set(HWCChecksumEntry::Field::File, relativePath.toUtf8());
    record.set(HWCChecksumEntry::Field::Size, QByteArray::number(size));
    for (const auto &[kind, digest] : digests)
        record.setDigest(kind.toLatin1(), digest.toUtf8());
    m_records->push_back(std::move(record));
    if (m_folders)
        m_folders->addFile(relativePath, values);
    ++m_files;
}

void HWCASCMHLNewGeneration::addNested(HWCASCMHLManifest &manifest, const QString &folder)
{
    const QString history = hwc_appendingPathComponent(m_root, folder + QLatin1Char('/') + kFolder);
    const QString name = latestGeneration(history);
    QFile file(hwc_appendingPathComponent(history, name));
    if (name.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        HWCLogWarning(QStringLiteral("The nested ASC MHL history %1 names no readable "
                                     "generation; it is not referenced")
                          .arg(history));
        return;
    }
    const QByteArray bytes = file.readAll();
    HWCChecksumC4 c4;
    c4.reset();
    c4.updateWithBytes(bytes.constData(), quint64(bytes.size()));
    manifest.addReference(folder + QLatin1Char('/') + kFolder + QLatin1Char('/') + name,
                          c4.identifier());
    pugi::xml_document generation;
    if (!m_folders || !generation.load_buffer(bytes.constData(), size_t(bytes.size())))
        return;
    const pugi::xml_node roothash =
        firstChild(firstChild(generation.document_element(), "processinfo"), "roothash");
    m_folders->addFolder(folder, rootHashes(roothash, "content"),
                         rootHashes(roothash, "structure"));
}

bool HWCASCMHLNewGeneration::write()
{
    for (const QString &folder : m_nested)
        addNested(*m_manifest, folder);
    m_manifest->setIgnorePatterns(m_patterns);
    if (m_folders) {
        m_folders->addFoldersUnder(m_root, m_ignore);
        m_manifest->addDirectoryHashes(m_folders->folders(), m_root, m_created);
    }
    return m_writer->append(m_manifest->bytes(), m_created);
}

QString HWCASCMHLNewGeneration::path() const
{
    return m_writer->path();
}

QString HWCASCMHLNewGeneration::error() const
{
    return m_refusal.isNull() ? m_writer->error() : m_refusal;
}

QString HWCASCMHLNewGeneration::syncError() const
{
    return m_writer->syncError();
}
