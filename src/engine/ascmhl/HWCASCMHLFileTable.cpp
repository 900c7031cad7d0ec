#include "engine/ascmhl/HWCASCMHLFileTable.h"

#include "engine/digests/HWCChecksumXXHash64.h"
#include "engine/mhl/HWCXMLElementAdditions.h"
#include "engine/session/HWCLog.h"

#include <algorithm>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <utility>

namespace {

// The digest elements of a manifest and the kinds they name here.
constexpr std::pair<std::string_view, std::string_view> kDigestElements[] = {
    {"md5", "md5"},   {"sha1", "sha1"},     {"c4", "c4"},
    {"xxh3", "xxh3"}, {"xxh128", "xxh128"}, {"xxh64", HWCChecksumXXHash64::kBigEndianName},
};

std::string_view kindForElement(std::string_view element)
{
    for (const auto &[name, kind] : kDigestElements) {
        if (name == element)
            return kind;
    }
    return {};
}

// Children of a `hash` that are not digests.
bool isDescriptive(std::string_view element)
{
    return element == "path" || element == "previousPath" || element == "metadata";
}

QByteArray textOf(pugi::xml_node element)
{
    return QByteArray::fromStdString(hwc_fullTextContent(element));
}

QByteArray pathOf(const HWCChecksumEntry &file)
{
    return file.text(HWCChecksumEntry::Field::File).toByteArray();
}

} // namespace

void HWCASCMHLFileTable::addGeneration(pugi::xml_node hashlist, const QString &manifestName)
{
    for (const pugi::xml_node &hashes : hwc_childrenWithLocalName(hashlist, "hashes")) {
        // The folders first: the generation lists what they hold under their new paths.
        renameFolders(hashes);
        for (const pugi::xml_node &hash : hwc_childrenWithLocalName(hashes, "hash"))
            addHash(hash, manifestName);
    }
}

void HWCASCMHLFileTable::renameFolders(pugi::xml_node hashes)
{
    std::vector<std::pair<QByteArray, QByteArray>> renames; // previous and new path, with "/"
    for (const pugi::xml_node &folder : hwc_childrenWithLocalName(hashes, "directoryhash")) {
        const std::vector<pugi::xml_node> previous =
            hwc_childrenWithLocalName(folder, "previousPath");
        const std::vector<pugi::xml_node> paths = hwc_childrenWithLocalName(folder, "path");
        if (!previous.empty() && !paths.empty())
            renames.emplace_back(textOf(previous.back()) + '/', textOf(paths.back()) + '/');
    }
    if (renames.empty())
        return;
    std::sort(renames.begin(), renames.end(),
              [](const auto &a, const auto &b) { return a.first.size() > b.first.size(); });
    for (size_t index = 0; index < m_files.size(); ++index) {
        HWCChecksumEntry &file = m_files[index];
        const QByteArray current = pathOf(file);
        for (const auto &[previous, path] : renames) {
            if (!current.startsWith(previous))
                continue;
            m_indexByPath.remove(QString::fromUtf8(current));
            file.set(HWCChecksumEntry::Field::File, path + current.mid(previous.size()));
            m_indexByPath.insert(QString::fromUtf8(pathOf(file)), index);
            break;
        }
    }
}

HWCChecksumEntry &HWCASCMHLFileTable::fileForPath(const QByteArray &path,
                                                  const QByteArray &previousPath)
{
    const QString key = QString::fromUtf8(path);
    if (const auto found = m_indexByPath.constFind(key); found != m_indexByPath.constEnd())
        return m_files[*found];
    const QString previous = QString::fromUtf8(previousPath);
    if (!previousPath.isEmpty() && m_indexByPath.contains(previous)) {
        const size_t index = m_indexByPath.take(previous);
        m_indexByPath.insert(key, index);
        m_files[index].set(HWCChecksumEntry::Field::File, path);
        return m_files[index];
    }
    m_indexByPath.insert(key, m_files.size());
    m_files.emplace_back().set(HWCChecksumEntry::Field::File, path);
    return m_files.back();
}

void HWCASCMHLFileTable::addHash(pugi::xml_node hash, const QString &manifestName)
{
    const std::vector<pugi::xml_node> paths = hwc_childrenWithLocalName(hash, "path");
    const std::vector<pugi::xml_node> previous = hwc_childrenWithLocalName(hash, "previousPath");
    if (paths.empty()) {
        HWCLogWarning(QStringLiteral("%1: a hash without a path is skipped").arg(manifestName));
        return;
    }
    HWCChecksumEntry &file = fileForPath(textOf(paths.back()),
                                         previous.empty() ? QByteArray() : textOf(previous.back()));
    // An empty size leaves the file without one, as a list that states none.
    if (const pugi::xml_attribute size = paths.back().attribute("size"); size && *size.value())
        file.set(HWCChecksumEntry::Field::Size, QByteArrayView(size.value()));
    else if (size)
        file.clear(HWCChecksumEntry::Field::Size);
    for (pugi::xml_node child = hash.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element || isDescriptive(hwc_localName(child)))
            continue;
        const std::string_view kind = kindForElement(hwc_localName(child));
        if (kind.empty()) {
            HWCLogWarning(QStringLiteral("%1: %2 has a digest of an unknown kind (%3)")
                              .arg(manifestName, file.fileText(), QString::fromUtf8(child.name())));
            file.addUnknownKind(QByteArrayView(child.name()));
            continue;
        }
        if (std::string_view(child.attribute("action").value()) != "failed")
            file.setDigest(QByteArrayView(kind.data(), qsizetype(kind.size())), textOf(child));
    }
}
