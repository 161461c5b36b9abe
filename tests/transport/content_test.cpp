// The content rule set in JSON, and the content agent, which has no method of
// its own.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/agent/fakes.h"
#include "tests/agent/json_test_util.h"
#include "tests/transport/content_rules.h"
#include "transport/content/content_agent.h"

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

// Every key of a rule, as the transport agent hands it over.
const char kFullRule[] = R"({
  "enabled": true, "name": "Offers", "description": "no spam words",
  "detectionWithoutScan": false,
  "processIf": {"traffic": ["incoming"],
                "sentBy": {"consider": ["email"], "users": ["boss@example.test"],
                           "groups": [], "wildcards": ["*@offers.test"], "domains": []}},
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

// The same rule as it is written back: the user list under "emails", every
// optional member spelt out, stopProcessing inside "onDetection".
const char kFullRuleSaved[] = R"({
  "enabled": true, "name": "Offers", "description": "no spam words",
  "detectionWithoutScan": false,
  "processIf": {"traffic": ["incoming"],
                "sentBy": {"consider": ["email"], "emails": ["boss@example.test"],
                           "groups": [], "wildcards": ["*@offers.test"], "domains": []}},
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

TEST_F(ContentRules, AHandWrittenRuleLoadsEveryKey) {
  const Rule rule = Loaded(kFullRule);
  EXPECT_EQ(rule.name, L"Offers");
  EXPECT_EQ(rule.scope.traffic, 1u);
  EXPECT_EQ(rule_test::Text(rule.scope.sentBy.users), "[\"boss@example.test\",]");
  EXPECT_EQ(rule.stopProcessing, 1u);

  EXPECT_EQ(Text(rule.scanSettings.subject.match),
            "[{find [\"free\",\"win\",] wholeWord 1 ignoreCase 1 engine 0},]");
  EXPECT_EQ(Text(rule.scanSettings.body.match),
            "[{find [\"pr[i1]ze\",] wholeWord 0 ignoreCase 0 engine 1},"
            "{find [] wholeWord 0 ignoreCase 0 engine 0},]");

  EXPECT_EQ(rule.onDetection.mainAction.action, 1u);
  EXPECT_EQ(rule.onDetection.mainAction.data, L"review@example.test");
  std::vector<std::string> actions;
  for (const auto& a : rule.onDetection.secondaryActions) actions.push_back(Text(a));
  const std::string none = " notify {sender 1 receivers 1} recipients [] extraData ";
  EXPECT_EQ(actions, (std::vector<std::string>{
                         "{action 0 data \"[offer]\"" + none + "\"\"}",
                         "{action 1 data \"X-Offer\"" + none + "\"yes\"}",
                         "{action 2 data \"Offers\"" + none + "\"\"}",
                         "{action 3 data \"audit@example.test\"" + none + "\"\"}",
                         "{action 4 data \"\" notify {sender 1 receivers 0} recipients [] "
                         "extraData \"\"}",
                         "{action 5 data \"\" notify {sender 1 receivers 1} recipients "
                         "[\"postmaster@example.test\",] extraData \"x\"}"}));
}

TEST_F(ContentRules, SavingWritesEveryKeyAndLoadsBackTheSame) {
  RuleSet set;
  ASSERT_TRUE(Load(OneRule(kFullRule), set));
  const Json::Value saved = Save(set);
  EXPECT_EQ(Compact(saved), Compact(OneRule(kFullRuleSaved)));

  RuleSet again;
  ASSERT_TRUE(Load(saved, again));
  EXPECT_EQ(Text(again), Text(set));
  EXPECT_EQ(Compact(Save(again)), Compact(saved));
}

TEST_F(ContentRules, NotificationsAreNumberedFourAndFiveWithoutAnSclHeader) {
  RuleSet set;
  set.enabled = 1;
  Rule& rule = set.rules.EmplaceBack();
  rule.name = L"n";
  for (uint32_t code : {4u, 5u}) {
    rule.onDetection.secondaryActions.EmplaceBack().action = static_cast<Action::Action>(code);
  }
  const Json::Value saved = Save(set);
  const Json::Value& actions = saved["rules"][0]["onDetection"]["secondaryActions"];
  EXPECT_EQ(actions[0]["action"], "notifyInternalRecipients");
  EXPECT_EQ(actions[1]["action"], "notifyRecipients");

  EXPECT_EQ(Rejected(RuleActing(R"({"action":"addSCLHeader"})")),
            (std::vector<std::string>{"action", "secondaryActions[0]", "secondaryActions",
                                      "onDetection", "rules[0]", "rules"}));
  for (const char* unknown : {R"({"action":"forwardEmail","data":"a"})",
                              R"({"action":"TagSubject","data":"a"})", R"({"action":4})"}) {
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
                            R"({"action":"saveToFolder","data":{}})",
                            R"({"action":"notifyInternalRecipients","data":"everyone"})",
                            R"({"action":"notifyInternalRecipients"})",
                            R"({"action":"notifyRecipients","data":"a@example.test"})",
                            R"({"action":"notifyRecipients","data":null})"}) {
    EXPECT_EQ(Rejected(RuleActing(wrong)), dataThenEnclosing) << wrong;
  }
  EXPECT_EQ(Rejected(RuleActing(R"({"action":"notifyRecipients","data":["a",{}]})")),
            (std::vector<std::string>{"data[1]", "data", "secondaryActions[0]", "secondaryActions",
                                      "onDetection", "rules[0]", "rules"}));
}

