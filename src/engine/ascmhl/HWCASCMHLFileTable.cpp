#include "engine/ascmhl/HWCASCMHLFileTable.h"

#include "engine/digests/HWCChecksumXXHash64.h"
#include "engine/mhl/HWCXMLElementAdditions.h"
#include "engine/session/HWCLog.h"

#include <algorithm>
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
    std::vector<std::pair<std::string, std::string>> renames; // previous and new path, with "/"
    for (const pugi::xml_node &folder : hwc_childrenWithLocalName(hashes, "directoryhash")) {
        const std::vector<pugi::xml_node> previous =
            hwc_childrenWithLocalName(folder, "previousPath");
        const std::vector<pugi::xml_node> paths = hwc_childrenWithLocalName(folder, "path");
        if (!previous.empty() && !paths.empty())
            renames.emplace_back(hwc_fullTextContent(previous.back()) + '/',
                                 hwc_fullTextContent(paths.back()) + '/');
    }
    if (renames.empty())
        return;
    std::sort(renames.begin(), renames.end(),
              [](const auto &a, const auto &b) { return a.first.size() > b.first.size(); });
    for (size_t index = 0; index < m_files.size(); ++index) {
        File &file = m_files[index];
        for (const auto &[previous, path] : renames) {
            if (!file.path.starts_with(previous))
                continue;
            m_indexByPath.remove(QString::fromStdString(file.path));
            file.path = path + file.path.substr(previous.size());
            m_indexByPath.insert(QString::fromStdString(file.path), index);
            break;
        }
    }
}

HWCASCMHLFileTable::File &HWCASCMHLFileTable::fileForPath(const std::string &path,
                                                          const std::string &previousPath)
{
    const QString key = QString::fromStdString(path);
    if (const auto found = m_indexByPath.constFind(key); found != m_indexByPath.constEnd())
        return m_files[*found];
    const QString previous = QString::fromStdString(previousPath);
    if (!previousPath.empty() && m_indexByPath.contains(previous)) {
        const size_t index = m_indexByPath.take(previous);
        m_indexByPath.insert(key, index);
        m_files[index].path = path;
        return m_files[index];
    }
    m_indexByPath.insert(key, m_files.size());
    m_files.push_back({path, {}, {}, {}});
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
    File &file =
        fileForPath(hwc_fullTextContent(paths.back()),
                    previous.empty() ? std::string() : hwc_fullTextContent(previous.back()));
    if (const pugi::xml_attribute size = paths.back().attribute("size"))
        file.size = size.value();
    for (pugi::xml_node child = hash.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element || isDescriptive(hwc_localName(child)))
            continue;
        const std::string_view kind = kindForElement(hwc_localName(child));
        if (kind.empty()) {
            HWCLogWarning(QStringLiteral("%1: %2 has a digest of an unknown kind (%3)")
                              .arg(manifestName, QString::fromStdString(file.path),
                                   QString::fromUtf8(child.name())));
            file.unknownKinds.insert(child.name());
            continue;
        }
        if (std::string_view(child.attribute("action").value()) != "failed")
            file.digests[std::string(kind)] = hwc_fullTextContent(child);
    }
}

std::unique_ptr<pugi::xml_document> HWCASCMHLFileTable::document() const
{
    auto document = std::make_unique<pugi::xml_document>();
    pugi::xml_node root = document->append_child("hashlist");
    for (const File &file : m_files) {
        pugi::xml_node hash = root.append_child("hash");
        hash.append_child("file").text().set(file.path.c_str());
        if (!file.size.empty())
            hash.append_child("size").text().set(file.size.c_str());
        for (const auto &[kind, value] : file.digests)
            hash.append_child(kind.c_str()).text().set(value.c_str());
        std::string unknown;
        for (const std::string &kind : file.unknownKinds)
            unknown += (unknown.empty() ? "" : " ") + kind;
        if (!unknown.empty())
            hash.append_child("unknown").text().set(unknown.c_str());
    }
    return document;
}
