// The connection filter agent: twelve method names over six handlers, the two
// forms of the black list, the switches, and the names it reports.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"
#include "tests/transport/rule_describe.h"
#include "transport/connection/connection_agent.h"

namespace {

using json_test::Canonical;
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
  kel::test::FakeManager manager_;
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

TEST_F(ConnectionAgent, NamesOutsideTheTableAreUnknownAndReachNoPlugin) {
  for (const wchar_t* name :
       {L"MailServers.ConnectionFilter.GetList", L"MailServers.ConnectionFilter.SenderBlackList",
        L"MailServers.Connection.SenderBlackList.GetList", L"ConnectionFilter.IsEnabled",
        L"mailservers.connection.IsEnabled", L"xIsEnabled", L"GetSenderBlackListX", L""}) {
    EXPECT_EQ(Run(name), 4317u) << std::wstring(name).size();
  }
  EXPECT_EQ(Calls(), CallList{});
  EXPECT_EQ(Lines().at(1),
            "8 ConnectionFilter::ConnectionAgent::RunPolicyMethod: "
            "Function MailServers.ConnectionFilter.SenderBlackList not found");
}

TEST_F(ConnectionAgent, ReportsItsThreeNamespacesInOrder) {
  struct Names : INameSink {
    void AddName(const wchar_t* name) override { names.push_back(name); }
    std::vector<std::wstring> names;
  } names;
  static_cast<EnterpriseIntegration::IAgent&>(agent_).ReportNames(&names);
  EXPECT_EQ(names.names, (std::vector<std::wstring>{L"MailServers.ConnectionFilter.SenderBlackList",
                                                    L"MailServers.ConnectionFilter",
                                                    L"MailServers.Connection"}));
  agent_.ReportNames(nullptr);
  EXPECT_STREQ(agent_.GetAgentName(), L"MailServers.Connection");
}

TEST_F(ConnectionAgent, SettersNeedABooleanEnabled) {
  EXPECT_EQ(Run(L"SetEnabled", R"({"enabled":1})"), 0u);
  EXPECT_EQ(Run(L"SetSenderBlackListEnabled", R"({"enabled":0})"), 0u);
  EXPECT_EQ(Calls(), (CallList{"SetEnabled true", "SetSenderBlackListEnabled false"}));
  Lines();
  for (const wchar_t* name : {L"SetEnabled", L"SetSenderBlackListEnabled"}) {
    for (const char* input : {"{}", R"({"enabled":"true"})", R"({"enabled":null})",
                              R"({"enabled":[true]})", R"({"Enabled":true})", "[true]", "true"}) {
      EXPECT_EQ(Run(name, input), 160u) << input;
    }
  }
  EXPECT_EQ(Calls(), CallList{});
  const std::vector<std::string> lines = Lines();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[0], "16 JsonComposedSerializer::Load: Failed to load subnode enabled");
  EXPECT_EQ(lines[1],
            "8 ConnectionFilter::ConnectionAgent::RunPolicyMethod: SetEnabled - input validation "
            "failed");
}

TEST_F(ConnectionAgent, GettersAnswerEnabledOnlyOnSuccess) {
  plugin_.filterOn = true;
  EXPECT_EQ(Run(L"IsEnabled"), 0u);
  EXPECT_EQ(Compact(output_), Canonical(R"({"enabled":true})"));
  EXPECT_EQ(Run(L"IsSenderBlackListEnabled"), 0u);
  EXPECT_EQ(Compact(output_), Canonical(R"({"enabled":false})"));

  plugin_.code = 2250;
  for (const wchar_t* name : {L"IsEnabled", L"IsSenderBlackListEnabled", L"GetSenderBlackList"}) {
    EXPECT_EQ(Run(name), 2250u);
    EXPECT_TRUE(output_.isNull()) << "no output after a plug-in failure";
  }
  EXPECT_EQ(Run(L"SetEnabled", R"({"enabled":true})"), 2250u);
  EXPECT_EQ(Run(L"SetSenderBlackList", R"({"emails":[],"wildcards":[]})"), 2250u);
}

