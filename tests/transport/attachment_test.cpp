// The attachment rule set in JSON: the shifted main actions and their "data",
// the secondary actions with their tagged arguments, the two match-mode
// tables, optional scan settings, round trips. The attachment agent serves no
// method; tests/host/attachment.jsonl drives it end to end.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/agent/json_test_util.h"
#include "tests/transport/attachment_rules.h"
#include "transport/attachment/attachment_schema.h"

namespace {

namespace at = kel::nusdk::MailServers::Attachment;
using SecondaryAction = at::RuleSet::ScanningRule::OnDetection::SecondaryAction;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
using rule_test::Load;
using rule_test::Save;
using rule_test::Text;

// A rule whose "onDetection" is `onDetection` (JSON text).
Json::Value RuleWith(const std::string& onDetection, const std::string& scanSettings = "") {
  std::string text = R"({"name": "r", "onDetection": )" + onDetection;
  if (!scanSettings.empty()) text += R"(, "scanSettings": )" + scanSettings;
  return Parse(text + "}");
}

Json::Value RuleSetOf(const std::vector<Json::Value>& rules) {
  Json::Value set = Parse(R"({"enabled": true, "rules": []})");
  for (const Json::Value& rule : rules) set["rules"].append(rule);
  return set;
}

// The onDetection of a rule with `secondary` as its one secondary action.
std::string WithSecondary(const std::string& secondary) {
  return R"({"mainAction": {"action": "deliverEmail"}, "secondaryActions": [)" + secondary + "]}";
}

class AttachmentRules : public rule_test::LoggedTest {
 protected:
  // Loads one rule (in a set); the failed keys are checked by the caller.
  bool LoadRule(const Json::Value& rule, at::RuleSet::Rule* loaded = nullptr) {
    at::RuleSet set;
    if (!Load(RuleSetOf({rule}), set)) return false;
    if (loaded) *loaded = *set.rules.begin();
    return true;
  }
};

TEST_F(AttachmentRules, MainActionsAreShiftedAndDataIsRequiredOnlyWhereItIsTheArgument) {
  struct Case {
    const char* action;
    uint32_t code;
    bool needsData;
  };
  for (const Case& c : {Case{"rejectOrDeleteEmail", 0, false}, Case{"deleteAttachment", 1, false},
                        Case{"replaceAttachment", 2, true}, Case{"redirectEmail", 3, true},
                        Case{"quarantineEmail", 4, false}, Case{"deliverEmail", 5, false}}) {
    const std::string action = std::string(R"({"mainAction": {"action": ")") + c.action + "\"";
    at::RuleSet::Rule rule;
    ASSERT_TRUE(LoadRule(RuleWith(action + R"(, "data": "x@y.example"}})"), &rule)) << c.action;
    EXPECT_EQ(rule.onDetection.mainAction.action, c.code) << c.action;
    EXPECT_EQ(rule.onDetection.mainAction.data, L"x@y.example");

    for (const char* missing : {"}}", R"(, "data": ""}})"}) {
      EXPECT_EQ(LoadRule(RuleWith(action + missing), &rule), !c.needsData) << c.action << missing;
      if (c.needsData) {
        EXPECT_EQ(FailedKeys(),
                  (std::vector<std::string>{"mainAction", "onDetection", "rules[0]", "rules"}));
      }
    }
    // Present, "data" must be a string, whatever the action.
    EXPECT_FALSE(LoadRule(RuleWith(action + R"(, "data": ["a"]}})"))) << c.action;
    FailedKeys();
  }
  // The common main action's key for the target is not this filter's.
  EXPECT_FALSE(
      LoadRule(RuleWith(R"({"mainAction": {"action": "redirectEmail", "address": "a"}})")));
  FailedKeys();
}

TEST_F(AttachmentRules, EachSecondaryActionTakesItsOwnFormOfData) {
  struct Case {
    const char* json;
    uint32_t action;
    SecondaryAction::DataKind kind;
    const char* text;
  };
  for (const Case& c : {
           Case{R"({"action": "tagSubject", "data": "[x]"})", 0, SecondaryAction::kText, "[x]"},
           Case{R"({"action": "addHeader", "data": "X-A", "extraData": "1"})", 1,
                SecondaryAction::kText, "X-A"},
           Case{R"({"action": "saveToFolder", "data": "c:\\q"})", 2, SecondaryAction::kText,
                "c:\\q"},
           Case{R"({"action": "bccTo", "data": 42})", 3, SecondaryAction::kText, "42"},
           Case{R"({"action": "forwardEmail", "data": {"to": "f@x.example"}})", 4,
                SecondaryAction::kForwardAddress, ""},
           Case{R"({"action": "notifyInternalRecipients", "data": {"receivers": false}})", 5,
                SecondaryAction::kNotification, ""},
           Case{R"({"action": "notifyRecipients", "data": ["a", "b"]})", 6,
                SecondaryAction::kRecipientList, ""},
       }) {
    at::RuleSet::Rule rule;
    ASSERT_TRUE(LoadRule(RuleWith(WithSecondary(c.json)), &rule)) << c.json;
    const SecondaryAction& a = *rule.onDetection.secondaryActions.begin();
    EXPECT_EQ(a.action, c.action) << c.json;
    EXPECT_EQ(a.data.kind, c.kind) << c.json;
    EXPECT_EQ(kel::Utf8FromWide(a.data.text.c_str()), c.text) << c.json;
  }
}

TEST_F(AttachmentRules, DataOfTheWrongFormOrAnUnknownActionIsRejected) {
  struct Case {
    const char* json;
    std::vector<std::string> failed;  // innermost first, up to the list element
  };
  for (const Case& c : {
           Case{R"({"action": "forwardEmail", "data": "f@x.example"})", {"data"}},
           Case{R"({"action": "forwardEmail", "data": {"address": "f@x.example"}})",
                {"to", "data"}},
           Case{R"({"action": "tagSubject"})", {"data"}},
           Case{R"({"action": "notifyRecipients", "data": ["a", 1.5]})", {"data[1]", "data"}},
           Case{R"({"action": "notifyInternalRecipients", "data": {"sender": "no"}})",
                {"sender", "data"}},
           Case{R"({"action": "addSCLHeader"})", {"action"}},
           Case{R"({"action": "TagSubject", "data": "x"})", {"action"}},
           // "extraData" is read before "data".
           Case{R"({"action": "bccTo", "extraData": []})", {"extraData"}},
       }) {
    EXPECT_FALSE(LoadRule(RuleWith(WithSecondary(c.json)))) << c.json;
    std::vector<std::string> expected = c.failed;
    expected.insert(expected.end(), {"secondaryActions[0]", "secondaryActions", "onDetection",
                                     "rules[0]", "rules"});
    EXPECT_EQ(FailedKeys(), expected) << c.json;
  }
}

TEST_F(AttachmentRules, ActionsSaveTheirDataByKindAndEverythingElseAlways) {
  at::RuleSet::Rule rule;
  ASSERT_TRUE(LoadRule(RuleWith(WithSecondary(
                           R"({"action": "tagSubject", "data": "[x]"},
                              {"action": "forwardEmail", "data": {"to": "f@x.example"},
                               "extraData": "e"},
                              {"action": "notifyInternalRecipients", "data": {"receivers": false}},
                              {"action": "notifyRecipients", "data": ["a", "b"]})")),
                       &rule));
  at::RuleSet set;
  set.rules.EmplaceBack(rule);
  EXPECT_EQ(Compact(Save(set)["rules"][0]["onDetection"]),
            Canonical(R"({"mainAction": {"action": "deliverEmail", "data": ""},
                          "secondaryActions": [
                          {"action": "tagSubject", "data": "[x]", "extraData": ""},
                          {"action": "forwardEmail", "data": {"to": "f@x.example"},
                           "extraData": "e"},
                          {"action": "notifyInternalRecipients",
                           "data": {"sender": true, "receivers": false}, "extraData": ""},
                          {"action": "notifyRecipients", "data": ["a", "b"], "extraData": ""}],
                          "stopProcessing": false})"));
}

TEST_F(AttachmentRules, MatchModesAreTwoTablesThatShareOnlyByExtension) {
  const std::string deliver = R"({"mainAction": {"action": "deliverEmail"}})";
  at::RuleSet::Rule rule;
  ASSERT_TRUE(LoadRule(RuleWith(deliver, R"({"categories": {"known": {"matchMode": "byContent"},
                                              "custom": {"matchMode": "byContent"}}})"),
                       &rule));
  EXPECT_EQ(rule.scanSettings.categories.known.matchMode, 1u);
  EXPECT_EQ(rule.scanSettings.categories.custom.matchMode, 2u);
  ASSERT_TRUE(LoadRule(RuleWith(deliver, R"({"categories": {"known": {"matchMode": "byExtension"},
                                              "custom": {"matchMode": "byRelatedExtensions"}}})"),
                       &rule));
  EXPECT_EQ(rule.scanSettings.categories.known.matchMode, 0u);
  EXPECT_EQ(rule.scanSettings.categories.custom.matchMode, 1u);

  EXPECT_FALSE(LoadRule(
      RuleWith(deliver, R"({"categories": {"known": {"matchMode": "byRelatedExtensions"}}})")));
  EXPECT_EQ(FailedKeys(), (std::vector<std::string>{"matchMode", "known", "categories",
                                                    "scanSettings", "rules[0]", "rules"}));
}

