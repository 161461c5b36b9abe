// The content rule set in JSON: a full rule saved with every key, and a match
// that cannot be written. tests/host/content.jsonl drives it end to end, with
// the main-action, secondary-action and match tables.
#include <gtest/gtest.h>

#include <string>

#include "tests/transport/rule_filters.h"
#include "transport/content/content_schema.h"

namespace {

namespace ct = kel::nusdk::MailServers::Content;
using ScanSettings = ct::RuleSet::ScanningRule::ScanSettings;
using Match = ScanSettings::Match;
using EnterpriseIntegration::JsonSerializer;
using json_test::Canonical;
using json_test::Compact;
using json_test::Parse;
using rule_test::Describe;
using rule_test::Load;
using rule_test::Save;

// Every key spelt out, in the form a save writes.
const char kRuleSetText[] = R"({"enabled": true, "rules": [{
  "enabled": true, "name": "Offers", "description": "", "detectionWithoutScan": false,
  "processIf": {"traffic": ["incoming", "outgoing", "internal"]},
  "scanSettings": {
    "subject": {"match": [{"find": ["free", "win"], "wholeWord": true, "ignoreCase": true,
                           "engine": "text"}]},
    "body": {"match": [{"find": ["pr[i1]ze"], "wholeWord": false, "ignoreCase": false,
                        "engine": "regexp"}]}},
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
    "stopProcessing": true}}]})";

class ContentRules : public rule_test::RuleSetTest<ct::RuleSet, kRuleSetText> {};

TEST_F(ContentRules, AHandWrittenRuleLoadsEveryMemberAndSavesEveryKey) {
  ct::RuleSet set;
  ASSERT_TRUE(Load(Parse(kRuleSetText), set));
  EXPECT_EQ(Describe(*set.rules.FirstConst()),
            R"({{1 "Offers" "" 0 7 {0 [] [] [] []} {0 [] [] [] []} 1} )"
            R"([{["free","win",] 1 1 0},] [{["pr[i1]ze",] 0 0 1},] {1 "review@example.test"} )"
            R"([{0 "[offer]" {1 1} [] ""},{1 "X-Offer" {1 1} [] "yes"},{2 "Offers" {1 1} [] ""},)"
            R"({3 "audit@example.test" {1 1} [] ""},{4 "" {1 0} [] ""},)"
            R"({5 "" {1 1} ["postmaster@example.test",] "x"},]})");
  EXPECT_EQ(Compact(Save(set)), Canonical(kRuleSetText));
}

// An engine without a name has no JSON form; neither has the document holding it.
TEST(ContentRulesSave, AMatchWhoseEngineHasNoNameCannotBeWritten) {
  Match match;
  match.engine = static_cast<ScanSettings::Engine>(2);
  Json::Value doc(7);
  EXPECT_FALSE(JsonSerializer<Match>::Save(doc, match));
  EXPECT_EQ(doc, Json::Value(7)) << "the target is left as it was";

  ct::RuleSet set;
  set.rules.EmplaceBack().scanSettings.subject.match.EmplaceBack(match);
  Json::Value whole(Json::objectValue);
  EXPECT_FALSE(JsonSerializer<ct::RuleSet>::Save(whole, set));
  EXPECT_EQ(whole, Json::Value(Json::objectValue));
  set.rules.Last()->scanSettings.subject.match.Last()->engine = ScanSettings::kEngineRegexp;
  EXPECT_TRUE(JsonSerializer<ct::RuleSet>::Save(whole, set));
}

}  // namespace
