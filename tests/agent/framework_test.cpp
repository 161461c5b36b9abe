// The agent base classes, through the same slots the host uses: what kelhost
// cannot make (no host at all, counted unregistrations, a throwing handler, a
// null method name) and the slot order of the host interfaces. The rest of the
// lifecycle and dispatch runs in tests/host/sample_agent.jsonl.
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <vector>

#include "agent/agent.h"
#include "ondemand/ondemand_dispatch.h"
#include "tests/agent/fakes.h"
#include "tests/agent/sample_agent/sample_agent.h"
#include "tests/support/log_sink_probe.h"
#include "tests/support/vtable.h"

namespace {

using kel::nusdk::Sample::ISample;
using kel::test::FakeComponentManager;
using kel::test::FakePolicyMethod;
using kel::test::FakeServMain;

// A plug-in that is held and takes sinks, and is never otherwise called.
class InertPlugin : public ISample {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SetSettings(const kel::nusdk::Sample::SampleSettings&) override { return 0; }
  uint32_t GetSettings(kel::nusdk::Sample::SampleSettings&) override { return 0; }
  uint32_t Advise(kel::nusdk::Sample::ISampleNotifications* sink) override {
    sinks.insert(sink);
    return 0;
  }
  uint32_t Unadvise(kel::nusdk::Sample::ISampleNotifications* sink) override {
    sinks.erase(sink);
    return 0;
  }
  std::set<kel::nusdk::Sample::ISampleNotifications*> sinks;
};

class ProbeAgent final : public EnterpriseIntegration::Agent<ISample>,
                         private kel::nusdk::Sample::ISampleNotifications {
 public:
  explicit ProbeAgent(const EnterpriseIntegration::DispatchRules& rules =
                          EnterpriseIntegration::kDefaultDispatchRules)
      : Agent(L"Test.Probe", L"Probe::Agent", nullptr, rules) {}

  uint32_t OnPluginsAcquired() override {
    return advice_.Register(plugin(), &ISample::Advise, &ISample::Unadvise,
                            static_cast<kel::nusdk::Sample::ISampleNotifications*>(this));
  }
  uint32_t OnSettingsChanged(const kel::nusdk::Sample::SampleSettings&) override { return 0; }

  bool PassThrough(IPolicyMethod& method) {
    method.SetResult(2250);
    return true;
  }
  bool Throw(IPolicyMethod&) { throw std::runtime_error("broken plug-in"); }

  EnterpriseIntegration::PolicyMethodTable PolicyMethods() const override { return kMethods; }

  using Agent::SendEvent;

 private:
  static constexpr EnterpriseIntegration::PolicyMethodEntry kMethods[] = {
      {L"PassThrough", EnterpriseIntegration::Handle<&ProbeAgent::PassThrough>, {}, {}},
      {L"Throw", EnterpriseIntegration::Handle<&ProbeAgent::Throw>, {}, {}},
  };
  EnterpriseIntegration::NotificationRegistration advice_{*this};
};

class AgentFramework : public ::testing::Test {
 protected:
  AgentFramework() : main_(&components_) {
    components_.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                      static_cast<EnterpriseIntegration::IManager*>(&manager_));
    components_.Offer(L"Test.Probe", kel::nusdk::Sample::IID_ISample,
                      static_cast<ISample*>(&plugin_));
    sink_.DrainLines();  // the agent's handle has bound log.dll; start from a clean record
  }

  // Lines at levels other than the traces, as (level, function, message).
  std::vector<RecordedLine> Messages() {
    std::vector<RecordedLine> kept;
    for (RecordedLine& line : sink_.DrainLines())
      if (line.depth_change == 0) kept.push_back(line);
    return kept;
  }

  FakeComponentManager components_;
  FakeServMain main_;
  kelhost::Manager manager_;
  InertPlugin plugin_;
  ProbeAgent agent_;
  SinkProbe sink_;
};

