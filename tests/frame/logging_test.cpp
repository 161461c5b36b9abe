// The logging binding against the recording log.dll beside this program. Every
// test starts and ends with no handle live and no log.dll loaded, so each one
// sees a freshly loaded library with empty records.
#include <algorithm>
#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frame/logging/log.h"
#include "tests/support/log_sink_probe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class LoggingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(logging::IsActive());
    ASSERT_EQ(::GetModuleHandleW(L"log.dll"), nullptr);
  }
  void TearDown() override { EXPECT_FALSE(logging::IsActive()); }
};

std::vector<std::string> WithInit(std::vector<std::string> calls) {
  calls.insert(calls.begin(), "LogInit");
  return calls;
}

TEST_F(LoggingTest, HandlesShareOneBindingAndTheLastTearsItDown) {
  SinkProbe probe(ProgramFolder() + L"log.dll");
  std::optional<logging::LogHandle> first(std::in_place);
  std::optional<logging::LogHandle> second(std::in_place);
  EXPECT_EQ(first->get(), second->get());
  // An already loaded library is the one to bind.
  EXPECT_EQ((*first)->module(), probe.module());
  EXPECT_THAT(probe.DrainCalls(), ElementsAre("LogInit"));

  first.reset();
  logging::Write(logging::kLevelTrace, L"Still", L"bound");
  EXPECT_THAT(probe.DrainLines(), ElementsAre(RecordedLine{32, 0, L"Still", L"bound"}));
  EXPECT_THAT(probe.DrainCalls(), IsEmpty());

  second.reset();
  EXPECT_FALSE(logging::IsActive());
  EXPECT_THAT(probe.DrainCalls(), ElementsAreArray(TeardownCalls()));
  // Nothing is written, and nothing binds anew, once the last handle is gone.
  logging::Write(logging::kLevelFailure, L"After", L"late");
  EXPECT_THAT(probe.DrainLines(), IsEmpty());

  // A handle taken after the last one went binds afresh.
  { logging::LogHandle again; }
  EXPECT_THAT(probe.DrainCalls(), ElementsAreArray(WithInit(TeardownCalls())));

  // Ours was the last reference: the binding gave its own back.
  probe.Release();
  EXPECT_EQ(::GetModuleHandleW(L"log.dll"), nullptr);
}

// The module's formats use %s for wide strings; a library formatting them the
// C99 way would see a narrow string and stop after the first character.
TEST_F(LoggingTest, WritesReachTheLibraryUnformattedAndPercentSIsAWholeWideString) {
  SinkProbe probe(ProgramFolder() + L"log.dll");
  const std::wstring long_text(5000, L'x');
  {
    logging::LogHandle handle;
    logging::Write(logging::kLevelFailure, L"Quarantine::Agent::Init",
                   L"Method '%s' failed: %d of %u", L"GetQuarantineItems", -3, 7u);
    const uint32_t level = logging::kLevelSubnodeFailure;
    LogWriteFormatted(0x1234, &level, logging::ThisModule(), L"Load", L"[%s]", long_text.c_str());
  }
  EXPECT_THAT(probe.DrainLines(),
              ElementsAre(RecordedLine{8, 0, L"Quarantine::Agent::Init",
                                       L"Method 'GetQuarantineItems' failed: -3 of 7"},
                          RecordedLine{16, 0x1234, L"Load", L"[" + long_text + L"]"}));
}

TEST_F(LoggingTest, ConcurrentHandlesAndWritesLoseNothing) {
  SinkProbe probe(ProgramFolder() + L"log.dll");
  constexpr int kThreads = 4;
  constexpr int kWrites = 100;
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &ready] {
      ++ready;
      while (ready.load() < kThreads) std::this_thread::yield();
      logging::LogHandle handle;  // the first handles race to bind
      for (int i = 0; i < kWrites; ++i) {
        logging::Write(logging::kLevelTrace, L"Worker", L"%d:%d", t, i);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  const std::vector<RecordedLine> lines = probe.DrainLines();
  ASSERT_EQ(lines.size(), static_cast<size_t>(kThreads * kWrites));
  std::vector<int> next(kThreads, 0);  // each thread's lines arrive in its order
  for (const RecordedLine& line : lines) {
    const int t = line.message[0] - L'0';
    ASSERT_TRUE(t >= 0 && t < kThreads) << ::testing::PrintToString(line.message);
    EXPECT_EQ(std::stoi(line.message.substr(2)), next[t]++);
  }

  // However the handles interleaved, every binding was torn down again.
  const std::vector<std::string> calls = probe.DrainCalls();
  const auto inits = std::count(calls.begin(), calls.end(), "LogInit");
  EXPECT_GE(inits, 1);
  EXPECT_EQ(inits, std::count(calls.begin(), calls.end(), "LogDeinit"));
}

}  // namespace
