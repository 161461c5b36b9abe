// The domain-check agent, which serves no method of its own, and its rule set:
// permitted senders as IPv4 text, the main action with its target in
// "address", four secondary actions without notifications; loaded, refused
// with the failing keys logged, saved and round-tripped.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "sdk/mailservers/domaincheck.h"
#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"
#include "tests/support/vtable.h"
#include "tests/transport/rule_describe.h"
#include "transport/domaincheck/domaincheck_agent.h"
#include "transport/domaincheck/domaincheck_schema.h"

namespace {

namespace dc = kel::nusdk::MailServers::DomainCheck;
using Rule = dc::RuleSet::Rule;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
using rule_test::Load;
using rule_test::Save;
using rule_test::Text;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Text(const dc::SecondaryAction& a) {
  return "{action " + std::to_string(a.action) + " data " + Text(a.data) + " extra " +
         Text(a.extraData) + "}";
}

std::string Text(const Rule& r) {
  std::string out = Text(static_cast<const kel::nusdk::MailServers::RuleHeader&>(r)) + " senders [";
  for (const kel::nusdk::Network::IPv4& ip : r.scanSettings.permittedSenders) {
    out += std::to_string(ip.address) + "/" + std::to_string(ip.prefix) + ",";
  }
  out += "] checkAuthenticated " + std::to_string(r.scanSettings.checkAuthenticated);
  out += " main " + Text(r.onDetection.mainAction) + " secondary [";
  for (const dc::SecondaryAction& a : r.onDetection.secondaryActions) out += Text(a) + ",";
  return out + "]";
}

std::string Text(const dc::RuleSet& set) {
  std::string out = "enabled " + std::to_string(set.enabled) + "\n";
  for (const Rule& rule : set.rules) out += Text(rule) + "\n";
  return out;
}

// ---------------------------------------------------------------------------
// Agent

class FakeDomainCheck final : public dc::IDomainCheck {
 public:
  void* QueryInterface(const kel::InterfaceId* iid) override {
    return iid && *iid == dc::IID_IDomainCheck ? this : nullptr;
  }
  uint32_t SetRules(const dc::RuleSet&) override {
    ++calls;
    return 0;
  }
  uint32_t GetRules(dc::RuleSet&) override {
    ++calls;
    return 1;
  }
  int calls = 0;
};

class DomainCheckAgentTest : public rule_test::LoggedTest {
 protected:
  DomainCheckAgentTest() {
    components.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager, &manager);
    components.Offer(L"MailServers.DomainCheck", dc::IID_IDomainCheck,
                     static_cast<dc::IDomainCheck*>(&plugin));
  }

  kel::test::FakeComponentManager components;
  kel::test::FakeServMain main{&components};
  kel::test::FakeManager manager;
  FakeDomainCheck plugin;
  DomainCheck::Agent agent{L"MailServers.DomainCheck"};
};

TEST_F(DomainCheckAgentTest, EveryNameIsNotFound) {
  ASSERT_EQ(agent.Init(&main), 0u);
  EXPECT_EQ(agent.className(), L"DomainCheck::Agent");
  EXPECT_EQ(agent.plugin(), &plugin);
  Lines();
  for (const wchar_t* name :
       {L"SetRules", L"MailServers.DomainCheck.GetRules", L"SetDomainCheckRules", L"", L"."}) {
    kel::test::FakePolicyMethod method(name);
    agent.RunPolicyMethod(&method);
    EXPECT_EQ(method.result, 4317u);
    EXPECT_EQ(method.resultsSet, 1);
  }
  kel::test::FakePolicyMethod unnamed(L"x");
  unnamed.nullName = true;
  agent.RunPolicyMethod(&unnamed);
  EXPECT_EQ(unnamed.result, 4317u);
  EXPECT_THAT(Lines(),
              ElementsAre("8 DomainCheck::Agent::RunPolicyMethod: Function SetRules not found",
                          "8 DomainCheck::Agent::RunPolicyMethod: Function GetRules not found",
                          "8 DomainCheck::Agent::RunPolicyMethod: Function "
                          "SetDomainCheckRules not found",
                          "8 DomainCheck::Agent::RunPolicyMethod: Function  not found",
                          "8 DomainCheck::Agent::RunPolicyMethod: Function . not found",
                          "8 DomainCheck::Agent::RunPolicyMethod: Function  not found"));
  EXPECT_EQ(plugin.calls, 0);
}

