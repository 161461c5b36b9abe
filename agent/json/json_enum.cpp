#include "agent/json/json_enum.h"

namespace EnterpriseIntegration {

const EnumName* NameTableView::FindName(std::string_view name) const noexcept {
  for (size_t i = 0; i < count; ++i) {
    if (rows[i].name == name) return &rows[i];
  }
  return nullptr;
}

const EnumName* NameTableView::FindCode(uint32_t code) const noexcept {
  for (size_t i = 0; i < count; ++i) {
    if (rows[i].code == code) return &rows[i];
  }
  return nullptr;
}

bool LoadEnumValue(const Json::Value& value, const NameTableView& table, uint32_t& out) {
  std::string_view name;
  if (!detail::StringViewOf(value, name)) return false;
  const EnumName* row = table.FindName(name);
  if (row == nullptr) return false;
  out = row->code;
  return true;
}

bool SaveEnumValue(uint32_t code, const NameTableView& table, Json::Value& out) {
  const EnumName* row = table.FindCode(code);
  if (row == nullptr) return false;
  out = Json::Value(row->name.data(), row->name.data() + row->name.size());
  return true;
}

bool LoadFlagsValue(const Json::Value& value, const NameTableView& table, uint32_t& out) {
  if (!value.isArray()) return false;
  uint32_t flags = 0;
  Json::ArrayIndex held = 0;
  for (const Json::Value& item : value) {
    ++held;
    // Only a name can be unknown: anything else in the list is malformed.
    std::string_view name;
    if (!detail::StringViewOf(item, name)) return false;
    const EnumName* row = table.FindName(name);
    if (row == nullptr) {
      if (table.skip_unknown) continue;
      return false;
    }
    flags |= row->code;
  }
  // An array built with gaps holds fewer elements than its size: the gaps
  // read as null, which is no name.
  if (held != value.size()) return false;
  // An empty set says nothing the reader could act on: it is refused.
  if (flags == 0) return false;
  out = flags;
  return true;
}

void SaveFlagsValue(uint32_t flags, const NameTableView& table, Json::Value& out) {
  out = Json::Value(Json::arrayValue);
  for (size_t i = 0; i < table.count; ++i) {
    const EnumName& row = table.rows[i];
    if ((flags & row.code) != 0) {
      out.append(Json::Value(row.name.data(), row.name.data() + row.name.size()));
    }
  }
}

}  // namespace EnterpriseIntegration
