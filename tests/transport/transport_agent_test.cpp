// The transport agent in process, where the host's side can do what kelhost
// cannot: hand over an output that cannot take keys, or read the trace of Init.
// Everything else runs through the DLL in tests/host/transport.jsonl.
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
  uint32_t GetDenyMessage(kel::StringW&) override { return 0; }
  uint32_t SetDenyMessage(const kel::StringW&) override { return 0; }
  uint32_t SetExclusionKeys(const ms::Transport::ExclusionKeys&) override { return 0; }
  uint32_t GetExclusionKeys(ms::Transport::ExclusionKeys&) override { return 0; }
};

class FakeContent : public ms::Content::IContent {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SetRules(const ms::Content::RuleSet& r) override {
    rules = r;
    return 0;
  }
  uint32_t GetRules(ms::Content::RuleSet& r) override {
    r = rules;
    return 0;
  }
  ms::Content::RuleSet rules;
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

}  // namespace
