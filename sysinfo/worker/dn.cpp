#include "sysinfo/worker/dn.h"

#include <vector>

#include "frame/win.h"

namespace Worker {
namespace {

int HexDigit(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

// One attribute-type-and-value, as read.
struct Ava {
  std::wstring type;
  std::wstring value;  // unescaped
  bool last = false;   // ends its RDN (',' or the end), not '+'
};

// Reads the value from `at` to the next unescaped ',', ';' or '+'. "\XX" pairs
// are bytes of UTF-8; a run of them decodes together, so "\C3\A4" is one "ä".
// Unescaped spaces at either end are not part of the value.
std::wstring ReadValue(const std::wstring& dn, size_t& at) {
  std::wstring value;
  std::string bytes;  // pending "\XX" bytes
  size_t keep = 0;    // length of value that ends in an escaped or inner character
  const auto flush = [&] {
    if (bytes.empty()) return;
    const int length = ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()),
                                             nullptr, 0);
    std::wstring wide(static_cast<size_t>(length), L'\0');
    if (length > 0)
      ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), &wide[0], length);
    value += wide;
    keep = value.size();
    bytes.clear();
  };
  while (at < dn.size() && dn[at] == L' ') ++at;
  while (at < dn.size()) {
    const wchar_t c = dn[at];
    if (c == L',' || c == L';' || c == L'+') break;
    if (c == L'\\' && at + 1 < dn.size()) {
      const int high = HexDigit(dn[at + 1]);
      const int low = at + 2 < dn.size() ? HexDigit(dn[at + 2]) : -1;
      if (high >= 0 && low >= 0) {
        bytes += static_cast<char>(high * 16 + low);
        at += 3;
        continue;
      }
      flush();
      value += dn[at + 1];
      keep = value.size();
      at += 2;
      continue;
    }
    flush();
    value += c;
    if (c != L' ') keep = value.size();
    ++at;
  }
  flush();
  value.resize(keep);
  return value;
}

std::vector<Ava> Split(const std::wstring& dn) {
  std::vector<Ava> avas;
  size_t at = 0;
  while (at < dn.size()) {
    while (at < dn.size() && dn[at] == L' ') ++at;
    const size_t equals = dn.find(L'=', at);
    if (equals == std::wstring::npos) break;
    Ava ava;
    ava.type = dn.substr(at, equals - at);
    while (!ava.type.empty() && ava.type.back() == L' ') ava.type.pop_back();
    at = equals + 1;
    ava.value = ReadValue(dn, at);
    ava.last = at >= dn.size() || dn[at] != L'+';
    avas.push_back(std::move(ava));
    if (at < dn.size()) ++at;  // the separator
  }
  return avas;
}

void Upper(std::wstring& text) {
  if (!text.empty()) ::CharUpperBuffW(&text[0], static_cast<DWORD>(text.size()));
}

}  // namespace

std::wstring NormalizeDn(const std::wstring& dn) {
  std::wstring key;
  for (Ava& ava : Split(dn)) {
    Upper(ava.type);
    Upper(ava.value);
    key += ava.type;
    key += L'=';
    // Only the separators need escaping in a key; the rest is literal.
    for (wchar_t c : ava.value) {
      if (c == L',' || c == L'+' || c == L'\\' || c == L'=' || c == L';') key += L'\\';
      key += c;
    }
    key += ava.last ? L',' : L'+';
  }
  return key;
}

std::wstring FirstRdnValue(const std::wstring& dn) {
  const std::vector<Ava> avas = Split(dn);
  return avas.empty() ? std::wstring() : avas.front().value;
}

}  // namespace Worker
