// The antivirus agent's footer methods against a recording plug-in: the
// direction codes that reach it, and which key a rejected input logs; kelhost
// drives the six methods end to end in tests/host/antivirus.jsonl.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "frame/interface_id_text.h"
#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"
#include "tests/transport/antivirus_rules.h"
#include "transport/antivirus/antivirus_agent.h"

namespace {

namespace av = kel::nusdk::MailServers::Antivirus;
using json_test::Compact;
using json_test::Parse;
using kel::test::FakeComponentManager;
using kel::test::FakePolicyMethod;
using kel::test::FakeServMain;

// Records every call as one line and answers `code`; getters answer with
// what the test put in.
class RecordingAntivirus final : public av::IAntivirus {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SetFooterEnabled(uint32_t directions, uint8_t enabled) override {
    return Record("SetFooterEnabled " + std::to_string(directions) + " " + std::to_string(enabled));
  }
  uint32_t IsFooterEnabled(uint32_t direction, uint8_t& enabled) override {
    enabled = footerEnabled;
    return Record("IsFooterEnabled " + std::to_string(direction));
  }
  uint32_t SetFooter(uint32_t directions, const kel::StringW& footer) override {
    return Record("SetFooter " + std::to_string(directions) + " " + rule_test::Text(footer));
  }
  uint32_t GetFooter(uint32_t direction, kel::StringW& text) override {
    text = footer;
    return Record("GetFooter " + std::to_string(direction));
  }
  uint32_t SetReplacementTexts(const av::ReplacementTexts& texts) override {
    return Record("SetReplacementTexts " + rule_test::Text(texts));
  }
  uint32_t GetReplacementTexts(av::ReplacementTexts& out) override {
    out = texts;
    return Record("GetReplacementTexts");
  }
  uint32_t SetRules(const av::TransportRuleSet&) override { return Record("SetRules"); }
  uint32_t GetRules(av::TransportRuleSet&) override { return Record("GetRules"); }
  uint32_t SetTaskRules(const kel::Guid&, const av::RuleSet&) override { return Record("SetTaskRules"); }
  uint32_t GetTaskRules(const kel::Guid&, av::RuleSet&) override { return Record("GetTaskRules"); }

  std::vector<std::string> calls;
  uint32_t code = 0;
  uint8_t footerEnabled = 0;
  kel::StringW footer;
  av::ReplacementTexts texts;

 private:
  uint32_t Record(std::string call) {
    calls.push_back(std::move(call));
    return code;
  }
};

class AntivirusAgent : public rule_test::LoggedTest {
 protected:
  AntivirusAgent() : main_(&components_) {
    components_.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                      static_cast<EnterpriseIntegration::IManager*>(&manager_));
    components_.Offer(L"MailServers.Antivirus", av::IID_IAntivirus,
                      static_cast<av::IAntivirus*>(&plugin_));
  }
  void SetUp() override {
    LoggedTest::SetUp();
    ASSERT_EQ(agent_.Init(&main_), 0u);
    Lines();
  }

  // Runs `name` with `input` (JSON text); the result code.
  uint32_t Call(const wchar_t* name, const char* input = "{}") {
    method_ = std::make_unique<FakePolicyMethod>(name, Parse(input));
    agent_.RunPolicyMethod(method_.get());
    EXPECT_EQ(method_->resultsSet, 1) << "one result per call";
    return method_->result;
  }
  std::string Output() const { return Compact(method_->output); }

  FakeComponentManager components_;
  FakeServMain main_;
  kelhost::Manager manager_;
  RecordingAntivirus plugin_;
  Antivirus::Agent agent_;
  std::unique_ptr<FakePolicyMethod> method_;
};

