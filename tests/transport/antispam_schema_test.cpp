// The antispam documents through their schemas: the RBL settings with their
// defaults and cross-field rule, and the rule set with its scan settings and
// actions, loaded, refused with the failing keys logged, saved and
// round-tripped on hand-written and generated rule sets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "sdk/mailservers/antispam.h"
#include "tests/agent/json_test_util.h"
#include "tests/transport/rule_describe.h"
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

std::string Text(const RBLSettings& s) {
  std::string out = "timeout " + std::to_string(s.dnsTimeout) + " skip " +
                    std::to_string(s.skipSystemServers) + " dns " + Text(s.dnsAddress) + " [";
  for (const RBLSettings::RBLServer& server : s.servers) {
    out += Text(server.address) + "/" + std::to_string(server.confidence) + ",";
  }
  return out + "]";
}

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

TEST_F(RBLSettingsTest, AnEmptyObjectGivesTheDefaults) {
  RBLSettings settings;
  settings.dnsTimeout = 7;
  settings.skipSystemServers = 1;
  settings.dnsAddress = L"stale";
  settings.servers.EmplaceBack().address = L"stale";
  ASSERT_TRUE(Load(Parse("{}"), settings));
  EXPECT_EQ(Text(settings), "timeout 500 skip 0 dns \"\" []");
  EXPECT_THAT(FailedKeys(), IsEmpty());
}

TEST_F(RBLSettingsTest, LoadsEveryKeyAndSavesThemBack) {
  const char* text = R"({"dnsTimeout": 1200, "skipSystemServers": true, "dnsAddress": "10.0.0.53",
      "servers": [{"address": "rbl.example.com", "confidence": 80},
                  {"address": "dnsbl.example.org", "confidence": 20}]})";
  RBLSettings settings;
  ASSERT_TRUE(Load(Parse(text), settings));
  EXPECT_EQ(
      Text(settings),
      "timeout 1200 skip 1 dns \"10.0.0.53\" [\"rbl.example.com\"/80,\"dnsbl.example.org\"/20,]");
  EXPECT_EQ(Compact(Save(settings)), Canonical(text));

  // Defaults are written too: a saved structure always carries all four keys.
  EXPECT_EQ(Compact(Save(RBLSettings())),
            R"({"dnsAddress":"","dnsTimeout":500,"servers":[],"skipSystemServers":false})");
}

TEST_F(RBLSettingsTest, PrimitivesAcceptTheirDocumentedForms) {
  RBLSettings settings;
  ASSERT_TRUE(
      Load(Parse(R"({"skipSystemServers": 1, "dnsAddress": 53, "dnsTimeout": 0})"), settings));
  EXPECT_EQ(Text(settings), "timeout 0 skip 1 dns \"53\" []");
}

TEST_F(RBLSettingsTest, APresentKeyOfTheWrongTypeFailsAndIsLogged) {
  struct Case {
    const char* text;
    std::vector<std::string> keys;
  };
  const Case cases[] = {
      {R"({"dnsTimeout": "500"})", {"dnsTimeout"}},
      {R"({"dnsTimeout": 1.5})", {"dnsTimeout"}},
      {R"({"dnsTimeout": null})", {"dnsTimeout"}},
      {R"({"skipSystemServers": "true"})", {"skipSystemServers"}},
      {R"({"dnsAddress": ["10.0.0.1"]})", {"dnsAddress"}},
      {R"({"dnsAddress": null})", {"dnsAddress"}},
      {R"({"servers": null})", {"servers"}},
      {R"({"servers": {}})", {"servers"}},
      {R"({"servers": [{"address": "a"}]})", {"confidence", "servers[0]", "servers"}},
      {R"({"servers": [{"address": "a", "confidence": 1}, {"confidence": 2}]})",
       {"address", "servers[1]", "servers"}},
      {R"({"servers": [{"address": "a", "confidence": -0.5}]})",
       {"confidence", "servers[0]", "servers"}},
      {R"({"servers": ["rbl.example.com"]})", {"servers[0]", "servers"}},
  };
  for (const Case& c : cases) {
    RBLSettings settings;
    EXPECT_FALSE(Load(Parse(c.text), settings)) << c.text;
    EXPECT_EQ(FailedKeys(), c.keys) << c.text;
  }
}