TEST_F(AgentFramework, InitWithoutHostOrComponentManagerFailsAndLogs) {
  EXPECT_EQ(agent_.Init(nullptr), 5002u);
  FakeServMain noComponents(nullptr);
  EXPECT_EQ(agent_.Init(&noComponents), 5002u);
  const RecordedLine expected{4, 0,
                              L"ServPlugin<struct EnterpriseIntegration::IManager>::GetPlugin",
                              L"Null component manager"};
  EXPECT_EQ(Messages(), (std::vector<RecordedLine>{expected, expected}));
  EXPECT_FALSE(agent_.HasPlugins());
  EXPECT_EQ(agent_.SendEvent(L"Test.Probe.Happened", Json::Value(Json::objectValue)), 21u)
      << "no manager to send to";
}

// Registration refused (1627) and stops without a start leave the manager
// alone; the usual lifecycle runs in tests/host/sample_agent.jsonl.
TEST_F(AgentFramework, StopUnregistersOnlyWhatStartRegistered) {
  ASSERT_EQ(agent_.Init(&main_), 0u);
  agent_.Stop();
  manager_.SetAcceptRegistration(false);
  EXPECT_EQ(agent_.Start(), 1627u);
  EXPECT_FALSE(agent_.registered());
  agent_.Stop();
  EXPECT_EQ(manager_.UnregisterCalls(), 0);
  manager_.SetAcceptRegistration(true);

  EXPECT_EQ(agent_.Start(), 0u);
  agent_.Stop();
  agent_.Stop();
  EXPECT_EQ(manager_.UnregisterCalls(), 1);
}

// A plug-in that outlives an agent given back without Uninit must not keep
// its sink.
TEST_F(AgentFramework, ASinkGoesWithTheAgent) {
  {
    ProbeAgent other;
    ASSERT_EQ(other.Init(&main_), 0u);
    EXPECT_EQ(plugin_.sinks.size(), 1u);
  }
  EXPECT_TRUE(plugin_.sinks.empty()) << "the registration gives itself back";
}

// A handler that throws, and a null method name where the rules need one
// (the on-demand agent's); each answered once.
TEST_F(AgentFramework, WhatNoScriptCanCallIsAnsweredOnce) {
  ProbeAgent onDemand(MailServers::kOnDemandDispatchRules);
  const struct {
    ProbeAgent* agent;
    const wchar_t* name;
    uint32_t result;
    std::vector<RecordedLine> lines;
  } cases[] = {
      {&agent_,
       L"Throw",
       1359,
       {{32, 0, L"Probe::Agent::RunPolicyMethod", L"Method name is 'Throw'"}}},
      {&onDemand, nullptr, 13, {{4, 0, L"VerifyIfSiPointersAreBemol", L"invalid policy data"}}},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(c.agent->Init(&main_), 0u);
    Messages();
    FakePolicyMethod method(c.name ? c.name : L"");
    method.nullName = c.name == nullptr;
    c.agent->RunPolicyMethod(&method);
    EXPECT_EQ(method.result, c.result);
    EXPECT_EQ(method.resultsSet, 1);
    EXPECT_EQ(Messages(), c.lines);
  }
}

// The host reaches the agent by slot number; so does this test.
TEST_F(AgentFramework, HostSlotsAreInTheirContractOrder) {
  using kel::test::CallSlot;
  void* agent = static_cast<EnterpriseIntegration::IAgent*>(&agent_);
  for (const kel::InterfaceId* iid :
       {&IID_IKelBaseInterface, &IID_IServPlugin, &EnterpriseIntegration::IID_IAgent}) {
    EXPECT_EQ(CallSlot<void*>(agent, 0, iid), agent);
  }
  const kel::InterfaceId other{1, 2};
  EXPECT_EQ(CallSlot<void*>(agent, 0, &other), nullptr);

  EXPECT_EQ(CallSlot<uint32_t>(agent, 1, static_cast<IServMain*>(&main_)), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(agent, 3), 0u);
  EXPECT_EQ(manager_.RegisterCalls(), 1);
  CallSlot<void>(agent, 4);
  EXPECT_EQ(manager_.UnregisterCalls(), 1);
  EXPECT_EQ(CallSlot<uint32_t>(agent, 5, static_cast<IFeatureStateSink*>(nullptr)), 0u);
  EXPECT_EQ(CallSlot<uint32_t>(agent, 6, 7u), 0u);

  FakePolicyMethod method(L"Test.Probe.PassThrough");
  CallSlot<void>(agent, 7, static_cast<IPolicyMethod*>(&method));
  EXPECT_EQ(method.result, 2250u);
  EXPECT_TRUE(CallSlot<bool>(agent, 8));

  struct Names : INameSink {
    void AddName(const wchar_t* name) override { names.push_back(name); }
    std::vector<std::wstring> names;
  } names;
  CallSlot<void>(agent, 9, static_cast<INameSink*>(&names));
  EXPECT_EQ(names.names, (std::vector<std::wstring>{L"Test.Probe"}));

  wchar_t buffer[6];
  EXPECT_EQ(CallSlot<uint32_t>(agent, 10, buffer, 6u), 10u);
  EXPECT_STREQ(buffer, L"Test.");
  EXPECT_STREQ(CallSlot<const wchar_t*>(agent, 11), L"Test.Probe");
  CallSlot<void>(agent, 12);
  CallSlot<void>(agent, 13);
  EXPECT_EQ(CallSlot<uint32_t>(agent, 14), 0u);

  CallSlot<void>(agent, 2);  // uninit
  EXPECT_EQ(components_.held[L"Test.Probe"], 0);
}