TEST_F(AttachmentRules, ScanSettingsAreAllOptionalButMustBeWellFormedWhenPresent) {
  // tests/host/attachment.jsonl carries every scan setting through a save.
  const std::string deliver = R"({"mainAction": {"action": "deliverEmail"}})";
  at::RuleSet::Rule rule;
  rule.scanSettings.maxArchiveDepth = 9;
  ASSERT_TRUE(LoadRule(RuleWith(deliver), &rule));
  EXPECT_EQ(rule.scanSettings.maxArchiveDepth, 0u) << "as constructed";
  ASSERT_TRUE(
      LoadRule(RuleWith(deliver, R"({"size": {"lowerThan": 10}, "categories": {}})"), &rule));
  EXPECT_EQ(rule.scanSettings.size.lowerThan, 10u);
  EXPECT_EQ(rule.scanSettings.size.greaterThan, 0u);

  struct Case {
    const char* json;
    std::vector<std::string> failed;
  };
  for (const Case& c : {
           Case{R"({"size": {"greaterThan": "10"}})", {"greaterThan", "size"}},
           Case{R"({"size": {"lowerThan": 4294967296}})", {"lowerThan", "size"}},
           Case{R"({"patterns": {"match": "*.exe"}})", {"match", "patterns"}},
           Case{R"({"categories": {"custom": {"extensions": [{}]}}})",
                {"extensions[0]", "extensions", "custom", "categories"}},
           Case{R"({"maxArchiveDepth": -1.5})", {"maxArchiveDepth"}},
       }) {
    EXPECT_FALSE(LoadRule(RuleWith(deliver, c.json))) << c.json;
    std::vector<std::string> expected = c.failed;
    expected.insert(expected.end(), {"scanSettings", "rules[0]", "rules"});
    EXPECT_EQ(FailedKeys(), expected) << c.json;
  }
}

