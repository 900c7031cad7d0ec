#include "engine/mhl/HWCChecksumEntry.h"

#include "engine/files/HWCFileNameAdditions.h"
#include "engine/mhl/HWCXMLElementAdditions.h"

#include <algorithm>
#include <cstring>

namespace {

// The last direct child element named key: a later duplicate replaces an earlier one.
pugi::xml_node lastChildNamed(pugi::xml_node element, std::string_view key)
{
    for (pugi::xml_node child = element.last_child(); child; child = child.previous_sibling()) {
        if (child.type() == pugi::node_element && key == child.name())
            return child;
    }
    return {};
}

} // namespace

bool HWCChecksumEntry::contains(std::string_view key) const
{
    return bool(lastChildNamed(m_element, key));
}

bool HWCChecksumEntry::listsNoDigest() const
{
    static constexpr std::string_view kDescriptive[] = {"file", "size", "creationdate",
                                                        "lastmodificationdate", "hashdate"};
    for (pugi::xml_node child = m_element.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element &&
            std::find(std::begin(kDescriptive), std::end(kDescriptive), child.name()) ==
                std::end(kDescriptive))
            return false;
    }
    return true;
}

QString HWCChecksumEntry::value(std::string_view key) const
{
    const pugi::xml_node child = lastChildNamed(m_element, key);
    if (!child)
        return QString();
    // Nearly every value is one text node that the parser embedded: read it in place.
    if (!child.first_child()) {
        const char *characters = child.value();
        return QString::fromUtf8(characters, qsizetype(std::strlen(characters)));
    }
    return QString::fromStdString(hwc_fullTextContent(child));
}

QByteArray HWCChecksumEntry::fileName() const
{
    const pugi::xml_node child = lastChildNamed(m_element, "file");
    const QByteArray text = QByteArray::fromStdString(hwc_fullTextContent(child));
    const bool encoded = std::strcmp(child.attribute(kHWCPercentEncodedAttribute).value(),
                                     kHWCPercentEncodedValue) == 0;
    return encoded ? hwc_percentDecodedFileName(text) : text;
}
