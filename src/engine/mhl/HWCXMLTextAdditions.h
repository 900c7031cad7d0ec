#pragma once

#include <QString>
#include <string_view>

// What pugixml lets through but an XML 1.0 parser must reject, found in one pass over the
// raw UTF-8 text before it is parsed: text or a second element outside the root element,
// entity references other than the five predefined ones (custom entities are never
// expanded, so a list relying on them cannot be read as written), character references to
// characters XML forbids, '<' or a duplicate name among a tag's attributes, an XML
// declaration anywhere but at the very start, bytes that are not UTF-8 and forbidden
// control characters. Returns the first such problem ("undefined entity at byte 120"), or
// an empty text. Nesting and names are left to the parser. Any thread.
QString hwc_xmlTextProblem(std::string_view utf8);
