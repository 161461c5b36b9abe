#pragma once
// A 16-byte interface identifier as the host passes it: two unsigned 64-bit
// halves, low half first in memory (the bytes of a standard GUID).
#include <cstdint>

namespace kel {

struct InterfaceId {
  uint64_t low;
  uint64_t high;
};
static_assert(sizeof(InterfaceId) == 16, "identifiers cross the host boundary as 16 bytes");

// The host compares the high half first; equality is all that matters here.
constexpr bool operator==(const InterfaceId& a, const InterfaceId& b) {
  return a.high == b.high && a.low == b.low;
}
constexpr bool operator!=(const InterfaceId& a, const InterfaceId& b) { return !(a == b); }

}  // namespace kel