// The transport agent calls the rule-set setter at slot 1 and the getter at 2.
TEST(DomainCheckInterfaceTest, OperationsSitInTheirSlots) {
  FakeDomainCheck plugin;
  dc::IDomainCheck* object = &plugin;
  dc::RuleSet rules;
  EXPECT_EQ(kel::test::CallSlot<uint32_t>(object, 1, &rules), 0u);
  EXPECT_EQ(kel::test::CallSlot<uint32_t>(object, 2, &rules), 1u);
  EXPECT_EQ(plugin.calls, 2);
}

// ---------------------------------------------------------------------------
// Rule set

const char kRuleSetText[] = R"({
  "enabled": true,
  "rules": [
    {
      "enabled": false,
      "name": "Spoofed example.com",
      "description": "",
      "detectionWithoutScan": true,
      "processIf": {"traffic": ["incoming", "internal"],
                    "sentBy": {"consider": ["connection", "email"], "emails": [], "groups": [],
                               "wildcards": [], "domains": ["example.com"]}},
      "scanSettings": {
        "permittedSenders": ["192.0.2.10", "198.51.100.0/24", "10.0.0.0/8"],
        "checkAuthenticated": true
      },
      "onDetection": {
        "mainAction": {"action": "redirectEmail", "address": "security@example.com"},
        "secondaryActions": [
          {"action": "tagSubject", "data": "[SPOOF]"},
          {"action": "addHeader", "data": "X-Spoof", "extraData": "1"},
          {"action": "saveToFolder", "data": "Suspicious"},
          {"action": "bccTo", "data": "audit@example.com"}
        ],
        "stopProcessing": false
      }
    },
    {
      "name": "No servers",
      "scanSettings": {"permittedSenders": []},
      "onDetection": {"mainAction": {"action": "rejectOrDeleteEmail"}, "secondaryActions": []}
    }
  ]
})";

const char kRuleSetDescription[] =
    "enabled 1\n"
    "enabled 0 name \"Spoofed example.com\" description \"\" detectionWithoutScan 1 traffic 5 "
    "sentBy {consider 3 users [] groups [] wildcards [] domains [\"example.com\",]} sentTo "
    "{consider 0 users [] groups [] wildcards [] domains []} stopProcessing 0 senders "
    "[167903424/0,6566854/24,10/8,] checkAuthenticated 1 main {action 1 data "
    "\"security@example.com\"} secondary [{action 0 data \"[SPOOF]\" extra \"\"},{action 1 data "
    "\"X-Spoof\" extra \"1\"},{action 2 data \"Suspicious\" extra \"\"},{action 3 data "
    "\"audit@example.com\" extra \"\"},]\n"
    "enabled 1 name \"No servers\" description \"\" detectionWithoutScan 0 traffic 7 sentBy "
    "{consider 0 users [] groups [] wildcards [] domains []} sentTo {consider 0 users [] groups [] "
    "wildcards [] domains []} stopProcessing 0 senders [] checkAuthenticated 0 main {action 0 data "
    "\"\"} secondary []\n";

class DomainCheckRuleSetTest : public rule_test::LoggedTest {
 protected:
  template <class Edit>
  static Json::Value Edited(Edit edit) {
    Json::Value doc = Parse(kRuleSetText);
    edit(doc["rules"][0]);
    return doc;
  }

  void ExpectRefused(const Json::Value& doc, const std::vector<std::string>& keys) {
    dc::RuleSet set;
    EXPECT_FALSE(Load(doc, set)) << Compact(doc);
    EXPECT_EQ(FailedKeys(), keys) << Compact(doc);
  }
};

TEST_F(DomainCheckRuleSetTest, LoadsEveryFieldOfAHandWrittenRuleSet) {
  dc::RuleSet set;
  ASSERT_TRUE(Load(Parse(kRuleSetText), set));
  EXPECT_EQ(Text(set), kRuleSetDescription);
  EXPECT_THAT(FailedKeys(), IsEmpty());
}

TEST_F(DomainCheckRuleSetTest, SavesInTheSameShapeAndLoadsBackTheSame) {
  dc::RuleSet set;
  ASSERT_TRUE(Load(Parse(kRuleSetText), set));
  const Json::Value saved = Save(set);
  Json::Value expected = Parse(kRuleSetText);
  Json::Value& second = expected["rules"][1];
  second["enabled"] = true;
  second["description"] = "";
  second["detectionWithoutScan"] = false;
  second["processIf"] = Parse(R"({"traffic": ["incoming", "outgoing", "internal"]})");
  second["scanSettings"]["checkAuthenticated"] = false;
  second["onDetection"]["stopProcessing"] = false;
  // A tag's extra data is written even when it was left out.
  expected["rules"][0]["onDetection"]["secondaryActions"][0]["extraData"] = "";
  EXPECT_EQ(Compact(saved), Compact(expected));

  dc::RuleSet again;
  ASSERT_TRUE(Load(saved, again));
  EXPECT_EQ(Text(again), Text(set));
}

