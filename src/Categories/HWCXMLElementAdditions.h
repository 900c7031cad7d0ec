#pragma once

#include <QMap>
#include <QString>

#include <vector>

#include <pugixml.hpp>

// The direct child elements of element named exactly name, in document order.
std::vector<pugi::xml_node> hwc_childrenWithName(pugi::xml_node element, const char *name);

// Child name to full text content for every direct child element; a later child with the
// same name replaces the earlier value. Nodes without a name are skipped.
QMap<QString, QString> hwc_dictionaryFromChildren(pugi::xml_node element);

// All descendant text of node concatenated, without recursion (documents may nest deeply).
std::string hwc_fullTextContent(pugi::xml_node node);
