// The worker thread's stop protocol, and a worker loop on a manual clock.
#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "frame/manual_clock.h"
#include "frame/owners.h"
#include "frame/worker_thread.h"

namespace {

constexpr DWORD kHangMs = 10000;  // a wait this long means a hang

TEST(WorkerThread, StopSignalsThenJoinsThenFrees) {
  struct Seen {
    HANDLE stop = nullptr;
    bool woken_by_stop = false;
    bool finished = false;
  };
  auto seen = std::make_shared<Seen>();
  const std::weak_ptr<Seen> held_by_body = seen;
  kel::WorkerThread worker;
  ASSERT_EQ(worker.Start([seen](HANDLE stop) {
    seen->stop = stop;
    seen->woken_by_stop = ::WaitForSingleObject(stop, kHangMs) == WAIT_OBJECT_0;
    ::Sleep(50);  // a Stop that does not join returns before this ends
    seen->finished = true;
  }),
            0u);
  ASSERT_EQ(worker.Stop(), 0u);
  EXPECT_TRUE(seen->woken_by_stop);
  EXPECT_TRUE(seen->finished);
  DWORD flags = 0;
  EXPECT_FALSE(::GetHandleInformation(seen->stop, &flags)) << "the stop event is closed";
  seen.reset();
  EXPECT_TRUE(held_by_body.expired()) << "the body is freed";
}

TEST(WorkerThread, TheWorkerCannotJoinItself) {
  for (const bool destroy : {false, true}) {
    SCOPED_TRACE(destroy ? "destroy" : "stop");
    auto owner = std::make_unique<kel::WorkerThread>();
    const kel::UniqueEvent done(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    DWORD answered = 0;
    bool stop_signalled = false;
    auto token = std::make_shared<int>(0);
    const std::weak_ptr<int> held_by_body = token;
    ASSERT_EQ(owner->Start([&, token](HANDLE stop) {
      if (destroy) {
        owner.reset();
      } else {
        answered = owner->Stop();
      }
      stop_signalled = ::WaitForSingleObject(stop, 0) == WAIT_OBJECT_0;
      ::SetEvent(done.get());
      ::WaitForSingleObject(stop, kHangMs);  // still there, owner or not
    }),
              0u);
    token.reset();
    if (::WaitForSingleObject(done.get(), kHangMs) != WAIT_OBJECT_0) {
      static_cast<void>(owner.release());  // joining it would hang the test program too
      FAIL() << "the worker hangs in its own owner";
    }
    // A refused stop changes nothing; a dropped owner tells the body to end.
    EXPECT_EQ(answered, destroy ? 0 : static_cast<DWORD>(ERROR_POSSIBLE_DEADLOCK));
    EXPECT_EQ(stop_signalled, destroy);
    if (!destroy) {
      EXPECT_EQ(owner->Stop(), 0u);
    }
    // Either way, the body goes once its thread ends.
    for (int i = 0; i < 1000 && !held_by_body.expired(); ++i) ::Sleep(10);
    EXPECT_TRUE(held_by_body.expired());
  }
}

TEST(WorkerThread, StartsOnceStopsAnyNumberOfTimesAndRestarts) {
  kel::WorkerThread worker;
  EXPECT_EQ(worker.Stop(), 0u) << "never started";
  std::atomic<int> runs{0};
  const auto body = [&runs](HANDLE stop) {
    ++runs;
    ::WaitForSingleObject(stop, kHangMs);
  };
  ASSERT_EQ(worker.Start(body), 0u);
  EXPECT_EQ(worker.Start(body), static_cast<DWORD>(ERROR_ALREADY_INITIALIZED));
  EXPECT_EQ(worker.Stop(), 0u);
  EXPECT_EQ(worker.Stop(), 0u);
  ASSERT_EQ(worker.Start(body), 0u);
  EXPECT_EQ(worker.Stop(), 0u);
  EXPECT_EQ(runs, 2);
  // An exception ends the body's thread, not the process.
  ASSERT_EQ(worker.Start([](HANDLE) { throw std::runtime_error("body failed"); }), 0u);
  EXPECT_EQ(worker.Stop(), 0u);
}

TEST(WorkerThread, LoopOnManualClockRunsHoursOfTicksAtOnceAndStopsPromptly) {
  constexpr int64_t kStart = 1'700'000'000;
  constexpr uint32_t kPeriodMs = 30'000;
  constexpr int64_t kTicksPerHour = 3600'000 / kPeriodMs;
  kel::ManualClock clock(kStart);
  clock.SetLimit(kStart + 24 * 3600);
  std::atomic<int64_t> ticks{0};
  std::atomic<int64_t> last_seen{0};
  kel::WorkerThread worker;
  const auto started = std::chrono::steady_clock::now();
  ASSERT_EQ(worker.Start([&](HANDLE stop) {
    while (!clock.WaitFor(stop, kPeriodMs)) {
      ++ticks;
      last_seen = clock.UnixSeconds();
    }
  }),
            0u);
  ASSERT_TRUE(clock.WaitUntilParked(kHangMs));
  EXPECT_EQ(ticks, 24 * kTicksPerHour);
  EXPECT_EQ(last_seen, kStart + 24 * 3600);

  clock.SetLimit(kStart + 25 * 3600);  // one hour more
  ASSERT_TRUE(clock.WaitUntilParked(kHangMs));
  EXPECT_EQ(ticks, 25 * kTicksPerHour);

  EXPECT_EQ(worker.Stop(), 0u);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
}

}  // namespace
