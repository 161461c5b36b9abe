#pragma once
// Small helpers shared by the on-demand tests.
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include "frame/guid.h"
#include "frame/text_convert.h"

namespace ondemand_test {

inline Json::Value Parse(std::string_view text) {
  Json::CharReaderBuilder builder;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
    throw std::runtime_error("bad test JSON: " + errors);
  }
  return value;
}

inline std::string Compact(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, value);
}

// The n-th id the reference plug-in would assign.
inline kel::Guid Id(uint64_t n) { return kel::Guid{n, 0}; }

inline std::string Text(const kel::Guid& id) {
  const kel::StringW text = id.ToString();
  return kel::Utf8FromWide(text.c_str(), text.Length());
}

}  // namespace ondemand_test
