#pragma once

#include <QByteArray>
#include <QString>
#include <pugixml.hpp>
#include <string_view>

// One `hash` element of an MHL read as a map from each direct child element's name to that
// child's full text content; when a name occurs twice the later child wins. The entry views
// the document's nodes instead of copying every string, so it is valid only while its
// HWCMediaHashList lives.
class HWCChecksumEntry {
public:
    explicit HWCChecksumEntry(pugi::xml_node hashElement) : m_element(hashElement) {}

    bool contains(std::string_view key) const;

    // True when the element only describes the file (`file`, `size` and dates) and carries
    // no digest of any kind, usable or not.
    bool listsNoDigest() const;

    // The text under key, decoded from UTF-8; a null string when the key is absent.
    QString value(std::string_view key) const;

    // The `file` value as file-system bytes: its UTF-8, or the bytes a percent-encoded
    // (marked) text stands for. Empty when there is no `file`.
    QByteArray fileName() const;

private:
    pugi::xml_node m_element;
};
