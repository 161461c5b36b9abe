// The rule header, scope and conditions that every filter rule shares.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/transport/rule_test.h"
#include "transport/rule_schema.h"

namespace {

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

using json_test::Parse;
using rule_test::Describe;

// `members` (JSON text without braces) in a rule that has everything else.
Json::Value RuleWith(const std::string& members) {
  return Parse(R"({"name": "r", "onDetection": {"mainAction": "deliverEmail"})" +
               std::string(members.empty() ? "" : ", ") + members + "}");
}

class RuleHeaderTest : public rule_test::LoggedTest {};

// What loads, described (enabled, name, description, detectionWithoutScan,
// traffic, sentBy, sentTo, stopProcessing); or the keys of the refusal.
TEST_F(RuleHeaderTest, TheHeaderAndScopeTable) {
  struct Case {
    const char* members;
    const char* loaded;  // null: refused
    std::vector<std::string> failed;
  };
  const Case cases[] = {
      // Without "processIf" the rule covers all traffic and everyone.
      {"", R"({1 "r" "" 0 7 {0 [] [] [] []} {0 [] [] [] []} 0})", {}},
      {R"("processIf": {})", R"({1 "r" "" 0 7 {0 [] [] [] []} {0 [] [] [] []} 0})", {}},
      // The processing flags are best effort; the top-level stop flag is read last.
      {R"("detectionWithoutScan": "x", "stopProcessing": [])",
       R"({1 "r" "" 0 7 {0 [] [] [] []} {0 [] [] [] []} 0})",
       {}},
      {R"("enabled": 0, "description": "d", "detectionWithoutScan": 1, "stopProcessing": true,
          "onDetection": {"mainAction": "deliverEmail", "stopProcessing": false})",
       R"({0 "r" "d" 1 7 {0 [] [] [] []} {0 [] [] [] []} 1})",
       {}},
      {R"("enabled": "yes")", nullptr, {"enabled"}},
      {R"("description": [])", nullptr, {"description"}},
      // Traffic is a set of known directions, at least one.
      {R"("processIf": {"traffic": ["internal", "incoming"]})",
       R"({1 "r" "" 0 5 {0 [] [] [] []} {0 [] [] [] []} 0})",
       {}},
      {R"("processIf": {"traffic": []})", nullptr, {"traffic", "processIf"}},
      {R"("processIf": {"traffic": null})", nullptr, {"traffic", "processIf"}},
      {R"("processIf": {"traffic": ["Incoming"]})", nullptr, {"traffic", "processIf"}},
      {R"("processIf": {"traffic": ["incoming", "sideways"]})", nullptr, {"traffic", "processIf"}},
      // "consider" passes over unknown forms but needs a known one.
      {R"("processIf": {"sentBy": {"consider": ["email", "connection"]}})",
       R"({1 "r" "" 0 7 {3 [] [] [] []} {0 [] [] [] []} 0})",
       {}},
      {R"("processIf": {"sentTo": {"consider": ["EMAIL", "email"]}})",
       R"({1 "r" "" 0 7 {0 [] [] [] []} {2 [] [] [] []} 0})",
       {}},
      {R"("processIf": {"sentTo": {"consider": ["EMAIL"]}})",
       nullptr,
       {"consider", "sentTo", "processIf"}},
      {R"("processIf": {"sentTo": {"users": ["a"]}})",
       nullptr,
       {"consider", "sentTo", "processIf"}},
      // "users" wins over "emails"; either fills the user list.
      {R"("processIf": {"sentBy": {"consider": ["email"], "emails": ["e1", "e2"]},
          "sentTo": {"consider": ["email"], "users": ["u1"], "emails": ["no"], "groups": ["g"],
                     "wildcards": ["*@x"], "domains": ["x.example"]}})",
       R"({1 "r" "" 0 7 {2 ["e1","e2",] [] [] []} {2 ["u1",] ["g",] ["*@x",] ["x.example",]} 0})",
       {}},
      {R"("processIf": {"sentBy": {"consider": ["email"], "domains": null}})",
       nullptr,
       {"domains", "sentBy", "processIf"}},
  };
  for (const Case& c : cases) {
    TestRule rule;
    rule.scope.traffic = 1;
    rule.scope.sentBy.consider = 2;
    const bool loaded = rule_test::Load(RuleWith(c.members), rule);
    EXPECT_EQ(loaded, c.loaded != nullptr) << c.members;
    if (loaded && c.loaded) {
      EXPECT_EQ(Describe(static_cast<const RuleHeader&>(rule)), c.loaded) << c.members;
    }
    EXPECT_EQ(FailedKeys(), c.failed) << c.members;
  }
  Json::Value nameless = RuleWith("");
  nameless.removeMember("name");
  TestRule rule;
  EXPECT_FALSE(rule_test::Load(nameless, rule));
  EXPECT_EQ(FailedKeys(), std::vector<std::string>{"name"});
}

}  // namespace