// The agent calls the manager and the component manager by slot too; these
// pin the slots of the host interfaces as this module declares them.
TEST_F(AgentFramework, HostInterfacesKeepTheirSlots) {
  using kel::test::CallSlot;
  void* manager = static_cast<EnterpriseIntegration::IManager*>(&manager_);
  Json::Value body(7);
  const Json::Value* bodyArg = &body;
  EXPECT_EQ(CallSlot<uint32_t>(manager, 1, L"E", bodyArg, 512u), 0u);
  // Seven arguments of distinct values, so that any two swapped show.
  EXPECT_EQ(CallSlot<uint32_t>(manager, 2, 306u, 2u, 4096u, L"L", 5u, 1u, bodyArg), 0u);
  const std::vector<kelhost::ReceivedEvent> events = manager_.TakeEvents();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].flags, 512u);
  EXPECT_EQ(events[1].name, "L");
  EXPECT_EQ(events[1].flags, 4096u);
  EXPECT_EQ(events[1].body, body);
  ASSERT_TRUE(events[1].log.has_value());
  EXPECT_EQ(events[1].log->category, 306u);
  EXPECT_EQ(events[1].log->severity, 2u);
  EXPECT_EQ(events[1].log->code, 5u);
  EXPECT_EQ(events[1].log->count, 1u);
  EXPECT_TRUE(CallSlot<bool>(manager, 3));
  EXPECT_TRUE(CallSlot<bool>(manager, 4, static_cast<EnterpriseIntegration::IAgent*>(&agent_)));
  CallSlot<void>(manager, 5, static_cast<EnterpriseIntegration::IAgent*>(&agent_));
  EXPECT_EQ(manager_.UnregisterCalls(), 1);
  CallSlot<void>(manager, 6, 1u);
  EXPECT_EQ(manager_.ChangeNotifications(), (std::vector<uint32_t>{1}));

  void* components = static_cast<IComponentManager*>(&components_);
  void* object = nullptr;
  EXPECT_EQ(
      CallSlot<uint32_t>(components, 0, L"Test.Probe", &kel::nusdk::Sample::IID_ISample, &object),
      0u);
  CallSlot<void>(components, 1, L"Test.Probe");
  EXPECT_EQ(components_.held[L"Test.Probe"], 0);

  FakePolicyMethod method(L"M", Json::Value(3));
  void* call = static_cast<IPolicyMethod*>(&method);
  EXPECT_STREQ(CallSlot<const wchar_t*>(call, 1), L"policy-1");
  EXPECT_STREQ(CallSlot<const wchar_t*>(call, 3), L"M");
  EXPECT_EQ(*CallSlot<const Json::Value*>(call, 4), Json::Value(3));
  EXPECT_EQ(CallSlot<Json::Value*>(call, 5), &method.output);
  CallSlot<void>(call, 6, 42u);
  EXPECT_EQ(CallSlot<uint32_t>(call, 2), 42u);
}

}  // namespace
