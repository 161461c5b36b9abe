// The antispam documents through their schemas: the RBL settings' refusals and
// cross-field rule (tests/host/antispam.jsonl sets and gets them end to end),
// and the rule set with its scan settings and actions, loaded, refused with
// the failing keys logged, saved and round-tripped.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "sdk/mailservers/antispam.h"
#include "tests/agent/json_test_util.h"
#include "tests/transport/antispam_rules.h"
#include "transport/antispam/antispam_schema.h"

namespace {

namespace as = kel::nusdk::MailServers::Antispam;
using RBLSettings = as::IAntispam::RBLSettings;
using Rule = as::RuleSet::Rule;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
using rule_test::Load;
using rule_test::Save;
using rule_test::Text;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Text(const as::SecondaryAction& a) {
  return "{action " + std::to_string(a.action) + " data " + Text(a.data) + " extra " +
         Text(a.extraData) + " notify " + Text(a.notify) + " recipients " + Text(a.recipients) +
         "}";
}

std::string Text(const Rule& r) {
  const as::ScanSettings& s = r.scanSettings;
  std::string out = Text(static_cast<const kel::nusdk::MailServers::RuleHeader&>(r));
  out += " scan {" + std::to_string(s.aggressivity) + " " + std::to_string(s.checkAuthenticated) +
         " " + std::to_string(s.useCloudQueries) + " multi " +
         std::to_string(s.multiFilter.enabled) + std::to_string(s.multiFilter.detectAsian) +
         std::to_string(s.multiFilter.detectCyrillic) +
         std::to_string(s.multiFilter.detectSexuallyExplicit) + " " +
         std::to_string(s.useURLFilter) + std::to_string(s.useRBLFilter) +
         std::to_string(s.useHeuristicFilter) + std::to_string(s.useWhiteBlackLists) + " white " +
         Text(s.whiteList) + " black " + Text(s.blackList) + "}";
  out += " main " + Text(r.onDetection.mainAction) + " secondary [";
  for (const as::SecondaryAction& a : r.onDetection.secondaryActions) out += Text(a) + ",";
  return out + "]";
}

std::string Text(const as::RuleSet& set) {
  std::string out = "enabled " + std::to_string(set.enabled) + "\n";
  for (const Rule& rule : set.rules) out += Text(rule) + "\n";
  return out;
}

// ---------------------------------------------------------------------------
// RBL settings

class RBLSettingsTest : public rule_test::LoggedTest {};

TEST_F(RBLSettingsTest, AnAbsentInputOrAPresentKeyOfTheWrongTypeFails) {
  struct Case {
    const char* text;
    std::vector<std::string> keys;
  };
  const Case cases[] = {
      {R"({"dnsTimeout": "500"})", {"dnsTimeout"}},
      {R"({"skipSystemServers": "true"})", {"skipSystemServers"}},
      {R"({"dnsAddress": ["10.0.0.1"]})", {"dnsAddress"}},
      {R"({"servers": null})", {"servers"}},
      {R"({"servers": [{"address": "a"}]})", {"confidence", "servers[0]", "servers"}},
      {R"({"servers": [{"address": "a", "confidence": 1}, {"confidence": 2}]})",
       {"address", "servers[1]", "servers"}},
      {R"({"servers": ["rbl.example.com"]})", {"servers[0]", "servers"}},
  };
  for (const Case& c : cases) {
    RBLSettings settings;
    EXPECT_FALSE(Load(Parse(c.text), settings)) << c.text;
    EXPECT_EQ(FailedKeys(), c.keys) << c.text;
  }
  RBLSettings settings;
  EXPECT_FALSE((EnterpriseIntegration::JsonSerializer<RBLSettings>::Load(
      EnterpriseIntegration::JsonNodeRef(nullptr), settings)));
}

TEST_F(RBLSettingsTest, ServersNeedADnsServerToAskThrough) {
  // Skipping the system's servers and naming none leaves no DNS server: refused, silently.
  RBLSettings settings;
  const char* server = R"("servers": [{"address": "rbl.example.com", "confidence": 80}])";
  EXPECT_FALSE(
      Load(Parse("{" + std::string(server) + R"(, "skipSystemServers": true})"), settings));
  EXPECT_THAT(FailedKeys(), IsEmpty());
  EXPECT_TRUE(Load(Parse(R"({"servers": [], "skipSystemServers": true})"), settings));
  EXPECT_TRUE(Load(Parse("{" + std::string(server) + R"(, "dnsAddress": "10.0.0.53",
                                                        "skipSystemServers": true})"),
                   settings));
}

