// The connection filter agent against a recording plug-in: which handler each
// of the twelve method names reaches, and what the two forms of the black list
// hand the plug-in. tests/host/connection.jsonl drives the rest end to end.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"
#include "tests/transport/rule_describe.h"
#include "transport/connection/connection_agent.h"

namespace {

using json_test::Compact;
using json_test::Parse;
using kel::nusdk::MailServers::Connection::IConnection;
using kel::nusdk::MailServers::Connection::SenderBlackList;
using kel::test::FakePolicyMethod;

// Records which operation was called with what, and answers `code`.
class RecordingConnection : public IConnection {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SetEnabled(bool enabled) override { return Note("SetEnabled " + Flag(enabled)); }
  uint32_t IsEnabled(bool& enabled) override {
    enabled = filterOn;
    return Note("IsEnabled");
  }
  uint32_t SetSenderBlackListEnabled(bool enabled) override {
    return Note("SetSenderBlackListEnabled " + Flag(enabled));
  }
  uint32_t IsSenderBlackListEnabled(bool& enabled) override {
    enabled = listOn;
    return Note("IsSenderBlackListEnabled");
  }
  uint32_t SetSenderBlackList(const SenderBlackList& list) override {
    return Note("SetSenderBlackList " + rule_test::Text(list.emails) + " " +
                rule_test::Text(list.wildcards));
  }
  uint32_t GetSenderBlackList(SenderBlackList& list) override {
    list.emails = stored.emails;
    list.wildcards = stored.wildcards;
    return Note("GetSenderBlackList");
  }

  std::vector<std::string> calls;
  uint32_t code = 0;
  bool filterOn = false;
  bool listOn = false;
  SenderBlackList stored;

 private:
  static std::string Flag(bool value) { return value ? "true" : "false"; }
  uint32_t Note(std::string call) {
    calls.push_back(std::move(call));
    return code;
  }
};

class ConnectionAgent : public rule_test::LoggedTest {
 protected:
  ConnectionAgent() : main_(&components_) {
    components_.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                      static_cast<EnterpriseIntegration::IManager*>(&manager_));
    components_.Offer(L"MailServers.Connection",
                      kel::nusdk::MailServers::Connection::IID_IConnection,
                      static_cast<IConnection*>(&plugin_));
  }
  void SetUp() override {
    ASSERT_EQ(agent_.Init(&main_), 0u);
    rule_test::LoggedTest::SetUp();
  }

  // Runs `name` with `input`; answers the result, keeps the output.
  uint32_t Run(const std::wstring& name, const std::string& input = "{}") {
    FakePolicyMethod method(name, Parse(input));
    agent_.RunPolicyMethod(&method);
    output_ = method.output;
    return method.result;
  }
  // The plug-in calls made since the last look.
  std::vector<std::string> Calls() {
    std::vector<std::string> calls;
    calls.swap(plugin_.calls);
    return calls;
  }

  kel::test::FakeComponentManager components_;
  kel::test::FakeServMain main_;
  kelhost::Manager manager_;
  RecordingConnection plugin_;
  ConnectionFilter::ConnectionAgent agent_;
  Json::Value output_;
};

using CallList = std::vector<std::string>;

TEST_F(ConnectionAgent, LongAndShortNamesReachTheSameSixHandlers) {
  struct Pair {
    const wchar_t* longName;
    const wchar_t* shortName;
    const char* input;
    const char* call;
  };
  const Pair pairs[] = {
      {L"MailServers.ConnectionFilter.SenderBlackList.GetList", L"GetSenderBlackList", "{}",
       "GetSenderBlackList"},
      {L"MailServers.ConnectionFilter.SenderBlackList.SetList", L"SetSenderBlackList",
       R"({"entries":["a@x"]})", "SetSenderBlackList [\"a@x\",] []"},
      {L"MailServers.ConnectionFilter.SenderBlackList.IsEnabled", L"IsSenderBlackListEnabled", "{}",
       "IsSenderBlackListEnabled"},
      {L"MailServers.ConnectionFilter.SenderBlackList.SetEnabled", L"SetSenderBlackListEnabled",
       R"({"enabled":true})", "SetSenderBlackListEnabled true"},
      {L"MailServers.ConnectionFilter.SetEnabled", L"SetEnabled", R"({"enabled":false})",
       "SetEnabled false"},
      {L"MailServers.ConnectionFilter.IsEnabled", L"IsEnabled", "{}", "IsEnabled"},
  };
  for (const Pair& pair : pairs) {
    const std::wstring shortName = pair.shortName;
    for (const std::wstring& name :
         {std::wstring(pair.longName), shortName, L"MailServers.Connection." + shortName,
          L"mailservers.connectionfilter" + std::wstring(pair.longName).substr(28)}) {
      EXPECT_EQ(Run(name, pair.input), 0u) << pair.call;
      EXPECT_EQ(Calls(), CallList{pair.call}) << std::string(name.begin(), name.end());
    }
  }
}

TEST_F(ConnectionAgent, TheBlackListTakesTheEntriesFormOrTheFullForm) {
  // "entries" wins, and puts every entry among the exact addresses.
  EXPECT_EQ(Run(L"SetSenderBlackList",
                R"({"entries":["a@x.test","*@spam.test"],"emails":["no"],"wildcards":["no"]})"),
            0u);
  EXPECT_EQ(Run(L"SetSenderBlackList", R"({"entries":[]})"), 0u);
  EXPECT_EQ(Run(L"SetSenderBlackList", R"({"emails":["a@x",7],"wildcards":["*@y"]})"), 0u);
  EXPECT_EQ(Calls(), (CallList{"SetSenderBlackList [\"a@x.test\",\"*@spam.test\",] []",
                               "SetSenderBlackList [] []",
                               "SetSenderBlackList [\"a@x\",\"7\",] [\"*@y\",]"}));

  const struct {
    const char* input;
    const char* failed;  // logged first
  } rejected[] = {
      {R"({"entries":{}})", "entries"},
      {R"({"entries":null,"emails":[],"wildcards":[]})", "entries"},
      {R"({"wildcards":["*@y"]})", "emails"},
      {R"({"emails":[],"wildcards":[[]]})", "wildcards[0]"},
  };
  for (const auto& r : rejected) {
    Lines();
    EXPECT_EQ(Run(L"SetSenderBlackList", r.input), 160u) << r.input;
    EXPECT_EQ(Lines().at(0),
              std::string("16 JsonComposedSerializer::Load: Failed to load subnode ") + r.failed);
  }
  EXPECT_EQ(Calls(), CallList{});
}

TEST_F(ConnectionAgent, LargeAndDeepInputs) {
  std::string entries = R"({"entries":[)";
  for (int i = 0; i < 10000; ++i) entries += (i ? ",\"" : "\"") + std::to_string(i) + "@x.test\"";
  entries += "]}";
  EXPECT_EQ(Run(L"SetSenderBlackList", entries), 0u);
  const CallList calls = Calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].find("\"9999@x.test\",] []"), calls[0].size() - 18);

  Json::Value input(Json::objectValue);
  input["enabled"] = rule_test::DeepArray(50000);
  FakePolicyMethod method(L"SetEnabled", std::move(input));  // moved: a copy would recurse
  agent_.RunPolicyMethod(&method);
  EXPECT_EQ(method.result, 160u);
  json_test::Dismantle(const_cast<Json::Value&>(*method.GetInput())["enabled"]);
  EXPECT_EQ(Calls(), CallList{});
}

}  // namespace
