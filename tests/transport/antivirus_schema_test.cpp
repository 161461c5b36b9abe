// The antivirus rule set in JSON: the action codes, the archive-depth mapping,
// required parts, the two replacement-text forms, the redirect check, and round
// trips of generated rule sets. tests/host/antivirus.jsonl carries a full rule
// with its defaults through the transport agent.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/agent/json_test_util.h"
#include "tests/transport/antivirus_rules.h"
#include "transport/antivirus/antivirus_schema.h"

namespace {

namespace av = kel::nusdk::MailServers::Antivirus;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
using kel::nusdk::MailServers::IAntivirusFilterRule;
using rule_test::Load;
using rule_test::Save;
using rule_test::Text;

// The smallest rule that loads.
const char kMinimalRule[] = R"({"name": "r",
  "scanSettings": {"extensions": {"mode": "all"}},
  "onDetection": {"actions": {"infected": [], "suspect": []}}})";

Json::Value RuleSetOf(const std::vector<Json::Value>& rules, bool enabled = true) {
  Json::Value set(Json::objectValue);
  set["enabled"] = enabled;
  set["rules"] = Json::Value(Json::arrayValue);
  for (const Json::Value& rule : rules) set["rules"].append(rule);
  return set;
}

// `text` with the member at `path` set to `value`.
Json::Value With(const char* text, const std::vector<std::string>& path, const Json::Value& value) {
  Json::Value doc = Parse(text);
  Json::Value* node = &doc;
  for (size_t i = 0; i + 1 < path.size(); ++i) node = &(*node)[path[i]];
  (*node)[path.back()] = value;
  return doc;
}

// `text` without the member at `path`.
Json::Value Without(const char* text, const std::vector<std::string>& path) {
  Json::Value doc = Parse(text);
  Json::Value* node = &doc;
  for (size_t i = 0; i + 1 < path.size(); ++i) node = &(*node)[path[i]];
  node->removeMember(path.back());
  return doc;
}

class AntivirusRules : public rule_test::LoggedTest {};

TEST_F(AntivirusRules, ActionNamesCarryThePluginCodesExactly) {
  const char* const names[] = {"ignoreFile",     "disinfect",     "deleteFile",
                               "quarantineFile", "disinfectFile", "quarantineEmail",
                               "redirectEmail",  "replaceFile",   "rejectOrDeleteEmail"};
  Json::Value rule = Parse(kMinimalRule);
  for (const char* name : names) rule["onDetection"]["actions"]["suspect"].append(name);
  rule["onDetection"]["redirectEmailTo"] = "a@x.example";
  av::RuleSet set;
  ASSERT_TRUE(Load(RuleSetOf({rule}), set));
  EXPECT_EQ(Text(set.rules.begin()->onDetection.actions.suspect),
            "[1,3,5,7,10,770,1026,1285,1538,]");
  EXPECT_EQ(Save(set)["rules"][0]["onDetection"]["actions"]["suspect"],
            rule["onDetection"]["actions"]["suspect"]);

  // A code the table lacks has no name; it keeps its place as null.
  set.rules.begin()->onDetection.actions.infected.EmplaceBack(
      static_cast<IAntivirusFilterRule::Action>(2));
  EXPECT_EQ(Compact(Save(set)["rules"][0]["onDetection"]["actions"]["infected"]), "[null]");
}

TEST_F(AntivirusRules, UnknownOrMisspeltNamesFailFromTheInnermostKeyOutward) {
  struct Case {
    std::vector<std::string> path;
    Json::Value value;
    std::vector<std::string> failed;
  };
  const std::vector<Case> cases = {
      {{"onDetection", "actions", "infected"},
       Parse(R"(["disinfect", "Disinfect"])"),
       {"infected[1]", "infected", "actions", "onDetection"}},
      {{"scanSettings", "extensions", "mode"},
       Json::Value("some"),
       {"mode", "extensions", "scanSettings"}},
      {{"onDetection", "secondaryActions"},
       Parse(R"([{"action": "tagSubject", "data": {}}])"),
       {"action", "secondaryActions[0]", "secondaryActions", "onDetection"}},
      {{"onDetection", "secondaryActions"},
       Parse(R"([{"action": "notifyRecipients", "data": ["a@x.example"]}])"),
       {"data", "secondaryActions[0]", "secondaryActions", "onDetection"}},
  };
  for (const Case& c : cases) {
    av::RuleSet set;
    EXPECT_FALSE(Load(RuleSetOf({Parse(kMinimalRule), With(kMinimalRule, c.path, c.value)}), set))
        << Compact(c.value);
    std::vector<std::string> expected = c.failed;
    expected.insert(expected.end(), {"rules[1]", "rules"});
    EXPECT_EQ(FailedKeys(), expected) << Compact(c.value);
  }
}

