// The task document both ways, and what the plug-in reports about runs.
#include <ostream>

#include <gtest/gtest.h>

#include "ondemand/ondemand_requests.h"
#include "ondemand/task_context.h"
#include "ondemand/task_schema.h"
#include "tests/ondemand/ondemand_test_util.h"

namespace {

using EnterpriseIntegration::JsonNodeRef;
using EnterpriseIntegration::JsonSerializer;
using kel::nusdk::MailServers::IOnDemand;
using ondemand_test::Compact;
using ondemand_test::Parse;

constexpr char kSchedule[] =
    R"("schedule":{"type":1,"startDate":5,"days":["mon"],"repeatSeconds":60})";
constexpr char kScan[] = R"("scan":{"target":{"mailboxes":["a@example.test"]}})";

// A complete task document with `extra` members, or `replace` in place of
// the default schedule, scan and report path.
std::string TaskText(const std::string& members) { return "{" + members + "}"; }
std::string Basic(const std::string& extra) {
  return TaskText(std::string(R"("id":"",)") + kSchedule + "," + kScan +
                  R"(,"reportPath":"C:\\r")" + extra);
}

bool Load(const std::string& text, IOnDemand::Task& task) {
  const Json::Value document = Parse(text);
  return JsonSerializer<IOnDemand::Task>::Load(JsonNodeRef(&document), task);
}

// The saved document's member at `path` (slash-separated), compact.
std::string Saved(const IOnDemand::Task& task, const std::string& path) {
  Json::Value document;
  if (!JsonSerializer<IOnDemand::Task>::Save(document, task)) return "<not saved>";
  const Json::Value* at = &document;
  size_t start = 0;
  while (start <= path.size()) {
    const size_t end = path.find('/', start);
    const std::string key =
        path.substr(start, end == std::string::npos ? std::string::npos : end - start);
    at = at->find(key.data(), key.data() + key.size());
    if (at == nullptr) return "<absent>";
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return Compact(*at);
}

struct LoadCase {
  const char* name;
  std::string document;
  bool loads;
  const char* path;      // checked in the saved form when the load succeeds
  const char* expected;  // compact JSON
};
// Failures name the case, not its bytes.
void PrintTo(const LoadCase& c, std::ostream* os) { *os << c.name; }

class TaskLoad : public ::testing::TestWithParam<LoadCase> {};

TEST_P(TaskLoad, FollowsTheLoadRules) {
  const LoadCase& c = GetParam();
  IOnDemand::Task task;
  ASSERT_EQ(Load(c.document, task), c.loads) << c.document;
  if (c.loads) {
    EXPECT_EQ(Saved(task, c.path), c.expected) << c.document;
  }
}

const LoadCase kLoadCases[] = {
    // Identity.
    {"EmptyIdIsLeftZero", Basic(""), true, "id", R"("00000000-0000-0000-0000-000000000000")"},
    {"MissingIdFails", TaskText(std::string(kSchedule) + "," + kScan + R"(,"reportPath":"")"),
     false, "", ""},
    {"BracedIdSavesUnbracedLowerCase",
     TaskText(std::string(R"("id":"{0A0B0C0D-0001-0002-0003-00000000000F}",)") + kSchedule + "," +
              kScan + R"(,"reportPath":"")"),
     true, "id", R"("0a0b0c0d-0001-0002-0003-00000000000f")"},
    {"UnbracedIdLoadsAlike",
     TaskText(std::string(R"("id":"0a0b0c0d-0001-0002-0003-00000000000f",)") + kSchedule + "," +
              kScan + R"(,"reportPath":"")"),
     true, "id", R"("0a0b0c0d-0001-0002-0003-00000000000f")"},
    {"MalformedIdFails",
     TaskText(std::string(R"("id":"not-a-guid",)") + kSchedule + "," + kScan +
              R"(,"reportPath":"")"),
     false, "", ""},
    {"NumericIdFails",
     TaskText(std::string(R"("id":7,)") + kSchedule + "," + kScan + R"(,"reportPath":"")"), false,
     "", ""},
    // Required parts.
    {"MissingReportPathFails", TaskText(std::string(R"("id":"",)") + kSchedule + "," + kScan),
     false, "", ""},
    {"MissingScheduleKeyFails",
     TaskText(std::string(R"("id":"","schedule":{"type":1,"startDate":5,"repeatSeconds":60},)") +
              kScan + R"(,"reportPath":"")"),
     false, "", ""},
    {"MissingTargetFails",
     TaskText(std::string(R"("id":"",)") + kSchedule + R"(,"scan":{},"reportPath":"")"), false, "",
     ""},
    {"ListOfObjectsFails",
     TaskText(std::string(R"("id":"",)") + kSchedule +
              R"(,"scan":{"target":{"servers":[{}]}},"reportPath":"")"),
     false, "", ""},
    // startDate: either signedness of 64 bits, never a fraction.
    {"StartDateUnsignedKeepsItsBits",
     TaskText(
         R"("id":"","schedule":{"type":1,"startDate":18446744073709551615,"days":[],"repeatSeconds":0},)" +
         std::string(kScan) + R"(,"reportPath":"")"),
     true, "schedule/startDate", "-1"},
    {"StartDateNegative",
     TaskText(R"("id":"","schedule":{"type":1,"startDate":-5,"days":[],"repeatSeconds":0},)" +
              std::string(kScan) + R"(,"reportPath":"")"),
     true, "schedule/startDate", "-5"},
    {"StartDateFractionFails",
     TaskText(R"("id":"","schedule":{"type":1,"startDate":1.5,"days":[],"repeatSeconds":0},)" +
              std::string(kScan) + R"(,"reportPath":"")"),
     false, "", ""},
    // Scope defaults.
    {"NoExceptMeansEmptyLists", Basic(""), true, "scan/except",
     R"({"databases":[],"mailboxes":[],"publicFolders":[],"servers":[]})"},
    {"NoObjectsScansEverything", Basic(""), true, "scan/objects",
     R"({"appointments":true,"contacts":true,"emails":true,"postItems":true,"tasks":true})"},
    {"ObjectsChangeOnlyTheNamedFlags",
     TaskText(std::string(R"("id":"",)") + kSchedule +
              R"(,"scan":{"target":{},"objects":{"emails":true}},"reportPath":"")"),
     true, "scan/objects",
     R"({"appointments":false,"contacts":false,"emails":true,"postItems":false,"tasks":false})"},
    // Restrictions.
    {"NoRestrictionsMeansNoLimits", Basic(""), true, "restrictions",
     R"({"maxItemSize":-1,"maxScanTime":-1,"receivedAfter":{"relative":false,"when":0},)"
     R"("receivedAfterLastSuccessfullRan":false,"receivedBefore":{"relative":false,"when":0},)"
     R"("unreadOnly":false,"withAttachmentsOnly":false})"},
    {"OneRestrictionKeepsTheOtherDefaults", Basic(R"(,"restrictions":{"unreadOnly":true})"), true,
     "restrictions",
     R"({"maxItemSize":-1,"maxScanTime":-1,"receivedAfter":{"relative":false,"when":0},)"
     R"("receivedAfterLastSuccessfullRan":false,"receivedBefore":{"relative":false,"when":0},)"
     R"("unreadOnly":true,"withAttachmentsOnly":false})"},
    {"MisspeltKeyIsTheWireFormat",
     Basic(R"(,"restrictions":{"receivedAfterLastSuccessfullRan":true})"), true,
     "restrictions/receivedAfterLastSuccessfullRan", "true"},
    {"CorrectlySpeltKeyIsNotOurs",
     Basic(R"(,"restrictions":{"receivedAfterLastSuccessfulRan":true})"), true,
     "restrictions/receivedAfterLastSuccessfullRan", "false"},
    // Date limits: a bare integer or an object, saved as the object.
    {"DateLimitBareInteger", Basic(R"(,"restrictions":{"receivedAfter":42})"), true,
     "restrictions/receivedAfter", R"({"relative":false,"when":42})"},
    {"DateLimitObject", Basic(R"(,"restrictions":{"receivedAfter":{"when":42}})"), true,
     "restrictions/receivedAfter", R"({"relative":false,"when":42})"},
    {"DateLimitRelativeOnly", Basic(R"(,"restrictions":{"receivedBefore":{"relative":true}})"),
     true, "restrictions/receivedBefore", R"({"relative":true,"when":0})"},
    {"DateLimitStringFails", Basic(R"(,"restrictions":{"receivedAfter":"42"})"), false, "", ""},
};

INSTANTIATE_TEST_SUITE_P(OnDemand, TaskLoad, ::testing::ValuesIn(kLoadCases),
                         [](const auto& info) { return std::string(info.param.name); });

// What the plug-in reports: run statistics, and running tasks with their
// contexts unwrapped.
struct StatisticsCase {
  int32_t status;
  const char* reason;
  bool hasError;
};

class RunStatisticsSave : public ::testing::TestWithParam<StatisticsCase> {};

TEST_P(RunStatisticsSave, NamesTheReasonAndTheErrorOnlyOnFailure) {
  IOnDemand::RunStatistics stats;
  stats.status = GetParam().status;
  stats.error = 5;
  stats.context = MailServers::WrapContext("console", "policy");
  Json::Value document;
  ASSERT_TRUE(JsonSerializer<IOnDemand::RunStatistics>::Save(document, stats));
  EXPECT_EQ(document["reason"].asString(), GetParam().reason);
  EXPECT_EQ(document.isMember("error"), GetParam().hasError);
  EXPECT_EQ(document["context"].asString(), "console");
}

INSTANTIATE_TEST_SUITE_P(OnDemand, RunStatisticsSave,
                         ::testing::Values(StatisticsCase{-1, "error", true},
                                           StatisticsCase{0, "done", false},
                                           StatisticsCase{1, "interrupted", false},
                                           StatisticsCase{2, "timeout", false},
                                           StatisticsCase{7, "n/a", false}));

TEST(RunningTaskSave, WritesStateNamesAndUnwrappedContexts) {
  kel::List<IOnDemand::RunInfo> runs;
  IOnDemand::RunInfo& run = runs.EmplaceBack();
  run.id = ondemand_test::Id(3);
  run.name = L"Nightly";
  run.context = MailServers::WrapContext("from console", "p1");
  run.state = IOnDemand::kStopping;
  run.startTime = 1700000000;
  run.percentageDone = 40;
  Json::Value document;
  ASSERT_TRUE(JsonSerializer<kel::List<IOnDemand::RunInfo>>::Save(document, runs));
  EXPECT_EQ(Compact(document),
            R"([{"context":"from console","id":"00000000-0000-0000-0000-000000000003",)"
            R"("name":"Nightly","progress":{"percentageDone":40},"startTime":1700000000,)"
            R"("state":"stopping"}])");
}

// A console list longer than the bound is refused before any task is read;
// one at the bound loads.
TEST(TaskList, LongerThanTheBoundIsRefusedWhole) {
  Json::Value request(Json::objectValue);
  Json::Value& tasks = request["tasks"];
  tasks.resize(MailServers::kMaxTasks);
  const Json::Value one = Parse(Basic(""));
  for (Json::ArrayIndex i = 0; i < MailServers::kMaxTasks; ++i) tasks[i] = one;
  MailServers::SetAllTasksRequest loaded;
  ASSERT_TRUE(JsonSerializer<MailServers::SetAllTasksRequest>::Load(JsonNodeRef(&request), loaded));
  EXPECT_EQ(loaded.tasks.Count(), MailServers::kMaxTasks);
  tasks.append(one);
  EXPECT_FALSE(
      JsonSerializer<MailServers::SetAllTasksRequest>::Load(JsonNodeRef(&request), loaded));
}

}  // namespace
