// Every filter's rule set, made at random within its schema, saves and loads
// back member for member, and saves again to the same document.
#include <gtest/gtest.h>

#include "tests/transport/rule_filters.h"
#include "transport/antispam/antispam_schema.h"
#include "transport/antivirus/antivirus_schema.h"
#include "transport/attachment/attachment_schema.h"
#include "transport/content/content_schema.h"
#include "transport/domaincheck/domaincheck_schema.h"

namespace {

using json_test::Compact;
using rule_test::DescribeSet;

template <class RuleSet>
class RuleRoundTrip : public rule_test::LoggedTest {};

using RuleSets =
    ::testing::Types<rule_test::as::RuleSet, rule_test::av::RuleSet, rule_test::at::RuleSet,
                     rule_test::ct::RuleSet, rule_test::dc::RuleSet>;
TYPED_TEST_SUITE(RuleRoundTrip, RuleSets);

TYPED_TEST(RuleRoundTrip, GeneratedRuleSetsComeBackTheSame) {
  for (uint32_t seed = 1; seed <= 100; ++seed) {
    rule_test::Generator g(seed);
    TypeParam set;
    set.enabled = static_cast<uint8_t>(g.Below(2));
    for (uint32_t i = g.Below(5); i > 0; --i) {
      set.rules.EmplaceBack(rule_test::Filter<TypeParam>::MakeRule(g));
    }
    const Json::Value saved = rule_test::Save(set);
    TypeParam loaded;
    ASSERT_TRUE(rule_test::Load(saved, loaded)) << "seed " << seed << ": " << Compact(saved);
    ASSERT_EQ(DescribeSet(loaded), DescribeSet(set)) << "seed " << seed;
    ASSERT_EQ(Compact(rule_test::Save(loaded)), Compact(saved)) << "seed " << seed;
  }
  EXPECT_EQ(this->FailedKeys(), std::vector<std::string>());
}

}  // namespace
