#include "host/plugins/structure_json.h"

#include <limits>

#include "frame/text_convert.h"

namespace kelhost {

StructureReader::StructureReader(const Json::Value& data, std::string what)
    : data_(data), what_(std::move(what)) {
  if (!data_.isObject()) problem_ = what_ + " must be a JSON object";
}

const Json::Value* StructureReader::Member(const char* field) {
  known_.insert(field);
  if (!problem_.empty()) return nullptr;
  return data_.find(field, field + std::char_traits<char>::length(field));
}

void StructureReader::Refuse(const char* field, const char* expected) {
  if (problem_.empty()) problem_ = what_ + "." + field + " must be " + expected;
}

void StructureReader::Flag(const char* field, uint8_t& out) {
  const Json::Value* value = Member(field);
  if (value == nullptr) return;
  if (!value->isBool()) return Refuse(field, "true or false");
  out = value->asBool() ? 1 : 0;
}

void StructureReader::UInt32(const char* field, uint32_t& out) {
  const Json::Value* value = Member(field);
  if (value == nullptr) return;
  // isUInt() also holds for doubles with an integral value; only integers count.
  if (value->type() == Json::realValue || !value->isUInt()) {
    return Refuse(field, "an unsigned 32-bit integer");
  }
  out = value->asUInt();
}

void StructureReader::String(const char* field, kel::StringW& out) {
  const Json::Value* value = Member(field);
  if (value == nullptr) return;
  if (!value->isString()) return Refuse(field, "a string");
  out = kel::WideFromUtf8(value->asString());
}

void StructureReader::StringList(const char* field, kel::List<kel::StringW>& out) {
  const Json::Value* value = Member(field);
  if (value == nullptr) return;
  if (!value->isArray()) return Refuse(field, "an array of strings");
  kel::List<kel::StringW> items;
  for (const Json::Value& item : *value) {
    if (!item.isString()) return Refuse(field, "an array of strings");
    items.EmplaceBack(kel::WideFromUtf8(item.asString()));
  }
  out = std::move(items);
}

bool StructureReader::Finish(std::string& problem) {
  if (problem_.empty() && data_.isObject()) {
    for (const std::string& name : data_.getMemberNames()) {
      if (known_.count(name) == 0) {
        problem_ = what_ + " has no field \"" + name + "\"";
        break;
      }
    }
  }
  problem = problem_;
  return problem_.empty();
}

Json::Value StringToJson(const kel::StringW& value) {
  return Json::Value(kel::Utf8FromWide(value.c_str(), value.Length()));
}

Json::Value StringListToJson(const kel::IList<kel::StringW>& list) {
  Json::Value array(Json::arrayValue);
  for (const kel::StringW& item : ReadListSlots(list)) array.append(StringToJson(item));
  return array;
}

std::vector<kel::StringW> ReadListSlots(const kel::IList<kel::StringW>& list) {
  std::vector<kel::StringW> items;
  kel::IConstListEnum<kel::StringW>* e = list.NewConstEnum();
  if (e == nullptr) return items;
  try {
    for (; e->HasCurrent(); e->Advance()) items.push_back(*e->Current());
  } catch (...) {
    e->Release();
    throw;
  }
  e->Release();
  return items;
}

uint32_t WriteListSlots(kel::IList<kel::StringW>& target, const kel::IList<kel::StringW>& source) {
  const std::vector<kel::StringW> items = ReadListSlots(source);
  target.RemoveAll();
  for (const kel::StringW& item : items) {
    if (const uint32_t code = target.AddBack(item)) return code;
  }
  return 0;
}

}  // namespace kelhost
