// The rule header, scope and conditions that every filter rule shares.
#include <gtest/gtest.h>

#include <string>

#include "frame/logging/log.h"
#include "tests/agent/json_test_util.h"
#include "tests/support/log_sink_probe.h"
#include "transport/rule_schema.h"

namespace {

using kel::nusdk::MailServers::Condition;
using kel::nusdk::MailServers::RuleHeader;

// A minimal filter rule: the header plus an "onDetection" object of its own.
struct TestRule : RuleHeader {
  uint32_t action = 0;
};

}  // namespace

namespace EnterpriseIntegration {
// clang-format off
template <>
struct JsonSchema<TestRule> : JsonSchemaBase<TestRule> {
  using S = TestRule;
  static constexpr auto kFields = Fields(
      InlineBase<RuleHeader>(),
      Required("onDetection/mainAction", &S::action, rules::kCommonMainActionNames),
      StopProcessingField<S>());
};
// clang-format on
}  // namespace EnterpriseIntegration

namespace {

using EnterpriseIntegration::JsonNodeRef;
using EnterpriseIntegration::JsonSerializer;
using json_test::Parse;

bool Load(const std::string& text, TestRule& rule) {
  const Json::Value input = Parse(text);
  return JsonSerializer<TestRule>::Load(JsonNodeRef(&input), rule);
}

std::vector<std::wstring> Strings(const kel::List<kel::StringW>& list) {
  std::vector<std::wstring> out;
  for (auto e = kel::EnumPtr<kel::IConstListEnum<kel::StringW>>(list.NewConstEnum());
       e->HasCurrent(); e->Advance())
    out.push_back(e->Current()->c_str());
  return out;
}

TEST(RuleHeader, WithoutProcessIfTheRuleCoversAllTrafficAndEveryone) {
  TestRule rule;
  rule.scope.traffic = 1;
  rule.scope.sentBy.consider = 2;
  ASSERT_TRUE(Load(R"({"name":"r","onDetection":{"mainAction":"deliverEmail"}})", rule));
  EXPECT_EQ(rule.scope.traffic, 7u);
  EXPECT_EQ(rule.scope.sentBy.consider, 0u);
  EXPECT_EQ(rule.enabled, 1u);
  EXPECT_EQ(rule.action, 3u);
}

TEST(RuleHeader, NameIsRequiredAndMalformedOptionalKeysFailButFlagsAreBestEffort) {
  TestRule rule;
  EXPECT_FALSE(Load(R"({"onDetection":{"mainAction":"deliverEmail"}})", rule));
  EXPECT_FALSE(
      Load(R"({"name":"r","enabled":"yes","onDetection":{"mainAction":"deliverEmail"}})", rule));
  EXPECT_FALSE(
      Load(R"({"name":"r","description":[],"onDetection":{"mainAction":"deliverEmail"}})", rule));
  TestRule loose;
  ASSERT_TRUE(Load(R"({"name":"r","detectionWithoutScan":"x","stopProcessing":"y",
                        "onDetection":{"mainAction":"deliverEmail","stopProcessing":[]}})",
                   loose));
  EXPECT_EQ(loose.detectionWithoutScan, 0u);
  EXPECT_EQ(loose.stopProcessing, 0u);
}

TEST(RuleHeader, TopLevelStopFlagIsReadAfterTheNestedOneAndSavedNested) {
  TestRule rule;
  ASSERT_TRUE(Load(R"({"name":"r","stopProcessing":true,
                        "onDetection":{"mainAction":"redirectEmail","stopProcessing":false}})",
                   rule));
  EXPECT_EQ(rule.stopProcessing, 1u);
  Json::Value saved;
  ASSERT_TRUE(JsonSerializer<TestRule>::Save(saved, rule));
  EXPECT_EQ(saved["onDetection"], Parse(R"({"mainAction":"redirectEmail","stopProcessing":true})"));
  EXPECT_FALSE(saved.isMember("stopProcessing"));
}

TEST(Scope, TrafficIsAFlagSetThatMustNameADirection) {
  TestRule rule;
  ASSERT_TRUE(Load(R"({"name":"r","processIf":{"traffic":["internal","incoming"]},
                        "onDetection":{"mainAction":"deliverEmail"}})",
                   rule));
  EXPECT_EQ(rule.scope.traffic, 5u);
  ASSERT_TRUE(
      Load(R"({"name":"r","processIf":{},"onDetection":{"mainAction":"deliverEmail"}})", rule));
  EXPECT_EQ(rule.scope.traffic, 7u);
  for (const char* traffic : {"[]", "null", "[\"Incoming\"]", "[\"incoming\",\"sideways\"]", "1"}) {
    EXPECT_FALSE(Load(std::string(R"({"name":"r","processIf":{"traffic":)") + traffic +
                          R"(},"onDetection":{"mainAction":"deliverEmail"}})",
                      rule))
        << traffic;
  }
}

