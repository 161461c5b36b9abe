#include "frame/interface_id_text.h"

#include <cwctype>

namespace kel {
namespace {

// Byte i of the 16-byte identifier as stored in memory (low half first, little-endian).
unsigned ByteAt(const InterfaceId& id, int i) {
  const uint64_t half = i < 8 ? id.low : id.high;
  return static_cast<unsigned>((half >> (8 * (i % 8))) & 0xff);
}

void SetByte(InterfaceId& id, int i, unsigned value) {
  uint64_t& half = i < 8 ? id.low : id.high;
  const int shift = 8 * (i % 8);
  half = (half & ~(uint64_t{0xff} << shift)) | (uint64_t{value} << shift);
}

// Text order of the bytes: Data1..Data3 are little-endian numbers, Data4 is a byte array.
constexpr int kTextOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr int kDashAfter[4] = {3, 5, 7, 9};  // text positions (in bytes) followed by '-'

int HexValue(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

}  // namespace

std::wstring InterfaceIdToText(const InterfaceId& id) {
  static const wchar_t kDigits[] = L"0123456789abcdef";
  std::wstring text;
  text.reserve(36);
  for (int pos = 0; pos < 16; ++pos) {
    const unsigned b = ByteAt(id, kTextOrder[pos]);
    text += kDigits[b >> 4];
    text += kDigits[b & 0xf];
    for (int d : kDashAfter)
      if (pos == d) text += L'-';
  }
  return text;
}

bool InterfaceIdFromText(const std::wstring& text, InterfaceId& out) {
  std::wstring body = text;
  if (!body.empty() && body.front() == L'{') {
    if (body.size() < 2 || body.back() != L'}') return false;
    body = body.substr(1, body.size() - 2);
  }
  if (body.size() != 36) return false;
  InterfaceId id{0, 0};
  size_t at = 0;
  for (int pos = 0; pos < 16; ++pos) {
    const int hi = HexValue(body[at]);
    const int lo = HexValue(body[at + 1]);
    if (hi < 0 || lo < 0) return false;
    SetByte(id, kTextOrder[pos], static_cast<unsigned>(hi * 16 + lo));
    at += 2;
    for (int d : kDashAfter) {
      if (pos != d) continue;
      if (body[at] != L'-') return false;
      ++at;
    }
  }
  out = id;
  return true;
}

}  // namespace kel
