// Synchronising the plug-in's store with the console's list, against a
// plug-in that fails chosen operations.
#include <ostream>

#include <gtest/gtest.h>

#include "ondemand/set_all_tasks.h"
#include "tests/ondemand/fake_ondemand.h"

namespace {

using kel::nusdk::MailServers::IOnDemand;
using ondemand_test::Compact;
using ondemand_test::Id;
using ondemand_test::RecordingOnDemand;

constexpr char kA[] = "00000000-0000-0000-0000-00000000000a";
constexpr char kB[] = "00000000-0000-0000-0000-00000000000b";
constexpr char kZero[] = "00000000-0000-0000-0000-000000000000";
constexpr char kNew[] = "00000000-0000-0000-0000-000000000065";  // the fake's first id, 101

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
  EXPECT_EQ(plugin.calls, c.calls);
  EXPECT_EQ(Compact(output), c.output);
}

std::string Maps(const std::string& added, const std::string& deleted, const std::string& updated) {
  return R"({"added":{)" + added + R"(},"deleted":{)" + deleted + R"(},"updated":{)" + updated +
         "}}";
}
std::string Entry(const char* id, uint32_t code) {
  return "\"" + std::string(id) + "\":" + std::to_string(code);
}

// clang-format off
const SyncCase kCases[] = {
    {"UnreadableStoreChangesNothing", {{10, 1, false}}, {0}, false, {{"GetTaskIdList", 1229}},
     1229, {"GetTaskIdList"}, "null"},
    {"KnownUpdatedMissingDeletedNewAddedUnderTheAssignedId",
     {{10, 1, false}, {11, 1, false}}, {10, 0}, false, {}, 0,
     {"GetTaskIdList", std::string("UpdateTask ") + kA + " type 4", std::string("DeleteTask ") + kB,
      std::string("AddTask ") + kZero},
     Maps(Entry(kNew, 0), Entry(kB, 0), Entry(kA, 0))},
    {"PerTaskFailuresOnlyInTheMaps", {{10, 1, false}, {11, 1, false}}, {10, 0}, false,
     {{"UpdateTask", 5}, {"DeleteTask", 1168}, {"AddTask", 8}}, 0,
     {"GetTaskIdList", std::string("UpdateTask ") + kA + " type 4", std::string("DeleteTask ") + kB,
      std::string("AddTask ") + kZero},
     Maps(Entry(kZero, 8), Entry(kB, 1168), Entry(kA, 5))},
    {"EmptyListDeletesEverything", {{10, 1, false}, {11, 1, false}}, {}, false, {}, 0,
     {"GetTaskIdList", std::string("DeleteTask ") + kA, std::string("DeleteTask ") + kB},
     Maps("", Entry(kA, 0) + "," + Entry(kB, 0), "")},
    {"PostponedRunningTaskIsUnscheduledNotDeleted", {{10, 1, true}, {11, 1, false}}, {}, true, {},
     0,
     {"GetTaskIdList", std::string("IsTaskRunning ") + kA, std::string("GetTask ") + kA,
      std::string("UpdateTask ") + kA + " type 0", std::string("IsTaskRunning ") + kB,
      std::string("DeleteTask ") + kB},
     Maps("", Entry(kA, 0) + "," + Entry(kB, 0), "")},
    {"PostponedAlreadyUnscheduledTaskIsLeftAlone", {{10, 0, true}}, {}, true, {}, 0,
     {"GetTaskIdList", std::string("IsTaskRunning ") + kA, std::string("GetTask ") + kA},
     Maps("", Entry(kA, 0), "")},
    {"PostponedTaskThatCannotBeReadCountsAsDone", {{10, 1, true}}, {}, true, {{"GetTask", 31}}, 0,
     {"GetTaskIdList", std::string("IsTaskRunning ") + kA, std::string("GetTask ") + kA},
     Maps("", Entry(kA, 0), "")},
    {"FailedUnschedulingStillCountsAsDone", {{10, 1, true}}, {}, true, {{"UpdateTask", 31}}, 0,
     {"GetTaskIdList", std::string("IsTaskRunning ") + kA, std::string("GetTask ") + kA,
      std::string("UpdateTask ") + kA + " type 0"},
     Maps("", Entry(kA, 0), "")},
    {"UnknownRunningStateDeletes", {{10, 1, true}}, {}, true, {{"IsTaskRunning", 1168}}, 0,
     {"GetTaskIdList", std::string("IsTaskRunning ") + kA, std::string("DeleteTask ") + kA},
     Maps("", Entry(kA, 0), "")},
    {"WithoutPostponingARunningTaskIsDeleted", {{10, 1, true}}, {}, false, {}, 0,
     {"GetTaskIdList", std::string("DeleteTask ") + kA}, Maps("", Entry(kA, 0), "")},
    {"FirstOfTwoTasksWithOneIdWins", {{10, 1, false}}, {10, 10}, false, {}, 0,
     {"GetTaskIdList", std::string("UpdateTask ") + kA + " type 4"}, Maps("", "", Entry(kA, 0))},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(OnDemand, SetAllTasks, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
