// The antispam agent against in-process fakes of the host and of the plug-in:
// its two RBL methods, what reaches the plug-in, what comes back, and what a
// refused input or a failing plug-in leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sdk/mailservers/antispam.h"
#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"
#include "tests/support/vtable.h"
#include "tests/transport/rule_describe.h"
#include "transport/antispam/antispam_agent.h"

namespace {

namespace as = kel::nusdk::MailServers::Antispam;
using RBLSettings = as::IAntispam::RBLSettings;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
using kel::test::FakeComponentManager;
using kel::test::FakeManager;
using kel::test::FakePolicyMethod;
using kel::test::FakeServMain;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Text(const RBLSettings& s) {
  std::string out = "timeout " + std::to_string(s.dnsTimeout) + " skip " +
                    std::to_string(s.skipSystemServers) + " dns " + rule_test::Text(s.dnsAddress) +
                    " [";
  for (const RBLSettings::RBLServer& server : s.servers) {
    out += rule_test::Text(server.address) + "/" + std::to_string(server.confidence) + ",";
  }
  return out + "]";
}

// Records every call; answers `failure` when it is set, else stores and
// returns copies. `answer` is what the getter writes, when set.
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
    calls.push_back("SetRBLSettings " + Text(settings));
    return failure;
  }
  uint32_t GetRBLSettings(RBLSettings& settings) override {
    calls.push_back("GetRBLSettings " + Text(settings));
    if (failure == 0 && writes) {
      settings.dnsTimeout = 900;
      settings.skipSystemServers = 1;
      settings.dnsAddress = L"10.1.1.1";
      RBLSettings::RBLServer& server = settings.servers.EmplaceBack();
      server.address = L"rbl.example";
      server.confidence = 70;
    }
    return failure;
  }
  uint32_t GetRules(as::RuleSet&) override {
    calls.push_back("GetRules");
    return failure;
  }

  uint32_t failure = 0;
  bool writes = false;
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
  FakeManager manager;
  FakeAntispam plugin;
  Antispam::Agent agent{L"MailServers.Antispam"};
  std::unique_ptr<FakePolicyMethod> method;
};

TEST_F(AntispamAgentTest, SetPassesTheDefaultsForAnEmptyObject) {
  EXPECT_EQ(Call(L"SetRBLSettings"), 0u);
  EXPECT_THAT(plugin.calls, ElementsAre("SetRBLSettings timeout 500 skip 0 dns \"\" []"));
}

TEST_F(AntispamAgentTest, SetPassesWhatWasLoaded) {
  EXPECT_EQ(Call(L"MailServers.Antispam.SetRBLSettings",
                 Parse(R"({"dnsTimeout": 250, "skipSystemServers": true, "dnsAddress": "10.0.0.53",
                           "servers": [{"address": "rbl.example.com", "confidence": 80}]})")),
            0u);
  EXPECT_THAT(plugin.calls, ElementsAre("SetRBLSettings timeout 250 skip 1 dns \"10.0.0.53\" "
                                        "[\"rbl.example.com\"/80,]"));
}

TEST_F(AntispamAgentTest, ARefusedInputReachesNoPlugin) {
  const char* refused[] = {
      R"({"dnsTimeout": "500"})",
      R"({"servers": null})",
      R"({"servers": [{"address": "a"}]})",
      R"({"servers": [{"address": "a", "confidence": 1}], "skipSystemServers": true})",
      R"([])",
      R"("settings")",
      R"(null)",
  };
  for (const char* text : refused) {
    EXPECT_EQ(Call(L"SetRBLSettings", Parse(text)), 160u) << text;
  }
  EXPECT_THAT(plugin.calls, IsEmpty());
}

TEST_F(AntispamAgentTest, ARefusalIsLoggedInnermostFirst) {
  EXPECT_EQ(Call(L"SetRBLSettings", Parse(R"({"servers": [{"address": "a"}]})")), 160u);
  EXPECT_THAT(Lines(),
              ElementsAre("16 JsonComposedSerializer::Load: Failed to load subnode confidence",
                          "16 JsonComposedSerializer::Load: Failed to load subnode servers[0]",
                          "16 JsonComposedSerializer::Load: Failed to load subnode servers",
                          "8 Antispam::Agent::RunPolicyMethod: SetRBLSettings - input "
                          "validation failed"));
  // The cross-field rule writes no line of its own.
  EXPECT_EQ(Call(L"SetRBLSettings", Parse(R"({"servers": [{"address": "a", "confidence": 1}],
                                               "skipSystemServers": true, "dnsAddress": ""})")),
            160u);
  EXPECT_THAT(Lines(), ElementsAre("8 Antispam::Agent::RunPolicyMethod: SetRBLSettings - input "
                                   "validation failed"));
}

TEST_F(AntispamAgentTest, TenThousandServersReachThePlugin) {
  Json::Value input(Json::objectValue);
  for (int i = 0; i < 10000; ++i) {
    Json::Value server(Json::objectValue);
    server["address"] = "rbl" + std::to_string(i);
    server["confidence"] = i % 101;
    input["servers"].append(server);
  }
  EXPECT_EQ(Call(L"SetRBLSettings", std::move(input)), 0u);
  ASSERT_EQ(plugin.calls.size(), 1u);
  EXPECT_NE(plugin.calls[0].find("\"rbl9999\"/0,]"), std::string::npos);
}

TEST_F(AntispamAgentTest, DeepInputIsRefused) {
  Json::Value input(Json::objectValue);
  input["dnsAddress"] = rule_test::DeepArray(5000);
  EXPECT_EQ(Call(L"SetRBLSettings", std::move(input)), 160u);
  EXPECT_THAT(plugin.calls, IsEmpty());
  // The input is the test's own, handed over whole: taken apart level by level.
  json_test::Dismantle(const_cast<Json::Value&>(*method->GetInput()));
}

TEST_F(AntispamAgentTest, SetPassesThePluginsCodeThrough) {
  plugin.failure = 2250;
  EXPECT_EQ(Call(L"SetRBLSettings"), 2250u);
  EXPECT_EQ(plugin.calls.size(), 1u);
}

TEST_F(AntispamAgentTest, GetPresetsTheDefaultsBeforeAskingThePlugin) {
  EXPECT_EQ(Call(L"GetRBLSettings"), 0u);
  EXPECT_THAT(plugin.calls, ElementsAre("GetRBLSettings timeout 500 skip 0 dns \"\" []"));
  EXPECT_EQ(Compact(method->output),
            R"({"dnsAddress":"","dnsTimeout":500,"servers":[],"skipSystemServers":false})");
}

TEST_F(AntispamAgentTest, GetWritesWhatThePluginAnswers) {
  plugin.writes = true;
  // The input is not read, whatever it is.
  EXPECT_EQ(Call(L"GetRBLSettings", Parse(R"(["ignored"])")), 0u);
  EXPECT_EQ(Compact(method->output),
            Canonical(R"({"dnsTimeout": 900, "skipSystemServers": true, "dnsAddress": "10.1.1.1",
                          "servers": [{"address": "rbl.example", "confidence": 70}]})"));
}

TEST_F(AntispamAgentTest, GetWritesNothingWhenThePluginFails) {
  plugin.writes = true;
  plugin.failure = 1229;
  EXPECT_EQ(Call(L"GetRBLSettings"), 1229u);
  EXPECT_TRUE(method->output.isNull());
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
