// A synchronous run waits for the end of its own task. The other ways a wait
// ends (a second waiter, a stop, a deleted task) run through the module in
// tests/host/ondemand_runs.jsonl; the races a script cannot time stay here.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "frame/guid.h"
#include "ondemand/running_tasks.h"

namespace {

using kel::nusdk::MailServers::IOnDemand;
using MailServers::RunningTasks;

IOnDemand::RunStatistics Status(int32_t status) {
  IOnDemand::RunStatistics stats;
  stats.status = status;
  return stats;
}

// A plain thread, not std::async: the clang build's libstdc++ future needs
// thread-local symbols its runtime does not export.
TEST(RunningTasks, OnlyTheTasksOwnEndEndsTheWait) {
  RunningTasks tasks;
  const kel::Guid one{1, 0};
  constexpr uint32_t kPending = 0xFFFFFFFE;
  std::atomic<uint32_t> result{kPending};
  std::thread waiter([&] { result = tasks.WaitForCompletion(one); });
  while (tasks.Waiting() == 0) ::Sleep(1);
  tasks.OnTaskStopped(kel::Guid{2, 0}, Status(0));
  ::Sleep(50);
  EXPECT_EQ(result.load(), kPending);
  tasks.OnTaskStopped(one, Status(IOnDemand::kRunTimeout));
  waiter.join();
  EXPECT_EQ(result.load(), static_cast<uint32_t>(IOnDemand::kRunTimeout));
  EXPECT_EQ(tasks.Waiting(), 0u);
}

// The end may come before the start call returns: the waiter is registered
// before the start, so it is not missed.
TEST(RunningTasks, ARunEndingAsItStartsIsNotMissed) {
  RunningTasks tasks;
  const kel::Guid one{1, 0};
  EXPECT_EQ(tasks.WaitForCompletion(
                one, [&] { tasks.OnTaskStopped(one, Status(IOnDemand::kRunInterrupted)); }),
            static_cast<uint32_t>(IOnDemand::kRunInterrupted));
}

}  // namespace
