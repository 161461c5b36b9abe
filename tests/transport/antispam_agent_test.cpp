// The antispam agent against in-process fakes of the host and of the plug-in:
// what its two RBL methods hand the plug-in and write back, and the
// plug-in's slots; kelhost drives the rest in tests/host/antispam.jsonl.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sdk/mailservers/antispam.h"
#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"
#include "tests/support/vtable.h"
#include "tests/transport/antispam_rules.h"
#include "transport/antispam/antispam_agent.h"

namespace {

namespace as = kel::nusdk::MailServers::Antispam;
using RBLSettings = as::IAntispam::RBLSettings;
using json_test::Compact;
using json_test::Parse;
using kel::test::FakeComponentManager;
using kel::test::FakePolicyMethod;
using kel::test::FakeServMain;
using ::testing::ElementsAre;

// Records every call with the settings it was handed; answers `failure`.
class FakeAntispam final : public as::IAntispam {
 public:
  void* QueryInterface(const kel::InterfaceId* iid) override {
    return iid && (*iid == as::IID_IAntispam || *iid == IID_IKelBaseInterface) ? this : nullptr;
  }
  uint32_t SetRules(const as::RuleSet&) override {
    calls.push_back("SetRules");
    return failure;
  }
  uint32_t SetRBLSettings(const RBLSettings& settings) override {
    calls.push_back("SetRBLSettings " + rule_test::Text(settings));
    return failure;
  }
  uint32_t GetRBLSettings(RBLSettings& settings) override {
    calls.push_back("GetRBLSettings " + rule_test::Text(settings));
    return failure;
  }
  uint32_t GetRules(as::RuleSet&) override {
    calls.push_back("GetRules");
    return failure;
  }

  uint32_t failure = 0;
  std::vector<std::string> calls;
};

class AntispamAgentTest : public rule_test::LoggedTest {
 protected:
  AntispamAgentTest() {
    components.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager, &manager);
    components.Offer(L"MailServers.Antispam", as::IID_IAntispam,
                     static_cast<as::IAntispam*>(&plugin));
  }

  // Calls `name` with `input` on an initialised agent; the result code.
  uint32_t Call(const wchar_t* name, Json::Value input = Json::Value(Json::objectValue)) {
    method = std::make_unique<FakePolicyMethod>(name, std::move(input));
    agent.RunPolicyMethod(method.get());
    EXPECT_EQ(method->resultsSet, 1) << "one result per call";
    return method->result;
  }

  void SetUp() override {
    LoggedTest::SetUp();
    ASSERT_EQ(agent.Init(&main), 0u);
    Lines();
  }

  FakeComponentManager components;
  FakeServMain main{&components};
  kelhost::Manager manager;
  FakeAntispam plugin;
  Antispam::Agent agent{L"MailServers.Antispam"};
  std::unique_ptr<FakePolicyMethod> method;
};

TEST_F(AntispamAgentTest, SetPassesWhatWasLoadedOrTheDefaultsForAnEmptyObject) {
  EXPECT_EQ(Call(L"SetRBLSettings"), 0u);
  EXPECT_EQ(Call(L"MailServers.Antispam.SetRBLSettings",
                 Parse(R"({"dnsTimeout": 250, "skipSystemServers": true, "dnsAddress": "10.0.0.53",
                           "servers": [{"address": "rbl.example.com", "confidence": 80}]})")),
            0u);
  EXPECT_THAT(plugin.calls, ElementsAre("SetRBLSettings timeout 500 skip 0 dns \"\" []",
                                        "SetRBLSettings timeout 250 skip 1 dns \"10.0.0.53\" "
                                        "[\"rbl.example.com\"/80,]"));
}

TEST_F(AntispamAgentTest, GetPresetsTheDefaultsBeforeAskingThePlugin) {
  EXPECT_EQ(Call(L"GetRBLSettings"), 0u);
  EXPECT_THAT(plugin.calls, ElementsAre("GetRBLSettings timeout 500 skip 0 dns \"\" []"));
  EXPECT_EQ(Compact(method->output),
            R"({"dnsAddress":"","dnsTimeout":500,"servers":[],"skipSystemServers":false})");
}

// The plug-in is called by slot number: the RBL pair at 2 and 3, around it the
// rule-set setter at 1 and getter at 4.
TEST(AntispamInterfaceTest, OperationsSitInTheirSlots) {
  FakeAntispam plugin;
  as::IAntispam* object = &plugin;
  RBLSettings settings;
  as::RuleSet rules;
  EXPECT_EQ(object->QueryInterface(&as::IID_IAntispam), static_cast<void*>(object));
  kel::test::CallSlot<uint32_t>(object, 1, &rules);
  kel::test::CallSlot<uint32_t>(object, 2, &settings);
  kel::test::CallSlot<uint32_t>(object, 3, &settings);
  kel::test::CallSlot<uint32_t>(object, 4, &rules);
  EXPECT_THAT(plugin.calls,
              ElementsAre("SetRules", "SetRBLSettings timeout 500 skip 0 dns \"\" []",
                          "GetRBLSettings timeout 500 skip 0 dns \"\" []", "GetRules"));
}

}  // namespace
