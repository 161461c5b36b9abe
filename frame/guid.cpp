#include "frame/guid.h"

#include <cwchar>

namespace kel {

StringW Guid::ToString() const {
  // Integer conversions only: they read the same under the C99 and the
  // Microsoft printf conventions.
  wchar_t text[38];
  std::swprintf(
      text, 38, L"%08llx-%04llx-%04llx-%04llx-%012llx", static_cast<unsigned long long>(high >> 32),
      static_cast<unsigned long long>((high >> 16) & 0xFFFF),
      static_cast<unsigned long long>(high & 0xFFFF), static_cast<unsigned long long>(low >> 48),
      static_cast<unsigned long long>(low & 0xFFFFFFFFFFFFull));
  return StringW(text);
}

bool Guid::Parse(const wchar_t* text, Guid& out) {
  if (text == nullptr) return false;
  unsigned long long a = 0, b = 0, c = 0, d = 0, e = 0;
  const wchar_t* format =
      text[0] == L'{' ? L"{%llx-%llx-%llx-%llx-%llx}" : L"%llx-%llx-%llx-%llx-%llx";
  if (std::swscanf(text, format, &a, &b, &c, &d, &e) != 5) return false;
  out.high = (((a << 16) + b) << 16) + c;
  out.low = e + (d << 48);
  return true;
}

}  // namespace kel
