#pragma once

#include <pugixml.hpp>
#include <string_view>
#include <vector>

// The direct child elements of element named exactly name, in document order.
std::vector<pugi::xml_node> hwc_childrenWithName(pugi::xml_node element, const char *name);

// All descendant text of node concatenated, without recursion (documents may nest deeply).
std::string hwc_fullTextContent(pugi::xml_node node);

// An element's name without its namespace prefix: "ascmhl:hash" gives "hash".
std::string_view hwc_localName(pugi::xml_node element);

// The direct child elements of element whose local name is name, in document order.
std::vector<pugi::xml_node> hwc_childrenWithLocalName(pugi::xml_node element,
                                                      std::string_view name);

// The first of those; an empty node when there is none.
pugi::xml_node hwc_firstChildWithLocalName(pugi::xml_node element, std::string_view name);

// The namespace of element's own name, from the xmlns declarations of it and its ancestors;
// "" when none is declared.
std::string_view hwc_namespaceURI(pugi::xml_node element);