TEST_F(AntivirusRules, RequiredPartsAreRequired) {
  for (const std::vector<std::string>& path :
       std::vector<std::vector<std::string>>{{"name"},
                                             {"scanSettings"},
                                             {"scanSettings", "extensions", "mode"},
                                             {"onDetection"},
                                             {"onDetection", "actions", "infected"},
                                             {"onDetection", "actions", "suspect"}}) {
    av::RuleSet set;
    EXPECT_FALSE(Load(RuleSetOf({Without(kMinimalRule, path)}), set)) << path.back();
    const std::vector<std::string> failed = FailedKeys();
    ASSERT_FALSE(failed.empty());
    EXPECT_EQ(failed.front(), path.back());
  }
}

TEST_F(AntivirusRules, ThreatTypesDefaultOneByOneAndTheKeyIsCaseSensitive) {
  av::RuleSet set;
  ASSERT_TRUE(Load(RuleSetOf({With(kMinimalRule, {"scanSettings", "threatTypes"},
                                   Parse(R"({"adware": false, "pua": false})"))}),
                   set));
  const auto& t = set.rules.begin()->scanSettings.threatTypes;
  EXPECT_EQ(std::vector<int>({t.spyware, t.adware, t.dialers, t.keyloggers, t.pua}),
            std::vector<int>({1, 0, 1, 1, 1}));
  EXPECT_FALSE(Load(
      RuleSetOf({With(kMinimalRule, {"scanSettings", "threatTypes"}, Parse(R"({"PUA": "no"})"))}),
      set));
  EXPECT_EQ(FailedKeys(),
            (std::vector<std::string>{"PUA", "threatTypes", "scanSettings", "rules[0]", "rules"}));
}

TEST_F(AntivirusRules, ArchiveDepthSixteenIsMinusOneInJsonBothWays) {
  struct Case {
    const char* json;
    int32_t loaded;
    const char* saved;
  };
  for (const Case& c : {Case{"-1", 16, "-1"}, Case{"4294967295", 16, "-1"}, Case{"16", 16, "-1"},
                        Case{"15", 15, "15"}, Case{"-7", -7, "-7"}}) {
    av::RuleSet set;
    ASSERT_TRUE(Load(
        RuleSetOf({With(kMinimalRule, {"scanSettings", "maxArchiveDepth"}, Parse(c.json))}), set))
        << c.json;
    EXPECT_EQ(set.rules.begin()->scanSettings.maxArchiveDepth, c.loaded) << c.json;
    EXPECT_EQ(Compact(Save(set)["rules"][0]["scanSettings"]["maxArchiveDepth"]), c.saved);
  }
  av::RuleSet set;
  for (const char* bad : {"4294967294", "-2147483649", "2.0", "\"16\""}) {
    EXPECT_FALSE(
        Load(RuleSetOf({With(kMinimalRule, {"scanSettings", "maxArchiveDepth"}, Parse(bad))}), set))
        << bad;
    const std::vector<std::string> failed = FailedKeys();
    ASSERT_FALSE(failed.empty()) << bad;
    EXPECT_EQ(failed.front(), "maxArchiveDepth") << bad;
  }
}

TEST_F(AntivirusRules, ReplacementTextsComeNestedOrFlatAndAreAlwaysSavedNested) {
  av::ReplacementTexts texts;
  texts.unscannable.replaced = L"stale";
  ASSERT_TRUE(Load(Parse(R"({"scanned": {"replaced": "a", "quarantined": "b"},
                             "unscannable": {"replaced": "c", "quarantined": "d"},
                             "moreInformation": "e", "extra": 1})"),
                   texts));
  EXPECT_EQ(Text(texts), R"({scanned "a" "b" unscannable "c" "d" moreInformation "e"})");

  // Flat: the pair at the top level is the scanned one; an "unscannable"
  // object beside it belongs to no form and is passed over.
  ASSERT_TRUE(Load(Parse(R"({"replaced": "f", "quarantined": "g", "moreInformation": 7,
                             "unscannable": {"replaced": "x", "quarantined": "y"}})"),
                   texts));
  EXPECT_EQ(Text(texts), R"({scanned "f" "g" unscannable "" "" moreInformation "7"})");
  EXPECT_EQ(Compact(Save(texts)), Canonical(R"({"scanned": {"replaced": "f", "quarantined": "g"},
                          "unscannable": {"replaced": "", "quarantined": ""},
                          "moreInformation": "7"})"));

  struct Case {
    const char* json;
    std::vector<std::string> failed;
  };
  for (const Case& c : {
           Case{R"({"scanned": {"replaced": "a", "quarantined": "b"}, "moreInformation": "e"})",
                {"unscannable"}},
           Case{R"({"scanned": {"replaced": "a"}, "unscannable": {"replaced": "c",
                    "quarantined": "d"}, "moreInformation": "e"})",
                {"quarantined", "scanned"}},
           Case{R"({"replaced": "f", "quarantined": "g"})", {"moreInformation"}},
           Case{R"({"replaced": ["f"], "quarantined": "g", "moreInformation": "e"})", {"replaced"}},
           Case{R"(["replaced"])", {}},
       }) {
    EXPECT_FALSE(Load(Parse(c.json), texts)) << c.json;
    EXPECT_EQ(FailedKeys(), c.failed) << c.json;
  }
}

