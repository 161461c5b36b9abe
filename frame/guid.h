#pragma once
// A 128-bit identifier as the plug-ins keep it: two 64-bit halves, low half
// first. Its text form is not the Windows GUID form: the high half comes first,
// "hhhhhhhh-hhhh-hhhh-llll-llllllllllll", in lower case.
#include <cstdint>

#include "frame/string.h"

namespace kel {

struct Guid {
  uint64_t low = 0;
  uint64_t high = 0;

  bool IsZero() const noexcept { return low == 0 && high == 0; }

  // The 36-character written form.
  StringW ToString() const;

  // Reads "{a-b-c-d-e}" or "a-b-c-d-e" with five hexadecimal numbers (as
  // scanf's %llx reads them) and combines them as high = (a << 32) + (b << 16)
  // + c, low = (d << 48) + e. Groups are not range-checked: an over-long group
  // spills into its neighbour's bits. True when all five numbers were read;
  // otherwise `out` is left as it was.
  static bool Parse(const wchar_t* text, Guid& out);
};

static_assert(sizeof(Guid) == 16, "a Guid is two 64-bit halves");

inline bool operator==(const Guid& a, const Guid& b) noexcept {
  return a.low == b.low && a.high == b.high;
}
inline bool operator!=(const Guid& a, const Guid& b) noexcept { return !(a == b); }
// Orders by the high half first, the way identifiers are kept sorted.
inline bool operator<(const Guid& a, const Guid& b) noexcept {
  return a.high != b.high ? a.high < b.high : a.low < b.low;
}

}  // namespace kel
