// The worker thread's stop protocol, and a worker loop on a manual clock.
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "frame/manual_clock.h"
#include "frame/owners.h"
#include "frame/worker_thread.h"

namespace {

constexpr DWORD kGenerousMs = 10000;  // a wait this long means a hang

bool IsOpen(HANDLE handle) {
  DWORD flags = 0;
  return ::GetHandleInformation(handle, &flags) != FALSE;
}

TEST(WorkerThread, StopSignalsThenJoinsThenFrees) {
  struct Seen {
    HANDLE stop = nullptr;
    bool stopped_by_event = false;
    std::atomic<bool> finished{false};
  };
  auto seen = std::make_shared<Seen>();
  std::weak_ptr<Seen> body_copy = seen;
  kel::WorkerThread worker;
  ASSERT_EQ(worker.Start([seen](HANDLE stop) {
    seen->stop = stop;
    seen->stopped_by_event = ::WaitForSingleObject(stop, kGenerousMs) == WAIT_OBJECT_0;
    ::Sleep(50);  // a Stop that does not join returns before this ends
    seen->finished = true;
  }),
            0u);
  ::Sleep(20);  // let the body reach its wait
  ASSERT_EQ(worker.Stop(), 0u);
  EXPECT_FALSE(worker.Running());
  EXPECT_TRUE(seen->finished);
  EXPECT_TRUE(seen->stopped_by_event);
  EXPECT_FALSE(IsOpen(seen->stop));
  seen.reset();
  EXPECT_TRUE(body_copy.expired()) << "the body and what it captured must go with the thread";
}

// What the body does to its own owner, which the test owns on the heap.
struct SelfCase {
  const char* name;
  std::function<DWORD(std::unique_ptr<kel::WorkerThread>& owner)> act;
  DWORD expected;  // what act answers
  bool owner_lives;
};

TEST(WorkerThread, TheWorkerCannotJoinItself) {
  const SelfCase cases[] = {
      {"stop", [](std::unique_ptr<kel::WorkerThread>& owner) { return owner->Stop(); },
       static_cast<DWORD>(ERROR_POSSIBLE_DEADLOCK), true},
      {"destroy",
       [](std::unique_ptr<kel::WorkerThread>& owner) -> DWORD {
         owner.reset();
         return 0;
       },
       0, false},
  };
  for (const SelfCase& c : cases) {
    SCOPED_TRACE(c.name);
    auto owner = std::make_unique<kel::WorkerThread>();
    kel::UniqueEvent done(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    DWORD answered = 0xFFFFFFFF;
    bool stop_signalled = false;
    auto token = std::make_shared<int>(0);
    const std::weak_ptr<int> body_alive = token;
    ASSERT_EQ(owner->Start([&, token](HANDLE stop) {
      answered = c.act(owner);
      stop_signalled = ::WaitForSingleObject(stop, 0) == WAIT_OBJECT_0;
      ::SetEvent(done.get());
      // Dropped by its owner or not, the body still has its stop event.
      ::WaitForSingleObject(stop, kGenerousMs);
    }),
              0u);
    token.reset();
    if (::WaitForSingleObject(done.get(), kGenerousMs) != WAIT_OBJECT_0) {
      static_cast<void>(owner.release());  // joining it would hang the test program too
      FAIL() << "the worker hangs in its own owner";
    }
    EXPECT_EQ(answered, c.expected);
    // A refused stop changes nothing; a dropped owner tells the body to end.
    EXPECT_EQ(stop_signalled, !c.owner_lives);
    EXPECT_EQ(owner != nullptr, c.owner_lives);
    if (owner) {
      EXPECT_EQ(owner->Stop(), 0u);
    }
    // Either way, the body goes once its thread ends.
    for (int i = 0; i < 1000 && !body_alive.expired(); ++i) ::Sleep(10);
    EXPECT_TRUE(body_alive.expired());
  }
}

TEST(WorkerThread, StartsOnceStopsAnyNumberOfTimesAndRestarts) {
  kel::WorkerThread worker;
  EXPECT_EQ(worker.Stop(), 0u) << "never started";
  EXPECT_EQ(worker.Start(kel::WorkerThread::Body()), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  std::atomic<int> runs{0};
  const auto body = [&runs](HANDLE stop) {
    ++runs;
    ::WaitForSingleObject(stop, kGenerousMs);
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
  constexpr int64_t kTicksPerHour = 3600 * 1000 / kPeriodMs;
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

  ASSERT_TRUE(clock.WaitUntilParked(kGenerousMs));
  EXPECT_EQ(ticks, 24 * kTicksPerHour);
  EXPECT_EQ(last_seen, kStart + 24 * 3600);

  clock.SetLimit(kStart + 25 * 3600);  // one more hour
  ASSERT_TRUE(clock.WaitUntilParked(kGenerousMs));
  EXPECT_EQ(ticks, 25 * kTicksPerHour);
  EXPECT_EQ(clock.Waits(), static_cast<uint64_t>(25 * kTicksPerHour));

  EXPECT_EQ(worker.Stop(), 0u);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
}

}  // namespace
