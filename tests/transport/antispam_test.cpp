// The antispam rule set: a hand-written rule with every member; and the
// plug-in's slot order. tests/host/antispam.jsonl drives the RBL settings and
// the rule set end to end, with the required scan settings and the
// main-action and secondary-action tables.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/vtable.h"
#include "tests/transport/rule_filters.h"
#include "transport/antispam/antispam_schema.h"

namespace {

namespace as = kel::nusdk::MailServers::Antispam;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
using rule_test::Describe;
using rule_test::Load;
using rule_test::Save;

const char kRuleSetText[] = R"({"enabled": true, "rules": [{
  "enabled": true, "name": "Spam from outside", "description": "the usual",
  "detectionWithoutScan": false,
  "processIf": {"traffic": ["incoming"],
                "sentTo": {"consider": ["email"], "emails": ["ceo@example.com"], "groups": ["Staff"],
                           "wildcards": ["*@example.com"], "domains": ["example.com"]}},
  "scanSettings": {
    "aggressivity": 3, "checkAuthenticated": false, "useCloudQueries": true,
    "multiFilter": {"enabled": true, "detectAsian": true, "detectCyrillic": false,
                    "detectSexuallyExplicit": true},
    "useURLFilter": true, "useRBLFilter": true, "useHeuristicFilter": false,
    "useWhiteBlackLists": true, "whiteList": ["friend@example.org"],
    "blackList": ["spammer@example.net", "*@junk.example"]},
  "onDetection": {
    "mainAction": {"action": "redirectEmail", "address": "spam@example.com"},
    "secondaryActions": [
      {"action": "tagSubject", "data": "[SPAM]", "extraData": "x"},
      {"action": "addHeader", "data": "X-Spam", "extraData": "yes"},
      {"action": "saveToFolder", "data": "Junk"},
      {"action": "bccTo", "data": "audit@example.com"},
      {"action": "addSCLHeader"},
      {"action": "notifyInternalRecipients", "data": {"sender": false, "receivers": true}},
      {"action": "notifyRecipients", "data": ["admin@example.com", "postmaster@example.com"]}],
    "stopProcessing": true}}]})";

class AntispamRules : public rule_test::RuleSetTest<as::RuleSet, kRuleSetText> {};

TEST_F(AntispamRules, AHandWrittenRuleLoadsEveryMemberAndSavesInTheSameShape) {
  as::RuleSet set;
  ASSERT_TRUE(Load(Parse(kRuleSetText), set));
  EXPECT_EQ(Describe(*set.rules.FirstConst()),
            R"({{1 "Spam from outside" "the usual" 0 1 {0 [] [] [] []} )"
            R"({2 ["ceo@example.com",] ["Staff",] ["*@example.com",] ["example.com",]} 1} )"
            R"(3 0 1 1 1 0 1 1 1 0 1 ["friend@example.org",] )"
            R"(["spammer@example.net","*@junk.example",] {1 "spam@example.com"} )"
            R"([{0 "[SPAM]" "x" {1 1} []},{1 "X-Spam" "yes" {1 1} []},{2 "Junk" "" {1 1} []},)"
            R"({3 "audit@example.com" "" {1 1} []},{4 "" "" {1 1} []},{5 "" "" {0 1} []},)"
            R"({6 "" "" {1 1} ["admin@example.com","postmaster@example.com",]},]})");
  EXPECT_EQ(Compact(Save(set)), Canonical(kRuleSetText));
  EXPECT_EQ(FailedKeys(), std::vector<std::string>());
}

// Records which slot was called.
class SlotProbe final : public as::IAntispam {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SetRules(const as::RuleSet&) override { return 1; }
  uint32_t SetRBLSettings(const as::IAntispam::RBLSettings&) override { return 2; }
  uint32_t GetRBLSettings(as::IAntispam::RBLSettings&) override { return 3; }
  uint32_t GetRules(as::RuleSet&) override { return 4; }
};

// The plug-in is called by slot number: the RBL pair at 2 and 3, around it the
// rule-set setter at 1 and getter at 4.
TEST(AntispamInterface, OperationsSitInTheirSlots) {
  SlotProbe probe;
  as::IAntispam* object = &probe;
  as::IAntispam::RBLSettings settings;
  as::RuleSet rules;
  EXPECT_EQ(kel::test::CallSlot<uint32_t>(object, 1, &rules), 1u);
  EXPECT_EQ(kel::test::CallSlot<uint32_t>(object, 2, &settings), 2u);
  EXPECT_EQ(kel::test::CallSlot<uint32_t>(object, 3, &settings), 3u);
  EXPECT_EQ(kel::test::CallSlot<uint32_t>(object, 4, &rules), 4u);
}

}  // namespace
