#include "engine/mhl/HWCMHLStreamReader.h"

#include "engine/files/HWCFileNameAdditions.h"

#include <QBuffer>
#include <QXmlStreamReader>
#include <string_view>

namespace HWCMHLStreamReader {

namespace {

// The text of the element just started, in UTF-8, through its end; nullopt unless it is
// plain text.
std::optional<QByteArray> plainText(QXmlStreamReader &xml)
{
    QByteArray text;
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::Characters:
            if (xml.isCDATA())
                return std::nullopt;
            // Nearly every value is one piece, which is converted and kept as it is.
            text += xml.text().toUtf8();
            break;
        case QXmlStreamReader::EndElement:
            return text;
        default:
            return std::nullopt;
        }
    }
    return std::nullopt;
}

// Reads the children of the element just started through its end, handing each child
// element to visit, which reads it through its own end; false when visit or a token says
// the tree must decide.
template <typename Visit> bool readChildren(QXmlStreamReader &xml, Visit visit)
{
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            if (!visit(xml))
                return false;
            break;
        case QXmlStreamReader::EndElement:
            return true;
        case QXmlStreamReader::EntityReference:
        case QXmlStreamReader::Invalid:
            return false;
        default:
            break;
        }
    }
    return false;
}

std::optional<HWCChecksumEntry::Field> fieldNamed(QStringView name)
{
    using Field = HWCChecksumEntry::Field;
    static constexpr std::pair<std::u16string_view, Field> kFields[] = {
        {u"file", Field::File},
        {u"size", Field::Size},
        {u"creationdate", Field::CreationDate},
        {u"lastmodificationdate", Field::LastModificationDate},
        {u"hashdate", Field::HashDate},
    };
    for (const auto &[element, field] : kFields) {
        if (name == QStringView(element))
            return field;
    }
    return std::nullopt;
}

// One `hash`: each child element's text, set in document order so that the later of two of
// the same name wins, as the tree's reading does.
bool readHash(QXmlStreamReader &xml, HWCChecksumEntry &record)
{
    return readChildren(xml, [&record](QXmlStreamReader &child) {
        // The name and attributes are the reader's until its next token.
        const std::optional<HWCChecksumEntry::Field> field = fieldNamed(child.qualifiedName());
        const QByteArray kind = field ? QByteArray() : child.qualifiedName().toUtf8();
        const bool encoded = field == HWCChecksumEntry::Field::File &&
                             child.attributes().value(QLatin1String(kHWCPercentEncodedAttribute)) ==
                                 QLatin1String(kHWCPercentEncodedValue);
        const std::optional<QByteArray> text = plainText(child);
        if (!text)
            return false;
        if (!field) {
            record.setDigest(kind, *text);
            return true;
        }
        record.set(*field, *text);
        if (*field == HWCChecksumEntry::Field::File)
            record.setFileEncoded(encoded);
        return true;
    });
}

// The last `tool` of a `creatorinfo`; nullopt when it has none.
bool readCreator(QXmlStreamReader &xml, std::optional<QString> &tool)
{
    tool.reset();
    return readChildren(xml, [&tool](QXmlStreamReader &child) {
        if (child.qualifiedName() != QLatin1String("tool")) {
            child.skipCurrentElement();
            return true;
        }
        const std::optional<QByteArray> text = plainText(child);
        if (text)
            tool = QString::fromUtf8(*text);
        return text.has_value();
    });
}

// Reads up to the root element; false at a DTD, another encoding or no root.
bool startRoot(QXmlStreamReader &xml)
{
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartDocument: {
            const QStringView encoding = xml.documentEncoding();
            if (!encoding.isEmpty() && encoding.compare(u"UTF-8", Qt::CaseInsensitive) != 0)
                return false;
            break;
        }
        case QXmlStreamReader::StartElement:
            return !(xml.qualifiedName() == QLatin1String("hashlist") &&
                     xml.attributes().value(QLatin1String("version")).startsWith(u"2."));
        case QXmlStreamReader::DTD:
        case QXmlStreamReader::EntityReference:
        case QXmlStreamReader::Invalid:
            return false;
        default:
            break;
        }
    }
    return false;
}

} // namespace

std::optional<HWCMHLReader::Contents> read(QByteArrayView utf8)
{
    // Read through a device, in pieces: given the whole text, the reader would decode all of
    // it at once.
    QByteArray text = QByteArray::fromRawData(utf8.data(), utf8.size());
    QBuffer device(&text);
    device.open(QIODevice::ReadOnly);
    QXmlStreamReader xml(&device);
    xml.setNamespaceProcessing(false);
    if (!startRoot(xml))
        return std::nullopt;
    HWCMHLReader::Contents contents;
    const bool plain = readChildren(xml, [&contents](QXmlStreamReader &child) {
        if (child.qualifiedName() == QLatin1String("hash"))
            return readHash(child, contents.records.emplace_back());
        if (child.qualifiedName() == QLatin1String("creatorinfo"))
            return readCreator(child, contents.tool);
        child.skipCurrentElement();
        return true;
    });
    while (plain && !xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::DTD)
            return std::nullopt;
    }
    if (!plain || xml.hasError())
        return std::nullopt;
    return contents;
}

} // namespace HWCMHLStreamReader