TEST_F(DomainCheckRuleSetTest, PermittedSendersAreFourDottedNumbersAndAPrefix) {
  const std::vector<std::string> at = {"scanSettings", "rules[0]", "rules"};
  auto senders = [](const std::string& list) {
    return Edited(
        [&](Json::Value& rule) { rule["scanSettings"]["permittedSenders"] = Parse(list); });
  };
  auto refused = [&](const std::string& list, std::vector<std::string> inner) {
    inner.push_back("permittedSenders");
    inner.insert(inner.end(), at.begin(), at.end());
    ExpectRefused(senders(list), inner);
  };
  refused(R"(["10.0.0"])", {"permittedSenders[0]"});
  refused(R"(["1.2.3.4.5"])", {"permittedSenders[0]"});
  refused(R"(["1.2.3.4", "10.0.0"])", {"permittedSenders[1]"});
  refused(R"(["256.1.1.1"])", {"permittedSenders[0]"});
  refused(R"(["1.2.3.4/33"])", {"permittedSenders[0]"});
  refused(R"(["1.2.3.4/0"])", {"permittedSenders[0]"});
  refused(R"(["1.2.3.4/"])", {"permittedSenders[0]"});
  refused(R"(["1.2.3.4/x"])", {"permittedSenders[0]"});
  refused(R"([" 1.2.3.4"])", {"permittedSenders[0]"});
  refused(R"(["+1.2.3.4"])", {"permittedSenders[0]"});
  refused(R"(["1.2.3.4 "])", {"permittedSenders[0]"});
  refused(R"(["a.b.c.d"])", {"permittedSenders[0]"});
  refused(R"([""])", {"permittedSenders[0]"});
  refused(R"([16909060])", {"permittedSenders[0]"});
  refused(R"([null])", {"permittedSenders[0]"});
  refused(R"(null)", {});
  refused(R"("1.2.3.4")", {});
  ExpectRefused(
      Edited([](Json::Value& rule) { rule["scanSettings"].removeMember("permittedSenders"); }),
      {"permittedSenders", "scanSettings", "rules[0]", "rules"});

  dc::RuleSet set;
  ASSERT_TRUE(Load(senders(R"(["1.2.3.4", "010.0.0.1/32", "0.0.0.0/1"])"), set));
  std::vector<std::string> texts;
  for (const auto& ip : set.rules.FirstConst()->scanSettings.permittedSenders) {
    texts.push_back(kel::Utf8FromWide(ip.ToString().ToStd()));
  }
  EXPECT_THAT(texts, ElementsAre("1.2.3.4", "10.0.0.1/32", "0.0.0.0/1"));
  EXPECT_EQ(Compact(Save(set)["rules"][0]["scanSettings"]["permittedSenders"]),
            R"(["1.2.3.4","10.0.0.1/32","0.0.0.0/1"])");
}

TEST_F(DomainCheckRuleSetTest, CheckAuthenticatedIsOptionalButTyped) {
  dc::RuleSet set;
  ASSERT_TRUE(Load(
      Edited([](Json::Value& rule) { rule["scanSettings"].removeMember("checkAuthenticated"); }),
      set));
  EXPECT_EQ(set.rules.FirstConst()->scanSettings.checkAuthenticated, 0);
  ExpectRefused(
      Edited([](Json::Value& rule) { rule["scanSettings"]["checkAuthenticated"] = "yes"; }),
      {"checkAuthenticated", "scanSettings", "rules[0]", "rules"});
  ExpectRefused(Edited([](Json::Value& rule) { rule.removeMember("scanSettings"); }),
                {"scanSettings", "rules[0]", "rules"});
}

