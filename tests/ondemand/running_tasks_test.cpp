// A synchronous run waits for the end of its own task. The other ways a wait
// ends (a second waiter, a stop, a deleted task) run through the module in
// tests/host/ondemand_runs.jsonl; the races a script cannot time stay here.
#include <future>

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

TEST(RunningTasks, OnlyTheTasksOwnEndEndsTheWait) {
  RunningTasks tasks;
  const kel::Guid one{1, 0};
  auto waiting = std::async(std::launch::async, [&] { return tasks.WaitForCompletion(one); });
  while (tasks.Waiting() == 0) ::Sleep(1);
  tasks.OnTaskStopped(kel::Guid{2, 0}, Status(0));
  EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  tasks.OnTaskStopped(one, Status(IOnDemand::kRunTimeout));
  ASSERT_EQ(waiting.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  EXPECT_EQ(waiting.get(), static_cast<uint32_t>(IOnDemand::kRunTimeout));
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
