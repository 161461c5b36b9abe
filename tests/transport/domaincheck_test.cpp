// The domain-check rule set: permitted senders as IPv4 text, the main action
// with its target in "address", four secondary actions without notifications;
// loaded, refused with the failing keys logged, saved and round-tripped. And
// the plug-in's slot order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "sdk/mailservers/domaincheck.h"
#include "tests/agent/json_test_util.h"
#include "tests/support/vtable.h"
#include "tests/transport/rule_describe.h"
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
// Plug-in (the agent serves no method: tests/host/domaincheck.jsonl drives it)

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

const char kRuleSetText[] = R"({"enabled": true, "rules": [{
  "enabled": false, "name": "Spoofed example.com", "description": "", "detectionWithoutScan": true,
  "processIf": {"traffic": ["incoming", "internal"],
                "sentBy": {"consider": ["connection", "email"], "emails": [], "groups": [],
                           "wildcards": [], "domains": ["example.com"]}},
  "scanSettings": {"permittedSenders": ["192.0.2.10", "198.51.100.0/24", "10.0.0.0/8"],
                   "checkAuthenticated": true},
  "onDetection": {
    "mainAction": {"action": "redirectEmail", "address": "security@example.com"},
    "secondaryActions": [{"action": "tagSubject", "data": "[SPOOF]"},
                         {"action": "addHeader", "data": "X-Spoof", "extraData": "1"},
                         {"action": "saveToFolder", "data": "Suspicious", "extraData": "30d"},
                         {"action": "bccTo", "data": "audit@example.com", "extraData": "cc"}],
    "stopProcessing": false}}]})";

const char kRuleSetDescription[] =
    "enabled 1\n"
    "enabled 0 name \"Spoofed example.com\" description \"\" detectionWithoutScan 1 traffic 5 "
    "sentBy {consider 3 users [] groups [] wildcards [] domains [\"example.com\",]} sentTo "
    "{consider 0 users [] groups [] wildcards [] domains []} stopProcessing 0 senders "
    "[167903424/0,6566854/24,10/8,] checkAuthenticated 1 main {action 1 data "
    "\"security@example.com\"} secondary [{action 0 data \"[SPOOF]\" extra \"\"},{action 1 data "
    "\"X-Spoof\" extra \"1\"},{action 2 data \"Suspicious\" extra \"30d\"},{action 3 data "
    "\"audit@example.com\" extra \"cc\"},]\n";

class DomainCheckRuleSetTest : public rule_test::RuleSetTest<dc::RuleSet, kRuleSetText> {};

TEST_F(DomainCheckRuleSetTest, AHandWrittenRuleSetLoadsEveryFieldAndSavesInTheSameShape) {
  dc::RuleSet set;
  ASSERT_TRUE(Load(Parse(kRuleSetText), set));
  EXPECT_EQ(Text(set), kRuleSetDescription);
  EXPECT_THAT(FailedKeys(), IsEmpty());

  Json::Value expected = Parse(kRuleSetText);
  // A tag's extra data is written even when it was left out.
  expected["rules"][0]["onDetection"]["secondaryActions"][0]["extraData"] = "";
  EXPECT_EQ(Compact(Save(set)), Compact(expected));
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
  refused(R"(["1.2.3.4", "10.0.0"])", {"permittedSenders[1]"});
  refused(R"(["1.2.3.4/0"])", {"permittedSenders[0]"});
  refused(R"(["1.2.3.4/x"])", {"permittedSenders[0]"});
  refused(R"([""])", {"permittedSenders[0]"});
  refused(R"(null)", {});
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

// tests/host/domaincheck.jsonl refuses the rest: a redirect target in "data", the
// notifications and the SCL header, missing data and extra data.
TEST_F(DomainCheckRuleSetTest, ActionsOutsideTheTablesAreRefusedAndUnreadDataIsDropped) {
  const char* const refused[] = {
      R"({"mainAction": {"action": "forwardEmail"}})",
      R"({"mainAction": {"action": "deliverEmail"},
          "secondaryActions": [{"action": "tagSubject", "data": {}}]})",
  };
  ExpectRefused(Edited([&](Json::Value& rule) { rule["onDetection"] = Parse(refused[0]); }),
                {"action", "mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(
      Edited([&](Json::Value& rule) { rule["onDetection"] = Parse(refused[1]); }),
      {"data", "secondaryActions[0]", "secondaryActions", "onDetection", "rules[0]", "rules"});

  dc::RuleSet set;
  ASSERT_TRUE(Load(Edited([](Json::Value& rule) {
                     rule["onDetection"] = Parse(R"({"mainAction": {"action": "deliverEmail",
                                                                    "data": "ignored"},
                         "secondaryActions": [{"action": "tagSubject", "data": "[S]",
                                               "extraData": 7}]})");
                   }),
                   set));
  const auto& onDetection = set.rules.FirstConst()->onDetection;
  EXPECT_EQ(Text(onDetection.mainAction), "{action 3 data \"\"}");
  EXPECT_EQ(Text(*onDetection.secondaryActions.FirstConst()), R"({action 0 data "[S]" extra "7"})");
}

TEST_F(DomainCheckRuleSetTest, TenThousandRulesAndDeepNesting) {
  Json::Value doc = Parse(kRuleSetText);
  const Json::Value rule = doc["rules"][0];
  for (int i = 1; i < 10000; ++i) doc["rules"].append(rule);
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
  for (uint32_t seed = 1; seed <= 100; ++seed) {
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
