// One dispatcher, three descriptions: the module's usual rules, the on-demand
// agent's and the system-information agent's. Each row is a call and what
// the console and the log must see.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "agent/agent_base.h"
#include "ondemand/ondemand_dispatch.h"
#include "sysinfo/sysinfo_dispatch.h"
#include "tests/agent/fakes.h"
#include "tests/support/log_sink_probe.h"

namespace {

using EnterpriseIntegration::DispatchRules;
using kel::test::FakePolicyMethod;

class RulesAgent final : public EnterpriseIntegration::AgentBase {
 public:
  explicit RulesAgent(const DispatchRules& rules) : AgentBase(L"Test.Rules", L"Rules::Agent", rules) {}
  bool Run(IPolicyMethod& method) {
    method.SetResult(0);
    return true;
  }
  bool Reject(IPolicyMethod&) { return false; }
  bool PassThrough(IPolicyMethod& method) {
    method.SetResult(2250);
    return true;
  }
  bool Throw(IPolicyMethod&) { throw std::runtime_error("broken plug-in"); }
  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override { return kMethods; }

 private:
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"RunTask", EnterpriseIntegration::Handle<&RulesAgent::Run>, {}, {}},
      {L"Reject", EnterpriseIntegration::Handle<&RulesAgent::Reject>, {}, {}},
      {L"PassThrough", EnterpriseIntegration::Handle<&RulesAgent::PassThrough>, {}, {}},
      {L"Throw", EnterpriseIntegration::Handle<&RulesAgent::Throw>, {}, {}},
  };
};

// kNoPlugins also breaks the policy identifier: missing plug-ins are reported
// first, whatever else is wrong. kNullMethod passes no call object at all.
enum Broken { kWhole, kNoPlugins, kNullName, kNullPolicy, kNullInput, kNullOutput, kNullMethod };

struct Row {
  const wchar_t* name;
  Broken broken;
  uint32_t result;
  std::vector<RecordedLine> lines;  // non-trace lines, in order
};

struct Description {
  const char* what;
  const DispatchRules* rules;
  std::vector<Row> rows;
};

const wchar_t kFn[] = L"Rules::Agent::RunPolicyMethod";
const wchar_t kLambda[] = L"Rules::Agent::RunPolicyMethod::<lambda_1>::operator ()";
const wchar_t kBemol[] = L"VerifyIfSiPointersAreBemol";

const std::vector<Description>& Descriptions() {
  static const std::vector<Description> descriptions = {
      {"default", &EnterpriseIntegration::kDefaultDispatchRules,
       {{L"Test.Rules.runtask", kWhole, 0, {{32, 0, kFn, L"Method name is 'runtask'"}}},
        {L"xTest.Rules.RunTask", kWhole, 4317,
         {{32, 0, kFn, L"Method name is 'xTest.Rules.RunTask'"},
          {8, 0, kFn, L"Function xTest.Rules.RunTask not found"}}},
        {L"Reject", kWhole, 160,
         {{32, 0, kFn, L"Method name is 'Reject'"}, {8, 0, kFn, L"Reject - input validation failed"}}},
        {L"PassThrough", kWhole, 2250, {{32, 0, kFn, L"Method name is 'PassThrough'"}}},
        {L"Throw", kWhole, 1359, {{32, 0, kFn, L"Method name is 'Throw'"}}},
        {L"RunTask", kNoPlugins, 21, {{4, 0, kLambda, L"Don't have one of the two plugins"}}},
        {L"RunTask", kNullMethod, 0xFFFFFFFF, {{4, 0, kLambda, L"invalid policy parameter"}}},
        {L"RunTask", kNullPolicy, 13, {{4, 0, kLambda, L"invalid policy data"}}},
        {L"RunTask", kNullInput, 13, {{4, 0, kLambda, L"invalid policy data"}}},
        {L"RunTask", kNullOutput, 13, {{4, 0, kLambda, L"invalid policy data"}}},
        {L"RunTask", kNullName, 4317,
         {{32, 0, kFn, L"Method name is ''"}, {8, 0, kFn, L"Function  not found"}}}}},
      {"on-demand", &MailServers::kOnDemandDispatchRules,
       {{L"RunTask", kWhole, 0, {{32, 0, kFn, L"method name is 'RunTask'"}}},
        {L"runtask", kWhole, 4317,
         {{32, 0, kFn, L"method name is 'runtask'"}, {8, 0, kFn, L"Function not found"}}},
        {L"Test.Rules.RunTask", kWhole, 4317,
         {{32, 0, kFn, L"method name is 'Test.Rules.RunTask'"}, {8, 0, kFn, L"Function not found"}}},
        {L"RunTask", kNoPlugins, 21, {{8, 0, kBemol, L"Don't have one of the two plugins"}}},
        {L"RunTask", kNullName, 13, {{4, 0, kBemol, L"invalid policy data"}}},
        {L"RunTask", kNullPolicy, 0, {{32, 0, kFn, L"method name is 'RunTask'"}}}}},
      {"system information", &SystemInfo::kSystemInfoDispatchRules,
       {{L"Test.Rules.RUNTASK", kWhole, 0, {{32, 0, kFn, L"Method name is 'RUNTASK'"}}},
        {L"RunTask", kNoPlugins, 21, {{4, 0, kLambda, L"Agent is not initialized"}}}}},
  };
  return descriptions;
}

TEST(DispatchRules, EachDescriptionMatchesAndReportsItsOwnWay) {
  kel::test::FakeComponentManager components;
  kelhost::Manager manager;
  kel::test::FakeServMain main(&components);
  components.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                   static_cast<EnterpriseIntegration::IManager*>(&manager));
  for (const Description& description : Descriptions()) {
    RulesAgent agent(*description.rules);
    SinkProbe sink;
    for (const Row& row : description.rows) {
      if (row.broken == kNoPlugins)
        agent.Uninit();
      else
        ASSERT_EQ(agent.Init(&main), 0u);
      FakePolicyMethod method(row.name);
      method.nullName = row.broken == kNullName;
      method.nullPolicy = row.broken == kNullPolicy || row.broken == kNoPlugins;
      method.nullInput = row.broken == kNullInput;
      method.nullOutput = row.broken == kNullOutput;
      sink.DrainLines();
      agent.RunPolicyMethod(row.broken == kNullMethod ? nullptr : &method);
      std::vector<RecordedLine> lines;
      for (RecordedLine& line : sink.DrainLines())
        if (line.depth_change == 0) lines.push_back(line);
      const std::string where = std::string(description.what) + " " +
                                testing::PrintToString(std::wstring(row.name)) + " " +
                                std::to_string(row.broken);
      EXPECT_EQ(method.result, row.result) << where;
      EXPECT_EQ(lines, row.lines) << where;
      EXPECT_LE(method.resultsSet, 1) << where;
    }
  }
}

}  // namespace
