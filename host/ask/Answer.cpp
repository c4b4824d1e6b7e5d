#include "host/ask/Answer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <memory_resource>
#include <utility>

#include "host/load/SqlRule.h"
#include "policy/ZrPolicyResultSet.h"
#include "support/PolicyLog.h"

namespace zrhost {

namespace {

using Kind = QuestionPart::Kind;

// One question while it is answered.
class Asking {
 public:
  Asking(const Snapshot& snapshot, const Question& question) : m_snapshot(snapshot), m_question(question) {
    snapshot.bind(m_results);
  }

  ZrPolicyResultSet& results() {
    for (const QuestionPart& part : m_question)
      lookUp(part);
    return m_results;
  }

 private:
  void lookUp(const QuestionPart& part) {
    const char* const key = part.key.c_str();
    switch (part.kind) {
      case Kind::kEntity:
        return lookUp(part.entityType, key);
      case Kind::kAddress:
        lookUp(ZrPolicyCache::IP, key);
        m_snapshot.lookUpRanges(key, m_results);
        return trace(entityTypeName(ZrPolicyCache::IP_RANGE), key);
      case Kind::kGroups:
        return lookUpGroups();
      case Kind::kDefault:
        m_snapshot.lookUpDefault(m_results);
        return trace("the default policy", "");
      case Kind::kAll:
        m_snapshot.lookUpAll(m_results);
        return trace("all users, groups and other keys", "");
    }
  }

  void lookUp(ZrPolicyCache::EntityType type, const char* key) {
    m_snapshot.lookUp(type, key, m_results);
    if (PolicyLog::passes(PolicyLog::LEVEL_TRACE)) trace(entityTypeName(type), Snapshot::searched(type, key).c_str());
  }

  void lookUpGroups() {
    std::array<std::byte, 1024> room;  // enough for the groups of ordinary users
    std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
    std::pmr::vector<GroupMembers::Group> groups(&memory);
    for (const QuestionPart& part : m_question) {
      if (!isUser(part)) continue;
      const GroupMembers::Groups found = m_snapshot.groupsOf(part.key);
      groups.insert(groups.end(), found.begin(), found.end());
    }
    std::sort(groups.begin(), groups.end());
    const auto end = std::unique(groups.begin(), groups.end());
    for (auto group = groups.begin(); group != end; ++group)
      lookUp(ZrPolicyCache::GROUP, m_snapshot.groupName(*group));
  }

  // "asked USER john@example.org: 2 result(s)"
  void trace(const char* what, const char* searched) {
    const std::size_t before = std::exchange(m_traced, m_results.getSize());
    ZR_TRACE("asked %s%s%s: %zu result(s)\n", what, *searched != '\0' ? " " : "", searched, m_traced - before);
  }

  const Snapshot& m_snapshot;
  const Question& m_question;
  ZrPolicyResultSet m_results;
  std::size_t m_traced = 0;  // results that trace lines have told of
};

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

Answer ask(const Snapshot& snapshot, const Question& question) {
  Asking asking(snapshot, question);
  ZrPolicyResultSet& results = asking.results();
  Answer answer;
  answer.reserve(results.getSize());
  while (const ZrPolicyResult* result = results.getNextResult())
    answer.push_back(valuesOf(*result));
  return answer;
}

}  // namespace zrhost