TEST_F(RBLSettingsTest, AnythingButAnObjectIsRefused) {
  for (const char* text : {"[]", "\"settings\"", "5", "null", "true"}) {
    RBLSettings settings;
    EXPECT_FALSE(Load(Parse(text), settings)) << text;
  }
  RBLSettings settings;
  EXPECT_FALSE((EnterpriseIntegration::JsonSerializer<RBLSettings>::Load(
      EnterpriseIntegration::JsonNodeRef(nullptr), settings)));
}

TEST_F(RBLSettingsTest, ServersNeedADnsServerToAskThrough) {
  const char* server = R"("servers": [{"address": "rbl.example.com", "confidence": 80}])";
  auto loads = [&](const std::string& rest) {
    RBLSettings settings;
    return Load(Parse("{" + std::string(server) + rest + "}"), settings);
  };
  // Skipping the system's servers and naming none leaves no DNS server: refused, silently.
  EXPECT_FALSE(loads(R"(, "skipSystemServers": true)"));
  EXPECT_FALSE(loads(R"(, "skipSystemServers": true, "dnsAddress": "")"));
  EXPECT_THAT(FailedKeys(), IsEmpty());
  EXPECT_TRUE(loads(R"(, "skipSystemServers": true, "dnsAddress": "10.0.0.53")"));
  EXPECT_TRUE(loads(R"(, "skipSystemServers": false)"));
  EXPECT_TRUE(loads(""));
  RBLSettings noServers;
  EXPECT_TRUE(Load(Parse(R"({"servers": [], "skipSystemServers": true})"), noServers));
}

TEST_F(RBLSettingsTest, TenThousandServersLoadInOrder) {
  Json::Value doc(Json::objectValue);
  Json::Value& servers = doc["servers"] = Json::Value(Json::arrayValue);
  for (int i = 0; i < 10000; ++i) {
    Json::Value server(Json::objectValue);
    server["address"] = "rbl" + std::to_string(i) + ".example";
    server["confidence"] = i;
    servers.append(server);
  }
  RBLSettings settings;
  ASSERT_TRUE(Load(doc, settings));
  ASSERT_EQ(settings.servers.Count(), 10000u);
  EXPECT_EQ(settings.servers.LastConst()->address, L"rbl9999.example");
  EXPECT_EQ(settings.servers.LastConst()->confidence, 9999u);
  EXPECT_EQ(Compact(Save(settings)["servers"]), Compact(doc["servers"]));
}

TEST_F(RBLSettingsTest, DeepNestingInsideAServerFailsWithoutHarm) {
  Json::Value doc(Json::objectValue);
  doc["servers"] = Json::Value(Json::arrayValue);
  doc["servers"].append(rule_test::DeepArray(5000));
  RBLSettings settings;
  EXPECT_FALSE(Load(doc, settings));
  EXPECT_THAT(FailedKeys(), ElementsAre("servers[0]", "servers"));
  json_test::Dismantle(doc["servers"][0]);
}

// ---------------------------------------------------------------------------
// Rule set

