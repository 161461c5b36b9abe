#pragma once
// The worker's XML as JSON. Elements become members named by their tag; a
// leaf's "value" attribute is its (string) value; text content is ignored; a
// later sibling of the same tag replaces an earlier one.
//
// pugixml is built for UTF-8 (char): tag names and values go into jsoncpp,
// which is UTF-8 too, unconverted. A worker writing UTF-16 with a byte-order
// mark is converted by the parser.
#include <cstddef>
#include <string>

#include <json/value.h>
#include <pugixml.hpp>

namespace SystemInfo::Generic {

// Deeper elements than this are left out (and logged): the JSON tree is
// destroyed and written recursively, and the worker's text is outside data.
inline constexpr size_t kMaxXmlDepth = 64;

// Converts the child elements of `element` into members of `object`. A child
// named `skip` (if given) is left out: the structure mapping fills that member
// itself.
void Xml2Json(const pugi::xml_node& element, Json::Value& object, const char* skip = nullptr);

}  // namespace SystemInfo::Generic

namespace SystemInfo {

// "/listmb": {"servers": [{..., "databases": [{..., "mailboxes": [{...}]}]}]}.
// False when `xml` is not well-formed; `out` is then left as it was.
bool StructureToJson(std::string& xml, Json::Value& out);

// "/orgConfig": the "configuration" element converted, under the member
// "configuration" of `out` ({} when the document has no such element).
bool ConfigurationToJson(std::string& xml, Json::Value& out);

}  // namespace SystemInfo
