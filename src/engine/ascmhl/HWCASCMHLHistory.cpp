#include "engine/ascmhl/HWCASCMHLHistory.h"

#include "engine/ascmhl/HWCASCMHLFileTable.h"
#include "engine/digests/HWCChecksumC4.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/files/HWIFileHandleAdditions.h"
#include "engine/mhl/HWCXMLElementAdditions.h"
#include "engine/session/HWCLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <pugixml.hpp>
#include <string_view>

namespace {

constexpr std::string_view kManifestNamespace = "urn:ASC:MHL:v2.0";
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;

// The whole file, read through a descriptor that cannot block on a FIFO or a device.
bool readWhole(const QString &path, QByteArray &bytes, QString &why)
{
    const int fd = hwi_fileRegularReadDescriptorForPath(QFile::encodeName(path).constData(), &why);
    if (fd < 0)
        return false;
    QFile file;
    const bool read = file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    bytes = read ? file.readAll() : QByteArray();
    if (!read || file.error() != QFileDevice::NoError) {
        why = file.errorString();
        return false;
    }
    return true;
}

QString c4Identifier(const QByteArray &bytes)
{
    HWCChecksumC4 c4;
    c4.reset();
    c4.updateWithBytes(bytes.constData(), quint64(bytes.size()));
    return c4.identifier();
}

QString text(pugi::xml_node node)
{
    return QString::fromStdString(hwc_fullTextContent(node)).trimmed();
}

} // namespace

struct HWCASCMHLHistory::Generation {
    int sequence = 0;
    QString name;
    QString chainC4; // empty when the chain does not list it
};

HWCASCMHLHistory::HWCASCMHLHistory(const QString &folder)
    : m_folder(folder), m_root(hwc_deletingLastPathComponent(folder)),
      m_files(std::make_unique<HWCASCMHLFileTable>())
{
    // The chain says which generations make the history; without it a generation and the
    // files it lists could have been altered together unseen.
    if (!QFileInfo::exists(QDir(m_folder).filePath(QString::fromLatin1(kChainFileName)))) {
        m_problem = QStringLiteral("has no chain file (%1)").arg(kChainFileName);
        HWCLogWarning(QStringLiteral("ASC MHL history %1 %2").arg(m_folder, m_problem));
        return;
    }
    QList<Generation> generations = listGenerations();
    const bool chained = readChain(generations);
    checkSequence(generations);
    for (const Generation &generation : generations)
        readGeneration(generation, chained);
    m_generations = int(generations.size());
}

HWCASCMHLHistory::~HWCASCMHLHistory() = default;

QString HWCASCMHLHistory::folderForPath(const QString &path)
{
    const QFileInfo info(path);
    const QString name = QString::fromLatin1(kFolderName);
    if (info.isDir() && info.fileName() == name)
        return info.absoluteFilePath();
    if (info.isFile() && info.absoluteDir().dirName() == name)
        return info.absolutePath();
    const QFileInfo inside(QDir(path).filePath(name));
    return info.isDir() && inside.isDir() ? inside.absoluteFilePath() : QString();
}

QString HWCASCMHLHistory::folderForSource(const QString &path)
{
    const QFileInfo info(QDir::cleanPath(path)); // "ascmhl/" names the folder too
    const bool historyFile = info.isFile() && (info.fileName() == QLatin1String(kChainFileName) ||
                                               info.suffix() == QLatin1String("mhl"));
    const bool standsForHistory =
        (info.isDir() && info.fileName() == QLatin1String(kFolderName)) || historyFile;
    return standsForHistory ? folderForPath(info.filePath()) : QString();
}

std::vector<HWCChecksumEntry> HWCASCMHLHistory::takeRecords()
{
    return m_files->takeRecords();
}

QList<HWCASCMHLHistory::Generation> HWCASCMHLHistory::listGenerations() const
{
    static const QRegularExpression numbered(QStringLiteral("^([0-9]+)_.*\\.mhl$"));
    QList<Generation> generations;
    const QStringList names =
        QDir(m_folder).entryList({QStringLiteral("*.mhl")}, QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        const QRegularExpressionMatch match = numbered.match(name);
        if (match.hasMatch())
            generations.append({match.captured(1).toInt(), name, {}});
    }
    std::stable_sort(
        generations.begin(), generations.end(),
        [](const Generation &a, const Generation &b) { return a.sequence < b.sequence; });
    return generations;
}

bool HWCASCMHLHistory::readChain(QList<Generation> &generations)
{
    const QString chainPath = QDir(m_folder).filePath(QString::fromLatin1(kChainFileName));
    const QString relativeChain = QStringLiteral("%1/%2").arg(kFolderName, kChainFileName);
    QByteArray bytes;
    QString why;
    pugi::xml_document chain;
    if (!readWhole(chainPath, bytes, why) ||
        !chain.load_buffer(bytes.constData(), size_t(bytes.size()), kParseOptions)) {
        fail(relativeChain, HWCFileState::HashFail, quint64(bytes.size()),
             why.isEmpty() ? QStringLiteral("is not well-formed XML") : why);
        return false;
    }
    for (const pugi::xml_node &entry :
         hwc_childrenWithLocalName(chain.document_element(), "hashlist")) {
        const QString name =
            hwc_lastPathComponent(text(hwc_firstChildWithLocalName(entry, "path")));
        auto generation = std::find_if(generations.begin(), generations.end(),
                                       [&](const Generation &g) { return g.name == name; });
        if (generation == generations.end())
            fail(QStringLiteral("%1/%2").arg(kFolderName, name), HWCFileState::MissingFile, 0,
                 QStringLiteral("is named by the chain but is not there"));
        else
            generation->chainC4 = text(hwc_firstChildWithLocalName(entry, "c4"));
    }
    return true;
}

