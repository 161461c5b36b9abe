#pragma once
// An IPv4 address as the plug-ins keep it, with its dotted text form.
//
// Accepted text:
//   - exactly four groups separated by ".", before the first "/";
//   - each group read by the small-number parser (number_text.h: the rules of
//     std::stoi, so leading blanks and a "+" are taken and trailing text is
//     ignored), with a value below 256;
//   - optionally "/" and 1 or 2 decimal digits with a value from 1 to 32, and
//     nothing after them.
// A prefix of 0 in the structure means "no prefix", so "/0" is rejected, as are
// "/" with nothing after it and "/33". A rejected text leaves the output as it
// was.
#include <cstdint>

#include "frame/string.h"

namespace kel::nusdk::Network {

struct IPv4 {
  uint32_t address = 0;  // the lowest byte is the first group of the text
  uint32_t prefix = 0;   // 0: no prefix

  // "a.b.c.d", plus "/p" when there is a prefix.
  StringW ToString() const;
  static bool Parse(const wchar_t* text, IPv4& out);
};

}  // namespace kel::nusdk::Network
