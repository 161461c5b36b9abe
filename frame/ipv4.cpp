#include "frame/ipv4.h"

#include <algorithm>
#include <cwchar>
#include <string>

#include "frame/number_text.h"

namespace kel::nusdk::Network {

namespace {

bool IsDigit(wchar_t ch) { return ch >= L'0' && ch <= L'9'; }

// Reads 1 to `max_digits` digits at `text` into `value` (with the small-number
// parser, so below 256); advances `text` past them.
bool ReadNumber(const wchar_t*& text, size_t max_digits, uint32_t& value) {
  size_t digits = 0;
  while (IsDigit(text[digits])) {
    if (++digits > max_digits) return false;
  }
  if (digits == 0) return false;
  if (!kel::ParseSmallNumber(std::wstring(text, digits), value)) return false;
  text += digits;
  return true;
}

void AppendDecimal(StringW& text, uint32_t value) {
  wchar_t digits[10];
  size_t count = 0;
  do {
    digits[count++] = static_cast<wchar_t>(L'0' + value % 10);
    value /= 10;
  } while (value != 0);
  while (count != 0) text.AppendChar(digits[--count]);
}

}  // namespace

StringW IPv4::ToString() const {
  StringW text;
  for (int octet = 0; octet < 4; ++octet) {
    if (octet != 0) text.AppendChar(L'.');
    AppendDecimal(text, (address >> (8 * octet)) & 0xFF);
  }
  if (prefix != 0) {
    text.AppendChar(L'/');
    AppendDecimal(text, prefix);
  }
  return text;
}

bool IPv4::Parse(const wchar_t* text, IPv4& out) {
  if (text == nullptr) return false;
  const wchar_t* slash = std::wcschr(text, L'/');
  const wchar_t* addressEnd = slash ? slash : text + std::wcslen(text);

  uint32_t address = 0;
  int octet = 0;
  for (const wchar_t* piece = text;; ++octet) {
    const wchar_t* dot = std::find(piece, addressEnd, L'.');
    uint32_t value;
    if (octet >= 4 || !kel::ParseSmallNumber(std::wstring(piece, dot), value)) return false;
    address |= value << (8 * octet);
    if (dot == addressEnd) break;
    piece = dot + 1;
  }
  if (octet != 3) return false;

  uint32_t prefix = 0;
  if (slash) {
    const wchar_t* digits = slash + 1;
    if (!ReadNumber(digits, 2, prefix) || prefix == 0 || prefix > 32 || *digits != L'\0')
      return false;
  }
  out.address = address;
  out.prefix = prefix;
  return true;
}

}  // namespace kel::nusdk::Network