void HWCASCMHLHistory::checkSequence(const QList<Generation> &generations)
{
    int previous = 0;
    for (const Generation &generation : generations) {
        const QString path = QStringLiteral("%1/%2").arg(kFolderName, generation.name);
        if (generation.sequence == previous)
            fail(path, HWCFileState::HashFail, 0,
                 QStringLiteral("repeats generation %1").arg(previous));
        for (int missing = previous + 1; missing < generation.sequence; ++missing)
            fail(QStringLiteral("%1/%2").arg(kFolderName).arg(missing, 4, 10, QLatin1Char('0')),
                 HWCFileState::MissingFile, 0,
                 QStringLiteral("generation %1 is missing").arg(missing));
        previous = generation.sequence;
    }
}

void HWCASCMHLHistory::readGeneration(const Generation &generation, bool chained)
{
    const QString path = QStringLiteral("%1/%2").arg(kFolderName, generation.name);
    QByteArray bytes;
    QString why;
    if (!readWhole(QDir(m_folder).filePath(generation.name), bytes, why)) {
        fail(path, HWCFileState::CantOpenFile, 0, why);
        return;
    }
    const quint64 size = quint64(bytes.size());
    if (chained && generation.chainC4.isEmpty())
        fail(path, HWCFileState::HashFail, size, QStringLiteral("is not listed in the chain"));
    else if (chained && generation.chainC4 != c4Identifier(bytes))
        fail(path, HWCFileState::HashFail, size, QStringLiteral("differs from the chain's C4 ID"));

    pugi::xml_document manifest;
    if (!manifest.load_buffer(bytes.constData(), size_t(bytes.size()), kParseOptions)) {
        fail(path, HWCFileState::HashFail, size, QStringLiteral("is not well-formed XML"));
        return;
    }
    const pugi::xml_node hashlist = manifest.document_element();
    if (hwc_localName(hashlist) != "hashlist" || hwc_namespaceURI(hashlist) != kManifestNamespace ||
        std::string_view(hashlist.attribute("version").value()) != "2.0") {
        fail(path, HWCFileState::HashFail, size, QStringLiteral("is not an ASC MHL 2.0 manifest"));
        return;
    }
    const pugi::xml_node tool =
        hwc_firstChildWithLocalName(hwc_firstChildWithLocalName(hashlist, "creatorinfo"), "tool");
    const QString version = QString::fromUtf8(tool.attribute("version").value());
    const QString toolName = (text(tool) + QLatin1Char(' ') + version).trimmed();
    if (!toolName.isEmpty() && !m_tools.contains(toolName))
        m_tools.append(toolName);
    addIgnorePatterns(hashlist);
    const qsizetype before = m_files->count();
    m_files->addGeneration(hashlist, path);
    if (m_files->count() == before &&
        !hwc_firstChildWithLocalName(hwc_firstChildWithLocalName(hashlist, "hashes"), "hash"))
        HWCLogWarning(QStringLiteral("%1/%2 lists no files").arg(m_root, path));
    checkReferences(hashlist, path);
}

void HWCASCMHLHistory::addIgnorePatterns(pugi::xml_node hashlist)
{
    const pugi::xml_node ignore =
        hwc_firstChildWithLocalName(hwc_firstChildWithLocalName(hashlist, "processinfo"), "ignore");
    for (const pugi::xml_node &pattern : hwc_childrenWithLocalName(ignore, "pattern")) {
        // Untrimmed: in gitignore syntax a leading space is part of the name.
        const QString line = QString::fromStdString(hwc_fullTextContent(pattern));
        if (!m_ignorePatterns.contains(line))
            m_ignorePatterns.append(line);
    }
}

void HWCASCMHLHistory::checkReferences(pugi::xml_node hashlist, const QString &manifestName)
{
    for (const pugi::xml_node &references : hwc_childrenWithLocalName(hashlist, "references")) {
        for (const pugi::xml_node &reference :
             hwc_childrenWithLocalName(references, "hashlistreference")) {
            const QString path = text(hwc_firstChildWithLocalName(reference, "path"));
            if (hwc_climbsOutOfFolder(QFile::encodeName(path))) {
                fail(
                    path, HWCFileState::CantOpenFile, 0,
                    QStringLiteral("is referenced by %1 but leaves the history").arg(manifestName));
                continue;
            }
            const QString fullPath = hwc_appendingPathComponent(m_root, path);
            QByteArray bytes;
            QString why;
            if (!QFileInfo::exists(fullPath))
                fail(path, HWCFileState::MissingFile, 0,
                     QStringLiteral("is referenced by %1 but is not there").arg(manifestName));
            else if (!readWhole(fullPath, bytes, why))
                fail(path, HWCFileState::CantOpenFile, 0, why);
            else if (c4Identifier(bytes) != text(hwc_firstChildWithLocalName(reference, "c4")))
                fail(path, HWCFileState::HashFail, quint64(bytes.size()),
                     QStringLiteral("differs from the C4 ID that %1 records").arg(manifestName));
        }
    }
}

void HWCASCMHLHistory::fail(const QString &relativePath, HWCFileState state, quint64 bytes,
                            const QString &why)
{
    HWCLogWarning(QStringLiteral("ASC MHL history %1: %2 %3").arg(m_root, relativePath, why));
    for (const ManifestRecord &record : m_manifestRecords) {
        if (record.relativePath == relativePath)
            return;
    }
    m_manifestRecords.append({relativePath, state, bytes});
}
