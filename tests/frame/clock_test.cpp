// The clocks' readings agree with each other, and their waits end the way the
// worker loops rely on: at the stop, after the period, or at once on a broken
// handle, so that a loop never spins.
#include <chrono>
#include <cstdint>

#include <gtest/gtest.h>

#include "frame/clock.h"
#include "frame/manual_clock.h"
#include "frame/owners.h"

namespace {

TEST(ManualClock, WaitsMoveBothReadingsByTheirPeriodUnlessStopped) {
  enum Stop { kNotSignalled, kSignalled, kClosed };
  struct Case {
    const char* name;
    uint32_t wait_ms;
    Stop stop;
    int64_t unix_after;
    int64_t ticks_after;  // FILETIME
  };
  constexpr int64_t kStart = 1'700'000'000;
  constexpr int64_t kStartTicks = 116'444'736'000'000'000 + kStart * 10'000'000;
  const Case cases[] = {
      {"whole seconds", 120'000, kNotSignalled, kStart + 120, kStartTicks + 1'200'000'000},
      {"seconds round down", 1'999, kNotSignalled, kStart + 1, kStartTicks + 19'990'000},
      {"stopped", 120'000, kSignalled, kStart, kStartTicks},
      {"broken stop handle", 120'000, kClosed, kStart, kStartTicks},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    kel::ManualClock clock(kStart);
    kel::UniqueEvent stop(::CreateEventW(nullptr, TRUE, c.stop == kSignalled, nullptr));
    const HANDLE waited_on = stop.get();
    if (c.stop == kClosed) stop.reset();
    EXPECT_EQ(clock.WaitFor(waited_on, c.wait_ms), c.stop != kNotSignalled);
    EXPECT_EQ(clock.UnixSeconds(), c.unix_after);
    EXPECT_EQ(kel::FileTimeTicks(clock.FileTime()), c.ticks_after);
  }
}

TEST(SystemClock, ReadingsAgreeAndWaitsEndOnStopTimeOrBrokenHandle) {
  kel::Clock& clock = kel::SystemClock::Instance();
  const int64_t unix = clock.UnixSeconds();
  const int64_t from_filetime = kel::UnixSecondsFromTicks(kel::FileTimeTicks(clock.FileTime()));
  EXPECT_LE(unix, from_filetime);
  EXPECT_LE(from_filetime, unix + 1);

  kel::UniqueEvent stop(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const auto before = std::chrono::steady_clock::now();
  EXPECT_FALSE(clock.WaitFor(stop.get(), 30));
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(25));
  ::SetEvent(stop.get());
  EXPECT_TRUE(clock.WaitFor(stop.get(), 60'000));
  const HANDLE closed = stop.get();
  stop.reset();
  EXPECT_TRUE(clock.WaitFor(closed, 60'000));
}

}  // namespace
