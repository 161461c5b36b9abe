#pragma once
// JSON text as kelhost reads and writes it: strict parsing of one command, and
// compact one-line replies.
#include <string>

#include <json/value.h>

namespace kelhost {

// Parses `text` as exactly one JSON value (no comments, no trailing text, no
// duplicate keys). Never throws: false with `problem` set instead.
bool ParseJson(const std::string& text, Json::Value& out, std::string& problem);

// The member `key` of `object`; null when absent or when `object` is not an
// object (jsoncpp's own look-ups throw on arrays and scalars).
const Json::Value* FindMember(const Json::Value& object, const std::string& key);

// One line of compact JSON, UTF-8, without the line end.
std::string CompactJson(const Json::Value& value);

}  // namespace kelhost