TEST_F(ContentRules, ExtraDataIsOptionalForEveryActionButMustBeText) {
  for (const char* action : {"tagSubject", "addHeader", "saveToFolder", "bccTo"}) {
    Loaded(RuleActing(std::string(R"({"action":")") + action + R"(","data":"d"})"));
  }
  Loaded(RuleActing(R"({"action":"notifyRecipients","data":["a"],"extraData":"e"})"));
  EXPECT_EQ(Rejected(RuleActing(R"({"action":"tagSubject","data":"t","extraData":[]})")),
            (std::vector<std::string>{"extraData", "secondaryActions[0]", "secondaryActions",
                                      "onDetection", "rules[0]", "rules"}));
}

TEST_F(ContentRules, ARedirectNeedsNonEmptyDataTheOtherActionsReadItWhenPresent) {
  const std::vector<std::string> mainActionFailed = {"mainAction", "onDetection", "rules[0]",
                                                     "rules"};
  EXPECT_EQ(Rejected(RuleDoing(R"({"mainAction":{"action":"redirectEmail"}})")),
            (std::vector<std::string>{"data", "mainAction", "onDetection", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleDoing(R"({"mainAction":{"action":"redirectEmail","data":""}})")),
            mainActionFailed);
  // Other filters carry the target in "address"; here it does not count.
  EXPECT_FALSE(
      Rejected(RuleDoing(R"({"mainAction":{"action":"redirectEmail","address":"a@example.test"}})"))
          .empty());
  EXPECT_EQ(Rejected(RuleDoing(R"({"mainAction":{"action":"quarantineEmail","data":{}}})")),
            (std::vector<std::string>{"data", "mainAction", "onDetection", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleDoing(R"({"mainAction":{"action":"deleteAttachment"}})")),
            (std::vector<std::string>{"action", "mainAction", "onDetection", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleDoing(R"({"secondaryActions":[]})")),
            (std::vector<std::string>{"mainAction", "onDetection", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(R"({"name":"r"})"),
            (std::vector<std::string>{"onDetection", "rules[0]", "rules"}));

  const Rule quarantine = Loaded(RuleDoing(R"({"mainAction":{"action":"quarantineEmail"}})"));
  EXPECT_EQ(quarantine.onDetection.mainAction.action, 2u);
  EXPECT_TRUE(quarantine.onDetection.mainAction.data.IsEmpty());
  EXPECT_TRUE(quarantine.onDetection.secondaryActions.IsEmpty());
  const Rule deliver = Loaded(RuleDoing(R"({"mainAction":{"action":"deliverEmail","data":"x"}})"));
  EXPECT_EQ(deliver.onDetection.mainAction.data, L"x");
  const Rule redirect =
      Loaded(RuleDoing(R"({"mainAction":{"action":"redirectEmail","data":"a@example.test"}})"));
  EXPECT_EQ(redirect.onDetection.mainAction.data, L"a@example.test");
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
  for (const char* engine : {R"("Regexp")", R"("TEXT")", "1", "null", R"(["text"])"}) {
    EXPECT_EQ(Rejected(RuleScanning(std::string(R"({"body":{"match":[{"find":["w"],"engine":)") +
                                    engine + "}]}}")),
              failedIn("engine", "body"))
        << engine;
  }
  for (const char* find : {R"("free")", "null", "{}"}) {
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
  EXPECT_EQ(Rejected(RuleScanning(R"({"body":{"match":null}})")),
            (std::vector<std::string>{"match", "body", "scanSettings", "rules[0]", "rules"}));
  EXPECT_EQ(Rejected(RuleScanning("[]")),
            (std::vector<std::string>{"scanSettings", "rules[0]", "rules"}));
}

TEST_F(ContentRules, WithoutScanSettingsARuleLoadsWithTwoEmptyMatchLists) {
  RuleSet set;
  ASSERT_TRUE(
      Load(OneRule(R"({"name":"r","onDetection":{"mainAction":{"action":"deliverEmail"}}})"), set));
  const Rule& rule = *set.rules.First();
  EXPECT_TRUE(rule.scanSettings.subject.match.IsEmpty());
  EXPECT_TRUE(rule.scanSettings.body.match.IsEmpty());
  EXPECT_EQ(Save(set)["rules"][0]["scanSettings"],
            Parse(R"({"subject":{"match":[]},"body":{"match":[]}})"));
}

TEST_F(ContentRules, TheRuleSetNeedsEnabledAndARulesArray) {
  RuleSet set;
  EXPECT_TRUE(Load(Parse(R"({"enabled":false,"rules":[]})"), set));
  EXPECT_EQ(FailedKeys(), std::vector<std::string>{});
  EXPECT_FALSE(Load(Parse(R"({"rules":[]})"), set));
  EXPECT_EQ(FailedKeys(), std::vector<std::string>{"enabled"});
  for (const char* rules : {"null", "{}", R"("r")"}) {
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
  for (uint32_t seed = 1; seed <= 200; ++seed) {
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

TEST(ContentRulesDepth, DeepValuesWhereTheSchemaWantsTextFailCleanly) {
  // Deep where a string, a list of strings, a match list and a rule are wanted.
  for (const char* where : {"find", "match", "rules", "data"}) {
    Json::Value doc = Parse(R"({"enabled":true,"rules":[{"name":"r",
        "scanSettings":{"body":{"match":[{"engine":"text","find":[]}]}},
        "onDetection":{"mainAction":{"action":"redirectEmail","data":"a"}}}]})");
    Json::Value deep = rule_test::DeepArray(50000);
    Json::Value& rule = doc["rules"][0];
    Json::Value& match = rule["scanSettings"]["body"]["match"];
    Json::Value* slot = std::string(where) == "find"    ? &match[0]["find"]
                        : std::string(where) == "match" ? &match
                        : std::string(where) == "rules"
                            ? &doc["rules"]
                            : &rule["onDetection"]["mainAction"]["data"];
    slot->swap(deep);
    RuleSet set;
    EXPECT_FALSE(Load(doc, set)) << where;
    json_test::Dismantle(*slot);
  }
}

// The agent: no policy method of its own, so every name is unknown and the
// plug-in is never called.
class RecordingContent : public kel::nusdk::MailServers::Content::IContent {
 public:
  void* QueryInterface(const kel::InterfaceId*) override { return this; }
  uint32_t SetRules(const RuleSet&) override {
    ++calls;
    return 0;
  }
  uint32_t GetRules(RuleSet&) override {
    ++calls;
    return 0;
  }
  int calls = 0;
};

class ContentAgent : public rule_test::LoggedTest {
 protected:
  ContentAgent() : main_(&components_) {
    components_.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                      static_cast<EnterpriseIntegration::IManager*>(&manager_));
    components_.Offer(L"MailServers.Content", kel::nusdk::MailServers::Content::IID_IContent,
                      static_cast<kel::nusdk::MailServers::Content::IContent*>(&plugin_));
  }

  kel::test::FakeComponentManager components_;
  kel::test::FakeServMain main_;
  kel::test::FakeManager manager_;
  RecordingContent plugin_;
  Content::Agent agent_;
};

TEST_F(ContentAgent, EveryMethodNameIsUnknown) {
  ASSERT_EQ(agent_.Init(&main_), 0u);
  Lines();
  for (const wchar_t* name : {L"SetContentRules", L"GetRules", L"MailServers.Content.SetRules", L"",
                              L"MailServers.Content."}) {
    kel::test::FakePolicyMethod method(name, Parse(R"({"enabled":true,"rules":[]})"));
    agent_.RunPolicyMethod(&method);
    EXPECT_EQ(method.result, 4317u);
    EXPECT_TRUE(method.output.isNull());
  }
  EXPECT_EQ(plugin_.calls, 0);
  const std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[2], "8 Content::Agent::RunPolicyMethod: Function SetRules not found");
  EXPECT_EQ(lines[4], "8 Content::Agent::RunPolicyMethod: Function  not found");
}

TEST_F(ContentAgent, HoldsThePluginByItsNameAndInterface) {
  components_.Refuse(L"MailServers.Content", 1168);
  EXPECT_EQ(agent_.Init(&main_), 5002u);
  EXPECT_EQ(Lines(),
            (std::vector<std::string>{
                "8 ServPlugin<struct kel::nusdk::MailServers::Content::IContent>::GetPlugin: "
                "Error 1168 getting plugin \"MailServers.Content\""}));
  kel::test::FakePolicyMethod method(L"Anything");
  agent_.RunPolicyMethod(&method);
  EXPECT_EQ(method.result, 21u);

  kel::test::FakeComponentManager components;
  kel::test::FakeServMain main(&components);
  components.Offer(L"EndpointIntegration.Manager", EnterpriseIntegration::IID_IManager,
                   static_cast<EnterpriseIntegration::IManager*>(&manager_));
  components.Offer(L"MailServers.Content", kel::nusdk::MailServers::Content::IID_IContent,
                   static_cast<kel::nusdk::MailServers::Content::IContent*>(&plugin_));
  EXPECT_EQ(agent_.Init(&main), 0u);
  EXPECT_EQ(agent_.plugin(), &plugin_);
  EXPECT_STREQ(agent_.GetAgentName(), L"MailServers.Content");
  agent_.Uninit();  // while `components` is still there to take the plug-in back
  EXPECT_EQ(components.held[L"MailServers.Content"], 0);
}

}  // namespace
