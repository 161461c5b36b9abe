// The content rule set in JSON. The content agent serves no method of its own;
// tests/host/content.jsonl drives it, and this format, end to end.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/agent/json_test_util.h"
#include "tests/transport/content_rules.h"
#include "transport/content/content_schema.h"

namespace {

using content_test::Action;
using content_test::Match;
using content_test::Rule;
using content_test::RuleSet;
using content_test::ScanSettings;
using content_test::Text;
using EnterpriseIntegration::JsonSerializer;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
using rule_test::Load;
using rule_test::Save;

// One rule set holding `rule` (JSON text of one rule object).
Json::Value OneRule(const std::string& rule) {
  return Parse(R"({"enabled":true,"rules":[)" + rule + "]}");
}

// A rule with the given "scanSettings" and "onDetection" members.
std::string RuleWith(const std::string& scanSettings, const std::string& onDetection) {
  return R"({"name":"r","scanSettings":)" + scanSettings + R"(,"onDetection":)" + onDetection + "}";
}
std::string RuleScanning(const std::string& scanSettings) {
  return RuleWith(scanSettings, R"({"mainAction":{"action":"deliverEmail"}})");
}
std::string RuleDoing(const std::string& onDetection) { return RuleWith("{}", onDetection); }
std::string RuleActing(const std::string& secondaryAction) {
  return RuleDoing(R"({"mainAction":{"action":"deliverEmail"},"secondaryActions":[)" +
                   secondaryAction + "]}");
}

class ContentRules : public rule_test::LoggedTest {
 protected:
  // Loads a rule set holding `rule`, which must fail; answers the logged keys.
  std::vector<std::string> Rejected(const std::string& rule) {
    RuleSet set;
    EXPECT_FALSE(Load(OneRule(rule), set)) << rule;
    return FailedKeys();
  }
  Rule Loaded(const std::string& rule) {
    RuleSet set;
    EXPECT_TRUE(Load(OneRule(rule), set)) << rule;
    EXPECT_EQ(FailedKeys(), std::vector<std::string>{}) << rule;
    return set.rules.IsEmpty() ? Rule() : *set.rules.First();
  }
};

// Every key of the content part of a rule (the header has its own tests).
const char kFullRule[] = R"({
  "name": "Offers",
  "scanSettings": {
    "subject": {"match": [{"find": ["free", "win"], "wholeWord": true, "ignoreCase": true,
                           "engine": "text"}]},
    "body": {"match": [{"find": ["pr[i1]ze"], "engine": "regexp"},
                       {"find": [], "ignoreCase": false, "engine": "text"}]}},
  "onDetection": {
    "mainAction": {"action": "redirectEmail", "data": "review@example.test"},
    "secondaryActions": [
      {"action": "tagSubject", "data": "[offer]"},
      {"action": "addHeader", "data": "X-Offer", "extraData": "yes"},
      {"action": "saveToFolder", "data": "Offers"},
      {"action": "bccTo", "data": "audit@example.test"},
      {"action": "notifyInternalRecipients", "data": {"receivers": false}},
      {"action": "notifyRecipients", "data": ["postmaster@example.test"], "extraData": "x"}],
    "stopProcessing": true}
})";

// The same rule as it is written back: every optional member spelt out,
// stopProcessing inside "onDetection".
const char kFullRuleSaved[] = R"({
  "enabled": true, "name": "Offers", "description": "", "detectionWithoutScan": false,
  "processIf": {"traffic": ["incoming", "outgoing", "internal"]},
  "scanSettings": {
    "body": {"match": [{"find": ["pr[i1]ze"], "wholeWord": false, "ignoreCase": false,
                        "engine": "regexp"},
                       {"find": [], "wholeWord": false, "ignoreCase": false, "engine": "text"}]},
    "subject": {"match": [{"find": ["free", "win"], "wholeWord": true, "ignoreCase": true,
                           "engine": "text"}]}},
  "onDetection": {
    "mainAction": {"action": "redirectEmail", "data": "review@example.test"},
    "secondaryActions": [
      {"action": "tagSubject", "data": "[offer]", "extraData": ""},
      {"action": "addHeader", "data": "X-Offer", "extraData": "yes"},
      {"action": "saveToFolder", "data": "Offers", "extraData": ""},
      {"action": "bccTo", "data": "audit@example.test", "extraData": ""},
      {"action": "notifyInternalRecipients", "data": {"sender": true, "receivers": false},
       "extraData": ""},
      {"action": "notifyRecipients", "data": ["postmaster@example.test"], "extraData": "x"}],
    "stopProcessing": true}
})";

