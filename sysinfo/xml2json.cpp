#include "sysinfo/xml2json.h"

#include <cstring>

#include "frame/logging/log.h"
#include "frame/text_convert.h"

namespace SystemInfo {
namespace Generic {
namespace {

constexpr wchar_t kFunction[] = L"SystemInfo::Generic::Xml2Json";

bool HasChildElement(const pugi::xml_node& node) {
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling())
    if (child.type() == pugi::node_element) return true;
  return false;
}

void LogAboutElement(const wchar_t* format, const char* name) {
  if (!logging::IsActive()) return;
  const std::wstring wide = kel::WideFromUtf8(name, std::strlen(name));
  logging::Write(logging::kLevelSubnodeFailure, kFunction, format, wide.c_str());
}

void Convert(const pugi::xml_node& element, Json::Value& object, const char* skip, size_t depth) {
  for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
    if (child.type() != pugi::node_element) continue;
    const char* name = child.name();
    if (skip && std::strcmp(name, skip) == 0) continue;
    if (HasChildElement(child)) {
      if (depth >= kMaxXmlDepth) {
        LogAboutElement(L"Element %s nested too deeply", name);
        continue;
      }
      Json::Value nested(Json::objectValue);
      Convert(child, nested, nullptr, depth + 1);
      object[name] = std::move(nested);
      continue;
    }
    const pugi::xml_attribute value = child.attribute("value");
    if (!value || *value.value() == '\0') {
      LogAboutElement(L"Missing value for element %s", name);
      continue;
    }
    object[name] = value.value();
  }
}

}  // namespace

void Xml2Json(const pugi::xml_node& element, Json::Value& object, const char* skip) {
  Convert(element, object, skip, 0);
}

}  // namespace Generic

namespace {

struct Level {
  const char* container;
  const char* item;
};

constexpr Level kLevels[] = {
    {"servers", "server"},
    {"databases", "database"},
    {"mailboxes", "mailbox"},
};
constexpr size_t kLevelCount = sizeof(kLevels) / sizeof(kLevels[0]);

Json::Value MapLevel(const pugi::xml_node& parent, size_t level) {
  Json::Value items(Json::arrayValue);
  const Level& here = kLevels[level];
  const bool deeper = level + 1 < kLevelCount;
  const char* next = deeper ? kLevels[level + 1].container : nullptr;
  const pugi::xml_node container = parent.child(here.container);
  for (pugi::xml_node item = container.child(here.item); item;
       item = item.next_sibling(here.item)) {
    Json::Value object(Json::objectValue);
    // The next level's container would only be converted to be replaced.
    Generic::Xml2Json(item, object, next);
    if (deeper) object[next] = MapLevel(item, level + 1);
    items.append(std::move(object));
  }
  return items;
}

void LogMalformed(const pugi::xml_parse_result& parsed) {
  if (!logging::IsActive()) return;
  const std::wstring why =
      kel::WideFromUtf8(parsed.description(), std::strlen(parsed.description()));
  logging::Write(logging::kLevelFailure, L"SystemInfo::Agent::ParseWorkerOutput",
                 L"Worker output is not well-formed XML at offset %d: %s",
                 static_cast<int>(parsed.offset), why.c_str());
}

bool Parse(std::string& xml, pugi::xml_document& document) {
  // In place: the DOM points into the text instead of copying it.
  const pugi::xml_parse_result parsed =
      document.load_buffer_inplace(xml.data(), xml.size(), pugi::parse_default);
  if (!parsed) LogMalformed(parsed);
  return static_cast<bool>(parsed);
}

}  // namespace

bool StructureToJson(std::string& xml, Json::Value& out) {
  pugi::xml_document document;
  if (!Parse(xml, document)) return false;
  out["servers"] = MapLevel(document, 0);
  return true;
}

bool ConfigurationToJson(std::string& xml, Json::Value& out) {
  pugi::xml_document document;
  if (!Parse(xml, document)) return false;
  Json::Value configuration(Json::objectValue);
  Generic::Xml2Json(document.child("configuration"), configuration);
  out["configuration"] = std::move(configuration);
  return true;
}

}  // namespace SystemInfo
