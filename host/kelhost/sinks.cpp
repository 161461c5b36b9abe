#include "host/kelhost/sinks.h"

#include <cwchar>

#include "frame/text_convert.h"

namespace kelhost {
namespace {

Json::Value TextOrNull(const wchar_t* text) {
  return text == nullptr ? Json::Value() : Json::Value(kel::Utf8FromWide(text, std::wcslen(text)));
}

}  // namespace

void NameCollector::AddName(const wchar_t* name) {
  try {
    names_.append(TextOrNull(name));
  } catch (...) {
  }
}

void FeatureCollector::ReportFeature(const wchar_t* feature, bool enabled) {
  try {
    Json::Value entry(Json::objectValue);
    entry["name"] = TextOrNull(feature);
    entry["enabled"] = enabled;
    features_.append(std::move(entry));
  } catch (...) {
  }
}

}  // namespace kelhost
