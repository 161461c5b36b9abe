#include "frame/number_text.h"

#include <stdexcept>

namespace kel {

bool ParseSmallNumber(const std::wstring& text, uint32_t& value) noexcept {
  int parsed;
  try {
    parsed = std::stoi(text);
  } catch (const std::invalid_argument&) {
    return false;
  } catch (const std::out_of_range&) {
    return false;
  }
  // Negative numbers wrap to large unsigned values and fail here.
  if (static_cast<uint32_t>(parsed) >= 256) return false;
  value = static_cast<uint32_t>(parsed);
  return true;
}

}  // namespace kel