// ---------------------------------------------------------------------------
// Rule set

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

const char kRuleSetDescription[] =
    "enabled 1\n"
    "enabled 1 name \"Spam from outside\" description \"the usual\" detectionWithoutScan 0 "
    "traffic 1 sentBy {consider 0 users [] groups [] wildcards [] domains []} sentTo {consider 2 "
    "users [\"ceo@example.com\",] groups [\"Staff\",] wildcards [\"*@example.com\",] domains "
    "[\"example.com\",]} stopProcessing 1 scan {3 0 1 multi 1101 1101 white "
    "[\"friend@example.org\",] black [\"spammer@example.net\",\"*@junk.example\",]} main {action "
    "1 data \"spam@example.com\"} secondary [{action 0 data \"[SPAM]\" extra \"x\" notify {sender "
    "1 receivers 1} recipients []},{action 1 data \"X-Spam\" extra \"yes\" notify {sender 1 "
    "receivers 1} recipients []},{action 2 data \"Junk\" extra \"\" notify {sender 1 receivers 1} "
    "recipients []},{action 3 data \"audit@example.com\" extra \"\" notify {sender 1 receivers 1} "
    "recipients []},{action 4 data \"\" extra \"\" notify {sender 1 receivers 1} recipients "
    "[]},{action 5 data \"\" extra \"\" notify {sender 0 receivers 1} recipients []},{action 6 "
    "data \"\" extra \"\" notify {sender 1 receivers 1} recipients "
    "[\"admin@example.com\",\"postmaster@example.com\",]},]\n";

class AntispamRuleSetTest : public rule_test::RuleSetTest<as::RuleSet, kRuleSetText> {};

TEST_F(AntispamRuleSetTest, AHandWrittenRuleSetLoadsEveryFieldAndSavesInTheSameShape) {
  as::RuleSet set;
  ASSERT_TRUE(Load(Parse(kRuleSetText), set));
  EXPECT_EQ(Text(set), kRuleSetDescription);
  EXPECT_THAT(FailedKeys(), IsEmpty());

  const Json::Value saved = Save(set);
  // A tag's extra data is written as it was read; other actions have none.
  EXPECT_EQ(Compact(Save(set)), Canonical(kRuleSetText));
}

TEST_F(AntispamRuleSetTest, EveryScanSettingIsRequired) {
  for (const char* key :
       {"aggressivity", "checkAuthenticated", "useCloudQueries", "multiFilter", "useURLFilter",
        "useRBLFilter", "useHeuristicFilter", "useWhiteBlackLists", "whiteList", "blackList"}) {
    ExpectRefused(Edited([&](Json::Value& rule) { rule["scanSettings"].removeMember(key); }),
                  {key, "scanSettings", "rules[0]", "rules"});
  }
  for (const char* key : {"enabled", "detectAsian", "detectCyrillic", "detectSexuallyExplicit"}) {
    ExpectRefused(
        Edited([&](Json::Value& rule) { rule["scanSettings"]["multiFilter"].removeMember(key); }),
        {key, "multiFilter", "scanSettings", "rules[0]", "rules"});
  }
}

TEST_F(AntispamRuleSetTest, ScanSettingsOfTheWrongTypeAreRefused) {
  struct Case {
    const char* key;
    const char* value;
  };
  const Case cases[] = {
      {"aggressivity", "2.5"},
      {"checkAuthenticated", R"("no")"},
      {"multiFilter", "[]"},
      {"blackList", R"("a@b.c")"},
  };
  for (const Case& c : cases) {
    ExpectRefused(Edited([&](Json::Value& rule) { rule["scanSettings"][c.key] = Parse(c.value); }),
                  {c.key, "scanSettings", "rules[0]", "rules"});
  }
  ExpectRefused(
      Edited([](Json::Value& rule) { rule["scanSettings"]["whiteList"][1] = Json::Value(); }),
      {"whiteList[1]", "whiteList", "scanSettings", "rules[0]", "rules"});
}