const char kRuleSetText[] = R"({
  "enabled": true,
  "rules": [
    {
      "enabled": true,
      "name": "Spam from outside",
      "description": "the usual",
      "detectionWithoutScan": false,
      "processIf": {
        "traffic": ["incoming"],
        "sentTo": {"consider": ["email"], "emails": ["ceo@example.com"], "groups": ["Staff"],
                   "wildcards": ["*@example.com"], "domains": ["example.com"]}
      },
      "scanSettings": {
        "aggressivity": 3,
        "checkAuthenticated": false,
        "useCloudQueries": true,
        "multiFilter": {"enabled": true, "detectAsian": true, "detectCyrillic": false,
                        "detectSexuallyExplicit": true},
        "useURLFilter": true,
        "useRBLFilter": true,
        "useHeuristicFilter": false,
        "useWhiteBlackLists": true,
        "whiteList": ["friend@example.org"],
        "blackList": ["spammer@example.net", "*@junk.example"]
      },
      "onDetection": {
        "mainAction": {"action": "redirectEmail", "address": "spam@example.com"},
        "secondaryActions": [
          {"action": "tagSubject", "data": "[SPAM]", "extraData": "x"},
          {"action": "addHeader", "data": "X-Spam", "extraData": "yes"},
          {"action": "saveToFolder", "data": "Junk"},
          {"action": "bccTo", "data": "audit@example.com"},
          {"action": "addSCLHeader"},
          {"action": "notifyInternalRecipients", "data": {"sender": false, "receivers": true}},
          {"action": "notifyRecipients", "data": ["admin@example.com", "postmaster@example.com"]}
        ],
        "stopProcessing": true
      }
    },
    {
      "name": "Second",
      "scanSettings": {
        "aggressivity": 0, "checkAuthenticated": 1, "useCloudQueries": 0,
        "multiFilter": {"enabled": false, "detectAsian": false, "detectCyrillic": false,
                        "detectSexuallyExplicit": false},
        "useURLFilter": false, "useRBLFilter": false, "useHeuristicFilter": true,
        "useWhiteBlackLists": false, "whiteList": [], "blackList": []
      },
      "onDetection": {"mainAction": {"action": "quarantineEmail"}}
    }
  ]
})";

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
    "[\"admin@example.com\",\"postmaster@example.com\",]},]\n"
    "enabled 1 name \"Second\" description \"\" detectionWithoutScan 0 traffic 7 sentBy {consider "
    "0 users [] groups [] wildcards [] domains []} sentTo {consider 0 users [] groups [] wildcards "
    "[] domains []} stopProcessing 0 scan {0 1 0 multi 0000 0010 white [] black []} main {action 2 "
    "data \"\"} secondary []\n";

class AntispamRuleSetTest : public rule_test::LoggedTest {
 protected:
  // The hand-written rule set with `edit` applied to its first rule.
  template <class Edit>
  static Json::Value Edited(Edit edit) {
    Json::Value doc = Parse(kRuleSetText);
    edit(doc["rules"][0]);
    return doc;
  }

  // Loads `doc`, expecting a failure logged with `keys` (innermost first).
  void ExpectRefused(const Json::Value& doc, const std::vector<std::string>& keys) {
    as::RuleSet set;
    EXPECT_FALSE(Load(doc, set)) << Compact(doc);
    EXPECT_EQ(FailedKeys(), keys) << Compact(doc);
  }
};

TEST_F(AntispamRuleSetTest, LoadsEveryFieldOfAHandWrittenRuleSet) {
  as::RuleSet set;
  ASSERT_TRUE(Load(Parse(kRuleSetText), set));
  EXPECT_EQ(Text(set), kRuleSetDescription);
  EXPECT_THAT(FailedKeys(), IsEmpty());
}

