// The domain-check rule set: permitted senders as IPv4 text, four secondary
// actions that all may carry extra data; and the plug-in's slot order. The
// main action and the secondary actions' shapes are the antispam ones;
// tests/host/domaincheck.jsonl refuses the actions this filter lacks.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/vtable.h"
#include "tests/transport/rule_filters.h"
#include "transport/domaincheck/domaincheck_schema.h"

namespace {

namespace dc = kel::nusdk::MailServers::DomainCheck;
using json_test::Compact;
using json_test::Parse;
using rule_test::Describe;
using rule_test::Load;
using rule_test::Save;

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

class DomainCheckRules : public rule_test::RuleSetTest<dc::RuleSet, kRuleSetText> {};

TEST_F(DomainCheckRules, AHandWrittenRuleLoadsEveryMemberAndSavesInTheSameShape) {
  dc::RuleSet set;
  ASSERT_TRUE(Load(Parse(kRuleSetText), set));
  EXPECT_EQ(Describe(*set.rules.FirstConst()),
            R"({{0 "Spoofed example.com" "" 1 5 {3 [] [] [] ["example.com",]} {0 [] [] [] []} 0} )"
            R"([{167903424 0},{6566854 24},{10 8},] 1 {1 "security@example.com"} )"
            R"([{0 "[SPOOF]" ""},{1 "X-Spoof" "1"},{2 "Suspicious" "30d"},)"
            R"({3 "audit@example.com" "cc"},]})");
  Json::Value expected = Parse(kRuleSetText);
  // A tag's extra data is written even when it was left out.
  expected["rules"][0]["onDetection"]["secondaryActions"][0]["extraData"] = "";
  EXPECT_EQ(Compact(Save(set)), Compact(expected));
  EXPECT_EQ(FailedKeys(), std::vector<std::string>());
}

TEST_F(DomainCheckRules, PermittedSendersAreFourDottedNumbersAndAPrefix) {
  struct Case {
    const char* list;
    std::vector<std::string> failed;  // inside "permittedSenders"
  };
  for (const Case& c : {Case{R"(["1.2.3.4", "10.0.0"])", {"permittedSenders[1]"}},
                        Case{R"(["1.2.3.4/0"])", {"permittedSenders[0]"}},
                        Case{R"(["1.2.3.4/33"])", {"permittedSenders[0]"}},
                        Case{R"(["1.2.3.256"])", {"permittedSenders[0]"}},
                        Case{R"([""])", {"permittedSenders[0]"}}, Case{"null", {}}}) {
    ExpectRefused(With("scanSettings/permittedSenders", c.list), c.failed,
                  {"permittedSenders", "scanSettings"});
  }
  ExpectRefused(With("scanSettings/permittedSenders", nullptr), {"permittedSenders"},
                {"scanSettings"});

  dc::RuleSet set;
  ASSERT_TRUE(Load(
      With("scanSettings/permittedSenders", R"(["1.2.3.4", "010.0.0.1/32", "0.0.0.0/1"])"), set));
  EXPECT_EQ(Compact(Save(set)["rules"][0]["scanSettings"]["permittedSenders"]),
            R"(["1.2.3.4","10.0.0.1/32","0.0.0.0/1"])");
}

class SlotProbe final : public dc::IDomainCheck {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SetRules(const dc::RuleSet&) override { return 1; }
  uint32_t GetRules(dc::RuleSet&) override { return 2; }
};

// The transport agent calls the rule-set setter at slot 1 and the getter at 2.
TEST(DomainCheckInterface, OperationsSitInTheirSlots) {
  SlotProbe probe;
  dc::IDomainCheck* object = &probe;
  dc::RuleSet rules;
  EXPECT_EQ(kel::test::CallSlot<uint32_t>(object, 1, &rules), 1u);
  EXPECT_EQ(kel::test::CallSlot<uint32_t>(object, 2, &rules), 2u);
}

}  // namespace
