#include "frame/text_convert.h"

#include <cstdint>
#include <stdexcept>

namespace kel {

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

inline bool IsHighSurrogate(uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
inline bool IsLowSurrogate(uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace

size_t DecodeUtf8(const char* text, size_t length, wchar_t* out) noexcept {
  const unsigned char* in = reinterpret_cast<const unsigned char*>(text);
  size_t i = 0;
  wchar_t* const first = out;
  while (i < length) {
    const uint32_t lead = in[i++];
    if (lead < 0x80) {
      *out++ = static_cast<wchar_t>(lead);
      continue;
    }
    // The bounds of the first continuation byte exclude overlong forms,
    // encoded surrogates and code points above U+10FFFF in one test, so a
    // sequence that breaks them ends right there (a maximal subpart).
    size_t needed;
    uint32_t low = 0x80, high = 0xBF, code;
    if (lead < 0xC2) {
      *out++ = kReplacement;  // a stray continuation byte, or C0/C1
      continue;
    } else if (lead < 0xE0) {
      needed = 1;
      code = lead & 0x1F;
    } else if (lead < 0xF0) {
      needed = 2;
      code = lead & 0x0F;
      if (lead == 0xE0) low = 0xA0;
      if (lead == 0xED) high = 0x9F;
    } else if (lead < 0xF5) {
      needed = 3;
      code = lead & 0x07;
      if (lead == 0xF0) low = 0x90;
      if (lead == 0xF4) high = 0x8F;
    } else {
      *out++ = kReplacement;
      continue;
    }
    bool complete = true;
    for (size_t k = 0; k < needed; ++k) {
      if (i >= length || in[i] < low || in[i] > high) {
        complete = false;
        break;
      }
      code = (code << 6) | (in[i++] & 0x3F);
      low = 0x80;
      high = 0xBF;
    }
    if (!complete) {
      *out++ = kReplacement;
    } else if (code < 0x10000) {
      *out++ = static_cast<wchar_t>(code);
    } else {
      code -= 0x10000;
      *out++ = static_cast<wchar_t>(0xD800 + (code >> 10));
      *out++ = static_cast<wchar_t>(0xDC00 + (code & 0x3FF));
    }
  }
  return static_cast<size_t>(out - first);
}

size_t EncodeUtf8(const wchar_t* text, size_t length, char* out) noexcept {
  char* const first = out;
  for (size_t i = 0; i < length; ++i) {
    uint32_t code = static_cast<uint16_t>(text[i]);
    if (code < 0x80) {
      *out++ = static_cast<char>(code);
      continue;
    }
    if (code < 0x800) {
      *out++ = static_cast<char>(0xC0 | (code >> 6));
      *out++ = static_cast<char>(0x80 | (code & 0x3F));
      continue;
    }
    if (IsHighSurrogate(code) && i + 1 < length &&
        IsLowSurrogate(static_cast<uint16_t>(text[i + 1]))) {
      code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<uint16_t>(text[++i]) - 0xDC00);
      *out++ = static_cast<char>(0xF0 | (code >> 18));
      *out++ = static_cast<char>(0x80 | ((code >> 12) & 0x3F));
      *out++ = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      *out++ = static_cast<char>(0x80 | (code & 0x3F));
      continue;
    }
    if (IsHighSurrogate(code) || IsLowSurrogate(code)) code = kReplacement;
    *out++ = static_cast<char>(0xE0 | (code >> 12));
    *out++ = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (code & 0x3F));
  }
  return static_cast<size_t>(out - first);
}

std::wstring WideFromUtf8(const char* text, size_t length) {
  std::wstring wide(length, L'\0');
  if (length != 0) wide.resize(DecodeUtf8(text, length, &wide[0]));
  return wide;
}

std::string Utf8FromWide(const wchar_t* text, size_t length) {
  if (length > std::string().max_size() / 3) throw std::length_error("text too long");
  std::string narrow(3 * length, '\0');
  if (length != 0) narrow.resize(EncodeUtf8(text, length, &narrow[0]));
  return narrow;
}

}  // namespace kel
