// The transport agent in process, where the host's side can do what kelhost
// cannot: hand over an output that cannot take keys, or no filter plug-ins.
#include <gtest/gtest.h>

#include "tests/agent/fakes.h"
#include "tests/support/log_sink_probe.h"
#include "transport/content/content_schema.h"
#include "transport/transport_agent.h"

namespace {

namespace ms = kel::nusdk::MailServers;
using kel::test::FakeComponentManager;
using kel::test::FakePolicyMethod;
using kel::test::FakeServMain;

class FakeTransport : public ms::Transport::ITransport {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t GetDenyMessage(kel::StringW& message) override {
    message = stored;
    return probeCode;
  }
  uint32_t SetDenyMessage(const kel::StringW& message) override {
    stored = message;
    ++sets;
    return 0;
  }
  uint32_t SetExclusionKeys(const ms::Transport::ExclusionKeys& k) override {
    keys = k;
    ++sets;
    return 0;
  }
  uint32_t GetExclusionKeys(ms::Transport::ExclusionKeys& k) override {
    k = keys;
    return 0;
  }
  kel::StringW stored;
  ms::Transport::ExclusionKeys keys;
  uint32_t probeCode = 0;
  int sets = 0;
};

class FakeContent : public ms::Content::IContent {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SetRules(const ms::Content::RuleSet& r) override {
    rules = r;
    ++sets;
    return setCode;
  }
  uint32_t GetRules(ms::Content::RuleSet& r) override {
    r = rules;
    return 0;
  }
  ms::Content::RuleSet rules;
  uint32_t setCode = 0;
  int sets = 0;
};

class TransportAgent : public ::testing::Test {
 protected:
  TransportAgent() : main_(&components_), agent_(L"MailServers.Transport") {
    components_.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                      static_cast<EnterpriseIntegration::IManager*>(&manager_));
    components_.Offer(L"MailServers.Transport", ms::Transport::IID_ITransport,
                      static_cast<ms::Transport::ITransport*>(&transport_));
  }
  void OfferContent() {
    components_.Offer(L"MailServers.Content", ms::Content::IID_IContent,
                      static_cast<ms::Content::IContent*>(&content_));
  }
  uint32_t Run(FakePolicyMethod& method) {
    agent_.RunPolicyMethod(&method);
    return method.result;
  }

  FakeComponentManager components_;
  FakeServMain main_;
  kelhost::Manager manager_;
  FakeTransport transport_;
  FakeContent content_;
  Transport::Agent agent_;
};

TEST_F(TransportAgent, InitsWithoutFilterPluginsWhoseMethodsThenRefuseInput) {
  ASSERT_EQ(agent_.Init(&main_), 0u);
  FakePolicyMethod get(L"GetContentRules");
  EXPECT_EQ(Run(get), 160u);
  FakePolicyMethod set(L"SetContentRules", Json::Value(Json::objectValue));
  EXPECT_EQ(Run(set), 160u);
  EXPECT_TRUE(manager_.ChangeNotifications().empty());
  struct Features : IFeatureStateSink {
    void ReportFeature(const wchar_t*, bool) override { ++count; }
    int count = 0;
  } features;
  EXPECT_EQ(agent_.ReportFeatureStates(&features), 0u);
  EXPECT_EQ(features.count, 0) << "features without a plug-in are skipped";
}

// The five filter look-ups belong to Init: their refusals are logged inside
// its trace scope, not after it.
TEST_F(TransportAgent, FilterLookUpsAreTracedInsideInit) {
  SinkProbe sink;
  sink.DrainLines();
  ASSERT_EQ(agent_.Init(&main_), 0u);
  std::vector<std::wstring> seen;
  for (const RecordedLine& line : sink.DrainLines()) {
    if (line.depth_change != 0)
      seen.push_back(line.message.substr(0, 2));
    else if (line.message.find(L"getting plugin") != std::wstring::npos)
      seen.push_back(L"error");
  }
  EXPECT_EQ(seen, (std::vector<std::wstring>{L"->", L"error", L"error", L"error", L"error",
                                             L"error", L"<-"}));
}

TEST_F(TransportAgent, AnOutputThatCannotTakeKeysIsClearedAndAnswers1359) {
  OfferContent();
  ASSERT_EQ(agent_.Init(&main_), 0u);
  FakePolicyMethod get(L"GetContentRules");
  get.output = Json::Value(Json::arrayValue);
  get.output.append(1);
  EXPECT_EQ(Run(get), 1359u);
  EXPECT_TRUE(get.output.isNull());

  FakePolicyMethod fine(L"GetContentRules");
  fine.output["kept"] = true;
  EXPECT_EQ(Run(fine), 0u);
  EXPECT_TRUE(fine.output["kept"].asBool()) << "keys are added at the root, beside what is there";
  EXPECT_TRUE(fine.output["rules"].isArray());
}

TEST_F(TransportAgent, EverySetNotifiesTheManagerWhateverThePluginAnswered) {
  OfferContent();
  ASSERT_EQ(agent_.Init(&main_), 0u);
  content_.setCode = 2250;
  Json::Value input;
  input["enabled"] = true;
  input["rules"] = Json::Value(Json::arrayValue);
  FakePolicyMethod set(L"MailServers.Transport.SetContentRules", input);
  EXPECT_EQ(Run(set), 2250u);
  EXPECT_EQ(manager_.ChangeNotifications(), (std::vector<uint32_t>{1}));
  FakePolicyMethod bad(L"SetContentRules", Json::Value(7));
  EXPECT_EQ(Run(bad), 160u);
  EXPECT_EQ(content_.sets, 1) << "a rejected input never reaches the plug-in";
  EXPECT_EQ(manager_.ChangeNotifications().size(), 1u);
}

TEST_F(TransportAgent, FunctioningUnlessTheProbeAnswersAStoppedService) {
  EXPECT_FALSE(agent_.IsFunctioning()) << "nothing to probe before Init";
  ASSERT_EQ(agent_.Init(&main_), 0u);
  EXPECT_TRUE(agent_.IsFunctioning());
  for (uint32_t code : {1229u, 2250u}) {
    transport_.probeCode = code;
    EXPECT_FALSE(agent_.IsFunctioning()) << code;
  }
  transport_.probeCode = 5;
  EXPECT_TRUE(agent_.IsFunctioning()) << "other failures still count as functioning";
}

TEST_F(TransportAgent, DenyMessageJoinsThreePartsAndIsReadBackWhole) {
  ASSERT_EQ(agent_.Init(&main_), 0u);
  Json::Value input;
  input["message"]["code"] = "550";
  input["message"]["enhancedCode"] = "";
  input["message"]["text"] = "Rejected";
  FakePolicyMethod set(L"SetDenyMessage", input);
  EXPECT_EQ(Run(set), 0u);
  EXPECT_STREQ(transport_.stored.c_str(), L"550  Rejected") << "an empty part keeps its place";
  input["message"].removeMember("text");
  FakePolicyMethod missing(L"SetDenyMessage", input);
  EXPECT_EQ(Run(missing), 160u);
  EXPECT_EQ(transport_.sets, 1);
}

}  // namespace