TEST_F(DomainCheckRuleSetTest, TheRedirectTargetIsInAddressNotData) {
  auto main = [](const char* text) {
    return Edited([=](Json::Value& rule) { rule["onDetection"]["mainAction"] = Parse(text); });
  };
  ExpectRefused(main(R"({"action": "redirectEmail", "data": "security@example.com"})"),
                {"address", "mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(main(R"({"action": "forwardEmail"})"),
                {"action", "mainAction", "onDetection", "rules[0]", "rules"});
  dc::RuleSet set;
  ASSERT_TRUE(Load(main(R"({"action": "deliverEmail", "data": "ignored"})"), set));
  EXPECT_EQ(Text(set.rules.FirstConst()->onDetection.mainAction), "{action 3 data \"\"}");
}

TEST_F(DomainCheckRuleSetTest, OnlyFourSecondaryActionsAndNoNotifications) {
  auto secondary = [](const char* text) {
    return Edited([=](Json::Value& rule) {
      rule["onDetection"]["secondaryActions"] = Json::Value(Json::arrayValue);
      rule["onDetection"]["secondaryActions"].append(Parse(text));
    });
  };
  const std::vector<std::string> outer = {"secondaryActions[0]", "secondaryActions", "onDetection",
                                          "rules[0]", "rules"};
  auto refusedAt = [&](std::vector<std::string> inner) {
    inner.insert(inner.end(), outer.begin(), outer.end());
    return inner;
  };
  for (const char* action : {"addSCLHeader", "notifyRecipients", "notifyInternalRecipients"}) {
    ExpectRefused(
        secondary(("{\"action\": \"" + std::string(action) + "\", \"data\": []}").c_str()),
        refusedAt({"action"}));
  }
  ExpectRefused(secondary(R"({"action": "addHeader", "data": "X-A"})"), refusedAt({"extraData"}));
  ExpectRefused(secondary(R"({"action": "bccTo"})"), refusedAt({"data"}));
  ExpectRefused(secondary(R"({"action": "tagSubject", "data": {}})"), refusedAt({"data"}));

  dc::RuleSet set;
  ASSERT_TRUE(Load(secondary(R"({"action": "tagSubject", "data": "[S]", "extraData": 7})"), set));
  EXPECT_EQ(Text(*set.rules.FirstConst()->onDetection.secondaryActions.FirstConst()),
            R"({action 0 data "[S]" extra "7"})");
  EXPECT_EQ(Compact(Save(set)["rules"][0]["onDetection"]["secondaryActions"]),
            R"([{"action":"tagSubject","data":"[S]","extraData":"7"}])");
}

TEST_F(DomainCheckRuleSetTest, TenThousandRulesAndDeepNesting) {
  Json::Value doc = Parse(kRuleSetText);
  const Json::Value rule = doc["rules"][0];
  Json::Value& rules = doc["rules"] = Json::Value(Json::arrayValue);
  for (int i = 0; i < 10000; ++i) rules.append(rule);
  dc::RuleSet set;
  ASSERT_TRUE(Load(doc, set));
  EXPECT_EQ(set.rules.Count(), 10000u);
  EXPECT_EQ(Save(set)["rules"].size(), 10000u);

  Json::Value deep = Edited(
      [](Json::Value& r) { r["scanSettings"]["permittedSenders"] = rule_test::DeepArray(5000); });
  ExpectRefused(deep,
                {"permittedSenders[0]", "permittedSenders", "scanSettings", "rules[0]", "rules"});
  json_test::Dismantle(deep["rules"][0]["scanSettings"]["permittedSenders"]);
}

dc::RuleSet GeneratedRuleSet(rule_test::Generator& g) {
  dc::RuleSet set;
  set.enabled = g.Flag();
  const uint32_t count = g.Below(6);
  for (uint32_t i = 0; i < count; ++i) {
    Rule& rule = set.rules.EmplaceBack();
    g.Header(rule);
    const uint32_t senders = g.Below(4);
    for (uint32_t j = 0; j < senders; ++j) {
      kel::nusdk::Network::IPv4& ip = rule.scanSettings.permittedSenders.EmplaceBack();
      ip.address = g.Any32();
      ip.prefix = g.Below(33);  // 0: an address alone
    }
    rule.scanSettings.checkAuthenticated = g.Flag();
    rule.onDetection.mainAction = g.MainAction();
    const uint32_t actions = g.Below(5);
    for (uint32_t j = 0; j < actions; ++j) {
      dc::SecondaryAction& a = rule.onDetection.secondaryActions.EmplaceBack();
      a.action = static_cast<dc::SecondaryAction::Action>(g.Below(4));
      a.data = g.String();
      if (a.action == dc::SecondaryAction::kAddHeader ||
          (a.action == dc::SecondaryAction::kTagSubject && g.Coin())) {
        a.extraData = g.String();
      }
    }
  }
  return set;
}

TEST_F(DomainCheckRuleSetTest, GeneratedRuleSetsRoundTrip) {
  for (uint32_t seed = 1; seed <= 300; ++seed) {
    rule_test::Generator g(seed);
    const dc::RuleSet set = GeneratedRuleSet(g);
    const Json::Value saved = Save(set);
    dc::RuleSet loaded;
    ASSERT_TRUE(Load(saved, loaded)) << "seed " << seed << ": " << Compact(saved);
    ASSERT_EQ(Text(loaded), Text(set)) << "seed " << seed;
    ASSERT_EQ(Compact(Save(loaded)), Compact(saved)) << "seed " << seed;
  }
  EXPECT_THAT(FailedKeys(), IsEmpty());
}

}  // namespace
