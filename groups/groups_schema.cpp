#include "groups/groups_schema.h"

#include <cwchar>
#include <cwctype>

namespace GroupsManagerAgent {
namespace {

bool IsHexDigit(wchar_t c) {
  return (c >= L'0' && c <= L'9') || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
}

// White space and control characters end an address in a header, so one
// inside it would be read differently by every mail program.
bool BreaksAddress(wchar_t c) { return c <= L' ' || c == 0x7F || std::iswspace(c); }

}  // namespace

bool DnCodec::Load(const EnterpriseIntegration::JsonNodeRef& at, kel::StringW& out) const {
  kel::StringW text;
  if (!TextCodec<3, kMaxDnLength>().Load(at, text)) return false;
  const wchar_t* begin = text.c_str();
  const wchar_t* equals = std::wcschr(begin, L'=');
  // The terminator counts too: a zero inside would cut the name short for
  // every C string reader after us.
  if (equals == nullptr || equals == begin || equals[1] == L'\0' ||
      std::wcslen(begin) != text.Length())
    return false;
  out = std::move(text);
  return true;
}

bool AddressCodec::Load(const EnterpriseIntegration::JsonNodeRef& at, kel::StringW& out) const {
  kel::StringW text;
  if (!TextCodec<3, kMaxAddressLength>().Load(at, text)) return false;
  const wchar_t* chars = text.c_str();
  const size_t length = text.Length();
  size_t at_sign = length;
  for (size_t i = 0; i < length; ++i) {
    if (BreaksAddress(chars[i])) return false;
    if (chars[i] == L'@') at_sign = i;  // the last one: a quoted local part may hold others
  }
  if (at_sign == 0 || at_sign + 1 >= length) return false;
  out = std::move(text);
  return true;
}

bool IdCodec::Load(const EnterpriseIntegration::JsonNodeRef& at, kel::Guid& out) const {
  kel::StringW text;
  if (at.IsAbsent() || !at.node()->isString()) return false;
  if (!EnterpriseIntegration::StringCodec().Load(at, text)) return false;
  const wchar_t* chars = text.c_str();
  size_t length = text.Length();
  if (length == 38) {
    if (chars[0] != L'{' || chars[37] != L'}') return false;
    ++chars;
    length = 36;
  }
  if (length != 36) return false;
  for (size_t i = 0; i < 36; ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? chars[i] != L'-' : !IsHexDigit(chars[i])) return false;
  }
  return kel::Guid::Parse(text.c_str(), out);
}

using EnterpriseIntegration::SchemaDirection;

void DnCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  if (direction == SchemaDirection::kOutput) {
    out = EnterpriseIntegration::TypeSchema("string");
    return;
  }
  out = EnterpriseIntegration::TypeSchema("string");
  out["minLength"] = 3;
  out["maxLength"] = static_cast<Json::UInt64>(kMaxDnLength);
  out["pattern"] = std::string("^[^=\\x00]+=[^\\x00]+") + EnterpriseIntegration::kEndOfText;
}

void AddressCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  if (direction == SchemaDirection::kOutput) {
    out = EnterpriseIntegration::TypeSchema("string");
    return;
  }
  out = EnterpriseIntegration::TypeSchema("string");
  out["minLength"] = 3;
  out["maxLength"] = static_cast<Json::UInt64>(kMaxAddressLength);
  out["pattern"] = std::string("^[^\\s\\x00-\\x1f\\x7f]+@[^@\\s\\x00-\\x1f\\x7f]+") +
                   EnterpriseIntegration::kEndOfText;
}

void IdCodec::Describe(SchemaDirection direction, Json::Value& out) const {
  out = EnterpriseIntegration::GuidSchema(SchemaDirection::kOutput);
  if (direction == SchemaDirection::kOutput) return;
  const char kHex[] = "[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}";
  out["pattern"] = std::string("^(") + kHex + "|\\{" + kHex + "\\})" + EnterpriseIntegration::kEndOfText;
}

}  // namespace GroupsManagerAgent
