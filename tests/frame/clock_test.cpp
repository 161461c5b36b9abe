// The clocks' readings agree with each other, and their waits end the way the
// worker loops rely on.
#include <chrono>
#include <cstdint>

#include <gtest/gtest.h>

#include "frame/clock.h"
#include "frame/manual_clock.h"
#include "frame/owners.h"

namespace {

TEST(ManualClock, WaitsMoveBothReadingsByTheirPeriodUnlessStopped) {
  struct Case {
    const char* name;
    int64_t start;
    uint32_t wait_ms;
    bool stopped;
    int64_t unix_after;
    int64_t ticks_after;  // FILETIME
  };
  constexpr int64_t kEpoch = 116'444'736'000'000'000;  // 1970-01-01 in FILETIME ticks
  constexpr int64_t kSecond = 10'000'000;
  const Case cases[] = {
      {"epoch", 0, 0, false, 0, kEpoch},
      {"whole seconds", 1'700'000'000, 120'000, false, 1'700'000'120,
       kEpoch + 1'700'000'120 * kSecond},
      {"seconds round down", 1'700'000'000, 1'999, false, 1'700'000'001,
       kEpoch + 1'700'000'000 * kSecond + 19'990'000},
      {"before 1970 rounds down too", -1, 500, false, -1, kEpoch - 5'000'000},
      {"stopped", 1'700'000'000, 120'000, true, 1'700'000'000, kEpoch + 1'700'000'000 * kSecond},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    kel::ManualClock clock(c.start);
    const kel::UniqueEvent stop(::CreateEventW(nullptr, TRUE, c.stopped, nullptr));
    EXPECT_EQ(clock.WaitFor(stop.get(), c.wait_ms), c.stopped);
    EXPECT_EQ(clock.UnixSeconds(), c.unix_after);
    EXPECT_EQ(kel::FileTimeTicks(clock.FileTime()), c.ticks_after);
  }
}

TEST(SystemClock, ReadingsAgreeAndWaitsEndOnStopOrTime) {
  kel::Clock& clock = kel::SystemClock::Instance();
  const int64_t unix = clock.UnixSeconds();
  const int64_t from_filetime = kel::UnixSecondsFromTicks(kel::FileTimeTicks(clock.FileTime()));
  EXPECT_LE(unix, from_filetime);
  EXPECT_LE(from_filetime, unix + 1);

  const kel::UniqueEvent stop(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const auto before = std::chrono::steady_clock::now();
  EXPECT_FALSE(clock.WaitFor(stop.get(), 30));
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(25));
  ::SetEvent(stop.get());
  EXPECT_TRUE(clock.WaitFor(stop.get(), 60'000));
}

TEST(Clocks, AWaitOnABrokenHandleEndsTheLoop) {
  kel::ManualClock manual(0);
  kel::Clock* const clocks[] = {&kel::SystemClock::Instance(), &manual};
  HANDLE closed = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ::CloseHandle(closed);
  for (kel::Clock* clock : clocks) {
    EXPECT_TRUE(clock->WaitFor(closed, 60'000));
  }
}

}  // namespace
