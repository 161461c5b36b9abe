// The antivirus rule set in JSON: the action codes, required parts, threat
// types, the archive-depth mapping and the redirect check.
// tests/host/antivirus.jsonl drives the agent's footer and replacement-text
// methods, and a full rule through the transport agent.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/transport/rule_filters.h"
#include "transport/antivirus/antivirus_schema.h"

namespace {

namespace av = kel::nusdk::MailServers::Antivirus;
using json_test::Compact;
using json_test::Parse;
using rule_test::Describe;
using rule_test::Load;
using rule_test::Save;

// The smallest rule that loads.
const char kRuleSetText[] = R"({"enabled": true, "rules": [{"name": "r",
  "scanSettings": {"extensions": {"mode": "all"}},
  "onDetection": {"actions": {"infected": [], "suspect": []}}}]})";

class AntivirusRules : public rule_test::RuleSetTest<av::RuleSet, kRuleSetText> {};

TEST_F(AntivirusRules, ActionNamesCarryThePluginCodes) {
  const av::RuleSet::Rule rule = Loaded(With("onDetection", R"({"redirectEmailTo": "a@x.example",
      "actions": {"infected": [], "suspect": ["ignoreFile", "disinfect", "deleteFile",
          "quarantineFile", "disinfectFile", "quarantineEmail", "redirectEmail", "replaceFile",
          "rejectOrDeleteEmail"]}})"));
  EXPECT_EQ(Describe(rule.onDetection.actions.suspect), "[1,3,5,7,10,770,1026,1285,1538,]");
}

TEST_F(AntivirusRules, MissingPartsAndUnknownNamesAreRefusedFromTheInnermostKeyOutward) {
  struct Case {
    const char* key;
    const char* value;  // null: the member is removed
    std::vector<std::string> failed;
  };
  const Case cases[] = {
      {"name", nullptr, {"name"}},
      {"scanSettings", nullptr, {"scanSettings"}},
      {"scanSettings/extensions/mode", R"("some")", {"mode", "extensions", "scanSettings"}},
      {"onDetection", nullptr, {"onDetection"}},
      {"onDetection/actions/suspect", nullptr, {"suspect", "actions", "onDetection"}},
      {"onDetection/actions/infected",
       R"(["disinfect", "Disinfect"])",
       {"infected[1]", "infected", "actions", "onDetection"}},
      // The secondary actions are notifications only, and their data is who is told.
      {"onDetection/secondaryActions",
       R"([{"action": "tagSubject", "data": {}}])",
       {"action", "secondaryActions[0]", "secondaryActions", "onDetection"}},
      {"onDetection/secondaryActions",
       R"([{"action": "notifyRecipients", "data": ["a@x.example"]}])",
       {"data", "secondaryActions[0]", "secondaryActions", "onDetection"}},
      {"scanSettings/threatTypes", R"({"PUA": "no"})", {"PUA", "threatTypes", "scanSettings"}},
  };
  for (const Case& c : cases) ExpectRefused(With(c.key, c.value), c.failed);
}

TEST_F(AntivirusRules, ThreatTypesDefaultOneByOne) {
  const av::RuleSet::Rule rule =
      Loaded(With("scanSettings/threatTypes", R"({"adware": false, "pua": false})"));
  const auto& t = rule.scanSettings.threatTypes;
  EXPECT_EQ(std::vector<int>({t.spyware, t.adware, t.dialers, t.keyloggers, t.pua}),
            std::vector<int>({1, 0, 1, 1, 1}));
}

TEST_F(AntivirusRules, ArchiveDepthSixteenIsMinusOneInJsonBothWays) {
  struct Case {
    const char* json;
    int32_t loaded;
    const char* saved;  // null: refused
  };
  for (const Case& c :
       {Case{"-1", 16, "-1"}, Case{"4294967295", 16, "-1"}, Case{"16", 16, "-1"},
        Case{"15", 15, "15"}, Case{"-7", -7, "-7"}, Case{"4294967294", 0, nullptr},
        Case{"-2147483649", 0, nullptr}, Case{"2.0", 0, nullptr}, Case{R"("16")", 0, nullptr}}) {
    const Json::Value doc = With("scanSettings/maxArchiveDepth", c.json);
    if (!c.saved) {
      ExpectRefused(doc, {"maxArchiveDepth", "scanSettings"});
      continue;
    }
    av::RuleSet set;
    ASSERT_TRUE(Load(doc, set)) << c.json;
    EXPECT_EQ(set.rules.FirstConst()->scanSettings.maxArchiveDepth, c.loaded) << c.json;
    EXPECT_EQ(Compact(Save(set)["rules"][0]["scanSettings"]["maxArchiveDepth"]), c.saved);
  }
}

TEST_F(AntivirusRules, RedirectingInfectedOrSuspectItemsNeedsATarget) {
  const std::string line =
      "8 JsonSerializer<Antivirus::TransportRuleSet>::findRuleMissingRedirectTo: "
      "Empty redirecEmailTo while Redirect action is used";
  struct Case {
    const char* list;
    const char* target;
    bool loads;
  };
  for (const Case& c : {Case{"infected", "", false}, Case{"suspect", "", false},
                        Case{"infected", "q@x.example", true}, Case{"unscannable", "", true}}) {
    // The check runs once every rule has loaded, and stops at the first.
    Json::Value doc = Parse(kRuleSetText);
    Json::Value& onDetection = doc["rules"][0]["onDetection"];
    onDetection["actions"][c.list] = Parse(R"(["redirectEmail"])");
    onDetection["redirectEmailTo"] = c.target;
    doc["rules"].append(doc["rules"][0]);
    av::RuleSet set;
    EXPECT_EQ(Load(doc, set), c.loads) << c.list;
    EXPECT_EQ(set.rules.Count(), 2u) << c.list;
    EXPECT_EQ(Lines(), c.loads ? std::vector<std::string>() : std::vector<std::string>{line});
  }
}

}  // namespace
