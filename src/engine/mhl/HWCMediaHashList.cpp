#include "engine/mhl/HWCMediaHashList.h"

#include "engine/ascmhl/HWCASCMHLFileTable.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/files/HWIFileHandleAdditions.h"
#include "engine/mhl/HWCXMLElementAdditions.h"
#include "engine/mhl/HWCXMLTextAdditions.h"
#include "engine/records/HWCStringAdditions.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

// The parser's options. Embedding each element's text in the element saves a node per
// value, a third of the memory of a large list; a value made only of white space (a file
// named " ") is kept.
constexpr unsigned kParseOptions =
    pugi::parse_default | pugi::parse_embed_pcdata | pugi::parse_ws_pcdata_single;

// A buffer from pugixml's allocator, which the document takes over once parsing starts.
struct TextBuffer {
    char *data = nullptr;
    size_t size = 0;

    TextBuffer() = default;
    TextBuffer(const TextBuffer &) = delete;
    TextBuffer &operator=(const TextBuffer &) = delete;
    ~TextBuffer() { pugi::get_memory_deallocation_function()(data); }

    bool allocate(size_t bytes)
    {
        size = bytes;
        data = static_cast<char *>(pugi::get_memory_allocation_function()(bytes ? bytes : 1));
        return data != nullptr;
    }
    char *release() { return std::exchange(data, nullptr); }
};

bool readAll(int fd, TextBuffer &text, size_t size)
{
    if (!text.allocate(size))
        return false;
    size_t done = 0;
    while (done < size) {
        const ssize_t count = read(fd, text.data + done, size - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += size_t(count);
    }
    text.size = done;
    return true;
}

// The text as UTF-8: a list written in UTF-16 or UTF-32 (told by its byte order mark or by
// the zero bytes around its first '<') is converted; anything else is taken as UTF-8.
bool convertToUtf8(TextBuffer &text, QString &problem)
{
    const std::optional<QStringConverter::Encoding> encoding =
        QStringConverter::encodingForData(QByteArrayView(text.data, qsizetype(text.size)), u'<');
    if (!encoding || *encoding == QStringConverter::Utf8)
        return true;
    QStringDecoder decoder(*encoding);
    const QByteArray utf8 =
        QString(decoder(QByteArrayView(text.data, qsizetype(text.size)))).toUtf8();
    if (decoder.hasError()) {
        problem = QStringLiteral("is not well-formed XML (not valid %1)")
                      .arg(QLatin1String(QStringConverter::nameForEncoding(*encoding)));
        return false;
    }
    TextBuffer converted;
    if (!converted.allocate(size_t(utf8.size())))
        return false;
    std::memcpy(converted.data, utf8.constData(), size_t(utf8.size()));
    std::swap(text.data, converted.data);
    text.size = converted.size;
    return true;
}

// The file's text, read through a descriptor that cannot block on a FIFO or a device.
bool readText(const QString &path, TextBuffer &text, QString &problem)
{
    QString why;
    const int fd = hwi_fileRegularReadDescriptorForPath(QFile::encodeName(path).constData(), &why);
    if (fd < 0) {
        problem = QStringLiteral("cannot be opened: %1").arg(why);
        return false;
    }
    struct stat status {};
    const bool read = fstat(fd, &status) == 0 && readAll(fd, text, size_t(status.st_size));
    close(fd);
    if (!read) {
        problem = QStringLiteral("cannot be read");
        return false;
    }
    return convertToUtf8(text, problem);
}

// An ASC MHL 2.0 manifest shares the root element's name and carries version 2.0.
bool isManifestOfLaterFormat(const pugi::xml_document &document)
{
    const pugi::xml_node root = document.document_element();
    return std::string_view(root.name()) == "hashlist" &&
           std::string_view(root.attribute("version").value()).substr(0, 2) == "2.";
}

} // namespace

std::unique_ptr<HWCMediaHashList> HWCMediaHashList::initWithContentsOfURL(const QString &path)
{
    if (hwc_lastPathComponent(path) == QLatin1String(HWCASCMHLHistory::kFolderName) &&
        QFileInfo(path).isDir()) {
        std::unique_ptr<HWCMediaHashList> list(new HWCMediaHashList);
        list->m_history = std::make_unique<HWCASCMHLHistory>(path);
        list->m_root = list->m_history->root();
        // A history that cannot be used has no document, like a list that does not parse.
        list->m_loadProblem = list->m_history->problem();
        if (list->m_loadProblem.isEmpty())
            list->m_document = list->m_history->takeDocument();
        return list;
    }
    if (!hwc_isMediaHashListPath(path))
        return nullptr;
    std::unique_ptr<HWCMediaHashList> list(new HWCMediaHashList);
    // A document that does not parse gives an empty list; the reason is kept for those who
    // report it.
    TextBuffer text;
    if (!readText(path, text, list->m_loadProblem))
        return list;
    const QString textProblem = hwc_xmlTextProblem(std::string_view(text.data, text.size));
    if (!textProblem.isEmpty()) {
        list->m_loadProblem = QStringLiteral("is not well-formed XML (%1)").arg(textProblem);
        return list;
    }
    auto document = std::make_unique<pugi::xml_document>();
    const size_t size = text.size;
    const pugi::xml_parse_result parsed =
        document->load_buffer_inplace_own(text.release(), size, kParseOptions, pugi::encoding_utf8);
    if (!parsed) {
        list->m_loadProblem = QStringLiteral("is not well-formed XML (%1 at byte %2)")
                                  .arg(QLatin1String(parsed.description()))
                                  .arg(parsed.offset);
        return list;
    }
    list->m_packingList = isManifestOfLaterFormat(*document);
    if (list->m_packingList) {
        HWCASCMHLFileTable table;
        table.addGeneration(document->document_element(), hwc_lastPathComponent(path));
        document = table.document();
    }
    list->m_document = std::move(document);
    list->m_root = hwc_deletingLastPathComponent(path);
    return list;
}

QString HWCMediaHashList::problem()
{
    if (!m_loadProblem.isEmpty())
        return m_loadProblem;
    if (hashes().empty())
        return QStringLiteral("lists no files");
    return {};
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
    if (m_history && !m_history->tools().isEmpty())
        return m_history->tools().last();
    if (!m_document || m_history)
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

QStringList HWCMediaHashList::tools() const
{
    if (m_history)
        return m_history->tools();
    const std::optional<QString> name = tool();
    return name ? QStringList{*name} : QStringList();
}

std::span<const HWCChecksumKinds::Kind> HWCMediaHashList::verificationOrder() const
{
    return m_history || m_packingList ? HWCChecksumKinds::historyOrder()
                                      : HWCChecksumKinds::listOrder();
}
