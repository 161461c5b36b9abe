// Progress events are throttled by the sweep rules; a ManualClock stands in
// for hours of wall-clock time.
#include <atomic>
#include <mutex>
#include <vector>

#include <ostream>

#include <gtest/gtest.h>

#include "frame/guid.h"
#include "frame/manual_clock.h"
#include "ondemand/progress_reporter.h"

namespace {

using MailServers::OdProgressReporter;
kel::Guid Id(uint64_t n) { return kel::Guid{n, 0}; }

constexpr int64_t kStart = 1'700'000'100;  // not on a 30-minute mark

struct Sent {
  int64_t at;
  uint32_t percentage;
  bool operator==(const Sent& other) const {
    return at == other.at && percentage == other.percentage;
  }
};

// Records every event sent, with the clock's time.
class Recorder {
 public:
  explicit Recorder(kel::Clock& clock) : clock_(clock) {}
  OdProgressReporter::Send Sender() {
    return [this](const OdProgressReporter::OdProgress& progress) {
      std::lock_guard<std::mutex> lock(mutex_);
      if (failures_ > 0) {
        --failures_;
        return 1u;
      }
      sent_.push_back({clock_.UnixSeconds(), progress.percentage});
      return 0u;
    };
  }
  std::vector<Sent> All() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sent_;
  }
  void FailNext(int count) {
    std::lock_guard<std::mutex> lock(mutex_);
    failures_ = count;
  }

 private:
  kel::Clock& clock_;
  mutable std::mutex mutex_;
  std::vector<Sent> sent_;
  int failures_ = 0;
};

// One step of a sweep-rule case: move the clock, then report (a percentage,
// or the end with kEnd), then sweep unless told not to.
constexpr int kEnd = -1;
constexpr int kNothing = -2;
struct Step {
  int64_t advanceSeconds;
  int report;
  bool sweep = true;
  int failSends = 0;
};

struct SweepCase {
  const char* name;
  std::vector<Step> steps;
  std::vector<uint32_t> sent;
  size_t trackedAfter;
};
// Failures name the case, not its bytes.
void PrintTo(const SweepCase& c, std::ostream* os) { *os << c.name; }

class SweepRules : public ::testing::TestWithParam<SweepCase> {};

TEST_P(SweepRules, SendWhatTheRulesLetThrough) {
  kel::ManualClock clock(kStart);
  Recorder recorder(clock);
  OdProgressReporter reporter(recorder.Sender(), clock, false);
  for (const Step& step : GetParam().steps) {
    clock.Advance(step.advanceSeconds * 1000);
    recorder.FailNext(step.failSends);
    if (step.report == kEnd) {
      reporter.Finished(Id(1));
    } else if (step.report != kNothing) {
      reporter.Progress(Id(1), "ctx", static_cast<uint32_t>(step.report));
    }
    if (step.sweep) reporter.SweepNow();
  }
  std::vector<uint32_t> sent;
  for (const Sent& s : recorder.All()) sent.push_back(s.percentage);
  EXPECT_EQ(sent, GetParam().sent);
  EXPECT_EQ(reporter.Tracked(), GetParam().trackedAfter);
}

const SweepCase kSweepCases[] = {
    {"FirstThenFirstNonZeroThenTenPointsUp",
     {{0, 0}, {10, 3}, {10, 9}, {10, 10}, {10, 25}},
     {0, 3, 25},
     1},
    {"HeldValueGoesOutOnceTheLastIsThirtyMinutesOld",
     {{0, 0}, {10, 3}, {10, 9}, {1799 - 10, kNothing}, {1, kNothing}},
     {0, 3, 9},
     1},
    {"UnchangedValueIsNotRepeatedAfterThirtyMinutes",
     {{0, 40}, {1800, kNothing}, {1800, kNothing}},
     {40},
     1},
    {"UnchangedValueRepeatsAfterSixHours",
     {{0, 40}, {21599, kNothing}, {1, kNothing}, {1, kNothing}},
     {40, 40},
     1},
    {"EndBeforeAnyEventSendsExactlyOne", {{0, 5, false}, {0, kEnd}, {0, kNothing}}, {5}, 0},
    {"EndWithoutProgressSendsOne", {{0, kEnd}, {0, kNothing}}, {0}, 0},
    {"EndAfterAnEventSendsNothingMore", {{0, 50}, {10, kEnd}}, {50}, 0},
    {"EndSendsTheLastHeldBackValue", {{0, 10}, {10, 14}, {10, kEnd}}, {10, 14}, 0},
    {"FailedSendIsConsideredAgainNextSweep", {{0, 20, true, 1}, {5, kNothing}}, {20}, 1},
};

INSTANTIATE_TEST_SUITE_P(OnDemand, SweepRules, ::testing::ValuesIn(kSweepCases),
                         [](const auto& info) { return std::string(info.param.name); });

// The worker: every update is swept at once, and the 30-minute tick, on whole
// multiples of 30 minutes of wall-clock time, brings the six-hour repeat.
TEST(ProgressWorker, TicksOnWholeHalfHoursAndRepeatsAfterSixHours) {
  kel::ManualClock clock(kStart);
  clock.SetLimit(kStart);  // the worker sweeps the update, then parks
  Recorder recorder(clock);
  OdProgressReporter reporter(recorder.Sender(), clock);
  reporter.Progress(Id(1), "ctx", 40);
  ASSERT_TRUE(clock.WaitUntilParked(10000));
  ASSERT_EQ(recorder.All(), (std::vector<Sent>{{kStart, 40}}));

  const int64_t until = kStart + 7 * 3600;
  clock.SetLimit(until);
  ASSERT_TRUE(clock.WaitUntilParked(10000));
  const std::vector<Sent> sent = recorder.All();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[1].percentage, 40u);
  EXPECT_GE(sent[1].at, kStart + OdProgressReporter::kRepeatSeconds);
  EXPECT_LT(sent[1].at, kStart + OdProgressReporter::kRepeatSeconds + 1800);
  EXPECT_EQ(sent[1].at % 1800, 0);
}

// A send that destroys the reporter (the last reference to its agent going
// on the worker's thread) must neither dead-lock nor send again.
TEST(ProgressWorker, DestroyedFromItsOwnWorkerSendsNothingMore) {
  kel::ManualClock clock(kStart);
  clock.SetLimit(kStart);
  OdProgressReporter* reporter = nullptr;
  std::atomic<int> sends{0};
  std::atomic<bool> destroyed{false};
  reporter = new OdProgressReporter(
      [&](const OdProgressReporter::OdProgress& progress) {
        ++sends;
        if (progress.id == Id(1)) {
          delete reporter;
          destroyed = true;
        }
        return 0u;
      },
      clock, true);
  reporter->Progress(Id(2), "b", 10);
  ASSERT_TRUE(clock.WaitUntilParked(10000));
  ASSERT_EQ(sends.load(), 1);
  // Task 2 falls due by age alone; task 1's first event, swept before it in
  // id order, destroys the reporter.
  clock.Advance(OdProgressReporter::kRepeatSeconds * 1000);
  reporter->Progress(Id(1), "a", 10);
  for (int i = 0; i < 1000 && !destroyed; ++i) ::Sleep(10);
  ASSERT_TRUE(destroyed);
  ::Sleep(100);
  EXPECT_EQ(sends.load(), 2);
}

}  // namespace
