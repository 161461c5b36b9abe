// The logging binding against the recording log.dll beside this program. Every
// test starts and ends with no handle live and no log.dll loaded, so each one
// sees a freshly loaded library with empty records.
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

std::string ReadWholeFile(const std::wstring& path) {
  std::string text;
  HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return text;
  char buffer[4096];
  DWORD read = 0;
  while (::ReadFile(file, buffer, sizeof(buffer), &read, nullptr) && read > 0) {
    text.append(buffer, read);
  }
  ::CloseHandle(file);
  return text;
}

std::vector<std::string> WithInit(std::vector<std::string> calls) {
  calls.insert(calls.begin(), "LogInit");
  return calls;
}

TEST_F(LoggingTest, FirstHandleBindsTheLibraryBesideTheProgramAndInitialisesItOnce) {
  std::optional<SinkProbe> probe;
  {
    logging::LogHandle handle;
    ASSERT_NE(handle.get(), nullptr);
    const HMODULE bound = handle->module();
    ASSERT_NE(bound, nullptr);
    EXPECT_TRUE(logging::IsActive());
    EXPECT_EQ(::GetModuleHandleW(L"log.dll"), bound);
    EXPECT_EQ(ModulePath(bound), ProgramFolder() + L"log.dll");
    probe.emplace();
    EXPECT_THAT(probe->DrainCalls(), ElementsAre("LogInit"));
  }
  EXPECT_THAT(probe->DrainCalls(), ElementsAreArray(TeardownCalls()));
}

TEST_F(LoggingTest, LastHandleTearsDownInOrderAndReleasesTheLibrary) {
  SinkProbe probe(ProgramFolder() + L"log.dll");
  ASSERT_NE(probe.module(), nullptr);
  {
    logging::LogHandle handle;
    // An already loaded library is the one to bind.
    EXPECT_EQ(handle->module(), probe.module());
  }
  EXPECT_THAT(probe.DrainCalls(), ElementsAreArray(WithInit(TeardownCalls())));

  // Nothing is written, and nothing binds anew, once the last handle is gone.
  logging::Write(logging::kLevelFailure, L"After", L"late");
  EXPECT_THAT(probe.DrainLines(), IsEmpty());

  // Ours was the last reference: the binding gave its own back.
  probe.Release();
  EXPECT_EQ(::GetModuleHandleW(L"log.dll"), nullptr);
}

TEST_F(LoggingTest, HandlesShareOneBindingUntilTheLastIsDropped) {
  SinkProbe probe(ProgramFolder() + L"log.dll");
  std::optional<logging::LogHandle> first(std::in_place);
  std::optional<logging::LogHandle> second(std::in_place);
  EXPECT_EQ(first->get(), second->get());
  EXPECT_THAT(probe.DrainCalls(), ElementsAre("LogInit"));

  first.reset();
  EXPECT_TRUE(logging::IsActive());
  logging::Write(logging::kLevelTrace, L"Still", L"bound");
  EXPECT_THAT(probe.DrainLines(), ElementsAre(RecordedLine{32, 0, L"Still", L"bound"}));
  EXPECT_THAT(probe.DrainCalls(), IsEmpty());

  second.reset();
  EXPECT_FALSE(logging::IsActive());
  EXPECT_THAT(probe.DrainCalls(), ElementsAreArray(TeardownCalls()));

  // A handle taken after the last one went binds afresh.
  {
    logging::LogHandle again;
    EXPECT_NE(again.get(), nullptr);
    EXPECT_THAT(probe.DrainCalls(), ElementsAre("LogInit"));
  }
  EXPECT_THAT(probe.DrainCalls(), ElementsAreArray(TeardownCalls()));
}

TEST_F(LoggingTest, WritesReachTheLibraryWithTheirArgumentsUnformatted) {
  SinkProbe probe(ProgramFolder() + L"log.dll");
  {
    logging::LogHandle handle;
    logging::Write(logging::kLevelFailure, L"Quarantine::Agent::Init",
                   L"Method '%s' failed: %d of %u", L"GetQuarantineItems", -3, 7u);
    logging::Write(logging::kLevelMissingPrerequisite, L"Transport::Agent::Init",
                   L"Don't have one of the two plugins");
    const uint32_t level = logging::kLevelSubnodeFailure;
    LogWriteFormatted(0x1234, &level, logging::ThisModule(), L"Load", L"Failed to load subnode %s",
                      L"rules");
  }
  EXPECT_THAT(probe.DrainLines(),
              ElementsAre(RecordedLine{8, 0, L"Quarantine::Agent::Init",
                                       L"Method 'GetQuarantineItems' failed: -3 of 7"},
                          RecordedLine{4, 0, L"Transport::Agent::Init",
                                       L"Don't have one of the two plugins"},
                          RecordedLine{16, 0x1234, L"Load", L"Failed to load subnode rules"}));
}

// The module's formats use %s for wide strings; a library formatting them the
// C99 way would see a narrow string and stop after the first character.
TEST_F(LoggingTest, LibraryFormatsPercentSAsAWholeWideString) {
  SinkProbe probe(ProgramFolder() + L"log.dll");
  const std::wstring long_text(5000, L'x');
  {
    logging::LogHandle handle;
    logging::Write(logging::kLevelTrace, L"F", L"%s", L"abcdef");
    logging::Write(logging::kLevelTrace, L"F", L"[%s]", long_text.c_str());
  }
  const std::vector<RecordedLine> lines = probe.DrainLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].message, L"abcdef");
  EXPECT_EQ(lines[1].message, L"[" + long_text + L"]");
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
    const size_t colon = line.message.find(L':');
    ASSERT_NE(colon, std::wstring::npos);
    const int t = std::stoi(line.message.substr(0, colon));
    ASSERT_GE(t, 0);
    ASSERT_LT(t, kThreads);
    EXPECT_EQ(std::stoi(line.message.substr(colon + 1)), next[t]++);
  }

  // However the handles interleaved, every binding was torn down again.
  int inits = 0;
  int deinits = 0;
  for (const std::string& call : probe.DrainCalls()) {
    if (call == "LogInit") ++inits;
    if (call == "LogDeinit") ++deinits;
  }
  EXPECT_GE(inits, 1);
  EXPECT_EQ(inits, deinits);
}

// The simulated service host keeps a text log through this.
TEST_F(LoggingTest, SinkAppendsLinesToAnOutputFileWhileOneIsSet) {
  wchar_t folder[MAX_PATH + 1] = {};
  ASSERT_NE(::GetTempPathW(MAX_PATH + 1, folder), 0u);
  const std::wstring path =
      std::wstring(folder) + L"logging_test_" + std::to_wstring(::GetCurrentProcessId()) + L".txt";
  ::DeleteFileW(path.c_str());

  SinkProbe probe(ProgramFolder() + L"log.dll");
  ASSERT_TRUE(probe.SetOutputFile(path.c_str()));
  {
    logging::LogHandle handle;
    logging::Write(logging::kLevelFailure, L"A::B", L"first %s", L"line");
    logging::Write(logging::kLevelTrace, L"C", L"second");
    ASSERT_TRUE(probe.SetOutputFile(nullptr));
    logging::Write(logging::kLevelTrace, L"C", L"not in the file");
  }
  const std::string text = ReadWholeFile(path);
  ::DeleteFileW(path.c_str());
  EXPECT_EQ(text, "8\tA::B\tfirst line\r\n32\tC\tsecond\r\n");
  EXPECT_EQ(probe.DrainLines().size(), 3u);
}

}  // namespace
