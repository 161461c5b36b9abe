#pragma once
// A Clock whose time moves only when it is waited on, for tests of code that
// runs on periods of minutes or hours. A test on one thread moves the time
// itself with WaitFor(nullptr, period).
//
// A wait ends at once and moves the time forward by its whole period, unless
// that would pass the limit: such a wait parks until its stop is signalled or
// a later limit lets it through. With no limit (the default), a loop
//   while (!clock.WaitFor(stop, period)) ...
// runs as fast as it can; with one, it runs exactly up to the limit and parks
// there, and the test reads the outcome at a known time:
//
//   clock.SetLimit(start + 3600);
//   worker.Start(...);
//   ASSERT_TRUE(clock.WaitUntilParked(kTimeoutMs));  // one virtual hour later
//
// Meant for one waiting thread at a time: the time is shared, so each waiter
// would move it by its own period.
#include <climits>
#include <cstdint>

#include "frame/clock.h"
#include "frame/critical_section.h"
#include "frame/owners.h"

namespace kel {

class ManualClock final : public Clock {
 public:
  explicit ManualClock(int64_t unixSeconds) noexcept;

  int64_t UnixSeconds() const noexcept override;
  FILETIME FileTime() const noexcept override;
  bool WaitFor(HANDLE stop, uint32_t milliseconds) noexcept override;

  // Moves the time forward by hand, limit or not; wakes no waiter.
  void Advance(int64_t milliseconds) noexcept;
  // Waits may move the time up to `unixSeconds` and no further; parked
  // waiters that the new limit lets through go on.
  void SetLimit(int64_t unixSeconds) noexcept;
  // Really waits, at most `timeoutMs`, for a waiter to park at the limit.
  bool WaitUntilParked(uint32_t timeoutMs) const noexcept;
  // Waits that ended by moving the time.
  uint64_t Waits() const noexcept;

 private:
  mutable CriticalSection lock_;
  int64_t now_;  // FILETIME ticks
  int64_t limit_ = INT64_MAX;
  uint64_t waits_ = 0;
  // Parked waiters are counted per limit: SetLimit releases them all at once
  // (one semaphore count each) and starts a new count.
  uint64_t generation_ = 0;
  long parked_ = 0;
  UniqueHandle release_;        // semaphore
  UniqueEvent someone_parked_;  // manual reset: set while parked_ > 0
};

}  // namespace kel
