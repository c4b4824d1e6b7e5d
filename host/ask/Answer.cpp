#include "host/ask/Answer.h"

#include <cstddef>
#include <iterator>

#include "host/load/SqlRule.h"
#include "policy/ZrPolicyResultSet.h"

namespace zrhost {

namespace {

// The lookups take their key as char* and do not change it.
char* keyOf(const QuestionPart& part) {
  return const_cast<char*>(part.key.c_str());
}

void lookUp(ZrPolicyCache& cache, const QuestionPart& part, ZrPolicyResultSet& results) {
  switch (part.kind) {
    case QuestionPart::Kind::kEntity:
      return cache.lookupPolicy(part.entityType, keyOf(part), &results);
    case QuestionPart::Kind::kAddress:
      cache.lookupPolicy(ZrPolicyCache::IP, keyOf(part), &results);
      return cache.lookupPolicyIpRange(keyOf(part), &results);
    case QuestionPart::Kind::kDefault:
      return cache.getDefaultPolicy(&results);
    case QuestionPart::Kind::kAll:
      return cache.lookupAllPolicy(&results);
  }
}

AnswerRule valuesOf(ZrRule& rule) {
  const auto* sqlRule = dynamic_cast<const SqlRule*>(&rule);
  return {rule.getRuleId(), sqlRule != nullptr ? sqlRule->m_ruleName : rule.getRuleName(), rule.m_ruleType,
          rule.containLDAPSetting(), sqlRule != nullptr ? sqlRule->m_action : std::string()};
}

AnswerResult valuesOf(const ZrPolicyResult& result) {
  // The names are taken from the objects and not from the accessors, whose texts would end at a zero byte.
  return {result.getPriority(),       result.getPolicyID(),
          result.getPolicyType(),     result.m_pEPLink->m_pPolicy->m_policyName,
          result.getEntityType(),     result.m_pEPLink->m_entityName,
          valuesOf(*result.getRule())};
}

}  // namespace

const char* entityTypeName(ZrPolicyCache::EntityType type) {
  const auto index = static_cast<std::size_t>(type);
  return index < std::size(g_rule_entity) ? g_rule_entity[index] : "?";
}

Answer ask(ZrPolicyCache& cache, const Question& question) {
  ZrPolicyResultSet results;
  results.setRefInfo(&cache, cache.m_generation);
  for (const QuestionPart& part : question)
    lookUp(cache, part, results);
  Answer answer;
  answer.reserve(results.getSize());
  while (const ZrPolicyResult* result = results.getNextResult())
    answer.push_back(valuesOf(*result));
  return answer;
}

}  // namespace zrhost
