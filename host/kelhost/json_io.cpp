#include "host/kelhost/json_io.h"

#include <memory>

#include <json/reader.h>
#include <json/writer.h>

namespace kelhost {
namespace {

// jsoncpp's messages run over several indented lines ("* Line 1, Column 13\n
// Missing ..."); a reply and a diagnostic want one.
std::string OneLine(const std::string& text) {
  std::string out;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    size_t first = text.find_first_not_of(" \t*\r", start);
    size_t last = text.find_last_not_of(" \t\r", end == 0 ? 0 : end - 1);
    if (first != std::string::npos && first < end && last != std::string::npos && last >= first) {
      if (!out.empty()) out += ": ";
      out += text.substr(first, last - first + 1);
    }
    start = end + 1;
  }
  return out;
}

}  // namespace

bool ParseJson(const std::string& text, Json::Value& out, std::string& problem) {
  try {
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    // Scripts are written by hand; a stack limit well below the C++ stack's
    // keeps an absurdly nested line an error instead of a crash.
    builder.settings_["stackLimit"] = 256;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
      problem = OneLine(errors);
      if (problem.empty()) problem = "not JSON";
      return false;
    }
    out = std::move(value);
    return true;
  } catch (const std::exception& e) {
    problem = e.what();
  } catch (...) {
    problem = "not JSON";
  }
  return false;
}

const Json::Value* FindMember(const Json::Value& object, const std::string& key) {
  if (!object.isObject()) return nullptr;
  return object.find(key.data(), key.data() + key.size());
}

std::string CompactJson(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder.settings_["indentation"] = "";
  builder.settings_["emitUTF8"] = true;
  return Json::writeString(builder, value);
}

}  // namespace kelhost
