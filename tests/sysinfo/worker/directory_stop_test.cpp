// The real worker against a directory of a few thousand mailboxes (started by
// directory.py, which names it in KEL_DIRECTORY_SERVER), run the way the agent
// runs it: a full listing first, then one whose stop event is signalled a
// third of the way through.
#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "frame/win.h"
#include "frame/result_codes.h"
#include "sysinfo/worker_run.h"

namespace {

std::wstring ProductWorker() {
  wchar_t path[MAX_PATH] = {};
  const DWORD length = ::GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring folder(path, length);
  folder.resize(folder.find_last_of(L'\\') + 1);
  return folder + L"product\\" + SystemInfo::kWorkerFileName;
}

class StopAfter final : public SystemInfo::RunControl {
 public:
  explicit StopAfter(DWORD ms) : ms_(ms) {}
  ~StopAfter() {
    if (stopper_.joinable()) stopper_.join();
  }
  bool Enter(HANDLE stopEvent, HANDLE) override {
    if (ms_) stopper_ = std::thread([stopEvent, this] {
      ::Sleep(ms_);
      ::SetEvent(stopEvent);
    });
    return false;
  }
  void Leave(HANDLE) override {
    if (stopper_.joinable()) stopper_.join();
  }

 private:
  DWORD ms_;
  std::thread stopper_;
};

size_t Count(const std::string& text, const std::string& what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

TEST(WorkerAgainstDirectory, StopsMidListing) {
  ASSERT_NE(::GetEnvironmentVariableW(L"KEL_DIRECTORY_SERVER", nullptr, 0), 0u)
      << "run through directory.py";
  ::SetEnvironmentVariableW(L"KEL_DIRECTORY_BIND", L"anonymous");
  ::SetEnvironmentVariableW(L"KEL_DIRECTORY_PAGE_SIZE", L"250");

  StopAfter never(0);
  ULONGLONG started = ::GetTickCount64();
  const SystemInfo::WorkerOutcome full = SystemInfo::RunWorker(ProductWorker(), L"/listmb", never);
  const ULONGLONG fullMs = ::GetTickCount64() - started;
  ASSERT_EQ(full.code, 0u);
  EXPECT_EQ(Count(full.output, "<mailbox>"), 4000u);
  EXPECT_EQ(Count(full.output, "<database>"), 20u);
  ASSERT_GT(fullMs, 600u) << "too small a directory to stop a listing midway";

  const DWORD stopAfterMs = static_cast<DWORD>(fullMs / 3);
  StopAfter stop(stopAfterMs);
  started = ::GetTickCount64();
  const SystemInfo::WorkerOutcome stopped = SystemInfo::RunWorker(ProductWorker(), L"/listmb", stop);
  const ULONGLONG stoppedMs = ::GetTickCount64() - started;
  EXPECT_EQ(stopped.code, kel::result::kWorkerExitedWithOne);
  EXPECT_TRUE(stopped.output.empty()) << stopped.output.size() << " bytes written";  // nothing half-written
  // Ended soon after the signal, long before a full listing would have.
  EXPECT_LT(stoppedMs, stopAfterMs + fullMs / 3) << "full " << fullMs << " ms";
  std::printf("full listing %llu ms, stopped after %lu ms: ended in %llu ms\n", fullMs, stopAfterMs, stoppedMs);
}

}  // namespace