TEST_F(AntispamRuleSetTest, SavesInTheSameShapeAndLoadsBackTheSame) {
  as::RuleSet set;
  ASSERT_TRUE(Load(Parse(kRuleSetText), set));
  const Json::Value saved = Save(set);
  // What the second rule left out is written with its value; nothing else differs.
  Json::Value expected = Parse(kRuleSetText);
  Json::Value& second = expected["rules"][1];
  second["enabled"] = true;
  second["description"] = "";
  second["detectionWithoutScan"] = false;
  second["processIf"] = Parse(R"({"traffic": ["incoming", "outgoing", "internal"]})");
  second["scanSettings"]["checkAuthenticated"] = true;
  second["scanSettings"]["useCloudQueries"] = false;
  second["onDetection"]["secondaryActions"] = Json::Value(Json::arrayValue);
  second["onDetection"]["stopProcessing"] = false;
  // A tag's extra data is written as it was read; other actions have none.
  EXPECT_EQ(Compact(saved), Compact(expected));

  as::RuleSet again;
  ASSERT_TRUE(Load(saved, again));
  EXPECT_EQ(Text(again), Text(set));
  EXPECT_EQ(Compact(Save(again)), Compact(saved));
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
      {"aggressivity", R"("3")"},  {"aggressivity", "2.5"},  {"checkAuthenticated", R"("no")"},
      {"multiFilter", "true"},     {"multiFilter", "[]"},    {"whiteList", "null"},
      {"blackList", R"("a@b.c")"}, {"useRBLFilter", "null"},
  };
  for (const Case& c : cases) {
    ExpectRefused(Edited([&](Json::Value& rule) { rule["scanSettings"][c.key] = Parse(c.value); }),
                  {c.key, "scanSettings", "rules[0]", "rules"});
  }
  ExpectRefused(
      Edited([](Json::Value& rule) { rule["scanSettings"]["whiteList"][1] = Json::Value(); }),
      {"whiteList[1]", "whiteList", "scanSettings", "rules[0]", "rules"});
  ExpectRefused(
      Edited([](Json::Value& rule) { rule["scanSettings"] = Json::Value(Json::arrayValue); }),
      {"scanSettings", "rules[0]", "rules"});
}

