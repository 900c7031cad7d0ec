#include "Classes/HWCMediaHashList.h"

#include "Categories/HWCPathAdditions.h"
#include "Categories/HWCStringAdditions.h"
#include "Categories/HWCXMLElementAdditions.h"

#include <QFile>
#include <cstdlib>

namespace {

// pugixml accepts several top-level elements; a well-formed document has exactly one.
bool hasSingleRootElement(const pugi::xml_document &document)
{
    int elements = 0;
    for (pugi::xml_node child = document.first_child(); child; child = child.next_sibling())
        elements += child.type() == pugi::node_element ? 1 : 0;
    return elements == 1;
}

} // namespace

std::unique_ptr<HWCMediaHashList> HWCMediaHashList::initWithContentsOfURL(const QString &path)
{
    if (!hwc_isMediaHashListPath(path))
        return nullptr;
    std::unique_ptr<HWCMediaHashList> list(new HWCMediaHashList);
    auto document = std::make_unique<pugi::xml_document>();
    const QByteArray localPath = QFile::encodeName(path);
    // A document that does not parse is not reported: the list is simply empty. Embedding
    // each element's text in the element saves a node per value: a third of the memory of a
    // large list.
    const pugi::xml_parse_result parsed = document->load_file(
        localPath.constData(),
        pugi::parse_default | pugi::parse_embed_pcdata | pugi::parse_ws_pcdata_single,
        pugi::encoding_auto);
    if (parsed && hasSingleRootElement(*document)) {
        list->m_document = std::move(document);
        list->m_root = hwc_deletingLastPathComponent(path);
    }
    return list;
}

HWCMediaHashList::~HWCMediaHashList() = default;

QString HWCMediaHashList::extension()
{
    return QStringLiteral("mhl");
}

const std::vector<HWCChecksumEntry> &HWCMediaHashList::hashes()
{
    if (!m_hashes) {
        std::vector<HWCChecksumEntry> records;
        if (m_document) {
            const std::vector<pugi::xml_node> elements =
                hwc_childrenWithName(m_document->document_element(), "hash");
            records.reserve(elements.size());
            for (const pugi::xml_node &element : elements)
                records.emplace_back(element);
        }
        m_hashes = std::move(records);
    }
    return *m_hashes;
}

qint64 HWCMediaHashList::fileCount()
{
    return qint64(hashes().size());
}

qint64 HWCMediaHashList::fileSize()
{
    // Summed unsigned so that absurd sizes wrap instead of overflowing a signed integer.
    quint64 total = 0;
    for (const HWCChecksumEntry &record : hashes()) {
        const QString size = record.value("size");
        if (!size.isNull())
            total += quint64(std::strtoll(size.toUtf8().constData(), nullptr, 10));
    }
    return qint64(total);
}

QString HWCMediaHashList::root() const
{
    return m_root;
}

QString HWCMediaHashList::info() const
{
    return m_info;
}

QString HWCMediaHashList::filePath() const
{
    return m_filePath;
}

std::optional<QString> HWCMediaHashList::tool() const
{
    if (!m_document)
        return std::nullopt;
    const std::vector<pugi::xml_node> creators =
        hwc_childrenWithName(m_document->document_element(), "creatorinfo");
    if (creators.empty())
        return std::nullopt;
    const std::vector<pugi::xml_node> tools = hwc_childrenWithName(creators.back(), "tool");
    if (tools.empty())
        return std::nullopt;
    return QString::fromStdString(hwc_fullTextContent(tools.back()));
}

bool HWCMediaHashList::hasDocument() const
{
    return bool(m_document);
}
