// Synchronising the plug-in's store with the console's list, against a
// plug-in that fails chosen operations; and the bound of that list, which a
// script could reach only with a line of many megabytes. Every other rule of
// the task document runs through the module in tests/host/ondemand*.jsonl.
#include <ostream>

#include <gtest/gtest.h>

#include "ondemand/ondemand_requests.h"
#include "ondemand/set_all_tasks.h"
#include "tests/agent/json_test_util.h"
#include "tests/ondemand/fake_ondemand.h"

namespace {

using EnterpriseIntegration::JsonNodeRef;
using EnterpriseIntegration::JsonSerializer;
using json_test::Compact;
using json_test::Parse;
using kel::nusdk::MailServers::IOnDemand;
using ondemand_test::Id;
using ondemand_test::RecordingOnDemand;

// Ids in calls and answers are written by their last two digits only.
std::string Short(std::string text) {
  const std::string prefix = "00000000-0000-0000-0000-0000000000";
  for (size_t at; (at = text.find(prefix)) != std::string::npos;) text.erase(at, prefix.size());
  return text;
}

struct Held {
  uint64_t id;
  int32_t type;
  bool running;
};

struct SyncCase {
  const char* name;
  std::vector<Held> held;
  std::vector<uint64_t> wanted;  // ids of the console's tasks; 0 for a new one
  bool postpone;
  std::map<std::string, uint32_t> failing;
  uint32_t result;
  std::vector<std::string> calls;
  std::string output;  // compact; "null" when untouched
};
// Failures name the case, not its bytes.
void PrintTo(const SyncCase& c, std::ostream* os) { *os << c.name; }

class SetAllTasks : public ::testing::TestWithParam<SyncCase> {};

TEST_P(SetAllTasks, CallsThePluginAndReportsEachTask) {
  const SyncCase& c = GetParam();
  RecordingOnDemand plugin;
  for (const Held& h : c.held) plugin.Hold(h.id, h.type, h.running);
  plugin.failing = c.failing;
  kel::List<IOnDemand::Task> tasks;
  for (uint64_t id : c.wanted) {
    IOnDemand::Task& task = tasks.EmplaceBack();
    task.id = Id(id);
    task.schedule.type = 4;
  }
  Json::Value output;
  EXPECT_EQ(MailServers::SetAllTasks(plugin, tasks, c.postpone, output), c.result);
  std::vector<std::string> calls;
  for (const std::string& call : plugin.calls) calls.push_back(Short(call));
  EXPECT_EQ(calls, c.calls);
  EXPECT_EQ(Short(Compact(output)), c.output);
}

// clang-format off
constexpr char kDeletedA[] = R"({"added":{},"deleted":{"0a":0},"updated":{}})";

const SyncCase kCases[] = {
    {"UnreadableStoreChangesNothing", {{10, 1, false}}, {0}, false, {{"GetTaskIdList", 1229}},
     1229, {"GetTaskIdList"}, "null"},
    {"KnownUpdatedMissingDeletedNewAddedUnderTheAssignedId",
     {{10, 1, false}, {11, 1, false}}, {10, 0}, false, {}, 0,
     {"GetTaskIdList", "UpdateTask 0a type 4", "DeleteTask 0b", "AddTask 00"},
     R"({"added":{"65":0},"deleted":{"0b":0},"updated":{"0a":0}})"},
    {"PerTaskFailuresOnlyInTheMaps", {{10, 1, false}, {11, 1, false}}, {10, 0}, false,
     {{"UpdateTask", 5}, {"DeleteTask", 1168}, {"AddTask", 8}}, 0,
     {"GetTaskIdList", "UpdateTask 0a type 4", "DeleteTask 0b", "AddTask 00"},
     R"({"added":{"00":8},"deleted":{"0b":1168},"updated":{"0a":5}})"},
    {"EmptyListDeletesEverything", {{10, 1, false}, {11, 1, false}}, {}, false, {}, 0,
     {"GetTaskIdList", "DeleteTask 0a", "DeleteTask 0b"},
     R"({"added":{},"deleted":{"0a":0,"0b":0},"updated":{}})"},
    {"PostponedRunningTaskIsUnscheduledNotDeleted", {{10, 1, true}, {11, 1, false}}, {}, true, {}, 0,
     {"GetTaskIdList", "IsTaskRunning 0a", "GetTask 0a", "UpdateTask 0a type 0", "IsTaskRunning 0b",
      "DeleteTask 0b"},
     R"({"added":{},"deleted":{"0a":0,"0b":0},"updated":{}})"},
    {"PostponedAlreadyUnscheduledTaskIsLeftAlone", {{10, 0, true}}, {}, true, {}, 0,
     {"GetTaskIdList", "IsTaskRunning 0a", "GetTask 0a"}, kDeletedA},
    {"PostponedTaskThatCannotBeReadCountsAsDone", {{10, 1, true}}, {}, true, {{"GetTask", 31}}, 0,
     {"GetTaskIdList", "IsTaskRunning 0a", "GetTask 0a"}, kDeletedA},
    {"FailedUnschedulingStillCountsAsDone", {{10, 1, true}}, {}, true, {{"UpdateTask", 31}}, 0,
     {"GetTaskIdList", "IsTaskRunning 0a", "GetTask 0a", "UpdateTask 0a type 0"}, kDeletedA},
    {"UnknownRunningStateDeletes", {{10, 1, true}}, {}, true, {{"IsTaskRunning", 1168}}, 0,
     {"GetTaskIdList", "IsTaskRunning 0a", "DeleteTask 0a"}, kDeletedA},
    {"WithoutPostponingARunningTaskIsDeleted", {{10, 1, true}}, {}, false, {}, 0,
     {"GetTaskIdList", "DeleteTask 0a"}, kDeletedA},
    {"FirstOfTwoTasksWithOneIdWins", {{10, 1, false}}, {10, 10}, false, {}, 0,
     {"GetTaskIdList", "UpdateTask 0a type 4"}, R"({"added":{},"deleted":{},"updated":{"0a":0}})"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(OnDemand, SetAllTasks, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// A complete task.
constexpr char kTask[] = R"({"id":"","schedule":{"type":1,"startDate":5,"days":["mon"],
  "repeatSeconds":60},"scan":{"target":{"mailboxes":["a@example.test"]}},"reportPath":"C:\\r"})";

// A console list longer than the bound is refused before any task is read;
// one at the bound loads.
TEST(TaskList, LongerThanTheBoundIsRefusedWhole) {
  Json::Value request(Json::objectValue);
  Json::Value& tasks = request["tasks"];
  tasks.resize(MailServers::kMaxTasks);
  const Json::Value one = Parse(kTask);
  for (Json::ArrayIndex i = 0; i < MailServers::kMaxTasks; ++i) tasks[i] = one;
  MailServers::SetAllTasksRequest loaded;
  ASSERT_TRUE(JsonSerializer<MailServers::SetAllTasksRequest>::Load(JsonNodeRef(&request), loaded));
  EXPECT_EQ(loaded.tasks.Count(), MailServers::kMaxTasks);
  tasks.append(one);
  EXPECT_FALSE(
      JsonSerializer<MailServers::SetAllTasksRequest>::Load(JsonNodeRef(&request), loaded));
}

}  // namespace
