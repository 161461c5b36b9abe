#include "host/plugins/structure_json.h"

#include <cwctype>

#include "frame/text_convert.h"

namespace kelhost {

// Integral JSON numbers only: jsoncpp's isUInt() and friends also hold for
// doubles with an integral value, and a script writing 1.0 for a count is wrong.
bool ScalarJson<bool>::Read(const Json::Value& value, bool& out) {
  if (!value.isBool()) return false;
  out = value.asBool();
  return true;
}

bool ScalarJson<uint32_t>::Read(const Json::Value& value, uint32_t& out) {
  if (value.type() == Json::realValue || !value.isUInt()) return false;
  out = value.asUInt();
  return true;
}

bool ScalarJson<int64_t>::Read(const Json::Value& value, int64_t& out) {
  if (value.type() == Json::realValue || !value.isInt64()) return false;
  out = value.asInt64();
  return true;
}

bool ScalarJson<uint64_t>::Read(const Json::Value& value, uint64_t& out) {
  if (value.type() == Json::realValue || !value.isUInt64()) return false;
  out = value.asUInt64();
  return true;
}

bool ScalarJson<kel::StringW>::Read(const Json::Value& value, kel::StringW& out) {
  if (!value.isString()) return false;
  out = kel::StringW(kel::WideFromUtf8(value.asString()));
  return true;
}

Json::Value ScalarJson<kel::StringW>::Write(const kel::StringW& value) {
  return Json::Value(kel::Utf8FromWide(value.c_str(), value.Length()));
}

// kel::Guid::Parse reads each group as far as its hex digits go, so the
// written shape is checked here first: a script's typo must not become
// another identifier.
bool ScalarJson<kel::Guid>::Read(const Json::Value& value, kel::Guid& out) {
  if (!value.isString()) return false;
  std::wstring text = kel::WideFromUtf8(value.asString());
  if (text.size() == 38 && text.front() == L'{' && text.back() == L'}') {
    text = text.substr(1, 36);
  }
  if (text.size() != 36) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? text[i] != L'-' : !std::iswxdigit(text[i])) return false;
  }
  return kel::Guid::Parse(text.c_str(), out);
}

Json::Value ScalarJson<kel::Guid>::Write(const kel::Guid& value) {
  return ScalarJson<kel::StringW>::Write(value.ToString());
}

StructureReader::StructureReader(const Json::Value& data, std::string what)
    : data_(data), what_(std::move(what)) {
  if (!data_.isObject()) problem_ = what_ + " must be a JSON object";
}

const Json::Value* StructureReader::Member(const char* field) {
  known_.insert(field);
  if (!problem_.empty()) return nullptr;
  return data_.find(field, field + std::char_traits<char>::length(field));
}

void StructureReader::Refuse(const std::string& path, const char* expected) {
  if (problem_.empty()) problem_ = path + " must be " + expected;
}

void StructureReader::Flag(const char* field, uint8_t& out) {
  bool value = out != 0;
  Bool(field, value);
  if (value != (out != 0)) out = value ? 1 : 0;
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
  return ScalarJson<kel::StringW>::Write(value);
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
