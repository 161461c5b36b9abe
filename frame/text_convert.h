#pragma once
// Conversion between UTF-8 (JSON documents, narrow keys) and the UTF-16 wide
// text of the module (wchar_t is 16 bits on Windows).
//
// Neither direction ever fails or throws on bad input (only allocation can
// throw): text that cannot be converted is replaced, so that a damaged document
// still yields something a person can recognise in a log or a plug-in record.
//   - UTF-8 to wide: each maximal ill-formed subsequence (a stray continuation
//     byte, a truncated sequence, an overlong form, an encoded surrogate, a code
//     point above U+10FFFF, the bytes C0, C1, F5..FF) becomes one U+FFFD, as
//     the Unicode standard recommends. Code points above U+FFFF become
//     surrogate pairs. Zero bytes are kept.
//   - Wide to UTF-8: an unpaired surrogate becomes U+FFFD (EF BF BD); a pair
//     becomes one four-byte sequence. Zero characters are kept.
#include <cstddef>
#include <string>

namespace kel {

static_assert(sizeof(wchar_t) == 2, "wide text is UTF-16");

// Decodes `length` bytes into `out`, which must have room for `length`
// characters (no UTF-8 sequence yields more UTF-16 units than it has bytes).
// Returns the number of characters written; no terminator is added.
size_t DecodeUtf8(const char* text, size_t length, wchar_t* out) noexcept;

// Encodes `length` characters into `out`, which must have room for
// 3 * `length` bytes. Returns the number of bytes written; no terminator.
size_t EncodeUtf8(const wchar_t* text, size_t length, char* out) noexcept;

std::wstring WideFromUtf8(const char* text, size_t length);
inline std::wstring WideFromUtf8(const std::string& text) {
  return WideFromUtf8(text.data(), text.size());
}

std::string Utf8FromWide(const wchar_t* text, size_t length);
inline std::string Utf8FromWide(const std::wstring& text) {
  return Utf8FromWide(text.data(), text.size());
}

}  // namespace kel
