#include "frame/string.h"

#include <exception>

namespace kel {

namespace string_block {

void Corrupted() noexcept { std::terminate(); }

}  // namespace string_block

void IntToString(int32_t value, StringW& out) {
  // Unsigned negation gives the magnitude of INT32_MIN as well.
  uint32_t magnitude = value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
  wchar_t digits[12];
  wchar_t* end = digits + sizeof digits / sizeof digits[0];
  wchar_t* first = end;
  do {
    *--first = static_cast<wchar_t>(L'0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  if (value < 0) *--first = L'-';
  out.Assign(first, static_cast<size_t>(end - first));
}

}  // namespace kel