TEST_F(AntivirusAgent, FootersTakeAnOredMaskToWriteAndOneDirectionToRead) {
  EXPECT_EQ(Call(L"SetFooterEnabled", R"({"enabled": true, "type": ["incoming", "internal"]})"),
            0u);
  EXPECT_EQ(Call(L"MailServers.Antivirus.setfooterenabled", R"({"enabled": 0, "type": []})"), 0u);
  EXPECT_EQ(Call(L"SetFooter", R"({"type": ["outgoing"], "footer": "Scanned \u00e9"})"), 0u);
  EXPECT_EQ(Call(L"SetFooter", R"({"type": [], "footer": ""})"), 0u);
  EXPECT_EQ(plugin_.calls,
            (std::vector<std::string>{"SetFooterEnabled 5 1", "SetFooterEnabled 0 0",
                                      "SetFooter 2 \"Scanned \xC3\xA9\"", "SetFooter 0 \"\""}));
  EXPECT_EQ(Output(), "null") << "setters write nothing";

  plugin_.calls.clear();
  plugin_.footerEnabled = 1;
  plugin_.footer = L"Checked";
  EXPECT_EQ(Call(L"IsFooterEnabled", R"({"type": "outgoing"})"), 0u);
  EXPECT_EQ(Output(), R"({"enabled":true})");
  EXPECT_EQ(Call(L"GetFooter", R"({"type": "internal"})"), 0u);
  EXPECT_EQ(Output(), R"({"footer":"Checked","type":"internal"})");
  EXPECT_EQ(plugin_.calls, (std::vector<std::string>{"IsFooterEnabled 2", "GetFooter 4"}));
}

TEST_F(AntivirusAgent, RejectedInputsAre160AndReachNoPlugin) {
  struct Case {
    const wchar_t* method;
    const char* input;
    const char* failedKey;  // logged first; null when no key is (a non-object input)
  };
  for (const Case& c : {
           Case{L"SetFooterEnabled", R"({"type": ["incoming"]})", "enabled"},
           Case{L"SetFooterEnabled", R"({"enabled": true})", "type"},
           Case{L"SetFooterEnabled", R"({"enabled": true, "type": "incoming"})", "type"},
           Case{L"SetFooterEnabled", R"({"enabled": true, "type": ["INCOMING"]})", "type"},
           Case{L"IsFooterEnabled", R"({"type": ["incoming"]})", "type"},
           Case{L"GetFooter", R"({"type": 1})", "type"},
           Case{L"SetFooter", R"({"type": ["incoming"], "footer": {}})", "footer"},
           Case{L"SetFooter", R"({"type": ["incoming", "sideways"], "footer": "f"})", "type"},
           Case{L"SetFooter", R"("text")", nullptr},
       }) {
    EXPECT_EQ(Call(c.method, c.input), 160u) << c.input;
    std::vector<std::string> lines = Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "8 Antivirus::Agent::RunPolicyMethod: " + kel::Utf8FromWide(c.method) +
                                " - input validation failed");
    if (c.failedKey) {
      EXPECT_EQ(
          lines.front(),
          std::string("16 JsonComposedSerializer::Load: Failed to load subnode ") + c.failedKey)
          << c.input;
    } else {
      EXPECT_EQ(lines.size(), 1u) << c.input;
    }
    EXPECT_EQ(Output(), "null");
  }
  EXPECT_EQ(plugin_.calls, std::vector<std::string>());
}

TEST_F(AntivirusAgent, ADeepInputIsRejectedWithoutHarm) {
  Json::Value input = Parse(R"({"enabled": true})");
  input["type"] = rule_test::DeepArray(20000);
  FakePolicyMethod deep(L"SetFooterEnabled", Json::Value());
  const_cast<Json::Value*>(deep.GetInput())->swap(input);
  agent_.RunPolicyMethod(&deep);
  EXPECT_EQ(deep.result, 160u);
  json_test::Dismantle((*const_cast<Json::Value*>(deep.GetInput()))["type"]);
}

TEST(AntivirusPlugin, InterfaceIdentifierAndComponentName) {
  EXPECT_EQ(kel::InterfaceIdToText(av::IID_IAntivirus), L"8c2d8c16-4c0f-4faa-b8bd-c0c5581f3dd5");
  EXPECT_STREQ(av::kComponentName, L"MailServers.Antivirus");
}

}  // namespace