TEST_F(AntispamRuleSetTest, MainActionNeedsAnAddressOnlyToRedirect) {
  auto main = [](const char* text) {
    return Edited([=](Json::Value& rule) { rule["onDetection"]["mainAction"] = Parse(text); });
  };
  ExpectRefused(main(R"({"action": "redirectEmail"})"),
                {"address", "mainAction", "onDetection", "rules[0]", "rules"});
  // The target belongs in "address"; "data" is not read for it.
  ExpectRefused(main(R"({"action": "redirectEmail", "data": "x@example.com"})"),
                {"address", "mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(main(R"({"action": "RedirectEmail", "address": "x"})"),
                {"action", "mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(main(R"("deliverEmail")"), {"mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(Edited([](Json::Value& rule) { rule["onDetection"].removeMember("mainAction"); }),
                {"mainAction", "onDetection", "rules[0]", "rules"});

  // Any other action ignores an address and does not write one.
  const char* const names[] = {"rejectOrDeleteEmail", "", "quarantineEmail", "deliverEmail"};
  for (uint32_t code : {0u, 2u, 3u}) {
    Json::Value action(Json::objectValue);
    action["action"] = names[code];
    as::RuleSet set;
    ASSERT_TRUE(Load(Edited([&](Json::Value& rule) {
                       rule["onDetection"]["mainAction"] = action;
                       rule["onDetection"]["mainAction"]["address"] = "x@example.com";
                     }),
                     set));
    EXPECT_EQ(Text(set.rules.FirstConst()->onDetection.mainAction),
              "{action " + std::to_string(code) + " data \"\"}");
    EXPECT_EQ(Save(set)["rules"][0]["onDetection"]["mainAction"], action);
  }
}

TEST_F(AntispamRuleSetTest, SecondaryActionsTakeTheDataOfTheirKind) {
  // What loads, with its secondary action described; or the keys of the
  // refusal inside "secondaryActions[0]", innermost first.
  struct Case {
    const char* text;
    const char* loaded;
    std::vector<std::string> inner;
  };
  const char* none = " notify {sender 1 receivers 1} recipients []}";
  const Case cases[] = {
      // A tag's extra data is optional, and ignored when it does not load.
      {R"({"action": "tagSubject", "data": "[S]", "extraData": {}})",
       R"({action 0 data "[S]" extra "")",
       {}},
      {R"({"action": "tagSubject"})", nullptr, {"data"}},
      {R"({"action": "addHeader", "data": "X-Spam"})", nullptr, {"extraData"}},
      // Data of the other kinds is not read for a string action.
      {R"({"action": "bccTo", "data": 12, "extraData": "ignored"})",
       R"({action 3 data "12" extra "")",
       {}},
      {R"({"action": "addSCLHeader", "data": {"anything": 1}})",
       R"({action 4 data "" extra "")",
       {}},
      // Both parties are notified unless said otherwise.
      {R"({"action": "notifyInternalRecipients", "data": {}})",
       R"({action 5 data "" extra "")",
       {}},
      {R"({"action": "notifyInternalRecipients"})", nullptr, {"data"}},
      {R"({"action": "notifyInternalRecipients", "data": {"sender": "no"}})",
       nullptr,
       {"sender", "data"}},
      {R"({"action": "notifyRecipients", "data": "a@b.c"})", nullptr, {"data"}},
      {R"({"action": "notifyRecipients", "data": ["a@b.c", {}]})", nullptr, {"data[1]", "data"}},
      {R"({"action": "forwardEmail", "data": {"to": "x"}})", nullptr, {"action"}},
      {R"("tagSubject")", nullptr, {}},
  };
  for (const Case& c : cases) {
    const Json::Value doc = Edited([&](Json::Value& rule) {
      rule["onDetection"]["secondaryActions"] = Json::Value(Json::arrayValue);
      rule["onDetection"]["secondaryActions"].append(Parse(c.text));
    });
    if (c.loaded) {
      as::RuleSet set;
      ASSERT_TRUE(Load(doc, set)) << c.text;
      EXPECT_THAT(FailedKeys(), IsEmpty()) << c.text;
      EXPECT_EQ(Text(*set.rules.FirstConst()->onDetection.secondaryActions.FirstConst()),
                std::string(c.loaded) + none);
      continue;
    }
    std::vector<std::string> keys = c.inner;
    keys.insert(keys.end(),
                {"secondaryActions[0]", "secondaryActions", "onDetection", "rules[0]", "rules"});
    ExpectRefused(doc, keys);
  }
}

TEST_F(AntispamRuleSetTest, SecondaryActionsMayBeLeftOutButNotNull) {
  as::RuleSet set;
  ASSERT_TRUE(
      Load(Edited([](Json::Value& rule) { rule["onDetection"].removeMember("secondaryActions"); }),
           set));
  EXPECT_TRUE(set.rules.FirstConst()->onDetection.secondaryActions.IsEmpty());
  ExpectRefused(
      Edited([](Json::Value& rule) { rule["onDetection"]["secondaryActions"] = Json::Value(); }),
      {"secondaryActions", "onDetection", "rules[0]", "rules"});
}

TEST_F(AntispamRuleSetTest, TenThousandRulesLoadAndSaveAndTheLastCanFailTheSet) {
  Json::Value doc = Parse(kRuleSetText);
  const Json::Value rule = doc["rules"][0];
  for (int i = 1; i < 10000; ++i) doc["rules"].append(rule)["name"] = "rule " + std::to_string(i);
  as::RuleSet set;
  ASSERT_TRUE(Load(doc, set));
  ASSERT_EQ(set.rules.Count(), 10000u);
  EXPECT_EQ(set.rules.LastConst()->name, L"rule 9999");
  const Json::Value saved = Save(set);
  EXPECT_EQ(saved["rules"][9999]["name"].asString(), "rule 9999");
  EXPECT_EQ(Compact(saved["rules"][5000]["onDetection"]), Compact(rule["onDetection"]));

  doc["rules"][9999]["scanSettings"].removeMember("blackList");
  ExpectRefused(doc, {"blackList", "scanSettings", "rules[9999]", "rules"});
}

TEST_F(AntispamRuleSetTest, DeepNestingFailsWithoutHarm) {
  Json::Value doc = Edited(
      [](Json::Value& rule) { rule["scanSettings"]["whiteList"] = rule_test::DeepArray(5000); });
  ExpectRefused(doc, {"whiteList[0]", "whiteList", "scanSettings", "rules[0]", "rules"});
  json_test::Dismantle(doc["rules"][0]["scanSettings"]["whiteList"]);
}

// ---------------------------------------------------------------------------
// Generated rule sets

// Only the data its kind reads; a tag's extra data may be left out.
as::SecondaryAction GeneratedSecondary(rule_test::Generator& g) {
  as::SecondaryAction a;
  a.action = static_cast<as::SecondaryActionType>(g.Below(7));
  if (a.action <= as::kBccTo) a.data = g.String();
  if (a.action == as::kAddHeader || (a.action == as::kTagSubject && g.Coin())) {
    a.extraData = g.String();
  }
  if (a.action == as::kNotifyInternalRecipients) a.notify = {g.Flag(), g.Flag()};
  if (a.action == as::kNotifyRecipients) a.recipients = g.Strings();
  return a;
}

as::RuleSet GeneratedRuleSet(rule_test::Generator& g) {
  as::RuleSet set;
  set.enabled = g.Flag();
  const uint32_t count = g.Below(6);
  for (uint32_t i = 0; i < count; ++i) {
    Rule& rule = set.rules.EmplaceBack();
    g.Header(rule);
    as::ScanSettings& s = rule.scanSettings;
    s.aggressivity = g.Any32();
    s.checkAuthenticated = g.Flag();
    s.useCloudQueries = g.Flag();
    s.multiFilter.enabled = g.Flag();
    s.multiFilter.detectAsian = g.Flag();
    s.multiFilter.detectCyrillic = g.Flag();
    s.multiFilter.detectSexuallyExplicit = g.Flag();
    s.useURLFilter = g.Flag();
    s.useRBLFilter = g.Flag();
    s.useHeuristicFilter = g.Flag();
    s.useWhiteBlackLists = g.Flag();
    s.whiteList = g.Strings();
    s.blackList = g.Strings();
    rule.onDetection.mainAction = g.MainAction();
    const uint32_t actions = g.Below(5);
    for (uint32_t j = 0; j < actions; ++j) {
      rule.onDetection.secondaryActions.EmplaceBack(GeneratedSecondary(g));
    }
  }
  return set;
}

TEST_F(AntispamRuleSetTest, GeneratedRuleSetsRoundTrip) {
  for (uint32_t seed = 1; seed <= 100; ++seed) {
    rule_test::Generator g(seed);
    const as::RuleSet set = GeneratedRuleSet(g);
    const Json::Value saved = Save(set);
    as::RuleSet loaded;
    ASSERT_TRUE(Load(saved, loaded)) << "seed " << seed << ": " << Compact(saved);
    ASSERT_EQ(Text(loaded), Text(set)) << "seed " << seed;
    ASSERT_EQ(Compact(Save(loaded)), Compact(saved)) << "seed " << seed;
  }
  EXPECT_THAT(FailedKeys(), IsEmpty());
}

}  // namespace
