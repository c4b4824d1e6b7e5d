#include "policy/ZrPolicy.h"

#include <gtest/gtest.h>

#include "policy/policy_objects.h"

namespace {

using zrtest::TestRule;

TEST(ZrPolicy, FirstRuleOfTheSelectedKindIsTheOne) {
  ZrPolicy policy;
  EXPECT_EQ(policy.getRuleByDateTime(), nullptr);
  policy.m_vecRule = {new TestRule(5), new TestRule(247), new TestRule(247)};
  EXPECT_EQ(policy.getRuleByDateTime(), policy.m_vecRule[1]);
  EXPECT_EQ(policy.getFirstRule(), nullptr);
  EXPECT_EQ(policy.getNextRule(), nullptr);
}

TEST(ZrPolicy, RulesBehindTheFirstWithAnLdapSettingAreNotAsked) {
  ZrPolicy policy;
  EXPECT_FALSE(policy.hasRuleContainLDAPSetting());
  auto* first = new TestRule(1, false);
  auto* second = new TestRule(2, true);
  auto* third = new TestRule(3, true);
  policy.m_vecRule = {first, second, third};
  EXPECT_TRUE(policy.hasRuleContainLDAPSetting());
  policy.logPolicySummary();
  EXPECT_EQ((std::vector{first->asked, second->asked, third->asked, third->logged}), (std::vector{1, 1, 0, 1}));
}

}  // namespace
