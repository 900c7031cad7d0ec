#include "engine/mhl/HWCMHLReader.h"

#include "engine/ascmhl/HWCASCMHLFileTable.h"
#include "engine/files/HWCFileNameAdditions.h"
#include "engine/files/HWCPathAdditions.h"
#include "engine/files/HWIFileHandleAdditions.h"
#include "engine/mhl/HWCXMLElementAdditions.h"
#include "engine/mhl/HWCXMLTextAdditions.h"

#include <QFile>
#include <QStringDecoder>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <list>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace HWCMHLReader {

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
        const ssize_t count = ::read(fd, text.data + done, size - done);
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

std::optional<QString> lastTool(const pugi::xml_document &document)
{
    const std::vector<pugi::xml_node> creators =
        hwc_childrenWithName(document.document_element(), "creatorinfo");
    if (creators.empty())
        return std::nullopt;
    const std::vector<pugi::xml_node> tools = hwc_childrenWithName(creators.back(), "tool");
    if (tools.empty())
        return std::nullopt;
    return QString::fromStdString(hwc_fullTextContent(tools.back()));
}

// An element's full text content. Nearly every value is one text node that the parser
// embedded: it is read in place; the text of one that nests more is kept in nested.
QByteArrayView textOf(pugi::xml_node element, std::list<std::string> &nested)
{
    if (!element.first_child())
        return QByteArrayView(element.value(), qsizetype(std::strlen(element.value())));
    const std::string &text = nested.emplace_back(hwc_fullTextContent(element));
    return QByteArrayView(text.data(), qsizetype(text.size()));
}

// The fields that describe the file, by element name.
std::optional<HWCChecksumEntry::Field> fieldNamed(std::string_view name)
{
    using Field = HWCChecksumEntry::Field;
    static constexpr std::pair<std::string_view, Field> kFields[] = {
        {"file", Field::File},
        {"size", Field::Size},
        {"creationdate", Field::CreationDate},
        {"lastmodificationdate", Field::LastModificationDate},
        {"hashdate", Field::HashDate},
    };
    for (const auto &[element, field] : kFields) {
        if (element == name)
            return field;
    }
    return std::nullopt;
}

// One element of a `hash` and its text.
struct Child {
    pugi::xml_node element;
    QByteArrayView text;
};

HWCChecksumEntry recordOf(pugi::xml_node hash, std::vector<Child> &children)
{
    std::list<std::string> nested;
    children.clear();
    qsizetype bytes = 0;
    for (pugi::xml_node child = hash.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element)
            continue;
        children.push_back({child, textOf(child, nested)});
        bytes += children.back().text.size() + qsizetype(std::strlen(child.name()));
    }
    HWCChecksumEntry record;
    record.reserve(qsizetype(children.size()), bytes);
    for (const auto &[element, text] : children) {
        const std::optional<HWCChecksumEntry::Field> field = fieldNamed(element.name());
        if (!field) {
            record.setDigest(QByteArrayView(element.name()), text);
            continue;
        }
        record.set(*field, text);
        if (*field == HWCChecksumEntry::Field::File)
            record.setFileEncoded(
                std::strcmp(element.attribute(kHWCPercentEncodedAttribute).value(),
                            kHWCPercentEncodedValue) == 0);
    }
    return record;
}

// Where the piece of text that starts at begin ends: at the first `<hash>` at least
// pieceBytes further on, or at the end.
size_t pieceEnd(std::string_view text, size_t begin, size_t pieceBytes)
{
    const size_t end = text.find("<hash>", begin + std::max<size_t>(pieceBytes, 1));
    return end == std::string_view::npos ? text.size() : end;
}

// Parses prefix, body and suffix as one document.
bool parsePiece(pugi::xml_document &document, std::string_view prefix, std::string_view body,
                std::string_view suffix)
{
    TextBuffer piece;
    if (!piece.allocate(prefix.size() + body.size() + suffix.size()))
        return false;
    std::copy(suffix.begin(), suffix.end(),
              std::copy(body.begin(), body.end(),
                        std::copy(prefix.begin(), prefix.end(), piece.data)));
    const size_t size = piece.size;
    return document.load_buffer_inplace_own(piece.release(), size, kParseOptions,
                                            pugi::encoding_utf8);
}

// A long list is parsed a piece at a time, so that its tree never holds more than a piece.
// Each piece ends before a `<hash>`; all but the first are opened with the root's start tag
// and all but the last closed with its end tag. A piece parses so only when its end lies
// between two children of a `hashlist` root, outside any comment or section: otherwise the
// text is read whole (nullopt), as it is when it makes a single piece.
std::optional<Contents> readInPieces(std::string_view text, size_t pieceBytes)
{
    static constexpr std::string_view kStart = "<hashlist>";
    static constexpr std::string_view kEnd = "</hashlist>";
    Contents contents;
    std::vector<Child> children;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = pieceEnd(text, begin, pieceBytes);
        if (begin == 0 && end == text.size())
            return std::nullopt;
        pugi::xml_document document;
        if (!parsePiece(document, begin == 0 ? std::string_view() : kStart,
                        text.substr(begin, end - begin),
                        end == text.size() ? std::string_view() : kEnd) ||
            (begin == 0 && isManifestOfLaterFormat(document)))
            return std::nullopt;
        const pugi::xml_node root = document.document_element();
        // The last `creatorinfo` names the tool, even when it names none.
        if (root.child("creatorinfo"))
            contents.tool = lastTool(document);
        for (const pugi::xml_node &hash : hwc_childrenWithName(root, "hash"))
            contents.records.push_back(recordOf(hash, children));
        // Room for as many more as the first piece promises, so that the records of a long
        // list are not moved over and over as they grow.
        if (begin == 0)
            contents.records.reserve(contents.records.size() * (text.size() / end + 1));
        begin = end;
    }
    return contents;
}

} // namespace

Contents read(const QString &path, qsizetype pieceBytes)
{
    Contents contents;
    TextBuffer text;
    if (!readText(path, text, contents.problem))
        return contents;
    const QString textProblem = hwc_xmlTextProblem(std::string_view(text.data, text.size));
    if (!textProblem.isEmpty()) {
        contents.problem = QStringLiteral("is not well-formed XML (%1)").arg(textProblem);
        return contents;
    }
    if (std::optional<Contents> pieces =
            readInPieces(std::string_view(text.data, text.size), size_t(pieceBytes)))
        return std::move(*pieces);
    pugi::xml_document document;
    const size_t size = text.size;
    const pugi::xml_parse_result parsed =
        document.load_buffer_inplace_own(text.release(), size, kParseOptions, pugi::encoding_utf8);
    if (!parsed) {
        contents.problem = QStringLiteral("is not well-formed XML (%1 at byte %2)")
                               .arg(QLatin1String(parsed.description()))
                               .arg(parsed.offset);
        return contents;
    }
    contents.laterFormat = isManifestOfLaterFormat(document);
    contents.tool = lastTool(document);
    if (contents.laterFormat) {
        HWCASCMHLFileTable table;
        table.addGeneration(document.document_element(), hwc_lastPathComponent(path));
        contents.records = table.takeRecords();
        return contents;
    }
    const std::vector<pugi::xml_node> hashes =
        hwc_childrenWithName(document.document_element(), "hash");
    contents.records.reserve(hashes.size());
    std::vector<Child> children;
    for (const pugi::xml_node &hash : hashes)
        contents.records.push_back(recordOf(hash, children));
    return contents;
}

} // namespace HWCMHLReader