TEST(Condition, ConsiderSkipsUnknownFormsButNeedsAKnownOne) {
  TestRule rule;
  ASSERT_TRUE(Load(R"({"name":"r","processIf":{"sentBy":{"consider":["email","connection"]}},
                        "onDetection":{"mainAction":"deliverEmail"}})",
                   rule));
  EXPECT_EQ(rule.scope.sentBy.consider, 3u);
  ASSERT_TRUE(Load(R"({"name":"r","processIf":{"sentTo":{"consider":["EMAIL","email"]}},
                        "onDetection":{"mainAction":"deliverEmail"}})",
                   rule));
  EXPECT_EQ(rule.scope.sentTo.consider, 2u);
  EXPECT_FALSE(Load(R"({"name":"r","processIf":{"sentTo":{"consider":["EMAIL"]}},
                         "onDetection":{"mainAction":"deliverEmail"}})",
                    rule));
  EXPECT_FALSE(Load(R"({"name":"r","processIf":{"sentTo":{"users":["a"]}},
                         "onDetection":{"mainAction":"deliverEmail"}})",
                    rule));
}

TEST(Condition, UsersWinOverEmailsAndTheListIsAlwaysSavedAsEmails) {
  TestRule rule;
  ASSERT_TRUE(Load(R"({"name":"r","processIf":{"sentBy":{"consider":["email"],"emails":["e1","e2"]},
                        "sentTo":{"consider":["email"],"users":["u1"],"emails":["ignored"],
                                  "groups":["g"],"wildcards":["*@x"],"domains":["x.example"]}},
                        "onDetection":{"mainAction":"deliverEmail"}})",
                   rule));
  EXPECT_EQ(Strings(rule.scope.sentBy.users), (std::vector<std::wstring>{L"e1", L"e2"}));
  EXPECT_EQ(Strings(rule.scope.sentTo.users), (std::vector<std::wstring>{L"u1"}));

  Json::Value saved;
  ASSERT_TRUE(JsonSerializer<TestRule>::Save(saved, rule));
  EXPECT_EQ(saved["processIf"]["sentTo"],
            Parse(R"({"consider":["email"],"emails":["u1"],"groups":["g"],
                      "wildcards":["*@x"],"domains":["x.example"]})"));
  EXPECT_EQ(saved["processIf"]["traffic"], Parse(R"(["incoming","outgoing","internal"])"));

  TestRule again;
  ASSERT_TRUE(JsonSerializer<TestRule>::Load(JsonNodeRef(&saved), again));
  Json::Value resaved;
  ASSERT_TRUE(JsonSerializer<TestRule>::Save(resaved, again));
  EXPECT_EQ(resaved, saved);
}

TEST(Condition, AnAbsentConditionIsNotWrittenSoASavedRuleLoadsAgain) {
  TestRule rule;
  ASSERT_TRUE(Load(R"({"name":"r","onDetection":{"mainAction":"deliverEmail"}})", rule));
  Json::Value saved;
  ASSERT_TRUE(JsonSerializer<TestRule>::Save(saved, rule));
  EXPECT_FALSE(saved["processIf"].isMember("sentBy"));
  TestRule again;
  EXPECT_TRUE(JsonSerializer<TestRule>::Load(JsonNodeRef(&saved), again));
}

TEST(Condition, MalformedListsFailTheRuleAndAreLoggedFromTheInside) {
  TestRule rule;
  logging::LogHandle log;  // as an agent holds one
  SinkProbe sink;
  sink.DrainLines();
  EXPECT_FALSE(Load(R"({"name":"r","processIf":{"sentBy":{"consider":["email"],"domains":null}},
                         "onDetection":{"mainAction":"deliverEmail"}})",
                    rule));
  std::vector<std::wstring> failed;
  for (const RecordedLine& line : sink.DrainLines()) failed.push_back(line.message);
  EXPECT_EQ(failed, (std::vector<std::wstring>{L"Failed to load subnode domains",
                                               L"Failed to load subnode sentBy",
                                               L"Failed to load subnode processIf"}));
}

}  // namespace