TEST_F(ConnectionAgent, TheEntriesFormPutsEveryEntryAmongTheExactAddresses) {
  EXPECT_EQ(Run(L"SetSenderBlackList", R"({"entries":["a@x.test","*@spam.test","b@x.test"]})"), 0u);
  EXPECT_EQ(Run(L"SetSenderBlackList",
                R"({"entries":["e@x"],"emails":["ignored"],"wildcards":["ignored"]})"),
            0u);
  EXPECT_EQ(Run(L"SetSenderBlackList", R"({"entries":[]})"), 0u);
  EXPECT_EQ(Calls(), (CallList{"SetSenderBlackList [\"a@x.test\",\"*@spam.test\",\"b@x.test\",] []",
                               "SetSenderBlackList [\"e@x\",] []", "SetSenderBlackList [] []"}));

  for (const char* input : {R"({"entries":null})", R"({"entries":"a@x"})", R"({"entries":{}})",
                            R"({"entries":null,"emails":[],"wildcards":[]})"}) {
    Lines();
    EXPECT_EQ(Run(L"SetSenderBlackList", input), 160u) << input;
    EXPECT_EQ(Lines().at(0), "16 JsonComposedSerializer::Load: Failed to load subnode entries");
  }
  EXPECT_EQ(Run(L"SetSenderBlackList", R"({"entries":["a",{}]})"), 160u);
  EXPECT_EQ(Lines().at(0), "16 JsonComposedSerializer::Load: Failed to load subnode entries[1]");
  EXPECT_EQ(Calls(), CallList{});
}

TEST_F(ConnectionAgent, TheFullFormNeedsEmailsAndWildcards) {
  EXPECT_EQ(Run(L"SetSenderBlackList", R"({"emails":["a@x",7],"wildcards":["*@y"]})"), 0u);
  EXPECT_EQ(Calls(), CallList{"SetSenderBlackList [\"a@x\",\"7\",] [\"*@y\",]"});

  const struct {
    const char* input;
    const char* failed;
  } rejected[] = {
      {R"({"emails":["a@x"]})", "wildcards"},
      {R"({"wildcards":["*@y"]})", "emails"},
      {R"({"emails":null,"wildcards":[]})", "emails"},
      {R"({"emails":[],"wildcards":[[]]})", "wildcards[0]"},
      {"{}", "emails"},
  };
  for (const auto& r : rejected) {
    Lines();
    EXPECT_EQ(Run(L"SetSenderBlackList", r.input), 160u) << r.input;
    EXPECT_EQ(Lines().at(0),
              std::string("16 JsonComposedSerializer::Load: Failed to load subnode ") + r.failed);
  }
  EXPECT_EQ(Run(L"SetSenderBlackList", "[1]"), 160u);
  EXPECT_EQ(Calls(), CallList{});
}

TEST_F(ConnectionAgent, TheBlackListIsAnsweredAtTheOutputsRoot) {
  plugin_.stored.emails.EmplaceBack(L"a@x.test");
  plugin_.stored.emails.EmplaceBack(L"b\u00e9@x.test");
  plugin_.stored.wildcards.EmplaceBack(L"*@spam.test");
  EXPECT_EQ(Run(L"MailServers.ConnectionFilter.SenderBlackList.GetList"), 0u);
  EXPECT_EQ(Compact(output_),
            Canonical(R"({"emails":["a@x.test","b\u00e9@x.test"],"wildcards":["*@spam.test"]})"));

  plugin_.stored = SenderBlackList();
  EXPECT_EQ(Run(L"GetSenderBlackList"), 0u);
  EXPECT_EQ(Compact(output_), Canonical(R"({"emails":[],"wildcards":[]})"));
}

TEST_F(ConnectionAgent, LargeAndDeepInputs) {
  std::string entries = R"({"entries":[)";
  for (int i = 0; i < 10000; ++i) entries += (i ? ",\"" : "\"") + std::to_string(i) + "@x.test\"";
  entries += "]}";
  EXPECT_EQ(Run(L"SetSenderBlackList", entries), 0u);
  const CallList calls = Calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].find("\"9999@x.test\",] []"), calls[0].size() - 18);

  for (const char* key : {"entries", "emails", "enabled"}) {
    Json::Value input(Json::objectValue);
    input["wildcards"] = Json::Value(Json::arrayValue);
    input[key] = rule_test::DeepArray(50000);
    FakePolicyMethod method(std::string(key) == "enabled" ? L"SetEnabled" : L"SetSenderBlackList",
                            std::move(input));  // moved, never copied: a copy would recurse
    agent_.RunPolicyMethod(&method);
    EXPECT_EQ(method.result, 160u) << key;
    json_test::Dismantle(const_cast<Json::Value&>(*method.GetInput())[key]);
  }
  EXPECT_EQ(Calls(), CallList{});
}

TEST_F(ConnectionAgent, WithoutThePluginEveryNameAnswers21) {
  agent_.Uninit();
  EXPECT_EQ(Run(L"IsEnabled"), 21u);
  EXPECT_EQ(Run(L"MailServers.ConnectionFilter.SetEnabled", R"({"enabled":true})"), 21u);

  components_.Refuse(L"MailServers.Connection", 1168);
  EXPECT_EQ(agent_.Init(&main_), 5002u);
  EXPECT_EQ(Lines().back(),
            "8 ServPlugin<struct kel::nusdk::MailServers::Connection::IConnection>::GetPlugin: "
            "Error 1168 getting plugin \"MailServers.Connection\"");
  EXPECT_EQ(Calls(), CallList{});
}

}  // namespace