TEST_F(AttachmentRules, LargeAndDeepRuleSets) {
  const Json::Value rule = RuleWith(WithSecondary(R"({"action": "bccTo", "data": "b"})"));
  Json::Value doc = RuleSetOf({});
  for (int i = 0; i < 10000; ++i) doc["rules"].append(rule);
  at::RuleSet set;
  ASSERT_TRUE(Load(doc, set));
  EXPECT_EQ(set.rules.Count(), 10000u);
  EXPECT_EQ(Save(set)["rules"].size(), 10000u);

  Json::Value deep = RuleWith(WithSecondary(R"({"action": "notifyRecipients"})"));
  deep["onDetection"]["secondaryActions"][0]["data"] = rule_test::DeepArray(20000);
  Json::Value deepSet = RuleSetOf({});
  deepSet["rules"].append(Json::Value());
  deepSet["rules"][0].swap(deep);
  EXPECT_FALSE(Load(deepSet, set));
  EXPECT_EQ(FailedKeys(),
            (std::vector<std::string>{"data[0]", "data", "secondaryActions[0]", "secondaryActions",
                                      "onDetection", "rules[0]", "rules"}));
  json_test::Dismantle(deepSet["rules"][0]["onDetection"]["secondaryActions"][0]["data"]);
}

TEST_F(AttachmentRules, GeneratedRuleSetsComeBackTheSame) {
  for (uint32_t seed = 1; seed <= 100; ++seed) {
    rule_test::Generator g(seed);
    at::RuleSet set;
    set.enabled = g.Flag();
    const uint32_t count = g.Below(5);
    for (uint32_t i = 0; i < count; ++i) set.rules.EmplaceBack(rule_test::AttachmentRule(g));
    const Json::Value generated = Save(set);
    at::RuleSet loaded;
    ASSERT_TRUE(Load(generated, loaded)) << "seed " << seed << ": " << Compact(generated);
    ASSERT_EQ(Text(loaded), Text(set)) << "seed " << seed;
    ASSERT_EQ(Save(loaded), generated) << "seed " << seed;
  }
  EXPECT_EQ(FailedKeys(), std::vector<std::string>());
}

}  // namespace
