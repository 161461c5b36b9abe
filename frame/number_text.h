#pragma once
#include <cstdint>
#include <string>

namespace kel {

// Reads a number below 256 (an IPv4 octet, a small code) from wide text by the
// rules of std::stoi: base 10, leading blanks skipped, trailing text ignored.
// True only when a number was read and, taken as unsigned, is below 256; then
// `value` receives it, otherwise `value` is left as it was. Never throws.
bool ParseSmallNumber(const std::wstring& text, uint32_t& value) noexcept;

}  // namespace kel
