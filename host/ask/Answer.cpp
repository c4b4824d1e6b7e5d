#include "host/ask/Answer.h"

#include <cstddef>
#include <iterator>
#include <utility>

#include "host/ask/Search.h"
#include "host/load/SqlRule.h"
#include "policy/ZrPolicyResultSet.h"
#include "support/PolicyLog.h"

namespace zrhost {

namespace {

// "asked USER john@example.org: 2 result(s)"
void trace(const Search& search, std::size_t results) {
  const auto line = [results](const char* what, const std::string& searched) {
    ZR_TRACE("asked %s%s%s: %zu result(s)\n", what, searched.empty() ? "" : " ", searched.c_str(), results);
  };
  switch (search.kind) {
    case Search::Kind::kKey:
      return line(entityTypeName(search.type), Snapshot::searched(search.type, search.key));
    case Search::Kind::kRanges:
      return line(entityTypeName(search.type), search.key);
    case Search::Kind::kDefault:
      return line("the default policy", "");
    case Search::Kind::kAll:
      return line("all users, groups and other keys", "");
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

Answer answerOf(ZrPolicyResultSet& results) {
  Answer answer;
  answer.reserve(results.getSize());
  for (const ZrPolicyResult* result = results.getTopPriorityResult(); result != nullptr;
       result = results.getNextResult())
    answer.push_back(valuesOf(*result));
  return answer;
}

Answer ask(const Snapshot& snapshot, const Question& question) {
  ZrPolicyResultSet results;
  std::size_t traced = 0;  // results that trace lines have told of
  searchEach(snapshot, question, results, [&results, &traced](const Search& search) {
    if (!PolicyLog::passes(PolicyLog::LEVEL_TRACE)) return;
    const std::size_t before = std::exchange(traced, results.getSize());
    trace(search, traced - before);
  });
  return answerOf(results);
}

}  // namespace zrhost
