#include "engine/mhl/HWCXMLElementAdditions.h"

std::vector<pugi::xml_node> hwc_childrenWithName(pugi::xml_node element, const char *name)
{
    std::vector<pugi::xml_node> children;
    for (pugi::xml_node child = element.child(name); child; child = child.next_sibling(name)) {
        if (child.type() == pugi::node_element)
            children.push_back(child);
    }
    return children;
}

namespace {

// Element values hold text the parser embedded in place of a first text child.
bool holdsText(pugi::xml_node node)
{
    const pugi::xml_node_type type = node.type();
    return type == pugi::node_pcdata || type == pugi::node_cdata || type == pugi::node_element;
}

} // namespace

std::string hwc_fullTextContent(pugi::xml_node node)
{
    if (!holdsText(node))
        return {};
    std::string text = node.value();
    // Depth-first in document order with an explicit walk up the parent links: a document
    // may nest elements far deeper than the stack allows.
    pugi::xml_node current = node.first_child();
    while (current) {
        if (holdsText(current))
            text += current.value();
        if (current.first_child()) {
            current = current.first_child();
            continue;
        }
        while (current != node && !current.next_sibling())
            current = current.parent();
        if (current == node)
            break;
        current = current.next_sibling();
    }
    return text;
}

std::string_view hwc_localName(pugi::xml_node element)
{
    const std::string_view name = element.name();
    const size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::vector<pugi::xml_node> hwc_childrenWithLocalName(pugi::xml_node element, std::string_view name)
{
    std::vector<pugi::xml_node> children;
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element && hwc_localName(child) == name)
            children.push_back(child);
    }
    return children;
}

std::string_view hwc_namespaceURI(pugi::xml_node element)
{
    const std::string_view name = element.name();
    const size_t colon = name.find(':');
    const std::string attribute = colon == std::string_view::npos
                                      ? std::string("xmlns")
                                      : "xmlns:" + std::string(name.substr(0, colon));
    for (pugi::xml_node node = element; node; node = node.parent()) {
        if (const pugi::xml_attribute declared = node.attribute(attribute.c_str()))
            return declared.value();
    }
    return {};
}

pugi::xml_node hwc_firstChildWithLocalName(pugi::xml_node element, std::string_view name)
{
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element && hwc_localName(child) == name)
            return child;
    }
    return {};
}
