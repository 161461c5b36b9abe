#pragma once
// The module's one source of time. Code that reads the time or waits for a
// period takes a Clock&, so that tests can drive hours of schedule in no time
// (ManualClock, frame/manual_clock.h) and production runs on SystemClock.
#include <cstdint>

#include "frame/win.h"

namespace kel {

// FILETIME counts 100 ns ticks since 1601-01-01 UTC.
inline constexpr int64_t kFileTimeTicksPerSecond = 10'000'000;
inline constexpr int64_t kFileTimeTicksPerMillisecond = 10'000;
inline constexpr int64_t kUnixEpochInFileTimeTicks = 116'444'736'000'000'000;

inline int64_t FileTimeTicks(const FILETIME& time) noexcept {
  return static_cast<int64_t>((static_cast<uint64_t>(time.dwHighDateTime) << 32) |
                              time.dwLowDateTime);
}
inline FILETIME FileTimeFromTicks(int64_t ticks) noexcept {
  const uint64_t bits = static_cast<uint64_t>(ticks);
  return FILETIME{static_cast<DWORD>(bits & 0xFFFFFFFFu), static_cast<DWORD>(bits >> 32)};
}
// Whole seconds since 1970-01-01 UTC, rounded down, as _time64 counts them.
inline int64_t UnixSecondsFromTicks(int64_t ticks) noexcept {
  const int64_t since = ticks - kUnixEpochInFileTimeTicks;
  const int64_t seconds = since / kFileTimeTicksPerSecond;
  return since % kFileTimeTicksPerSecond < 0 ? seconds - 1 : seconds;
}

class Clock {
 public:
  // Now, in whole seconds since 1970-01-01 UTC (what _time64 answers).
  virtual int64_t UnixSeconds() const noexcept = 0;
  // Now, in 100 ns ticks since 1601-01-01 UTC (what GetSystemTimeAsFileTime
  // answers). Not strictly increasing: two reads may answer the same.
  virtual FILETIME FileTime() const noexcept = 0;
  // Waits until `stop` is signalled or `milliseconds` have passed, whichever
  // comes first; true when it was the stop. A null `stop` waits the whole
  // period. A wait that fails (a closed handle) answers true too, so that a
  // loop `while (!clock.WaitFor(stop, period))` ends instead of spinning.
  virtual bool WaitFor(HANDLE stop, uint32_t milliseconds) noexcept = 0;

  virtual ~Clock() = default;
};

// The system's clock, shared by the whole process.
class SystemClock final : public Clock {
 public:
  static SystemClock& Instance() noexcept;

  int64_t UnixSeconds() const noexcept override;
  FILETIME FileTime() const noexcept override;
  bool WaitFor(HANDLE stop, uint32_t milliseconds) noexcept override;

 private:
  SystemClock() noexcept = default;
};

}  // namespace kel
