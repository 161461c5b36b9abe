#include "agent/json/json_primitives.h"

#include <limits>
#include <string>

#include "frame/text_convert.h"

namespace EnterpriseIntegration {

namespace {

// jsoncpp keeps the non-negative numbers it parses as intValue and those built
// from unsigned C++ values as uintValue: both are integers here alike. Its
// isInt() and friends also accept integral doubles, which are not integers here.
bool IsInteger(const Json::Value& value) {
  return value.type() == Json::intValue || value.type() == Json::uintValue;
}

// For an integer value: low <= value <= high, compared without conversions.
bool InRange(const Json::Value& value, int64_t low, uint64_t high) {
  if (value.type() == Json::intValue) {
    const int64_t v = value.asInt64();
    return v >= low && (v < 0 || static_cast<uint64_t>(v) <= high);
  }
  return value.asUInt64() <= high;
}

// Decimal text of an integer value, written straight into `out`.
void AssignDecimal(const Json::Value& value, kel::StringW& out) {
  bool negative = false;
  uint64_t magnitude;
  if (value.type() == Json::intValue) {
    const int64_t v = value.asInt64();
    negative = v < 0;
    // Unsigned negation gives the magnitude of INT64_MIN as well.
    magnitude = negative ? 0u - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
  } else {
    magnitude = value.asUInt64();
  }
  wchar_t digits[24];
  wchar_t* const end = digits + sizeof digits / sizeof digits[0];
  wchar_t* first = end;
  do {
    *--first = static_cast<wchar_t>(L'0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  if (negative) *--first = L'-';
  out.Assign(first, static_cast<size_t>(end - first));
}

void AssignUtf8(std::string_view text, kel::StringW& out) {
  if (text.empty()) {
    // Keeps a string without a buffer that way.
    out.Clear();
    return;
  }
  wchar_t* buffer = out.GetBuffer(text.size());
  out.SetLength(kel::DecodeUtf8(text.data(), text.size(), buffer));
}

// A wide text as a JSON string; short texts are converted on the stack.
void SaveWide(const wchar_t* text, size_t length, Json::Value& out) {
  char local[384];
  if (length <= sizeof local / 3) {
    const size_t bytes = kel::EncodeUtf8(text, length, local);
    out = Json::Value(local, local + bytes);
    return;
  }
  const std::string narrow = kel::Utf8FromWide(text, length);
  out = Json::Value(narrow.data(), narrow.data() + narrow.size());
}

}  // namespace

bool LoadBoolValue(const Json::Value& value, bool& out) {
  switch (value.type()) {
    case Json::booleanValue:
      out = value.asBool();
      return true;
    case Json::intValue:
      out = value.asInt64() != 0;
      return true;
    case Json::uintValue:
      out = value.asUInt64() != 0;
      return true;
    default:
      return false;
  }
}

bool LoadIntegerValue(const Json::Value& value, uint32_t& out) {
  if (!IsInteger(value) ||
      !InRange(value, std::numeric_limits<int32_t>::min(), std::numeric_limits<uint32_t>::max())) {
    return false;
  }
  // A negative number arrives as its 32-bit pattern: -1 is 0xFFFFFFFF.
  out = static_cast<uint32_t>(
      value.type() == Json::intValue ? static_cast<uint64_t>(value.asInt64()) : value.asUInt64());
  return true;
}

bool LoadIntegerValue(const Json::Value& value, int32_t& out) {
  if (!IsInteger(value) ||
      !InRange(value, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max())) {
    return false;
  }
  out = static_cast<int32_t>(value.asInt64());
  return true;
}

bool LoadIntegerValue(const Json::Value& value, uint64_t& out) {
  if (!IsInteger(value)) return false;
  out = value.type() == Json::intValue ? static_cast<uint64_t>(value.asInt64()) : value.asUInt64();
  return true;
}

bool LoadIntegerValue(const Json::Value& value, int64_t& out) {
  if (!IsInteger(value) ||
      !InRange(value, std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max())) {
    return false;
  }
  out = value.asInt64();
  return true;
}

bool LoadStringValue(const Json::Value& value, kel::StringW& out) {
  std::string_view text;
  if (detail::StringViewOf(value, text)) {
    AssignUtf8(text, out);
    return true;
  }
  if (IsInteger(value)) {
    AssignDecimal(value, out);
    return true;
  }
  return false;
}

bool LoadGuidValue(const Json::Value& value, kel::Guid& out) {
  std::string_view text;
  if (!detail::StringViewOf(value, text)) return false;
  const std::wstring wide = kel::WideFromUtf8(text.data(), text.size());
  return kel::Guid::Parse(wide.c_str(), out);
}

bool LoadIPv4Value(const Json::Value& value, kel::nusdk::Network::IPv4& out) {
  std::string_view text;
  if (!detail::StringViewOf(value, text)) return false;
  const std::wstring wide = kel::WideFromUtf8(text.data(), text.size());
  // The parser reads up to the terminator; a zero inside would cut the text
  // short and let trailing garbage through.
  if (wide.find(L'\0') != std::wstring::npos) return false;
  return kel::nusdk::Network::IPv4::Parse(wide.c_str(), out);
}

void SaveStringValue(const kel::StringW& text, Json::Value& out) {
  SaveWide(text.c_str(), text.Length(), out);
}

void SaveGuidValue(const kel::Guid& guid, Json::Value& out) {
  SaveStringValue(guid.ToString(), out);
}

void SaveIPv4Value(const kel::nusdk::Network::IPv4& address, Json::Value& out) {
  SaveStringValue(address.ToString(), out);
}

namespace detail {

std::string MapKeyText(const kel::StringW& key) {
  return kel::Utf8FromWide(key.c_str(), key.Length());
}

}  // namespace detail

}  // namespace EnterpriseIntegration
