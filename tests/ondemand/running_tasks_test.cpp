// A synchronous run waits for the end of its task: the four ways it ends.
#include <future>

#include <gtest/gtest.h>

#include "frame/result_codes.h"
#include "ondemand/running_tasks.h"
#include "tests/ondemand/ondemand_test_util.h"

namespace {

using kel::nusdk::MailServers::IOnDemand;
using MailServers::RunningTasks;
using ondemand_test::Id;

constexpr auto kSettle = std::chrono::seconds(10);

// Starts a wait on another thread and returns once it is registered.
std::future<uint32_t> WaitInBackground(RunningTasks& tasks, const kel::Guid& id,
                                       size_t waitersBefore = 0) {
  auto result =
      std::async(std::launch::async, [&tasks, id] { return tasks.WaitForCompletion(id); });
  while (tasks.Waiting() == waitersBefore) ::Sleep(1);
  return result;
}

IOnDemand::RunStatistics Status(int32_t status) {
  IOnDemand::RunStatistics stats;
  stats.status = status;
  return stats;
}

TEST(RunningTasks, TheRunsStatusEndsTheWait) {
  RunningTasks tasks;
  auto waiting = WaitInBackground(tasks, Id(1));
  tasks.OnTaskStopped(Id(2), Status(0));  // another task's end wakes nobody
  EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  tasks.OnTaskStopped(Id(1), Status(IOnDemand::kRunTimeout));
  ASSERT_EQ(waiting.wait_for(kSettle), std::future_status::ready);
  EXPECT_EQ(waiting.get(), static_cast<uint32_t>(IOnDemand::kRunTimeout));
  EXPECT_EQ(tasks.Waiting(), 0u);
}

TEST(RunningTasks, ARunEndingAsItStartsIsNotMissed) {
  RunningTasks tasks;
  EXPECT_EQ(
      tasks.WaitForCompletion(
          Id(1), [&tasks] { tasks.OnTaskStopped(Id(1), Status(IOnDemand::kRunInterrupted)); }),
      static_cast<uint32_t>(IOnDemand::kRunInterrupted));
}

TEST(RunningTasks, ASecondWaiterForOneTaskIsRefusedAtOnceWithoutStarting) {
  RunningTasks tasks;
  auto first = WaitInBackground(tasks, Id(1));
  bool started = false;
  EXPECT_EQ(tasks.WaitForCompletion(Id(1), [&started] { started = true; }),
            kel::result::kInvalidState);
  EXPECT_FALSE(started);
  tasks.OnTaskStopped(Id(1), Status(IOnDemand::kRunError));
  ASSERT_EQ(first.wait_for(kSettle), std::future_status::ready);
  EXPECT_EQ(first.get(), static_cast<uint32_t>(-1));
}

TEST(RunningTasks, StoppingReleasesEveryWaiterAndRefusesNewOnesUntilRestarted) {
  RunningTasks tasks;
  auto one = WaitInBackground(tasks, Id(1));
  auto two = WaitInBackground(tasks, Id(2), 1);
  tasks.StopAndDrain();
  EXPECT_EQ(tasks.Waiting(), 0u);
  ASSERT_EQ(one.wait_for(kSettle), std::future_status::ready);
  ASSERT_EQ(two.wait_for(kSettle), std::future_status::ready);
  EXPECT_EQ(one.get(), kel::result::kServiceStopping);
  EXPECT_EQ(two.get(), kel::result::kServiceStopping);
  EXPECT_EQ(tasks.WaitForCompletion(Id(3)), kel::result::kServiceStopping);

  tasks.Restart();
  auto again = WaitInBackground(tasks, Id(3));
  tasks.OnTaskStopped(Id(3), Status(IOnDemand::kRunDone));
  ASSERT_EQ(again.wait_for(kSettle), std::future_status::ready);
  EXPECT_EQ(again.get(), 0u);
}

TEST(RunningTasks, AReleaseWithoutStatusAnswersFunctionFailed) {
  RunningTasks tasks;
  auto waiting = WaitInBackground(tasks, Id(1));
  tasks.Release(Id(1));
  ASSERT_EQ(waiting.wait_for(kSettle), std::future_status::ready);
  EXPECT_EQ(waiting.get(), kel::result::kFunctionFailed);
}

}  // namespace