TEST_F(AntispamRuleSetTest, AggressivityIsPassedOnUnchecked) {
  as::RuleSet set;
  ASSERT_TRUE(Load(Edited([](Json::Value& rule) {
                     rule["scanSettings"]["aggressivity"] = Json::Value(Json::UInt(4294967295u));
                   }),
                   set));
  EXPECT_EQ(set.rules.FirstConst()->scanSettings.aggressivity, 4294967295u);
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
  ExpectRefused(main(R"({"action": "redirectEmail", "address": 5.5})"),
                {"address", "mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(main(R"({"action": "RedirectEmail", "address": "x"})"),
                {"action", "mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(main(R"({"address": "x"})"),
                {"action", "mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(main(R"("deliverEmail")"), {"mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(Edited([](Json::Value& rule) { rule["onDetection"].removeMember("mainAction"); }),
                {"mainAction", "onDetection", "rules[0]", "rules"});
  ExpectRefused(Edited([](Json::Value& rule) { rule.removeMember("onDetection"); }),
                {"onDetection", "rules[0]", "rules"});

  // Any other action ignores an address and does not write one.
  as::RuleSet set;
  ASSERT_TRUE(Load(main(R"({"action": "rejectOrDeleteEmail", "address": "x@example.com"})"), set));
  EXPECT_EQ(Text(set.rules.FirstConst()->onDetection.mainAction), "{action 0 data \"\"}");
  EXPECT_EQ(Compact(Save(set)["rules"][0]["onDetection"]["mainAction"]),
            R"({"action":"rejectOrDeleteEmail"})");
}

TEST_F(AntispamRuleSetTest, SecondaryActionsTakeTheDataOfTheirKind) {
  auto secondary = [](const char* text) {
    return Edited([=](Json::Value& rule) {
      rule["onDetection"]["secondaryActions"] = Json::Value(Json::arrayValue);
      rule["onDetection"]["secondaryActions"].append(Parse(text));
    });
  };
  auto loaded = [&](const char* text) {
    as::RuleSet set;
    EXPECT_TRUE(Load(secondary(text), set)) << text;
    EXPECT_THAT(FailedKeys(), IsEmpty()) << text;
    const Rule& rule = *set.rules.FirstConst();
    return rule.onDetection.secondaryActions.IsEmpty()
               ? std::string("none")
               : Text(*rule.onDetection.secondaryActions.FirstConst());
  };
  const std::vector<std::string> outer = {"secondaryActions[0]", "secondaryActions", "onDetection",
                                          "rules[0]", "rules"};
  auto refusedAt = [&](std::vector<std::string> inner) {
    inner.insert(inner.end(), outer.begin(), outer.end());
    return inner;
  };

  // A tag's extra data is optional, and ignored when it does not load.
  EXPECT_EQ(loaded(R"({"action": "tagSubject", "data": "[S]"})"),
            R"({action 0 data "[S]" extra "" notify {sender 1 receivers 1} recipients []})");
  EXPECT_EQ(loaded(R"({"action": "tagSubject", "data": "[S]", "extraData": {}})"),
            R"({action 0 data "[S]" extra "" notify {sender 1 receivers 1} recipients []})");
  ExpectRefused(secondary(R"({"action": "tagSubject"})"), refusedAt({"data"}));
  ExpectRefused(secondary(R"({"action": "tagSubject", "data": null})"), refusedAt({"data"}));

  ExpectRefused(secondary(R"({"action": "addHeader", "data": "X-Spam"})"),
                refusedAt({"extraData"}));
  ExpectRefused(secondary(R"({"action": "addHeader", "extraData": "1"})"), refusedAt({"data"}));
  ExpectRefused(secondary(R"({"action": "saveToFolder"})"), refusedAt({"data"}));
  ExpectRefused(secondary(R"({"action": "bccTo", "data": ["a@b.c"]})"), refusedAt({"data"}));
  // Data of the other kinds is not read for a string action.
  EXPECT_EQ(loaded(R"({"action": "bccTo", "data": 12, "extraData": "ignored"})"),
            R"({action 3 data "12" extra "" notify {sender 1 receivers 1} recipients []})");

  EXPECT_EQ(loaded(R"({"action": "addSCLHeader", "data": {"anything": 1}})"),
            R"({action 4 data "" extra "" notify {sender 1 receivers 1} recipients []})");

  // Both parties are notified unless said otherwise.
  EXPECT_EQ(loaded(R"({"action": "notifyInternalRecipients", "data": {}})"),
            R"({action 5 data "" extra "" notify {sender 1 receivers 1} recipients []})");
  EXPECT_EQ(loaded(R"({"action": "notifyInternalRecipients", "data": {"receivers": 0}})"),
            R"({action 5 data "" extra "" notify {sender 1 receivers 0} recipients []})");
  ExpectRefused(secondary(R"({"action": "notifyInternalRecipients"})"), refusedAt({"data"}));
  ExpectRefused(secondary(R"({"action": "notifyInternalRecipients", "data": true})"),
                refusedAt({"data"}));
  ExpectRefused(secondary(R"({"action": "notifyInternalRecipients", "data": {"sender": "no"}})"),
                refusedAt({"sender", "data"}));

  EXPECT_EQ(loaded(R"({"action": "notifyRecipients", "data": []})"),
            R"({action 6 data "" extra "" notify {sender 1 receivers 1} recipients []})");
  ExpectRefused(secondary(R"({"action": "notifyRecipients", "data": null})"), refusedAt({"data"}));
  ExpectRefused(secondary(R"({"action": "notifyRecipients", "data": "a@b.c"})"),
                refusedAt({"data"}));
  ExpectRefused(secondary(R"({"action": "notifyRecipients", "data": ["a@b.c", {}]})"),
                refusedAt({"data[1]", "data"}));

  ExpectRefused(secondary(R"({"action": "forwardEmail", "data": {"to": "x"}})"),
                refusedAt({"action"}));
  ExpectRefused(secondary(R"({"action": "TagSubject", "data": "x"})"), refusedAt({"action"}));
  ExpectRefused(secondary(R"({"data": "x"})"), refusedAt({"action"}));
  ExpectRefused(secondary(R"("tagSubject")"),
                {"secondaryActions[0]", "secondaryActions", "onDetection", "rules[0]", "rules"});
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
  ExpectRefused(Edited([](Json::Value& rule) {
                  rule["onDetection"]["secondaryActions"] = Json::Value(Json::objectValue);
                }),
                {"secondaryActions", "onDetection", "rules[0]", "rules"});
}

TEST_F(AntispamRuleSetTest, TheEnvelopeNeedsBothKeys) {
  ExpectRefused(Parse(R"({"rules": []})"), {"enabled"});
  ExpectRefused(Parse(R"({"enabled": true})"), {"rules"});
  ExpectRefused(Parse(R"({"enabled": true, "rules": null})"), {"rules"});
  ExpectRefused(Parse(R"({"enabled": "yes", "rules": []})"), {"enabled"});
  as::RuleSet set;
  ASSERT_TRUE(Load(Parse(R"({"enabled": false, "rules": []})"), set));
  EXPECT_EQ(Compact(Save(set)), R"({"enabled":false,"rules":[]})");
}

TEST_F(AntispamRuleSetTest, AFailureInALaterRuleFailsTheWholeSet) {
  Json::Value doc = Parse(kRuleSetText);
  doc["rules"][1]["scanSettings"].removeMember("blackList");
  ExpectRefused(doc, {"blackList", "scanSettings", "rules[1]", "rules"});
  doc["rules"][1].removeMember("name");
  ExpectRefused(doc, {"name", "rules[1]", "rules"});
}

TEST_F(AntispamRuleSetTest, TenThousandRulesLoadAndSave) {
  Json::Value doc = Parse(kRuleSetText);
  const Json::Value rule = doc["rules"][0];
  Json::Value& rules = doc["rules"] = Json::Value(Json::arrayValue);
  for (int i = 0; i < 10000; ++i) {
    rules.append(rule);
    rules[i]["name"] = "rule " + std::to_string(i);
  }
  as::RuleSet set;
  ASSERT_TRUE(Load(doc, set));
  ASSERT_EQ(set.rules.Count(), 10000u);
  EXPECT_EQ(set.rules.LastConst()->name, L"rule 9999");
  const Json::Value saved = Save(set);
  ASSERT_EQ(saved["rules"].size(), 10000u);
  EXPECT_EQ(saved["rules"][9999]["name"].asString(), "rule 9999");
  EXPECT_EQ(Compact(saved["rules"][5000]["onDetection"]), Compact(rule["onDetection"]));
}

TEST_F(AntispamRuleSetTest, DeepNestingFailsWithoutHarm) {
  Json::Value doc = Edited(
      [](Json::Value& rule) { rule["scanSettings"]["whiteList"] = rule_test::DeepArray(5000); });
  ExpectRefused(doc, {"whiteList[0]", "whiteList", "scanSettings", "rules[0]", "rules"});
  json_test::Dismantle(doc["rules"][0]["scanSettings"]["whiteList"]);
}

// ---------------------------------------------------------------------------
// Generated rule sets

as::SecondaryAction GeneratedSecondary(rule_test::Generator& g) {
  as::SecondaryAction a;
  a.action = static_cast<as::SecondaryActionType>(g.Below(7));
  switch (a.action) {
    case as::kTagSubject:
      a.data = g.String();
      if (g.Coin()) a.extraData = g.String();
      break;
    case as::kAddHeader:
      a.data = g.String();
      a.extraData = g.String();
      break;
    case as::kSaveToFolder:
    case as::kBccTo:
      a.data = g.String();
      break;
    case as::kAddSCLHeader:
      break;
    case as::kNotifyInternalRecipients:
      a.notify.sender = g.Flag();
      a.notify.receivers = g.Flag();
      break;
    case as::kNotifyRecipients:
      a.recipients = g.Strings();
      break;
  }
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
  for (uint32_t seed = 1; seed <= 300; ++seed) {
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
