#include "frame/manual_clock.h"

namespace kel {
namespace {

// True when `stop` is signalled, or cannot be waited on (see Clock::WaitFor).
bool Stopped(HANDLE stop) noexcept {
  return stop != nullptr && ::WaitForSingleObject(stop, 0) != WAIT_TIMEOUT;
}

}  // namespace

ManualClock::ManualClock(int64_t unixSeconds) noexcept
    : now_(kUnixEpochInFileTimeTicks + unixSeconds * kFileTimeTicksPerSecond),
      release_(::CreateSemaphoreW(nullptr, 0, LONG_MAX, nullptr)),
      someone_parked_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

int64_t ManualClock::UnixSeconds() const noexcept {
  CriticalSectionLock lock(lock_);
  return UnixSecondsFromTicks(now_);
}

FILETIME ManualClock::FileTime() const noexcept {
  CriticalSectionLock lock(lock_);
  return FileTimeFromTicks(now_);
}

bool ManualClock::WaitFor(HANDLE stop, uint32_t milliseconds) noexcept {
  const int64_t period = static_cast<int64_t>(milliseconds) * kFileTimeTicksPerMillisecond;
  for (;;) {
    if (Stopped(stop)) return true;
    uint64_t generation = 0;
    {
      CriticalSectionLock lock(lock_);
      if (now_ <= limit_ - period) {
        now_ += period;
        ++waits_;
        return false;
      }
      generation = generation_;
      if (parked_++ == 0) ::SetEvent(someone_parked_.get());
    }
    const HANDLE handles[] = {release_.get(), stop};
    const DWORD woke = ::WaitForMultipleObjects(stop != nullptr ? 2 : 1, handles, FALSE, INFINITE);
    {
      // Still counted unless a SetLimit released this waiter meanwhile.
      CriticalSectionLock lock(lock_);
      if (generation_ == generation && --parked_ == 0) ::ResetEvent(someone_parked_.get());
    }
    // A semaphore count left over by a waiter that stopped instead is harmless:
    // it only makes some waiter look at the limit once more.
    if (woke != WAIT_OBJECT_0) return true;
  }
}

void ManualClock::Advance(int64_t milliseconds) noexcept {
  CriticalSectionLock lock(lock_);
  now_ += milliseconds * kFileTimeTicksPerMillisecond;
}

void ManualClock::SetLimit(int64_t unixSeconds) noexcept {
  CriticalSectionLock lock(lock_);
  limit_ = kUnixEpochInFileTimeTicks + unixSeconds * kFileTimeTicksPerSecond;
  ++generation_;
  if (parked_ > 0) ::ReleaseSemaphore(release_.get(), parked_, nullptr);
  parked_ = 0;
  ::ResetEvent(someone_parked_.get());
}

bool ManualClock::WaitUntilParked(uint32_t timeoutMs) const noexcept {
  return ::WaitForSingleObject(someone_parked_.get(), timeoutMs) == WAIT_OBJECT_0;
}

uint64_t ManualClock::Waits() const noexcept {
  CriticalSectionLock lock(lock_);
  return waits_;
}

}  // namespace kel