TEST_F(ContentRules, AHandWrittenRuleCarriesThePluginCodesAndSavesEveryKey) {
  RuleSet set;
  ASSERT_TRUE(Load(OneRule(kFullRule), set));
  const Json::Value saved = Save(set);
  EXPECT_EQ(Compact(saved), Compact(OneRule(kFullRuleSaved)));
  std::string codes;
  for (const auto& a : set.rules.First()->onDetection.secondaryActions) {
    codes += std::to_string(a.action);
  }
  EXPECT_EQ(codes, "012345") << "the plug-in's codes behind the names";
}

TEST_F(ContentRules, NotificationsAreNumberedFourAndFiveWithoutAnSclHeader) {
  // The names for 4 and 5 are in the rule above; the antispam code 4 has no name here.
  EXPECT_EQ(Rejected(RuleActing(R"({"action":"addSCLHeader"})")),
            (std::vector<std::string>{"action", "secondaryActions[0]", "secondaryActions",
                                      "onDetection", "rules[0]", "rules"}));
  for (const char* unknown : {R"({"action":"TagSubject","data":"a"})", R"({"action":4})"}) {
    EXPECT_FALSE(Rejected(RuleActing(unknown)).empty()) << unknown;
  }
}

TEST_F(ContentRules, TheFormOfSecondaryDataFollowsTheAction) {
  const Rule rule = Loaded(RuleActing(
      R"({"action":"notifyInternalRecipients","data":{}},
         {"action":"notifyInternalRecipients","data":{"sender":false}},
         {"action":"notifyRecipients","data":[]},
         {"action":"bccTo","data":42})"));
  std::vector<std::string> actions;
  for (const auto& a : rule.onDetection.secondaryActions) actions.push_back(Text(a));
  EXPECT_EQ(actions[0],
            "{action 4 data \"\" notify {sender 1 receivers 1} recipients [] extraData \"\"}");
  EXPECT_EQ(actions[1],
            "{action 4 data \"\" notify {sender 0 receivers 1} recipients [] extraData \"\"}");
  EXPECT_EQ(actions[2],
            "{action 5 data \"\" notify {sender 1 receivers 1} recipients [] extraData \"\"}");
  EXPECT_EQ(actions[3],
            "{action 3 data \"42\" notify {sender 1 receivers 1} recipients [] extraData \"\"}");

  const std::vector<std::string> dataThenEnclosing = {
      "data", "secondaryActions[0]", "secondaryActions", "onDetection", "rules[0]", "rules"};
  for (const char* wrong : {R"({"action":"tagSubject"})", R"({"action":"addHeader","data":["h"]})",
                            R"({"action":"notifyInternalRecipients","data":"everyone"})",
                            R"({"action":"notifyRecipients","data":"a@example.test"})"}) {
    EXPECT_EQ(Rejected(RuleActing(wrong)), dataThenEnclosing) << wrong;
  }
  EXPECT_EQ(Rejected(RuleActing(R"({"action":"notifyRecipients","data":["a",{}]})")),
            (std::vector<std::string>{"data[1]", "data", "secondaryActions[0]", "secondaryActions",
                                      "onDetection", "rules[0]", "rules"}));
}

TEST_F(ContentRules, ExtraDataIsOptionalButMustBeText) {
  Loaded(RuleActing(R"({"action":"addHeader","data":"d"})"));
  EXPECT_EQ(Rejected(RuleActing(R"({"action":"tagSubject","data":"t","extraData":[]})")),
            (std::vector<std::string>{"extraData", "secondaryActions[0]", "secondaryActions",
                                      "onDetection", "rules[0]", "rules"}));
}

TEST_F(ContentRules, ARedirectNeedsNonEmptyDataTheOtherActionsReadItWhenPresent) {
  EXPECT_EQ(Rejected(RuleDoing(R"({"mainAction":{"action":"redirectEmail"}})")),
            (std::vector<std::string>{"data", "mainAction", "onDetection", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleDoing(R"({"mainAction":{"action":"redirectEmail","data":""}})")),
            (std::vector<std::string>{"mainAction", "onDetection", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleDoing(R"({"mainAction":{"action":"quarantineEmail","data":{}}})")),
            (std::vector<std::string>{"data", "mainAction", "onDetection", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleDoing(R"({"mainAction":{"action":"deleteAttachment"}})")),
            (std::vector<std::string>{"action", "mainAction", "onDetection", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleDoing(R"({"secondaryActions":[]})")),
            (std::vector<std::string>{"mainAction", "onDetection", "rules[0]", "rules"}));

  const Rule deliver = Loaded(RuleDoing(R"({"mainAction":{"action":"deliverEmail","data":"x"}})"));
  EXPECT_EQ(deliver.onDetection.mainAction.action, 3u);
  EXPECT_EQ(deliver.onDetection.mainAction.data, L"x");
}

TEST_F(ContentRules, AMatchNeedsFindAndAKnownEngine) {
  const Rule rule =
      Loaded(RuleScanning(R"({"body":{"match":[{"find":["w",7],"engine":"regexp"}]}})"));
  EXPECT_EQ(Text(rule.scanSettings.body.match),
            "[{find [\"w\",\"7\",] wholeWord 0 ignoreCase 0 engine 1},]");

  const auto failedIn = [](const std::string& key, const std::string& part) {
    std::vector<std::string> keys;
    if (!key.empty()) keys.push_back(key);
    for (const char* enclosing : {"match[0]", "match"}) keys.push_back(enclosing);
    for (const std::string& enclosing :
         {part, std::string("scanSettings"), std::string("rules[0]"), std::string("rules")})
      keys.push_back(enclosing);
    return keys;
  };
  EXPECT_EQ(Rejected(RuleScanning(R"({"subject":{"match":[{"engine":"regexp"}]}})")),
            failedIn("find", "subject"));
  EXPECT_EQ(Rejected(RuleScanning(R"({"body":{"match":[{"find":["w"]}]}})")),
            failedIn("engine", "body"));
  for (const char* engine : {R"("Regexp")", "1"}) {
    EXPECT_EQ(Rejected(RuleScanning(std::string(R"({"body":{"match":[{"find":["w"],"engine":)") +
                                    engine + "}]}}")),
              failedIn("engine", "body"))
        << engine;
  }
  for (const char* find : {R"("free")"}) {
    EXPECT_EQ(Rejected(RuleScanning(std::string(R"({"body":{"match":[{"engine":"text","find":)") +
                                    find + "}]}}")),
              failedIn("find", "body"))
        << find;
  }
  EXPECT_EQ(Rejected(RuleScanning(
                R"({"body":{"match":[{"engine":"text","wholeWord":"yes","find":[]}]}})")),
            failedIn("wholeWord", "body"));
  EXPECT_EQ(Rejected(RuleScanning(R"({"body":{"match":[{"engine":"text","find":[{}]}]}})")),
            (std::vector<std::string>{"find[0]", "find", "match[0]", "match", "body",
                                      "scanSettings", "rules[0]", "rules"}));
}

TEST_F(ContentRules, SubjectAndBodyAreEachOptionalButHoldAMatchList) {
  for (const char* scan : {"{}", R"({"subject":{"match":[]}})", R"({"body":{"match":[]}})"}) {
    const Rule rule = Loaded(RuleScanning(scan));
    EXPECT_TRUE(rule.scanSettings.subject.match.IsEmpty()) << scan;
    EXPECT_TRUE(rule.scanSettings.body.match.IsEmpty()) << scan;
  }
  EXPECT_EQ(Rejected(RuleScanning(R"({"subject":{}})")),
            (std::vector<std::string>{"match", "subject", "scanSettings", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleScanning(R"({"body":[]})")),
            (std::vector<std::string>{"body", "scanSettings", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleScanning("[]")),
            (std::vector<std::string>{"scanSettings", "rules[0]", "rules"}));
}

TEST_F(ContentRules, TheRuleSetNeedsEnabledAndARulesArray) {
  RuleSet set;
  EXPECT_TRUE(Load(Parse(R"({"enabled":false,"rules":[]})"), set));
  EXPECT_EQ(FailedKeys(), std::vector<std::string>{});
  EXPECT_FALSE(Load(Parse(R"({"rules":[]})"), set));
  EXPECT_EQ(FailedKeys(), std::vector<std::string>{"enabled"});
  for (const char* rules : {"null", "{}"}) {
    EXPECT_FALSE(Load(Parse(std::string(R"({"enabled":true,"rules":)") + rules + "}"), set));
    EXPECT_EQ(FailedKeys(), std::vector<std::string>{"rules"}) << rules;
  }
  EXPECT_FALSE(Load(Parse(R"({"enabled":true})"), set));
  EXPECT_EQ(FailedKeys(), std::vector<std::string>{"rules"});
  EXPECT_FALSE(Load(Parse("[1,2]"), set));
  EXPECT_FALSE(Load(Json::Value(), set));
  EXPECT_EQ(FailedKeys(), std::vector<std::string>{}) << "the document itself is not a key";
}

TEST_F(ContentRules, AFailingRuleFailsTheSetWhereverItStands) {
  std::string rules;
  for (int i = 0; i < 3; ++i) rules += RuleScanning("{}") + ",";
  rules += RuleScanning(R"({"body":{"match":[{"find":[]}]}})");
  RuleSet set;
  EXPECT_FALSE(Load(Parse(R"({"enabled":true,"rules":[)" + rules + "]}"), set));
  EXPECT_EQ(FailedKeys(), (std::vector<std::string>{"engine", "match[0]", "match", "body",
                                                    "scanSettings", "rules[3]", "rules"}));
}

TEST(ContentRulesSave, AMatchWhoseEngineHasNoNameCannotBeWritten) {
  Match match;
  match.find.EmplaceBack(L"w");
  match.engine = static_cast<ScanSettings::Engine>(2);
  Json::Value doc(7);
  EXPECT_FALSE(JsonSerializer<Match>::Save(doc, match));
  EXPECT_EQ(doc, Json::Value(7)) << "the target is left as it was";

  content_test::Generator generate(5);
  RuleSet set = generate.MakeRuleSet(3);
  set.rules.Last()->scanSettings.subject.match.EmplaceBack(match);
  Json::Value whole(Json::objectValue);
  EXPECT_FALSE(JsonSerializer<RuleSet>::Save(whole, set)) << "nor the document holding it";
  EXPECT_EQ(whole, Json::Value(Json::objectValue));
  set.rules.Last()->scanSettings.subject.match.Last()->engine = ScanSettings::kEngineRegexp;
  EXPECT_TRUE(JsonSerializer<RuleSet>::Save(whole, set));
}

TEST(ContentRulesRoundTrip, GeneratedRuleSetsLoadBackToTheSameStructure) {
  for (uint32_t seed = 1; seed <= 100; ++seed) {
    content_test::Generator generate(seed);
    const RuleSet set = generate.MakeRuleSet(generate.Below(6));
    const Json::Value saved = Save(set);
    RuleSet loaded;
    ASSERT_TRUE(Load(saved, loaded)) << "seed " << seed << "\n" << Compact(saved);
    ASSERT_EQ(Text(loaded), Text(set)) << "seed " << seed;
    ASSERT_EQ(Compact(Save(loaded)), Compact(saved)) << "seed " << seed;
  }
}

TEST(ContentRulesSize, TenThousandRulesLoadAndSave) {
  content_test::Generator generate(77);
  const RuleSet set = generate.MakeRuleSet(10000);
  const Json::Value saved = Save(set);
  ASSERT_EQ(saved["rules"].size(), 10000u);
  RuleSet loaded;
  ASSERT_TRUE(Load(saved, loaded));
  EXPECT_EQ(loaded.rules.Count(), 10000u);
  EXPECT_EQ(Text(loaded), Text(set));
}

TEST(ContentRulesDepth, ADeepValueWhereTheSchemaWantsTextFailsCleanly) {
  Json::Value doc = Parse(R"({"enabled":true,"rules":[{"name":"r",
      "scanSettings":{"body":{"match":[{"engine":"text","find":[]}]}},
      "onDetection":{"mainAction":{"action":"deliverEmail"}}}]})");
  Json::Value& find = doc["rules"][0]["scanSettings"]["body"]["match"][0]["find"];
  Json::Value deep = rule_test::DeepArray(50000);
  find.swap(deep);  // never copied: a copy would recurse
  RuleSet set;
  EXPECT_FALSE(Load(doc, set));
  json_test::Dismantle(find);
}

}  // namespace
