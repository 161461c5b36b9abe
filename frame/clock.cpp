#include "frame/clock.h"

#include <ctime>

namespace kel {

SystemClock& SystemClock::Instance() noexcept {
  static SystemClock clock;
  return clock;
}

int64_t SystemClock::UnixSeconds() const noexcept {
  return static_cast<int64_t>(::_time64(nullptr));
}

FILETIME SystemClock::FileTime() const noexcept {
  FILETIME now{};
  ::GetSystemTimeAsFileTime(&now);
  return now;
}

bool SystemClock::WaitFor(HANDLE stop, uint32_t milliseconds) noexcept {
  if (stop == nullptr) {
    ::Sleep(milliseconds);
    return false;
  }
  return ::WaitForSingleObject(stop, milliseconds) != WAIT_TIMEOUT;
}

}  // namespace kel
