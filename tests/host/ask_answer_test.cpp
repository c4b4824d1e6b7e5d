#include <gtest/gtest.h>

#include "host/ask/Answer.h"
#include "host/load/SqlRule.h"

namespace zrhost {
namespace {

using namespace std::string_literals;

struct Link {
  ZrPolicyCache::EntityType type;
  const char* entity;
  int policyId, priority;
};

// Nine policies, each with one rule: policy 1 is the default, policy 9 has a rule of a kind that lookups do not select.
ZrPolicyCache& filledCache() {
  static ZrPolicyCache cache;
  if (!cache.m_mapPolicy.empty()) return cache;
  for (int id = 1; id <= 9; ++id) {
    auto* rule = new SqlRule;
    rule->m_ruleType = id == 9 ? 5 : 247;
    rule->m_action = "action\0"s + std::to_string(id);
    auto* policy = new ZrPolicy;
    policy->m_policyId = id;
    policy->m_policyName = "policy\0"s + std::to_string(id);
    policy->m_isDefault = id == 1;
    policy->m_vecRule.push_back(rule);
    cache.addPolicy(policy);
  }
  for (const Link& values : {Link{ZrPolicyCache::USER, "john", 2, 1},
                             {ZrPolicyCache::GROUP, "sales", 2, 9},
                             {ZrPolicyCache::IP_RANGE, "10.0.0.1 ~ 10.0.0.255", 4, 1},
                             {ZrPolicyCache::IP_RANGE, "10.0.0.0 ~ 10.0.1.255", 5, 5},
                             {ZrPolicyCache::IP, "10.0.0.7", 4, 8},
                             {ZrPolicyCache::HOSTNAME, "relay01", 6, 100},
                             {ZrPolicyCache::OTHER, "POP3_Mail_Sender", 7, 2},
                             {ZrPolicyCache::USER, "Mallory", 9, 1}}) {
    auto* link = new ZrEPLink;
    link->m_entityType = values.type;
    link->m_entityName = values.entity;
    link->m_policyId = values.policyId;
    link->m_priority = values.priority;
    cache.addEPLink(link);
  }
  cache.m_generation = 5;
  return cache;
}

TEST(Answer, HoldsEachPolicyOnceInOrderOfPriority) {
  const std::pair<const char*, std::vector<std::pair<int, int>>> cases[] = {
      {"user john\tgroup sales", {{2, 1}}},  // the part that is asked first decides for a policy of two links
      {"group sales\tuser john", {{2, 9}}},
      {"ip 10.0.0.7", {{5, 5}, {4, 8}}},  // an address is asked for itself before the ranges that hold it
      {"ip 10.0.1.7", {{5, 5}}},
      {"host Relay01", {{6, 100}}},
      {"default\thost relay01", {{6, 100}, {1, 2147483647}}},
      {"all", {{2, 1}, {7, 2}}},  // users, groups and other keys alone
      {"user Mallory", {}},
  };
  for (const auto& [question, expected] : cases) {
    std::vector<std::pair<int, int>> found;
    for (const AnswerResult& result : ask(filledCache(), parseQuestion(question)))
      found.emplace_back(result.policyId, result.priority);
    EXPECT_EQ(found, expected) << question;
  }
}

TEST(Answer, TextsKeepTheirZeroBytes) {
  const AnswerResult result = ask(filledCache(), parseQuestion("default")).at(0);
  EXPECT_EQ(result.policyName, "policy\0001"s);
  EXPECT_EQ(result.rule.action, "action\0001"s);
}

}  // namespace
}  // namespace zrhost
