#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/ask/Answer.h"
#include "host/load/SqlRule.h"

namespace zrhost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

// A cache of a few policies, each with one rule of the kind that lookups select, unless said otherwise.
class AnswerTest : public testing::Test {
 protected:
  AnswerTest() { m_cache.m_generation = 5; }

  void addPolicy(int id, const std::string& name, bool isDefault = false, int ruleType = 247) {
    auto* rule = new SqlRule;
    rule->m_ruleId = 1000 + id;
    rule->m_ruleType = ruleType;
    rule->m_ruleName = "rule of " + name;
    rule->m_ldapSetting = id % 2 == 1;
    rule->m_action = "action\0of "s + name;
    auto* policy = new ZrPolicy;
    policy->m_policyId = id;
    policy->m_policyType = 7;
    policy->m_policyName = name;
    policy->m_isDefault = isDefault;
    policy->m_vecRule.push_back(rule);
    m_cache.addPolicy(policy);
  }

  void addLink(ZrPolicyCache::EntityType type, const std::string& entity, int policyId, int priority) {
    auto* link = new ZrEPLink;
    link->m_entityType = type;
    link->m_entityName = entity;
    link->m_policyId = policyId;
    link->m_priority = priority;
    m_cache.addEPLink(link);
  }

  std::vector<std::pair<int, int>> idsAndPriorities(const std::string& question) {
    std::vector<std::pair<int, int>> found;
    for (const AnswerResult& result : ask(m_cache, parseQuestion(question))) {
      found.emplace_back(result.policyId, result.priority);
    }
    return found;
  }

  ZrPolicyCache m_cache;
};

using IdAndPriority = std::pair<int, int>;

TEST_F(AnswerTest, ResultHoldsEveryValueOfPolicyLinkAndRule) {
  addPolicy(3, "strict");
  addLink(ZrPolicyCache::USER, "john@example.org", 3, 12);
  const Answer answer = ask(m_cache, parseQuestion("user JOHN@example.org"));
  ASSERT_EQ(answer.size(), 1U);
  const AnswerResult& result = answer.front();
  EXPECT_EQ(result.priority, 12);
  EXPECT_EQ(result.policyId, 3);
  EXPECT_EQ(result.policyType, 7);
  EXPECT_EQ(result.policyName, "strict");
  EXPECT_EQ(result.entityType, ZrPolicyCache::USER);
  EXPECT_EQ(result.entityName, "john@example.org");
  EXPECT_EQ(result.rule.id, 1003);
  EXPECT_EQ(result.rule.type, 247);
  EXPECT_EQ(result.rule.name, "rule of strict");
  EXPECT_TRUE(result.rule.ldapSetting);
  EXPECT_EQ(result.rule.action, "action\0of strict"s);
}

TEST_F(AnswerTest, PartThatIsAskedFirstDecidesForAPolicyOfTwoLinks) {
  addPolicy(1, "shared");
  addLink(ZrPolicyCache::USER, "john", 1, 1);
  addLink(ZrPolicyCache::GROUP, "sales", 1, 9);
  EXPECT_THAT(idsAndPriorities("user john\tgroup sales"), ElementsAre(IdAndPriority(1, 1)));
  EXPECT_THAT(idsAndPriorities("group sales\tuser john"), ElementsAre(IdAndPriority(1, 9)));
}

TEST_F(AnswerTest, AddressIsAskedForItselfBeforeTheRangesThatHoldIt) {
  addPolicy(1, "single and range");
  addPolicy(2, "range only");
  addLink(ZrPolicyCache::IP_RANGE, "10.0.0.1 ~ 10.0.0.255", 1, 1);
  addLink(ZrPolicyCache::IP_RANGE, "10.0.0.0 ~ 10.0.1.255", 2, 5);
  addLink(ZrPolicyCache::IP, "10.0.0.7", 1, 8);
  EXPECT_THAT(idsAndPriorities("ip 10.0.0.7"), ElementsAre(IdAndPriority(2, 5), IdAndPriority(1, 8)));
  EXPECT_THAT(idsAndPriorities("ip 10.0.1.7"), ElementsAre(IdAndPriority(2, 5)));
}

TEST_F(AnswerTest, DefaultComesLastAndOnlyWhenAskedFor) {
  addPolicy(1, "default", true);
  addPolicy(2, "own");
  addLink(ZrPolicyCache::HOSTNAME, "relay01", 2, 100);
  EXPECT_THAT(idsAndPriorities("host Relay01"), ElementsAre(IdAndPriority(2, 100)));
  EXPECT_THAT(idsAndPriorities("default\thost relay01"),
              ElementsAre(IdAndPriority(2, 100), IdAndPriority(1, 2147483647)));
}

TEST_F(AnswerTest, AllIsUsersGroupsAndOtherKeysAlone) {
  for (const int id : {1, 2, 3, 4})
    addPolicy(id, std::to_string(id));
  addLink(ZrPolicyCache::OTHER, "POP3_Mail_Sender", 1, 1);
  addLink(ZrPolicyCache::USER, "Capital", 2, 2);
  addLink(ZrPolicyCache::HOSTNAME, "relay01", 3, 3);
  addLink(ZrPolicyCache::IP, "10.0.0.7", 4, 4);
  EXPECT_THAT(idsAndPriorities("all"), ElementsAre(IdAndPriority(1, 1), IdAndPriority(2, 2)));
}

TEST_F(AnswerTest, PolicyWithoutARuleOfTheSelectedKindNeverApplies) {
  addPolicy(1, "other kind", false, 5);
  addLink(ZrPolicyCache::USER, "john", 1, 1);
  EXPECT_THAT(idsAndPriorities("user john"), IsEmpty());
}

}  // namespace
}  // namespace zrhost