TEST_F(AntivirusRules, RedirectingInfectedOrSuspectItemsNeedsATarget) {
  const std::string function =
      "8 JsonSerializer<Antivirus::TransportRuleSet>::findRuleMissingRedirectTo: ";
  const std::string message = "Empty redirecEmailTo while Redirect action is used";
  for (const char* list : {"infected", "suspect"}) {
    const Json::Value redirecting =
        With(kMinimalRule, {"onDetection", "actions", list}, Parse(R"(["redirectEmail"])"));
    av::RuleSet set;
    EXPECT_FALSE(Load(RuleSetOf({Parse(kMinimalRule), redirecting, redirecting}), set)) << list;
    // One line: the check stops at the first rule, and logs no sub-node.
    EXPECT_EQ(Lines(), std::vector<std::string>{function + message}) << list;
    EXPECT_EQ(set.rules.Count(), 3u) << "the check runs after every rule has loaded";

    Json::Value addressed = redirecting;
    addressed["onDetection"]["redirectEmailTo"] = "quarantine@x.example";
    EXPECT_TRUE(Load(RuleSetOf({Parse(kMinimalRule), addressed}), set)) << list;
    addressed["onDetection"]["redirectEmailTo"] = "";
    EXPECT_FALSE(Load(RuleSetOf({addressed}), set)) << list;
    Lines();
  }
  // Unscannable items are not part of the check.
  av::RuleSet set;
  EXPECT_TRUE(Load(RuleSetOf({With(kMinimalRule, {"onDetection", "actions", "unscannable"},
                                   Parse(R"(["redirectEmail"])"))}),
                   set));
  EXPECT_EQ(Lines(), std::vector<std::string>());
}

TEST_F(AntivirusRules, TheRuleSetEnvelopeNeedsBothKeys) {
  av::RuleSet set;
  ASSERT_TRUE(Load(Parse(R"({"enabled": false, "rules": []})"), set));
  EXPECT_EQ(Compact(Save(set)), R"({"enabled":false,"rules":[]})");
  for (const char* bad : {R"({"rules": []})", R"({"enabled": true, "rules": {}})",
                          R"({"enabled": true, "rules": [1]})", "null"}) {
    EXPECT_FALSE(Load(Parse(bad), set)) << bad;
  }
  FailedKeys();
}

TEST_F(AntivirusRules, LargeAndDeepInputs) {
  // Ten thousand rules load and save.
  std::vector<Json::Value> many(10000, Parse(kMinimalRule));
  const Json::Value doc = RuleSetOf(many);
  av::RuleSet set;
  ASSERT_TRUE(Load(doc, set));
  EXPECT_EQ(set.rules.Count(), 10000u);
  EXPECT_EQ(Save(set)["rules"].size(), 10000u);

  // A nesting thousands deep where a list of names belongs fails without
  // walking it; one where nothing is read is passed over.
  Json::Value deep = Parse(kMinimalRule);
  deep["onDetection"]["actions"]["infected"] = rule_test::DeepArray(20000);
  deep["processIf"] = Parse(R"({"ignored": null})");
  deep["processIf"]["ignored"] = rule_test::DeepArray(20000);
  Json::Value deepSet = RuleSetOf({});
  deepSet["rules"].append(Json::Value());
  deepSet["rules"][0].swap(deep);
  EXPECT_FALSE(Load(deepSet, set));
  EXPECT_EQ(FailedKeys(), (std::vector<std::string>{"infected[0]", "infected", "actions",
                                                    "onDetection", "rules[0]", "rules"}));
  // jsoncpp destroys a value recursively: the chains are taken apart first.
  json_test::Dismantle(deepSet["rules"][0]["onDetection"]["actions"]["infected"]);
  deepSet["rules"][0]["onDetection"]["actions"]["infected"] = Json::Value(Json::arrayValue);
  EXPECT_TRUE(Load(deepSet, set));
  json_test::Dismantle(deepSet["rules"][0]["processIf"]["ignored"]);
}

TEST_F(AntivirusRules, GeneratedRuleSetsComeBackTheSameAfterSaveAndLoad) {
  for (uint32_t seed = 1; seed <= 100; ++seed) {
    rule_test::Generator g(seed);
    av::RuleSet set;
    set.enabled = g.Flag();
    const uint32_t count = g.Below(5);
    for (uint32_t i = 0; i < count; ++i) set.rules.EmplaceBack(rule_test::AntivirusRule(g));
    const Json::Value saved = Save(set);
    av::RuleSet loaded;
    ASSERT_TRUE(Load(saved, loaded)) << "seed " << seed << ": " << Compact(saved);
    ASSERT_EQ(Text(loaded), Text(set)) << "seed " << seed;
    ASSERT_EQ(Save(loaded), saved) << "seed " << seed;
  }
  EXPECT_EQ(FailedKeys(), std::vector<std::string>());
}

}  // namespace
