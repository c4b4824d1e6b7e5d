#include "policy/ZrPolicy.h"

#include <cstring>
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
  EXPECT_EQ((std::vector{first->asked, second->asked, third->asked}), (std::vector{1, 1, 0}));
  EXPECT_EQ((std::vector{first->logged, second->logged, third->logged}), (std::vector{1, 1, 1}));
}

TEST(ZrPolicy, DeletesEachRuleOnce) {
  const int before = TestRule::alive;
  auto* policy = new ZrPolicy;
  policy->m_vecRule = {new TestRule, nullptr, new TestRule};
  delete policy;
  EXPECT_EQ(TestRule::alive, before);
}

}  // namespace
